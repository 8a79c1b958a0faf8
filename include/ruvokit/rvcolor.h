/* Ruvokit imaging kernel: colour: buffer conversion, palettes, dithering, colour resolution, gray, lookup tables, alpha, colour spaces, YUV, device-independent bitmaps. */
#ifndef RUVOKIT_RVCOLOR_H
#define RUVOKIT_RVCOLOR_H

#include "rvtypes.h"
#include "rvbitmap.h"
#include "rvstatus.h"

/* --- buffer conversion ---------------------------------------------------------- */
/* Flags of the conversion calls (uFlags). */
#define CONVERT_SRC_GRAY 0x1u     /* source pixels are gray words (set by ORDER_GRAY) */
#define CONVERT_DST_GRAY 0x2u     /* destination pixels are gray (set by ORDER_GRAY) */
#define CONVERT_SRC_BITRANGE 0x4u /* nLowBit..nHighBit is the source's gray field */
#define CONVERT_DST_BITRANGE 0x8u /* nLowBit..nHighBit is the destination's gray field */
#define CONVERT_TRANSPARENT 0x80u /* a made alpha is 0 where the pixel is crTransparent */
#define CONVERT_SIGNED 0x100u     /* 16-bit gray words are signed */

/* A colour match tree over a palette: an exact colour-to-index lookup that
 * conversion consults before searching the palette. A zeroed record is an
 * empty tree; Rv_IntMatchTreeCreate gives it nodes and Rv_IntMatchTreeFree
 * takes them back. */
typedef struct MATCHTREE {
  void *pRoot;
} MATCHTREE;

/* --- palettes ------------------------------------------------------------------------ */
/* A palette object: a handle closed with Rv_WinDeleteObject. */
typedef RVHANDLE HRVPALETTE;

/* Entry of a palette object and of a logical palette: red, green, blue, flags. */
typedef struct PALETTEENTRY {
  uint8_t peRed;
  uint8_t peGreen;
  uint8_t peBlue;
  uint8_t peFlags;
} PALETTEENTRY;

/* A logical palette: the version must be RV_PALETTE_VERSION, the count 1 to
 * 256, followed by that many entries. */
typedef struct LOGPALETTE {
  uint16_t palVersion;
  uint16_t palNumEntries;
  PALETTEENTRY palPalEntry[1];
} LOGPALETTE;
#define RV_PALETTE_VERSION 768

/* Verdicts of the gray tests. */
#define GRAY_NO 0            /* not gray */
#define GRAY_RAMP 1          /* a ramp rising from black */
#define GRAY_RAMP_INVERTED 2 /* a falling ramp */
#define GRAY_OTHER 3         /* gray, but no such ramp */

/* A colour match table (a nearest-colour cache) has RV_MATCH_TABLE_ENTRIES
 * words: the word at RV_MATCH_TABLE_KEY(r, g, b), the top five bits of each
 * channel, holds 1 + a palette index, or 0 while unknown. */
#define RV_MATCH_TABLE_ENTRIES 32768
#define RV_MATCH_TABLE_KEY(r, g, b) \
  ((((uint32_t)(uint8_t)(r) >> 3) << 10) | (((uint32_t)(uint8_t)(g) >> 3) << 5) | \
   ((uint32_t)(uint8_t)(b) >> 3))

/* Dithering methods (BITMAPRECORD.nDitheringMethod). */
#define NO_DITHERING 0
#define FLOYD_STEIN_DITHERING 1
#define STUCKI_DITHERING 2
#define BURKES_DITHERING 3
#define SIERRA_DITHERING 4
#define STEVENSON_ARCE_DITHERING 5
#define JARVIS_DITHERING 6
#define ORDERED_DITHERING 7
#define CLUSTERED_DITHERING 8

RV_BEGIN_DECLS

/* --- buffer conversion ------------------------------------------------------------- */
/* Converts nWidth pixels in place from one pixel format to another. The buffer
 * holds the source pixels on entry and the destination pixels on return; it
 * must be large enough for the larger form (Rv_CalcConvertSize). A null
 * palette of a depth 1 to 8 stands for the fixed palette of that depth. */
