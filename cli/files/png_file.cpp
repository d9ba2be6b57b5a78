// PNG through libpng. Every layout is read as 8-bit R, G, B (16-bit samples
// are reduced, palettes and grey expanded) with its transparency kept apart.
// The metadata chunks (iCCP, sRGB, gAMA, cHRM, pHYs, eXIf, tEXt, zTXt, iTXt,
// tIME) are taken from the file as they are and written back byte for byte,
// before or after the image data as they were.
#include <png.h>

#include <csetjmp>
#include <cstring>

#include "files/picture_file.h"

namespace zkcli {
namespace {

constexpr std::size_t kSignatureBytes = 8;
constexpr const char* kKeptChunks[] = {"iCCP", "sRGB", "gAMA", "cHRM", "pHYs",
                                       "eXIf", "tEXt", "zTXt", "iTXt", "tIME"};
constexpr const char* kXmpKeyword = "XML:com.adobe.xmp";

struct Reader {
  std::string_view bytes;
  std::size_t at = kSignatureBytes;  // the signature is checked before
};

void read_bytes(png_structp png, png_bytep out, png_size_t n) {
  auto* reader = static_cast<Reader*>(png_get_io_ptr(png));
  if (n > reader->bytes.size() - reader->at) png_error(png, "unexpected end of file");
  std::memcpy(out, reader->bytes.data() + reader->at, n);
  reader->at += n;
}

void write_bytes(png_structp png, png_bytep data, png_size_t n) {
  static_cast<std::string*>(png_get_io_ptr(png))->append(reinterpret_cast<char*>(data), n);
}

void flush(png_structp) {}

// libpng reports errors by longjmp; the message is kept for the Failure.
void on_error(png_structp png, png_const_charp message) {
  auto* text = static_cast<std::string*>(png_get_error_ptr(png));
  *text = message;
  png_longjmp(png, 1);
}
void on_warning(png_structp, png_const_charp) {}

std::uint32_t big_endian(std::string_view b) {
  return std::uint32_t(static_cast<unsigned char>(b[0])) << 24 |
         std::uint32_t(static_cast<unsigned char>(b[1])) << 16 |
         std::uint32_t(static_cast<unsigned char>(b[2])) << 8 |
         std::uint32_t(static_cast<unsigned char>(b[3]));
}

// The kept chunks as type and data, from a file libpng has read whole (so
// each chunk's length and CRC are good).
void kept_chunks(std::string_view bytes, Metadata& meta) {
  bool after_image = false;
  bool text = false, time = false;
  for (std::size_t at = kSignatureBytes; bytes.size() - at >= 12;) {
    const std::uint32_t length = big_endian(bytes.substr(at, 4));
    if (length > bytes.size() - at - 12) break;
    const std::string_view type = bytes.substr(at + 4, 4);
    if (type == "IDAT") after_image = true;
    if (type == "IEND") break;
    for (const char* kept : kKeptChunks) {
      if (type != kept) continue;
      (after_image ? meta.png_chunks_after : meta.png_chunks_before)
          .emplace_back(bytes.substr(at + 4, 4 + length));
      text |= type == "tEXt" || type == "zTXt" || type == "iTXt";
      time |= type == "tIME";
    }
    at += 12 + length;
  }
  if (text) meta.format_only.push_back("PNG text chunks");
  if (time) meta.format_only.push_back("PNG tIME");
}

// The format-neutral metadata, as libpng reads it (zTXt and iTXt
// decompressed).
void neutral_metadata(png_structp png, png_infop info, Metadata& meta) {
  png_charp name = nullptr;
  int compression = 0;
  png_bytep data = nullptr;
  png_uint_32 length = 0;
  if (png_get_iCCP(png, info, &name, &compression, &data, &length))
    meta.icc.assign(reinterpret_cast<char*>(data), length);
  if (png_get_eXIf_1(png, info, &length, &data))
    meta.exif.assign(reinterpret_cast<char*>(data), length);
  png_textp texts = nullptr;
  int count = 0;
  png_get_text(png, info, &texts, &count);
  for (int i = 0; i < count; ++i)
    if (std::strcmp(texts[i].key, kXmpKeyword) == 0 && texts[i].text != nullptr)
      meta.xmp.assign(texts[i].text,
                      texts[i].itxt_length > 0 ? texts[i].itxt_length : texts[i].text_length);
}

bool has_chunk(const std::vector<std::string>& chunks, const char* type) {
  for (const std::string& c : chunks)
    if (c.compare(0, 4, type) == 0) return true;
  return false;
}

}  // namespace

std::vector<std::string> png_chunks_from(const Metadata& meta) {
  std::vector<std::string> chunks;
  if (!meta.exif.empty()) chunks.push_back("eXIf" + meta.exif);
  if (!meta.xmp.empty())
    chunks.push_back("iTXt" + std::string(kXmpKeyword) + std::string(5, '\0') + meta.xmp);
  return chunks;
}

void decode_png(std::string_view bytes, int max_side, Picture& picture) {
  std::string error;
  png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &error, on_error, on_warning);
  if (png == nullptr) throw Failure("out of memory (PNG codec)");
  png_infop info = png_create_info_struct(png);
  Reader reader{bytes};
  picture.width = picture.height = 0;
  // Everything with a destructor lives out here: libpng leaves by longjmp.
  Samples rows;
  std::vector<png_bytep> row_pointers;
  if (setjmp(png_jmpbuf(png)) == 0) {
    if (info == nullptr) png_error(png, "out of memory");
    png_set_read_fn(png, &reader, read_bytes);
    png_set_sig_bytes(png, kSignatureBytes);
    png_read_info(png, info);
    const png_uint_32 width = png_get_image_width(png, info);
    const png_uint_32 height = png_get_image_height(png, info);
    picture.width = static_cast<int>(std::min<png_uint_32>(width, 1u << 30));
    picture.height = static_cast<int>(std::min<png_uint_32>(height, 1u << 30));
    if (width <= static_cast<png_uint_32>(max_side) &&
        height <= static_cast<png_uint_32>(max_side)) {
      png_set_expand(png);
      png_set_strip_16(png);
      png_set_gray_to_rgb(png);
      png_set_interlace_handling(png);
      png_read_update_info(png, info);
      const std::size_t row_bytes = png_get_rowbytes(png, info);
      // Three channels are read straight into the picture.
      Samples& target = png_get_channels(png, info) == 3 ? picture.rgb : rows;
      target.resize(row_bytes * picture.height);
      row_pointers.resize(picture.height);
      for (int y = 0; y < picture.height; ++y) row_pointers[y] = target.data() + y * row_bytes;
      png_read_image(png, row_pointers.data());
      png_read_end(png, info);
    }
  }
  const int channels = error.empty() && info != nullptr ? png_get_channels(png, info) : 0;
  const bool read = !row_pointers.empty();
  if (error.empty() && read) neutral_metadata(png, info, picture.meta);
  png_destroy_read_struct(&png, &info, nullptr);
  if (!error.empty()) throw Failure("damaged PNG: " + error);
  if (!read) throw Failure(too_large_text(picture.width, picture.height, max_side));
  kept_chunks(bytes, picture.meta);

