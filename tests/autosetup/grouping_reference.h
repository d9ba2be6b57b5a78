// The grouping exactly as the format describes it, relabelling every pixel
// so far at each merge: slow, kept only as the reference the fast grouping
// must match label for label.
#pragma once

#include <cstdint>
#include <vector>

#include "zkimgset/zkimgset.h"

namespace zkimgset::testing {

struct ReferenceGrouping {
  std::vector<std::uint16_t> label;  // renumbered by first appearance
  int nextgrp = 0, allgrpno = 0;
};

ReferenceGrouping reference_grouping(const _ThumbnailData& thumb, int toler, int cb_limit,
                                     int cr_limit);

}  // namespace zkimgset::testing
