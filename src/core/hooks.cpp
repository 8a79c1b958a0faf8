#include "internal/bitmap_hooks.h"

#include <atomic>

#include "ruvokit/rvplatform.h"
#include "ruvokit/rvstatus.h"

namespace rv::hooks {

namespace {
std::atomic<RegionFree> g_region_free{nullptr};
std::atomic<OverlaysFree> g_overlays_free{nullptr};
std::atomic<bool> g_lock_tracing{false};
}  // namespace

void set_region_free(RegionFree fn) noexcept { g_region_free.store(fn); }
void set_overlays_free(OverlaysFree fn) noexcept { g_overlays_free.store(fn); }

void free_region(BITMAPRECORD *bitmap) noexcept {
  if (bitmap->pRgnInfo != nullptr) {
    if (RegionFree fn = g_region_free.load()) fn(bitmap->pRgnInfo);
  }
  bitmap->pRgnInfo = nullptr;
}

void free_overlays(BITMAPRECORD *bitmap) noexcept {
  if (bitmap->hOverlays != nullptr) {
    if (OverlaysFree fn = g_overlays_free.load()) fn(bitmap->hOverlays);
  }
  bitmap->hOverlays = nullptr;
}

// The overlay module fills these in; until then no bitmap has overlays.
int32_t copy_overlays(BITMAPRECORD *dst, const BITMAPRECORD *) noexcept {
  dst->hOverlays = nullptr;
  return SUCCESS;
}

void offset_overlays(BITMAPRECORD *, int32_t, int32_t) noexcept {}

bool lock_tracing() noexcept { return g_lock_tracing.load(std::memory_order_relaxed); }
void set_lock_tracing(bool on) noexcept { g_lock_tracing.store(on, std::memory_order_relaxed); }

void trace_lock_count(const char *function, int32_t count, const char *line_end) noexcept {
  Trace(function, "pBitmap->nLockCount = %d%s", count, line_end);
}

}  // namespace rv::hooks

// --- transforms -------------------------------------------------------------------------
namespace rv::hooks {

namespace {
std::atomic<const RegionTransforms *> g_region_transforms{nullptr};
std::atomic<const OverlayTransforms *> g_overlay_transforms{nullptr};
std::atomic<const RunTransforms *> g_run_transforms{nullptr};

bool in_run_form(const BITMAPRECORD *bitmap) noexcept {
  return (bitmap->uFlags & (BITMAPFLAG_COMPRESSED | BITMAPFLAG_SUPER_COMPRESSED)) != 0;
}

// The entry `member` of an installed table, or null.
template <class Table, class Fn>
Fn entry(const std::atomic<const Table *> &table, Fn Table::*member) noexcept {
  const Table *t = table.load();
  return t != nullptr ? t->*member : nullptr;
}

template <class Fn, class... Args>
int32_t call_or_succeed(bool has_object, Fn fn, Args... args) noexcept {
  return has_object && fn != nullptr ? fn(args...) : SUCCESS;
}

template <class Fn, class... Args>
bool call_if(bool applies, Fn fn, int32_t *status, Args... args) noexcept {
  if (!applies || fn == nullptr) return false;
  *status = fn(args...);
  return true;
}
}  // namespace

void set_region_transforms(const RegionTransforms *table) noexcept { g_region_transforms.store(table); }
void set_overlay_transforms(const OverlayTransforms *table) noexcept { g_overlay_transforms.store(table); }
void set_run_transforms(const RunTransforms *table) noexcept { g_run_transforms.store(table); }

int32_t flip_region(BITMAPRECORD *bitmap) noexcept {
  return call_or_succeed(bitmap->pRgnInfo != nullptr, entry(g_region_transforms, &RegionTransforms::flip), bitmap);
}
int32_t reverse_region(BITMAPRECORD *bitmap) noexcept {
  return call_or_succeed(bitmap->pRgnInfo != nullptr, entry(g_region_transforms, &RegionTransforms::reverse),
                         bitmap);
}
int32_t rotate_region(BITMAPRECORD *bitmap, int32_t width, int32_t height, int32_t angle) noexcept {
  return call_or_succeed(bitmap->pRgnInfo != nullptr, entry(g_region_transforms, &RegionTransforms::rotate),
                         bitmap, width, height, angle);
}
int32_t flip_overlays(BITMAPRECORD *bitmap, bool transposed) noexcept {
  return call_or_succeed(bitmap->hOverlays != nullptr, entry(g_overlay_transforms, &OverlayTransforms::flip),
                         bitmap, transposed);
}
int32_t reverse_overlays(BITMAPRECORD *bitmap, bool transposed) noexcept {
  return call_or_succeed(bitmap->hOverlays != nullptr, entry(g_overlay_transforms, &OverlayTransforms::reverse),
                         bitmap, transposed);
}
int32_t rotate_overlays(BITMAPRECORD *bitmap, int32_t angle, POINT centre, POINT new_centre) noexcept {
  return call_or_succeed(bitmap->hOverlays != nullptr, entry(g_overlay_transforms, &OverlayTransforms::rotate),
                         bitmap, angle, centre, new_centre);
}

bool flip_runs(BITMAPRECORD *bitmap, int32_t *status) noexcept {
  return call_if(in_run_form(bitmap), entry(g_run_transforms, &RunTransforms::flip), status, bitmap);
}
bool mirror_runs(BITMAPRECORD *bitmap, int32_t *status) noexcept {
  return call_if(in_run_form(bitmap), entry(g_run_transforms, &RunTransforms::mirror), status, bitmap);
}
bool rotate90_runs(BITMAPRECORD *source, BITMAPRECORD *result, bool clockwise, int32_t start_percent,
                   int32_t end_percent, int32_t *status) noexcept {
  return call_if(in_run_form(source), entry(g_run_transforms, &RunTransforms::rotate90), status, source, result,
                 clockwise, start_percent, end_percent);
}
bool change_compression(BITMAPRECORD *bitmap, int32_t mode, int32_t *status) noexcept {
  return call_if(true, entry(g_run_transforms, &RunTransforms::change_compression), status, bitmap, mode);
}

}  // namespace rv::hooks

// --- what resizing reaches ----------------------------------------------------------------
namespace rv::hooks {

namespace {
std::atomic<const ResizeSteps *> g_resize_steps{nullptr};
}  // namespace

void set_resize_steps(const ResizeSteps *table) noexcept { g_resize_steps.store(table); }

int32_t scale_region(BITMAPRECORD *bitmap, int32_t width, int32_t height) noexcept {
  if (bitmap->pRgnInfo == nullptr) return SUCCESS;
  const ResizeSteps *steps = g_resize_steps.load();
  return steps != nullptr && steps->scale_region != nullptr ? steps->scale_region(bitmap, width, height)
                                                            : SUCCESS;
}

int32_t resize_overlays(RVHANDLE overlays, BITMAPRECORD *src, BITMAPRECORD *dst, uint32_t flags) noexcept {
  if (overlays == nullptr) return SUCCESS;
  const ResizeSteps *steps = g_resize_steps.load();
  return steps != nullptr && steps->resize_overlays != nullptr
             ? steps->resize_overlays(overlays, src, dst, flags)
             : SUCCESS;
}

}  // namespace rv::hooks
