// The allocator: which storage form a bitmap gets, and the process-wide and
// per-thread values that steer the decision.
#include <atomic>
#include <initializer_list>
#include <cstring>
#include <mutex>

#include "core/storage.h"
#include "internal/memory.h"
#include "internal/record.h"
#include "internal/threaddata.h"
#include "ruvokit/rvbitmap.h"

namespace {

// --- process-wide values -----------------------------------------------------------
std::atomic<uint64_t> g_max_conv_size{0};  // 0: no limit

struct AllocateCallback {
  BITMAPALLOCCALLBACK fn = nullptr;
  void *user = nullptr;
};
std::mutex &callback_mutex() {
  static std::mutex m;
  return m;
}
AllocateCallback g_allocate_callback;

AllocateCallback allocate_callback() noexcept {
  std::lock_guard<std::mutex> lock(callback_mutex());
  return g_allocate_callback;
}

constexpr uint64_t kTileThreshold = 0x1000000;   // 16 MiB
constexpr uint64_t kMemoryCeiling = 2000000000;  // fixed: the system is not asked
constexpr uint64_t kReserveUnit = 40000000;
constexpr uint64_t kMaxConvUnit = 20000000;

// The requests the allocator accepts once it has reduced uMemory.
bool accepted_request(uint32_t m) noexcept {
  switch (m) {
    case 0x1: case 0x2: case 0x4: case 0x8: case 0x9: case 0x80: case 0x100: case 0x101:
    case 0x104: case 0x108: case 0x109: case 0x300: case 0x301: case 0x400: case 0x401:
    case 0x500: case 0x501:
      return true;
    default:
      return false;
  }
}

BITMAPALLOCINFO alloc_info(const BITMAPRECORD *b, uint32_t memory, bool with_row_size,
                           const RGBQUAD *palette) noexcept {
  BITMAPALLOCINFO info{};
  info.uStructSize = RV_BITMAPALLOCINFO_SIZE;
  info.uMemory = memory;
  info.nWidth = b->nWidth;
  info.nHeight = b->nHeight;
  info.nBitsPerPixel = b->nBitsPerPixel;
  info.nBytesPerLine = with_row_size ? b->nBytesPerLine : 0;
  info.nOrder = b->nOrder;
  info.nViewPerspective = b->nViewPerspective;
  info.uSize = rv::bitmap_size(b);
  info.pPalette = const_cast<RGBQUAD *>(palette);
  return info;
}

void free_paint_tables(BITMAPRECORD *b) noexcept {
  rv::free_block(b->pPaintLUT);
  b->pPaintLUT = nullptr;
  if (rv::has_lut16_fields(b)) {
    rv::free_block(b->pPaintLUT16);
    b->pPaintLUT16 = nullptr;
  }
}

// The memory a conventional bitmap may take under the thread's thresholds.
uint64_t available_memory(const rv::THREADDATA &td) noexcept {
  const uint64_t reserve = td.nMemoryReserve < 0
                               ? static_cast<uint64_t>(-static_cast<int64_t>(td.nMemoryReserve)) * kReserveUnit
                               : static_cast<uint64_t>(td.nMemoryReserve);
  uint64_t available = reserve > kMemoryCeiling ? 0 : kMemoryCeiling - reserve;
  const uint64_t cap = td.nMaxConvSize < 0
                           ? static_cast<uint64_t>(-static_cast<int64_t>(td.nMaxConvSize)) * kMaxConvUnit
                           : static_cast<uint64_t>(td.nMaxConvSize);
  return cap < available ? cap : available;
}

}  // namespace

int32_t Rv_AllocateBitmap(BITMAPRECORD *pBitmap, uint32_t uMemory) noexcept {
  return Rv_IntAllocateBitmap(pBitmap, uMemory, nullptr);
}

