// What each figure of the analysis means, in a line an operator can read:
// the page keeps the analysis's own names for engineers and says beside
// each what it is.
#pragma once

#include <string_view>

namespace zkcli {

// The meaning of a figure the library's dump names, or "" for a name it
// does not know.
std::string_view figure_meaning(std::string_view name);

}  // namespace zkcli
