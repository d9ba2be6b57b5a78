// White-margin trimming. Each row is searched from the left for its first
// non-white pixel and, only if it has one, from the right for its last: the
// result is that of a full scan, but a photograph costs two pixels a row and
// only white rows are read whole.
#include "geometry/content_rectangle.h"

#include <algorithm>

namespace zkimgset::geometry {
namespace {

bool is_white(const std::uint8_t* p) { return p[0] == 255 && p[1] == 255 && p[2] == 255; }

}  // namespace

tagRECT content_rectangle(const Picture& picture) noexcept {
  const int w = picture.width;
  tagRECT area{w, -1, -1, -1};  // left, top, right, bottom; top < 0 while nothing found
  for (int y = 0; y < picture.height; ++y) {
    const std::uint8_t* row = picture.pixels + picture.row_bytes() * static_cast<std::size_t>(y);
    int first = 0;
    while (first < w && is_white(row + 3 * first)) ++first;
    if (first == w) continue;
    int last = w - 1;
    while (is_white(row + 3 * last)) --last;
    if (area.top < 0) area.top = y;
    area.bottom = y;
    area.left = std::min(area.left, first);
    area.right = std::max(area.right, last);
  }
  if (area.top < 0) return {0, 0, w - 1, picture.height - 1};
  return area;
}

}  // namespace zkimgset::geometry
