// Replacing a record's contents by a new bitmap built beside it: how every
// transform in place ends. While both records exist they share the palette,
// the lookup tables, the region and the overlays.
#pragma once
#include <cstdint>

#include "ruvokit/rvtypes.h"

namespace rv {

// Ends an in-place operation that built `fresh` from `target`.
// With `status` SUCCESS: the shared pointers (pPalette, pLUT, pLUT16, pRgnInfo,
// hOverlays) are cleared in `target`, its pfnEndCopy is told, its locks are
// released, it is freed, and `fresh`'s uStructSize bytes are copied over it.
// Otherwise the shared pointers are cleared in `fresh`, which is freed, and
// `target` stands as it was. Returns `status`.
int32_t replace_record(BITMAPRECORD *target, BITMAPRECORD *fresh, int32_t status) noexcept;

}  // namespace rv
