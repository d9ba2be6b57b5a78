// Directory search over readdir: entries come in the file system's own
// order, which is what the table search promises (the first match wins).
#include <dirent.h>

#include <memory>

#include "platform/directory_search.h"

namespace zkimgset::platform {
namespace {

bool same_ignoring_case(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    auto lower = [](char c) {
      return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
    };
    if (lower(a[i]) != lower(b[i])) return false;
  }
  return true;
}

}  // namespace

bool matches_pattern(std::string_view name, std::string_view prefix, std::string_view suffix) {
  if (name.size() < prefix.size() + suffix.size()) return false;
  return same_ignoring_case(name.substr(0, prefix.size()), prefix) &&
         same_ignoring_case(name.substr(name.size() - suffix.size()), suffix);
}

std::optional<std::string> find_first_match(const std::string& folder, std::string_view prefix,
                                            std::string_view suffix) {
  struct Close {
    void operator()(DIR* d) const { closedir(d); }
  };
  std::unique_ptr<DIR, Close> dir(opendir(folder.empty() ? "." : folder.c_str()));
  if (!dir) return std::nullopt;
  while (const dirent* entry = readdir(dir.get())) {
    if (matches_pattern(entry->d_name, prefix, suffix)) return std::string(entry->d_name);
  }
  return std::nullopt;
}

}  // namespace zkimgset::platform
