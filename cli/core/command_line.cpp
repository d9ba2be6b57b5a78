#include "core/command_line.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace zkcli {

Arguments::Arguments(int argc, char** argv, int first) : args_(argv + first, argv + argc) {}

bool Arguments::flag(const char* name) {
  if (done() || options_ended_ || args_[at_] != name) return false;
  ++at_;
  given_.emplace_back(name);
  return true;
}

bool Arguments::option(const char* name, std::string& value) {
  if (done() || options_ended_) return false;
  const std::string& arg = args_[at_];
  const std::size_t n = std::strlen(name);
  if (arg.compare(0, n, name) != 0) return false;
  if (arg.size() == n) {
    if (at_ + 1 >= args_.size()) throw UsageError(std::string(name) + " needs a value");
    value = args_[at_ + 1];
    at_ += 2;
  } else if (arg[n] == '=') {
    value = arg.substr(n + 1);
    ++at_;
  } else {
    return false;
  }
  given_.emplace_back(name);
  return true;
}

std::string Arguments::positional() {
  std::string arg = args_[at_++];
  if (!options_ended_ && arg == "--") {
    options_ended_ = true;
    if (done()) throw UsageError("nothing after --");
    arg = args_[at_++];
  }
  if (!options_ended_ && arg.size() > 1 && arg[0] == '-') throw UsageError("unknown option " + arg);
  return arg;
}

int parse_number(const std::string& text, const char* option, int min, int max, int base) {
  const char* start = text.c_str();
  if (base == 16 && (text.rfind("0x", 0) == 0 || text.rfind("0X", 0) == 0)) start += 2;
  char* end = nullptr;
  errno = 0;
  const long value = std::strtol(start, &end, base);
  if (*start == '\0' || *end != '\0' || errno != 0)
    throw UsageError(std::string(option) + ": '" + text + "' is not a " +
                     (base == 16 ? "hexadecimal " : "") + "number");
  if (value < min || value > max)
    throw UsageError(std::string(option) + ": " + text + " is outside " + std::to_string(min) +
                     ".." + std::to_string(max));
  return static_cast<int>(value);
}

bool adjustment_option(Arguments& args, Adjustments& a) {
  std::string value;
  if (args.option("--mode", value)) {
    a.mode = parse_number(value, "--mode", kModeRange.min, kModeRange.max, 16);
    return true;
  }
  for (const AdjustmentField& f : kAdjustmentFields)
    if (args.option(f.option, value)) {
      a.*f.member = parse_number(value, f.option, f.range.min, f.range.max);
      return true;
    }
  return false;
}

void parse_triple(const std::string& text, const char* option, int min, int max, int out[3]) {
  std::size_t from = 0;
  for (int i = 0; i < 3; ++i) {
    const std::size_t comma = text.find(',', from);
    if ((i < 2) != (comma != std::string::npos))
      throw UsageError(std::string(option) + ": expected three numbers R,G,B, got '" + text + "'");
    out[i] = parse_number(text.substr(from, comma - from), option, min, max);
    from = comma + 1;
  }
}

}  // namespace zkcli
