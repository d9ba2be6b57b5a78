// The kernel choice: one flag, read by every dispatcher.
#include "platform/kernel_choice.h"

#include <atomic>
#include <cstdlib>

namespace zkimgset::platform {
namespace {

bool processor_has_vector_kernels() {
#if defined(__x86_64__) || defined(__i386__)
  return __builtin_cpu_supports("avx2");
#else
  return false;
#endif
}

bool best_choice() {
  const char* plain = std::getenv("ZKIMGSET_PLAIN_KERNELS");
  if (plain != nullptr && plain[0] == '1') return false;
  return processor_has_vector_kernels();
}

std::atomic<bool>& chosen() {
  static std::atomic<bool> vector{best_choice()};
  return vector;
}

}  // namespace

bool vector_kernels() noexcept { return chosen().load(std::memory_order_relaxed); }

bool force_plain_kernels(bool plain) noexcept {
  chosen().store(!plain && best_choice());
  return chosen().load();
}

}  // namespace zkimgset::platform
