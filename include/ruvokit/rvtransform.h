/* Ruvokit imaging kernel: geometric transforms: resize, resample, rotate, shear, flip and view perspective, combine, warp, underlay, scramble, geometry values. */
#ifndef RUVOKIT_RVTRANSFORM_H
#define RUVOKIT_RVTRANSFORM_H

#include "rvtypes.h"
#include "rvstatus.h"

/* Flags of Rv_RotateBitmap and Rv_IntRotateBitmap. */
#define ROTATEFLAG_RESIZE 0x1u /* the result grows to the bounding box of the turned picture */
#define ROTATEFLAG_LINEAR 0x2u /* each sample leans towards its neighbours on the side of its fraction */
#define ROTATEFLAG_CUBIC 0x4u  /* each sample comes from a 4 by 4 spline; wins over LINEAR */
#define ROTATEFLAG_CENTER 0x8u /* turn about the caller's centre, into the bounding box */

RV_BEGIN_DECLS

/* --- flip, reverse and mirror ---------------------------------------------------------- */
/* Turns the picture as displayed upside down (for the transposed perspectives
 * 5 to 8 that is a reversal of the stored rows). */
RV_API int32_t Rv_FlipBitmap(BITMAPRECORD *pBitmap) RV_NOEXCEPT;
/* Mirrors the picture as displayed left to right. */
RV_API int32_t Rv_ReverseBitmap(BITMAPRECORD *pBitmap) RV_NOEXCEPT;
/* The same on the storage: the order of the rows, and the pixels of each row. */
RV_API int32_t Rv_IntFlipBitmap(BITMAPRECORD *pBitmap) RV_NOEXCEPT;
RV_API int32_t Rv_IntReverseBitmap(BITMAPRECORD *pBitmap) RV_NOEXCEPT;
/* Reverses nWidth pixels of a packed row in place; below 8 bits the pixels are
 * moved back to the front of the line and the bits after them cleared. A depth
 * outside 1 to 64 leaves the line alone. */
RV_API int32_t Rv_MirrorLine(uint8_t *pLine, int32_t nWidth, int32_t nBitsPerPixel) RV_NOEXCEPT;

/* --- view perspective -------------------------------------------------------------------- */
/* Step nViewPerspective as a flip, a reversal or a turn of the displayed
 * picture would; no pixel moves. The Int forms give ERROR_INVALID_IMAGE for a
 * NULL record and check no size. */
RV_API int32_t Rv_FlipBitmapViewPerspective(BITMAPRECORD *pBitmap) RV_NOEXCEPT;
RV_API int32_t Rv_ReverseBitmapViewPerspective(BITMAPRECORD *pBitmap) RV_NOEXCEPT;
RV_API int32_t Rv_IntFlipBitmapViewPerspective(BITMAPRECORD *pBitmap) RV_NOEXCEPT;
RV_API int32_t Rv_IntReverseBitmapViewPerspective(BITMAPRECORD *pBitmap) RV_NOEXCEPT;
/* nAngle in whole degrees, clockwise: 0, 90, 180 or 270, or a negative angle
 * that comes to one of them; the resolutions swap for a quarter turn. */
RV_API int32_t Rv_RotateBitmapViewPerspective(BITMAPRECORD *pBitmap, int32_t nAngle) RV_NOEXCEPT;
RV_API int32_t Rv_IntRotateBitmapViewPerspective(BITMAPRECORD *pBitmap, int32_t nAngle) RV_NOEXCEPT;

/* The flip (of the stored rows) and the clockwise turn in degrees, applied in
 * that order, that bring storage in nSrcView to storage in nDstView showing the
 * same picture. */
RV_API int32_t Rv_GetChangeViewPerspectiveParams(int32_t nSrcView, int32_t nDstView, uint32_t *pbFlip,
                                                 int32_t *pnAngle) RV_NOEXCEPT;
/* Moves the pixels so that the bitmap shows the same picture in
 * nViewPerspective: in place when pDst is NULL, else into pDst, made with the
 * record size uStructSize. */
RV_API int32_t Rv_ChangeBitmapViewPerspective(BITMAPRECORD *pDst, BITMAPRECORD *pSrc, uint32_t uStructSize,
                                              int32_t nViewPerspective) RV_NOEXCEPT;
