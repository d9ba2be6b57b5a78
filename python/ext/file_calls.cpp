#include "file_calls.h"

#include <pybind11/stl.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>
#include <optional>

#include "array_calls.h"
#include "core/correction.h"
#include "core/output_plan.h"
#include "core/picture_summary.h"
#include "core/progress.h"
#include "core/run_output.h"
#include "library_lock.h"

namespace py = pybind11;

namespace zkpy {
namespace {

std::optional<std::string> format_key_of(const std::optional<zkcli::Format>& format) {
  if (!format) return std::nullopt;
  return std::string(zkcli::format_key(*format));
}

std::optional<zkcli::Format> format_of_key(const std::optional<std::string>& key) {
  if (!key) return std::nullopt;
  const std::optional<zkcli::Format> format = zkcli::parse_format(*key);
  if (!format) throw py::value_error("format '" + *key + "' is not jpeg, png or tiff");
  return format;
}

// ---- What a run writes ------------------------------------------------------------

// A stdio stream into memory: the tool's run output writes to a FILE*, and
// the package hands the text to Python's own streams.
class MemoryText {
 public:
  MemoryText() : file_(open_memstream(&buffer_, &size_)) {
    if (file_ == nullptr) throw std::bad_alloc();
  }
  ~MemoryText() {
    std::fclose(file_);
    std::free(buffer_);
  }
  MemoryText(const MemoryText&) = delete;
  MemoryText& operator=(const MemoryText&) = delete;
  std::FILE* file() { return file_; }
  // What was written since the last take.
  std::string take() {
    std::fflush(file_);
    std::string text(buffer_, size_);
    std::rewind(file_);
    return text;
  }

 private:
  char* buffer_ = nullptr;
  std::size_t size_ = 0;
  std::FILE* file_;
};

zkcli::Verbosity verbosity_of(const std::string& text) {
  if (text == "quiet") return zkcli::Verbosity::Quiet;
  if (text == "normal") return zkcli::Verbosity::Normal;
  if (text == "verbose") return zkcli::Verbosity::Verbose;
  throw py::value_error("verbosity must be quiet, normal or verbose, not '" + text + "'");
}

// The tool's messages of a run (a line a picture or its bar, the closing
// counts, or JSON Lines), each call returning what goes to standard output
// and to standard error.
class TextRun {
 public:
  // progress: "bar" (the tool's bar, for a terminal), "lines" (a line a
  // picture), "none" (another bar is shown; failures are listed at the end).
  TextRun(const std::string& command, bool json, const std::string& verbosity, std::size_t total,
          const std::string& progress)
      : command_(command),
        run_(command_.c_str(), out_.file(), verbosity_of(verbosity), json),
        progress_(total, progress == "none" ? unused_.file() : err_.file(), progress == "bar") {
    if (progress != "bar" && progress != "lines" && progress != "none")
      throw py::value_error("progress must be bar, lines or none, not '" + progress + "'");
  }

  using Texts = std::pair<std::string, std::string>;
  Texts skipped_before(const std::vector<std::pair<std::string, std::string>>& skipped) {
    std::vector<zkcli::Skip> skips;
    for (const auto& [path, reason] : skipped) skips.push_back({path, reason});
    run_.skipped_before(skips);
    return take();
  }
  Texts picture(const zkcli::PictureSummary& summary) {
    run_.picture(summary, progress_);
    return take();
  }
  Texts finish(std::size_t pictures, double seconds, const std::string& settings) {
    progress_.close();
    run_.finish(pictures, seconds, settings);
    return take();
  }
  py::dict counts() const {
    const zkcli::RunCounts& c = run_.counts();
    py::dict d;
    d["corrected"] = c.corrected;
    d["unchanged"] = c.unchanged;
    d["failed"] = c.failed;
    d["skipped"] = c.skipped;
    return d;
  }

 private:
  Texts take() {
    unused_.take();
    return {out_.take(), err_.take()};
  }

