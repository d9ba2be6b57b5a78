// Reading the shooting values of camera files at a batch's per-file rate:
// GetExifParamEx's work (both stages, through the core) over every real file
// of the test collection (195 camera files of many makes), beside
//
// - ExifTool reading the same tags ("-fast -n") from the same files in one
//   process: its per-file cost is the batch's time less that of the same
//   command on one file (the interpreter's start-up), over the files less
//   one, both timed in each round;
// - exiv2 (the C++ library) opening each file and reading its Exif block
//   and the same tags, in process.
//
// Before anything is timed, Make, Model and ISO as we read them are checked
// against what ExifTool reads, for every file that both read.
#include <benchmark/benchmark.h>

// exiv2 0.27's API hands out std::auto_ptr, which C++20 deprecates.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
#include <exiv2/exiv2.hpp>
#pragma GCC diagnostic pop

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "exif/exif_params.h"
#include "rounds.h"

namespace {

namespace fs = std::filesystem;
using namespace zkimgset;

const fs::path kReal = fs::path(ZKIMGSET_BENCH_DATA_DIR) / "exif" / "real";
const char* kTags =
    " -CustomRendered -BrightnessValue -LightSource -Flash -ExposureMode -WhiteBalance"
    " -DigitalZoomRatio -SceneCaptureType -Sharpness -FocalLengthIn35mmFilm"
    " -SubjectDistanceRange -Contrast -Saturation -Make -Model -ISO -ExposureTime -FNumber"
    " -ShutterSpeedValue -ApertureValue";
// The same tags as exiv2 keys.
const char* const kExiv2Keys[] = {"Exif.Photo.CustomRendered",
                                  "Exif.Photo.BrightnessValue",
                                  "Exif.Photo.LightSource",
                                  "Exif.Photo.Flash",
                                  "Exif.Photo.ExposureMode",
                                  "Exif.Photo.WhiteBalance",
                                  "Exif.Photo.DigitalZoomRatio",
                                  "Exif.Photo.SceneCaptureType",
                                  "Exif.Photo.Sharpness",
                                  "Exif.Photo.FocalLengthIn35mmFilm",
                                  "Exif.Photo.SubjectDistanceRange",
                                  "Exif.Photo.Contrast",
                                  "Exif.Photo.Saturation",
                                  "Exif.Image.Make",
                                  "Exif.Image.Model",
                                  "Exif.Photo.ISOSpeedRatings",
                                  "Exif.Photo.ExposureTime",
                                  "Exif.Photo.FNumber",
                                  "Exif.Photo.ShutterSpeedValue",
                                  "Exif.Photo.ApertureValue"};

std::vector<std::string> real_files() {
  std::vector<std::string> files;
  for (const auto& entry : fs::directory_iterator(kReal)) files.push_back(entry.path().string());
  std::sort(files.begin(), files.end());
  return files;
}

bool exiftool_present() { return std::system("exiftool -ver > /dev/null 2>&1") == 0; }

// An argument file for "exiftool -@": one file name a line.
std::string argument_file(const std::vector<std::string>& files, const std::string& name) {
  const std::string path = (fs::temp_directory_path() / name).string();
  std::ofstream out(path);
  for (const std::string& f : files) out << f << '\n';
  return path;
}

std::string exiftool_command(const std::string& args) {
  return std::string("exiftool -q -fast -n") + kTags + " -@ '" + args + "' > /dev/null 2>&1";
}

// Trailing spaces dropped; an empty text is shown as ExifTool shows an
// absent one.
std::string trimmed(std::string s) {
  while (!s.empty() && (s.back() == ' ' || s.back() == '\0')) s.pop_back();
  return s.empty() ? "-" : s;
}

// Make, Model and ISO of each file as ExifTool reads them ("-" when absent).
std::map<std::string, std::string> exiftool_values(const std::string& args) {
  std::map<std::string, std::string> values;
  const std::string command =
      "exiftool -q -fast -n -T -Directory -FileName -EXIF:Make -EXIF:Model -EXIF:ISO -@ '" + args +
      "' 2>/dev/null";
  std::FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return values;
  char line[4096];
  while (std::fgets(line, sizeof line, pipe) != nullptr) {
    std::istringstream fields(std::string(line, std::strcspn(line, "\n")));
    std::string dir, name, make, model, iso;
    std::getline(fields, dir, '\t');
    std::getline(fields, name, '\t');
    std::getline(fields, make, '\t');
    std::getline(fields, model, '\t');
    std::getline(fields, iso, '\t');
    values[dir + "/" + name] = trimmed(make) + "|" + trimmed(model) + "|" + iso;
  }
  pclose(pipe);
  return values;
}

// Checks our Make, Model and ISO against ExifTool's; empty when they agree.
std::string check_against_exiftool(const std::vector<std::string>& files) {
  const auto theirs = exiftool_values(argument_file(files, "zkimgset_bench_check.args"));
  LibraryState library;
  int compared = 0;
  for (const std::string& file : files) {
    ExifParamEx out{};
    if (exif::get_exif_param_ex(library, file.c_str(), &out) != ZKIMGSET_OK) continue;
    const auto it = theirs.find(file);
    if (it == theirs.end()) continue;
    // We read an absent ISO as 0; ExifTool prints "-" for it.
    const std::string iso = out.shot.ISOSpeedRatings == 0 && it->second.ends_with("|-")
                                ? std::string("-")
                                : std::to_string(out.shot.ISOSpeedRatings);
    const std::string ours = trimmed(out.shot.Make) + "|" + trimmed(out.shot.Model) + "|" + iso;
    if (ours != it->second)
      return fs::path(file).filename().string() + ": ours " + ours + ", ExifTool " + it->second;
    ++compared;
  }
  if (compared == 0) return "no file read by both";
  return "";
}

double ours_batch(LibraryState& library, const std::vector<std::string>& files) {
  ExifParamEx out;
  return bench::timed([&] {
    for (const std::string& file : files)
      benchmark::DoNotOptimize(exif::get_exif_param_ex(library, file.c_str(), &out));
  });
}

void AgainstExifTool(benchmark::State& state) {
  const std::vector<std::string> files = real_files();
  const bench::Comparison c{
      "GetExifParamEx per file, batch of " + std::to_string(files.size()), "peer",
      "ExifTool -fast -n, the same tags, per file of one process's batch (start-up taken off)",
      "Make, Model, ISO agree with ExifTool on every file both read", double(files.size())};
  if (!exiftool_present())
    return bench::fail(state, c, "exiftool is not installed (Debian: libimage-exiftool-perl)");
  if (const std::string why = check_against_exiftool(files); !why.empty())
    return bench::fail(state, c, why);
  const std::string all = exiftool_command(argument_file(files, "zkimgset_bench_all.args"));
  const std::string one =
      exiftool_command(argument_file({files.front()}, "zkimgset_bench_one.args"));
  LibraryState library;
  bench::interleave(
      state, c, [&] { return ours_batch(library, files); },
      [&] {
        // The batch less the start-up, scaled to the whole batch.
        const double batch_time = bench::timed([&] { return std::system(all.c_str()); });
        const double start_up = bench::timed([&] { return std::system(one.c_str()); });
        return (batch_time - start_up) * double(files.size()) / double(files.size() - 1);
      });
}

// exiv2's read of one file: open, read the metadata, look the tags up.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
void exiv2_read(const std::string& file) {
  try {
    auto image = Exiv2::ImageFactory::open(file);
    image->readMetadata();
    const Exiv2::ExifData& data = image->exifData();
    for (const char* key : kExiv2Keys) {
      const auto it = data.findKey(Exiv2::ExifKey(key));
      if (it != data.end()) benchmark::DoNotOptimize(it->toLong());
    }
  } catch (const Exiv2::Error&) {
    // Not a format exiv2 reads, or no Exif: as our reader's failures, counted.
  }
}
#pragma GCC diagnostic pop

void AgainstExiv2(benchmark::State& state) {
  const std::vector<std::string> files = real_files();
  const bench::Comparison c{"GetExifParamEx per file, batch of " + std::to_string(files.size()),
                            "peer", "exiv2 open, readMetadata and the same tags, in process",
                            "outputs checked against ExifTool", double(files.size())};
  Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute);
  LibraryState library;
  bench::interleave(
      state, c, [&] { return ours_batch(library, files); },
      [&] {
        return bench::timed([&] {
          for (const std::string& file : files) exiv2_read(file);
        });
      });
}

}  // namespace

int main(int argc, char** argv) {
  for (auto [name, fn] : {std::pair{"ExifAgainstExifTool", &AgainstExifTool},
                          std::pair{"ExifAgainstExiv2", &AgainstExiv2}})
    benchmark::RegisterBenchmark(name, fn)
        ->UseManualTime()
        ->Iterations(bench::kRounds)
        ->Unit(benchmark::kMicrosecond);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return bench::report_figures() ? 0 : 1;
}
