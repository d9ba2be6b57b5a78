#include "atomic_output.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>

#include "picture_file.h"

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

}  // namespace

void write_atomically(const std::string& path, const std::string& bytes) {
  std::string temp = folder_of(path) + "/." + name_of(path) + ".XXXXXX";
  if (temp.size() >= sizeof g_partial) throw Failure("cannot write " + path + ": path too long");

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
  const char* data = bytes.data();
  std::size_t left = bytes.size();
  while (left > 0) {
    const ssize_t n = write(fd, data, left);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) abandon(n < 0 ? errno : ENOSPC);
    data += n;
    left -= static_cast<std::size_t>(n);
  }
  if (fchmod(fd, new_file_mode(path)) != 0) abandon(errno);
  if (fsync(fd) != 0) abandon(errno);
  if (close(fd) != 0 || rename(temp.c_str(), path.c_str()) != 0) {
    const int error = errno;
    unlink(temp.c_str());
    g_has_partial = 0;
    fail(path, error);
  }
  g_has_partial = 0;
}

void remove_partial_output_on_signals() {
  for (int s : {SIGINT, SIGTERM, SIGHUP}) std::signal(s, on_signal);
}

}  // namespace zkcli
