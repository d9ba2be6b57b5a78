// The review page around the cards: the summary bar and the tools to sort,
// filter and export, the pictures in the order that puts those most likely
// to need a look first, the failed and skipped inputs folded away at the
// end, and one full-size viewer that every card opens.
#include <algorithm>

#include "core/output_plan.h"
#include "report/figure_meanings.h"
#include "report/report.h"
#include "report/report_html.h"
#include "report/report_style.h"
#include "report/review_script.h"
#include "report/svg_plot.h"

namespace zkcli {
namespace {

constexpr std::string_view kTitle = "ZKImgSet review";

std::string count_item(std::string_view label, int count, std::string_view css,
                       std::string_view target = {}) {
  std::string value = std::to_string(count);
  if (!target.empty() && count > 0)
    value = "<a href=\"#" + std::string(target) + "\">" + value + "</a>";
  return "<div class=\"count " + std::string(css) + "\"><dt>" + std::string(label) + "</dt><dd>" +
         value + "</dd></div>";
}

std::string summary_bar(const RunSummary& s) {
  std::string html = "<dl class=\"summary\">";
  html += count_item("Corrected", s.corrected, "good");
  html += count_item("Unchanged", s.unchanged, "plain");
  html += count_item("Failed", s.failed, s.failed > 0 ? "bad" : "plain", "failed");
  html += count_item("Skipped", s.skipped, "plain", "skipped");
  html += "<div class=\"run\"><dt>Settings</dt><dd>" + escape_html(s.settings) + "</dd></div>";
  html += "<div class=\"run\"><dt>Time</dt><dd>" + seconds_text(s.seconds) + " \u00b7 zkimgset " +
          escape_html(s.version) + "</dd></div>";
  return html + "</dl>";
}

// The tools need the script; without it the page still reads in order.
std::string toolbar(bool any_pictures) {
  if (!any_pictures) return "";
  return R"(<div class="toolbar" id="toolbar" hidden>
<label>Sort <select id="sort">
<option value="priority">Needs a look first</option>
<option value="shift">Largest level shift</option>
<option value="cast">Largest cast removed</option>
<option value="name">Name</option>
<option value="run">Run order</option>
</select></label>
<label>Show <select id="filter">
<option value="all">All pictures</option>
<option value="warnings">With warnings</option>
<option value="clip">Clipping</option>
<option value="dark">Dark scenes brightened</option>
<option value="undecided">Undecided</option>
<option value="accept">Accepted</option>
<option value="reject">Rejected</option>
<option value="adjust">Adjusted</option>
</select></label>
<span class="tally" id="tally" aria-live="polite"></span>
<span class="actions"><button type="button" id="accept-rest">Accept all undecided</button>
<button type="button" id="export" class="primary">Export decisions</button></span>
</div>)";
}

std::string viewer() {
  return R"(<dialog id="viewer" aria-labelledby="viewer-title">
<div class="viewer-bar">
<strong id="viewer-title"></strong>
<span class="seg" role="group" aria-label="View">
<button type="button" data-view="split" aria-pressed="true">Split</button>
<button type="button" data-view="flip" aria-pressed="false">Flip</button>
</span>
<button type="button" id="viewer-flip" title="F flips">Showing after</button>
<span class="seg" role="group" aria-label="Zoom">
<button type="button" data-zoom="fit" aria-pressed="true">Fit</button>
<button type="button" data-zoom="full" aria-pressed="false">100%</button>
</span>
<a id="viewer-before-link" target="_blank">Original</a>
<a id="viewer-after-link" target="_blank">Corrected</a>
<button type="button" id="viewer-close" aria-label="Close">&#x2715;</button>
</div>
<p class="viewer-note" id="viewer-note" hidden></p>
<div class="stage fit" id="stage"><div class="viewer-frame" id="frame">
<img id="viewer-before" alt="Before correction">
<img id="viewer-after" alt="After correction">
<span class="split-line" id="split-line"></span>
<span class="side-label left">Before</span><span class="side-label right">After</span>
</div></div>
<input type="range" id="split" min="0" max="100" value="50" aria-label="Split position">
</dialog>)";
}

