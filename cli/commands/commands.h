// The subcommands. Each takes the arguments after its name and returns the
// process's exit status: 0 when everything succeeded, 1 when a picture or
// file failed, 2 for a mistake on the command line.
#pragma once

namespace zkcli {

int run_autosetup(int argc, char** argv, int first);
int run_analyse(int argc, char** argv, int first);
int run_convert(int argc, char** argv, int first);
int run_tables(int argc, char** argv, int first);
int run_watch(int argc, char** argv, int first);

inline constexpr int kExitFailed = 1;
inline constexpr int kExitUsage = 2;

}  // namespace zkcli
