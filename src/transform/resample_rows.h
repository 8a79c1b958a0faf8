// The row stages of the interpolating engines, in their plain form: each
// works on rows of work elements (8, 16 or 32 bits, C channels a pixel) with
// sums of 64 bits, which no picture can overflow. The vector forms in
// resample_fast.h give the same elements.
#pragma once
#include <algorithm>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace rv::resample {

template <class T>
struct Elem {
  // Sums of unsigned elements are unsigned, so that even an absurd ratio
  // wraps instead of overflowing.
  using Sum = std::conditional_t<std::is_signed_v<T>, int64_t, uint64_t>;
  static constexpr int64_t kLo = std::numeric_limits<T>::min();
  static constexpr int64_t kHi = std::numeric_limits<T>::max();
  static T clamp(Sum v) noexcept {
    if constexpr (std::is_signed_v<T>) {
      return static_cast<T>(v < kLo ? kLo : v > kHi ? kHi : v);
    } else {
      return static_cast<T>(v > static_cast<Sum>(kHi) ? kHi : v);
    }
  }
};

// The divisor of an exact multiple: a shift when the block is a power of two
// (for signed elements that rounds down, as a shift does), else a division.
struct BoxDivisor {
  uint64_t k;
  int32_t shift;  // -1: divide
  explicit BoxDivisor(uint64_t block) noexcept : k(block), shift(-1) {
    if ((block & (block - 1)) == 0) shift = __builtin_ctzll(block);
  }
  template <class S>
  S operator()(S sum) const noexcept {
    return shift >= 0 ? static_cast<S>(sum >> shift) : static_cast<S>(sum / static_cast<S>(k));
  }
};

// The window of the area form: the first pixel with the left weight, the
// full pixels, and the pixel at the end with the right weight. `F` is the
// weight of a whole pixel. The fraction of the step is rounded to the nearest
// 1/F when `round` is set; the whole step is the rounded step's when
// `whole_from_step` is set (along rows), else the plain quotient (down
// columns, where the spline engine rounds the fraction alone).
struct AreaWalk {
  uint64_t F, wl, wr, si, sf;
  int64_t first, end, size;
  AreaWalk(int64_t src, int64_t dst, int32_t fraction_bits, bool round, bool whole_from_step) noexcept
      : F(uint64_t{1} << fraction_bits), size(src) {
    const uint64_t step =
        ((static_cast<uint64_t>(src) << fraction_bits) + (round ? static_cast<uint64_t>(dst) / 2 : 0)) /
        static_cast<uint64_t>(dst);
    si = whole_from_step ? step >> fraction_bits : static_cast<uint64_t>(src / dst);
    sf = step & (F - 1);
    wl = F;
    wr = (static_cast<uint64_t>(src % dst) << fraction_bits) / static_cast<uint64_t>(dst);
    first = 0;
    end = src / dst;
  }
  // The pixel of the window's first weight, kept inside the picture.
  int64_t first_pixel() const noexcept { return std::min(first, size - 1); }
  bool has_right() const noexcept { return end < size && wr != 0; }
  void advance() noexcept {
    wl = F - wr;
    wr += sf;
    uint64_t carry = 0;
    if (wr >= F) {
      wr -= F;
      carry = 1;
    }
    first = end;
    end = std::min<int64_t>(size, end + static_cast<int64_t>(si + carry));
  }
};

// Division of 8-bit sums by an invariant divisor as a product with its
// reciprocal: a quotient up to 255 (a dividend up to 255 x d) comes out exact
// when the reciprocal is rounded up at 2^k with 2^k at least 255 x d x d,
// and the product stays within 64 bits for d below 2^23.
struct Divider {
  uint64_t m = 0;
  uint32_t shift = 0;
  static constexpr uint32_t kMaxDivisor = uint32_t{1} << 23;
  Divider() = default;
  explicit Divider(uint32_t d) noexcept {
    const uint64_t span = 255 * static_cast<uint64_t>(d) * d;
    shift = span <= 1 ? 0 : 64 - static_cast<uint32_t>(__builtin_clzll(span - 1));
    m = ((uint64_t{1} << shift) + d - 1) / d;
  }
  uint32_t operator()(uint64_t x) const noexcept { return static_cast<uint32_t>((x * m) >> shift); }
};

