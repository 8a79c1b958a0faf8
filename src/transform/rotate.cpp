// Rotation by any angle. The bitmap's perspective is folded into the angle
// first, so that the pixel work knows only perspectives 1 and 4; a half turn
// and (where the size allows) the quarter turns take their shortcuts, and any
// other angle walks the result's pixels back into the source.
#include <cmath>
#include <utility>

#include "internal/bitmap_hooks.h"
#include "internal/pixel_maker.h"
#include "internal/record.h"
#include "internal/replace.h"
#include "ruvokit/rvbitmap.h"
#include "ruvokit/rvcolor.h"
#include "ruvokit/rvtransform.h"
#include "transform/flip.h"
#include "transform/progress_range.h"
#include "transform/rows.h"
#include "transform/sampling.h"
#include "transform/trig.h"

namespace {

using rv::xform::Access;
using rv::xform::Buffer;

// The angle a perspective adds, and the perspective the bitmap is then
// treated as, indexed by perspective.
constexpr int32_t kFoldAngle[9] = {0, 0, 18000, 18000, 0, 9000, 9000, 27000, 27000};
constexpr int32_t kFoldView[9] = {0, 1, 4, 1, 4, 4, 1, 4, 1};

// A float that must become a 32-bit integer by truncation; false when it
// cannot.
bool truncate(float v, int32_t *out) noexcept {
  if (!(v > -2147483648.0f && v < 2147483648.0f)) return false;
  *out = static_cast<int32_t>(v);
  return true;
}

// Where the result lies: its size, the source centre the turn is about and
// the result's pixel that centre lands on.
struct Plan {
  int32_t width, height;
  float cx, cy;
  int32_t ox, oy;
};

int32_t plan_turn(const BITMAPRECORD *b, int32_t angle, uint32_t flags, int32_t centre_x, int32_t centre_y,
                  Plan *plan) noexcept {
  const int32_t w = b->nWidth, h = b->nHeight;
  const float half_w = std::trunc(static_cast<float>(w) * 0.5f), half_h = std::trunc(static_cast<float>(h) * 0.5f);
  plan->cx = flags & ROTATEFLAG_CENTER ? static_cast<float>(centre_x) : half_w;
  plan->cy = flags & ROTATEFLAG_CENTER ? static_cast<float>(centre_y) : half_h;
  if (!(flags & (ROTATEFLAG_RESIZE | ROTATEFLAG_CENTER))) {
    plan->width = w;
    plan->height = h;
    plan->ox = static_cast<int32_t>(half_w);
    plan->oy = static_cast<int32_t>(half_h);
    return SUCCESS;
  }
  // The bounding box of the corners turned about the centre.
  const float s = static_cast<float>(rv::xform::sin_of(angle)) / 16384.0f;
  const float c = static_cast<float>(rv::xform::cos_of(angle)) / 16384.0f;
  const float corners[4][2] = {{0, 0}, {static_cast<float>(w), 0}, {static_cast<float>(w), static_cast<float>(h)},
                               {0, static_cast<float>(h)}};
  float min_x = 0, max_x = 0, min_y = 0, max_y = 0;
  for (int i = 0; i < 4; ++i) {
    const float dx = corners[i][0] - plan->cx, dy = corners[i][1] - plan->cy;
    const float x = (s * dy + c * dx) + plan->cx;
    const float y = (c * dy - s * dx) + plan->cy;
    if (i == 0 || x < min_x) min_x = x;
    if (i == 0 || x > max_x) max_x = x;
    if (i == 0 || y < min_y) min_y = y;
    if (i == 0 || y > max_y) max_y = y;
  }
  if (!truncate(plan->cx - min_x, &plan->ox) || !truncate(plan->cy - min_y, &plan->oy) ||
      !truncate(max_x - min_x + 0.6f, &plan->width) || !truncate(max_y - min_y + 0.6f, &plan->height)) {
    return ERROR_INVALID_PARAMETER;
  }
  return SUCCESS;
}

// The start of a walk coordinate: the pixel trunc(v) and the fraction from
// its centre, brought within half a pixel as every step is.
bool start_axis(float v, rv::xform::Axis *axis) noexcept {
  if (!(v > -1073741824.0f && v < 1073741824.0f)) return false;
  axis->pixel = static_cast<int32_t>(v);
  axis->fraction = static_cast<int32_t>((v - (static_cast<float>(axis->pixel) + 0.5f)) * 16384.0f);
  axis->step(0);
  return true;
}

// The resolutions of a turn by `angle`, mixed by how much of each axis goes
// into each; unchanged where either is 0 or the mix has no value.
void mix_resolutions(BITMAPRECORD *fresh, const BITMAPRECORD *b, int32_t angle) noexcept {
  const double rx = b->nXResolution, ry = b->nYResolution;
  if (rx == 0 || ry == 0) return;
  const double s = std::abs(rv::xform::sin_of(angle)), c = std::abs(rv::xform::cos_of(angle));
  const double w = b->nWidth, h = b->nHeight;
  const double x = (h * s + w * c) / (h * s / ry + w * c / rx) + 0.5;
  const double y = (w * s + h * c) / (w * s / rx + h * c / ry) + 0.5;
  if (std::isfinite(x) && std::abs(x) < 2147483647.0) fresh->nXResolution = static_cast<int32_t>(x);
  if (std::isfinite(y) && std::abs(y) < 2147483647.0) fresh->nYResolution = static_cast<int32_t>(y);
}

// Averaging palette indexes or positions in a lookup table means nothing:
// those bitmaps take the nearest pixel whatever the flags. An 8-bit bitmap
// interpolates only when its palette is a rising gray ramp, where an index is
// a level.
rv::xform::Sampling sampling_for(const BITMAPRECORD *b, uint32_t flags) noexcept {
  if (!(flags & (ROTATEFLAG_LINEAR | ROTATEFLAG_CUBIC)) || b->nBitsPerPixel < 8) return rv::xform::Sampling::Nearest;
  const bool lut = b->pLUT != nullptr || (rv::has_lut16_fields(b) && b->pLUT16 != nullptr);
  if (b->nOrder == ORDER_GRAY && lut) return rv::xform::Sampling::Nearest;
  if (b->nBitsPerPixel == 8 && Rv_IntIsGrayScaleBitmap(b, FALSE) != GRAY_RAMP) return rv::xform::Sampling::Nearest;
  return flags & ROTATEFLAG_CUBIC ? rv::xform::Sampling::Cubic : rv::xform::Sampling::Linear;
}

// The fill colour as one pixel of the bitmap's form (below 8 bits, a byte of
// eight; at 12 bits, a pair).
int32_t fill_pixel(const BITMAPRECORD *b, COLORREF color, uint8_t *out) noexcept {
  const int32_t bits = b->nBitsPerPixel;
  const uint32_t count = bits < 8 ? 8u : bits == 12 ? 2u : 1u;
  return rv::make_pixels(b, color, 255, out, count);
}

// A 32-bit gray bitmap records the range of its values: the fill joins it.
void widen_gray_range(BITMAPRECORD *fresh, const uint8_t *fill) noexcept {
  if (fresh->nBitsPerPixel != 32 || fresh->nOrder != ORDER_GRAY) return;
  const auto v = static_cast<int32_t>(fill[0] | (fill[1] << 8) | (fill[2] << 16) | (static_cast<uint32_t>(fill[3]) << 24));
  if (fresh->nMinVal >= 0 && v < fresh->nMinVal) fresh->nMinVal = v;
  if (fresh->nMaxVal >= 0 && v > fresh->nMaxVal) fresh->nMaxVal = v;
}

// The walk over the output rows, reading `src`.
int32_t walk_rows(const rv::xform::SourcePixels &src, BITMAPRECORD *fresh, rv::xform::Sampling how,
                  const rv::xform::RowWalk &first, const uint8_t *fill, rv::xform::RangeProgress &progress) noexcept {
  Buffer<uint8_t> row(static_cast<uint32_t>(fresh->nBytesPerLine), true);
  if (!row) return ERROR_NO_MEMORY;
  rv::xform::RowWalk walk = first;
  int32_t status = progress.start();
  for (int32_t y = 0; y < fresh->nHeight && status == SUCCESS; ++y) {
    status = rv::xform::sample_row(src, how, walk, fresh->nWidth, fill, row.get());
    if (status == SUCCESS) status = rv::xform::write_row(fresh, row.get(), y);
    if (status == SUCCESS) status = progress.row_done();
    walk.x.step(-walk.sin);
    walk.y.step(walk.cos);
  }
  return status;
}

// The source rows are read in memory where they can be: flat data, or 1-bit
// rows read in whole, since a turned walk would read each row again for
// every pixel. Other storage is read a pixel at a time.
int32_t sample_rows(BITMAPRECORD *b, BITMAPRECORD *fresh, rv::xform::Sampling how, const rv::xform::RowWalk &first,
                    const uint8_t *fill, rv::xform::RangeProgress &progress) noexcept {
  rv::xform::SourcePixels src{nullptr, static_cast<uint32_t>(b->nBytesPerLine), b,
                              b->nWidth, b->nHeight, b->nBitsPerPixel, b->nOrder};
  if (rv::xform::is_flat_memory(b) || b->nBitsPerPixel != 1) {
    if (rv::xform::is_flat_memory(b)) src.base = b->pData;
    return walk_rows(src, fresh, how, first, fill, progress);
  }
  Buffer<uint8_t> loaded(rv::flat_size(b));
  if (!loaded) return ERROR_NO_MEMORY;
  for (int32_t y = 0; y < b->nHeight; ++y) {
    const int32_t status = rv::xform::read_row(b, loaded.get() + src.bytes_per_line * static_cast<uint32_t>(y), y);
    if (status != SUCCESS) return status;
  }
  src.base = loaded.get();
  return walk_rows(src, fresh, how, first, fill, progress);
}

// Any angle: a new bitmap of the planned size, each of its pixels sampled at
// its place turned back into the source.
int32_t turn_any(BITMAPRECORD *b, int32_t angle, uint32_t flags, COLORREF fill_color, int32_t start_percent,
                 int32_t end_percent, int32_t centre_x, int32_t centre_y) noexcept {
  Plan plan;
  int32_t status = plan_turn(b, angle, flags, centre_x, centre_y, &plan);
  if (status != SUCCESS) return status;
  // Rows stored bottom-up turn the other way.
  const int32_t driving = b->nViewPerspective == VIEW_BOTTOM_LEFT ? (36000 - angle) % 36000 : angle;
  const int32_t sin_t = rv::xform::sin_of(driving), cos_t = rv::xform::cos_of(driving);
  const float s = static_cast<float>(sin_t) / 16384.0f, c = static_cast<float>(cos_t) / 16384.0f;
  const float ox = 0.5f - static_cast<float>(plan.ox), oy = 0.5f - static_cast<float>(plan.oy);
  rv::xform::RowWalk first{{}, {}, cos_t, sin_t};
  if (!start_axis(c * ox - s * oy + plan.cx, &first.x) || !start_axis(s * ox + c * oy + plan.cy, &first.y)) {
    return ERROR_INVALID_PARAMETER;
  }
  const rv::xform::Sampling how = sampling_for(b, flags);

  // Compressed storage is walked expanded, and the result compressed again.
  const uint32_t run_form = b->uFlags & (BITMAPFLAG_COMPRESSED | BITMAPFLAG_SUPER_COMPRESSED);
  const int32_t run_mode = run_form & BITMAPFLAG_COMPRESSED ? 1 : 2;
  if (run_form != 0 && rv::hooks::change_compression(b, 0, &status) && status != SUCCESS) return status;
  const bool expanded = run_form != 0 && !(b->uFlags & run_form);

  BITMAPRECORD fresh{};
  status = Rv_DupBitmapNewDim(&fresh, b, b->uStructSize, plan.width, plan.height, b->nBitsPerPixel,
                              DUPFLAG_ALLOCATE | DUPFLAG_LOCK_AS_SOURCE);
  if (status == SUCCESS) {
    mix_resolutions(&fresh, b, angle);
    uint8_t fill[8] = {};
    status = fill_pixel(&fresh, fill_color, fill);
    if (status == SUCCESS) {
      Access source(b);
      Access result(&fresh);
      status = source.status() != SUCCESS ? source.status() : result.status();
      rv::xform::RangeProgress progress(plan.height, start_percent, end_percent);
      if (status == SUCCESS) status = sample_rows(b, &fresh, how, first, fill, progress);
      status = source.finish(result.finish(status));
    }
    if (status == SUCCESS) status = rv::hooks::rotate_region(&fresh, b->nWidth, b->nHeight, angle);
    if (status == SUCCESS) {
      const POINT centre{static_cast<int32_t>(plan.cx), static_cast<int32_t>(plan.cy)};
      status = rv::hooks::rotate_overlays(&fresh, angle, centre, POINT{plan.ox, plan.oy});
    }
    if (status == SUCCESS) widen_gray_range(&fresh, fill);
    int32_t compressed = SUCCESS;
    if (status == SUCCESS && expanded && rv::hooks::change_compression(&fresh, run_mode, &compressed)) {
      status = compressed;
    }
    status = rv::replace_record(b, &fresh, status);
  }
  if (status != SUCCESS && expanded) {
    int32_t ignored;
    rv::hooks::change_compression(b, run_mode, &ignored);  // the source goes back to its form
  }
  return status;
}

// The half turn, in place: row pairs from both ends exchange, mirrored.
int32_t turn_half(BITMAPRECORD *b, int32_t start_percent, int32_t end_percent) noexcept {
  int32_t status = rv::xform::turn_rows(b, rv::xform::RowTurn::HalfTurn, start_percent, end_percent);
  if (status != SUCCESS) return status;
  const int32_t w = b->nWidth, h = b->nHeight;
  status = rv::hooks::rotate_region(b, w, h, 18000);
  if (status == SUCCESS) {
    status = rv::hooks::rotate_overlays(b, 18000, POINT{w / 2, h / 2}, POINT{w / 2, h / 2});
    if (status != SUCCESS) rv::hooks::rotate_region(b, w, h, 18000);
  }
  if (status != SUCCESS) {
    rv::xform::QuietProgress quiet;
    rv::xform::turn_rows(b, rv::xform::RowTurn::HalfTurn, 0, 100);
  }
  return status;
}

}  // namespace

