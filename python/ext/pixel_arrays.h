// NumPy arrays (or any buffer of uint8) of H x W x 3 samples, seen as the
// library's layouts: the array's own memory when its strides already are
// one of them, a packed copy otherwise. A copy made for an in-place call is
// written back when the call succeeds.
#pragma once

#include <pybind11/pybind11.h>

#include <cstdint>
#include <string>
#include <vector>

namespace zkpy {

enum class Order { Rgb, Bgr };

// "RGB" or "BGR" (any case); a ValueError otherwise.
Order parse_order(const std::string& text);

// The buffer of an H x W x 3 uint8 array, held for as long as the object
// lives. A TypeError for other element types, a ValueError for other shapes,
// for sides that do not fit an int, and for a read-only array that is to be
// written.
class PixelArray {
 public:
  PixelArray(const pybind11::buffer& buffer, bool writable);

  int width() const { return width_; }
  int height() const { return height_; }
  std::uint8_t* first() const { return static_cast<std::uint8_t*>(info_.ptr); }
  pybind11::ssize_t row_stride() const { return info_.strides[0]; }
  // Pixels of 3 bytes with their samples side by side, rows going forward.
  bool packed_pixels() const;
  // ... and the rows end to end: packed R, G, B (or B, G, R) rows.
  bool packed_rows() const;

  // The samples as packed R, G, B rows, into rgb (swapping B and R for BGR).
  void copy_out(Order order, std::uint8_t* rgb) const;
  // The reverse: packed R, G, B rows into the array's samples.
  void copy_in(Order order, const std::uint8_t* rgb) const;

 private:
  pybind11::buffer_info info_;
  int width_ = 0, height_ = 0;
};

// Packed R, G, B rows of an array for the library to read: the array's own
// memory when it is laid out so, else a copy held here.
class PackedRgbSource {
 public:
  PackedRgbSource(const PixelArray& array, Order order);
  const std::uint8_t* data() const { return data_; }

 private:
  std::vector<std::uint8_t> copy_;
  const std::uint8_t* data_ = nullptr;
};

// Packed R, G, B rows for the library to change in place: the array's own
// memory when it is laid out so, else a copy that write_back() returns to
// the array.
class PackedRgbWork {
 public:
  PackedRgbWork(const PixelArray& array, Order order);
  std::uint8_t* data() { return data_; }
  void write_back() const;

 private:
  const PixelArray& array_;
  Order order_;
  std::vector<std::uint8_t> copy_;
  std::uint8_t* data_ = nullptr;
};

}  // namespace zkpy
