// The tool's limits on what it reads, each with its reason.
#pragma once

#include <cstddef>

namespace zkcli {

// The largest picture side the analysis and the correction accept. A larger
// picture is refused from its header, before any pixel is decoded.
inline constexpr int kMaxSide = 6144;

// The largest picture file read. The biggest file a picture within kMaxSide
// honestly needs is an uncompressed PNG of 16-bit RGBA: 8 bytes a pixel and
// a filter byte a row, 288 MiB at 6144 x 6144 (TurboJPEG's worst case for a
// JPEG of that size, 6 bytes a pixel, is smaller). 64 MiB more leaves
// generous room for deflate's stored-block framing, chunk headers and
// metadata (Exif, ICC profiles, text). 369,104,896 bytes in all; a larger
// file is refused before it is read.
inline constexpr std::size_t kMaxPictureFileBytes =
    std::size_t{kMaxSide} * (std::size_t{kMaxSide} * 8 + 1) + (std::size_t{64} << 20);

// The library reads a colour table file whole and refuses one above 64 MiB;
// the tool's check of table files refuses the same.
inline constexpr std::size_t kMaxTableFileBytes = std::size_t{64} << 20;

// The library's text dump of an analysis (its figures, the 256-entry tone
// curve and the 100 saturation coefficients) is a few kilobytes.
inline constexpr std::size_t kMaxDumpTextBytes = std::size_t{1} << 20;

}  // namespace zkcli
