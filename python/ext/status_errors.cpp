#include "status_errors.h"

#include <zkimgset/zkimgset.h>

#include "core/library_session.h"

namespace py = pybind11;

namespace zkpy {

StatusError::StatusError(int status, const std::string& call)
    : std::runtime_error(call + ": " + zkcli::status_message(status)), status_(status) {}

void check_status(int status, const char* call) {
  if (status != ZKIMGSET_OK && status != ZKIMGSET_SOURCE_MARK) throw StatusError(status, call);
}

void register_status_errors(py::module_& module) {
  module.def(
      "status_text", [](int status) { return std::string(zkimgset_status_text(status)); },
      py::arg("status"), "The library's short English text for a status code.");
  // Raised here only so that the table of statuses and exceptions can be
  // checked against the extension's own translation.
  module.def(
      "_raise_status", [](int status, const std::string& call) { throw StatusError(status, call); },
      py::arg("status"), py::arg("call"));
  py::register_exception_translator([](std::exception_ptr thrown) {
    try {
      if (thrown) std::rethrow_exception(thrown);
    } catch (const StatusError& e) {
      const py::object error =
          py::module_::import("zkimgset.errors").attr("error_for_status")(e.status(), e.what());
      PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(error.ptr())), error.ptr());
    }
  });
}

}  // namespace zkpy
