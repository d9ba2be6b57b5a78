// JPEG through TurboJPEG. The Exif (APP1) and ICC (APP2) segments of the
// input are copied into the output unchanged, right after the encoder's
// JFIF header.
#include <turbojpeg.h>

#include <cstring>
#include <memory>
#include <string_view>

#include "files/picture_file.h"

namespace zkcli {
namespace {

struct Handle {
  explicit Handle(tjhandle h) : h(h) {
    if (h == nullptr) throw Failure("out of memory (JPEG codec)");
  }
  ~Handle() { tjDestroy(h); }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  tjhandle h;
};

bool starts_with(const std::string& bytes, std::size_t at, const char* text, std::size_t n) {
  return bytes.size() >= at + n && std::memcmp(bytes.data() + at, text, n) == 0;
}

// The APP1 "Exif" and APP2 "ICC_PROFILE" segments before the first scan.
std::vector<std::string> metadata_segments(const std::string& bytes) {
  std::vector<std::string> kept;
  std::size_t at = 2;  // after SOI
  while (at + 4 <= bytes.size() && static_cast<unsigned char>(bytes[at]) == 0xFF) {
    const unsigned marker = static_cast<unsigned char>(bytes[at + 1]);
    if (marker == 0xFF) {  // fill byte
      ++at;
      continue;
    }
    if (marker == 0xDA || marker == 0xD9) break;  // start of scan, end of image
    const std::size_t length =
        static_cast<unsigned char>(bytes[at + 2]) << 8 | static_cast<unsigned char>(bytes[at + 3]);
    if (length < 2 || at + 2 + length > bytes.size()) break;
    const bool exif = marker == 0xE1 && starts_with(bytes, at + 4, "Exif\0\0", 6);
    const bool icc = marker == 0xE2 && starts_with(bytes, at + 4, "ICC_PROFILE\0", 12);
    if (exif || icc) kept.push_back(bytes.substr(at, 2 + length));
    at += 2 + length;
  }
  return kept;
}

std::string codec_error(tjhandle h) { return tjGetErrorStr2(h); }

// Encodes packed R, G, B rows and inserts the metadata segments.
std::string compress(const std::uint8_t* rgb, int width, int height, int subsampling, int quality,
                     const std::vector<std::string>& metadata) {
  Handle codec(tjInitCompress());
  unsigned char* out = nullptr;
  unsigned long out_size = 0;
  const int failed = tjCompress2(codec.h, rgb, width, 0, height, TJPF_RGB, &out, &out_size,
                                 subsampling, quality, TJFLAG_ACCURATEDCT);
  const std::unique_ptr<unsigned char, void (*)(unsigned char*)> owned(out, tjFree);
  if (failed != 0) throw Failure("cannot encode JPEG: " + codec_error(codec.h));

  const std::string_view encoded(reinterpret_cast<const char*>(out), out_size);
  // After SOI and the encoder's JFIF APP0, if it wrote one.
  std::size_t insert_at = 2;
  if (encoded.size() > 6 && static_cast<unsigned char>(encoded[3]) == 0xE0)
    insert_at =
        4 + (static_cast<unsigned char>(encoded[4]) << 8 | static_cast<unsigned char>(encoded[5]));
  std::size_t total = encoded.size();
  for (const std::string& segment : metadata) total += segment.size();
  std::string result;
  result.reserve(total);
  result.append(encoded.substr(0, insert_at));
  for (const std::string& segment : metadata) result += segment;
  result.append(encoded.substr(insert_at));
  return result;
}

}  // namespace

void decode_jpeg(const std::string& bytes, int max_side, Picture& picture) {
  Handle codec(tjInitDecompress());
  const auto* data = reinterpret_cast<const unsigned char*>(bytes.data());
  const auto size = static_cast<unsigned long>(bytes.size());
  int width = 0, height = 0, subsampling = 0, colourspace = 0;
  if (tjDecompressHeader3(codec.h, data, size, &width, &height, &subsampling, &colourspace) != 0)
    throw Failure("damaged JPEG: " + codec_error(codec.h));
  if (colourspace == TJCS_CMYK || colourspace == TJCS_YCCK)
    throw Failure("CMYK JPEG pictures are not supported");
  if (width > max_side || height > max_side)
    throw Failure("too large (" + std::to_string(width) + " x " + std::to_string(height) +
                  "; at most " + std::to_string(max_side) + " pixels on a side)");

  picture.format = Format::Jpeg;
  picture.width = width;
  picture.height = height;
  picture.jpeg_subsampling = subsampling;
  picture.rgb.resize(static_cast<std::size_t>(width) * height * 3);
  // Any warning (a truncated file, corrupt data) fails the picture rather
  // than printing a half-grey one.
  if (tjDecompress2(codec.h, data, size, picture.rgb.data(), width, 0, height, TJPF_RGB,
                    TJFLAG_STOPONWARNING | TJFLAG_ACCURATEDCT) != 0)
    throw Failure("damaged JPEG: " + codec_error(codec.h));
  picture.metadata = metadata_segments(bytes);
}

std::string encode_jpeg(const std::uint8_t* rgb, int width, int height, int quality) {
  return compress(rgb, width, height, TJSAMP_420, quality, {});
}

std::string encode_jpeg_picture(const Picture& picture, int quality) {
  // Grey inputs come back in colour after a colour correction.
  const int subsampling = picture.jpeg_subsampling < 0 || picture.jpeg_subsampling == TJSAMP_GRAY
                              ? TJSAMP_420
                              : picture.jpeg_subsampling;
  return compress(picture.rgb.data(), picture.width, picture.height, subsampling, quality,
                  picture.metadata);
}

}  // namespace zkcli
