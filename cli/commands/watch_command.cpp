// zkimgset watch: a hot folder. Pictures dropped into IN are corrected into
// OUT once they are completely written: when their size and modification
// time have held still for --settle seconds, or at once when a marker file
// NAME.done appears (with --wait-for-done, only then). Each input is then
// moved to --done-dir or --failed-dir, or left where it is. A journal in OUT
// (watch_journal.h) makes a restart neither process a picture twice nor
// lose one; SIGTERM or SIGINT lets the pictures under way finish, then stops.
#include <poll.h>
#include <sys/inotify.h>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <map>
#include <optional>

#include "commands/commands.h"
#include "core/command_line.h"
#include "core/correction.h"
#include "core/output_plan.h"
#include "core/run_output.h"
#include "core/watch_journal.h"
#include "core/worker_pool.h"
#include "files/input_file.h"

namespace zkcli {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr const char* kHelp =
    R"(Usage: zkimgset watch IN --out-dir OUT [--done-dir DIR] [--failed-dir DIR] [options]

Watches the folder IN and corrects each picture written into it (JPEG, PNG
or TIFF) into OUT, under its own name, once it is completely written: when
its size has held still for --settle seconds, or at once when a marker file
NAME.done (photo.jpg.done) appears beside it. Runs until SIGTERM or SIGINT,
which let the pictures under way finish.

  --out-dir OUT       where corrected pictures go (made if missing); it holds
                      the journal .zkimgset-watch.journal, which lets a
                      restart skip what was done and pick up what was not
  --done-dir DIR      move each corrected (or unchanged) input here
  --failed-dir DIR    move each input that failed here
                      (without these, inputs stay in IN and the journal
                      keeps them from being processed again)
  --settle SECONDS    how long a file's size must hold still (default 2)
  --wait-for-done     only process a picture once its .done marker exists
  --format F          write jpeg, png or tiff (default: the input's)
  --quality N         JPEG quality, 1..100 (default 95)
%s  --jobs N            worker processes (default 1)
  -q, --quiet         errors only
  -v, --verbose       what each picture's correction did, in words
  --json              one JSON object a picture (JSON Lines), then a summary
  --help              this text

Files that are not pictures by their name, folders and anything that is not
a regular file (a FIFO, a device) are reported once and left alone.
)";

constexpr const char* kJournalName = ".zkimgset-watch.journal";
constexpr const char* kMarkerSuffix = ".done";
constexpr int kDefaultSettleMs = 2000;
constexpr int kMaxSettleMs = 3600 * 1000;

struct Options {
  std::string in, out, done_dir, failed_dir;
  int settle_ms = kDefaultSettleMs;
  bool wait_for_done = false;
  std::optional<Format> format;
  RunSettings settings;
  int jobs = 1;
  Verbosity verbosity = Verbosity::Normal;
  bool json = false;
};

std::optional<Options> parse(int argc, char** argv, int first) {
  Options o;
  std::string value;
  for (Arguments args(argc, argv, first); !args.done();) {
    if (args.flag("--help") || args.flag("-h")) {
      std::printf(kHelp, kAdjustmentHelp);
      return std::nullopt;
    } else if (args.option("--out-dir", value)) {
      o.out = value;
    } else if (args.option("--done-dir", value)) {
      o.done_dir = value;
    } else if (args.option("--failed-dir", value)) {
      o.failed_dir = value;
    } else if (args.option("--settle", value)) {
      char* end = nullptr;
      const double seconds = std::strtod(value.c_str(), &end);
      if (value.empty() || *end != '\0' || !(seconds >= 0) || seconds * 1000 > kMaxSettleMs)
        throw UsageError("--settle: '" + value + "' is not a number of seconds up to 3600");
      o.settle_ms = static_cast<int>(seconds * 1000);
    } else if (args.flag("--wait-for-done")) {
      o.wait_for_done = true;
    } else if (args.option("--format", value)) {
      o.format = parse_format(value);
      if (!o.format) throw UsageError("--format: '" + value + "' is not jpeg, png or tiff");
    } else if (args.option("--quality", value)) {
      o.settings.quality = parse_number(value, "--quality", 1, 100);
    } else if (adjustment_option(args, o.settings.adjustments)) {
    } else if (args.flag("--no-exif")) {
      o.settings.use_exif = false;
    } else if (args.option("--jobs", value) || args.option("-j", value)) {
      o.jobs = parse_number(value, "--jobs", 1, 1024);
    } else if (args.flag("-q") || args.flag("--quiet")) {
      o.verbosity = Verbosity::Quiet;
    } else if (args.flag("-v") || args.flag("--verbose")) {
      o.verbosity = Verbosity::Verbose;
    } else if (args.flag("--json")) {
      o.json = true;
    } else {
      if (!o.in.empty()) throw UsageError("watch takes one folder");
      o.in = args.positional();
    }
  }
  if (o.in.empty()) throw UsageError("say which folder to watch");
  if (o.out.empty()) throw UsageError("say where to write: --out-dir DIR");
  std::error_code error;
  if (!fs::is_directory(o.in, error)) throw UsageError(o.in + " is not a folder");
  for (const std::string* dir : {&o.out, &o.done_dir, &o.failed_dir}) {
    if (dir->empty()) continue;
    make_folders(*dir);
    if (fs::equivalent(*dir, o.in, error))
      throw UsageError("the watched folder " + o.in + " cannot also be " + *dir);
  }
  return o;
}

// A file of the watched folder as last seen.
struct Seen {
  WatchedFile file;
  Clock::time_point still_since;
  bool reported = false;  // a skip is said once
};

std::int64_t mtime_ns(const struct stat& st) {
  return std::int64_t{st.st_mtim.tv_sec} * 1'000'000'000 + st.st_mtim.tv_nsec;
}

// Moves a file into folder, under a new name if one is taken there.
std::string move_into(const std::string& path, const std::string& folder) {
  const std::string name = base_name(path);
  std::string target = folder + "/" + name;
  for (int n = 2; fs::exists(fs::symlink_status(target)); ++n)
    target = folder + "/" + name + "." + std::to_string(n);
  std::error_code error;
  fs::rename(path, target, error);
  if (error) {  // another file system: copy, then remove
    fs::copy_file(path, target, error);
    if (!error) fs::remove(path, error);
  }
  if (error) throw Failure("cannot move " + path + " to " + folder + ": " + error.message());
  return target;
}

class Watcher {
 public:
  explicit Watcher(const Options& o)
      : o_(o),
        journal_(o.out + "/" + kJournalName),
        output_("watch", stdout, o.verbosity, o.json),
        progress_(0, stdout, false),
        pool_(
            o.jobs, [this](const std::string& request) { return run(request); },
            [this] { restore_library(o_.settings.adjustments); }) {}