// One output's window along a row, the same for every row of a call.
struct AreaStep {
  int32_t first, end;  // the left pixel (kept inside the row) and the pixel after the full ones
  uint32_t wl, wr;     // wr is 0 when there is no right pixel
  uint32_t den;
  Divider divide;  // by den
};

// The windows of a narrowing row, from the walk.
inline void area_plan(int64_t sw, int64_t dw, int32_t fraction_bits, AreaStep *plan) noexcept {
  AreaWalk walk(sw, dw, fraction_bits, true, true);
  for (int64_t o = 0; o < dw; ++o, walk.advance()) {
    AreaStep &a = plan[o];
    a.first = static_cast<int32_t>(walk.first_pixel());
    a.end = static_cast<int32_t>(walk.end);
    a.wl = static_cast<uint32_t>(walk.wl);
    a.wr = walk.has_right() ? static_cast<uint32_t>(walk.wr) : 0;
    a.den = static_cast<uint32_t>(walk.wl + walk.F * static_cast<uint64_t>(std::max<int64_t>(walk.end - walk.first - 1, 0)) +
                                  a.wr);
    a.divide = Divider(a.den);
  }
}

// --- horizontal stage --------------------------------------------------------------------

// Widening: a ramp from each source pixel to the next over n outputs, n being
// the whole ratio plus the carry of its rest. The first output of a segment
// is the source value itself; the first segment is preceded by n / 2 copies
// of it, which centres the pixel on its outputs; past the last pixel the ramp
// is flat.
template <class T, int C>
void h_ramp(const T *src, int64_t sw, T *dst, int64_t dw, int64_t xq, int64_t xr) noexcept {
  int64_t accum = 0, i = 0, o = 0;
  bool first = true;
  int64_t cur[C], next[C];
  for (int ch = 0; ch < C; ++ch) cur[ch] = src[ch];
  while (o < dw) {
    accum += xr;
    int64_t n = xq;
    if (accum >= sw) {
      ++n;
      accum -= sw;
    }
    const T *np = i + 1 < sw ? src + (i + 1) * C : src + i * C;
    for (int ch = 0; ch < C; ++ch) next[ch] = np[ch];
    if (first) {
      for (int64_t k = std::min(n / 2, dw - o); k > 0; --k, ++o) {
        for (int ch = 0; ch < C; ++ch) dst[o * C + ch] = static_cast<T>(cur[ch]);
      }
      first = false;
    }
    if (o >= dw) break;
    for (int ch = 0; ch < C; ++ch) dst[o * C + ch] = static_cast<T>(cur[ch]);
    ++o;
    if (n > 1 && o < dw) {
      int64_t q[C], r[C], v[C], rest[C];
      for (int ch = 0; ch < C; ++ch) {
        const int64_t d = next[ch] - cur[ch];
        q[ch] = d / n;
        r[ch] = d % n;
        if (r[ch] < 0) {
          r[ch] += n;
          --q[ch];
        }
        v[ch] = cur[ch];
        rest[ch] = 0;
      }
      for (int64_t j = 1; j < n && o < dw; ++j, ++o) {
        for (int ch = 0; ch < C; ++ch) {
          v[ch] += q[ch];
          rest[ch] += r[ch];
          if (rest[ch] >= n) {
            rest[ch] -= n;
            ++v[ch];
          }
          dst[o * C + ch] = static_cast<T>(v[ch]);
        }
      }
    }
    for (int ch = 0; ch < C; ++ch) cur[ch] = next[ch];
    if (i + 1 < sw) ++i;
  }
}

// Adds a pixel to the sums of an output with weight w. With alpha weighting
// (four channels, the last alpha) a colour weighs ((alpha + 1) x w) >> shift
// and those weights are summed apart; alpha weighs w.
template <class T, int C>
inline void add_pixel(typename Elem<T>::Sum *sum, typename Elem<T>::Sum &weight, const T *p, uint64_t w, bool weigh,
                      int shift) noexcept {
  using S = typename Elem<T>::Sum;
  if constexpr (C == 4) {
    if (weigh) {
      const S cw = static_cast<S>(((static_cast<uint64_t>(p[3]) + 1) * w) >> shift);
      for (int ch = 0; ch < 3; ++ch) sum[ch] += static_cast<S>(p[ch]) * cw;
      weight += cw;
      sum[3] += static_cast<S>(p[3]) * static_cast<S>(w);
      return;
    }
  }
  for (int ch = 0; ch < C; ++ch) sum[ch] += static_cast<S>(p[ch]) * static_cast<S>(w);
}

