// Directory search over readdir: entries come in the file system's own
// order, which is what the table search promises (the first match wins).
#include "platform/directory_search.h"

#include <dirent.h>

#include <memory>

namespace zkimgset::platform {

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
