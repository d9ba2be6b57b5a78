// ResizeExec from a 6000 x 4000 photograph beside libvips' resize of the
// same cut to the same size on one thread, in interleaved rounds:
// 4000 x 2667 and 3000 x 2000 (kernel 2), 2400 x 1600 and 2100 x 1400
// (kernel 3), 1500 x 1000 and 132 x 96 (kernel 4, the thumbnail size).
//
// libvips gets what a host would give it: the buffer wrapped without a
// copy and marked as read top to bottom (as its own file loaders mark a
// picture, so vips_resize keeps line caches instead of recomputing each
// tile's input: unmarked, a 6000 x 4000 to 1500 x 1000 resize took 1.9 s
// where `vips resize` on its command line takes 0.3 s), the centred cut our
// plan takes (so both keep the target's aspect), vips_resize with the
// linear kernel (our kernels 2 and 3 interpolate linearly between two or
// three source pixels) or, for kernel 4, its default (box shrink, then
// lanczos3), and the result written to memory.
//
// Outputs are checked before anything is timed: our vector kernels against
// the plain ones byte for byte, and for kernels 2 and 3 ours against
// libvips within a stated mean difference (the two place their samples
// differently by a fraction of a source pixel, so a grainy photograph
// differs a little everywhere).
#include <benchmark/benchmark.h>
#include <vips/vips.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "bench_pictures.h"
#include "platform/kernel_choice.h"
#include "resize/resize.h"
#include "resize/resize_exec.h"
#include "rounds.h"

namespace {

using namespace zkimgset;

constexpr int kWidth = 6000, kHeight = 4000;
constexpr double kPeerMeanDifference = 2.0;

const std::vector<std::uint8_t>& source() {  // 18000-byte rows: already 4-aligned
  static const std::vector<std::uint8_t> rgb = bench::photograph(kWidth, kHeight);
  return rgb;
}

struct Size {
  int w, h;
};

// libvips' resize of the cut our plan takes, into memory that the caller
// frees with g_free. The source's rows are those of the bottom-up bitmap,
// so the result comes out bottom-up too, packed.
void* vips_resized(const ZKImgSetResizePlan& plan, std::size_t* size) {
  VipsImage* in = vips_image_new_from_memory(source().data(), source().size(), kWidth, kHeight, 3,
                                             VIPS_FORMAT_UCHAR);
  vips_image_set_int(in, VIPS_META_SEQUENTIAL, 1);
  const int bottom = kHeight - (plan.cut_top + plan.cut_height);
  VipsImage *cut = nullptr, *out = nullptr;
  vips_extract_area(in, &cut, plan.cut_left, std::max(bottom, 0), plan.cut_width,
                    std::min(plan.cut_height, kHeight), nullptr);
  const double h = double(plan.result_width) / cut->Xsize,
               v = double(plan.result_height) / cut->Ysize;
  if (plan.kernel == 4)
    vips_resize(cut, &out, h, "vscale", v, nullptr);
  else
    vips_resize(cut, &out, h, "vscale", v, "kernel", VIPS_KERNEL_LINEAR, nullptr);
  void* pixels = vips_image_write_to_memory(out, size);
  g_object_unref(out);
  g_object_unref(cut);
  g_object_unref(in);
  return pixels;
}

// Ours, bitmap rows, as packed rows.
std::vector<std::uint8_t> unpadded(const std::vector<std::uint8_t>& bitmap, int w, int h) {
  std::vector<std::uint8_t> packed;
  const std::size_t stride = zkimgset_bitmap_row_bytes(w);
  for (int y = 0; y < h; ++y)
    packed.insert(packed.end(), bitmap.begin() + std::ptrdiff_t(stride * y),
                  bitmap.begin() + std::ptrdiff_t(stride * y + 3 * std::size_t(w)));
  return packed;
}

void Resize(benchmark::State& state, Size to) {
  ZKImgSetResizePlan plan{};
  zkimgset_resize_plan(kWidth, kHeight, to.w, to.h, &plan);
  bench::Comparison c{"ResizeExec kernel " + std::to_string(plan.kernel) + ", 6000 x 4000 to " +
                          std::to_string(to.w) + " x " + std::to_string(to.h),
                      "peer",
                      std::string("libvips vips_resize of the same cut, ") +
                          (plan.kernel == 4 ? "default kernel" : "linear kernel") + ", one thread",
                      "twins byte-equal"};
  const ZKImgSetBitmapInfoHeader header{40, kWidth, kHeight, 1, 24, 0, 0, 2834, 2834, 0, 0};
  ZKImgSetBitmapInfoHeader out_header{};
  std::vector<std::uint8_t> result(zkimgset_bitmap_bytes(plan.result_width, plan.result_height));
  auto ours = [&](std::vector<std::uint8_t>& into) {
    return resize::resize_exec(&header, source().data(), &out_header, into.data(), to.w, to.h);
  };

  std::vector<std::uint8_t> plain = result, vector = result;
  platform::force_plain_kernels(true);
  ours(plain);
  platform::force_plain_kernels(false);
  ours(vector);
  if (plain != vector) return bench::fail(state, c, "the vector passes differ from the plain ones");
  const std::vector<std::uint8_t> mine = unpadded(vector, plan.result_width, plan.result_height);
  std::size_t size = 0;
  auto* pixels = static_cast<std::uint8_t*>(vips_resized(plan, &size));
  const std::vector<std::uint8_t> theirs(pixels, pixels + size);
  g_free(pixels);
  if (theirs.size() != mine.size())
    return bench::fail(state, c,
                       "libvips made " + std::to_string(theirs.size()) + " bytes, not " +
                           std::to_string(mine.size()));
  if (plan.kernel == 4) {
    // Kernel 4 keeps its tap walk, which covers only part of the cut (three
    // quarters at a quarter's scale), so its picture is not libvips'.
    c.check += "; libvips not compared (kernel 4 samples part of the cut)";
  } else {
    double total = 0;
    for (std::size_t i = 0; i < mine.size(); ++i) total += std::abs(int(mine[i]) - int(theirs[i]));
    const double mean = total / double(mine.size());
    char text[96];
    std::snprintf(text, sizeof text, "; libvips differs by a mean of %.2f levels (limit %.1f)",
                  mean, kPeerMeanDifference);
    if (mean > kPeerMeanDifference) return bench::fail(state, c, text + 2);
    c.check += text;
  }

  bench::interleave(
      state, c, [&] { return bench::timed([&] { benchmark::DoNotOptimize(ours(result)); }); },
      [&] { return bench::timed([&] { g_free(vips_resized(plan, &size)); }); });
}

}  // namespace

int main(int argc, char** argv) {
  if (VIPS_INIT(argv[0]) != 0) return 1;
  vips_concurrency_set(1);
  vips_cache_set_max(0);
  source();  // made before anything is timed
  for (const Size to : {Size{4000, 2667}, Size{3000, 2000}, Size{2400, 1600}, Size{2100, 1400},
                        Size{1500, 1000}, Size{132, 96}})
    benchmark::RegisterBenchmark(
        ("Resize" + std::to_string(to.w) + "x" + std::to_string(to.h)).c_str(),
        [to](benchmark::State& s) { Resize(s, to); })
        ->UseManualTime()
        ->Iterations(bench::kRounds)
        ->Unit(benchmark::kMillisecond);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  vips_shutdown();
  return zkimgset::bench::report_figures() ? 0 : 1;
}
