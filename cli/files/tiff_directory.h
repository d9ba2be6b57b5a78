// TIFF directories copied as bytes: the Exif and GPS directories of a TIFF,
// which libtiff reads into its own form but cannot write back, are read here
// from the file's bytes and appended to the written file, which then points
// at them. Values keep their bytes and the file's byte order; offsets are
// made anew. A maker note is copied as it is: one whose inner offsets count
// from the start of the file may point at the wrong place afterwards.
//
// Error policy: the copy is all or nothing. A directory that cannot be read
// whole (an entry or value outside the file, too many entries, a pointer
// loop) is not copied, and nothing fails.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "files/picture_file.h"

namespace zkcli {

enum class ByteOrder { Little, Big };

// The directory at offset in a classic TIFF, with the directories its
// Interoperability pointer leads to; nothing when it cannot be read whole.
std::shared_ptr<RawIfd> read_raw_ifd(std::string_view file, std::uint64_t offset, ByteOrder order);

// Appends ifd to a classic TIFF written with a placeholder entry pointer_tag
// in its first directory, and points that entry at it. Nothing happens when
// the file has no such entry.
void append_raw_ifd(std::string& file, ByteOrder order, std::uint32_t pointer_tag,
                    const RawIfd& ifd);

// The Exif block (a TIFF structure, as JPEG's APP1 and PNG's eXIf hold it)
// of a TIFF's tags: its descriptive texts and Orientation in the first
// directory, and its Exif and GPS directories. "" when it has none of them.
std::string exif_block_of(const TiffSettings& tiff);

// The other way: the texts, Orientation, Exif and GPS directories of an Exif
// block into tiff, whose byte order becomes the block's (the copied values
// keep theirs). Nothing changes when the block cannot be read.
void tiff_settings_from_exif(std::string_view block, TiffSettings& tiff);

}  // namespace zkcli
