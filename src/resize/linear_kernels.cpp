// Kernels 1 and 2: linear interpolation between two source pixels at
// position p, in units of 1 / D of a source pixel (D = 2 x new width). The
// two kernels sample half a source pixel apart (kernel 1 at cw (2x + 1),
// kernel 2 at cw - new width + 2x cw), and limit their last taps
// differently; both kept on purpose. The vertical passes use the
// horizontal ratio for rows too.
#include "resize/kernels.h"

namespace zkimgset::resize {
namespace {

enum class Limit {
  SecondTap,           // kernel 1 across: the second tap stays on the last pixel
  BothTaps,            // kernel 1 down: both taps on the last row, weights as they were
  None,                // kernel 2 across
  BothTapsReweighted,  // kernel 2 down: weights from the limited taps
};

// Positions p(x) = first + x step, kept as a quotient and remainder of D
// so that no division is made per output.
class LinearWalker {
 public:
  LinearWalker(Int first, Int step, Int d, Int last, Limit limit)
      : d_(d),
        step_q_(step / d),
        step_r_(step % d),
        i0_(first / d),
        r_(first % d),
        last_(last),
        limit_(limit) {}

  template <class Emit>
  void next(Emit emit) {
    Int i0 = i0_, i1 = i0_ + 1, w0 = d_ - r_, w1 = r_;
    if (i0 >= last_) {
      switch (limit_) {
        case Limit::SecondTap:
          i1 = i0;
          break;
        case Limit::BothTaps:
          i0 = i1 = last_;
          break;
        case Limit::BothTapsReweighted:
          w1 = (i0_ - last_) * d_ + r_;  // p - last x D
          w0 = d_ - w1;                  // (last + 1) x D - p
          i0 = i1 = last_;
          break;
        case Limit::None:
          break;
      }
    }
    emit(i0, w0);
    emit(i1, w1);
    i0_ += step_q_;
    r_ += step_r_;
    if (r_ >= d_) {
      r_ -= d_;
      ++i0_;
    }
  }

 private:
  Int d_, step_q_, step_r_, i0_, r_, last_;
  Limit limit_;
};

}  // namespace

bool run_linear(const KernelJob& job) {
  const Int cw = job.plan.cut_width, ch = job.plan.cut_height, nw = job.new_width;
  const Int d = 2 * nw, step = 2 * cw;
  const bool enlarge = job.plan.kernel == 1;
  const Int first = enlarge ? cw : cw - nw;
  return two_passes(
      job.cut, job.mid_height,
      [&] {
        return LinearWalker(first, step, d, cw - 1, enlarge ? Limit::SecondTap : Limit::None);
      },
      LinearWalker(first, step, d, ch - 1, enlarge ? Limit::BothTaps : Limit::BothTapsReweighted),
      nw, d, job.out);
}

}  // namespace zkimgset::resize
