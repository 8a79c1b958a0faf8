// Vector forms of the resample stages for 8-bit elements. A ramp element j of
// n between a and b is floor(((n - j) a + j b) / n): the plain stages reach
// the same value by adding floored quotients and carrying rests. The
// division is the high half of a 16-bit product with a rounded-up
// reciprocal, exact for n up to 16 (proved at compile time below).
#include "transform/resample_fast.h"

#ifdef RV_RESAMPLE_X86
#include <immintrin.h>

#include <cstring>

namespace rv::resample::fast::x86 {

namespace {

#define RV_SSSE3 __attribute__((target("ssse3")))
#define RV_AVX2 __attribute__((target("avx2")))

// Every sum of an 8-bit ramp divides exactly by the reciprocal.
constexpr bool reciprocal_exact(uint32_t n) {
  for (uint32_t x = 0; x <= 255 * n; ++x) {
    if (((x * reciprocal(n)) >> 16) != x / n) return false;
  }
  return true;
}
static_assert(reciprocal_exact(2) && reciprocal_exact(3) && reciprocal_exact(5) && reciprocal_exact(7) &&
              reciprocal_exact(11) && reciprocal_exact(13) && reciprocal_exact(15) && reciprocal_exact(16));
static_assert(reciprocal_exact(4) && reciprocal_exact(6) && reciprocal_exact(8) && reciprocal_exact(9) &&
              reciprocal_exact(10) && reciprocal_exact(12) && reciprocal_exact(14));

inline uint8_t blend(uint32_t a, uint32_t b, uint32_t j, uint32_t n) noexcept {
  return static_cast<uint8_t>(((n - j) * a + j * b) / n);
}

inline __m128i blend16(__m128i a, __m128i b, __m128i wa, __m128i wb, __m128i m) noexcept {
  return _mm_mulhi_epu16(_mm_add_epi16(_mm_mullo_epi16(a, wa), _mm_mullo_epi16(b, wb)), m);
}

RV_AVX2 inline __m256i blend16(__m256i a, __m256i b, __m256i wa, __m256i wb, __m256i m) noexcept {
  return _mm256_mulhi_epu16(_mm256_add_epi16(_mm256_mullo_epi16(a, wa), _mm256_mullo_epi16(b, wb)), m);
}

RV_AVX2 inline __m256i widen(const uint8_t *p) noexcept {
  return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i *>(p)));
}

}  // namespace

void ramp_row_sse2(const uint8_t *cur, const uint8_t *next, uint8_t *out, int64_t count, uint32_t j,
                   uint32_t n) noexcept {
  const __m128i wa = _mm_set1_epi16(static_cast<int16_t>(n - j)), wb = _mm_set1_epi16(static_cast<int16_t>(j));
  const __m128i m = _mm_set1_epi16(static_cast<int16_t>(reciprocal(n))), zero = _mm_setzero_si128();
  int64_t i = 0;
  for (; i + 16 <= count; i += 16) {
    const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i *>(cur + i));
    const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i *>(next + i));
    const __m128i lo = blend16(_mm_unpacklo_epi8(a, zero), _mm_unpacklo_epi8(b, zero), wa, wb, m);
    const __m128i hi = blend16(_mm_unpackhi_epi8(a, zero), _mm_unpackhi_epi8(b, zero), wa, wb, m);
    _mm_storeu_si128(reinterpret_cast<__m128i *>(out + i), _mm_packus_epi16(lo, hi));
  }
  for (; i < count; ++i) out[i] = blend(cur[i], next[i], j, n);
}

RV_AVX2 void ramp_row_avx2(const uint8_t *cur, const uint8_t *next, uint8_t *out, int64_t count, uint32_t j,
                           uint32_t n) noexcept {
  const __m256i wa = _mm256_set1_epi16(static_cast<int16_t>(n - j)), wb = _mm256_set1_epi16(static_cast<int16_t>(j));
  const __m256i m = _mm256_set1_epi16(static_cast<int16_t>(reciprocal(n)));
  int64_t i = 0;
  for (; i + 32 <= count; i += 32) {
    const __m256i lo = blend16(widen(cur + i), widen(next + i), wa, wb, m);
    const __m256i hi = blend16(widen(cur + i + 16), widen(next + i + 16), wa, wb, m);
    const __m256i packed = _mm256_permute4x64_epi64(_mm256_packus_epi16(lo, hi), 0xD8);
    _mm256_storeu_si256(reinterpret_cast<__m256i *>(out + i), packed);
  }
  for (; i < count; ++i) out[i] = blend(cur[i], next[i], j, n);
}

