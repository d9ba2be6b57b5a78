// The colour-balance decision. The estimate (the mean of the near-grey and
// the tinted chroma) is pulled onto the threshold circle, weakened by the
// shooting conditions, the hue band, a saturated picture and the halving bit,
// then averaged with the cast that the grey-pixel gains imply at the
// reference grey. CustomRendered 1 (a picture the camera already rendered
// for effect) gets no balance at all.
#include "autosetup/colour_balance.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include "maths/linear_light.h"

namespace zkimgset::autosetup {
namespace {

constexpr std::uint16_t kCustomRenderedEffect = 1;
constexpr int kSaturatedPicture = 4000;  // sat_av above this halves the estimate

// BT.709 linearisation of a normalised value.
double linearise(double x) { return std::pow(std::max(0.0, (x + 0.099) / 1.099), 1 / 0.45); }

}  // namespace

double shooting_factor(const ExifParam& shot) noexcept {
  if (shot.Flash == ShootingValues::kFlashUnknown || (shot.Flash & 1) != 0) return 0.9f;
  if (shot.BrightnessValue_den == 0) return 1.0;
  const double r = static_cast<double>(shot.BrightnessValue_num) / shot.BrightnessValue_den;
  if (r < 0) return 1.0;
  if (r < 1) return 0.1f * r + 1.0;
  if (r < 3) return 1.1f;
  if (r < 6) return -0.1333f * r + 1.5;
  return 0.7f;
}

void decide_colour_balance(AnalysisState& s, const LibraryState& library) noexcept {
  const ChromaEstimate& c = s.chroma;
  double cb = (c.grey_cb + c.tinted_cb) / 2, cr = (c.grey_cr + c.tinted_cr) / 2;
  const double squared = cb * cb + cr * cr;
  if (squared > c.tm) {
    const double k = std::sqrt(c.tm / squared);
    cb *= k;
    cr *= k;
  }
  double factor = shooting_factor(library.shooting.param);
  if (cb * cr > 0 && 0.14054 < cr / cb && cr / cb < 5.67128) factor *= 0.666667f;
  if (s.sat_av > kSaturatedPicture) factor *= 0.5;
  if ((library.setup_mode & ZKIMGSET_SETUP_HALVE) != 0) factor *= 0.5;
  cb *= factor;
  cr *= factor;

  double final_cb = 0, final_cr = 0;
  if (library.shooting.param.CustomRendered != kCustomRenderedEffect) {
    // The estimate as a colour at the reference grey, linearised.
    const double grey = s.reference_grey;
    const double lin[3] = {linearise((grey + 1.402f * cr) / 255),
                           linearise((grey - 0.34414f * cb - 0.71414f * cr) / 255),
                           linearise((grey + 1.772f * cb) / 255)};
    const double m = (lin[0] + lin[1] + lin[2]) / 3;
    const float old_gain[3] = {s.gain[0], s.gain[1], s.gain[2]};
    // The cast the grey-pixel gains alone would give a mid grey.
    double level[3];
    for (int ch = 0; ch < 3; ++ch) {
      s.gain[ch] = static_cast<float>(((lin[ch] == 0 ? 1.0 : m / lin[ch]) + old_gain[ch]) / 2);
      const double v = std::clamp(maths::linear_level()[128] * old_gain[ch] * 1023.0, 0.0, 1023.0);
      level[ch] = maths::linear_to_level()[static_cast<std::size_t>(v)];
    }
    const double cb2 = -0.1687f * level[kRed] - 0.3313f * level[kGreen] + 0.5f * level[kBlue];
    const double cr2 = 0.5f * level[kRed] - 0.4187f * level[kGreen] - 0.0813f * level[kBlue];
    final_cb = (cb + cb2) / 2;
    final_cr = (cr + cr2) / 2;
  } else {
    std::fill(std::begin(s.gain), std::end(s.gain), 1.0f);
  }
  s.cb_ofs = static_cast<std::int16_t>(std::lround(final_cb));
  s.cr_ofs = static_cast<std::int16_t>(std::lround(final_cr));
}

}  // namespace zkimgset::autosetup
