// The hot folder's journal, a small text file in the output folder: one line
// per step of a picture ("start", "written", "done"), appended and synced
// before the step's effect is relied on, so that after a crash or a stop the
// watcher knows what it finished. A picture is known by its name, size and
// modification time: a new file under an old name is a new picture.
//
// Error policy: a line that cannot be read (a torn last line after a crash)
// is ignored; a journal that cannot be written stops the watcher.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <map>
#include <string>
#include <tuple>

namespace zkcli {

struct WatchedFile {
  std::string name;
  std::uint64_t size = 0;
  std::int64_t mtime_ns = 0;
  bool operator<(const WatchedFile& o) const {
    return std::tie(name, size, mtime_ns) < std::tie(o.name, o.size, o.mtime_ns);
  }
};

enum class Step { Start, Written, Done };

class WatchJournal {
 public:
  // Reads the journal at path (a missing one is empty) and keeps it open
  // for appending. Failure when it cannot be opened.
  explicit WatchJournal(const std::string& path);
  ~WatchJournal();
  WatchJournal(const WatchJournal&) = delete;
  WatchJournal& operator=(const WatchJournal&) = delete;

  // The last step recorded for a file, if any.
  const Step* last(const WatchedFile& file) const;
  // Records a step and syncs it to disk. Failure when it cannot.
  void record(const WatchedFile& file, Step step, const std::string& detail = "");
  // Rewrites the journal with the entries of files still present (by name):
  // it stays as small as the folder.
  void compact(const std::map<std::string, bool>& present);

 private:
  void open_for_append();

  std::string path_;
  int fd_ = -1;
  std::map<WatchedFile, Step> steps_;
};

}  // namespace zkcli
