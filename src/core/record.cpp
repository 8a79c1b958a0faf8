// The record itself: its recorded size, copying the record, and the gray
// parameters and lookup tables it carries.
#include <cstring>

#include "core/storage.h"
#include "internal/memory.h"
#include "internal/record.h"
#include "ruvokit/rvbitmap.h"

namespace rv {

int32_t set_bitmap_size(BITMAPRECORD *bitmap, uint64_t size) noexcept {
  if (has_size64_field(bitmap)) {
    bitmap->uSize32 = static_cast<uint32_t>(size);
    bitmap->uSize64 = size;
    return SUCCESS;
  }
  if (size > 0xFFFF0000ull) {
    bitmap->uSize32 = 0xFFFF0000u;
    return ERROR_NOT_ENOUGH_MEMORY;
  }
  bitmap->uSize32 = static_cast<uint32_t>(size);
  return SUCCESS;
}

}  // namespace rv

int32_t Rv_IntSetBitmapSize(BITMAPRECORD *pBitmap, uint32_t uSizeLow, uint32_t uSizeHigh) noexcept {
  if (pBitmap == nullptr) return ERROR_INVALID_IMAGE;
  return rv::set_bitmap_size(pBitmap, (static_cast<uint64_t>(uSizeHigh) << 32) | uSizeLow);
}

uint64_t Rv_GetBitmapDataSize(const BITMAPRECORD *pBitmap) noexcept {
  if (rv::check_record(pBitmap, rv::NullRecord::InvalidImage, false) != SUCCESS) return 0;
  return rv::bitmap_size(pBitmap);
}

int32_t Rv_CopyBitmapHandle(BITMAPRECORD *pDst, const BITMAPRECORD *pSrc,
                            uint32_t uDstStructSize) noexcept {
  if (pSrc == nullptr) return ERROR_INVALID_PARAMETER;
  if (!rv::valid_record_size(pSrc->uStructSize) || !rv::valid_record_size(uDstStructSize)) {
    return ERROR_INVALID_STRUCT_SIZE;
  }
  if (pDst == nullptr) return SUCCESS;
  const uint32_t size = pSrc->uStructSize < uDstStructSize ? pSrc->uStructSize : uDstStructSize;
  if (pDst != pSrc) std::memmove(pDst, pSrc, size);
  pDst->uStructSize = size;
  return SUCCESS;
}

int32_t Rv_UpdateBitmapSize(BITMAPRECORD *pBitmap) noexcept {
  const int32_t status = rv::check_record(pBitmap, rv::NullRecord::InvalidImage, true);
  if (status != SUCCESS) return status;
  uint64_t size;
  if (pBitmap->uFlags & BITMAPFLAG_COMPRESSED) {
    size = rv::storage::compressed_size(pBitmap);
  } else if (pBitmap->uFlags & BITMAPFLAG_SUPER_COMPRESSED) {
    size = rv::storage::super_size(pBitmap);
  } else {
    size = rv::flat_size(pBitmap);
  }
  return rv::set_bitmap_size(pBitmap, size);
}

// --- gray parameters ---------------------------------------------------------------------
void Rv_InitGrayParams(BITMAPRECORD *pBitmap) noexcept {
  if (pBitmap == nullptr) return;
  const int32_t bits = pBitmap->nBitsPerPixel;
  pBitmap->nLowBit = 0;
  pBitmap->nLUTLowBit = 0;
  pBitmap->nMinVal = 0;
  pBitmap->nHighBit = bits - 1;
  pBitmap->nLUTHighBit = bits - 1;
  pBitmap->nMaxVal = bits >= 1 && bits < 32 ? static_cast<int32_t>((1u << bits) - 1u)
                                            : static_cast<int32_t>(0xFFFFFFFFu);
  rv::free_block(pBitmap->pLUT);
  pBitmap->pLUT = nullptr;
  if (rv::has_lut16_fields(pBitmap)) {
    rv::free_block(pBitmap->pLUT16);
    pBitmap->pLUT16 = nullptr;
  }
  pBitmap->uLUTLength = 0;
}

void Rv_FreeGrayParams(BITMAPRECORD *pBitmap) noexcept {
  if (pBitmap == nullptr) return;
  rv::free_block(pBitmap->pLUT);
  pBitmap->pLUT = nullptr;
  rv::free_block(pBitmap->pPaintLUT);
  pBitmap->pPaintLUT = nullptr;
  if (rv::has_lut16_fields(pBitmap)) {
    rv::free_block(pBitmap->pLUT16);
    pBitmap->pLUT16 = nullptr;
    rv::free_block(pBitmap->pPaintLUT16);
    pBitmap->pPaintLUT16 = nullptr;
  }
}

void Rv_GetGrayParams(int32_t nBitsPerPixel, int32_t nMaxBits, int32_t nLowBit, int32_t nHighBit,
                      uint32_t *puBits, uint32_t *puMask, uint32_t *puShift) noexcept {
  if (puMask == nullptr || puShift == nullptr) return;
  const int32_t high = nHighBit < 0 ? nBitsPerPixel - 1 : nHighBit;
  const int32_t low = nLowBit < 0 ? 0 : nLowBit;
  int32_t count = high - low + 1;
  if (nMaxBits < count) count = nMaxBits;
  if (puBits) *puBits = static_cast<uint32_t>(count);
  if (count >= 32) {
    *puMask = 0xFFFFFFFFu;
  } else if (count <= 0) {
    *puMask = 0;
  } else {
    *puMask = (1u << count) - 1u;
  }
  *puShift = static_cast<uint32_t>(high - count + 1);
}

