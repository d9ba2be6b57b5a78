// Sizes and limits of the colour tables and their text files.
#pragma once

#include <cstddef>

namespace zkimgset::colour {

// A text record or field buffer is 260 bytes: at most 259 characters and a
// terminating zero. Longer lines are cut to their first 259 characters.
inline constexpr std::size_t kRecordBufferBytes = 260;
inline constexpr std::size_t kRecordMaxChars = kRecordBufferBytes - 1;

// The 3-D table file has 33 nodes an axis; the node at index 1 is skipped
// when loading, which leaves the 32-node grid the interpolation reads.
inline constexpr int kFileNodes = 33;
inline constexpr int kGridNodes = 32;
inline constexpr int kSkippedFileNode = 1;

// Both 3-D buffers are 3 x 33 x 33 x 33 bytes: the 32-node grid uses the
// first 98304, and the zero tail is read (with weight 0) at the upper edge.
inline constexpr std::size_t kTable3dBytes = 3 * 33 * 33 * 33;  // 107811
inline constexpr std::size_t kTable3dNodeBytes = 3 * 32 * 32 * 32;

// Three channels of 256 levels, one R, G, B row per level.
inline constexpr int kLevels = 256;
inline constexpr std::size_t kTable1dBytes = 3 * kLevels;

// The binary table file: a 32-bit offset N at byte 16, and at N + 8 the
// data, read as 107811 items of four bytes; the table keeps the first
// 107811 bytes of them.
inline constexpr long kBinaryOffsetField = 16;
inline constexpr unsigned kBinaryDataSkip = 8;
inline constexpr std::size_t kBinaryItems = kTable3dBytes;
inline constexpr std::size_t kBinaryItemBytes = 4;

}  // namespace zkimgset::colour
