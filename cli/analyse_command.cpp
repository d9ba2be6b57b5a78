// zkimgset analyse: the analysis of one picture, as a table or as JSON.
#include <cstdio>
#include <optional>

#include "command_line.h"
#include "commands.h"
#include "input_file.h"
#include "library_session.h"
#include "output_plan.h"

namespace zkcli {
namespace {

constexpr const char* kHelp = R"(Usage: zkimgset analyse IN [--json] [--dump DIR] [options]

Analyses one JPEG or PNG picture and prints the correction the library
decided (tone curve, colour-balance offsets, saturation coefficients) and
the figures of its analysis. Nothing is written unless --dump is given.

  --json              print JSON instead of a table
  --dump DIR          also write the library's four dump files into DIR
%s  --help              this text
)";

struct Options {
  std::string input;
  bool json = false;
  std::string dump;
  Adjustments adjustments;
  bool use_exif = true;
};

std::optional<Options> parse(int argc, char** argv, int first) {
  Options o;
  std::string value;
  bool have_input = false;
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
      if (have_input) throw UsageError("analyse takes one picture");
      o.input = args.positional();
      have_input = true;
    }
  }
  if (!have_input) throw UsageError("no input picture");
  return o;
}

std::string json_string(const std::string& text) {
  std::string out = "\"";
  for (const unsigned char c : text) {
    if (c == '"' || c == '\\') {
      out += '\\';
      out += static_cast<char>(c);
    } else if (c < 0x20) {
      char escaped[8];
      std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
      out += escaped;
    } else {
      out += static_cast<char>(c);
    }
  }
  return out + "\"";
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

void print_json(const Options& o, const Picture& p, const ShootingValues& shot,
                const AutoSetupParam& r, const Figures& figures) {
  std::printf("{\n  \"file\": %s,\n  \"width\": %d,\n  \"height\": %d,\n",
              json_string(o.input).c_str(), p.width, p.height);
  std::printf(
      "  \"exif\": {\"used\": %s, \"flash\": %u, \"brightness_num\": %d, "
      "\"brightness_den\": %d, \"camera\": %s},\n",
      shot.from_file ? "true" : "false", shot.flash, shot.brightness_num, shot.brightness_den,
      json_string(shot.camera).c_str());
  std::printf("  \"cb_ofs\": %d,\n  \"cr_ofs\": %d,\n", r.cb_ofs, r.cr_ofs);
  std::printf("  \"tone\": %s,\n", json_array(r.tone, 256).c_str());
  std::printf("  \"sat_coef\": %s,\n", json_array(r.sat_coef, 100).c_str());
  std::printf("  \"figures\": {");
  for (std::size_t i = 0; i < figures.size(); ++i)
    std::printf("%s%s: %d", i ? ", " : "", json_string(figures[i].first).c_str(),
                figures[i].second);
  std::printf("}\n}\n");
}

void print_table(const Options& o, const Picture& p, const ShootingValues& shot,
                 const AutoSetupParam& r, const Figures& figures) {
  std::printf("%s: %d x %d %s\n", o.input.c_str(), p.width, p.height,
              p.format == Format::Jpeg ? "JPEG" : "PNG");
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
  try {
    const Picture picture = decode_picture(read_file(o.input, kMaxPictureFileBytes), kMaxSide);
    const ShootingValues shot = read_shooting_values(o.input, o.use_exif);
    const AutoSetupParam record = analyse_picture(picture, shot);
    if (!o.dump.empty()) make_folders(o.dump);
    std::string base = base_name(o.input);
    base = base.substr(0, base.rfind('.'));
    const Figures figures = analysis_figures(picture, o.dump, base);
    (o.json ? print_json : print_table)(o, picture, shot, record, figures);
    if (!o.dump.empty())
      std::fprintf(stderr, "Dump files: %s/%s_*\n", o.dump.c_str(), base.c_str());
  } catch (const Failure& e) {
    std::fprintf(stderr, "zkimgset analyse: %s: %s\n", o.input.c_str(), e.what());
    return kExitFailed;
  }
  return 0;
}

}  // namespace zkcli
