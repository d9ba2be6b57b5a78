// Whether a library file is loaded in this process, asked without loading it.
#pragma once

namespace zkimgset::testing {

bool library_loaded(const char* path);

}  // namespace zkimgset::testing
