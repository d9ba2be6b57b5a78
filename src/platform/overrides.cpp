// The platform's folders and the service's name, each of which a test may
// point elsewhere; the platform folders answer when no override is set.
#include "platform/dynamic_library.h"
#include "platform/native.h"
#include "platform/paths.h"

namespace zkimgset::platform {
namespace {

struct Overrides {
  std::optional<std::string> library_folder;
  std::optional<std::string> system_directory;
  std::optional<std::string> service_library;
};

Overrides& overrides() {
  static Overrides set;
  return set;
}

}  // namespace

std::string library_folder() {
  const auto& folder = overrides().library_folder;
  return folder ? *folder : native::library_folder();
}

std::string parameter_folder() { return library_folder() + native::path_separator() + "Param"; }

std::string system_directory() {
  const auto& folder = overrides().system_directory;
  return folder ? *folder : native::system_directory();
}

std::string service_library_name() {
  const auto& name = overrides().service_library;
  return name ? *name : std::string(native::service_library_name());
}

void override_library_folder(std::optional<std::string> folder) {
  overrides().library_folder = std::move(folder);
}

void override_system_directory(std::optional<std::string> folder) {
  overrides().system_directory = std::move(folder);
}

void override_service_library(std::optional<std::string> path) {
  overrides().service_library = std::move(path);
}

}  // namespace zkimgset::platform