  std::string command_;
  MemoryText out_, err_, unused_;
  zkcli::RunOutput run_;
  zkcli::Progress progress_;
};

// ---- One picture --------------------------------------------------------------

zkcli::PictureSummary outcome_only(const std::string& input, zkcli::Outcome outcome,
                                   const std::string& reason) {
  zkcli::PictureSummary s;
  s.input = input;
  s.outcome = outcome;
  s.reason = reason;
  return s;
}

// A job corrected as the tool's worker corrects it: the library brought back
// to the settings, then the tool's whole way for one picture.
zkcli::PictureSummary correct(const zkcli::Job& job, const zkcli::RunSettings& settings) {
  const LibraryCall call;
  try {
    zkcli::restore_library(settings.adjustments);
    return zkcli::correct_job(job, settings).summary;
  } catch (const std::bad_alloc&) {
    return outcome_only(job.input, zkcli::Outcome::Failed, "out of memory");
  } catch (const zkcli::Failure& e) {
    return outcome_only(job.input, zkcli::Outcome::Failed, e.what());
  }
}

zkcli::Destination destination_of(const std::string& text) {
  if (text == "file") return zkcli::Destination::File;
  if (text == "folder") return zkcli::Destination::Folder;
  if (text == "in_place") return zkcli::Destination::InPlace;
  throw py::value_error("destination must be file, folder or in_place, not '" + text + "'");
}

py::tuple plan(const std::vector<std::string>& inputs, const std::string& destination,
               const std::string& target, const std::optional<std::string>& format, bool recursive,
               bool no_clobber) {
  zkcli::PlanOptions options;
  options.destination = destination_of(destination);
  options.target = target;
  options.format = format_of_key(format);
  options.no_clobber = no_clobber;
  const zkcli::Expansion expansion = zkcli::expand_inputs(inputs, recursive);
  std::vector<zkcli::Job> jobs = zkcli::plan_jobs(expansion.inputs, options);
  std::vector<std::pair<std::string, std::string>> skipped;
  for (const zkcli::Skip& s : expansion.skipped) skipped.emplace_back(s.path, s.reason);
  return py::make_tuple(jobs, skipped);
}

// ---- Bindings -------------------------------------------------------------------

void register_job(py::module_& m) {
  py::class_<zkcli::Job>(m, "Job")
      .def(py::init([](const std::string& input, const std::string& output,
                       const std::optional<std::string>& format, bool in_place) {
             zkcli::Job job;
             job.input = input;
             job.output = output;
             job.format = format_of_key(format);
             job.in_place = in_place;
             return job;
           }),
           py::arg("input"), py::arg("output"), py::arg("format") = std::nullopt,
           py::arg("in_place") = false)
      .def_readonly("input", &zkcli::Job::input)
      .def_readonly("output", &zkcli::Job::output)
      .def_property_readonly("format", [](const zkcli::Job& j) { return format_key_of(j.format); })
      .def_readonly("in_place", &zkcli::Job::in_place)
      .def_readonly("problem", &zkcli::Job::problem)
      .def_readonly("skip", &zkcli::Job::skip)
      .def("__repr__",
           [](const zkcli::Job& j) { return "<Job " + j.input + " -> " + j.output + ">"; })
      .def(py::pickle(
          [](const zkcli::Job& j) {
            return py::make_tuple(j.input, j.output, format_key_of(j.format), j.in_place, j.problem,
                                  j.skip);
          },
          [](const py::tuple& t) {
            zkcli::Job j;
            j.input = t[0].cast<std::string>();
            j.output = t[1].cast<std::string>();
            j.format = format_of_key(t[2].cast<std::optional<std::string>>());
            j.in_place = t[3].cast<bool>();
            j.problem = t[4].cast<std::string>();
            j.skip = t[5].cast<std::string>();
            return j;
          }));
}

void register_settings(py::module_& m) {
  py::class_<zkcli::RunSettings>(m, "Settings")
      .def(py::init([](int mode, int level, int contrast, int saturation, int blue_shift,
                       int red_shift, bool exif, int quality, bool force, bool backup,
                       const std::string& suffix) {
             if (quality < 1 || quality > 100)
               throw py::value_error("quality " + std::to_string(quality) + " is outside 1..100");
             if (suffix.empty() || suffix.find('/') != std::string::npos)
               throw py::value_error("suffix '" + suffix + "' is not a file name suffix");
             zkcli::RunSettings s;
             s.adjustments =
                 adjustments_of(mode, level, contrast, saturation, blue_shift, red_shift);
             s.use_exif = exif;
             s.quality = quality;
             s.force = force;
             s.backup = backup;
             s.backup_suffix = suffix;
             return s;
           }),
           py::arg("mode"), py::arg("level"), py::arg("contrast"), py::arg("saturation"),
           py::arg("blue_shift"), py::arg("red_shift"), py::arg("exif"), py::arg("quality"),
           py::arg("force"), py::arg("backup"), py::arg("suffix"))
      .def_property_readonly("text",
                             [](const zkcli::RunSettings& s) { return zkcli::settings_text(s); })
      .def(py::pickle(
          [](const zkcli::RunSettings& s) {
            const zkcli::Adjustments& a = s.adjustments;
            return py::make_tuple(a.mode, a.level, a.contrast, a.saturation, s.use_exif, s.quality,
                                  s.force, s.backup, s.backup_suffix, a.blue_shift, a.red_shift);
          },
          [](const py::tuple& t) {
            zkcli::RunSettings s;
            s.adjustments = {t[0].cast<int>(), t[1].cast<int>(), t[2].cast<int>(),
                             t[3].cast<int>(), t[9].cast<int>(), t[10].cast<int>()};
            s.use_exif = t[4].cast<bool>();
            s.quality = t[5].cast<int>();
            s.force = t[6].cast<bool>();
            s.backup = t[7].cast<bool>();
            s.backup_suffix = t[8].cast<std::string>();
            return s;
          }));
}

void register_file_result(py::module_& m) {
  using S = zkcli::PictureSummary;
  py::class_<S>(m, "FileResult")
      .def_readonly("input", &S::input)
      .def_property_readonly("output",
                             [](const S& s) -> py::object {
                               if (s.output.empty()) return py::none();
                               return py::str(s.output);
                             })
      .def_property_readonly("status", [](const S& s) { return zkcli::outcome_key(s.outcome); })
      .def_readonly("reason", &S::reason)
      .def_property_readonly(
          "summary",
          [](const S& s) {
            return s.outcome == zkcli::Outcome::Corrected ? zkcli::joined(s.changes) : s.reason;
          })
      .def_readonly("changes", &S::changes)
      .def_readonly("notes", &S::notes)
      .def_readonly("width", &S::width)
      .def_readonly("height", &S::height)
      .def_readonly("seconds", &S::seconds)
      .def_property_readonly("json", &zkcli::summary_json)
      .def("line", &zkcli::picture_line, py::arg("verbose") = false)
      .def("__str__", &zkcli::summary_text)
      .def("__repr__",
           [](const S& s) {
             return "<FileResult " + s.input + ": " + zkcli::outcome_key(s.outcome) + ">";
           })
      .def(py::pickle([](const S& s) { return py::bytes(zkcli::pack_summary(s)); },
                      [](const py::bytes& b) {
                        S s;
                        if (!zkcli::unpack_summary(b, s))
                          throw py::value_error("not a pickled FileResult");
                        return s;
                      }));
}

}  // namespace

void register_file_calls(py::module_& m) {
  register_job(m);
  register_settings(m);
  register_file_result(m);
  py::class_<TextRun>(m, "TextRun")
      .def(
          py::init<const std::string&, bool, const std::string&, std::size_t, const std::string&>(),
          py::arg("command"), py::arg("json"), py::arg("verbosity"), py::arg("total"),
          py::arg("progress"))
      .def("skipped_before", &TextRun::skipped_before)
      .def("picture", &TextRun::picture)
      .def("finish", &TextRun::finish)
      .def_property_readonly("counts", &TextRun::counts);
  m.def("plan", &plan, py::arg("inputs"), py::arg("destination"), py::arg("target"),
        py::arg("format"), py::arg("recursive"), py::arg("no_clobber"));
  m.def("correct", &correct, py::arg("job"), py::arg("settings"));
  m.def(
      "skipped",
      [](const std::string& input, const std::string& reason) {
        return outcome_only(input, zkcli::Outcome::Skipped, reason);
      },
      py::arg("input"), py::arg("reason"));
  m.def(
      "failed",
      [](const std::string& input, const std::string& reason) {
        return outcome_only(input, zkcli::Outcome::Failed, reason);
      },
      py::arg("input"), py::arg("reason"));
  m.def("make_folders", &zkcli::make_folders, py::arg("path"));
  m.def(
      "_store_adjustments",
      [](const zkcli::RunSettings& settings) {
        const LibraryCall call;
        store_adjustments(settings.adjustments);
      },
      py::arg("settings"));
  m.def("tool_mark", &zkcli::tool_mark);
}

}  // namespace zkpy
