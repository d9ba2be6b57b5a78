// Copying pixels while exchanging their first and third byte (R, G, B to
// B, G, R and back): the byte-order exports' inner loop. A plain kernel and
// an AVX2 one, chosen by platform/kernel_choice.h.
#pragma once

#include <cstddef>
#include <cstdint>

namespace zkimgset::colour {

// n pixels from src to dst, which may be src itself or lie below it.
void swap_run(std::uint8_t* dst, const std::uint8_t* src, std::size_t n) noexcept;

void swap_run_plain(std::uint8_t* dst, const std::uint8_t* src, std::size_t n) noexcept;
#if defined(__x86_64__) || defined(__i386__)
void swap_run_avx2(std::uint8_t* dst, const std::uint8_t* src, std::size_t n) noexcept;
#endif

}  // namespace zkimgset::colour
