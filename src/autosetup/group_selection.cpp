// Which groups count for the density: extreme groups (far outside the normal
// density band, weighted by size) are left out of dens_eff, and small,
// compact, warm-coloured groups away from the edges are taken as the subject
// that dens_sel and yy_select aim at.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "autosetup/constant_tables.h"
#include "autosetup/grouping.h"

namespace zkimgset::autosetup {
namespace {

constexpr int kTargetDensity = 700;
constexpr int kExcludedGroups = 12;

int density_at(int level) {
  return level_density()[static_cast<std::size_t>(std::clamp(level, 0, kLevels - 1))];
}

// Density of a histogram of levels, or `otherwise` when its weight is 0.
int histogram_density(const std::uint16_t* hist, long weight, int otherwise) {
  if (weight == 0) return otherwise;
  long sum = 0;
  for (int level = 0; level < kLevels; ++level) sum += long{density_at(level)} * hist[level];
  return static_cast<int>(sum / weight);
}

// Skin-like colour cells: for each cell row (31 - (Cr + 128) / 8), the first
// and last cell column ((Cb + 128) / 8).
struct CellSpan {
  int row, first, last;
};
constexpr CellSpan kSubjectCells[] = {{5, 6, 7},    {6, 6, 9},    {7, 6, 10},  {8, 7, 11},
                                      {9, 7, 12},   {10, 8, 13},  {11, 9, 14}, {12, 10, 15},
                                      {13, 11, 15}, {14, 12, 15}, {15, 13, 15}};

bool is_subject_colour(int cb, int cr) {
  if (cb < -128 || cb > 127 || cr < -128 || cr > 127) return false;
  const int row = 31 - ((cr + 128) >> 3), column = (cb + 128) >> 3;
  for (const CellSpan& span : kSubjectCells)
    if (span.row == row) return column >= span.first && column <= span.last;
  return false;
}

bool is_candidate(const Group& g, int count) {
  const int min_c = g.min_column, max_c = g.max_column, min_r = g.min_row, max_r = g.max_row;
  if (count == 1 || g.mean_y < 44 || g.mean_y > 252) return false;
  if (min_c == 0 || max_c == kThumbWidth - 1) return false;
  const bool left = min_c<4, right = max_c> 123, top = min_r<4, bottom = max_r> 87;
  if ((left && top) || (right && top) || (left && bottom) || (right && bottom)) return false;
  const int zone = zone_of((min_r + max_r) / 8 * 4 * kThumbWidth + (min_c + max_c) / 8 * 4);
  if (zone == 0 || count > (zone == 1 ? 500 : 1280)) return false;
  if (g.mean_y > 225 && count > 175) return false;
  const int width = max_c - min_c + 1, height = max_r - min_r + 1;
  const int longer = std::max(width, height), shorter = std::min(width, height);
  if (longer > 54 || longer / shorter >= 8) return false;
  const int area = width * height;
  if (count >= 196 && count >= area * 17 / 20) return false;
  if (count >= 54 && count < 196 && count >= area * 19 / 20) return false;
  return true;
}

// The share of the subject histogram, from the top, that yy_select reaches
// down to; the flash and the scene brightness decide it.
double subject_share(const ExifParam& shot) {
  const bool measured = shot.BrightnessValue_den != 0;
  const double r = measured ? double(shot.BrightnessValue_num) / shot.BrightnessValue_den : 0;
  if ((shot.Flash & 1) == 0) {
    if (!measured) return 0.5;
    if (r < -1) return 0.61f;
    if (r < 7) return 0.59f - 0.02f * r;
    return 0.45f;
  }
  if (!measured || r < 0) return 0.45f;
  if (r < 5) return 0.01f * r + 0.45f;
  if (r < 10) return 0.6f - 0.02f * r;
  return 0.4f;
}

}  // namespace

void exclude_extreme_groups(AnalysisState& s) noexcept {
  GroupState& g = s.groups;
  const int mid = (s.dens_av + kTargetDensity) / 2;
  const int light = (mid + density_at(s.wt_clp)) / 2, dark = (mid + density_at(s.bk_clp)) / 2;
  struct Entry {
    long score;
    int group;
  } top[kExcludedGroups];
  std::fill(std::begin(top), std::end(top), Entry{0, -1});
  for (int k = 0; k < s.allgrpno; ++k) {
    const int d = density_at(g.group[k].mean_y);
    if (light <= d && d <= dark) continue;
    const long score = long{g.count[k]} * std::abs(d - kTargetDensity);
    if (score <= top[kExcludedGroups - 1].score) continue;
    // Behind every kept score at least as high: the earlier group stays ahead.
    int at = kExcludedGroups - 1;
    while (at > 0 && top[at - 1].score < score) {
      top[at] = top[at - 1];
      --at;
    }
    top[at] = {score, k};
  }
  std::memset(g.excluded, 0, sizeof g.excluded);
  for (const Entry& e : top)
    if (e.group >= 0) g.excluded[e.group] = 1;

  std::memset(g.kept_hist, 0, sizeof g.kept_hist);
  long selected = 0;
  for (int k = 0; k < s.allgrpno; ++k) {
    if (g.excluded[k]) continue;
    g.kept_hist[g.group[k].mean_y] =
        static_cast<std::uint16_t>(g.kept_hist[g.group[k].mean_y] + g.count[k]);
    selected += g.count[k];
  }
  s.selected_count = static_cast<std::uint16_t>(selected);
  s.dens_eff = static_cast<std::int16_t>(histogram_density(g.kept_hist, selected, s.dens_av));
}

void select_subject(AnalysisState& s, const LibraryState& library) noexcept {
  GroupState& g = s.groups;
  std::memset(g.subject_hist, 0, sizeof g.subject_hist);
  long pixels = 0, sum_y = 0, sum_cb = 0, sum_cr = 0;
  std::uint8_t box[4] = {kThumbWidth - 1, 0, kThumbHeight - 1, 0};
  for (int k = 0; k < s.allgrpno; ++k) {
    const Group& group = g.group[k];
    if (!is_candidate(group, g.count[k]) ||
        !is_subject_colour(group.mean_cb - s.cb_ofs, group.mean_cr - s.cr_ofs)) {
      g.count[k] = 0;
      continue;
    }
    const long n = g.count[k];
    pixels += n;
    sum_y += n * group.mean_y;
    sum_cb += n * group.mean_cb;
    sum_cr += n * group.mean_cr;
    box[0] = std::min(box[0], group.min_column);
    box[1] = std::max(box[1], group.max_column);
    box[2] = std::min(box[2], group.min_row);
    box[3] = std::max(box[3], group.max_row);
    g.subject_hist[group.mean_y] = static_cast<std::uint16_t>(g.subject_hist[group.mean_y] + n);
  }
  std::memcpy(g.subject_box, box, sizeof box);
  if (pixels > 0) {
    s.density_weight = static_cast<std::uint16_t>(pixels);
    g.subject_y = static_cast<std::int32_t>(sum_y / pixels);
    g.subject_cb = static_cast<std::int32_t>(sum_cb / pixels);
    g.subject_cr = static_cast<std::int32_t>(sum_cr / pixels);
  } else {
    s.density_weight = s.selected_count;
    g.subject_y = s.yy_av;
    g.subject_cb = s.cb_av;
    g.subject_cr = s.cr_av;
    std::memcpy(g.subject_hist, g.kept_hist, sizeof g.subject_hist);
  }
  const int dens_sel = histogram_density(g.subject_hist, s.density_weight, s.dens_av);

  const ExifParam& shot = library.shooting.param;
  int yy_select = g.subject_y;
  if (shot.Flash != ShootingValues::kFlashUnknown) {
    const long reach = static_cast<long>(s.density_weight * subject_share(shot));
    int level = kLevels - 1;
    for (long sum = 0; level >= 0; --level) {
      sum += g.subject_hist[level];
      if (sum >= reach) break;
    }
    yy_select = (level + g.subject_y) / 2;
  }
  s.yy_select = static_cast<std::int16_t>(yy_select);
  s.dens_sel = static_cast<std::int16_t>((density_at(yy_select) + dens_sel) / 2);
}

}  // namespace zkimgset::autosetup
