/* Ruvokit imaging kernel: the bitmap core: records, storage, rows, columns and
 * pixels, copy and fill, lists. */
#ifndef RUVOKIT_RVBITMAP_H
#define RUVOKIT_RVBITMAP_H

#include "rvtypes.h"
#include "rvstatus.h"

/* Tag of the first (and only findable) entry block of the tagged extra data:
 * the magic bytes "RUVO" as a little-endian word. */
#define RV_EXTRADATA_MAGIC 0x4F565552u

/* Limits the special arguments of the thresholds stand for. */
#define RV_MAXCONV_FIXED_LIMIT 43199488ull
#define RV_MAXCONV_LARGE_LIMIT 1536000000ull

/* Which fields of Rv_SetMemoryThresholds count. */
#define MEMTHRESHOLD_MEMORY_RESERVE 0x01u
#define MEMTHRESHOLD_MAX_CONV_SIZE 0x02u
#define MEMTHRESHOLD_TILE_SIZE 0x04u
#define MEMTHRESHOLD_CONV_TILES 0x08u
#define MEMTHRESHOLD_TILE_VIEWS 0x10u

/* A list of bitmaps: a growable array of whole records, each kept in the full
 * form. Deleting items frees them; removing an item hands it to the caller. */
typedef struct BITMAPLIST {
  uint32_t uCount;       /* number of items */
  BITMAPRECORD *pItems;  /* uCount records, NULL when the list is empty */
} BITMAPLIST;
typedef BITMAPLIST *HBITMAPLIST;

/* A position that means "the end" (or "the last"). */
#define RV_LIST_END 0xFFFFFFFFu

RV_BEGIN_DECLS

/* --- the record ---------------------------------------------------------------------- */
/* Copies the record, not the data; the smaller of the two sizes is copied and
 * left in pDst->uStructSize. Both records then share every owned pointer. */
RV_API int32_t Rv_CopyBitmapHandle(BITMAPRECORD *pDst, const BITMAPRECORD *pSrc,
                                   uint32_t uDstStructSize) RV_NOEXCEPT;
/* Recomputes the recorded size of the data. */
RV_API int32_t Rv_UpdateBitmapSize(BITMAPRECORD *pBitmap) RV_NOEXCEPT;
/* The size of the data: uSize32 in the older form, uSize64 in the full form. */
RV_API uint64_t Rv_GetBitmapDataSize(const BITMAPRECORD *pBitmap) RV_NOEXCEPT;

RV_API void Rv_InitGrayParams(BITMAPRECORD *pBitmap) RV_NOEXCEPT;
RV_API void Rv_FreeGrayParams(BITMAPRECORD *pBitmap) RV_NOEXCEPT;
RV_API void Rv_GetGrayParams(int32_t nBitsPerPixel, int32_t nMaxBits, int32_t nLowBit,
                             int32_t nHighBit, uint32_t *puBits, uint32_t *puMask,
                             uint32_t *puShift) RV_NOEXCEPT;
RV_API int32_t Rv_CopyGrayParams(BITMAPRECORD *pDst, const BITMAPRECORD *pSrc,
                                 int32_t bCopyLUT) RV_NOEXCEPT;
RV_API int32_t Rv_HasLUT(const BITMAPRECORD *pBitmap) RV_NOEXCEPT;
RV_API int32_t Rv_IsBitmapLUTLengthValid(const BITMAPRECORD *pBitmap) RV_NOEXCEPT;

/* --- tagged extra data ---------------------------------------------------------------- */
RV_API int32_t Rv_AllocateBitmapExtraData(BITMAPRECORD *pBitmap, int32_t nReserved,
                                          uint32_t uSize) RV_NOEXCEPT;
RV_API int32_t Rv_FreeBitmapExtraData(BITMAPRECORD *pBitmap, int32_t nReserved) RV_NOEXCEPT;
RV_API int32_t Rv_CopyBitmapExtraData(BITMAPRECORD *pDst, const BITMAPRECORD *pSrc,
                                      int32_t nReserved) RV_NOEXCEPT;
RV_API int32_t Rv_SetBitmapExtraData(BITMAPRECORD *pBitmap, uint32_t uId, uint32_t uSize,
                                     const void *pData) RV_NOEXCEPT;
RV_API int32_t Rv_GetBitmapExtraData(const BITMAPRECORD *pBitmap, uint32_t uId, uint32_t *puSize,
                                     void *pData) RV_NOEXCEPT;

