// Right-angle turns: of plain buffers, and of a bitmap into a new record that
// then takes the old one's place. A quarter turn is a transpose. The source is
// cut into bands of rows, each of which becomes a strip of columns of the
// result, and a band moves in blocks of a few columns: the source lines a
// block reads stay in the cache for the next block, and every result row gets
// a long run of bytes per band rather than a pixel at a time.
#include "transform/rotate90.h"

#include <algorithm>
#include <cstring>
#include <utility>
#if defined(__SSE2__)
#include <immintrin.h>
#endif

#include "core/rowcol.h"
#include "internal/bitmap_hooks.h"
#include "internal/pixels.h"
#include "internal/record.h"
#include "internal/replace.h"
#include "internal/simd.h"
#include "ruvokit/rvbitmap.h"
#include "ruvokit/rvtransform.h"
#include "transform/mirror.h"
#include "transform/rows.h"

namespace rv::xform {

namespace {

constexpr int32_t kBand = 512;  // source rows per band: result columns, a multiple of 8
constexpr int32_t kBlock = 16;  // source columns per block inside a band

// Rows addressed from a first row and a signed distance, so that the result's
// rows can be walked either way without a table.
struct ResultRows {
  uint8_t *base;
  int64_t stride;
  uint8_t *at(int64_t i) const noexcept { return base + i * stride; }
};

// Pixels of whole bytes: pixel x of source row k (rows [k0, k1) of the band,
// columns [x0, x1)) goes to pixel col + k of result row x. Pixels of 3 and 6
// bytes move as 4 and 8: the bytes written past a pixel belong to the next
// pixel of the result row, which is written after it, so only the last pixel
// of a result row and the last of a source row (which might end the buffer)
// move at their own size.
template <size_t kBytes>
void move_pixels(const uint8_t *const *in, int32_t k0, int32_t k1, int32_t x0, int32_t x1, int32_t width,
                 ResultRows out, int32_t col, int32_t out_width) noexcept {
  constexpr size_t kWide = kBytes == 3 ? 4 : kBytes == 6 ? 8 : kBytes;
  for (int32_t k = k0; k < k1; ++k) {
    const uint8_t *src = in[k] + static_cast<size_t>(x0) * kBytes;
    uint8_t *dst = out.at(x0) + static_cast<size_t>(col + k) * kBytes;
    const int32_t wide_end = col + k + 1 < out_width ? std::min(x1, width - 1) : x0;
    int32_t x = x0;
    for (; x < wide_end; ++x, src += kBytes, dst += out.stride) std::memcpy(dst, src, kWide);
    for (; x < x1; ++x, src += kBytes, dst += out.stride) std::memcpy(dst, src, kBytes);
  }
}

template <size_t kBytes>
void transpose_bytes(const uint8_t *const *in, int32_t n, int32_t width, ResultRows out, int32_t col,
                     int32_t out_width) noexcept {
  for (int32_t x0 = 0; x0 < width; x0 += kBlock) {
    move_pixels<kBytes>(in, 0, n, x0, std::min(width, x0 + kBlock), width, out, col, out_width);
  }
}

#if defined(__SSE2__)
#define RV_SSSE3 __attribute__((target("ssse3")))

inline __m128i load16(const uint8_t *p) noexcept { return _mm_loadu_si128(reinterpret_cast<const __m128i *>(p)); }
inline void store16(uint8_t *p, __m128i v) noexcept { _mm_storeu_si128(reinterpret_cast<__m128i *>(p), v); }

// 32 bits: four rows by four columns, a 4 by 4 transpose of words, four
// result rows at a time down the whole band.
void transpose32_vector(const uint8_t *const *in, int32_t n, int32_t width, ResultRows out, int32_t col,
                        int32_t out_width) noexcept {
  const int32_t whole_rows = n / 4 * 4;
  const int32_t vector_width = width / 4 * 4;
  for (int32_t x = 0; x < vector_width; x += 4) {
    const size_t from = static_cast<size_t>(x) * 4;
    for (int32_t k = 0; k < whole_rows; k += 4) {
      const size_t to = static_cast<size_t>(col + k) * 4;
      const __m128i r0 = load16(in[k] + from), r1 = load16(in[k + 1] + from);
      const __m128i r2 = load16(in[k + 2] + from), r3 = load16(in[k + 3] + from);
      const __m128i t0 = _mm_unpacklo_epi32(r0, r1), t1 = _mm_unpacklo_epi32(r2, r3);
      const __m128i t2 = _mm_unpackhi_epi32(r0, r1), t3 = _mm_unpackhi_epi32(r2, r3);
      store16(out.at(x) + to, _mm_unpacklo_epi64(t0, t1));
      store16(out.at(x + 1) + to, _mm_unpackhi_epi64(t0, t1));
      store16(out.at(x + 2) + to, _mm_unpacklo_epi64(t2, t3));
      store16(out.at(x + 3) + to, _mm_unpackhi_epi64(t2, t3));
    }
  }
  move_pixels<4>(in, 0, whole_rows, vector_width, width, width, out, col, out_width);
  move_pixels<4>(in, whole_rows, n, 0, width, width, out, col, out_width);
}

// The byte shuffles that take pixel j of a row of four 3-byte pixels to
// place i of result row j: kShuffle24[j][i].
struct Shuffles24 {
  uint8_t mask[4][4][16];
};
constexpr Shuffles24 make_shuffles24() noexcept {
  Shuffles24 s{};
  for (int j = 0; j < 4; ++j)
    for (int i = 0; i < 4; ++i)
      for (int p = 0; p < 16; ++p) s.mask[j][i][p] = static_cast<uint8_t>(p >= 3 * i && p < 3 * i + 3 ? 3 * j + p - 3 * i : 0x80);
  return s;
}
constexpr Shuffles24 kShuffle24 = make_shuffles24();

// 24 bits: four rows by four columns, each result row's 12 bytes gathered
// from the four rows by byte shuffles. Four result rows at a time are written
// down the whole band, the source lines they read staying in the cache for
// the next four. A vector reads 16 bytes of a source row and writes 16 of a
// result row; the 4 bytes past the pixels belong to pixels written after
// them, and are not touched at the ends of the rows.
RV_SSSE3 void transpose24_vector(const uint8_t *const *in, int32_t n, int32_t width, ResultRows out, int32_t col,
                                 int32_t out_width) noexcept {
  __m128i masks[4][4];
  for (int j = 0; j < 4; ++j)
    for (int i = 0; i < 4; ++i) masks[j][i] = load16(kShuffle24.mask[j][i]);
  const int32_t whole_rows = n / 4 * 4;
  const int32_t vector_width = width >= 6 ? (width - 2) / 4 * 4 : 0;  // 16-byte reads stay in the row
  for (int32_t x = 0; x < vector_width; x += 4) {
    const size_t from = static_cast<size_t>(x) * 3;
    for (int32_t k = 0; k < whole_rows; k += 4) {
      const size_t to = static_cast<size_t>(col + k) * 3;
      const __m128i r[4] = {load16(in[k] + from), load16(in[k + 1] + from), load16(in[k + 2] + from),
                            load16(in[k + 3] + from)};
      const bool whole = col + k + 6 <= out_width;
      for (int j = 0; j < 4; ++j) {
        const __m128i v = _mm_or_si128(
            _mm_or_si128(_mm_shuffle_epi8(r[0], masks[j][0]), _mm_shuffle_epi8(r[1], masks[j][1])),
            _mm_or_si128(_mm_shuffle_epi8(r[2], masks[j][2]), _mm_shuffle_epi8(r[3], masks[j][3])));
        uint8_t *dst = out.at(x + j) + to;
        if (whole) {
          store16(dst, v);
        } else {
          _mm_storel_epi64(reinterpret_cast<__m128i *>(dst), v);
          const auto tail = static_cast<uint32_t>(_mm_cvtsi128_si32(_mm_srli_si128(v, 8)));
          std::memcpy(dst + 8, &tail, 4);
        }
      }
    }
  }
  move_pixels<3>(in, 0, whole_rows, vector_width, width, width, out, col, out_width);
  move_pixels<3>(in, whole_rows, n, 0, width, width, out, col, out_width);
}
#endif

// The 8 by 8 bit block whose byte i (from the high end) is row i, pixel 0 in
// the high bit, transposed: byte j then holds pixel j of the eight rows.
inline uint64_t transpose8(uint64_t x) noexcept {
  uint64_t t = (x ^ (x >> 7)) & 0x00AA00AA00AA00AAull;
  x = x ^ t ^ (t << 7);
  t = (x ^ (x >> 14)) & 0x0000CCCC0000CCCCull;
  x = x ^ t ^ (t << 14);
  t = (x ^ (x >> 28)) & 0x00000000F0F0F0F0ull;
  return x ^ t ^ (t << 28);
}

// Depth 1, rows [k_begin, k_end) and source bytes [xb_begin, xb_end): eight
// rows at a time, a byte of each, become a byte of eight result rows. Of a
// group short of eight rows only its own bits are written.
void transpose_bits_scalar(const uint8_t *const *in, int32_t k_begin, int32_t k_end, int32_t xb_begin,
                           int32_t xb_end, int32_t width, ResultRows out, int32_t col) noexcept {
  for (int32_t k0 = k_begin; k0 < k_end; k0 += 8) {
    const int32_t rows = std::min(8, k_end - k0);
    const auto keep = static_cast<uint8_t>(rows == 8 ? 0 : 0xFFu >> rows);
    const size_t to = static_cast<size_t>(col + k0) / 8;
    for (int32_t xb = xb_begin; xb < xb_end; ++xb) {
      uint64_t block = 0;
      for (int32_t i = 0; i < rows; ++i) block |= static_cast<uint64_t>(in[k0 + i][xb]) << (56 - 8 * i);
      block = transpose8(block);
      const int32_t last = std::min(8, width - 8 * xb);
      for (int32_t j = 0; j < last; ++j) {
        uint8_t *d = out.at(8 * xb + j) + to;
        const auto bits = static_cast<uint8_t>(block >> (56 - 8 * j));
        *d = static_cast<uint8_t>((*d & keep) | (bits & ~keep));
      }
    }
  }
}

#if defined(__SSE2__)
// Sixteen rows by 64 columns: the eight bytes of each row are gathered into
// eight vectors of sixteen bytes, one per source byte, rows ordered so that
// the top bits of a vector are, low bit first, the pixels of the 16 rows
// packed as the result wants them (the first row in the high bit of the first
// byte). Each vector then gives a column of the source, and adding it to
// itself brings the next column's bits to the top.
void transpose_bits_16x64(const uint8_t *const *in, int32_t k0, int32_t xb, ResultRows out, int32_t col) noexcept {
  __m128i r[16];
  for (int i = 0; i < 16; ++i) r[i] = _mm_loadl_epi64(reinterpret_cast<const __m128i *>(in[k0 + (i < 8 ? 7 - i : 23 - i)] + xb));
  __m128i a[8], b[8];
  for (int i = 0; i < 8; ++i) a[i] = _mm_unpacklo_epi8(r[2 * i], r[2 * i + 1]);
  for (int i = 0; i < 4; ++i) {
    b[2 * i] = _mm_unpacklo_epi16(a[2 * i], a[2 * i + 1]);
    b[2 * i + 1] = _mm_unpackhi_epi16(a[2 * i], a[2 * i + 1]);
  }
  for (int i = 0; i < 2; ++i) {
    a[4 * i] = _mm_unpacklo_epi32(b[i], b[i + 2]);
    a[4 * i + 1] = _mm_unpackhi_epi32(b[i], b[i + 2]);
    a[4 * i + 2] = _mm_unpacklo_epi32(b[i + 4], b[i + 6]);
    a[4 * i + 3] = _mm_unpackhi_epi32(b[i + 4], b[i + 6]);
  }
  // a[0], a[1] hold source bytes 0-1 and 2-3 of rows 0-7; a[4], a[5] bytes
  // 4-5 and 6-7; a[2], a[3], a[6], a[7] the same of rows 8-15.
  const int order[4][2] = {{0, 2}, {1, 3}, {4, 6}, {5, 7}};
  const size_t to = static_cast<size_t>(col + k0) / 8;
  for (int p = 0; p < 4; ++p) {
    const __m128i lo = a[order[p][0]], hi = a[order[p][1]];
    __m128i v[2] = {_mm_unpacklo_epi64(lo, hi), _mm_unpackhi_epi64(lo, hi)};
    for (int h = 0; h < 2; ++h) {
      const int32_t x0 = 8 * (xb + 2 * p + h);
      for (int j = 0; j < 8; ++j) {
        const auto bits = static_cast<uint16_t>(_mm_movemask_epi8(v[h]));
        std::memcpy(out.at(x0 + j) + to, &bits, 2);
        v[h] = _mm_add_epi8(v[h], v[h]);
      }
    }
  }
}
#endif

// Depth 1. Whole groups of sixteen rows over whole 64-column blocks go by
// vectors where the machine has them; the edges go eight rows at a time.
void transpose_bits(const uint8_t *const *in, int32_t n, int32_t width, ResultRows out, int32_t col) noexcept {
  const int32_t bytes = (width + 7) / 8;
  int32_t k0 = 0;
#if defined(__SSE2__)
  const int32_t wide = width / 64 * 8;  // source bytes in whole 64-column blocks
  for (; simd::level() != simd::Level::Plain && k0 + 16 <= n; k0 += 16) {
    for (int32_t xb = 0; xb < wide; xb += 8) transpose_bits_16x64(in, k0, xb, out, col);
    transpose_bits_scalar(in, k0, k0 + 16, wide, bytes, width, out, col);
  }
#endif
  transpose_bits_scalar(in, k0, n, 0, bytes, width, out, col);
}

// The other packed depths and 12 bits, pixel by pixel.
void transpose_packed(const uint8_t *const *in, int32_t n, int32_t width, int32_t bits, ResultRows out,
                      int32_t col) noexcept {
  for (int32_t x0 = 0; x0 < width; x0 += kBlock) {
    const int32_t x1 = std::min(width, x0 + kBlock);
    for (int32_t k = 0; k < n; ++k) {
      const auto to = static_cast<uint64_t>(col + k);
      for (int32_t x = x0; x < x1; ++x) {
        if (bits == 12) {
          px::put12(out.at(x), to, px::get12(in[k], static_cast<uint64_t>(x)));
        } else {
          px::put_packed(out.at(x), bits, to, px::get_packed(in[k], bits, static_cast<uint64_t>(x)));
        }
      }
    }
  }
}

// `out_width`: the pixels of a result row.
void transpose_band(const uint8_t *const *in, int32_t n, int32_t width, int32_t bits, ResultRows out, int32_t col,
                    int32_t out_width) noexcept {
  switch (bits) {
    case 1: transpose_bits(in, n, width, out, col); break;
    case 8: transpose_bytes<1>(in, n, width, out, col, out_width); break;
    case 16: transpose_bytes<2>(in, n, width, out, col, out_width); break;
#if defined(__SSE2__)
    case 24:
      if (simd::level() >= simd::Level::Ssse3) {
        transpose24_vector(in, n, width, out, col, out_width);
      } else {
        transpose_bytes<3>(in, n, width, out, col, out_width);
      }
      break;
    case 32:
      if (simd::level() != simd::Level::Plain) {
        transpose32_vector(in, n, width, out, col, out_width);
      } else {
        transpose_bytes<4>(in, n, width, out, col, out_width);
      }
      break;
#else
    case 24: transpose_bytes<3>(in, n, width, out, col, out_width); break;
    case 32: transpose_bytes<4>(in, n, width, out, col, out_width); break;
#endif
    case 48: transpose_bytes<6>(in, n, width, out, col, out_width); break;
    case 64: transpose_bytes<8>(in, n, width, out, col, out_width); break;
    default: transpose_packed(in, n, width, bits, out, col); break;
  }
}

// A quarter turn of `height` rows of `width` pixels: the source rows are
// addressed by `source_row`, the result rows start at `result` with
// `result_bytes` between them. Clockwise, the last source row becomes the
// first column and source column x the result's row x; counter-clockwise the
// first row becomes the first column and column x the row width - 1 - x.
// `band_done(n)` after each band; a result other than SUCCESS stops.
template <class SourceRow, class BandDone>
int32_t quarter_turn(SourceRow source_row, int32_t width, int32_t height, int32_t bits, uint8_t *result,
                     int64_t result_bytes, bool clockwise, BandDone band_done) noexcept {
  const ResultRows out = clockwise ? ResultRows{result, result_bytes}
                                : ResultRows{result + (width - 1) * result_bytes, -result_bytes};
  const uint8_t *in[kBand];
  for (int32_t col = 0; col < height; col += kBand) {
    const int32_t n = std::min(kBand, height - col);
    for (int32_t k = 0; k < n; ++k) in[k] = source_row(clockwise ? height - 1 - col - k : col + k);
    transpose_band(in, n, width, bits, out, col, height);
    const int32_t status = band_done(n);
    if (status != SUCCESS) return status;
  }
  return SUCCESS;
}

}  // namespace

int32_t quarter_turn_flat(const BITMAPRECORD *source, BITMAPRECORD *result, bool clockwise,
                          RangeProgress &progress) noexcept {
  return quarter_turn([source](int32_t row) -> const uint8_t * { return row_address(source, row); },
                      source->nWidth, source->nHeight, source->nBitsPerPixel, result->pData,
                      static_cast<uint32_t>(result->nBytesPerLine), clockwise, [&progress](int32_t rows) {
                        int32_t status = SUCCESS;
                        for (int32_t i = 0; i < rows && status == SUCCESS; ++i) status = progress.row_done();
                        return status;
                      });
}

int32_t quarter_turn_rows(BITMAPRECORD *source, BITMAPRECORD *result, bool clockwise,
                          RangeProgress &progress) noexcept {
  Buffer<uint8_t> row(static_cast<uint32_t>(source->nBytesPerLine));
  if (!row) return ERROR_NO_MEMORY;
  const int32_t height = source->nHeight;
  const auto rows = static_cast<uint32_t>(source->nWidth);
  for (int32_t col = 0; col < height; ++col) {
    int32_t status = read_row(source, row.get(), clockwise ? height - 1 - col : col);
    if (status == SUCCESS) status = Rv_PutBitmapCol(result, row.get(), col, rows, clockwise ? FALSE : TRUE);
    if (status == SUCCESS) status = progress.row_done();
    if (status != SUCCESS) return status;
  }
  return SUCCESS;
}

}  // namespace rv::xform

