// Base64 (RFC 4648, standard alphabet, padded) for data: URIs in the report.
#pragma once

#include <string>
#include <string_view>

namespace zkcli {

std::string base64_encode(std::string_view bytes);

}  // namespace zkcli
