// The records GetExifParamEx fills from real camera files against an
// independent reading: ExifTool's, with the record's type rules applied, in
// exif/golden.tsv (written by make_golden.pl). Files that our readers refuse
// on purpose are listed below with their reason.
#include <gtest/gtest.h>

#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

#include "exif/exif_params.h"
#include "exif/tiff_builder.h"
#include "support/temp_folder.h"

namespace {

namespace fs = std::filesystem;
using namespace zkimgset::testing;
const fs::path kExifData = fs::path(ZKIMGSET_TEST_DATA_DIR) / "exif";

// Files whose Exif data our parameter reader refuses by its own rules, so
// that the record keeps its defaults.
const std::map<std::string, std::string> kRefused = {
    {"ev_ReaganSmallPng.png", "a PNG file: neither JPEG nor TIFF"},
    {"mei_tifsuite_434cb1e9680e3b4eda7f4dd430bcd2bf.tif",
     "a palette TIFF (PhotometricInterpretation 3): unsupported image structure"},
};

// Camera files with fields of the wrong type, which no real file has: the
// test writes them (ZKIMGSET_KEEP_TYPED_SAMPLES keeps copies for make_golden.pl).
std::map<std::string, Bytes> typed_samples() {
  auto layout = [](Order order) {
    TiffLayout s;
    s.order = order;
    s.ifd0 = rgb_tiff_ifd0();
    s.ifd0.push_back(ascii(0x010F, "Typed  "));
    s.exif = {longs(0x9209, {1}),      rational(0x9203, 25, 10), shorts(0x8827, {100}),
              rational(0x829A, 1, 60), longs(0xA002, {64}),      longs(0xA003, {48})};
    return s;
  };
  return {{"typed_le.jpg", exif_jpeg(layout(Order::Little))},
          {"typed_be.tif", build_tiff(layout(Order::Big))}};
}

std::string unescape(const std::string& text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%' && i + 2 < text.size()) {
      out += static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16));
      i += 2;
    } else {
      out += text[i];
    }
  }
  return out;
}

std::string rtrim(std::string text) {
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back()))) text.pop_back();
  return text;
}

std::string rational(std::int64_t num, std::int64_t den) {
  return std::to_string(num) + "/" + std::to_string(den);
}

// Our record as field=value pairs, in the golden file's notation.
std::map<std::string, std::string> fields_of(const ExifParamEx& r) {
  const ExifParam& p = r.param;
  return {
      {"CustomRendered", std::to_string(p.CustomRendered)},
      {"BrightnessValue", rational(p.BrightnessValue_num, p.BrightnessValue_den)},
      {"LightSource", std::to_string(p.LightSource)},
      {"Flash", std::to_string(p.Flash)},
      {"ExposureMode", std::to_string(p.ExposureMode)},
      {"WhiteBalance", std::to_string(p.WhiteBalance)},
      {"DigitalZoomRatio", rational(p.DigitalZoomRatio_num, p.DigitalZoomRatio_den)},
      {"SceneCaptureType", std::to_string(p.SceneCaptureType)},
      {"Sharpness", std::to_string(p.Sharpness)},
      {"FocalLengthIn35mmFilm", std::to_string(p.FocalLengthIn35mmFilm)},
      {"SubjectDistanceRange", std::to_string(p.SubjectDistanceRange)},
      {"Contrast", std::to_string(p.Contrast)},
      {"Saturation", std::to_string(p.Saturation)},
      // ExifTool drops trailing blanks of Make and Model.
      {"Make", rtrim(r.shot.Make)},
      {"Model", rtrim(r.shot.Model)},
      {"ISOSpeedRatings", std::to_string(r.shot.ISOSpeedRatings)},
      {"ExposureTime", rational(r.shot.ExposureTime_num, r.shot.ExposureTime_den)},
      {"FNumber", rational(r.shot.FNumber_num, r.shot.FNumber_den)},
      {"ShutterSpeedValue", rational(r.shot.ShutterSpeedValue_num, r.shot.ShutterSpeedValue_den)},
      {"ApertureValue", rational(r.shot.ApertureValue_num, r.shot.ApertureValue_den)},
  };
}

TEST(ExifGolden, RecordsEqualExifToolsReadingOfRealFiles) {
  ExifParamEx defaults{};
  defaults.param.Flash = 255;
  const auto default_fields = fields_of(defaults);

  const TempFolder folder;
  const char* keep = std::getenv("ZKIMGSET_KEEP_TYPED_SAMPLES");
  for (const auto& [name, bytes] : typed_samples()) {
    const std::string text(bytes.begin(), bytes.end());
    folder.write(name, text);
    if (keep != nullptr) std::ofstream(fs::path(keep) / name, std::ios::binary) << text;
  }
  std::ifstream in(kExifData / "golden.tsv");
  std::string line;
  int compared = 0;
  while (std::getline(in, line)) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream columns(line);
    std::string file, pair;
    std::getline(columns, file, '\t');
    auto expected = default_fields;
    const bool refused = kRefused.count(file) != 0;
    while (!refused && std::getline(columns, pair, '\t')) {
      const auto equals = pair.find('=');
      std::string value = pair.substr(equals + 1);
      const std::string name = pair.substr(0, equals);
      if (name == "Make" || name == "Model") value = rtrim(unescape(value));
      expected[name] = value;
    }
    zkimgset::LibraryState state;
    ExifParamEx out{};
    const fs::path path =
        file.starts_with("typed_") ? folder.path() / file : kExifData / "real" / file;
    zkimgset::exif::get_exif_param_ex(state, path.string().c_str(), &out);
    const auto actual = fields_of(out);
    for (const auto& [name, value] : expected)
      EXPECT_EQ(actual.at(name), value) << file << " " << name;
    ++compared;
  }
  EXPECT_GE(compared, 30 + 2);
}

}  // namespace
