// The tool's limits on what it reads, each with its reason.
#pragma once

#include <cstddef>
#include <cstdint>

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

// A TIFF is read a strip or tile at a time: one may hold at most a whole
// picture of the largest size at 16-bit RGBA (8 bytes a pixel), checked
// before libtiff allocates it. No single allocation libtiff makes may be
// larger than that and 64 MiB for its tables and buffers.
inline constexpr std::uint64_t kMaxTiffBlockBytes = std::uint64_t{kMaxSide} * kMaxSide * 8;
inline constexpr std::uint64_t kMaxTiffAllocation = kMaxTiffBlockBytes + (std::uint64_t{64} << 20);

// The Exif and GPS directories of a TIFF are copied as bytes: a directory of
// more entries than any camera writes, or nested deeper than the
// Interoperability directory inside the Exif one, is not copied.
inline constexpr std::uint32_t kMaxCopiedIfdEntries = 1000;
inline constexpr int kMaxCopiedIfdDepth = 2;

// Folders are walked at most this deep: deeper trees are made by accident
// or on purpose, not by a camera or a lab.
inline constexpr int kMaxFolderDepth = 64;

// Standard input is read whole, as a file is, up to the picture file limit.

// The hot folder's journal holds a line (a name and three numbers) for each
// file in the watched folder, compacted at start: 64 MiB is some hundred
// thousand files.
inline constexpr std::size_t kMaxJournalBytes = std::size_t{64} << 20;

// A full 3-D table text is under 10 MB. The tool's check of table files
// reads at most this much of one (the library itself reads any size).
inline constexpr std::size_t kMaxTableFileBytes = std::size_t{64} << 20;

// A review's decisions file holds a few hundred bytes a picture: 64 MiB is
// some hundred thousand pictures, more than any review shows.
inline constexpr std::size_t kMaxDecisionsFileBytes = std::size_t{64} << 20;

// The library's text dump of an analysis (its figures, the 256-entry tone
// curve and the 100 saturation coefficients) is a few kilobytes.
inline constexpr std::size_t kMaxDumpTextBytes = std::size_t{1} << 20;

}  // namespace zkcli
