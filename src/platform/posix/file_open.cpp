// POSIX: the path is looked at first, so that a device is never opened for
// reading (opening some has effects), then opened without blocking and
// checked again on the open descriptor, which is the check that counts.
#include "platform/file_open.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace zkimgset::platform {
namespace {

bool writable_kind(mode_t mode) { return S_ISREG(mode) || S_ISCHR(mode) || S_ISFIFO(mode); }

// Opens without blocking (a FIFO with no reader fails to open for writing
// at once), keeps the descriptor only for the kinds accepted, then clears
// the non-blocking flag for the stdio stream.
std::FILE* open_kind(const char* path, const char* mode, bool write, bool (*accepted)(mode_t)) {
  if (path == nullptr || mode == nullptr) return nullptr;
  struct stat seen {};
  if (stat(path, &seen) == 0 && !accepted(seen.st_mode)) {
    errno = S_ISDIR(seen.st_mode) ? EISDIR : ENODEV;
    return nullptr;
  }
  const int flags = (write ? O_WRONLY | O_CREAT | O_TRUNC : O_RDONLY) | O_NONBLOCK | O_CLOEXEC;
  const int fd = open(path, flags, 0666);
  if (fd < 0) return nullptr;
  struct stat opened {};
  if (fstat(fd, &opened) != 0 || !accepted(opened.st_mode) ||
      fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) & ~O_NONBLOCK) != 0) {
    close(fd);
    errno = ENODEV;
    return nullptr;
  }
  std::FILE* file = fdopen(fd, mode);
  if (file == nullptr) close(fd);
  return file;
}

}  // namespace

std::FILE* open_for_reading(const char* path, const char* mode) {
  return open_kind(path, mode, false, [](mode_t m) { return S_ISREG(m); });
}

std::FILE* open_for_writing(const char* path, const char* mode) {
  return open_kind(path, mode, true, writable_kind);
}

}  // namespace zkimgset::platform
