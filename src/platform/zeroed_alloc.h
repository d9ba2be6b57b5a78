// Zero-filled allocation that reports failure instead of throwing: the
// library's long-lived table buffers and the set-up paths' work buffers.
// Attach takes the allocator as an argument so that tests can make any
// allocation fail.
#pragma once

#include <cstddef>

namespace zkimgset::platform {

class ZeroedAllocator {
 public:
  virtual ~ZeroedAllocator() = default;
  // size zero-filled bytes, or nullptr.
  virtual void* allocate(std::size_t size) noexcept = 0;
  // Frees a block from allocate; nullptr is ignored.
  virtual void release(void* block) noexcept = 0;
};

// The process heap.
ZeroedAllocator& system_allocator() noexcept;

}  // namespace zkimgset::platform
