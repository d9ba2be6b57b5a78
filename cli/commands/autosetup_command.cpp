// zkimgset autosetup: analyse and correct photo files, with an optional
// visual report.
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <map>
#include <optional>
#include <set>

#include "commands/commands.h"
#include "core/command_line.h"
#include "core/correction.h"
#include "core/decisions_file.h"
#include "core/output_plan.h"
#include "core/picture_review.h"
#include "core/progress.h"
#include "core/run_output.h"
#include "core/tool_limits.h"
#include "core/worker_pool.h"
#include "files/atomic_output.h"
#include "files/input_file.h"
#include "report/report.h"

namespace zkcli {
namespace {

constexpr const char* kHelp =
    R"(Usage: zkimgset autosetup IN... (-o OUT | --out-dir DIR | --in-place) [options]
       zkimgset autosetup --decisions FILE --out-dir DIR [options]

Analyses each picture (JPEG, PNG or TIFF; every one in a folder IN; "-" for
standard input), corrects its tone, colour balance and saturation, and
writes it with its metadata.

Output:
  -o OUT              the corrected picture (one input only); its format
                      follows the name (.jpg .jpeg .png .tif .tiff); "-" is
                      standard output
  --out-dir DIR       write each picture under its own name into DIR (made
                      if missing); with -r, sub-folders are mirrored
  --in-place          replace each input with its corrected picture, marked
                      as corrected (inputs so marked are skipped)
  --format F          jpeg, png or tiff (default: the input's, or -o's name)
  --quality N         JPEG quality, 1..100 (default 95)
  --no-clobber        skip pictures whose output exists
  --backup            with --in-place: keep each original as NAME~
  --suffix S          the backup's suffix instead of ~
  --force             correct pictures already marked as corrected
  --report FILE.html  also write a visual report of every picture
Inputs:
  -r, --recursive     pictures in sub-folders of a folder IN too
Review:
  --decisions FILE    carry out the decisions a review page exported for an
                      earlier run: adjusted pictures corrected again from
                      their originals with their own adjustments, accepted
                      ones' outputs copied, rejected ones skipped; needs
                      --out-dir, takes the run's settings from FILE, and no
                      IN, analysis options, --quality or --format
Analysis:
%sMessages:
  -q, --quiet         errors only
  -v, --verbose       what each picture's correction did, in words
  --json              one JSON object a picture (JSON Lines), then a summary
                      object; nothing else on standard output
Running:
  --jobs N            worker processes (default: the number of cores)
  --help              this text

Exit status: 0 when no picture failed, 1 when any failed, 2 for a usage
mistake. Inputs are regular files (or standard input) of at most 352 MiB.
Outputs are written to a temporary file and renamed into place when
complete (a device or FIFO is written directly; a symbolic link is kept and
the file it points to replaced); an input is never overwritten without
--in-place.
)";

struct Options {
  std::vector<std::string> inputs;
  PlanOptions plan;
  bool recursive = false;
  std::string report;
  std::string decisions;
  RunSettings settings;
  int jobs = 0;
  Verbosity verbosity = Verbosity::Normal;
  bool json = false;
};

std::optional<Options> parse(int argc, char** argv, int first) {
  Options o;
  int destinations = 0;
  bool suffix_given = false;
  std::string value;
  Arguments args(argc, argv, first);
  while (!args.done()) {
    if (args.flag("--help") || args.flag("-h")) {
      std::printf(kHelp, kAdjustmentHelp);
      return std::nullopt;
    } else if (args.option("-o", value) || args.option("--output", value)) {
      o.plan.destination = Destination::File, o.plan.target = value, ++destinations;
    } else if (args.option("--out-dir", value)) {
      o.plan.destination = Destination::Folder, o.plan.target = value, ++destinations;
    } else if (args.flag("--in-place")) {
      o.plan.destination = Destination::InPlace, ++destinations;
    } else if (args.option("--format", value)) {
      o.plan.format = parse_format(value);
      if (!o.plan.format) throw UsageError("--format: '" + value + "' is not jpeg, png or tiff");
    } else if (args.option("--quality", value)) {
      o.settings.quality = parse_number(value, "--quality", 1, 100);
    } else if (args.flag("--no-clobber")) {
      o.plan.no_clobber = true;
    } else if (args.flag("--backup")) {
      o.settings.backup = true;
    } else if (args.option("--suffix", value)) {
      if (value.empty() || value.find('/') != std::string::npos)
        throw UsageError("--suffix: '" + value + "' is not a file name suffix");
      o.settings.backup_suffix = value, suffix_given = true;
    } else if (args.flag("--force")) {
      o.settings.force = true;
    } else if (args.option("--report", value)) {
      o.report = value;
    } else if (args.option("--decisions", value)) {
      o.decisions = value;
    } else if (args.flag("-r") || args.flag("--recursive")) {
      o.recursive = true;
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
      o.inputs.push_back(args.positional());
    }
  }
  if (!o.decisions.empty()) check_decisions_options(args.given(), !o.inputs.empty());
  if (o.inputs.empty() && o.decisions.empty()) throw UsageError("no input pictures");
  if (destinations != 1)
    throw UsageError(destinations == 0 ? "say where to write: -o OUT, --out-dir DIR or --in-place"
                                       : "give only one of -o, --out-dir and --in-place");
  const bool in_place = o.plan.destination == Destination::InPlace;
  if (in_place && o.plan.format)
    throw UsageError("--in-place keeps each picture's format; --format does not go with it");
  if (in_place && o.plan.no_clobber)
    throw UsageError("--no-clobber does not go with --in-place, which replaces every input");
  if ((o.settings.backup || suffix_given) && !in_place)
    throw UsageError("--backup and --suffix go with --in-place");
  if (suffix_given) o.settings.backup = true;
  if (std::count(o.inputs.begin(), o.inputs.end(), kStandardStream) > 1)
    throw UsageError("standard input (-) can be read once");
  if (o.jobs == 0) o.jobs = available_cores();
  o.settings.report = !o.report.empty();
  if (o.settings.report) {
    std::error_code error;
    o.settings.report_folder =
        std::filesystem::absolute(o.report, error).lexically_normal().parent_path().string();
  }
  return o;
}

std::string pack(const JobResult& r) {
  const std::string summary = pack_summary(r.summary);
  return std::to_string(summary.size()) + ":" + summary + r.report_section;
}

JobResult unpack(std::size_t index, const std::vector<Job>& jobs, const TaskResult& r) {
  JobResult result;
  const std::size_t colon = r.payload.find(':');
  const std::size_t length = std::strtoul(r.payload.c_str(), nullptr, 10);
  if (colon != std::string::npos && colon + 1 + length <= r.payload.size() &&
      unpack_summary(r.payload.substr(colon + 1, length), result.summary)) {
    result.report_section = r.payload.substr(colon + 1 + length);
    return result;
  }
  // The worker gave no result of its own: it crashed or could not start.
  result.summary.input = jobs[index].input;
  result.summary.decision = jobs[index].decision;
  result.summary.outcome = Outcome::Failed;
  result.summary.reason = r.message;
  return result;
}

// The page's head and what its decisions file repeats of the run.
RunSummary run_summary(const Options& o, const RunCounts& c, double seconds) {
  RunSummary r;
  r.settings = settings_text(o.settings);
  r.version = ZKIMGSET_CLI_VERSION;
  r.corrected = c.corrected;
  r.unchanged = c.unchanged;
  r.failed = c.failed;
  r.skipped = c.skipped;
  r.seconds = seconds;
  std::error_code error;
  r.base = std::filesystem::current_path(error).string();
  r.report = o.report;
  r.adjustments = o.settings.adjustments;
  r.use_exif = o.settings.use_exif;
  r.quality = o.settings.quality;
  // The page's path and the time it was made: a new page starts with no
  // decisions, a reopened one finds its own.
  r.run_id = std::to_string(std::chrono::system_clock::now().time_since_epoch().count()) + ":" +
             r.base + "/" + o.report;
  return r;
}

}  // namespace

