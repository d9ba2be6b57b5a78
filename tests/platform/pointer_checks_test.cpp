// On Windows, the memory the kernel's probes refuse (what every platform
// refuses, a null pointer or an unterminated path, the Exif tests check).
#include "platform/pointer_checks.h"

#include <gtest/gtest.h>

#include <cstring>

#include "support/guarded_page.h"

namespace zkimgset::platform {
namespace {

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
