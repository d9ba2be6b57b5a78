#include "core/watch_journal.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <sstream>
#include <tuple>

#include "core/tool_limits.h"
#include "files/atomic_output.h"
#include "files/input_file.h"
#include "files/picture_file.h"

namespace zkcli {
namespace {

constexpr const char* kStepNames[] = {"start", "written", "done"};

// Names may hold any byte but NUL and '/': tab, newline and '%' are written
// as %XX so that a line is always one record.
std::string escape(const std::string& text) {
  std::string out;
  for (unsigned char c : text) {
    if (c == '\t' || c == '\n' || c == '\r' || c == '%') {
      char hex[4];
      std::snprintf(hex, sizeof hex, "%%%02X", c);
      out += hex;
    } else {
      out += static_cast<char>(c);
    }
  }
  return out;
}

std::string unescape(const std::string& text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%' && i + 2 < text.size()) {
      out += static_cast<char>(std::strtol(text.substr(i + 1, 2).c_str(), nullptr, 16));
      i += 2;
    } else {
      out += text[i];
    }
  }
  return out;
}

std::string line_of(const WatchedFile& f, Step step, const std::string& detail) {
  return std::string(kStepNames[static_cast<int>(step)]) + "\t" + escape(f.name) + "\t" +
         std::to_string(f.size) + "\t" + std::to_string(f.mtime_ns) + "\t" + escape(detail) + "\n";
}

}  // namespace

WatchJournal::WatchJournal(const std::string& path) : path_(path) {
  std::string text;
  struct stat existing {};
  if (lstat(path.c_str(), &existing) == 0) {
    try {
      text = read_file(path, kMaxJournalBytes);
    } catch (const Failure& e) {
      throw Failure("cannot read the journal " + path + ": " + e.what());
    }
  }
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) {
    std::istringstream fields(line);
    std::string step, name, size, mtime;
    if (!std::getline(fields, step, '\t') || !std::getline(fields, name, '\t') ||
        !std::getline(fields, size, '\t') || !std::getline(fields, mtime, '\t'))
      continue;
    for (int s = 0; s < 3; ++s)
      if (step == kStepNames[s])
        steps_[{unescape(name), std::strtoull(size.c_str(), nullptr, 10),
                std::strtoll(mtime.c_str(), nullptr, 10)}] = static_cast<Step>(s);
  }
  open_for_append();
}

WatchJournal::~WatchJournal() {
  if (fd_ >= 0) close(fd_);
}

void WatchJournal::open_for_append() {
  if (fd_ >= 0) close(fd_);
  fd_ = open(path_.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0644);
  if (fd_ < 0) throw Failure("cannot open the journal " + path_ + ": " + std::strerror(errno));
}

const Step* WatchJournal::last(const WatchedFile& file) const {
  const auto at = steps_.find(file);
  return at == steps_.end() ? nullptr : &at->second;
}

void WatchJournal::record(const WatchedFile& file, Step step, const std::string& detail) {
  const std::string line = line_of(file, step, detail);
  if (write(fd_, line.data(), line.size()) != static_cast<ssize_t>(line.size()) || fsync(fd_) != 0)
    throw Failure("cannot write the journal " + path_ + ": " + std::strerror(errno));
  steps_[file] = step;
}

void WatchJournal::compact(const std::map<std::string, bool>& present) {
  std::string text;
  for (auto at = steps_.begin(); at != steps_.end();) {
    if (present.count(at->first.name) == 0) {
      at = steps_.erase(at);
      continue;
    }
    text += line_of(at->first, at->second, "");
    ++at;
  }
  write_atomically(path_, text);
  open_for_append();
}

}  // namespace zkcli
