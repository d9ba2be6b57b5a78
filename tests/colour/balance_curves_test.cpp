// The 15 balance curves: power curves with their fixed ends (254 at the top
// for shifts -7 to -2). Which shift takes which curve is the conversions
// test's.
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

}  // namespace
}  // namespace zkimgset::colour
