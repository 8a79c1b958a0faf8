/* Ruvokit imaging kernel: records and constants shared by every part of the
 * interface.
 *
 * This header is freestanding: it needs nothing but <stdint.h> and <stddef.h>,
 * so that the record layout can be checked for any target without its
 * libraries. Records keep their documented field order; fields are fixed-width
 * (32-bit words are int32_t or uint32_t), pointers and handles are
 * pointer-sized. The size words of records with pointers are therefore per
 * build: use the RV_..._SIZE constants below, never a number. */
#ifndef RUVOKIT_RVTYPES_H
#define RUVOKIT_RVTYPES_H

#include <stddef.h>
#include <stdint.h>

/* --- export and linkage ---------------------------------------------------- */
#ifdef __cplusplus
#define RV_EXTERN_C extern "C"
#define RV_NOEXCEPT noexcept
#define RV_BEGIN_DECLS extern "C" {
#define RV_END_DECLS }
#else
#define RV_EXTERN_C
#define RV_NOEXCEPT
#define RV_BEGIN_DECLS
#define RV_END_DECLS
#endif

#if defined(__GNUC__)
#define RV_EXPORT __attribute__((visibility("default")))
#else
#define RV_EXPORT
#endif

/* Every public function is declared once, with RV_API in front: C linkage,
 * exported from the library, and noexcept (RV_NOEXCEPT) for C++ callers. */
#define RV_API RV_EXTERN_C RV_EXPORT

#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif

/* --- basic types -------------------------------------------------------------- */
/* Wide text is UTF-16 in char16_t units; C gets the type <uchar.h> defines. */
#if !defined(__cplusplus)
typedef uint_least16_t char16_t;
#endif

/* A handle: a library handle object (WINHANDLE, see rvplatform.h), 0 or -1. */
typedef void *RVHANDLE;
#define RV_INVALID_HANDLE ((RVHANDLE)(intptr_t)-1)

/* 32-bit colour: red in the low byte, then green, then blue; the top byte holds
 * flags. */
typedef uint32_t COLORREF;
#define COLOR_INDEX_FLAG 0x01u /* the low bits are a palette index */
#define COLOR_GRAY_FLAG 0x04u  /* the low 16 bits are the gray level of a deep gray bitmap */
#define RV_RGB(r, g, b) \
  ((COLORREF)(((uint32_t)(uint8_t)(r)) | ((uint32_t)(uint8_t)(g) << 8) | ((uint32_t)(uint8_t)(b) << 16)))
#define RV_GET_R(cr) ((uint8_t)((cr) & 0xFF))
#define RV_GET_G(cr) ((uint8_t)(((cr) >> 8) & 0xFF))
#define RV_GET_B(cr) ((uint8_t)(((cr) >> 16) & 0xFF))
#define RV_COLOR_FLAGS(cr) ((uint8_t)(((cr) >> 24) & 0xFF))
#define RV_PALETTE_INDEX(i) ((COLORREF)(0x01000000u | (uint32_t)(uint16_t)(i)))
#define RV_GRAY_LEVEL(v) ((COLORREF)(0x04000000u | (uint32_t)(uint16_t)(v)))

/* Palette entry: memory order blue, green, red, reserved. */
typedef struct RGBQUAD {
  uint8_t rgbBlue;
  uint8_t rgbGreen;
  uint8_t rgbRed;
  uint8_t rgbReserved;
} RGBQUAD;

/* Entry of a deep lookup table: three 16-bit channels blue, green, red and a
 * reserved word. */
typedef struct RGBQUAD16 {
  uint16_t rgbBlue;
  uint16_t rgbGreen;
  uint16_t rgbRed;
  uint16_t rgbReserved;
} RGBQUAD16;

typedef struct RECT {
  int32_t left;
  int32_t top;
  int32_t right;
  int32_t bottom;
} RECT;

typedef struct POINT {
  int32_t x;
  int32_t y;
} POINT;

typedef struct SIZE {
  int32_t cx;
  int32_t cy;
} SIZE;

/* Progress callback: called with a percent; anything but SUCCESS stops the
 * operation, which then returns that value. */
typedef int32_t (*STATUSCALLBACK)(int32_t nPercent, void *pUserData);

/* --- colour orders -------------------------------------------------------------- */
#define ORDER_RGB 0
#define ORDER_BGR 1
#define ORDER_GRAY 2
#define ORDER_WIDE_GAMUT 5 /* blue-green-red reached through a fixed matrix; depths 24 and 48 */
#define ORDER_BGR565 7     /* 16-bit pixels only */

