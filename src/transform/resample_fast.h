// Fast forms of the resample stages: vector code, 32-bit sums with division by
// reciprocals, and the spline sweep without its divisions. Each gives exactly
// the elements of the plain stage it stands in for, and answers false
// (leaving the work to the plain stage) when it doesn't apply or the vector
// level is plain; the level switches off the forms that aren't vector code
// too, so that a test at the plain level sees the plain stages alone.
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

// Windows of 8-bit elements that 32-bit sums and the reciprocal serve.
constexpr uint64_t kMaxWindow32 = Divider::kMaxDivisor;

// A narrowing 8-bit row without alpha weighting, by windows planned for the
// call: 32-bit sums and division by reciprocals.
template <class T>
bool h_area(const T *src, int64_t sw, T *dst, int64_t dw, int channels, const AreaStep *plan, uint32_t F,
            bool alpha) noexcept {
  if constexpr (std::is_same_v<T, uint8_t>) {
    if (!vectors() || alpha || plan == nullptr) return false;
    const int64_t c = channels;
    for (int64_t o = 0; o < dw; ++o) {
      const AreaStep &a = plan[o];
      const Divider &divide = a.divide;
      for (int64_t ch = 0; ch < c; ++ch) {
        uint32_t full = 0;
        for (int64_t p = a.first + 1; p < a.end; ++p) full += src[p * c + ch];
        uint32_t sum = src[a.first * c + ch] * a.wl + full * F;
        if (a.wr != 0) sum += src[a.end * c + ch] * a.wr;
        dst[o * c + ch] = static_cast<uint8_t>(divide(sum));
      }
    }
    return true;
  }
  (void)src, (void)sw, (void)dst, (void)dw, (void)channels, (void)plan, (void)F, (void)alpha;
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
// A row of 8-bit sums over a window of weight `den`, divided.
template <class T, class S>
bool divide_row(const S *acc, T *out, int64_t count, S den) noexcept {
  if constexpr (std::is_same_v<T, uint8_t>) {
    if (!vectors() || static_cast<uint64_t>(den) >= kMaxWindow32) return false;
    const Divider divide(static_cast<uint32_t>(den));
    for (int64_t i = 0; i < count; ++i) out[i] = static_cast<uint8_t>(divide(acc[i]));
    return true;
  }
  (void)acc, (void)out, (void)count, (void)den;
  return false;
}
#ifdef RV_RESAMPLE_X86
namespace x86 {
void h_spline_sse2(const uint8_t *src, int64_t sw, uint8_t *dst, int64_t dw, int32_t channels, const float *D,
                   float *row, const SplineStep *plan) noexcept;
void spline_window_avx2(const uint8_t *a, const uint8_t *b, const uint8_t *c, const uint8_t *e, float *db,
                        float *dc, float *bf, float *cf, int64_t count) noexcept;
void spline_rows_avx2(const float *bf, const float *cf, const float *db, const float *dc, const SplineWeights &w,
                      uint8_t *out, int64_t count) noexcept;
}  // namespace x86
#endif

// The forward sweep's coefficient depends only on how many pixels have gone
// by since the coupling was last cut: -1 / (previous + 4) from 0 reaches its
// fixed point in single precision after seven steps. Counting them gives the
// same floats as the chain of divisions, without its latency.
struct CountedCoefficient {
  static constexpr int kSteps = 7;
  struct Table {
    float d[kSteps + 1];
    Table() noexcept {
      DividedCoefficient chain;
      d[0] = 0.0f;
      for (int k = 1; k <= kSteps; ++k) d[k] = chain.next();
    }
  };
  int run = 0;
  void cut() noexcept { run = 0; }
  float next() noexcept {
    static const Table table;
    run = std::min(run + 1, kSteps);
    return table.d[run];
  }
};

template <class T, int C>
bool spline_derivatives(const T *y, int64_t n, float *D, float *U) noexcept {
  if (!vectors()) return false;
  rv::resample::spline_derivatives<T, C, CountedCoefficient>(y, n, D, U);
  return true;
}

// A widening spline row of 3 or 4 channels; `row` (sw x channels floats with
// room past the end) is scratch.
template <class T>
bool h_spline(const T *src, int64_t sw, T *dst, int64_t dw, int channels, const float *D, float *row,
              const SplineStep *plan) noexcept {
#ifdef RV_RESAMPLE_X86
  if constexpr (std::is_same_v<T, uint8_t>) {
    if (vectors() && (channels == 3 || channels == 4)) {
      x86::h_spline_sse2(src, sw, dst, dw, channels, D, row, plan);
      return true;
    }
  }
#endif
  (void)src, (void)sw, (void)dst, (void)dw, (void)channels, (void)D, (void)row, (void)plan;
  return false;
}

template <class T>
bool spline_window(const T *a, const T *b, const T *c, const T *e, float *db, float *dc, float *bf, float *cf,
                   int64_t count) noexcept {
#ifdef RV_RESAMPLE_X86
  if constexpr (std::is_same_v<T, uint8_t>) {
    if (simd::level() == simd::Level::Avx2) {
      x86::spline_window_avx2(a, b, c, e, db, dc, bf, cf, count);
      return true;
    }
  }
#endif
  (void)a, (void)b, (void)c, (void)e, (void)db, (void)dc, (void)bf, (void)cf, (void)count;
  return false;
}

template <class T>
bool spline_rows(const float *bf, const float *cf, const float *db, const float *dc, const SplineWeights &w, T *out,
                 int64_t count) noexcept {
#ifdef RV_RESAMPLE_X86
  if constexpr (std::is_same_v<T, uint8_t>) {
    if (simd::level() == simd::Level::Avx2) {
      x86::spline_rows_avx2(bf, cf, db, dc, w, out, count);
      return true;
    }
  }
#endif
  (void)bf, (void)cf, (void)db, (void)dc, (void)w, (void)out, (void)count;
  return false;
}

}  // namespace rv::resample::fast
