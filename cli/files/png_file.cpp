// PNG through libpng. Every layout is read as 8-bit R, G, B (16-bit samples
// are reduced, palettes and grey expanded) with its transparency kept
// apart; the colour chunks (iCCP, sRGB, gAMA, cHRM), pHYs and eXIf are
// carried over to the output.
#include <png.h>

#include <csetjmp>
#include <cstring>

#include "files/picture_file.h"

namespace zkcli {
namespace {

struct Reader {
  const std::string& bytes;
  std::size_t at = 8;  // the signature is checked before
};

void read_bytes(png_structp png, png_bytep out, png_size_t n) {
  auto* reader = static_cast<Reader*>(png_get_io_ptr(png));
  if (reader->at + n > reader->bytes.size()) png_error(png, "unexpected end of file");
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

// The chunks carried over, as their name followed by libpng's view of them.
std::vector<std::string> kept_chunks(png_structp png, png_infop info) {
  std::vector<std::string> kept;
  png_charp profile_name = nullptr;
  int compression = 0, intent = 0, unit = 0;
  png_bytep bytes = nullptr;
  png_uint_32 length = 0, x = 0, y = 0;
  png_fixed_point gamma = 0, c[8];
  if (png_get_iCCP(png, info, &profile_name, &compression, &bytes, &length))
    kept.push_back("iCCP" + std::string(profile_name) + '\0' +
                   std::string(reinterpret_cast<char*>(bytes), length));
  if (png_get_sRGB(png, info, &intent)) kept.push_back("sRGB" + std::string(1, char(intent)));
  if (png_get_gAMA_fixed(png, info, &gamma)) kept.push_back("gAMA" + std::to_string(gamma));
  if (png_get_cHRM_fixed(png, info, &c[0], &c[1], &c[2], &c[3], &c[4], &c[5], &c[6], &c[7]))
    kept.push_back("cHRM" + std::string(reinterpret_cast<char*>(c), sizeof c));
  if (png_get_pHYs(png, info, &x, &y, &unit)) {
    const png_uint_32 v[3] = {x, y, static_cast<png_uint_32>(unit)};
    kept.push_back("pHYs" + std::string(reinterpret_cast<const char*>(v), sizeof v));
  }
  if (png_get_eXIf_1(png, info, &length, &bytes))
    kept.push_back("eXIf" + std::string(reinterpret_cast<char*>(bytes), length));
  return kept;
}

struct Chunk {
  std::string name, label, data;
};

}  // namespace

void decode_png(const std::string& bytes, int max_side, Picture& picture) {
  std::string error;
  png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &error, on_error, on_warning);
  if (png == nullptr) throw Failure("out of memory (PNG codec)");
  png_infop info = png_create_info_struct(png);
  Reader reader{bytes};
  picture.format = Format::Png;
  picture.width = picture.height = 0;
  // Everything with a destructor lives out here: libpng leaves by longjmp.
  Samples rows;
  std::vector<png_bytep> row_pointers;
  if (setjmp(png_jmpbuf(png)) == 0) {
    if (info == nullptr) png_error(png, "out of memory");
    png_set_read_fn(png, &reader, read_bytes);
    png_set_sig_bytes(png, 8);
    png_read_info(png, info);
    picture.width = static_cast<int>(png_get_image_width(png, info));
    picture.height = static_cast<int>(png_get_image_height(png, info));
    if (picture.width <= max_side && picture.height <= max_side) {
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
      png_read_end(png, nullptr);
    }
  }
  const int channels = error.empty() && info != nullptr ? png_get_channels(png, info) : 0;
  const bool read = !row_pointers.empty();
  if (error.empty() && read) picture.metadata = kept_chunks(png, info);
  png_destroy_read_struct(&png, &info, nullptr);
  if (!error.empty()) throw Failure("damaged PNG: " + error);
  if (!read)
    throw Failure("too large (" + std::to_string(picture.width) + " x " +
                  std::to_string(picture.height) + "; at most " + std::to_string(max_side) +
                  " pixels on a side)");

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

std::string encode_png_picture(const Picture& picture) {
  std::string error, out;
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &error, on_error, on_warning);
  if (png == nullptr) throw Failure("out of memory (PNG codec)");
  png_infop info = png_create_info_struct(png);
  const bool has_alpha = !picture.alpha.empty();
  const volatile int channels = has_alpha ? 4 : 3;
  std::vector<std::uint8_t> row(std::size_t(picture.width) * channels);
  // Split before libpng runs: it leaves by longjmp, past any destructor.
  std::vector<Chunk> chunks;
  for (const std::string& chunk : picture.metadata) {
    Chunk c{chunk.substr(0, 4), "", chunk.substr(4)};
    if (c.name == "iCCP") {
      const std::size_t end = c.data.find('\0');
      if (end == std::string::npos) continue;
      c.label = c.data.substr(0, end);
      c.data.erase(0, end + 1);
    }
    chunks.push_back(std::move(c));
  }
  if (setjmp(png_jmpbuf(png)) == 0) {
    if (info == nullptr) png_error(png, "out of memory");
    png_set_write_fn(png, &out, write_bytes, flush);
    png_set_IHDR(png, info, static_cast<png_uint_32>(picture.width),
                 static_cast<png_uint_32>(picture.height), 8,
                 has_alpha ? PNG_COLOR_TYPE_RGB_ALPHA : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    for (const Chunk& chunk : chunks) {
      const std::string& data = chunk.data;
      if (chunk.name == "iCCP") {
        png_set_iCCP(png, info, chunk.label.c_str(), 0,
                     reinterpret_cast<png_const_bytep>(data.data()),
                     static_cast<png_uint_32>(data.size()));
      } else if (chunk.name == "sRGB") {
        png_set_sRGB(png, info, static_cast<unsigned char>(data[0]));
      } else if (chunk.name == "gAMA") {
        png_set_gAMA_fixed(png, info, std::strtol(data.c_str(), nullptr, 10));
      } else if (chunk.name == "cHRM" && data.size() == 8 * sizeof(png_fixed_point)) {
        png_fixed_point v[8];
        std::memcpy(v, data.data(), sizeof v);
        png_set_cHRM_fixed(png, info, v[0], v[1], v[2], v[3], v[4], v[5], v[6], v[7]);
      } else if (chunk.name == "pHYs" && data.size() == 3 * sizeof(png_uint_32)) {
        png_uint_32 v[3];
        std::memcpy(v, data.data(), sizeof v);
        png_set_pHYs(png, info, v[0], v[1], static_cast<int>(v[2]));
      } else if (chunk.name == "eXIf") {
        png_set_eXIf_1(png, info, static_cast<png_uint_32>(data.size()),
                       reinterpret_cast<png_bytep>(const_cast<char*>(data.data())));
      }
    }
    png_write_info(png, info);
    for (int y = 0; y < picture.height; ++y) {
      for (int x = 0; x < picture.width; ++x) {
        const std::size_t i = std::size_t(y) * picture.width + x;
        std::memcpy(&row[std::size_t(x) * channels], &picture.rgb[3 * i], 3);
        if (has_alpha) row[std::size_t(x) * 4 + 3] = picture.alpha[i];
      }
      png_write_row(png, row.data());
    }
    png_write_end(png, nullptr);
  }
  png_destroy_write_struct(&png, &info);
  if (!error.empty()) throw Failure("cannot encode PNG: " + error);
  return out;
}

}  // namespace zkcli
