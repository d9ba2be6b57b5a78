// The review page (escaping, the subject outline, the cards' data for sorting,
// links to the files) and the per-picture summary and review it shows.
#include "report/report.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "core/picture_review.h"
#include "core/picture_summary.h"
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
  EXPECT_EQ(format_number(-0.04, 1), "0.0");
  EXPECT_EQ(format_number(1234.5678, 2), "1234.57");
  EXPECT_EQ(svg_coord(-0.04), "0");
  const std::pair<double, const char*> times[] = {
      {9.996, "10.00 s"}, {59.96, "1 min 0 s"}, {3725, "62 min 5 s"}};
  for (const auto& [seconds, shown] : times) EXPECT_EQ(seconds_text(seconds), shown);
}

// The outline follows cell borders, merging runs into single segments.
TEST(ReportOutline, TracesCellBordersAndMergesRuns) {
  const struct {
    int width, height;
    const char* mask;
    const char* path;
  } cases[] = {
      {4, 4, "0000011001100000", "M1 1H3M1 3H3M1 1V3M3 1V3"},
      {2, 2, "1001", "M0 0H1M0 1H2M1 2H2M0 0V1M1 0V2M2 1V2"},                   // corners shared
      {3, 3, "111101111", "M0 0H3M1 1H2M1 2H2M0 3H3M0 0V3M1 1V2M2 1V2M3 0V3"},  // a hole
      {3, 3, "1111", ""},                                                       // the wrong size
  };
  for (const auto& c : cases) {
    std::vector<std::uint8_t> mask;
    for (const char* m = c.mask; *m; ++m) mask.push_back(*m == '1');
    EXPECT_EQ(outline_path_data(mask_outline(mask, c.width, c.height)), c.path) << c.mask;
  }
}

