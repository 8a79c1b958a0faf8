// 32-bit gray: the range of a bitmap's gray fields, and scaling runs of words
// down to bytes between a minimum and a maximum.
#include <cstring>

#include "color/grayscale.h"
#include "internal/memory.h"
#include "internal/record.h"
#include "ruvokit/rvcolor.h"

int32_t Rv_IntGetMinMaxValGray(BITMAPRECORD *pBitmap, int64_t *pnMin, int64_t *pnMax) noexcept {
  if (pBitmap == nullptr) return FAILURE;
  if (!rv::valid_record_size(pBitmap->uStructSize)) return ERROR_INVALID_STRUCT_SIZE;
  if (pnMin != nullptr) *pnMin = 0;
  if (pnMax != nullptr) *pnMax = 0;
  if (pBitmap->nBitsPerPixel != 32 || pBitmap->nOrder != ORDER_GRAY || pBitmap->nWidth < 1 ||
      pBitmap->nHeight < 1 || !rv::is_allocated(pBitmap)) {
    return ERROR_INVALID_PARAMETER;
  }
  // The field: nHighBit (31 when negative) down to nLowBit, at most 32 bits.
  const int32_t high = pBitmap->nHighBit < 0 ? 31 : pBitmap->nHighBit;
  const int32_t low = pBitmap->nLowBit > 0 ? pBitmap->nLowBit : 0;
  const int64_t span = int64_t{high} - low + 1;
  const int32_t width = span > 32 ? 32 : (span < 0 ? 0 : static_cast<int32_t>(span));
  const uint64_t mask = (uint64_t{1} << width) - 1;
  const bool is_signed = (pBitmap->uFlags & BITMAPFLAG_SIGNED) != 0 && width > 0;
  const uint64_t sign = width > 0 ? uint64_t{1} << (width - 1) : 0;

  const auto bytes = static_cast<uint32_t>(pBitmap->nBytesPerLine);
  auto *row = static_cast<uint32_t *>(rv::alloc_block(bytes, false));
  if (row == nullptr) return ERROR_NO_MEMORY;
  int32_t locked = FALSE;
  int32_t status = Rv_IntAccessBitmap(pBitmap, &locked);
  int64_t lo = INT64_MAX, hi = INT64_MIN;
  for (int32_t y = 0; y < pBitmap->nHeight && status == SUCCESS; ++y) {
    if (Rv_GetBitmapRow(pBitmap, row, y, bytes) < 0) {
      status = ERROR_INVALID_PARAMETER;
      break;
    }
    for (int32_t x = 0; x < pBitmap->nWidth; ++x) {
      const uint64_t field = low < 32 ? (uint64_t{row[x]} >> low) & mask : 0;
      // A signed field has its top bit extended.
      const int64_t v = is_signed ? static_cast<int64_t>(field ^ sign) - static_cast<int64_t>(sign)
                                  : static_cast<int64_t>(field);
      if (v < lo) lo = v;
      if (v > hi) hi = v;
    }
  }
  status = Rv_IntReleaseBitmap(pBitmap, locked, status);
  rv::free_block(row);
  if (status != SUCCESS) return status;
  if (pnMin != nullptr) *pnMin = lo;
  if (pnMax != nullptr) *pnMax = hi;
  return SUCCESS;
}

int32_t Rv_Gray32To8(int32_t nCount, const uint32_t *pSrc, uint8_t *pDst, uint32_t uMask,
                     int32_t nShift, uint32_t uMinLow, uint32_t /*uMinHigh*/, uint32_t uMaxLow,
                     uint32_t /*uMaxHigh*/) noexcept {
  if (pSrc == nullptr || pDst == nullptr) return ERROR_INVALID_PARAMETER;
  if (nCount <= 0) return SUCCESS;
  // An empty range gives full-scale bytes over the run.
  if (uMaxLow == uMinLow) {
    std::memset(pDst, 0xFF, static_cast<size_t>(nCount));
    return SUCCESS;
  }
  const uint32_t shift = static_cast<uint32_t>(nShift);
  for (int32_t i = 0; i < nCount; ++i) {
    const uint32_t value = (shift < 32 ? pSrc[i] >> shift : 0) & uMask;
    pDst[i] = static_cast<uint8_t>(rv::color::scale_between(value, uMinLow, uMaxLow, 255));
  }
  return SUCCESS;
}
