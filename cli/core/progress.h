// Progress of a run: a bar redrawn in place on a terminal, one plain line
// per picture otherwise ("[3/40] name: ..."; without the count when the
// total is 0, for a run with no end). Failures are always printed, each on
// its own line.
#pragma once

#include <cstdio>
#include <string>

namespace zkcli {

class Progress {
 public:
  Progress(std::size_t total, std::FILE* out, bool terminal);
  // A picture is done: ok, or failed for the reason given.
  void finished(const std::string& name, bool ok, const std::string& detail);
  // Clears the bar.
  void close();

 private:
  void draw(const std::string& name);

  std::size_t total_;
  std::size_t done_ = 0;
  std::FILE* out_;
  bool terminal_;
};

}  // namespace zkcli
