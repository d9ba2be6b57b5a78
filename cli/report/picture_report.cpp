#include "report/picture_report.h"

#include <algorithm>
#include <cstdlib>

#include "report/report_html.h"

namespace zkcli {
namespace {

ReportImage thumbnail(const Picture& picture, std::vector<std::uint8_t>* pixels = nullptr) {
  ReportImage image;
  std::vector<std::uint8_t> rgb =
      scaled_copy(picture, kReportThumbWidth, kReportThumbHeight, image.width, image.height);
  image.jpeg = encode_jpeg(rgb.data(), image.width, image.height, kReportThumbQuality);
  if (pixels != nullptr) *pixels = std::move(rgb);
  return image;
}

// The library does not hand out its groups; what it reports is the level it
// chose for the subject. Blocks of the thumbnail whose mean luminance lies
// near that level show where the subject could lie. Empty when the subject
// stage did not run.
std::vector<std::uint8_t> subject_cells(const std::vector<std::uint8_t>& rgb, int width, int height,
                                        const Figures& figures) {
  const int mode = figure(figures, "setup_mode", 0);
  const int level = figure(figures, "yy_select", -1);
  if ((mode & ZKIMGSET_SETUP_GROUP_DENSITY) == 0 || level < 0) return {};
  std::vector<std::uint8_t> mask(std::size_t(width) * height);
  for (int by = 0; by < height; by += kSubjectBlock) {
    for (int bx = 0; bx < width; bx += kSubjectBlock) {
      const int ey = std::min(height, by + kSubjectBlock), ex = std::min(width, bx + kSubjectBlock);
      long sum = 0;
      for (int y = by; y < ey; ++y)
        for (int x = bx; x < ex; ++x) {
          const std::uint8_t* p = &rgb[(std::size_t(y) * width + x) * 3];
          sum += (306 * p[0] + 601 * p[1] + 117 * p[2]) >> 10;
        }
      const bool near = std::abs(sum / ((ey - by) * (ex - bx)) - level) <= kSubjectBand;
      for (int y = by; y < ey; ++y)
        for (int x = bx; x < ex; ++x) mask[std::size_t(y) * width + x] = near;
    }
  }
  return mask;
}

// Browsers show JPEG and PNG files, not TIFF.
bool browser_shows(const std::string& format) { return format == "jpeg" || format == "png"; }

}  // namespace

PictureReport report_before(const Picture& picture, const AutoSetupParam& record,
                            const ShootingValues& shot, const Figures& figures) {
  PictureReport report;
  report.record = record;
  report.exif_used = shot.from_file;
  report.camera = shot.camera;
  report.figures = figures;
  report.histograms_before = measure_histograms(picture);
  std::vector<std::uint8_t> pixels;
  report.before = thumbnail(picture, &pixels);
  report.subject_mask =
      subject_cells(pixels, report.before.width, report.before.height, report.figures);
  return report;
}

void report_after(PictureReport& report, const Picture& corrected) {
  report.after = thumbnail(corrected);
  report.histograms_after = measure_histograms(corrected);
}

ReportFiles report_files(const Job& job, const PictureSummary& s, const std::string& report_folder,
                         const std::string& backup) {
  ReportFiles f;
  const bool from_stdin = job.input == kStandardStream;
  // The original as it is now: replaced in place, it lives on only in its
  // backup.
  if (job.in_place && s.outcome != Outcome::Unchanged)
    f.original = backup;
  else if (!from_stdin)
    f.original = job.input;
  if (!f.original.empty()) {
    f.before_link = relative_link(report_folder, f.original);
    f.before_viewable = browser_shows(s.format_in);
  }
  if (!s.output.empty() && s.output != kStandardStream) {
    f.output = s.output;
    f.after_link = relative_link(report_folder, s.output);
    f.after_viewable = browser_shows(s.format_out);
  } else if (job.in_place && s.outcome == Outcome::Unchanged) {
    // Left as it was: the input is the result.
    f.output = job.input;
    f.after_link = f.before_link;
    f.after_viewable = f.before_viewable;
  }
  f.name = job.name;
  return f;
}

}  // namespace zkcli
