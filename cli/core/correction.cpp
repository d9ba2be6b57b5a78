#include "core/correction.h"

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <optional>

#include "core/picture_review.h"
#include "core/tool_limits.h"
#include "files/atomic_output.h"
#include "files/input_file.h"
#include "report/picture_report.h"

namespace zkcli {
namespace {

using Clock = std::chrono::steady_clock;

std::string g_standard_input;

// GetExifParamEx reads a file by its name: standard input goes to a private
// temporary file for the call.
class TemporaryCopy {
 public:
  explicit TemporaryCopy(const std::string& bytes) {
    const char* tmp = std::getenv("TMPDIR");
    path_ = std::string(tmp != nullptr && *tmp != '\0' ? tmp : "/tmp") + "/zkimgset-stdin-XXXXXX";
    const int fd = mkstemp(path_.data());
    if (fd < 0) {
      path_.clear();
      return;
    }
    const bool written =
        write(fd, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
    close(fd);
    if (!written) {
      unlink(path_.c_str());
      path_.clear();
    }
  }
  ~TemporaryCopy() {
    if (!path_.empty()) unlink(path_.c_str());
  }
  TemporaryCopy(const TemporaryCopy&) = delete;
  TemporaryCopy& operator=(const TemporaryCopy&) = delete;
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

// An accepted picture of a review: the reviewed run's output, copied as it
// is (never decoded), or left alone when it is already where it goes.
void copy_accepted(const Job& job, PictureSummary& summary) {
  if (job.format) summary.format_out = format_key(*job.format);
  if (same_file(job.copy_from, job.output)) {
    summary.changes = {"accepted: already at " + job.output};
  } else {
    std::string bytes;
    try {
      bytes = read_file(job.copy_from, kMaxPictureFileBytes);
    } catch (const Failure& e) {
      throw Failure("the accepted output " + job.copy_from + ": " + e.what());
    }
    write_output(job.output, bytes);
    summary.changes = {"accepted: copied " + job.copy_from + " -> " + job.output};
  }
  summary.output = job.output;
  summary.outcome = Outcome::Corrected;
}

void correct(const Job& job, const RunSettings& settings, Clock::time_point start,
             JobResult& result) {
  PictureSummary& summary = result.summary;
  if (!job.skip.empty()) {
    summary.outcome = Outcome::Skipped;
    summary.reason = job.skip;
    return;
  }
  if (!job.problem.empty()) throw Failure(job.problem);
  if (!job.copy_from.empty()) return copy_accepted(job, summary);
  // A picture adjusted in a review brings its own adjustments: they are
  // stored before it as a fresh run with them would store them (the worker
  // stores the run's own again before the next picture).
  if (job.adjustments) restore_library(*job.adjustments);
  const Adjustments adjustments = job.adjustments.value_or(settings.adjustments);
  const bool from_stdin = job.input == kStandardStream;
  const std::string bytes =
      from_stdin ? g_standard_input : read_file(job.input, kMaxPictureFileBytes);
  // One per worker, kept from picture to picture: its raster keeps its
  // pages, so a later picture of the same size or smaller needs no new ones.
  static Picture picture;
  decode_picture(bytes, kMaxSide, picture);
  summary.format_in = format_key(picture.format);
  summary.width = picture.width;
  summary.height = picture.height;
  const Format target = job.format.value_or(picture.format);
  summary.format_out = format_key(target);
  summary.notes = picture.notes;

  const std::string mark = correction_mark(picture);
  if (!mark.empty() && !settings.force) {
    summary.outcome = Outcome::Skipped;
    summary.reason = "already corrected (marked by " + mark + "); --force corrects it again";
    return;
  }

  const ShootingValues shot = shooting_values_of(job.input, bytes, settings.use_exif);
  AutoSetupParam record = analyse_picture(picture, shot);
  const Figures figures = analysis_figures(picture);
  summarise_correction(summary, record, figures, adjustments);
  std::optional<PictureReport> report;
  if (settings.report) report = report_before(picture, record, shot, figures);

  const EncodeOptions options{settings.quality, job.in_place ? tool_mark() : ""};
  std::string backup;
  if (summary.outcome == Outcome::Unchanged) {
    // Nothing to do: an in-place input stays as it is; another output gets
    // the input's own bytes when its format is the input's.
    if (!job.in_place) {
      write_output(job.output,
                   target == picture.format ? bytes : encode_picture(picture, target, options));
      summary.output = job.output;
    }
  } else {
    apply_correction(picture, record);
    const std::string encoded = encode_picture(picture, target, options);
    if (job.in_place && settings.backup) {
      make_backup(job.input, settings.backup_suffix, bytes);
      backup = job.input + settings.backup_suffix;
    }
    write_output(job.output, encoded);
    summary.output = job.output;
  }
  summary.notes = picture.notes;
  if (report) {
    report_after(*report, picture, summary.outcome != Outcome::Unchanged);
    review_correction(summary.review, report->histograms_before, report->histograms_after);
    summary.seconds = std::chrono::duration<double>(Clock::now() - start).count();
    report->index = job.index;
    report->summary = summary;
    report->files = report_files(job, summary, settings.report_folder, backup);
    report->adjustments = job.adjustments.value_or(settings.adjustments);
    result.report_section = render_picture_card(*report);
  }
}

}  // namespace

ShootingValues shooting_values_of(const std::string& input, const std::string& bytes,
                                  bool use_exif) {
  if (input != kStandardStream || !use_exif) return read_shooting_values(input, use_exif);
  const TemporaryCopy copy(bytes);
  return read_shooting_values(copy.path(), !copy.path().empty());
}

void set_standard_input(std::string bytes) { g_standard_input = std::move(bytes); }

std::string tool_mark() { return std::string("zkimgset ") + ZKIMGSET_CLI_VERSION; }

std::string settings_text(const RunSettings& s) {
  const Adjustments& a = s.adjustments;
  char text[200];
  std::snprintf(text, sizeof text, "mode 0x%02X, level %d, contrast %d, saturation %d", a.mode,
                a.level, a.contrast, a.saturation);
  std::string out = text;
  // The colour shifts are named only when set, so that the usual settings
  // read as they always have.
  if (a.blue_shift != 0 || a.red_shift != 0)
    out += ", blue shift " + std::to_string(a.blue_shift) + ", red shift " +
           std::to_string(a.red_shift);
  return out + (s.use_exif ? ", Exif shooting values" : ", Exif ignored");
}

JobResult correct_job(const Job& job, const RunSettings& settings) {
  const auto start = Clock::now();
  JobResult result;
  result.summary.input = job.input;
  result.summary.decision = job.decision;
  result.summary.adjustments = job.adjustments;
  try {
    correct(job, settings, start, result);
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception& e) {
    result.summary.outcome = Outcome::Failed;
    result.summary.reason = e.what();
    result.summary.output.clear();
  }
  result.summary.seconds = std::chrono::duration<double>(Clock::now() - start).count();
  return result;
}

}  // namespace zkcli