TEST(ReportCard, CarriesWhatThePageSortsAndShows) {
  PictureReport p = sample_picture();
  p.files.before_link = "../in/holiday.jpg", p.files.after_link = "holiday.jpg";
  const std::string html = render_picture_card(p);
  EXPECT_EQ(count(html, "<img src=\"data:image/jpeg;base64,"), 2);
  EXPECT_NE(html.find("<a href=\"../in/holiday.jpg\">Original file</a>"), std::string::npos);
  p.summary.outcome = Outcome::Failed, p.summary.reason = "bad <header>";
  EXPECT_NE(render_picture_card(p).find("<li>failed: bad &lt;header&gt;</li>"), std::string::npos);
  for (const char* attribute : {"data-priority=\"1055.0\"", "data-shift=\"50.0\"",
                                "data-cast=\"5.0\"", "data-warn=\"clip\""})
    EXPECT_NE(html.find(attribute), std::string::npos) << attribute;
  EXPECT_NE(html.find("viewBox=\"0 0 4 3\""), std::string::npos) << "the outline counts cells";
  EXPECT_NE(html.find("d=\"M1 1H3M1 2H3M1 1V2M3 1V2\""), std::string::npos);
  EXPECT_NE(html.find("<th>yy_select</th><td>118</td>"), std::string::npos);
  EXPECT_NE(html.find("highlights clipped: 0.5% -&gt; 3.0% of pixels"), std::string::npos);
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

TEST(ReportLinks, LeadFromThePageToTheFileEncoded) {
  const struct {
    const char *from, *path, *link;
  } links[] = {{"/w/out", "/w/in/sub/../b c#1?.jpg", "../in/b%20c%231%3F.jpg"},
               {"/", "/srv/pictures/\xC3\xA9%.tif", "srv/pictures/%C3%A9%25.tif"}};
  for (const auto& l : links) EXPECT_EQ(relative_link(l.from, l.path), l.link);
}

TEST(PictureSummary, SaysWhatTheRecordDoesAndSurvivesPacking) {
  using Change = void (*)(AutoSetupParam&, Adjustments&);
  const struct {
    Change change;
    Outcome outcome;
    const char* text;
  } cases[] = {
      {[](AutoSetupParam&, Adjustments&) {}, Outcome::Unchanged,
       "unchanged: the analysis found nothing to do (stage 0x40 only)"},
      {[](AutoSetupParam& r, Adjustments&) { r.cb_ofs = 3, r.cr_ofs = 2; }, Outcome::Corrected,
       "magenta cast removed (Cb +3, Cr +2)"},
      {[](AutoSetupParam& r, Adjustments&) { r.tone[kMidGrey] = 141; }, Outcome::Corrected,
       "brightened: mid-grey 118 -> 141"},
      {[](AutoSetupParam& r, Adjustments&) { r.tone[kMidGrey] = 119; }, Outcome::Corrected,
       "slight changes only"},  // one level is not worth a word
      {[](AutoSetupParam& r, Adjustments&) { r.cb_ofs = -5, r.cr_ofs = 4; }, Outcome::Corrected,
       "orange cast removed (Cb -5, Cr +4)"},
      {[](AutoSetupParam& r, Adjustments&) { std::fill_n(r.sat_coef, 100, 1065); },
       Outcome::Corrected, "saturation +4%"},
      {[](AutoSetupParam& r, Adjustments&) {
         r.tone[kShadowLevel] = 54, r.tone[kHighlightLevel] = 202;
       },
       Outcome::Corrected, "contrast +16%"},
  };
  for (const auto& c : cases) {
    AutoSetupParam record{};
    for (int i = 0; i < 256; ++i) record.tone[i] = static_cast<std::uint8_t>(i);
    std::fill_n(record.sat_coef, 100, kNeutralSaturation);
    Adjustments adjustments;
    c.change(record, adjustments);
    PictureSummary s, back;
    s.input = "in \"night\"\t.jpg";  // escaped in JSON, kept by packing
    summarise_correction(s, record, {{"setup_mode", 0x40}}, adjustments);
    EXPECT_EQ(s.outcome, c.outcome) << c.text;
    EXPECT_EQ(summary_text(s), c.text);
    ASSERT_TRUE(unpack_summary(pack_summary(s), back));
    EXPECT_EQ(summary_json(back), summary_json(s));
    EXPECT_NE(summary_json(s).find(R"("in \"night\"\u0009.jpg")"), std::string::npos);
  }
  AutoSetupParam record{};
  for (int i = 0; i < 256; ++i) record.tone[i] = static_cast<std::uint8_t>(i);
  std::fill_n(record.sat_coef, 100, kNeutralSaturation);
  PictureSummary s;
  summarise_correction(s, record, {{"setup_mode", 0xDF}}, {});
  EXPECT_EQ(summary_text(s), "unchanged: the analysis found nothing to do (stages 0x5F)");
}

TEST(PictureReview, ClippedMeansEveryChannelAtAnEnd) {
  Picture picture;
  picture.width = 5;
  picture.height = 1;
  picture.rgb = {0, 0, 1, 1, 1, 1, 254, 255, 255, 255, 0, 0, 255, 255, 255};
  const Histograms h = measure_histograms(picture);
  EXPECT_EQ(h.shadows, 2u) << "channels within a level of 0";
  EXPECT_EQ(h.highlights, 2u) << "254 is the corrected picture's white; pure red is no loss";
  EXPECT_EQ(h.counts[3][255], 1u) << "white has luminance 255";
}

TEST(PictureReview, WarnsOnlyPastTheThresholds) {
  // 1000 pixels at one level, with some clipped.
  const auto sample = [](int level, int shadows, int highlights) {
    Histograms h;
    h.pixels = 1000;
    h.counts[3][level] = 1000;
    h.shadows = static_cast<std::uint64_t>(shadows);
    h.highlights = static_cast<std::uint64_t>(highlights);
    return h;
  };
  const struct {
    Histograms before, after;
    const char* warning;  // "" for none
  } cases[] = {
      {sample(120, 0, 5), sample(120, 0, 15), ""},
      {sample(120, 0, 5), sample(120, 0, 16), "highlights clipped: 0.5% -> 1.6% of pixels"},
      {sample(79, 0, 0), sample(109, 0, 0), "dark scene brightened: mean level 79 -> 109"},
      {sample(50, 0, 0), sample(79, 0, 0), ""},
      {sample(80, 0, 0), sample(140, 0, 0), ""},
  };
  for (const auto& c : cases) {
    PictureReview review;
    review_correction(review, c.before, c.after);
    EXPECT_EQ(review.warnings,
              *c.warning ? std::vector<std::string>{c.warning} : std::vector<std::string>{})
        << c.warning;
  }
}

}  // namespace
}  // namespace zkcli
