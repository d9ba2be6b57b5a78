// Reading an input whole: regular files only, never larger than the limit
// given. A device, a FIFO or a socket is refused without being opened for
// reading, so /dev/zero cannot fill the memory and a FIFO cannot block.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <string>

#include "files/picture_file.h"

namespace zkcli {

// The bytes of a regular file of at most max_bytes. Failure with the reason
// otherwise: "unreadable: ...", "not a regular file (a FIFO)", "too large
// (N bytes; at most M bytes)".
std::string read_file(const std::string& path, std::size_t max_bytes);

// All of standard input, at most max_bytes. A pipe, a socket or a regular
// file is read; a terminal, a device or a folder is refused before any
// read ("standard input is a terminal"), so /dev/zero cannot fill the memory
// and nothing waits for typing.
std::string read_standard_input(std::size_t max_bytes);

// "a FIFO", "a character device", "a folder"... for a stat mode, as messages
// name a file that is not a regular one.
std::string kind_of_file(mode_t mode);

}  // namespace zkcli