// An output pixel from its sums: weighed colours by their weight (0 where
// nothing weighed), the rest by `divide`.
template <class T, int C, class Divide>
inline void put_pixel(T *out, const typename Elem<T>::Sum *sum, typename Elem<T>::Sum weight, bool weigh,
                      const Divide &divide) noexcept {
  int ch = 0;
  if constexpr (C == 4) {
    if (weigh) {
      for (; ch < 3; ++ch) out[ch] = weight != 0 ? Elem<T>::clamp(sum[ch] / weight) : T(0);
    }
  }
  for (; ch < C; ++ch) out[ch] = Elem<T>::clamp(divide(sum[ch]));
}

// Narrowing by exact areas. A whole multiple averages its blocks. Otherwise
// each output weighs its first pixel by the left weight, the pixels inside
// fully, and the pixel at the end by the right weight. With alpha weighting
// colours weigh by alpha plus one (times the area, shifted down by 8, in the
// partial form), so that transparent pixels don't darken the result.
template <class T, int C>
void h_area(const T *src, int64_t sw, T *dst, int64_t dw, int32_t fraction_bits, bool alpha) noexcept {
  using S = typename Elem<T>::Sum;
  const bool weigh = alpha && C == 4;
  if (sw % dw == 0) {
    const int64_t k = sw / dw;
    const BoxDivisor box(static_cast<uint64_t>(k));
    for (int64_t o = 0; o < dw; ++o) {
      const T *p = src + o * k * C;
      S sum[C] = {};
      S weight = 0;
      for (int64_t t = 0; t < k; ++t, p += C) add_pixel<T, C>(sum, weight, p, 1, weigh, 0);
      put_pixel<T, C>(dst + o * C, sum, weight, weigh, box);
    }
    return;
  }
  AreaWalk walk(sw, dw, fraction_bits, true, true);
  for (int64_t o = 0; o < dw; ++o, walk.advance()) {
    S sum[C] = {};
    S weight = 0;
    S den = static_cast<S>(walk.wl);
    add_pixel<T, C>(sum, weight, src + walk.first_pixel() * C, walk.wl, weigh, 8);
    for (int64_t p = walk.first + 1; p < walk.end; ++p) {
      add_pixel<T, C>(sum, weight, src + p * C, walk.F, weigh, 8);
      den += static_cast<S>(walk.F);
    }
    if (walk.has_right()) {
      add_pixel<T, C>(sum, weight, src + walk.end * C, walk.wr, weigh, 8);
      den += static_cast<S>(walk.wr);
    }
    put_pixel<T, C>(dst + o * C, sum, weight, weigh, [den](S v) { return v / den; });
  }
}

// --- the spline --------------------------------------------------------------------------

// A spline value to an element: 0.49999 added in double precision, truncated,
// and clamped to the element's range.
template <class T>
inline T round_spline(float v) noexcept {
  const double r = static_cast<double>(v) + 0.49999;
  if (r >= static_cast<double>(Elem<T>::kHi)) return static_cast<T>(Elem<T>::kHi);
  if (!(r > static_cast<double>(Elem<T>::kLo))) return static_cast<T>(Elem<T>::kLo);
  return static_cast<T>(static_cast<int64_t>(r));
}

// The cubic weights of the two nodes at t: (u^3 - u) / 6 and (t^3 - t) / 6.
struct SplineWeights {
  float u, t, cu, ct;
  explicit SplineWeights(float at) noexcept : u(1.0f - at), t(at) {
    cu = (u * u * u - u) / 6.0f;
    ct = (t * t * t - t) / 6.0f;
  }
  float at(float y0, float y1, float d0, float d1) const noexcept { return u * y0 + t * y1 + cu * d0 + ct * d1; }
};

// The forward sweep's coefficient of one channel: -1 / (previous + 4), the
// previous being 0 after a cut.
struct DividedCoefficient {
  float d = 0.0f;
  void cut() noexcept { d = 0.0f; }
  float next() noexcept { return d = -1.0f / (d + 4.0f); }
};

