// The command-line tool run as a user runs it, and the files it reads and
// writes, for the tests that drive it whole.
#ifndef ZKIMGSET_TESTS_CLI_TOOL_RUN_H
#define ZKIMGSET_TESTS_CLI_TOOL_RUN_H

#include <filesystem>
#include <string>

namespace zkcli {

struct ToolRun {
  int status;          // exit status, or -1 when it did not exit
  std::string output;  // standard output and standard error
};

// A shell command line's status and messages; run_tool runs the tool.
ToolRun run_shell(const std::string& command);
ToolRun run_tool(const std::string& arguments);

std::string slurp(const std::filesystem::path& path);
void spit(const std::filesystem::path& path, const std::string& bytes);

}  // namespace zkcli

#endif
