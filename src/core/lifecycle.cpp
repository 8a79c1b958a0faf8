// A record's life: initialisation, locks, freeing, a change of height, a
// caller's data pointer, and the data callbacks the record keeps a copy of.
#include <cstring>

#include "core/storage.h"
#include "internal/bitmap_hooks.h"
#include "internal/memory.h"
#include "internal/pixels.h"
#include "internal/record.h"
#include "internal/threaddata.h"
#include "ruvokit/rvbitmap.h"
#include "ruvokit/rvplatform.h"

namespace {

constexpr uint32_t kTiledCompressedSuper =
    BITMAPFLAG_COMPRESSED | BITMAPFLAG_TILED | BITMAPFLAG_SUPER_COMPRESSED;

int32_t default_high_bit(int32_t bits) noexcept {
  switch (bits) {
    case 16: case 48: case 64: return 15;
    case 24: return 7;
    case 32: return -1;
    default: return bits - 1;
  }
}

// The defaults a record takes once its geometry is set.
void set_defaults(BITMAPRECORD *b) noexcept {
  const int32_t bits = b->nBitsPerPixel;
  const rv::THREADDATA &td = rv::thread_data();
  b->nDitheringMethod = Rv_GetDefaultDithering();
  b->nViewPerspective = VIEW_BOTTOM_LEFT;
  b->nColors = bits <= 8 ? 1 << bits : 0;
  b->nOrder = bits <= 8 ? ORDER_RGB : bits == 12 ? ORDER_GRAY : ORDER_BGR;
  b->nXResolution = td.nDefaultXResolution < 1 ? 150 : td.nDefaultXResolution;
  b->nYResolution = td.nDefaultYResolution < 1 ? 150 : td.nDefaultYResolution;
  b->nLowBit = 0;
  b->nLUTLowBit = 0;
  b->nHighBit = default_high_bit(bits);
  b->nLUTHighBit = b->nHighBit;
  b->nPaintGamma = 100;
  b->nLockCount = 0;
}

int32_t call_lock_callback(BITMAPRECORD *b, bool lock) noexcept {
  const BITMAPDATACALLBACKS *cb = b->pDataCallbacks;
  if (cb == nullptr) return SUCCESS;
  auto fn = lock ? cb->pfnLock : cb->pfnUnlock;
  return fn ? fn(b, cb->pUserData) : SUCCESS;
}

}  // namespace

int32_t Rv_InitBitmap(BITMAPRECORD *pBitmap, uint32_t uStructSize, int32_t nWidth, int32_t nHeight,
                      int32_t nBitsPerPixel) noexcept {
  return Rv_InitBitmapWithCallbacks(pBitmap, uStructSize, nWidth, nHeight, nBitsPerPixel, nullptr);
}

int32_t Rv_InitBitmapWithCallbacks(BITMAPRECORD *pBitmap, uint32_t uStructSize, int32_t nWidth,
                                   int32_t nHeight, int32_t nBitsPerPixel,
                                   const BITMAPDATACALLBACKS *pCallbacks) noexcept {
  if (pBitmap == nullptr) return ERROR_INVALID_PARAMETER;
  if (!rv::valid_record_size(uStructSize)) return ERROR_INVALID_STRUCT_SIZE;
  std::memset(pBitmap, 0, uStructSize);
  pBitmap->uStructSize = uStructSize;
  // The lock count and the callback copy are kept whatever the record's size.
  pBitmap->nLockCount = 0;
  pBitmap->pDataCallbacks = nullptr;
  if (nWidth == 0 && nHeight == 0 && nBitsPerPixel == 0) return SUCCESS;
  if (nWidth < 0 || nHeight < 0) return ERROR_INVALID_WIDTH_OR_HEIGHT;
  if (!rv::px::is_valid_depth(nBitsPerPixel)) return ERROR_INVALID_BITS_PER_PIXEL;
  pBitmap->nWidth = nWidth;
  pBitmap->nHeight = nHeight;
  pBitmap->nBitsPerPixel = nBitsPerPixel;
  pBitmap->nBytesPerLine = rv::px::bytes_per_line(nWidth, nBitsPerPixel);
  if (rv::set_bitmap_size(pBitmap, rv::flat_size(pBitmap)) != SUCCESS) {
    std::memset(pBitmap, 0, uStructSize);
    return ERROR_NOT_ENOUGH_MEMORY;
  }
  set_defaults(pBitmap);
  Rv_SetBitmapDataCallbacks(pBitmap, pCallbacks);
  return SUCCESS;
}

