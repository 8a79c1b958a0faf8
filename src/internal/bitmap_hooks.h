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

// --- what resizing reaches: the region and the overlays -----------------------------
// A resized bitmap takes its region and overlays along: the region is scaled
// to the new size (the region module's Rv_SizeBitmapRgn) and each overlay
// marked for it is resized with the bitmap (the overlay module's
// Rv_IntResizeOverlays). Those modules install this table; until they do, no
// record has either and both calls succeed at once.
namespace rv::hooks {

struct ResizeSteps {
  // Scales the bitmap's region from its present nWidth by nHeight to `width`
  // by `height`. Called only for a bitmap that has a region.
  int32_t (*scale_region)(BITMAPRECORD *bitmap, int32_t width, int32_t height);
  // Resizes the overlays of `overlays` by the ratio of dst's size to src's,
  // with the resize flags `flags`; the first failure ends the walk.
  int32_t (*resize_overlays)(RVHANDLE overlays, BITMAPRECORD *src, BITMAPRECORD *dst, uint32_t flags);
};

// The table stays the installer's; null uninstalls.
void set_resize_steps(const ResizeSteps *table) noexcept;

// SUCCESS when the bitmap has no region (or the table no entry).
int32_t scale_region(BITMAPRECORD *bitmap, int32_t width, int32_t height) noexcept;
// SUCCESS when `overlays` is null (or the table has no entry).
int32_t resize_overlays(RVHANDLE overlays, BITMAPRECORD *src, BITMAPRECORD *dst, uint32_t flags) noexcept;

}  // namespace rv::hooks
