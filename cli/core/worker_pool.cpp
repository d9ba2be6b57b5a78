#include "core/worker_pool.h"

#include <poll.h>
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>

namespace zkcli {
namespace {

// A frame on a pipe: the length in 8 bytes (native order: both ends are one
// program on one machine), then the bytes.
constexpr std::size_t kLengthBytes = sizeof(std::uint64_t);

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

std::string frame(const std::string& bytes) {
  const std::uint64_t length = bytes.size();
  std::string out(reinterpret_cast<const char*>(&length), kLengthBytes);
  return out + bytes;
}

// Writes everything; false when the other end has gone. A reader that went
// away raises SIGPIPE, which is held and taken back rather than ending the
// process.
bool write_all(int fd, const std::string& bytes) {
  sigset_t pipe_signal, old;
  sigemptyset(&pipe_signal);
  sigaddset(&pipe_signal, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &pipe_signal, &old);
  std::size_t done = 0;
  bool ok = true;
  while (done < bytes.size()) {
    const ssize_t n = write(fd, bytes.data() + done, bytes.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      ok = false;
      break;
    }
    done += static_cast<std::size_t>(n);
  }
  if (!ok && errno == EPIPE && !sigismember(&old, SIGPIPE)) {
    const timespec no_wait{};
    sigtimedwait(&pipe_signal, nullptr, &no_wait);
  }
  pthread_sigmask(SIG_SETMASK, &old, nullptr);
  return ok;
}

// Reads exactly n bytes; false at the end of the pipe.
bool read_exactly(int fd, char* out, std::size_t n) {
  std::size_t got = 0;
  while (got < n) {
    const ssize_t r = read(fd, out + got, n - got);
    if (r < 0 && errno == EINTR) continue;
    if (r <= 0) return false;
    got += static_cast<std::size_t>(r);
  }
  return true;
}

// A complete frame at the start of bytes, taken off.
bool take_frame(std::string& bytes, std::string& body) {
  if (bytes.size() < kLengthBytes) return false;
  std::uint64_t length = 0;
  std::memcpy(&length, bytes.data(), kLengthBytes);
  if (bytes.size() - kLengthBytes < length) return false;
  body = bytes.substr(kLengthBytes, length);
  bytes.erase(0, kLengthBytes + length);
  return true;
}

}  // namespace

WorkerPool::WorkerPool(int workers, Task task, std::function<void()> prepare)
    : limit_(std::max(1, workers)), task_(std::move(task)), prepare_(std::move(prepare)) {}

WorkerPool::~WorkerPool() {
  for (Worker& w : workers_) close(w.requests);
  for (Worker& w : workers_) {
    close(w.results);
    int status = 0;
    while (waitpid(w.pid, &status, 0) < 0 && errno == EINTR) {
    }
  }
}

bool WorkerPool::can_take() const { return busy() < static_cast<std::size_t>(limit_); }

std::size_t WorkerPool::busy() const {
  return static_cast<std::size_t>(
      std::count_if(workers_.begin(), workers_.end(), [](const Worker& w) { return w.busy; }));
}

bool WorkerPool::start(Worker& worker) {
  int requests[2], results[2];
  if (pipe(requests) != 0) return false;
  if (pipe(results) != 0) {
    close(requests[0]);
    close(requests[1]);
    return false;
  }
  std::fflush(nullptr);  // nothing buffered is written twice
  const pid_t pid = fork();
  if (pid == 0) {
    close(requests[1]);
    close(results[0]);
    // The other workers' pipes stay with the parent, so that each worker
    // sees the end of its own requests when the parent closes them.
    for (const Worker& w : workers_) {
      close(w.requests);
      close(w.results);
    }
    serve(requests[0], results[1]);
  }
  close(requests[0]);
  close(results[1]);
  if (pid < 0) {
    close(requests[1]);
    close(results[0]);
    return false;
  }
  worker = Worker{pid, requests[1], results[0], false, 0, {}};
  return true;
}

void WorkerPool::serve(int requests, int results) {
  for (;;) {
    std::uint64_t length = 0;
    if (!read_exactly(requests, reinterpret_cast<char*>(&length), kLengthBytes)) break;
    std::string request(length, '\0');
    if (!read_exactly(requests, request.data(), length)) break;
    TaskResult result;
    try {
      if (prepare_) prepare_();
      result = task_(request);
    } catch (const std::bad_alloc&) {
      result = {false, "out of memory", {}};
    } catch (const std::exception& e) {
      result = {false, e.what(), {}};
    } catch (...) {
      result = {false, "unexpected error", {}};
    }
    std::fflush(nullptr);
    if (!write_all(results, frame(encode(result)))) break;
  }
  close(requests);
  close(results);
  std::fflush(nullptr);
  _exit(0);
}

void WorkerPool::submit(std::size_t id, const std::string& request) {
  auto free =
      std::find_if(workers_.begin(), workers_.end(), [](const Worker& w) { return !w.busy; });
  if (free == workers_.end()) {
    Worker fresh;
    if (!start(fresh)) {
      pending_.push_back(
          {id, {false, std::string("cannot start a worker: ") + std::strerror(errno), {}}});
      return;
    }
    workers_.push_back(fresh);
    free = workers_.end() - 1;
  }
  free->busy = true;
  free->id = id;
  free->received.clear();
  if (!write_all(free->requests, frame(request))) {
    // The worker is gone: its result says why, at the next wait.
    pending_.push_back({id, end_of(*free)});
    workers_.erase(free);
  }
}

TaskResult WorkerPool::end_of(Worker& worker) {
  close(worker.requests);
  close(worker.results);
  int status = 0;
  while (waitpid(worker.pid, &status, 0) < 0 && errno == EINTR) {
  }
  if (WIFSIGNALED(status))
    return {false,
            "the worker process ended by signal " + std::to_string(WTERMSIG(status)) + " (" +
                strsignal(WTERMSIG(status)) + ")",
            {}};
  return {false, "the worker process ended without a result", {}};
}

std::vector<std::pair<std::size_t, TaskResult>> WorkerPool::wait(int timeout_ms, int wake_fd) {
  std::vector<std::pair<std::size_t, TaskResult>> finished;
  finished.swap(pending_);
  if (!finished.empty()) return finished;
  std::vector<pollfd> polls;
  std::vector<std::size_t> which;
  for (std::size_t i = 0; i < workers_.size(); ++i)
    if (workers_[i].busy) {
      polls.push_back({workers_[i].results, POLLIN, 0});
      which.push_back(i);
    }
  if (wake_fd >= 0) polls.push_back({wake_fd, POLLIN, 0});
  if (polls.empty()) return finished;
  if (poll(polls.data(), polls.size(), timeout_ms) < 0) return finished;  // EINTR: the caller looks
  std::vector<std::size_t> ended;
  for (std::size_t k = 0; k < which.size(); ++k) {
    if (polls[k].revents == 0) continue;
    Worker& w = workers_[which[k]];
    char buffer[1 << 16];
    const ssize_t n = read(w.results, buffer, sizeof buffer);
    if (n < 0 && errno == EINTR) continue;
    if (n > 0) {
      w.received.append(buffer, static_cast<std::size_t>(n));
      std::string body;
      TaskResult result;
      if (take_frame(w.received, body)) {
        if (!decode(body, result)) result = {false, "the worker process sent a garbled result", {}};
        w.busy = false;
        finished.emplace_back(w.id, std::move(result));
      }
      continue;
    }
    finished.emplace_back(w.id, end_of(w));
    ended.push_back(which[k]);
  }
  for (auto i = ended.rbegin(); i != ended.rend(); ++i)
    workers_.erase(workers_.begin() + static_cast<std::ptrdiff_t>(*i));
  return finished;
}

void run_in_processes(std::size_t count, int workers,
                      const std::function<TaskResult(std::size_t)>& task,
                      const std::function<void(std::size_t, const TaskResult&)>& done,
                      const std::function<void()>& prepare) {
  WorkerPool pool(
      workers, [&](const std::string& request) { return task(std::stoul(request)); }, prepare);
  std::size_t next = 0, finished = 0;
  while (finished < count) {
    while (next < count && pool.can_take()) {
      pool.submit(next, std::to_string(next));
      ++next;
    }
    for (const auto& [index, result] : pool.wait()) {
      ++finished;
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