namespace {

bool valid_buffer_depth(uint32_t bits) noexcept {
  return bits <= 64 && rv::px::is_valid_depth(static_cast<int32_t>(bits));
}

// Compressed storage below this many bytes takes the row path; above it the
// run forms' own quarter turn, where installed, spares the expansion.
constexpr uint64_t kRunTurnFrom = 18000001;

// The pixel work of a quarter turn of `b` into `fresh`.
int32_t turn_pixels(BITMAPRECORD *b, BITMAPRECORD *fresh, bool clockwise, int32_t start_percent,
                    int32_t end_percent) noexcept {
  int32_t status = SUCCESS;
  if (rv::flat_size(b) >= kRunTurnFrom &&
      rv::hooks::rotate90_runs(b, fresh, clockwise, start_percent, end_percent, &status)) {
    return status;
  }
  rv::xform::Access source(b);
  if (source.status() != SUCCESS) return source.status();
  rv::xform::Access result(fresh);
  if (result.status() != SUCCESS) return result.status();
  rv::xform::RangeProgress progress(b->nHeight, start_percent, end_percent);
  status = progress.start();
  if (status == SUCCESS) {
    status = rv::xform::is_flat_memory(b) && rv::xform::is_flat_memory(fresh)
                 ? rv::xform::quarter_turn_flat(b, fresh, clockwise, progress)
                 : rv::xform::quarter_turn_rows(b, fresh, clockwise, progress);
  }
  status = result.finish(status);
  return source.finish(status);
}

}  // namespace