/* --- lifecycle ------------------------------------------------------------------------ */
RV_API int32_t Rv_InitBitmap(BITMAPRECORD *pBitmap, uint32_t uStructSize, int32_t nWidth,
                             int32_t nHeight, int32_t nBitsPerPixel) RV_NOEXCEPT;
RV_API int32_t Rv_InitBitmapWithCallbacks(BITMAPRECORD *pBitmap, uint32_t uStructSize,
                                          int32_t nWidth, int32_t nHeight, int32_t nBitsPerPixel,
                                          const BITMAPDATACALLBACKS *pCallbacks) RV_NOEXCEPT;
RV_API int32_t Rv_CreateBitmap(BITMAPRECORD *pBitmap, uint32_t uStructSize, uint32_t uMemory,
                               int32_t nWidth, int32_t nHeight, int32_t nBitsPerPixel,
                               int32_t nOrder, const RGBQUAD *pPalette, int32_t nViewPerspective,
                               void *pData, uint64_t uDataSize) RV_NOEXCEPT;
RV_API int32_t Rv_CreateBitmapWithCallbacks(BITMAPRECORD *pBitmap, uint32_t uStructSize,
                                            uint32_t uMemory, int32_t nWidth, int32_t nHeight,
                                            int32_t nBitsPerPixel, int32_t nOrder,
                                            const RGBQUAD *pPalette, int32_t nViewPerspective,
                                            void *pData, uint64_t uDataSize,
                                            const BITMAPDATACALLBACKS *pCallbacks) RV_NOEXCEPT;
RV_API int32_t Rv_AllocateBitmap(BITMAPRECORD *pBitmap, uint32_t uMemory) RV_NOEXCEPT;
/* The allocator, with the palette that allocation callbacks are shown. */
RV_API int32_t Rv_IntAllocateBitmap(BITMAPRECORD *pBitmap, uint32_t uMemory,
                                    const RGBQUAD *pPalette) RV_NOEXCEPT;
RV_API void Rv_FreeBitmap(BITMAPRECORD *pBitmap) RV_NOEXCEPT;
RV_API int32_t Rv_ChangeBitmapHeight(BITMAPRECORD *pBitmap, int32_t nHeight) RV_NOEXCEPT;
RV_API int32_t Rv_SetBitmapDataPointer(BITMAPRECORD *pBitmap, void *pData,
                                       uint64_t uDataSize) RV_NOEXCEPT;

/* The process-wide allocate callback; returns pUserData. */
RV_API void *Rv_SetAllocateBitmapCallback(BITMAPALLOCCALLBACK pfnCallback, void *pUserData,
                                          BITMAPALLOCCALLBACK *ppfnOld,
                                          void **ppOldUserData) RV_NOEXCEPT;

/* --- locks ----------------------------------------------------------------------------- */
RV_API int32_t Rv_AccessBitmap(BITMAPRECORD *pBitmap) RV_NOEXCEPT;
RV_API int32_t Rv_ReleaseBitmap(BITMAPRECORD *pBitmap) RV_NOEXCEPT;
RV_API int32_t Rv_IntAccessBitmap(BITMAPRECORD *pBitmap, int32_t *pbLocked) RV_NOEXCEPT;
RV_API int32_t Rv_IntReleaseBitmap(BITMAPRECORD *pBitmap, int32_t bLocked,
                                   int32_t nStatus) RV_NOEXCEPT;

/* --- data callbacks -------------------------------------------------------------------- */
RV_API int32_t Rv_SetBitmapDataCallbacks(BITMAPRECORD *pBitmap,
                                         const BITMAPDATACALLBACKS *pCallbacks) RV_NOEXCEPT;
/* Copies the bitmap's callbacks into *ppCallbacks, or clears it (with its
 * size set) when there are none. */
RV_API int32_t Rv_GetBitmapDataCallbacks(const BITMAPRECORD *pBitmap,
                                         BITMAPDATACALLBACKS **ppCallbacks) RV_NOEXCEPT;

/* --- defaults and thresholds (per thread unless said) ---------------------------------- */
RV_API int32_t Rv_SetDefaultMemoryType(uint32_t uMemory) RV_NOEXCEPT;
RV_API int32_t Rv_GetDefaultMemoryType(uint32_t *puMemory) RV_NOEXCEPT;
RV_API int32_t Rv_SetMemoryThresholds(int32_t nMemoryReserve, int32_t nMaxConvSize,
                                      int32_t nTileSize, int32_t nConvTiles, int32_t nTileViews,
                                      uint32_t uFlags) RV_NOEXCEPT;
