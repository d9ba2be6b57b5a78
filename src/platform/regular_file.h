// Opening the library's own files (colour tables, camera files, dump files)
// without ever blocking: only regular files are opened. A FIFO would block
// an open or a read forever while the caller holds the library lock, and a
// device is no table or photograph.
#pragma once

#include <cstdio>

namespace zkimgset::platform {

// fopen for mode "r"/"rb" (read) or "w"/"wb" (write, created or emptied),
// refusing anything that is not a regular file without blocking on it:
// nullptr then, as when the file cannot be opened.
std::FILE* open_regular_file(const char* path, const char* mode);

}  // namespace zkimgset::platform
