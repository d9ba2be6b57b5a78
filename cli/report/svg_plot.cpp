#include "report/svg_plot.h"

#include <charconv>
#include <cmath>
#include <cstddef>
#include <system_error>

namespace zkcli {

std::string escape_html(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (char c : text) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      case '\'':
        out += "&#39;";
        break;
      default: {
        const auto u = static_cast<unsigned char>(c);
        if ((u < 0x20 && c != '\t' && c != '\n') || u == 0x7F) {
          out += "\xEF\xBF\xBD";
        } else {
          out += c;
        }
      }
    }
  }
  return out;
}

std::string format_number(double value, int decimals) {
  // std::to_chars ignores the locale, unlike printf and streams.
  char buffer[400];
  const auto [end, error] =
      std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, decimals);
  if (error != std::errc()) return "?";
  std::string text(buffer, end);
  if (text.starts_with('-') && text.find_first_not_of("-0.") == std::string::npos) text.erase(0, 1);
  return text;
}

std::string svg_coord(double v, int decimals) {
  std::string text = format_number(v, decimals);
  if (text.find('.') == std::string::npos) return text;
  while (text.back() == '0') text.pop_back();
  if (text.back() == '.') text.pop_back();
  return text == "-0" ? "0" : text;
}

std::vector<double> nice_ticks(double lo, double hi, int count) {
  if (!(hi > lo) || count < 1) return {lo};
  const double raw = (hi - lo) / count;
  const double magnitude = std::pow(10.0, std::floor(std::log10(raw)));
  const double norm = raw / magnitude;
  const double step = (norm < 1.5 ? 1 : norm < 3 ? 2 : norm < 7 ? 5 : 10) * magnitude;
  std::vector<double> ticks;
  const double first = std::ceil(lo / step - 1e-9) * step;
  // Multiplying rather than accumulating keeps the values round.
  for (int i = 0; first + i * step <= hi + step * 1e-9; ++i) ticks.push_back(first + i * step);
  return ticks;
}

namespace {

const char* anchor_attribute(Anchor anchor) {
  switch (anchor) {
    case Anchor::kMiddle:
      return " text-anchor=\"middle\"";
    case Anchor::kEnd:
      return " text-anchor=\"end\"";
    case Anchor::kStart:
      break;
  }
  return "";
}

std::string class_attribute(std::string_view css_class) {
  if (css_class.empty()) return "";
  return " class=\"" + escape_html(css_class) + "\"";
}

}  // namespace

SvgCanvas::SvgCanvas(double width, double height, std::string_view css_class,
                     std::string_view title) {
  const std::string w = svg_coord(width), h = svg_coord(height);
  out_ = "<svg" + class_attribute(css_class) + " viewBox=\"0 0 " + w + " " + h + "\" width=\"" + w +
         "\" height=\"" + h + "\" role=\"img\" aria-label=\"" + escape_html(title) + "\"><title>" +
         escape_html(title) + "</title>";
}

void SvgCanvas::line(double x0, double y0, double x1, double y1, std::string_view css_class) {
  out_ += "<line x1=\"" + svg_coord(x0) + "\" y1=\"" + svg_coord(y0) + "\" x2=\"" + svg_coord(x1) +
          "\" y2=\"" + svg_coord(y1) + "\"" + class_attribute(css_class) + "/>";
}

void SvgCanvas::rect(double x, double y, double width, double height, std::string_view css_class) {
  out_ += "<rect x=\"" + svg_coord(x) + "\" y=\"" + svg_coord(y) + "\" width=\"" +
          svg_coord(width) + "\" height=\"" + svg_coord(height) + "\"" +
          class_attribute(css_class) + "/>";
}

void SvgCanvas::circle(double cx, double cy, double r, std::string_view css_class) {
  out_ += "<circle cx=\"" + svg_coord(cx) + "\" cy=\"" + svg_coord(cy) + "\" r=\"" + svg_coord(r) +
          "\"" + class_attribute(css_class) + "/>";
}