// Second derivatives along a row of n pixels of C channels, in single
// precision. A flat stretch (a second difference of 0) cuts the coupling of
// its neighbours. The back substitution covers the elements from the first of
// pixel n - 3 down to the second of pixel 1, as it always has: the other
// channels of pixel n - 3 and the first element of pixel 1 keep the
// coefficient of the forward sweep. Each channel's chain runs in registers.
template <class T, int C, class Coefficient = DividedCoefficient>
void spline_derivatives(const T *y, int64_t n, float *D, float *U) noexcept {
  std::fill(D, D + n * C, 0.0f);
  if (n <= 2) return;
  Coefficient coefficient[C];
  float u_prev[C] = {};
  for (int64_t p = 1; p < n - 1; ++p) {
    for (int ch = 0; ch < C; ++ch) {
      const int64_t i = p * C + ch;
      const float d = static_cast<float>(static_cast<int64_t>(y[i + C]) - 2 * static_cast<int64_t>(y[i]) +
                                         static_cast<int64_t>(y[i - C])) *
                      6.0f;
      float q = 0.0f;
      if (d == 0.0f) {
        coefficient[ch].cut();
        u_prev[ch] = 0.0f;
      } else {
        q = coefficient[ch].next();
        u_prev[ch] = (u_prev[ch] - d) * q;
      }
      D[i] = q;
      U[i] = u_prev[ch];
    }
  }
  float d_next[C];
  for (int ch = 0; ch < C; ++ch) {
    D[(n - 1) * C + ch] = 0.0f;
    d_next[ch] = D[(n - 2) * C + ch] = U[(n - 2) * C + ch];
  }
  for (int64_t p = n - 3; p >= 1; --p) {
    for (int ch = 0; ch < C; ++ch) {
      const int64_t i = p * C + ch;
      float v = D[i];
      if (i <= (n - 3) * C && i >= C + 1) v = d_next[ch] * v + U[i];
      D[i] = d_next[ch] = v;
    }
  }
}

// Where each output of a widening row falls: t walks by the ratio of the
// widths between a left and a right node; the first output is followed by
// copies of itself (t not moving), which centre the first pixel, and past the
// last pixel the right node stays, so the last stretch is flat. The walk is
// the same for every row of a call.
struct SplineStep {
  SplineWeights w;
  int32_t left, right;
};

inline void spline_plan(int64_t sw, int64_t dw, SplineStep *plan) noexcept {
  const float ratio = static_cast<float>(sw) / static_cast<float>(dw);
  const auto copies = static_cast<int64_t>(0.5f / ratio);
  float t = 0.0f;
  int32_t left = 0, right = sw > 1 ? 1 : 0;
  for (int64_t o = 0; o < dw;) {
    plan[o++] = SplineStep{SplineWeights(t), left, right};
    if (o == 1) {
      for (int64_t k = 0; k < copies && o < dw; ++k) plan[o++] = plan[0];
    }
    t += ratio;
    if (t >= 1.0f) {
      t -= 1.0f;
      left = right;
      if (right + 1 < sw) ++right;
    }
  }
}

// Widening by the spline, from the derivatives of the row and the plan.
template <class T, int C>
void h_spline(const T *src, T *dst, int64_t dw, const float *D, const SplineStep *plan) noexcept {
  for (int64_t o = 0; o < dw; ++o) {
    const SplineStep &s = plan[o];
    const int64_t l = s.left * C, r = s.right * C;
    for (int ch = 0; ch < C; ++ch) {
      dst[o * C + ch] = round_spline<T>(
          s.w.at(static_cast<float>(src[l + ch]), static_cast<float>(src[r + ch]), D[l + ch], D[r + ch]));
    }
  }
}

// The second derivatives of the two inner rows of the vertical window, the
// outer rows taken as straight.
template <class T>
void spline_window(const T *a, const T *b, const T *c, const T *e, float *db, float *dc, float *bf, float *cf,
                   int64_t count) noexcept {
  for (int64_t i = 0; i < count; ++i) {
    const int64_t A = a[i], B = b[i], Cv = c[i], E = e[i];
    float dB = static_cast<float>(A - 2 * B + Cv) * 1.5f;
    const float dC = (static_cast<float>(6 * (B - 2 * Cv + E)) - dB) * 0.266667f;
    dB = dB - dC * 0.25f;
    db[i] = dB;
    dc[i] = dC;
    bf[i] = static_cast<float>(B);
    cf[i] = static_cast<float>(Cv);
  }
}

template <class T>
void spline_rows(const float *bf, const float *cf, const float *db, const float *dc, const SplineWeights &w, T *out,
                 int64_t count) noexcept {
  for (int64_t i = 0; i < count; ++i) out[i] = round_spline<T>(w.at(bf[i], cf[i], db[i], dc[i]));
}

}  // namespace rv::resample