RV_API int32_t Rv_ConvertBuffer(void *pBuffer, int32_t nWidth, int32_t nBitsPerPixelSrc,
                                int32_t nBitsPerPixelDst, int32_t nOrderSrc, int32_t nOrderDst,
                                const RGBQUAD *pPaletteSrc,
                                const RGBQUAD *pPaletteDst) RV_NOEXCEPT;
RV_API int32_t Rv_ConvertBufferExt(void *pBuffer, int32_t nWidth, int32_t nBitsPerPixelSrc,
                                   int32_t nBitsPerPixelDst, int32_t nOrderSrc,
                                   int32_t nOrderDst, const RGBQUAD *pPaletteSrc,
                                   const RGBQUAD *pPaletteDst, uint32_t uFlags, int32_t nLowBit,
                                   int32_t nHighBit) RV_NOEXCEPT;
/* uLUT16Length is not read: the table must cover every value of the field. */
RV_API int32_t Rv_ConvertBufferExt2(void *pBuffer, int32_t nWidth, int32_t nBitsPerPixelSrc,
                                    int32_t nBitsPerPixelDst, int32_t nOrderSrc,
                                    int32_t nOrderDst, const RGBQUAD *pPaletteSrc,
                                    const RGBQUAD *pPaletteDst, const RGBQUAD16 *pLUT16,
                                    uint32_t uLUT16Length, uint32_t uFlags, int32_t nLowBit,
                                    int32_t nHighBit) RV_NOEXCEPT;
RV_API int32_t Rv_ConvertBufferExt3(void *pBuffer, int32_t nWidth, int32_t nBitsPerPixelSrc,
                                    int32_t nBitsPerPixelDst, int32_t nOrderSrc,
                                    int32_t nOrderDst, const RGBQUAD *pPaletteSrc,
                                    const RGBQUAD *pPaletteDst, const RGBQUAD16 *pLUT16,
                                    uint32_t uLUT16Length, uint32_t uFlags, int32_t nLowBit,
                                    int32_t nHighBit, COLORREF crTransparent) RV_NOEXCEPT;
/* The conversion of the library's own modules: as Rv_ConvertBufferExt3, with
 * a match tree consulted before the palette search when a colour or deep gray
 * source goes to a palette. */
RV_API int32_t Rv_IntConvertBuffer(void *pBuffer, int32_t nWidth, int32_t nBitsPerPixelSrc,
                                   int32_t nBitsPerPixelDst, int32_t nOrderSrc,
                                   int32_t nOrderDst, const RGBQUAD *pPaletteSrc,
                                   const RGBQUAD *pPaletteDst, const RGBQUAD16 *pLUT16,
                                   uint32_t uFlags, int32_t nLowBit, int32_t nHighBit,
                                   COLORREF crTransparent,
                                   const MATCHTREE *pUserMatchTable) RV_NOEXCEPT;
/* Bytes a conversion buffer needs: the largest line of the source width at
 * either depth and of the destination width at its depth (0 bits count as 8). */
RV_API uint32_t Rv_CalcConvertSize(uint32_t uWidthSrc, int32_t nBitsPerPixelSrc,
                                   uint32_t uWidthDst, int32_t nBitsPerPixelDst) RV_NOEXCEPT;
/* Keeps the gray field nLowBit..nHighBit of nCount 16-bit words nPad steps
 * away from its extremes. */
RV_API int32_t Rv_PadPixelData(void *pData, int32_t nBitsPerPixel, int32_t nCount,
                               int32_t nHighBit, int32_t nLowBit, int32_t nPad) RV_NOEXCEPT;
/* Fills pTable (nSrc entries) with the index in pPaletteDst of each entry of
 * pPaletteSrc. A null source stands for gray levels 0..nSrc-1, a null
 * destination asks for the gray of each source entry. TRUE when the table is
 * the identity. */
RV_API int32_t Rv_IntMapPalette(const RGBQUAD *pPaletteSrc, int32_t nSrc,
                                const RGBQUAD *pPaletteDst, int32_t nDst,
                                uint8_t *pTable) RV_NOEXCEPT;

