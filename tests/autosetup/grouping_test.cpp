// The group analysis: the fast grouping against the literal one, the retry,
// the exclusion of extreme groups and the subject selection.
#include "autosetup/grouping.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <memory>
#include <numbers>
#include <random>

#include "autosetup/analysis.h"
#include "autosetup/constant_tables.h"
#include "autosetup/statistics.h"
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

Painter stripes(int period) {
  return [period](int row, int column, std::uint8_t* v) {
    const bool dark = (row + 2 * column) / period % 2 == 0;
    v[0] = v[2] = dark ? 40 : 200;
    v[1] = v[3] = 128;
  };
}

Painter spiral() {
  return [](int row, int column, std::uint8_t* v) {
    const double dy = row - 46, dx = column - 64;
    const double turn = std::atan2(dy, dx) / (2 * std::numbers::pi) + std::hypot(dx, dy) / 9;
    v[0] = v[2] = static_cast<std::uint8_t>(static_cast<int>(turn * 4) % 2 == 0 ? 60 : 180);
    v[1] = 128 + static_cast<int>(turn) % 3;
    v[3] = 128;
  };
}

Painter checkerboard(int cell) {
  return [cell](int row, int column, std::uint8_t* v) {
    v[0] = v[2] = (row / cell + column / cell) % 2 == 0 ? 30 : 220;
    v[1] = v[3] = 128;
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

struct GroupingCase {
  const char* name;
  Painter paint;
  int toler, cb_limit, cr_limit;
};

TEST(Grouping, MatchesTheLiteralRelabellingLabelForLabel) {
  std::vector<GroupingCase> cases = {
      {"coarse noise", noise(1, 12), 4, 3, 3},    {"fine noise", noise(2, 40), 1, 1, 1},
      {"dense noise", noise(3, 6), 2, 2, 2},      {"stripes", stripes(5), 3, 1, 1},
      {"thin stripes", stripes(1), 3, 1, 1},      {"spiral", spiral(), 2, 1, 1},
      {"checkerboard", checkerboard(1), 5, 1, 1}, {"big checks", checkerboard(7), 5, 1, 1},
      {"photo", photo_like(4), 3, 2, 2},          {"photo, loose", photo_like(5), 9, 5, 5},
      {"photo, tight", photo_like(6), 1, 1, 1}};
  for (unsigned seed = 10; seed < 16; ++seed)
    cases.push_back(
        {"noise sweep", noise(seed, 3 + seed % 5 * 4), int(seed % 4), 1 + int(seed % 3), 2});
  for (const GroupingCase& c : cases) {
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
  EXPECT_EQ(box.mean_y, 30);
  EXPECT_EQ(box.mean_cb, -28);
  EXPECT_EQ(box.mean_cr, 22);
  EXPECT_EQ(box.min_column, 20);
  EXPECT_EQ(box.max_column, 59);
  EXPECT_EQ(box.min_row, 10);
  EXPECT_EQ(box.max_row, 29);
  EXPECT_EQ(state.groups.count[0], kThumbPixels - 800);
  EXPECT_EQ(state.groups.group[0].max_column, 127);
}

TEST(GroupAnalysis, FlatThumbnailIsNeverGrouped) {
  // Level 20 everywhere: flat, yet below the band where a crowded level
  // makes the picture unusable.
  auto thumb = std::make_unique<_ThumbnailData>();
  for (int i = 0; i < kThumbPixels; ++i)
    for (int p = 0; p < 4; ++p) thumb->plane[p][i] = 20;
  AnalysisState state;
  LibraryState library;
  library.setup_mode = 0x1F;
  library.shooting.param.Flash = 0;
  state.nextgrp = 1234;
  run_analysis(*thumb, state, library);
  EXPECT_EQ(state.dif_av, 0);
  EXPECT_EQ(library.setup_mode & ZKIMGSET_SETUP_GROUP_DENSITY, 0);
  EXPECT_EQ(state.nextgrp, 1234) << "no grouping ran";
  EXPECT_EQ(state.dens_eff, state.dens_av) << "the plain density (bit 3) took over";
}

TEST(GroupAnalysis, FineNoiseRetriesWithWiderTolerancesThenGivesUp) {
  // Thumbnail in RGB, as made from a picture: the statistics turn it into
  // luminance and colour differences.
  auto thumb = std::make_unique<_ThumbnailData>();
  std::mt19937 random(9);
  for (int i = 0; i < kThumbPixels; ++i) {
    const int r = 100 + random() % 44, g = 100 + random() % 44, b = 100 + random() % 44;
    thumb->plane[1][i] = static_cast<std::uint8_t>(r);
    thumb->plane[2][i] = static_cast<std::uint8_t>(g);
    thumb->plane[3][i] = static_cast<std::uint8_t>(b);
    thumb->plane[0][i] = static_cast<std::uint8_t>((306 * r + 601 * g + 117 * b) >> 10);
  }
  AnalysisState state;
  LibraryState library;
  library.setup_mode = 0x1F;
  library.shooting.param.Flash = 0;
  auto probe = std::make_unique<_ThumbnailData>(*thumb);
  AnalysisState first;
  ASSERT_TRUE(run_statistics(*probe, first, library));
  neighbour_differences(*probe, first);
  ASSERT_LT(first.dif_av, 50);
  ASSERT_LE(first.groups.cb_dif + first.groups.cr_dif, 28) << "busy enough to try grouping";

  run_analysis(*thumb, state, library);
  EXPECT_GT(state.allgrpno, kMaxGroups);
  EXPECT_EQ(state.toler, first.toler + (first.toler < 10 ? 1 : 2));
  EXPECT_EQ(state.groups.cb_limit, first.groups.cb_limit + 1);
  EXPECT_EQ(library.setup_mode & ZKIMGSET_SETUP_GROUP_DENSITY, 0);
}

// ---- Exclusion and subject, on group records made by hand -----------------

class GroupSelection : public ::testing::Test {
 protected:
  GroupSelection() {
    state_.dens_av = 700;
    state_.wt_clp = 250;
    state_.bk_clp = 5;
    state_.yy_av = 120;
    library_.shooting.param.Flash = 255;
  }
  int add(int count, int mean_y, int cb, int cr, int min_c, int max_c, int min_r, int max_r) {
    const int k = state_.allgrpno++;
    state_.groups.group[k] = Group{mean_y,
                                   cb,
                                   cr,
                                   std::uint8_t(min_c),
                                   std::uint8_t(max_c),
                                   std::uint8_t(min_r),
                                   std::uint8_t(max_r)};
    state_.groups.count[k] = static_cast<std::uint16_t>(count);
    return k;
  }
  AnalysisState state_;
  LibraryState library_;
};

TEST_F(GroupSelection, EqualScoresKeepTheEarlierGroupExcluded) {
  add(5000, 120, 0, 0, 0, 127, 0, 91);                             // the normal background
  for (int k = 0; k < 13; ++k) add(100, 2, 0, 0, 10, 20, 10, 20);  // 13 equally extreme groups
  exclude_extreme_groups(state_);
  for (int k = 1; k <= 12; ++k) EXPECT_EQ(state_.groups.excluded[k], 1) << k;
  EXPECT_EQ(state_.groups.excluded[13], 0) << "the thirteenth equal score does not enter";
  EXPECT_EQ(state_.groups.excluded[0], 0);
  EXPECT_EQ(state_.selected_count, 5100);
  EXPECT_EQ(state_.groups.kept_hist[2], 100);
}

TEST_F(GroupSelection, SkinPatchInTheMiddleIsTheSubject) {
  add(8000, 120, 0, 0, 0, 127, 0, 91);
  const int skin = add(300, 150, -20, 20, 55, 74, 35, 54);  // 20 x 20 box, 300 of 400
  exclude_extreme_groups(state_);
  select_subject(state_, library_);
  EXPECT_EQ(state_.density_weight, 300);
  EXPECT_EQ(state_.groups.subject_y, 150);
  EXPECT_EQ(state_.yy_select, 150) << "flash unknown: the subject's mean";
  EXPECT_EQ(state_.dens_sel, level_density()[150]);
  EXPECT_EQ(state_.groups.count[skin], 300);
  EXPECT_EQ(state_.groups.count[0], 0) << "the background is no subject";
}

TEST_F(GroupSelection, SubjectColourIsTakenAfterTheBalanceOffsets) {
  add(8000, 120, 0, 0, 0, 127, 0, 91);
  add(300, 150, -20, 20, 55, 74, 35, 54);
  state_.cb_ofs = -60;  // -20 - (-60) = +40: no longer a warm colour
  exclude_extreme_groups(state_);
  select_subject(state_, library_);
  EXPECT_EQ(state_.density_weight, state_.selected_count);
}

TEST_F(GroupSelection, PatchTouchingAnEdgeOrACornerIsNoSubject) {
  const int boxes[][4] = {{0, 19, 35, 54}, {108, 127, 35, 54}, {3, 22, 2, 21}, {110, 125, 80, 90}};
  for (const auto& box : boxes) {
    state_.allgrpno = 0;
    add(8000, 120, 0, 0, 0, 127, 0, 91);
    add(300, 150, -20, 20, box[0], box[1], box[2], box[3]);
    exclude_extreme_groups(state_);
    select_subject(state_, library_);
    EXPECT_EQ(state_.density_weight, state_.selected_count) << box[0] << "," << box[2];
  }
}

TEST_F(GroupSelection, WithoutASubjectTheKeptGroupsDecide) {
  add(6000, 120, 0, 0, 0, 127, 0, 91);
  add(5000, 120, 3, 3, 0, 127, 0, 91);
  exclude_extreme_groups(state_);
  select_subject(state_, library_);
  EXPECT_EQ(state_.density_weight, 11000);
  EXPECT_EQ(state_.density_weight, state_.selected_count);
  EXPECT_EQ(state_.dens_eff, level_density()[120]);
  EXPECT_EQ(state_.dens_sel, level_density()[120]) << "kept density, and yy_av's";
}

TEST_F(GroupSelection, KnownFlashReachesIntoTheSubjectHistogram) {
  library_.shooting.param.Flash = 0;  // not fired, no brightness: half the subject from the top
  add(8000, 120, 0, 0, 0, 127, 0, 91);
  add(300, 200, -20, 20, 55, 74, 35, 54);
  add(300, 100, -20, 20, 80, 99, 35, 54);
  exclude_extreme_groups(state_);
  select_subject(state_, library_);
  EXPECT_EQ(state_.groups.subject_y, 150);
  EXPECT_EQ(state_.yy_select, (200 + 150) / 2);
  EXPECT_EQ(
      state_.dens_sel,
      (level_density()[175] + (level_density()[200] * 300 + level_density()[100] * 300) / 600) / 2);
}

}  // namespace
}  // namespace zkimgset::autosetup