RV_API int32_t Rv_GetMemoryThresholds(int32_t *pnMemoryReserve, int32_t *pnMaxConvSize,
                                      int32_t *pnTileSize, int32_t *pnConvTiles,
                                      int32_t *pnTileViews) RV_NOEXCEPT;
/* Process-wide. */
RV_API int32_t Rv_SetGlobalMemoryThresholds(const GLOBALMEMORYTHRESHOLDS *pThresholds) RV_NOEXCEPT;
RV_API int32_t Rv_GetGlobalMemoryThresholds(GLOBALMEMORYTHRESHOLDS *pThresholds,
                                            uint32_t uStructSize) RV_NOEXCEPT;
/* -1: the fixed limit; -2: the large limit; anything else: the present one. */
RV_API uint64_t Rv_IntGetMaximumConventionalMemorySize(int32_t nWhich) RV_NOEXCEPT;
/* Return the former value. */
RV_API int32_t Rv_SetDefaultXResolution(int32_t nResolution) RV_NOEXCEPT;
RV_API int32_t Rv_SetDefaultYResolution(int32_t nResolution) RV_NOEXCEPT;
RV_API int32_t Rv_GetDefaultXResolution(void) RV_NOEXCEPT;
RV_API int32_t Rv_GetDefaultYResolution(void) RV_NOEXCEPT;
/* The dithering method new records take, 0 to 8. */
RV_API int32_t Rv_DefaultDithering(int32_t nMethod) RV_NOEXCEPT;
RV_API int32_t Rv_GetDefaultDithering(void) RV_NOEXCEPT;

RV_API int32_t Rv_GetBitmapMemoryInfo(const BITMAPRECORD *pBitmap, uint32_t *puMemory,
                                      uint32_t *puTileSize, uint32_t *puTotalTiles,
                                      uint32_t *puConvTiles, uint32_t *puMaxTileViews,
                                      uint32_t *puTileViews) RV_NOEXCEPT;

/* --- rows and columns ------------------------------------------------------------------- */
/* The byte of a row that holds column nCol. */
RV_API int32_t Rv_IntColToByte(int32_t nBitsPerPixel, int32_t nCol) RV_NOEXCEPT;
/* Bytes moved, or a negative status. Rows and columns are the caller's to
 * keep inside the bitmap. */
RV_API int32_t Rv_GetBitmapRow(BITMAPRECORD *pBitmap, void *pBuffer, int32_t nRow,
                               uint32_t uBytes) RV_NOEXCEPT;
RV_API int32_t Rv_GetBitmapRowCol(BITMAPRECORD *pBitmap, void *pBuffer, int32_t nRow,
                                  int32_t nCol, uint32_t uBytes) RV_NOEXCEPT;
RV_API int32_t Rv_PutBitmapRow(BITMAPRECORD *pBitmap, const void *pBuffer, int32_t nRow,
                               uint32_t uBytes) RV_NOEXCEPT;
RV_API int32_t Rv_PutBitmapRowCol(BITMAPRECORD *pBitmap, const void *pBuffer, int32_t nRow,
                                  int32_t nCol, uint32_t uBytes) RV_NOEXCEPT;
/* Copies the runs of pSegments (pairs of first column and column after the
 * last; uSegmentCount counts numbers, not pairs) out of pBuffer, laid out as
 * a whole row, into row nRow displaced by nCol. */
RV_API int32_t Rv_PutBitmapRowSegments(BITMAPRECORD *pBitmap, const void *pBuffer, int32_t nRow,
                                       int32_t nCol, const uint32_t *pSegments,
                                       uint32_t uSegmentCount, int32_t bKeepTopBits) RV_NOEXCEPT;

/* --- single pixels ------------------------------------------------------------------- */
/* The value a pixel read gives on failure. */
#define RV_PIXEL_COLOR_ERROR ((COLORREF)0x80000000u)

/* The colour of a pixel; RV_PIXEL_COLOR_ERROR on failure. */
RV_API COLORREF Rv_GetPixelColor(BITMAPRECORD *pBitmap, int32_t nRow, int32_t nCol) RV_NOEXCEPT;
/* The same, with the pixel's alpha (255 where the depth has none). */
RV_API COLORREF Rv_IntGetPixelColor(BITMAPRECORD *pBitmap, int32_t nRow, int32_t nCol,
                                    int32_t *pAlpha) RV_NOEXCEPT;