/* --- palettes of records ---------------------------------------------------------- */
/* Arrays returned here come from Rv_LocalAlloc and go back with Rv_LocalFree. */
RV_API RGBQUAD *Rv_CreateGrayPalette(int32_t nBits) RV_NOEXCEPT;
RV_API int32_t Rv_CreateBitmapGrayPalette(BITMAPRECORD *pBitmap) RV_NOEXCEPT;
RV_API RGBQUAD *Rv_CreateFixedPalette(int32_t nBits) RV_NOEXCEPT;
RV_API int32_t Rv_CreateBitmapFixedPalette(BITMAPRECORD *pBitmap) RV_NOEXCEPT;
RV_API int32_t Rv_GetFixedPalette(RGBQUAD *pPalette, int32_t nBits) RV_NOEXCEPT;
/* The library's read-only tables: the fixed palette of a depth 1 to 8, and
 * the 256-entry web-safe palette. */
RV_API const RGBQUAD *Rv_IntGetFixedPalette(int32_t nBits) RV_NOEXCEPT;
RV_API const RGBQUAD *Rv_IntGetNetscapePalette(void) RV_NOEXCEPT;
RV_API RGBQUAD *Rv_CreateNewPalette(const RGBQUAD *pEntries, int32_t nCount) RV_NOEXCEPT;
RV_API int32_t Rv_SetBitmapNewPalette(BITMAPRECORD *pBitmap, const RGBQUAD *pEntries,
                                      int32_t nCount) RV_NOEXCEPT;
RV_API int32_t Rv_CopyBitmapPalette(BITMAPRECORD *pBitmapDst,
                                    const BITMAPRECORD *pBitmapSrc) RV_NOEXCEPT;
RV_API int32_t Rv_SetBitmapPalette(BITMAPRECORD *pBitmap, HRVPALETTE hPalette) RV_NOEXCEPT;
RV_API HRVPALETTE Rv_DupBitmapPalette(const BITMAPRECORD *pBitmap) RV_NOEXCEPT;
/* Returns the number of entries copied. */
RV_API uint32_t Rv_GetBitmapPaletteEntries(const BITMAPRECORD *pBitmap, uint32_t uStart,
                                           uint32_t uCount, RGBQUAD *pEntries) RV_NOEXCEPT;
RV_API int32_t Rv_GetBitmapColors(const BITMAPRECORD *pBitmap, int32_t nIndex, int32_t nCount,
                                  RGBQUAD *pEntries) RV_NOEXCEPT;
RV_API int32_t Rv_PutBitmapColors(BITMAPRECORD *pBitmap, int32_t nIndex, int32_t nCount,
                                  const RGBQUAD *pEntries) RV_NOEXCEPT;
/* TRUE when the first entries agree on red, green and blue. */
RV_API int32_t Rv_CompareBitmapToPalette(const BITMAPRECORD *pBitmap, const RGBQUAD *pEntries,
                                         int32_t nCount) RV_NOEXCEPT;

/* --- palette objects ----------------------------------------------------------------- */
RV_API HRVPALETTE Rv_CreatePalette(const RGBQUAD *pEntries, int32_t nCount) RV_NOEXCEPT;
RV_API HRVPALETTE Rv_WinCreatePalette(const LOGPALETTE *pLogPalette) RV_NOEXCEPT;
RV_API uint32_t Rv_GetPaletteSize(HRVPALETTE hPalette) RV_NOEXCEPT;
/* Return the number of entries copied. */
RV_API uint32_t Rv_GetPaletteEntries(HRVPALETTE hPalette, uint32_t uStart, uint32_t uCount,
                                     RGBQUAD *pEntries) RV_NOEXCEPT;
RV_API uint32_t Rv_SetPaletteEntries(HRVPALETTE hPalette, uint32_t uStart, uint32_t uCount,
                                     const RGBQUAD *pEntries) RV_NOEXCEPT;
RV_API HRVPALETTE Rv_DupPalette(HRVPALETTE hPalette) RV_NOEXCEPT;

/* --- nearest colours --------------------------------------------------------------- */
/* The library's palette search: the nearest entry by squared distance, with
 * black and white shortcuts; -1 for an empty palette. */
RV_API int32_t Rv_FindPaletteIndex(const RGBQUAD *pEntries, int32_t nCount, int32_t nRed,
                                   int32_t nGreen, int32_t nBlue) RV_NOEXCEPT;
