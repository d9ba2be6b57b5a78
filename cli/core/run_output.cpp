#include "core/run_output.h"

#include "core/decisions_file.h"
#include "core/picture_summary.h"

namespace zkcli {
namespace {

// Skips are counted by kind in the closing line.
struct SkipKind {
  const char* starts;
  const char* counted;
};
constexpr SkipKind kSkipKinds[] = {
    {"not a picture", "not pictures"},
    {"in a sub-folder", "in sub-folders"},
    {"the output ", "outputs exist (--no-clobber)"},
    {"already corrected", "already corrected (use --force)"},
    {"not a regular file", "not regular files"},
    {"a folder", "folders"},
    {kRejectedInReview, "rejected in review"},
};

std::string notes_text(const PictureSummary& s) {
  std::string text;
  for (const std::string& note : s.notes) text += " [" + note + "]";
  return text;
}

}  // namespace

std::string picture_line(const PictureSummary& s, bool verbose) {
  std::string line;
  switch (s.outcome) {
    case Outcome::Corrected:
      // An accepted picture of a review was copied, not corrected: its one
      // phrase says so ("accepted: copied out/a.jpg -> final/a.jpg").
      if (s.decision == "accept") {
        line = joined(s.changes);
        break;
      }
      line = "corrected -> " + s.output;
      if (verbose) line += ": " + joined(s.changes);
      break;
    case Outcome::Unchanged:
      line = "unchanged: " + s.reason;
      if (!s.output.empty()) line += " -> " + s.output;
      break;
    case Outcome::Skipped:
      line = "skipped: " + s.reason;
      break;
    case Outcome::Failed:
      line = s.reason;
      break;
  }
  return line + notes_text(s);
}

RunOutput::RunOutput(const char* command, std::FILE* text, Verbosity verbosity, bool json)
    : command_(command), text_(text), verbosity_(verbosity), json_(json) {}

void RunOutput::count_skip(const std::string& reason) {
  ++counts_.skipped;
  for (const SkipKind& kind : kSkipKinds)
    if (reason.rfind(kind.starts, 0) == 0) {
      ++skip_reasons_[kind.counted];
      return;
    }
  ++skip_reasons_["other reasons"];
}

void RunOutput::skipped_before(const std::vector<Skip>& skipped) {
  for (const Skip& skip : skipped) {
    count_skip(skip.reason);
    if (json_) {
      PictureSummary s;
      s.input = skip.path;
      s.outcome = Outcome::Skipped;
      s.reason = skip.reason;
      std::fprintf(text_, "%s\n", summary_json(s).c_str());
    } else if (verbosity_ == Verbosity::Verbose) {
      std::fprintf(text_, "%s: skipped: %s\n", skip.path.c_str(), skip.reason.c_str());
    }
  }
  std::fflush(text_);
}

void RunOutput::picture(const PictureSummary& s, Progress& progress) {
  switch (s.outcome) {
    case Outcome::Corrected:
      ++counts_.corrected;
      break;
    case Outcome::Unchanged:
      ++counts_.unchanged;
      break;
    case Outcome::Failed:
      ++counts_.failed;
      failures_.emplace_back(s.input, s.reason);
      break;
    case Outcome::Skipped:
      count_skip(s.reason);
      break;
  }
  if (json_) {
    std::fprintf(text_, "%s\n", summary_json(s).c_str());
    std::fflush(text_);
  } else if (verbosity_ == Verbosity::Quiet) {
    if (s.outcome == Outcome::Failed)
      std::fprintf(stderr, "zkimgset %s: %s: %s\n", command_, s.input.c_str(), s.reason.c_str());
  } else {
    progress.finished(s.input, s.outcome != Outcome::Failed,
                      picture_line(s, verbosity_ == Verbosity::Verbose));
  }
}

void RunOutput::finish(std::size_t pictures, double seconds, const std::string& settings) {
  if (json_) {
    std::string reasons;
    for (const auto& [kind, n] : skip_reasons_) {
      if (!reasons.empty()) reasons += ',';
      reasons += json_string(kind) + ":" + std::to_string(n);
    }
    std::fprintf(text_,
                 "{\"type\":\"run\",\"pictures\":%zu,\"corrected\":%d,\"unchanged\":%d,"
                 "\"failed\":%d,\"skipped\":%d,\"skipped_by_reason\":{%s},\"seconds\":%.3f,"
                 "\"settings\":%s,\"version\":%s}\n",
                 pictures, counts_.corrected, counts_.unchanged, counts_.failed, counts_.skipped,
                 reasons.c_str(), seconds, json_string(settings).c_str(),
                 json_string(ZKIMGSET_CLI_VERSION).c_str());
    std::fflush(text_);
    return;
  }
  if (verbosity_ == Verbosity::Quiet) return;
  std::fprintf(text_, "Corrected %d of %zu picture%s in %.1f s.\n", counts_.corrected, pictures,
               pictures == 1 ? "" : "s", seconds);
  if (counts_.unchanged > 0)
    std::fprintf(text_, "%d unchanged: the analysis found nothing to do.\n", counts_.unchanged);
  if (counts_.failed > 0) {
    std::fprintf(text_, "%d failed:\n", counts_.failed);
    for (const auto& [input, reason] : failures_)
      std::fprintf(text_, "  %s: %s\n", input.c_str(), reason.c_str());
  }
  if (counts_.skipped > 0) {
    std::string kinds;
    for (const auto& [kind, n] : skip_reasons_)
      kinds += (kinds.empty() ? "" : ", ") + std::to_string(n) + " " + kind;
    const bool sub_folders = skip_reasons_.count("in sub-folders") > 0;
    std::fprintf(text_, "%d skipped: %s%s\n", counts_.skipped, kinds.c_str(),
                 sub_folders ? "; use -r" : "");
  }
  std::fflush(text_);
}

void RunOutput::note(const std::string& line) {
  if (json_ || verbosity_ == Verbosity::Quiet) return;
  std::fprintf(text_, "%s\n", line.c_str());
  std::fflush(text_);
}

}  // namespace zkcli