  if (channels == 3) return;
  const std::size_t pixels = std::size_t(picture.width) * picture.height;
  picture.rgb.resize(pixels * 3);
  if (channels == 4) picture.alpha.resize(pixels);
  for (std::size_t i = 0; i < pixels; ++i) {
    const std::uint8_t* p = rows.data() + i * channels;
    std::memcpy(&picture.rgb[3 * i], p, 3);
    if (channels == 4) picture.alpha[i] = p[3];
  }
}

std::string encode_png_picture(const Picture& picture, const Metadata& meta) {
  std::string error, out;
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &error, on_error, on_warning);
  if (png == nullptr) throw Failure("out of memory (PNG codec)");
  png_infop info = png_create_info_struct(png);
  const bool has_alpha = !picture.alpha.empty();
  const int channels = has_alpha ? 4 : 3;
  Samples row(std::size_t(picture.width) * channels);
  const volatile bool raw_profile = has_chunk(meta.png_chunks_before, "iCCP");
  if (setjmp(png_jmpbuf(png)) == 0) {
    if (info == nullptr) png_error(png, "out of memory");
    png_set_write_fn(png, &out, write_bytes, flush);
    png_set_IHDR(png, info, static_cast<png_uint_32>(picture.width),
                 static_cast<png_uint_32>(picture.height), 8,
                 has_alpha ? PNG_COLOR_TYPE_RGB_ALPHA : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    // A profile from another format; a PNG's own comes as its raw chunk.
    // libpng refuses a few profiles that cameras ship ("known incorrect
    // sRGB profile") by an error unless such errors are made warnings, up
    // to the chunk's writing; one it then still leaves out is not lost
    // without a word.
    png_set_benign_errors(png, 1);
    if (!raw_profile && !meta.icc.empty()) {
      png_set_iCCP(png, info, "ICC profile", 0, reinterpret_cast<png_const_bytep>(meta.icc.data()),
                   static_cast<png_uint_32>(meta.icc.size()));
      if (!png_get_valid(png, info, PNG_INFO_iCCP)) png_error(png, "libpng refuses its ICC profile");
    }
    png_write_info(png, info);
    png_set_benign_errors(png, 0);
    auto write_raw = [&](const std::string& chunk) {
      png_write_chunk(png, reinterpret_cast<png_const_bytep>(chunk.data()),
                      reinterpret_cast<png_const_bytep>(chunk.data() + 4), chunk.size() - 4);
    };
    for (const std::string& chunk : meta.png_chunks_before) write_raw(chunk);
    for (int y = 0; y < picture.height; ++y) {
      const std::uint8_t* source = picture.rgb.data() + std::size_t(y) * picture.width * 3;
      if (!has_alpha) {
        png_write_row(png, source);
        continue;
      }
      for (int x = 0; x < picture.width; ++x) {
        std::memcpy(&row[std::size_t(x) * 4], source + std::size_t(x) * 3, 3);
        row[std::size_t(x) * 4 + 3] = picture.alpha[std::size_t(y) * picture.width + x];
      }
      png_write_row(png, row.data());
    }
    for (const std::string& chunk : meta.png_chunks_after) write_raw(chunk);
    png_write_end(png, nullptr);
  }
  png_destroy_write_struct(&png, &info);
  if (!error.empty()) throw Failure("cannot encode PNG: " + error);
  return out;
}

}  // namespace zkcli
