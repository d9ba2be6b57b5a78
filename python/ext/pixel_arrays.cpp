#include "pixel_arrays.h"

#include <algorithm>
#include <cctype>
#include <climits>
#include <cstring>

namespace py = pybind11;

namespace zkpy {
namespace {

constexpr py::ssize_t kSamples = 3;

std::string shape_text(const py::buffer_info& info) {
  std::string text = "(";
  for (std::size_t i = 0; i < info.shape.size(); ++i)
    text += (i ? ", " : "") + std::to_string(info.shape[i]);
  return text + (info.shape.size() == 1 ? ",)" : ")");
}

}  // namespace

Order parse_order(const std::string& text) {
  std::string upper = text;
  std::transform(upper.begin(), upper.end(), upper.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  if (upper == "RGB") return Order::Rgb;
  if (upper == "BGR") return Order::Bgr;
  throw py::value_error("order must be 'RGB' or 'BGR', not '" + text + "'");
}

PixelArray::PixelArray(const py::buffer& buffer, bool writable) : info_(buffer.request()) {
  if (info_.itemsize != 1 || info_.format.empty() || info_.format.back() != 'B')
    throw py::type_error("expected an array of uint8, got elements of format '" + info_.format +
                         "'");
  if (info_.ndim != 3 || info_.shape[2] != kSamples)
    throw py::value_error("expected an H x W x 3 array, got shape " + shape_text(info_));
  if (info_.shape[0] > INT_MAX || info_.shape[1] > INT_MAX)
    throw py::value_error("the array is too large: shape " + shape_text(info_));
  if (writable && info_.readonly)
    throw py::value_error("the array is read-only, and this call changes it in place");
  height_ = static_cast<int>(info_.shape[0]);
  width_ = static_cast<int>(info_.shape[1]);
}

bool PixelArray::packed_pixels() const {
  return info_.strides[1] == kSamples && info_.strides[2] == 1 &&
         (height_ <= 1 || info_.strides[0] >= kSamples * width_);
}

bool PixelArray::packed_rows() const {
  return packed_pixels() && (height_ <= 1 || info_.strides[0] == kSamples * width_);
}

void PixelArray::copy_out(Order order, std::uint8_t* rgb) const {
  const py::ssize_t s0 = info_.strides[0], s1 = info_.strides[1], s2 = info_.strides[2];
  const bool plain = order == Order::Rgb && packed_pixels();
  for (int y = 0; y < height_; ++y) {
    const std::uint8_t* row = first() + y * s0;
    std::uint8_t* out = rgb + std::size_t(y) * width_ * kSamples;
    if (plain) {
      std::memcpy(out, row, std::size_t(width_) * kSamples);
      continue;
    }
    const py::ssize_t red = order == Order::Rgb ? 0 : 2 * s2,
                      blue = order == Order::Rgb ? 2 * s2 : 0;
    for (int x = 0; x < width_; ++x, out += kSamples) {
      const std::uint8_t* pixel = row + x * s1;
      out[0] = pixel[red];
      out[1] = pixel[s2];
      out[2] = pixel[blue];
    }
  }
}

void PixelArray::copy_in(Order order, const std::uint8_t* rgb) const {
  const py::ssize_t s0 = info_.strides[0], s1 = info_.strides[1], s2 = info_.strides[2];
  const bool plain = order == Order::Rgb && packed_pixels();
  for (int y = 0; y < height_; ++y) {
    std::uint8_t* row = first() + y * s0;
    const std::uint8_t* in = rgb + std::size_t(y) * width_ * kSamples;
    if (plain) {
      std::memcpy(row, in, std::size_t(width_) * kSamples);
      continue;
    }
    const py::ssize_t red = order == Order::Rgb ? 0 : 2 * s2,
                      blue = order == Order::Rgb ? 2 * s2 : 0;
    for (int x = 0; x < width_; ++x, in += kSamples) {
      std::uint8_t* pixel = row + x * s1;
      pixel[red] = in[0];
      pixel[s2] = in[1];
      pixel[blue] = in[2];
    }
  }
}

PackedRgbSource::PackedRgbSource(const PixelArray& array, Order order) {
  if (order == Order::Rgb && array.packed_rows()) {
    data_ = array.first();
    return;
  }
  copy_.resize(std::size_t(array.width()) * array.height() * kSamples);
  array.copy_out(order, copy_.data());
  data_ = copy_.data();
}

PackedRgbWork::PackedRgbWork(const PixelArray& array, Order order) : array_(array), order_(order) {
  if (order == Order::Rgb && array.packed_rows()) {
    data_ = array.first();
    return;
  }
  copy_.resize(std::size_t(array.width()) * array.height() * kSamples);
  array.copy_out(order, copy_.data());
  data_ = copy_.data();
}

void PackedRgbWork::write_back() const {
  if (!copy_.empty()) array_.copy_in(order_, copy_.data());
}

}  // namespace zkpy
