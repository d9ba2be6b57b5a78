// The text dump of an Exif document: the 0th, Exif, GPS and interoperability
// directories, one line a tag. The 1st IFD is not dumped. Error policy: the
// first print that fails ends the dump and its code is the result.
#include <cinttypes>
#include <cstring>

#include "exif/exif_document.h"

namespace zkimgset::exif {
namespace {

template <class T>
T element(const ExifTag& tag, std::size_t index) {
  T value;
  std::memcpy(&value, tag.value.data() + index * sizeof(T), sizeof(T));
  return value;
}

void dump_tag(const ExifTag& tag, ExifFileStream& out) {
  const long count = static_cast<long>(tag.count);
  const std::size_t size = type_size(tag.type);
  const std::size_t values = size == 0 ? 0 : tag.value.size() / size;
  switch (tag.type) {
    case tiff_type::kByte:
    case tiff_type::kAscii:
    case tiff_type::kSByte:
    case tiff_type::kUndefined:
      out.print("%d(%x):BYTE:%ld:", tag.tag, tag.tag, count);
      for (std::size_t i = 0; i < values; ++i) out.print("%c", tag.value[i]);
      break;
    case tiff_type::kShort:
    case tiff_type::kSShort:
      out.print("%d(%x):SHORT:%ld:", tag.tag, tag.tag, count);
      for (std::size_t i = 0; i < values; ++i) {
        const std::uint16_t v = element<std::uint16_t>(tag, i);
        out.print("%d(%x),", v, v);
      }
      break;
    case tiff_type::kLong:
    case tiff_type::kSLong:
      out.print("%d(%x):LONG:%ld:", tag.tag, tag.tag, count);
      for (std::size_t i = 0; i < values; ++i) {
        const std::uint32_t v = element<std::uint32_t>(tag, i);
        out.print("%ld(%lx),", static_cast<long>(v), static_cast<unsigned long>(v));
      }
      break;
    case tiff_type::kRational:
    case tiff_type::kSRational:
      out.print("%d(%x):RATIONAL:%ld:", tag.tag, tag.tag, count);
      for (std::size_t i = 0; i < values; ++i)
        out.print("%ld/%ld,", static_cast<long>(element<std::uint32_t>(tag, 2 * i)),
                  static_cast<long>(element<std::uint32_t>(tag, 2 * i + 1)));
      break;
    case tiff_type::kFloat:
      out.print("%d(%x):FLOAT:%ld:", tag.tag, tag.tag, count);
      for (std::size_t i = 0; i < values; ++i) out.print("%f,", element<float>(tag, i));
      break;
    case tiff_type::kDouble:
      out.print("%d(%x):DOUBLE:%ld:", tag.tag, tag.tag, count);
      for (std::size_t i = 0; i < values; ++i) out.print("%f,", element<double>(tag, i));
      break;
    default:
      return;  // a document never holds a tag of an unknown type
  }
  out.print("\n");
}

}  // namespace

Code dump_document(const ExifDocument& document, ExifFileStream& out) {
  const struct {
    const char* banner;
    const ExifIfd& ifd;
  } sections[] = {
      {"************************** TIFF IFD ***********************\n", document.ifd0},
      {"************************** EXIF IFD ***********************\n", document.exif},
      {"************************** GPS IFD ***********************\n", document.gps},
      {"************************** DCF IFD ***********************\n", document.interop},
  };
  try {
    for (const auto& section : sections) {
      out.print("%s", section.banner);
      for (const auto& [number, tag] : section.ifd) dump_tag(tag, out);
    }
  } catch (const ExifError& error) {
    return error.code;
  }
  return code::kOk;
}

}  // namespace zkimgset::exif
