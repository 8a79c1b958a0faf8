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

// --- what transforms reach: the region, the overlays and the run forms -----------
// Flipping, reversing and turning a bitmap move its region and its overlays
// with the pixels. The region and overlay modules install their tables here;
// until they do, no record has either and the calls below succeed at once.
namespace rv::hooks {

struct RegionTransforms {
  int32_t (*flip)(BITMAPRECORD *bitmap);     // upside down, in storage rows
  int32_t (*reverse)(BITMAPRECORD *bitmap);  // left to right
  // Turns the region by `angle` hundredths of a degree (the working angle of
  // the rotation) from a bitmap of `width` by `height`; `bitmap` is the result.
  int32_t (*rotate)(BITMAPRECORD *bitmap, int32_t width, int32_t height, int32_t angle);
};

struct OverlayTransforms {
  // `transposed`: the bitmap shows its rows as columns (perspectives 5 to 8),
  // and an overlay, having a perspective of its own, is told so.
  int32_t (*flip)(BITMAPRECORD *bitmap, bool transposed);
  int32_t (*reverse)(BITMAPRECORD *bitmap, bool transposed);
  // Turns the overlays by `angle` about `centre` of the old picture, which
  // lands on `new_centre` of the result.
  int32_t (*rotate)(BITMAPRECORD *bitmap, int32_t angle, POINT centre, POINT new_centre);
};

// Compressed 1-bit rows and super-compressed strips can be flipped, mirrored
// and turned on their runs and strips without being expanded; their modules
// install this table. Where an entry is missing, the transform goes through
// rows, which serve every storage form.
struct RunTransforms {
  int32_t (*flip)(BITMAPRECORD *bitmap);    // reverses the order of the rows
  int32_t (*mirror)(BITMAPRECORD *bitmap);  // mirrors every row
  // Fills `result` (allocated, the size turned) with `source` turned a
  // quarter in storage, reporting progress between the two percents.
  int32_t (*rotate90)(BITMAPRECORD *source, BITMAPRECORD *result, bool clockwise, int32_t start_percent,
                      int32_t end_percent);
  // Rv_ChangeBitmapCompression: 0 plain, 1 compressed rows, 2 strips.
  int32_t (*change_compression)(BITMAPRECORD *bitmap, int32_t mode);
};

// The tables stay the installer's; null uninstalls.
void set_region_transforms(const RegionTransforms *table) noexcept;
void set_overlay_transforms(const OverlayTransforms *table) noexcept;
void set_run_transforms(const RunTransforms *table) noexcept;

// SUCCESS when the bitmap has no region (or overlays) or nothing is installed.
int32_t flip_region(BITMAPRECORD *bitmap) noexcept;
int32_t reverse_region(BITMAPRECORD *bitmap) noexcept;
int32_t rotate_region(BITMAPRECORD *bitmap, int32_t width, int32_t height, int32_t angle) noexcept;
int32_t flip_overlays(BITMAPRECORD *bitmap, bool transposed) noexcept;
int32_t reverse_overlays(BITMAPRECORD *bitmap, bool transposed) noexcept;
int32_t rotate_overlays(BITMAPRECORD *bitmap, int32_t angle, POINT centre, POINT new_centre) noexcept;

// Whether the entry is installed and (but for change_compression, which the
// caller asks for on purpose) the bitmap is compressed or super-compressed; if
// so it ran and its result is in *status.
bool flip_runs(BITMAPRECORD *bitmap, int32_t *status) noexcept;
bool mirror_runs(BITMAPRECORD *bitmap, int32_t *status) noexcept;
bool rotate90_runs(BITMAPRECORD *source, BITMAPRECORD *result, bool clockwise, int32_t start_percent,
                   int32_t end_percent, int32_t *status) noexcept;
bool change_compression(BITMAPRECORD *bitmap, int32_t mode, int32_t *status) noexcept;

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