RV_API int32_t Rv_PutPixelColor(BITMAPRECORD *pBitmap, int32_t nRow, int32_t nCol,
                                COLORREF crColor) RV_NOEXCEPT;
RV_API int32_t Rv_IntPutPixelColor(BITMAPRECORD *pBitmap, int32_t nRow, int32_t nCol,
                                   COLORREF crColor, int32_t nAlpha) RV_NOEXCEPT;
/* The raw bytes of one pixel. */
RV_API int32_t Rv_GetPixelData(BITMAPRECORD *pBitmap, void *pData, int32_t nRow, int32_t nCol,
                               uint32_t uBytes) RV_NOEXCEPT;
RV_API int32_t Rv_PutPixelData(BITMAPRECORD *pBitmap, const void *pData, int32_t nRow,
                               int32_t nCol, uint32_t uBytes) RV_NOEXCEPT;

/* --- duplication, copy, fill and trim ------------------------------------------------ */
/* Flags of Rv_DupBitmapNewDim and Rv_FreeDuplicateBitmap. */
#define DUPFLAG_ALLOCATE 0x01u      /* give the new bitmap storage */
#define DUPFLAG_OWN_PALETTE 0x02u   /* own palette and tables (else shared) */
#define DUPFLAG_OWN_REGION 0x04u    /* own region (else shared) */
#define DUPFLAG_OWN_OVERLAYS 0x08u  /* own overlays (else shared) */
#define DUPFLAG_LOCK_AS_SOURCE 0x40u /* Begin frame; lock as often as the source is */
#define DUPFLAG_BEGIN_END 0x80u     /* Begin frame and End at once */

RV_API int32_t Rv_DupBitmapNewDim(BITMAPRECORD *pDst, BITMAPRECORD *pSrc, uint32_t uStructSize,
                                  int32_t nWidth, int32_t nHeight, int32_t nBitsPerPixel,
                                  uint32_t uFlags) RV_NOEXCEPT;
RV_API int32_t Rv_FreeDuplicateBitmap(BITMAPRECORD *pBitmap, uint32_t uFlags) RV_NOEXCEPT;
RV_API int32_t Rv_IntBeginCopyBitmap(BITMAPRECORD *pDst, BITMAPRECORD *pSrc, int32_t nParam,
                                     uint32_t *puMemory) RV_NOEXCEPT;
RV_API int32_t Rv_IntEndCopyBitmap(BITMAPRECORD *pBitmap, int32_t nParam) RV_NOEXCEPT;
RV_API int32_t Rv_CopyBitmapData(BITMAPRECORD *pDst, BITMAPRECORD *pSrc) RV_NOEXCEPT;
RV_API int32_t Rv_CopyBitmap(BITMAPRECORD *pDst, BITMAPRECORD *pSrc, uint32_t uStructSize) RV_NOEXCEPT;
RV_API int32_t Rv_CopyBitmap2(BITMAPRECORD *pDst, BITMAPRECORD *pSrc, uint32_t uStructSize,
                              uint32_t uMemory) RV_NOEXCEPT;
/* A NULL pDst, or pDst equal to pSrc, copies in place. */
RV_API int32_t Rv_CopyBitmapRect(BITMAPRECORD *pDst, BITMAPRECORD *pSrc, uint32_t uStructSize,
                                 int32_t nCol, int32_t nRow, int32_t nWidth,
                                 int32_t nHeight) RV_NOEXCEPT;
RV_API int32_t Rv_CopyBitmapRect2(BITMAPRECORD *pDst, BITMAPRECORD *pSrc, uint32_t uStructSize,
                                  int32_t nCol, int32_t nRow, int32_t nWidth, int32_t nHeight,
                                  uint32_t uMemory) RV_NOEXCEPT;
RV_API int32_t Rv_TrimBitmap(BITMAPRECORD *pBitmap, int32_t nCol, int32_t nRow, uint32_t uWidth,
                             uint32_t uHeight) RV_NOEXCEPT;
