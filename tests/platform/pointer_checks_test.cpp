// The Exif exports' argument checks: what every platform refuses, and on
// Windows the memory the kernel's probes refuse.
#include "platform/pointer_checks.h"

#include <gtest/gtest.h>

#include <cstring>

#include "support/guarded_page.h"

namespace zkimgset::platform {
namespace {

TEST(PointerChecks, NullIsNeverReadableOrWritableAndOrdinaryMemoryIs) {
  char record[3296] = {};
  EXPECT_FALSE(readable_string(nullptr, 260));
  EXPECT_FALSE(writable_block(nullptr, 40));
  EXPECT_TRUE(readable_string("photo.jpg", 260));
  EXPECT_TRUE(writable_block(record, sizeof record));
}

#if defined(_WIN32)
TEST(PointerChecks, ProbesRefuseMemoryThatCannotBeUsed) {
  testing::GuardedPage page;
  std::memset(page.begin(), 'a', page.size());
  page.make_read_only();
  EXPECT_FALSE(readable_string(page.guard(), 260));
  EXPECT_FALSE(writable_block(page.begin(), 40));
  EXPECT_TRUE(readable_string(page.begin(), 260)) << "readable though not terminated";
  EXPECT_FALSE(readable_string(page.guard() - 10, 260)) << "runs into the guard page";
}
#endif

}  // namespace
}  // namespace zkimgset::platform
