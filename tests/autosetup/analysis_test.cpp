// The whole analysis on a caller's picture: the entry point's checks, and
// synthetic photographs whose records are pinned (ZKIMGSET_PRINT_ANALYSIS=1
// prints the rows as the analysis sees them) and whose corrections go the
// way the picture needs.
#include "autosetup/analysis.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
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
  } cases[] = {{128, 92, 0},  {92, 128, 0},   {127, 92, 4}, {128, 91, 4}, {91, 400, 4},
               {6144, 92, 0}, {6145, 200, 4}, {0, 100, 2},  {100, -1, 2}, {32768, 1, 2}};
  for (const auto& c : cases) {
    const std::uint8_t* image = c.width * c.height <= 400 * 400 ? pixels.data() : big.rgb.data();
    EXPECT_EQ(get_at_param(image, c.width, c.height, &result, 255, 0, 0, state, library), c.status)
        << c.width << " x " << c.height;
  }
  EXPECT_EQ(get_at_param(nullptr, 200, 200, &result, 255, 0, 0, state, library), 2);
  EXPECT_EQ(get_at_param(pixels.data(), 200, 200, nullptr, 255, 0, 0, state, library), 2);
}

enum class Kind { Scene, Portrait, Framed, Noise, Flat };

// A textured scene (levels base..base + spread, each channel shifted by its
// cast); a portrait adds a face-sized warm ellipse in the middle, framed puts
// that portrait in a white frame.
TestPicture picture(Kind kind, int w, int h, int base, int spread, int dr, int dg, int db) {
  if (kind == Kind::Noise) {
    std::mt19937 random(9);
    return TestPicture(w, h, [&](int, int, std::uint8_t* p) {
      for (int c = 0; c < 3; ++c) p[c] = static_cast<std::uint8_t>(base + random() % spread);
    });
  }
  if (kind == Kind::Flat)
    return TestPicture(w, h, [&](int, int, std::uint8_t* p) { p[0] = p[1] = p[2] = base; });
  if (kind == Kind::Framed) {
    const TestPicture inner = picture(Kind::Portrait, w - 100, h - 60, base, spread, dr, dg, db);
    return TestPicture(w, h, [&](int x, int y, std::uint8_t* p) {
      const int sx = x - 50, sy = y - 30;
      const bool inside = sx >= 0 && sx < inner.width && sy >= 0 && sy < inner.height;
      for (int c = 0; c < 3; ++c) p[c] = inside ? inner.pixel(sx, sy)[c] : 255;
    });
  }
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
  int w, h, base, spread, dr, dg, db;
};
Photo photo(Kind kind, int w, int h, int base, int spread, int dr = 0, int dg = 0, int db = 0) {
  return {kind, w, h, base, spread, dr, dg, db};
}

struct Shot {
  std::uint16_t mode, flash;
  std::int32_t num, den;
  std::int16_t adjust_a, adjust_b, level;
};
Shot shot(std::uint16_t mode, std::uint16_t flash, std::int32_t num = 0, std::int32_t den = 0,
          std::int16_t a = 0, std::int16_t b = 0, std::int16_t level = 100) {
  return {mode, flash, num, den, a, b, level};
}

using Figures = std::array<int, 8>;
Figures figures(int t32, int t118, int t192, int cb, int cr, int sat0, int mode, int gains) {
  return {t32, t118, t192, cb, cr, sat0, mode, gains};
}