/* The classic search on a palette object; a colour with flags gives its low
 * byte. */
RV_API uint32_t GetNearestPaletteIndex(HRVPALETTE hPalette, COLORREF crColor) RV_NOEXCEPT;
/* The same search on a record's palette, with the flags of the colour cleared. */
RV_API uint32_t Rv_GetNearestPaletteIndex(const BITMAPRECORD *pBitmap,
                                          COLORREF crColor) RV_NOEXCEPT;

/* --- gray verdicts and colour values ----------------------------------------------- */
/* GRAY_... verdicts, or a negative status. */
RV_API int32_t Rv_IsGrayScalePalette(const RGBQUAD *pEntries, int32_t nCount) RV_NOEXCEPT;
RV_API int32_t Rv_IsGrayScaleBitmap(const BITMAPRECORD *pBitmap) RV_NOEXCEPT;
RV_API int32_t Rv_IntIsGrayScaleBitmap(const BITMAPRECORD *pBitmap,
                                       int32_t bForceLUT) RV_NOEXCEPT;
/* A colour of pBitmapSrc expressed for pBitmapDst. */
RV_API COLORREF Rv_TranslateBitmapColor(const BITMAPRECORD *pBitmapDst,
                                        const BITMAPRECORD *pBitmapSrc,
                                        COLORREF crColor) RV_NOEXCEPT;
/* The plain colour that a colour value of the bitmap stands for. */
RV_API COLORREF Rv_GetTrueColorValue(const BITMAPRECORD *pBitmap, COLORREF crColor) RV_NOEXCEPT;

/* --- lookup tables and gray scaling ------------------------------------------------ */
/* The record's 16-bit lookup table when it is in force (or bForce): full-form
 * gray records with BITMAPFLAG_USE_LUT or BITMAPFLAG_LUT_NONLINEAR. */
RV_API RGBQUAD16 *Rv_GetLUT16(const BITMAPRECORD *pBitmap, int32_t bForce) RV_NOEXCEPT;
/* Scales nCount 32-bit gray words to bytes between a minimum and a maximum
 * (64-bit values in two words, of which the low words count). */
RV_API int32_t Rv_Gray32To8(int32_t nCount, const uint32_t *pSrc, uint8_t *pDst, uint32_t uMask,
                            int32_t nShift, uint32_t uMinLow, uint32_t uMinHigh, uint32_t uMaxLow,
                            uint32_t uMaxHigh) RV_NOEXCEPT;

/* --- match trees and match tables -------------------------------------------------- */
/* Builds the tree over nColors (1 to 256) entries, replacing what it held. A
 * colour whose blue (or blue and green) no other entry shares finds that
 * entry without its other channels being compared. */
RV_API int32_t Rv_IntMatchTreeCreate(MATCHTREE *pTree, const RGBQUAD *pPalette,
                                     int32_t nColors) RV_NOEXCEPT;
/* The index the tree gives the colour, or -1. */
RV_API int32_t Rv_IntMatchTreeFind(const MATCHTREE *pTree, int32_t nRed, int32_t nGreen,
                                   int32_t nBlue) RV_NOEXCEPT;
RV_API int32_t Rv_IntMatchTreeFree(MATCHTREE *pTree) RV_NOEXCEPT;

/* A match table of the palette, every entry answered by Rv_FindPaletteIndex
 * on the colour of its key; freed with Rv_FreeUserMatchTable. */
RV_API uint32_t *Rv_CreateUserMatchTable(const RGBQUAD *pPalette, uint32_t uColors) RV_NOEXCEPT;
RV_API int32_t Rv_FreeUserMatchTable(uint32_t *pTable) RV_NOEXCEPT;
/* Installs the calling thread's match table, which colour resolution may use
 * as its nearest-colour cache; returns the former one. The caller keeps
 * ownership. */
RV_API uint32_t *Rv_SetUserMatchTable(uint32_t *pTable) RV_NOEXCEPT;

