// Vector kernels of the palette search: squared distances of a colour to a
// run of palette entries, and finding a value in a run of distances.
#include "color/kernels.h"

#ifdef RV_COLOR_X86_KERNELS
#include <immintrin.h>

namespace rv::color::kernels {

namespace {

// Distances of the plain walk, for the entries the vectors leave over.
uint32_t tail_distances(const RGBQUAD *entries, int32_t from, int32_t count, uint32_t bgr,
                        uint32_t *out, uint32_t least) noexcept {
  const int32_t b = bgr & 0xFF, g = (bgr >> 8) & 0xFF, r = (bgr >> 16) & 0xFF;
  for (int32_t i = from; i < count; ++i) {
    const int32_t db = entries[i].rgbBlue - b, dg = entries[i].rgbGreen - g,
                  dr = entries[i].rgbRed - r;
    out[i] = static_cast<uint32_t>(db * db + dg * dg + dr * dr);
    if (out[i] < least) least = out[i];
  }
  return least;
}

}  // namespace

namespace sse2 {

// Each entry widens to four 16-bit lanes (blue, green, red, reserved masked
// to 0); the multiply-add of the differences gives blue² + green² and red²
// per entry, which one shuffle pairs up.
uint32_t distances(const RGBQUAD *entries, int32_t count, uint32_t bgr, uint32_t *out) noexcept {
  const __m128i zero = _mm_setzero_si128();
  const __m128i mask = _mm_set1_epi32(0x00FFFFFF);
  const __m128i target = _mm_unpacklo_epi8(_mm_set1_epi32(static_cast<int32_t>(bgr & 0xFFFFFF)), zero);
  __m128i least = _mm_set1_epi32(0x7FFFFFFF);  // distances stay below 2^18
  int32_t i = 0;
  for (; i + 4 <= count; i += 4) {
    const __m128i x = _mm_and_si128(_mm_loadu_si128(reinterpret_cast<const __m128i *>(entries + i)), mask);
    __m128i lo = _mm_sub_epi16(_mm_unpacklo_epi8(x, zero), target);
    __m128i hi = _mm_sub_epi16(_mm_unpackhi_epi8(x, zero), target);
    lo = _mm_madd_epi16(lo, lo);
    hi = _mm_madd_epi16(hi, hi);
    const __m128 a = _mm_castsi128_ps(lo), b = _mm_castsi128_ps(hi);
    const __m128i d = _mm_add_epi32(_mm_castps_si128(_mm_shuffle_ps(a, b, _MM_SHUFFLE(2, 0, 2, 0))),
                                    _mm_castps_si128(_mm_shuffle_ps(a, b, _MM_SHUFFLE(3, 1, 3, 1))));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(out + i), d);
    const __m128i greater = _mm_cmpgt_epi32(least, d);
    least = _mm_or_si128(_mm_and_si128(greater, d), _mm_andnot_si128(greater, least));
  }
  alignas(16) uint32_t lanes[4];
  _mm_store_si128(reinterpret_cast<__m128i *>(lanes), least);
  uint32_t result = lanes[0];
  for (uint32_t lane : lanes) result = lane < result ? lane : result;
  return tail_distances(entries, i, count, bgr, out, result);
}

int32_t find_equal(const uint32_t *values, int32_t from, int32_t count, uint32_t value) noexcept {
  const __m128i wanted = _mm_set1_epi32(static_cast<int32_t>(value));
  int32_t i = from;
  for (; i + 4 <= count; i += 4) {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i *>(values + i));
    const int bits = _mm_movemask_ps(_mm_castsi128_ps(_mm_cmpeq_epi32(v, wanted)));
    if (bits != 0) return i + __builtin_ctz(static_cast<unsigned>(bits));
  }
  for (; i < count; ++i) {
    if (values[i] == value) return i;
  }
  return -1;
}

}  // namespace sse2

namespace avx2 {

__attribute__((target("avx2"))) uint32_t distances(const RGBQUAD *entries, int32_t count,
                                                    uint32_t bgr, uint32_t *out) noexcept {
  const __m256i zero = _mm256_setzero_si256();
  const __m256i mask = _mm256_set1_epi32(0x00FFFFFF);
  const __m256i target =
      _mm256_unpacklo_epi8(_mm256_set1_epi32(static_cast<int32_t>(bgr & 0xFFFFFF)), zero);
  __m256i least = _mm256_set1_epi32(-1);
  int32_t i = 0;
  for (; i + 8 <= count; i += 8) {
    const __m256i x =
        _mm256_and_si256(_mm256_loadu_si256(reinterpret_cast<const __m256i *>(entries + i)), mask);
    // Within each 128-bit half: lo holds entries 0-1, hi entries 2-3.
    __m256i lo = _mm256_sub_epi16(_mm256_unpacklo_epi8(x, zero), target);
    __m256i hi = _mm256_sub_epi16(_mm256_unpackhi_epi8(x, zero), target);
    lo = _mm256_madd_epi16(lo, lo);
    hi = _mm256_madd_epi16(hi, hi);
    const __m256 a = _mm256_castsi256_ps(lo), b = _mm256_castsi256_ps(hi);
    const __m256i d =
        _mm256_add_epi32(_mm256_castps_si256(_mm256_shuffle_ps(a, b, _MM_SHUFFLE(2, 0, 2, 0))),
                         _mm256_castps_si256(_mm256_shuffle_ps(a, b, _MM_SHUFFLE(3, 1, 3, 1))));
    _mm256_storeu_si256(reinterpret_cast<__m256i *>(out + i), d);
    least = _mm256_min_epu32(least, d);
  }
  alignas(32) uint32_t lanes[8];
  _mm256_store_si256(reinterpret_cast<__m256i *>(lanes), least);
  uint32_t result = lanes[0];
  for (uint32_t lane : lanes) result = lane < result ? lane : result;
  return tail_distances(entries, i, count, bgr, out, result);
}

}  // namespace avx2

}  // namespace rv::color::kernels

#endif
