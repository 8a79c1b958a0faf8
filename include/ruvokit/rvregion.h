/* Ruvokit imaging kernel: regions: the region engine, region objects, bitmap regions, colour regions. */
#ifndef RUVOKIT_RVREGION_H
#define RUVOKIT_RVREGION_H

#include "rvtypes.h"
#include "rvstatus.h"

/* How region coordinates relate to bitmap pixels. Neither denominator may be
 * 0; without a transform the bitmap's own view and a scale of 1 apply. */
typedef struct RegionTransform {
  int32_t nViewPerspective;
  int32_t nXScaleNum;
  int32_t nXScaleDen;
  int32_t nYScaleNum;
  int32_t nYScaleDen;
  int32_t nXOffset;
  int32_t nYOffset;
} RegionTransform;

RV_BEGIN_DECLS

/* --- a bitmap's region, as pixel operations see it --------------------------------- */
/* 1 or 0; NULL and a bad size give 0. */
RV_API int32_t Rv_BitmapHasRgn(const BITMAPRECORD *pBitmap) RV_NOEXCEPT;
/* Whether the pixel is inside the region, or inside the bitmap with no region. */
RV_API int32_t Rv_IsPtInBitmapRgn(const BITMAPRECORD *pBitmap, int32_t nRow, int32_t nCol) RV_NOEXCEPT;
RV_API int32_t Rv_GetBitmapRgnBounds(const BITMAPRECORD *pBitmap, const RegionTransform *pXform,
                                     RECT *pRect) RV_NOEXCEPT;
/* The largest number of coordinates a row's segments can take. */
RV_API int32_t Rv_GetBitmapClipSegmentsMax(const BITMAPRECORD *pBitmap, uint32_t *puMax) RV_NOEXCEPT;
/* The segments of a row: pairs of first column and column after the last. */
RV_API int32_t Rv_GetBitmapClipSegments(const BITMAPRECORD *pBitmap, int32_t nRow, uint32_t *pSegments,
                                        uint32_t *puCount) RV_NOEXCEPT;
/* Gives pDst a copy of pSrc's region moved by the offsets. */
RV_API int32_t Rv_CopyBitmapRgn(BITMAPRECORD *pDst, const BITMAPRECORD *pSrc, int32_t nXOffset,
                                int32_t nYOffset) RV_NOEXCEPT;

RV_END_DECLS

#endif /* RUVOKIT_RVREGION_H */