int32_t Rv_RotateBuffer90(const uint8_t *pSrc, uint8_t *pDst, int32_t bReverse, uint32_t nWidth, uint32_t nHeight,
                          uint32_t nBitsPerPixel) noexcept {
  if (pSrc == nullptr || pDst == nullptr) return ERROR_INVALID_PARAMETER;
  if (!valid_buffer_depth(nBitsPerPixel)) return ERROR_INVALID_BITS_PER_PIXEL;
  if (nWidth > INT32_MAX || nHeight > INT32_MAX) return ERROR_INVALID_PARAMETER;
  if (nWidth == 0 || nHeight == 0) return SUCCESS;
  const auto bits = static_cast<int32_t>(nBitsPerPixel);
  const auto source_bytes = static_cast<uint32_t>(rv::px::bytes_per_line(static_cast<int32_t>(nWidth), bits));
  const auto result_bytes = static_cast<uint32_t>(rv::px::bytes_per_line(static_cast<int32_t>(nHeight), bits));
  return rv::xform::quarter_turn(
      [pSrc, source_bytes](int32_t row) { return pSrc + static_cast<size_t>(source_bytes) * static_cast<uint32_t>(row); },
      static_cast<int32_t>(nWidth), static_cast<int32_t>(nHeight), bits, pDst, result_bytes, bReverse != 0,
      [](int32_t) { return SUCCESS; });
}

