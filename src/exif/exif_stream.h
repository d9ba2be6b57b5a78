// The stream under the Exif document reader and writer: one open stdio file,
// or a caller's byte block read or written in place. Every operation either
// moves exactly what it was asked to or throws the code of its table.
#pragma once

#include <cstdint>
#include <cstdio>
#include <span>

#include "exif/exif_codes.h"

namespace zkimgset::exif {

class ExifFileStream {
 public:
  ExifFileStream() = default;
  ~ExifFileStream();
  ExifFileStream(const ExifFileStream&) = delete;
  ExifFileStream& operator=(const ExifFileStream&) = delete;

  // Opens a file by its 8-bit path (the only path form on POSIX systems,
  // whose paths are bytes already). Closes an open stream first.
  void open(const char* path, const char* mode);
  // Reads from ("rb") or writes into ("wb") a caller's block, which must
  // outlive the stream's use of it.
  void open_memory(std::span<const std::uint8_t> block);
  void open_memory(std::span<std::uint8_t> block);
  // Throws kCloseFailed if the file would not close; closed all the same.
  void close();
  bool is_open() const noexcept { return file_ != nullptr || memory_open_; }

  void read(void* buffer, std::size_t size, std::size_t count);
  void write(const void* buffer, std::size_t size, std::size_t count);
  // origin is SEEK_SET, SEEK_CUR or SEEK_END.
  void seek(std::int64_t offset, int origin);
  std::int64_t tell();
  // The length of the file or block; the position is kept.
  std::int64_t size();
  // Makes a structure inside the stream its own: positions (seek from the
  // start, tell, size) count from this byte of the file or block. A TIFF
  // structure in a JPEG file starts after its segment's name.
  void set_start(std::int64_t start);
  void print(const char* format, ...) __attribute__((format(printf, 2, 3)));

 private:
  std::FILE* file_ = nullptr;
  bool memory_open_ = false;
  const std::uint8_t* in_ = nullptr;
  std::uint8_t* out_ = nullptr;
  std::uint64_t length_ = 0;
  std::uint64_t position_ = 0;
  std::int64_t start_ = 0;
};

}  // namespace zkimgset::exif