// A row widened by a whole factor n: n / 2 copies of the first pixel, then n
// outputs per source pixel, the first of them the pixel itself, the last
// pixel's ramp flat. Four source pixels at a time become 32-bit lanes; each
// output pixel is stored as four bytes in rising order, so that the spare
// byte of a 3-byte pixel is overwritten by the next pixel, and the vector
// part stops a pixel short of the row's end.
RV_SSSE3 void h_ramp_ssse3(const uint8_t *src, int64_t sw, uint8_t *dst, int64_t dw, int32_t channels,
                           uint32_t n) noexcept {
  const int64_t c = channels;
  if (n == 1) {  // equal widths
    std::memcpy(dst, src, static_cast<size_t>(dw * c));
    return;
  }
  int64_t o = 0;
  for (int64_t k = std::min<int64_t>(n / 2, dw); k > 0; --k, ++o) std::memcpy(dst + o * c, src, static_cast<size_t>(c));
  const __m128i spread = c == 3 ? _mm_setr_epi8(0, 1, 2, -128, 3, 4, 5, -128, 6, 7, 8, -128, 9, 10, 11, -128)
                                : _mm_setr_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
  const __m128i m = _mm_set1_epi16(static_cast<int16_t>(reciprocal(n))), zero = _mm_setzero_si128();
  int64_t i = 0;
  alignas(16) uint8_t lanes[16][16];
  while (i + 4 < sw && o + 4 * static_cast<int64_t>(n) < dw) {
    const __m128i a = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i *>(src + i * c)), spread);
    const __m128i b = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i *>(src + (i + 1) * c)), spread);
    const __m128i alo = _mm_unpacklo_epi8(a, zero), ahi = _mm_unpackhi_epi8(a, zero);
    const __m128i blo = _mm_unpacklo_epi8(b, zero), bhi = _mm_unpackhi_epi8(b, zero);
    for (uint32_t j = 0; j < n; ++j) {
      const __m128i wa = _mm_set1_epi16(static_cast<int16_t>(n - j)), wb = _mm_set1_epi16(static_cast<int16_t>(j));
      const __m128i v = _mm_packus_epi16(blend16(alo, blo, wa, wb, m), blend16(ahi, bhi, wa, wb, m));
      _mm_store_si128(reinterpret_cast<__m128i *>(lanes[j]), v);
    }
    for (int k = 0; k < 4; ++k) {
      for (uint32_t j = 0; j < n; ++j, ++o) std::memcpy(dst + o * c, lanes[j] + 4 * k, 4);
    }
    i += 4;
  }
  for (; o < dw; ++i) {
    const uint8_t *a = src + std::min(i, sw - 1) * c, *b = src + std::min(i + 1, sw - 1) * c;
    for (uint32_t j = 0; j < n && o < dw; ++j, ++o) {
      for (int64_t ch = 0; ch < c; ++ch) dst[o * c + ch] = blend(a[ch], b[ch], j, n);
    }
  }
}

// --- the spline -----------------------------------------------------------------------

namespace {

// Spline values to bytes as round_spline does: 0.49999 added in double
// precision, kept within 0 and 255 (a NaN going to 0), truncated.
inline __m128i round_to_ints(__m128 v) noexcept {
  const __m128d half = _mm_set1_pd(0.49999), lo = _mm_setzero_pd(), hi = _mm_set1_pd(255.0);
  __m128d a = _mm_add_pd(_mm_cvtps_pd(v), half), b = _mm_add_pd(_mm_cvtps_pd(_mm_movehl_ps(v, v)), half);
  a = _mm_min_pd(_mm_max_pd(a, lo), hi);
  b = _mm_min_pd(_mm_max_pd(b, lo), hi);
  return _mm_unpacklo_epi64(_mm_cvttpd_epi32(a), _mm_cvttpd_epi32(b));
}

RV_AVX2 inline __m256i widen32(const uint8_t *p) noexcept {
  return _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i *>(p)));
}

RV_AVX2 inline __m128i round_to_ints(__m256d v) noexcept {
  const __m256d half = _mm256_set1_pd(0.49999), lo = _mm256_setzero_pd(), hi = _mm256_set1_pd(255.0);
  return _mm256_cvttpd_epi32(_mm256_min_pd(_mm256_max_pd(_mm256_add_pd(v, half), lo), hi));
}

}  // namespace

