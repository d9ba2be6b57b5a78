#include "report/report.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <string_view>

#include "report/base64.h"
#include "report/report_plots.h"
#include "report/report_style.h"
#include "report/svg_plot.h"

namespace zkcli {
namespace {

constexpr std::string_view kTitle = "ZKImgSet automatic set-up report";
constexpr double kMaxThumbnailHeight = 380;  // CSS pixels

// The last component of a path as given; the heading names the picture, the
// full paths follow in smaller type.
std::string_view file_name_of(std::string_view path) {
  const auto slash = path.find_last_of('/');
  const std::string_view name = slash == std::string_view::npos ? path : path.substr(slash + 1);
  return name.empty() ? path : name;
}

std::string seconds_text(double seconds) {
  if (seconds >= 59.5) {
    // Rounded as a whole so that 119.6 s reads "2 min 0 s", not "1 min 60 s".
    const long whole = std::lround(seconds);
    return std::to_string(whole / 60) + " min " + std::to_string(whole % 60) + " s";
  }
  return format_number(seconds, seconds < 10 ? 2 : 1) + " s";
}

std::string signed_text(int value) {
  if (value == 0) return "0";
  std::string text = value > 0 ? "+" : "\u2212";
  return text += std::to_string(value > 0 ? value : -value);
}

std::string hex_text(int value) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  // The mode is a 16-bit word; a negative figure is its sign-extended form.
  auto word = static_cast<unsigned>(value) & 0xFFFFu;
  std::string digits;
  do {
    digits.insert(digits.begin(), kDigits[word & 15u]);
    word >>= 4;
  } while (word != 0);
  if (digits.size() % 2 != 0) digits.insert(digits.begin(), '0');
  return "0x" + digits;
}

std::optional<int> figure(const PictureReport& picture, std::string_view name) {
  for (const auto& [key, value] : picture.figures)
    if (key == name) return value;
  return std::nullopt;
}

std::string chip(std::string_view text, std::string_view css_class = {}) {
  std::string out = "<span class=\"chip";
  if (!css_class.empty()) (out += ' ') += css_class;
  return out + "\">" + escape_html(text) + "</span>";
}

std::string image_tag(const ReportImage& image, std::string_view alt) {
  return "<img src=\"data:image/jpeg;base64," + base64_encode(image.jpeg) + "\" width=\"" +
         std::to_string(image.width) + "\" height=\"" + std::to_string(image.height) + "\" alt=\"" +
         escape_html(alt) + "\">";
}

bool has_image(const ReportImage& image) {
  return !image.jpeg.empty() && image.width > 0 && image.height > 0;
}

// The subject outline over the before thumbnail; its viewBox is the mask's
// cell grid, so the browser scales it with the picture it covers.
std::string outline_overlay(const PictureReport& picture, std::string& caption) {
  const ReportImage& image = picture.before;
  const auto segments = mask_outline(picture.subject_mask, image.width, image.height);
  const bool selected = std::any_of(picture.subject_mask.begin(), picture.subject_mask.end(),
                                    [](std::uint8_t cell) { return cell != 0; });
  if (!selected) {
    caption = "<span class=\"note\">no subject selected</span>";
    return "";
  }
  if (segments.empty()) {
    caption =
        "<span class=\"note\">subject outline unavailable: the mask does not match the "
        "thumbnail</span>";
    return "";
  }
  caption = "<span class=\"swatch\"></span>areas near the subject level (yy_select)";
  const std::string d = outline_path_data(segments);
  return "<svg class=\"outline\" viewBox=\"0 0 " + std::to_string(image.width) + " " +
         std::to_string(image.height) +
         "\" preserveAspectRatio=\"none\" aria-hidden=\"true\"><path class=\"halo\" d=\"" + d +
         "\"/><path class=\"edge\" d=\"" + d + "\"/></svg>";
}

std::string thumbnail(const ReportImage& image, std::string_view label, std::string overlay,
                      std::string caption) {
  std::string html = "<figure class=\"shot\">";
  if (has_image(image)) {
    // Thumbnails fill their column, except that a portrait one is held to the
    // height of a landscape one so that it does not stretch the card.
    const double max_width = kMaxThumbnailHeight * image.width / image.height;
    html += "<div class=\"pic\" style=\"max-width:" + format_number(max_width) + "px\">" +
            image_tag(image, std::string(label) + " correction") + overlay;
  } else {
    html += "<div class=\"pic\"><div class=\"missing\">no thumbnail</div>";
  }
  html += "</div><figcaption><b>" + std::string(label) + "</b>";
  if (!caption.empty()) html += " \u00b7 " + caption;
  return html + "</figcaption></figure>";
}

std::string figures_list(const PictureReport& picture) {
  std::string html = "<dl class=\"figures\">";
  for (const auto& [name, value] : picture.figures) {
    std::string shown = std::to_string(value);
    if (name == "setup_mode") shown += " <span class=\"hex\">" + hex_text(value) + "</span>";
    html += "<div><dt>" + escape_html(name) + "</dt><dd>" + shown + "</dd></div>";
  }
  return html + "</dl>";
}

std::string chart(std::string svg, std::string_view title, std::string note) {
  return "<figure class=\"chart\"><figcaption><b>" + std::string(title) + "</b>" +
         (note.empty() ? "" : " <span class=\"note\">" + note + "</span>") + "</figcaption>" + svg +
         "</figure>";
}

}  // namespace

