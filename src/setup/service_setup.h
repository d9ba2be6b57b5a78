// The Exif-tag service's part of a set-up driver call: the tag set that
// carries the stored shooting values, the service's automatic set-up of the
// work copy, and the merge of its corrected picture into it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "frame/library_state.h"

namespace zkimgset::setup {

// What the service works on: the content's width x height pixels, in packed
// rows or in bitmap rows of row_bytes each.
struct ServiceWork {
  std::uint8_t* pixels;
  int width, height;
  std::size_t row_bytes;
  bool bitmap;
};

// A new tag set of the bound service holding the stored maker texts and
// shooting values.
void* make_tag_set(LibraryState& library);

// The bound service's automatic set-up of the work, merged into it: its
// result taken whole, averaged with the work (setup_mode bit 0x20), or a
// third of it for a picture the camera rendered for effect. Frees the tag
// set and the result and notes that the service ran when it succeeds; 0,
// ZKIMGSET_SERVICE_REFUSED, _FAILED or _NO_RESULT.
int service_auto_setup(LibraryState& library, const std::string& folder, void* tags,
                       const ServiceWork& work);

}  // namespace zkimgset::setup
