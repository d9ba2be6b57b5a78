// Nothing half-written, and only what the tool owns replaced. A regular
// file (or a new one) is written to a temporary file beside it and renamed
// into place only when complete; a signal that ends the process removes the
// temporary file being written. A character device or a FIFO (/dev/null, a
// pipe to another program) is written to directly, never replaced; any other
// kind of file is refused. A symbolic link is kept: the regular file it
// points to is replaced (the temporary file goes beside that file), and a
// link that points to nothing is refused.
#pragma once

#include <string>

namespace zkcli {

// Writes bytes to path. Failure with the reason when anything goes wrong, in
// which case a regular file at path is untouched and no temporary file
// remains (a device or FIFO may have received part of the bytes). The new
// file gets the permissions of the file it replaces, or the usual ones for a
// new file (0666 less the umask).
void write_atomically(const std::string& path, const std::string& bytes);

// write_atomically, or for "-" standard output, written where it is (a pipe
// or a file the shell opened: neither is the tool's to replace).
void write_output(const std::string& path, const std::string& bytes);

// Keeps the file at path as path + suffix before it is replaced: a hard link
// to it (a copy of bytes, its content, where a link cannot be made or path
// is a symbolic link). An existing backup is kept: it holds the oldest
// original. Failure with the reason.
void make_backup(const std::string& path, const std::string& suffix, const std::string& bytes);

// Installs the handlers for SIGINT, SIGTERM and SIGHUP that remove the
// temporary file being written before the process ends by the signal.
void remove_partial_output_on_signals();

}  // namespace zkcli
