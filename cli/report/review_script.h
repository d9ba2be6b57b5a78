// The review page's script: sorting and filtering the cards, the subject
// outline toggles, the full-size viewer, and the operator's decisions, kept
// in the browser's local storage and exported as a JSON file.
#pragma once

#include <string_view>

namespace zkcli {

std::string_view review_script();

}  // namespace zkcli