std::string listed(const std::vector<const ReportEntry*>& entries, std::string_view id,
                   std::string_view title, std::string_view css) {
  if (entries.empty()) return "";
  std::string html = "<details class=\"listed " + std::string(css) + "\" id=\"" + std::string(id) +
                     "\"><summary>" + std::string(title) + " (" + std::to_string(entries.size()) +
                     ")</summary><ul>";
  for (const ReportEntry* e : entries)
    html += "<li><b>" + escape_html(base_name(e->input)) + "</b> <span class=\"paths\">" +
            escape_html(e->input) + "</span><br>" + escape_html(e->reason) + "</li>";
  return html + "</ul></details>\n";
}

// The analysis figures' meanings, once: the script writes each beside its
// figure in the cards.
std::string glossary() {
  std::string html =
      "<details class=\"listed\" id=\"glossary\"><summary>What the analysis figures "
      "mean</summary><dl>";
  for (const auto& [name, meaning] : figure_meanings())
    html += "<dt>" + escape_html(name) + "</dt><dd>" + escape_html(meaning) + "</dd>";
  return html + "</dl></details>\n";
}

// The run's data for the script, as JSON inside the page. A "<" inside a
// string would end the script element early, so it is written as \u003c.
std::string run_data(const RunSummary& s) {
  const Adjustments& a = s.adjustments;
  std::string json = "{\"id\":" + json_string(s.run_id) + ",\"base\":" + json_string(s.base) +
                     ",\"report\":" + json_string(s.report) +
                     ",\"settings\":{\"mode\":" + std::to_string(a.mode) + "," +
                     adjustment_members(a) + ",\"exif\":" + (s.use_exif ? "true" : "false") +
                     ",\"quality\":" + std::to_string(s.quality) + "}}";
  std::string safe;
  for (char c : json) safe += c == '<' ? std::string("\\u003c") : std::string(1, c);
  return "<script type=\"application/json\" id=\"run\">" + safe + "</script>\n";
}

}  // namespace

std::string render_report_page(const RunSummary& summary, const std::vector<ReportEntry>& entries) {
  // Pictures written without being analysed again (accepted in an earlier
  // review and copied) have no card; they are listed with the others.
  std::vector<const ReportEntry*> pictures, copied, failed, skipped;
  for (const ReportEntry& e : entries) {
    if (!e.card.empty())
      pictures.push_back(&e);
    else if (e.outcome == Outcome::Failed)
      failed.push_back(&e);
    else
      (e.outcome == Outcome::Skipped ? skipped : copied).push_back(&e);
  }
  std::stable_sort(pictures.begin(), pictures.end(),
                   [](const ReportEntry* a, const ReportEntry* b) {
                     if (a->priority != b->priority) return a->priority > b->priority;
                     return base_name(a->input) < base_name(b->input);
                   });

  std::string html =
      "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
      "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>" +
      std::string(kTitle) + "</title>\n<style>" + std::string(report_stylesheet()) +
      "</style>\n</head>\n<body>\n<header class=\"page-head\"><h1>" + std::string(kTitle) +
      "</h1>" + summary_bar(summary) + toolbar(!pictures.empty()) + "</header>\n<main>\n";
  html += "<div id=\"pictures\">\n";
  for (const ReportEntry* e : pictures) html += e->card;
  html += "</div>\n";
  if (pictures.empty()) html += "<p class=\"empty\">No picture was analysed.</p>\n";
  html += listed(copied, "copied", "Accepted earlier and copied", "plain");
  html += listed(failed, "failed", "Failed", "bad");
  html += listed(skipped, "skipped", "Skipped", "plain");
  if (!pictures.empty()) html += glossary();
  html += "</main>\n" + viewer() + "\n" + run_data(summary) + "<script>" +
          std::string(review_script()) + "</script>\n</body>\n</html>\n";
  return html;
}

}  // namespace zkcli
