// Vector kernels of the colour subsystem. Each one gives the same bytes as
// the plain code it stands in for; callers pick them by rv::simd::level().
// The x86 versions are compiled with the instruction set named in their
// namespace and must only be called when the processor has it.
#pragma once
#include <cstdint>

#include "ruvokit/rvtypes.h"

namespace rv::color::kernels {

#if defined(__x86_64__) || defined(__i386__)
#define RV_COLOR_X86_KERNELS 1
#endif

#ifdef RV_COLOR_X86_KERNELS

// --- palette search --------------------------------------------------------------------
// Squared distances of `count` entries to the colour `bgr` (blue in bits 0-7,
// green 8-15, red 16-23) into `out`; returns the least of them.
namespace sse2 {
uint32_t distances(const RGBQUAD *entries, int32_t count, uint32_t bgr, uint32_t *out) noexcept;
// The first position at or after `from` below `count` whose value is `value`,
// or -1.
int32_t find_equal(const uint32_t *values, int32_t from, int32_t count, uint32_t value) noexcept;
}  // namespace sse2
namespace avx2 {
uint32_t distances(const RGBQUAD *entries, int32_t count, uint32_t bgr, uint32_t *out) noexcept;
}  // namespace avx2

// --- pixel conversion ------------------------------------------------------------------
// In place over `width` pixels, in the direction that lets one buffer hold
// both forms. `swap` exchanges red and blue on the way; `red_first` says that
// the 24-bit side is in red-green-blue order.
struct Rgb16Layout {
  uint32_t red_shift;   // 10, 0 or 11 (5-6-5)
  uint32_t green_bits;  // 5 or 6
  uint32_t blue_shift;  // 0 or 10
};

namespace ssse3 {
void swap24(uint8_t *buffer, int32_t width) noexcept;
void rgb24_to_32(uint8_t *buffer, int32_t width, bool swap) noexcept;
void rgb32_to_24(uint8_t *buffer, int32_t width, bool swap) noexcept;
void rgb24_to_48(uint8_t *buffer, int32_t width, bool swap) noexcept;
void rgb48_to_24(uint8_t *buffer, int32_t width, bool swap) noexcept;
void rgb24_to_16(uint8_t *buffer, int32_t width, Rgb16Layout layout, bool red_first) noexcept;
void rgb16_to_24(uint8_t *buffer, int32_t width, Rgb16Layout layout, bool red_first) noexcept;
void rgb24_to_gray8(uint8_t *buffer, int32_t width, bool red_first) noexcept;
// Indexes of 8 or 1 bits through a table of colours (blue in the low byte).
void index8_to_24(uint8_t *buffer, int32_t width, const uint32_t *colors, bool red_first) noexcept;
void index1_to_24(uint8_t *buffer, int32_t width, const uint32_t *colors, bool red_first) noexcept;
}  // namespace ssse3
namespace avx2 {
void rgb24_to_32(uint8_t *buffer, int32_t width, bool swap) noexcept;
void rgb16_to_24(uint8_t *buffer, int32_t width, Rgb16Layout layout, bool red_first) noexcept;
}  // namespace avx2

#endif

}  // namespace rv::color::kernels
