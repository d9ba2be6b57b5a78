// The pixel passes on one 6000 x 4000 photo-like picture, in one run:
// ImageDataConvertEx (modes 0 and 2, the set-up colour table built apart),
// Den2TA, Den2Vorn and BgrRgbConversion, beside a plain in-place byte pass
// (the memory floor), a plain three-table look-up pass and memcpy, and, as
// the peer, lcms2's 8-bit RGB transform through a 33 x 33 x 33 device link.
#include <benchmark/benchmark.h>
#include <lcms2.h>

#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "autosetup/analysis_state.h"
#include "bench_pictures.h"
#include "colour/conversions.h"
#include "colour/setup_table.h"
#include "colour/table_limits.h"
#include "ratio_reporter.h"
#include "setup/pixel_pass.h"

namespace {

using namespace zkimgset;

constexpr int kWidth = 6000, kHeight = 4000;

const std::vector<std::uint8_t>& photograph() {
  static const std::vector<std::uint8_t> rgb = bench::photograph(kWidth, kHeight);
  return rgb;
}

// A library state with identity-ish tables and a set-up table built from a
// mild correction.
struct Library {
  std::vector<std::uint8_t> main = std::vector<std::uint8_t>(colour::kTable3dBytes);
  std::vector<std::uint8_t> alt = std::vector<std::uint8_t>(colour::kTable3dBytes);
  std::vector<std::uint8_t> table1d = std::vector<std::uint8_t>(colour::kTable1dBytes);
  LibraryState state;
  autosetup::AnalysisState analysis;

