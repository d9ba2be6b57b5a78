// The planar pass's twins give the same bytes: over every luminance and
// chroma triple, and over walks that run out of chroma samples or of Y
// bytes, in every sampling.
#include "setup/planar_pass.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <vector>

#include "colour/table_limits.h"

namespace zkimgset::setup {
namespace {

// A set-up table of random bytes, with runs at 0 and 255 so that the
// outputs reach both ends.
std::vector<std::uint8_t> random_table(unsigned seed) {
  std::vector<std::uint8_t> table(colour::kTable3dBytes);
  std::mt19937 random(seed);
  for (auto& b : table) b = static_cast<std::uint8_t>(random());
  for (std::size_t i = 0; i < table.size(); i += 4096)
    for (std::size_t k = 0; k < 300 && i + k < table.size(); ++k)
      table[i + k] = (i / 4096) % 2 ? 255 : 0;
  return table;
}

struct Planes {
  std::vector<std::uint8_t> y, cb, cr;
  bool operator==(const Planes&) const = default;
  ZKImgSetPlanarYCbCr descriptor(std::int16_t h_factor, std::int16_t v_factor) {
    return {y.data(),
            cb.data(),
            cr.data(),
            static_cast<std::uint32_t>(y.size()),
            static_cast<std::uint32_t>(cb.size()),
            static_cast<std::uint32_t>(cr.size()),
            h_factor,
            v_factor};
  }
};

// Runs both twins on copies; false when there is no vector twin here.
bool run_twins(const std::vector<std::uint8_t>& table, const Planes& input, std::int64_t w,
               std::int64_t h, std::int16_t h_factor, std::int16_t v_factor, Planes& plain,
               Planes& vector) {
#if defined(__x86_64__) || defined(__i386__)
  if (!__builtin_cpu_supports("avx2")) return false;
  plain = vector = input;
  const ZKImgSetPlanarYCbCr a = plain.descriptor(h_factor, v_factor);
  const ZKImgSetPlanarYCbCr b = vector.descriptor(h_factor, v_factor);
  planar_rows_plain({table.data(), a, w, h});
  EXPECT_TRUE(planar_rows_avx2({table.data(), b, w, h}));
  return true;
#else
  return false;
#endif
}

TEST(PlanarPass, VectorTwinMatchesThePlainOneForEveryLumaAndChroma) {
  // It calls both twins itself: the run on the plain kernels adds nothing.
  if (const char* plain = std::getenv("ZKIMGSET_PLAIN_KERNELS"); plain && plain[0] == '1')
    GTEST_SKIP() << "compares the twins directly";
  // 4:4:4, 4096 x 4096: pixel n has Y = n mod 256, Cb = n / 256 mod 256
  // and Cr = n / 65536, so every triple is converted once.
  constexpr std::int64_t kSide = 4096;
  Planes input;
  input.y.resize(kSide * kSide);
  input.cb.resize(kSide * kSide);
  input.cr.resize(kSide * kSide);
  for (std::size_t n = 0; n < input.y.size(); ++n) {
    input.y[n] = static_cast<std::uint8_t>(n);
    input.cb[n] = static_cast<std::uint8_t>(n >> 8);
    input.cr[n] = static_cast<std::uint8_t>(n >> 16);
  }
  Planes plain, vector;
  if (!run_twins(random_table(7), input, kSide, kSide, 1, 1, plain, vector))
    GTEST_SKIP() << "no AVX2 here";
  for (std::size_t n = 0; n < input.y.size(); ++n)
    ASSERT_TRUE(plain.y[n] == vector.y[n] && plain.cb[n] == vector.cb[n] &&
                plain.cr[n] == vector.cr[n])
        << "Y " << int(input.y[n]) << " Cb " << int(input.cb[n]) << " Cr " << int(input.cr[n]);
}

struct Walk {
  const char* name;
  std::int64_t w, h;
  std::int16_t h_factor, v_factor;
  std::size_t y_bytes, cb_bytes, cr_bytes;
};

TEST(PlanarPass, VectorTwinWalksThePlanesAsThePlainOne) {
  const Walk walks[] = {
      {"4:2:0, odd size", 37, 9, 2, 2, 37 * 9, 19 * 5, 19 * 5},
      {"4:2:2", 33, 5, 2, 1, 33 * 5, 17 * 5, 17 * 5},
      {"4:4:0", 24, 7, 1, 2, 24 * 7, 24 * 4, 24 * 4},
      {"4:4:4, chroma ends inside a block", 16, 4, 1, 1, 64, 61, 61},
      {"Y plane shorter than the bounds", 48, 6, 2, 2, 48 * 6 - 13, 24 * 3, 24 * 3},
      {"Cb and Cr of different lengths", 32, 6, 2, 2, 192, 48, 30},
      {"one pixel", 1, 1, 2, 2, 1, 1, 1},
  };
  const std::vector<std::uint8_t> table = random_table(11);
  std::mt19937 random(3);
  for (const Walk& walk : walks) {
    Planes input;
    for (auto [plane, bytes] :
         {std::pair{&input.y, walk.y_bytes}, std::pair{&input.cb, walk.cb_bytes},
          std::pair{&input.cr, walk.cr_bytes}}) {
      plane->resize(bytes);
      for (auto& b : *plane) b = static_cast<std::uint8_t>(random());
    }
    Planes plain, vector;
    if (!run_twins(table, input, walk.w, walk.h, walk.h_factor, walk.v_factor, plain, vector))
      GTEST_SKIP() << "no AVX2 here";
    EXPECT_TRUE(plain == vector) << walk.name;
    EXPECT_FALSE(plain == input) << walk.name << ": the pass changed nothing";
  }
}

}  // namespace
}  // namespace zkimgset::setup
