// Which twin of each pixel kernel runs: the vector one where the processor
// has AVX2, else the plain one. Chosen once, at first use;
// ZKIMGSET_PLAIN_KERNELS=1 in the environment keeps the plain kernels, so
// that the whole test suite can run on each, and tests and benchmarks may
// switch between them.
#pragma once

namespace zkimgset::platform {

// True while the vector kernels are in use.
bool vector_kernels() noexcept;

// Uses only the plain kernels (true) or goes back to the first choice
// (false). Returns whether the vector kernels are now in use.
bool force_plain_kernels(bool plain) noexcept;

}  // namespace zkimgset::platform
