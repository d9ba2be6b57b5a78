// Reading a review's decisions: the JSON checked value by value as it is
// read, and each picture planned as a job. Policy: the whole file or
// nothing; the first mistake ends the run before any picture is touched.
#include "core/decisions_file.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <map>
#include <optional>
#include <string_view>

#include "core/command_line.h"
#include "core/json_reader.h"
#include "core/tool_limits.h"
#include "files/input_file.h"

namespace zkcli {
namespace {

namespace fs = std::filesystem;
using Kind = JsonValue::Kind;

constexpr const char* kFileType = "zkimgset-decisions";
constexpr int kFileVersion = 1;

// A value of the file and where it is: "pictures[2].adjustments.level".
struct Field {
  const JsonValue& value;
  std::string place;
};

// "150", "100.5", "1e+300": a number as a message quotes it.
std::string number_text(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.15g", value);
  return text;
}

std::string in_quotes(const std::string& text) { return "\"" + text + "\""; }

class DecisionsReader {
 public:
  DecisionsReader(std::string file, const PlanOptions& plan, RunSettings& settings)
      : file_(std::move(file)), plan_(plan), settings_(settings) {}

  std::vector<Job> read(const JsonValue& root) {
    if (root.kind != Kind::Object)
      throw UsageError(file_ + ": expected a JSON object, found " + json_kind_name(root.kind));
    const Field top{root, ""};
    const Field type = field(top, "type");
    if (text(type) != kFileType)
      fail(type.place, in_quotes(type.value.string) + " is not " + in_quotes(kFileType));
    const Field version = field(top, "version");
    expect(version, Kind::Number);
    if (version.value.number != kFileVersion)
      fail(version.place, number_text(version.value.number) +
                              " is not a version this tool reads (it reads " +
                              std::to_string(kFileVersion) + ")");
    const Field base = field(top, "base");
    base_ = path(base);
    if (base_.front() != '/') fail(base.place, in_quotes(base_) + " is not an absolute path");
    in_base_ = same_file(".", base_);

    const Field s = field(top, "settings");
    Adjustments& a = settings_.adjustments;
    a.mode = whole(field(s, "mode"), kModeRange);
    adjustments(s, a);
    settings_.use_exif = boolean(field(s, "exif"));
    settings_.quality = whole(field(s, "quality"), kQualityRange);
    // Every picture of the file was corrected by the reviewed run, so an
    // original that carries the correction mark was corrected on purpose
    // (with --force) and is corrected again.
    settings_.force = true;

    const Field pictures = field(top, "pictures");
    expect(pictures, Kind::Array);
    if (pictures.value.items.empty()) fail(pictures.place, "no pictures, so nothing to do");
    std::vector<Job> jobs;
    for (std::size_t i = 0; i < pictures.value.items.size(); ++i)
      jobs.push_back(picture({pictures.value.items[i], "pictures[" + std::to_string(i) + "]"}));
    refuse_crossed_files(jobs);
    return jobs;
  }

 private:
  [[noreturn]] void fail(const std::string& place, const std::string& what) const {
    throw UsageError(file_ + ": " + place + ": " + what);
  }

  void expect(const Field& f, Kind kind) const {
    if (f.value.kind != kind)
      fail(f.place, std::string("expected ") + json_kind_name(kind) + ", found " +
                        json_kind_name(f.value.kind));
  }

  Field field(const Field& object, const char* key) const {
    expect(object, Kind::Object);
    const std::string place = object.place.empty() ? key : object.place + "." + key;
    const JsonValue* value = object.value.find(key);
    if (value == nullptr) fail(place, "missing");
    return {*value, place};
  }

  const std::string& text(const Field& f) const {
    expect(f, Kind::String);
    return f.value.string;
  }

  bool boolean(const Field& f) const {
    expect(f, Kind::Boolean);
    return f.value.boolean;
  }

  int whole(const Field& f, Range range) const {
    expect(f, Kind::Number);
    const double v = f.value.number;
    if (!f.value.is_integer()) fail(f.place, number_text(v) + " is not a whole number");
    if (v < range.min || v > range.max)
      fail(f.place, number_text(v) + " is outside " + std::to_string(range.min) + ".." +
                        std::to_string(range.max));
    return static_cast<int>(v);
  }

  // A file name: not empty, and without NUL, which would cut it short.
  const std::string& path(const Field& f) const {
    const std::string& p = text(f);
    if (p.empty()) fail(f.place, "an empty path");
    if (p.find('\0') != std::string::npos) fail(f.place, "a path with a NUL character");
    return p;
  }

  std::optional<std::string> path_or_null(const Field& f) const {
    if (f.value.kind == Kind::Null) return std::nullopt;
    if (f.value.kind != Kind::String)
      fail(f.place,
           std::string("expected a string or null, found ") + json_kind_name(f.value.kind));
    return resolved(path(f));
  }

  // Relative paths are relative to the reviewed run's working folder. Run
  // from that same folder, they are kept as written, so that messages name
  // each picture as that run did.
  std::string resolved(const std::string& p) const {
    if (p.front() == '/' || in_base_) return p;
    return (fs::path(base_) / p).lexically_normal().string();
  }

  void adjustments(const Field& f, Adjustments& a) const {
    for (const AdjustmentField& each : kAdjustmentFields)
      a.*each.member = whole(field(f, each.key), each.range);
  }

