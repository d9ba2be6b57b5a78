// Starting and stopping the library for a process: allocating the table
// buffers and loading the default tables, then freeing them.
#pragma once

#include "frame/library_state.h"
#include "platform/zeroed_alloc.h"

namespace zkimgset {

// The default 1-D table file, beside the library.
inline constexpr const char* kDefault1dFile = "ZK1DDATA.DAT";

// Process attach. Never fails: a buffer that cannot be allocated sets
// StartupStatus to 3 and skips the allocations and loads after it.
void attach(LibraryState& state, platform::ZeroedAllocator& allocator) noexcept;

// Process detach: frees the three table buffers. The Exif-tag service is
// released by the driver after every call, not here.
void detach(LibraryState& state) noexcept;

}  // namespace zkimgset
