// Internals shared by the modules of resizing: both bitmaps of a loop locked,
// the steps of the picking loops, the region and overlay steps, and the engines that the
// front doors choose among.
#pragma once
#include <cstdint>

#include "internal/bitmap_hooks.h"
#include "ruvokit/rvbitmap.h"
#include "ruvokit/rvtransform.h"
#include "transform/rows.h"

namespace rv::resize {

using xform::read_row;
using xform::write_row;

// Both bitmaps of a loop locked for its length. finish() releases them,
// keeping the loop's failure, else the first release's.
class Access2 {
 public:
  Access2(BITMAPRECORD *a, BITMAPRECORD *b) noexcept : a_(a), b_(b) {}
  Access2(const Access2 &) = delete;
  Access2 &operator=(const Access2 &) = delete;
  int32_t status() const noexcept { return a_.status() != SUCCESS ? a_.status() : b_.status(); }
  int32_t finish(int32_t status) noexcept { return b_.finish(a_.finish(status)); }

 private:
  xform::Access a_, b_;
};

// The whole steps and rests of a picking loop: per destination pixel the
// source moves by `xs`, and by one more each time the rest accumulated over
// `xr` reaches the destination width. An enlargement with no rest (equal
// sizes included) becomes step 0 with a rest of the whole width, so that it
// runs on the carry alone.
struct PickSteps {
  uint32_t xs, xr, ys, yr;
  bool enlarge;  // the width does not shrink
};

inline PickSteps pick_steps(int32_t sw, int32_t sh, int32_t dw, int32_t dh) noexcept {
  PickSteps s{static_cast<uint32_t>(sw / dw), static_cast<uint32_t>(sw % dw), static_cast<uint32_t>(sh / dh),
              static_cast<uint32_t>(sh % dh), sw <= dw};
  if (sw <= dw && s.xr == 0) {
    s.xs = 0;
    s.xr = static_cast<uint32_t>(dw);
  }
  if (sh <= dh && s.yr == 0) {
    s.ys = 0;
    s.yr = static_cast<uint32_t>(dh);
  }
  return s;
}

// The source row of each destination row of a picking loop: it moves by the
// whole step, and by one more each time the rest carries over the height.
struct RowPicker {
  uint32_t row = 0, accum = 0;
  void next(const PickSteps &s, int32_t dh) noexcept {
    accum += s.yr;
    row += s.ys;
    if (accum >= static_cast<uint32_t>(dh)) {
      ++row;
      accum -= static_cast<uint32_t>(dh);
    }
  }
};

// Scales dst's region from a picture of `src_width` by `src_height` to dst's
// own size: the record shows the old size for the length of the call.
inline int32_t scale_region_from(BITMAPRECORD *dst, int32_t src_width, int32_t src_height) noexcept {
  if (dst->pRgnInfo == nullptr) return SUCCESS;
  const int32_t width = dst->nWidth, height = dst->nHeight;
  dst->nWidth = src_width;
  dst->nHeight = src_height;
  const int32_t status = rv::hooks::scale_region(dst, width, height);
  dst->nWidth = width;
  dst->nHeight = height;
  return status;
}

// Ends a resize in place that built `fresh` (a record from the library's
// heap) from `target`: on success fresh takes target's place, otherwise it is
// released and freed and target stands as it was. The record's memory goes
// either way. Returns `status`.
int32_t put_in_place(BITMAPRECORD *target, BITMAPRECORD *fresh, int32_t status) noexcept;

// Rv_IntResizeBlackPreserve: 1-bit gray source and destination, black counted
// over the block of source pixels each destination pixel covers.
int32_t resize_black_preserve(BITMAPRECORD *src, BITMAPRECORD *dst) noexcept;

// Rv_IntProbeAlpha: whether a 32 or 64-bit bitmap has alpha below the
// maximum, and whether it has alpha below 2 (the scan ends at the first).
struct AlphaFound {
  bool has_alpha = false;
  bool transparent = false;
};
int32_t probe_alpha(BITMAPRECORD *bitmap, AlphaFound *found) noexcept;

// Rv_IntBleedTransparentEdges: gives transparent pixels the colours of their
// opaque neighbours, along rows and down columns, so that averaging draws no
// dark fringe from colours nobody sees. Alpha is not written.
int32_t bleed_transparent_edges(BITMAPRECORD *bitmap, bool horizontal, bool vertical) noexcept;

}  // namespace rv::resize

// The interpolating engines: fill `dst` from `src` without the region and
// overlay steps (those belong to the callers). `fraction_bits` is 12 or 10.
namespace rv::resample {

enum class Engine : uint8_t { Fixed, Spline };

int32_t fill(BITMAPRECORD *src, BITMAPRECORD *dst, uint32_t flags, Engine engine, int32_t fraction_bits) noexcept;

}  // namespace rv::resample
