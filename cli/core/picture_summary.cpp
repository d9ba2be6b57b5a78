#include "core/picture_summary.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <numeric>

namespace zkcli {
namespace {

std::string signed_number(int value) {
  std::string text = value > 0 ? "+" : "";
  return text += std::to_string(value);
}

std::string hex_byte(int value) {
  char text[8];
  std::snprintf(text, sizeof text, "0x%02X", value & 0xFF);
  return text;
}

// The colour a cast of (Cb, Cr) looks like: the stronger axis, or both when
// the weaker one is at least half as strong.
std::string cast_name(int cb, int cr) {
  const bool both =
      std::abs(cb) >= kMinCast && std::abs(cr) >= kMinCast &&
      2 * std::min(std::abs(cb), std::abs(cr)) >= std::max(std::abs(cb), std::abs(cr));
  if (both) {
    if (cb > 0) return cr > 0 ? "magenta" : "cyan";
    return cr > 0 ? "orange" : "green";
  }
  if (std::abs(cb) >= std::abs(cr)) return cb > 0 ? "blue" : "yellow";
  return cr > 0 ? "red" : "cyan";
}

// "[41.2,98.0]": a measure before and after, to a tenth.
std::string pair_json(double before, double after) {
  char text[64];
  std::snprintf(text, sizeof text, "[%.1f,%.1f]", before, after);
  return text;
}

void add_array(std::string& out, const char* name, const std::vector<std::string>& items) {
  out += std::string(",\"") + name + "\":[";
  for (std::size_t i = 0; i < items.size(); ++i) {
    if (i > 0) out += ',';
    out += json_string(items[i]);
  }
  out += "]";
}

// pack_summary's fields: each "length:" and its bytes.
void field(std::string& out, const std::string& value) {
  out += std::to_string(value.size()) + ":" + value;
}

bool next_field(const std::string& in, std::size_t& at, std::string& value) {
  const std::size_t colon = in.find(':', at);
  if (colon == std::string::npos) return false;
  const std::size_t length = std::strtoul(in.c_str() + at, nullptr, 10);
  if (colon + 1 + length > in.size()) return false;
  value = in.substr(colon + 1, length);
  at = colon + 1 + length;
  return true;
}

}  // namespace

std::string joined(const std::vector<std::string>& phrases) {
  std::string text;
  for (const std::string& phrase : phrases) text += (text.empty() ? "" : "; ") + phrase;
  return text;
}

const char* outcome_key(Outcome outcome) {
  switch (outcome) {
    case Outcome::Corrected:
      return "corrected";
    case Outcome::Unchanged:
      return "unchanged";
    case Outcome::Failed:
      return "failed";
    case Outcome::Skipped:
      return "skipped";
  }
  return "?";
}

void summarise_correction(PictureSummary& s, const AutoSetupParam& record, const Figures& figures,
                          const Adjustments& adjustments) {
  s.analysed = true;
  s.mode_after = figure(figures, "setup_mode", 0) & 0xFF;
  s.mid_grey_to = record.tone[kMidGrey];
  const double slope = (record.tone[kHighlightLevel] - record.tone[kShadowLevel]) /
                       double(kHighlightLevel - kShadowLevel);
  s.contrast_percent = static_cast<int>(std::lround((slope - 1) * 100));
  s.cb = record.cb_ofs;
  s.cr = record.cr_ofs;
  const long sum = std::accumulate(std::begin(record.sat_coef), std::end(record.sat_coef), 0L);
  s.saturation_percent = static_cast<int>(
      std::lround((double(sum) / std::size(record.sat_coef) / kNeutralSaturation - 1) * 100));

  s.changes.clear();
  const int move = s.mid_grey_to - kMidGrey;
  if (std::abs(move) >= kMinLevelMove)
    s.changes.push_back(std::string(move > 0 ? "brightened" : "darkened") + ": mid-grey " +
                        std::to_string(kMidGrey) + " -> " + std::to_string(s.mid_grey_to));
  if (std::abs(s.contrast_percent) >= kMinContrastMove)
    s.changes.push_back("contrast " + signed_number(s.contrast_percent) + "%");
  if (std::abs(s.cb) >= kMinCast || std::abs(s.cr) >= kMinCast) {
    std::string steps;
    if (s.cb != 0) steps = "Cb " + signed_number(s.cb);
    if (s.cr != 0) steps += (steps.empty() ? "" : ", ") + std::string("Cr ") + signed_number(s.cr);
    s.changes.push_back(cast_name(s.cb, s.cr) + " cast removed (" + steps + ")");
  }
  if (std::abs(s.saturation_percent) >= kMinSaturationMove)
    s.changes.push_back("saturation " + signed_number(s.saturation_percent) + "%");

  bool identity = s.cb == 0 && s.cr == 0;
  for (int i = 0; i < 256 && identity; ++i) identity = record.tone[i] == i;
  for (short c : record.sat_coef) identity = identity && c == kNeutralSaturation;
  if (identity && neutral(adjustments)) {
    s.outcome = Outcome::Unchanged;
    const int stages = s.mode_after & 0x5F;
    s.reason = "the analysis found nothing to do (" +
               (stages == ZKIMGSET_SETUP_SATURATION_KEEP ? std::string("stage 0x40 only")
                                                         : "stages " + hex_byte(stages)) +
               ")";
  } else {
    s.outcome = Outcome::Corrected;
    if (s.changes.empty()) s.changes.push_back("slight changes only");
  }
}

std::string summary_text(const PictureSummary& s) {
  std::string text;
  if (s.outcome == Outcome::Corrected) {
    text = joined(s.changes);
  } else {
    text = std::string(outcome_key(s.outcome)) + ": " + s.reason;
  }
  for (const std::string& note : s.notes) text += " [" + note + "]";
  return text;
}

std::string json_string(const std::string& text) {
  std::string out = "\"";
  for (const unsigned char c : text) {
    if (c == '"' || c == '\\') {
      out += '\\';
      out += static_cast<char>(c);
    } else if (c < 0x20 || c == 0x7F) {
      char escaped[8];
      std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
      out += escaped;
    } else {
      out += static_cast<char>(c);
    }
  }
  return out + "\"";
}

std::string summary_json(const PictureSummary& s) {
  std::string out = "{\"type\":\"picture\",\"file\":" + json_string(s.input);
  out += ",\"output\":" + (s.output.empty() ? std::string("null") : json_string(s.output));
  out += ",\"status\":" + json_string(outcome_key(s.outcome));
  out +=
      ",\"summary\":" + json_string(s.outcome == Outcome::Corrected ? joined(s.changes) : s.reason);
  if (s.outcome == Outcome::Failed || s.outcome == Outcome::Skipped)
    out += ",\"reason\":" + json_string(s.reason);
  if (!s.format_in.empty()) out += ",\"format\":" + json_string(s.format_in);
  if (!s.format_out.empty()) out += ",\"output_format\":" + json_string(s.format_out);
  if (s.width > 0) out += ",\"width\":" + std::to_string(s.width);
  if (s.height > 0) out += ",\"height\":" + std::to_string(s.height);
  add_array(out, "changes", s.changes);
  if (s.analysed) {
    out += ",\"correction\":{\"mid_grey\":[" + std::to_string(kMidGrey) + "," +
           std::to_string(s.mid_grey_to) +
           "],\"contrast_percent\":" + std::to_string(s.contrast_percent) +
           ",\"cb\":" + std::to_string(s.cb) + ",\"cr\":" + std::to_string(s.cr) +
           ",\"saturation_percent\":" + std::to_string(s.saturation_percent) +
           ",\"setup_mode_after\":" + std::to_string(s.mode_after) + "}";
  }
  add_array(out, "notes", s.notes);
  if (s.review.measured) {
    const PictureReview& r = s.review;
    out += ",\"review\":{\"mean_level\":" + pair_json(r.mean_before, r.mean_after) +
           ",\"shadows_percent\":" + pair_json(r.shadows_before, r.shadows_after) +
           ",\"highlights_percent\":" + pair_json(r.highlights_before, r.highlights_after);
    add_array(out, "warnings", r.warnings);
    out += "}";
  }
  if (!s.decision.empty()) out += ",\"decision\":" + json_string(s.decision);
  if (s.adjustments) out += ",\"adjustments\":" + adjustments_json(*s.adjustments);
  char seconds[32];
  std::snprintf(seconds, sizeof seconds, "%.3f", s.seconds);
  return out + ",\"seconds\":" + seconds + "}";
}

std::string adjustments_json(const Adjustments& a) {
  return "{\"level\":" + std::to_string(a.level) + ",\"contrast\":" + std::to_string(a.contrast) +
         ",\"saturation\":" + std::to_string(a.saturation) +
         ",\"blue_shift\":" + std::to_string(a.blue_shift) +
         ",\"red_shift\":" + std::to_string(a.red_shift) + "}";
}

std::string pack_summary(const PictureSummary& s) {
  const PictureReview& r = s.review;
  const Adjustments a = s.adjustments.value_or(Adjustments{});
  std::string out;
  for (const std::string& v : {s.input,
                               s.output,
                               std::to_string(static_cast<int>(s.outcome)),
                               s.reason,
                               s.format_in,
                               s.format_out,
                               std::to_string(s.width),
                               std::to_string(s.height),
                               std::to_string(s.analysed),
                               std::to_string(s.mode_after),
                               std::to_string(s.mid_grey_to),
                               std::to_string(s.contrast_percent),
                               std::to_string(s.cb),
                               std::to_string(s.cr),
                               std::to_string(s.saturation_percent),
                               std::to_string(s.seconds),
                               std::to_string(r.measured),
                               std::to_string(r.mean_before),
                               std::to_string(r.mean_after),
                               std::to_string(r.shadows_before),
                               std::to_string(r.shadows_after),
                               std::to_string(r.highlights_before),
                               std::to_string(r.highlights_after),
                               s.decision,
                               std::to_string(s.adjustments.has_value()),
                               std::to_string(a.mode),
                               std::to_string(a.level),
                               std::to_string(a.contrast),
                               std::to_string(a.saturation),
                               std::to_string(a.blue_shift),
                               std::to_string(a.red_shift),
                               std::to_string(s.changes.size()),
                               std::to_string(s.notes.size()),
                               std::to_string(r.warnings.size())})
    field(out, v);
  for (const auto* list : {&s.changes, &s.notes, &r.warnings})
    for (const std::string& item : *list) field(out, item);
  return out;
}

bool unpack_summary(const std::string& in, PictureSummary& s) {
  std::size_t at = 0;
  std::string v[34];
  for (std::string& f : v)
    if (!next_field(in, at, f)) return false;
  auto number = [](const std::string& t) { return std::atoi(t.c_str()); };
  auto real = [](const std::string& t) { return std::atof(t.c_str()); };
  s.input = v[0];
  s.output = v[1];
  s.outcome = static_cast<Outcome>(number(v[2]));
  s.reason = v[3];
  s.format_in = v[4];
  s.format_out = v[5];
  s.width = number(v[6]);
  s.height = number(v[7]);
  s.analysed = number(v[8]) != 0;
  s.mode_after = number(v[9]);
  s.mid_grey_to = number(v[10]);
  s.contrast_percent = number(v[11]);
  s.cb = number(v[12]);
  s.cr = number(v[13]);
  s.saturation_percent = number(v[14]);
  s.seconds = real(v[15]);
  PictureReview& r = s.review;
  r.measured = number(v[16]) != 0;
  r.mean_before = real(v[17]);
  r.mean_after = real(v[18]);
  r.shadows_before = real(v[19]);
  r.shadows_after = real(v[20]);
  r.highlights_before = real(v[21]);
  r.highlights_after = real(v[22]);
  s.decision = v[23];
  s.adjustments.reset();
  if (number(v[24]) != 0)
    s.adjustments = Adjustments{number(v[25]), number(v[26]), number(v[27]),
                                number(v[28]), number(v[29]), number(v[30])};
  s.changes.resize(static_cast<std::size_t>(number(v[31])));
  s.notes.resize(static_cast<std::size_t>(number(v[32])));
  r.warnings.resize(static_cast<std::size_t>(number(v[33])));
  for (auto* list : {&s.changes, &s.notes, &r.warnings})
    for (std::string& item : *list)
      if (!next_field(in, at, item)) return false;
  return true;
}

}  // namespace zkcli