// Each output pixel's channels at once: the nodes' values and derivatives
// from the float row, the plan's weights, summed in the plain order.
void h_spline_sse2(const uint8_t *src, int64_t sw, uint8_t *dst, int64_t dw, int32_t channels, const float *D,
                   float *row, const SplineStep *plan) noexcept {
  const int64_t c = channels;
  for (int64_t i = 0; i < sw * c; ++i) row[i] = static_cast<float>(src[i]);
  for (int64_t o = 0; o < dw; ++o) {
    const SplineStep &s = plan[o];
    const int64_t l = s.left * c, r = s.right * c;
    const __m128 v = _mm_add_ps(
        _mm_add_ps(_mm_add_ps(_mm_mul_ps(_mm_set1_ps(s.w.u), _mm_loadu_ps(row + l)),
                              _mm_mul_ps(_mm_set1_ps(s.w.t), _mm_loadu_ps(row + r))),
                   _mm_mul_ps(_mm_set1_ps(s.w.cu), _mm_loadu_ps(D + l))),
        _mm_mul_ps(_mm_set1_ps(s.w.ct), _mm_loadu_ps(D + r)));
    const __m128i ints = round_to_ints(v);
    const __m128i bytes = _mm_packus_epi16(_mm_packs_epi32(ints, ints), ints);
    const auto word = static_cast<uint32_t>(_mm_cvtsi128_si32(bytes));
    // A 3-byte pixel's fourth byte is overwritten by the next pixel; the last
    // one stores only its own.
    std::memcpy(dst + o * c, &word, c == 4 || o + 1 < dw ? 4 : 3);
  }
}

RV_AVX2 void spline_window_avx2(const uint8_t *a, const uint8_t *b, const uint8_t *c, const uint8_t *e, float *db,
                                float *dc, float *bf, float *cf, int64_t count) noexcept {
  const __m256 k15 = _mm256_set1_ps(1.5f), k0266 = _mm256_set1_ps(0.266667f), k025 = _mm256_set1_ps(0.25f);
  int64_t i = 0;
  for (; i + 8 <= count; i += 8) {
    const __m256i A = widen32(a + i), B = widen32(b + i), C = widen32(c + i), E = widen32(e + i);
    const __m256i twice_b = _mm256_add_epi32(B, B), twice_c = _mm256_add_epi32(C, C);
    __m256 dB = _mm256_mul_ps(_mm256_cvtepi32_ps(_mm256_add_epi32(_mm256_sub_epi32(A, twice_b), C)), k15);
    const __m256i inner = _mm256_add_epi32(_mm256_sub_epi32(B, twice_c), E);
    const __m256i six = _mm256_add_epi32(_mm256_slli_epi32(inner, 2), _mm256_add_epi32(inner, inner));
    const __m256 dC = _mm256_mul_ps(_mm256_sub_ps(_mm256_cvtepi32_ps(six), dB), k0266);
    dB = _mm256_sub_ps(dB, _mm256_mul_ps(dC, k025));
    _mm256_storeu_ps(db + i, dB);
    _mm256_storeu_ps(dc + i, dC);
    _mm256_storeu_ps(bf + i, _mm256_cvtepi32_ps(B));
    _mm256_storeu_ps(cf + i, _mm256_cvtepi32_ps(C));
  }
  if (i < count) rv::resample::spline_window(a + i, b + i, c + i, e + i, db + i, dc + i, bf + i, cf + i, count - i);
}

RV_AVX2 void spline_rows_avx2(const float *bf, const float *cf, const float *db, const float *dc,
                              const SplineWeights &w, uint8_t *out, int64_t count) noexcept {
  const __m256 u = _mm256_set1_ps(w.u), t = _mm256_set1_ps(w.t), cu = _mm256_set1_ps(w.cu), ct = _mm256_set1_ps(w.ct);
  int64_t i = 0;
  for (; i + 8 <= count; i += 8) {
    const __m256 v = _mm256_add_ps(
        _mm256_add_ps(_mm256_add_ps(_mm256_mul_ps(u, _mm256_loadu_ps(bf + i)), _mm256_mul_ps(t, _mm256_loadu_ps(cf + i))),
                      _mm256_mul_ps(cu, _mm256_loadu_ps(db + i))),
        _mm256_mul_ps(ct, _mm256_loadu_ps(dc + i)));
    const __m128i lo = round_to_ints(_mm256_cvtps_pd(_mm256_castps256_ps128(v)));
    const __m128i hi = round_to_ints(_mm256_cvtps_pd(_mm256_extractf128_ps(v, 1)));
    const __m128i words = _mm_packs_epi32(lo, hi);
    _mm_storel_epi64(reinterpret_cast<__m128i *>(out + i), _mm_packus_epi16(words, words));
  }
  if (i < count) rv::resample::spline_rows(bf + i, cf + i, db + i, dc + i, w, out + i, count - i);
}

}  // namespace rv::resample::fast::x86

#endif
