// The one lock around the library's calls. The library keeps process-wide
// state (tables, modes, the last analysis), so in one process its calls run
// one at a time; threads of the same process wait here, and parallel work
// goes to processes. The lock is recursive so that a thread holding it (the
// package's library_lock() context) can make calls that take it again.
#pragma once

#include <pybind11/pybind11.h>

#include <mutex>

namespace zkpy {

std::recursive_mutex& library_mutex();

// The GIL released, then the library lock taken, for one call's work: other
// Python threads run meanwhile. Nothing inside may touch Python objects.
class LibraryCall {
 public:
  LibraryCall() : hold_(library_mutex()) {}

 private:
  pybind11::gil_scoped_release release_;  // released first, taken back last
  std::lock_guard<std::recursive_mutex> hold_;
};

}  // namespace zkpy
