// View perspectives: the steps that change only nViewPerspective, the flip and
// turn that take one perspective to another, the change of a bitmap's pixels
// to another perspective, and the mapping of points and rectangles between
// perspectives.
#include "transform/viewperspective.h"

#include <utility>

#include "internal/record.h"
#include "ruvokit/rvbitmap.h"
#include "ruvokit/rvtransform.h"
#include "transform/progress_range.h"
#include "transform/rows.h"

namespace rv::xform {

namespace {

// Indexed by perspective; entry 0 stands for every bad value.
constexpr int32_t kFlipped[9] = {0, 4, 3, 2, 1, 8, 7, 6, 5};
constexpr int32_t kReversed[9] = {0, 2, 1, 4, 3, 6, 5, 8, 7};
constexpr int32_t kQuarterTurned[9] = {0, 6, 7, 8, 5, 2, 3, 4, 1};

bool valid_view(int32_t view) noexcept { return view >= VIEW_TOP_LEFT && view <= VIEW_LEFT_BOTTOM; }

int32_t step(const int32_t (&table)[9], int32_t view) noexcept { return valid_view(view) ? table[view] : 0; }

struct Change {
  bool flip = false;
  int32_t angle = 0;
};

// Storage in `from` becomes storage in `to` by flipping the rows (first) and
// turning clockwise by the angle: each perspective is taken back to 1, the
// target's path is inverted, and a mirror is written as a flip and a half
// turn.
Change change_between(int32_t from, int32_t to) noexcept {
  bool flip = false, mirror = false, invert = false;
  int32_t angle = 0;
  switch (from) {
    case 2: mirror = true; break;
    case 3: angle = 180; break;
    case 4: flip = true; break;
    case 5: flip = true; angle = 90; break;
    case 6: angle = 90; break;
    case 7: flip = true; angle = 270; break;
    case 8: angle = 270; break;
    default: break;
  }
  switch (to) {
    case 2: angle -= 180; invert = true; break;
    case 3: angle -= 180; break;
    case 4: invert = true; break;
    case 5: angle -= 90; invert = true; break;
    case 6: angle -= 90; break;
    case 7: angle -= 270; invert = true; break;
    case 8: angle -= 270; break;
    default: break;
  }
  if (invert) {
    flip = !flip;
    angle = -angle;
  }
  if (flip && mirror) {
    flip = mirror = false;
    angle += 180;
  }
  if (mirror) {
    flip = true;
    angle -= 180;
  }
  // From 2 to 8 the steps come to -90: the angle is taken modulo a turn.
  angle = (angle % 360 + 360) % 360;
  return {flip, angle};
}

// A pixel of a w by h storage.
void map_point(Change c, int32_t w, int32_t h, int32_t *x, int32_t *y) noexcept {
  if (c.flip) *y = h - *y - 1;
  const int32_t px = *x, py = *y;
  switch (c.angle) {
    case 90: *x = h - py - 1; *y = px; break;
    case 180: *x = w - px - 1; *y = h - py - 1; break;
    case 270: *x = py; *y = w - px - 1; break;
    default: break;
  }
}

// A rectangle, right and bottom exclusive; it stays ordered.
void map_rect(Change c, int32_t w, int32_t h, int32_t *r) noexcept {
  if (c.flip) {
    const int32_t top = r[1];
    r[1] = h - r[3];
    r[3] = h - top;
  }
  const int32_t l = r[0], t = r[1], rt = r[2], b = r[3];
  switch (c.angle) {
    case 90: r[0] = h - b; r[1] = l; r[2] = h - t; r[3] = rt; break;
    case 180: r[0] = w - rt; r[1] = h - b; r[2] = w - l; r[3] = h - t; break;
    case 270: r[0] = t; r[1] = w - rt; r[2] = b; r[3] = w - l; break;
    default: break;
  }
}

// The storage size in `from` of a bitmap: its own size, or swapped when one of
// the two perspectives shows the rows as columns and the other doesn't.
void storage_size(const BITMAPRECORD *b, int32_t from, int32_t *w, int32_t *h) noexcept {
  *w = b->nWidth;
  *h = b->nHeight;
  if (is_transposed(from) != is_transposed(b->nViewPerspective)) std::swap(*w, *h);
}

// The common frame of the four bitmap mappings: the checks, then `map` with the
// change between the perspectives and the storage size in the first of them.
template <class Map>
int32_t map_with_bitmap(const BITMAPRECORD *b, int32_t view, bool to_bitmap, Map map) noexcept {
  if (b == nullptr) return ERROR_INVALID_PARAMETER;
  if (!valid_record_size(b->uStructSize)) return ERROR_INVALID_STRUCT_SIZE;
  if (view == b->nViewPerspective) return SUCCESS;
  const int32_t from = to_bitmap ? view : b->nViewPerspective;
  const int32_t to = to_bitmap ? b->nViewPerspective : view;
  if (!valid_view(from) || !valid_view(to)) return ERROR_INVALID_PARAMETER;
  int32_t w, h;
  storage_size(b, from, &w, &h);
  map(change_between(from, to), w, h);
  return SUCCESS;
}

int32_t map_point_with_bitmap(const BITMAPRECORD *b, int32_t view, bool to_bitmap, int32_t *x, int32_t *y) noexcept {
  if (b != nullptr && (x == nullptr || y == nullptr)) return ERROR_INVALID_PARAMETER;
  return map_with_bitmap(b, view, to_bitmap, [x, y](Change c, int32_t w, int32_t h) { map_point(c, w, h, x, y); });
}

int32_t map_rect_with_bitmap(const BITMAPRECORD *b, int32_t view, bool to_bitmap, int32_t *rect) noexcept {
  if (b != nullptr && rect == nullptr) return ERROR_INVALID_PARAMETER;
  return map_with_bitmap(b, view, to_bitmap, [rect](Change c, int32_t w, int32_t h) { map_rect(c, w, h, rect); });
}

// Steps the record's perspective by a table, `times` times.
int32_t step_view(BITMAPRECORD *b, const int32_t (&table)[9], int32_t times) noexcept {
  if (b == nullptr) return ERROR_INVALID_IMAGE;
  if (!valid_view(b->nViewPerspective)) return ERROR_INVALID_PARAMETER;
  for (int32_t i = 0; i < times; ++i) b->nViewPerspective = table[b->nViewPerspective];
  return SUCCESS;
}

int32_t checked_step_view(BITMAPRECORD *b, const int32_t (&table)[9]) noexcept {
  const int32_t status = check_record(b, NullRecord::InvalidParameter, false);
  return status == SUCCESS ? step_view(b, table, 1) : status;
}

}  // namespace

int32_t flipped_view(int32_t view) noexcept { return step(kFlipped, view); }
int32_t reversed_view(int32_t view) noexcept { return step(kReversed, view); }
int32_t quarter_turned_view(int32_t view) noexcept { return step(kQuarterTurned, view); }

}  // namespace rv::xform

