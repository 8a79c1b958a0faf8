// Vector kernels of buffer conversion for the common pairs of formats. Each
// works in place over a whole run and walks forward: runs that shrink (or
// keep their size) convert where they are, runs that grow first move their
// source to the end of the destination's bytes. They touch only the bytes of
// the two forms and finish the pixels that don't fill a vector with scalar
// code.
#include "color/kernels.h"

#ifdef RV_COLOR_X86_KERNELS
#include <immintrin.h>

#include <cstring>

#include "color/channels.h"

namespace rv::color::kernels {

namespace {

#define RV_SSSE3 __attribute__((target("ssse3")))

inline __m128i load(const uint8_t *p) noexcept {
  return _mm_loadu_si128(reinterpret_cast<const __m128i *>(p));
}
inline void store(uint8_t *p, __m128i v) noexcept {
  _mm_storeu_si128(reinterpret_cast<__m128i *>(p), v);
}

// 16 pixels of 24 bits (48 bytes) as four vectors of 4 pixels in their low
// 12 bytes; the top 4 bytes of each hold whatever follows.
struct Quad24 {
  __m128i v[4];
};
RV_SSSE3 inline Quad24 load_quad24(const uint8_t *p) noexcept {
  const __m128i a = load(p), b = load(p + 16), c = load(p + 32);
  return {{a, _mm_alignr_epi8(b, a, 12), _mm_alignr_epi8(c, b, 8), _mm_srli_si128(c, 4)}};
}
// Four vectors of 4 pixels in their low 12 bytes (top 4 bytes zero) stored
// as 48 bytes.
RV_SSSE3 inline void store_quad24(uint8_t *p, const Quad24 &q) noexcept {
  store(p, _mm_or_si128(q.v[0], _mm_slli_si128(q.v[1], 12)));
  store(p + 16, _mm_or_si128(_mm_srli_si128(q.v[1], 4), _mm_slli_si128(q.v[2], 8)));
  store(p + 32, _mm_or_si128(_mm_srli_si128(q.v[2], 8), _mm_slli_si128(q.v[3], 4)));
}

// Byte shuffles of 4 pixels. -128 clears a byte.
RV_SSSE3 inline __m128i shuffle(__m128i v, __m128i pattern) noexcept {
  return _mm_shuffle_epi8(v, pattern);
}
inline __m128i pattern_24_to_24(bool swap) noexcept {
  return swap ? _mm_setr_epi8(2, 1, 0, 5, 4, 3, 8, 7, 6, 11, 10, 9, -128, -128, -128, -128)
              : _mm_setr_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, -128, -128, -128, -128);
}
inline __m128i pattern_24_to_32(bool swap) noexcept {
  return swap ? _mm_setr_epi8(2, 1, 0, -128, 5, 4, 3, -128, 8, 7, 6, -128, 11, 10, 9, -128)
              : _mm_setr_epi8(0, 1, 2, -128, 3, 4, 5, -128, 6, 7, 8, -128, 9, 10, 11, -128);
}
inline __m128i pattern_32_to_24(bool swap) noexcept {
  return swap ? _mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -128, -128, -128, -128)
              : _mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -128, -128, -128, -128);
}

// Runs that grow are done forward: the source first moves to the end of the
// destination's bytes, and the conversion then walks up from the start of
// the buffer. A pixel's output never reaches a source byte not yet read, and
// both streams rise, which the processor's prefetching follows well.
inline const uint8_t *move_to_end(uint8_t *buffer, size_t src_bytes, size_t dst_bytes) noexcept {
  uint8_t *src = buffer + (dst_bytes - src_bytes);
  std::memmove(src, buffer, src_bytes);
  return src;
}

// Scalar forms of the same pixels, for the ends of runs.
inline void copy3(uint8_t *d, const uint8_t *s, bool swap) noexcept {
  const uint8_t b0 = s[0], b1 = s[1], b2 = s[2];
  d[0] = swap ? b2 : b0;
  d[1] = b1;
  d[2] = swap ? b0 : b2;
}

