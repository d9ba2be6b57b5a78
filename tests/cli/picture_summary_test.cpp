// The per-picture summary and review: the words a record earns, what counts
// as clipped, and where a change becomes worth a warning.
#include "core/picture_summary.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "core/picture_review.h"

namespace zkcli {
namespace {

TEST(PictureSummary, SaysWhatTheRecordDoesAndSurvivesPacking) {
  using Change = void (*)(AutoSetupParam&, Adjustments&);
  const struct {
    Change change;
    Outcome outcome;
    const char* text;
  } cases[] = {
      {[](AutoSetupParam&, Adjustments&) {}, Outcome::Unchanged,
       "unchanged: the analysis found nothing to do (stage 0x40 only)"},
      {[](AutoSetupParam&, Adjustments& a) { a.level = 110; }, Outcome::Corrected,
       "slight changes only"},
      {[](AutoSetupParam& r, Adjustments&) { r.tone[kMidGrey] = 141; }, Outcome::Corrected,
       "brightened: mid-grey 118 -> 141"},
      {[](AutoSetupParam& r, Adjustments&) { r.tone[kMidGrey] = 119; }, Outcome::Corrected,
       "slight changes only"},  // one level is not worth a word
      {[](AutoSetupParam& r, Adjustments&) { r.cb_ofs = 6; }, Outcome::Corrected,
       "blue cast removed (Cb +6)"},
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
    summarise_correction(s, record, {{"setup_mode", 0x40}}, adjustments);
    EXPECT_EQ(s.outcome, c.outcome) << c.text;
    EXPECT_EQ(summary_text(s), c.text);
    ASSERT_TRUE(unpack_summary(pack_summary(s), back));
    EXPECT_EQ(summary_json(back), summary_json(s));
  }
}

TEST(PictureReview, ClippedMeansEveryChannelAtAnEnd) {
  Picture picture;
  picture.width = 5;
  picture.height = 1;
  picture.rgb = {0, 0, 1, 1, 1, 1, 254, 255, 255, 255, 0, 0, 255, 255, 255};
  const Histograms h = measure_histograms(picture);
  EXPECT_EQ(h.pixels, 5u);
  EXPECT_EQ(h.shadows, 2u) << "channels within a level of 0";
  EXPECT_EQ(h.highlights, 2u) << "254 is the corrected picture's white; pure red is no loss";
  EXPECT_EQ(h.counts[3][255], 1u) << "white has luminance 255";
  EXPECT_EQ(h.counts[0][255], 2u);
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
      {sample(120, 0, 0), sample(120, 40, 0), "shadows clipped: 0.0% -> 4.0% of pixels"},
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
