// The wildcard test behind the table search, the same on every platform.
#include "platform/directory_search.h"

namespace zkimgset::platform {
namespace {

char lower(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

bool same_ignoring_case(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i)
    if (lower(a[i]) != lower(b[i])) return false;
  return true;
}

}  // namespace

bool matches_pattern(std::string_view name, std::string_view prefix, std::string_view suffix) {
  if (name.size() < prefix.size() + suffix.size()) return false;
  return same_ignoring_case(name.substr(0, prefix.size()), prefix) &&
         same_ignoring_case(name.substr(name.size() - suffix.size()), suffix);
}

}  // namespace zkimgset::platform
