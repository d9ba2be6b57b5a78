// The whole automatic set-up analysis (GetAtParamEx's work under the full
// setup_mode 0xDF) on a 24-megapixel and a VGA photograph, beside a floor of
// one vectorised read of the picture, in interleaved rounds; and the
// grouping alone on a thumbnail of fine noise at a tolerance where about
// half of all neighbours merge, the grouping's worst case.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "autosetup/analysis.h"
#include "autosetup/grouping.h"
#include "bench_pictures.h"
#include "rounds.h"

namespace {

using namespace zkimgset;
using namespace zkimgset::autosetup;

void GetAtParam(benchmark::State& state, int w, int h) {
  const bench::Comparison c{"GetAtParamEx, " + std::to_string(w) + " x " + std::to_string(h),
                            "floor", "one vectorised read of every pixel",
                            "same record on every round; floor = plain count"};
  const auto rgb = bench::photograph(w, h);
  if (bench::count_non_white(rgb) != bench::count_non_white_plain(rgb.data(), rgb.size() / 3))
    return bench::fail(state, c, "the vectorised floor miscounts");
  AnalysisState analysis;
  LibraryState library;
  AutoSetupParam first{}, result{};
  library.setup_mode = ZKIMGSET_SETUP_FULL;
  get_at_param(rgb.data(), w, h, &first, 0, 0, 0, analysis, library);
  bool same = true;
  bench::interleave(
      state, c,
      [&] {
        library.setup_mode = ZKIMGSET_SETUP_FULL;
        const double t = bench::timed(
            [&] { get_at_param(rgb.data(), w, h, &result, 0, 0, 0, analysis, library); });
        same = same && std::memcmp(&first, &result, sizeof result) == 0;
        return t;
      },
      [&] { return bench::timed([&] { benchmark::DoNotOptimize(bench::count_non_white(rgb)); }); });
  if (!same) bench::fail(state, c, "the analysis gave another record on a later round");
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

}  // namespace

int main(int argc, char** argv) {
  for (const auto& [w, h] : {std::pair{6000, 4000}, std::pair{640, 480}})
    benchmark::RegisterBenchmark(
        ("GetAtParam" + std::to_string(w) + "x" + std::to_string(h)).c_str(),
        [w = w, h = h](benchmark::State& s) { GetAtParam(s, w, h); })
        ->UseManualTime()
        ->Iterations(zkimgset::bench::kRounds)
        ->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("Grouping", Grouping)->Unit(benchmark::kMicrosecond);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return zkimgset::bench::report_figures() ? 0 : 1;
}
