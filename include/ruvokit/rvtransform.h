/* Ruvokit imaging kernel: geometric transforms: resize, resample, rotate, shear, flip and view perspective, combine, warp, underlay, scramble, geometry values. */
#ifndef RUVOKIT_RVTRANSFORM_H
#define RUVOKIT_RVTRANSFORM_H

#include "rvtypes.h"
#include "rvstatus.h"

RV_BEGIN_DECLS

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
