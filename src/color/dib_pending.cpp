// Steps of the DIB calls that other parts of the library take: the module
// loader for compressed frames, colour resolution for palette depths, and the
// view perspective change. Each is here once, so that it is wired in one place;
// one whose part is not in the library yet (the module loader) says so.
#include "color/dib.h"
#include "ruvokit/rvcolor.h"
#include "ruvokit/rvtransform.h"

namespace rv::dib {

int32_t load_compressed_frame(BITMAPRECORD *, uint32_t, const Description &, const uint8_t *,
                              uint64_t) noexcept {
  return ERROR_LIBRARY_MISSING_356;
}

int32_t resolve_to_palette(BITMAPRECORD *src, BITMAPRECORD *dst, int32_t bits) noexcept {
  return Rv_ColorResBitmap(src, dst, RV_BITMAPRECORD_SIZE, bits, COLORRES_OPTIMIZED_PALETTE, nullptr, nullptr, 0,
                           nullptr, nullptr);
}

int32_t change_to_dib_view(BITMAPRECORD *dst, BITMAPRECORD *src) noexcept {
  return Rv_ChangeBitmapViewPerspective(dst, src, RV_BITMAPRECORD_SIZE, VIEW_BOTTOM_LEFT);
}

}  // namespace rv::dib
