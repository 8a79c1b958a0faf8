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
