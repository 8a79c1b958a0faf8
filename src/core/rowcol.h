// Row-level helpers of the core that other modules call.
#pragma once
#include <cstdint>

#include "ruvokit/rvtypes.h"

// Writes one column of `uRows` pixels from a tightly packed pixel stream (no
// row padding), from row 0 down, or with `bBottomUp` from row uRows - 1 up.
// Internal: right-angle rotation uses it.
int32_t Rv_PutBitmapCol(BITMAPRECORD *pBitmap, const void *pBuffer, int32_t nCol, uint32_t uRows,
                        int32_t bBottomUp) noexcept;

namespace rv {

// Copies the runs of `segments` (pairs of first column and column after the
// last) from `src`, a whole row, into `row` displaced by `col`; the bits and
// bytes around the runs keep their values, and with `keep_top` the alpha part
// of each pixel (the top bit of 5-5-5, the fourth byte of 32 bits, the fourth
// word of 64 bits) stays.
void merge_runs(uint8_t *row, const uint8_t *src, int32_t bits, bool keep_top, int32_t col,
                const uint32_t *segments, uint32_t count) noexcept;

}  // namespace rv
