// Windows: zero-filled global-heap blocks.
#include "platform/zeroed_alloc.h"

#include <windows.h>

namespace zkimgset::platform {
namespace {

class GlobalHeapAllocator final : public ZeroedAllocator {
 public:
  void* allocate(std::size_t size) noexcept override {
    return GlobalAlloc(GMEM_FIXED | GMEM_ZEROINIT, size);
  }
  void release(void* block) noexcept override {
    if (block != nullptr) GlobalFree(block);
  }
};

}  // namespace

ZeroedAllocator& system_allocator() noexcept {
  static GlobalHeapAllocator heap;
  return heap;
}

}  // namespace zkimgset::platform
