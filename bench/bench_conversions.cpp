// The pixel passes on one 6000 x 4000 photo-like picture, each beside its
// peer or floor in interleaved rounds (bench/rounds.h), every round on a
// fresh copy of the picture:
//
// - ImageDataConvertEx (modes 0, 1 and 2) as a host calls it, against
//   lcms2's 8-bit transform through a device link that carries the same
//   correction (its 33-node grid sampled from our set-up table). "New
//   record" rounds alternate two records, so that our table is built every
//   time; lcms2 then builds its link and transform every time too. "Same
//   record" rounds keep the record, so our table is reused and lcms2 keeps
//   its transform. Mode 1 is planar 4:2:0 (1.5 bytes a pixel); lcms2
//   converts the same number of packed pixels, the nearest job it has.
// - The fixed cost of a call: ImageDataConvertEx on the smallest picture it
//   accepts, with the record of the call before, beside the same call with
//   a new record (the table built).
// - Den2Vorn beside three plain table look-ups a pixel, and
//   BgrRgbConversion beside memcpy of the picture.
//
// Outputs are checked before anything is timed: the vector kernels against
// the plain ones byte for byte, and ours against lcms2 within a stated
// tolerance.
#include <benchmark/benchmark.h>
#include <lcms2.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "autosetup/analysis_state.h"
#include "bench_pictures.h"
#include "colour/conversions.h"
#include "colour/interpolate3d.h"
#include "colour/swap_run.h"
#include "colour/table_limits.h"
#include "platform/kernel_choice.h"
#include "rounds.h"
#include "setup/image_data_convert.h"

namespace {

using namespace zkimgset;

constexpr int kWidth = 6000, kHeight = 4000;
constexpr std::size_t kPixels = std::size_t(kWidth) * kHeight;
// The smallest picture ImageDataConvertEx accepts: the fixed cost's test.
constexpr int kSmallWidth = 128, kSmallHeight = 92;
// lcms2 interpolates its own 33-node grid (tetrahedral) where we
// interpolate ours (trilinear), so the two may differ by a few levels.
constexpr int kPeerMaxDifference = 6;
constexpr double kPeerMeanDifference = 0.5;

enum Mode { kModeRgb = 0, kModePlanar = 1, kModeBgr = 2 };

const std::vector<std::uint8_t>& photograph() {
  static const std::vector<std::uint8_t> rgb = bench::photograph(kWidth, kHeight);
  return rgb;
}

// Two corrections a host might apply: a brightening tone curve, more
// saturation, and a slight tint from the 1-D table and the file's 3-D table.
AutoSetupParam record(int variant) {
  AutoSetupParam r{};
  for (int i = 0; i < 256; ++i)
    r.tone[i] = std::uint8_t(std::min(255.0, 255 * std::pow(i / 255.0, 0.8 + 0.05 * variant)));
  for (int i = 0; i < 100; ++i) r.sat_coef[i] = std::int16_t(1024 + 3 * (100 - i));
  return r;
}

// A library state with a file 3-D table (identity, warmed a little) and a
// 1-D table (a mild curve), both in use (ColorConvMode 0).
struct Library {
  std::vector<std::uint8_t> main = std::vector<std::uint8_t>(colour::kTable3dBytes);
  std::vector<std::uint8_t> alt = std::vector<std::uint8_t>(colour::kTable3dBytes);
  std::vector<std::uint8_t> table1d = std::vector<std::uint8_t>(colour::kTable1dBytes);
  LibraryState state;
  autosetup::AnalysisState analysis;