RV_API int32_t Rv_FillBitmap(BITMAPRECORD *pBitmap, COLORREF crColor) RV_NOEXCEPT;
RV_API int32_t Rv_FillBitmap2(BITMAPRECORD *pBitmap, COLORREF crColor, int32_t nAlpha) RV_NOEXCEPT;
RV_API int32_t Rv_ClearBitmap(BITMAPRECORD *pBitmap) RV_NOEXCEPT;

/* --- bitmap lists -------------------------------------------------------------------- */
RV_API int32_t Rv_CreateBitmapList(HBITMAPLIST *phList) RV_NOEXCEPT;
RV_API int32_t Rv_DestroyBitmapList(HBITMAPLIST hList) RV_NOEXCEPT;
RV_API int32_t Rv_GetBitmapListCount(HBITMAPLIST hList, uint32_t *puCount) RV_NOEXCEPT;
/* The list takes over what the record owns. uIndex is held to the count. */
RV_API int32_t Rv_InsertBitmapListItem(HBITMAPLIST hList, uint32_t uIndex,
                                       const BITMAPRECORD *pBitmap) RV_NOEXCEPT;
/* The caller takes over the item; pBitmap (if given) needs room for the full form. */
RV_API int32_t Rv_RemoveBitmapListItem(HBITMAPLIST hList, uint32_t uIndex,
                                       BITMAPRECORD *pBitmap) RV_NOEXCEPT;
RV_API int32_t Rv_DeleteBitmapListItems(HBITMAPLIST hList, uint32_t uIndex, uint32_t uCount) RV_NOEXCEPT;
/* A copy of the record that shares its storage with the list. */
RV_API int32_t Rv_GetBitmapListItem(HBITMAPLIST hList, uint32_t uIndex, BITMAPRECORD *pBitmap,
                                    uint32_t uStructSize) RV_NOEXCEPT;
RV_API int32_t Rv_SetBitmapListItem(HBITMAPLIST hList, uint32_t uIndex,
                                    const BITMAPRECORD *pBitmap) RV_NOEXCEPT;
RV_API int32_t Rv_ReplaceBitmapListItem(HBITMAPLIST hList, uint32_t uIndex, const BITMAPRECORD *pNew,
                                        BITMAPRECORD *pOld, uint32_t uOldSize) RV_NOEXCEPT;
RV_API int32_t Rv_CopyBitmapListItems(HBITMAPLIST *phNew, HBITMAPLIST hList, uint32_t uIndex,
                                      uint32_t uCount) RV_NOEXCEPT;
RV_API int32_t Rv_MoveBitmapListItems(HBITMAPLIST *phNew, HBITMAPLIST hList, uint32_t uIndex,
                                      uint32_t uCount) RV_NOEXCEPT;

RV_END_DECLS

/* === Compressed rows: the run-length exchange format of 1-bit rows ======================== */
/* A compressed row is a little-endian 32-bit count of words followed by that
 * many 16-bit run lengths. Runs alternate between 0 and 1 bits, the first
 * being a run of 0 bits (of length 0 when the row starts with a 1). A run
 * longer than 65535 is written as 65535, an empty run of the other value,
 * and the rest. Rows in a buffer follow one another. Packed rows are taken
 * from the high bit of each byte. */

RV_BEGIN_DECLS

/* Compresses uBits bits of pRow into pCompressed, skipping the first
 * (uBitOffset & 7) bits of the first byte. Returns uBits. */
RV_API int32_t Rv_CompressRow(void *pCompressed, uint8_t *pRow, uint32_t uBitOffset,
                              uint32_t uBits) RV_NOEXCEPT;
/* uRows rows of uWidth bits from padded rows (((uWidth + 31) >> 3) & ~3 bytes
 * each), written one behind the other. */
RV_API int32_t Rv_CompressRows(void *pCompressed, const uint8_t *pRows, uint32_t uWidth,
                               uint32_t uRows) RV_NOEXCEPT;
/* Writes uBits bits of a compressed row, from bit uStartBit of the row on, to
 * the start of pRow; the (uBits + 7) / 8 bytes are cleared first. */
RV_API int32_t Rv_ExpandRow(const void *pCompressed, uint8_t *pRow, uint32_t uStartBit,
                            uint32_t uBits) RV_NOEXCEPT;
/* The reverse of Rv_CompressRows. */
RV_API int32_t Rv_ExpandRows(const void *pCompressed, uint8_t *pRows, uint32_t uWidth,
                             uint32_t uRows) RV_NOEXCEPT;

RV_END_DECLS

#endif /* RUVOKIT_RVBITMAP_H */