  int loop(int signals) {
    const auto start = Clock::now();
    const int watch_fd = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (watch_fd < 0 || inotify_add_watch(watch_fd, o_.in.c_str(),
                                          IN_CLOSE_WRITE | IN_MOVED_TO | IN_CREATE | IN_MODIFY |
                                              IN_ATTRIB | IN_DELETE | IN_MOVED_FROM) < 0)
      throw Failure("cannot watch " + o_.in + ": " + std::strerror(errno));
    compact();
    bool stopping = false;
    while (!stopping || pool_.busy() > 0) {
      if (!stopping) scan();
      // Wake for a change in the folder, a signal, a result, or the moment
      // the next file may have settled.
      pollfd fds[2] = {{watch_fd, POLLIN, 0}, {signals, POLLIN, 0}};
      const int timeout = stopping ? -1 : next_wake_ms();
      if (pool_.busy() == 0) {
        if (poll(fds, 2, timeout) < 0 && errno != EINTR) break;
      } else {
        for (auto& [id, result] : pool_.wait(stopping ? -1 : timeout, stopping ? -1 : watch_fd))
          finish(id, result);
        poll(fds, 2, 0);
      }
      if (fds[0].revents != 0) drain(watch_fd);
      if (fds[1].revents != 0) {
        signalfd_siginfo info{};
        if (read(signals, &info, sizeof info) > 0) stopping = true;
      }
    }
    close(watch_fd);
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    output_.finish(pictures_, seconds, settings_text(o_.settings));
    return 0;
  }

 private:
  static void drain(int fd) {
    char buffer[4096];
    while (read(fd, buffer, sizeof buffer) > 0) {
    }
  }

  std::string path_of(const std::string& name) const { return o_.in + "/" + name; }

  void compact() {
    std::map<std::string, bool> present;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(o_.in, error))
      present[entry.path().filename().string()] = true;
    journal_.compact(present);
  }