// --- locks ---------------------------------------------------------------------------
int32_t Rv_AccessBitmap(BITMAPRECORD *pBitmap) noexcept {
  if (pBitmap == nullptr) return ERROR_INVALID_PARAMETER;
  if (rv::hooks::lock_tracing() && pBitmap->nLockCount < 0) {
    rv::hooks::trace_lock_count("Rv_AccessBitmap", pBitmap->nLockCount, "\n");
  }
  if (++pBitmap->nLockCount > 1) return SUCCESS;
  const int32_t result = call_lock_callback(pBitmap, true);
  if (result == 2) return SUCCESS;
  if (result != SUCCESS) {
    --pBitmap->nLockCount;
    return result;
  }
  const uint32_t flags = pBitmap->uFlags;
  if ((flags & kTiledCompressedSuper) || !(flags & BITMAPFLAG_CONVENTIONAL) ||
      (flags & BITMAPFLAG_LOCKED)) {
    return SUCCESS;
  }
  if (flags & BITMAPFLAG_GLOBAL_MEMORY) {
    auto *block = static_cast<uint8_t *>(WinGlobalLock(pBitmap->hData));
    pBitmap->pData = block ? block + pBitmap->uDataOffset : nullptr;
    pBitmap->uFlags |= BITMAPFLAG_LOCKED;
  }
  return SUCCESS;
}

int32_t Rv_ReleaseBitmap(BITMAPRECORD *pBitmap) noexcept {
  const int32_t status = rv::check_record(pBitmap, rv::NullRecord::NullPointer, false);
  if (status != SUCCESS) return status;
  if (rv::hooks::lock_tracing() && pBitmap->nLockCount < 1) {
    rv::hooks::trace_lock_count("Rv_ReleaseBitmap", pBitmap->nLockCount, "\n");
  }
  if (--pBitmap->nLockCount > 0) return SUCCESS;
  const int32_t result = call_lock_callback(pBitmap, false);
  if (result == 2) return SUCCESS;
  if (result != SUCCESS) return result;
  const uint32_t flags = pBitmap->uFlags;
  if (!(flags & kTiledCompressedSuper) && (flags & BITMAPFLAG_CONVENTIONAL) &&
      (flags & BITMAPFLAG_LOCKED) && (flags & BITMAPFLAG_GLOBAL_MEMORY)) {
    WinGlobalUnlock(pBitmap->hData);
    pBitmap->pData = nullptr;
    pBitmap->uFlags &= ~BITMAPFLAG_LOCKED;
  }
  return SUCCESS;
}

int32_t Rv_IntAccessBitmap(BITMAPRECORD *pBitmap, int32_t *pbLocked) noexcept {
  const int32_t result = Rv_AccessBitmap(pBitmap);
  if (pbLocked) *pbLocked = result == SUCCESS ? TRUE : FALSE;
  return result;
}

int32_t Rv_IntReleaseBitmap(BITMAPRECORD *pBitmap, int32_t bLocked, int32_t nStatus) noexcept {
  if (pBitmap == nullptr) return ERROR_NULL_POINTER;
  if (!bLocked) return nStatus;
  const int32_t result = Rv_ReleaseBitmap(pBitmap);
  return nStatus == SUCCESS ? result : nStatus;
}

// --- freeing ----------------------------------------------------------------------------

