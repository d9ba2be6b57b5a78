#include "report/report_plots.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "report/svg_plot.h"

namespace zkcli {
namespace {

// Tone and saturation charts share one frame so that they line up side by
// side: room on the left for four-digit tick labels and an axis title, and
// below for tick labels and a title.
constexpr double kChartWidth = 300, kChartHeight = 296;
// The curves' sampling: a page of hundreds of pictures carries hundreds of
// charts, and a point every few units is as smooth as a chart shows.
constexpr int kToneStep = 4, kSaturationStep = 3;
PlotArea chart_area(double x_min, double x_max, double y_min, double y_max) {
  return {x_min, x_max, y_min, y_max, 44, 10, 246, 248};
}

}  // namespace

std::string tone_curve_plot(std::span<const std::uint8_t, 256> tone,
                            const std::vector<LevelMarker>& markers) {
  const PlotArea area = chart_area(0, 255, 0, 255);
  SvgCanvas svg(kChartWidth, kChartHeight, "plot tone", "Tone curve: output level by input level");
  const double ticks[] = {0, 64, 128, 192, 255};
  svg.grid(area, ticks, ticks);
  svg.line(area.x(0), area.y(0), area.x(255), area.y(255), "identity");

  std::vector<LevelMarker> sorted = markers;
  std::sort(sorted.begin(), sorted.end(),
            [](const LevelMarker& a, const LevelMarker& b) { return a.level < b.level; });
  // A level outside the scale is drawn at its edge but labelled as it is.
  auto at = [](const LevelMarker& m) { return std::clamp(m.level, 0, 255); };
  for (const auto& m : sorted)
    svg.line(area.x(at(m)), area.top, area.x(at(m)), area.bottom(), "marker " + m.css_class);

  svg.whole_unit_points();
  std::vector<Point> curve;
  curve.reserve(256);
  // Every fourth level is as smooth as the chart can show, at a quarter of
  // the bytes; the last level closes the curve.
  for (int i = 0; i < 255; i += kToneStep) curve.push_back({area.x(i), area.y(tone[i])});
  curve.push_back({area.x(255), area.y(tone[255])});
  svg.polyline(curve, "curve");

  // The lowest label goes left of its line and the others right, where there
  // is room, so that two markers close together do not print over each other;
  // labels that end up on one side stack downwards.
  int stacked[2] = {0, 0};
  for (std::size_t k = 0; k < sorted.size(); ++k) {
    const LevelMarker& m = sorted[k];
    svg.circle(area.x(at(m)), area.y(tone[at(m)]), 3.2, "marker-dot " + m.css_class);
    const bool right = (k == 0 && sorted.size() > 1) ? at(m) < 80 : at(m) <= 190;
    const double x = area.x(at(m)) + (right ? 4 : -4);
    const double y = area.top + 12 + 12 * stacked[right]++;
    svg.text(x, y, m.name + " " + std::to_string(m.level), "marker-label " + m.css_class,
             right ? Anchor::kStart : Anchor::kEnd);
  }
  svg.axis_titles(area, "input level", "output level");
  return svg.finish();
}

std::string colour_balance_plot(int cb, int cr) {
  // The plane fills the drawing; the page tints it through the stylesheet.
  constexpr double kSide = 240, kCentre = kSide / 2;
  const double range = std::ceil(std::max(32.0, 1.25 * std::max(std::abs(cb), std::abs(cr))));
  const PlotArea area{-range, range, -range, range, 0, 0, kSide, kSide};
  SvgCanvas svg(kSide, kSide, "plot cbcr", "Colour-balance offset on the Cb/Cr plane");
  for (double t : nice_ticks(-range, range, 4)) {
    if (t == 0) continue;
    svg.line(area.x(t), 0, area.x(t), kSide, "grid faint");
    svg.line(0, area.y(t), kSide, area.y(t), "grid faint");
  }
  svg.line(0, kCentre, kSide, kCentre, "axis");
  svg.line(kCentre, 0, kCentre, kSide, "axis");
  svg.text(kSide - 5, kCentre - 6, "+Cb", "axis-title", Anchor::kEnd);
  svg.text(5, kCentre - 6, "\u2212Cb", "axis-title");
  svg.text(kCentre + 6, 14, "+Cr", "axis-title");
  svg.text(kCentre + 6, kSide - 7, "\u2212Cr", "axis-title");
  svg.text(kSide - 5, kCentre + 14, format_number(range), "tick", Anchor::kEnd);
  svg.text(5, kCentre + 14, "\u2212" + format_number(range), "tick");
  svg.text(kCentre - 5, 14, format_number(range), "tick", Anchor::kEnd);

  const double px = area.x(cb), py = area.y(cr);
  if (cb != 0 || cr != 0) svg.line(kCentre, kCentre, px, py, "offset-line");
  svg.circle(px, py, 5, "offset-point");
  return svg.finish();
}

std::string saturation_plot(std::span<const std::int16_t, 100> coefficients) {
  const auto [lo_it, hi_it] = std::minmax_element(coefficients.begin(), coefficients.end());
  const double lo = std::min<double>(*lo_it, kNeutralSaturation);
  const double hi = std::max<double>(*hi_it, kNeutralSaturation);
  const double pad = std::max(0.12 * (hi - lo), 32.0);
  const PlotArea area = chart_area(0, 99, lo - pad, hi + pad);
  SvgCanvas svg(kChartWidth, kChartHeight, "plot saturation",
                "Saturation coefficients by index; 1024 is neutral");
  const std::vector<double> x_ticks = {0, 25, 50, 75, 99};
  const std::vector<double> y_ticks = nice_ticks(area.y_min, area.y_max, 5);
  svg.grid(area, x_ticks, y_ticks);

  svg.whole_unit_points();
  std::vector<Point> curve;
  curve.reserve(coefficients.size());
  for (std::size_t i = 0; i < coefficients.size() - 1; i += kSaturationStep)
    curve.push_back({area.x(static_cast<double>(i)), area.y(coefficients[i])});
  curve.push_back({area.x(99), area.y(coefficients[99])});
  // The band between the curve and neutral shows at a glance where the
  // correction adds or takes saturation.
  std::vector<Point> band = curve;
  band.push_back({area.x(99), area.y(kNeutralSaturation)});
  band.push_back({area.x(0), area.y(kNeutralSaturation)});
  svg.polygon(band, "band");
  svg.line(area.left, area.y(kNeutralSaturation), area.right(), area.y(kNeutralSaturation),
           "identity");
  svg.polyline(curve, "curve");
  svg.text(area.right() - 4, area.y(kNeutralSaturation) - 5, "1024 neutral", "ref-label",
           Anchor::kEnd);
  svg.axis_titles(area, "index", "coefficient");
  return svg.finish();
}

std::string histogram_plot(const Histograms& h, std::string_view title) {
  constexpr int kBins = 32, kLevels = 256 / kBins;
  constexpr double kWidth = 256, kHeight = 64, kBinWidth = kWidth / kBins;
  double bins[4][kBins] = {};
  for (int c = 0; c < 4; ++c)
    for (int level = 0; level < 256; ++level) bins[c][level / kLevels] += h.counts[c][level];
  auto peak = [&](int from, int to) {
    double most = 0;
    for (const auto& channel : bins)
      for (int i = from; i < to; ++i) most = std::max(most, channel[i]);
    return most;
  };
  // The end bins (clipped pixels) would flatten the rest: they set the
  // scale only of a histogram with nothing between them.
  double scale = peak(1, kBins - 1);
  if (scale == 0) scale = peak(0, kBins);
  auto y = [&](double count) {
    return scale == 0 ? kHeight : kHeight - std::min(1.0, count / scale) * (kHeight - 2);
  };
  SvgCanvas svg(kWidth, kHeight, "hist", title);
  svg.whole_unit_points();
  static constexpr const char* kClasses[] = {"red", "green", "blue"};
  std::vector<Point> luma{{0, kHeight}};
  for (int i = 0; i < kBins; ++i) luma.push_back({(i + 0.5) * kBinWidth, y(bins[3][i])});
  luma.push_back({kWidth, kHeight});
  svg.polygon(luma, "luma");
  for (int c = 0; c < 3; ++c) {
    std::vector<Point> line;
    for (int i = 0; i < kBins; ++i) line.push_back({(i + 0.5) * kBinWidth, y(bins[c][i])});
    svg.polyline(line, kClasses[c]);
  }
  // Stretched to the width the page gives it, whatever its height.
  std::string html = svg.finish();
  return html.insert(4, " preserveAspectRatio=\"none\"");
}

}  // namespace zkcli
