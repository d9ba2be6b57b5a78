#include "picture_report.h"

#include <cstdlib>

namespace zkcli {
namespace {

ReportImage thumbnail(const Picture& picture, std::vector<std::uint8_t>* pixels = nullptr) {
  ReportImage image;
  std::vector<std::uint8_t> rgb =
      scaled_copy(picture, kReportThumbWidth, kReportThumbHeight, image.width, image.height);
  image.jpeg = encode_jpeg(rgb.data(), image.width, image.height, 85);
  if (pixels != nullptr) *pixels = std::move(rgb);
  return image;
}

// The library does not hand out its groups; what it reports is the level it
// chose for the subject. The cells near that level show where the subject
// could lie. Empty when the subject stage did not run.
std::vector<std::uint8_t> subject_cells(const std::vector<std::uint8_t>& rgb,
                                        const Figures& figures) {
  const int mode = figure(figures, "setup_mode", 0);
  const int level = figure(figures, "yy_select", -1);
  if ((mode & ZKIMGSET_SETUP_GROUP_DENSITY) == 0 || level < 0) return {};
  std::vector<std::uint8_t> mask(rgb.size() / 3);
  for (std::size_t i = 0; i < mask.size(); ++i) {
    const std::uint8_t* p = &rgb[3 * i];
    const int luma = (306 * p[0] + 601 * p[1] + 117 * p[2]) >> 10;
    mask[i] = std::abs(luma - level) <= kSubjectBand;
  }
  return mask;
}

}  // namespace

PictureReport report_before(const Picture& picture, const AutoSetupParam& record,
                            const ShootingValues& shot) {
  PictureReport report;
  report.width = picture.width;
  report.height = picture.height;
  report.record = record;
  report.exif_used = shot.from_file;
  report.camera = shot.camera;
  report.figures = analysis_figures(picture);
  std::vector<std::uint8_t> pixels;
  report.before = thumbnail(picture, &pixels);
  report.subject_mask = subject_cells(pixels, report.figures);
  return report;
}

void report_after(PictureReport& report, const Picture& corrected) {
  report.after = thumbnail(corrected);
}

}  // namespace zkcli
