// POSIX: the path is looked at first, so a device is never opened (opening
// some has effects), then opened without blocking and checked again on the
// open descriptor, which is the check that counts.
#include "platform/regular_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace zkimgset::platform {

std::FILE* open_regular_file(const char* path, const char* mode) {
  if (path == nullptr || mode == nullptr) return nullptr;
  const bool write = mode[0] == 'w';
  struct stat seen {};
  if (stat(path, &seen) == 0 && !S_ISREG(seen.st_mode)) {
    errno = S_ISDIR(seen.st_mode) ? EISDIR : ENODEV;
    return nullptr;
  }
  const int flags = (write ? O_WRONLY | O_CREAT | O_TRUNC : O_RDONLY) | O_NONBLOCK | O_CLOEXEC;
  const int fd = open(path, flags, 0666);
  if (fd < 0) return nullptr;
  struct stat opened {};
  if (fstat(fd, &opened) != 0 || !S_ISREG(opened.st_mode) ||
      fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) & ~O_NONBLOCK) != 0) {
    close(fd);
    errno = ENODEV;
    return nullptr;
  }
  std::FILE* file = fdopen(fd, mode);
  if (file == nullptr) close(fd);
  return file;
}

}  // namespace zkimgset::platform
