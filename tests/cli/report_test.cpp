// The review page: escaping, the charts' geometry, the subject outline, the
// cards' data for sorting, links to the files and the order of the page.
#include "report/report.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <regex>
#include <string>
#include <vector>

#include "report/base64.h"
#include "report/report_html.h"
#include "report/report_plots.h"
#include "report/svg_plot.h"

namespace zkcli {
namespace {

int count(const std::string& text, const std::string& needle) {
  int n = 0;
  for (auto at = text.find(needle); at != std::string::npos; at = text.find(needle, at + 1)) ++n;
  return n;
}

// The value of the first `attribute` of the first element that has `css_class`.
double attribute_of(const std::string& svg, const std::string& css_class,
                    const std::string& attribute) {
  const std::regex element("<[a-z]+ ([^>]*)class=\"" + css_class + "\"[^>]*>");
  std::smatch match;
  if (!std::regex_search(svg, match, element)) return -1;
  const std::string tag = match.str(0);
  const std::regex value(" " + attribute + "=\"([-0-9.]+)\"");
  if (!std::regex_search(tag, match, value)) return -1;
  return std::stod(match.str(1));
}

PictureReport sample_picture() {
  PictureReport p;
  p.index = 7;
  p.summary.input = "in/holiday.jpg";
  p.summary.output = "out/holiday.jpg";
  p.summary.outcome = Outcome::Corrected;
  p.summary.changes = {"brightened: mid-grey 118 -> 141"};
  p.summary.width = 4000;
  p.summary.height = 3000;
  p.summary.cb = 3;
  p.summary.cr = -4;
  p.summary.review = {true, 40, 90, 0, 0, 0.5, 3, {"highlights clipped: 0.5% -> 3.0% of pixels"}};
  p.before = {"\xFF\xD8 before", 32, 24};
  p.after = {"\xFF\xD8 after", 32, 24};
  for (int i = 0; i < 256; ++i) p.record.tone[i] = static_cast<std::uint8_t>(i);
  for (auto& c : p.record.sat_coef) c = 1024;
  p.figures = {{"setup_mode", 0xDF}, {"yy_av", 96}, {"yy_select", 118}};
  p.subject_mask = {0, 0, 0, 0, 0, 1, 1, 0, 0, 0, 0, 0};
  p.subject_columns = 4, p.subject_rows = 3, p.subject_cell = 8;
  return p;
}

TEST(ReportText, EscapesEncodesAndFormats) {
  EXPECT_EQ(escape_html("<script>&\"'"), "&lt;script&gt;&amp;&quot;&#39;");
  EXPECT_EQ(escape_html(std::string("a\0b\x1B\x7F\tc\n", 8)),
            "a\xEF\xBF\xBD"
            "b\xEF\xBF\xBD\xEF\xBF\xBD\tc\n");
  EXPECT_EQ(escape_html("caf\xC3\xA9"), "caf\xC3\xA9");
  EXPECT_EQ(base64_encode("f") + base64_encode("\xFB\xEF") + base64_encode("\xFF\xFE\xFD"),
            "Zg==++8=//79");
  EXPECT_EQ(format_number(-0.04, 1), "0.0");
  EXPECT_EQ(format_number(-0.0), "0");
  EXPECT_EQ(format_number(-3.25, 1), "-3.2");
  EXPECT_EQ(format_number(1234.5678, 2), "1234.57");
  EXPECT_EQ(svg_coord(12.0), "12");
  EXPECT_EQ(svg_coord(-0.04), "0");
  const std::pair<double, const char*> times[] = {{0.004, "0.00 s"},    {9.996, "10.00 s"},
                                                  {12.34, "12.3 s"},    {59.96, "1 min 0 s"},
                                                  {119.6, "2 min 0 s"}, {3725, "62 min 5 s"}};
  for (const auto& [seconds, shown] : times) EXPECT_EQ(seconds_text(seconds), shown);
}

// The outline follows cell borders, merging runs into single segments.
TEST(ReportOutline, TracesCellBordersAndMergesRuns) {
  const struct {
    int width, height;
    const char* mask;
    const char* path;
  } cases[] = {
      {3, 2, "000010", "M1 1H2M1 2H2M1 1V2M2 1V2"},
      {4, 4, "0000011001100000", "M1 1H3M1 3H3M1 1V3M3 1V3"},
      {2, 2, "1111", "M0 0H2M0 2H2M0 0V2M2 0V2"},
      {2, 2, "1001", "M0 0H1M0 1H2M1 2H2M0 0V1M1 0V2M2 1V2"},                   // corners shared
      {3, 3, "111101111", "M0 0H3M1 1H2M1 2H2M0 3H3M0 0V3M1 1V2M2 1V2M3 0V3"},  // a hole
      {2, 2, "0000", ""},
      {3, 3, "1111", ""},  // the wrong size
  };
  for (const auto& c : cases) {
    std::vector<std::uint8_t> mask;
    for (const char* m = c.mask; *m; ++m) mask.push_back(*m == '1');
    EXPECT_EQ(outline_path_data(mask_outline(mask, c.width, c.height)), c.path) << c.mask;
  }
}

TEST(ReportCharts, AxesRangesAndDirections) {
  // The tone curve: every fourth level, output upwards.
  std::uint8_t dark[256] = {}, light[256];
  std::fill(std::begin(light), std::end(light), 255);
  const std::regex points("<polyline points=\"([^\"]*)\" class=\"curve\"");
  std::smatch low, high;
  const std::string low_svg = tone_curve_plot(dark, {}), high_svg = tone_curve_plot(light, {});
  ASSERT_TRUE(std::regex_search(low_svg, low, points) && std::regex_search(high_svg, high, points));
  EXPECT_EQ(count(low.str(1), ","), 65);
  const auto first_y = [](const std::string& p) { return std::stod(p.substr(p.find(',') + 1)); };
  EXPECT_GT(first_y(low.str(1)), first_y(high.str(1))) << "output 0 must lie below output 255";

  // The colour-balance point: +Cb to the right, +Cr up, inside a range
  // that grows with the offsets.
  const struct {
    int cb, cr;
    const char* range;
  } offsets[] = {{5, 9, "32"}, {-20, -31, "39"}, {-100, 40, "125"}, {3, -400, "500"}};
  for (const auto& [cb, cr, range] : offsets) {
    const std::string svg = colour_balance_plot(cb, cr);
    const double x = attribute_of(svg, "offset-point", "cx");
    const double y = attribute_of(svg, "offset-point", "cy");
    EXPECT_TRUE(x > 0 && x < 240 && y > 0 && y < 240) << cb << "," << cr;
    EXPECT_EQ(x > 120, cb > 0) << cb;
    EXPECT_EQ(y<120, cr> 0) << cr;
    EXPECT_NE(svg.find(std::string(">") + range + "</text>"), std::string::npos) << svg;
  }

  // Saturation far from neutral keeps neutral in view.
  std::int16_t far[100];
  std::fill(std::begin(far), std::end(far), 3000);
  const std::string svg = saturation_plot(far);
  const double neutral = attribute_of(svg, "identity", "y1");
  const double top = attribute_of(svg, "frame", "y");
  EXPECT_GT(neutral, top);
  EXPECT_LT(neutral, top + attribute_of(svg, "frame", "height"));
}

TEST(ReportCard, CarriesWhatThePageSortsAndShows) {
  const std::string html = render_picture_card(sample_picture());
  EXPECT_EQ(count(html, "<img src=\"data:image/jpeg;base64,"), 2);
  EXPECT_NE(html.find(base64_encode("\xFF\xD8 before")), std::string::npos);
  for (const char* attribute :
       {"id=\"p7\"", "data-priority=\"1055.0\"", "data-shift=\"50.0\"", "data-cast=\"5.0\"",
        "data-warn=\"clip\"", "data-status=\"corrected\""})
    EXPECT_NE(html.find(attribute), std::string::npos) << attribute;
  EXPECT_EQ(count(html, "class=\"hist\""), 2);
  EXPECT_NE(html.find("viewBox=\"0 0 4 3\""), std::string::npos) << "the outline counts cells";
  EXPECT_NE(html.find("d=\"M1 1H3M1 2H3M1 1V2M3 1V2\""), std::string::npos);
  EXPECT_NE(html.find("class=\"outline-toggle\""), std::string::npos);
  EXPECT_EQ(html.find("show-outline"), std::string::npos) << "the outline starts hidden";
  EXPECT_NE(html.find("<th>yy_select</th><td>118</td>"), std::string::npos);
  EXPECT_NE(html.find("highlights clipped: 0.5% -&gt; 3.0% of pixels"), std::string::npos);

  // No subject: no outline and no toggle; a negative mode as its 16-bit word.
  for (const auto& mask : {std::vector<std::uint8_t>{}, std::vector<std::uint8_t>(12, 0)}) {
    PictureReport p = sample_picture();
    p.subject_mask = mask;
    p.figures = {{"setup_mode", -2}};
    const std::string card = render_picture_card(p);
    EXPECT_EQ(card.find("class=\"outline"), std::string::npos);
    EXPECT_NE(card.find("0xFFFE"), std::string::npos);
  }
}

TEST(ReportPage, EscapesHostileNamesAndFetchesNothing) {
  PictureReport p = sample_picture();
  p.summary.input = "dir/<script>&\"x.jpg";
  p.camera = "<img src=x onerror=alert(1)>";
  RunSummary run;
  run.settings = "mode <0xDF>";
  run.base = "/tmp/</script><script>alert(1)</script>";
  const std::string page =
      render_report_page(run, {{Outcome::Corrected, p.summary.input, "", render_picture_card(p), 0},
                               {Outcome::Failed, "<script>&\".png", "bad <b>header</b>", "", 0}});
  EXPECT_EQ(count(page, "<script"), 2) << "the run's data and the page's own script only";
  for (const char* forbidden :
       {"http://", "https://", "<b>header", "<img src=x", "</script><script>"})
    EXPECT_EQ(page.find(forbidden), std::string::npos) << forbidden;
  EXPECT_NE(page.find("&lt;script&gt;&amp;&quot;x.jpg"), std::string::npos);
  EXPECT_NE(page.find("bad &lt;b&gt;header&lt;/b&gt;"), std::string::npos);
  EXPECT_NE(page.find("mode &lt;0xDF&gt;"), std::string::npos);
}

TEST(ReportPage, PicturesNeedingALookFirstThenFailuresAndSkipsFoldedAway) {
  auto entry = [](Outcome outcome, const char* name, double priority) {
    return ReportEntry{
        outcome, name, "why",
        outcome == Outcome::Corrected ? std::string("<article>") + name + "</article>" : "",
        priority};
  };
  const std::string page = render_report_page(
      {}, {entry(Outcome::Failed, "broken.jpg", 0), entry(Outcome::Corrected, "b-mild.jpg", 12),
           entry(Outcome::Skipped, "notes.txt", 0), entry(Outcome::Corrected, "a-mild.jpg", 12),
           entry(Outcome::Corrected, "night.jpg", 1093)});
  const auto at = [&](const char* text) { return page.find(text); };
  EXPECT_LT(at("<article>night.jpg"), at("<article>a-mild.jpg"));
  EXPECT_LT(at("<article>a-mild.jpg"), at("<article>b-mild.jpg")) << "ties go by name";
  EXPECT_LT(at("<article>b-mild.jpg"), at("<details class=\"listed bad\" id=\"failed\">"));
  EXPECT_LT(at("id=\"failed\""), at("broken.jpg"));
  EXPECT_LT(at("id=\"skipped\""), at("notes.txt"));
}

TEST(ReportLinks, LeadFromThePageToTheFileEncoded) {
  const struct {
    const char *from, *path, *link;
  } links[] = {{"/w/out", "/w/out/a.jpg", "a.jpg"},
               {"/w/out", "/w/in/sub/../b c#1?.jpg", "../in/b%20c%231%3F.jpg"},
               {"/w/out/", "/w/out/x/\xC3\xA9.png", "x/%C3%A9.png"},
               {"/", "/srv/pictures/%.tif", "srv/pictures/%25.tif"}};
  for (const auto& l : links) EXPECT_EQ(relative_link(l.from, l.path), l.link);
}

}  // namespace
}  // namespace zkcli
