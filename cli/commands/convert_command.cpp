// zkimgset convert: the density and colour-balance conversions on a file.
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <optional>

#include "commands/commands.h"
#include "core/command_line.h"
#include "core/library_session.h"
#include "core/output_plan.h"
#include "files/atomic_output.h"
#include "files/input_file.h"

namespace zkcli {
namespace {

constexpr const char* kHelp = R"(Usage: zkimgset convert --op OP [--shift R,G,B] IN -o OUT

Runs one of the library's conversions on a JPEG, PNG or TIFF picture ("-"
for standard input) and writes the result in the format OUT's name asks for
(.jpg .png .tif; "-" for standard output, in the input's format or --format's).

  --op den2ta         balance curves and 1-D table, then the 3-D table
  --op vorn2ta        the 3-D table alone (takes no --shift)
  --op den2vorn       balance curves, then the 1-D table
  --op balance        balance curves alone
  --shift R,G,B       balance steps for red, green and blue, -7..7 each (default 0,0,0)
  -o OUT              the output file (never the input)
  --format F          jpeg, png or tiff
  --quality N         JPEG quality, 1..100 (default 95)
  --help              this text
)";

struct Options {
  std::string op, input, output;
  int shift[3] = {0, 0, 0};
  bool shifted = false;
  int quality = 95;
  std::optional<Format> format;
};

std::optional<Options> parse(int argc, char** argv, int first) {
  Options o;
  std::string value;
  for (Arguments args(argc, argv, first); !args.done();) {
    if (args.flag("--help") || args.flag("-h")) {
      std::fputs(kHelp, stdout);
      return std::nullopt;
    } else if (args.option("--op", value)) {
      o.op = value;
    } else if (args.option("--shift", value)) {
      parse_triple(value, "--shift", -7, 7, o.shift);
      o.shifted = true;
    } else if (args.option("-o", value) || args.option("--output", value)) {
      o.output = value;
    } else if (args.option("--format", value)) {
      o.format = parse_format(value);
      if (!o.format) throw UsageError("--format: '" + value + "' is not jpeg, png or tiff");
    } else if (args.option("--quality", value)) {
      o.quality = parse_number(value, "--quality", 1, 100);
    } else {
      if (!o.input.empty()) throw UsageError("convert takes one picture");
      o.input = args.positional();
    }
  }
  if (o.op.empty()) throw UsageError("say which conversion: --op den2ta|vorn2ta|den2vorn|balance");
  if (o.op != "den2ta" && o.op != "vorn2ta" && o.op != "den2vorn" && o.op != "balance")
    throw UsageError("unknown conversion '" + o.op + "'");
  if (o.op == "vorn2ta" && o.shifted) throw UsageError("vorn2ta takes no --shift");
  if (o.input.empty()) throw UsageError("no input picture");
  if (o.output.empty()) throw UsageError("say where to write: -o OUT");
  o.format = output_format(o.output, o.format);
  if (o.output == kStandardStream && isatty(STDOUT_FILENO))
    throw UsageError("standard output is a terminal: redirect it to a file or a program");
  return o;
}

int convert(const Options& o, Picture& p) {
  unsigned char* px = p.rgb.data();
  const int* s = o.shift;
  if (o.op == "den2ta") return Den2TAEx(px, p.width, p.height, s[0], s[1], s[2]);
  if (o.op == "vorn2ta") return Vorn2TA(px, p.width, p.height);
  if (o.op == "den2vorn") return Den2VornEx(px, p.width, p.height, s[0], s[1], s[2]);
  return ColorBalanceAdj(px, p.width, p.height, s[0], s[1], s[2]);
}

}  // namespace

int run_convert(int argc, char** argv, int first) {
  const std::optional<Options> parsed = parse(argc, argv, first);
  if (!parsed) return 0;
  const Options& o = *parsed;
  std::FILE* text = o.output == kStandardStream ? stderr : stdout;
  Picture picture;
  try {
    const PlanOptions plan{Destination::File, o.output, o.format, false};
    if (!plan_jobs({Input{o.input, ""}}, plan).front().problem.empty())
      throw Failure("the output would overwrite the input");
    const std::string bytes = o.input == kStandardStream ? read_standard_input(kMaxPictureFileBytes)
                                                         : read_file(o.input, kMaxPictureFileBytes);
    decode_picture(bytes, kMaxSide, picture);
    const int status = convert(o, picture);
    if (status != ZKIMGSET_OK) throw Failure("conversion failed: " + status_message(status));
    write_output(o.output,
                 encode_picture(picture, o.format.value_or(picture.format), {o.quality, ""}));
  } catch (const Failure& e) {
    std::fprintf(stderr, "zkimgset convert: %s: %s\n", o.input.c_str(), e.what());
    return kExitFailed;
  }
  std::string notes;
  for (const std::string& note : picture.notes) notes += " [" + note + "]";
  std::fprintf(text, "%s: %s -> %s%s\n", o.op.c_str(), o.input.c_str(), o.output.c_str(),
               notes.c_str());
  return 0;
}

}  // namespace zkcli
