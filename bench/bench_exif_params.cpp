// Reading the shooting values of camera files: GetExifParamEx's work (both
// stages, through the core) beside ExifTool reading the same tags with
// "-fast -n", a whole process each time, as a host would run it. Two
// families: one camera file, and every real file of the test collection in
// one run (ExifTool given them all at once).
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "exif/exif_params.h"
#include "ratio_reporter.h"

namespace {

namespace fs = std::filesystem;

const fs::path kReal = fs::path(ZKIMGSET_BENCH_DATA_DIR) / "exif" / "real";
const char* kTags =
    " -CustomRendered -BrightnessValue -LightSource -Flash -ExposureMode -WhiteBalance"
    " -DigitalZoomRatio -SceneCaptureType -Sharpness -FocalLengthIn35mmFilm"
    " -SubjectDistanceRange -Contrast -Saturation -Make -Model -ISO -ExposureTime -FNumber"
    " -ShutterSpeedValue -ApertureValue";

std::vector<std::string> real_files() {
  std::vector<std::string> files;
  for (const auto& entry : fs::directory_iterator(kReal)) files.push_back(entry.path().string());
  std::sort(files.begin(), files.end());
  return files;
}

const std::string kOneFile = (kReal / "et_Canon.jpg").string();

void read_ours(benchmark::State& state, const std::vector<std::string>& files) {
  zkimgset::LibraryState library;
  ExifParamEx out;
  for (auto _ : state)
    for (const std::string& file : files)
      benchmark::DoNotOptimize(zkimgset::exif::get_exif_param_ex(library, file.c_str(), &out));
  state.counters["files"] = static_cast<double>(files.size());
}

void read_peer(benchmark::State& state, const std::vector<std::string>& files) {
  if (std::system("exiftool -ver > /dev/null 2>&1") != 0) {
    state.SkipWithError("exiftool is not installed (Debian: libimage-exiftool-perl)");
    return;
  }
  std::string command = std::string("exiftool -q -fast -n") + kTags;
  for (const std::string& file : files) command += " '" + file + "'";
  command += " > /dev/null 2>&1";
  for (auto _ : state) benchmark::DoNotOptimize(std::system(command.c_str()));
  state.counters["files"] = static_cast<double>(files.size());
}

void OneFile_ours(benchmark::State& state) { read_ours(state, {kOneFile}); }
void OneFile_peer(benchmark::State& state) { read_peer(state, {kOneFile}); }
void AllFiles_ours(benchmark::State& state) { read_ours(state, real_files()); }
void AllFiles_peer(benchmark::State& state) { read_peer(state, real_files()); }

BENCHMARK(OneFile_ours)->Name("ExifOneFile/ours")->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(OneFile_peer)->Name("ExifOneFile/peer")->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(AllFiles_ours)->Name("ExifAllFiles/ours")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(AllFiles_peer)->Name("ExifAllFiles/peer")->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

ZKIMGSET_BENCHMARK_MAIN()
