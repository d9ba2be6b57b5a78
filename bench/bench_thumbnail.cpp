// The analysis's front end (find the area, make the thumbnail, gather the
// statistics) on a large and a small photograph, beside a floor: one plain
// pass over every pixel of the picture, the least a naive margin scan costs.
// Our area scan reads two pixels a row of a photograph, so the whole front
// end stays close to its fixed thumbnail cost whatever the picture's size.
#include <benchmark/benchmark.h>

#include <memory>
#include <random>
#include <vector>

#include "autosetup/analysis_area.h"
#include "autosetup/statistics.h"
#include "autosetup/thumbnail.h"
#include "bench_pictures.h"
#include "ratio_reporter.h"

namespace {

using namespace zkimgset;
using namespace zkimgset::autosetup;

void Analysis_ours(benchmark::State& state) {
  const int w = static_cast<int>(state.range(0)), h = static_cast<int>(state.range(1));
  const auto rgb = bench::photograph(w, h);
  const Picture picture{rgb.data(), w, h, Layout::PackedRgb};
  auto thumb = std::make_unique<_ThumbnailData>();
  AnalysisState analysis;
  LibraryState library;
  library.setup_mode = ZKIMGSET_SETUP_FULL;
  for (auto _ : state) {
    make_thumbnail(picture, find_analysis_area(picture), *thumb);
    benchmark::DoNotOptimize(run_statistics(*thumb, analysis, library));
  }
}

void Analysis_floor(benchmark::State& state) {
  const int w = static_cast<int>(state.range(0)), h = static_cast<int>(state.range(1));
  const auto rgb = bench::photograph(w, h);
  for (auto _ : state) {
    benchmark::DoNotOptimize(bench::count_non_white(rgb));
  }
}

BENCHMARK(Analysis_ours)
    ->Name("Analysis6000x4000/ours")
    ->Args({6000, 4000})
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(Analysis_floor)
    ->Name("Analysis6000x4000/floor")
    ->Args({6000, 4000})
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(Analysis_ours)
    ->Name("Analysis640x480/ours")
    ->Args({640, 480})
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(Analysis_floor)
    ->Name("Analysis640x480/floor")
    ->Args({640, 480})
    ->Unit(benchmark::kMicrosecond);

}  // namespace

ZKIMGSET_BENCHMARK_MAIN()
