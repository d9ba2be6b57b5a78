// Attach and detach for the shared library on platforms whose loader sends no
// notifications of its own: a static object whose constructor runs when the
// library is loaded and whose destructor runs when it is unloaded.
#include "frame/attach.h"
#include "frame/library_state.h"

namespace {

struct ModuleLifetime {
  ModuleLifetime() noexcept {
    zkimgset::attach(zkimgset::library_state(), zkimgset::platform::system_allocator());
  }
  ~ModuleLifetime() { zkimgset::detach(zkimgset::library_state()); }
  ModuleLifetime(const ModuleLifetime&) = delete;
  ModuleLifetime& operator=(const ModuleLifetime&) = delete;
};

const ModuleLifetime module_lifetime;

}  // namespace
