// The throwing file stream over a stdio file or a memory block. A memory
// read or write that does not fit moves nothing and throws: the block's
// bounds are checked before any byte is copied.
#include "exif/exif_stream.h"

#include <cstdarg>
#include <cstring>
#include <limits>
#include <string>

#include "platform/file_open.h"

namespace zkimgset::exif {

ExifFileStream::~ExifFileStream() {
  if (file_ != nullptr) std::fclose(file_);
}

void ExifFileStream::open(const char* path, const char* mode) {
  enforce(path != nullptr && mode != nullptr, code::kMissingArgument);
  if (is_open()) close();
  file_ = mode[0] == 'r' ? platform::open_for_reading(path, mode)
                         : platform::open_for_writing(path, mode);
  enforce(file_ != nullptr, code::kOpenFailed);
}

void ExifFileStream::open_memory(std::span<const std::uint8_t> block) {
  if (is_open()) close();
  in_ = block.data();
  out_ = nullptr;
  length_ = block.size();
  position_ = 0;
  memory_open_ = true;
}

void ExifFileStream::open_memory(std::span<std::uint8_t> block) {
  open_memory(std::span<const std::uint8_t>(block));
  out_ = block.data();
  in_ = nullptr;
}

void ExifFileStream::close() {
  memory_open_ = false;
  start_ = 0;
  in_ = nullptr;
  out_ = nullptr;
  if (file_ == nullptr) return;
  std::FILE* file = file_;
  file_ = nullptr;
  enforce(std::fclose(file) == 0, code::kCloseFailed);
}

namespace {

// The byte count of size x count items, or nothing when it overflows.
bool item_bytes(std::size_t size, std::size_t count, std::uint64_t& bytes) {
  if (size != 0 && count > std::numeric_limits<std::uint64_t>::max() / size) return false;
  bytes = static_cast<std::uint64_t>(size) * count;
  return true;
}

}  // namespace

void ExifFileStream::read(void* buffer, std::size_t size, std::size_t count) {
  enforce(buffer != nullptr, code::kMissingBuffer);
  enforce(is_open(), code::kReadFailed);
  if (file_ != nullptr) {
    enforce(std::fread(buffer, size, count, file_) == count, code::kReadFailed);
    return;
  }
  std::uint64_t bytes = 0;
  enforce(in_ != nullptr && item_bytes(size, count, bytes), code::kReadFailed);
  enforce(position_ <= length_ && bytes <= length_ - position_, code::kReadFailed);
  if (bytes != 0) std::memcpy(buffer, in_ + position_, static_cast<std::size_t>(bytes));
  position_ += bytes;
}

void ExifFileStream::write(const void* buffer, std::size_t size, std::size_t count) {
  enforce(buffer != nullptr, code::kMissingBuffer);
  enforce(is_open(), code::kWriteFailed);
  if (file_ != nullptr) {
    enforce(std::fwrite(buffer, size, count, file_) == count, code::kWriteFailed);
    return;
  }
  std::uint64_t bytes = 0;
  enforce(out_ != nullptr && item_bytes(size, count, bytes), code::kWriteFailed);
  enforce(position_ <= length_ && bytes <= length_ - position_, code::kWriteFailed);
  if (bytes != 0) std::memcpy(out_ + position_, buffer, static_cast<std::size_t>(bytes));
  position_ += bytes;
}

void ExifFileStream::set_start(std::int64_t start) {
  enforce(start >= 0, code::kSeekFailed);
  start_ = start;
}

void ExifFileStream::seek(std::int64_t offset, int origin) {
  enforce(is_open(), code::kSeekFailed);
  if (origin == SEEK_SET)
    enforce(!__builtin_add_overflow(offset, start_, &offset), code::kSeekFailed);
  if (file_ != nullptr) {
    enforce(fseeko(file_, static_cast<off_t>(offset), origin) == 0, code::kSeekFailed);
    return;
  }
  std::int64_t base = 0;
  if (origin == SEEK_CUR) base = static_cast<std::int64_t>(position_);
  if (origin == SEEK_END) base = static_cast<std::int64_t>(length_);
  enforce(origin == SEEK_SET || origin == SEEK_CUR || origin == SEEK_END, code::kSeekFailed);
  // Within the block or at its end; the sum cannot overflow since both
  // parts are far from the limits when they pass these tests.
  enforce(offset >= -base && offset <= static_cast<std::int64_t>(length_) - base,
          code::kSeekFailed);
  position_ = static_cast<std::uint64_t>(base + offset);
}

std::int64_t ExifFileStream::tell() {
  enforce(is_open(), code::kSeekFailed);
  if (file_ == nullptr) return static_cast<std::int64_t>(position_) - start_;
  const off_t at = ftello(file_);
  enforce(at >= 0, code::kSeekFailed);
  return at - start_;
}

std::int64_t ExifFileStream::size() {
  enforce(is_open(), code::kSeekFailed);
  if (file_ == nullptr) return static_cast<std::int64_t>(length_) - start_;
  const std::int64_t at = tell();
  seek(0, SEEK_END);
  const std::int64_t end = tell();
  seek(at, SEEK_SET);
  return end;
}

void ExifFileStream::print(const char* format, ...) {
  enforce(format != nullptr, code::kMissingArgument);
  enforce(is_open(), code::kWriteFailed);
  std::va_list args;
  va_start(args, format);
  if (file_ != nullptr) {
    const int written = std::vfprintf(file_, format, args);
    va_end(args);
    enforce(written >= 0, code::kWriteFailed);
    return;
  }
  std::va_list again;
  va_copy(again, args);
  const int length = std::vsnprintf(nullptr, 0, format, args);
  va_end(args);
  std::string text(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
  if (length > 0) std::vsnprintf(text.data(), text.size() + 1, format, again);
  va_end(again);
  enforce(length >= 0, code::kWriteFailed);
  write(text.data(), 1, text.size());
}

}  // namespace zkimgset::exif
