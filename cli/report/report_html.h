// Small pieces of markup shared by the review page's parts: text for
// numbers and times, chips, inline thumbnails, and links to the pictures'
// files relative to the page.
#pragma once

#include <string>
#include <string_view>

#include "report/report.h"

namespace zkcli {

// "0.42 s", "12.3 s", "2 min 0 s".
std::string seconds_text(double seconds);
// "+5", "−3" (a true minus sign), "0".
std::string signed_text(int value);
// "0xDF": a 16-bit word (a negative figure is its sign-extended form).
std::string hex_text(int value);

std::string chip(std::string_view text, std::string_view css_class = {});

// An <img> of the thumbnail as a data: URI.
std::string image_tag(const ReportImage& image, std::string_view alt);

// A link from the folder `from` (absolute) to path (absolute, or relative to
// the working folder): relative, with each byte that is not plain in a URL
// percent-encoded, so that names with spaces, '#' or '?' still open.
std::string relative_link(const std::string& from, const std::string& path);

}  // namespace zkcli
