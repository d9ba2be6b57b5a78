// Choosing the codec by the file's first bytes, not by its name: a text file
// renamed .jpg is "not a picture". Writing another format than the input's
// carries over the metadata the formats share; the correction mark lives in
// XMP (JPEG, TIFF) or a text chunk (PNG).
#include "files/picture_file.h"

#include <algorithm>
#include <cctype>
#include <cstring>

#include "files/tiff_directory.h"

namespace zkcli {
namespace {

constexpr std::string_view kMarkProperty = "zkimgset:Corrected=\"";
constexpr std::string_view kMarkNamespace = "http://ns.zkimgset.org/1.0/";
// The PNG text chunk of the mark: keyword, NUL, text.
constexpr std::string_view kPngMarkKeyword = "ZKImgSet corrected";

std::string lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

std::string xml_escape(const std::string& text) {
  std::string out;
  for (char c : text) {
    if (c == '&')
      out += "&amp;";
    else if (c == '<')
      out += "&lt;";
    else if (c == '"')
      out += "&quot;";
    else
      out += c;
  }
  return out;
}

// The output's metadata in the target's own form.
Metadata for_target(const Picture& picture, Format target, const std::string& mark,
                    std::vector<std::string>& notes) {
  Metadata m;
  const Metadata& in = picture.meta;
  if (target == picture.format) {
    m = in;
  } else {
    m.exif = in.exif;
    m.icc = in.icc;
    m.xmp = in.xmp;
    for (const std::string& what : in.format_only)
      notes.push_back(what + " not carried into " + format_name(target));
    // Exif crosses between the TIFF structure of JPEG and PNG and a TIFF's
    // own tags.
    if (picture.format == Format::Tiff) m.exif = exif_block_of(in.tiff);
    if (target == Format::Tiff && !in.exif.empty()) tiff_settings_from_exif(in.exif, m.tiff);
    if (target == Format::Jpeg) m.jpeg_segments = jpeg_segments_from(m);
    if (target == Format::Png) m.png_chunks_before = png_chunks_from(m);
  }
  if (mark.empty()) return m;
  if (target == Format::Png) {
    // A picture corrected again (--force) carries one mark, the new one.
    const std::string prefix = "tEXt" + std::string(kPngMarkKeyword) + '\0';
    for (auto* chunks : {&m.png_chunks_before, &m.png_chunks_after})
      std::erase_if(*chunks, [&](const std::string& c) { return c.rfind(prefix, 0) == 0; });
    m.png_chunks_after.push_back(prefix + mark);
    return m;
  }
  const std::optional<std::string> marked = xmp_with_mark(m.xmp, mark);
  if (!marked) {
    notes.push_back("not marked as corrected: its XMP packet has no rdf:RDF element");
    return m;
  }
  m.xmp = *marked;
  if (target == Format::Jpeg) {
    // The marked packet replaces the XMP segment, or follows the Exif one.
    constexpr std::string_view kXmpName("http://ns.adobe.com/xap/1.0/\0", 29);
    std::string segment = std::string(kXmpName) + m.xmp;
    const std::size_t length = segment.size() + 2;
    segment = std::string("\xFF\xE1", 2) + static_cast<char>(length >> 8) +
              static_cast<char>(length & 0xFF) + segment;
    auto is_xmp = [&](const std::string& s) {
      return s.size() > 4 + kXmpName.size() && s.compare(4, kXmpName.size(), kXmpName) == 0;
    };
    auto at = std::find_if(m.jpeg_segments.begin(), m.jpeg_segments.end(), is_xmp);
    if (length > 0xFFFF) {
      notes.push_back("not marked as corrected: its XMP packet fills the segment");
    } else if (at != m.jpeg_segments.end()) {
      *at = segment;
    } else {
      auto after = std::find_if(
          m.jpeg_segments.begin(), m.jpeg_segments.end(),
          [](const std::string& s) { return static_cast<unsigned char>(s[1]) == 0xE1; });
      m.jpeg_segments.insert(after == m.jpeg_segments.end() ? m.jpeg_segments.begin() : after + 1,
                             segment);
    }
  }
  return m;
}

}  // namespace

const char* format_name(Format format) {
  switch (format) {
    case Format::Jpeg:
      return "JPEG";
    case Format::Png:
      return "PNG";
    case Format::Tiff:
      return "TIFF";
  }
  return "?";
}

const char* format_key(Format format) {
  switch (format) {
    case Format::Jpeg:
      return "jpeg";
    case Format::Png:
      return "png";
    case Format::Tiff:
      return "tiff";
  }
  return "?";
}

const char* format_extension(Format format) {
  switch (format) {
    case Format::Jpeg:
      return ".jpg";
    case Format::Png:
      return ".png";
    case Format::Tiff:
      return ".tif";
  }
  return "";
}

std::optional<Format> parse_format(const std::string& text) {
  const std::string t = lower(text);
  if (t == "jpeg" || t == "jpg") return Format::Jpeg;
  if (t == "png") return Format::Png;
  if (t == "tiff" || t == "tif") return Format::Tiff;
  return std::nullopt;
}

std::optional<Format> format_of_name(const std::string& name) {
  const std::size_t slash = name.rfind('/');
  const std::size_t dot = name.rfind('.');
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return std::nullopt;
  return parse_format(name.substr(dot + 1));
}

std::optional<Format> sniff_format(std::string_view bytes) {
  static constexpr std::string_view kJpeg("\xFF\xD8\xFF", 3);
  static constexpr std::string_view kPng("\x89PNG\r\n\x1A\n", 8);
  static constexpr std::string_view kTiffLittle("II*\0", 4), kTiffBig("MM\0*", 4);
  if (bytes.substr(0, 3) == kJpeg) return Format::Jpeg;
  if (bytes.substr(0, 8) == kPng) return Format::Png;
  if (bytes.substr(0, 4) == kTiffLittle || bytes.substr(0, 4) == kTiffBig) return Format::Tiff;
  return std::nullopt;
}

std::string too_large_text(long long width, long long height, int max_side) {
  return "too large (" + std::to_string(width) + " x " + std::to_string(height) + "; at most " +
         std::to_string(max_side) + " pixels on a side)";
}

void decode_picture(std::string_view bytes, int max_side, Picture& picture) {
  picture.meta = Metadata{};
  picture.notes.clear();
  picture.alpha.clear();
  picture.jpeg_subsampling = -1;
  if (bytes.empty()) throw Failure("not a picture (empty file)");
  const std::optional<Format> format = sniff_format(bytes);
  if (!format) throw Failure("not a picture (neither JPEG, PNG nor TIFF)");
  picture.format = *format;
  switch (*format) {
    case Format::Jpeg:
      return decode_jpeg(bytes, max_side, picture);
    case Format::Png:
      return decode_png(bytes, max_side, picture);
    case Format::Tiff:
      return decode_tiff(bytes, max_side, picture);
  }
}

Picture decode_picture(std::string_view bytes, int max_side) {
  Picture picture;
  decode_picture(bytes, max_side, picture);
  return picture;
}

std::string encode_picture(Picture& picture, Format format, const EncodeOptions& options) {
  const Metadata meta = for_target(picture, format, options.mark, picture.notes);
  switch (format) {
    case Format::Jpeg:
      return encode_jpeg_picture(picture, meta, options.quality);
    case Format::Png:
      return encode_png_picture(picture, meta);
    case Format::Tiff:
      return encode_tiff_picture(picture, meta, options.quality);
  }
  return {};
}

std::optional<std::string> xmp_with_mark(const std::string& xmp, const std::string& mark) {
  const std::string description = "<rdf:Description rdf:about=\"\" xmlns:zkimgset=\"" +
                                  std::string(kMarkNamespace) + "\" " + std::string(kMarkProperty) +
                                  xml_escape(mark) + "\"/>";
  const std::size_t old = xmp.find(kMarkProperty);
  if (old != std::string::npos) {
    const std::size_t from = old + kMarkProperty.size(), end = xmp.find('"', from);
    if (end != std::string::npos) {
      std::string marked = xmp;
      marked.replace(from, end - from, xml_escape(mark));
      return marked;
    }
  }
  if (xmp.empty())
    return "<?xpacket begin=\"\xEF\xBB\xBF\" id=\"W5M0MpCehiHzreSzNTczkc9d\"?>\n"
           "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\"><rdf:RDF "
           "xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\">" +
           description + "</rdf:RDF></x:xmpmeta>\n<?xpacket end=\"w\"?>";
  const std::size_t end = xmp.rfind("</rdf:RDF>");
  if (end == std::string::npos) return std::nullopt;
  std::string marked = xmp;
  marked.insert(end, description);
  // A packet's trailing padding makes room for edits: give back what was used.
  const std::size_t trailer = marked.rfind("<?xpacket end");
  std::size_t spare = 0;
  while (trailer != std::string::npos && spare < description.size() && trailer > spare &&
         (marked[trailer - spare - 1] == ' ' || marked[trailer - spare - 1] == '\n'))
    ++spare;
  // Keep one line feed before the trailer.
  if (spare > 1) marked.erase(trailer - spare, spare - 1);
  return marked;
}

std::string mark_in_xmp(std::string_view xmp) {
  const std::size_t at = xmp.find(kMarkProperty);
  if (at == std::string_view::npos) return "";
  const std::size_t from = at + kMarkProperty.size();
  const std::size_t end = xmp.find('"', from);
  return end == std::string_view::npos ? "" : std::string(xmp.substr(from, end - from));
}

std::string correction_mark(const Picture& picture) {
  if (picture.format != Format::Png) return mark_in_xmp(picture.meta.xmp);
  const std::string prefix = "tEXt" + std::string(kPngMarkKeyword) + '\0';
  for (const auto* chunks : {&picture.meta.png_chunks_before, &picture.meta.png_chunks_after})
    for (const std::string& chunk : *chunks)
      if (chunk.compare(0, prefix.size(), prefix) == 0) return chunk.substr(prefix.size());
  return "";
}

}  // namespace zkcli
