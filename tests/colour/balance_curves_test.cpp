// The 15 balance curves: power curves with their fixed ends (254 at the top
// for shifts -7 to -2) and telling values.
#include "colour/balance_curves.h"

#include <gtest/gtest.h>

#include <cmath>

namespace zkimgset::colour {
namespace {

TEST(BalanceCurves, EveryCurveIsAMonotonePowerCurveWithItsEnds) {
  const double gamma[15] = {1.495, 1.416, 1.33,  1.258, 1.189, 1.13,  1.06, 1.0,
                            0.949, 0.908, 0.852, 0.805, 0.762, 0.725, 0.682};
  for (int c = 0; c < 15; ++c) {
    const BalanceCurve& curve = balance_curve(c);
    EXPECT_EQ(curve[0], 0) << c;
    EXPECT_EQ(curve[255], c - 7 <= -2 ? 254 : 255) << c;
    for (int i = 1; i < 256; ++i) ASSERT_GE(curve[i], curve[i - 1]) << c << " at " << i;
    for (int i = 0; i < 256; ++i)
      ASSERT_NEAR(curve[i], std::lround(255 * std::pow(i / 255.0, gamma[c])), c == 7 ? 0 : 1)
          << c << " at " << i;
  }
}

TEST(BalanceCurves, TellingValues) {
  const struct {
    int shift;
    int at[6];  // at 16, 64, 128, 192, 254, 255
  } telling[] = {{-7, {4, 32, 91, 167, 253, 254}},
                 {-1, {14, 59, 123, 189, 254, 255}},
                 {0, {16, 64, 128, 192, 254, 255}},
                 {1, {19, 69, 133, 195, 254, 255}},
                 {7, {39, 100, 159, 210, 254, 255}}};
  const int level[6] = {16, 64, 128, 192, 254, 255};
  for (const auto& t : telling)
    for (int k = 0; k < 6; ++k)
      EXPECT_EQ(balance_curve(curve_index_for_shift(t.shift))[level[k]], t.at[k]) << t.shift;
}

}  // namespace
}  // namespace zkimgset::colour
