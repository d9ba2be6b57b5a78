// TIFF through libtiff: any layout libtiff's RGBA reader knows (8- and 16-bit
// RGB and grey, palettes, strips and tiles, every compression it decodes),
// read as 8-bit R, G, B in the order the file stores its rows (the
// Orientation tag is kept, so the output shows the same way). The output is
// 8-bit RGB in strips, in the input's byte order and compression, with its
// resolution, ICC profile, XMP, IPTC, Photoshop resources, descriptive tags
// and its Exif and GPS directories; libtiff cannot write the last two from
// what it reads, so they are copied as bytes (tiff_directory.cpp) and hooked
// into the written file.
//
// Limits are checked before libtiff allocates: the picture's sides, the
// bytes of one strip or tile, and every single allocation libtiff makes.
#include <tiffio.h>

#include <algorithm>
#include <bit>
#include <cstring>

#include "core/tool_limits.h"
#include "files/picture_file.h"
#include "files/tiff_directory.h"

namespace zkcli {
namespace {

// Codecs the output may keep; another (a fax or bilevel one) becomes LZW.
constexpr std::uint16_t kWritableCompressions[] = {
    COMPRESSION_NONE,    COMPRESSION_LZW,      COMPRESSION_ADOBE_DEFLATE,
    COMPRESSION_DEFLATE, COMPRESSION_PACKBITS, COMPRESSION_JPEG,
    COMPRESSION_LZMA,    COMPRESSION_ZSTD,     COMPRESSION_WEBP};
constexpr std::uint32_t kTextTags[] = {TIFFTAG_IMAGEDESCRIPTION, TIFFTAG_MAKE,     TIFFTAG_MODEL,
                                       TIFFTAG_SOFTWARE,         TIFFTAG_DATETIME, TIFFTAG_ARTIST,
                                       TIFFTAG_HOSTCOMPUTER,     TIFFTAG_COPYRIGHT};
// Pages after the first are counted up to this many.
constexpr int kMaxPagesCounted = 1000;
// Rows of a JPEG-compressed strip come in whole MCU rows (2x2 subsampling).
constexpr std::uint32_t kJpegStripRows = 16;

// The file in memory, read or written through libtiff's client procedures.
struct Memory {
  std::string_view input;
  std::string* output = nullptr;
  std::uint64_t at = 0;
};

tmsize_t read_proc(thandle_t h, void* out, tmsize_t n) {
  auto* m = static_cast<Memory*>(h);
  const std::string_view data = m->output ? std::string_view(*m->output) : m->input;
  if (n < 0 || m->at >= data.size()) return 0;
  const std::size_t got =
      std::min<std::uint64_t>(static_cast<std::uint64_t>(n), data.size() - m->at);
  std::memcpy(out, data.data() + m->at, got);
  m->at += got;
  return static_cast<tmsize_t>(got);
}

tmsize_t write_proc(thandle_t h, void* in, tmsize_t n) {
  auto* m = static_cast<Memory*>(h);
  if (m->output == nullptr || n < 0) return -1;
  const auto count = static_cast<std::size_t>(n);
  if (m->output->size() < m->at + count) m->output->resize(m->at + count);
  std::memcpy(m->output->data() + m->at, in, count);
  m->at += count;
  return n;
}

toff_t seek_proc(thandle_t h, toff_t offset, int whence) {
  auto* m = static_cast<Memory*>(h);
  const std::uint64_t size = m->output ? m->output->size() : m->input.size();
  std::uint64_t to = offset;
  if (whence == SEEK_CUR) to = m->at + offset;
  if (whence == SEEK_END) to = size + offset;
  m->at = to;
  return to;
}

int close_proc(thandle_t) { return 0; }

toff_t size_proc(thandle_t h) {
  auto* m = static_cast<Memory*>(h);
  return m->output ? m->output->size() : m->input.size();
}

int map_proc(thandle_t, void**, toff_t*) { return 0; }
void unmap_proc(thandle_t, void*, toff_t) {}

// libtiff's messages for one file: the first error is kept, warnings
// (unknown private tags, mostly) are not.
int on_error(TIFF*, void* user, const char*, const char* format, va_list args) {
  auto* text = static_cast<std::string*>(user);
  if (text->empty()) {
    char buffer[512];
    std::vsnprintf(buffer, sizeof buffer, format, args);
    *text = buffer;
  }
  return 1;
}
int on_warning(TIFF*, void*, const char*, const char*, va_list) { return 1; }

struct Options {
  explicit Options(std::string& error) : opts(TIFFOpenOptionsAlloc()) {
    if (opts == nullptr) throw Failure("out of memory (TIFF codec)");
    TIFFOpenOptionsSetMaxSingleMemAlloc(opts, static_cast<tmsize_t>(kMaxTiffAllocation));
    TIFFOpenOptionsSetErrorHandlerExtR(opts, on_error, &error);
    TIFFOpenOptionsSetWarningHandlerExtR(opts, on_warning, nullptr);
  }
  ~Options() { TIFFOpenOptionsFree(opts); }
  Options(const Options&) = delete;
  Options& operator=(const Options&) = delete;
  TIFFOpenOptions* opts;
};

struct Closer {
  void operator()(TIFF* t) const { TIFFClose(t); }
};
using File = std::unique_ptr<TIFF, Closer>;

[[noreturn]] void damaged(const std::string& error, const char* fallback) {
  throw Failure("damaged TIFF: " + (error.empty() ? std::string(fallback) : error));
}

void read_settings(TIFF* tif, std::string_view bytes, Picture& picture) {
  TiffSettings& t = picture.meta.tiff;
  t.big_endian = TIFFIsBigEndian(tif) != 0;
  TIFFGetFieldDefaulted(tif, TIFFTAG_COMPRESSION, &t.compression);
  TIFFGetFieldDefaulted(tif, TIFFTAG_PREDICTOR, &t.predictor);
  if (TIFFGetField(tif, TIFFTAG_XRESOLUTION, &t.x_resolution) &&
      TIFFGetField(tif, TIFFTAG_YRESOLUTION, &t.y_resolution)) {
    t.has_resolution = true;
    TIFFGetFieldDefaulted(tif, TIFFTAG_RESOLUTIONUNIT, &t.resolution_unit);
  }
  TIFFGetField(tif, TIFFTAG_ORIENTATION, &t.orientation);
  for (std::uint32_t tag : kTextTags) {
    const char* text = nullptr;
    if (TIFFGetField(tif, tag, &text) && text != nullptr) t.texts.emplace_back(tag, text);
  }
  std::uint32_t count = 0;
  void* data = nullptr;
  if (TIFFGetField(tif, TIFFTAG_ICCPROFILE, &count, &data))
    picture.meta.icc.assign(static_cast<const char*>(data), count);
  if (TIFFGetField(tif, TIFFTAG_XMLPACKET, &count, &data))
    picture.meta.xmp.assign(static_cast<const char*>(data), count);
  // The IPTC block as the file has it: libtiff takes it for an array of
  // longs, and swaps it or not depending on the type the writer gave it.
  if (TIFFGetField(tif, TIFFTAG_RICHTIFFIPTC, &count, &data)) {
    const std::shared_ptr<RawIfd> first =
        read_raw_ifd(bytes, TIFFCurrentDirOffset(tif),
                     TIFFIsBigEndian(tif) ? ByteOrder::Big : ByteOrder::Little);
    if (first)
      for (const RawIfd::Entry& e : first->entries)
        if (e.tag == TIFFTAG_RICHTIFFIPTC) t.iptc = e.value;
    if (!t.iptc.empty()) picture.meta.format_only.push_back("IPTC");
  }
  if (TIFFGetField(tif, TIFFTAG_PHOTOSHOP, &count, &data)) {
    t.photoshop.assign(static_cast<const char*>(data), count);
    picture.meta.format_only.push_back("Photoshop resources");
  }
  const ByteOrder order = t.big_endian ? ByteOrder::Big : ByteOrder::Little;
  std::uint64_t offset = 0;
  if (TIFFIsBigTIFF(tif) == 0) {
    if (TIFFGetField(tif, TIFFTAG_EXIFIFD, &offset)) t.exif = read_raw_ifd(bytes, offset, order);
    if (TIFFGetField(tif, TIFFTAG_GPSIFD, &offset)) t.gps = read_raw_ifd(bytes, offset, order);
  } else if (TIFFGetField(tif, TIFFTAG_EXIFIFD, &offset)) {
    picture.notes.push_back("the Exif directory of a BigTIFF file is not kept");
  }
}

}  // namespace

void decode_tiff(std::string_view bytes, int max_side, Picture& picture) {
  std::string error;
  const Options options(error);
  Memory memory{bytes};
  const File tif(TIFFClientOpenExt("input", "rm", &memory, read_proc, write_proc, seek_proc,
                                   close_proc, size_proc, map_proc, unmap_proc, options.opts));
  if (!tif) damaged(error, "not readable");
  std::uint32_t width = 0, height = 0;
  if (!TIFFGetField(tif.get(), TIFFTAG_IMAGEWIDTH, &width) ||
      !TIFFGetField(tif.get(), TIFFTAG_IMAGELENGTH, &height) || width == 0 || height == 0)
    damaged(error, "no picture size");
  if (width > static_cast<std::uint32_t>(max_side) || height > static_cast<std::uint32_t>(max_side))
    throw Failure(too_large_text(width, height, max_side));
  // One strip or tile is read whole: its size is checked before libtiff
  // allocates it.
  const std::uint64_t block =
      TIFFIsTiled(tif.get()) ? TIFFTileSize64(tif.get()) : TIFFStripSize64(tif.get());
  if (block == 0) damaged(error, "no strip or tile size");
  if (block > kMaxTiffBlockBytes)
    throw Failure("TIFF layout not supported (a strip or tile of " + std::to_string(block) +
                  " bytes; at most " + std::to_string(kMaxTiffBlockBytes) + ")");
  char message[1024] = {};
  if (!TIFFRGBAImageOK(tif.get(), message))
    throw Failure(std::string("TIFF layout not supported (") + message + ")");
  TIFFRGBAImage image{};
  if (!TIFFRGBAImageBegin(&image, tif.get(), 0, message))
    throw Failure(std::string("TIFF layout not supported (") + message + ")");
  // The rows as the file stores them, not turned by the Orientation tag.
  image.req_orientation = image.orientation;
  std::vector<std::uint32_t, DefaultInitAllocator<std::uint32_t>> raster(std::size_t(width) *
                                                                         height);
  const int got = TIFFRGBAImageGet(&image, raster.data(), width, height);
  const bool unassociated = image.alpha == EXTRASAMPLE_UNASSALPHA;
  const bool alpha = image.alpha != 0;
  TIFFRGBAImageEnd(&image);
  if (!got) damaged(error, "unreadable picture data");

  picture.width = static_cast<int>(width);
  picture.height = static_cast<int>(height);
  const std::size_t pixels = raster.size();
  picture.rgb.resize(pixels * 3);
  if (alpha) picture.alpha.resize(pixels);
  for (std::size_t i = 0; i < pixels; ++i) {
    const std::uint32_t v = raster[i];
    std::uint8_t* p = &picture.rgb[3 * i];
    p[0] = static_cast<std::uint8_t>(TIFFGetR(v));
    p[1] = static_cast<std::uint8_t>(TIFFGetG(v));
    p[2] = static_cast<std::uint8_t>(TIFFGetB(v));
    if (!alpha) continue;
    const unsigned a = TIFFGetA(v);
    picture.alpha[i] = static_cast<std::uint8_t>(a);
    // libtiff hands out unassociated alpha multiplied in; it is taken out
    // again, as the file had it.
    if (unassociated && a != 0 && a != 255)
      for (int c = 0; c < 3; ++c)
        p[c] = static_cast<std::uint8_t>(std::min(255u, (p[c] * 255u + a / 2) / a));
  }
  picture.meta.tiff.associated_alpha = alpha && !unassociated;
  read_settings(tif.get(), bytes, picture);
  int more = 0;
  while (more < kMaxPagesCounted && TIFFReadDirectory(tif.get())) ++more;
  if (more > 0)
    picture.notes.push_back(std::to_string(more) + " more image" + (more == 1 ? "" : "s") +
                            " in the file (pages or thumbnails) not kept");
}

std::string encode_tiff_picture(const Picture& picture, const Metadata& meta, int quality) {
  const TiffSettings& t = meta.tiff;
  std::string error, out;
  const Options options(error);
  Memory memory{{}, &out};
  std::uint16_t compression = t.compression;
  if (std::find(std::begin(kWritableCompressions), std::end(kWritableCompressions), compression) ==
          std::end(kWritableCompressions) ||
      !TIFFIsCODECConfigured(compression))
    compression = COMPRESSION_LZW;
  {
    const File tif(TIFFClientOpenExt("output", t.big_endian ? "wb" : "wl", &memory, read_proc,
                                     write_proc, seek_proc, close_proc, size_proc, map_proc,
                                     unmap_proc, options.opts));
    if (!tif) throw Failure("cannot encode TIFF: " + error);
    TIFF* f = tif.get();
    const bool has_alpha = !picture.alpha.empty();
    const int samples = has_alpha ? 4 : 3;
    TIFFSetField(f, TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(picture.width));
    TIFFSetField(f, TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(picture.height));
    TIFFSetField(f, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(f, TIFFTAG_SAMPLESPERPIXEL, samples);
    TIFFSetField(f, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(f, TIFFTAG_COMPRESSION, compression);
    if (has_alpha) {
      const std::uint16_t extra =
          t.associated_alpha ? EXTRASAMPLE_ASSOCALPHA : EXTRASAMPLE_UNASSALPHA;
      TIFFSetField(f, TIFFTAG_EXTRASAMPLES, 1, &extra);
    }
    const bool jpeg = compression == COMPRESSION_JPEG;
    if (jpeg && !has_alpha) {
      TIFFSetField(f, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_YCBCR);
      TIFFSetField(f, TIFFTAG_JPEGQUALITY, quality);
      TIFFSetField(f, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
    } else {
      if (jpeg) TIFFSetField(f, TIFFTAG_COMPRESSION, compression = COMPRESSION_LZW);
      TIFFSetField(f, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
    }
    const bool predicts = compression == COMPRESSION_LZW ||
                          compression == COMPRESSION_ADOBE_DEFLATE ||
                          compression == COMPRESSION_DEFLATE || compression == COMPRESSION_LZMA ||
                          compression == COMPRESSION_ZSTD;
    if (predicts && t.predictor != PREDICTOR_NONE)
      TIFFSetField(f, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
    std::uint32_t rows = TIFFDefaultStripSize(f, 0);
    if (jpeg) rows = (rows + kJpegStripRows - 1) / kJpegStripRows * kJpegStripRows;
    TIFFSetField(f, TIFFTAG_ROWSPERSTRIP, rows);
    if (t.has_resolution) {
      TIFFSetField(f, TIFFTAG_XRESOLUTION, t.x_resolution);
      TIFFSetField(f, TIFFTAG_YRESOLUTION, t.y_resolution);
      TIFFSetField(f, TIFFTAG_RESOLUTIONUNIT, t.resolution_unit);
    }
    if (t.orientation != 0) TIFFSetField(f, TIFFTAG_ORIENTATION, t.orientation);
    for (const auto& [tag, text] : t.texts) TIFFSetField(f, tag, text.c_str());
    if (!meta.icc.empty())
      TIFFSetField(f, TIFFTAG_ICCPROFILE, static_cast<std::uint32_t>(meta.icc.size()),
                   meta.icc.data());
    if (!meta.xmp.empty())
      TIFFSetField(f, TIFFTAG_XMLPACKET, static_cast<std::uint32_t>(meta.xmp.size()),
                   meta.xmp.data());
    if (!t.iptc.empty()) {
      // Written as bytes, or (by older libtiff) as longs in the file's order:
      // then handed over as the file's bytes read in the host's order, so
      // that they land as they were.
      const TIFFField* field = TIFFFieldWithTag(f, TIFFTAG_RICHTIFFIPTC);
      const bool longs = field != nullptr && TIFFFieldDataType(field) == TIFF_LONG;
      std::string words = t.iptc;
      if (longs && t.big_endian != (std::endian::native == std::endian::big))
        for (std::size_t i = 0; i + 4 <= words.size(); i += 4)
          std::reverse(&words[i], &words[i + 4]);
      TIFFSetField(f, TIFFTAG_RICHTIFFIPTC,
                   static_cast<std::uint32_t>(longs ? words.size() / 4 : words.size()),
                   words.data());
    }
    if (!t.photoshop.empty())
      TIFFSetField(f, TIFFTAG_PHOTOSHOP, static_cast<std::uint32_t>(t.photoshop.size()),
                   t.photoshop.data());
    // Placeholders, pointed at the copied directories once the file is written.
    if (t.exif) TIFFSetField(f, TIFFTAG_EXIFIFD, std::uint64_t{0});
    if (t.gps) TIFFSetField(f, TIFFTAG_GPSIFD, std::uint64_t{0});

    Samples row(std::size_t(picture.width) * samples);
    for (int y = 0; y < picture.height; ++y) {
      const std::uint8_t* source = picture.rgb.data() + std::size_t(y) * picture.width * 3;
      if (has_alpha) {
        for (int x = 0; x < picture.width; ++x) {
          std::memcpy(&row[std::size_t(x) * 4], source + std::size_t(x) * 3, 3);
          row[std::size_t(x) * 4 + 3] = picture.alpha[std::size_t(y) * picture.width + x];
        }
      } else {
        std::memcpy(row.data(), source, row.size());
      }
      if (TIFFWriteScanline(f, row.data(), static_cast<std::uint32_t>(y), 0) < 0)
        throw Failure("cannot encode TIFF: " + error);
    }
    if (!TIFFWriteDirectory(f)) throw Failure("cannot encode TIFF: " + error);
  }
  const ByteOrder order = t.big_endian ? ByteOrder::Big : ByteOrder::Little;
  if (t.exif) append_raw_ifd(out, order, TIFFTAG_EXIFIFD, *t.exif);
  if (t.gps) append_raw_ifd(out, order, TIFFTAG_GPSIFD, *t.gps);
  return out;
}

}  // namespace zkcli
