// The table-status gate in front of the image conversions.
#include "frame/table_gate.h"

#include <gtest/gtest.h>

namespace zkimgset {
namespace {

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

}  // namespace
}  // namespace zkimgset
