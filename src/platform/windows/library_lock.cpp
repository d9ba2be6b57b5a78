// Windows: the library lock is a critical section.
#include "platform/library_lock.h"

#include <windows.h>

#include <new>

namespace zkimgset::platform {
namespace {

static_assert(sizeof(CRITICAL_SECTION) <= 64 && alignof(CRITICAL_SECTION) <= 16);

CRITICAL_SECTION* section_in(unsigned char* storage) {
  return std::launder(reinterpret_cast<CRITICAL_SECTION*>(storage));
}

}  // namespace

LibraryLock::LibraryLock() noexcept { InitializeCriticalSection(new (storage_) CRITICAL_SECTION); }
LibraryLock::~LibraryLock() { DeleteCriticalSection(section_in(storage_)); }
void LibraryLock::lock() noexcept { EnterCriticalSection(section_in(storage_)); }
void LibraryLock::unlock() noexcept { LeaveCriticalSection(section_in(storage_)); }

}  // namespace zkimgset::platform
