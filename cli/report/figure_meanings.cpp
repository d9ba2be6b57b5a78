#include "report/figure_meanings.h"

namespace zkcli {
namespace {

// In the order the dump lists them. Levels are 0 (black) to 255 (white);
// densities are print densities in thousandths (100 lightest, 2230 darkest).
constexpr std::pair<std::string_view, std::string_view> kMeanings[] = {
    {"setup_mode",
     "analysis stages still on after the analysis (0x01 colour balance, 0x08 "
     "plain density, 0x10 subject groups, 0x02 and 0x40 saturation, 0x20 halved)"},
    {"Flash", "the camera's flash value from Exif (255: not known)"},
    {"BrightnessValueChild", "the Exif brightness value's numerator"},
    {"BrightnessValueMother", "the Exif brightness value's denominator"},
    {"cb_ofs", "colour cast found on the blue-yellow axis, in steps (the correction removes it)"},
    {"cr_ofs", "colour cast found on the red-cyan axis, in steps (the correction removes it)"},
    {"nextgrp", "regions of similar neighbouring pixels first formed on the thumbnail"},
    {"allgrpno", "regions left after merging, among which the subject is sought"},
    {"dens_av", "average print density of the whole picture"},
    {"dens_sel", "print density of the subject the analysis chose"},
    {"dens_eff", "print density without the regions far outside the normal range"},
    {"yy_av", "mean level of the smoothed thumbnail"},
    {"yy_mn", "darkest level of the smoothed thumbnail"},
    {"yy_mx", "lightest level of the smoothed thumbnail"},
    {"y_mn", "darkest level in the picture's histogram"},
    {"y_mx", "lightest level in the picture's histogram"},
    {"bk_clp", "black point: levels at or below it print as black"},
    {"wt_clp", "white point: levels at or above it print as white"},
    {"yy_select", "level of the subject, which the tone curve aims at"},
    {"cb_av", "mean blue-yellow colour of the picture"},
    {"cr_av", "mean red-cyan colour of the picture"},
    {"sat_av", "mean colourfulness of the picture"},
    {"dif_av", "mean difference between neighbouring pixels (fine detail and noise)"},
    {"toler", "how different neighbouring pixels may be and still form one region"},
};

}  // namespace

std::span<const std::pair<std::string_view, std::string_view>> figure_meanings() {
  return kMeanings;
}

}  // namespace zkcli
