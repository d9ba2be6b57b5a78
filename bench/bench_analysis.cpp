// The whole automatic set-up analysis (GetAtParamEx's work under the full
// setup_mode 0xDF) on a 24-megapixel and a VGA photograph, beside a floor of
// one plain read of the picture; and the grouping alone on a thumbnail of
// fine noise at a tolerance where about half of all neighbours merge, the
// grouping's worst case.
#include <benchmark/benchmark.h>

#include <cmath>
#include <memory>
#include <random>
#include <vector>

#include "autosetup/analysis.h"
#include "autosetup/grouping.h"
#include "ratio_reporter.h"

namespace {

using namespace zkimgset;
using namespace zkimgset::autosetup;

std::vector<std::uint8_t> photograph(int width, int height) {
  std::vector<std::uint8_t> rgb(3 * std::size_t(width) * height);
  std::mt19937 random(1);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      const double shade = std::sin(x * 0.01) * std::cos(y * 0.013) * 0.5 + 0.5;
      std::uint8_t* p = &rgb[3 * (std::size_t(y) * width + x)];
      for (int c = 0; c < 3; ++c)
        p[c] = static_cast<std::uint8_t>(30 + 180 * shade + c * 10 + random() % 16);
    }
  return rgb;
}

void GetAtParam_ours(benchmark::State& state) {
  const int w = static_cast<int>(state.range(0)), h = static_cast<int>(state.range(1));
  const auto rgb = photograph(w, h);
  AnalysisState analysis;
  LibraryState library;
  AutoSetupParam result;
  for (auto _ : state) {
    library.setup_mode = ZKIMGSET_SETUP_FULL;
    benchmark::DoNotOptimize(get_at_param(rgb.data(), w, h, &result, 0, 0, 0, analysis, library));
  }
}

void GetAtParam_floor(benchmark::State& state) {
  const auto rgb = photograph(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
  for (auto _ : state) {
    std::size_t non_white = 0;
    for (std::size_t i = 0; i < rgb.size(); i += 3)
      non_white += (rgb[i] & rgb[i + 1] & rgb[i + 2]) != 255;
    benchmark::DoNotOptimize(non_white);
  }
}

void Grouping(benchmark::State& state) {
  auto thumb = std::make_unique<_ThumbnailData>();
  std::mt19937 random(5);
  for (int p = 0; p < 4; ++p)
    for (int i = 0; i < kThumbPixels; ++i)
      thumb->plane[p][i] = static_cast<std::uint8_t>(random() % 6);
  AnalysisState analysis;
  analysis.toler = 2;
  analysis.groups.cb_limit = analysis.groups.cr_limit = 4;
  for (auto _ : state) benchmark::DoNotOptimize(group_pixels(*thumb, analysis));
  state.counters["groups"] = analysis.allgrpno;
  state.counters["labels"] = analysis.nextgrp;
}

BENCHMARK(GetAtParam_ours)
    ->Name("GetAtParam6000x4000/ours")
    ->Args({6000, 4000})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(GetAtParam_floor)
    ->Name("GetAtParam6000x4000/floor")
    ->Args({6000, 4000})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(GetAtParam_ours)
    ->Name("GetAtParam640x480/ours")
    ->Args({640, 480})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(GetAtParam_floor)
    ->Name("GetAtParam640x480/floor")
    ->Args({640, 480})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(Grouping)->Unit(benchmark::kMicrosecond);

}  // namespace

ZKIMGSET_BENCHMARK_MAIN()
