// The analysis area and the thumbnail maker, on pictures whose thumbnails can
// be worked out by hand.
#include "autosetup/thumbnail.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <memory>

#include "autosetup/analysis_state.h"
#include "geometry/content_rectangle.h"
#include "support/pictures.h"

namespace zkimgset::autosetup {
namespace {

using geometry::content_rectangle;
using geometry::Picture;
using testing::BitmapPicture;
using testing::coordinate_picture;
using testing::decode_position;
using testing::Position;
using testing::TestPicture;

std::unique_ptr<_ThumbnailData> thumbnail_of(const Picture& picture) {
  auto thumb = std::make_unique<_ThumbnailData>();
  make_thumbnail(picture, content_rectangle(picture), *thumb);
  return thumb;
}

// The picture position that thumbnail pixel (row, column) was taken from.
Position source_of(const _ThumbnailData& t, int row, int column) {
  const int i = row * kThumbWidth + column;
  return decode_position(t.plane[kPlaneRedCr][i], t.plane[kPlaneGreenY][i],
                         t.plane[kPlaneBlueCb][i]);
}

std::array<int, 4> corners(const tagRECT& r) { return {r.left, r.top, r.right, r.bottom}; }

// In the bitmap layout the rows are memory rows, bottom first; all white
// keeps the whole picture.
TEST(AnalysisArea, TrimsPureWhiteMarginsOnly) {
  const TestPicture p(50, 40, [](int x, int y, std::uint8_t* px) {
    const bool inside = x >= 7 && x <= 30 && y >= 3 && y <= 35;
    const bool almost_white = x == 31 && y == 20;  // 255, 255, 254 is not white
    px[0] = px[1] = 255;
    px[2] = inside ? 10 : almost_white ? 254 : 255;
  });
  EXPECT_EQ(corners(content_rectangle(p.packed())), (std::array{7, 3, 31, 35}));
  EXPECT_EQ(corners(content_rectangle(BitmapPicture(p).picture)), (std::array{7, 4, 31, 36}));
  const TestPicture white(30, 20, [](int, int, std::uint8_t* px) { px[0] = px[1] = px[2] = 255; });
  EXPECT_EQ(corners(content_rectangle(white.packed())), (std::array{0, 0, 29, 19}));
}

TEST(Thumbnail, WhiteMarginsDoNotChangeIt) {
  const TestPicture photo = testing::noise_picture(700, 500, 3);
  const TestPicture framed(780, 610, [&](int x, int y, std::uint8_t* px) {
    const int sx = x - 37, sy = y - 59;
    const bool inside = sx >= 0 && sx < photo.width && sy >= 0 && sy < photo.height;
    for (int c = 0; c < 3; ++c) px[c] = inside ? photo.pixel(sx, sy)[c] : 255;
  });
  const auto alone = thumbnail_of(photo.packed());
  const auto with_margins = thumbnail_of(framed.packed());
  EXPECT_EQ(std::memcmp(alone.get(), with_margins.get(), sizeof(_ThumbnailData)), 0);
}

// Where each landscape step samples, and which neighbourhood it averages: on
// a checkerboard of 0 and 200 the averages tell the bands apart.
TEST(Thumbnail, EachStepSamplesItsNeighbourhoodCentre) {
  const struct {
    int width, height, step, radius;
    std::uint8_t yy_dark_centre, yy_bright_centre;
  } cases[] = {{513, 371, 4, 0, 0, 200},       // the point sample, centred, odd leftovers
               {640, 460, 5, 1, 160, 40},      // centre and 4 neighbours
               {1280, 920, 10, 1, 89, 111},    // 3 x 3
               {1536, 1104, 12, 2, 62, 138},   // 13 pixels
               {3584, 2576, 28, 3, 98, 102}};  // 7 x 7
  for (const auto& c : cases) {
    SCOPED_TRACE(std::to_string(c.width) + " x " + std::to_string(c.height));
    const TestPicture coords = coordinate_picture(c.width, c.height);
    EXPECT_EQ(thumbnail_step(content_rectangle(coords.packed())), c.step);
    const auto thumb = thumbnail_of(coords.packed());
    const int x0 = (c.width - 128 * c.step) / 2, y0 = (c.height - 92 * c.step) / 2;
    for (int r : {0, 1, 45, 91})
      for (int col : {0, 1, 64, 127})
        EXPECT_EQ(source_of(*thumb, r, col),
                  (Position{x0 + c.step * col + c.radius, y0 + c.step * r + c.radius}))
            << r << "," << col;
    const TestPicture board(c.width, c.height, [](int x, int y, std::uint8_t* px) {
      px[0] = px[1] = px[2] = (x + y) % 2 == 0 ? 0 : 200;
    });
    const auto averaged = thumbnail_of(board.packed());
    for (int i : {0, 1, 129, 5000, kThumbPixels - 1}) {
      const Position centre = source_of(*thumb, i / 128, i % 128);
      const bool dark = (centre.x + centre.y) % 2 == 0;
      EXPECT_EQ(averaged->plane[kPlaneYy][i], dark ? c.yy_dark_centre : c.yy_bright_centre) << i;
    }
  }
}

// Row 91 of the thumbnail is column 0 of a portrait picture.
TEST(Thumbnail, PortraitIsTurnedAQuarterTurn) {
  const auto thumb = thumbnail_of(coordinate_picture(92, 128).packed());
  for (int i = 0; i < 128; ++i) {
    EXPECT_EQ(source_of(*thumb, 91, i), (Position{0, i}));
    EXPECT_EQ(source_of(*thumb, 0, i), (Position{91, i}));
  }
}

TEST(BitmapLayout, NeighbourhoodLiesTwoRadiiHigherThanInThePackedLayout) {
  for (const int h : {460, 461}) {
    const TestPicture p = coordinate_picture(640, h);
    const BitmapPicture bitmap(p);
    const auto thumb = thumbnail_of(bitmap.picture);
    const int y0 = (h - 460) / 2;
    for (int r = 1; r < 92; r += 9)
      for (int col : {0, 77, 127})
        EXPECT_EQ(source_of(*thumb, r, col), (Position{5 * col + 1, y0 + 5 * r + 1 - 2}))
            << "height " << h << " row " << r;
    // The top thumbnail row would lie above the picture: its top row is read.
    EXPECT_EQ(source_of(*thumb, 0, 3), (Position{16, 0})) << "height " << h;
  }
}

}  // namespace
}  // namespace zkimgset::autosetup
