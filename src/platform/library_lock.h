// The library lock: one process-wide lock around the exports that take it.
// On Windows it is a critical section, elsewhere a mutex; it is ready from
// construction to destruction, so the library's state owns one and the lock
// lives exactly as long as the loaded library.
#pragma once

#include <cstddef>

namespace zkimgset::platform {

class LibraryLock {
 public:
  LibraryLock() noexcept;
  ~LibraryLock();
  LibraryLock(const LibraryLock&) = delete;
  LibraryLock& operator=(const LibraryLock&) = delete;

  void lock() noexcept;
  void unlock() noexcept;

 private:
  // Room for the platform's lock object (a CRITICAL_SECTION is 24 or 40
  // bytes, a pthread mutex 40); each platform checks that it fits.
  static constexpr std::size_t kStorageBytes = 64;
  alignas(16) unsigned char storage_[kStorageBytes];
};

// Holds a LibraryLock for the lifetime of the object.
class LockHold {
 public:
  explicit LockHold(LibraryLock& lock) noexcept : lock_(lock) { lock_.lock(); }
  ~LockHold() { lock_.unlock(); }
  LockHold(const LockHold&) = delete;
  LockHold& operator=(const LockHold&) = delete;

 private:
  LibraryLock& lock_;
};

}  // namespace zkimgset::platform
