// Process attach and detach on states of the tests' own.
#include "frame/attach.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <set>

#include "colour/table_limits.h"
#include "support/library_folder_scope.h"
#include "support/temp_folder.h"

namespace zkimgset {
namespace {

// Counts allocations and fails the one numbered `fail_at` (1-based; 0 never).
class CountingAllocator final : public platform::ZeroedAllocator {
 public:
  explicit CountingAllocator(int fail_at = 0) : fail_at_(fail_at) {}
  void* allocate(std::size_t size) noexcept override {
    if (++calls_ == fail_at_) return nullptr;
    void* block = platform::system_allocator().allocate(size);
    live_.insert(block);
    return block;
  }
  void release(void* block) noexcept override {
    live_.erase(block);
    platform::system_allocator().release(block);
  }
  int calls() const { return calls_; }
  std::size_t live() const { return live_.size(); }

 private:
  int fail_at_;
  int calls_ = 0;
  std::set<void*> live_;
};

// The default tables written beside the built library.
const std::string kDefaultTables = ZKIMGSET_TEST_TABLE_DIR "/";

int node_input(int n) { return n == 0 ? 0 : 8 * n + 7; }

// Each allocation failing in turn skips the later ones; a second attach
// keeps the buffers that exist; detach releases everything.
TEST(Attach, LoadsTablesSurvivesFailedAllocationsAndReleasesEverything) {
  testing::TempFolder empty;
  const struct {
    bool tables;  // the default tables beside the library, or none
    int fail_at, calls;
    int startup, table3d, table1d;
  } cases[] = {{true, 0, 3, 0, 0, 0},
               {false, 0, 3, 0, 18, 17},
               {true, 1, 1, ZKIMGSET_OUT_OF_MEMORY, -1, -1},
               {true, 2, 2, ZKIMGSET_OUT_OF_MEMORY, -1, -1},
               {true, 3, 3, ZKIMGSET_OUT_OF_MEMORY, 0, -1}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.fail_at);
    testing::LibraryFolderScope scope(c.tables ? kDefaultTables : empty.slashed());
    LibraryState state;
    std::memset(state.MakerText1, 'M', sizeof state.MakerText1);
    std::memset(state.MakerText2, 'm', sizeof state.MakerText2);
    CountingAllocator allocator(c.fail_at);
    attach(state, allocator);
    if (c.fail_at == 0) {
      std::uint8_t* main_table = state.ColorTable3dMain;
      attach(state, allocator);
      EXPECT_EQ(state.ColorTable3dMain, main_table);
    }
    EXPECT_EQ(allocator.calls(), c.calls);
    EXPECT_EQ(state.StartupStatus, c.startup);
    EXPECT_EQ(state.Table3dStatus, c.table3d);
    EXPECT_EQ(state.Table1dStatus, c.table1d);
    EXPECT_EQ(state.MakerText1[0], 0);
    EXPECT_EQ(state.MakerText2[259], 0);
    if (c.tables && c.fail_at == 0) {
      // Identity tables: every node holds its own input, every 1-D row its level.
      for (int n = 0; n < 32; ++n) {
        const std::size_t at = ((static_cast<std::size_t>(n) * 32 + (31 - n)) * 32 + n / 2) * 3;
        EXPECT_EQ(state.ColorTable3dAlt[at], node_input(n));
        EXPECT_EQ(state.ColorTable3dAlt[at + 1], node_input(31 - n));
        EXPECT_EQ(state.ColorTable3dAlt[at + 2], node_input(n / 2));
      }
      for (int level = 0; level < 256; ++level)
        for (int ch = 0; ch < 3; ++ch) ASSERT_EQ(state.Table1d[3 * level + ch], level);
    }
    detach(state);
    EXPECT_EQ(allocator.live(), 0u);
    EXPECT_EQ(state.ColorTable3dAlt, nullptr);
  }
}

}  // namespace
}  // namespace zkimgset