/* --- dithering ----------------------------------------------------------------------- */
/* A dither run reduces the rows of pBitmap (the source: its width, depth,
 * order, palette and tables describe the rows that will come) to packed
 * indices of uColors colours, by the record's nDitheringMethod. Start it,
 * give Rv_DitherLine every row from the top, then stop it; a run started
 * again without a stop is lost. pPalette null stands for the fixed palette of
 * the smallest depth that holds uColors. Palette entries whose reserved byte
 * has bit 0 or 1 set are never chosen. pColorCache, when given, is a match
 * table of RV_MATCH_TABLE_ENTRIES that stays the caller's and keeps what the
 * run learns. nBitsPerPixel (1 to 8) is the depth of the indices written. */
RV_API int32_t Rv_StartDitheringExt(BITMAPRECORD *pBitmap, const RGBQUAD *pPalette,
                                    uint32_t uColors, int32_t nBitsPerPixel,
                                    uint32_t *pColorCache) RV_NOEXCEPT;
/* As the Ext form, writing indices at the smallest depth that holds uColors. */
RV_API int32_t Rv_StartDithering(BITMAPRECORD *pBitmap, const RGBQUAD *pPalette,
                                 uint32_t uColors) RV_NOEXCEPT;
/* One row: pDstRow receives the packed indices; only their bits change. A
 * wide-gamut source row is left brought out of that order. */
RV_API int32_t Rv_DitherLine(BITMAPRECORD *pBitmap, void *pSrcRow, void *pDstRow) RV_NOEXCEPT;
/* Ends the run; SUCCESS also when there is none. */
RV_API int32_t Rv_StopDithering(BITMAPRECORD *pBitmap) RV_NOEXCEPT;

/* --- colour counts --------------------------------------------------------------------- */
/* Counts the distinct colours of the bitmap inside its region. With pPalette,
 * *puCount says on entry how many entries it has room for, and they receive
 * the colours in order of first appearance; past that room the count stops
 * at room + 1. */
RV_API int32_t Rv_GetBitmapColorCountExt(BITMAPRECORD *pBitmap, uint32_t *puCount,
                                         RGBQUAD *pPalette) RV_NOEXCEPT;

/* --- optimised palettes ---------------------------------------------------------------- */
/* An optimised palette of at most *puColors colours for the bitmap. pPalette
 * has room for the larger of *puColors and uMaxColors entries: when the
 * bitmap's own colours, less those of pFixedColors, fit in *puColors (and
 * its colours are no more than uMaxColors), they are the result, sorted, with
 * *pbReduced 0 and *puColors their count. Otherwise the colours are
 * quantised, *pbReduced is 1 and entries that no colour needed stay black.
 * ppMatchTable (may be null) receives a match table of the result when a
 * quantisation ran, else null; free it with Rv_FreeUserMatchTable. */
RV_API int32_t Rv_CreateBitmapOptPal(BITMAPRECORD *pBitmap, RGBQUAD *pPalette, uint32_t *puColors,
                                     uint32_t uMaxColors, const RGBQUAD *pFixedColors,
                                     uint32_t uFixedColors, uint32_t **ppMatchTable,
                                     int32_t *pbReduced, int32_t bFast) RV_NOEXCEPT;
/* One optimised palette for every bitmap of the list (of more than one: the
 * palettes merged when all are of 8 bits or less and their colours fit).
 * pPalette has room for 256 entries and for *puColors. */
RV_API int32_t Rv_CreateBitmapListOptPal(HBITMAPLIST hList, RGBQUAD *pPalette, uint32_t *puColors,
                                         uint32_t **ppMatchTable, int32_t *pbReduced) RV_NOEXCEPT;

RV_END_DECLS

/* === colour resolution ================================================================ */
/* A bitmap brought to a new depth and colour order, with a palette chosen by
 * rule, into a new bitmap, in place, or as rows to a callback only. */

/* Flags of the colour-resolution calls (uFlags). Bits 16 to 23 hold the
 * dithering method of the call (COLORRES_DITHERING). */
