// Making a bitmap in one call: initialise, allocate, and give a bitmap of up to
// 8 bits its palette.
#include "internal/record.h"
#include "ruvokit/rvbitmap.h"
#include "ruvokit/rvcolor.h"

int32_t Rv_CreateBitmap(BITMAPRECORD *pBitmap, uint32_t uStructSize, uint32_t uMemory, int32_t nWidth,
                        int32_t nHeight, int32_t nBitsPerPixel, int32_t nOrder, const RGBQUAD *pPalette,
                        int32_t nViewPerspective, void *pData, uint64_t uDataSize) noexcept {
  return Rv_CreateBitmapWithCallbacks(pBitmap, uStructSize, uMemory, nWidth, nHeight, nBitsPerPixel,
                                      nOrder, pPalette, nViewPerspective, pData, uDataSize, nullptr);
}

int32_t Rv_CreateBitmapWithCallbacks(BITMAPRECORD *pBitmap, uint32_t uStructSize, uint32_t uMemory,
                                     int32_t nWidth, int32_t nHeight, int32_t nBitsPerPixel,
                                     int32_t nOrder, const RGBQUAD *pPalette, int32_t nViewPerspective,
                                     void *pData, uint64_t uDataSize,
                                     const BITMAPDATACALLBACKS *pCallbacks) noexcept {
  const int32_t bits = nBitsPerPixel == 0 ? 8 : nBitsPerPixel;
  // Depth 0 asks for 8 bits with a gray palette; order 2 at a palette depth
  // without a palette asks for a gray palette too.
  bool gray_palette = nBitsPerPixel == 0;
  if (nBitsPerPixel == 0) {
    nOrder = ORDER_RGB;
  } else if (bits <= 8 && nOrder == ORDER_GRAY && pPalette == nullptr) {
    nOrder = ORDER_RGB;
    gray_palette = true;
  }
  int32_t status = Rv_InitBitmapWithCallbacks(pBitmap, uStructSize, nWidth, nHeight, bits, pCallbacks);
  if (status != SUCCESS) return status;
  // Order 5 is refused only now: the record stands initialised without storage.
  if (nOrder == ORDER_WIDE_GAMUT && bits != 24 && bits != 48) return ERROR_INVALID_BITS_PER_PIXEL;
  if (nViewPerspective < 0 || nViewPerspective > 8) return ERROR_INVALID_PARAMETER;
  pBitmap->nViewPerspective = nViewPerspective == 0 ? VIEW_TOP_LEFT : nViewPerspective;
  pBitmap->nOrder = nOrder;
  status = Rv_IntAllocateBitmap(pBitmap, uMemory, pPalette);
  if (status != SUCCESS) return status;
  if (bits <= 8) {
    pBitmap->nOrder = ORDER_RGB;
    if (gray_palette) {
      status = Rv_CreateBitmapGrayPalette(pBitmap);
    } else if (pPalette != nullptr) {
      status = Rv_SetBitmapNewPalette(pBitmap, pPalette, pBitmap->nColors);
    } else {
      status = Rv_CreateBitmapFixedPalette(pBitmap);
    }
    if (status != SUCCESS) {
      Rv_FreeBitmap(pBitmap);
      return status;
    }
  } else {
    pBitmap->nOrder = nOrder;
  }
  if (uMemory == BITMAPMEM_NO_MEMORY && pData != nullptr) {
    return Rv_SetBitmapDataPointer(pBitmap, pData, uDataSize);
  }
  return SUCCESS;
}
