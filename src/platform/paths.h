// Where the library finds its files: its own folder (the colour tables beside
// it) and the installation's data folder (the binary 3-D table). Tests point
// both at folders of their own through the overrides; nothing here is
// exported.
#pragma once

#include <optional>
#include <string>

namespace zkimgset::platform {

// The folder of the loaded library, ending with a separator; empty when the
// platform cannot tell.
std::string library_folder();

// The Exif-tag service's parameter folder: the library folder followed by
// the platform's separator and "Param". On Windows the folder already ends
// with a backslash, so the result has two (D:\App\\Param): the form the
// service has always been handed.
std::string parameter_folder();

// The installation's data folder, without a trailing separator: callers
// append names that start with one.
std::string system_directory();

// Test hooks: while set, the functions above return these instead.
void override_library_folder(std::optional<std::string> folder);
void override_system_directory(std::optional<std::string> folder);

}  // namespace zkimgset::platform
