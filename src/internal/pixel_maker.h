// The one pixel maker: turns a colour into the pixel bytes of a bitmap's
// depth, order, palette and gray fields, for one pixel or a run of equal
// pixels. Fill, rotation backgrounds, regions and single-pixel writes use it.
#pragma once
#include <cstdint>

#include "ruvokit/rvtypes.h"

namespace rv {

// Writes `count` pixels of `color` (and `alpha` where the depth has alpha)
// from the start of `out`, packed as in a row; a depth below 8 fills whole
// bytes (the bits past the run's last pixel are set too), so `out` holds at
// least (count x depth + 7) / 8 bytes. A colour with COLOR_GRAY_FLAG stands
// for that gray; COLOR_INDEX_FLAG takes the low bits as an index or raw value
// where the depth allows. SUCCESS or ERROR_NO_MEMORY.
int32_t make_pixels(const BITMAPRECORD *bitmap, COLORREF color, int32_t alpha, uint8_t *out,
                    uint32_t count) noexcept;

// The same for the columns `col` to `col` + count - 1 of a row, `out` holding
// the row's bytes from the byte of column `col` on. The bits of `out` that
// are not part of those pixels keep their values, and so do the bits of a
// deep gray pixel outside its significant field.
int32_t make_pixels_at(const BITMAPRECORD *bitmap, COLORREF color, int32_t alpha, uint8_t *out,
                       int32_t col, uint32_t count) noexcept;

}  // namespace rv
