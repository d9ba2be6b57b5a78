// zkimgset analyse: the analysis of pictures, as tables or as JSON Lines.
// Each picture starts from the configured library state, as in autosetup.
#include <algorithm>
#include <cstdio>
#include <optional>

#include "commands/commands.h"
#include "core/command_line.h"
#include "core/correction.h"
#include "core/library_session.h"
#include "core/output_plan.h"
#include "core/picture_summary.h"
#include "core/tool_limits.h"
#include "files/input_file.h"

namespace zkcli {
namespace {

constexpr const char* kHelp = R"(Usage: zkimgset analyse IN... [--json] [--dump DIR] [options]

Analyses each picture (JPEG, PNG or TIFF; "-" for standard input) and prints
the correction the library decided (tone curve, colour-balance offsets,
saturation coefficients), what it would do in words, and the figures of its
analysis (those of stages that did not run are left out). Nothing is written
unless --dump is given.

  --json              one JSON object a picture, each on one line
  --dump DIR          also write the library's four dump files into DIR
%s  --help              this text
)";

struct Options {
  std::vector<std::string> inputs;
  bool json = false;
  std::string dump;
  Adjustments adjustments;
  bool use_exif = true;
};

std::optional<Options> parse(int argc, char** argv, int first) {
  Options o;
  std::string value;
  for (Arguments args(argc, argv, first); !args.done();) {
    if (args.flag("--help") || args.flag("-h")) {
      std::printf(kHelp, kAdjustmentHelp);
      return std::nullopt;
    } else if (args.flag("--json")) {
      o.json = true;
    } else if (args.option("--dump", value)) {
      o.dump = value;
    } else if (args.flag("--no-exif")) {
      o.use_exif = false;
    } else if (adjustment_option(args, o.adjustments)) {
    } else {
      o.inputs.push_back(args.positional());
    }
  }
  if (o.inputs.empty()) throw UsageError("no input picture");
  if (std::count(o.inputs.begin(), o.inputs.end(), kStandardStream) > 1)
    throw UsageError("standard input (-) can be read once");
  return o;
}

template <typename T>
std::string json_array(const T* values, int count) {
  std::string out = "[";
  for (int i = 0; i < count; ++i) {
    if (i > 0) out += ',';
    out += std::to_string(values[i]);
  }
  return out + "]";
}

void print_json(const Options&, const std::string& input, const Picture& p,
                const ShootingValues& shot, const AutoSetupParam& r, const Figures& figures,
                const PictureSummary& summary) {
  std::printf("{\"file\":%s,\"format\":%s,\"width\":%d,\"height\":%d,", json_string(input).c_str(),
              json_string(format_key(p.format)).c_str(), p.width, p.height);
  std::printf(
      "\"exif\":{\"used\":%s,\"flash\":%u,\"brightness_num\":%d,"
      "\"brightness_den\":%d,\"camera\":%s},",
      shot.from_file ? "true" : "false", shot.flash, shot.brightness_num, shot.brightness_den,
      json_string(shot.camera).c_str());
  std::printf("\"summary\":%s,", summary_json(summary).c_str());
  std::printf("\"cb_ofs\":%d,\"cr_ofs\":%d,", r.cb_ofs, r.cr_ofs);
  std::printf("\"tone\":%s,", json_array(r.tone, 256).c_str());
  std::printf("\"sat_coef\":%s,", json_array(r.sat_coef, 100).c_str());
  std::printf("\"figures\":{");
  for (std::size_t i = 0; i < figures.size(); ++i)
    std::printf("%s%s:%d", i ? "," : "", json_string(figures[i].first).c_str(), figures[i].second);
  std::printf("}}\n");
}

void print_table(const Options& o, const std::string& input, const Picture& p,
                 const ShootingValues& shot, const AutoSetupParam& r, const Figures& figures,
                 const PictureSummary& summary) {
  std::printf("%s: %d x %d %s\n", input.c_str(), p.width, p.height, format_name(p.format));
  std::printf("In words: %s\n", summary_text(summary).c_str());
  if (shot.from_file)
    std::printf("Exif: flash %u, brightness %d/%d%s%s\n", shot.flash, shot.brightness_num,
                shot.brightness_den, shot.camera.empty() ? "" : ", ", shot.camera.c_str());
  else
    std::printf("Exif: %s (flash unknown, no brightness)\n", o.use_exif ? "none" : "ignored");
  std::printf("setup_mode: 0x%02X stored, 0x%02X after the analysis\n", o.adjustments.mode,
              figure(figures, "setup_mode", 0) & 0xFF);
  std::printf("\nColour balance: cb_ofs %d, cr_ofs %d\n", r.cb_ofs, r.cr_ofs);
  std::printf("\nTone curve (input -> output):\n");
  for (int i = 0; i < 256; i += 16) {
    std::printf("  %3d -> %3d%s", i, r.tone[i], (i / 16) % 4 == 3 ? "\n" : "");
  }
  std::printf("  255 -> %3d\n", r.tone[255]);
  std::printf("\nSaturation coefficients (1024 leaves saturation unchanged):\n");
  for (int i = 0; i < 100; ++i)
    std::printf("%s%5d%s", i % 10 == 0 ? "  " : "", r.sat_coef[i], i % 10 == 9 ? "\n" : "");
  std::printf("\nAnalysis figures:\n");
  for (std::size_t i = 0; i < figures.size(); ++i)
    std::printf("  %-22s %6d%s", figures[i].first.c_str(), figures[i].second,
                i % 3 == 2 || i + 1 == figures.size() ? "\n" : "");
}

}  // namespace

int run_analyse(int argc, char** argv, int first) {
  const std::optional<Options> parsed = parse(argc, argv, first);
  if (!parsed) return 0;
  const Options& o = *parsed;
  configure_library(o.adjustments);
  bool failed = false;
  for (std::size_t i = 0; i < o.inputs.size(); ++i) {
    const std::string& input = o.inputs[i];
    if (i > 0 && !o.json) std::printf("\n");
    try {
      restore_library(o.adjustments);
      const bool from_stdin = input == kStandardStream;
      const std::string bytes = from_stdin ? read_standard_input(kMaxPictureFileBytes)
                                           : read_file(input, kMaxPictureFileBytes);
      Picture picture;
      decode_picture(bytes, kMaxSide, picture);
      const ShootingValues shot = shooting_values_of(input, bytes, o.use_exif);
      const AutoSetupParam record = analyse_picture(picture, shot);
      if (!o.dump.empty()) make_folders(o.dump);
      std::string base = from_stdin ? "stdin" : base_name(input);
      base = base.substr(0, base.rfind('.'));
      const Figures figures = analysis_figures(picture, o.dump, base);
      PictureSummary summary;
      summary.input = input;
      summary.format_in = format_key(picture.format);
      summary.width = picture.width;
      summary.height = picture.height;
      summary.notes = picture.notes;
      summarise_correction(summary, record, figures, o.adjustments);
      (o.json ? print_json : print_table)(o, input, picture, shot, record, figures, summary);
      std::fflush(stdout);
      if (!o.dump.empty())
        std::fprintf(stderr, "Dump files: %s/%s_*\n", o.dump.c_str(), base.c_str());
    } catch (const Failure& e) {
      std::fflush(stdout);
      std::fprintf(stderr, "zkimgset analyse: %s: %s\n", input.c_str(), e.what());
      failed = true;
    }
  }
  return failed ? kExitFailed : 0;
}

}  // namespace zkcli