int32_t Rv_IntAllocateBitmap(BITMAPRECORD *pBitmap, uint32_t uMemory, const RGBQUAD *pPalette) noexcept {
  // 1. The record.
  int32_t status = rv::check_record(pBitmap, rv::NullRecord::InvalidImage, false);
  if (status != SUCCESS) return status;
  const uint64_t size = rv::bitmap_size(pBitmap);
  if (size == 0) return ERROR_INVALID_WIDTH_OR_HEIGHT;

  // 2. The process-wide callback sees the request first.
  if (const AllocateCallback cb = allocate_callback(); cb.fn != nullptr) {
    BITMAPALLOCINFO info = alloc_info(pBitmap, uMemory, false, pPalette);
    status = cb.fn(&info, cb.user);
    if (status != SUCCESS) return status;
    uMemory = info.uMemory;
  }

  // 3. A caller's pointer needs neither disk nor tiles; temporary files held
  //    in memory rule out disk.
  const bool files_in_memory = !(uMemory & BITMAPMEM_NO_MEMORY) && rv::storage::temp_files_in_memory();
  if (uMemory & BITMAPMEM_NO_MEMORY) {
    uMemory &= ~(BITMAPMEM_NO_DISK | BITMAPMEM_NOT_TILED);
  } else if (files_in_memory) {
    uMemory = (uMemory & ~BITMAPMEM_DISK) | BITMAPMEM_NO_DISK;
  }

  // 4.-7. Storage flags cleared (storage an allocated record still holds is
  //       given back first), the request reduced and checked.
  if (pBitmap->uFlags & BITMAPFLAG_ALLOCATED) rv::storage::release(pBitmap);
  pBitmap->uFlags &= ~BITMAPFLAG_STORAGE_MASK;
  if (uMemory & BITMAPMEM_COMPRESSED) {
    uMemory = pBitmap->nBitsPerPixel == 1 ? BITMAPMEM_COMPRESSED | BITMAPMEM_NO_DISK
                                          : uMemory & ~BITMAPMEM_COMPRESSED;
  }
  if ((uMemory & BITMAPMEM_SUPER_COMPRESSED) && pBitmap->nBitsPerPixel != 1 &&
      pBitmap->nBitsPerPixel != 8 && pBitmap->nBitsPerPixel != 24) {
    uMemory &= ~BITMAPMEM_SUPER_COMPRESSED;
  }
  if (!accepted_request(uMemory)) return ERROR_INVALID_PARAMETER;

  // 8.-9. The paint table, identity; no storage yet.
  rv::free_block(pBitmap->pPaintLUT);
  pBitmap->pPaintLUT = static_cast<uint8_t *>(rv::alloc_block(256, false));
  if (pBitmap->pPaintLUT == nullptr) return ERROR_NO_MEMORY;
  for (int i = 0; i < 256; ++i) pBitmap->pPaintLUT[i] = static_cast<uint8_t>(i);
  if (rv::has_lut16_fields(pBitmap)) pBitmap->pPaintLUT16 = nullptr;
  pBitmap->hData = nullptr;
  pBitmap->pData = nullptr;

  // 10. The bitmap's own callback may take the storage over.
  const BITMAPDATACALLBACKS *callbacks = pBitmap->pDataCallbacks;
  if (callbacks != nullptr && callbacks->pfnAllocate != nullptr) {
    BITMAPALLOCINFO info = alloc_info(pBitmap, uMemory, true, pPalette);
    status = callbacks->pfnAllocate(&info, callbacks->pUserData);
    if (status == 2) {
      pBitmap->uFlags |= BITMAPFLAG_ALLOCATED | BITMAPFLAG_USER_DATA;
      return SUCCESS;
    }
    if (status != SUCCESS) {
      free_paint_tables(pBitmap);
      return status;
    }
    uMemory = info.uMemory;
  }

  // 11. No storage: the caller gives the pointer.
  if (uMemory == BITMAPMEM_NO_MEMORY) {
    pBitmap->uFlags |= BITMAPFLAG_ALLOCATED | BITMAPFLAG_CONVENTIONAL | BITMAPFLAG_USER_DATA;
    return SUCCESS;
  }
  // 12. Compressed rows.
  if (uMemory & BITMAPMEM_COMPRESSED) {
    if (rv::storage::compressed_allocate(pBitmap) != SUCCESS) {
      free_paint_tables(pBitmap);
      return ERROR_NO_MEMORY;
    }
    pBitmap->uFlags |= BITMAPFLAG_ALLOCATED | BITMAPFLAG_CONVENTIONAL | BITMAPFLAG_COMPRESSED;
    return SUCCESS;
  }
  // 13. Super-compressed strips.
  if (uMemory & BITMAPMEM_SUPER_COMPRESSED) {
    status = rv::storage::super_allocate(pBitmap);
    if (status != SUCCESS) {
      free_paint_tables(pBitmap);
      return status;
    }
    pBitmap->uFlags |= BITMAPFLAG_ALLOCATED | BITMAPFLAG_CONVENTIONAL | BITMAPFLAG_SUPER_COMPRESSED;
    return SUCCESS;
  }

  const rv::THREADDATA &td = rv::thread_data();
  uint64_t available = 0;
  if (uMemory & BITMAPMEM_TILED) {
    // 14. Tiles only for a bitmap above the tile threshold.
    const uint64_t threshold = td.nTileSize > 0 ? static_cast<uint64_t>(td.nTileSize) : kTileThreshold;
    if (size <= threshold) uMemory &= ~BITMAPMEM_TILED;
  } else {
    // 15. Above the process limit, or asked for: straight to disk.
    const uint64_t limit = g_max_conv_size.load(std::memory_order_relaxed);
    if ((limit != 0 && size > limit && !(uMemory & BITMAPMEM_NO_DISK)) || uMemory == BITMAPMEM_DISK) {
      uMemory = BITMAPMEM_DISK;
    } else {
      available = available_memory(td);
      if (size > available && !(uMemory & BITMAPMEM_NOT_TILED)) uMemory |= BITMAPMEM_TILED;
    }
  }

  // 16. Conventional memory.
  if (!(uMemory & (BITMAPMEM_TILED | BITMAPMEM_DISK))) {
    if (rv::storage::map_conventional(pBitmap, size) == SUCCESS) {
      pBitmap->uFlags |= BITMAPFLAG_ALLOCATED | BITMAPFLAG_CONVENTIONAL;
      return SUCCESS;
    }
  }
  // 17. Tiles.
  if (!(uMemory & (BITMAPMEM_NOT_TILED | BITMAPMEM_DISK))) {
    rv::storage::TileRequest request;
    request.tile_size = td.nTileSize > 0 ? static_cast<uint64_t>(td.nTileSize) : kTileThreshold;
    request.available = available;
    request.tile_views = td.nTileViews;
    request.no_disk = files_in_memory || (uMemory & BITMAPMEM_NO_DISK);
    if (rv::storage::tiled_allocate(pBitmap, request) == SUCCESS) {
      pBitmap->uFlags |= BITMAPFLAG_ALLOCATED | BITMAPFLAG_CONVENTIONAL | BITMAPFLAG_TILED;
      return SUCCESS;
    }
  }
  // 18. A temporary file.
  if (!(uMemory & BITMAPMEM_NO_DISK)) {
    if (rv::storage::disk_create(pBitmap, size) == SUCCESS) {
      pBitmap->uFlags = (pBitmap->uFlags | BITMAPFLAG_ALLOCATED | BITMAPFLAG_DISK) &
                        ~(BITMAPFLAG_USER_DATA | BITMAPFLAG_GLOBAL_MEMORY);
      return SUCCESS;
    }
  }
  // 19. Nothing worked.
  free_paint_tables(pBitmap);
  return ERROR_NO_MEMORY;
}

