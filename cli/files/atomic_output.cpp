#include "files/atomic_output.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>

#include "files/input_file.h"
#include "files/picture_file.h"

namespace zkcli {
namespace {

// The temporary file being written, for the signal handler: a fixed buffer,
// since a handler may not allocate.
char g_partial[4096];
volatile std::sig_atomic_t g_has_partial = 0;

void on_signal(int signal) {
  if (g_has_partial) unlink(g_partial);
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

std::string folder_of(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

std::string name_of(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

mode_t new_file_mode(const std::string& path) {
  struct stat existing {};
  if (stat(path.c_str(), &existing) == 0) return existing.st_mode & 07777;
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

[[noreturn]] void fail(const std::string& path, int error) {
  throw Failure("cannot write " + path + ": " + std::strerror(error));
}

[[noreturn]] void refuse(const std::string& path, const std::string& reason) {
  throw Failure("cannot write " + path + ": " + reason);
}

// 0 when every byte was written, else the error.
int write_all(int fd, const std::string& bytes) {
  const char* data = bytes.data();
  std::size_t left = bytes.size();
  while (left > 0) {
    const ssize_t n = write(fd, data, left);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return n < 0 ? errno : ENOSPC;
    data += n;
    left -= static_cast<std::size_t>(n);
  }
  return 0;
}

// The regular file target (or none yet) is replaced by a complete one.
// Messages name path, the name the user gave.
void replace_regular_file(const std::string& path, const std::string& target,
                          const std::string& bytes) {
  std::string temp = folder_of(target) + "/." + name_of(target) + ".XXXXXX";
  if (temp.size() >= sizeof g_partial) refuse(path, "path too long");

  // Block the signals while the handler's copy of the name changes.
  sigset_t block, old;
  sigemptyset(&block);
  for (int s : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&block, s);
  sigprocmask(SIG_BLOCK, &block, &old);
  const int fd = mkstemp(temp.data());
  const int open_error = errno;
  if (fd >= 0) {
    std::memcpy(g_partial, temp.c_str(), temp.size() + 1);
    g_has_partial = 1;
  }
  sigprocmask(SIG_SETMASK, &old, nullptr);
  if (fd < 0) fail(path, open_error);

  auto abandon = [&](int error) {
    close(fd);
    unlink(temp.c_str());
    g_has_partial = 0;
    fail(path, error);
  };
  if (const int error = write_all(fd, bytes)) abandon(error);
  if (fchmod(fd, new_file_mode(target)) != 0) abandon(errno);
  if (fsync(fd) != 0) abandon(errno);
  if (close(fd) != 0 || rename(temp.c_str(), target.c_str()) != 0) {
    const int error = errno;
    unlink(temp.c_str());
    g_has_partial = 0;
    fail(path, error);
  }
  g_has_partial = 0;
}

// A character device or FIFO is written where it is: renaming a temporary
// file over it would put a regular file in its place.
void write_in_place(const std::string& path, bool fifo, const std::string& bytes) {
  // Opening a FIFO that has no reader would wait for one; without blocking,
  // it fails at once instead.
  const int fd = open(path.c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  if (fd < 0 && errno == ENXIO && fifo) refuse(path, "no reader on the FIFO");
  if (fd < 0) fail(path, errno);
  auto give_up = [&](int error) {
    close(fd);
    fail(path, error);
  };
  struct stat opened {};
  if (fstat(fd, &opened) != 0) give_up(errno);
  if (!S_ISCHR(opened.st_mode) && !S_ISFIFO(opened.st_mode)) {
    close(fd);
    refuse(path, "replaced by " + kind_of_file(opened.st_mode) + " while being opened");
  }
  const int flags = fcntl(fd, F_GETFL);
  if (flags < 0 || fcntl(fd, F_SETFL, flags & ~O_NONBLOCK) != 0) give_up(errno);

  // A reader that goes away fails the picture (EPIPE) instead of ending the
  // process by SIGPIPE; the signal raised meanwhile is taken back.
  sigset_t pipe_signal, old;
  sigemptyset(&pipe_signal);
  sigaddset(&pipe_signal, SIGPIPE);
  sigprocmask(SIG_BLOCK, &pipe_signal, &old);
  int error = write_all(fd, bytes);
  if (error == EPIPE && !sigismember(&old, SIGPIPE)) {
    const timespec no_wait{};
    sigtimedwait(&pipe_signal, nullptr, &no_wait);
  }
  sigprocmask(SIG_SETMASK, &old, nullptr);
  if (close(fd) != 0 && error == 0) error = errno;
  if (error != 0) fail(path, error);
}

}  // namespace

void write_atomically(const std::string& path, const std::string& bytes) {
  struct stat named {};
  if (lstat(path.c_str(), &named) != 0) {
    if (errno != ENOENT) fail(path, errno);
    return replace_regular_file(path, path, bytes);
  }
  struct stat target = named;
  if (S_ISLNK(named.st_mode) && stat(path.c_str(), &target) != 0) {
    if (errno == ENOENT) refuse(path, "a dangling symbolic link (it points to nothing)");
    fail(path, errno);
  }
  if (S_ISCHR(target.st_mode) || S_ISFIFO(target.st_mode))
    return write_in_place(path, S_ISFIFO(target.st_mode), bytes);
  if (!S_ISREG(target.st_mode))
    refuse(path, "not a regular file (" + kind_of_file(target.st_mode) + ")");
  if (!S_ISLNK(named.st_mode)) return replace_regular_file(path, path, bytes);
  // The link is kept; the file it points to is replaced.
  const std::unique_ptr<char, void (*)(void*)> resolved(realpath(path.c_str(), nullptr), std::free);
  if (!resolved) fail(path, errno);
  replace_regular_file(path, resolved.get(), bytes);
}

void write_output(const std::string& path, const std::string& bytes) {
  if (path != "-") return write_atomically(path, bytes);
  sigset_t pipe_signal, old;
  sigemptyset(&pipe_signal);
  sigaddset(&pipe_signal, SIGPIPE);
  sigprocmask(SIG_BLOCK, &pipe_signal, &old);
  const int error = write_all(STDOUT_FILENO, bytes);
  if (error == EPIPE && !sigismember(&old, SIGPIPE)) {
    const timespec no_wait{};
    sigtimedwait(&pipe_signal, nullptr, &no_wait);
  }
  sigprocmask(SIG_SETMASK, &old, nullptr);
  if (error != 0)
    throw Failure(std::string("cannot write to standard output: ") + std::strerror(error));
}

void make_backup(const std::string& path, const std::string& suffix, const std::string& bytes) {
  const std::string backup = path + suffix;
  struct stat existing {};
  if (lstat(backup.c_str(), &existing) == 0) return;
  struct stat named {};
  if (lstat(path.c_str(), &named) == 0 && !S_ISLNK(named.st_mode) &&
      link(path.c_str(), backup.c_str()) == 0)
    return;
  write_atomically(backup, bytes);
}

void remove_partial_output_on_signals() {
  for (int s : {SIGINT, SIGTERM, SIGHUP}) std::signal(s, on_signal);
}

}  // namespace zkcli
