// ResizeExec from a 6000 x 4000 photograph to 132 x 96 and 1500 x 1000 (the
// tabled filter) and to 4000 x 2667 (linear interpolation), beside libvips'
// resize of the same buffer on one thread.
#include <benchmark/benchmark.h>
#include <vips/vips.h>

#include <vector>

#include "bench_pictures.h"
#include "ratio_reporter.h"
#include "resize/resize.h"
#include "resize/resize_exec.h"

namespace {

using namespace zkimgset;

constexpr int kWidth = 6000, kHeight = 4000;

const std::vector<std::uint8_t>& source() {  // 18000-byte rows: already 4-aligned
  static const std::vector<std::uint8_t> rgb = bench::photograph(kWidth, kHeight);
  return rgb;
}

void Resize_ours(benchmark::State& state) {
  const int w = static_cast<int>(state.range(0)), h = static_cast<int>(state.range(1));
  ZKImgSetBitmapInfoHeader header{40, kWidth, kHeight, 1, 24, 0, 0, 2834, 2834, 0, 0}, out{};
  ZKImgSetResizePlan plan{};
  zkimgset_resize_plan(kWidth, kHeight, w, h, &plan);
  std::vector<std::uint8_t> result(zkimgset_bitmap_bytes(plan.result_width, plan.result_height));
  for (auto _ : state)
    benchmark::DoNotOptimize(
        resize::resize_exec(&header, source().data(), &out, result.data(), w, h));
}

void Resize_peer(benchmark::State& state) {
  const int w = static_cast<int>(state.range(0)), h = static_cast<int>(state.range(1));
  vips_concurrency_set(1);
  vips_cache_set_max(0);
  for (auto _ : state) {
    VipsImage* in = vips_image_new_from_memory(source().data(), source().size(), kWidth, kHeight, 3,
                                               VIPS_FORMAT_UCHAR);
    VipsImage* out = nullptr;
    vips_resize(in, &out, double(w) / kWidth, "vscale", double(h) / kHeight, nullptr);
    std::size_t size = 0;
    void* pixels = vips_image_write_to_memory(out, &size);
    benchmark::DoNotOptimize(pixels);
    g_free(pixels);
    g_object_unref(out);
    g_object_unref(in);
  }
}

BENCHMARK(Resize_ours)->Name("Resize132x96/ours")->Args({132, 96})->Unit(benchmark::kMillisecond);
BENCHMARK(Resize_peer)->Name("Resize132x96/peer")->Args({132, 96})->Unit(benchmark::kMillisecond);
BENCHMARK(Resize_ours)
    ->Name("Resize1500x1000/ours")
    ->Args({1500, 1000})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(Resize_peer)
    ->Name("Resize1500x1000/peer")
    ->Args({1500, 1000})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(Resize_ours)
    ->Name("Resize4000x2667/ours")
    ->Args({4000, 2667})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(Resize_peer)
    ->Name("Resize4000x2667/peer")
    ->Args({4000, 2667})
    ->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  if (VIPS_INIT(argv[0]) != 0) return 1;
  source();  // made before any run is timed
  benchmark::Initialize(&argc, argv);
  zkimgset::bench::RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  vips_shutdown();
  return 0;
}
