// Process attach and detach, in the order the library has always used:
// the set-up table, then the file 3-D table and its load, then the 1-D table
// and its load, then the maker texts. A failed start-up never refuses the
// load; the exports that check StartupStatus report it.
#include "frame/attach.h"

#include <cstring>

#include "colour/table_files.h"
#include "colour/table_limits.h"
#include "frame/guard.h"

namespace zkimgset {
namespace {

// Allocates *buffer unless it already exists; false when that fails.
bool ensure_buffer(platform::ZeroedAllocator& allocator, std::uint8_t*& buffer, std::size_t size) {
  if (buffer == nullptr) buffer = static_cast<std::uint8_t*>(allocator.allocate(size));
  return buffer != nullptr;
}

void release_buffer(platform::ZeroedAllocator& allocator, std::uint8_t*& buffer) {
  if (buffer != nullptr) allocator.release(buffer);
  buffer = nullptr;
}

}  // namespace

void attach(LibraryState& state, platform::ZeroedAllocator& allocator) noexcept {
  state.allocator = &allocator;
  if (!ensure_buffer(allocator, state.ColorTable3dMain, colour::kTable3dBytes))
    state.StartupStatus = ZKIMGSET_OUT_OF_MEMORY;

  if (state.StartupStatus == ZKIMGSET_OK) {
    if (ensure_buffer(allocator, state.ColorTable3dAlt, colour::kTable3dBytes)) {
      state.Table3dStatus = guarded(ZKIMGSET_TABLE3D_FAILED, [&] {
        return colour::set_3d_file(state, nullptr, colour::Grid3d::Nodes32);
      });
    } else {
      state.StartupStatus = ZKIMGSET_OUT_OF_MEMORY;
    }
  }

  if (state.StartupStatus == ZKIMGSET_OK) {
    if (ensure_buffer(allocator, state.Table1d, colour::kTable1dBytes)) {
      state.Table1dStatus = guarded(ZKIMGSET_TABLE1D_FAILED,
                                    [&] { return colour::set_1d_file(state, kDefault1dFile); });
    } else {
      state.StartupStatus = ZKIMGSET_OUT_OF_MEMORY;
    }
  }

  std::memset(state.MakerText1, 0, sizeof state.MakerText1);
  std::memset(state.MakerText2, 0, sizeof state.MakerText2);
}

void detach(LibraryState& state) noexcept {
  if (state.allocator == nullptr) return;
  release_buffer(*state.allocator, state.ColorTable3dMain);
  release_buffer(*state.allocator, state.ColorTable3dAlt);
  release_buffer(*state.allocator, state.Table1d);
}

}  // namespace zkimgset
