// Gray verdicts: whether a palette, or the palette or lookup table of a
// bitmap, is gray, and if so whether it is a rising or falling ramp.
#include "color/palette.h"
#include "internal/record.h"
#include "ruvokit/rvbitmap.h"

namespace rv::color {

namespace {

// The red channel of a table's entries, whichever form the table has.
struct TableReds {
  const RGBQUAD *lut = nullptr;
  const RGBQUAD16 *lut16 = nullptr;
  int32_t red(int64_t i) const noexcept { return lut16 ? lut16[i].rgbRed : lut[i].rgbRed; }
  bool gray(int64_t i) const noexcept {
    if (lut16) return lut16[i].rgbRed == lut16[i].rgbGreen && lut16[i].rgbRed == lut16[i].rgbBlue;
    return lut[i].rgbRed == lut[i].rgbGreen && lut[i].rgbRed == lut[i].rgbBlue;
  }
};

bool within(int32_t value, int32_t target, int32_t tolerance) noexcept {
  return value >= target - tolerance && value <= target + tolerance;
}

// A run of n entries from `start` against the bounds lo..hi: its ends must
// meet the bounds (within the tolerance), rising or falling, and its body
// must be made of at most three straight pieces, a piece going on while each
// step stays within one of its first step.
int32_t test_run(const TableReds &t, int64_t start, int64_t n, int32_t lo, int32_t hi,
                 int32_t tolerance) noexcept {
  if (n <= 0) return GRAY_OTHER;
  const int32_t first = t.red(start), last = t.red(start + n - 1);
  int32_t verdict;
  if (first > last) {
    if (!within(first, hi, tolerance) || !within(last, lo, tolerance)) return GRAY_OTHER;
    verdict = GRAY_RAMP_INVERTED;
  } else {
    if (!within(first, lo, tolerance) || !within(last, hi, tolerance)) return GRAY_OTHER;
    verdict = GRAY_RAMP;
  }
  if (n < 3) return verdict;
  const int64_t end = start + n;
  int32_t breaks = 0;
  int64_t i = start;
  while (i < end - 1) {
    const int32_t step = t.red(i + 1) - t.red(i);
    int64_t j = i + 1;
    while (j < end - 1 && within(t.red(j + 1) - t.red(j), step, 1)) ++j;
    if (j >= end - 1) break;  // straight to the end
    if (j == i + 1) {
      ++i;  // broke at its very first step: start again one entry further
      continue;
    }
    if (++breaks == 3) return GRAY_OTHER;  // a fourth piece would be needed
    i = j;
  }
  return verdict;
}

// The shape of a whole table of `length` entries.
int32_t table_shape(const TableReds &t, uint32_t length, bool is_signed, int32_t tolerance) noexcept {
  if (!is_signed) {
    const int32_t a = t.red(0), b = t.red(length - 1);
    return test_run(t, 0, length, a < b ? a : b, a < b ? b : a, tolerance);
  }
  // Signed: entries from the middle up hold the negative values. Each half
  // must show the same ramp between the middle's values and the mean.
  const int64_t half = length / 2;
  if (half < 1) return GRAY_OTHER;
  const int32_t a = t.red(half), b = t.red(half - 1);
  const int32_t verdict = b < a ? GRAY_RAMP_INVERTED : GRAY_RAMP;
  const int32_t mean = (a + b) >> 1;
  const int32_t top = a > b ? a : b, bottom = a > b ? b : a;
  const int32_t lo = a > b ? mean : bottom, hi = a > b ? top : mean;
  if (test_run(t, half, half, lo, hi, tolerance) != verdict) return GRAY_OTHER;
  if (test_run(t, 0, half, top + bottom - hi, top + bottom - lo, tolerance) != verdict) {
    return GRAY_OTHER;
  }
  return verdict;
}

}  // namespace

}  // namespace rv::color

