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
#include "bench_pictures.h"
#include "ratio_reporter.h"

namespace {

using namespace zkimgset;
using namespace zkimgset::autosetup;

void GetAtParam_ours(benchmark::State& state) {
  const int w = static_cast<int>(state.range(0)), h = static_cast<int>(state.range(1));
  const auto rgb = bench::photograph(w, h);
  AnalysisState analysis;
  LibraryState library;
  AutoSetupParam result;
  for (auto _ : state) {
    library.setup_mode = ZKIMGSET_SETUP_FULL;
    benchmark::DoNotOptimize(get_at_param(rgb.data(), w, h, &result, 0, 0, 0, analysis, library));
  }
}

void GetAtParam_floor(benchmark::State& state) {
  const auto rgb =
      bench::photograph(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
  for (auto _ : state) {
    benchmark::DoNotOptimize(bench::count_non_white(rgb));
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
