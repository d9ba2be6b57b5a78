// The analysis's front end (find the area, make the thumbnail, gather the
// statistics) on a large and a small photograph, beside a floor: one
// vectorised read of every pixel of the picture, the least a naive margin
// scan costs. Our area scan reads two pixels a row of a photograph, so the
// whole front end stays close to its fixed thumbnail cost whatever the
// picture's size.
#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "autosetup/statistics.h"
#include "autosetup/thumbnail.h"
#include "bench_pictures.h"
#include "geometry/content_rectangle.h"
#include "rounds.h"

namespace {

using namespace zkimgset;
using namespace zkimgset::autosetup;
using geometry::content_rectangle;
using geometry::Layout;
using geometry::Picture;

void Analysis(benchmark::State& state, int w, int h) {
  const bench::Comparison c{
      "Area, thumbnail and statistics, " + std::to_string(w) + " x " + std::to_string(h), "floor",
      "one vectorised read of every pixel", "same thumbnail on every round; floor = plain count"};
  const auto rgb = bench::photograph(w, h);
  if (bench::count_non_white(rgb) != bench::count_non_white_plain(rgb.data(), rgb.size() / 3))
    return bench::fail(state, c, "the vectorised floor miscounts");
  const Picture picture{rgb.data(), w, h, Layout::PackedRgb};
  auto thumb = std::make_unique<_ThumbnailData>(), first = std::make_unique<_ThumbnailData>();
  AnalysisState analysis;
  LibraryState library;
  library.setup_mode = ZKIMGSET_SETUP_FULL;
  make_thumbnail(picture, content_rectangle(picture), *first);
  bool same = true;
  bench::interleave(
      state, c,
      [&] {
        const double t = bench::timed([&] {
          make_thumbnail(picture, content_rectangle(picture), *thumb);
          benchmark::DoNotOptimize(run_statistics(*thumb, analysis, library));
        });
        make_thumbnail(picture, content_rectangle(picture), *thumb);
        same = same && std::memcmp(thumb.get(), first.get(), sizeof *thumb) == 0;
        return t;
      },
      [&] { return bench::timed([&] { benchmark::DoNotOptimize(bench::count_non_white(rgb)); }); });
  if (!same) bench::fail(state, c, "the thumbnail changed from round to round");
}

}  // namespace

int main(int argc, char** argv) {
  for (const auto& [w, h] : {std::pair{6000, 4000}, std::pair{640, 480}})
    benchmark::RegisterBenchmark(("Analysis" + std::to_string(w) + "x" + std::to_string(h)).c_str(),
                                 [w = w, h = h](benchmark::State& s) { Analysis(s, w, h); })
        ->UseManualTime()
        ->Iterations(zkimgset::bench::kRounds)
        ->Unit(benchmark::kMicrosecond);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return zkimgset::bench::report_figures() ? 0 : 1;
}
