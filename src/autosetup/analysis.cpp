// The order of the analysis. setup_mode is library state: the bits this code
// clears (an unusable picture keeps only bit 6; a picture too busy or too
// flat for grouping loses bit 4) stay cleared for later calls, as they always
// have.
#include "autosetup/analysis.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <memory>

#include "autosetup/gradation.h"
#include "autosetup/grouping.h"
#include "autosetup/saturation.h"
#include "autosetup/statistics.h"
#include "autosetup/thumbnail.h"
#include "geometry/content_rectangle.h"
#include "geometry/size_rules.h"
#include "platform/zeroed_alloc.h"

namespace zkimgset::autosetup {
namespace {

constexpr int kMaxGroupingDifference = 50;  // dif_av at or above: too busy to group
constexpr int kMaxChromaDifference = 28;    // Cb + Cr differences above: too busy
constexpr int kMaxArgumentSide = 32767;
constexpr std::uint16_t kStageBits = 0x1F;  // bits 0..4

bool has(const LibraryState& library, unsigned bits) { return (library.setup_mode & bits) != 0; }
void clear(LibraryState& library, unsigned bits) {
  library.setup_mode = static_cast<std::uint16_t>(library.setup_mode & ~bits);
}

}  // namespace

void run_analysis(_ThumbnailData& thumb, AnalysisState& s, LibraryState& library) noexcept {
  if (!run_statistics(thumb, s, library)) library.setup_mode &= ZKIMGSET_SETUP_SATURATION_KEEP;
  if (has(library, kStageBits)) {
    neighbour_differences(thumb, s);
    if (s.dif_av >= kMaxGroupingDifference || s.dif_av < 1 ||
        s.groups.cb_dif + s.groups.cr_dif > kMaxChromaDifference)
      clear(library, ZKIMGSET_SETUP_GROUP_DENSITY);
  }
  if (has(library, ZKIMGSET_SETUP_GROUP_DENSITY) && !group_pixels(thumb, s)) {
    widen_tolerances(s);
    if (!group_pixels(thumb, s)) clear(library, ZKIMGSET_SETUP_GROUP_DENSITY);
  }
  if (has(library, ZKIMGSET_SETUP_GROUP_DENSITY)) {
    exclude_extreme_groups(s);
    select_subject(s, library);
  } else if (has(library, ZKIMGSET_SETUP_SIMPLE_DENSITY)) {
    simple_density(s);
  }
}

void run_correction(AnalysisState& s, LibraryState& library) noexcept {
  if (!has(library, ZKIMGSET_SETUP_BALANCE)) {
    s.cb_ofs = s.cr_ofs = 0;
    std::fill(std::begin(s.gain), std::end(s.gain), 1.0f);
  }
  if (has(library, ZKIMGSET_SETUP_SATURATION | ZKIMGSET_SETUP_SATURATION_KEEP)) {
    full_saturation_table(s, library);
  } else {
    default_saturation_table(s.sat_coef);
  }
  if (has(library, ZKIMGSET_SETUP_SIMPLE_DENSITY | ZKIMGSET_SETUP_GROUP_DENSITY)) {
    full_gradation(s, library);
  } else {
    default_gradation(s, library);
  }
  final_tone_table(s, library);
}

int get_at_param(const std::uint8_t* image, int width, int height, AutoSetupParam* result,
                 std::uint16_t flash, std::int32_t brightness_mother, std::int32_t brightness_child,
                 AnalysisState& s, LibraryState& library) noexcept {
  if (image == nullptr || result == nullptr || width < 1 || height < 1 ||
      width > kMaxArgumentSide || height > kMaxArgumentSide)
    return ZKIMGSET_BAD_ARGUMENT;
  if (!geometry::analysis_size_accepted(width, height)) return ZKIMGSET_BAD_SIZE;
  platform::ZeroedAllocator& heap = platform::system_allocator();
  struct Release {
    platform::ZeroedAllocator& heap;
    void operator()(void* p) const { heap.release(p); }
  };
  std::unique_ptr<_ThumbnailData, Release> thumb(
      static_cast<_ThumbnailData*>(heap.allocate(sizeof(_ThumbnailData))), Release{heap});
  if (!thumb) return ZKIMGSET_OUT_OF_MEMORY;

  const geometry::Picture picture{image, width, height, geometry::Layout::PackedRgb};
  make_thumbnail(picture, geometry::content_rectangle(picture), *thumb);
  ExifParam& shot = library.shooting.param;
  shot.Flash = flash;
  shot.BrightnessValue_num = brightness_child;
  shot.BrightnessValue_den = brightness_mother;
  run_analysis(*thumb, s, library);
  run_correction(s, library);

  std::memcpy(result->tone, s.tone, sizeof result->tone);
  result->cr_ofs = s.cr_ofs;
  result->cb_ofs = s.cb_ofs;
  std::memcpy(result->sat_coef, s.sat_coef, sizeof result->sat_coef);
  return ZKIMGSET_OK;
}

}  // namespace zkimgset::autosetup
