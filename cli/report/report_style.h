// The report page's stylesheet, inlined so that the page needs nothing else.
#pragma once

#include <string_view>

namespace zkcli {

std::string_view report_stylesheet();

}  // namespace zkcli
