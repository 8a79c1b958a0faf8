// A bitmap's region as the pixel operations see it. Until a bitmap can carry
// a region, each of these answers for a bitmap without one: the whole frame.
#include "internal/record.h"
#include "ruvokit/rvregion.h"

int32_t Rv_BitmapHasRgn(const BITMAPRECORD *pBitmap) noexcept {
  if (pBitmap == nullptr || !rv::valid_record_size(pBitmap->uStructSize)) return 0;
  return pBitmap->pRgnInfo != nullptr ? 1 : 0;
}

int32_t Rv_IsPtInBitmapRgn(const BITMAPRECORD *pBitmap, int32_t nRow, int32_t nCol) noexcept {
  if (pBitmap == nullptr || !rv::valid_record_size(pBitmap->uStructSize)) return 0;
  return nRow >= 0 && nRow < pBitmap->nHeight && nCol >= 0 && nCol < pBitmap->nWidth ? TRUE : FALSE;
}

int32_t Rv_GetBitmapRgnBounds(const BITMAPRECORD *pBitmap, const RegionTransform *,
                              RECT *pRect) noexcept {
  const int32_t status = rv::check_record(pBitmap, rv::NullRecord::InvalidImage, false);
  if (status != SUCCESS) return status;
  if (pRect == nullptr) return ERROR_INVALID_PARAMETER;
  *pRect = RECT{0, 0, pBitmap->nWidth, pBitmap->nHeight};
  return SUCCESS;
}

int32_t Rv_GetBitmapClipSegmentsMax(const BITMAPRECORD *pBitmap, uint32_t *puMax) noexcept {
  const int32_t status = rv::check_record(pBitmap, rv::NullRecord::InvalidImage, false);
  if (status != SUCCESS) return status;
  if (puMax == nullptr) return ERROR_INVALID_PARAMETER;
  *puMax = 2;
  return SUCCESS;
}

int32_t Rv_GetBitmapClipSegments(const BITMAPRECORD *pBitmap, int32_t, uint32_t *pSegments,
                                 uint32_t *puCount) noexcept {
  const int32_t status = rv::check_record(pBitmap, rv::NullRecord::InvalidImage, false);
  if (status != SUCCESS) return status;
  if (pSegments == nullptr || puCount == nullptr) return ERROR_INVALID_PARAMETER;
  pSegments[0] = 0;
  pSegments[1] = static_cast<uint32_t>(pBitmap->nWidth);
  *puCount = 2;
  return SUCCESS;
}

int32_t Rv_CopyBitmapRgn(BITMAPRECORD *pDst, const BITMAPRECORD *pSrc, int32_t, int32_t) noexcept {
  if (pDst == nullptr || pSrc == nullptr) return ERROR_INVALID_PARAMETER;
  pDst->pRgnInfo = nullptr;  // the destination is assumed to hold none
  return SUCCESS;
}
