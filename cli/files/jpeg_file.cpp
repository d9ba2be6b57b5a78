// JPEG: decoded with libjpeg's own interface, so that every warning is seen
// with its code; encoded with TurboJPEG. The metadata segments of the input
// (JFIF, Exif, XMP, ICC, IPTC, comments) are copied into the output unchanged
// and in their order, and the encoder's JFIF header is left out when the
// input had its own or was an Exif file.
//
// Warning policy: a warning that costs no picture data (extraneous bytes
// before a marker, an unknown JFIF revision, a bad ICC marker, odd SOS
// parameters or Adobe transform code) is reported in the picture's notes and
// the picture corrected; one that means lost or made-up pixels (a premature
// end, corrupt entropy data) fails the picture as "damaged JPEG", as a grey
// band is no picture to print.
#include <turbojpeg.h>

#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>

// jpeglib.h needs FILE and size_t declared first, and jerror.h its settings.
#include <jpeglib.h>
//
#include <jerror.h>

#include "files/picture_file.h"

namespace zkcli {
namespace {

constexpr std::string_view kExifName("Exif\0\0", 6);
constexpr std::string_view kXmpName("http://ns.adobe.com/xap/1.0/\0", 29);
constexpr std::string_view kXmpExtensionName("http://ns.adobe.com/xmp/extension/\0", 35);
constexpr std::string_view kIccName("ICC_PROFILE\0", 12);
constexpr std::string_view kJfifName("JFIF\0", 5);
constexpr std::string_view kPhotoshopName("Photoshop 3.0\0", 14);
constexpr unsigned kApp0 = 0xE0, kApp1 = 0xE1, kApp2 = 0xE2, kApp13 = 0xED, kCom = 0xFE;
constexpr unsigned kSos = 0xDA, kEoi = 0xD9;
// An ICC profile's chunk: name, sequence number, count, data.
constexpr std::size_t kIccHeader = 12 + 2;
constexpr std::size_t kMaxSegmentBody = 65533;

struct Handle {
  explicit Handle(tjhandle h) : h(h) {
    if (h == nullptr) throw Failure("out of memory (JPEG codec)");
  }
  ~Handle() { tjDestroy(h); }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  tjhandle h;
};

bool body_starts(std::string_view segment, std::string_view name) {
  return segment.size() >= 4 + name.size() && segment.substr(4, name.size()) == name;
}

std::string segment(unsigned marker, std::string_view body) {
  const std::size_t length = body.size() + 2;
  std::string s{'\xFF', static_cast<char>(marker), static_cast<char>(length >> 8),
                static_cast<char>(length & 0xFF)};
  return s.append(body);
}

// The metadata segments before the first scan. Bytes between segments that
// are not a marker are skipped, as libjpeg skips them.
void read_segments(std::string_view bytes, Metadata& meta) {
  std::map<int, std::string> icc_chunks;
  std::size_t at = 2;  // after SOI
  while (at + 4 <= bytes.size()) {
    if (static_cast<unsigned char>(bytes[at]) != 0xFF) {
      ++at;
      continue;
    }
    const unsigned marker = static_cast<unsigned char>(bytes[at + 1]);
    if (marker == 0xFF || marker == 0x00 || (marker >= 0xD0 && marker <= 0xD7) || marker == 0x01) {
      ++at;  // fill byte, stuffed byte or a marker without a length
      continue;
    }
    if (marker == kSos || marker == kEoi) break;
    const std::size_t length =
        static_cast<unsigned char>(bytes[at + 2]) << 8 | static_cast<unsigned char>(bytes[at + 3]);
    if (length < 2 || at + 2 + length > bytes.size()) break;
    const std::string_view seg = bytes.substr(at, 2 + length);
    const std::string_view body = seg.substr(4);
    bool keep = true;
    if (marker == kApp0 && body_starts(seg, kJfifName)) {
    } else if (marker == kApp1 && body_starts(seg, kExifName)) {
      if (meta.exif.empty()) meta.exif = body.substr(kExifName.size());
    } else if (marker == kApp1 && body_starts(seg, kXmpName)) {
      if (meta.xmp.empty()) meta.xmp = body.substr(kXmpName.size());
    } else if (marker == kApp1 && body_starts(seg, kXmpExtensionName)) {
      meta.format_only.push_back("extended XMP");
    } else if (marker == kApp2 && body_starts(seg, kIccName) && body.size() > kIccHeader) {
      icc_chunks[static_cast<unsigned char>(body[12])] = body.substr(kIccHeader);
    } else if (marker == kApp13 && body_starts(seg, kPhotoshopName)) {
      meta.format_only.push_back("IPTC (APP13)");
    } else if (marker == kCom) {
      meta.format_only.push_back("JPEG comment");
    } else {
      keep = false;
    }
    if (keep) meta.jpeg_segments.emplace_back(seg);
    at += 2 + length;
  }
  for (const auto& [sequence, chunk] : icc_chunks) meta.icc += chunk;
  std::sort(meta.format_only.begin(), meta.format_only.end());
  meta.format_only.erase(std::unique(meta.format_only.begin(), meta.format_only.end()),
                         meta.format_only.end());
}

// libjpeg's errors leave by longjmp; its warnings are sorted as they come.
struct ErrorManager {
  jpeg_error_mgr manager;
  std::jmp_buf jump;
  std::string error;
  std::vector<std::string> warnings;
};

std::string message_of(j_common_ptr info) {
  char text[JMSG_LENGTH_MAX];
  (*info->err->format_message)(info, text);
  return text;
}

bool loses_picture_data(int code) {
  switch (code) {
#if JPEG_LIB_VERSION >= 70 || defined(C_ARITH_CODING_SUPPORTED) || defined(D_ARITH_CODING_SUPPORTED)
    case JWRN_ARITH_BAD_CODE:
#endif
    case JWRN_BOGUS_PROGRESSION:
    case JWRN_HIT_MARKER:
    case JWRN_HUFF_BAD_CODE:
    case JWRN_JPEG_EOF:
    case JWRN_MUST_RESYNC:
    case JWRN_TOO_MUCH_DATA:
      return true;
    default:
      return false;
  }
}

void on_error(j_common_ptr info) {
  auto* errors = reinterpret_cast<ErrorManager*>(info->err);
  errors->error = message_of(info);
  std::longjmp(errors->jump, 1);
}

void on_message(j_common_ptr info, int level) {
  if (level >= 0) return;  // trace messages
  auto* errors = reinterpret_cast<ErrorManager*>(info->err);
  if (loses_picture_data(info->err->msg_code)) {
    errors->error = message_of(info);
    std::longjmp(errors->jump, 1);
  }
  std::string text = message_of(info);
  if (std::find(errors->warnings.begin(), errors->warnings.end(), text) == errors->warnings.end())
    errors->warnings.push_back(std::move(text));
}

// TurboJPEG's subsampling of the input, so that the output keeps it.
int subsampling_of(const jpeg_decompress_struct& info) {
  if (info.num_components == 1) return TJSAMP_GRAY;
  if (info.num_components != 3) return -1;
  const jpeg_component_info* c = info.comp_info;
  if (c[1].h_samp_factor != 1 || c[1].v_samp_factor != 1 || c[2].h_samp_factor != 1 ||
      c[2].v_samp_factor != 1)
    return -1;
  const int h = c[0].h_samp_factor, v = c[0].v_samp_factor;
  if (h == 1 && v == 1) return TJSAMP_444;
  if (h == 2 && v == 1) return TJSAMP_422;
  if (h == 2 && v == 2) return TJSAMP_420;
  if (h == 1 && v == 2) return TJSAMP_440;
  if (h == 4 && v == 1) return TJSAMP_411;
  return -1;
}

// Encodes packed R, G, B rows and puts the metadata segments after SOI.
std::string compress(const std::uint8_t* rgb, int width, int height, int subsampling, int quality,
                     const std::vector<std::string>& metadata) {
  Handle codec(tjInitCompress());
  unsigned char* out = nullptr;
  unsigned long out_size = 0;
  const int failed = tjCompress2(codec.h, rgb, width, 0, height, TJPF_RGB, &out, &out_size,
                                 subsampling, quality, TJFLAG_ACCURATEDCT);
  const std::unique_ptr<unsigned char, void (*)(unsigned char*)> owned(out, tjFree);
  if (failed != 0) throw Failure(std::string("cannot encode JPEG: ") + tjGetErrorStr2(codec.h));

  const std::string_view encoded(reinterpret_cast<const char*>(out), out_size);
  // The encoder's JFIF APP0 follows SOI. It stays only when the input had
  // neither a JFIF header of its own nor Exif data (an Exif file has no JFIF
  // header, and one added in front would hide its Exif from some readers).
  std::size_t header_end = 2;
  if (encoded.size() > 6 && static_cast<unsigned char>(encoded[3]) == kApp0)
    header_end =
        4 + (static_cast<unsigned char>(encoded[4]) << 8 | static_cast<unsigned char>(encoded[5]));
  const bool own_header = std::any_of(metadata.begin(), metadata.end(), [](const std::string& s) {
    return (static_cast<unsigned char>(s[1]) == kApp0 && body_starts(s, kJfifName)) ||
           (static_cast<unsigned char>(s[1]) == kApp1 && body_starts(s, kExifName));
  });
  std::size_t total = encoded.size();
  for (const std::string& s : metadata) total += s.size();
  std::string result;
  result.reserve(total);
  result.append(encoded.substr(0, own_header ? 2 : header_end));
  for (const std::string& s : metadata) result += s;
  result.append(encoded.substr(header_end));
  return result;
}

}  // namespace

std::vector<std::string> jpeg_segments_from(const Metadata& meta) {
  std::vector<std::string> segments;
  if (!meta.exif.empty() && meta.exif.size() + kExifName.size() <= kMaxSegmentBody)
    segments.push_back(segment(kApp1, std::string(kExifName) + meta.exif));
  if (!meta.xmp.empty() && meta.xmp.size() + kXmpName.size() <= kMaxSegmentBody)
    segments.push_back(segment(kApp1, std::string(kXmpName) + meta.xmp));
  constexpr std::size_t kIccPerSegment = kMaxSegmentBody - kIccHeader;
  const std::size_t chunks = (meta.icc.size() + kIccPerSegment - 1) / kIccPerSegment;
  for (std::size_t i = 0; i < chunks && chunks < 256; ++i)
    segments.push_back(segment(kApp2, std::string(kIccName) + static_cast<char>(i + 1) +
                                          static_cast<char>(chunks) +
                                          meta.icc.substr(i * kIccPerSegment, kIccPerSegment)));
  return segments;
}

void decode_jpeg(std::string_view bytes, int max_side, Picture& picture) {
  jpeg_decompress_struct info{};
  ErrorManager errors;
  info.err = jpeg_std_error(&errors.manager);
  errors.manager.error_exit = on_error;
  errors.manager.emit_message = on_message;
  // Nothing with a destructor is made between here and the last longjmp.
  volatile bool too_large = false;
  if (setjmp(errors.jump) == 0) {
    jpeg_create_decompress(&info);
    jpeg_mem_src(&info, reinterpret_cast<const unsigned char*>(bytes.data()),
                 static_cast<unsigned long>(bytes.size()));
    jpeg_read_header(&info, TRUE);
    if (info.jpeg_color_space == JCS_CMYK || info.jpeg_color_space == JCS_YCCK) {
      errors.error = "CMYK JPEG pictures are not supported";
    } else if (info.image_width > static_cast<unsigned>(max_side) ||
               info.image_height > static_cast<unsigned>(max_side)) {
      too_large = true;
    } else {
      picture.width = static_cast<int>(info.image_width);
      picture.height = static_cast<int>(info.image_height);
      picture.jpeg_subsampling = subsampling_of(info);
      // As TurboJPEG decodes with TJFLAG_ACCURATEDCT.
      info.out_color_space = JCS_EXT_RGB;
      info.dct_method = JDCT_ISLOW;
      picture.rgb.resize(std::size_t(picture.width) * picture.height * 3);
      jpeg_start_decompress(&info);
      const std::size_t row_bytes = std::size_t(picture.width) * 3;
      while (info.output_scanline < info.output_height) {
        JSAMPROW rows[8];
        const unsigned first = info.output_scanline;
        const unsigned n = std::min(8u, info.output_height - first);
        for (unsigned i = 0; i < n; ++i) rows[i] = picture.rgb.data() + (first + i) * row_bytes;
        jpeg_read_scanlines(&info, rows, n);
      }
      jpeg_finish_decompress(&info);
    }
  }
  const std::string error = errors.error;
  const long long width = info.image_width, height = info.image_height;
  jpeg_destroy_decompress(&info);
  if (too_large) throw Failure(too_large_text(width, height, max_side));
  if (error == "CMYK JPEG pictures are not supported") throw Failure(error);
  if (!error.empty()) throw Failure("damaged JPEG: " + error);
  picture.notes = errors.warnings;
  read_segments(bytes, picture.meta);
}

std::string encode_jpeg(const std::uint8_t* rgb, int width, int height, int quality) {
  return compress(rgb, width, height, TJSAMP_420, quality, {});
}

std::string encode_jpeg_picture(const Picture& picture, const Metadata& meta, int quality) {
  // Grey inputs come back in colour after a colour correction.
  const int subsampling = picture.jpeg_subsampling < 0 || picture.jpeg_subsampling == TJSAMP_GRAY
                              ? TJSAMP_420
                              : picture.jpeg_subsampling;
  return compress(picture.rgb.data(), picture.width, picture.height, subsampling, quality,
                  meta.jpeg_segments);
}

}  // namespace zkcli
