// The library calls behind every subcommand.
#include "core/library_session.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>
#include <sstream>

#include "files/input_file.h"

namespace zkcli {
namespace {

std::string size_text(const Picture& p) {
  return std::to_string(p.width) + " x " + std::to_string(p.height);
}

ZKImgSetBitmapInfoHeader bitmap_header(int width, int height) {
  ZKImgSetBitmapInfoHeader h{};
  h.biSize = sizeof h;
  h.biWidth = width;
  h.biHeight = height;
  h.biPlanes = 1;
  h.biBitCount = 24;
  return h;
}

// A private folder for the dump files, removed with the object.
class ScratchFolder {
 public:
  ScratchFolder() {
    const char* tmp = std::getenv("TMPDIR");
    std::string pattern =
        std::string(tmp != nullptr && *tmp != '\0' ? tmp : "/tmp") + "/zkimgset-dump-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr)
      throw Failure("cannot make a temporary folder: " + std::string(std::strerror(errno)));
    path_ = pattern;
  }
  ~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

// The dump's thumbnail argument: the picture reduced to 128 x 92 (landscape,
// as the analysis sees it), yy and Y as luminance, Cr and Cb offset by 128.
_ThumbnailData dump_thumbnail(const Picture& picture) {
  const bool portrait = picture.height > picture.width;
  const int w = portrait ? ZKIMGSET_THUMB_HEIGHT : ZKIMGSET_THUMB_WIDTH;
  const int h = portrait ? ZKIMGSET_THUMB_WIDTH : ZKIMGSET_THUMB_HEIGHT;
  int got_w = 0, got_h = 0;
  const std::vector<std::uint8_t> small = scaled_copy(picture, w, h, got_w, got_h);
  _ThumbnailData thumb{};
  for (int i = 0; i < ZKIMGSET_THUMB_PIXELS; ++i) {
    int x = i % ZKIMGSET_THUMB_WIDTH, y = i / ZKIMGSET_THUMB_WIDTH;
    if (portrait) std::swap(x, y);
    x = std::min(x, got_w - 1);
    y = std::min(y, got_h - 1);
    const std::uint8_t* p = &small[(static_cast<std::size_t>(y) * got_w + x) * 3];
    const double r = p[0], g = p[1], b = p[2];
    const double luma = 0.299 * r + 0.587 * g + 0.114 * b;
    auto byte = [](double v) { return static_cast<std::uint8_t>(std::clamp(v + 0.5, 0.0, 255.0)); };
    thumb.plane[0][i] = byte(luma);
    thumb.plane[1][i] = byte(0.5 * r - 0.4187 * g - 0.0813 * b + 128);
    thumb.plane[2][i] = byte(luma);
    thumb.plane[3][i] = byte(-0.1687 * r - 0.3313 * g + 0.5 * b + 128);
  }
  return thumb;
}

// "name\tvalue" and "Flash : value" lines, up to the tone table.
Figures parse_dump_text(std::istream& in) {
  Figures figures;
  std::string line;
  while (std::getline(in, line)) {
    if (line.rfind("tone[", 0) == 0) break;
    std::size_t split = line.find('\t');
    std::size_t value_at = split + 1;
    if (split == std::string::npos) {
      split = line.find(" : ");
      value_at = split + 3;
    }
    if (split == std::string::npos) continue;
    const std::string name = line.substr(0, split);
    if (name == "orig_width" || name == "orig_height") continue;
    figures.emplace_back(name, std::atoi(line.c_str() + value_at));
  }
  return figures;
}

// Which figures each stage of the analysis sets. setup_mode after the
// analysis tells which stages ran: its bits are only ever cleared, so a bit
// still set means its stage ran (the neighbour differences run while any of
// bits 0..4 is set, the grouping while 0x10 is, the subject density under
// 0x10 or else 0x08). Figures of the statistics, which always run, and the
// record's own are always kept.
bool figure_was_set(const std::string& name, int mode_after) {
  const int stages = mode_after & 0x1F;
  if (name == "dif_av" || name == "toler") return stages != 0;
  if (name == "nextgrp" || name == "allgrpno")
    return (mode_after & ZKIMGSET_SETUP_GROUP_DENSITY) != 0;
  if (name == "dens_sel" || name == "dens_eff" || name == "yy_select")
    return (mode_after & (ZKIMGSET_SETUP_GROUP_DENSITY | ZKIMGSET_SETUP_SIMPLE_DENSITY)) != 0;
  return true;
}

}  // namespace

void configure_library(const Adjustments& a) {
  // The adjustments are stored by the set-up export, which then runs the
  // service's set-up on the picture it is given: a small grey one here.
  // Without the service it reports the service missing, which is expected.
  std::uint8_t grey[16 * 16 * 3];
  std::memset(grey, 128, sizeof grey);
  const int status = ImageSetupExecEx(grey, 16, 16, 16 * 3, 24, 0, a.mode, a.level, a.contrast,
                                      a.saturation, a.blue_shift, a.red_shift, 0, 0, 0);
  if (status != ZKIMGSET_OK && status != ZKIMGSET_SOURCE_MARK &&
      (status < ZKIMGSET_SERVICE_MISSING || status > ZKIMGSET_SERVICE_NO_RESULT))
    throw Failure("the library cannot set up pictures: " + status_message(status));
}

// What the tool's calls leave in the library, and how each is brought back:
// - GetExifParamEx sets the source-mark switch, which only the set-up driver
//   reads (ImageSetupExecEx below, which would keep only bit 0x40 of the
//   mode after a marked file): a GetExifParamEx that finds no mark (a name
//   that opens nothing) turns it back on first.
// - GetAtParamEx stores the flash and brightness values, which the next
//   GetAtParamEx overwrites before it reads them, and clears bits of
//   setup_mode; ImageDataConvertEx clears bit 0x40 when the adjustments are
//   neutral: ImageSetupExecEx stores the mode and every adjustment again.
// - The analysis state is overwritten by each analysis, except the figures
//   of stages that did not run, which the tool never shows (analysis_figures).
// - ImageDataConvertEx rebuilds the set-up table and the channel curves from
//   the record and the stored adjustments on every call; the colour tables
//   and the conversion mode are never changed by the tool.
// - DumpAutoSetupParam, ResizeExec and the byte-order conversions keep no
//   state.
bool neutral(const Adjustments& a) {
  return a.level == 100 && a.contrast == 0 && a.saturation == 0 && a.blue_shift == 0 &&
         a.red_shift == 0;
}

void restore_library(const Adjustments& adjustments) {
  ExifParamEx unused{};
  GetExifParamEx("", &unused);
  configure_library(adjustments);
}

ShootingValues read_shooting_values(const std::string& path, bool use_exif) {
  ShootingValues shot;
  if (!use_exif) return shot;
  // The reader fills the record even when a later stage of its check fails
  // (statuses 7 and 20 after reading), and leaves it untouched when it could
  // not read the file: a Flash value it never writes tells the two apart.
  constexpr std::uint16_t kUntouched = 0xFFFE;
  ExifParamEx exif{};
  exif.param.Flash = kUntouched;
  GetExifParamEx(path.c_str(), &exif);
  ExifParamEx defaults{};
  defaults.param.Flash = 255;
  if (exif.param.Flash == kUntouched || std::memcmp(&exif, &defaults, sizeof exif) == 0)
    return shot;
  shot.from_file = true;
  shot.flash = exif.param.Flash;
  shot.brightness_num = exif.param.BrightnessValue_num;
  shot.brightness_den = exif.param.BrightnessValue_den;
  const std::string make(exif.shot.Make, strnlen(exif.shot.Make, sizeof exif.shot.Make));
  const std::string model(exif.shot.Model, strnlen(exif.shot.Model, sizeof exif.shot.Model));
  shot.camera = make.empty() ? model : model.empty() ? make : make + " " + model;
  return shot;
}

std::string status_message(int status) {
  return "library status " + std::to_string(status) + " (" + zkimgset_status_text(status) + ")";
}

AutoSetupParam analyse_picture(const Picture& picture, const ShootingValues& shot) {
  AutoSetupParam record{};
  const int status = GetAtParamEx(picture.rgb.data(), picture.width, picture.height, &record,
                                  shot.flash, shot.brightness_den, shot.brightness_num);
  if (status == ZKIMGSET_BAD_SIZE)
    throw Failure(std::max(picture.width, picture.height) > kMaxSide
                      ? "too large (" + size_text(picture) + "; at most 6144 pixels on a side)"
                      : "too small (" + size_text(picture) + "; at least 128 x 92 is needed)");
  if (status != ZKIMGSET_OK) throw Failure("analysis failed: " + status_message(status));
  return record;
}

Figures analysis_figures(const Picture& picture, const std::string& dump_folder,
                         const std::string& base) {
  // The thumbnail goes only into the raw dump files, never into the figures.
  _ThumbnailData thumb{};
  if (!dump_folder.empty()) thumb = dump_thumbnail(picture);
  tagRECT rect{0, 0, picture.width - 1, picture.height - 1};
  const std::string name = base.empty() ? "picture" : base;
  // Without a dump folder the files go to a private one, read and removed.
  std::optional<ScratchFolder> scratch;
  if (dump_folder.empty()) scratch.emplace();
  std::string folder = scratch ? scratch->path() : dump_folder;
  if (folder.back() != '/') folder += '/';
  DumpAutoSetupParam(folder.c_str(), name.c_str(), &rect, &thumb);
  std::istringstream text;
  try {
    text.str(read_file(folder + name + "_AutoSetupParam.txt", kMaxDumpTextBytes));
  } catch (const Failure& e) {
    throw Failure("cannot write the dump files in " + folder + " (" + e.what() + ")");
  }
  Figures all = parse_dump_text(text);
  const int mode_after = figure(all, "setup_mode", 0);
  Figures kept;
  for (auto& f : all)
    if (figure_was_set(f.first, mode_after)) kept.push_back(std::move(f));
  return kept;
}

void apply_correction(Picture& picture, AutoSetupParam& record) {
  tagRECT whole{0, 0, picture.width - 1, picture.height - 1};
  tagRECT bounds = whole;
  const int status = ImageDataConvertEx(picture.rgb.data(), picture.width, picture.height, 0,
                                        &record, &whole, &bounds);
  if (status != ZKIMGSET_OK) throw Failure("correction failed: " + status_message(status));
}

std::vector<std::uint8_t> scaled_copy(const Picture& picture, int max_width, int max_height,
                                      int& width, int& height) {
  const double scale =
      std::min({1.0, double(max_width) / picture.width, double(max_height) / picture.height});
  const int want_w = std::max(1, static_cast<int>(picture.width * scale + 0.5));
  const int want_h = std::max(1, static_cast<int>(picture.height * scale + 0.5));
  Samples source(zkimgset_bitmap_bytes(picture.width, picture.height));
  std::memcpy(source.data(), picture.rgb.data(), picture.rgb.size());
  RgbBgrConversion(source.data(), picture.width, picture.height);
  const ZKImgSetBitmapInfoHeader source_header = bitmap_header(picture.width, picture.height);
  ZKImgSetBitmapInfoHeader result_header{};
  ZKImgSetResizePlan plan{};
  zkimgset_resize_plan(picture.width, picture.height, want_w, want_h, &plan);
  Samples result(zkimgset_bitmap_bytes(plan.result_width, plan.result_height));
  const int status =
      ResizeExec(&source_header, source.data(), &result_header, result.data(), want_w, want_h);
  if (status != ZKIMGSET_OK) throw Failure("cannot scale the picture: " + status_message(status));
  width = result_header.biWidth;
  height = result_header.biHeight;
  BgrRgbConversion(result.data(), width, height);
  return std::vector<std::uint8_t>(
      result.begin(), result.begin() + static_cast<std::ptrdiff_t>(width) * height * 3);
}

int figure(const Figures& figures, const std::string& name, int fallback) {
  for (const auto& [n, v] : figures)
    if (n == name) return v;
  return fallback;
}

}  // namespace zkcli
