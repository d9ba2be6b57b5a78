// The density and colour-balance conversions and the byte-order exports, on
// a library state of the test's own.
#include "colour/conversions.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "colour/balance_curves.h"
#include "colour/swap_run.h"
#include "colour/table_limits.h"
#include "support/colour_tables.h"
#include "support/pictures.h"

namespace zkimgset::colour {
namespace {

using geometry::Layout;
using testing::TestPicture;

class Conversions : public ::testing::Test {
 protected:
  // Identity 3-D table, and a 1-D table that inverts every level.
  Conversions() : alt_(testing::identity_table_3d()), table1d_(kTable1dBytes) {
    for (int level = 0; level < 256; ++level)
      for (int c = 0; c < 3; ++c) table1d_[3 * level + c] = std::uint8_t(255 - level);
    state_.ColorTable3dAlt = alt_.data();
    state_.Table1d = table1d_.data();
    state_.Table1dStatus = state_.Table3dStatus = 0;
  }
  int run(std::vector<std::uint8_t>& pixels, int w, int h, Core core, Shifts shifts = {},
          Layout layout = Layout::PackedRgb) {
    return convert(state_, pixels.data(), w, h, layout, core, shifts);
  }
  std::vector<std::uint8_t> alt_, table1d_;
  LibraryState state_;
};

// Inside a white border of 3, 2, 4 and 1 pixels, a colour; the 1-D table
// turns white into black inside the picture, but the border stays.
std::vector<std::uint8_t> framed(int r, int g, int b) {
  return TestPicture(40, 30,
                     [&](int x, int y, std::uint8_t* px) {
                       const bool border = x < 3 || y < 2 || x >= 36 || y >= 29;
                       px[0] = border ? 255 : r, px[1] = border ? 255 : g, px[2] = border ? 255 : b;
                     })
      .rgb;
}

TEST_F(Conversions, WhiteBorderIsLeftUntouched) {
  state_.ColorConvMode = 0;
  auto pixels = framed(100, 150, 200);
  ASSERT_EQ(run(pixels, 40, 30, Core::Density), 0);
  EXPECT_EQ(pixels, framed(155, 105, 55)) << "255 - v through the identity 3-D table";
}

// Start-up first, then the tables the core needs, the pixels, and for the
// balance alone the analysis size rule; a refused conversion touches nothing.
TEST_F(Conversions, StatusesComeInTheCoresOrder) {
  std::vector<std::uint8_t> pixels(3 * 6145 * 128, 77);
  const auto before = pixels;
  using enum Core;
  const struct {
    int startup, status1d, status3d;
    bool no_pixels;
    int w, h;
    Core core;
    int status;
  } cases[] = {{0, 0, -1, false, 200, 200, ThreeD, -1},  {0, 17, 18, false, 200, 200, Density, 17},
               {0, 17, 18, false, 200, 200, OneD, 17},   {0, 17, 18, false, 200, 200, ThreeD, 18},
               {3, 17, 18, false, 200, 200, Balance, 3}, {0, 0, 0, true, 200, 200, Balance, 2},
               {0, 0, 0, false, 128, 91, Balance, 4},    {0, 0, 0, false, 6145, 100, Balance, 4},
               {0, 17, 18, false, 92, 128, Balance, 0},  {0, 0, -1, false, 6144, 92, OneD, 0}};
  for (const auto& c : cases) {
    state_.StartupStatus = c.startup;
    state_.Table1dStatus = c.status1d;
    state_.Table3dStatus = c.status3d;
    EXPECT_EQ(convert(state_, c.no_pixels ? nullptr : pixels.data(), c.w, c.h, Layout::PackedRgb,
                      c.core, {}),
              c.status)
        << c.w << " x " << c.h << ", core " << int(c.core);
    if (c.status != 0) {
      EXPECT_TRUE(pixels == before) << "a refused conversion touches nothing";
    }
    pixels = before;
  }
}

TEST_F(Conversions, WhiteGuardReservesPureWhite) {
  // 23, 31, 39 lie on nodes of the identity table and come back as they are.
  std::vector<std::uint8_t> pixels = {255, 255, 250, 255, 255, 255, 23, 31, 39};
  ASSERT_EQ(run(pixels, 3, 1, Core::ThreeD), 0);
  EXPECT_EQ(pixels, (std::vector<std::uint8_t>{254, 254, 250, 255, 255, 255, 23, 31, 39}));
}

TEST_F(Conversions, OneDStageFollowsTheModeAndTheShifts) {
  auto ramp = [] {
    std::vector<std::uint8_t> p(3 * 256);
    for (int i = 0; i < 256; ++i) p[3 * i] = p[3 * i + 1] = p[3 * i + 2] = std::uint8_t(i);
    p[0] = p[1] = p[2] = 1;  // keep the picture free of a white-only area
    return p;
  };
  auto pixels = ramp();
  ASSERT_EQ(run(pixels, 256, 1, Core::OneD, {9, 0, -100}), 0);
  auto seven = ramp();
  ASSERT_EQ(run(seven, 256, 1, Core::OneD, {7, 0, -7}), 0);
  EXPECT_EQ(pixels, seven) << "shifts beyond 7 act as 7";
  EXPECT_EQ(pixels[3 * 64], balance_curve(14)[64]);
  EXPECT_EQ(pixels[3 * 64 + 2], balance_curve(0)[64]);

  for (std::int16_t mode : {0, 1}) {
    state_.ColorConvMode = mode;
    pixels = ramp();
    ASSERT_EQ(run(pixels, 256, 1, Core::OneD, {1, 0, 0}), 0);
    EXPECT_EQ(pixels[3 * 64], 255 - balance_curve(8)[64]) << "curve, then the 1-D table";
  }
}

TEST_F(Conversions, BitmapLayoutKeepsRedInTheThirdByte) {
  std::vector<std::uint8_t> pixels = {10, 20, 30, 40, 50, 60, 0, 0};  // 2 pixels + padding
  ASSERT_EQ(run(pixels, 2, 1, Core::OneD, {0, 0, 7}, Layout::BitmapBgr), 0);
  EXPECT_EQ(pixels[0], balance_curve(14)[10]) << "blue is the first byte";
  EXPECT_EQ(pixels[2], 30);
  EXPECT_EQ(pixels[6], 0) << "padding untouched";
}

TEST(ByteOrder, RoundTripsOddWidths) {
  for (const auto& [w, h] : {std::pair{1, 1}, std::pair{7, 2}, std::pair{129, 33}}) {
    const TestPicture p = testing::noise_picture(w, h, unsigned(w * h));
    const std::size_t padded = std::size_t((3 * w + 3) / 4 * 4) * std::size_t(h);
    std::vector<std::uint8_t> buffer(padded, 0);
    std::memcpy(buffer.data(), p.rgb.data(), p.rgb.size());
    packed_to_bitmap(buffer.data(), w, h);
    // Bottom row first, B G R.
    EXPECT_EQ(buffer[0], p.pixel(0, h - 1)[2]);
    EXPECT_EQ(buffer[2], p.pixel(0, h - 1)[0]);
    bitmap_to_packed(buffer.data(), w, h);
    EXPECT_EQ(std::memcmp(buffer.data(), p.rgb.data(), p.rgb.size()), 0) << w << "x" << h;
  }
}

TEST(SwapRun, VectorKernelMatchesThePlainOneInPlaceAndMovingDown) {
  std::vector<std::uint8_t> source(3 * 1003 + 9);
  for (std::size_t i = 0; i < source.size(); ++i)
    source[i] = static_cast<std::uint8_t>(i * 37 + 11);
  for (std::size_t shift : {0u, 3u, 5u, 9u}) {  // dst at src, or below it
    std::vector<std::uint8_t> plain = source, fast = source;
    swap_run_plain(plain.data(), plain.data() + shift, 1000);
    swap_run(fast.data(), fast.data() + shift, 1000);
    EXPECT_EQ(plain, fast) << shift;
    EXPECT_EQ(plain[0], source[shift + 2]);
  }
}

}  // namespace
}  // namespace zkimgset::colour
