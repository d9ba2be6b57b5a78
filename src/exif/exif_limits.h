// Sizes and limits of the Exif readers and writer, each with its reason.
// A camera file comes from a stranger: every count it holds is bounded
// here before it sizes an allocation or a loop.
#pragma once

#include <cstddef>
#include <cstdint>

namespace zkimgset::exif {

// Paths and texts exchanged with the host are 260-byte buffers: at most 259
// characters and a terminating NUL.
inline constexpr std::size_t kTextBufferBytes = 260;
inline constexpr std::size_t kTextMaxChars = kTextBufferBytes - 1;

// A TIFF header: byte order mark, the number 42, the 0th IFD offset.
inline constexpr std::size_t kTiffHeaderBytes = 8;
inline constexpr std::uint16_t kTiffMagic = 42;
inline constexpr std::uint16_t kLittleEndianMark = 0x4949;  // "II"
inline constexpr std::uint16_t kBigEndianMark = 0x4D4D;     // "MM"

// An IFD: a 16-bit entry count, 12-byte entries, a 32-bit next offset. The
// count field itself bounds the entries to 65535.
inline constexpr std::size_t kIfdEntryBytes = 12;
inline constexpr std::size_t kIfdCountBytes = 2;
inline constexpr std::size_t kIfdNextBytes = 4;
inline constexpr std::size_t kInlineValueBytes = 4;
// What the 16-bit count can say: a directory never grows past it, so a
// written count never wraps.
inline constexpr std::size_t kMaxIfdEntries = 65535;

// All value bytes one document may hold. A 64 KiB Exif segment with 5000
// entries that all point at the same 60 KiB would otherwise cost 300 MB;
// real files hold a few hundred kilobytes at most (a TIFF's strip tables
// included), so an entry that would pass this is treated as unreadable.
inline constexpr std::size_t kMaxDocumentValueBytes = 64u << 20;

// JPEG segments kept by the document reader before the start of scan.
// Real files have a few dozen; each kept segment costs memory beyond its
// body, so past this many a file's segments are read and checked but no
// longer kept (the first Exif candidate aside).
inline constexpr std::size_t kMaxJpegSegments = 4096;

// JPEG markers and the Exif application segment.
inline constexpr std::uint16_t kMarkerSoi = 0xFFD8;
inline constexpr std::uint16_t kMarkerEoi = 0xFFD9;
inline constexpr std::uint16_t kMarkerSos = 0xFFDA;
inline constexpr std::uint16_t kMarkerApp1 = 0xFFE1;
inline constexpr std::uint16_t kMarkerFloor = 0xFF00;
// "Exif" and two NUL bytes open the segment; the TIFF structure follows.
inline constexpr std::size_t kExifNameBytes = 6;
// The parameter reader takes an APP1 segment as Exif only from this length
// on (the length field, the name and at least one byte more).
inline constexpr std::uint16_t kMinExifSegmentLength = 9;

// The parameter reader refuses JPEG thumbnails of this many bytes or more:
// a thumbnail must fit in the 64 KiB segment that carries it.
inline constexpr std::uint32_t kMaxThumbnailBytes = 65536;

// The buffer the parameter stage reads ExifVersion into.
inline constexpr std::size_t kExifVersionBytes = 4;

// The writer keeps only the low three bytes of a pixel dimension.
inline constexpr std::uint32_t kPixelDimensionMask = 0x00FFFFFF;
inline constexpr std::size_t kPixelDimensionBytes = 3;

}  // namespace zkimgset::exif
