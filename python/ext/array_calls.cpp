#include "array_calls.h"

#include <pybind11/numpy.h>
#include <pybind11/stl.h>
#include <zkimgset/zkimgset.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <numeric>
#include <optional>
#include <tuple>

#include "core/library_session.h"
#include "core/picture_summary.h"
#include "library_lock.h"
#include "pixel_arrays.h"
#include "status_errors.h"

namespace py = pybind11;

namespace zkpy {
namespace {

constexpr int kLevels = 256;
constexpr int kSaturationSteps = 100;
constexpr std::uint16_t kFlashUnknown = 255;
constexpr int kSamples = 3;

// The analysis, its record and the tool's summary of it: what the picture
// will get, in numbers and words, computed by the tool's own code.
struct Record {
  AutoSetupParam param{};
  zkcli::Adjustments adjustments;
  zkcli::Figures figures;
  zkcli::PictureSummary summary;

  Record() {
    std::iota(std::begin(param.tone), std::end(param.tone), 0);
    std::fill(std::begin(param.sat_coef), std::end(param.sat_coef), zkcli::kNeutralSaturation);
  }
};

}  // namespace

zkcli::Adjustments adjustments_of(int mode, int level, int contrast, int saturation, int blue_shift,
                                  int red_shift) {
  auto check = [](int value, const char* name, zkcli::Range range) {
    if (value < range.min || value > range.max)
      throw py::value_error(std::string(name) + " " + std::to_string(value) + " is outside " +
                            std::to_string(range.min) + ".." + std::to_string(range.max));
  };
  check(mode, "mode", zkcli::kModeRange);
  zkcli::Adjustments adjustments;
  adjustments.mode = mode;
  // The others come in the order the tool lists them, named as it names them.
  const int values[] = {level, contrast, saturation, blue_shift, red_shift};
  static_assert(std::size(values) == std::size(zkcli::kAdjustmentFields));
  for (std::size_t i = 0; i < std::size(values); ++i) {
    const zkcli::AdjustmentField& f = zkcli::kAdjustmentFields[i];
    check(values[i], f.key, f.range);
    adjustments.*f.member = values[i];
  }
  return adjustments;
}

// restore_library says what bringing the library back takes. When the
// library refuses the adjustments, its status is asked of the same export
// for the exception.
void store_adjustments(const zkcli::Adjustments& a) {
  try {
    zkcli::restore_library(a);
  } catch (const zkcli::Failure&) {
    std::uint8_t grey[16 * 16 * 3];
    std::memset(grey, 128, sizeof grey);
    const int status = ImageSetupExecEx(grey, 16, 16, 16 * 3, 24, 0, a.mode, a.level, a.contrast,
                                        a.saturation, a.blue_shift, a.red_shift, 0, 0, 0);
    throw StatusError(status, "storing the adjustments");
  }
}

namespace {

// The analysis of packed R, G, B rows into record, under the lock.
void analyse_locked(const std::uint8_t* rgb, int width, int height, std::uint16_t flash,
                    int brightness_num, int brightness_den, Record& record) {
  store_adjustments(record.adjustments);
  check_status(
      GetAtParamEx(rgb, width, height, &record.param, flash, brightness_den, brightness_num),
      "analyse");
  zkcli::Picture size_only;
  size_only.width = width;
  size_only.height = height;
  record.figures = zkcli::analysis_figures(size_only);
  zkcli::summarise_correction(record.summary, record.param, record.figures, record.adjustments);
}

Record analyse(const py::buffer& buffer, const std::string& order, int flash, int brightness_num,
               int brightness_den, int mode, int level, int contrast, int saturation,
               int blue_shift, int red_shift) {
  const PixelArray array(buffer, false);
  Record record;
  record.adjustments = adjustments_of(mode, level, contrast, saturation, blue_shift, red_shift);
  const Order o = parse_order(order);
  const LibraryCall call;
  const PackedRgbSource rgb(array, o);
  analyse_locked(rgb.data(), array.width(), array.height(), static_cast<std::uint16_t>(flash),
                 brightness_num, brightness_den, record);
  return record;
}

// An area given as Pillow gives a box: (left, top, right, bottom), the right
// and bottom edges outside it. The library's rectangles include them.
tagRECT area_of(const std::optional<std::tuple<int, int, int, int>>& box, int width, int height) {
  if (!box) return tagRECT{0, 0, width - 1, height - 1};
  const auto [left, top, right, bottom] = *box;
  if (left < 0 || top < 0 || right > width || bottom > height || left >= right || top >= bottom)
    throw py::value_error("area (" + std::to_string(left) + ", " + std::to_string(top) + ", " +
                          std::to_string(right) + ", " + std::to_string(bottom) +
                          ") is not a non-empty box inside the " + std::to_string(width) + " x " +
                          std::to_string(height) + " picture");
  return tagRECT{left, top, right - 1, bottom - 1};
}

enum ConvertMode { kPackedRgb = 0, kBitmapBgr = 2 };

void apply(const py::buffer& buffer, Record& record,
           const std::optional<std::tuple<int, int, int, int>>& box, const std::string& order) {
  const PixelArray array(buffer, true);
  const Order o = parse_order(order);
  tagRECT area = area_of(box, array.width(), array.height());
  const py::ssize_t stride = array.row_stride();
  // The library converts rows of any length (the bounds' width), so a crop
  // of a larger packed array is converted where it lies; B, G, R rows go
  // through the bitmap layout, whose rows are padded to 4 bytes.
  const bool rgb_in_place = o == Order::Rgb && array.packed_pixels() && stride % kSamples == 0;
  const bool bgr_in_place = o == Order::Bgr && array.packed_pixels() && stride % 4 == 0;
  const LibraryCall call;
  if (rgb_in_place || bgr_in_place) {
    tagRECT bounds{0, 0, static_cast<int>(stride / kSamples) - 1, array.height() - 1};
    check_status(
        ImageDataConvertEx(array.first(), array.width(), array.height(),
                           rgb_in_place ? kPackedRgb : kBitmapBgr, &record.param, &area, &bounds),
        "apply");
    return;
  }
  PackedRgbWork work(array, o);
  tagRECT bounds{0, 0, array.width() - 1, array.height() - 1};
  check_status(ImageDataConvertEx(work.data(), array.width(), array.height(), kPackedRgb,
                                  &record.param, &area, &bounds),
               "apply");
  work.write_back();
}

Record autosetup(const py::buffer& buffer, const std::string& order, int flash, int brightness_num,
                 int brightness_den, int mode, int level, int contrast, int saturation,
                 int blue_shift, int red_shift) {
  const PixelArray array(buffer, true);
  Record record;
  record.adjustments = adjustments_of(mode, level, contrast, saturation, blue_shift, red_shift);
  const Order o = parse_order(order);
  const LibraryCall call;
  PackedRgbWork work(array, o);
  analyse_locked(work.data(), array.width(), array.height(), static_cast<std::uint16_t>(flash),
                 brightness_num, brightness_den, record);
  if (record.summary.outcome == zkcli::Outcome::Unchanged) return record;
  tagRECT whole{0, 0, array.width() - 1, array.height() - 1};
  tagRECT bounds = whole;
  check_status(ImageDataConvertEx(work.data(), array.width(), array.height(), kPackedRgb,
                                  &record.param, &whole, &bounds),
               "autosetup");
  work.write_back();
  return record;
}

// The density and colour-balance conversions, in place on packed R, G, B
// rows (B, G, R arrays go through a packed copy: the library's own B, G, R
// layout is the bottom-up bitmap).
using Conversion = int (*)(unsigned char*, int, int);
using ShiftedConversion = int (*)(unsigned char*, int, int, int, int, int);

void convert(const py::buffer& buffer, const std::string& order, const char* name, Conversion plain,
             ShiftedConversion shifted, const std::optional<std::tuple<int, int, int>>& shift) {
  const PixelArray array(buffer, true);
  const Order o = parse_order(order);
  if (plain == nullptr && !shift) throw py::value_error(std::string(name) + " needs a shift");
  const LibraryCall call;
  PackedRgbWork work(array, o);
  const int status = shift ? shifted(work.data(), array.width(), array.height(),
                                     std::get<0>(*shift), std::get<1>(*shift), std::get<2>(*shift))
                           : plain(work.data(), array.width(), array.height());
  check_status(status, name);
  work.write_back();
}

py::array_t<std::uint8_t> resize(const py::buffer& buffer, int width, int height,
                                 const std::string& order) {
  const PixelArray array(buffer, false);
  const Order o = parse_order(order);
  ZKImgSetResizePlan plan{};
  if (array.width() < 1 || array.height() < 1 ||
      zkimgset_resize_plan(array.width(), array.height(), width, height, &plan) != ZKIMGSET_OK)
    throw StatusError(ZKIMGSET_BAD_ARGUMENT, "resize");
  std::vector<std::uint8_t> result;
  {
    const LibraryCall call;
    // The library resizes bottom-up B, G, R bitmaps; its own conversions
    // turn packed rows into one and back.
    std::vector<std::uint8_t> source(zkimgset_bitmap_bytes(array.width(), array.height()));
    array.copy_out(o, source.data());
    RgbBgrConversion(source.data(), array.width(), array.height());
    ZKImgSetBitmapInfoHeader source_header{};
    source_header.biSize = sizeof source_header;
    source_header.biWidth = array.width();
    source_header.biHeight = array.height();
    source_header.biPlanes = 1;
    source_header.biBitCount = 24;
    ZKImgSetBitmapInfoHeader result_header{};
    // A result no address reaches is refused as the library refuses it.
    const std::uint64_t result_bytes = zkimgset_bitmap_bytes(plan.result_width, plan.result_height);
    if (result_bytes > std::uint64_t{PTRDIFF_MAX})
      throw StatusError(ZKIMGSET_OUT_OF_MEMORY, "resize");
    result.resize(std::max<std::uint64_t>(1, result_bytes));
    check_status(
        ResizeExec(&source_header, source.data(), &result_header, result.data(), width, height),
        "resize");
    if (plan.result_width > 0 && plan.result_height > 0)
      BgrRgbConversion(result.data(), plan.result_width, plan.result_height);
  }
  const py::ssize_t h = std::max(0, plan.result_height), w = std::max(0, plan.result_width);
  py::array_t<std::uint8_t> out({h, w, py::ssize_t{kSamples}});
  if (h > 0 && w > 0) PixelArray(out, true).copy_in(o, result.data());
  return out;
}

// ---- Exif shooting values ----------------------------------------------------

std::string text_of(const char* field, std::size_t size) {
  return std::string(field, strnlen(field, size));
}

// The values as the tool takes them: the reader fills the record before its
// source-mark check, whose failures (7 or 20 after reading) leave the values
// good; a record left untouched (the file could not be read) or holding
// only the defaults (no Exif data) raises the status.
py::dict read_exif(const std::string& path) {
  constexpr std::uint16_t kUntouched = 0xFFFE;
  ExifParamEx exif{};
  exif.param.Flash = kUntouched;
  int status = 0;
  {
    const LibraryCall call;
    status = GetExifParamEx(path.c_str(), &exif);
  }
  ExifParamEx defaults{};
  defaults.param.Flash = kFlashUnknown;
  if (exif.param.Flash == kUntouched || std::memcmp(&exif, &defaults, sizeof exif) == 0)
    check_status(status == ZKIMGSET_OK ? ZKIMGSET_NO_EXIF : status, "read_exif");
  const ExifParam& p = exif.param;
  const ExifShotInfo& s = exif.shot;
  py::dict d;
  d["CustomRendered"] = p.CustomRendered;
  d["BrightnessValue"] = py::make_tuple(p.BrightnessValue_num, p.BrightnessValue_den);
  d["LightSource"] = p.LightSource;
  d["Flash"] = p.Flash;
  d["ExposureMode"] = p.ExposureMode;
  d["WhiteBalance"] = p.WhiteBalance;
  d["DigitalZoomRatio"] = py::make_tuple(p.DigitalZoomRatio_num, p.DigitalZoomRatio_den);
  d["SceneCaptureType"] = p.SceneCaptureType;
  d["Sharpness"] = p.Sharpness;
  d["FocalLengthIn35mmFilm"] = p.FocalLengthIn35mmFilm;
  d["SubjectDistanceRange"] = p.SubjectDistanceRange;
  d["Contrast"] = p.Contrast;
  d["Saturation"] = p.Saturation;
  const auto decoded = [](const std::string& bytes) {
    return py::reinterpret_steal<py::str>(
        PyUnicode_DecodeUTF8(bytes.data(), static_cast<py::ssize_t>(bytes.size()), "replace"));
  };
  d["Make"] = decoded(text_of(s.Make, sizeof s.Make));
  d["Model"] = decoded(text_of(s.Model, sizeof s.Model));
  d["ISOSpeedRatings"] = s.ISOSpeedRatings;
  d["ExposureTime"] = py::make_tuple(s.ExposureTime_num, s.ExposureTime_den);
  d["FNumber"] = py::make_tuple(s.FNumber_num, s.FNumber_den);
  d["ShutterSpeedValue"] = py::make_tuple(s.ShutterSpeedValue_num, s.ShutterSpeedValue_den);
  d["ApertureValue"] = py::make_tuple(s.ApertureValue_num, s.ApertureValue_den);
  d["source_mark"] = status == ZKIMGSET_SOURCE_MARK;
  return d;
}

// Stores shooting values given as read_exif gives them (missing ones as the
// library's defaults: 0, Flash 255); the set-up driver hands them to the
// Exif-tag service.
void set_exif(const py::dict& values) {
  ExifParam p{};
  p.Flash = kFlashUnknown;
  ExifShotInfo s{};
  for (const auto& [key_object, value] : values) {
    const std::string key = py::str(key_object);
    auto number = [&]() { return value.cast<long long>(); };
    auto pair = [&](auto& num, auto& den) {
      const auto t = value.cast<std::tuple<long long, long long>>();
      num = static_cast<std::remove_reference_t<decltype(num)>>(std::get<0>(t));
      den = static_cast<std::remove_reference_t<decltype(den)>>(std::get<1>(t));
    };
    auto text = [&](char* field, std::size_t size) {
      const std::string t = value.cast<std::string>();
      std::memset(field, 0, size);
      std::memcpy(field, t.data(), std::min(t.size(), size - 1));
    };
    if (key == "CustomRendered")
      p.CustomRendered = static_cast<std::uint16_t>(number());
    else if (key == "BrightnessValue")
      pair(p.BrightnessValue_num, p.BrightnessValue_den);
    else if (key == "LightSource")
      p.LightSource = static_cast<std::uint16_t>(number());
    else if (key == "Flash")
      p.Flash = static_cast<std::uint16_t>(number());
    else if (key == "ExposureMode")
      p.ExposureMode = static_cast<std::uint16_t>(number());
    else if (key == "WhiteBalance")
      p.WhiteBalance = static_cast<std::uint16_t>(number());
    else if (key == "DigitalZoomRatio")
      pair(p.DigitalZoomRatio_num, p.DigitalZoomRatio_den);
    else if (key == "SceneCaptureType")
      p.SceneCaptureType = static_cast<std::uint16_t>(number());
    else if (key == "Sharpness")
      p.Sharpness = static_cast<std::uint16_t>(number());
    else if (key == "FocalLengthIn35mmFilm")
      p.FocalLengthIn35mmFilm = static_cast<std::uint16_t>(number());
    else if (key == "SubjectDistanceRange")
      p.SubjectDistanceRange = static_cast<std::uint16_t>(number());
    else if (key == "Contrast")
      p.Contrast = static_cast<std::uint16_t>(number());
    else if (key == "Saturation")
      p.Saturation = static_cast<std::uint16_t>(number());
    else if (key == "Make")
      text(s.Make, sizeof s.Make);
    else if (key == "Model")
      text(s.Model, sizeof s.Model);
    else if (key == "ISOSpeedRatings")
      s.ISOSpeedRatings = static_cast<std::uint16_t>(number());
    else if (key == "ExposureTime")
      pair(s.ExposureTime_num, s.ExposureTime_den);
    else if (key == "FNumber")
      pair(s.FNumber_num, s.FNumber_den);
    else if (key == "ShutterSpeedValue")
      pair(s.ShutterSpeedValue_num, s.ShutterSpeedValue_den);
    else if (key == "ApertureValue")
      pair(s.ApertureValue_num, s.ApertureValue_den);
    else if (key != "source_mark")
      throw py::value_error("no Exif value named '" + key + "'");
  }
  // The record passes as its ten 32-bit words.
  std::uint32_t words[sizeof p / 4];
  std::memcpy(words, &p, sizeof p);
  const LibraryCall call;
  check_status(SetExifParamEx(p.CustomRendered, words[1], words[2], words[3], words[4], words[5],
                              words[6], words[7], words[8], words[9], s),
               "set_exif");
}

// ---- Records -------------------------------------------------------------------

py::dict correction_of(const Record& r) {
  py::dict d;
  if (!r.summary.analysed) return d;
  d["mid_grey"] = py::make_tuple(zkcli::kMidGrey, r.summary.mid_grey_to);
  d["contrast_percent"] = r.summary.contrast_percent;
  d["cb"] = r.summary.cb;
  d["cr"] = r.summary.cr;
  d["saturation_percent"] = r.summary.saturation_percent;
  d["setup_mode_after"] = r.summary.mode_after;
  return d;
}

std::string record_bytes(const Record& r) {
  return std::string(reinterpret_cast<const char*>(&r.param), sizeof r.param);
}

void register_record(py::module_& m) {
  py::class_<Record> record(m, "Record", py::buffer_protocol());
  for (const zkcli::AdjustmentField& f : zkcli::kAdjustmentFields)
    record.def_property_readonly(
        f.key, [member = f.member](const Record& r) { return r.adjustments.*member; });
  record.def(py::init<>())
      .def_property_readonly("tone",
                             [](py::object self) {
                               auto& r = self.cast<Record&>();
                               return py::array_t<std::uint8_t>({kLevels}, {1}, r.param.tone, self);
                             })
      .def_property_readonly("sat_coef",
                             [](py::object self) {
                               auto& r = self.cast<Record&>();
                               return py::array_t<std::int16_t>(
                                   {kSaturationSteps}, {py::ssize_t{2}}, r.param.sat_coef, self);
                             })
      .def_property(
          "cb_ofs", [](const Record& r) { return r.param.cb_ofs; },
          [](Record& r, std::int16_t v) { r.param.cb_ofs = v; })
      .def_property(
          "cr_ofs", [](const Record& r) { return r.param.cr_ofs; },
          [](Record& r, std::int16_t v) { r.param.cr_ofs = v; })
      .def_property_readonly("mode", [](const Record& r) { return r.adjustments.mode; })
      .def_property_readonly("analysed", [](const Record& r) { return r.summary.analysed; })
      .def_property_readonly("figures",
                             [](const Record& r) {
                               py::dict d;
                               for (const auto& [name, value] : r.figures) d[py::str(name)] = value;
                               return d;
                             })
      .def_property_readonly("status",
                             [](const Record& r) -> py::object {
                               if (!r.summary.analysed) return py::none();
                               return py::str(zkcli::outcome_key(r.summary.outcome));
                             })
      .def_property_readonly("changes", [](const Record& r) { return r.summary.changes; })
      .def_property_readonly("summary",
                             [](const Record& r) {
                               return r.summary.outcome == zkcli::Outcome::Corrected
                                          ? zkcli::joined(r.summary.changes)
                                          : r.summary.reason;
                             })
      .def_property_readonly("correction", &correction_of)
      .def("to_bytes", [](const Record& r) { return py::bytes(record_bytes(r)); })
      .def_static("from_bytes",
                  [](const py::bytes& bytes) {
                    const std::string b = bytes;
                    if (b.size() != sizeof(AutoSetupParam))
                      throw py::value_error("a record is " +
                                            std::to_string(sizeof(AutoSetupParam)) +
                                            " bytes, not " + std::to_string(b.size()));
                    Record r;
                    std::memcpy(&r.param, b.data(), b.size());
                    return r;
                  })
      .def_buffer([](Record& r) {
        return py::buffer_info(&r.param, 1, "B", 1, {py::ssize_t(sizeof r.param)}, {1});
      })
      .def(py::pickle(
          [](const Record& r) {
            const zkcli::Adjustments& a = r.adjustments;
            return py::make_tuple(py::bytes(record_bytes(r)),
                                  py::make_tuple(a.mode, a.level, a.contrast, a.saturation,
                                                 a.blue_shift, a.red_shift),
                                  r.figures, py::bytes(zkcli::pack_summary(r.summary)));
          },
          [](const py::tuple& t) {
            Record r;
            const std::string b = t[0].cast<std::string>();
            if (b.size() != sizeof r.param) throw py::value_error("not a pickled Record");
            std::memcpy(&r.param, b.data(), b.size());
            const auto a = t[1].cast<std::array<int, 6>>();
            r.adjustments = {a[0], a[1], a[2], a[3], a[4], a[5]};
            r.figures = t[2].cast<zkcli::Figures>();
            if (!zkcli::unpack_summary(t[3].cast<std::string>(), r.summary))
              throw py::value_error("not a pickled Record");
            return r;
          }));
}

// ---- Colour tables ---------------------------------------------------------------

int table_call(int (*load)(const char*), const std::optional<std::string>& name) {
  const LibraryCall call;
  return load(name ? name->c_str() : nullptr);
}

}  // namespace

void register_array_calls(py::module_& m) {
  register_record(m);
  const auto picture = py::arg("array");
  m.def("_analyse", &analyse, picture, py::arg("order"), py::arg("flash"),
        py::arg("brightness_num"), py::arg("brightness_den"), py::arg("mode"), py::arg("level"),
        py::arg("contrast"), py::arg("saturation"), py::arg("blue_shift"), py::arg("red_shift"));
  m.def("_apply", &apply, picture, py::arg("record"), py::arg("area"), py::arg("order"));
  m.def("_autosetup", &autosetup, picture, py::arg("order"), py::arg("flash"),
        py::arg("brightness_num"), py::arg("brightness_den"), py::arg("mode"), py::arg("level"),
        py::arg("contrast"), py::arg("saturation"), py::arg("blue_shift"), py::arg("red_shift"));
  m.def("_den2ta", [](const py::buffer& b, const std::string& order,
                      const std::optional<std::tuple<int, int, int>>& shift) {
    convert(b, order, "den2ta", Den2TA, Den2TAEx, shift);
  });
  m.def("_den2vorn", [](const py::buffer& b, const std::string& order,
                        const std::optional<std::tuple<int, int, int>>& shift) {
    convert(b, order, "den2vorn", Den2Vorn, Den2VornEx, shift);
  });
  m.def("_vorn2ta", [](const py::buffer& b, const std::string& order) {
    convert(b, order, "vorn2ta", Vorn2TA, nullptr, std::nullopt);
  });
  m.def("_color_balance",
        [](const py::buffer& b, const std::string& order, const std::tuple<int, int, int>& shift) {
          convert(b, order, "color_balance", nullptr, ColorBalanceAdj, shift);
        });
  m.def("_resize", &resize, picture, py::arg("width"), py::arg("height"), py::arg("order"));
  m.def("_read_exif", &read_exif, py::arg("path"));
  m.def("_set_exif", &set_exif, py::arg("values"));
  m.def("_load_3d_table", [](const std::optional<std::string>& name) {
    check_status(table_call(Set3dFile, name), "load_3d_table");
  });
  m.def("_load_1d_table", [](const std::string& name) {
    check_status(table_call(Set1dFile, name), "load_1d_table");
  });
  m.def("_load_3d_table_old", [](const std::string& name) {
    check_status(table_call(Set3dFile_old, name), "load_3d_table_old");
  });
  m.def("_load_3dp_file", [](const std::string& name) {
    check_status(table_call(Load3dpFile, name), "load_3dp_file");
  });
  m.def("_set_color_conv_mode", [](int mode) {
    if (mode < 0 || mode > 0xFFFF)
      throw py::value_error("mode " + std::to_string(mode) + " is outside 0..65535");
    const LibraryCall call;
    check_status(SetColorConvMode(static_cast<unsigned short>(mode)), "set_color_conv_mode");
  });
}

}  // namespace zkpy
