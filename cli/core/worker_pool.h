// Parallel work by process: the library keeps process-wide state, so each
// task runs in a child process forked from the configured parent and sends
// its result back through a pipe. A crash in one task fails that task only,
// and every task starts from the same library state, so the number of
// workers never changes a result.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace zkcli {

struct TaskResult {
  bool ok = false;
  std::string message;  // the reason for a failure, or a short note
  std::string payload;  // anything else the parent needs (a report section)
};

// Runs task(i) for every i below count, at most `workers` at once, and calls
// done(i, result) in the parent as each task ends (in the order they end).
void run_in_processes(std::size_t count, int workers,
                      const std::function<TaskResult(std::size_t)>& task,
                      const std::function<void(std::size_t, const TaskResult&)>& done);

// The number of processors available to this process.
int available_cores();

}  // namespace zkcli
