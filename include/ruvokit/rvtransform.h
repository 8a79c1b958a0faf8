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

/* === Resize and resample ================================================================== */

/* Flags of Rv_SizeBitmap, Rv_ResizeBitmap and Rv_IntResizeBitmap (uFlags). */
#define SIZEFLAG_NEAREST 0x0u         /* every destination sample is one source sample */
#define SIZEFLAG_BLACK_PRESERVE 0x1u  /* 1-bit gray: black is counted over blocks so thin strokes survive */
#define SIZEFLAG_LINEAR 0x2u          /* ramps where a dimension grows, area averages where it shrinks */
#define SIZEFLAG_CUBIC 0x4u           /* a cubic spline where a dimension grows, else as SIZEFLAG_LINEAR */
#define SIZEFLAG_GRAY_RESULT 0x8u     /* 1-bit gray: an 8-bit result with a gray palette, by averaging */
#define SIZEFLAG_COARSE_WEIGHTS 0x10u /* the averaging engine with 10 fraction bits in its weights */
#define SIZEFLAG_ALPHA_AWARE 0x20u    /* 32 and 64 bits: colours weighed by alpha, transparent edges bled */

/* The state of a streaming resize, made by Rv_StartResize and freed by
 * Rv_StopResize. */
typedef struct RESIZEDATA RESIZEDATA;

RV_BEGIN_DECLS

/* --- whole bitmaps ------------------------------------------------------------------------ */
/* Resizes the bitmap in place to nWidth by nHeight with the engine the flags
 * choose. A zero dimension follows the other by the aspect ratio. */
RV_API int32_t Rv_SizeBitmap(BITMAPRECORD *pBitmap, int32_t nWidth, int32_t nHeight,
                             uint32_t uFlags) RV_NOEXCEPT;
/* Fills the allocated pDst, whose size is the target, from pSrc, bringing the
 * source to the destination's view perspective and depth first. */
RV_API int32_t Rv_ResizeBitmap(BITMAPRECORD *pSrc, BITMAPRECORD *pDst, uint32_t uFlags) RV_NOEXCEPT;
/* The same without conversion: depth and order are the same on both sides,
 * and the view perspectives are equal or the pair 1 and 4 (rows then go out
 * in falling order). Region and overlays are not touched. */
RV_API int32_t Rv_IntResizeBitmap(BITMAPRECORD *pSrc, BITMAPRECORD *pDst, uint32_t uFlags) RV_NOEXCEPT;
/* Scales the bitmap's region from its present size to nWidth by nHeight;
 * SUCCESS when it has none. */
RV_API int32_t Rv_KrnSizeBitmapRgn(BITMAPRECORD *pBitmap, int32_t nWidth, int32_t nHeight) RV_NOEXCEPT;

/* Interpolating resizers. The in-place forms take the new size; the Int forms
 * fill pDst (allocated, any size, depth and order) from pSrc, uStructSize being
 * pDst's record size. Of the flags only SIZEFLAG_ALPHA_AWARE counts. */
RV_API int32_t Rv_ResampleBitmap(BITMAPRECORD *pBitmap, int32_t nWidth, int32_t nHeight,
                                 uint32_t uFlags) RV_NOEXCEPT;
RV_API int32_t Rv_ResampleBitmapInt(BITMAPRECORD *pSrc, BITMAPRECORD *pDst, uint32_t uStructSize,
                                    uint32_t uFlags) RV_NOEXCEPT;
RV_API int32_t Rv_BicubicResampleBitmap(BITMAPRECORD *pBitmap, int32_t nWidth, int32_t nHeight,
                                        uint32_t uFlags) RV_NOEXCEPT;
RV_API int32_t Rv_BicubicResampleBitmapInt(BITMAPRECORD *pSrc, BITMAPRECORD *pDst, uint32_t uStructSize,
                                           uint32_t uFlags) RV_NOEXCEPT;
/* The averaging engine with 10 fraction bits (SIZEFLAG_COARSE_WEIGHTS). */
RV_API int32_t Rv_IntResampleCoarseBitmap(BITMAPRECORD *pBitmap, int32_t nWidth, int32_t nHeight,
                                          uint32_t uFlags) RV_NOEXCEPT;
RV_API int32_t Rv_IntResampleCoarseBitmapInt(BITMAPRECORD *pSrc, BITMAPRECORD *pDst, uint32_t uStructSize,
                                             uint32_t uFlags) RV_NOEXCEPT;

/* --- streamed rows ------------------------------------------------------------------------- */
/* Settles a zero target dimension from the other and the old aspect ratio: 1
 * when both targets are then above 0, else 0. */
RV_API int32_t Rv_IntResolveTargetSize(int32_t *pnNewWidth, int32_t *pnNewHeight, int32_t nOldWidth,
                                       int32_t nOldHeight) RV_NOEXCEPT;
/* Prepares a resize of rows that the caller delivers one at a time; either new
 * dimension may be 0. */
RV_API int32_t Rv_StartResize(int32_t nOldWidth, int32_t nOldHeight, int32_t nNewWidth, int32_t nNewHeight,
                              RESIZEDATA **ppResizeData) RV_NOEXCEPT;
/* Resizes row nRow in place in pBuffer, which holds the longer of the old and
 * the new row. Returns how many times the row goes out (0: it falls out), also
 * in *pnCopies, or a negative status; *pnNewWidth receives the new width. Rows
 * may come in any order. */
RV_API int32_t Rv_Resize(uint8_t *pBuffer, int32_t nRow, int32_t nBitsPerPixel, int32_t *pnNewWidth,
                         int32_t *pnCopies, RESIZEDATA *pResizeData) RV_NOEXCEPT;
RV_API int32_t Rv_StopResize(RESIZEDATA *pResizeData) RV_NOEXCEPT;

/* The row kernels: nCount samples of nBitsPerPixel picked from pSrc into pDst,
 * starting at source pixel nPosition. After each sample nFraction is added to
 * the accumulator nAccum; the position moves by nStep (not when bEnlarge), and
 * by one more each time the accumulator reaches nDenominator, which is then
 * taken off. Below 8 bits and at 12, nDstBytes bytes of pDst are cleared first
 * (not at 4). A depth the bitmaps don't have leaves pDst alone. */
RV_API void Rv_GetResizedScanLine(int32_t nBitsPerPixel, int32_t nDstBytes, uint32_t nPosition, uint32_t nStep,
                                  uint32_t nAccum, uint32_t nFraction, const uint8_t *pSrc, uint8_t *pDst,
                                  uint32_t nCount, uint32_t nDenominator, uint32_t bEnlarge) RV_NOEXCEPT;
/* The same for pSrc and pDst being one buffer: a narrowing row walks forward
 * rewriting only each sample's bits, a widening one walks back from its end.
 * Here nDstBytes is the source row's length in bytes: at depth 1 the last byte
 * written is cleared first when it lies beyond it. */
RV_API void Rv_ReverseGetResizedScanLine(int32_t nBitsPerPixel, int32_t nDstBytes, uint32_t nPosition,
                                         uint32_t nStep, uint32_t nAccum, uint32_t nFraction, const uint8_t *pSrc,
                                         uint8_t *pDst, uint32_t nCount, uint32_t nDenominator,
                                         uint32_t bEnlarge) RV_NOEXCEPT;

RV_END_DECLS

#endif /* RUVOKIT_RVTRANSFORM_H */
