#include "core/output_plan.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <set>

#include "core/command_line.h"

namespace zkcli {
namespace {

namespace fs = std::filesystem;

constexpr const char* kNotPicture = "not a picture (by its name)";
constexpr const char* kInSubFolder = "in a sub-folder (use -r)";

// The pictures below root + relative, by name order within each folder.
// Sub-folders are walked with or without recursive: without it, the pictures
// found there are counted as skipped. Symbolic links to folders are not
// followed, so a link loop cannot trap the walk.
void walk(const std::string& root, const std::string& relative, bool recursive, int depth,
          Expansion& out) {
  std::error_code error;
  std::vector<fs::directory_entry> entries;
  for (const auto& entry : fs::directory_iterator(root + relative, error)) entries.push_back(entry);
  std::sort(entries.begin(), entries.end(),
            [](const auto& a, const auto& b) { return a.path().filename() < b.path().filename(); });
  for (const auto& entry : entries) {
    const std::string name = entry.path().filename().string();
    const std::string path = root + relative + name;
    const bool inside = depth > 0 && !recursive;
    if (entry.is_directory(error) && !entry.is_symlink(error)) {
      if (depth < kMaxFolderDepth)
        walk(root, relative + name + "/", recursive, depth + 1, out);
      else if (!inside)
        out.skipped.push_back({path, "a folder too deep (more than 64 levels)"});
      continue;
    }
    const bool picture = format_of_name(name).has_value() && name[0] != '.';
    if (inside) {
      if (picture) out.skipped.push_back({path, kInSubFolder});
    } else if (picture) {
      out.inputs.push_back({path, relative});
    } else {
      out.skipped.push_back({path, kNotPicture});
    }
  }
}

}  // namespace

bool same_file(const std::string& a, const std::string& b) {
  struct stat sa {
  }, sb{};
  return stat(a.c_str(), &sa) == 0 && stat(b.c_str(), &sb) == 0 && sa.st_dev == sb.st_dev &&
         sa.st_ino == sb.st_ino;
}

std::string base_name(const std::string& path) {
  std::string p = path;
  while (p.size() > 1 && p.back() == '/') p.pop_back();
  const std::size_t slash = p.rfind('/');
  return slash == std::string::npos ? p : p.substr(slash + 1);
}

std::string folder_name(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

Expansion expand_inputs(const std::vector<std::string>& given, bool recursive) {
  Expansion out;
  for (const std::string& path : given) {
    std::error_code error;
    if (path == kStandardStream || !fs::is_directory(path, error)) {
      out.inputs.push_back({path, ""});
      continue;
    }
    walk(with_slash(path), "", recursive, 0, out);
  }
  return out;
}

std::optional<Format> output_format(const std::string& output, std::optional<Format> format) {
  if (output == kStandardStream) return format;
  const std::optional<Format> by_name = format_of_name(output);
  if (format && by_name && *format != *by_name)
    throw UsageError("--format " + std::string(format_key(*format)) + " does not match the name " +
                     output);
  // A device or FIFO (/dev/null, a pipe) has no format in its name: it gets
  // the input's, as standard output does.
  struct stat target {};
  if (!format && !by_name && stat(output.c_str(), &target) == 0 &&
      (S_ISCHR(target.st_mode) || S_ISFIFO(target.st_mode)))
    return std::nullopt;
  if (!format && !by_name)
    throw UsageError("cannot tell the output format from the name " + output +
                     ": end it in .jpg, .png or .tif, or give --format");
  return format ? format : by_name;
}

std::vector<Job> plan_jobs(const std::vector<Input>& inputs, const PlanOptions& o) {
  if (o.destination == Destination::File && inputs.size() != 1)
    throw UsageError("-o names one output file; use --out-dir for " +
                     std::to_string(inputs.size()) + " pictures");
  std::vector<Job> jobs;
  std::set<std::string> outputs;
  for (const Input& input : inputs) {
    Job job;
    job.input = job.output = input.path;
    job.format = o.format;
    job.in_place = o.destination == Destination::InPlace;
    if (input.path == kStandardStream && o.destination != Destination::File)
      throw UsageError("a picture from standard input needs -o OUT (or -o - for standard output)");
    if (o.destination == Destination::File) {
      job.output = o.target;
      job.format = output_format(o.target, o.format);
    }
    if (o.destination == Destination::Folder) {
      std::string name = base_name(input.path);
      if (o.format) name = name.substr(0, name.rfind('.')) + format_extension(*o.format);
      job.output = with_slash(o.target) + input.relative_folder + name;
    }
    if (job.output != kStandardStream)
      job.name = input.relative_folder + base_name(job.output);
    else if (input.path != kStandardStream)
      job.name = base_name(input.path);
    else
      job.name = std::string("picture") + format_extension(job.format.value_or(Format::Jpeg));
    if (job.output != kStandardStream &&
        !outputs.insert(fs::absolute(job.output).lexically_normal().string()).second)
      throw UsageError("two pictures would be written to " + job.output);
    if (o.destination != Destination::InPlace && same_file(input.path, job.output))
      job.problem = "the output would overwrite the input (use --in-place to allow that)";
    struct stat existing {};
    if (o.no_clobber && job.problem.empty() && job.output != kStandardStream &&
        lstat(job.output.c_str(), &existing) == 0)
      job.skip = "the output " + job.output + " exists (--no-clobber)";
    jobs.push_back(job);
  }
  return jobs;
}

void make_folders(const std::string& path) {
  std::error_code error;
  fs::create_directories(path, error);
  if (error) throw Failure("cannot create the folder " + path + ": " + error.message());
}

std::string with_slash(const std::string& folder) {
  return folder.empty() || folder.back() == '/' ? folder : folder + "/";
}

}  // namespace zkcli
