// Lookup tables of deep gray records.
#include "internal/record.h"
#include "ruvokit/rvcolor.h"

RGBQUAD16 *Rv_GetLUT16(const BITMAPRECORD *pBitmap, int32_t bForce) noexcept {
  if (pBitmap == nullptr || !rv::has_lut16_fields(pBitmap) || pBitmap->nOrder != ORDER_GRAY) {
    return nullptr;
  }
  const bool in_force =
      (pBitmap->uFlags & (BITMAPFLAG_USE_LUT | BITMAPFLAG_LUT_NONLINEAR)) != 0 || bForce != 0;
  return in_force ? pBitmap->pLUT16 : nullptr;
}