/* The same with the duplication flags (DUPFLAG_...) of a new pDst. */
RV_API int32_t Rv_IntChangeBitmapViewPerspective(BITMAPRECORD *pDst, BITMAPRECORD *pSrc, uint32_t uStructSize,
                                                 int32_t nViewPerspective, uint32_t uDupFlags) RV_NOEXCEPT;

/* Coordinate mappings. A rectangle is four values, left, top, right and
 * bottom (the layout of RECT), right and bottom exclusive; a point is a pixel.
 * nWidth and nHeight are the storage size in nSrcView. A bad perspective
 * leaves the rectangle as it is. */
RV_API int32_t Rv_ChangeRectViewPerspective(int32_t nSrcView, int32_t nWidth, int32_t nHeight, int32_t nDstView,
                                            int32_t *pRect) RV_NOEXCEPT;
/* From the bitmap's storage coordinates to those of nViewPerspective, and
 * back. */
RV_API int32_t Rv_PointFromBitmap(const BITMAPRECORD *pBitmap, int32_t nViewPerspective, int32_t *pnX,
                                  int32_t *pnY) RV_NOEXCEPT;
RV_API int32_t Rv_PointToBitmap(const BITMAPRECORD *pBitmap, int32_t nViewPerspective, int32_t *pnX,
                                int32_t *pnY) RV_NOEXCEPT;
RV_API int32_t Rv_RectFromBitmap(const BITMAPRECORD *pBitmap, int32_t nViewPerspective, int32_t *pRect) RV_NOEXCEPT;
RV_API int32_t Rv_RectToBitmap(const BITMAPRECORD *pBitmap, int32_t nViewPerspective, int32_t *pRect) RV_NOEXCEPT;

/* --- rotation ---------------------------------------------------------------------------- */
/* Sine and cosine of an angle in hundredths of a degree, scaled by 16384. The
 * angle is taken modulo 36000. */
RV_API int32_t Rv_SinValue(int32_t nAngle) RV_NOEXCEPT;
RV_API int32_t Rv_CosValue(int32_t nAngle) RV_NOEXCEPT;

/* Turns the displayed picture clockwise by nAngle hundredths of a degree,
 * filling what the turn uncovers with crFill. */
RV_API int32_t Rv_RotateBitmap(BITMAPRECORD *pBitmap, int32_t nAngle, uint32_t uFlags, COLORREF crFill) RV_NOEXCEPT;
/* The same, reporting progress between nStartPercent and nEndPercent, and
 * about (nCenterX, nCenterY) with ROTATEFLAG_CENTER. */
RV_API int32_t Rv_IntRotateBitmap(BITMAPRECORD *pBitmap, int32_t nAngle, uint32_t uFlags, COLORREF crFill,
                                  int32_t nStartPercent, int32_t nEndPercent, int32_t nCenterX,
                                  int32_t nCenterY) RV_NOEXCEPT;
/* A quarter turn of the displayed picture; width, height and the resolutions
 * swap. */
RV_API int32_t Rv_RotateBitmap90(BITMAPRECORD *pBitmap, int32_t bClockwise, int32_t nStartPercent,
                                 int32_t nEndPercent) RV_NOEXCEPT;
/* Right-angle turns of plain rows (each padded to four bytes). Rv_RotateBuffer90
 * writes nWidth rows of nHeight pixels; with bReverse the last source row
 * becomes the first column (a clockwise turn of top-down rows). pDst may not
 * overlap pSrc; Rv_RotateBuffer180 also works with pDst equal to pSrc. */
RV_API int32_t Rv_RotateBuffer90(const uint8_t *pSrc, uint8_t *pDst, int32_t bReverse, uint32_t nWidth,
                                 uint32_t nHeight, uint32_t nBitsPerPixel) RV_NOEXCEPT;
RV_API int32_t Rv_RotateBuffer180(const uint8_t *pSrc, uint8_t *pDst, uint32_t nWidth, uint32_t nHeight,
                                  uint32_t nBitsPerPixel) RV_NOEXCEPT;

RV_END_DECLS

#endif /* RUVOKIT_RVTRANSFORM_H */
