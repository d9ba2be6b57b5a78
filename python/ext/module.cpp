// zkimgset._zkimgset: the extension behind the Python package. The package's
// modules (zkimgset/__init__.py and the rest) give it its documented face.
#include <pybind11/pybind11.h>

#include "array_calls.h"
#include "core/command_line.h"
#include "file_calls.h"
#include "files/picture_file.h"
#include "library_lock.h"
#include "status_errors.h"

namespace py = pybind11;

namespace zkpy {

std::recursive_mutex& library_mutex() {
  static std::recursive_mutex mutex;
  return mutex;
}

}  // namespace zkpy

PYBIND11_MODULE(_zkimgset, module) {
  module.doc() = "The ZKImgSet library and the zkimgset tool's picture path, for NumPy arrays.";
  zkpy::register_status_errors(module);
  // The tool's own failures: a mistake in what was asked, and a file that
  // cannot be read or written.
  py::register_exception_translator([](std::exception_ptr thrown) {
    try {
      if (thrown) std::rethrow_exception(thrown);
    } catch (const zkcli::UsageError& e) {
      PyErr_SetString(PyExc_ValueError, e.what());
    } catch (const zkcli::Failure& e) {
      PyErr_SetString(PyExc_OSError, e.what());
    }
  });
  // The library lock for a caller's sequence of calls (library_lock() in the
  // package). Waiting for it releases the GIL, as every call does.
  module.def("_lock_library", [] {
    const py::gil_scoped_release release;
    zkpy::library_mutex().lock();
  });
  module.def("_unlock_library", [] { zkpy::library_mutex().unlock(); });
  module.attr("version") = ZKIMGSET_CLI_VERSION;
  zkpy::register_array_calls(module);
  zkpy::register_file_calls(module);
}
