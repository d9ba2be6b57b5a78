// What a run says: a line per picture (or a progress bar), the summary at the
// end that accounts for every input, and with --json the same as JSON Lines.
// Every input ends up in exactly one count: corrected, unchanged, failed or
// skipped.
#pragma once

#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "core/output_plan.h"
#include "core/picture_summary.h"
#include "core/progress.h"

namespace zkcli {

enum class Verbosity { Quiet, Normal, Verbose };

struct RunCounts {
  int corrected = 0, unchanged = 0, failed = 0, skipped = 0;
};

class RunOutput {
 public:
  // command names the tool in messages; text is where messages and JSON go
  // (standard error when standard output carries a picture).
  RunOutput(const char* command, std::FILE* text, Verbosity verbosity, bool json);

  // Inputs left out before any work (not pictures, in sub-folders).
  void skipped_before(const std::vector<Skip>& skipped);
  // One picture's result, as it comes.
  void picture(const PictureSummary& summary, Progress& progress);
  // The closing summary of a run of this many pictures.
  void finish(std::size_t pictures, double seconds, const std::string& settings);
  // A closing line of text ("Report: out/report.html"), not in quiet or JSON runs.
  void note(const std::string& line);

  const RunCounts& counts() const { return counts_; }

 private:
  void count_skip(const std::string& reason);

  const char* command_;
  std::FILE* text_;
  Verbosity verbosity_;
  bool json_;
  RunCounts counts_;
  std::vector<std::pair<std::string, std::string>> failures_;
  std::map<std::string, int> skip_reasons_;  // by kind: "not pictures", ...
};

// The line shown for a picture after its name: "corrected -> out/a.jpg",
// with the correction in words when verbose.
std::string picture_line(const PictureSummary& summary, bool verbose);

}  // namespace zkcli
