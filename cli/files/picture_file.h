// Picture files: JPEG (TurboJPEG) and PNG (libpng), decoded to packed 8-bit
// R, G, B rows, top row first, and encoded back in the same format with the
// metadata a print lab expects to keep (Exif and ICC profile).
#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace zkcli {

// A picture that cannot be read, written or corrected; what() is the reason
// shown to the user ("not a picture", "damaged JPEG: ...").
class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

enum class Format { Jpeg, Png };

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
  void construct(U* p) noexcept {
    ::new (static_cast<void*>(p)) U;
  }
  template <typename U, typename... Args>
  void construct(U* p, Args&&... args) {
    ::new (static_cast<void*>(p)) U(std::forward<Args>(args)...);
  }
};
using Samples = std::vector<std::uint8_t, DefaultInitAllocator<std::uint8_t>>;

struct Picture {
  Format format = Format::Jpeg;
  int width = 0;
  int height = 0;
  Samples rgb;    // width x height x 3
  Samples alpha;  // PNG with transparency: width x height; else empty
  // JPEG: the input's APP1 Exif and APP2 ICC segments, each whole (marker,
  // length and data), kept byte for byte. PNG: the chunks kept (type, data).
  std::vector<std::string> metadata;
  int jpeg_subsampling = -1;  // TurboJPEG's TJSAMP_* of the input
};

// Decodes a JPEG or PNG. Failure with the reason for anything else, for a
// damaged or truncated file, and for pictures larger than max_side on a side
// (checked before any pixel is decoded).
Picture decode_picture(const std::string& bytes, int max_side);
// The same into picture, whose buffers are reused.
void decode_picture(const std::string& bytes, int max_side, Picture& picture);

// Encodes a picture in its own format; JPEG at the given quality.
std::string encode_picture(const Picture& picture, int quality);

// A plain JPEG of packed R, G, B rows (the report's thumbnails).
std::string encode_jpeg(const std::uint8_t* rgb, int width, int height, int quality);

// Format-specific halves of the above.
void decode_jpeg(const std::string& bytes, int max_side, Picture& picture);
std::string encode_jpeg_picture(const Picture& picture, int quality);
void decode_png(const std::string& bytes, int max_side, Picture& picture);
std::string encode_png_picture(const Picture& picture);

}  // namespace zkcli
