// The group analysis: the fast grouping against the literal one, the
// exclusion of extreme groups and the subject selection.
#include "autosetup/grouping.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <numbers>
#include <random>
#include <vector>

#include "autosetup/constant_tables.h"

namespace zkimgset::autosetup {
namespace {

struct ReferenceGrouping {
  std::vector<std::uint16_t> label;  // renumbered by first appearance
  int nextgrp = 0, allgrpno = 0;
};

// The grouping exactly as the format describes it, relabelling every pixel
// so far at each merge: slow, kept only as the reference to match.
ReferenceGrouping reference_grouping(const _ThumbnailData& t, int toler, int cb_limit,
                                     int cr_limit) {
  constexpr int W = 128, H = 92, N = W * H;
  auto similar = [&](int a, int b) {
    return std::abs(t.plane[0][a] - t.plane[0][b]) <= toler &&
           std::abs(t.plane[3][a] - t.plane[3][b]) <= cb_limit &&
           std::abs(t.plane[1][a] - t.plane[1][b]) <= cr_limit;
  };
  std::vector<int> label(N, -1);
  int next = 0;
  label[0] = next++;
  for (int c = 1; c < W; ++c) label[c] = similar(c, c - 1) ? label[c - 1] : next++;
  for (int r = 1; r < H; ++r) {
    for (int c = 0; c < W; ++c) {
      const int i = r * W + c;
      std::vector<int> neighbours;
      if (c > 0) neighbours = {i - 1, i - W - 1};
      neighbours.push_back(i - W);
      if (c < W - 1) neighbours.push_back(i - W + 1);
      bool labelled = false;
      std::vector<int> merge;  // ascending
      for (int nb : neighbours) {
        if (!similar(i, nb)) continue;
        if (!labelled) {
          label[i] = label[nb];
          labelled = true;
        } else if (label[nb] != label[i]) {
          if (merge.empty()) {
            merge = {std::min(label[i], label[nb]), std::max(label[i], label[nb])};
          } else {
            merge.insert(std::lower_bound(merge.begin(), merge.end(), label[nb]), label[nb]);
          }
        }
      }
      if (!labelled) {
        label[i] = next++;
      } else if (!merge.empty()) {
        for (int p = 0; p <= i; ++p)
          if (label[p] != merge[0] &&
              std::find(merge.begin() + 1, merge.end(), label[p]) != merge.end())
            label[p] = merge[0];
      }
    }
  }
  ReferenceGrouping out;
  out.nextgrp = next;
  std::map<int, int> number;
  out.label.resize(N);
  for (int i = 0; i < N; ++i) {
    auto [it, fresh] = number.try_emplace(label[i], static_cast<int>(number.size()));
    out.label[i] = static_cast<std::uint16_t>(it->second);
  }
  out.allgrpno = static_cast<int>(number.size());
  return out;
}

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

TEST(Grouping, MatchesTheLiteralRelabellingLabelForLabel) {
  const struct {
    const char* name;
    Painter paint;
    int toler, cb_limit, cr_limit;
  } cases[] = {
      {"coarse noise", noise(1, 12), 4, 3, 3}, {"fine noise", noise(2, 40), 1, 1, 1},
      {"stripes", pattern("s", 5), 3, 1, 1},   {"thin stripes", pattern("s", 1), 3, 1, 1},
      {"spiral", pattern("p", 0), 2, 1, 1},    {"checkerboard", pattern("c", 1), 5, 1, 1},
  };
  for (const auto& c : cases) {
    const auto thumb = thumbnail(c.paint);
    AnalysisState state;
    state.toler = static_cast<std::int16_t>(c.toler);
    state.groups.cb_limit = static_cast<std::int16_t>(c.cb_limit);
    state.groups.cr_limit = static_cast<std::int16_t>(c.cr_limit);
    const bool grouped = group_pixels(*thumb, state);
    const auto reference = reference_grouping(*thumb, c.toler, c.cb_limit, c.cr_limit);
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

// ---- Exclusion and subject, on group records made by hand -----------------

struct Box {
  int count = 0;
  Group group{};  // mean Y, Cb, Cr; first and last column and row
};

AnalysisState with_groups(const std::vector<Box>& boxes) {
  AnalysisState s;
  s.dens_av = 700;
  s.wt_clp = 250;
  s.bk_clp = 5;
  s.yy_av = 120;
  for (const Box& b : boxes) {
    if (b.count == 0) continue;
    const int k = s.allgrpno++;
    s.groups.group[k] = b.group;
    s.groups.count[k] = static_cast<std::uint16_t>(b.count);
  }
  return s;
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
  const struct {
    const char* what;
    std::uint16_t flash;
    int cb_ofs;
    Box first, second;  // after a background of 8000 pixels at level 120
    int weight, yy_select, dens_sel;
  } cases[] = {
      {"middle, flash unknown: its mean", 255, 0, patch(55, 74, 35, 54), {}, 300, 150, ld[150]},
      {"colour taken after the offsets (+40)", 255, -60, patch(55, 74, 35, 54), {}, 0, -1, -1},
      {"touching the left edge", 255, 0, patch(0, 19, 35, 54), {}, 0, -1, -1},
      {"in the top left corner", 255, 0, patch(3, 22, 2, 21), {}, 0, -1, -1},
      // Not fired, no brightness: half the subject from the top.
      {"flash known", 0, 0, patch(55, 74, 35, 54, 200), patch(80, 99, 35, 54, 100), 600, 175,
       (ld[175] + (ld[200] * 300 + ld[100] * 300) / 600) / 2}};
  for (const auto& c : cases) {
    AnalysisState s = with_groups({{8000, {120, 0, 0, 0, 127, 0, 91}}, c.first, c.second});
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
  }
}

}  // namespace
}  // namespace zkimgset::autosetup
