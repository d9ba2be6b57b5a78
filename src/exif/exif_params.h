// The Exif parameter entry points below the exports: reading a camera file's
// shooting conditions into the host's record and checking it for the source
// mark, and storing the host's values as the library's shooting values.
// Callers hold the library lock.
#pragma once

#include <cstdint>

#include "frame/library_state.h"
#include "zkimgset/zkimgset.h"

namespace zkimgset::exif {

// GetExifParam / GetExifParamEx: a status of 0, 1, 2, 3, 7 or 20. Sets
// ExifSetupEnabled to 1, or to 0 when the result is 1.
int get_exif_param(LibraryState& state, const char* path, ExifParam* out);
int get_exif_param_ex(LibraryState& state, const char* path, ExifParamEx* out);

// The ten 32-bit words of an ExifParam passed by value: w[0] is
// CustomRendered (low 16 bits used), w[1] to w[9] the rest in record order.
void set_exif_param(LibraryState& state, const std::uint32_t (&words)[10]);
void set_exif_param_ex(LibraryState& state, const std::uint32_t (&words)[10],
                       const ExifShotInfo& info);

}  // namespace zkimgset::exif
