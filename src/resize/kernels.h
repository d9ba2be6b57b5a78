// The four kernels, each as its two passes over a source cut into the
// caller's bitmap. A kernel allocates its tables and the passes' ring of
// intermediate rows without throwing, and returns false when it cannot.
#pragma once

#include "resize/passes.h"
#include "zkimgset/zkimgset.h"

namespace zkimgset::resize {

// What a kernel works from: the plan, the requested width (positions are
// measured in 1 / (2 x new width) of a source pixel in both passes), the
// cut's rows (mid_height of them, at least 1) and the result.
struct KernelJob {
  ZKImgSetResizePlan plan;
  int new_width;
  SourceCut cut;
  int mid_height;
  Rows out;
};

// Kernels 1 (enlarge or keep) and 2 (down to a half): two taps a output.
bool run_linear(const KernelJob& job);
// Kernel 3 (a half to a third): distance-weighted 2 or 3 taps.
bool run_kernel3(const KernelJob& job);
// Kernel 4 (below a third): tabled weights over the covered pixels.
bool run_kernel4(const KernelJob& job);

}  // namespace zkimgset::resize
