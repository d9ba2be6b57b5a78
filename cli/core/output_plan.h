// Which pictures a run reads and where each result goes.
#pragma once

#include <string>
#include <vector>

namespace zkcli {

struct Job {
  std::string input;
  std::string output;
  std::string problem;  // set when the job must fail before it starts
};

enum class Destination { File, Folder, InPlace };

// The inputs as given, with each folder replaced by its JPEG and PNG files
// (by name, sorted; not recursive). Paths that do not exist are kept, so
// that they fail with their reason.
std::vector<std::string> expand_inputs(const std::vector<std::string>& given);

// One job per input. A UsageError when the destination does not fit the
// inputs (-o with several inputs) or two inputs would write one output;
// an input that would be overwritten without --in-place gets a problem.
std::vector<Job> plan_jobs(const std::vector<std::string>& inputs, Destination destination,
                           const std::string& target);

// Makes a folder and its parents. Failure with the reason.
void make_folders(const std::string& path);

// The last part of a path.
std::string base_name(const std::string& path);

}  // namespace zkcli