int32_t Rv_IsGrayScalePalette(const RGBQUAD *pEntries, int32_t nCount) noexcept {
  if (pEntries == nullptr || nCount <= 0) return ERROR_INVALID_PARAMETER;
  for (int32_t i = 0; i < nCount; ++i) {
    const RGBQUAD &e = pEntries[i];
    if (e.rgbRed != e.rgbGreen || e.rgbRed != e.rgbBlue) return GRAY_NO;
  }
  if (nCount < 2) {
    if (pEntries[0].rgbRed == 0) return GRAY_RAMP;
    return pEntries[0].rgbRed == 255 ? GRAY_RAMP_INVERTED : GRAY_OTHER;
  }
  // A ramp in whole steps of 255 / (n - 1), in 8-bit arithmetic.
  const auto step = static_cast<uint8_t>(255 / (nCount - 1));
  const bool rising = pEntries[0].rgbRed == 0;
  const uint8_t start = rising ? 0 : 255;
  for (int32_t i = 0; i < nCount; ++i) {
    const auto offset = static_cast<uint8_t>(step * static_cast<uint32_t>(i));
    const auto expected = static_cast<uint8_t>(rising ? start + offset : start - offset);
    if (pEntries[i].rgbRed != expected) return GRAY_OTHER;
  }
  return rising ? GRAY_RAMP : GRAY_RAMP_INVERTED;
}

int32_t Rv_IntIsGrayScaleBitmap(const BITMAPRECORD *pBitmap, int32_t bForceLUT) noexcept {
  const int32_t status = rv::check_record(pBitmap, rv::NullRecord::InvalidParameter, false);
  if (status != SUCCESS) return status;
  const int32_t depth = pBitmap->nBitsPerPixel;
  if (pBitmap->nOrder != ORDER_GRAY) {
    if (depth > 8 || pBitmap->nColors <= 0 || pBitmap->nColors > 256) return GRAY_NO;
    RGBQUAD entries[256];
    if (Rv_GetBitmapColors(pBitmap, 0, pBitmap->nColors, entries) != SUCCESS) return GRAY_NO;
    const int32_t verdict = Rv_IsGrayScalePalette(entries, pBitmap->nColors);
    if (verdict != GRAY_NO && depth >= 0 && pBitmap->nColors != (1 << depth)) return GRAY_OTHER;
    return verdict;
  }
  if (!Rv_IsBitmapLUTLengthValid(pBitmap)) return ERROR_LUT_LENGTH_INVALID_LUTLENGTH_SHOULD;
  rv::color::TableReds table;
  uint32_t length = 0;
  table.lut16 = Rv_GetLUT16(pBitmap, bForceLUT);
  if (table.lut16 != nullptr) {
    length = pBitmap->uLUT16Length;
  } else if (pBitmap->pLUT != nullptr &&
             ((pBitmap->uFlags & BITMAPFLAG_USE_LUT) != 0 || bForceLUT != 0)) {
    table.lut = pBitmap->pLUT;
    length = pBitmap->uLUTLength;
  } else {
    return GRAY_RAMP;
  }
  const int32_t high = pBitmap->nHighBit < 0 ? depth - 1 : pBitmap->nHighBit;
  const int32_t low = pBitmap->nLowBit < 0 ? 0 : pBitmap->nLowBit;
  int32_t width = high - low + 1;
  if (width > depth) width = depth;
  if (width <= 0) {
    if (table.lut16 == nullptr) return GRAY_OTHER;
    const int32_t red = table.red(0);
    return red < 256 ? GRAY_RAMP : (red < 65280 ? GRAY_OTHER : GRAY_RAMP_INVERTED);
  }
  // Every entry the field can address must be gray; the table's own length
  // bounds the walk.
  const uint64_t addressed = width >= 32 ? uint64_t{1} << 32 : uint64_t{1} << width;
  const uint64_t checked = addressed < length ? addressed : length;
  for (uint64_t i = 0; i < checked; ++i) {
    if (!table.gray(static_cast<int64_t>(i))) return GRAY_NO;
  }
  if (length == 0) return GRAY_OTHER;
  return rv::color::table_shape(table, length, (pBitmap->uFlags & BITMAPFLAG_SIGNED) != 0,
                                table.lut16 != nullptr ? 255 : 1);
}

int32_t Rv_IsGrayScaleBitmap(const BITMAPRECORD *pBitmap) noexcept {
  return Rv_IntIsGrayScaleBitmap(pBitmap, FALSE);
}