void *Rv_SetAllocateBitmapCallback(BITMAPALLOCCALLBACK pfnCallback, void *pUserData,
                                   BITMAPALLOCCALLBACK *ppfnOld, void **ppOldUserData) noexcept {
  std::lock_guard<std::mutex> lock(callback_mutex());
  if (ppfnOld) *ppfnOld = g_allocate_callback.fn;
  if (ppOldUserData) *ppOldUserData = g_allocate_callback.user;
  g_allocate_callback.fn = pfnCallback;
  g_allocate_callback.user = pUserData;
  return pUserData;
}

// --- defaults and thresholds ---------------------------------------------------------
int32_t Rv_SetDefaultMemoryType(uint32_t uMemory) noexcept {
  if (uMemory != BITMAPMEM_CONVENTIONAL && uMemory != BITMAPMEM_DISK) return ERROR_INVALID_PARAMETER;
  rv::thread_data().uDefaultMemoryType = uMemory;
  return SUCCESS;
}

int32_t Rv_GetDefaultMemoryType(uint32_t *puMemory) noexcept {
  if (puMemory == nullptr) return ERROR_INVALID_PARAMETER;
  *puMemory = rv::thread_data().uDefaultMemoryType;
  return SUCCESS;
}

int32_t Rv_SetMemoryThresholds(int32_t nMemoryReserve, int32_t nMaxConvSize, int32_t nTileSize,
                               int32_t nConvTiles, int32_t nTileViews, uint32_t uFlags) noexcept {
  rv::THREADDATA &td = rv::thread_data();
  struct Field {
    uint32_t flag;
    int32_t value;
    int32_t *target;
    bool percent_allowed;
  };
  const Field fields[] = {
      {MEMTHRESHOLD_MEMORY_RESERVE, nMemoryReserve, &td.nMemoryReserve, true},
      {MEMTHRESHOLD_MAX_CONV_SIZE, nMaxConvSize, &td.nMaxConvSize, true},
      {MEMTHRESHOLD_TILE_SIZE, nTileSize, &td.nTileSize, false},
      {MEMTHRESHOLD_CONV_TILES, nConvTiles, &td.nConvTiles, true},
      {MEMTHRESHOLD_TILE_VIEWS, nTileViews, &td.nTileViews, true},
  };
  // Each field is checked as it comes; those before a bad one stay set.
  for (const Field &f : fields) {
    if (!(uFlags & f.flag)) continue;
    if (f.value < -100 || (!f.percent_allowed && f.value < 0)) return ERROR_INVALID_PARAMETER;
    *f.target = f.value;
  }
  return SUCCESS;
}

