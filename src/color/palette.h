// Internals of the palette module for the rest of the colour subsystem: the
// fixed palettes, the palette search, the palette object and the record
// palette helpers.
#pragma once
#include <cstdint>

#include "ruvokit/rvcolor.h"

namespace rv::color {

// The fixed palette of a depth 1 to 8, or null.
const RGBQUAD *fixed_palette(int32_t bits) noexcept;

// The palette a pixel of `bits` (1 to 8) reads: the given one, or the fixed
// palette of that depth when none is given.
inline const RGBQUAD *palette_or_fixed(const RGBQUAD *palette, int32_t bits) noexcept {
  return palette != nullptr ? palette : fixed_palette(bits);
}

// How the channels of a colour rank, 0 to 7: 4 if red < blue, 2 if green is
// below both, 1 if max(red, blue) < max(green, min(red, blue)). The palette
// search keeps a tie on the side of the colour's own class.
constexpr uint32_t colour_class(int32_t red, int32_t green, int32_t blue) noexcept {
  const int32_t lo = red < blue ? red : blue;
  const int32_t hi = red < blue ? blue : red;
  const int32_t g_or_lo = green > lo ? green : lo;
  return (red < blue ? 4u : 0u) | (green < lo ? 2u : 0u) | (hi < g_or_lo ? 1u : 0u);
}

// Rv_FindPaletteIndex: the nearest entry, black and white first; 0 for a null
// palette and -1 for an empty one.
int32_t find_palette_index(const RGBQUAD *entries, int32_t count, int32_t red, int32_t green,
                           int32_t blue) noexcept;

// The palette object behind a handle: a tag of WINHANDLE_KIND_PALETTE in the
// first word, the version, the count, then red-green-blue-flags entries.
struct PaletteObject {
  int32_t nTag;
  uint16_t uVersion;
  uint16_t uEntries;
  PALETTEENTRY *entries() noexcept {
    return reinterpret_cast<PALETTEENTRY *>(reinterpret_cast<uint8_t *>(this) + 8);
  }
};
static_assert(sizeof(PaletteObject) == 8);

// The object of a handle, or null when the handle is no palette.
PaletteObject *palette_object(HRVPALETTE handle) noexcept;

}  // namespace rv::color