int run_autosetup(int argc, char** argv, int first) {
  const auto start = std::chrono::steady_clock::now();
  std::optional<Options> parsed = parse(argc, argv, first);
  if (!parsed) return 0;
  Options& o = *parsed;
  const bool picture_to_stdout =
      o.plan.destination == Destination::File && o.plan.target == kStandardStream;
  if (picture_to_stdout && isatty(STDOUT_FILENO))
    throw UsageError("standard output is a terminal: redirect it to a file or a program");
  const Expansion expansion = expand_inputs(o.inputs, o.recursive);
  std::vector<Job> jobs = o.decisions.empty() ? plan_jobs(expansion.inputs, o.plan)
                                              : read_decisions(o.decisions, o.plan, o.settings);
  for (std::size_t i = 0; i < jobs.size(); ++i) jobs[i].index = i;
  if (jobs.empty() && expansion.skipped.empty())
    throw UsageError("no pictures in " + o.inputs.front());
  for (Job& job : jobs) {
    if (job.input != kStandardStream) continue;
    try {
      set_standard_input(read_standard_input(kMaxPictureFileBytes));
    } catch (const Failure& e) {
      job.problem = e.what();
    }
  }
  if (o.plan.destination == Destination::Folder) {
    std::set<std::string> folders{o.plan.target};
    for (const Job& job : jobs) folders.insert(folder_name(job.output));
    for (const std::string& folder : folders) make_folders(folder);
  }
  configure_library(o.settings.adjustments);
  remove_partial_output_on_signals();

  RunOutput out("autosetup", picture_to_stdout ? stderr : stdout, o.verbosity, o.json);
  out.skipped_before(expansion.skipped);
  std::vector<ReportEntry> entries(jobs.size());
  Progress progress(jobs.size(), stderr,
                    !o.json && o.verbosity != Verbosity::Quiet && isatty(STDERR_FILENO) != 0);
  run_in_processes(
      jobs.size(), o.jobs,
      [&](std::size_t i) {
        const JobResult r = correct_job(jobs[i], o.settings);
        return TaskResult{r.summary.outcome != Outcome::Failed, r.summary.reason, pack(r)};
      },
      [&](std::size_t i, const TaskResult& r) {
        JobResult result = unpack(i, jobs, r);
        out.picture(result.summary, progress);
        const PictureSummary& s = result.summary;
        entries[i] = {s.outcome, s.input,
                      s.outcome == Outcome::Corrected ? joined(s.changes) : s.reason,
                      std::move(result.report_section), review_priority(s)};
      },
      [&] { restore_library(o.settings.adjustments); });
  progress.close();

  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  out.finish(jobs.size(), seconds, settings_text(o.settings));
  if (!o.report.empty()) {
    for (const Skip& skip : expansion.skipped)
      entries.push_back({Outcome::Skipped, skip.path, skip.reason, "", 0});
    try {
      write_atomically(o.report,
                       render_report_page(run_summary(o, out.counts(), seconds), entries));
      out.note("Report: " + o.report);
    } catch (const Failure& e) {
      std::fprintf(stderr, "zkimgset: %s\n", e.what());
      return kExitFailed;
    }
  }
  return out.counts().failed > 0 ? kExitFailed : 0;
}

}  // namespace zkcli
