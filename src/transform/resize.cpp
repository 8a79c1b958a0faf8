// Filling one bitmap from another of another size: the choice of engine by
// the flags, the nearest-sample loop, and the front door that brings the
// source to the destination's view perspective and depth first.
#include <algorithm>

#include "internal/memory.h"
#include "internal/progress.h"
#include "internal/record.h"
#include "ruvokit/rvcolor.h"
#include "transform/resize_internal.h"

namespace {

// The nearest-sample loop: a source row is read once however many
// destination rows fall on it, and a destination row that falls on the same
// source row as the one before goes out again as it stands.
int32_t resize_nearest(BITMAPRECORD *src, BITMAPRECORD *dst) noexcept {
  if (src->nBitsPerPixel != dst->nBitsPerPixel) return ERROR_INVALID_BITS_PER_PIXEL;
  const int32_t sw = src->nWidth, sh = src->nHeight, dw = dst->nWidth, dh = dst->nHeight;
  if (sw < 1 || sh < 1 || dw < 1 || dh < 1) return ERROR_INVALID_IMAGE;
  const rv::resize::PickSteps s = rv::resize::pick_steps(sw, sh, dw, dh);
  auto *in = static_cast<uint8_t *>(rv::alloc_block(static_cast<uint32_t>(src->nBytesPerLine), true));
  auto *out = static_cast<uint8_t *>(rv::alloc_block(static_cast<uint32_t>(dst->nBytesPerLine), true));
  int32_t status = in != nullptr && out != nullptr ? SUCCESS : ERROR_NO_MEMORY;
  if (status == SUCCESS) {
    rv::resize::Access2 access(src, dst);
    status = access.status();
    rv::RowProgress progress(dh);
    if (status == SUCCESS) status = progress.start();
    const bool reversed = src->nViewPerspective != dst->nViewPerspective;
    rv::resize::RowPicker pick;
    int64_t last = -1;
    for (int32_t y = 0; y < dh && status == SUCCESS; ++y) {
      if (static_cast<int64_t>(pick.row) > last) {
        status = rv::resize::read_row(src, in, static_cast<int32_t>(pick.row));
        if (status != SUCCESS) break;
        Rv_GetResizedScanLine(src->nBitsPerPixel, dst->nBytesPerLine, 0, s.xs, 0, s.xr, in, out,
                              static_cast<uint32_t>(dw), static_cast<uint32_t>(dw), s.enlarge ? 1 : 0);
        last = pick.row;
      }
      pick.next(s, dh);
      status = rv::resize::write_row(dst, out, reversed ? dh - 1 - y : y);
      if (status == SUCCESS) status = progress.row_done();
    }
    status = access.finish(status);
  }
  rv::free_block(in);
  rv::free_block(out);
  return status;
}

// Brings the temporary to the destination's depth in place, as colour
// resolution does with an optimised palette for 8 bits and less and
// blue-green-red order above. Until colour resolution joins the library a
// change of depth is refused.
// Brings the temporary, in place, to the destination's depth: an optimised
// palette for palette depths, blue-green-red above them.
int32_t colour_resolve_for_resize(BITMAPRECORD *temporary, const BITMAPRECORD *dst) noexcept {
  const uint32_t flags = dst->nBitsPerPixel <= 8 ? COLORRES_OPTIMIZED_PALETTE : COLORRES_ORDER_BGR;
  return Rv_ColorResBitmap(temporary, temporary, temporary->uStructSize, dst->nBitsPerPixel, flags, nullptr, nullptr,
                           0, nullptr, nullptr);
}

bool views_compatible(int32_t a, int32_t b) noexcept {
  return a == b || (a == VIEW_TOP_LEFT && b == VIEW_BOTTOM_LEFT) || (a == VIEW_BOTTOM_LEFT && b == VIEW_TOP_LEFT);
}

}  // namespace

