// The AVX2 twin of the planar pass: eight pixels of a row at a time.
//
// The colour arithmetic is the plain twin's, lane by lane: the same
// single-precision multiplies and adds in the same order (no fused
// multiply-add), clamped and truncated as it does. The interpolation is its
// integer sum regrouped: a work table holds, for every node, the three
// planes' values at it and at its blue neighbour as byte pairs, so one
// 8-byte load brings a red-green corner's six values; the blue weights
// multiply them as byte pairs, the red-green weights as 16-bit pairs, and
// the division by the cell's volume (512, or less in the last cell of an
// axis) is made in single precision, exact for these sums (below 2^17, so
// a quotient is never within rounding of the next whole number).
//
// A block of eight goes the vector way only where the plain walk would
// neither read past the chroma planes nor read a sample the block writes;
// other pixels (the row's last few, the end of the planes) go through the
// plain twin's own pixel step.
#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <new>

#include "setup/planar_pass.h"

namespace zkimgset::setup {
namespace {

constexpr int kNodes = 33;
constexpr int kPlaneBytes = kNodes * kNodes * kNodes;
constexpr int kStrideR = kNodes * kNodes, kStrideG = kNodes;
constexpr int kLastCell = 31;
constexpr int kLanes = 8;

// For each node with a blue neighbour (k < 32), 8 bytes: plane 0 at k and
// k + 1, plane 1 at k and k + 1, plane 2 at k and k + 1, then two zeros.
std::unique_ptr<std::uint64_t[]> pair_table(const std::uint8_t* table) {
  std::unique_ptr<std::uint64_t[]> pairs(new (std::nothrow) std::uint64_t[kPlaneBytes]);
  if (!pairs) return pairs;
  for (int n = 0; n < kPlaneBytes; ++n) {
    std::uint64_t v = 0;
    if (n % kNodes != kNodes - 1)
      for (int p = 0; p < 3; ++p)
        v |= (std::uint64_t{table[p * kPlaneBytes + n]} |
              std::uint64_t{table[p * kPlaneBytes + n + 1]} << 8)
             << (16 * p);
    pairs[static_cast<std::size_t>(n)] = v;
  }
  return pairs;
}

// A level from an RGB value: clamped to -1..256, truncated, below 1 made 0
// and above 255 made 255.
__attribute__((target("avx2"))) inline __m256i to_level(__m256 v) {
  v = _mm256_min_ps(_mm256_max_ps(v, _mm256_set1_ps(-1.0f)), _mm256_set1_ps(256.0f));
  const __m256i t = _mm256_cvttps_epi32(v);
  return _mm256_min_epi32(_mm256_max_epi32(t, _mm256_setzero_si256()), _mm256_set1_epi32(255));
}

// An output byte: clamped to 0..255 and truncated.
__attribute__((target("avx2"))) inline __m256i level(__m256 v) {
  return _mm256_cvttps_epi32(
      _mm256_min_ps(_mm256_max_ps(v, _mm256_setzero_ps()), _mm256_set1_ps(255.0f)));
}

// The low bytes of eight 32-bit lanes, in order.
__attribute__((target("avx2"))) inline std::uint64_t bytes_of(__m256i v) {
  const __m256i shuffle =
      _mm256_setr_epi8(0, 4, 8, 12, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 0, 4, 8, 12, -1,
                       -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1);
  const __m256i b = _mm256_shuffle_epi8(v, shuffle);
  return static_cast<std::uint32_t>(_mm256_cvtsi256_si32(b)) |
         std::uint64_t{static_cast<std::uint32_t>(_mm256_extract_epi32(b, 4))} << 32;
}

// The eight pixels' grid positions along one axis.
struct Axis {
  __m256i node, near, far, size;  // node index, weights of node and node + 1, cell size
};

__attribute__((target("avx2"))) inline Axis axis_of(__m256i v) {
  const __m256i node = _mm256_srli_epi32(v, 3), far = _mm256_and_si256(v, _mm256_set1_epi32(7));
  // The last cell ends at node 32, which stands for 255: 7 levels wide.
  const __m256i size = _mm256_add_epi32(_mm256_set1_epi32(8),
                                        _mm256_cmpeq_epi32(node, _mm256_set1_epi32(kLastCell)));
  return {node, _mm256_sub_epi32(size, far), far, size};
}

// The blue stage for four pixels: each corner's byte pairs times the
// pixel's blue weights (near, far) three times over, as 16-bit sums. The
// corners are four plain loads: on processors whose gathers are microcoded
// (or slowed by a microcode fix) they cost a fraction of one gather.
__attribute__((target("avx2"))) inline __m256i blue_stage(const std::uint64_t* pairs,
                                                          const std::int32_t* index, int offset,
                                                          __m256i blue_weights) {
  const __m256i corner = _mm256_setr_epi64x(
      static_cast<long long>(pairs[index[0] + offset]),
      static_cast<long long>(pairs[index[1] + offset]),
      static_cast<long long>(pairs[index[2] + offset]),
      static_cast<long long>(pairs[index[3] + offset]));
  return _mm256_maddubs_epi16(corner, blue_weights);
}

// 32-bit lane pairs (near, far) of four pixels as 64-bit lanes holding the
// byte pair three times: the blue weights of blue_stage().
__attribute__((target("avx2"))) inline __m256i blue_weights(__m128i pair) {
  const __m256i x = _mm256_cvtepu32_epi64(pair);
  const __m256i twice = _mm256_mul_epu32(x, _mm256_set1_epi64x(0x10001));
  return _mm256_or_si256(twice, _mm256_slli_epi64(x, 32));
}

// Four pixels' 16-bit weight pairs (one a 32-bit lane) spread to match the
// 16-bit unpacking of their corners: the low unpacking holds pixels 0 and
// 2 (one a 128-bit half), the high one pixels 1 and 3.
__attribute__((target("avx2"))) inline __m256i pair_lanes(__m128i pairs, bool high) {
  const __m256i pick =
      high ? _mm256_setr_epi32(1, 1, 1, 1, 3, 3, 3, 3) : _mm256_setr_epi32(0, 0, 0, 0, 2, 2, 2, 2);
  return _mm256_permutevar8x32_epi32(_mm256_castsi128_si256(pairs), pick);
}

// Per pixel the sums of the three planes: four pixels' corner sums in,
// 32-bit [plane 0, plane 1, plane 2, 0] per pixel out, pixels 0 and 2 in
// the first result's halves, 1 and 3 in the second's.
__attribute__((target("avx2"))) inline void red_green_stage(const __m256i (&corner)[4],
                                                            __m128i w_near, __m128i w_far,
                                                            __m256i (&sums)[2]) {
  for (const bool high : {false, true}) {
    const __m256i w0 = pair_lanes(w_near, high), w1 = pair_lanes(w_far, high);
    const __m256i c0 = high ? _mm256_unpackhi_epi16(corner[0], corner[1])
                            : _mm256_unpacklo_epi16(corner[0], corner[1]);
    const __m256i c1 = high ? _mm256_unpackhi_epi16(corner[2], corner[3])
                            : _mm256_unpacklo_epi16(corner[2], corner[3]);
    sums[high ? 1 : 0] = _mm256_add_epi32(_mm256_madd_epi16(c0, w0), _mm256_madd_epi16(c1, w1));
  }
}

struct Outputs {
  std::uint64_t y, cb, cr;  // eight bytes each
};

// Eight pixels through the pass; luma and chroma as 32-bit lanes.
__attribute__((target("avx2"))) Outputs convert8(const std::uint64_t* pairs, __m256i y8,
                                                 __m256i cb8, __m256i cr8) {
  const __m256 luma = _mm256_cvtepi32_ps(y8);
  const __m256 cb = _mm256_sub_ps(_mm256_cvtepi32_ps(cb8), _mm256_set1_ps(128.0f));
  const __m256 cr = _mm256_sub_ps(_mm256_cvtepi32_ps(cr8), _mm256_set1_ps(128.0f));
  const __m256 half = _mm256_set1_ps(0.5f);
  const __m256i r =
      to_level(_mm256_add_ps(_mm256_add_ps(luma, _mm256_mul_ps(_mm256_set1_ps(1.402f), cr)), half));
  const __m256i g =
      to_level(_mm256_sub_ps(_mm256_sub_ps(luma, _mm256_mul_ps(_mm256_set1_ps(0.34414f), cb)),
                             _mm256_mul_ps(_mm256_set1_ps(0.71414f), cr)));
  const __m256i b =
      to_level(_mm256_add_ps(_mm256_add_ps(luma, _mm256_mul_ps(_mm256_set1_ps(1.772f), cb)), half));

  const Axis ar = axis_of(r), ag = axis_of(g), ab = axis_of(b);
  const __m256i base =
      _mm256_add_epi32(_mm256_add_epi32(_mm256_mullo_epi32(ar.node, _mm256_set1_epi32(kStrideR)),
                                        _mm256_mullo_epi32(ag.node, _mm256_set1_epi32(kStrideG))),
                       ab.node);
  const __m256i bw = _mm256_or_si256(ab.near, _mm256_slli_epi32(ab.far, 8));
  // Red-green weights as 16-bit pairs: (rn gn, rn gf) and (rf gn, rf gf).
  const __m256i w_near =
      _mm256_or_si256(_mm256_mullo_epi32(ar.near, ag.near),
                      _mm256_slli_epi32(_mm256_mullo_epi32(ar.near, ag.far), 16));
  const __m256i w_far = _mm256_or_si256(_mm256_mullo_epi32(ar.far, ag.near),
                                        _mm256_slli_epi32(_mm256_mullo_epi32(ar.far, ag.far), 16));
  const int offsets[4] = {0, kStrideG, kStrideR, kStrideR + kStrideG};

  // Pixels 0..3, then 4..7: per pixel [plane 0, 1, 2, 0] sums.
  alignas(32) std::int32_t index[kLanes];
  _mm256_store_si256(reinterpret_cast<__m256i*>(index), base);
  __m256i sums[2][2];
  for (int half4 = 0; half4 < 2; ++half4) {
    const __m256i weights =
        blue_weights(half4 ? _mm256_extracti128_si256(bw, 1) : _mm256_castsi256_si128(bw));
    __m256i corner[4];
    for (int k = 0; k < 4; ++k) corner[k] = blue_stage(pairs, index + 4 * half4, offsets[k], weights);
    red_green_stage(
        corner, half4 ? _mm256_extracti128_si256(w_near, 1) : _mm256_castsi256_si128(w_near),
        half4 ? _mm256_extracti128_si256(w_far, 1) : _mm256_castsi256_si128(w_far), sums[half4]);
  }
  // sums[h][0] holds pixels 4h and 4h + 2, sums[h][1] pixels 4h + 1 and
  // 4h + 3: transposed, the planes come out in pixel order 0 1 4 5 2 3 6 7.
  const __m256i lo0 = _mm256_unpacklo_epi32(sums[0][0], sums[0][1]);
  const __m256i hi0 = _mm256_unpackhi_epi32(sums[0][0], sums[0][1]);
  const __m256i lo1 = _mm256_unpacklo_epi32(sums[1][0], sums[1][1]);
  const __m256i hi1 = _mm256_unpackhi_epi32(sums[1][0], sums[1][1]);
  const __m256i order = _mm256_setr_epi32(0, 1, 4, 5, 2, 3, 6, 7);
  const __m256i plane_sum[3] = {
      _mm256_permutevar8x32_epi32(_mm256_unpacklo_epi64(lo0, lo1), order),
      _mm256_permutevar8x32_epi32(_mm256_unpackhi_epi64(lo0, lo1), order),
      _mm256_permutevar8x32_epi32(_mm256_unpacklo_epi64(hi0, hi1), order)};

  // (sum + volume / 2) / volume, truncated.
  const __m256i volume = _mm256_mullo_epi32(_mm256_mullo_epi32(ar.size, ag.size), ab.size);
  const __m256i rounding = _mm256_srli_epi32(volume, 1);
  const __m256 divisor = _mm256_cvtepi32_ps(volume);
  __m256 out[3];
  for (int p = 0; p < 3; ++p)
    out[p] = _mm256_cvtepi32_ps(_mm256_cvttps_epi32(
        _mm256_div_ps(_mm256_cvtepi32_ps(_mm256_add_epi32(plane_sum[p], rounding)), divisor)));

  const __m256 y_out =
      _mm256_add_ps(_mm256_add_ps(_mm256_add_ps(_mm256_mul_ps(_mm256_set1_ps(0.299f), out[0]),
                                                _mm256_mul_ps(_mm256_set1_ps(0.587f), out[1])),
                                  _mm256_mul_ps(_mm256_set1_ps(0.114f), out[2])),
                    half);
  const __m256 cb_out =
      _mm256_add_ps(_mm256_add_ps(_mm256_sub_ps(_mm256_mul_ps(_mm256_set1_ps(-0.1687f), out[0]),
                                                _mm256_mul_ps(_mm256_set1_ps(0.3313f), out[1])),
                                  _mm256_mul_ps(_mm256_set1_ps(0.5f), out[2])),
                    _mm256_set1_ps(128.0f));
  const __m256 cr_out =
      _mm256_add_ps(_mm256_sub_ps(_mm256_sub_ps(_mm256_mul_ps(_mm256_set1_ps(0.5f), out[0]),
                                                _mm256_mul_ps(_mm256_set1_ps(0.4187f), out[1])),
                                  _mm256_mul_ps(_mm256_set1_ps(0.0813f), out[2])),
                    _mm256_set1_ps(128.0f));
  return {bytes_of(level(y_out)), bytes_of(level(cb_out)), bytes_of(level(cr_out))};
}

// Eight bytes at p as 32-bit lanes.
__attribute__((target("avx2"))) inline __m256i load8(const std::uint8_t* p) {
  return _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)));
}

