// The committed tables of the palette module (palette_tables.cpp).
#pragma once
#include <cstdint>

#include "ruvokit/rvtypes.h"

namespace rv::color {

constexpr int32_t kFixedPaletteEntries = 510;
// The fixed palettes of depths 1 to 8 in one array: depth 1, then 8, then 2
// to 7. kFixedPaletteOffset[bits] is where the table of a depth begins.
extern const RGBQUAD kFixedPalettes[kFixedPaletteEntries];
constexpr int32_t kFixedPaletteOffset[9] = {0, 0, 258, 262, 270, 286, 318, 382, 2};

extern const RGBQUAD kWebSafePalette[256];

}  // namespace rv::color