#define COLORRES_FIXED_PALETTE 0x1u      /* the fixed palette of the depth */
#define COLORRES_OPTIMIZED_PALETTE 0x2u  /* an optimised palette (so does 0) */
#define COLORRES_ORDER_BGR 0x4u          /* over 8 bits: blue-green-red */
#define COLORRES_IDENTITY_PALETTE 0x8u   /* accepted with the optimised palette */
#define COLORRES_USER_PALETTE 0x10u      /* the caller's palette as it stands */
#define COLORRES_USER_MATCH_TABLE 0x20u  /* the thread's match table is the nearest-colour cache */
#define COLORRES_NETSCAPE_PALETTE 0x40u  /* the web-safe cube; 8 bits only */
#define COLORRES_ORDER_GRAY 0x80u        /* over 8 bits: gray */
#define COLORRES_PALETTE_HANDLE 0x100u   /* the palette comes as a palette object */
#define COLORRES_NO_MATCH_TABLE 0x200u   /* the optimiser makes no match table */
#define COLORRES_OPTIMIZE_FAST 0x400u    /* the optimiser's fast mode */
#define COLORRES_ORDER_WIDE_GAMUT 0x800u /* 24 and 48 bits: the wide-gamut order */
#define COLORRES_ORDER_BGR565 0x4000u    /* 16 bits: 5-6-5 */
#define COLORRES_CONVERT_FLAG_20 0x1000000u /* the conversion gets 0x20 besides its gray flags */
#define COLORRES_DITHERING(method) (((uint32_t)(method) & 0xFFu) << 16)

/* Hears each row of the result as it is made (nLines is 1); pBitmap is the
 * destination record (a private one when there is none). Anything but
 * SUCCESS ends the operation with that status. */
typedef int32_t (*COLORRESCALLBACK)(BITMAPRECORD *pBitmap, void *pRow, int32_t nLines,
                                    void *pUserData);
/* The row callback of the list form: nRow counts the rows of the whole list,
 * from 0 at the first row of its first bitmap. */
typedef int32_t (*COLORRESLISTCALLBACK)(BITMAPRECORD *pBitmap, void *pRow, int32_t nRow,
                                        int32_t nLines, void *pUserData);

RV_BEGIN_DECLS

/* Brings pBitmapSrc to nBitsPerPixel. pBitmapDst receives the result (its
 * size word becomes uStructSize); pBitmapDst equal to pBitmapSrc converts in
 * place; a null pBitmapDst sends the rows to pfnCallback only. At most one of
 * pPalette and hPalette; uColors 0 means all the depth holds. With an
 * optimised palette, pPalette (if given) is a pattern: entries whose reserved
 * byte is 2 are free and receive the colours chosen, the others stay. On
 * failure the source stands as it was. */
RV_API int32_t Rv_ColorResBitmap(BITMAPRECORD *pBitmapSrc, BITMAPRECORD *pBitmapDst,
                                 uint32_t uStructSize, int32_t nBitsPerPixel, uint32_t uFlags,
                                 RGBQUAD *pPalette, HRVPALETTE hPalette, uint32_t uColors,
                                 COLORRESCALLBACK pfnCallback, void *pUserData) RV_NOEXCEPT;
/* Every bitmap of the list in place, with one palette for all: the
 * optimised palette of the whole list, or one match table shared by the
 * bitmaps when the caller's palette is given. */
RV_API int32_t Rv_ColorResBitmapListExt(HBITMAPLIST hList, int32_t nBitsPerPixel, uint32_t uFlags,
                                        RGBQUAD *pPalette, HRVPALETTE hPalette, uint32_t uColors,
                                        COLORRESLISTCALLBACK pfnCallback,
                                        void *pUserData) RV_NOEXCEPT;
RV_API int32_t Rv_ColorResBitmapList(HBITMAPLIST hList, int32_t nBitsPerPixel, uint32_t uFlags,
                                     RGBQUAD *pPalette, HRVPALETTE hPalette,
                                     uint32_t uColors) RV_NOEXCEPT;
/* The smallest and largest gray field of a 32-bit gray bitmap (signed with
 * BITMAPFLAG_SIGNED); either pointer may be null. */
RV_API int32_t Rv_IntGetMinMaxValGray(BITMAPRECORD *pBitmap, int64_t *pnMin,
                                      int64_t *pnMax) RV_NOEXCEPT;

RV_END_DECLS

/* ==== device-independent bitmaps ================================================== */
/* A packed device-independent bitmap (DIB) is a header, a colour table and the
 * pixels, rows padded to 4 bytes ((width x bits + 31) >> 3 & ~3 bytes), bottom-up
 * for a positive height and top-down for a negative one. The records below are
 * exchange formats: their bytes are the same on every build. */
