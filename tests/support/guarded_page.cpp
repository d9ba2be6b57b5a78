#include "support/guarded_page.h"

#include <stdexcept>

#if defined(_WIN32)
#include <windows.h>
#else
#include <sys/mman.h>
#include <unistd.h>
#endif

namespace zkimgset::testing {

#if defined(_WIN32)
GuardedPage::GuardedPage() {
  SYSTEM_INFO info;
  GetSystemInfo(&info);
  size_ = info.dwPageSize;
  base_ = static_cast<char*>(
      VirtualAlloc(nullptr, 2 * size_, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE));
  DWORD old = 0;
  if (base_ == nullptr || !VirtualProtect(guard(), size_, PAGE_NOACCESS, &old))
    throw std::runtime_error("cannot map a guarded page");
}

GuardedPage::~GuardedPage() { VirtualFree(base_, 0, MEM_RELEASE); }

void GuardedPage::make_read_only() {
  DWORD old = 0;
  VirtualProtect(base_, size_, PAGE_READONLY, &old);
}
#else
GuardedPage::GuardedPage() {
  size_ = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  void* pages =
      mmap(nullptr, 2 * size_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (pages == MAP_FAILED) throw std::runtime_error("cannot map a guarded page");
  base_ = static_cast<char*>(pages);
  if (mprotect(guard(), size_, PROT_NONE) != 0) throw std::runtime_error("cannot guard a page");
}

GuardedPage::~GuardedPage() { munmap(base_, 2 * size_); }

void GuardedPage::make_read_only() { mprotect(base_, size_, PROT_READ); }
#endif

}  // namespace zkimgset::testing
