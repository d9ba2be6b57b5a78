// Picture files: JPEG (libjpeg-turbo), PNG (libpng) and TIFF (libtiff),
// decoded to packed 8-bit R, G, B rows, top row first, and encoded in any of
// the three with the metadata a print lab expects to keep. Written in its own
// format a picture keeps its metadata byte for byte; written in another, the
// metadata the formats share (Exif between JPEG and PNG, ICC profile, XMP) is
// carried over and the rest is named in the picture's notes.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace zkcli {

// A picture that cannot be read, written or corrected; what() is the reason
// shown to the user ("not a picture", "damaged JPEG: ...").
class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

enum class Format { Jpeg, Png, Tiff };

// "JPEG", "PNG", "TIFF".
const char* format_name(Format format);
// "jpeg", "png", "tiff": the spelling of --format and of the JSON summary.
const char* format_key(Format format);
// The format a file name asks for by its extension (.jpg .jpeg .png .tif
// .tiff, any case); nothing for another extension.
std::optional<Format> format_of_name(const std::string& name);
// A --format value: jpeg, jpg, png, tiff, tif.
std::optional<Format> parse_format(const std::string& text);
// The format of a file by its first bytes; nothing when it is none of the three.
std::optional<Format> sniff_format(std::string_view bytes);
// The usual extension: ".jpg", ".png", ".tif".
const char* format_extension(Format format);

// Leaves new elements uninitialised: a raster is always overwritten whole by
// the decoder, so filling it with zeros first only costs time and page faults.
template <typename T>
struct DefaultInitAllocator : std::allocator<T> {
  template <typename U>
  struct rebind {
    using other = DefaultInitAllocator<U>;
  };
  using std::allocator<T>::allocator;
  template <typename U>
  void construct(U* p) noexcept(std::is_nothrow_default_constructible_v<U>) {
    ::new (static_cast<void*>(p)) U;
  }
  template <typename U, typename... Args>
  void construct(U* p, Args&&... args) {
    ::new (static_cast<void*>(p)) U(std::forward<Args>(args)...);
  }
};
using Samples = std::vector<std::uint8_t, DefaultInitAllocator<std::uint8_t>>;

// A TIFF directory copied as its bytes (entries and the values they point
// to), for the Exif and GPS directories that libtiff has no writer for.
struct RawIfd {
  struct Entry {
    std::uint16_t tag = 0, type = 0;
    std::uint32_t count = 0;
    std::string value;            // count x size bytes, in the file's byte order
    std::unique_ptr<RawIfd> sub;  // the directory a pointer tag points to
  };
  std::vector<Entry> entries;
};

// What a TIFF keeps when written back as TIFF.
struct TiffSettings {
  bool big_endian = false;
  std::uint16_t compression = 1;
  std::uint16_t predictor = 1;
  bool has_resolution = false;
  float x_resolution = 0, y_resolution = 0;
  std::uint16_t resolution_unit = 2;
  std::uint16_t orientation = 0;  // 0: none given
  bool associated_alpha = false;
  // ASCII tags (ImageDescription, Make, Model, Software, DateTime, Artist,
  // HostComputer, Copyright) as tag and text.
  std::vector<std::pair<std::uint32_t, std::string>> texts;
  std::string iptc;       // RichTIFFIPTC, raw
  std::string photoshop;  // Photoshop image resources, raw
  std::shared_ptr<RawIfd> exif, gps;
};

// A picture's metadata.
struct Metadata {
  // In the input's own format, written back byte for byte.
  // JPEG: whole segments (marker, length, body) in file order: JFIF APP0,
  // Exif and XMP APP1, ICC APP2, IPTC APP13, comments.
  std::vector<std::string> jpeg_segments;
  // PNG: raw chunks (type and data) before and after the image data.
  std::vector<std::string> png_chunks_before, png_chunks_after;
  TiffSettings tiff;

  // The same in format-neutral form, for writing another format and for the
  // correction mark: Exif as a TIFF-structured block (JPEG, PNG), the ICC
  // profile, the XMP packet.
  std::string exif, icc, xmp;
  // Metadata that only the input's format holds (IPTC, PNG text), named when
  // the picture is written in another format.
  std::vector<std::string> format_only;
};

struct Picture {
  Format format = Format::Jpeg;
  int width = 0;
  int height = 0;
  Samples rgb;                // width x height x 3
  Samples alpha;              // width x height when the picture has transparency; else empty
  int jpeg_subsampling = -1;  // TurboJPEG's TJSAMP_* of a JPEG input
  Metadata meta;
  // Recoverable problems met while reading ("Corrupt JPEG data: 2 extraneous
  // bytes before marker 0xdb") and metadata not carried over; shown with
  // the result.
  std::vector<std::string> notes;
};

// Decodes a JPEG, PNG or TIFF into picture, reusing its buffers. Failure with
// the reason for anything else, for a damaged or truncated file, and for
// pictures larger than max_side on a side (checked before any pixel is
// decoded).
void decode_picture(std::string_view bytes, int max_side, Picture& picture);
Picture decode_picture(std::string_view bytes, int max_side);

// What encode_picture adds: the correction mark (an XMP property, or a PNG
// text chunk) naming the tool and its version, when mark is not empty.
struct EncodeOptions {
  int quality = 95;  // JPEG (and JPEG-compressed TIFF) quality
  std::string mark;  // e.g. "zkimgset 0.1.0"
};

// Encodes a picture in the format given. Metadata that the target format
// cannot hold is named in picture.notes.
std::string encode_picture(Picture& picture, Format format, const EncodeOptions& options);

// The correction mark the picture carries, or "" when it carries none.
std::string correction_mark(const Picture& picture);

// A plain JPEG of packed R, G, B rows (the report's thumbnails).
std::string encode_jpeg(const std::uint8_t* rgb, int width, int height, int quality);

// The halves of the above for each format: the pixels of picture, the metadata
// of meta (already in the target's form).
void decode_jpeg(std::string_view bytes, int max_side, Picture& picture);
std::string encode_jpeg_picture(const Picture& picture, const Metadata& meta, int quality);
void decode_png(std::string_view bytes, int max_side, Picture& picture);
std::string encode_png_picture(const Picture& picture, const Metadata& meta);
void decode_tiff(std::string_view bytes, int max_side, Picture& picture);
std::string encode_tiff_picture(const Picture& picture, const Metadata& meta, int quality);

// Metadata of another format in JPEG segments and PNG chunks.
std::vector<std::string> jpeg_segments_from(const Metadata& meta);
std::vector<std::string> png_chunks_from(const Metadata& meta);

// The XMP packet with the correction mark added (a new packet when xmp is
// empty); nothing when the packet has no place for it (no rdf:RDF).
std::optional<std::string> xmp_with_mark(const std::string& xmp, const std::string& mark);
// The mark an XMP packet carries, or "".
std::string mark_in_xmp(std::string_view xmp);

// "too large (W x H; at most N pixels on a side)".
std::string too_large_text(long long width, long long height, int max_side);

}  // namespace zkcli
