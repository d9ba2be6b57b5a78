// The set-up colour table and its constant tables.
#include "colour/setup_table.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <vector>

#include "colour/interpolate3d.h"
#include "colour/perceptual_space.h"
#include "colour/table_limits.h"
#include "maths/linear_light.h"

namespace zkimgset::colour {
namespace {

TEST(SetupTableConstants, ChromaLimitKeepsColoursInsideTheCube) {
  // Row 127 (level 128), the first hues: (255 - 128) / 1.772 and a little more.
  for (int h = 0; h < 5; ++h) EXPECT_EQ(chroma_limit(128, h), 72) << h;
  EXPECT_EQ(chroma_limit(255, 0), 0) << "no blue room above white";
  EXPECT_EQ(chroma_limit(1, 180), 1) << "(1 - 0) / 1.772 rounds to 1";
  for (int y : {1, 40, 128, 200, 254}) {
    for (int h = 0; h < 360; h += 7) {
      const double m = chroma_limit(y, h) - 0.5;  // just inside, after rounding
      if (m <= 0) continue;
      const double cb = m * std::cos(h * std::numbers::pi / 180),
                   cr = m * std::sin(h * std::numbers::pi / 180);
      const double rgb[3] = {y + 1.402 * cr, y - 0.34414 * cb - 0.71414 * cr, y + 1.772 * cb};
      for (double c : rgb) {
        EXPECT_GE(c, -0.01) << y << " " << h;
        EXPECT_LE(c, 255.01) << y << " " << h;
      }
    }
  }
}

TEST(PerceptualSpace, RoundTripsAndKnowsWhite) {
  const Lab white = rgb_to_lab(255, 255, 255);
  EXPECT_NEAR(white.l, 100, 0.01);
  EXPECT_NEAR(white.a, 0, 0.01);
  for (int v : {0, 37, 128, 200, 255}) {
    double r, g, b;
    lab_to_rgb(rgb_to_lab(v, 255 - v, v / 2), r, g, b);
    EXPECT_EQ(r, v);
    EXPECT_EQ(g, 255 - v);
    EXPECT_EQ(b, v / 2);
  }
}

struct BlendCase {
  std::uint16_t setup_mode;
  std::int32_t service_ran;
  int range;
  double weight;
};

TEST(BlendWeight, FollowsTheRangeOnlyForTheServiceModes) {
  const BlendCase cases[] = {{31, 0, 50, 0.0},   {27, 0, 66, 0.0},   {31, 0, 100, 0.2},
                             {31, 0, 200, 0.8},  {31, 0, 240, 1.0},  {31, 1, 50, 1.0},
                             {0xDF, 0, 50, 1.0}, {0x1B, 0, 150, 0.5}};
  for (const BlendCase& c : cases) {
    Correction a;
    a.bk_clp = 5;
    a.wt_clp = static_cast<std::int16_t>(5 + c.range);
    LibraryState library;
    library.setup_mode = c.setup_mode;
    library.service_setup_ran = c.service_ran;
    EXPECT_NEAR(blend_weight(a, library), c.weight, 1e-9) << c.setup_mode << " " << c.range;
  }
}

class SetupTable : public ::testing::Test {
 protected:
  SetupTable() : main_(kTable3dBytes), alt_(kTable3dBytes) {
    library_.ColorTable3dMain = main_.data();
    library_.ColorTable3dAlt = alt_.data();
    for (int i = 0; i < 256; ++i) analysis_.tone[i] = static_cast<std::uint8_t>(i);
    for (auto& c : analysis_.sat_coef) c = 1024;
    analysis_.wt_clp = 255;  // a full range: the blend takes the correction whole
  }
  Rgb8 node(int i, int j, int k) const {
    const std::uint8_t* p = &main_[((i * 32 + j) * 32 + k) * 3];
    return {p[0], p[1], p[2]};
  }
  std::vector<std::uint8_t> main_, alt_;
  LibraryState library_;
  Correction analysis_;
};

int input(int n) { return n == 0 ? 0 : 8 * n + 7; }

TEST_F(SetupTable, NeutralCorrectionStaysNearTheIdentity) {
  library_.setup_mode = 0x1F;
  build_setup_table(library_, analysis_);
  for (int i = 0; i < 31; i += 3)
    for (int k = 0; k < 31; k += 4) {
      const Rgb8 n = node(i, i, k);
      EXPECT_NEAR(n.r, input(i), 3) << i << "," << k;
      EXPECT_NEAR(n.b, input(k), 4) << i << "," << k;
    }
}

TEST_F(SetupTable, NoCorrectionRequestedClearsBitSixtyFour) {
  library_.setup_mode = 0xDF;
  build_setup_table(library_, analysis_);
  EXPECT_EQ(library_.setup_mode, 0x9F);
  library_.setup_mode = 0xDF;
  library_.adjust.SetupAdjustD = 20;
  build_setup_table(library_, analysis_);
  EXPECT_EQ(library_.setup_mode, 0xDF);
  EXPECT_EQ(library_.adjust.SetupAdjustD, 7) << "chroma shifts are clamped and stored back";
}

TEST_F(SetupTable, SmallPicturesPullNearSkinTowardTheReferenceSkin) {
  library_.setup_mode = 0x1F;
  build_setup_table(library_, analysis_);
  const Rgb8 skin_before = node(27, 22, 20), blue_before = node(5, 8, 28);
  library_.setup_mode = 0x1F | ZKIMGSET_SETUP_SMALL_IMAGE;
  build_setup_table(library_, analysis_);
  const Rgb8 skin_after = node(27, 22, 20), blue_after = node(5, 8, 28);
  const Lab reference{85, 14, 15};
  auto distance = [&](const Rgb8& c) {
    const Lab lab = rgb_to_lab(c.r, c.g, c.b);
    return std::hypot(lab.l - reference.l, lab.a - reference.a, lab.b - reference.b);
  };
  EXPECT_LT(distance(skin_after), distance(skin_before));
  EXPECT_EQ(blue_after, blue_before) << "far from skin: untouched";
}

// With no correction (setup_mode 0) the table is the file's table, or the
// identity with white on top when the mode leaves the file's table out.
TEST_F(SetupTable, NoCorrectionGivesTheFileTableOrTheIdentity) {
  for (std::size_t i = 0; i < kTable3dNodeBytes; ++i) alt_[i] = 10;  // everything to 10
  library_.ColorConvMode = 0;
  build_setup_table(library_, analysis_);
  EXPECT_EQ(node(3, 9, 27), (Rgb8{10, 10, 10}));
  library_.ColorConvMode = 1;
  build_setup_table(library_, analysis_);
  for (int i = 0; i < 32; i += 3)
    for (int j = 0; j < 32; j += 5)
      for (int k = 0; k < 32; k += 2)
        ASSERT_EQ(node(i, j, k),
                  (Rgb8{std::uint8_t(input(i)), std::uint8_t(input(j)), std::uint8_t(input(k))}));
  EXPECT_EQ(node(31, 31, 31), (Rgb8{255, 255, 255}));
}

// A table built again for changed inputs must be what a table built afresh
// for them is, whichever input changed: the reuse of the last table may not
// go stale.
struct InputChange {
  const char* name;
  void (*change)(LibraryState&, Correction&);
};

TEST(SetupTableCache, EveryInputChangeGivesWhatAFreshBuildGives) {
  const InputChange changes[] = {
      {"tone", [](LibraryState&, Correction& a) { a.tone[100] = 140; }},
      {"saturation", [](LibraryState&, Correction& a) { a.sat_coef[20] = 1400; }},
      {"gain", [](LibraryState&, Correction& a) { a.gain[1] = 1.2f; }},
      {"small picture", [](LibraryState& l, Correction&) { l.setup_mode |= 0x80; }},
      {"no set-up", [](LibraryState& l, Correction&) { l.setup_mode = 0; }},
      {"shift C", [](LibraryState& l, Correction&) { l.adjust.SetupAdjustC = 3; }},
      {"shift D", [](LibraryState& l, Correction&) { l.adjust.SetupAdjustD = -3; }},
      {"balance step", [](LibraryState& l, Correction&) { l.adjust.BalanceStep2 = 9; }},
      {"skip 3-D table", [](LibraryState& l, Correction&) { l.ColorConvMode = 1; }},
      {"skip 1-D table", [](LibraryState& l, Correction&) { l.ColorConvMode = 2; }},
      {"1-D table bytes",
       [](LibraryState& l, Correction&) {
         for (int v = 0; v < 256; ++v) l.Table1d[3 * v] = static_cast<std::uint8_t>(v / 2);
       }},
      {"3-D table bytes",
       [](LibraryState& l, Correction&) { l.ColorTable3dAlt[((20 * 32 + 20) * 32 + 20) * 3] = 9; }},
      {"white clip", [](LibraryState&, Correction& a) { a.wt_clp = 250; }},
      {"service ran", [](LibraryState& l, Correction&) { l.service_setup_ran = 1; }},
      {"level stretch", [](LibraryState& l, Correction&) { l.colour.white[0] = 200; }},
  };
  for (const InputChange& change : changes) {
    std::vector<std::uint8_t> main(kTable3dBytes), alt(kTable3dBytes), table1d(kTable1dBytes);
    LibraryState library;
    Correction analysis;
    library.ColorTable3dMain = main.data();
    library.ColorTable3dAlt = alt.data();
    library.Table1d = table1d.data();
    library.ColorConvMode = 0;
    library.setup_mode = 31;  // the blend applies: the clip range counts
    for (int i = 0; i < 256; ++i) {
      analysis.tone[i] = static_cast<std::uint8_t>(i);
      for (int c = 0; c < 3; ++c)
        table1d[std::size_t(3 * i + c)] = static_cast<std::uint8_t>(i + (255 - i) / 8);
    }
    for (auto& c : analysis.sat_coef) c = 1024;
    analysis.wt_clp = 150;
    // The file's table halves every colour, so that leaving it out shows.
    for (int n = 0; n < 32 * 32 * 32; ++n)
      for (int c = 0; c < 3; ++c)
        alt[std::size_t(3 * n + c)] = static_cast<std::uint8_t>(input(n >> (5 * (2 - c)) & 31) / 2);

    build_setup_table(library, analysis);
    const std::vector<std::uint8_t> before = main;
    build_setup_table(library, analysis);
    EXPECT_TRUE(main == before) << change.name << ": the same inputs, the same table";
    change.change(library, analysis);
    build_setup_table(library, analysis);
    const std::vector<std::uint8_t> reused = main;
    library.setup_table_cache = SetupTableCache{};
    build_setup_table(library, analysis);
    EXPECT_TRUE(reused == main) << change.name;
    EXPECT_FALSE(reused == before) << change.name << " should change the table";
  }
}

}  // namespace
}  // namespace zkimgset::colour