typedef struct BITMAPINFOHEADER {
  uint32_t biSize; /* 40; longer headers are read as this one */
  int32_t biWidth;
  int32_t biHeight;
  uint16_t biPlanes;
  uint16_t biBitCount;
  uint32_t biCompression; /* BI_RGB, BI_BITFIELDS or a four-character code */
  uint32_t biSizeImage;
  int32_t biXPelsPerMeter;
  int32_t biYPelsPerMeter;
  uint32_t biClrUsed;
  uint32_t biClrImportant;
} BITMAPINFOHEADER;

/* The older header of 12 bytes; its colour entries are RGBTRIPLEs. */
typedef struct BITMAPCOREHEADER {
  uint32_t bcSize; /* 12 */
  uint16_t bcWidth;
  uint16_t bcHeight;
  uint16_t bcPlanes;
  uint16_t bcBitCount;
} BITMAPCOREHEADER;

typedef struct RGBTRIPLE {
  uint8_t rgbtBlue;
  uint8_t rgbtGreen;
  uint8_t rgbtRed;
} RGBTRIPLE;

#define BI_RGB 0u
#define BI_BITFIELDS 3u /* 16 and 32 bits: three masks (red, green, blue) follow a 40-byte header */
/* Four-character compression codes, first character in the low byte. */
#define RV_FOURCC(a, b, c, d) \
  ((uint32_t)(uint8_t)(a) | ((uint32_t)(uint8_t)(b) << 8) | ((uint32_t)(uint8_t)(c) << 16) | \
   ((uint32_t)(uint8_t)(d) << 24))
/* Allocation flags of the memory handles the DIB calls make: movable, zeroed. */
#define RV_DIB_HANDLE_FLAGS 0x42u

RV_BEGIN_DECLS

/* --- alpha values ------------------------------------------------------------------- */
/* One alpha value for every pixel of a 32- or 64-bit bitmap inside its region
 * (the low byte, or at 64 bits the low 16 bits, of uAlpha). Reports progress by
 * rows. Unallocated ERROR_INVALID_PARAMETER, another depth
 * ERROR_INVALID_BITS_PER_PIXEL. */
RV_API int32_t Rv_SetBitmapAlphaValues(BITMAPRECORD *pBitmap, uint32_t uAlpha) RV_NOEXCEPT;
/* The same for uRowBytes bytes of a row; other depths are left alone. */
RV_API int32_t Rv_SetRowAlphaValues(int32_t nBitsPerPixel, void *pRow, uint32_t uRowBytes,
                                    uint32_t uAlpha) RV_NOEXCEPT;

/* --- bitmaps to DIBs ----------------------------------------------------------------- */
/* The depth a DIB takes: 1, 4 and 8 bits stay, 2 and 3 become 4, 5 to 7 become 8;
 * 12- and 16-bit gray become 24, 16-bit colour stays (5-6-5 with its three masks
 * as BI_BITFIELDS), 48 becomes 24, 64 becomes 32; deeper pixels are blue-green-red.
 * The rows are written bottom-up. The bitmap stays as it was. NULL for a NULL or
 * unallocated bitmap, a bad size, an image of more than 4 GiB, or no memory. */
/* The DIB in a movable memory block (Rv_OsLockHandle, Rv_OsFreeHandle). */
RV_API RVHANDLE Rv_ConvertToDIB(BITMAPRECORD *pBitmap, uint32_t uStructSize) RV_NOEXCEPT;
/* The DIB from Rv_LocalAlloc (free it with Rv_LocalFree); *puSize gets its bytes. */
RV_API void *Rv_ConvertToDIBPTR(BITMAPRECORD *pBitmap, uint32_t uStructSize,
                                uint32_t *puSize) RV_NOEXCEPT;
/* Either: a handle with bHandle, else a pointer. *puSize, if given, gets the bytes. */
RV_API void *Rv_ConvertToDIB2(BITMAPRECORD *pBitmap, uint32_t uStructSize, uint32_t *puSize,
                              int32_t bHandle) RV_NOEXCEPT;