int32_t Rv_GetMemoryThresholds(int32_t *pnMemoryReserve, int32_t *pnMaxConvSize, int32_t *pnTileSize,
                               int32_t *pnConvTiles, int32_t *pnTileViews) noexcept {
  const rv::THREADDATA &td = rv::thread_data();
  if (pnMemoryReserve) *pnMemoryReserve = td.nMemoryReserve;
  if (pnMaxConvSize) *pnMaxConvSize = td.nMaxConvSize;
  if (pnTileSize) *pnTileSize = td.nTileSize;
  if (pnConvTiles) *pnConvTiles = td.nConvTiles;
  if (pnTileViews) *pnTileViews = td.nTileViews;
  return SUCCESS;
}

int32_t Rv_SetGlobalMemoryThresholds(const GLOBALMEMORYTHRESHOLDS *pThresholds) noexcept {
  if (pThresholds == nullptr) {
    g_max_conv_size.store(0, std::memory_order_relaxed);
    return SUCCESS;
  }
  if (pThresholds->uStructSize != sizeof(GLOBALMEMORYTHRESHOLDS)) return ERROR_INVALID_STRUCT_SIZE;
  int64_t value = pThresholds->uMaxConvSize;
  if (value == -1) value = static_cast<int64_t>(RV_MAXCONV_FIXED_LIMIT);
  if (value < 0) return ERROR_INVALID_PARAMETER;
  g_max_conv_size.store(static_cast<uint64_t>(value), std::memory_order_relaxed);
  return SUCCESS;
}

