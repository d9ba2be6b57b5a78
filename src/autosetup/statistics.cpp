// The statistics stage. Luminance and colour differences are fixed point with
// arithmetic shifts, so negative values round toward minus infinity (r = 1,
// g = b = 0 gives Cb = -1, not 0); the black clipping level is compressed
// above 20 on purpose.
#include "autosetup/statistics.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>

#include "autosetup/colour_balance.h"
#include "autosetup/constant_tables.h"
#include "maths/linear_light.h"

namespace zkimgset::autosetup {
namespace {

constexpr int kBlackPixelsUnusable = 8801;  // at level 0
constexpr int kWhitePixelsUnusable = 3000;  // more than this at level 255
constexpr int kCrowdedBin = 3001;           // in any bin of levels 25..242
constexpr int kSparseChannelBins = 520;     // of 768, with under 2 pixels
constexpr int kSparseLumaBins = 180;        // of 256, with under 2 pixels
constexpr int kPointPixels = 47;            // white and black point depth
constexpr int kBlackClipKnee = 20;

struct Sums {
  long yy = 0, channel[3] = {0, 0, 0};
  long grey_cb = 0, grey_cr = 0, grey_count = 0;
  long tinted_cb = 0, tinted_cr = 0, tinted_count = 0;
  long zone[4] = {0, 0, 0, 0}, zone_count[4] = {0, 0, 0, 0};
};

// Mean level of the deepest kPointPixels pixels from one end of a histogram
// (from 255 down when `from_top`), or `empty` when it holds nothing.
float histogram_point(const std::uint16_t* hist, bool from_top, float empty) {
  long count = 0, weighted = 0;
  for (int i = 0; i < kLevels; ++i) {
    const int level = from_top ? kLevels - 1 - i : i;
    count += hist[level];
    weighted += static_cast<long>(hist[level]) * level;
    if (count >= kPointPixels) break;
  }
  return count == 0 ? empty : static_cast<float>(weighted) / static_cast<float>(count);
}

bool judge_usable(const AnalysisState& s, std::uint16_t flash) {
  if (s.hist_y[0] >= kBlackPixelsUnusable || s.hist_y[255] > kWhitePixelsUnusable) return false;
  for (int level = 25; level <= 242; ++level)
    if (s.hist_y[level] >= kCrowdedBin) return false;
  if (flash != ShootingValues::kFlashUnknown) return true;
  int sparse_channel = 0, sparse_luma = 0;
  for (int level = 0; level < kLevels; ++level) {
    for (const auto& hist : s.hist_rgb) sparse_channel += hist[level] < 2;
    sparse_luma += s.hist_y[level] < 2;
  }
  return sparse_channel <= kSparseChannelBins && sparse_luma <= kSparseLumaBins;
}

void accumulate(_ThumbnailData& thumb, AnalysisState& s, Sums& sums) {
  const auto& grey = grey_threshold();
  const auto& linear = maths::linear_level();
  const auto& density = level_density();
  int yy_mn = 255, yy_mx = 0;
  for (int i = 0; i < kThumbPixels; ++i) {
    const int yy = thumb.plane[kPlaneYy][i];
    const int r = thumb.plane[kPlaneRedCr][i], g = thumb.plane[kPlaneGreenY][i],
              b = thumb.plane[kPlaneBlueCb][i];
    yy_mn = std::min(yy_mn, yy);
    yy_mx = std::max(yy_mx, yy);
    sums.yy += yy;
    sums.channel[kRed] += r;
    sums.channel[kGreen] += g;
    sums.channel[kBlue] += b;

    const int y = (601 * g + 306 * r + 117 * b) >> 10;
    const int cb = (-173 * r - 339 * g + 512 * b) >> 10;
    const int cr = (512 * r - 429 * g - 83 * b) >> 10;
    thumb.plane[kPlaneRedCr][i] = static_cast<std::uint8_t>(cr + 128);
    thumb.plane[kPlaneGreenY][i] = static_cast<std::uint8_t>(y);
    thumb.plane[kPlaneBlueCb][i] = static_cast<std::uint8_t>(cb + 128);

    const int c2 = cb * cb + cr * cr;
    const int t = grey[static_cast<std::size_t>(y)];
    if (c2 < 6 * t) {
      if (c2 >= t) {
        sums.tinted_cb += cb;
        sums.tinted_cr += cr;
        ++sums.tinted_count;
      } else {
        sums.grey_cb += cb;
        sums.grey_cr += cr;
        ++sums.grey_count;
        const float l[3] = {linear[static_cast<std::size_t>(r)],
                            linear[static_cast<std::size_t>(g)],
                            linear[static_cast<std::size_t>(b)]};
        const float m = (l[0] + l[1] + l[2]) / 3.0f;
        for (int c = 0; c < 3; ++c) s.gain[c] += l[c] == 0.0f ? 1.0f : m / l[c];
      }
    }
    ++s.hist_y[y];
    s.level_cb[y] += cb;
    s.level_cr[y] += cr;
    s.level_c2[y] += c2;
    ++s.hist_rgb[kRed][r];
    ++s.hist_rgb[kGreen][g];
    ++s.hist_rgb[kBlue][b];

    if (const int z = zone_of(i); z != 0) {
      sums.zone[z] += density[static_cast<std::size_t>(yy)];
      ++sums.zone_count[z];
    }
  }
  s.yy_mn = static_cast<std::int16_t>(yy_mn);
  s.yy_mx = static_cast<std::int16_t>(yy_mx);
}

}  // namespace

bool run_statistics(_ThumbnailData& thumb, AnalysisState& s, LibraryState& library) noexcept {
  std::memset(s.hist_y, 0, sizeof s.hist_y);
  std::memset(s.hist_rgb, 0, sizeof s.hist_rgb);
  std::memset(s.level_cb, 0, sizeof s.level_cb);
  std::memset(s.level_cr, 0, sizeof s.level_cr);
  std::memset(s.level_c2, 0, sizeof s.level_c2);
  std::fill(std::begin(s.gain), std::end(s.gain), 0.0f);
  Sums sums;
  accumulate(thumb, s, sums);

  if (sums.grey_count > 0) {
    for (float& gain : s.gain) gain /= static_cast<float>(sums.grey_count);
  } else {
    std::fill(std::begin(s.gain), std::end(s.gain), 1.0f);
  }
  // The zone map leaves no zone empty.
  for (int z = 1; z <= 3; ++z)
    s.zone_density[z - 1] = static_cast<std::uint16_t>(sums.zone[z] / sums.zone_count[z]);

  const ExifParam& shot = library.shooting.param;
  s.usable = judge_usable(s, shot.Flash);

  for (int c = 0; c < 3; ++c) {
    s.white_point[c] = histogram_point(s.hist_rgb[c], true, 255.0f);
    s.black_point[c] = histogram_point(s.hist_rgb[c], false, 0.0f);
  }
  int y_mn = kLevels, y_mx = -1;
  for (int level = 0; level < kLevels; ++level) {
    if (s.hist_y[level] == 0) continue;
    y_mn = std::min(y_mn, level);
    y_mx = std::max(y_mx, level);
  }
  s.y_mn = static_cast<std::int16_t>(y_mn);
  s.y_mx = static_cast<std::int16_t>(y_mx);
  const float white = *std::max_element(std::begin(s.white_point), std::end(s.white_point));
  const float black = *std::min_element(std::begin(s.black_point), std::end(s.black_point));
  s.wt_clp = static_cast<std::int16_t>((y_mx + white) / 2 + 0.5);
  int bk_clp = static_cast<int>((y_mn + black) / 2 + 0.5);
  if (bk_clp > kBlackClipKnee) bk_clp = (bk_clp - kBlackClipKnee) * 3 / 8 + kBlackClipKnee;
  s.bk_clp = static_cast<std::int16_t>(bk_clp);

  for (int level = 0; level < kLevels; ++level) {
    if (s.hist_y[level] == 0) continue;
    s.level_cb[level] /= s.hist_y[level];
    s.level_cr[level] /= s.hist_y[level];
    s.level_c2[level] /= s.hist_y[level];
  }
  s.yy_av = static_cast<std::int16_t>(static_cast<double>(sums.yy) / kThumbPixels + 0.5);

  // The mean colour; a clearly tinted one (a hue between the two limits of
  // the yellow-blue axis) clears bit 2.
  float mean[3];
  for (int c = 0; c < 3; ++c) mean[c] = static_cast<float>(sums.channel[c]) / kThumbPixels;
  const double ym = 0.299f * mean[kRed] + 0.587f * mean[kGreen] + 0.114f * mean[kBlue];
  const double cbm = -0.1687f * mean[kRed] - 0.3313f * mean[kGreen] + 0.5f * mean[kBlue];
  const double crm = 0.5f * mean[kRed] - 0.4187f * mean[kGreen] - 0.0813f * mean[kBlue];
  const double tm = 2.0 * grey_threshold()[static_cast<std::size_t>(ym)];
  if (cbm * cbm + crm * crm > tm && cbm * crm < 0 && -7.11537 < crm / cbm && crm / cbm < -0.40403)
    library.setup_mode &= static_cast<std::uint16_t>(~ZKIMGSET_SETUP_STATISTICS);
  if ((shot.Flash & 1) != 0 && shot.BrightnessValue_den != 0 &&
      static_cast<float>(shot.BrightnessValue_num) / static_cast<float>(shot.BrightnessValue_den) <
          3.5f)
    library.setup_mode &= static_cast<std::uint16_t>(~ZKIMGSET_SETUP_STATISTICS);

  long density = 0;
  for (int level = 0; level < kLevels; ++level)
    density +=
        static_cast<long>(level_density()[static_cast<std::size_t>(level)]) * s.hist_y[level];
  s.dens_av = static_cast<std::int16_t>(static_cast<std::int32_t>(density / kThumbPixels));
  s.cb_av = static_cast<std::int16_t>(std::lround(cbm));
  s.cr_av = static_cast<std::int16_t>(std::lround(crm));
  int sat_av = 0;
  for (int level = 0; level < kLevels; ++level) sat_av += s.level_c2[level] >> 8;
  s.sat_av = static_cast<std::int16_t>(sat_av);

  auto mean_of = [](long sum, long count) {
    return count == 0 ? 0.0 : double(sum) / double(count);
  };
  s.chroma = {mean_of(sums.grey_cb, sums.grey_count), mean_of(sums.grey_cr, sums.grey_count),
              mean_of(sums.tinted_cb, sums.tinted_count),
              mean_of(sums.tinted_cr, sums.tinted_count), tm};
  decide_colour_balance(s, library);
  return s.usable;
}

}  // namespace zkimgset::autosetup
