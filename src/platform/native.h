// What each platform folder (posix/, windows/) provides behind the portable
// functions of paths.h and dynamic_library.h, which add the test overrides.
#pragma once

#include <string>

namespace zkimgset::platform::native {

// The folder of the loaded library, ending with a separator; empty when the
// platform cannot tell.
std::string library_folder();

// The folder of the binary 3-D tables, without a trailing separator.
std::string system_directory();

// The separator put between the library folder and "Param".
const char* path_separator();

// The Exif-tag service's file name, for the system's library search.
const char* service_library_name();

}  // namespace zkimgset::platform::native
