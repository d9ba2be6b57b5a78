// The planar pass for ImageDataConvertEx mode 1: the checks, the choice of
// twin, and the plain twin. Its chroma walk is kept on purpose: the chroma
// positions advance only where a sample is written, so a pixel off the
// sampling grid reads the sample after the one written last. Its reads and
// writes stay within the byte counts the caller gives for each plane.
#include "setup/planar_pass.h"

#include <algorithm>
#include <cstddef>

#include "platform/kernel_choice.h"
#include "setup/pixel_pass.h"

namespace zkimgset::setup {
namespace {

constexpr int kPlaneBytes = 33 * 33 * 33;

std::uint8_t level(float v) { return static_cast<std::uint8_t>(std::clamp(v, 0.0f, 255.0f)); }

// An RGB level from planar YCbCr: truncated, below 1 made 0, 255 and above
// made 255.
int to_level(float v) {
  const int t = static_cast<int>(std::clamp(v, -1.0f, 256.0f));
  return t < 1 ? 0 : t >= 255 ? 255 : t;
}

}  // namespace

int planar_interpolate(const std::uint8_t* table, int plane, int r, int g, int b) noexcept {
  const std::uint8_t* p = table + plane * kPlaneBytes;
  const int v[3] = {r, g, b};
  int n[3], f[3], s[3];
  for (int c = 0; c < 3; ++c) {
    n[c] = v[c] >> 3;
    f[c] = v[c] & 7;
    s[c] = n[c] == 31 ? 7 : 8;  // the last cell ends at node 32, which stands for 255
  }
  long sum = 0;
  for (int corner = 0; corner < 8; ++corner) {
    const int di = corner >> 2 & 1, dj = corner >> 1 & 1, dk = corner & 1;
    const long weight =
        long{di ? f[0] : s[0] - f[0]} * (dj ? f[1] : s[1] - f[1]) * (dk ? f[2] : s[2] - f[2]);
    sum += weight * p[(n[0] + di) * 1089 + (n[1] + dj) * 33 + (n[2] + dk)];
  }
  const long volume = long{s[0]} * s[1] * s[2];
  return volume == 512 ? static_cast<int>((sum + 256) >> 9)
                       : static_cast<int>((sum + volume / 2) / volume);
}

void planar_pixel(const PlanarJob& job, bool writes, PlanarCursor& cursor) noexcept {
  const ZKImgSetPlanarYCbCr& d = job.planes;
  const std::uint32_t chroma_bytes = std::min(d.cb_bytes, d.cr_bytes);
  const std::uint32_t at = std::min(cursor.ci, chroma_bytes - 1);
  const float luma = d.y[cursor.yi], cb = d.cb[at] - 128.0f, cr = d.cr[at] - 128.0f;
  const int r = to_level(luma + 1.402f * cr + 0.5f);
  const int g = to_level(luma - 0.34414f * cb - 0.71414f * cr);
  const int b = to_level(luma + 1.772f * cb + 0.5f);
  const int r2 = planar_interpolate(job.table, 0, r, g, b);
  const int g2 = planar_interpolate(job.table, 1, r, g, b);
  const int b2 = planar_interpolate(job.table, 2, r, g, b);
  d.y[cursor.yi++] = level(0.299f * r2 + 0.587f * g2 + 0.114f * b2 + 0.5f);
  if (writes && cursor.ci < chroma_bytes) {
    d.cb[cursor.ci] = level(-0.1687f * r2 - 0.3313f * g2 + 0.5f * b2 + 128.0f);
    d.cr[cursor.ci] = level(0.5f * r2 - 0.4187f * g2 - 0.0813f * b2 + 128.0f);
    ++cursor.ci;
  }
}

void planar_rows_plain(const PlanarJob& job) noexcept {
  const ZKImgSetPlanarYCbCr& d = job.planes;
  PlanarCursor cursor;
  // The walk ends with the Y plane, however large the bounds.
  for (std::int64_t y = 0; y < job.height && cursor.yi < d.y_bytes; ++y)
    for (std::int64_t x = 0; x < job.width && cursor.yi < d.y_bytes; ++x)
      planar_pixel(job, y % d.v_factor == 0 && x % d.h_factor == 0, cursor);
}

int ycbcr_pass(LibraryState& state, const ZKImgSetPlanarYCbCr& d, const tagRECT& bounds) noexcept {
  constexpr std::uint32_t kMaxBytes = 0x7FFFFFFF;
  if (d.y == nullptr || d.cb == nullptr || d.cr == nullptr) return ZKIMGSET_BAD_PLANAR;
  for (std::uint32_t bytes : {d.y_bytes, d.cb_bytes, d.cr_bytes})
    if (bytes == 0 || bytes > kMaxBytes) return ZKIMGSET_BAD_PLANAR;
  for (std::int16_t factor : {d.h_factor, d.v_factor})
    if (factor != 1 && factor != 2) return ZKIMGSET_BAD_PLANAR;

  const PlanarJob job{state.ColorTable3dMain, d, std::int64_t{bounds.right} - bounds.left + 1,
                      std::int64_t{bounds.bottom} - bounds.top + 1};
#if defined(__x86_64__) || defined(__i386__)
  if (platform::vector_kernels() && planar_rows_avx2(job)) return ZKIMGSET_OK;
#endif
  planar_rows_plain(job);
  return ZKIMGSET_OK;
}

}  // namespace zkimgset::setup
