// The process-wide state the library keeps between calls. One LibraryState
// serves the loaded library; tests build states of their own and hand them
// to the code under test.
#pragma once

#include <cstdint>

#include "colour/setup_table_cache.h"
#include "frame/service_binding.h"
#include "platform/library_lock.h"
#include "platform/zeroed_alloc.h"
#include "zkimgset/zkimgset.h"

namespace zkimgset {

// The shooting values: the last Exif values that GetAtParamEx,
// SetExifParam and SetExifParamEx stored and that the set-up driver passes
// on. They mirror an ExifParamEx up to its byte 595; Make and Model are
// MakerText1 and MakerText2 of the state.
struct ShootingValues {
  ExifParam param = ExifParam{0, 0, 0, 0, 0, kFlashUnknown, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
  std::uint16_t ISOSpeedRatings = 0;
  std::uint32_t ExposureTime[2] = {0, 0};
  std::uint32_t FNumber[2] = {0, 0};
  std::int32_t ShutterSpeedValue[2] = {0, 0};
  std::uint32_t ApertureValue[2] = {0, 0};

  static constexpr std::uint16_t kFlashUnknown = 255;
};

// The clamped adjustment values of ImageSetupExecEx, read by the colour
// arithmetic and the analysis.
struct SetupAdjustments {
  static constexpr std::int16_t kNeutralLevel = 100;
  static constexpr std::int16_t kNeutralBalanceStep = 7;  // shift 0, as a curve index

  std::int16_t SetupAdjustLevel = kNeutralLevel;
  std::int16_t SetupAdjustA = 0;
  std::int16_t SetupAdjustB = 0;
  std::int16_t SetupAdjustC = 0;
  std::int16_t SetupAdjustD = 0;
  std::int16_t BalanceStep1 = kNeutralBalanceStep;
  std::int16_t BalanceStep2 = kNeutralBalanceStep;
  std::int16_t BalanceStep3 = kNeutralBalanceStep;
};

// The colour arithmetic's process-wide state: the balance curve of each
// channel (shift + 7), the channel look-up table built from them, and the
// level stretch of the set-up colour table.
struct ColourMath {
  static constexpr std::int16_t kNoShift = 7;
  std::int16_t curve_index[3] = {kNoShift, kNoShift, kNoShift};
  std::uint8_t channel_table[256][3] = {};  // [input][channel]
  float white[3] = {255.0f, 255.0f, 255.0f};
  float black = 0.0f;
};

inline constexpr std::size_t kMakerTextBytes = 260;
inline constexpr std::int16_t kDefaultColorConvMode =
    ZKIMGSET_CONV_SKIP_3D_TABLE | ZKIMGSET_CONV_SKIP_1D_TABLE;

struct LibraryState {
  // Serialises the exports that lock; never re-entered.
  platform::LibraryLock lock;
  // The allocator attach used, so that detach frees with the same one.
  platform::ZeroedAllocator* allocator = nullptr;

  std::int32_t StartupStatus = ZKIMGSET_OK;
  std::uint8_t* ColorTable3dMain = nullptr;  // the set-up's own 3-D table
  std::uint8_t* ColorTable3dAlt = nullptr;   // the 3-D table from the table file
  std::uint8_t* Table1d = nullptr;           // R, G, B rows for levels 0..255
  std::int32_t Table3dStatus = ZKIMGSET_NOT_LOADED;
  std::int32_t Table1dStatus = ZKIMGSET_NOT_LOADED;
  std::int16_t ColorConvMode = kDefaultColorConvMode;
  std::uint16_t setup_mode = 0;
  std::int32_t ExifSetupEnabled = 1;
  char MakerText1[kMakerTextBytes] = {};  // Make
  char MakerText2[kMakerTextBytes] = {};  // Model
  ShootingValues shooting;
  SetupAdjustments adjust;
  ServiceBinding service;
  // 1 while the set-up driver's call has had the Exif-tag service's automatic
  // set-up correct the picture; the set-up colour table then does not blend.
  std::int32_t service_setup_ran = 0;
  ColourMath colour;
  // The inputs and nodes of the last set-up table built (its own key).
  colour::SetupTableCache setup_table_cache;
};

// The state of the loaded library.
LibraryState& library_state() noexcept;

}  // namespace zkimgset