/* --- view perspectives (the corner where the first stored pixel lies) ----------- */
#define VIEW_TOP_LEFT 1
#define VIEW_TOP_RIGHT 2
#define VIEW_BOTTOM_RIGHT 3
#define VIEW_BOTTOM_LEFT 4
#define VIEW_LEFT_TOP 5
#define VIEW_RIGHT_TOP 6
#define VIEW_RIGHT_BOTTOM 7
#define VIEW_LEFT_BOTTOM 8

/* --- bitmap flags (BITMAPRECORD.uFlags) ------------------------------------------ */
#define BITMAPFLAG_ALLOCATED 0x1u
#define BITMAPFLAG_CONVENTIONAL 0x2u
#define BITMAPFLAG_DISK 0x4u
#define BITMAPFLAG_LOCKED 0x10u
#define BITMAPFLAG_WAIT_USER_INPUT 0x40u
#define BITMAPFLAG_TRANSPARENCY 0x80u
#define BITMAPFLAG_COMPRESSED 0x100u
#define BITMAPFLAG_SIGNED 0x200u
#define BITMAPFLAG_USER_DATA 0x400u
#define BITMAPFLAG_USE_LUT 0x800u
#define BITMAPFLAG_GLOBAL_MEMORY 0x1000u
#define BITMAPFLAG_PAINT_LUT 0x2000u
#define BITMAPFLAG_TILED 0x4000u
#define BITMAPFLAG_SUPER_COMPRESSED 0x8000u
#define BITMAPFLAG_RGN_NO_CLIP 0x10000u
#define BITMAPFLAG_RESERVED_20000 0x20000u
#define BITMAPFLAG_LUT_NONLINEAR 0x40000u
/* The bits that say how a bitmap is stored; the allocator clears them first. */
#define BITMAPFLAG_STORAGE_MASK 0xD517u

/* --- storage requests (uMemory) -------------------------------------------------- */
#define BITMAPMEM_CONVENTIONAL 0x1u
#define BITMAPMEM_NO_MEMORY 0x2u
#define BITMAPMEM_TILED 0x4u
#define BITMAPMEM_NOT_TILED 0x8u
#define BITMAPMEM_DISK 0x80u
#define BITMAPMEM_NO_DISK 0x100u
#define BITMAPMEM_COMPRESSED 0x200u
#define BITMAPMEM_SUPER_COMPRESSED 0x400u

/* Storage forms as Rv_GetBitmapMemoryInfo reports them. */
#define BITMAPMEMINFO_CONVENTIONAL 1u
#define BITMAPMEMINFO_TILED 4u
#define BITMAPMEMINFO_DISK 128u
#define BITMAPMEMINFO_COMPRESSED 512u
#define BITMAPMEMINFO_SUPER_COMPRESSED 1024u

/* --- data callbacks and allocation info ----------------------------------------- */
struct BITMAPRECORD;
struct BITMAPALLOCINFO;
struct BITMAPDATACALLBACKS;

/* What allocation callbacks receive. */
typedef struct BITMAPALLOCINFO {
  uint32_t uStructSize; /* RV_BITMAPALLOCINFO_SIZE */
  uint32_t uReserved;
  uint32_t uMemory; /* in and out */
  int32_t nWidth;
  int32_t nHeight;
  int32_t nBitsPerPixel;
  int32_t nBytesPerLine; /* 0 in the process-wide callback */
  int32_t nOrder;
  int32_t nViewPerspective;
  uint64_t uSize;
  RGBQUAD *pPalette;
} BITMAPALLOCINFO;

typedef int32_t (*BITMAPALLOCCALLBACK)(BITMAPALLOCINFO *pInfo, void *pUserData);