  Library() {
    for (int i = 0; i < 32; ++i)
      for (int j = 0; j < 32; ++j)
        for (int k = 0; k < 32; ++k) {
          auto input = [](int n) { return std::uint8_t(n == 0 ? 0 : 8 * n + 7); };
          std::uint8_t* node = &alt[std::size_t((i * 32 + j) * 32 + k) * 3];
          node[0] = input(i), node[1] = input(j), node[2] = input(k);
        }
    for (int v = 0; v < 256; ++v)
      for (int c = 0; c < 3; ++c) table1d[std::size_t(3 * v + c)] = std::uint8_t(255 - v);
    state.ColorTable3dMain = main.data();
    state.ColorTable3dAlt = alt.data();
    state.Table1d = table1d.data();
    state.Table1dStatus = state.Table3dStatus = 0;
    state.ColorConvMode = 0;
    state.setup_mode = 0x1D;
    for (int i = 0; i < 256; ++i) analysis.tone[i] = std::uint8_t(std::min(255, i + i / 8));
    for (auto& c : analysis.sat_coef) c = 1100;
    analysis.gain[2] = 0.9f;
    analysis.wt_clp = 255;
    colour::build_setup_table(state, analysis);
  }
};

void ImageDataConvertMode0_ours(benchmark::State& s) {
  Library lib;
  std::vector<std::uint8_t> pixels = photograph();
  const tagRECT rect{0, 0, kWidth - 1, kHeight - 1};
  for (auto _ : s)
    setup::pixel_pass(lib.state, pixels.data(), 24, autosetup::Layout::PackedRgb, rect, rect);
  s.SetItemsProcessed(s.iterations() * kWidth * kHeight);
}

void ImageDataConvertMode2(benchmark::State& s) {
  Library lib;
  std::vector<std::uint8_t> pixels = photograph();  // 18000 bytes a row: already padded
  const tagRECT rect{0, 0, kWidth - 1, kHeight - 1};
  for (auto _ : s)
    setup::pixel_pass(lib.state, pixels.data(), 24, autosetup::Layout::BitmapBgr, rect, rect);
  s.SetItemsProcessed(s.iterations() * kWidth * kHeight);
}

void BuildSetupTable(benchmark::State& s) {
  Library lib;
  for (auto _ : s) colour::build_setup_table(lib.state, lib.analysis);
}

void Den2TA(benchmark::State& s) {
  Library lib;
  std::vector<std::uint8_t> pixels = photograph();
  for (auto _ : s)
    colour::convert(lib.state, pixels.data(), kWidth, kHeight, autosetup::Layout::PackedRgb,
                    colour::Core::Density, {});
  s.SetItemsProcessed(s.iterations() * kWidth * kHeight);
}

void Den2Vorn_ours(benchmark::State& s) {
  Library lib;
  std::vector<std::uint8_t> pixels = photograph();
  for (auto _ : s)
    colour::convert(lib.state, pixels.data(), kWidth, kHeight, autosetup::Layout::PackedRgb,
                    colour::Core::OneD, {1, 0, -1});
  s.SetItemsProcessed(s.iterations() * kWidth * kHeight);
}

void Den2Vorn_floor(benchmark::State& s) {  // three look-up tables, nothing else
  std::uint8_t table[3][256];
  for (int c = 0; c < 3; ++c)
    for (int v = 0; v < 256; ++v) table[c][v] = std::uint8_t(255 - v);
  std::vector<std::uint8_t> pixels = photograph();
  for (auto _ : s) {
    for (std::size_t i = 0; i < pixels.size(); i += 3) {
      pixels[i] = table[0][pixels[i]];
      pixels[i + 1] = table[1][pixels[i + 1]];
      pixels[i + 2] = table[2][pixels[i + 2]];
    }
    benchmark::ClobberMemory();
  }
  s.SetItemsProcessed(s.iterations() * kWidth * kHeight);
}

void BgrRgbConversion_ours(benchmark::State& s) {
  std::vector<std::uint8_t> pixels = photograph();
  for (auto _ : s) colour::bitmap_to_packed(pixels.data(), kWidth, kHeight);
  s.SetItemsProcessed(s.iterations() * kWidth * kHeight);
}

void BgrRgbConversion_floor(benchmark::State& s) {  // memcpy of the picture
  const std::vector<std::uint8_t>& source = photograph();
  std::vector<std::uint8_t> copy(source.size());
  for (auto _ : s) {
    std::memcpy(copy.data(), source.data(), source.size());
    benchmark::ClobberMemory();
  }
  s.SetItemsProcessed(s.iterations() * kWidth * kHeight);
}

void ImageDataConvertMode0_floor(benchmark::State& s) {  // a plain in-place byte pass
  std::vector<std::uint8_t> pixels = photograph();
  for (auto _ : s) {
    for (std::uint8_t& b : pixels) b = static_cast<std::uint8_t>(b ^ 1);
    benchmark::ClobberMemory();
  }
  s.SetItemsProcessed(s.iterations() * kWidth * kHeight);
}

void ImageDataConvertMode0_peer(benchmark::State& s) {  // lcms2, 33-node device link
  std::vector<cmsUInt16Number> grid(33 * 33 * 33 * 3);
  for (int i = 0; i < 33; ++i)
    for (int j = 0; j < 33; ++j)
      for (int k = 0; k < 33; ++k) {
        cmsUInt16Number* node = &grid[std::size_t((i * 33 + j) * 33 + k) * 3];
        node[0] = cmsUInt16Number(std::min(65535, i * 2048));
        node[1] = cmsUInt16Number(std::min(65535, j * 2048));
        node[2] = cmsUInt16Number(std::min(65535, k * 1900));
      }
  cmsHPROFILE link = cmsCreateProfilePlaceholder(nullptr);
  cmsSetProfileVersion(link, 4.3);
  cmsSetDeviceClass(link, cmsSigLinkClass);
  cmsSetColorSpace(link, cmsSigRgbData);
  cmsSetPCS(link, cmsSigRgbData);
  cmsPipeline* pipeline = cmsPipelineAlloc(nullptr, 3, 3);
  cmsPipelineInsertStage(pipeline, cmsAT_BEGIN,
                         cmsStageAllocCLut16bit(nullptr, 33, 3, 3, grid.data()));
  cmsWriteTag(link, cmsSigAToB0Tag, pipeline);
  cmsHTRANSFORM transform =
      cmsCreateTransform(link, TYPE_RGB_8, nullptr, TYPE_RGB_8, INTENT_PERCEPTUAL, 0);
  std::vector<std::uint8_t> pixels = photograph();
  for (auto _ : s)
    cmsDoTransform(transform, pixels.data(), pixels.data(), cmsUInt32Number(kWidth) * kHeight);
  s.SetItemsProcessed(s.iterations() * kWidth * kHeight);
  cmsDeleteTransform(transform);
  cmsPipelineFree(pipeline);
  cmsCloseProfile(link);
}

BENCHMARK(ImageDataConvertMode0_ours)
    ->Name("ImageDataConvertMode0/ours")
    ->Unit(benchmark::kMillisecond);
BENCHMARK(ImageDataConvertMode0_floor)
    ->Name("ImageDataConvertMode0/floor")
    ->Unit(benchmark::kMillisecond);
BENCHMARK(ImageDataConvertMode0_peer)
    ->Name("ImageDataConvertMode0/peer")
    ->Unit(benchmark::kMillisecond);
BENCHMARK(ImageDataConvertMode2)->Unit(benchmark::kMillisecond);
BENCHMARK(BuildSetupTable)->Unit(benchmark::kMillisecond);
BENCHMARK(Den2TA)->Unit(benchmark::kMillisecond);
BENCHMARK(Den2Vorn_ours)->Name("Den2Vorn/ours")->Unit(benchmark::kMillisecond);
BENCHMARK(Den2Vorn_floor)->Name("Den2Vorn/floor")->Unit(benchmark::kMillisecond);
BENCHMARK(BgrRgbConversion_ours)->Name("BgrRgbConversion/ours")->Unit(benchmark::kMillisecond);
BENCHMARK(BgrRgbConversion_floor)->Name("BgrRgbConversion/floor")->Unit(benchmark::kMillisecond);

}  // namespace

ZKIMGSET_BENCHMARK_MAIN()
