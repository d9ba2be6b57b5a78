// The analysis's constant tables: every telling value, and their shapes.
#include "autosetup/constant_tables.h"

#include <gtest/gtest.h>

#include <cmath>

#include "maths/linear_light.h"

namespace zkimgset::autosetup {
namespace {

TEST(ConstantTables, GreyThresholdTellingValuesAndShape) {
  const std::pair<int, int> telling[] = {{0, 0},    {16, 6},    {32, 23},   {64, 67},
                                         {96, 101}, {103, 103}, {128, 102}, {160, 101},
                                         {192, 66}, {224, 23},  {255, 0}};
  const auto& t = grey_threshold();
  for (const auto& [level, value] : telling) EXPECT_EQ(t[level], value) << level;
  for (int i = 1; i <= 103; ++i) EXPECT_GE(t[i], t[i - 1]) << "rising at " << i;
  for (int i = 104; i < 256; ++i) EXPECT_LE(t[i], t[i - 1]) << "falling at " << i;
}

TEST(ConstantTables, LevelDensityTellingValuesAndShape) {
  const std::pair<int, int> telling[] = {{0, 2230},  {1, 2225},  {2, 2219},  {16, 2051},
                                         {32, 1801}, {64, 1286}, {128, 592}, {192, 213},
                                         {254, 101}, {255, 100}};
  const auto& t = level_density();
  for (const auto& [level, value] : telling) EXPECT_EQ(t[level], value) << level;
  for (int i = 1; i < 256; ++i) EXPECT_LT(t[i], t[i - 1]) << i;
}

TEST(ConstantTables, LinearLevelTellingValues) {
  const std::pair<int, double> telling[] = {
      {0, 0.0},     {1, 0.0009},  {4, 0.0035},   {5, 0.0071},   {8, 0.0088}, {16, 0.0141},
      {32, 0.0293}, {64, 0.0786}, {128, 0.2615}, {192, 0.5679}, {255, 1.0}};
  const auto& t = maths::linear_level();
  for (const auto& [level, value] : telling) EXPECT_NEAR(t[level], value, 0.00005) << level;
}

TEST(ConstantTables, LinearToLevelTellingValuesAndShape) {
  const std::pair<int, int> telling[] = {{0, 0},      {1, 1},     {8, 9},     {64, 55},
                                         {128, 85},   {256, 125}, {512, 180}, {768, 221},
                                         {1000, 252}, {1023, 255}};
  const auto& t = maths::linear_to_level();
  for (const auto& [x, level] : telling) EXPECT_EQ(t[x], level) << x;
  for (int x = 1; x < 1024; ++x) EXPECT_GE(t[x], t[x - 1]) << x;
}

TEST(ConstantTables, ZoneMapRingsAroundTheCentre) {
  auto zone = [](int row, int column) { return zone_of(row * 128 + column); };
  EXPECT_EQ(zone(0, 0), 0);
  EXPECT_EQ(zone(0, 36), 1);  // map row 0, column 9
  EXPECT_EQ(zone(3, 35), 0);  // map column 8
  EXPECT_EQ(zone(46, 64), 3);
  EXPECT_EQ(zone(12, 48), 2);  // map row 3, column 12
  EXPECT_EQ(zone(91, 36), 1);  // rows 88..91 are the last map row
  EXPECT_EQ(zone(91, 35), 0);
  for (int row = 0; row < 92; ++row)
    for (int column = 0; column < 128; ++column)
      ASSERT_EQ(zone(row, column), zone(91 - row, column)) << "top and bottom mirror";
}

}  // namespace
}  // namespace zkimgset::autosetup