/* Per-bitmap data callbacks; the bitmap keeps a private copy. */
typedef struct BITMAPDATACALLBACKS {
  uint32_t uStructSize; /* RV_BITMAPDATACALLBACKS_SIZE */
  void *pUserData;
  int32_t (*pfnAllocate)(BITMAPALLOCINFO *pInfo, void *pUserData);
  int32_t (*pfnFree)(struct BITMAPRECORD *pBitmap, void *pUserData);
  int32_t (*pfnBeginCopy)(struct BITMAPRECORD *pSrcBitmap, int32_t nParam, BITMAPALLOCINFO *pInfo,
                          struct BITMAPDATACALLBACKS *pNewCallbacks, void *pUserData);
  int32_t (*pfnEndCopy)(struct BITMAPRECORD *pBitmap, int32_t nParam, void *pUserData);
  int32_t (*pfnLock)(struct BITMAPRECORD *pBitmap, void *pUserData);
  int32_t (*pfnUnlock)(struct BITMAPRECORD *pBitmap, void *pUserData);
  int32_t (*pfnGetRow)(struct BITMAPRECORD *pBitmap, void *pBuffer, int32_t nRow, int32_t nCol,
                       uint32_t uBytes, void *pUserData);
  int32_t (*pfnPutRow)(struct BITMAPRECORD *pBitmap, const void *pBuffer, int32_t nRow,
                       int32_t nCol, uint32_t uBytes, void *pUserData);
  int32_t (*pfnGetPixelBuffer)(struct BITMAPRECORD *pBitmap, void **ppBuffer, uint32_t uBytes,
                               void *pUserData);
} BITMAPDATACALLBACKS;

/* --- the bitmap record ------------------------------------------------------------ */
typedef struct BITMAPRECORD {
  uint32_t uStructSize; /* RV_BITMAPRECORD_SIZE or RV_BITMAPRECORD_SIZE_OLD */
  RVHANDLE hData;       /* backing object of the data */
  uint8_t *pData;       /* first byte of flat data, or the storage table */
  int32_t nWidth;
  int32_t nHeight;
  int32_t nBitsPerPixel; /* 1-8, 12, 16, 24, 32, 48, 64 */
  int32_t nBytesPerLine;
  uint32_t uReserved1;
  uint32_t uReserved2;
  uint32_t uFlags; /* BITMAPFLAG_... */
  int32_t nColors;
  RGBQUAD *pPalette;
  int32_t nViewPerspective; /* VIEW_... */
  int32_t nOrder;           /* ORDER_... */
  uint32_t uSize32;         /* low 32 bits of the data size */
  void *pDitherData;
  int32_t nDitheringMethod;
  void *pRgnInfo;
  int32_t nXResolution;
  int32_t nYResolution;
  int32_t nLeft;
  int32_t nTop;
  int32_t nDelay;
  COLORREF crBackground;
  COLORREF crTransparent;
  int32_t nDisposalMethod;
  int32_t nLowBit;
  int32_t nHighBit;
  RGBQUAD *pLUT;
  uint32_t uLUTLength;
  uint32_t uDataOffset;
  int32_t nMinVal;
  int32_t nMaxVal;
  int32_t nLUTLowBit;
  int32_t nLUTHighBit;
  int32_t nPaintGamma;
  int32_t nPaintContrast;
  int32_t nPaintIntensity;
  uint8_t *pPaintLUT;
  RVHANDLE hOverlays;
  uint32_t uReserved3;
  void *pExtraData;
  uint32_t uExtraDataSize;
  uint32_t uLUT16Length;
  /* The older form ends here. */
  RGBQUAD16 *pLUT16;
  uint16_t *pPaintLUT16;
  uint32_t uReserved4;
  uint64_t uSize64;
  uint32_t uReserved5;
  uint32_t uReserved6;
  int32_t nLockCount; /* read and written whatever uStructSize says */
  BITMAPDATACALLBACKS *pDataCallbacks;
  uint32_t uReserved7;
} BITMAPRECORD;

/* Record sizes of this build. */
#define RV_BITMAPRECORD_SIZE ((uint32_t)sizeof(BITMAPRECORD))
#define RV_BITMAPRECORD_SIZE_OLD ((uint32_t)offsetof(BITMAPRECORD, pLUT16))
#define RV_BITMAPDATACALLBACKS_SIZE ((uint32_t)sizeof(BITMAPDATACALLBACKS))
#define RV_BITMAPALLOCINFO_SIZE ((uint32_t)sizeof(BITMAPALLOCINFO))

/* The process-wide memory threshold record: 12 bytes on every build. */
#pragma pack(push, 4)
typedef struct GLOBALMEMORYTHRESHOLDS {
  uint32_t uStructSize;  /* 12 */
  int64_t uMaxConvSize;  /* 0 no limit; -1 the fixed limit */
} GLOBALMEMORYTHRESHOLDS;
#pragma pack(pop)

#endif /* RUVOKIT_RVTYPES_H */
