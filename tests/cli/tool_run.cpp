#include "tool_run.h"

#include <sys/wait.h>

#include <cstdio>
#include <fstream>

#include "core/tool_limits.h"
#include "files/input_file.h"

namespace zkcli {

ToolRun run_shell(const std::string& command) {
  FILE* pipe = popen(("{ " + command + "\n} 2>&1").c_str(), "r");
  ToolRun run{-1, {}};
  if (!pipe) return run;
  char buffer[4096];
  std::size_t n = 0;
  while ((n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0) run.output.append(buffer, n);
  const int status = pclose(pipe);
  run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return run;
}

ToolRun run_tool(const std::string& arguments) {
  return run_shell(std::string(ZKIMGSET_TEST_TOOL) + " " + arguments);
}

std::string slurp(const std::filesystem::path& path) {
  return read_file(path.string(), kMaxPictureFileBytes);
}

void spit(const std::filesystem::path& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

}  // namespace zkcli
