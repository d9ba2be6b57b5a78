// The tool's own path for picture files: the plan of a run (which inputs,
// which outputs, what is skipped), one picture read, corrected, written
// atomically and summarised, and the text and JSON Lines a run prints. The
// tool's process-specific parts (its worker processes, signal handlers,
// standard streams, the hot folder) stay out: the package's callers bring
// their own processes.
#pragma once

#include <pybind11/pybind11.h>

namespace zkpy {

void register_file_calls(pybind11::module_& module);

}  // namespace zkpy
