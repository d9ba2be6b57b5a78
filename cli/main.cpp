// zkimgset: automatic set-up of photo files from the command line.
#include <cstdio>
#include <cstring>
#include <exception>
#include <string>

#include "commands/commands.h"
#include "core/command_line.h"
#include "files/picture_file.h"

namespace {

constexpr const char* kHelp = R"(Usage: zkimgset COMMAND [ARGS...]

Image set-up for photographic print production.

Commands:
  autosetup IN... -o OUT|--out-dir DIR   analyse and correct pictures (JPEG, PNG, TIFF)
  analyse IN... [--json] [--dump DIR]    show the analysis of pictures
  convert --op OP IN -o OUT              density and colour-balance conversions
  tables [DIR|FILE...]                   the colour tables: status and validation
  watch IN --out-dir DIR                 a hot folder: correct pictures as they arrive

Run 'zkimgset COMMAND --help' for a command's options; 'zkimgset --version'.
)";

struct Command {
  const char* name;
  int (*run)(int, char**, int);
};

constexpr Command kCommands[] = {
    {"autosetup", zkcli::run_autosetup}, {"analyse", zkcli::run_analyse},
    {"analyze", zkcli::run_analyse},     {"convert", zkcli::run_convert},
    {"tables", zkcli::run_tables},       {"watch", zkcli::run_watch}};

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2 || std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0) {
    std::fputs(kHelp, argc < 2 ? stderr : stdout);
    return argc < 2 ? zkcli::kExitUsage : 0;
  }
  if (std::strcmp(argv[1], "--version") == 0) {
    std::printf("zkimgset %s (library %d.%d.%d)\n", ZKIMGSET_CLI_VERSION, ZKIMGSET_VERSION_MAJOR,
                ZKIMGSET_VERSION_MINOR, ZKIMGSET_VERSION_PATCH);
    return 0;
  }
  for (const Command& command : kCommands) {
    if (std::strcmp(argv[1], command.name) != 0) continue;
    try {
      return command.run(argc, argv, 2);
    } catch (const zkcli::UsageError& e) {
      std::fprintf(stderr, "zkimgset %s: %s\nTry 'zkimgset %s --help'.\n", command.name, e.what(),
                   command.name);
      return zkcli::kExitUsage;
    } catch (const std::bad_alloc&) {
      std::fprintf(stderr, "zkimgset %s: out of memory\n", command.name);
    } catch (const std::exception& e) {
      std::fprintf(stderr, "zkimgset %s: %s\n", command.name, e.what());
    }
    return zkcli::kExitFailed;
  }
  std::fprintf(stderr, "zkimgset: unknown command '%s'\nTry 'zkimgset --help'.\n", argv[1]);
  return zkcli::kExitUsage;
}
