#include "core/picture_summary.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <numeric>
#include <type_traits>
#include <variant>

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

std::string adjustment_members(const Adjustments& a) {
  std::string out;
  for (const AdjustmentField& f : kAdjustmentFields) {
    if (!out.empty()) out += ',';
    out.append("\"").append(f.key).append("\":").append(std::to_string(a.*f.member));
  }
  return out;
}

std::string adjustments_json(const Adjustments& a) {
  std::string out("{");
  return out.append(adjustment_members(a)).append("}");
}

namespace {

// A summary's fields in the order they cross from a worker to the run: the
// scalars (the three lists' lengths among them), then the lists' items.
class Wire {
 public:
  using Slot = std::variant<std::string*, int*, double*, bool*>;

  explicit Wire(PictureSummary& s)
      : s_(s),
        outcome_(static_cast<int>(s.outcome)),
        has_adjustments_(s.adjustments.has_value()),
        adjustments_(s.adjustments.value_or(Adjustments{})),
        lengths_{int(s.changes.size()), int(s.notes.size()), int(s.review.warnings.size())} {}

  std::vector<Slot> scalars() {
    PictureSummary& s = s_;
    PictureReview& r = s.review;
    std::vector<Slot> slots = {&s.input,
                               &s.output,
                               &outcome_,
                               &s.reason,
                               &s.format_in,
                               &s.format_out,
                               &s.width,
                               &s.height,
                               &s.analysed,
                               &s.mode_after,
                               &s.mid_grey_to,
                               &s.contrast_percent,
                               &s.cb,
                               &s.cr,
                               &s.saturation_percent,
                               &s.seconds,
                               &r.measured,
                               &r.mean_before,
                               &r.mean_after,
                               &r.shadows_before,
                               &r.shadows_after,
                               &r.highlights_before,
                               &r.highlights_after,
                               &s.decision,
                               &has_adjustments_,
                               &adjustments_.mode};
    for (const AdjustmentField& f : kAdjustmentFields) slots.push_back(&(adjustments_.*f.member));
    for (int& length : lengths_) slots.push_back(&length);
    return slots;
  }

  std::array<std::vector<std::string>*, 3> lists() {
    return {&s_.changes, &s_.notes, &s_.review.warnings};
  }

  // After the scalars are read: the values they stand for, and the lists
  // made as long as they say.
  void settle() {
    s_.outcome = static_cast<Outcome>(outcome_);
    s_.adjustments.reset();
    if (has_adjustments_) s_.adjustments = adjustments_;
    const auto each = lists();
    for (std::size_t i = 0; i < each.size(); ++i)
      each[i]->resize(static_cast<std::size_t>(lengths_[i]));
  }

 private:
  PictureSummary& s_;
  int outcome_;
  bool has_adjustments_;
  Adjustments adjustments_;
  int lengths_[3];
};

std::string text_of(const Wire::Slot& slot) {
  return std::visit(
      [](auto* value) {
        if constexpr (std::is_same_v<decltype(value), std::string*>)
          return *value;
        else
          return std::to_string(*value);
      },
      slot);
}

void read_into(const Wire::Slot& slot, const std::string& text) {
  std::visit(
      [&](auto* value) {
        using T = std::remove_pointer_t<decltype(value)>;
        if constexpr (std::is_same_v<T, std::string>)
          *value = text;
        else if constexpr (std::is_same_v<T, double>)
          *value = std::atof(text.c_str());
        else
          *value = static_cast<T>(std::atoi(text.c_str()));
      },
      slot);
}

}  // namespace

std::string pack_summary(const PictureSummary& summary) {
  PictureSummary s = summary;
  Wire wire(s);
  std::string out;
  for (const Wire::Slot& slot : wire.scalars()) field(out, text_of(slot));
  for (const auto* list : wire.lists())
    for (const std::string& item : *list) field(out, item);
  return out;
}

bool unpack_summary(const std::string& in, PictureSummary& s) {
  std::size_t at = 0;
  Wire wire(s);
  std::string text;
  for (const Wire::Slot& slot : wire.scalars()) {
    if (!next_field(in, at, text)) return false;
    read_into(slot, text);
  }
  wire.settle();
  for (auto* list : wire.lists())
    for (std::string& item : *list)
      if (!next_field(in, at, item)) return false;
  return true;
}

}  // namespace zkcli