int32_t Rv_IntResizeBitmap(BITMAPRECORD *pSrc, BITMAPRECORD *pDst, uint32_t uFlags) noexcept {
  int32_t status = rv::check_record(pSrc, rv::NullRecord::InvalidImage, true);
  if (status == SUCCESS) status = rv::check_record(pDst, rv::NullRecord::InvalidImage, true);
  if (status != SUCCESS) return status;
  if (pSrc->nBitsPerPixel != 1) uFlags &= ~SIZEFLAG_BLACK_PRESERVE;
  if (uFlags & SIZEFLAG_BLACK_PRESERVE) return rv::resize::resize_black_preserve(pSrc, pDst);
  if (uFlags & SIZEFLAG_LINEAR) return rv::resample::fill(pSrc, pDst, uFlags, rv::resample::Engine::Fixed, 12);
  if (uFlags & SIZEFLAG_CUBIC) {
    const bool grows = pSrc->nHeight < pDst->nHeight || pSrc->nWidth < pDst->nWidth;
    return rv::resample::fill(pSrc, pDst, uFlags, grows ? rv::resample::Engine::Spline : rv::resample::Engine::Fixed,
                              12);
  }
  return resize_nearest(pSrc, pDst);
}

int32_t Rv_ResizeBitmap(BITMAPRECORD *pSrc, BITMAPRECORD *pDst, uint32_t uFlags) noexcept {
  if (pSrc == nullptr || pDst == nullptr) return ERROR_INVALID_PARAMETER;
  if (!rv::valid_record_size(pSrc->uStructSize) || !rv::valid_record_size(pDst->uStructSize)) {
    return ERROR_INVALID_STRUCT_SIZE;
  }
  // 2.-3. A temporary in the destination's perspective and depth when needed.
  BITMAPRECORD temporary{};
  BITMAPRECORD *source = pSrc;
  int32_t status = SUCCESS;
  if (!views_compatible(pSrc->nViewPerspective, pDst->nViewPerspective)) {
    // A temporary of the source's record size with everything of its own.
    constexpr uint32_t kOwnCopy = DUPFLAG_ALLOCATE | DUPFLAG_OWN_PALETTE | DUPFLAG_OWN_REGION | DUPFLAG_OWN_OVERLAYS |
                                  0x10u | 0x20u;
    status = Rv_IntChangeBitmapViewPerspective(&temporary, pSrc, pSrc->uStructSize, pDst->nViewPerspective, kOwnCopy);
    if (status == SUCCESS) source = &temporary;
  }
  if (status == SUCCESS && source->nBitsPerPixel != pDst->nBitsPerPixel) {
    if (pDst->nBitsPerPixel > 1 && (uFlags & SIZEFLAG_GRAY_RESULT)) uFlags = SIZEFLAG_LINEAR;
    if (source == pSrc) {
      status = Rv_CopyBitmap(&temporary, pSrc, pSrc->uStructSize);
      if (status == SUCCESS) source = &temporary;
    }
    if (status == SUCCESS) status = colour_resolve_for_resize(source, pDst);
  }
  // 4. The resize, then the destination's own region and overlays.
  if (status == SUCCESS) status = Rv_IntResizeBitmap(source, pDst, uFlags);
  // The indices copied mean the source's colours (after colour resolution,
  // its optimised palette's): the destination takes that palette with them.
  if (status == SUCCESS && pDst->nBitsPerPixel <= 8 && source->nBitsPerPixel == pDst->nBitsPerPixel &&
      source->pPalette != nullptr && pDst->pPalette != source->pPalette) {
    status = Rv_CopyBitmapPalette(pDst, source);
  }
  if (status == SUCCESS && pDst->pRgnInfo != source->pRgnInfo) {
    status = rv::resize::scale_region_from(pDst, source->nWidth, source->nHeight);
  }
  if (status == SUCCESS && pDst->hOverlays != source->hOverlays) {
    status = rv::hooks::resize_overlays(pDst->hOverlays, source, pDst, uFlags);
  }
  // 5. The temporary goes.
  if (source == &temporary) {
    while (temporary.nLockCount > 0) Rv_ReleaseBitmap(&temporary);
    Rv_FreeBitmap(&temporary);
  }
  return status;
}