  Library() {
    auto input = [](int n) { return n == 0 ? 0 : 8 * n + 7; };
    for (int i = 0; i < 32; ++i)
      for (int j = 0; j < 32; ++j)
        for (int k = 0; k < 32; ++k) {
          std::uint8_t* node = &alt[std::size_t((i * 32 + j) * 32 + k) * 3];
          node[0] = std::uint8_t(std::min(255, input(i) + 3));
          node[1] = std::uint8_t(input(j));
          node[2] = std::uint8_t(std::max(0, input(k) - 3));
        }
    for (int v = 0; v < 256; ++v)
      for (int c = 0; c < 3; ++c)
        table1d[std::size_t(3 * v + c)] = std::uint8_t(255 * std::pow(v / 255.0, 1.0 - 0.04 * c));
    state.ColorTable3dMain = main.data();
    state.ColorTable3dAlt = alt.data();
    state.Table1d = table1d.data();
    state.Table1dStatus = state.Table3dStatus = 0;
    state.ColorConvMode = 0;
    state.setup_mode = 0x1D;
    analysis.gain[2] = 0.95f;
    analysis.wt_clp = 255;
  }

  // ImageDataConvertEx over the whole picture (or planes) in `data`.
  int convert(void* data, int mode, const AutoSetupParam& r, int w = kWidth, int h = kHeight) {
    const tagRECT rect{0, 0, w - 1, h - 1};
    return setup::image_data_convert(state, analysis, data, w, h, mode, &r, &rect, &rect);
  }
};

// ---- The peer: lcms2 ----------------------------------------------------------

// A device link whose 33-node grid samples our set-up table's correction.
struct PeerLink {
  std::vector<cmsUInt16Number> grid = std::vector<cmsUInt16Number>(33 * 33 * 33 * 3);

  explicit PeerLink(const std::uint8_t* setup_table) {
    auto at = [](int n) { return (n * 255 + 16) / 32; };
    for (int i = 0; i < 33; ++i)
      for (int j = 0; j < 33; ++j)
        for (int k = 0; k < 33; ++k) {
          const colour::Rgb8 v = colour::interpolate3d(setup_table, at(i), at(j), at(k));
          cmsUInt16Number* node = &grid[std::size_t((i * 33 + j) * 33 + k) * 3];
          node[0] = cmsUInt16Number(v.r * 257);
          node[1] = cmsUInt16Number(v.g * 257);
          node[2] = cmsUInt16Number(v.b * 257);
        }
  }

