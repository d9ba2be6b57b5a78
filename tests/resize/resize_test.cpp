// Resizing: the cut, the kernel choice, each kernel's telling behaviour, and
// a sweep of sizes that the sanitizer build turns into a bounds check.
#include "resize/resize.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "platform/kernel_choice.h"
#include "resize/resize_exec.h"
#include "support/pictures.h"

namespace zkimgset::resize {
namespace {

// A bottom-up padded bitmap of a packed picture.
std::vector<std::uint8_t> bitmap_of(const testing::TestPicture& p) {
  const std::size_t stride = zkimgset_bitmap_row_bytes(p.width);
  std::vector<std::uint8_t> out(stride * std::size_t(p.height), 0);
  for (int y = 0; y < p.height; ++y)
    std::copy_n(p.pixel(0, y), 3 * std::size_t(p.width),
                &out[stride * std::size_t(p.height - 1 - y)]);
  return out;
}

struct Resized {
  ZKImgSetBitmapInfoHeader header;
  std::vector<std::uint8_t> pixels;
  const std::uint8_t* pixel(int x, int y) const {
    return &pixels[zkimgset_bitmap_row_bytes(header.biWidth) *
                       std::size_t(header.biHeight - 1 - y) +
                   3 * std::size_t(x)];
  }
};

ZKImgSetResizePlan plan_of(int src_w, int src_h, int w, int h) {
  ZKImgSetResizePlan plan{};
  EXPECT_EQ(zkimgset_resize_plan(src_w, src_h, w, h, &plan), ZKIMGSET_OK);
  return plan;
}

// Resized into a buffer of exactly the planned size, with a guard after it.
Resized resize(const testing::TestPicture& p, int w, int h) {
  constexpr std::size_t kGuard = 64;
  const auto source = bitmap_of(p);
  ZKImgSetBitmapInfoHeader header{40, p.width, p.height, 1, 24, 0, 0, 2834, 2834, 0, 0};
  const ZKImgSetResizePlan plan = plan_of(p.width, p.height, w, h);
  const std::size_t bytes = zkimgset_bitmap_bytes(plan.result_width, plan.result_height);
  Resized out{};
  out.pixels.assign(bytes + kGuard, 0xCD);
  EXPECT_EQ(resize_exec(&header, source.data(), &out.header, out.pixels.data(), w, h), 0);
  EXPECT_EQ(out.header.biWidth, plan.result_width);
  EXPECT_EQ(out.header.biHeight, plan.result_height);
  EXPECT_EQ(out.header.biXPelsPerMeter, 2834) << "the rest of the header is the source's";
  EXPECT_EQ(std::count(out.pixels.begin() + std::ptrdiff_t(bytes), out.pixels.end(), 0xCD),
            std::ptrdiff_t(kGuard))
      << "nothing is written past the planned size";
  return out;
}

// The cut keeps the target's proportions, the kernel follows the scale, and
// kernels 3 and 4 size the result from the cut (one row less, more, or none).
TEST(Resize, PlanCutsToTheTargetsProportionsAndPicksTheKernelByScale) {
  const struct {
    int src_w, src_h, w, h, cut_left, cut_top, cut_w, cut_h, kernel, result_w, result_h;
  } cases[] = {
      {400, 300, 132, 96, 0, 4, 400, 291, 4, 132, 96},
      {1000, 100, 100, 100, 450, 0, 100, 100, 1, 100, 100},
      {100, 100, 100, 100, 0, 0, 100, 100, 1, 100, 100},
      {100, 100, 99, 99, 0, 0, 100, 100, 2, 99, 99},
      {100, 100, 50, 50, 0, 0, 100, 100, 2, 50, 50},
      {100, 100, 49, 49, 0, 0, 100, 100, 3, 49, 49},
      {100, 100, 34, 34, 0, 0, 100, 100, 3, 34, 34},
      {100, 100, 33, 33, 0, 0, 100, 100, 4, 33, 33},
      {300, 300, 100, 130, 34, 0, 231, 300, 3, 100, 129},
      {811, 865, 79, 284, 285, 0, 240, 865, 4, 79, 285},
      {65, 319, 1, 1, 0, 127, 65, 64, 4, 1, 0},
      {1, 10, 1, 20, 0, 0, 0, 10, 1, 1, 20},  // a cut less than a pixel wide
  };
  for (const auto& c : cases) {
    const ZKImgSetResizePlan p = plan_of(c.src_w, c.src_h, c.w, c.h);
    EXPECT_EQ(
        (std::array{p.cut_left, p.cut_top, p.cut_width, p.cut_height, p.kernel, p.result_width,
                    p.result_height}),
        (std::array{c.cut_left, c.cut_top, c.cut_w, c.cut_h, c.kernel, c.result_w, c.result_h}))
        << c.src_w << "x" << c.src_h << " to " << c.w << "x" << c.h;
    resize(testing::noise_picture(c.src_w, c.src_h, 8), c.w, c.h);
  }
}

// A strip asked to fill a far wider shape leaves a cut less than a pixel
// wide: every output then takes the cut's first pixel.
TEST(Resize, ACutNarrowerThanAPixelRepeatsItsFirstPixel) {
  const testing::TestPicture p = testing::noise_picture(1, 10, 3);
  const Resized out = resize(p, 1, 20);
  for (int y = 0; y < 20; ++y) EXPECT_EQ(out.pixel(0, y)[0], p.pixel(0, 0)[0]) << y;
}

TEST(Resize, SweepOfSizesStaysInsideThePlannedBuffers) {
  const int sizes[] = {1, 2, 3, 5, 16, 47, 128, 333};
  for (int w : sizes)
    for (int h : sizes) {
      const testing::TestPicture p = testing::noise_picture(w, h, unsigned(w * 1000 + h));
      for (int nw : sizes)
        for (int nh : {1, 7, 96, 500}) resize(p, nw, nh);
    }
}

std::uint64_t digest(const std::vector<std::uint8_t>& bytes) {
  std::uint64_t h = 14695981039346656037ull;
  for (const std::uint8_t b : bytes) h = (h ^ b) * 1099511628211ull;
  return h;
}

// Both passes give the recorded bytes (ZKIMGSET_PRINT_RESIZE=1 prints them)
// for every kernel, on rows that end inside a block of eight.
TEST(Resize, EveryKernelGivesItsRecordedBytesOnBothPasses) {
  const struct {
    int src_w, src_h, w, h;
    std::uint64_t digest;
  } cases[] = {
      {333, 47, 500, 70, 0x5CC25AB366ED929Full},     // kernel 1
      {640, 480, 451, 339, 0x0848640DBF2E239Dull},   // kernel 2
      {640, 480, 320, 240, 0xC4112AC525B4A377ull},   // kernel 2 at a half
      {640, 480, 250, 187, 0xBF4F3407EC7E8991ull},   // kernel 3
      {1001, 301, 334, 100, 0xC6A66AAC33D96564ull},  // kernel 3 near a third
      {640, 480, 157, 118, 0x80B59EF0FF3D40D0ull},   // kernel 4, few taps
      {997, 13, 61, 5, 0xAFEA27FC25F4E89Cull},       // kernel 4, many taps
      {9, 700, 5, 350, 0xEA39DD4B1A033C71ull},       // a cut too narrow for a block
      {400, 300, 132, 96, 0xE2BDAEADFAC6E250ull},    // kernel 4, outputs of two taps are black
  };
  bool kernels[5] = {};
  for (const auto& c : cases) {
    kernels[plan_of(c.src_w, c.src_h, c.w, c.h).kernel] = true;
    const testing::TestPicture p = testing::noise_picture(c.src_w, c.src_h, 5);
    platform::force_plain_kernels(true);
    const Resized plain = resize(p, c.w, c.h);
    const bool vector = platform::force_plain_kernels(false);
    const Resized fast = resize(p, c.w, c.h);
    const std::string what = std::to_string(c.src_w) + "x" + std::to_string(c.src_h) + " to " +
                             std::to_string(c.w) + "x" + std::to_string(c.h);
    if (std::getenv("ZKIMGSET_PRINT_RESIZE") != nullptr)
      std::printf("0x%016llXull  // %s\n", (unsigned long long)digest(plain.pixels), what.c_str());
    EXPECT_EQ(digest(plain.pixels), c.digest) << what;
    EXPECT_TRUE(plain.pixels == fast.pixels) << what << (vector ? "" : " (plain)");
  }
  EXPECT_TRUE(kernels[1] && kernels[2] && kernels[3] && kernels[4]);
}

TEST(Resize, RefusesMissingBuffersAndTopDownBitmaps) {
  ZKImgSetBitmapInfoHeader header{40, 10, 10, 1, 24, 0, 0, 0, 0, 0, 0}, out{};
  std::vector<std::uint8_t> pixels(zkimgset_bitmap_bytes(10, 10));
  EXPECT_EQ(resize_exec(nullptr, pixels.data(), &out, pixels.data(), 5, 5), ZKIMGSET_BAD_ARGUMENT);
  header.biHeight = -10;
  EXPECT_EQ(resize_exec(&header, pixels.data(), &out, pixels.data(), 5, 5), ZKIMGSET_BAD_ARGUMENT);
}

}  // namespace
}  // namespace zkimgset::resize