void SvgCanvas::points(std::span<const Point> points) {
  out_ += " points=\"";
  for (std::size_t i = 0; i < points.size(); ++i) {
    if (i > 0) out_ += ' ';
    out_ += svg_coord(points[i].x, point_decimals_) + "," + svg_coord(points[i].y, point_decimals_);
  }
  out_ += '"';
}

void SvgCanvas::polyline(std::span<const Point> points, std::string_view css_class) {
  out_ += "<polyline";
  this->points(points);
  out_ += class_attribute(css_class) + "/>";
}

void SvgCanvas::polygon(std::span<const Point> points, std::string_view css_class) {
  out_ += "<polygon";
  this->points(points);
  out_ += class_attribute(css_class) + "/>";
}

void SvgCanvas::text(double x, double y, std::string_view text, std::string_view css_class,
                     Anchor anchor) {
  out_ += "<text x=\"" + svg_coord(x) + "\" y=\"" + svg_coord(y) + "\"" + anchor_attribute(anchor) +
          class_attribute(css_class) + ">" + escape_html(text) + "</text>";
}

void SvgCanvas::vertical_text(double x, double y, std::string_view text,
                              std::string_view css_class) {
  out_ += "<text transform=\"translate(" + svg_coord(x) + " " + svg_coord(y) +
          ") rotate(-90)\" text-anchor=\"middle\"" + class_attribute(css_class) + ">" +
          escape_html(text) + "</text>";
}

void SvgCanvas::grid(const PlotArea& area, std::span<const double> x_ticks,
                     std::span<const double> y_ticks) {
  for (double t : x_ticks) {
    line(area.x(t), area.top, area.x(t), area.bottom(), "grid");
    text(area.x(t), area.bottom() + 12, format_number(t), "tick", Anchor::kMiddle);
  }
  for (double t : y_ticks) {
    line(area.left, area.y(t), area.right(), area.y(t), "grid");
    text(area.left - 4, area.y(t) + 3.5, format_number(t), "tick", Anchor::kEnd);
  }
  rect(area.left, area.top, area.width, area.height, "frame");
}

void SvgCanvas::axis_titles(const PlotArea& area, std::string_view x_title,
                            std::string_view y_title) {
  text(area.left + area.width / 2, area.bottom() + 26, x_title, "axis-title", Anchor::kMiddle);
  vertical_text(11, area.top + area.height / 2, y_title, "axis-title");
}

std::string SvgCanvas::finish() {
  out_ += "</svg>";
  return std::move(out_);
}

std::vector<Segment> mask_outline(std::span<const std::uint8_t> mask, int width, int height) {
  if (width <= 0 || height <= 0 ||
      mask.size() != static_cast<std::size_t>(width) * static_cast<std::size_t>(height))
    return {};
  auto inside = [&](int x, int y) {
    return x >= 0 && y >= 0 && x < width && y < height &&
           mask[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                static_cast<std::size_t>(x)] != 0;
  };
  std::vector<Segment> segments;
  // A border lies between two cells on different sides of the mask; each scan
  // extends a run while the border continues and closes it where it stops.
  for (int y = 0; y <= height; ++y) {
    int run = -1;
    for (int x = 0; x <= width; ++x) {
      const bool border = x < width && inside(x, y - 1) != inside(x, y);
      if (border && run < 0) run = x;
      if (!border && run >= 0) {
        segments.push_back({run, y, x, y});
        run = -1;
      }
    }
  }
  for (int x = 0; x <= width; ++x) {
    int run = -1;
    for (int y = 0; y <= height; ++y) {
      const bool border = y < height && inside(x - 1, y) != inside(x, y);
      if (border && run < 0) run = y;
      if (!border && run >= 0) {
        segments.push_back({x, run, x, y});
        run = -1;
      }
    }
  }
  return segments;
}

std::string outline_path_data(std::span<const Segment> segments) {
  std::string d;
  for (const Segment& s : segments) {
    d += 'M' + std::to_string(s.x0) + ' ' + std::to_string(s.y0);
    d += s.y0 == s.y1 ? 'H' + std::to_string(s.x1) : 'V' + std::to_string(s.y1);
  }
  return d;
}

}  // namespace zkcli
