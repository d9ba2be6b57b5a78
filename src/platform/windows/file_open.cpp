// Windows: opening a named pipe or a device does not block the way a FIFO
// does, so files are opened as they are; one opened for reading is refused
// unless it is a disk file.
#include "platform/file_open.h"

#include <io.h>
#include <windows.h>

namespace zkimgset::platform {

std::FILE* open_for_reading(const char* path, const char* mode) {
  if (path == nullptr || mode == nullptr) return nullptr;
  std::FILE* file = std::fopen(path, mode);
  if (file == nullptr) return nullptr;
  const auto handle = reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(file)));
  if (GetFileType(handle) != FILE_TYPE_DISK) {
    std::fclose(file);
    return nullptr;
  }
  return file;
}

std::FILE* open_for_writing(const char* path, const char* mode) {
  if (path == nullptr || mode == nullptr) return nullptr;
  return std::fopen(path, mode);
}

}  // namespace zkimgset::platform
