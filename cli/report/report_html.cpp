#include "report/report_html.h"

#include <cmath>
#include <cstdio>
#include <filesystem>

#include "report/base64.h"
#include "report/svg_plot.h"

namespace zkcli {

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
  const unsigned word = static_cast<unsigned>(value) & 0xFFFFu;
  char text[8];
  std::snprintf(text, sizeof text, "0x%0*X", word > 0xFF ? 4 : 2, word);
  return text;
}

std::string chip(std::string_view text, std::string_view css_class) {
  std::string out = "<span class=\"chip";
  if (!css_class.empty()) (out += ' ') += css_class;
  return out + "\">" + escape_html(text) + "</span>";
}

std::string image_tag(const ReportImage& image, std::string_view alt) {
  return "<img src=\"data:image/jpeg;base64," + base64_encode(image.jpeg) + "\" width=\"" +
         std::to_string(image.width) + "\" height=\"" + std::to_string(image.height) + "\" alt=\"" +
         escape_html(alt) + "\">";
}

std::string relative_link(const std::string& from, const std::string& path) {
  namespace fs = std::filesystem;
  std::error_code error;
  fs::path target = fs::absolute(path, error).lexically_normal();
  fs::path relative = target.lexically_relative(fs::path(from).lexically_normal());
  if (relative.empty()) relative = target;
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string link;
  for (const unsigned char c : relative.generic_string()) {
    const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                       c == '-' || c == '_' || c == '.' || c == '~' || c == '/';
    if (plain) {
      link += static_cast<char>(c);
    } else {
      link += '%';
      link += kHex[c >> 4];
      link += kHex[c & 15];
    }
  }
  return link;
}

}  // namespace zkcli
