// Finding a file by a wildcard pattern of the form PREFIX*SUFFIX in one
// folder, the way the 3-D table file is found beside the library.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zkimgset::platform {

// The name of the first entry of folder, in the order the directory listing
// returns them, whose name starts with prefix and ends with suffix (letter
// case ignored, as file name patterns are on the platform the tables come
// from). Only the first match is considered: it is returned whatever kind of
// entry it is. nullopt when the folder cannot be read or nothing matches.
std::optional<std::string> find_first_match(const std::string& folder, std::string_view prefix,
                                            std::string_view suffix);

// True when name is PREFIX + anything (possibly nothing) + SUFFIX, ignoring
// ASCII letter case.
bool matches_pattern(std::string_view name, std::string_view prefix, std::string_view suffix);

}  // namespace zkimgset::platform