// The chroma of a block of eight: samples ci, ci + 1, ... one a pixel when
// every pixel writes; ci, ci + 1, ci + 1, ci + 2, ... when every other one
// does (the block starts on a written pixel).
__attribute__((target("avx2"))) inline __m256i chroma8(const std::uint8_t* p, int h_factor) {
  if (h_factor == 1) return load8(p);
  const __m128i bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
  return _mm256_cvtepu8_epi32(_mm_shuffle_epi8(
      bytes, _mm_setr_epi8(0, 1, 1, 2, 2, 3, 3, 4, -1, -1, -1, -1, -1, -1, -1, -1)));
}

__attribute__((target("avx2"))) void store_every_other(std::uint8_t* p, std::uint64_t bytes) {
  for (int k = 0; k < kLanes; k += 2) p[k / 2] = static_cast<std::uint8_t>(bytes >> (8 * k));
}

}  // namespace

__attribute__((target("avx2"))) bool planar_rows_avx2(const PlanarJob& job) noexcept {
  const auto pairs = pair_table(job.table);
  if (!pairs) return false;
  const ZKImgSetPlanarYCbCr& d = job.planes;
  const std::uint32_t chroma_bytes = std::min(d.cb_bytes, d.cr_bytes);
  const std::uint32_t samples_per_block = kLanes / static_cast<std::uint32_t>(d.h_factor);
  PlanarCursor cursor;
  for (std::int64_t y = 0; y < job.height && cursor.yi < d.y_bytes; ++y) {
    const bool row_writes = y % d.v_factor == 0;
    std::int64_t x = 0;
    for (; x + kLanes <= job.width && std::uint64_t{cursor.yi} + kLanes <= d.y_bytes; x += kLanes) {
      // A writing row's block reads samples ci..ci + 7 at most, all before
      // the planes' end, and never one it has written.
      if (row_writes && std::uint64_t{cursor.ci} + kLanes > chroma_bytes) {
        for (int k = 0; k < kLanes; ++k) planar_pixel(job, (x + k) % d.h_factor == 0, cursor);
        continue;
      }
      __m256i cb, cr;
      if (row_writes) {
        cb = chroma8(d.cb + cursor.ci, d.h_factor);
        cr = chroma8(d.cr + cursor.ci, d.h_factor);
      } else {
        const std::uint32_t at = std::min(cursor.ci, chroma_bytes - 1);
        cb = _mm256_set1_epi32(d.cb[at]);
        cr = _mm256_set1_epi32(d.cr[at]);
      }
      const Outputs o = convert8(pairs.get(), load8(d.y + cursor.yi), cb, cr);
      __builtin_memcpy(d.y + cursor.yi, &o.y, kLanes);
      cursor.yi += kLanes;
      if (!row_writes) continue;
      if (d.h_factor == 1) {
        __builtin_memcpy(d.cb + cursor.ci, &o.cb, kLanes);
        __builtin_memcpy(d.cr + cursor.ci, &o.cr, kLanes);
      } else {
        store_every_other(d.cb + cursor.ci, o.cb);
        store_every_other(d.cr + cursor.ci, o.cr);
      }
      cursor.ci += samples_per_block;
    }
    for (; x < job.width && cursor.yi < d.y_bytes; ++x)
      planar_pixel(job, row_writes && x % d.h_factor == 0, cursor);
  }
  return true;
}

}  // namespace zkimgset::setup
#endif