// Each photograph under its set-up and shooting values: the record's telling
// figures (tone at 32, 118 and 192, cb_ofs, cr_ofs, the first saturation
// coefficient), setup_mode after the analysis, which of the red and blue
// grey-pixel gains is the larger (the set-up table takes them up), and a
// digest of the record. A dark picture is lifted and a bright one lowered, a
// mild cast goes into the gains and a strong one shows in the offsets, a face
// in a portrait leads the density, white margins change nothing, an unusable
// picture keeps only bit 0x40, and a flat or finely noisy one is not grouped.
TEST(Analysis, PhotographsGiveTheirRecordedRecords) {
  constexpr std::uint16_t kFull = ZKIMGSET_SETUP_FULL, kAll = 0x1F;
  const struct {
    const char* what;
    Photo photo;
    Shot shot;
    Figures figures;
    std::uint64_t digest;
  } rows[] = {
      {"dark", photo(Kind::Scene, 640, 460, 15, 80), shot(kAll, 0),
       figures(82, 255, 255, 0, 0, 1116, 0x1F, 0), 0xF5C6096E93A9E677ull},
      {"bright", photo(Kind::Scene, 640, 460, 160, 90), shot(kAll, 0),
       figures(0, 54, 158, 0, 0, 1116, 0x1F, 0), 0x9F24F575AFEEE3BFull},
      {"mild blue cast: the gains take it back", photo(Kind::Scene, 640, 460, 80, 90, -8, 0, 14),
       shot(kAll, 0), figures(0, 139, 255, 0, 0, 1116, 0x1F, 1), 0xF77E71A8CDCDFE3Dull},
      {"mild red cast", photo(Kind::Scene, 640, 460, 80, 90, 12, 2, -10), shot(kAll, 0),
       figures(0, 137, 255, 0, -1, 1116, 0x1F, -1), 0xFA87CC5A34DA6C9Bull},
      {"strong blue cast: it shows in the offsets",
       photo(Kind::Scene, 640, 460, 80, 90, -20, 0, 35), shot(kAll, 0),
       figures(0, 132, 255, 5, -3, 1087, 0x1B, 1), 0x757471ACD9B336C8ull},
      {"strong blue cast, halved", photo(Kind::Scene, 640, 460, 80, 90, -20, 0, 35),
       shot(kAll | ZKIMGSET_SETUP_HALVE, 0), figures(15, 123, 215, 3, -2, 1057, 0x3B, 1),
       0xD27BB74C32F82191ull},
      {"portrait: the face is the subject", photo(Kind::Portrait, 460, 640, 70, 70), shot(kAll, 0),
       figures(0, 121, 240, 0, 0, 1116, 0x1F, 0), 0x8FD262DCF4921D5Bull},
      {"the portrait in a white frame", photo(Kind::Framed, 560, 700, 70, 70), shot(kAll, 0),
       figures(0, 121, 240, 0, 0, 1116, 0x1F, 0), 0x8FD262DCF4921D5Bull},
      {"portrait, flash fired at brightness 2", photo(Kind::Portrait, 460, 640, 70, 70),
       shot(kFull, 1, 20, 10), figures(0, 121, 240, 0, 0, 1087, 0xDB, 0), 0x84373D1D0C18C06Full},
      {"dark, flash unknown", photo(Kind::Scene, 640, 460, 15, 80), shot(kFull, 255),
       figures(82, 255, 255, 0, 0, 1116, 0xDF, 0), 0xF5C6096E93A9E677ull},
      {"black: unusable", photo(Kind::Flat, 300, 200, 0, 0), shot(kFull, 255),
       figures(32, 118, 192, 0, 0, 1024, 0x40, 0), 0xF66FE187FB2BA672ull},
      {"flat level 20: never grouped", photo(Kind::Flat, 300, 200, 20, 0), shot(kAll, 0),
       figures(102, 255, 255, 0, 0, 1116, 0xF, 0), 0x121EDADC1D6E21ACull},
      {"fine noise: grouping retried, then given up", photo(Kind::Noise, 128, 92, 100, 44),
       shot(kAll, 0), figures(0, 185, 255, 0, 0, 1116, 0xF, -1), 0x0C208DA3626BBB88ull},
      {"set-up off", photo(Kind::Noise, 300, 200, 0, 255), shot(0, 3),
       figures(32, 118, 192, 0, 0, 1024, 0x0, 0), 0xF66FE187FB2BA672ull},
      {"set-up off, contrast 30: the default gradation", photo(Kind::Noise, 300, 200, 0, 255),
       shot(0, 3, 0, 0, 30), figures(2, 115, 212, 0, 0, 1024, 0x0, 0), 0xA15C808FB090C100ull},
      {"set-up off, contrast -30", photo(Kind::Noise, 300, 200, 0, 255), shot(0, 3, 0, 0, -30),
       figures(54, 120, 177, 0, 0, 1024, 0x0, 0), 0x09DCDF4FEB427FA3ull},
      {"contrast, saturation and level up", photo(Kind::Scene, 640, 460, 80, 90),
       shot(kFull, 0, 0, 0, 20, 15, 70), figures(0, 178, 255, 0, 0, 1209, 0xDF, 0),
       0x2CB40B094EFB5FD0ull},
      {"contrast and saturation down", photo(Kind::Scene, 640, 460, 80, 90),
       shot(kFull, 0, 0, 0, -20, -10), figures(14, 140, 251, 0, 0, 1056, 0xDF, 0),
       0xCC988EEB12C11090ull},
      {"smallest landscape", photo(Kind::Scene, 128, 92, 60, 120), shot(kFull, 0),
       figures(0, 156, 255, 0, 0, 1116, 0xDF, 0), 0x496591E257E3053Cull},
      {"smallest portrait", photo(Kind::Scene, 92, 128, 60, 120), shot(kFull, 0),
       figures(0, 169, 255, 0, 0, 1116, 0xDF, 0), 0x18F75823253F663Cull},
  };
  const bool print = std::getenv("ZKIMGSET_PRINT_ANALYSIS") != nullptr;
  for (const auto& [what, ph, sh, figures, expected_digest] : rows) {
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
    const Figures got = {
        out.tone[32], out.tone[118],   out.tone[192],      out.cb_ofs,
        out.cr_ofs,   out.sat_coef[0], library.setup_mode, (red_vs_blue > 0) - (red_vs_blue < 0)};
    if (print)
      std::printf("%d, %d, %d, %d, %d, %d, 0x%X, %d, 0x%016llXull  // %s\n", got[0], got[1], got[2],
                  got[3], got[4], got[5], got[6], got[7], (unsigned long long)digest(out), what);
    EXPECT_EQ(got, figures) << what;
    EXPECT_EQ(digest(out), expected_digest) << what;
  }
}

}  // namespace
}  // namespace zkimgset::autosetup
