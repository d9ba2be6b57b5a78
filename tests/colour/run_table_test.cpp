// The run kernels against the plain one: the vector kernel, and the packed
// pass's work-table kernel over every colour once and over random pixels in
// every layout and guard setting, with runs that end inside a block of eight.
#include "colour/run_table.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <vector>

#include "colour/interpolate3d.h"
#include "colour/interpolate_run.h"
#include "colour/table_limits.h"
#include "platform/kernel_choice.h"

namespace zkimgset::colour {
namespace {

// Random nodes, some white to reach the guard, and a tail of random bytes
// (read only with weight 0, so it must not matter).
std::vector<std::uint8_t> random_table() {
  std::vector<std::uint8_t> table(kTable3dBytes);
  std::mt19937 random(29);
  for (auto& b : table) b = static_cast<std::uint8_t>(random());
  for (int i = 0; i < 300; ++i) {
    const std::size_t node = random() % (kTable3dNodeBytes / 3) * 3;
    table[node] = table[node + 1] = table[node + 2] = 255;
  }
  return table;
}

// Both run kernels, on every layout and guard setting, give the same bytes
// as converting pixel by pixel.
TEST(InterpolateRun, VectorKernelMatchesThePlainOne) {
  const std::vector<std::uint8_t> table = random_table();
  const Interpolator interpolate(table.data());
  std::mt19937 random(23);
  std::vector<std::uint8_t> pixels(3 * 4099);
  for (std::size_t i = 0; i < pixels.size(); ++i)
    pixels[i] = static_cast<std::uint8_t>(i % 7 == 0 ? 255 : random());
  for (bool bgr : {false, true})
    for (bool guard : {false, true}) {
      std::vector<std::uint8_t> plain = pixels, vector = pixels;
      interpolate_run_plain(interpolate, plain.data(), 4099, {bgr, guard});
      const bool has_vector = platform::force_plain_kernels(false);
      interpolate_run(interpolate, vector.data(), 4099, {bgr, guard});
      EXPECT_EQ(plain, vector) << "bgr " << bgr << " guard " << guard << " vector " << has_vector;
      for (std::size_t i = 0; i < 4099; i += 97) {
        const std::uint8_t* p = &pixels[3 * i];
        const Rgb8 one = interpolate3d(table.data(), bgr ? p[2] : p[0], p[1], bgr ? p[0] : p[2]);
        if (!guard) {
          EXPECT_EQ(plain[3 * i + (bgr ? 2 : 0)], one.r) << i;
        }
      }
    }
}

struct RunCase {
  const char* name;
  bool every_colour;  // else 100003 random pixels, some white
  RunOptions options;
};

TEST(RunTable, KernelMatchesThePlainOne) {
  // It calls both twins itself: the run on the plain kernels adds nothing.
  if (const char* plain = std::getenv("ZKIMGSET_PLAIN_KERNELS"); plain && plain[0] == '1')
    GTEST_SKIP() << "compares the twins directly";
#if defined(__x86_64__) || defined(__i386__)
  if (!__builtin_cpu_supports("avx2")) GTEST_SKIP() << "no AVX2 here";
  const std::vector<std::uint8_t> table = random_table();
  const Interpolator interpolate(table.data());
  const auto work = make_run_table(table.data());
  ASSERT_TRUE(work);
  const RunCase cases[] = {{"every colour, RGB, guard", true, {false, true}},
                           {"random, RGB", false, {false, false}},
                           {"random, BGR", false, {true, false}},
                           {"random, BGR, guard", false, {true, true}}};
  std::mt19937 random(31);
  for (const RunCase& c : cases) {
    const std::size_t n = c.every_colour ? std::size_t{1} << 24 : 100003;
    std::vector<std::uint8_t> pixels(3 * n);
    for (std::size_t i = 0; i < n; ++i)
      for (int ch = 0; ch < 3; ++ch)
        pixels[3 * i + ch] = static_cast<std::uint8_t>(c.every_colour ? i >> (8 * ch)
                                                       : i % 11 == 0  ? 255
                                                                      : random());
    std::vector<std::uint8_t> plain = pixels, fast = pixels;
    interpolate_run_plain(interpolate, plain.data(), n, c.options);
    interpolate_run_table_avx2(*work, interpolate, fast.data(), n, c.options);
    for (std::size_t i = 0; i < 3 * n; ++i)
      ASSERT_EQ(plain[i], fast[i])
          << c.name << ", pixel " << i / 3 << " was " << int(pixels[i / 3 * 3]) << " "
          << int(pixels[i / 3 * 3 + 1]) << " " << int(pixels[i / 3 * 3 + 2]);
  }
#else
  GTEST_SKIP() << "no vector kernel on this processor family";
#endif
}

}  // namespace
}  // namespace zkimgset::colour