int32_t Rv_IntRotateBitmap(BITMAPRECORD *pBitmap, int32_t nAngle, uint32_t uFlags, COLORREF crFill,
                           int32_t nStartPercent, int32_t nEndPercent, int32_t nCenterX, int32_t nCenterY) noexcept {
  const int32_t checked = rv::check_record(pBitmap, rv::NullRecord::InvalidImage, true);
  if (checked != SUCCESS) return checked;
  if (pBitmap->nWidth < 1 || pBitmap->nHeight < 1) return ERROR_INVALID_WIDTH_OR_HEIGHT;
  const int32_t view = pBitmap->nViewPerspective;
  const bool known_view = view >= VIEW_TOP_LEFT && view <= VIEW_LEFT_BOTTOM;
  // A positive angle turns the picture clockwise: the working angle runs the
  // other way.
  const int32_t a = rv::xform::wrap_angle(-(static_cast<int64_t>(nAngle) + (known_view ? kFoldAngle[view] : 0)));
  if (known_view) pBitmap->nViewPerspective = kFoldView[view];
  int32_t status;
  if (uFlags & ROTATEFLAG_CENTER) {
    status = turn_any(pBitmap, a, uFlags, crFill, nStartPercent, nEndPercent, nCenterX, nCenterY);
  } else if (a == 18000) {
    status = turn_half(pBitmap, nStartPercent, nEndPercent);
  } else if (a == 0) {
    status = rv::xform::RangeProgress::report_range(nStartPercent, nEndPercent);
  } else if ((a == 9000 || a == 27000) &&
             ((uFlags & ROTATEFLAG_RESIZE) || pBitmap->nWidth == pBitmap->nHeight)) {
    status = Rv_RotateBitmap90(pBitmap, a == 27000 ? TRUE : FALSE, nStartPercent, nEndPercent);
  } else {
    status = turn_any(pBitmap, a, uFlags, crFill, nStartPercent, nEndPercent, 0, 0);
  }
  if (status != SUCCESS) pBitmap->nViewPerspective = view;
  return status;
}

int32_t Rv_RotateBitmap(BITMAPRECORD *pBitmap, int32_t nAngle, uint32_t uFlags, COLORREF crFill) noexcept {
  if (pBitmap != nullptr && !rv::valid_record_size(pBitmap->uStructSize)) return ERROR_INVALID_STRUCT_SIZE;
  return Rv_IntRotateBitmap(pBitmap, nAngle, uFlags, crFill, 0, 100, 0, 0);
}
