// The 32-bit codes that the Exif document reader, its file stream and the
// writer produce, the codes of the parameter reader, and the small
// exception that carries one of them out of the depths of a read.
#pragma once

#include <cstdint>

namespace zkimgset::exif {

using Code = std::uint32_t;

// The high byte gives the kind: 1 file, 2 argument and structure,
// 4 entry, 5 Exif pointer, 6 format read and write, 7 TIFF check.
namespace code {
inline constexpr Code kOk = 0;
inline constexpr Code kOpenFailed = 0x1000002;
inline constexpr Code kCloseFailed = 0x1000003;
inline constexpr Code kReadFailed = 0x1000004;
inline constexpr Code kWriteFailed = 0x1000005;
inline constexpr Code kSeekFailed = 0x1000006;
inline constexpr Code kMissingArgument = 0x2000000;
inline constexpr Code kMissingBuffer = 0x2000001;
inline constexpr Code kNotTiffOrJpeg = 0x2000002;
inline constexpr Code kCannotSetTag = 0x2000003;
inline constexpr Code kNoPixelDimension = 0x2000004;
inline constexpr Code kEmptyIfd = 0x2000005;
inline constexpr Code kEntryWriteFailed = 0x4000003;
inline constexpr Code kEntryEmpty = 0x4000004;
inline constexpr Code kTiffWithoutExif = 0x5000000;
inline constexpr Code kJpegWithoutExif = 0x5000001;
inline constexpr Code kNoByteOrderMark = 0x6000000;
inline constexpr Code kBadMagic = 0x6000001;
inline constexpr Code kNoIfdOffset = 0x6000002;
inline constexpr Code kIfd0TreeFailed = 0x6000003;  // defined, never produced
inline constexpr Code kIfd1TreeFailed = 0x6000004;  // defined, never produced
inline constexpr Code kBadSegment = 0x6000005;
inline constexpr Code kNoMarkerAfterSegment = 0x6000006;
inline constexpr Code kNoSoi = 0x6000007;
inline constexpr Code kBadFirstMarker = 0x6000008;
inline constexpr Code kNoExifName = 0x6000009;
inline constexpr Code kMarkWriteFailed = 0x600000A;
inline constexpr Code kMagicWriteFailed = 0x600000B;
inline constexpr Code kOffsetWriteFailed = 0x600000C;
inline constexpr Code kIfd0WriteFailed = 0x600000D;
inline constexpr Code kIfd1WriteFailed = 0x600000E;
inline constexpr Code kThumbnailWriteFailed = 0x600000F;
// TIFF checks, in the order they run: ImageWidth, ImageLength,
// BitsPerSample, Compression, PhotometricInterpretation, StripOffsets,
// SamplesPerPixel, RowsPerStrip.
inline constexpr Code kTiffCheckFirst = 0x7000000;
}  // namespace code

// Codes of the parameter reader.
namespace param_code {
inline constexpr Code kVersionBufferSmall = 1000;
inline constexpr Code kMemory = 1002;
inline constexpr Code kNo0thIfd = 1003;
inline constexpr Code kThumbnailTooLong = 1007;
inline constexpr Code kNoExifIfd = 1100;
inline constexpr Code kJpegIdentifyFailed = 1102;
inline constexpr Code kTiffIdentifyFailed = 1103;
inline constexpr Code kBadImageStructure = 1202;
inline constexpr Code kTagMissing = 1203;
inline constexpr Code kWrongType = 1205;
inline constexpr Code kWrongCount = 1206;
}  // namespace param_code

// A failure on its way to the entry point that returns its code.
struct ExifError {
  Code code;
};

[[noreturn]] inline void fail(Code code) { throw ExifError{code}; }

inline void enforce(bool ok, Code code) {
  if (!ok) fail(code);
}

// Runs step() and reports any failure inside it as `code`: the writer names
// the step that failed, not the stream operation under it.
template <class Step>
void as_code(Code code, Step&& step) {
  try {
    step();
  } catch (const ExifError&) {
    fail(code);
  }
}

}  // namespace zkimgset::exif