using namespace rv::xform;

int32_t Rv_IntFlipBitmapViewPerspective(BITMAPRECORD *pBitmap) noexcept { return step_view(pBitmap, kFlipped, 1); }

int32_t Rv_IntReverseBitmapViewPerspective(BITMAPRECORD *pBitmap) noexcept {
  return step_view(pBitmap, kReversed, 1);
}

int32_t Rv_FlipBitmapViewPerspective(BITMAPRECORD *pBitmap) noexcept { return checked_step_view(pBitmap, kFlipped); }

int32_t Rv_ReverseBitmapViewPerspective(BITMAPRECORD *pBitmap) noexcept {
  return checked_step_view(pBitmap, kReversed);
}

// Only a negative angle is brought into a turn; 360 and above are refused.
int32_t Rv_IntRotateBitmapViewPerspective(BITMAPRECORD *pBitmap, int32_t nAngle) noexcept {
  if (pBitmap == nullptr) return ERROR_INVALID_IMAGE;
  if (nAngle < 0) nAngle = (nAngle % 360 + 360) % 360;
  if (nAngle % 90 != 0 || nAngle >= 360) return ERROR_INVALID_PARAMETER;
  const int32_t status = step_view(pBitmap, kQuarterTurned, nAngle / 90);
  if (status == SUCCESS && nAngle % 180 != 0) std::swap(pBitmap->nXResolution, pBitmap->nYResolution);
  return status;
}

int32_t Rv_RotateBitmapViewPerspective(BITMAPRECORD *pBitmap, int32_t nAngle) noexcept {
  const int32_t status = rv::check_record(pBitmap, rv::NullRecord::InvalidParameter, false);
  return status == SUCCESS ? Rv_IntRotateBitmapViewPerspective(pBitmap, nAngle) : status;
}

int32_t Rv_GetChangeViewPerspectiveParams(int32_t nSrcView, int32_t nDstView, uint32_t *pbFlip,
                                          int32_t *pnAngle) noexcept {
  if (pbFlip == nullptr || pnAngle == nullptr || !valid_view(nSrcView) || !valid_view(nDstView)) {
    return ERROR_INVALID_PARAMETER;
  }
  const Change c = change_between(nSrcView, nDstView);
  *pbFlip = c.flip ? TRUE : FALSE;
  *pnAngle = c.angle;
  return SUCCESS;
}