  // What a host does with it: a link profile, then an 8-bit transform.
  cmsHTRANSFORM transform(cmsUInt32Number format) const {
    cmsHPROFILE link = cmsCreateProfilePlaceholder(nullptr);
    cmsSetProfileVersion(link, 4.3);
    cmsSetDeviceClass(link, cmsSigLinkClass);
    cmsSetColorSpace(link, cmsSigRgbData);
    cmsSetPCS(link, cmsSigRgbData);
    cmsPipeline* pipeline = cmsPipelineAlloc(nullptr, 3, 3);
    cmsPipelineInsertStage(pipeline, cmsAT_BEGIN,
                           cmsStageAllocCLut16bit(nullptr, 33, 3, 3, grid.data()));
    cmsWriteTag(link, cmsSigAToB0Tag, pipeline);
    cmsHTRANSFORM t = cmsCreateTransform(link, format, nullptr, format, INTENT_PERCEPTUAL, 0);
    cmsPipelineFree(pipeline);
    cmsCloseProfile(link);
    return t;
  }
};

// The 4:2:0 planes of the photograph, as a JPEG decoder leaves them.
struct Planes {
  std::vector<std::uint8_t> y, cb, cr;
  bool operator==(const Planes&) const = default;
  ZKImgSetPlanarYCbCr descriptor() {
    return {y.data(),
            cb.data(),
            cr.data(),
            std::uint32_t(y.size()),
            std::uint32_t(cb.size()),
            std::uint32_t(cr.size()),
            2,
            2};
  }
};

const Planes& planes_420() {
  static const Planes planes = [] {
    const std::vector<std::uint8_t>& rgb = photograph();
    Planes p;
    p.y.resize(kPixels);
    p.cb.resize(kPixels / 4);
    p.cr.resize(kPixels / 4);
    for (std::size_t i = 0; i < kPixels; ++i) {
      const double r = rgb[3 * i], g = rgb[3 * i + 1], b = rgb[3 * i + 2];
      p.y[i] = std::uint8_t(std::lround(0.299 * r + 0.587 * g + 0.114 * b));
    }
    for (int y = 0; y < kHeight; y += 2)
      for (int x = 0; x < kWidth; x += 2) {
        const std::uint8_t* q = &rgb[3 * (std::size_t(y) * kWidth + std::size_t(x))];
        const double r = q[0], g = q[1], b = q[2];
        const std::size_t at = std::size_t(y / 2) * (kWidth / 2) + std::size_t(x / 2);
        p.cb[at] = std::uint8_t(
            std::clamp(std::lround(128 - 0.1687 * r - 0.3313 * g + 0.5 * b), 0L, 255L));
        p.cr[at] = std::uint8_t(
            std::clamp(std::lround(128 + 0.5 * r - 0.4187 * g - 0.0813 * b), 0L, 255L));
      }
    return p;
  }();
  return planes;
}

// ---- Output checks --------------------------------------------------------------

// Runs `convert` on fresh copies with the plain kernels and with the
// processor's; empty when the bytes agree, else what differs.
template <class Input, class Convert>
std::string twins_agree(const Input& input, Convert convert) {
  Input plain = input, vector = input;
  platform::force_plain_kernels(true);
  convert(plain);
  const bool has_vector = platform::force_plain_kernels(false);
  convert(vector);
  if (!(plain == vector)) return "the vector kernels' bytes differ from the plain kernels'";
  return has_vector ? "" : "(no vector kernels on this processor)";
}

// Ours against lcms2 over the picture: empty when within the tolerance.
std::string peer_agrees(const std::vector<std::uint8_t>& ours,
                        const std::vector<std::uint8_t>& peer) {
  int worst = 0;
  double total = 0;
  for (std::size_t i = 0; i < ours.size(); ++i) {
    const int d = std::abs(int(ours[i]) - int(peer[i]));
    worst = std::max(worst, d);
    total += d;
  }
  const double mean = total / double(ours.size());
  if (worst <= kPeerMaxDifference && mean <= kPeerMeanDifference) return "";
  return "ours and lcms2 differ by up to " + std::to_string(worst) + " levels, mean " +
         std::to_string(mean);
}

std::string tolerance_text() {
  return "twins byte-equal; lcms2 within " + std::to_string(kPeerMaxDifference) +
         " levels, mean <= " + std::to_string(kPeerMeanDifference).substr(0, 3);
}

// ---- ImageDataConvertEx, packed ----------------------------------------------------

void PackedConvert(benchmark::State& state, Mode mode, bool new_record) {
  const cmsUInt32Number format = mode == kModeRgb ? TYPE_RGB_8 : TYPE_BGR_8;
  const std::string layout = mode == kModeRgb ? "mode 0 (RGB)" : "mode 2 (BGR bitmap)";
  const bench::Comparison c{
      "ImageDataConvertEx " + layout + ", 24 MP, " + (new_record ? "new record" : "same record"),
      "peer",
      new_record ? "lcms2 link and transform built, then cmsDoTransform"
                 : "lcms2 cmsDoTransform, transform kept",
      tolerance_text()};
  Library lib;
  const AutoSetupParam records[2] = {record(0), record(1)};
  // The photograph's 18000-byte rows are already padded to 4 as a bitmap.
  std::vector<std::uint8_t> pixels = photograph();

  // Checks: both twins, then ours against lcms2 on the second record.
  std::string why = twins_agree(
      photograph(), [&](std::vector<std::uint8_t>& p) { lib.convert(p.data(), mode, records[0]); });
  if (!why.empty() && why[0] != '(') return bench::fail(state, c, why);
  std::vector<std::uint8_t> ours = photograph(), theirs = photograph();
  lib.convert(ours.data(), mode, records[1]);
  const PeerLink link(lib.state.ColorTable3dMain);
  cmsHTRANSFORM kept = link.transform(format);
  cmsDoTransform(kept, theirs.data(), theirs.data(), cmsUInt32Number(kPixels));
  why = peer_agrees(ours, theirs);
  if (!why.empty()) {
    cmsDeleteTransform(kept);
    return bench::fail(state, c, why);
  }

  int round = 0;
  bench::interleave(
      state, c,
      [&] {
        pixels = photograph();
        const AutoSetupParam& r = records[new_record ? ++round % 2 : 1];
        return bench::timed([&] { lib.convert(pixels.data(), mode, r); });
      },
      [&] {
        pixels = photograph();
        return bench::timed([&] {
          cmsHTRANSFORM t = new_record ? link.transform(format) : kept;
          cmsDoTransform(t, pixels.data(), pixels.data(), cmsUInt32Number(kPixels));
          if (new_record) cmsDeleteTransform(t);
        });
      });
  cmsDeleteTransform(kept);
}

// ---- ImageDataConvertEx, planar ------------------------------------------------------

void PlanarConvert(benchmark::State& state, bool new_record) {
  const bench::Comparison c{
      std::string("ImageDataConvertEx mode 1 (YCbCr 4:2:0), 24 MP, ") +
          (new_record ? "new record" : "same record"),
      "peer",
      std::string(new_record ? "lcms2 link and transform built, then cmsDoTransform"
                             : "lcms2 cmsDoTransform, transform kept") +
          " of 24 MP packed RGB",
      "twins byte-equal (lcms2 has no planar 4:2:0 pass to compare with)"};
  Library lib;
  const AutoSetupParam records[2] = {record(0), record(1)};
  const std::string why = twins_agree(planes_420(), [&](Planes& p) {
    ZKImgSetPlanarYCbCr d = p.descriptor();
    lib.convert(&d, kModePlanar, records[0]);
  });
  if (!why.empty() && why[0] != '(') return bench::fail(state, c, why);
  lib.convert(std::vector<std::uint8_t>(photograph()).data(), kModeRgb, records[1]);
  const PeerLink link(lib.state.ColorTable3dMain);
  cmsHTRANSFORM kept = link.transform(TYPE_RGB_8);

  Planes planes;
  std::vector<std::uint8_t> pixels;
  int round = 0;
  bench::interleave(
      state, c,
      [&] {
        planes = planes_420();
        ZKImgSetPlanarYCbCr d = planes.descriptor();
        const AutoSetupParam& r = records[new_record ? ++round % 2 : 1];
        return bench::timed([&] { lib.convert(&d, kModePlanar, r); });
      },
      [&] {
        pixels = photograph();
        return bench::timed([&] {
          cmsHTRANSFORM t = new_record ? link.transform(TYPE_RGB_8) : kept;
          cmsDoTransform(t, pixels.data(), pixels.data(), cmsUInt32Number(kPixels));
          if (new_record) cmsDeleteTransform(t);
        });
      });
  cmsDeleteTransform(kept);
}

// ---- The fixed cost of a call ------------------------------------------------------

void FixedCost(benchmark::State& state) {
  const bench::Comparison c{"ImageDataConvertEx fixed cost, 128 x 92, same record", "other",
                            "the same call with a new record (set-up table built)",
                            "same bytes as a fresh library state"};
  Library lib, fresh;
  const AutoSetupParam records[2] = {record(0), record(1)};
  const std::vector<std::uint8_t> small(photograph().begin(),
                                        photograph().begin() + 3 * kSmallWidth * kSmallHeight);
  std::vector<std::uint8_t> a = small, b = small, pixels;
  // A reused table must give what a table built afresh gives.
  lib.convert(a.data(), kModeRgb, records[0], kSmallWidth, kSmallHeight);
  a = small;
  lib.convert(a.data(), kModeRgb, records[0], kSmallWidth, kSmallHeight);
  fresh.convert(b.data(), kModeRgb, records[0], kSmallWidth, kSmallHeight);
  if (a != b) return bench::fail(state, c, "a reused set-up table gives other bytes");

  int round = 0;
  bench::interleave(
      state, c,
      [&] {
        pixels = small;
        return bench::timed(
            [&] { lib.convert(pixels.data(), kModeRgb, records[0], kSmallWidth, kSmallHeight); });
      },
      [&] {
        pixels = small;
        const AutoSetupParam& r = records[++round % 2];
        return bench::timed(
            [&] { fresh.convert(pixels.data(), kModeRgb, r, kSmallWidth, kSmallHeight); });
      });
}

// ---- Den2Vorn and BgrRgbConversion ---------------------------------------------------

void Den2Vorn(benchmark::State& state) {
  const bench::Comparison c{"Den2Vorn, 24 MP", "floor", "three table look-ups a pixel, in place",
                            "same bytes as the floor"};
  Library lib;
  lib.state.ColorConvMode = kDefaultColorConvMode & ~ZKIMGSET_CONV_SKIP_1D_TABLE;
  std::vector<std::uint8_t> pixels = photograph(), floor = photograph();
  std::uint8_t table[3][256];
  // The 1-D table alone (no balance shifts): the floor's tables.
  for (int c3 = 0; c3 < 3; ++c3)
    for (int v = 0; v < 256; ++v) table[c3][v] = lib.table1d[std::size_t(3 * v + c3)];
  auto floor_pass = [&](std::vector<std::uint8_t>& p) {
    for (std::size_t i = 0; i < p.size(); i += 3) {
      p[i] = table[0][p[i]];
      p[i + 1] = table[1][p[i + 1]];
      p[i + 2] = table[2][p[i + 2]];
    }
  };
  colour::convert(lib.state, pixels.data(), kWidth, kHeight, geometry::Layout::PackedRgb,
                  colour::Core::OneD, {});
  floor_pass(floor);
  if (pixels != floor) return bench::fail(state, c, "Den2Vorn differs from its 1-D table");
  bench::interleave(
      state, c,
      [&] {
        pixels = photograph();
        return bench::timed([&] {
          colour::convert(lib.state, pixels.data(), kWidth, kHeight, geometry::Layout::PackedRgb,
                          colour::Core::OneD, {});
        });
      },
      [&] {
        pixels = photograph();
        return bench::timed([&] { floor_pass(pixels); });
      });
}

void BgrRgbConversion(benchmark::State& state) {
  const bench::Comparison c{"BgrRgbConversion, 24 MP", "floor", "memcpy of the picture",
                            "twins byte-equal"};
  std::vector<std::uint8_t> pixels = photograph(), copy(pixels.size());
  std::vector<std::uint8_t> plain(pixels.size()), vector(pixels.size());
  colour::swap_run_plain(plain.data(), pixels.data(), kPixels);
  colour::swap_run(vector.data(), pixels.data(), kPixels);
  if (plain != vector) return bench::fail(state, c, "the vector swap differs from the plain one");
  bench::interleave(
      state, c,
      [&] {
        pixels = photograph();
        return bench::timed([&] { colour::bitmap_to_packed(pixels.data(), kWidth, kHeight); });
      },
      [&] {
        pixels = photograph();
        return bench::timed([&] { std::memcpy(copy.data(), pixels.data(), pixels.size()); });
      });
}

void register_all() {
  auto add = [](const char* name, auto fn) {
    benchmark::RegisterBenchmark(name, fn)
        ->UseManualTime()
        ->Iterations(bench::kRounds)
        ->Unit(benchmark::kMillisecond);
  };
  add("ImageDataConvertRgbNewRecord",
      [](benchmark::State& s) { PackedConvert(s, kModeRgb, true); });
  add("ImageDataConvertRgb", [](benchmark::State& s) { PackedConvert(s, kModeRgb, false); });
  add("ImageDataConvertBgr", [](benchmark::State& s) { PackedConvert(s, kModeBgr, false); });
  add("ImageDataConvertPlanarNewRecord", [](benchmark::State& s) { PlanarConvert(s, true); });
  add("ImageDataConvertPlanar", [](benchmark::State& s) { PlanarConvert(s, false); });
  add("ImageDataConvertFixedCost", FixedCost);
  add("Den2Vorn", Den2Vorn);
  add("BgrRgbConversion", BgrRgbConversion);
}

}  // namespace

int main(int argc, char** argv) {
  photograph();  // made before anything is timed
  register_all();
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return zkimgset::bench::report_figures() ? 0 : 1;
}