  // Looks at every file of the folder and starts those that are ready.
  void scan() {
    std::error_code error;
    std::map<std::string, bool> present;
    const auto now = Clock::now();
    for (const auto& entry : fs::directory_iterator(o_.in, error)) {
      const std::string name = entry.path().filename().string();
      present[name] = true;
      if (name[0] == '.' || name.ends_with(kMarkerSuffix)) continue;
      struct stat st {};
      if (lstat(path_of(name).c_str(), &st) != 0) continue;
      const WatchedFile file{name, static_cast<std::uint64_t>(st.st_size), mtime_ns(st)};
      auto [at, fresh] = seen_.try_emplace(name, Seen{file, now, false});
      Seen& seen = at->second;
      if (!fresh && (seen.file.size != file.size || seen.file.mtime_ns != file.mtime_ns)) {
        seen = Seen{file, now, false};
      }
      if (!S_ISREG(st.st_mode) || !format_of_name(name)) {
        if (!seen.reported) {
          seen.reported = true;
          skip(path_of(name), S_ISDIR(st.st_mode) ? "a folder (watch does not go into folders)"
                              : !S_ISREG(st.st_mode)
                                  ? "not a regular file (" + kind_of_file(st.st_mode) + ")"
                                  : "not a picture (by its name)");
        }
        continue;
      }
      if (running_.count(name) != 0) continue;
      const Step* step = journal_.last(file);
      if (step != nullptr && *step == Step::Done) continue;
      const bool marked = fs::exists(path_of(name + kMarkerSuffix), error);
      const bool settled = !o_.wait_for_done && file.size > 0 &&
                           now - seen.still_since >= std::chrono::milliseconds(o_.settle_ms);
      if (!marked && !settled) continue;
      if (step != nullptr && *step == Step::Written) {
        // Written before a stop or crash; only the move was left.
        settle(file, true, "");
        continue;
      }
      if (!pool_.can_take()) continue;
      start(file);
    }
    for (auto at = seen_.begin(); at != seen_.end();)
      at = present.count(at->first) ? std::next(at) : seen_.erase(at);
  }

  int next_wake_ms() const {
    if (o_.wait_for_done) return 1000;  // markers are also looked for by time
    return std::max(50, std::min(o_.settle_ms / 2 + 10, 1000));
  }

  void skip(const std::string& path, const std::string& reason) {
    PictureSummary s;
    s.input = path;
    s.outcome = Outcome::Skipped;
    s.reason = reason;
    output_.picture(s, progress_);
  }

  void start(const WatchedFile& file) {
    journal_.record(file, Step::Start);
    const std::size_t id = next_id_++;
    running_[file.name] = id;
    files_[id] = file;
    pool_.submit(id, file.name);
  }

  TaskResult run(const std::string& name) {
    Job job;
    job.input = path_of(name);
    job.format = o_.format;
    std::string out = name;
    if (o_.format) out = out.substr(0, out.rfind('.')) + format_extension(*o_.format);
    job.output = o_.out + "/" + out;
    const JobResult r = correct_job(job, o_.settings);
    return TaskResult{r.summary.outcome != Outcome::Failed, r.summary.reason,
                      pack_summary(r.summary)};
  }

  void finish(std::size_t id, const TaskResult& result) {
    const WatchedFile file = files_[id];
    files_.erase(id);
    running_.erase(file.name);
    PictureSummary s;
    if (!unpack_summary(result.payload, s)) {
      s.input = path_of(file.name);
      s.outcome = Outcome::Failed;
      s.reason = result.message;
    }
    const bool ok = s.outcome != Outcome::Failed;
    if (ok) journal_.record(file, Step::Written, s.output);
    std::string moved;
    try {
      moved = settle(file, ok, s.output);
    } catch (const Failure& e) {
      s.notes.push_back(e.what());
    }
    if (!moved.empty()) s.notes.push_back("input moved to " + moved);
    ++pictures_;
    output_.picture(s, progress_);
  }

  // The input's last step: moved as configured, its marker removed, done.
  std::string settle(const WatchedFile& file, bool ok, const std::string& detail) {
    const std::string& folder = ok ? o_.done_dir : o_.failed_dir;
    std::string moved;
    std::error_code error;
    if (!folder.empty() && fs::exists(fs::symlink_status(path_of(file.name), error)))
      moved = move_into(path_of(file.name), folder);
    fs::remove(path_of(file.name + kMarkerSuffix), error);
    journal_.record(file, Step::Done, detail);
    return moved;
  }

  const Options& o_;
  WatchJournal journal_;
  RunOutput output_;
  Progress progress_;
  WorkerPool pool_;
  std::map<std::string, Seen> seen_;
  std::map<std::string, std::size_t> running_;
  std::map<std::size_t, WatchedFile> files_;
  std::size_t next_id_ = 0;
  std::size_t pictures_ = 0;
};

}  // namespace

int run_watch(int argc, char** argv, int first) {
  const std::optional<Options> parsed = parse(argc, argv, first);
  if (!parsed) return 0;
  // SIGTERM and SIGINT arrive as reads of a descriptor, between pictures.
  sigset_t stop;
  sigemptyset(&stop);
  sigaddset(&stop, SIGTERM);
  sigaddset(&stop, SIGINT);
  sigprocmask(SIG_BLOCK, &stop, nullptr);
  const int signals = signalfd(-1, &stop, SFD_CLOEXEC);
  if (signals < 0) throw Failure(std::string("cannot take signals: ") + std::strerror(errno));
  configure_library(parsed->settings.adjustments);
  Watcher watcher(*parsed);
  const int status = watcher.loop(signals);
  close(signals);
  return status;
}

}  // namespace zkcli