int32_t Rv_GetGlobalMemoryThresholds(GLOBALMEMORYTHRESHOLDS *pThresholds, uint32_t uStructSize) noexcept {
  if (uStructSize != sizeof(GLOBALMEMORYTHRESHOLDS)) return ERROR_INVALID_STRUCT_SIZE;
  if (pThresholds == nullptr) return ERROR_INVALID_PARAMETER;
  pThresholds->uStructSize = uStructSize;
  pThresholds->uMaxConvSize = static_cast<int64_t>(g_max_conv_size.load(std::memory_order_relaxed));
  return SUCCESS;
}

uint64_t Rv_IntGetMaximumConventionalMemorySize(int32_t nWhich) noexcept {
  if (nWhich == -1) return RV_MAXCONV_FIXED_LIMIT;
  if (nWhich == -2) return RV_MAXCONV_LARGE_LIMIT;
  return g_max_conv_size.load(std::memory_order_relaxed);
}

int32_t Rv_SetDefaultXResolution(int32_t nResolution) noexcept {
  rv::THREADDATA &td = rv::thread_data();
  const int32_t former = td.nDefaultXResolution;
  td.nDefaultXResolution = nResolution;
  return former;
}

int32_t Rv_SetDefaultYResolution(int32_t nResolution) noexcept {
  rv::THREADDATA &td = rv::thread_data();
  const int32_t former = td.nDefaultYResolution;
  td.nDefaultYResolution = nResolution;
  return former;
}

int32_t Rv_GetDefaultXResolution(void) noexcept { return rv::thread_data().nDefaultXResolution; }
int32_t Rv_GetDefaultYResolution(void) noexcept { return rv::thread_data().nDefaultYResolution; }

int32_t Rv_DefaultDithering(int32_t nMethod) noexcept {
  if (nMethod < 0 || nMethod > 8) return ERROR_INVALID_PARAMETER;
  rv::thread_data().nDefaultDithering = nMethod;
  return SUCCESS;
}

int32_t Rv_GetDefaultDithering(void) noexcept { return rv::thread_data().nDefaultDithering; }

int32_t Rv_GetBitmapMemoryInfo(const BITMAPRECORD *pBitmap, uint32_t *puMemory, uint32_t *puTileSize,
                               uint32_t *puTotalTiles, uint32_t *puConvTiles, uint32_t *puMaxTileViews,
                               uint32_t *puTileViews) noexcept {
  const int32_t status = rv::check_record(pBitmap, rv::NullRecord::InvalidImage, true);
  if (status != SUCCESS) return status;
  if (puMemory == nullptr) return ERROR_INVALID_PARAMETER;
  for (uint32_t *p : {puTileSize, puTotalTiles, puConvTiles, puMaxTileViews, puTileViews})
    if (p) *p = 0;
  const uint32_t flags = pBitmap->uFlags;
  if (!(flags & BITMAPFLAG_CONVENTIONAL)) {
    *puMemory = BITMAPMEMINFO_DISK;
  } else if (flags & BITMAPFLAG_COMPRESSED) {
    *puMemory = BITMAPMEMINFO_COMPRESSED;
  } else if (flags & BITMAPFLAG_SUPER_COMPRESSED) {
    *puMemory = BITMAPMEMINFO_SUPER_COMPRESSED;
  } else if (!(flags & BITMAPFLAG_TILED)) {
    *puMemory = BITMAPMEMINFO_CONVENTIONAL;
  } else {
    *puMemory = BITMAPMEMINFO_TILED;
    rv::storage::tiled_info(pBitmap, puTileSize, puTotalTiles, puConvTiles, puMaxTileViews, puTileViews);
  }
  return SUCCESS;
}
