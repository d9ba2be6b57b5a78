// The process heap as a ZeroedAllocator.
#include "platform/zeroed_alloc.h"

#include <cstdlib>

namespace zkimgset::platform {
namespace {

class HeapAllocator final : public ZeroedAllocator {
 public:
  void* allocate(std::size_t size) noexcept override { return std::calloc(1, size); }
  void release(void* block) noexcept override { std::free(block); }
};

}  // namespace

ZeroedAllocator& system_allocator() noexcept {
  static HeapAllocator heap;
  return heap;
}

}  // namespace zkimgset::platform
