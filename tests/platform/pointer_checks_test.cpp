// The Exif exports' argument checks: what every platform refuses, and on
// Windows the memory the kernel's probes refuse.
#include "platform/pointer_checks.h"

#include <gtest/gtest.h>

#if defined(_WIN32)
#include <windows.h>
#endif

#include <cstring>

namespace zkimgset::platform {
namespace {

TEST(PointerChecks, NullIsNeverReadableOrWritable) {
  EXPECT_FALSE(readable_string(nullptr, 260));
  EXPECT_FALSE(writable_block(nullptr, 40));
}

TEST(PointerChecks, OrdinaryMemoryPasses) {
  char record[3296] = {};
  EXPECT_TRUE(readable_string("photo.jpg", 260));
  EXPECT_TRUE(writable_block(record, sizeof record));
}

#if defined(_WIN32)
// A page of 'a's with the given protection, followed by a page that cannot
// be touched at all; both released at the end of the test.
class Page {
 public:
  static constexpr SIZE_T kBytes = 4096;
  explicit Page(DWORD protection)
      : page_(static_cast<char*>(
            VirtualAlloc(nullptr, 2 * kBytes, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE))) {
    std::memset(page_, 'a', kBytes);
    DWORD old = 0;
    VirtualProtect(page_, kBytes, protection, &old);
    VirtualProtect(page_ + kBytes, kBytes, PAGE_NOACCESS, &old);
  }
  ~Page() { VirtualFree(page_, 0, MEM_RELEASE); }
  Page(const Page&) = delete;
  Page& operator=(const Page&) = delete;
  char* get() const { return page_; }

 private:
  char* page_;
};

TEST(PointerChecks, ProbesRefuseProtectedPages) {
  const Page hidden(PAGE_NOACCESS);
  const Page read_only(PAGE_READONLY);
  EXPECT_FALSE(readable_string(hidden.get(), 260));
  EXPECT_FALSE(writable_block(read_only.get(), 40));
  EXPECT_TRUE(readable_string(read_only.get(), 260)) << "readable though not terminated";
  // A string that runs into an unreadable page before its end.
  EXPECT_FALSE(readable_string(read_only.get() + Page::kBytes - 10, 260));
}
#endif

}  // namespace
}  // namespace zkimgset::platform