int32_t Rv_ChangeRectViewPerspective(int32_t nSrcView, int32_t nWidth, int32_t nHeight, int32_t nDstView,
                                     int32_t *pRect) noexcept {
  if (pRect == nullptr) return ERROR_INVALID_PARAMETER;
  if (valid_view(nSrcView) && valid_view(nDstView)) map_rect(change_between(nSrcView, nDstView), nWidth, nHeight, pRect);
  return SUCCESS;
}

int32_t Rv_PointFromBitmap(const BITMAPRECORD *pBitmap, int32_t nViewPerspective, int32_t *pnX, int32_t *pnY) noexcept {
  return map_point_with_bitmap(pBitmap, nViewPerspective, false, pnX, pnY);
}

int32_t Rv_PointToBitmap(const BITMAPRECORD *pBitmap, int32_t nViewPerspective, int32_t *pnX, int32_t *pnY) noexcept {
  return map_point_with_bitmap(pBitmap, nViewPerspective, true, pnX, pnY);
}

int32_t Rv_RectFromBitmap(const BITMAPRECORD *pBitmap, int32_t nViewPerspective, int32_t *pRect) noexcept {
  return map_rect_with_bitmap(pBitmap, nViewPerspective, false, pRect);
}

int32_t Rv_RectToBitmap(const BITMAPRECORD *pBitmap, int32_t nViewPerspective, int32_t *pRect) noexcept {
  return map_rect_with_bitmap(pBitmap, nViewPerspective, true, pRect);
}

// --- a bitmap's pixels into another perspective ------------------------------------------
int32_t Rv_IntChangeBitmapViewPerspective(BITMAPRECORD *pDst, BITMAPRECORD *pSrc, uint32_t uStructSize,
                                          int32_t nViewPerspective, uint32_t uDupFlags) noexcept {
  if (pSrc == nullptr) return ERROR_INVALID_PARAMETER;
  if (!valid_view(nViewPerspective) || !valid_view(pSrc->nViewPerspective)) return ERROR_INVALID_PARAMETER;
  if (pDst == pSrc) pDst = nullptr;
  BITMAPRECORD *b = pSrc;
  if (pDst != nullptr) {
    int32_t status =
        Rv_DupBitmapNewDim(pDst, pSrc, uStructSize, pSrc->nWidth, pSrc->nHeight, pSrc->nBitsPerPixel, uDupFlags);
    if (status != SUCCESS) return status;
    status = Rv_CopyBitmapData(pDst, pSrc);
    if (status != SUCCESS) {
      Rv_FreeDuplicateBitmap(pDst, uDupFlags);
      return status;
    }
    b = pDst;
  }
  const int32_t view = b->nViewPerspective;
  if (view == nViewPerspective) return SUCCESS;
  const Change c = change_between(view, nViewPerspective);
  QuietProgress quiet;
  int32_t status = c.flip ? Rv_IntFlipBitmap(b) : SUCCESS;
  if (status == SUCCESS && c.angle != 0) {
    // The turn folds the perspective into its angle; as 1 it turns the
    // storage as it is.
    b->nViewPerspective = VIEW_TOP_LEFT;
    status = Rv_RotateBitmap(b, c.angle * 100, ROTATEFLAG_RESIZE, 0);
    b->nViewPerspective = view;
    if (status != SUCCESS && c.flip) Rv_IntFlipBitmap(b);
  }
  if (status != SUCCESS) {
    if (pDst != nullptr) Rv_FreeDuplicateBitmap(pDst, uDupFlags);
    return status;
  }
  b->nViewPerspective = nViewPerspective;
  return SUCCESS;
}

int32_t Rv_ChangeBitmapViewPerspective(BITMAPRECORD *pDst, BITMAPRECORD *pSrc, uint32_t uStructSize,
                                       int32_t nViewPerspective) noexcept {
  const int32_t status = rv::check_record(pSrc, rv::NullRecord::InvalidParameter, false);
  if (status != SUCCESS) return status;
  if (!rv::is_allocated(pSrc)) return ERROR_INVALID_PARAMETER;
  if (pDst != nullptr && pDst != pSrc && !rv::valid_record_size(uStructSize)) return ERROR_INVALID_STRUCT_SIZE;
  constexpr uint32_t kNewBitmap = DUPFLAG_ALLOCATE | DUPFLAG_OWN_PALETTE | DUPFLAG_OWN_REGION |
                                  DUPFLAG_OWN_OVERLAYS | 0x10u | 0x20u | DUPFLAG_BEGIN_END;
  return Rv_IntChangeBitmapViewPerspective(pDst, pSrc, uStructSize, nViewPerspective, kNewBitmap);
}
