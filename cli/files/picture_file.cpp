// Choosing the codec by the file's first bytes, not by its name: a text
// file renamed .jpg is "not a picture".
#include "files/picture_file.h"

#include <cstring>

namespace zkcli {

Picture decode_picture(const std::string& bytes, int max_side) {
  Picture picture;
  decode_picture(bytes, max_side, picture);
  return picture;
}

void decode_picture(const std::string& bytes, int max_side, Picture& picture) {
  picture.metadata.clear();
  picture.alpha.clear();
  picture.jpeg_subsampling = -1;
  static const unsigned char kJpeg[] = {0xFF, 0xD8, 0xFF};
  static const unsigned char kPng[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
  if (bytes.empty()) throw Failure("not a picture (empty file)");
  if (bytes.size() >= sizeof kJpeg && std::memcmp(bytes.data(), kJpeg, sizeof kJpeg) == 0)
    return decode_jpeg(bytes, max_side, picture);
  if (bytes.size() >= sizeof kPng && std::memcmp(bytes.data(), kPng, sizeof kPng) == 0)
    return decode_png(bytes, max_side, picture);
  throw Failure("not a picture (neither JPEG nor PNG)");
}

std::string encode_picture(const Picture& picture, int quality) {
  return picture.format == Format::Jpeg ? encode_jpeg_picture(picture, quality)
                                        : encode_png_picture(picture);
}

}  // namespace zkcli
