// Windows: the table search asks FindFirstFileA for folder + PREFIX*SUFFIX
// and takes the first entry it returns, as the library always has.
#include "platform/directory_search.h"

#include <windows.h>

namespace zkimgset::platform {

std::optional<std::string> find_first_match(const std::string& folder, std::string_view prefix,
                                            std::string_view suffix) {
  std::string pattern = folder;
  pattern.append(prefix).append("*").append(suffix);
  WIN32_FIND_DATAA entry{};
  const HANDLE search = FindFirstFileA(pattern.c_str(), &entry);
  if (search == INVALID_HANDLE_VALUE) return std::nullopt;
  std::string name = entry.cFileName;
  FindClose(search);
  return name;
}

}  // namespace zkimgset::platform