// 16-bit colour to 24 bits, one pixel.
inline void pixel16_to_24(uint8_t *d, const uint8_t *s, const Rgb16Layout &l, bool red_first) noexcept {
  const uint32_t w = channels::load16(s);
  const uint32_t r5 = (w >> l.red_shift) & 31, b5 = (w >> l.blue_shift) & 31;
  const uint32_t g = (w >> 5) & ((1u << l.green_bits) - 1);
  const uint8_t c[3] = {channels::widen5(b5), l.green_bits == 6 ? channels::widen6(g) : channels::widen5(g),
                        channels::widen5(r5)};
  copy3(d, c, red_first);
}

// Bytes b0 g0 r0 b1 ... of 8 pixels from first = [b0..b7 g0..g7] and
// last = [r0..r7]: the first 16 bytes and the last 8.
inline __m128i interleave_lo_first() noexcept {
  return _mm_setr_epi8(0, 8, -128, 1, 9, -128, 2, 10, -128, 3, 11, -128, 4, 12, -128, 5);
}
inline __m128i interleave_lo_last() noexcept {
  return _mm_setr_epi8(-128, -128, 0, -128, -128, 1, -128, -128, 2, -128, -128, 3, -128, -128, 4, -128);
}
inline __m128i interleave_hi_first() noexcept {
  return _mm_setr_epi8(13, -128, 6, 14, -128, 7, 15, -128, -128, -128, -128, -128, -128, -128, -128, -128);
}
inline __m128i interleave_hi_last() noexcept {
  return _mm_setr_epi8(-128, 5, -128, -128, 6, -128, -128, 7, -128, -128, -128, -128, -128, -128, -128, -128);
}

}  // namespace

