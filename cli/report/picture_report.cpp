#include "report/picture_report.h"

#include <algorithm>
#include <cstdlib>

#include "report/report_html.h"

namespace zkcli {
namespace {

// The picture reduced to fit the thumbnail box, each thumbnail pixel the
// mean of the source pixels it covers. A mean, unlike the library's strong
// reductions (which sample), leaves no aliasing: the thumbnail shows the
// picture's tones as they are, and compresses to half the size.
std::vector<std::uint8_t> area_mean(const Picture& picture, int& width, int& height) {
  const int w0 = picture.width, h0 = picture.height;
  const double scale =
      std::min({1.0, double(kReportThumbWidth) / w0, double(kReportThumbHeight) / h0});
  width = std::max(1, static_cast<int>(w0 * scale + 0.5));
  height = std::max(1, static_cast<int>(h0 * scale + 0.5));
  std::vector<std::uint8_t> out(std::size_t(width) * height * 3);
  std::vector<std::uint32_t> columns(std::size_t(w0) * 3);
  for (int y = 0; y < height; ++y) {
    const int y0 = int(std::int64_t(y) * h0 / height), y1 = int(std::int64_t(y + 1) * h0 / height);
    std::fill(columns.begin(), columns.end(), 0);
    for (int sy = y0; sy < y1; ++sy) {
      const std::uint8_t* row = &picture.rgb[std::size_t(sy) * w0 * 3];
      for (std::size_t i = 0; i < columns.size(); ++i) columns[i] += row[i];
    }
    for (int x = 0; x < width; ++x) {
      const int x0 = int(std::int64_t(x) * w0 / width), x1 = int(std::int64_t(x + 1) * w0 / width);
      const std::uint32_t count = std::uint32_t(x1 - x0) * std::uint32_t(y1 - y0);
      for (int c = 0; c < 3; ++c) {
        std::uint64_t sum = 0;
        for (int sx = x0; sx < x1; ++sx) sum += columns[std::size_t(sx) * 3 + c];
        out[(std::size_t(y) * width + x) * 3 + c] = std::uint8_t((sum + count / 2) / count);
      }
    }
  }
  return out;
}

ReportImage thumbnail(const Picture& picture, std::vector<std::uint8_t>* pixels = nullptr) {
  ReportImage image;
  std::vector<std::uint8_t> rgb = area_mean(picture, image.width, image.height);
  image.jpeg = encode_jpeg(rgb.data(), image.width, image.height, kReportThumbQuality);
  if (pixels != nullptr) *pixels = std::move(rgb);
  return image;
}

// The library does not hand out its groups; what it reports is the level it
// chose for the subject. Blocks of the thumbnail whose mean luminance lies
// near that level show where the subject could lie. Nothing when the subject
// stage did not run.
void mark_subject(PictureReport& report, const std::vector<std::uint8_t>& rgb) {
  const int mode = figure(report.figures, "setup_mode", 0);
  const int level = figure(report.figures, "yy_select", -1);
  if ((mode & ZKIMGSET_SETUP_GROUP_DENSITY) == 0 || level < 0) return;
  const int width = report.before.width, height = report.before.height;
  report.subject_cell = kSubjectBlock;
  report.subject_columns = (width + kSubjectBlock - 1) / kSubjectBlock;
  report.subject_rows = (height + kSubjectBlock - 1) / kSubjectBlock;
  report.subject_mask.assign(std::size_t(report.subject_columns) * report.subject_rows, 0);
  for (int row = 0; row < report.subject_rows; ++row) {
    for (int column = 0; column < report.subject_columns; ++column) {
      const int by = row * kSubjectBlock, bx = column * kSubjectBlock;
      const int ey = std::min(height, by + kSubjectBlock), ex = std::min(width, bx + kSubjectBlock);
      long sum = 0;
      for (int y = by; y < ey; ++y)
        for (int x = bx; x < ex; ++x) {
          const std::uint8_t* p = &rgb[(std::size_t(y) * width + x) * 3];
          sum += luma(p[0], p[1], p[2]);
        }
      report.subject_mask[std::size_t(row) * report.subject_columns + column] =
          std::abs(sum / ((ey - by) * (ex - bx)) - level) <= kSubjectBand;
    }
  }
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
  mark_subject(report, pixels);
  return report;
}

void report_after(PictureReport& report, const Picture& corrected, bool changed) {
  // Left as it was, the picture is shown and measured as it was.
  report.after = changed ? thumbnail(corrected) : report.before;
  report.histograms_after = changed ? measure_histograms(corrected) : report.histograms_before;
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
