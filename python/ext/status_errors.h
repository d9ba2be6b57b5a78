// Library statuses as Python exceptions. A call that fails throws
// StatusError; the translator registered by the module turns it into the
// exception class zkimgset.errors keeps for the status (a ValueError, a
// MemoryError or a plain ZKImgSetError, each carrying the status and its
// text).
#pragma once

#include <pybind11/pybind11.h>

#include <stdexcept>
#include <string>

namespace zkpy {

class StatusError : public std::runtime_error {
 public:
  // what: the call and the status in words ("analyse: library status 4
  // (image size not accepted)").
  StatusError(int status, const std::string& call);
  int status() const { return status_; }

 private:
  int status_;
};

// Throws StatusError unless status is one of the successes (0, and 1 where
// the source mark is a success).
void check_status(int status, const char* call);

void register_status_errors(pybind11::module_& module);

}  // namespace zkpy
