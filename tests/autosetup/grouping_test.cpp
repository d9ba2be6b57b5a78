// The group analysis: the fast grouping against the literal one, the retry,
// the exclusion of extreme groups and the subject selection.
#include "autosetup/grouping.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <memory>
#include <numbers>
#include <random>

#include "autosetup/constant_tables.h"
#include "grouping_reference.h"

namespace zkimgset::autosetup {
namespace {

using Painter = std::function<void(int row, int column, std::uint8_t* yy_cr_y_cb)>;

// A thumbnail as the statistics stage leaves it: yy, Cr + 128, Y, Cb + 128.
std::unique_ptr<_ThumbnailData> thumbnail(const Painter& paint) {
  auto t = std::make_unique<_ThumbnailData>();
  for (int i = 0; i < kThumbPixels; ++i) {
    std::uint8_t v[4];
    paint(i / kThumbWidth, i % kThumbWidth, v);
    for (int p = 0; p < 4; ++p) t->plane[p][i] = v[p];
  }
  return t;
}

Painter noise(unsigned seed, int amplitude) {
  auto random = std::make_shared<std::mt19937>(seed);
  return [random, amplitude](int, int, std::uint8_t* v) {
    for (int p = 0; p < 4; ++p) v[p] = static_cast<std::uint8_t>(100 + (*random)() % amplitude);
  };
}

// Two levels in a pattern, grey: stripes, checks or a spiral of period n.
Painter pattern(const char* kind, int n) {
  return [kind, n](int row, int column, std::uint8_t* v) {
    const double turn = std::atan2(row - 46, column - 64) / (2 * std::numbers::pi) +
                        std::hypot(row - 46, column - 64) / 9;
    const bool dark = kind[0] == 's'   ? (row + 2 * column) / n % 2 == 0
                      : kind[0] == 'c' ? (row / n + column / n) % 2 == 0
                                       : int(turn * 4) % 2 == 0;
    v[0] = v[2] = dark ? 40 : 200;
    v[1] = static_cast<std::uint8_t>(128 + (kind[0] == 'p' ? int(turn) % 3 : 0));
    v[3] = 128;
  };
}

// Smooth shading with soft blobs and a little grain, like a photograph.
Painter photo_like(unsigned seed) {
  auto random = std::make_shared<std::mt19937>(seed);
  return [random](int row, int column, std::uint8_t* v) {
    const double shade =
        90 + 60 * std::sin(row / 13.0) * std::cos(column / 17.0) +
        40 * std::exp(-((row - 40) * (row - 40) + (column - 70) * (column - 70)) / 300.0);
    const int grain = static_cast<int>((*random)() % 5);
    v[0] = v[2] = static_cast<std::uint8_t>(shade + grain);
    v[1] = static_cast<std::uint8_t>(128 + (column > 64 ? 12 : -6) + grain % 2);
    v[3] = static_cast<std::uint8_t>(128 + (row > 46 ? -9 : 4));
  };
}

TEST(Grouping, MatchesTheLiteralRelabellingLabelForLabel) {
  struct Case {
    const char* name;
    Painter paint;
    int toler, cb_limit, cr_limit;
  };
  std::vector<Case> cases = {
      {"coarse noise", noise(1, 12), 4, 3, 3},    {"fine noise", noise(2, 40), 1, 1, 1},
      {"dense noise", noise(3, 6), 2, 2, 2},      {"stripes", pattern("s", 5), 3, 1, 1},
      {"thin stripes", pattern("s", 1), 3, 1, 1}, {"spiral", pattern("p", 0), 2, 1, 1},
      {"checkerboard", pattern("c", 1), 5, 1, 1}, {"big checks", pattern("c", 7), 5, 1, 1},
      {"photo", photo_like(4), 3, 2, 2},          {"photo, loose", photo_like(5), 9, 5, 5},
      {"photo, tight", photo_like(6), 1, 1, 1}};
  for (unsigned seed = 10; seed < 16; ++seed)
    cases.push_back(
        {"noise sweep", noise(seed, 3 + seed % 5 * 4), int(seed % 4), 1 + int(seed % 3), 2});
  for (const Case& c : cases) {
    const auto thumb = thumbnail(c.paint);
    AnalysisState state;
    state.toler = static_cast<std::int16_t>(c.toler);
    state.groups.cb_limit = static_cast<std::int16_t>(c.cb_limit);
    state.groups.cr_limit = static_cast<std::int16_t>(c.cr_limit);
    const bool grouped = group_pixels(*thumb, state);
    const auto reference = testing::reference_grouping(*thumb, c.toler, c.cb_limit, c.cr_limit);
    EXPECT_EQ(state.nextgrp, reference.nextgrp) << c.name;
    EXPECT_EQ(state.allgrpno, reference.allgrpno) << c.name;
    EXPECT_EQ(grouped, reference.allgrpno <= kMaxGroups) << c.name;
    if (grouped) {
      EXPECT_TRUE(std::equal(reference.label.begin(), reference.label.end(),
                             std::begin(state.groups.label)))
          << c.name;
    }
  }
}

TEST(Grouping, GroupRecordsSummariseTheirPixels) {
  const auto thumb = thumbnail([](int row, int column, std::uint8_t* v) {
    const bool box = row >= 10 && row <= 29 && column >= 20 && column <= 59;
    v[0] = v[2] = box ? 30 : 128;
    v[1] = box ? 150 : 128;  // Cr + 128
    v[3] = box ? 100 : 128;  // Cb + 128
  });
  AnalysisState state;
  state.toler = 5;
  state.groups.cb_limit = state.groups.cr_limit = 1;
  ASSERT_TRUE(group_pixels(*thumb, state));
  ASSERT_EQ(state.allgrpno, 2);  // the background first, as it appears first
  const Group& box = state.groups.group[1];
  EXPECT_EQ(state.groups.count[1], 20 * 40);
  EXPECT_EQ(state.groups.count[0], kThumbPixels - 800);
  EXPECT_EQ(state.groups.group[0].max_column, 127);
  // Both ends count: columns 20 to 59 are 40 wide.
  const int figures[] = {box.mean_y,     box.mean_cb, box.mean_cr, box.min_column,
                         box.max_column, box.min_row, box.max_row};
  const int expected[] = {30, -28, 22, 20, 59, 10, 29};
  EXPECT_TRUE(std::equal(std::begin(figures), std::end(figures), std::begin(expected)));
}

// ---- Exclusion and subject, on group records made by hand -----------------

struct Box {
  int count;
  Group group;  // mean Y, Cb, Cr; first and last column and row
};

AnalysisState with_groups(const std::vector<Box>& boxes) {
  AnalysisState s;
  s.dens_av = 700;
  s.wt_clp = 250;
  s.bk_clp = 5;
  s.yy_av = 120;
  for (const Box& b : boxes) {
    const int k = s.allgrpno++;
    s.groups.group[k] = b.group;
    s.groups.count[k] = static_cast<std::uint16_t>(b.count);
  }
  return s;
}

TEST(GroupSelection, EqualScoresKeepTheEarlierGroupExcluded) {
  std::vector<Box> boxes = {{5000, {120, 0, 0, 0, 127, 0, 91}}};       // the normal background
  boxes.insert(boxes.end(), 13, Box{100, {2, 0, 0, 10, 20, 10, 20}});  // 13 equally extreme
  AnalysisState s = with_groups(boxes);
  exclude_extreme_groups(s);
  for (int k = 1; k <= 12; ++k) EXPECT_EQ(s.groups.excluded[k], 1) << k;
  EXPECT_EQ(s.groups.excluded[13], 0) << "the thirteenth equal score does not enter";
  EXPECT_EQ(s.groups.excluded[0], 0);
  EXPECT_EQ(s.selected_count, 5100);
  EXPECT_EQ(s.groups.kept_hist[2], 100);
}

// A warm patch (Cb -20, Cr +20) of 300 pixels in a box of columns c0..c1,
// rows r0..r1, at level y.
Box patch(int c0, int c1, int r0, int r1, int y = 150) {
  const auto u8 = [](int v) { return static_cast<std::uint8_t>(v); };
  return {300, {y, -20, 20, u8(c0), u8(c1), u8(r0), u8(r1)}};
}

// A warm patch away from the edges is the subject: its count is the density
// weight (0: no subject, the kept groups decide) and its level leads the
// selected density.
TEST(GroupSelection, WarmPatchAwayFromTheEdgesIsTheSubject) {
  const auto& ld = level_density();
  const Box grey_whole = {5000, {120, 3, 3, 0, 127, 0, 91}};
  const struct {
    const char* what;
    std::uint16_t flash;
    int cb_ofs;
    std::vector<Box> boxes;  // after a background of 8000 pixels at level 120
    int weight, yy_select, dens_sel;
  } cases[] = {{"in the middle, flash unknown: its mean",
                255,
                0,
                {patch(55, 74, 35, 54)},
                300,
                150,
                ld[150]},
               // -20 - (-60) = +40: no longer a warm colour.
               {"colour taken after the offsets", 255, -60, {patch(55, 74, 35, 54)}, 0, -1, -1},
               {"touching the left edge", 255, 0, {patch(0, 19, 35, 54)}, 0, -1, -1},
               {"touching the right edge", 255, 0, {patch(108, 127, 35, 54)}, 0, -1, -1},
               {"in the top left corner", 255, 0, {patch(3, 22, 2, 21)}, 0, -1, -1},
               {"in the bottom right corner", 255, 0, {patch(110, 125, 80, 90)}, 0, -1, -1},
               {"no subject: the kept density, and yy_av's", 255, 0, {grey_whole}, 0, -1, ld[120]},
               // Not fired, no brightness: half the subject from the top.
               {"flash known",
                0,
                0,
                {patch(55, 74, 35, 54, 200), patch(80, 99, 35, 54, 100)},
                600,
                175,
                (ld[175] + (ld[200] * 300 + ld[100] * 300) / 600) / 2}};
  for (const auto& c : cases) {
    std::vector<Box> boxes = {{8000, {120, 0, 0, 0, 127, 0, 91}}};
    boxes.insert(boxes.end(), c.boxes.begin(), c.boxes.end());
    AnalysisState s = with_groups(boxes);
    s.cb_ofs = static_cast<std::int16_t>(c.cb_ofs);
    LibraryState library;
    library.shooting.param.Flash = c.flash;
    exclude_extreme_groups(s);
    select_subject(s, library);
    EXPECT_EQ(s.density_weight, c.weight == 0 ? s.selected_count : c.weight) << c.what;
    if (c.yy_select >= 0) {
      EXPECT_EQ(s.yy_select, c.yy_select) << c.what;
    }
    if (c.dens_sel >= 0) {
      EXPECT_EQ(s.dens_sel, c.dens_sel) << c.what;
    }
    if (c.weight > 0) {
      EXPECT_EQ(s.groups.subject_y, 150) << c.what;
    }
  }
}

}  // namespace
}  // namespace zkimgset::autosetup