void Rv_FreeBitmap(BITMAPRECORD *pBitmap) noexcept {
  if (pBitmap == nullptr || !rv::valid_record_size(pBitmap->uStructSize)) return;
  if (rv::hooks::lock_tracing() && pBitmap->nLockCount != 0) {
    rv::hooks::trace_lock_count("Rv_FreeBitmap", pBitmap->nLockCount, "\n");
  }
  rv::hooks::free_region(pBitmap);
  rv::free_block(pBitmap->pPalette);
  pBitmap->pPalette = nullptr;
  rv::hooks::free_overlays(pBitmap);
  if (pBitmap->uFlags & BITMAPFLAG_ALLOCATED) {
    const BITMAPDATACALLBACKS *cb = pBitmap->pDataCallbacks;
    if (cb != nullptr && cb->pfnFree != nullptr && cb->pfnFree(pBitmap, cb->pUserData) == 2) {
      pBitmap->uFlags &= ~(BITMAPFLAG_CONVENTIONAL | BITMAPFLAG_DISK | BITMAPFLAG_COMPRESSED |
                           BITMAPFLAG_USER_DATA | BITMAPFLAG_TILED | BITMAPFLAG_SUPER_COMPRESSED);
    }
    rv::storage::release(pBitmap);
    pBitmap->uFlags &= ~BITMAPFLAG_STORAGE_MASK;
  }
  // The tables the record owns go whether or not it was allocated, so that a
  // record that never got storage leaks nothing.
  Rv_FreeGrayParams(pBitmap);
  rv::free_block(pBitmap->pExtraData);
  pBitmap->pExtraData = nullptr;
  pBitmap->uExtraDataSize = 0;
  Rv_SetBitmapDataCallbacks(pBitmap, nullptr);
}

// --- height --------------------------------------------------------------------------------
int32_t Rv_ChangeBitmapHeight(BITMAPRECORD *pBitmap, int32_t nHeight) noexcept {
  const int32_t status = rv::check_record(pBitmap, rv::NullRecord::InvalidImage, true);
  if (status != SUCCESS) return status;
  if (pBitmap->uFlags & (BITMAPFLAG_USER_DATA | BITMAPFLAG_LOCKED)) return ERROR_INVALID_PARAMETER;
  if (nHeight == pBitmap->nHeight) return SUCCESS;
  if (nHeight < 0) return ERROR_INVALID_WIDTH_OR_HEIGHT;
  const uint32_t flags = pBitmap->uFlags;
  if (flags & BITMAPFLAG_COMPRESSED) return rv::storage::compressed_change_height(pBitmap, nHeight);
  if (flags & BITMAPFLAG_TILED) return rv::storage::tiled_change_height(pBitmap, nHeight);
  if (flags & BITMAPFLAG_SUPER_COMPRESSED) return rv::storage::super_change_height(pBitmap, nHeight);

  const uint64_t bpl = static_cast<uint32_t>(pBitmap->nBytesPerLine);
  const uint64_t new_data = static_cast<uint64_t>(nHeight) * bpl;
  const uint64_t new_size = new_data + pBitmap->uDataOffset;
  if (!rv::has_size64_field(pBitmap) && new_size > 0xFFFF0000ull) return ERROR_NOT_ENOUGH_MEMORY;
  if (flags & BITMAPFLAG_CONVENTIONAL) {
    if (flags & BITMAPFLAG_GLOBAL_MEMORY) {
      if (WinGlobalReAlloc(pBitmap->hData, static_cast<size_t>(new_size), RV_GMEM_ZEROINIT) == nullptr) {
        return ERROR_NO_MEMORY;
      }
    } else {
      const uint64_t old_data = static_cast<uint64_t>(pBitmap->nHeight) * bpl;
      const uint64_t keep = old_data < new_data ? old_data : new_data;
      if (rv::storage::remap_conventional(pBitmap, new_data, keep) != SUCCESS) return ERROR_NO_MEMORY;
    }
  } else if (flags & BITMAPFLAG_DISK) {
    if (rv::storage::disk_set_size(pBitmap, new_data) != SUCCESS) return ERROR_NO_MEMORY;
  }
  rv::set_bitmap_size(pBitmap, new_size);
  pBitmap->nHeight = nHeight;
  return SUCCESS;
}