namespace ssse3 {

RV_SSSE3 void swap24(uint8_t *buffer, int32_t width) noexcept {
  const auto n = static_cast<size_t>(width);
  const __m128i pattern = pattern_24_to_24(true);
  size_t i = 0;
  for (; i + 16 <= n; i += 16) {
    Quad24 q = load_quad24(buffer + 3 * i);
    for (__m128i &v : q.v) v = shuffle(v, pattern);
    store_quad24(buffer + 3 * i, q);
  }
  for (; i < n; ++i) copy3(buffer + 3 * i, buffer + 3 * i, true);
}

RV_SSSE3 void rgb24_to_32(uint8_t *buffer, int32_t width, bool swap) noexcept {
  const auto n = static_cast<size_t>(width);
  const uint8_t *src = move_to_end(buffer, 3 * n, 4 * n);
  const __m128i pattern = pattern_24_to_32(swap);
  const __m128i alpha = _mm_set1_epi32(static_cast<int32_t>(0xFF000000u));
  size_t i = 0;
  for (; i + 16 <= n; i += 16) {
    const Quad24 q = load_quad24(src + 3 * i);
    for (int j = 0; j < 4; ++j) {
      store(buffer + 4 * i + 16 * j, _mm_or_si128(shuffle(q.v[j], pattern), alpha));
    }
  }
  for (; i < n; ++i) {
    copy3(buffer + 4 * i, src + 3 * i, swap);
    buffer[4 * i + 3] = 0xFF;
  }
}

RV_SSSE3 void rgb32_to_24(uint8_t *buffer, int32_t width, bool swap) noexcept {
  const auto n = static_cast<size_t>(width);
  const __m128i pattern = pattern_32_to_24(swap);
  size_t i = 0;
  for (; i + 16 <= n; i += 16) {
    Quad24 q;
    for (int j = 0; j < 4; ++j) q.v[j] = shuffle(load(buffer + 4 * i + 16 * j), pattern);
    store_quad24(buffer + 3 * i, q);
  }
  for (; i < n; ++i) copy3(buffer + 3 * i, buffer + 4 * i, swap);
}


// 24 to 48 bits: each byte doubled is c * 257.
RV_SSSE3 void rgb24_to_48(uint8_t *buffer, int32_t width, bool swap) noexcept {
  const auto n = static_cast<size_t>(width);
  const uint8_t *src = move_to_end(buffer, 3 * n, 6 * n);
  const __m128i pattern = pattern_24_to_24(swap);
  size_t i = 0;
  for (; i + 16 <= n; i += 16) {
    const Quad24 q = load_quad24(src + 3 * i);
    for (int j = 0; j < 4; ++j) {
      const __m128i v = shuffle(q.v[j], pattern);
      uint8_t *d = buffer + 6 * i + 24 * j;
      store(d, _mm_unpacklo_epi8(v, v));
      _mm_storel_epi64(reinterpret_cast<__m128i *>(d + 16), _mm_unpackhi_epi8(v, v));
    }
  }
  for (; i < n; ++i) {
    uint8_t c[3];
    copy3(c, src + 3 * i, swap);
    for (int k = 0; k < 3; ++k) channels::store16(buffer + 6 * i + 2 * k, channels::widen8(c[k]));
  }
}

// 48 to 24 bits: the high byte of each channel.
RV_SSSE3 void rgb48_to_24(uint8_t *buffer, int32_t width, bool swap) noexcept {
  const auto n = static_cast<size_t>(width);
  const __m128i pattern = pattern_24_to_24(swap);
  size_t i = 0;
  for (; i + 16 <= n; i += 16) {
    const uint8_t *s = buffer + 6 * i;
    __m128i h[3];
    for (int j = 0; j < 3; ++j) {
      h[j] = _mm_packus_epi16(_mm_srli_epi16(load(s + 32 * j), 8), _mm_srli_epi16(load(s + 32 * j + 16), 8));
    }
    Quad24 q = {{h[0], _mm_alignr_epi8(h[1], h[0], 12), _mm_alignr_epi8(h[2], h[1], 8),
                 _mm_srli_si128(h[2], 4)}};
    for (__m128i &v : q.v) v = shuffle(v, pattern);
    store_quad24(buffer + 3 * i, q);
  }
  for (; i < n; ++i) {
    const uint8_t *s = buffer + 6 * i;
    const uint8_t c[3] = {s[1], s[3], s[5]};
    copy3(buffer + 3 * i, c, swap);
  }
}

namespace {

// Blue, green and red of 8 pixels (two vectors of 4 in their low 12 bytes)
// as 16-bit lanes.
struct Channels8 {
  __m128i blue, green, red;
};
// One channel, `at` bytes into each pixel, of two vectors of 4 pixels.
RV_SSSE3 inline __m128i channel8(__m128i lo, __m128i hi, char at) noexcept {
  const char z = -128;
  const __m128i from_lo = _mm_setr_epi8(at, z, char(at + 3), z, char(at + 6), z, char(at + 9), z,
                                        z, z, z, z, z, z, z, z);
  const __m128i from_hi = _mm_setr_epi8(z, z, z, z, z, z, z, z, at, z, char(at + 3), z,
                                        char(at + 6), z, char(at + 9), z);
  return _mm_or_si128(_mm_shuffle_epi8(lo, from_lo), _mm_shuffle_epi8(hi, from_hi));
}
RV_SSSE3 inline Channels8 split8(__m128i lo, __m128i hi, bool red_first) noexcept {
  return {channel8(lo, hi, red_first ? 2 : 0), channel8(lo, hi, 1), channel8(lo, hi, red_first ? 0 : 2)};
}

inline void pixel_to_16(uint8_t *d, const uint8_t *s, const Rgb16Layout &l, bool red_first) noexcept {
  const uint32_t b = s[red_first ? 2 : 0], g = s[1], r = s[red_first ? 0 : 2];
  channels::store16(d, ((r >> 3) << l.red_shift) | ((g >> (8 - l.green_bits)) << 5) |
                        ((b >> 3) << l.blue_shift));
}

}  // namespace

RV_SSSE3 void rgb24_to_16(uint8_t *buffer, int32_t width, Rgb16Layout layout, bool red_first) noexcept {
  const auto n = static_cast<size_t>(width);
  const __m128i red_shift = _mm_cvtsi32_si128(static_cast<int>(layout.red_shift));
  const __m128i blue_shift = _mm_cvtsi32_si128(static_cast<int>(layout.blue_shift));
  const __m128i green_drop = _mm_cvtsi32_si128(static_cast<int>(8 - layout.green_bits));
  size_t i = 0;
  for (; i + 16 <= n; i += 16) {
    const Quad24 q = load_quad24(buffer + 3 * i);
    for (int half = 0; half < 2; ++half) {
      const Channels8 c = split8(q.v[2 * half], q.v[2 * half + 1], red_first);
      const __m128i r = _mm_sll_epi16(_mm_srli_epi16(c.red, 3), red_shift);
      const __m128i b = _mm_sll_epi16(_mm_srli_epi16(c.blue, 3), blue_shift);
      const __m128i g = _mm_slli_epi16(_mm_srl_epi16(c.green, green_drop), 5);
      store(buffer + 2 * i + 16 * half, _mm_or_si128(_mm_or_si128(r, g), b));
    }
  }
  for (; i < n; ++i) pixel_to_16(buffer + 2 * i, buffer + 3 * i, layout, red_first);
}

// 16 to 24 bits: the fields widened by replicating their top bits.
RV_SSSE3 void rgb16_to_24(uint8_t *buffer, int32_t width, Rgb16Layout layout, bool red_first) noexcept {
  const auto n = static_cast<size_t>(width);
  const uint8_t *src = move_to_end(buffer, 2 * n, 3 * n);
  const __m128i five = _mm_set1_epi16(31);
  const __m128i green_bits = _mm_set1_epi16(static_cast<int16_t>((1 << layout.green_bits) - 1));
  const __m128i red_shift = _mm_cvtsi32_si128(static_cast<int>(layout.red_shift));
  const __m128i blue_shift = _mm_cvtsi32_si128(static_cast<int>(layout.blue_shift));
  const __m128i green_up = _mm_cvtsi32_si128(static_cast<int>(8 - layout.green_bits));
  const __m128i green_down = _mm_cvtsi32_si128(static_cast<int>(2 * layout.green_bits - 8));
  const __m128i lo_first = interleave_lo_first(), lo_last = interleave_lo_last();
  const __m128i hi_first = interleave_hi_first(), hi_last = interleave_hi_last();
  size_t i = 0;
  for (; i + 8 <= n; i += 8) {
    const __m128i w = load(src + 2 * i);
    const __m128i r5 = _mm_and_si128(_mm_srl_epi16(w, red_shift), five);
    const __m128i b5 = _mm_and_si128(_mm_srl_epi16(w, blue_shift), five);
    const __m128i gn = _mm_and_si128(_mm_srli_epi16(w, 5), green_bits);
    const __m128i r = _mm_or_si128(_mm_slli_epi16(r5, 3), _mm_srli_epi16(r5, 2));
    const __m128i b = _mm_or_si128(_mm_slli_epi16(b5, 3), _mm_srli_epi16(b5, 2));
    const __m128i g = _mm_or_si128(_mm_sll_epi16(gn, green_up), _mm_srl_epi16(gn, green_down));
    const __m128i first = _mm_packus_epi16(red_first ? r : b, g);
    const __m128i last = _mm_packus_epi16(red_first ? b : r, _mm_setzero_si128());
    uint8_t *d = buffer + 3 * i;
    const __m128i out_hi = _mm_or_si128(_mm_shuffle_epi8(first, hi_first), _mm_shuffle_epi8(last, hi_last));
    store(d, _mm_or_si128(_mm_shuffle_epi8(first, lo_first), _mm_shuffle_epi8(last, lo_last)));
    _mm_storel_epi64(reinterpret_cast<__m128i *>(d + 16), out_hi);
  }
  for (; i < n; ++i) pixel16_to_24(buffer + 3 * i, src + 2 * i, layout, red_first);
}

// 24 bits to 8-bit gray: (5 G + 2 R + B + 4) >> 3.
RV_SSSE3 void rgb24_to_gray8(uint8_t *buffer, int32_t width, bool red_first) noexcept {
  const auto n = static_cast<size_t>(width);
  const __m128i four = _mm_set1_epi16(4);
  size_t i = 0;
  for (; i + 16 <= n; i += 16) {
    const Quad24 q = load_quad24(buffer + 3 * i);
    __m128i gray[2];
    for (int half = 0; half < 2; ++half) {
      const Channels8 c = split8(q.v[2 * half], q.v[2 * half + 1], red_first);
      const __m128i g5 = _mm_add_epi16(_mm_slli_epi16(c.green, 2), c.green);
      const __m128i sum = _mm_add_epi16(_mm_add_epi16(g5, _mm_slli_epi16(c.red, 1)),
                                        _mm_add_epi16(c.blue, four));
      gray[half] = _mm_srli_epi16(sum, 3);
    }
    store(buffer + i, _mm_packus_epi16(gray[0], gray[1]));
  }
  for (; i < n; ++i) {
    const uint8_t *s = buffer + 3 * i;
    buffer[i] = static_cast<uint8_t>(channels::gray(s[red_first ? 0 : 2], s[1], s[red_first ? 2 : 0]));
  }
}

// 8-bit indexes to 24 bits through a table of colours (blue in the low
// byte): four entries make a vector, whose 12 colour bytes four at a time
// are stored as 48.
RV_SSSE3 inline __m128i four_colors(const uint32_t *table, const uint8_t *at) noexcept {
  const __m128i c0 = _mm_cvtsi32_si128(static_cast<int>(table[at[0]]));
  const __m128i c1 = _mm_cvtsi32_si128(static_cast<int>(table[at[1]]));
  const __m128i c2 = _mm_cvtsi32_si128(static_cast<int>(table[at[2]]));
  const __m128i c3 = _mm_cvtsi32_si128(static_cast<int>(table[at[3]]));
  return _mm_unpacklo_epi64(_mm_unpacklo_epi32(c0, c1), _mm_unpacklo_epi32(c2, c3));
}

RV_SSSE3 void index8_to_24(uint8_t *buffer, int32_t width, const uint32_t *colors, bool red_first) noexcept {
  const auto n = static_cast<size_t>(width);
  uint32_t table[256];
  for (int i = 0; i < 256; ++i) {
    const uint32_t c = colors[i];
    table[i] = red_first ? ((c >> 16) & 0xFF) | (c & 0xFF00) | ((c & 0xFF) << 16) : c & 0xFFFFFF;
  }
  const uint8_t *src = move_to_end(buffer, n, 3 * n);
  const __m128i pattern = pattern_32_to_24(false);
  size_t i = 0;
  for (; i + 16 <= n; i += 16) {
    Quad24 q;
    for (int j = 0; j < 4; ++j) q.v[j] = shuffle(four_colors(table, src + i + 4 * j), pattern);
    store_quad24(buffer + 3 * i, q);
  }
  for (; i < n; ++i) {
    const uint32_t c = table[src[i]];
    uint8_t *d = buffer + 3 * i;
    d[0] = static_cast<uint8_t>(c);
    d[1] = static_cast<uint8_t>(c >> 8);
    d[2] = static_cast<uint8_t>(c >> 16);
  }
}

// 1-bit indexes to 24 bits: each source byte becomes 24 bytes, built from two
// 12-byte patterns of its halves.
void index1_to_24(uint8_t *buffer, int32_t width, const uint32_t *colors, bool red_first) noexcept {
  const auto n = static_cast<size_t>(width);
  uint8_t two[2][3];
  for (int k = 0; k < 2; ++k) {
    const uint8_t c[3] = {static_cast<uint8_t>(colors[k]), static_cast<uint8_t>(colors[k] >> 8),
                          static_cast<uint8_t>(colors[k] >> 16)};
    copy3(two[k], c, red_first);
  }
  uint8_t halves[16][12];
  for (int h = 0; h < 16; ++h) {
    for (int bit = 0; bit < 4; ++bit) {
      const int on = (h >> (3 - bit)) & 1;
      for (int k = 0; k < 3; ++k) halves[h][3 * bit + k] = two[on][k];
    }
  }
  const size_t whole = n / 8;
  const uint8_t *src = move_to_end(buffer, (n + 7) / 8, 3 * n);
  for (size_t j = 0; j < whole; ++j) {
    const uint8_t bits = src[j];
    uint8_t *d = buffer + 24 * j;
    std::memcpy(d, halves[bits >> 4], 12);
    std::memcpy(d + 12, halves[bits & 15], 12);
  }
  for (size_t i = whole * 8; i < n; ++i) {
    const int on = (src[i / 8] >> (7 - i % 8)) & 1;
    for (int k = 0; k < 3; ++k) buffer[3 * i + k] = two[on][k];
  }
}

}  // namespace ssse3

