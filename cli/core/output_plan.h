// Which pictures a run reads and where each result goes. Folders are read by
// name: what is not named as a picture (.jpg .jpeg .png .tif .tiff) and, without
// -r, what lies in sub-folders is counted as skipped with its reason, never
// passed over in silence.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "core/library_session.h"
#include "files/picture_file.h"

namespace zkcli {

// "-" as an input is standard input, as an output standard output.
inline constexpr const char* kStandardStream = "-";

struct Input {
  std::string path;
  std::string relative_folder;  // below the folder given ("" or "a/b/"), mirrored under --out-dir
};

// An input left out before any work, and why.
struct Skip {
  std::string path;
  std::string reason;  // "not a picture (by its name)", "in a sub-folder (use -r)"
};

struct Expansion {
  std::vector<Input> inputs;
  std::vector<Skip> skipped;
};

// The inputs as given, each folder replaced by its pictures (sorted by
// name; with recursive, those of its sub-folders too). Paths that do not
// exist are kept, so that they fail with their reason.
Expansion expand_inputs(const std::vector<std::string>& given, bool recursive);

struct Job {
  std::size_t index = 0;  // the job's place in its run
  std::string input;
  std::string output;
  // The output's path below the run's destination ("a.jpg", "sub/b.png"):
  // where a later run from a review's decisions puts the picture.
  std::string name;
  std::optional<Format> format;  // the output's format; nothing: the input's
  bool in_place = false;
  std::string problem;  // set when the job must fail before it starts
  std::string skip;     // set when the job is skipped (--no-clobber)
  // A run from a review's decisions: the decision ("accept", "adjust",
  // "reject"), the adjustments of an adjusted picture (else the run's), and
  // for an accepted one the earlier output that is copied instead of
  // correcting the input again.
  std::string decision;
  std::optional<Adjustments> adjustments;
  std::string copy_from;
};

enum class Destination { File, Folder, InPlace };

struct PlanOptions {
  Destination destination = Destination::File;
  std::string target;
  std::optional<Format> format;  // --format
  bool no_clobber = false;
};

// One job per input. A UsageError when the destination does not fit the
// inputs (-o with several inputs), when -o names no known format, or when
// two inputs would write one output; an input that would be overwritten
// without --in-place gets a problem, an existing output under --no-clobber
// a skip.
std::vector<Job> plan_jobs(const std::vector<Input>& inputs, const PlanOptions& options);

// The output format -o asks for: --format, else the name's extension; a
// UsageError when neither says (or they disagree).
std::optional<Format> output_format(const std::string& output, std::optional<Format> format);

// Makes a folder and its parents. Failure with the reason.
void make_folders(const std::string& path);

// Whether two paths name one existing file (through links too).
bool same_file(const std::string& a, const std::string& b);

// The last part of a path, and all before it.
std::string base_name(const std::string& path);
std::string folder_name(const std::string& path);

// A folder's path ready for a name after it: "out" -> "out/" ("" stays "").
std::string with_slash(const std::string& folder);

}  // namespace zkcli
