// One picture's card on the review page: what changed in words and any
// warnings first, then the picture before and after at one size (a click
// opens both at full size), their histograms, the operator's decision, and
// the analysis itself for engineers, folded away. The card's data attributes
// carry what the page's script sorts, filters and exports by.
#include <algorithm>
#include <cmath>

#include "core/output_plan.h"
#include "report/report.h"
#include "report/report_html.h"
#include "report/report_plots.h"
#include "report/svg_plot.h"

namespace zkcli {
namespace {

std::string attribute(std::string_view name, std::string_view value) {
  std::string text(" ");
  text.append(name).append("=\"").append(escape_html(value)).append("\"");
  return text;
}

// The kinds of warning a card carries, for the page's filters.
std::string warning_kinds(const PictureReview& review) {
  std::string kinds;
  for (const std::string& w : review.warnings) {
    const char* kind = w.find("clipped") != std::string::npos ? "clip" : "dark";
    if (kinds.find(kind) != std::string::npos) continue;
    if (!kinds.empty()) kinds += ' ';
    kinds += kind;
  }
  return kinds;
}

std::string card_attributes(const PictureReport& p) {
  const PictureSummary& s = p.summary;
  const ReportFiles& f = p.files;
  std::string a = " id=\"p" + std::to_string(p.index) + "\"";
  a += attribute("data-index", std::to_string(p.index));
  a += attribute("data-name", base_name(s.input));
  a += attribute("data-status", outcome_key(s.outcome));
  a += attribute("data-priority", format_number(review_priority(s), 1));
  a += attribute("data-shift", format_number(s.review.mean_after - s.review.mean_before, 1));
  a += attribute("data-cast", format_number(std::hypot(s.cb, s.cr), 1));
  a += attribute("data-warn", warning_kinds(s.review));
  a += attribute("data-file", f.original);
  a += attribute("data-output", f.output);
  a += attribute("data-dest", f.name);
  a += attribute("data-format", s.format_out);
  a += attribute("data-before", f.before_link);
  a += attribute("data-after", f.after_link);
  if (f.before_viewable) a += " data-before-shows";
  if (f.after_viewable) a += " data-after-shows";
  return a + attribute("data-width", std::to_string(s.width)) +
         attribute("data-height", std::to_string(s.height));
}

std::string card_head(const PictureReport& p) {
  const PictureSummary& s = p.summary;
  std::string html =
      "<header class=\"card-head\"><h2>" + escape_html(base_name(s.input)) +
      "</h2><span class=\"verdict\" aria-live=\"polite\"></span><div class=\"chips\">";
  html += chip(std::to_string(s.width) + " \u00d7 " + std::to_string(s.height));
  if (!p.camera.empty()) html += chip(p.camera);
  html += p.exif_used ? chip("Exif shooting values used", "ok")
                      : chip("no Exif shooting values", "off");
  if (s.outcome == Outcome::Unchanged) html += chip("unchanged", "off");
  html += chip(seconds_text(s.seconds)) + "</div>";
  return html + "<p class=\"paths\">" + escape_html(s.input) + " \u2192 " +
         escape_html(s.output.empty() ? "(not written)" : s.output) + "</p></header>";
}

// What changed, in the tool's words and in the figures the page sorts by,
// with the warnings first.
std::string what_changed(const PictureReport& p) {
  const PictureSummary& s = p.summary;
  std::string html;
  if (!s.review.warnings.empty()) {
    html += "<ul class=\"warnings\">";
    for (const std::string& w : s.review.warnings) html += "<li>" + escape_html(w) + "</li>";
    html += "</ul>";
  }
  html += "<ul class=\"said\">";
  if (s.outcome == Outcome::Corrected) {
    for (const std::string& change : s.changes) html += "<li>" + escape_html(change) + "</li>";
  } else {
    html += "<li>" + escape_html(std::string(outcome_key(s.outcome)) + ": " + s.reason) + "</li>";
  }
  html += "</ul>";
  const PictureReview& r = s.review;
  const int shift = static_cast<int>(std::lround(r.mean_after - r.mean_before));
  html += "<dl class=\"measures\"><div><dt>Mean level</dt><dd>" + format_number(r.mean_before) +
          " \u2192 " + format_number(r.mean_after) + " (" + signed_text(shift) +
          ")</dd></div><div><dt>Cast removed</dt><dd>" + format_number(std::hypot(s.cb, s.cr), 1) +
          " steps</dd></div></dl>";
  for (const std::string& note : s.notes) html += "<p class=\"note\">" + escape_html(note) + "</p>";
  return html;
}

// The subject outline over the before thumbnail, hidden until the operator
// asks for it. It is drawn in cells; its viewBox is the thumbnail measured in
// cells, so the browser scales it with the picture it covers.
std::string outline_overlay(const PictureReport& p) {
  const auto segments = mask_outline(p.subject_mask, p.subject_columns, p.subject_rows);
  if (segments.empty() || p.subject_cell <= 0) return "";
  const std::string d = outline_path_data(segments);
  return "<svg class=\"outline\" viewBox=\"0 0 " +
         svg_coord(double(p.before.width) / p.subject_cell, 3) + " " +
         svg_coord(double(p.before.height) / p.subject_cell, 3) +
         "\" preserveAspectRatio=\"none\" aria-hidden=\"true\"><path class=\"halo\" d=\"" + d +
         "\"/><path class=\"edge\" d=\"" + d + "\"/></svg>";
}

std::string shot(const ReportImage& image, std::string_view side, std::string_view name,
                 const std::string& overlay) {
  std::string html = "<figure class=\"shot " + std::string(side) + "\">";
  if (image.jpeg.empty()) {
    html += "<div class=\"pic missing\">no thumbnail</div>";
  } else {
    html += "<button type=\"button\" class=\"pic open\" data-side=\"" + std::string(side) +
            "\" title=\"Open at full size\">" +
            image_tag(image, std::string(side) + " correction: " + std::string(name)) + overlay +
            "</button>";
  }
  return html + "<figcaption>" + (side == "before" ? "Before" : "After") + "</figcaption></figure>";
}

std::string histogram(const Histograms& h, std::string_view side) {
  const std::string title = std::string(side) + ": mean level " + format_number(mean_level(h)) +
                            ", shadows " + format_number(shadows_percent(h), 1) + "%, highlights " +
                            format_number(highlights_percent(h), 1) + "%";
  return "<figure class=\"histogram\">" + histogram_plot(h, title) + "<figcaption>" +
         escape_html(title) + "</figcaption></figure>";
}

// Accept, reject or adjust; adjusting opens the stored adjustments a host
// passes to the library, starting from the ones this picture had.
std::string decision_panel(const Adjustments& a) {
  std::string html =
      "<div class=\"decide\" role=\"group\" aria-label=\"Decision\">"
      "<button type=\"button\" data-decision=\"accept\">Accept</button>"
      "<button type=\"button\" data-decision=\"reject\">Reject</button>"
      "<button type=\"button\" data-decision=\"adjust\">Adjust\u2026</button>"
      "<fieldset class=\"adjust\" hidden><legend>Correct again with</legend>";
  for (const AdjustmentField& f : kAdjustmentFields)
    html += "<label>" + std::string(f.label) + "<input type=\"number\" name=\"" + f.key +
            "\" min=\"" + std::to_string(f.range.min) + "\" max=\"" + std::to_string(f.range.max) +
            "\" step=\"1\" value=\"" + std::to_string(a.*f.member) + "\"></label>";
  return html + "</fieldset></div>";
}

std::string figures_table(const Figures& figures) {
  std::string html = "<table class=\"figures\"><tbody>";
  for (const auto& [name, value] : figures) {
    std::string shown = std::to_string(value);
    if (name == "setup_mode") shown += " (" + hex_text(value) + ")";
    html += "<tr><th>" + escape_html(name) + "</th><td>" + shown +
            "</td><td class=\"meaning\"></td></tr>";
  }
  return html + "</tbody></table>";
}

std::string chart(std::string svg, std::string_view title, const std::string& note) {
  return "<figure class=\"chart\"><figcaption><b>" + std::string(title) + "</b>" +
         (note.empty() ? "" : " " + note) + "</figcaption>" + svg + "</figure>";
}

std::string analysis_details(const PictureReport& p) {
  const AutoSetupParam& record = p.record;
  std::vector<LevelMarker> markers;
  for (const auto& [name, value] : p.figures) {
    if (name == "yy_select") markers.push_back({"yy_select", value, "select"});
    if (name == "yy_av") markers.push_back({"yy_av", value, "average"});
  }
  return "<details class=\"analysis\"><summary>Analysis details</summary><div class=\"charts\">" +
         chart(tone_curve_plot(record.tone, markers), "Tone curve", "") +
         chart(colour_balance_plot(record.cb_ofs, record.cr_ofs), "Colour balance",
               "Cb " + signed_text(record.cb_ofs) + " \u00b7 Cr " + signed_text(record.cr_ofs)) +
         chart(saturation_plot(record.sat_coef), "Saturation", "1024 = unchanged") + "</div>" +
         figures_table(p.figures) + "</details>";
}

}  // namespace

std::string render_picture_card(const PictureReport& p) {
  const std::string name = base_name(p.summary.input);
  std::string html = "<article class=\"card picture\"" + card_attributes(p) + ">";
  html += card_head(p) + "<div class=\"card-body\"><div class=\"visual\">";
  html += "<div class=\"compare\">" + shot(p.before, "before", name, outline_overlay(p)) +
          shot(p.after, "after", name, "") + "</div>";
  html += "<div class=\"card-tools\">";
  if (!p.subject_mask.empty() &&
      std::any_of(p.subject_mask.begin(), p.subject_mask.end(), [](auto c) { return c != 0; }))
    html +=
        "<label class=\"toggle\"><input type=\"checkbox\" class=\"outline-toggle\"> Subject "
        "outline</label>";
  if (!p.files.before_link.empty())
    html += "<a href=\"" + escape_html(p.files.before_link) + "\">Original file</a>";
  if (!p.files.after_link.empty())
    html += "<a href=\"" + escape_html(p.files.after_link) + "\">Corrected file</a>";
  html += "</div><div class=\"histograms\">" + histogram(p.histograms_before, "Before") +
          histogram(p.histograms_after, "After") + "</div></div>";
  html += "<div class=\"side\">" + what_changed(p) + decision_panel(p.adjustments) + "</div></div>";
  return html + analysis_details(p) + "</article>\n";
}

}  // namespace zkcli