// --- a caller's data -------------------------------------------------------------------------
int32_t Rv_SetBitmapDataPointer(BITMAPRECORD *pBitmap, void *pData, uint64_t uDataSize) noexcept {
  if (pBitmap == nullptr) return ERROR_INVALID_IMAGE;
  const uint32_t flags = pBitmap->uFlags;
  if ((flags & BITMAPFLAG_ALLOCATED) && (flags & BITMAPFLAG_USER_DATA) &&
      !(flags & BITMAPFLAG_GLOBAL_MEMORY)) {
    pBitmap->pData = static_cast<uint8_t *>(pData);
    return SUCCESS;
  }
  if (pData != nullptr && uDataSize != rv::bitmap_size(pBitmap)) return ERROR_INVALID_PARAMETER;
  if (!rv::valid_record_size(pBitmap->uStructSize)) return ERROR_INVALID_STRUCT_SIZE;
  // The record gives up what it held and takes the caller's data.
  if (flags & BITMAPFLAG_ALLOCATED) rv::storage::release(pBitmap);
  if (pBitmap->pPaintLUT == nullptr) {
    auto *lut = static_cast<uint8_t *>(rv::alloc_block(256, false));
    if (lut == nullptr) {
      pBitmap->uFlags &= ~BITMAPFLAG_STORAGE_MASK;
      return ERROR_NO_MEMORY;
    }
    for (int i = 0; i < 256; ++i) lut[i] = static_cast<uint8_t>(i);
    pBitmap->pPaintLUT = lut;
  }
  pBitmap->uFlags = (pBitmap->uFlags & ~BITMAPFLAG_STORAGE_MASK) | BITMAPFLAG_ALLOCATED |
                    BITMAPFLAG_CONVENTIONAL | BITMAPFLAG_USER_DATA;
  pBitmap->hData = nullptr;
  pBitmap->uDataOffset = 0;
  pBitmap->pData = static_cast<uint8_t *>(pData);
  return SUCCESS;
}

// --- data callbacks ----------------------------------------------------------------------------
int32_t Rv_SetBitmapDataCallbacks(BITMAPRECORD *pBitmap, const BITMAPDATACALLBACKS *pCallbacks) noexcept {
  const int32_t status = rv::check_record(pBitmap, rv::NullRecord::InvalidParameter, false);
  if (status != SUCCESS) return status;
  if (rv::bitmap_size(pBitmap) == 0) return ERROR_INVALID_WIDTH_OR_HEIGHT;
  BITMAPDATACALLBACKS *copy = nullptr;
  if (pCallbacks != nullptr) {
    if (pCallbacks->uStructSize != RV_BITMAPDATACALLBACKS_SIZE) return ERROR_INVALID_STRUCT_SIZE;
    copy = rv::alloc_array<BITMAPDATACALLBACKS>(1);
    if (copy == nullptr) return ERROR_NO_MEMORY;
    *copy = *pCallbacks;
  }
  rv::free_block(pBitmap->pDataCallbacks);
  pBitmap->pDataCallbacks = copy;
  return SUCCESS;
}

int32_t Rv_GetBitmapDataCallbacks(const BITMAPRECORD *pBitmap,
                                  BITMAPDATACALLBACKS **ppCallbacks) noexcept {
  const int32_t status = rv::check_record(pBitmap, rv::NullRecord::InvalidParameter, false);
  if (status != SUCCESS) return status;
  if (ppCallbacks == nullptr || *ppCallbacks == nullptr) return ERROR_INVALID_PARAMETER;
  if (pBitmap->pDataCallbacks != nullptr) {
    **ppCallbacks = *pBitmap->pDataCallbacks;
  } else {
    std::memset(*ppCallbacks, 0, sizeof(BITMAPDATACALLBACKS));
    (*ppCallbacks)->uStructSize = RV_BITMAPDATACALLBACKS_SIZE;
  }
  return SUCCESS;
}