std::string render_picture_section(const PictureReport& picture) {
  const AutoSetupParam& record = picture.record;
  std::string html = "<section class=\"card picture\"><header class=\"card-head\"><h2>" +
                     escape_html(file_name_of(picture.input)) + "</h2><div class=\"chips\">";
  html += chip(std::to_string(picture.width) + " \u00d7 " + std::to_string(picture.height));
  if (!picture.camera.empty()) html += chip(picture.camera);
  html += picture.exif_used ? chip("Exif shooting values used", "ok")
                            : chip("Exif shooting values not used", "off");
  html += chip(seconds_text(picture.seconds));
  html += "</div><p class=\"paths\"><span>" + escape_html(picture.input) + "</span> \u2192 <span>" +
          escape_html(picture.output) + "</span></p>";
  if (!picture.summary.empty())
    html += "<p class=\"paths\"><b>" + escape_html(picture.summary) + "</b></p>";
  html += "</header>";

  std::string outline_caption;
  std::string overlay;
  if (has_image(picture.before)) overlay = outline_overlay(picture, outline_caption);
  html += "<div class=\"top\"><div class=\"shots\">";
  html += thumbnail(picture.before, "Before", overlay, outline_caption);
  html += thumbnail(picture.after, "After", "", "");
  html +=
      "</div><div class=\"facts\"><h3>Key figures</h3>" + figures_list(picture) + "</div></div>";

  std::vector<LevelMarker> markers;
  if (auto level = figure(picture, "yy_select")) markers.push_back({"yy_select", *level, "select"});
  if (auto level = figure(picture, "yy_av")) markers.push_back({"yy_av", *level, "average"});
  html += "<div class=\"charts\">";
  html += chart(tone_curve_plot(record.tone, markers), "Tone curve", "");
  html += chart(colour_balance_plot(record.cb_ofs, record.cr_ofs), "Colour balance",
                "Cb " + signed_text(record.cb_ofs) + " \u00b7 Cr " + signed_text(record.cr_ofs));
  html += chart(saturation_plot(record.sat_coef), "Saturation", "1024 = unchanged");
  return html + "</div></section>\n";
}

std::string render_failure_section(const std::string& input, const std::string& reason) {
  return "<section class=\"card failure\"><div class=\"sign\" aria-hidden=\"true\">!</div>"
         "<div><h2>" +
         escape_html(file_name_of(input)) + "</h2><p class=\"paths\">" + escape_html(input) +
         "</p><p class=\"reason\"><b>Not corrected:</b> " + escape_html(reason) +
         "</p></div></section>\n";
}

std::string render_report_page(const RunSummary& summary,
                               const std::vector<std::string>& sections) {
  auto item = [](std::string_view term, const std::string& value, std::string_view css = {}) {
    return "<div" + (css.empty() ? std::string() : " class=\"" + std::string(css) + "\"") +
           "><dt>" + std::string(term) + "</dt><dd>" + value + "</dd></div>";
  };
  std::string html =
      "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
      "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
      "<title>" +
      std::string(kTitle) + "</title>\n<style>" + std::string(report_stylesheet()) +
      "</style>\n</head>\n<body>\n";
  html += "<header class=\"page-head\"><h1>" + std::string(kTitle) + "</h1><dl class=\"summary\">";
  html += item("Settings", escape_html(summary.settings));
  html += item("Version", escape_html(summary.version));
  html += item("Corrected", std::to_string(summary.succeeded), "good");
  if (summary.unchanged > 0) html += item("Unchanged", std::to_string(summary.unchanged));
  html += item("Failed", std::to_string(summary.failed), summary.failed > 0 ? "bad" : "");
  if (summary.skipped > 0) html += item("Skipped", std::to_string(summary.skipped));
  html += item("Total time", seconds_text(summary.seconds));
  html += "</dl></header>\n<main>\n";
  if (sections.empty()) html += "<p class=\"empty\">No pictures were processed.</p>\n";
  for (const std::string& section : sections) html += section;
  return html + "</main>\n</body>\n</html>\n";
}

}  // namespace zkcli
