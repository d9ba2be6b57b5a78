// The set-up colour table, node by node (32 x 32 x 32, red outermost): an
// optional skin-tone pull for small pictures, the channel gains in linear
// light, the tone curve on luminance, the host's chroma shifts, saturation
// by the share of the chroma limit a colour uses, a blend with a plain level
// stretch, the balance curves and 1-D table, and the file's 3-D table.
// Floating point is used only here, once a node, never per pixel. Kept on
// purpose: chroma beyond its limit is left as it is, not pulled back.
#include "colour/setup_table.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <iterator>
#include <vector>

#include "colour/balance_curves.h"
#include "colour/channel_table.h"
#include "colour/interpolate3d.h"
#include "colour/perceptual_space.h"
#include "colour/setup_table_cache.h"
#include "colour/table_limits.h"
#include "maths/linear_light.h"

namespace zkimgset::colour {
namespace {

constexpr int kAxis = 32;
constexpr int kHues = 360;
constexpr std::int16_t kShiftLimit = 7;
constexpr double kPi = 3.14159265358979323846;

// The skin-tone pull of small pictures: colours within kSkinRadius of the
// reference skin colour (CIELAB) move toward it, most at half the radius.
constexpr Lab kSkin = {85, 14, 15};
constexpr double kSkinRadius = 30;
constexpr double kSkinPull = 2 * 5;

int node_input(int n) { return n == 0 ? 0 : 8 * n + 7; }

std::vector<std::uint8_t> build_chroma_limits() {
  std::vector<std::uint8_t> limits(255 * kHues);
  for (int y = 1; y <= 255; ++y) {
    for (int h = 0; h < kHues; ++h) {
      const double c = std::cos(h * kPi / 180), s = std::sin(h * kPi / 180);
      // Each channel is y + k m for chroma m along this hue.
      const double k[3] = {1.402 * s, -0.34414 * c - 0.71414 * s, 1.772 * c};
      double m = 255;
      for (double kc : k) {
        if (kc > 1e-12) m = std::min(m, (255 - y) / kc);
        if (kc < -1e-12) m = std::min(m, -y / kc);
      }
      limits[std::size_t(y - 1) * kHues + std::size_t(h)] =
          static_cast<std::uint8_t>(std::lround(std::clamp(m, 0.0, 255.0)));
    }
  }
  return limits;
}

void pull_toward_skin(double& r, double& g, double& b) {
  Lab lab = rgb_to_lab(r, g, b);
  const double dl = lab.l - kSkin.l, da = lab.a - kSkin.a, db = lab.b - kSkin.b;
  const double d = std::sqrt(dl * dl + da * da + db * db);
  if (d >= kSkinRadius || d == 0) return;
  const double amount = d <= kSkinRadius / 2 ? kSkinPull * d / kSkinRadius
                                             : kSkinPull * (kSkinRadius - d) / kSkinRadius;
  lab = {lab.l - dl * amount / d, lab.a - da * amount / d, lab.b - db * amount / d};
  lab_to_rgb(lab, r, g, b);
}

}  // namespace

std::uint8_t chroma_limit(int y, int degrees) noexcept {
  static const std::vector<std::uint8_t> limits = build_chroma_limits();
  return limits[std::size_t(std::clamp(y, 1, 255) - 1) * kHues +
                std::size_t(std::clamp(degrees, 0, kHues - 1))];
}

// The blend applies when the flags ask for the service's set-up (31) or for
// its colour path without statistics (27) and the service did not correct
// the picture in this call: narrow-range pictures then get a plain level
// stretch, wide-range ones the full correction.
double blend_weight(const Correction& a, const LibraryState& library) noexcept {
  if ((library.setup_mode != 31 && library.setup_mode != 27) || library.service_setup_ran == 1)
    return 1.0;
  const double range = a.wt_clp - a.bk_clp;
  if (range < 66.666664) return 0.0;
  if (range >= 233.33333) return 1.0;
  return (range - 100) * 0.6 / 100 + 0.2;
}

void reset_colour_math(LibraryState& library) noexcept {
  std::fill(std::begin(library.colour.white), std::end(library.colour.white), 255.0f);
  library.colour.black = 0.0f;
}

namespace {

// The linear-light tables a build reads, looked up once.
struct Transfer {
  const std::array<float, 256>& linear;
  const std::array<std::uint8_t, 1024>& encode;
};

// A node's levels after the skin pull (small pictures only) and the channel
// gains, which act in linear light.
void apply_gains(const SetupTableInputs& in, const Transfer& t, double (&v)[3]) {
  if ((in.setup_mode & ZKIMGSET_SETUP_SMALL_IMAGE) != 0) pull_toward_skin(v[0], v[1], v[2]);
  for (int c = 0; c < 3; ++c) {
    const double x = std::clamp(in.gain[c] * t.linear[std::size_t(v[c])] * 1023.0, 0.0, 1023.0);
    v[c] = t.encode[std::size_t(x)];
  }
}

// A colour as luminance through the tone curve and chroma.
struct Toned {
  int y;
  float cb, cr;
};

// The tone curve on luminance; the host's shifts on chroma.
Toned tone_and_shift(const SetupTableInputs& in, const double (&v)[3]) {
  const float y = static_cast<float>(0.299 * v[0] + 0.587 * v[1] + 0.114 * v[2]);
  float cb = static_cast<float>(-0.1687 * v[0] - 0.3313 * v[1] + 0.5 * v[2]);
  float cr = static_cast<float>(0.5 * v[0] - 0.4187 * v[1] - 0.0813 * v[2]);
  cb += in.shift_c;
  cr += in.shift_d;
  return {in.tone[std::clamp(static_cast<int>(y), 0, 255)], cb, cr};
}

// Chroma times the saturation coefficient of the share of its limit it
// uses; none at black or where the limit is 0, and chroma beyond its limit
// left as it is.
void saturate(const SetupTableInputs& in, Toned& c) {
  if (c.y == 0) {
    c.cb = c.cr = 0;
    return;
  }
  double hue = std::atan2(c.cr, c.cb) * 180 / kPi;
  if (hue < 0) hue += 360;
  const int limit = chroma_limit(c.y, static_cast<int>(hue));
  const double chroma = std::sqrt(double(c.cb) * c.cb + double(c.cr) * c.cr);
  if (limit == 0 || chroma == 0) {
    c.cb = c.cr = 0;
  } else if (limit >= chroma) {
    const int p = static_cast<int>(100 * chroma / limit + 0.5);
    const double factor = p == 0 ? 1.0 : in.sat_coef[p - 1] / 1024.0;
    c.cb = static_cast<float>(c.cb * factor);
    c.cr = static_cast<float>(c.cr * factor);
  }
}

// Back to RGB, blended with the plain level stretch of the node's input (or
// the input itself when no set-up is asked for), then through the balance
// curves and the 1-D table.
void blend_and_finish(const SetupTableInputs& in, const int (&input)[3], const Toned& c,
                      int (&out)[3]) {
  const double corrected[3] = {c.y + 1.402 * c.cr, c.y - 0.34414 * c.cb - 0.71414 * c.cr,
                               c.y + 1.772 * c.cb};
  const double w = in.blend;
  for (int ch = 0; ch < 3; ++ch) {
    const double stretch =
        std::clamp((input[ch] - in.black) * 255.0 / (in.white[ch] - in.black), 0.0, 255.0);
    out[ch] = std::clamp(static_cast<int>(w * corrected[ch] + (1 - w) * stretch + 0.5), 0, 255);
    if (in.setup_mode == 0) out[ch] = input[ch];
    out[ch] = in.channel_table[out[ch]][ch];
  }
}

// Node (i, j, k), every step in its order, ending in the file's 3-D table.
Rgb8 node_colour(const SetupTableInputs& in, const Transfer& t, const std::uint8_t* file_table,
                 int i, int j, int k) {
  const int input[3] = {node_input(i), node_input(j), node_input(k)};
  double v[3] = {double(input[0]), double(input[1]), double(input[2])};
  apply_gains(in, t, v);
  Toned colour = tone_and_shift(in, v);
  saturate(in, colour);
  int out[3];
  blend_and_finish(in, input, colour, out);
  if (in.use_file_table) return interpolate3d(file_table, out[0], out[1], out[2]);
  return {std::uint8_t(out[0]), std::uint8_t(out[1]), std::uint8_t(out[2])};
}

// The nodes from the inputs and the file's 3-D table alone.
void fill_nodes(std::uint8_t* table, const SetupTableInputs& in, const std::uint8_t* file_table) {
  std::memset(table, 0, kTable3dBytes);
  const Transfer transfer{maths::linear_level(), maths::linear_to_level()};
  for (int i = 0; i < kAxis; ++i) {
    for (int j = 0; j < kAxis; ++j) {
      for (int k = 0; k < kAxis; ++k) {
        const bool white = i == kAxis - 1 && j == kAxis - 1 && k == kAxis - 1;
        const Rgb8 colour = white ? Rgb8{255, 255, 255}  // white stays white
                                  : node_colour(in, transfer, file_table, i, j, k);
        std::uint8_t* node = table + ((i * kAxis + j) * kAxis + k) * 3;
        node[0] = colour.r;
        node[1] = colour.g;
        node[2] = colour.b;
      }
    }
  }
}

// Clamps the host's chroma shifts (and stores them back), drops bit 0x40
// when no adjustment asks for anything, and folds the balance steps and the
// 1-D table into the channel table.
void settle_adjustments(LibraryState& library) {
  SetupAdjustments& adjust = library.adjust;
  adjust.SetupAdjustC = std::clamp(adjust.SetupAdjustC, std::int16_t{-kShiftLimit}, kShiftLimit);
  adjust.SetupAdjustD = std::clamp(adjust.SetupAdjustD, std::int16_t{-kShiftLimit}, kShiftLimit);
  if (adjust.SetupAdjustLevel == 100 && adjust.SetupAdjustA == 0 && adjust.SetupAdjustB == 0 &&
      adjust.SetupAdjustC == 0 && adjust.SetupAdjustD == 0)
    library.setup_mode = static_cast<std::uint16_t>(library.setup_mode & ~0x40u);
  ColourMath& m = library.colour;
  m.curve_index[0] = std::clamp<std::int16_t>(adjust.BalanceStep1, 0, 2 * kMaxShift);
  m.curve_index[1] = std::clamp<std::int16_t>(adjust.BalanceStep2, 0, 2 * kMaxShift);
  m.curve_index[2] = std::clamp<std::int16_t>(adjust.BalanceStep3, 0, 2 * kMaxShift);
  build_channel_table_with_1d(library);
}

// Everything the node loop reads besides the file's 3-D table.
SetupTableInputs table_inputs(const LibraryState& library, const Correction& a) {
  const ColourMath& m = library.colour;
  SetupTableInputs in{};
  in.blend = blend_weight(a, library);
  std::copy(std::begin(a.gain), std::end(a.gain), in.gain);
  in.black = m.black;
  std::copy(std::begin(m.white), std::end(m.white), in.white);
  std::copy(std::begin(a.sat_coef), std::end(a.sat_coef), in.sat_coef);
  in.shift_c = library.adjust.SetupAdjustC;
  in.shift_d = library.adjust.SetupAdjustD;
  in.setup_mode = library.setup_mode;
  std::copy(std::begin(a.tone), std::end(a.tone), in.tone);
  std::memcpy(in.channel_table, m.channel_table, sizeof in.channel_table);
  in.use_file_table = (library.ColorConvMode & ZKIMGSET_CONV_SKIP_3D_TABLE) == 0 &&
                      library.ColorTable3dAlt != nullptr;
  return in;
}

}  // namespace

void build_setup_table(LibraryState& library, const Correction& correction) noexcept {
  std::uint8_t* table = library.ColorTable3dMain;
  if (table == nullptr) return;
  settle_adjustments(library);
  const SetupTableInputs in = table_inputs(library, correction);
  if (library.setup_table_cache.fetch(in, library.ColorTable3dAlt, table)) return;
  fill_nodes(table, in, library.ColorTable3dAlt);
  library.setup_table_cache.store(in, library.ColorTable3dAlt, table);
}

}  // namespace zkimgset::colour
