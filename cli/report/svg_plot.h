// Small pieces for drawing the report's charts as inline SVG: text and
// numbers fit for markup, a plot area that maps data to SVG user units, a
// canvas that collects elements, and the outline of a cell mask.
//
// Elements carry CSS classes rather than colours: the page's stylesheet
// decides the look, so screen and print can differ without redrawing.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zkcli {

// ---- Text and numbers --------------------------------------------------------

// Text made safe for element content and for quoted attribute values. Control
// characters, which HTML does not allow, become U+FFFD.
std::string escape_html(std::string_view text);

// A number with `decimals` digits after the point, always with a '.' whatever
// the process's locale, and never "-0".
std::string format_number(double value, int decimals = 0);

// ---- Plot geometry -------------------------------------------------------------

struct Point {
  double x = 0;
  double y = 0;
};

// A rectangle of the SVG that shows the data range [x_min, x_max] x
// [y_min, y_max], y growing upwards as on paper.
struct PlotArea {
  double x_min = 0, x_max = 1, y_min = 0, y_max = 1;
  double left = 0, top = 0, width = 1, height = 1;

  double x(double v) const { return left + (v - x_min) / (x_max - x_min) * width; }
  double y(double v) const { return top + (y_max - v) / (y_max - y_min) * height; }
  double right() const { return left + width; }
  double bottom() const { return top + height; }
};

// Round tick values (multiples of 1, 2 or 5 times a power of ten), about
// `count` of them, that lie within [lo, hi].
std::vector<double> nice_ticks(double lo, double hi, int count);

enum class Anchor { kStart, kMiddle, kEnd };

// Collects the elements of one <svg>. Coordinates are user units of the
// viewBox; the page sizes the drawing with CSS.
class SvgCanvas {
 public:
  SvgCanvas(double width, double height, std::string_view css_class, std::string_view title);

  void line(double x0, double y0, double x1, double y1, std::string_view css_class);
  void rect(double x, double y, double width, double height, std::string_view css_class);
  void circle(double cx, double cy, double r, std::string_view css_class);
  void polyline(std::span<const Point> points, std::string_view css_class);
  void polygon(std::span<const Point> points, std::string_view css_class);
  void text(double x, double y, std::string_view text, std::string_view css_class,
            Anchor anchor = Anchor::kStart);
  // Text turned a quarter anticlockwise about (x, y), for a y axis title.
  void vertical_text(double x, double y, std::string_view text, std::string_view css_class);

  // A light grid at the ticks, labelled outside the area's left and bottom.
  void grid(const PlotArea& area, std::span<const double> x_ticks, std::span<const double> y_ticks);
  // Axis titles centred under and to the left of the area.
  void axis_titles(const PlotArea& area, std::string_view x_title, std::string_view y_title);

  // Points of later polylines and polygons in whole units: a long curve is
  // the bulk of a chart, and a tenth of a unit cannot be seen.
  void whole_unit_points() { point_decimals_ = 0; }

  std::string finish();

 private:
  void points(std::span<const Point> points);

  std::string out_;
  int point_decimals_ = 1;
};

// A coordinate in SVG user units: at most `decimals` decimals, without
// trailing zeros.
std::string svg_coord(double v, int decimals = 1);

// ---- Cell mask outline ---------------------------------------------------------

// A straight piece of a cell border, from (x0, y0) to (x1, y1) in cell units
// (cell (x, y) spans x..x+1, y..y+1).
struct Segment {
  int x0 = 0, y0 = 0, x1 = 0, y1 = 0;
  friend bool operator==(const Segment&, const Segment&) = default;
};

// The borders between cells in the mask (non-zero) and cells outside it
// (zero, or beyond the edge), with neighbouring borders on one line merged
// into one segment: horizontal segments first, top to bottom, then vertical
// ones, left to right. Empty when the mask does not hold width x height cells.
std::vector<Segment> mask_outline(std::span<const std::uint8_t> mask, int width, int height);

// SVG path data drawing the segments ("M1 2H5M3 0V4...").
std::string outline_path_data(std::span<const Segment> segments);

}  // namespace zkcli
