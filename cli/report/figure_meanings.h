// What each figure of the analysis means, in a line an operator can read:
// the page keeps the analysis's own names for engineers and says beside
// each what it is (once, in a glossary the page's script reads the meanings
// from, as 24 meanings on each of hundreds of cards would weigh more than
// the figures).
#pragma once

#include <span>
#include <string_view>
#include <utility>

namespace zkcli {

// Each figure the library's dump names, with its meaning, in the dump's order.
std::span<const std::pair<std::string_view, std::string_view>> figure_meanings();

}  // namespace zkcli
