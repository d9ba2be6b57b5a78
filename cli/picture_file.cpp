// Reading whole files and choosing the codec by the file's first bytes, not
// by its name: a text file renamed .jpg is "not a picture".
#include "picture_file.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

namespace zkcli {

std::string read_file(const std::string& path) {
  struct Close {
    void operator()(std::FILE* f) const { std::fclose(f); }
  };
  errno = 0;
  const std::unique_ptr<std::FILE, Close> file(std::fopen(path.c_str(), "rb"));
  if (!file) throw Failure(std::string("unreadable: ") + std::strerror(errno));
  std::string bytes;
  char chunk[1 << 16];
  std::size_t got = 0;
  while ((got = std::fread(chunk, 1, sizeof chunk, file.get())) > 0) bytes.append(chunk, got);
  // A folder opens on some systems and then fails to read.
  if (std::ferror(file.get())) throw Failure(std::string("unreadable: ") + std::strerror(errno));
  return bytes;
}

Picture decode_picture(const std::string& bytes, int max_side) {
  static const unsigned char kJpeg[] = {0xFF, 0xD8, 0xFF};
  static const unsigned char kPng[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
  if (bytes.empty()) throw Failure("not a picture (empty file)");
  if (bytes.size() >= sizeof kJpeg && std::memcmp(bytes.data(), kJpeg, sizeof kJpeg) == 0)
    return decode_jpeg(bytes, max_side);
  if (bytes.size() >= sizeof kPng && std::memcmp(bytes.data(), kPng, sizeof kPng) == 0)
    return decode_png(bytes, max_side);
  throw Failure("not a picture (neither JPEG nor PNG)");
}

std::string encode_picture(const Picture& picture, int quality) {
  return picture.format == Format::Jpeg ? encode_jpeg_picture(picture, quality)
                                        : encode_png_picture(picture);
}

}  // namespace zkcli