namespace avx2 {

#define RV_AVX2 __attribute__((target("avx2")))

// 24 to 32 bits, eight pixels to a 256-bit vector: each half takes four
// pixels from its own load.
RV_AVX2 void rgb24_to_32(uint8_t *buffer, int32_t width, bool swap) noexcept {
  const auto n = static_cast<size_t>(width);
  const uint8_t *src = move_to_end(buffer, 3 * n, 4 * n);
  const __m128i half = pattern_24_to_32(swap);
  const __m256i pattern = _mm256_inserti128_si256(_mm256_castsi128_si256(half), half, 1);
  const __m256i alpha = _mm256_set1_epi32(static_cast<int32_t>(0xFF000000u));
  size_t i = 0;
  for (; i + 16 <= n; i += 16) {
    const uint8_t *s = src + 3 * i;
    const __m256i v01 = _mm256_inserti128_si256(_mm256_castsi128_si256(load(s)), load(s + 12), 1);
    const __m256i v23 =
        _mm256_inserti128_si256(_mm256_castsi128_si256(load(s + 24)), _mm_srli_si128(load(s + 32), 4), 1);
    uint8_t *d = buffer + 4 * i;
    _mm256_storeu_si256(reinterpret_cast<__m256i *>(d), _mm256_or_si256(_mm256_shuffle_epi8(v01, pattern), alpha));
    _mm256_storeu_si256(reinterpret_cast<__m256i *>(d + 32),
                        _mm256_or_si256(_mm256_shuffle_epi8(v23, pattern), alpha));
  }
  for (; i < n; ++i) {
    copy3(buffer + 4 * i, src + 3 * i, swap);
    buffer[4 * i + 3] = 0xFF;
  }
}

RV_AVX2 void rgb16_to_24(uint8_t *buffer, int32_t width, Rgb16Layout layout, bool red_first) noexcept {
  const auto n = static_cast<size_t>(width);
  const uint8_t *src = move_to_end(buffer, 2 * n, 3 * n);
  const __m256i five = _mm256_set1_epi16(31);
  const __m256i green_bits = _mm256_set1_epi16(static_cast<int16_t>((1 << layout.green_bits) - 1));
  const __m128i red_shift = _mm_cvtsi32_si128(static_cast<int>(layout.red_shift));
  const __m128i blue_shift = _mm_cvtsi32_si128(static_cast<int>(layout.blue_shift));
  const __m128i green_up = _mm_cvtsi32_si128(static_cast<int>(8 - layout.green_bits));
  const __m128i green_down = _mm_cvtsi32_si128(static_cast<int>(2 * layout.green_bits - 8));
  const __m256i lo_first = _mm256_broadcastsi128_si256(interleave_lo_first());
  const __m256i lo_last = _mm256_broadcastsi128_si256(interleave_lo_last());
  const __m256i hi_first = _mm256_broadcastsi128_si256(interleave_hi_first());
  const __m256i hi_last = _mm256_broadcastsi128_si256(interleave_hi_last());
  size_t i = 0;
  for (; i + 16 <= n; i += 16) {
    const __m256i w = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(src + 2 * i));
    const __m256i r5 = _mm256_and_si256(_mm256_srl_epi16(w, red_shift), five);
    const __m256i b5 = _mm256_and_si256(_mm256_srl_epi16(w, blue_shift), five);
    const __m256i gn = _mm256_and_si256(_mm256_srli_epi16(w, 5), green_bits);
    const __m256i r = _mm256_or_si256(_mm256_slli_epi16(r5, 3), _mm256_srli_epi16(r5, 2));
    const __m256i b = _mm256_or_si256(_mm256_slli_epi16(b5, 3), _mm256_srli_epi16(b5, 2));
    const __m256i g = _mm256_or_si256(_mm256_sll_epi16(gn, green_up), _mm256_srl_epi16(gn, green_down));
    // Each 128-bit half holds 8 pixels and gives 24 bytes.
    const __m256i first = _mm256_packus_epi16(red_first ? r : b, g);
    const __m256i last = _mm256_packus_epi16(red_first ? b : r, _mm256_setzero_si256());
    const __m256i lo = _mm256_or_si256(_mm256_shuffle_epi8(first, lo_first), _mm256_shuffle_epi8(last, lo_last));
    const __m256i hi = _mm256_or_si256(_mm256_shuffle_epi8(first, hi_first), _mm256_shuffle_epi8(last, hi_last));
    uint8_t *d = buffer + 3 * i;
    store(d, _mm256_castsi256_si128(lo));
    _mm_storel_epi64(reinterpret_cast<__m128i *>(d + 16), _mm256_castsi256_si128(hi));
    store(d + 24, _mm256_extracti128_si256(lo, 1));
    _mm_storel_epi64(reinterpret_cast<__m128i *>(d + 40), _mm256_extracti128_si256(hi, 1));
  }
  for (; i < n; ++i) pixel16_to_24(buffer + 3 * i, src + 2 * i, layout, red_first);
}

}  // namespace avx2

}  // namespace rv::color::kernels

#endif
