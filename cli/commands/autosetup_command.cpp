// zkimgset autosetup: analyse and correct photo files, with an optional
// visual report.
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <optional>

#include "commands/commands.h"
#include "core/command_line.h"
#include "core/library_session.h"
#include "core/output_plan.h"
#include "core/progress.h"
#include "core/worker_pool.h"
#include "files/atomic_output.h"
#include "files/input_file.h"
#include "report/picture_report.h"

namespace zkcli {
namespace {

constexpr const char* kHelp =
    R"(Usage: zkimgset autosetup IN... (-o OUT | --out-dir DIR | --in-place) [options]

Analyses each JPEG or PNG picture (or every one in a folder IN), corrects its
tone, colour balance and saturation, and writes it in the same format.

Output:
  -o OUT              the corrected picture (one input only)
  --out-dir DIR       write each picture under its own name into DIR (made if missing)
  --in-place          replace each input with its corrected picture
  --quality N         JPEG quality, 1..100 (default 95)
  --report FILE.html  also write a visual report of every picture
Analysis:
%sRunning:
  --jobs N            worker processes (default: the number of cores)
  --help              this text

Exit status: 0 when every picture was corrected, 1 when any failed, 2 for a
usage mistake. Inputs are regular files of at most 352 MiB. Outputs are
written to a temporary file and renamed into place when complete (a device
or FIFO is written directly; a symbolic link is kept and the file it points
to replaced); an input is never overwritten without --in-place.
)";

struct Options {
  std::vector<std::string> inputs;
  Destination destination = Destination::File;
  std::string target;
  int quality = 95;
  std::string report;
  Adjustments adjustments;
  bool use_exif = true;
  int jobs = 0;
};

std::optional<Options> parse(int argc, char** argv, int first) {
  Options o;
  int destinations = 0;
  std::string value;
  for (Arguments args(argc, argv, first); !args.done();) {
    if (args.flag("--help") || args.flag("-h")) {
      std::printf(kHelp, kAdjustmentHelp);
      return std::nullopt;
    } else if (args.option("-o", value) || args.option("--output", value)) {
      o.destination = Destination::File, o.target = value, ++destinations;
    } else if (args.option("--out-dir", value)) {
      o.destination = Destination::Folder, o.target = value, ++destinations;
    } else if (args.flag("--in-place")) {
      o.destination = Destination::InPlace, ++destinations;
    } else if (args.option("--quality", value)) {
      o.quality = parse_number(value, "--quality", 1, 100);
    } else if (args.option("--report", value)) {
      o.report = value;
    } else if (adjustment_option(args, o.adjustments)) {
    } else if (args.flag("--no-exif")) {
      o.use_exif = false;
    } else if (args.option("--jobs", value) || args.option("-j", value)) {
      o.jobs = parse_number(value, "--jobs", 1, 1024);
    } else {
      o.inputs.push_back(args.positional());
    }
  }
  if (o.inputs.empty()) throw UsageError("no input pictures");
  if (destinations != 1)
    throw UsageError(destinations == 0 ? "say where to write: -o OUT, --out-dir DIR or --in-place"
                                       : "give only one of -o, --out-dir and --in-place");
  if (o.jobs == 0) o.jobs = available_cores();
  return o;
}

std::string settings_text(const Options& o) {
  char text[160];
  std::snprintf(text, sizeof text, "mode 0x%02X, level %d, contrast %d, saturation %d, %s",
                o.adjustments.mode, o.adjustments.level, o.adjustments.contrast,
                o.adjustments.saturation, o.use_exif ? "Exif shooting values" : "Exif ignored");
  return text;
}

// One picture, in its worker process.
TaskResult correct(const Job& job, const Options& o) {
  const auto start = std::chrono::steady_clock::now();
  if (!job.problem.empty()) throw Failure(job.problem);
  // One per worker, kept from picture to picture: its raster keeps its
  // pages, so a later picture of the same size or smaller needs no new ones.
  static Picture picture;
  decode_picture(read_file(job.input, kMaxPictureFileBytes), kMaxSide, picture);
  const ShootingValues shot = read_shooting_values(job.input, o.use_exif);
  AutoSetupParam record = analyse_picture(picture, shot);
  std::optional<PictureReport> report;
  if (!o.report.empty()) report = report_before(picture, record, shot);
  apply_correction(picture, record);
  write_atomically(job.output, encode_picture(picture, o.quality));

  TaskResult result{true, "corrected -> " + job.output, {}};
  if (report) {
    report_after(*report, picture);
    report->input = job.input;
    report->output = job.output;
    report->seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    result.payload = render_picture_section(*report);
  }
  return result;
}

}  // namespace

int run_autosetup(int argc, char** argv, int first) {
  const auto start = std::chrono::steady_clock::now();
  const std::optional<Options> parsed = parse(argc, argv, first);
  if (!parsed) return 0;
  const Options& o = *parsed;
  const std::vector<Job> jobs = plan_jobs(expand_inputs(o.inputs), o.destination, o.target);
  if (jobs.empty()) throw UsageError("no JPEG or PNG pictures in " + o.inputs.front());
  if (o.destination == Destination::Folder) make_folders(o.target);
  configure_library(o.adjustments);
  remove_partial_output_on_signals();

  std::vector<std::string> sections(jobs.size());
  std::vector<std::pair<std::string, std::string>> failures;
  Progress progress(jobs.size(), stderr, isatty(STDERR_FILENO) != 0);
  run_in_processes(
      jobs.size(), o.jobs, [&](std::size_t i) { return correct(jobs[i], o); },
      [&](std::size_t i, const TaskResult& r) {
        progress.finished(jobs[i].input, r.ok, r.message);
        if (r.ok) {
          sections[i] = r.payload;
        } else {
          failures.emplace_back(jobs[i].input, r.message);
          sections[i] = render_failure_section(jobs[i].input, r.message);
        }
      },
      [&] { restore_library(o.adjustments); });
  progress.close();

  const int failed = static_cast<int>(failures.size());
  const int succeeded = static_cast<int>(jobs.size()) - failed;
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  std::printf("Corrected %d of %zu picture%s in %.1f s.\n", succeeded, jobs.size(),
              jobs.size() == 1 ? "" : "s", seconds);
  if (failed > 0) {
    std::printf("%d failed:\n", failed);
    for (const auto& [input, reason] : failures)
      std::printf("  %s: %s\n", input.c_str(), reason.c_str());
  }
  if (!o.report.empty()) {
    const RunSummary summary{settings_text(o), ZKIMGSET_CLI_VERSION, succeeded, failed, seconds};
    try {
      write_atomically(o.report, render_report_page(summary, sections));
      std::printf("Report: %s\n", o.report.c_str());
    } catch (const Failure& e) {
      std::fprintf(stderr, "zkimgset: %s\n", e.what());
      return kExitFailed;
    }
  }
  return failed > 0 ? kExitFailed : 0;
}

}  // namespace zkcli
