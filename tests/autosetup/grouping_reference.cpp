#include "grouping_reference.h"

#include <algorithm>
#include <cstdlib>
#include <map>

namespace zkimgset::testing {

ReferenceGrouping reference_grouping(const _ThumbnailData& t, int toler, int cb_limit,
                                     int cr_limit) {
  constexpr int W = 128, H = 92, N = W * H;
  auto similar = [&](int a, int b) {
    return std::abs(t.plane[0][a] - t.plane[0][b]) <= toler &&
           std::abs(t.plane[3][a] - t.plane[3][b]) <= cb_limit &&
           std::abs(t.plane[1][a] - t.plane[1][b]) <= cr_limit;
  };
  std::vector<int> label(N, -1);
  int next = 0;
  label[0] = next++;
  for (int c = 1; c < W; ++c) label[c] = similar(c, c - 1) ? label[c - 1] : next++;
  for (int r = 1; r < H; ++r) {
    for (int c = 0; c < W; ++c) {
      const int i = r * W + c;
      std::vector<int> neighbours;
      if (c > 0) neighbours = {i - 1, i - W - 1};
      neighbours.push_back(i - W);
      if (c < W - 1) neighbours.push_back(i - W + 1);
      bool labelled = false;
      std::vector<int> merge;  // ascending
      for (int nb : neighbours) {
        if (!similar(i, nb)) continue;
        if (!labelled) {
          label[i] = label[nb];
          labelled = true;
        } else if (label[nb] != label[i]) {
          if (merge.empty()) {
            merge = {std::min(label[i], label[nb]), std::max(label[i], label[nb])};
          } else {
            merge.insert(std::lower_bound(merge.begin(), merge.end(), label[nb]), label[nb]);
          }
        }
      }
      if (!labelled) {
        label[i] = next++;
      } else if (!merge.empty()) {
        for (int p = 0; p <= i; ++p)
          if (label[p] != merge[0] &&
              std::find(merge.begin() + 1, merge.end(), label[p]) != merge.end())
            label[p] = merge[0];
      }
    }
  }
  ReferenceGrouping out;
  out.nextgrp = next;
  std::map<int, int> number;
  out.label.resize(N);
  for (int i = 0; i < N; ++i) {
    auto [it, fresh] = number.try_emplace(label[i], static_cast<int>(number.size()));
    out.label[i] = static_cast<std::uint16_t>(it->second);
  }
  out.allgrpno = static_cast<int>(number.size());
  return out;
}

}  // namespace zkimgset::testing