  // The picture's place below DIR, written as the page wrote it; two names
  // are the same place when they are once "." and empty parts are dropped.
  std::string name(const Field& f) {
    const std::string& n = path(f);
    const fs::path p(n);
    if (p.is_absolute()) fail(f.place, in_quotes(n) + " is absolute; names are below DIR");
    for (const fs::path& part : p)
      if (part == "..") fail(f.place, in_quotes(n) + " goes up with '..'; names are below DIR");
    const std::string normal = p.lexically_normal().string();
    if (normal == "." || normal.back() == '/') fail(f.place, in_quotes(n) + " names a folder");
    const auto [earlier, added] = names_.emplace(normal, f.place);
    if (!added)
      fail(f.place, in_quotes(n) + " is also the name of " +
                        earlier->second.substr(0, earlier->second.rfind('.')));
    return normal;
  }

  Job picture(const Field& p) {
    const std::optional<std::string> file = path_or_null(field(p, "file"));
    const std::optional<std::string> output = path_or_null(field(p, "output"));
    const std::string below = name(field(p, "name"));
    const Field format_field = field(p, "format");
    const std::string& format = text(format_field);
    const std::optional<Format> parsed = parse_format(format);
    if (!parsed || format != format_key(*parsed))
      fail(format_field.place, in_quotes(format) + " is not jpeg, png or tiff");
    const Field decision_field = field(p, "decision");
    const std::string& decision = text(decision_field);
    constexpr std::array<std::string_view, 3> kDecisions = {"accept", "reject", "adjust"};
    if (std::find(kDecisions.begin(), kDecisions.end(), decision) == kDecisions.end())
      fail(decision_field.place, in_quotes(decision) + " is not accept, reject or adjust");

    Job job;
    job.decision = decision;
    job.input = file ? *file : output ? *output : below;
    job.format = parsed;
    if (decision == "reject") {
      job.skip = kRejectedInReview;
      return job;
    }
    job.output = with_slash(plan_.target) + below;
    job.name = below;
    if (decision == "adjust") {
      Adjustments own = settings_.adjustments;
      adjustments(field(p, "adjustments"), own);
      job.adjustments = own;
      if (!file)
        job.problem =
            "the original is gone (it was corrected in place without --backup, or read from "
            "standard input)";
    } else if (output) {
      job.copy_from = *output;
    } else {
      job.problem = "the reviewed run wrote no output to copy";
    }
    if (job.problem.empty() && file && same_file(*file, job.output))
      job.problem = "the output would overwrite the original";
    // An accepted output that is already where it goes is no output in the
    // way: it is counted as corrected, not skipped.
    struct stat existing {};
    if (plan_.no_clobber && job.problem.empty() && lstat(job.output.c_str(), &existing) == 0 &&
        !(output && same_file(*output, job.output) && decision == "accept"))
      job.skip = "the output " + job.output + " exists (--no-clobber)";
    return job;
  }

  // No picture may write what another one reads (its original, or the
  // output it copies): what came out would hang on which of them ran first.
  static void refuse_crossed_files(std::vector<Job>& jobs) {
    auto key = [](const std::string& p) { return fs::absolute(p).lexically_normal().string(); };
    std::map<std::string, std::size_t> writer;
    for (std::size_t i = 0; i < jobs.size(); ++i)
      if (jobs[i].skip.empty() && jobs[i].problem.empty()) writer[key(jobs[i].output)] = i;
    for (std::size_t i = 0; i < jobs.size(); ++i) {
      if (!jobs[i].skip.empty() || !jobs[i].problem.empty()) continue;
      const std::string& reads = jobs[i].copy_from.empty() ? jobs[i].input : jobs[i].copy_from;
      const auto w = writer.find(key(reads));
      if (w != writer.end() && w->second != i)
        jobs[w->second].problem =
            "the output would overwrite " + reads + ", which another picture of this run reads";
    }
  }

  std::string file_;
  const PlanOptions& plan_;
  RunSettings& settings_;
  std::string base_;
  bool in_base_ = false;
  std::map<std::string, std::string> names_;  // normalised name -> its place
};

}  // namespace

std::vector<Job> read_decisions(const std::string& path, const PlanOptions& plan,
                                RunSettings& settings) {
  std::string text;
  try {
    text = read_file(path, kMaxDecisionsFileBytes);
  } catch (const Failure& e) {
    throw UsageError(path + ": " + e.what());
  }
  JsonValue root;
  try {
    root = parse_json(text);
  } catch (const JsonError& e) {
    const auto line = std::count(text.begin(), text.begin() + e.offset(), '\n') + 1;
    throw UsageError(path + ": not valid JSON at byte " + std::to_string(e.offset()) + " (line " +
                     std::to_string(line) + "): " + e.what());
  }
  return DecisionsReader(path, plan, settings).read(root);
}

void check_decisions_options(const std::vector<std::string>& given, bool inputs_given) {
  constexpr std::array<std::string_view, 9> kSettings = {
      "--mode",      "--level",   "--contrast", "--saturation", "--blue-shift",
      "--red-shift", "--no-exif", "--quality",  "--format"};
  constexpr std::array<std::string_view, 11> kTaken = {
      "--decisions", "--out-dir", "--jobs", "-j",           "-q",      "--quiet",
      "-v",          "--verbose", "--json", "--no-clobber", "--report"};
  auto among = [](const auto& names, const std::string& option) {
    return std::find(names.begin(), names.end(), option) != names.end();
  };
  for (const std::string& option : given) {
    if (among(kSettings, option))
      throw UsageError("--decisions takes the reviewed run's settings from FILE; " + option +
                       " does not go with it");
    if (option == "-o" || option == "--output" || option == "--in-place")
      throw UsageError("--decisions writes into --out-dir DIR; " + option + " does not go with it");
    if (!among(kTaken, option)) throw UsageError(option + " does not go with --decisions");
  }
  if (inputs_given)
    throw UsageError("--decisions takes its pictures from FILE; no input pictures go with it");
  if (!among(given, "--out-dir")) throw UsageError("--decisions needs --out-dir DIR");
}

}  // namespace zkcli
