// The frame on states of the tests' own: process attach and detach, the
// table-status gate in front of the image conversions, and the binding of
// the Exif-tag service (all nine functions, or nothing: the driver's tests).
#include <gtest/gtest.h>

#include <cstring>
#include <optional>
#include <set>

#include "frame/attach.h"
#include "frame/service_binding.h"
#include "frame/table_gate.h"
#include "platform/dynamic_library.h"
#include "support/library_folder_scope.h"
#include "support/loaded_library.h"
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

// Each allocation failing in turn skips the later ones; a second attach
// keeps the buffers that exist; detach releases everything. What the
// default tables hold is the conversion exports' tests'.
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
    detach(state);
    EXPECT_EQ(allocator.live(), 0u);
    EXPECT_EQ(state.ColorTable3dAlt, nullptr);
  }
}

struct GateCase {
  std::int16_t mode;
  std::int32_t table1d, table3d;
  int expected;
};

class TableGate : public ::testing::TestWithParam<GateCase> {};

TEST_P(TableGate, ReportsTheTableTheModeNeeds) {
  LibraryState state;
  state.ColorConvMode = GetParam().mode;
  state.Table1dStatus = GetParam().table1d;
  state.Table3dStatus = GetParam().table3d;
  EXPECT_EQ(table_status_gate(state), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Modes, TableGate,
    ::testing::Values(GateCase{0, 0, 0, 0}, GateCase{0, 17, 18, 17},  // 1-D reported first
                      GateCase{0, 0, 18, 18}, GateCase{0, 0, -1, -1}, GateCase{1, 17, 0, 17},
                      GateCase{1, 0, 18, 0}, GateCase{2, 17, 0, 0}, GateCase{2, 17, 18, 18},
                      GateCase{3, 17, 18, 0}, GateCase{-1, 17, 18, 0}, GateCase{7, -1, -1, 0}));

TEST(ServiceBinding, BindsAllNineAndReleasesThem) {
  platform::override_service_library(ZKIMGSET_TEST_FAKE_SERVICE);
  ServiceBinding binding;
  ASSERT_EQ(bind_service(binding), 0);
  EXPECT_TRUE(binding.bound());
  void* module = binding.module;
  EXPECT_EQ(bind_service(binding), 0) << "a second bind reuses the module";
  EXPECT_EQ(binding.module, module);
  EXPECT_EQ(unbind_service(binding), 0);
  EXPECT_FALSE(binding.bound());
  EXPECT_EQ(binding.create_exif_tag, nullptr);
  EXPECT_FALSE(testing::library_loaded(ZKIMGSET_TEST_FAKE_SERVICE));
  EXPECT_EQ(unbind_service(binding), 0) << "unbinding twice is harmless";
  platform::override_service_library(std::nullopt);
}

}  // namespace
}  // namespace zkimgset