int32_t Rv_RotateBuffer180(const uint8_t *pSrc, uint8_t *pDst, uint32_t nWidth, uint32_t nHeight,
                           uint32_t nBitsPerPixel) noexcept {
  if (pSrc == nullptr || pDst == nullptr) return ERROR_INVALID_PARAMETER;
  if (!valid_buffer_depth(nBitsPerPixel)) return ERROR_INVALID_BITS_PER_PIXEL;
  if (nWidth > INT32_MAX) return ERROR_INVALID_PARAMETER;
  const auto bits = static_cast<int32_t>(nBitsPerPixel);
  const size_t bytes = static_cast<uint32_t>(rv::px::bytes_per_line(static_cast<int32_t>(nWidth), bits));
  auto row = [bytes](auto *base, uint32_t y) { return base + bytes * y; };
  if (pSrc != pDst) {
    for (uint32_t y = 0; y < nHeight; ++y) {
      rv::xform::mirror_copy(row(pDst, nHeight - 1 - y), row(pSrc, y), static_cast<int32_t>(nWidth), bits, bytes);
    }
    return SUCCESS;
  }
  for (uint32_t y = 0; y < nHeight / 2; ++y) std::swap_ranges(row(pDst, y), row(pDst, y) + bytes, row(pDst, nHeight - 1 - y));
  for (uint32_t y = 0; y < nHeight; ++y) Rv_MirrorLine(row(pDst, y), static_cast<int32_t>(nWidth), bits);
  return SUCCESS;
}

