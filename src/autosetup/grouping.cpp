// The grouping: one raster pass gives each pixel the label of its first
// similar neighbour (left, up-left, up, up-right) or a new one, and merges
// the labels of its other similar neighbours into the smallest of them.
// Merging "relabels every pixel so far" in the format's description; here
// the labels live in a union-find whose roots are the smallest label of each
// set, which gives the same labels at the end for a cost that does not grow
// with the number of merges. The groups are then renumbered in order of
// first appearance.
#include "autosetup/grouping.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <numeric>

namespace zkimgset::autosetup {
namespace {

class SmallestRootSets {
 public:
  SmallestRootSets() { std::iota(std::begin(parent_), std::end(parent_), std::uint16_t{0}); }

  std::uint16_t find(std::uint16_t label) {
    while (parent_[label] != label) {
      parent_[label] = parent_[parent_[label]];  // path halving
      label = parent_[label];
    }
    return label;
  }

  void unite(std::uint16_t a, std::uint16_t b) {
    a = find(a);
    b = find(b);
    if (a < b) parent_[b] = a;
    if (b < a) parent_[a] = b;
  }

 private:
  std::uint16_t parent_[kThumbPixels];
};

struct Similarity {
  const _ThumbnailData& t;
  int toler, cb_limit, cr_limit;

  bool operator()(int a, int b) const {
    return std::abs(t.plane[kPlaneYy][a] - t.plane[kPlaneYy][b]) <= toler &&
           std::abs(t.plane[kPlaneBlueCb][a] - t.plane[kPlaneBlueCb][b]) <= cb_limit &&
           std::abs(t.plane[kPlaneRedCr][a] - t.plane[kPlaneRedCr][b]) <= cr_limit;
  }
};

// Labels every pixel; returns nextgrp, the number of labels handed out.
int label_pixels(const Similarity& similar, std::uint16_t* label, SmallestRootSets& sets) {
  int next = 0;
  label[0] = static_cast<std::uint16_t>(next++);
  for (int column = 1; column < kThumbWidth; ++column)
    label[column] = similar(column, column - 1) ? sets.find(label[column - 1])
                                                : static_cast<std::uint16_t>(next++);
  for (int row = 1; row < kThumbHeight; ++row) {
    for (int column = 0; column < kThumbWidth; ++column) {
      const int i = row * kThumbWidth + column;
      const int up = i - kThumbWidth;
      int neighbours[4], n = 0;
      if (column > 0) neighbours[n++] = i - 1, neighbours[n++] = up - 1;
      neighbours[n++] = up;
      if (column < kThumbWidth - 1) neighbours[n++] = up + 1;
      bool labelled = false;
      for (int k = 0; k < n; ++k) {
        if (!similar(i, neighbours[k])) continue;
        if (!labelled) {
          label[i] = sets.find(label[neighbours[k]]);
          labelled = true;
        } else {
          sets.unite(label[i], label[neighbours[k]]);
        }
      }
      if (!labelled) label[i] = static_cast<std::uint16_t>(next++);
    }
  }
  return next;
}

void summarise_groups(const _ThumbnailData& t, GroupState& g, int groups) {
  std::int32_t sum[kMaxGroups][3] = {};
  for (int k = 0; k < groups; ++k) {
    g.group[k] = Group{0, 0, 0, kThumbWidth - 1, 0, kThumbHeight - 1, 0};
    g.count[k] = 0;
  }
  for (int i = 0; i < kThumbPixels; ++i) {
    const int k = g.label[i];
    sum[k][0] += t.plane[kPlaneGreenY][i];
    sum[k][1] += t.plane[kPlaneBlueCb][i] - 128;
    sum[k][2] += t.plane[kPlaneRedCr][i] - 128;
    ++g.count[k];
    Group& box = g.group[k];
    const auto row = static_cast<std::uint8_t>(i / kThumbWidth);
    const auto column = static_cast<std::uint8_t>(i % kThumbWidth);
    box.min_column = std::min(box.min_column, column);
    box.max_column = std::max(box.max_column, column);
    box.min_row = std::min(box.min_row, row);
    box.max_row = std::max(box.max_row, row);
  }
  for (int k = 0; k < groups; ++k) {
    g.group[k].mean_y = sum[k][0] / g.count[k];
    g.group[k].mean_cb = sum[k][1] / g.count[k];
    g.group[k].mean_cr = sum[k][2] / g.count[k];
  }
}

}  // namespace

bool group_pixels(const _ThumbnailData& thumb, AnalysisState& s) noexcept {
  GroupState& g = s.groups;
  SmallestRootSets sets;
  const Similarity similar{thumb, s.toler, g.cb_limit, g.cr_limit};
  s.nextgrp = static_cast<std::int16_t>(label_pixels(similar, g.label, sets));

  // Renumber by first appearance.
  constexpr std::uint16_t kUnnumbered = 0xFFFF;
  std::uint16_t number[kThumbPixels];
  std::fill(std::begin(number), std::end(number), kUnnumbered);
  int groups = 0;
  for (int i = 0; i < kThumbPixels; ++i) {
    const std::uint16_t root = sets.find(g.label[i]);
    if (number[root] == kUnnumbered) number[root] = static_cast<std::uint16_t>(groups++);
    g.label[i] = root;
  }
  s.allgrpno = static_cast<std::int16_t>(groups);
  if (groups > kMaxGroups) return false;
  for (std::uint16_t& label : g.label) label = number[label];
  summarise_groups(thumb, g, groups);
  return true;
}

}  // namespace zkimgset::autosetup
