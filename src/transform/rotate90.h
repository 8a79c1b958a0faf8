// Quarter turns of stored rows: a transpose whose rows and columns are taken
// in the order that makes it a clockwise or counter-clockwise turn.
#pragma once
#include <cstdint>

#include "ruvokit/rvtypes.h"
#include "transform/progress_range.h"

namespace rv::xform {

// Fills `result` (allocated, width and height swapped) with `source` turned a
// quarter in storage. The flat form addresses both bitmaps' memory directly,
// in blocks that stay in the cache; the row form reads each source row and
// writes it as a column with Rv_PutBitmapCol, for any storage. Both give the
// same bytes; the bits of a row past its last pixel are not written.
int32_t quarter_turn_flat(const BITMAPRECORD *source, BITMAPRECORD *result, bool clockwise,
                          RangeProgress &progress) noexcept;
int32_t quarter_turn_rows(BITMAPRECORD *source, BITMAPRECORD *result, bool clockwise,
                          RangeProgress &progress) noexcept;

}  // namespace rv::xform
