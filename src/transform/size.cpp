// Resizing a bitmap in place: the front door that chooses among the engines
// by the flags, prepares transparent edges, and puts the new bitmap in the
// record's place with its region and overlays.
#include <cstring>

#include "internal/memory.h"
#include "internal/record.h"
#include "internal/replace.h"
#include "ruvokit/rvcolor.h"
#include "transform/resize_internal.h"

namespace {

bool is_gray(BITMAPRECORD *b) noexcept { return Rv_IntIsGrayScaleBitmap(b, 0) > 0; }

// The nearest-sample, black-preserving and gray-result engines: a new bitmap
// of the new size, filled, given its own scaled region and resized overlays,
// then put in place of the old one.
int32_t size_by_picking(BITMAPRECORD *b, int32_t width, int32_t height, uint32_t flags) noexcept {
  auto *fresh = rv::alloc_array<BITMAPRECORD>(1, true);
  if (fresh == nullptr) return ERROR_NO_MEMORY;
  const bool gray_result = (flags & SIZEFLAG_GRAY_RESULT) != 0;
  // The region and overlays are the new bitmap's own, so that a failure on the
  // way leaves the old ones as they were.
  uint32_t dup = DUPFLAG_ALLOCATE | DUPFLAG_OWN_PALETTE | DUPFLAG_LOCK_AS_SOURCE;
  if (b->pRgnInfo != nullptr) dup |= DUPFLAG_OWN_REGION;
  if (b->hOverlays != nullptr) dup |= DUPFLAG_OWN_OVERLAYS;
  int32_t status = Rv_DupBitmapNewDim(fresh, b, b->uStructSize, width, height, gray_result ? 8 : b->nBitsPerPixel,
                                      dup);
  if (status != SUCCESS) {
    rv::free_block(fresh);
    return status;
  }
  if (gray_result) {
    status = Rv_CreateBitmapGrayPalette(fresh);
    flags = (flags ^ SIZEFLAG_GRAY_RESULT) | SIZEFLAG_LINEAR;
  }
  if (status == SUCCESS) status = Rv_IntResizeBitmap(b, fresh, flags);
  if (status == SUCCESS) status = rv::resize::scale_region_from(fresh, b->nWidth, b->nHeight);
  if (status == SUCCESS) status = rv::hooks::resize_overlays(fresh->hOverlays, b, fresh, flags);
  return rv::resize::put_in_place(b, fresh, status);
}

// Steps 4 to 9 of a resize in place, on a bitmap whose edges are prepared.
int32_t size_in_place(BITMAPRECORD *b, int32_t width, int32_t height, uint32_t flags) noexcept {
  if (b->nBitsPerPixel != 1) {
    flags &= ~SIZEFLAG_BLACK_PRESERVE;
  } else {
    // Black preservation and gray results are for gray pictures; they replace
    // the interpolation there, and give way to it elsewhere.
    const bool gray = is_gray(b);
    if (flags & SIZEFLAG_BLACK_PRESERVE) flags &= gray ? ~SIZEFLAG_LINEAR : ~SIZEFLAG_BLACK_PRESERVE;
    if (flags & SIZEFLAG_GRAY_RESULT) flags &= gray ? ~SIZEFLAG_LINEAR : ~SIZEFLAG_GRAY_RESULT;
  }
  if (flags & SIZEFLAG_COARSE_WEIGHTS) return Rv_IntResampleCoarseBitmap(b, width, height, flags);
  if (flags & SIZEFLAG_LINEAR) return Rv_ResampleBitmap(b, width, height, flags);
  if (flags & SIZEFLAG_CUBIC) {
    if (b->nHeight < height || b->nWidth < width) return Rv_BicubicResampleBitmap(b, width, height, flags);
    return Rv_ResampleBitmap(b, width, height, flags);
  }
  return size_by_picking(b, width, height, flags);
}

// Transparent pixels of a 32 or 64-bit bitmap take their neighbours' colours
// before averaging. That is done on a copy, which is then resized and takes
// the record's place, so that a failure leaves the bitmap as it was.
int32_t size_with_bled_edges(BITMAPRECORD *b, int32_t width, int32_t height, uint32_t flags) noexcept {
  auto *copy = rv::alloc_array<BITMAPRECORD>(1, true);
  if (copy == nullptr) return ERROR_NO_MEMORY;
  int32_t status = Rv_CopyBitmap(copy, b, b->uStructSize);
  if (status == SUCCESS) status = rv::resize::bleed_transparent_edges(copy, width >= b->nWidth, height >= b->nHeight);
  if (status == SUCCESS) status = size_in_place(copy, width, height, flags);
  return rv::resize::put_in_place(b, copy, status);
}

}  // namespace

namespace rv::resize {

int32_t put_in_place(BITMAPRECORD *target, BITMAPRECORD *fresh, int32_t status) noexcept {
  if (status != SUCCESS) {
    while (fresh->nLockCount > 0) Rv_ReleaseBitmap(fresh);
  }
  status = rv::replace_record(target, fresh, status);
  rv::free_block(fresh);
  return status;
}

}  // namespace rv::resize

int32_t Rv_SizeBitmap(BITMAPRECORD *pBitmap, int32_t nWidth, int32_t nHeight, uint32_t uFlags) noexcept {
  const int32_t status = rv::check_record(pBitmap, rv::NullRecord::InvalidParameter, false);
  if (status != SUCCESS) return status;
  if (!rv::is_allocated(pBitmap)) return ERROR_INVALID_PARAMETER;
  if (!Rv_IntResolveTargetSize(&nWidth, &nHeight, pBitmap->nWidth, pBitmap->nHeight)) {
    return ERROR_INVALID_PARAMETER;
  }
  if (nWidth == pBitmap->nWidth && nHeight == pBitmap->nHeight) return SUCCESS;
  const int32_t bits = pBitmap->nBitsPerPixel;
  if ((bits == 32 || bits == 64) && (uFlags & SIZEFLAG_ALPHA_AWARE)) {
    rv::resize::AlphaFound found;
    const int32_t probed = rv::resize::probe_alpha(pBitmap, &found);
    if (probed != SUCCESS) return probed;
    if (found.transparent) return size_with_bled_edges(pBitmap, nWidth, nHeight, uFlags);
  }
  return size_in_place(pBitmap, nWidth, nHeight, uFlags);
}

int32_t Rv_KrnSizeBitmapRgn(BITMAPRECORD *pBitmap, int32_t nWidth, int32_t nHeight) noexcept {
  if (pBitmap == nullptr) return ERROR_INVALID_IMAGE;
  return rv::hooks::scale_region(pBitmap, nWidth, nHeight);
}
