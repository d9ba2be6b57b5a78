// Exact division of a pass's sums by its divisor (2 x new width for the
// linear kernels, 65536 for the filters), limited to 0..255: a multiply and
// shifts instead of a divide per byte while the sum fits in 32 bits, which
// it always does below a new width of 8 million.
#pragma once

#include <algorithm>
#include <cstdint>

namespace zkimgset::resize {

using Int = std::int64_t;

class Divider {
 public:
  explicit Divider(Int divisor) : d_(static_cast<std::uint64_t>(divisor)) {
    while ((std::uint64_t{1} << shift_) < d_) ++shift_;
    if (d_ > 1 && d_ <= 0xFFFFFFFFu)
      multiplier_ = static_cast<std::uint32_t>(
          ((std::uint64_t{1} << 32) * ((std::uint64_t{1} << shift_) - d_)) / d_ + 1);
  }

  // sum / divisor, truncated; a negative sum (kernel 3's weights can be
  // negative) gives 0.
  std::uint8_t level(Int sum) const {
    if (sum <= 0) return 0;
    const auto x = static_cast<std::uint64_t>(sum);
    std::uint64_t q;
    if (d_ == 1) {
      q = x;
    } else if (x > 0xFFFFFFFFu || multiplier_ == 0) {
      q = x / d_;
    } else {
      const auto x32 = static_cast<std::uint32_t>(x);
      const auto t = static_cast<std::uint32_t>((std::uint64_t{multiplier_} * x32) >> 32);
      q = (((x32 - t) >> 1) + t) >> (shift_ - 1);
    }
    return static_cast<std::uint8_t>(std::min<std::uint64_t>(q, 255));
  }

  // The multiply-and-shift form for the vector passes: exact for every sum
  // in 32 bits; a multiplier of 0 when the divisor has none (1, or past 32
  // bits).
  std::uint32_t multiplier() const { return d_ > 1 ? multiplier_ : 0; }
  int shift() const { return shift_; }

 private:
  std::uint64_t d_;
  std::uint32_t multiplier_ = 0;
  int shift_ = 0;
};

}  // namespace zkimgset::resize
