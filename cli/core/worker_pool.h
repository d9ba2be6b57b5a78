// Parallel work by process: the library keeps process-wide state, so tasks
// run in worker processes forked from the configured parent and send their
// results back through a pipe. A worker lives on from task to task (a fork
// and fresh pages for every picture cost more than the picture's own work
// on small pictures), and before each task it runs `prepare`, which brings
// the library back to the parent's configured state: every task starts from
// the same state, so the number of workers never changes a result. A crash
// in a task fails that task only; the next task gets a new worker.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace zkcli {

struct TaskResult {
  bool ok = false;
  std::string message;  // the reason for a failure, or a short note
  std::string payload;  // anything else the parent needs (a report section)
};

class WorkerPool {
 public:
  using Task = std::function<TaskResult(const std::string& request)>;
  // At most `workers` processes; prepare runs in a worker before each task.
  WorkerPool(int workers, Task task, std::function<void()> prepare);
  // Ends the workers (they finish the task they have) and waits for them.
  ~WorkerPool();
  WorkerPool(const WorkerPool&) = delete;
  WorkerPool& operator=(const WorkerPool&) = delete;

  // Whether a worker is free (or could be started) for a request.
  bool can_take() const;
  std::size_t busy() const;
  // Hands a request to a free worker, starting one if needed; its result
  // comes back under id. A worker that cannot be started gives a failed
  // result at the next wait().
  void submit(std::size_t id, const std::string& request);
  // Waits until at least one task has finished or timeout_ms has passed
  // (-1: no limit; also returns early when wake_fd, if not -1, is readable)
  // and returns the finished tasks' results.
  std::vector<std::pair<std::size_t, TaskResult>> wait(int timeout_ms = -1, int wake_fd = -1);

 private:
  struct Worker {
    pid_t pid = -1;
    int requests = -1;  // the parent writes requests here
    int results = -1;   // and reads results here
    bool busy = false;
    std::size_t id = 0;
    std::string received;
  };
  bool start(Worker& worker);
  [[noreturn]] void serve(int requests, int results);
  TaskResult end_of(Worker& worker);

  int limit_;
  Task task_;
  std::function<void()> prepare_;
  std::vector<Worker> workers_;
  std::vector<std::pair<std::size_t, TaskResult>> pending_;
};

// Runs task(i) for every i below count, at most `workers` at once, and calls
// done(i, result) in the parent as each task ends (in the order they end).
void run_in_processes(std::size_t count, int workers,
                      const std::function<TaskResult(std::size_t)>& task,
                      const std::function<void(std::size_t, const TaskResult&)>& done,
                      const std::function<void()>& prepare = {});

// The number of processors available to this process.
int available_cores();

}  // namespace zkcli
