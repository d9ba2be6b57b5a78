// The per-picture summary: numbers and words from a record.
#include "core/picture_summary.h"

#include <gtest/gtest.h>

namespace zkcli {
namespace {

AutoSetupParam neutral_record() {
  AutoSetupParam r{};
  for (int i = 0; i < 256; ++i) r.tone[i] = static_cast<std::uint8_t>(i);
  for (auto& c : r.sat_coef) c = kNeutralSaturation;
  return r;
}

struct Wording {
  const char* name;
  void (*change)(AutoSetupParam&, Adjustments&);
  Outcome outcome;
  const char* text;  // summary_text
};

class SummaryWords : public ::testing::TestWithParam<Wording> {};

TEST_P(SummaryWords, SaysWhatTheRecordDoes) {
  AutoSetupParam record = neutral_record();
  Adjustments adjustments;
  GetParam().change(record, adjustments);
  PictureSummary s;
  summarise_correction(s, record, {{"setup_mode", 0x40}}, adjustments);
  EXPECT_EQ(s.outcome, GetParam().outcome);
  EXPECT_EQ(summary_text(s), GetParam().text);
  PictureSummary back;
  ASSERT_TRUE(unpack_summary(pack_summary(s), back));
  EXPECT_EQ(summary_json(back), summary_json(s));
}

INSTANTIATE_TEST_SUITE_P(
    Records, SummaryWords,
    ::testing::Values(Wording{"Identity", [](AutoSetupParam&, Adjustments&) {}, Outcome::Unchanged,
                              "unchanged: the analysis found nothing to do (stage 0x40 only)"},
                      Wording{"NeutralRecordButLevelAdjusted",
                              [](AutoSetupParam&, Adjustments& a) { a.level = 110; },
                              Outcome::Corrected, "slight changes only"},
                      Wording{"Brightened",
                              [](AutoSetupParam& r, Adjustments&) { r.tone[kMidGrey] = 141; },
                              Outcome::Corrected, "brightened: mid-grey 118 -> 141"},
                      Wording{"OneLevelIsNotWorthAWord",
                              [](AutoSetupParam& r, Adjustments&) { r.tone[kMidGrey] = 119; },
                              Outcome::Corrected, "slight changes only"},
                      Wording{"BlueCast", [](AutoSetupParam& r, Adjustments&) { r.cb_ofs = 6; },
                              Outcome::Corrected, "blue cast removed (Cb +6)"},
                      Wording{"OrangeCast",
                              [](AutoSetupParam& r, Adjustments&) { r.cb_ofs = -5, r.cr_ofs = 4; },
                              Outcome::Corrected, "orange cast removed (Cb -5, Cr +4)"},
                      Wording{"Saturation",
                              [](AutoSetupParam& r, Adjustments&) {
                                for (auto& c : r.sat_coef) c = 1065;
                              },
                              Outcome::Corrected, "saturation +4%"},
                      Wording{"Contrast",
                              [](AutoSetupParam& r, Adjustments&) {
                                r.tone[kShadowLevel] = 54, r.tone[kHighlightLevel] = 202;
                              },
                              Outcome::Corrected, "contrast +16%"}),
    [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace zkcli
