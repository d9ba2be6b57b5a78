#include "files/input_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace zkcli {
namespace {

Failure unreadable(int error) {
  return Failure(std::string("unreadable: ") + std::strerror(error));
}

Failure not_regular(mode_t mode) {
  return Failure("not a regular file (" + kind_of_file(mode) + ")");
}

class Descriptor {
 public:
  explicit Descriptor(int fd) : fd_(fd) {}
  ~Descriptor() { close(fd_); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int get() const { return fd_; }

 private:
  int fd_;
};

}  // namespace

std::string kind_of_file(mode_t mode) {
  if (S_ISREG(mode)) return "a regular file";
  if (S_ISDIR(mode)) return "a folder";
  if (S_ISCHR(mode)) return "a character device";
  if (S_ISBLK(mode)) return "a block device";
  if (S_ISFIFO(mode)) return "a FIFO";
  if (S_ISSOCK(mode)) return "a socket";
  if (S_ISLNK(mode)) return "a symbolic link";
  return "a special file";
}

// Reads fd to its end; at most one byte past the limit is read, enough to
// tell.
static std::string read_to_end(int fd, std::size_t max_bytes, std::size_t expected) {
  std::string bytes;
  bytes.reserve(std::min(expected, max_bytes + 1));
  char chunk[1 << 16];
  for (;;) {
    const std::size_t want = std::min(sizeof chunk, max_bytes + 1 - bytes.size());
    const ssize_t got = read(fd, chunk, want);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) throw unreadable(errno);
    if (got == 0) break;
    bytes.append(chunk, static_cast<std::size_t>(got));
    if (bytes.size() > max_bytes)
      throw Failure("too large (grew past " + std::to_string(max_bytes) + " bytes while read)");
  }
  return bytes;
}

std::string read_standard_input(std::size_t max_bytes) {
  struct stat in {};
  if (fstat(STDIN_FILENO, &in) != 0) throw unreadable(errno);
  if (isatty(STDIN_FILENO)) throw Failure("standard input is a terminal, not a picture");
  if (!S_ISREG(in.st_mode) && !S_ISFIFO(in.st_mode) && !S_ISSOCK(in.st_mode))
    throw Failure("standard input is " + kind_of_file(in.st_mode) + ", not a picture");
  if (S_ISREG(in.st_mode) && static_cast<unsigned long long>(in.st_size) > max_bytes)
    throw Failure("too large (" + std::to_string(in.st_size) + " bytes; at most " +
                  std::to_string(max_bytes) + " bytes)");
  try {
    return read_to_end(STDIN_FILENO, max_bytes, S_ISREG(in.st_mode) ? in.st_size : 0);
  } catch (const Failure& e) {
    if (std::string(e.what()).rfind("too large", 0) != 0) throw;
    throw Failure("too large (more than " + std::to_string(max_bytes) + " bytes)");
  }
}

std::string read_file(const std::string& path, std::size_t max_bytes) {
  // Anything but a regular file is refused before it is opened: opening a
  // device can act on it (a tape rewinds on close, a watchdog starts).
  struct stat named {};
  if (stat(path.c_str(), &named) != 0) throw unreadable(errno);
  if (!S_ISREG(named.st_mode)) throw not_regular(named.st_mode);

  // The name may point elsewhere by now; what counts is the file opened,
  // checked through its descriptor. O_NONBLOCK keeps the open of a FIFO put
  // there meanwhile from waiting for a writer.
  const int fd = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  if (fd < 0) throw unreadable(errno);
  const Descriptor file(fd);
  struct stat opened {};
  if (fstat(fd, &opened) != 0) throw unreadable(errno);
  if (!S_ISREG(opened.st_mode)) throw not_regular(opened.st_mode);
  const auto size = static_cast<unsigned long long>(opened.st_size);
  if (size > max_bytes)
    throw Failure("too large (" + std::to_string(size) + " bytes; at most " +
                  std::to_string(max_bytes) + " bytes)");
  const int flags = fcntl(fd, F_GETFL);
  if (flags < 0 || fcntl(fd, F_SETFL, flags & ~O_NONBLOCK) != 0) throw unreadable(errno);

  // The file may grow while it is read.
  return read_to_end(fd, max_bytes, static_cast<std::size_t>(size));
}

}  // namespace zkcli
