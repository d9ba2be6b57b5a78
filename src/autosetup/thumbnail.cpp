// The thumbnail maker. One pixel in n is sampled (n, the step, is the whole
// number of times the thumbnail fits into the area); planes 1..3 take the
// neighbourhood's centre as it is and plane 0 the mean luminance of a
// neighbourhood that grows with the step. Kept on purpose:
// - the step is not guarded: an area smaller than the thumbnail gives step 0
//   and every sample reads the same pixel;
// - the neighbourhood's centre lies R memory rows after the sampled position,
//   and R pixels after it (landscape) or before it (portrait), so the sampled
//   position is a corner of the neighbourhood, not its middle;
// - the bitmap layout starts n - 1 memory rows further on (n when the area's
//   height is odd): with its rows bottom first, this makes its point samples
//   those of the packed layout for the same picture.
// Where that geometry would read outside the caller's buffer (the bitmap
// layout's neighbourhood past its last row, a step-0 sample before its first
// byte), the nearest row, or the buffer's first or last pixel, is read
// instead.
#include "autosetup/thumbnail.h"

#include <algorithm>
#include <iterator>

#include "autosetup/analysis_state.h"

namespace zkimgset::autosetup {

using geometry::Layout;
using geometry::Picture;

namespace {

// The neighbourhood averaged into yy: every offset (dx, dy) within the radius
// whose dx^2 + dy^2 stays within the limit.
struct Band {
  int min_step, radius, limit, count;
};

constexpr Band kBands[] = {
    {28, 3, 18, 49},  // 7 x 7
    {25, 3, 13, 45},  // 7 x 7 without its corners
    {22, 3, 10, 37},  //
    {20, 3, 9, 29},   //
    {17, 2, 8, 25},   // 5 x 5
    {15, 2, 5, 21},   // 5 x 5 without its corners
    {12, 2, 4, 13},   //
    {7, 1, 2, 9},     // 3 x 3
    {5, 1, 1, 5},     // centre and its four direct neighbours
    {0, 0, 0, 1},     // the sampled pixel alone
};

const Band& band_for(int step) {
  for (const Band& band : kBands)
    if (step >= band.min_step) return band;
  return kBands[std::size(kBands) - 1];
}

class Sampler {
 public:
  Sampler(const Picture& picture, const Band& band)
      : p_(picture), stride_(static_cast<long>(picture.row_bytes())), band_(band) {}

  // Writes thumbnail pixel `index` from the neighbourhood centred at memory
  // row `row`, column `column`.
  void sample(long row, long column, int index, _ThumbnailData& thumb) const {
    const std::uint8_t* c = at(row, column);
    const int r = c[p_.red()], g = c[1], b = c[p_.blue()];
    thumb.plane[kPlaneRedCr][index] = static_cast<std::uint8_t>(r);
    thumb.plane[kPlaneGreenY][index] = static_cast<std::uint8_t>(g);
    thumb.plane[kPlaneBlueCb][index] = static_cast<std::uint8_t>(b);
    thumb.plane[kPlaneYy][index] =
        band_.count == 1 ? point_luminance(r, g, b) : neighbourhood_luminance(row, column);
  }

 private:
  static std::uint8_t point_luminance(int r, int g, int b) {
    return static_cast<std::uint8_t>((306 * r + 601 * g + 117 * b) >> 10);
  }

  std::uint8_t neighbourhood_luminance(long row, long column) const {
    long sum[3] = {0, 0, 0};
    const int radius = band_.radius;
    for (int dy = -radius; dy <= radius; ++dy) {
      for (int dx = -radius; dx <= radius; ++dx) {
        if (dx * dx + dy * dy > band_.limit) continue;
        const std::uint8_t* q = at(row + dy, column + dx);
        sum[0] += q[p_.red()];
        sum[1] += q[1];
        sum[2] += q[p_.blue()];
      }
    }
    const double y = (static_cast<double>(0.299f) * sum[0] + static_cast<double>(0.587f) * sum[1] +
                      static_cast<double>(0.114f) * sum[2]) /
                         band_.count +
                     0.5;
    return static_cast<std::uint8_t>(std::min(y, 255.0));
  }

  // The pixel at a memory position; rows past either end read the nearest
  // row, and a position before the first or after the last pixel of the
  // buffer reads that pixel.
  const std::uint8_t* at(long row, long column) const {
    row = std::clamp(row, 0L, static_cast<long>(p_.height) - 1);
    const long last = static_cast<long>(p_.size()) - 3;
    return p_.pixels + std::clamp(row * stride_ + 3 * column, 0L, last);
  }

  const Picture& p_;
  long stride_;
  const Band& band_;
};

}  // namespace

int thumbnail_step(const tagRECT& area) noexcept {
  const int aw = area.right - area.left + 1, ah = area.bottom - area.top + 1;
  return aw >= ah ? std::min(aw / kThumbWidth, ah / kThumbHeight)
                  : std::min(aw / kThumbHeight, ah / kThumbWidth);
}

void make_thumbnail(const Picture& picture, const tagRECT& area, _ThumbnailData& thumb) noexcept {
  const int aw = area.right - area.left + 1, ah = area.bottom - area.top + 1;
  const bool portrait = aw < ah;
  const int n = thumbnail_step(area);
  const Band& band = band_for(n);
  const Sampler sampler(picture, band);
  const bool bitmap = picture.layout == Layout::BitmapBgr;

  // Memory rows sampled, and samples along each.
  const int rows = portrait ? kThumbWidth : kThumbHeight;
  const int columns = portrait ? kThumbHeight : kThumbWidth;
  long first_row = area.top + (ah - rows * n) / 2;
  if (bitmap) first_row += n - (ah % 2 == 0 ? 1 : 0);
  const long first_column = area.left + (aw - columns * n) / 2 + (portrait ? n - 1 : 0);
  const int centre_dx = portrait ? -band.radius : band.radius;

  for (int k = 0; k < rows; ++k) {
    const long row = first_row + static_cast<long>(n) * k + band.radius;
    // The thumbnail row (landscape) or column (portrait) of memory row k:
    // the bitmap's rows lie bottom first.
    const int line = bitmap ? rows - 1 - k : k;
    for (int j = 0; j < columns; ++j) {
      const long column = first_column + static_cast<long>(n) * j + centre_dx;
      const int index =
          portrait ? (kThumbHeight - 1 - j) * kThumbWidth + line : line * kThumbWidth + j;
      sampler.sample(row, column, index, thumb);
    }
  }
}

}  // namespace zkimgset::autosetup
