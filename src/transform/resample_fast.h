// Vector forms of the resample stages. Each gives exactly the elements of the
// plain stage it stands in for, and answers false (leaving the work to the
// plain stage) when it doesn't apply or the vector level is plain.
#pragma once
#include <algorithm>
#include <cstdint>
#include <type_traits>

#include "internal/simd.h"
#include "transform/resample_rows.h"

#if defined(__x86_64__) || defined(__i386__)
#define RV_RESAMPLE_X86 1
#endif

namespace rv::resample::fast {

#ifdef RV_RESAMPLE_X86
namespace x86 {

// The rounded-up reciprocal of n in 16 bits: the high half of x times it is
// x / n for every sum x of an 8-bit ramp of n up to 16.
constexpr uint32_t reciprocal(uint32_t n) { return (65536 + n - 1) / n; }
constexpr uint32_t kMaxRamp = 16;

// Element j of the ramps of n from cur to next, over `count` elements.
void ramp_row_sse2(const uint8_t *cur, const uint8_t *next, uint8_t *out, int64_t count, uint32_t j,
                   uint32_t n) noexcept;
void ramp_row_avx2(const uint8_t *cur, const uint8_t *next, uint8_t *out, int64_t count, uint32_t j,
                   uint32_t n) noexcept;
// The horizontal ramp of a whole factor n, pixels of 3 or 4 channels.
void h_ramp_ssse3(const uint8_t *src, int64_t sw, uint8_t *dst, int64_t dw, int32_t channels, uint32_t n) noexcept;

}  // namespace x86
#endif

inline bool vectors() noexcept { return simd::level() != simd::Level::Plain; }

template <class T>
bool h_area(const T *, int64_t, T *, int64_t, int, int32_t, bool) noexcept {
  return false;
}

template <class T>
bool h_ramp(const T *src, int64_t sw, T *dst, int64_t dw, int channels, int64_t xq, int64_t xr) noexcept {
#ifdef RV_RESAMPLE_X86
  if constexpr (std::is_same_v<T, uint8_t>) {
    if (vectors() && xr == 0 && xq <= x86::kMaxRamp && (channels == 3 || channels == 4)) {
      x86::h_ramp_ssse3(src, sw, dst, dw, channels, static_cast<uint32_t>(xq));
      return true;
    }
  }
#endif
  (void)src, (void)sw, (void)dst, (void)dw, (void)channels, (void)xq, (void)xr;
  return false;
}

// Whether ramp_row serves ramps of n between rows of these elements.
template <class T>
bool ramp_ready(const T *, int64_t n) noexcept {
#ifdef RV_RESAMPLE_X86
  if constexpr (std::is_same_v<T, uint8_t>) return vectors() && n >= 2 && n <= x86::kMaxRamp;
#endif
  (void)n;
  return false;
}

template <class T>
void ramp_row(const T *cur, const T *next, T *out, int64_t count, int64_t j, int64_t n) noexcept {
#ifdef RV_RESAMPLE_X86
  if constexpr (std::is_same_v<T, uint8_t>) {
    if (simd::level() == simd::Level::Avx2) {
      x86::ramp_row_avx2(cur, next, out, count, static_cast<uint32_t>(j), static_cast<uint32_t>(n));
    } else {
      x86::ramp_row_sse2(cur, next, out, count, static_cast<uint32_t>(j), static_cast<uint32_t>(n));
    }
    return;
  }
#endif
  (void)cur, (void)next, (void)out, (void)count, (void)j, (void)n;
}

template <class T, class S>
bool add_row(const T *, S *, int64_t, uint64_t) noexcept {
  return false;
}
template <class T, class S>
bool divide_row(const S *, T *, int64_t, S) noexcept {
  return false;
}
template <class T>
bool spline_rows(const float *, const float *, const float *, const float *, const SplineWeights &, T *,
                 int64_t) noexcept {
  return false;
}

}  // namespace rv::resample::fast
