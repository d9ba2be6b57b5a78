#include "core/worker_pool.h"

#include <poll.h>
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <vector>

namespace zkcli {
namespace {

struct Running {
  std::size_t index;
  pid_t pid;
  int fd;
  std::string received;
};

// The result as it crosses the pipe: "1\n" or "0\n", the message's length
// and a newline, the message, then the payload up to the end.
std::string encode(const TaskResult& r) {
  return std::string(r.ok ? "1\n" : "0\n") + std::to_string(r.message.size()) + "\n" + r.message +
         r.payload;
}

bool decode(const std::string& bytes, TaskResult& r) {
  const std::size_t line = bytes.find('\n', 2);
  if (bytes.size() < 4 || line == std::string::npos) return false;
  const std::size_t length = std::strtoul(bytes.c_str() + 2, nullptr, 10);
  if (line + 1 + length > bytes.size()) return false;
  r.ok = bytes[0] == '1';
  r.message = bytes.substr(line + 1, length);
  r.payload = bytes.substr(line + 1 + length);
  return true;
}

void write_all(int fd, const std::string& bytes) {
  std::size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t n = write(fd, bytes.data() + done, bytes.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return;
    done += static_cast<std::size_t>(n);
  }
}

[[noreturn]] void run_child(int fd, std::size_t index,
                            const std::function<TaskResult(std::size_t)>& task) {
  TaskResult result;
  try {
    result = task(index);
  } catch (const std::exception& e) {
    result = {false, e.what(), {}};
  } catch (...) {
    result = {false, "unexpected error", {}};
  }
  write_all(fd, encode(result));
  close(fd);
  std::fflush(nullptr);
  _exit(0);
}

TaskResult finish(Running& r) {
  close(r.fd);
  int status = 0;
  while (waitpid(r.pid, &status, 0) < 0 && errno == EINTR) {
  }
  TaskResult result;
  if (decode(r.received, result) && WIFEXITED(status) && WEXITSTATUS(status) == 0) return result;
  if (WIFSIGNALED(status))
    return {false,
            "the worker process ended by signal " + std::to_string(WTERMSIG(status)) + " (" +
                strsignal(WTERMSIG(status)) + ")",
            {}};
  return {false, "the worker process ended without a result", {}};
}

}  // namespace

void run_in_processes(std::size_t count, int workers,
                      const std::function<TaskResult(std::size_t)>& task,
                      const std::function<void(std::size_t, const TaskResult&)>& done) {
  std::vector<Running> running;
  std::size_t next = 0;
  while (next < count || !running.empty()) {
    while (next < count && static_cast<int>(running.size()) < std::max(1, workers)) {
      int fds[2];
      std::fflush(nullptr);  // nothing buffered is written twice
      if (pipe(fds) != 0) {
        done(next++, {false, std::string("cannot start a worker: ") + std::strerror(errno), {}});
        continue;
      }
      const pid_t pid = fork();
      if (pid == 0) {
        close(fds[0]);
        for (const Running& r : running) close(r.fd);
        run_child(fds[1], next, task);
      }
      close(fds[1]);
      if (pid < 0) {
        close(fds[0]);
        done(next++, {false, std::string("cannot start a worker: ") + std::strerror(errno), {}});
        continue;
      }
      running.push_back({next++, pid, fds[0], {}});
    }
    if (running.empty()) continue;

    std::vector<pollfd> polls;
    for (const Running& r : running) polls.push_back({r.fd, POLLIN, 0});
    if (poll(polls.data(), polls.size(), -1) < 0) {
      if (errno == EINTR) continue;
      polls.assign(polls.size(), {0, 0, POLLHUP});  // treat every worker as ended
    }
    for (std::size_t i = polls.size(); i-- > 0;) {
      if (polls[i].revents == 0) continue;
      Running& r = running[i];
      char buffer[1 << 16];
      const ssize_t n = read(r.fd, buffer, sizeof buffer);
      if (n > 0) {
        r.received.append(buffer, static_cast<std::size_t>(n));
        continue;
      }
      if (n < 0 && errno == EINTR) continue;
      const TaskResult result = finish(r);
      const std::size_t index = r.index;
      running.erase(running.begin() + static_cast<std::ptrdiff_t>(i));
      done(index, result);
    }
  }
}

int available_cores() {
  cpu_set_t set;
  if (sched_getaffinity(0, sizeof set, &set) == 0) return std::max(1, CPU_COUNT(&set));
  const long n = sysconf(_SC_NPROCESSORS_ONLN);
  return n > 0 ? static_cast<int>(n) : 1;
}

}  // namespace zkcli
