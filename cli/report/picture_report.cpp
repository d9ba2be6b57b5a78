#include "report/picture_report.h"

#include <algorithm>
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

}  // namespace

PictureReport report_before(const Picture& picture, const AutoSetupParam& record,
                            const ShootingValues& shot, const Figures& figures) {
  PictureReport report;
  report.width = picture.width;
  report.height = picture.height;
  report.record = record;
  report.exif_used = shot.from_file;
  report.camera = shot.camera;
  report.figures = figures;
  std::vector<std::uint8_t> pixels;
  report.before = thumbnail(picture, &pixels);
  report.subject_mask =
      subject_cells(pixels, report.before.width, report.before.height, report.figures);
  return report;
}

void report_after(PictureReport& report, const Picture& corrected) {
  report.after = thumbnail(corrected);
}

}  // namespace zkcli