/* The bitmap's data becomes the DIB: the record gives up its data (it is left
 * freed, as by Rv_FreeBitmap) and the handle is returned. NULL, with the bitmap
 * as it was, for an unallocated or locked bitmap or on failure. */
RV_API RVHANDLE Rv_ChangeToDIB(BITMAPRECORD *pBitmap, uint32_t uStructSize) RV_NOEXCEPT;

/* --- DIBs to bitmaps ------------------------------------------------------------------ */
/* Reads a DIB into a new bitmap: pHeader is the header followed by its colour
 * table (or masks), pBits the pixels. A NULL pBits only sets up the record's
 * fields (size, depth, colours, order, view, resolution) without data or palette.
 * Compression BI_RGB; BI_BITFIELDS at 16 and 32 bits; the YUV frame codes
 * "YVU9", "IF09", "I420", "IYUV", "YV12", "YUY2", "UYVY", "cyuv", "YVYU", "Y41P",
 * "Y41T", "Y42T" and "Y211", read to 24 bits. Nothing is read beyond what the
 * header claims: its colour count, its dimensions, and for YUV frames a non-zero
 * biSizeImage. A 32-bit picture whose alpha is 0 everywhere comes back opaque.
 * Status: NULL record or header ERROR_INVALID_PARAMETER, a bad size
 * ERROR_INVALID_STRUCT_SIZE, an empty picture ERROR_INVALID_PARAMETER, a header
 * that contradicts itself ERROR_DIB_INVALID, an unsupported form
 * ERROR_FEATURE_NOT_SUPPORTED, a compressed frame ERROR_LIBRARY_MISSING_356, a
 * YUV frame of the wrong size ERROR_SIZE_YUV_BUFFER_INCORRECT. On failure the
 * record is left freed. */
RV_API int32_t Rv_ConvertFromDIB(BITMAPRECORD *pBitmap, uint32_t uStructSize, const void *pHeader,
                                 const void *pBits) RV_NOEXCEPT;
/* The same with the bytes that can be read at each pointer: a header, table or
 * pixel data that claims more than that is ERROR_DIB_INVALID (a YUV frame
 * ERROR_SIZE_YUV_BUFFER_INCORRECT). The form for data from outside, such as a
 * file. */
RV_API int32_t Rv_ConvertFromDIBExt(BITMAPRECORD *pBitmap, uint32_t uStructSize,
                                    const void *pHeader, uint64_t uHeaderBytes, const void *pBits,
                                    uint64_t uBitsBytes) RV_NOEXCEPT;
/* A packed DIB: the pixels follow the header and its colour table (3-byte entries
 * after a 12-byte header, 4 otherwise; three masks after a 40-byte BI_BITFIELDS
 * header). NULL ERROR_INVALID_IMAGE, an unreadable header ERROR_DIB_INVALID. */
RV_API int32_t Rv_DIBPTRToRuvo(BITMAPRECORD *pBitmap, uint32_t uStructSize,
                               const void *pDIB) RV_NOEXCEPT;
/* A bitmap from a packed DIB in a memory handle, which the record takes over: the
 * pixels are moved to the start of the block and stay there (BITMAPFLAG_GLOBAL_MEMORY).
 * BI_BITFIELDS masks other than 5-5-5, 5-6-5 and 8-8-8 are converted into storage
 * of the library's own, and the handle is then freed. A handle that isn't a live
 * memory block ERROR_INVALID_PARAMETER; a block shorter than its header says
 * ERROR_DIB_INVALID. On failure the handle stays the caller's, as it was. */
RV_API int32_t Rv_ChangeFromDIB(BITMAPRECORD *pBitmap, uint32_t uStructSize,
                                RVHANDLE hDIB) RV_NOEXCEPT;
/* A bitmap that lies over the handle's pixels where they are
 * (BITMAPFLAG_USER_DATA): the handle stays the caller's and must outlive the
 * bitmap. BI_BITFIELDS DIBs are read into storage of their own instead. */
RV_API int32_t Rv_MirrorFromDIB(BITMAPRECORD *pBitmap, uint32_t uStructSize,
                                RVHANDLE hDIB) RV_NOEXCEPT;

RV_END_DECLS

#endif /* RUVOKIT_RVCOLOR_H */
