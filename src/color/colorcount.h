// Counting the distinct colours of a bitmap inside its region, and listing
// them in order of first appearance (Rv_GetBitmapColorCountExt).
#pragma once
#include <cstdint>

#include "ruvokit/rvtypes.h"

namespace rv::color {

// The count of distinct colours of `bitmap` into *count. With `list`, *count
// is on entry the number of entries `list` has room for; they receive the
// colours, and a count past the room stops at room + 1. Depths 1 to 8 count
// palette colours (two entries of one colour are one), 16-bit colour its five
// bits per channel, gray words their field (or the colours of their pLUT),
// the others their 8-bit channels. Reports progress by rows.
int32_t count_colors(BITMAPRECORD *bitmap, uint32_t *count, RGBQUAD *list) noexcept;

}  // namespace rv::color
