// Opening the library's own files (colour tables, camera files, dump files)
// without ever blocking. Files are read only when they are regular files: a
// FIFO would block an open or a read forever while the caller holds the
// library lock, and a device is no table or photograph. Dump files are
// written into regular files, character devices (a dump into the null
// device is a dump thrown away) and FIFOs that have a reader.
#pragma once

#include <cstdio>

namespace zkimgset::platform {

// fopen for reading (mode "r" or "rb") a regular file; nullptr for anything
// else, as when the file cannot be opened.
std::FILE* open_for_reading(const char* path, const char* mode);

// fopen for writing (mode "w" or "wb": created or emptied) a regular file,
// a character device or a FIFO with a reader; nullptr for a FIFO nobody
// reads, a folder, a socket or a block device, as when it cannot be opened.
std::FILE* open_for_writing(const char* path, const char* mode);

}  // namespace zkimgset::platform
