// Reading a subcommand's arguments: options as "--name value" or
// "--name=value", everything else positional; "--" ends the options.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "core/library_session.h"

namespace zkcli {

// A mistake on the command line: the tool prints it with a hint to --help
// and exits with status 2.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class Arguments {
 public:
  Arguments(int argc, char** argv, int first);

  bool done() const { return at_ >= args_.size(); }
  // Takes the next argument if it is the flag `name`.
  bool flag(const char* name);
  // Takes the next argument if it is the option `name` and its value.
  bool option(const char* name, std::string& value);
  // Takes the next argument, which must not be an unknown option.
  std::string positional();
  // The flags and options taken so far, by the name each was asked for
  // ("--level", also for "--level=110"), so that a command can tell which
  // were given at all, not only which values differ from the defaults.
  const std::vector<std::string>& given() const { return given_; }

 private:
  std::vector<std::string> args_;
  std::vector<std::string> given_;
  std::size_t at_ = 0;
  bool options_ended_ = false;
};

// A whole number within [min, max] ("--level", "130"); base 16 accepts a
// leading "0x".
int parse_number(const std::string& text, const char* option, int min, int max, int base = 10);

// Takes the next argument if it is one of the analysis options (--mode,
// --level, --contrast, --saturation, --blue-shift, --red-shift) and stores
// its value.
bool adjustment_option(Arguments& args, Adjustments& adjustments);

// The help lines of those options.
inline constexpr const char* kAdjustmentHelp =
    "  --mode HEX          analysis stages, setup_mode bits (default 0xDF, the full analysis)\n"
    "  --level N           brightness adjustment, 70..130 (default 100, neutral)\n"
    "  --contrast N        contrast adjustment, -30..30 (default 0)\n"
    "  --saturation N      saturation adjustment, -150..150 (default 0)\n"
    "  --blue-shift N      colour shift toward blue (or yellow, below 0), -7..7 (default 0)\n"
    "  --red-shift N       colour shift toward red (or cyan, below 0), -7..7 (default 0)\n"
    "  --no-exif           ignore the file's Exif shooting values (flash, brightness)\n";

// "R,G,B" balance steps, each within [min, max].
void parse_triple(const std::string& text, const char* option, int min, int max, int out[3]);

}  // namespace zkcli
