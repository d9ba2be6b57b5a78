// Loading a shared library by name at run time and looking up its functions:
// how the Exif-tag service is bound.
#pragma once

#include <optional>
#include <string>

namespace zkimgset::platform {

// The service library's file name on this platform, found by the system's
// library search ("libostrel.so"), unless a test points it elsewhere.
std::string service_library_name();
void override_service_library(std::optional<std::string> path);

// A loaded library, or nullptr when it cannot be loaded.
void* open_library(const std::string& name) noexcept;
// A function of a loaded library, or nullptr.
void* find_function(void* library, const char* name) noexcept;
void close_library(void* library) noexcept;

}  // namespace zkimgset::platform
