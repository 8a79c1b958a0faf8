// Turns of a bitmap that keep its rows whole: flipping the order of the rows,
// mirroring each row, and both together, the half turn.
#pragma once
#include <cstdint>

#include "ruvokit/rvtypes.h"

namespace rv::xform {

enum class RowTurn { Flip, Mirror, HalfTurn };

// Turns the stored rows in place through the row functions (or, for the
// compressed forms, the run shortcuts where installed), reporting progress
// between the two percents. A stop by the callback or a failure puts back the
// rows already done, so the bitmap is as it was. Region and overlays are the
// caller's.
int32_t turn_rows(BITMAPRECORD *b, RowTurn how, int32_t start_percent, int32_t end_percent) noexcept;

}  // namespace rv::xform
