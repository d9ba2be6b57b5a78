// The review page: escaping, inline images, the charts' geometry, the
// subject outline, the cards' data for sorting, and links to the files.
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
  p.subject_mask = {0, 0, 0, 0,  //
                    0, 1, 1, 0,  //
                    0, 0, 0, 0};
  p.subject_columns = 4, p.subject_rows = 3, p.subject_cell = 8;
  return p;
}

// ---- Base64 ----------------------------------------------------------------------

struct Base64Case {
  std::string bytes;
  std::string encoded;
};

class ReportBase64 : public ::testing::TestWithParam<Base64Case> {};

TEST_P(ReportBase64, EncodesKnownVectors) {
  EXPECT_EQ(base64_encode(GetParam().bytes), GetParam().encoded);
}

INSTANTIATE_TEST_SUITE_P(
    ReportRfc4648, ReportBase64,
    ::testing::Values(Base64Case{"", ""}, Base64Case{"f", "Zg=="}, Base64Case{"fo", "Zm8="},
                      Base64Case{"foo", "Zm9v"}, Base64Case{"foob", "Zm9vYg=="},
                      Base64Case{"fooba", "Zm9vYmE="}, Base64Case{"foobar", "Zm9vYmFy"},
                      Base64Case{std::string("\0", 1), "AA=="}, Base64Case{"\xFF\xFE\xFD", "//79"},
                      Base64Case{"\xFB\xEF", "++8="}));

// ---- Text ----------------------------------------------------------------------------

TEST(ReportText, EscapesMarkupQuotesAndControlCharacters) {
  EXPECT_EQ(escape_html("<script>&\"'"), "&lt;script&gt;&amp;&quot;&#39;");
  EXPECT_EQ(escape_html(std::string("a\0b\x1B\x7F\tc\n", 8)),
            "a\xEF\xBF\xBD"
            "b\xEF\xBF\xBD\xEF\xBF\xBD\tc\n");
  EXPECT_EQ(escape_html("caf\xC3\xA9"), "caf\xC3\xA9");
}

TEST(ReportText, FormatsNumbersWithoutNegativeZero) {
  EXPECT_EQ(format_number(-0.04, 1), "0.0");
  EXPECT_EQ(format_number(-0.0), "0");
  EXPECT_EQ(format_number(-3.25, 1), "-3.2");
  EXPECT_EQ(format_number(1234.5678, 2), "1234.57");
  EXPECT_EQ(svg_coord(12.0), "12");
  EXPECT_EQ(svg_coord(-0.04), "0");
}

// ---- Subject outline -----------------------------------------------------------

struct OutlineCase {
  const char* name;
  int width, height;
  std::vector<std::uint8_t> mask;
  std::vector<Segment> expected;
};

class ReportOutline : public ::testing::TestWithParam<OutlineCase> {};

TEST_P(ReportOutline, TracesCellBordersAndMergesRuns) {
  const OutlineCase& c = GetParam();
  EXPECT_EQ(mask_outline(c.mask, c.width, c.height), c.expected);
}

