// TIFF type sizes and the directory container of the Exif document.
#include "exif/exif_ifd.h"

#include <cstring>

#include "exif/exif_limits.h"

namespace zkimgset::exif {

std::uint32_t type_size(std::uint16_t type) noexcept {
  switch (type) {
    case tiff_type::kByte:
    case tiff_type::kAscii:
    case tiff_type::kSByte:
    case tiff_type::kUndefined:
      return 1;
    case tiff_type::kShort:
    case tiff_type::kSShort:
      return 2;
    case tiff_type::kLong:
    case tiff_type::kSLong:
    case tiff_type::kFloat:
      return 4;
    case tiff_type::kRational:
    case tiff_type::kSRational:
    case tiff_type::kDouble:
      return 8;
    default:
      return 0;
  }
}

std::uint32_t swap_unit(std::uint16_t type) noexcept {
  const std::uint32_t size = type_size(type);
  return size > 4 ? 4 : (size == 0 ? 1 : size);
}

std::uint32_t value_size(std::uint16_t type, std::uint32_t count) noexcept {
  const std::uint64_t size = static_cast<std::uint64_t>(type_size(type)) * count;
  return size > UINT32_MAX ? 0 : static_cast<std::uint32_t>(size);
}

std::optional<std::uint32_t> ExifTag::first_number() const noexcept {
  const std::uint32_t size = type_size(type);
  if (value.size() < size || size == 0) return std::nullopt;
  switch (type) {
    case tiff_type::kByte:
    case tiff_type::kSByte:
      return value[0];
    case tiff_type::kShort:
    case tiff_type::kSShort: {
      std::uint16_t v;
      std::memcpy(&v, value.data(), sizeof v);
      return v;
    }
    case tiff_type::kLong:
    case tiff_type::kSLong: {
      std::uint32_t v;
      std::memcpy(&v, value.data(), sizeof v);
      return v;
    }
    default:
      return std::nullopt;
  }
}

const ExifTag* ExifIfd::find(std::uint16_t number) const noexcept {
  const auto it = tags_.find(number);
  return it == tags_.end() ? nullptr : &it->second;
}

ExifTag* ExifIfd::find(std::uint16_t number) noexcept {
  const auto it = tags_.find(number);
  return it == tags_.end() ? nullptr : &it->second;
}

bool ExifIfd::add(std::uint16_t number, std::uint16_t type, std::uint32_t count,
                  std::span<const std::uint8_t> value) {
  const std::uint32_t size = value_size(type, count);
  if (size == 0 || value.size() != size) return false;
  if (tags_.size() >= kMaxIfdEntries && tags_.find(number) == tags_.end()) return false;
  tags_[number] =
      ExifTag{number, type, count, std::vector<std::uint8_t>(value.begin(), value.end())};
  return true;
}

void ExifIfd::remove(std::uint16_t number) noexcept { tags_.erase(number); }

}  // namespace zkimgset::exif