namespace {

// Duplicates `count` entries of `size` bytes; null for no table.
template <class T>
int32_t duplicate_table(const T *src, uint64_t count, T **out) noexcept {
  *out = nullptr;
  if (src == nullptr) return SUCCESS;
  if (count > SIZE_MAX / sizeof(T)) return ERROR_NO_MEMORY;
  T *copy = rv::alloc_array<T>(static_cast<size_t>(count));
  if (copy == nullptr && count != 0) return ERROR_NO_MEMORY;
  if (count) std::memcpy(copy, src, static_cast<size_t>(count) * sizeof(T));
  *out = copy;
  return SUCCESS;
}

}  // namespace

int32_t Rv_CopyGrayParams(BITMAPRECORD *pDst, const BITMAPRECORD *pSrc, int32_t bCopyLUT) noexcept {
  if (pDst == nullptr || pSrc == nullptr) return ERROR_INVALID_PARAMETER;
  pDst->nLowBit = pSrc->nLowBit;
  pDst->nHighBit = pSrc->nHighBit;
  pDst->nMinVal = pSrc->nMinVal;
  pDst->nMaxVal = pSrc->nMaxVal;
  pDst->nLUTLowBit = pSrc->nLUTLowBit;
  pDst->nLUTHighBit = pSrc->nLUTHighBit;
  pDst->uFlags = (pDst->uFlags & ~BITMAPFLAG_USE_LUT) | (pSrc->uFlags & BITMAPFLAG_USE_LUT);
  if (pDst == pSrc) return SUCCESS;
  if (bCopyLUT) {
    rv::free_block(pDst->pLUT);
    pDst->pLUT = nullptr;
    RGBQUAD *lut;
    if (duplicate_table(pSrc->pLUT, pSrc->uLUTLength, &lut) != SUCCESS) return ERROR_NO_MEMORY;
    pDst->pLUT = lut;
  } else {
    pDst->pLUT = pSrc->pLUT;
  }
  pDst->uLUTLength = pSrc->uLUTLength;
  if (!rv::has_lut16_fields(pDst)) return SUCCESS;
  // The source's deep table counts only for a gray record of the full form.
  const bool source_has = rv::has_lut16_fields(pSrc) && pSrc->nOrder == ORDER_GRAY;
  const RGBQUAD16 *src16 = source_has ? pSrc->pLUT16 : nullptr;
  const uint32_t len16 = source_has ? pSrc->uLUT16Length : 0;
  if (bCopyLUT) {
    rv::free_block(pDst->pLUT16);
    pDst->pLUT16 = nullptr;
    RGBQUAD16 *lut16;
    if (duplicate_table(src16, len16, &lut16) != SUCCESS) return ERROR_NO_MEMORY;
    pDst->pLUT16 = lut16;
  } else {
    pDst->pLUT16 = const_cast<RGBQUAD16 *>(src16);
  }
  pDst->uLUT16Length = len16;
  return SUCCESS;
}

int32_t Rv_HasLUT(const BITMAPRECORD *pBitmap) noexcept {
  if (pBitmap == nullptr) return FALSE;
  if (pBitmap->pLUT != nullptr) return TRUE;
  return pBitmap->nOrder == ORDER_GRAY && rv::has_lut16_fields(pBitmap) && pBitmap->pLUT16 != nullptr
             ? TRUE
             : FALSE;
}

int32_t Rv_IsBitmapLUTLengthValid(const BITMAPRECORD *pBitmap) noexcept {
  if (pBitmap == nullptr) return FALSE;
  if (pBitmap->nOrder != ORDER_GRAY) return TRUE;
  const bool use_lut = (pBitmap->uFlags & BITMAPFLAG_USE_LUT) != 0;
  int32_t high = use_lut ? pBitmap->nHighBit : pBitmap->nLUTHighBit;
  const int32_t low = use_lut ? pBitmap->nLowBit : pBitmap->nLUTLowBit;
  if (high < 0) high = pBitmap->nBitsPerPixel - 1;
  const int64_t width = static_cast<int64_t>(high) - low + 1;
  // A width outside 0..32 can't describe any table.
  const uint64_t expected = width >= 0 && width <= 32 ? uint64_t{1} << width : 0;
  const bool has16 = rv::has_lut16_fields(pBitmap) && pBitmap->pLUT16 != nullptr;
  if (has16) {
    if (pBitmap->pLUT == nullptr || pBitmap->uLUTLength != pBitmap->uLUT16Length) return FALSE;
    return pBitmap->uLUT16Length == expected ? TRUE : FALSE;
  }
  if (pBitmap->pLUT != nullptr) return pBitmap->uLUTLength == expected ? TRUE : FALSE;
  return TRUE;
}
