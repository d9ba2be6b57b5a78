// The library lock as a pthread mutex.
#include "platform/library_lock.h"

#include <pthread.h>

#include <new>

namespace zkimgset::platform {
namespace {

static_assert(sizeof(pthread_mutex_t) <= 64 && alignof(pthread_mutex_t) <= 16);

pthread_mutex_t* mutex_in(unsigned char* storage) {
  return std::launder(reinterpret_cast<pthread_mutex_t*>(storage));
}

}  // namespace

LibraryLock::LibraryLock() noexcept { pthread_mutex_init(new (storage_) pthread_mutex_t, nullptr); }
LibraryLock::~LibraryLock() { pthread_mutex_destroy(mutex_in(storage_)); }
void LibraryLock::lock() noexcept { pthread_mutex_lock(mutex_in(storage_)); }
void LibraryLock::unlock() noexcept { pthread_mutex_unlock(mutex_in(storage_)); }

}  // namespace zkimgset::platform