int32_t Rv_RotateBitmap90(BITMAPRECORD *pBitmap, int32_t bClockwise, int32_t nStartPercent,
                          int32_t nEndPercent) noexcept {
  const int32_t checked = rv::check_record(pBitmap, rv::NullRecord::InvalidImage, true);
  if (checked != SUCCESS) return checked;
  // These perspectives store the picture the other way round, so a turn of
  // the display is the opposite turn of the storage.
  const int32_t view = pBitmap->nViewPerspective;
  const bool reversed = view == VIEW_TOP_RIGHT || view == VIEW_BOTTOM_LEFT || view == VIEW_LEFT_TOP ||
                        view == VIEW_RIGHT_BOTTOM;
  const bool clockwise = (bClockwise != 0) != reversed;
  const int32_t width = pBitmap->nWidth, height = pBitmap->nHeight;
  BITMAPRECORD fresh;
  int32_t status = Rv_DupBitmapNewDim(&fresh, pBitmap, pBitmap->uStructSize, height, width,
                                      pBitmap->nBitsPerPixel, DUPFLAG_ALLOCATE | DUPFLAG_LOCK_AS_SOURCE);
  if (status != SUCCESS) return status;
  std::swap(fresh.nXResolution, fresh.nYResolution);
  status = turn_pixels(pBitmap, &fresh, clockwise, nStartPercent, nEndPercent);
  const int32_t angle = bClockwise ? 9000 : -9000;
  if (status == SUCCESS) status = rv::hooks::rotate_region(&fresh, width, height, angle);
  if (status == SUCCESS) {
    status = rv::hooks::rotate_overlays(&fresh, angle, POINT{width / 2, height / 2}, POINT{height / 2, width / 2});
  }
  return rv::replace_record(pBitmap, &fresh, status);
}
