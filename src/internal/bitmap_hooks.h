// What freeing and transforming a bitmap reach beyond the core: its region
// and its overlays. The region and overlay modules install their functions
// here; until they do, a record's pRgnInfo and hOverlays are always null and
// the calls do nothing. Also the lock tracing switch (off at load).
#pragma once
#include "ruvokit/rvtypes.h"

namespace rv::hooks {

using RegionFree = void (*)(void *region);
using OverlaysFree = void (*)(RVHANDLE overlays);

void set_region_free(RegionFree fn) noexcept;
void set_overlays_free(OverlaysFree fn) noexcept;

// Deletes the bitmap's region and overlay table and clears the fields.
void free_region(BITMAPRECORD *bitmap) noexcept;
void free_overlays(BITMAPRECORD *bitmap) noexcept;

// Gives `dst` its own copy of `src`'s overlays (none to copy: SUCCESS).
int32_t copy_overlays(BITMAPRECORD *dst, const BITMAPRECORD *src) noexcept;
// Moves the bitmap's overlays by the offsets.
void offset_overlays(BITMAPRECORD *bitmap, int32_t dx, int32_t dy) noexcept;

bool lock_tracing() noexcept;
void set_lock_tracing(bool on) noexcept;
// Writes "pBitmap->nLockCount = %d" and the line end to the trace.
void trace_lock_count(const char *function, int32_t count, const char *line_end) noexcept;

}  // namespace rv::hooks
