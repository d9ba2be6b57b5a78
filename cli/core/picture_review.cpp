#include "core/picture_review.h"

#include <cmath>
#include <cstdio>

namespace zkcli {
namespace {

std::string percent_text(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1f%%", value);
  return text;
}

double share(std::uint64_t count, std::uint64_t pixels) {
  return pixels == 0 ? 0 : 100.0 * static_cast<double>(count) / static_cast<double>(pixels);
}

}  // namespace

Histograms measure_histograms(const Picture& picture) {
  Histograms h;
  h.pixels = static_cast<std::uint64_t>(picture.width) * static_cast<std::uint64_t>(picture.height);
  auto& [red, green, blue, y] = h.counts;
  const std::uint8_t* p = picture.rgb.data();
  for (std::uint64_t i = 0; i < h.pixels; ++i, p += 3) {
    const unsigned r = p[0], g = p[1], b = p[2];
    ++red[r];
    ++green[g];
    ++blue[b];
    ++y[luma(r, g, b)];
    h.shadows += (r | g | b) <= kClipMargin;
    h.highlights += (r & g & b) >= 255 - kClipMargin;
  }
  return h;
}

double mean_level(const Histograms& h) {
  double sum = 0;
  for (int level = 0; level < 256; ++level) sum += double(level) * h.counts[3][level];
  return h.pixels == 0 ? 0 : sum / static_cast<double>(h.pixels);
}

double shadows_percent(const Histograms& h) { return share(h.shadows, h.pixels); }
double highlights_percent(const Histograms& h) { return share(h.highlights, h.pixels); }

void review_correction(PictureReview& r, const Histograms& before, const Histograms& after) {
  r.measured = true;
  r.mean_before = mean_level(before);
  r.mean_after = mean_level(after);
  r.shadows_before = shadows_percent(before);
  r.shadows_after = shadows_percent(after);
  r.highlights_before = highlights_percent(before);
  r.highlights_after = highlights_percent(after);
  r.warnings.clear();
  // Compared as they are shown, to a tenth, so that the words never
  // contradict the figures beside them.
  auto grew = [](double from, double to) {
    return std::round(to * 10) - std::round(from * 10) > kClipWarnPoints * 10;
  };
  if (grew(r.highlights_before, r.highlights_after))
    r.warnings.push_back("highlights clipped: " + percent_text(r.highlights_before) + " -> " +
                         percent_text(r.highlights_after) + " of pixels");
  if (grew(r.shadows_before, r.shadows_after))
    r.warnings.push_back("shadows clipped: " + percent_text(r.shadows_before) + " -> " +
                         percent_text(r.shadows_after) + " of pixels");
  if (r.mean_before < kDarkSceneMean && r.mean_after - r.mean_before >= kLargeBrightening)
    r.warnings.push_back("dark scene brightened: mean level " +
                         std::to_string(std::lround(r.mean_before)) + " -> " +
                         std::to_string(std::lround(r.mean_after)));
}

double change_size(const PictureSummary& s) {
  return std::abs(s.review.mean_after - s.review.mean_before) + std::hypot(s.cb, s.cr);
}

double review_priority(const PictureSummary& s) {
  // A change of a whole picture's range is 255 levels plus a cast of at most
  // a few dozen steps: a warning outweighs any change.
  constexpr double kWarningWeight = 1000;
  return kWarningWeight * static_cast<double>(s.review.warnings.size()) + change_size(s);
}

}  // namespace zkcli
