// The per-thread record of defaults. Each thread gets its own on first use;
// when one can't be allocated, a single static record serves every such
// thread (without a lock, as the defaults are set-up-time values).
#pragma once
#include <cstdint>

#include "ruvokit/rvtypes.h"

namespace rv {

struct THREADDATA {
  void *pUserMatchTable;     // colour match table of the thread, or null
  int32_t nDefaultDithering;  // dithering method new records take
  int32_t nDefaultXResolution;
  int32_t nDefaultYResolution;
  uint32_t uDefaultMemoryType;  // BITMAPMEM_CONVENTIONAL or BITMAPMEM_DISK
  int32_t nMaxConvSize;         // memory thresholds of the allocator
  int32_t nMemoryReserve;
  int32_t nTileSize;
  int32_t nConvTiles;
  int32_t nTileViews;
  STATUSCALLBACK pfnStatus;  // progress of long operations
  void *pStatusUserData;
  STATUSCALLBACK pfnCopyStatus;  // progress of copies
  void *pCopyStatusUserData;
  void *pRedirectIO;  // the thread's file redirection table, or null
  uint32_t uLastError;
  char16_t szText[2048];  // scratch text, 4 x 1024 bytes
};

// The first values of a new thread record.
constexpr int32_t kFirstDithering = 7;
constexpr int32_t kFirstResolution = 150;

// The calling thread's record: its own, or the shared fallback. Never null.
THREADDATA &thread_data() noexcept;
// Whether the calling thread has a record of its own.
bool has_own_thread_data() noexcept;
// The fallback record (tests look at it).
THREADDATA &fallback_thread_data() noexcept;

}  // namespace rv
