// The set-up colour table: its blend, telling nodes, and its reuse.
#include "colour/setup_table.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "colour/interpolate3d.h"
#include "colour/perceptual_space.h"
#include "colour/table_limits.h"

namespace zkimgset::colour {
namespace {

TEST(BlendWeight, FollowsTheRangeOnlyForTheServiceModes) {
  const struct {
    std::uint16_t setup_mode;
    std::int32_t service_ran;
    int range;
    double weight;
  } cases[] = {
      {27, 0, 66, 0.0}, {31, 0, 100, 0.2}, {31, 0, 240, 1.0}, {31, 1, 50, 1.0}, {0xDF, 0, 50, 1.0}};
  for (const auto& c : cases) {
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

// With no correction (setup_mode 0) the table is the file's table (the
// identity, when the mode leaves it out, is ImageDataConvert's neutral test's).
TEST_F(SetupTable, NoCorrectionGivesTheFileTable) {
  for (std::size_t i = 0; i < kTable3dNodeBytes; ++i) alt_[i] = 10;  // everything to 10
  library_.ColorConvMode = 0;
  build_setup_table(library_, analysis_);
  EXPECT_EQ(node(3, 9, 27), (Rgb8{10, 10, 10}));
}

// A table built again for changed inputs must be what a table built afresh
// for them is, whichever input changed: the reuse of the last table may not
// go stale. Each change is made on top of the ones before it.
TEST_F(SetupTable, EveryInputChangeGivesWhatAFreshBuildGives) {
  std::vector<std::uint8_t> table1d(kTable1dBytes);
  for (std::size_t i = 0; i < kTable1dBytes; ++i)
    table1d[i] = static_cast<std::uint8_t>(i / 3 + (255 - i / 3) / 8);
  library_.Table1d = table1d.data();
  // The file's table halves every colour, so that leaving it out shows.
  for (int n = 0; n < 32 * 32 * 32; ++n)
    for (int c = 0; c < 3; ++c)
      alt_[std::size_t(3 * n + c)] = static_cast<std::uint8_t>(input(n >> (5 * (2 - c)) & 31) / 2);
  library_.ColorConvMode = 0;
  library_.setup_mode = 31;  // the blend applies: the clip range counts
  analysis_.wt_clp = 150;
  const struct {
    const char* name;
    void (*change)(LibraryState&, Correction&);
  } changes[] = {
      {"tone", [](LibraryState&, Correction& a) { a.tone[100] = 140; }},
      {"saturation", [](LibraryState&, Correction& a) { a.sat_coef[20] = 1400; }},
      {"gain", [](LibraryState&, Correction& a) { a.gain[1] = 1.2f; }},
      {"shift C", [](LibraryState& l, Correction&) { l.adjust.SetupAdjustC = 3; }},
      {"shift D", [](LibraryState& l, Correction&) { l.adjust.SetupAdjustD = -3; }},
      {"balance step", [](LibraryState& l, Correction&) { l.adjust.BalanceStep2 = 9; }},
      {"3-D table bytes",
       [](LibraryState& l, Correction&) { l.ColorTable3dAlt[((20 * 32 + 20) * 32 + 20) * 3] = 9; }},
      {"1-D table bytes",
       [](LibraryState& l, Correction&) {
         for (int v = 0; v < 256; ++v) l.Table1d[3 * v] = static_cast<std::uint8_t>(v / 2);
       }},
      {"level stretch", [](LibraryState& l, Correction&) { l.colour.white[0] = 200; }},
      {"white clip", [](LibraryState&, Correction& a) { a.wt_clp = 200; }},
      {"service ran", [](LibraryState& l, Correction&) { l.service_setup_ran = 1; }},
      {"small picture", [](LibraryState& l, Correction&) { l.setup_mode |= 0x80; }},
      {"skip 3-D table", [](LibraryState& l, Correction&) { l.ColorConvMode = 1; }},
      {"skip 1-D table", [](LibraryState& l, Correction&) { l.ColorConvMode = 2; }},
      {"no set-up", [](LibraryState& l, Correction&) { l.setup_mode = 0; }},
  };
  build_setup_table(library_, analysis_);
  const std::vector<std::uint8_t> first = main_;
  build_setup_table(library_, analysis_);
  EXPECT_TRUE(main_ == first) << "the same inputs, the same table";
  for (const auto& change : changes) {
    const std::vector<std::uint8_t> before = main_;
    change.change(library_, analysis_);
    build_setup_table(library_, analysis_);
    const std::vector<std::uint8_t> reused = main_;
    library_.setup_table_cache = SetupTableCache{};
    build_setup_table(library_, analysis_);
    EXPECT_TRUE(reused == main_) << change.name;
    EXPECT_FALSE(reused == before) << change.name << " should change the table";
  }
}

}  // namespace
}  // namespace zkimgset::colour
