#include "core/output_plan.h"

#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <set>

#include "core/command_line.h"
#include "files/picture_file.h"

namespace zkcli {
namespace {

namespace fs = std::filesystem;

bool is_picture_name(const std::string& name) {
  std::string lower = name;
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  for (const char* ext : {".jpg", ".jpeg", ".png"}) {
    const std::size_t n = std::strlen(ext);
    if (lower.size() > n && lower.compare(lower.size() - n, n, ext) == 0) return true;
  }
  return false;
}

bool same_file(const std::string& a, const std::string& b) {
  struct stat sa {
  }, sb{};
  return stat(a.c_str(), &sa) == 0 && stat(b.c_str(), &sb) == 0 && sa.st_dev == sb.st_dev &&
         sa.st_ino == sb.st_ino;
}

}  // namespace

std::string base_name(const std::string& path) {
  std::string p = path;
  while (p.size() > 1 && p.back() == '/') p.pop_back();
  const std::size_t slash = p.rfind('/');
  return slash == std::string::npos ? p : p.substr(slash + 1);
}

std::vector<std::string> expand_inputs(const std::vector<std::string>& given) {
  std::vector<std::string> inputs;
  for (const std::string& path : given) {
    std::error_code error;
    if (!fs::is_directory(path, error)) {
      inputs.push_back(path);
      continue;
    }
    std::vector<std::string> found;
    for (const auto& entry : fs::directory_iterator(path, error)) {
      const std::string name = entry.path().filename().string();
      if (name[0] != '.' && is_picture_name(name) && !entry.is_directory(error))
        found.push_back((path.back() == '/' ? path : path + "/") + name);
    }
    std::sort(found.begin(), found.end());
    inputs.insert(inputs.end(), found.begin(), found.end());
  }
  return inputs;
}

std::vector<Job> plan_jobs(const std::vector<std::string>& inputs, Destination destination,
                           const std::string& target) {
  if (destination == Destination::File && inputs.size() != 1)
    throw UsageError("-o names one output file; use --out-dir for " +
                     std::to_string(inputs.size()) + " pictures");
  std::vector<Job> jobs;
  std::set<std::string> outputs;
  for (const std::string& input : inputs) {
    Job job{input, input, {}};
    if (destination == Destination::File) job.output = target;
    if (destination == Destination::Folder)
      job.output = (target.back() == '/' ? target : target + "/") + base_name(input);
    if (!outputs.insert(fs::absolute(job.output).lexically_normal().string()).second)
      throw UsageError("two pictures would be written to " + job.output);
    if (destination != Destination::InPlace && same_file(input, job.output))
      job.problem = "the output would overwrite the input (use --in-place to allow that)";
    jobs.push_back(job);
  }
  return jobs;
}

void make_folders(const std::string& path) {
  std::error_code error;
  fs::create_directories(path, error);
  if (error) throw Failure("cannot create the folder " + path + ": " + error.message());
}

}  // namespace zkcli
