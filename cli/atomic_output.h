// Nothing half-written: outputs are written to a temporary file beside
// their final name and renamed into place only when complete. A signal
// that ends the process removes the temporary file being written.
#pragma once

#include <string>

namespace zkcli {

// Writes bytes to path. Failure with the reason when anything goes wrong, in
// which case path is untouched and no temporary file remains. The new file
// gets the permissions of the file it replaces, or the usual ones for a new
// file (0666 less the umask).
void write_atomically(const std::string& path, const std::string& bytes);

// Installs the handlers for SIGINT, SIGTERM and SIGHUP that remove the
// temporary file being written before the process ends by the signal.
void remove_partial_output_on_signals();

}  // namespace zkcli
