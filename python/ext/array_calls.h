// The library's calls on arrays: the analysis and its record, applying a
// record, the automatic set-up of an array, the density and colour-balance
// conversions, resizing, the Exif shooting values and the colour tables.
#pragma once

#include <pybind11/pybind11.h>

#include "core/library_session.h"

namespace zkpy {

// The host's adjustments, in the ranges the tool's options take; a
// ValueError outside them.
zkcli::Adjustments adjustments_of(int mode, int level, int contrast, int saturation, int blue_shift,
                                  int red_shift);

// Brings the library to the adjustments as the tool's workers do before each
// picture; a StatusError when the library refuses them. Under the lock.
void store_adjustments(const zkcli::Adjustments& adjustments);

void register_array_calls(pybind11::module_& module);

}  // namespace zkpy
