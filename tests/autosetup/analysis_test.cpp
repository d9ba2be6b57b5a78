// The whole analysis on a caller's picture: the entry point's checks, and
// synthetic photographs whose records are pinned (ZKIMGSET_PRINT_ANALYSIS=1
// prints the rows as the analysis sees them).
#include "autosetup/analysis.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <random>

#include "support/pictures.h"

namespace zkimgset::autosetup {
namespace {

using testing::TestPicture;

TEST(Analysis, ChecksItsArguments) {
  AnalysisState state;
  LibraryState library;
  AutoSetupParam result;
  const TestPicture big(6145, 200, [](int, int, std::uint8_t* p) { p[0] = p[1] = p[2] = 90; });
  const std::vector<std::uint8_t> pixels(3 * 400 * 400, 90);
  const struct {
    int width, height;
    int status;
  } cases[] = {{128, 92, 0},  {92, 128, 0},   {127, 92, 4}, {91, 400, 4},
               {6144, 92, 0}, {6145, 200, 4}, {0, 100, 2},  {32768, 1, 2}};
  for (const auto& c : cases) {
    const std::uint8_t* image = c.width * c.height <= 400 * 400 ? pixels.data() : big.rgb.data();
    EXPECT_EQ(get_at_param(image, c.width, c.height, &result, 255, 0, 0, state, library), c.status)
        << c.width << " x " << c.height;
  }
  EXPECT_EQ(get_at_param(nullptr, 200, 200, &result, 255, 0, 0, state, library), 2);
  EXPECT_EQ(get_at_param(pixels.data(), 200, 200, nullptr, 255, 0, 0, state, library), 2);
}

enum class Kind { Scene, Portrait, Noise, Flat };

// A textured scene (levels base..base + spread, each channel shifted by its
// cast); a portrait adds a face-sized warm ellipse in the middle.
TestPicture picture(Kind kind, int w, int h, int base, int spread, int dr, int dg, int db) {
  if (kind == Kind::Noise) {
    std::mt19937 random(9);
    return TestPicture(w, h, [&](int, int, std::uint8_t* p) {
      for (int c = 0; c < 3; ++c) p[c] = static_cast<std::uint8_t>(base + random() % spread);
    });
  }
  if (kind == Kind::Flat)
    return TestPicture(w, h, [&](int, int, std::uint8_t* p) { p[0] = p[1] = p[2] = base; });
  TestPicture p = testing::scene(w, h, base, spread, dr, dg, db);
  if (kind == Kind::Portrait)
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x) {
        const double dx = (x - w / 2) / (w / 7.7), dy = (y - h / 2) / (h / 8.0);
        if (dx * dx + dy * dy > 1) continue;
        std::uint8_t* px = &p.rgb[3 * (std::size_t(y) * w + x)];
        px[0] = 220, px[1] = 170, px[2] = 140;
      }
  return p;
}

std::uint64_t digest(const AutoSetupParam& record) {
  std::uint64_t h = 14695981039346656037ull;
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(&record);
  for (std::size_t i = 0; i < sizeof record; ++i) h = (h ^ bytes[i]) * 1099511628211ull;
  return h;
}

struct Photo {
  Kind kind;
  int w, h, base, spread, dr = 0, dg = 0, db = 0;
};
struct Shot {
  std::uint16_t mode, flash;
  std::int32_t num = 0, den = 0;
  std::int16_t adjust_a = 0, adjust_b = 0, level = 100;
};

// Each photograph under its set-up and shooting values: a digest of the
// record, setup_mode after the analysis, and which of the red and blue
// grey-pixel gains is the larger (the set-up table takes them up).
// Adjustments past their limits give the records of the limits.
TEST(Analysis, PhotographsGiveTheirRecordedRecords) {
  constexpr std::uint16_t kFull = ZKIMGSET_SETUP_FULL, kAll = 0x1F;
  const struct {
    const char* what;
    Photo photo;
    Shot shot;
    int mode, gains;
    std::uint64_t digest;
  } rows[] = {
      {"dark", Photo{Kind::Scene, 640, 460, 15, 80}, Shot{kAll, 0}, 0x1F, 0, 0xF5C6096E93A9E677ull},
      {"bright", Photo{Kind::Scene, 640, 460, 160, 90}, Shot{kAll, 0}, 0x1F, 0,
       0x9F24F575AFEEE3BFull},
      {"mild blue cast: the gains take it back", Photo{Kind::Scene, 640, 460, 80, 90, -8, 0, 14},
       Shot{kAll, 0}, 0x1F, 1, 0xF77E71A8CDCDFE3Dull},
      {"strong blue cast: it shows in the offsets",
       Photo{Kind::Scene, 640, 460, 80, 90, -20, 0, 35}, Shot{kAll, 0}, 0x1B, 1,
       0x757471ACD9B336C8ull},
      {"strong blue cast, halved", Photo{Kind::Scene, 640, 460, 80, 90, -20, 0, 35},
       Shot{kAll | ZKIMGSET_SETUP_HALVE, 0}, 0x3B, 1, 0xD27BB74C32F82191ull},
      {"portrait: the face is the subject", Photo{Kind::Portrait, 460, 640, 70, 70}, Shot{kAll, 0},
       0x1F, 0, 0x8FD262DCF4921D5Bull},
      {"portrait, flash fired at brightness 2", Photo{Kind::Portrait, 460, 640, 70, 70},
       Shot{kFull, 1, 20, 10}, 0xDB, 0, 0x84373D1D0C18C06Full},
      {"black: unusable", Photo{Kind::Flat, 300, 200, 0, 0}, Shot{kFull, 255}, 0x40, 0,
       0xF66FE187FB2BA672ull},
      {"flat level 20: never grouped", Photo{Kind::Flat, 300, 200, 20, 0}, Shot{kAll, 0}, 0xF, 0,
       0x121EDADC1D6E21ACull},
      {"fine noise: grouping retried, then given up", Photo{Kind::Noise, 128, 92, 100, 44},
       Shot{kAll, 0}, 0xF, -1, 0x0C208DA3626BBB88ull},
      {"set-up off, contrast 45: the default gradation at 30", Photo{Kind::Noise, 300, 200, 0, 255},
       Shot{0, 3, 0, 0, 45}, 0x0, 0, 0xA15C808FB090C100ull},
      {"set-up off, contrast -30", Photo{Kind::Noise, 300, 200, 0, 255}, Shot{0, 3, 0, 0, -30}, 0x0,
       0, 0x09DCDF4FEB427FA3ull},
      {"contrast 45, saturation 200 and level 50: held at 30, 150 and 70",
       Photo{Kind::Scene, 640, 460, 80, 90}, Shot{kFull, 0, 0, 0, 45, 200, 50}, 0xDF, 0,
       0x1C7E00B30C9BB744ull},
      {"contrast and saturation down", Photo{Kind::Scene, 640, 460, 80, 90},
       Shot{kFull, 0, 0, 0, -20, -10}, 0xDF, 0, 0xCC988EEB12C11090ull},
  };
  const bool print = std::getenv("ZKIMGSET_PRINT_ANALYSIS") != nullptr;
  for (const auto& [what, ph, sh, mode, gains, expected_digest] : rows) {
    AnalysisState state;
    LibraryState library;
    library.setup_mode = sh.mode;
    library.adjust.SetupAdjustA = sh.adjust_a;
    library.adjust.SetupAdjustB = sh.adjust_b;
    library.adjust.SetupAdjustLevel = sh.level;
    const TestPicture p = picture(ph.kind, ph.w, ph.h, ph.base, ph.spread, ph.dr, ph.dg, ph.db);
    AutoSetupParam out;
    ASSERT_EQ(get_at_param(p.rgb.data(), p.width, p.height, &out, sh.flash, sh.den, sh.num, state,
                           library),
              0)
        << what;
    const float red_vs_blue = state.gain[kRed] - state.gain[kBlue];
    const int got_gains = (red_vs_blue > 0) - (red_vs_blue < 0);
    if (print)
      std::printf("tone %d %d %d, cb %d, cr %d, sat %d: 0x%X, %d, 0x%016llXull  // %s\n",
                  out.tone[32], out.tone[118], out.tone[192], out.cb_ofs, out.cr_ofs,
                  out.sat_coef[0], library.setup_mode, got_gains, (unsigned long long)digest(out),
                  what);
    EXPECT_EQ(library.setup_mode, mode) << what;
    EXPECT_EQ(got_gains, gains) << what;
    EXPECT_EQ(digest(out), expected_digest) << what;
  }
}

}  // namespace
}  // namespace zkimgset::autosetup