INSTANTIATE_TEST_SUITE_P(
    ReportMasks, ReportOutline,
    ::testing::Values(
        OutlineCase{"OneCell",
                    3,
                    2,
                    {0, 0, 0, 0, 1, 0},
                    {{1, 1, 2, 1}, {1, 2, 2, 2}, {1, 1, 1, 2}, {2, 1, 2, 2}}},
        OutlineCase{"BlockMergesIntoFourSides",
                    4,
                    4,
                    {0, 0, 0, 0, 0, 1, 1, 0, 0, 1, 1, 0, 0, 0, 0, 0},
                    {{1, 1, 3, 1}, {1, 3, 3, 3}, {1, 1, 1, 3}, {3, 1, 3, 3}}},
        OutlineCase{"FullMaskFollowsTheEdge",
                    2,
                    2,
                    {1, 1, 1, 1},
                    {{0, 0, 2, 0}, {0, 2, 2, 2}, {0, 0, 0, 2}, {2, 0, 2, 2}}},
        OutlineCase{
            "DiagonalCellsShareTheirCorner",
            2,
            2,
            {1, 0, 0, 1},
            {{0, 0, 1, 0}, {0, 1, 2, 1}, {1, 2, 2, 2}, {0, 0, 0, 1}, {1, 0, 1, 2}, {2, 1, 2, 2}}},
        OutlineCase{"RingHasAHole",
                    3,
                    3,
                    {1, 1, 1, 1, 0, 1, 1, 1, 1},
                    {{0, 0, 3, 0},
                     {1, 1, 2, 1},
                     {1, 2, 2, 2},
                     {0, 3, 3, 3},
                     {0, 0, 0, 3},
                     {1, 1, 1, 2},
                     {2, 1, 2, 2},
                     {3, 0, 3, 3}}},
        OutlineCase{"AllZero", 2, 2, {0, 0, 0, 0}, {}},
        OutlineCase{"WrongSize", 3, 3, {1, 1, 1, 1}, {}}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(ReportOutline, PathDataDrawsEachSegment) {
  const std::vector<Segment> segments = {{1, 1, 3, 1}, {1, 1, 1, 3}};
  EXPECT_EQ(outline_path_data(segments), "M1 1H3M1 1V3");
}

// ---- Charts ----------------------------------------------------------------------

// The points of the tone chart's curve, "x,y x,y ...".
std::string curve_points(const std::string& svg) {
  const std::regex points("<polyline points=\"([^\"]*)\" class=\"curve\"");
  std::smatch match;
  return std::regex_search(svg, match, points) ? match.str(1) : "";
}

double first_y(const std::string& points) { return std::stod(points.substr(points.find(',') + 1)); }

TEST(ReportCharts, ToneCurveSamplesEveryFourthLevelWithOutputUpwards) {
  std::uint8_t dark[256] = {}, light[256];
  std::fill(std::begin(light), std::end(light), 255);
  const std::string low = curve_points(tone_curve_plot(dark, {}));
  const std::string high = curve_points(tone_curve_plot(light, {}));
  EXPECT_EQ(count(low, ","), 65);
  EXPECT_GT(first_y(low), first_y(high)) << "output 0 must lie below output 255";
}

struct BalanceCase {
  int cb, cr;
  const char* range;  // the label at the ends of the axes
};

class ReportBalance : public ::testing::TestWithParam<BalanceCase> {};

TEST_P(ReportBalance, PointSitsInItsQuadrantWithinTheRange) {
  const auto [cb, cr, range] = GetParam();
  const std::string svg = colour_balance_plot(cb, cr);
  const double x = attribute_of(svg, "offset-point", "cx");
  const double y = attribute_of(svg, "offset-point", "cy");
  EXPECT_GT(x, 0);
  EXPECT_LT(x, 240);
  EXPECT_GT(y, 0);
  EXPECT_LT(y, 240);
  EXPECT_EQ(x > 120, cb > 0) << "+Cb is to the right";
  EXPECT_EQ(y<120, cr> 0) << "+Cr is up";
  EXPECT_NE(svg.find(std::string(">") + range + "</text>"), std::string::npos) << svg;
}

INSTANTIATE_TEST_SUITE_P(ReportOffsets, ReportBalance,
                         ::testing::Values(BalanceCase{5, 9, "32"}, BalanceCase{-20, -31, "39"},
                                           BalanceCase{-100, 40, "125"},
                                           BalanceCase{3, -400, "500"}));

TEST(ReportCharts, SaturationRangeKeepsNeutralInView) {
  std::int16_t far[100];
  std::fill(std::begin(far), std::end(far), 3000);
  const std::string svg = saturation_plot(far);
  const double neutral = attribute_of(svg, "identity", "y1");
  const double top = attribute_of(svg, "frame", "y");
  const double bottom = top + attribute_of(svg, "frame", "height");
  EXPECT_GT(neutral, top);
  EXPECT_LT(neutral, bottom);
}

// ---- Cards and page ------------------------------------------------------------

TEST(ReportCard, CarriesWhatThePageSortsAndShowsWithTheOutlineOff) {
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
}

TEST(ReportCard, NoSubjectMeansNoOutlineAndNoToggle) {
  for (const auto& mask : {std::vector<std::uint8_t>{}, std::vector<std::uint8_t>(12, 0)}) {
    PictureReport p = sample_picture();
    p.subject_mask = mask;
    const std::string html = render_picture_card(p);
    EXPECT_EQ(html.find("class=\"outline\""), std::string::npos);
    EXPECT_EQ(html.find("outline-toggle"), std::string::npos);
  }
}

TEST(ReportCard, NegativeSetupModeShowsItsSixteenBitWord) {
  PictureReport p = sample_picture();
  p.figures = {{"setup_mode", -2}};
  EXPECT_NE(render_picture_card(p).find("0xFFFE"), std::string::npos);
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

struct LinkCase {
  const char* from;
  const char* path;
  const char* link;
};

class ReportLinks : public ::testing::TestWithParam<LinkCase> {};

TEST_P(ReportLinks, LeadFromThePageToTheFileEncoded) {
  EXPECT_EQ(relative_link(GetParam().from, GetParam().path), GetParam().link);
}

INSTANTIATE_TEST_SUITE_P(
    Paths, ReportLinks,
    ::testing::Values(LinkCase{"/w/out", "/w/out/a.jpg", "a.jpg"},
                      LinkCase{"/w/out", "/w/in/sub/../b c#1?.jpg", "../in/b%20c%231%3F.jpg"},
                      LinkCase{"/w/out/", "/w/out/x/\xC3\xA9.png", "x/%C3%A9.png"},
                      LinkCase{"/", "/srv/pictures/%.tif", "srv/pictures/%25.tif"}));

struct TimeCase {
  double seconds;
  const char* shown;
};

class ReportTime : public ::testing::TestWithParam<TimeCase> {};

TEST_P(ReportTime, ReadsNaturally) {
  EXPECT_EQ(seconds_text(GetParam().seconds), GetParam().shown);
}

INSTANTIATE_TEST_SUITE_P(ReportDurations, ReportTime,
                         ::testing::Values(TimeCase{0.004, "0.00 s"}, TimeCase{9.996, "10.00 s"},
                                           TimeCase{12.34, "12.3 s"}, TimeCase{59.96, "1 min 0 s"},
                                           TimeCase{119.6, "2 min 0 s"},
                                           TimeCase{3725, "62 min 5 s"}));

}  // namespace
}  // namespace zkcli
