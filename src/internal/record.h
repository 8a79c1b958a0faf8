// Checks shared by every function that takes a bitmap record: the record
// sizes of this build, the tests for the fields of the full form, and the
// common order of validation (NULL, structure size, allocation).
#pragma once
#include <cstddef>
#include <cstdint>

#include "ruvokit/rvstatus.h"
#include "ruvokit/rvtypes.h"

namespace rv {

constexpr uint32_t kRecordSize = RV_BITMAPRECORD_SIZE;
constexpr uint32_t kRecordSizeOld = RV_BITMAPRECORD_SIZE_OLD;

// The layout of this build (x86-64). The 32-bit layout is checked by a
// compile-only test.
static_assert(sizeof(void *) != 8 || kRecordSize == 296);
static_assert(sizeof(void *) != 8 || kRecordSizeOld == 232);
static_assert(sizeof(void *) != 8 || offsetof(BITMAPRECORD, uSize64) == 256);
static_assert(sizeof(void *) != 8 || offsetof(BITMAPRECORD, nLockCount) == 272);
static_assert(sizeof(void *) != 8 || sizeof(BITMAPDATACALLBACKS) == 88);
static_assert(sizeof(void *) != 8 || sizeof(BITMAPALLOCINFO) == 56);
static_assert(sizeof(GLOBALMEMORYTHRESHOLDS) == 12);
static_assert(sizeof(RGBQUAD) == 4 && sizeof(RGBQUAD16) == 8);
static_assert(sizeof(RECT) == 16 && sizeof(POINT) == 8);

inline bool valid_record_size(uint32_t size) noexcept {
  return size == kRecordSize || size == kRecordSizeOld;
}

// The record reaches far enough to hold pLUT16 and pPaintLUT16.
inline bool has_lut16_fields(const BITMAPRECORD *bitmap) noexcept {
  return bitmap->uStructSize > offsetof(BITMAPRECORD, pLUT16);
}
// The record reaches far enough to hold uSize64.
inline bool has_size64_field(const BITMAPRECORD *bitmap) noexcept {
  return bitmap->uStructSize > offsetof(BITMAPRECORD, uSize64);
}

inline bool is_allocated(const BITMAPRECORD *bitmap) noexcept {
  return (bitmap->uFlags & BITMAPFLAG_ALLOCATED) != 0;
}

// What a NULL record gives: the older functions say ERROR_INVALID_PARAMETER,
// the newer ERROR_NULL_POINTER, and those that need data ERROR_INVALID_IMAGE.
enum class NullRecord : int32_t {
  InvalidParameter = ERROR_INVALID_PARAMETER,
  NullPointer = ERROR_NULL_POINTER,
  InvalidImage = ERROR_INVALID_IMAGE,
};

// NULL, then the structure size, then (when asked) allocation.
inline int32_t check_record(const BITMAPRECORD *bitmap, NullRecord null_code,
                            bool need_allocated) noexcept {
  if (bitmap == nullptr) return static_cast<int32_t>(null_code);
  if (!valid_record_size(bitmap->uStructSize)) return ERROR_INVALID_STRUCT_SIZE;
  if (need_allocated && !is_allocated(bitmap)) return ERROR_INVALID_IMAGE;
  return SUCCESS;
}

// The data size: uSize32 (high word zero) in the older form, uSize64 in the
// full form.
inline uint64_t bitmap_size(const BITMAPRECORD *bitmap) noexcept {
  return has_size64_field(bitmap) ? bitmap->uSize64 : bitmap->uSize32;
}

// Flat memory a loop may address directly: in memory, neither compressed,
// tiled nor in strips, and no data callbacks that would serve rows themselves.
inline bool is_flat_memory(const BITMAPRECORD *b) noexcept {
  constexpr uint32_t kOther = BITMAPFLAG_COMPRESSED | BITMAPFLAG_TILED | BITMAPFLAG_SUPER_COMPRESSED;
  return (b->uFlags & BITMAPFLAG_CONVENTIONAL) && !(b->uFlags & kOther) && b->pData != nullptr &&
         b->pDataCallbacks == nullptr;
}

// The first byte of a storage row of flat memory.
inline uint8_t *row_address(const BITMAPRECORD *b, int32_t row) noexcept {
  return b->pData + static_cast<size_t>(static_cast<uint32_t>(b->nBytesPerLine)) * static_cast<uint32_t>(row);
}

// Records the data size. The full form takes any size; the older form refuses
// one above 0xFFFF0000 with ERROR_NOT_ENOUGH_MEMORY, leaving 0xFFFF0000.
int32_t set_bitmap_size(BITMAPRECORD *bitmap, uint64_t size) noexcept;

// nHeight x nBytesPerLine in 64 bits: the size of every flat form.
inline uint64_t flat_size(const BITMAPRECORD *bitmap) noexcept {
  return static_cast<uint64_t>(static_cast<uint32_t>(bitmap->nHeight)) *
         static_cast<uint32_t>(bitmap->nBytesPerLine);
}

}  // namespace rv

// The size helper under its interface name (internal, not exported).
int32_t Rv_IntSetBitmapSize(BITMAPRECORD *pBitmap, uint32_t uSizeLow, uint32_t uSizeHigh) noexcept;
