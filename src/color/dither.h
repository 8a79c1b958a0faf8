// The dither run: rows of any depth reduced, top to bottom, to packed indices
// of a palette of up to 256 colours, with the error of the diffusion methods
// carried from row to row in the block behind the record's pDitherData.
//
// Colour resolution and the other modules drive a run through the exported
// calls, with a scope that stops it on every path:
//
//   int32_t status = Rv_StartDitheringExt(source, palette, colors, bits, cache);
//   if (status != SUCCESS) return status;
//   rv::color::DitherScope scope(source);
//   for (each row from the top) status = Rv_DitherLine(source, src_row, dst_row);
//
// A run allocates everything at its start; Rv_DitherLine allocates nothing
// and, for each pixel, finds its index by arithmetic (the fixed palettes and
// the web-safe cube) or by one lookup in a 32768-entry nearest-colour cache
// keyed by the top five bits of each channel, searching the palette only on a
// miss.
#pragma once
#include <cstdint>

#include "color/pixel_reader.h"
#include "ruvokit/rvcolor.h"

namespace rv::color {

// How the run finds the index of a colour.
enum class PaletteKind : int32_t {
  Cached = 0,       // any other palette: the run's own cache, then the search
  CallerCache = 1,  // any palette, with the caller's cache
  Fixed2 = 2,       // the fixed palettes of 1 to 8 bits, by arithmetic
  Fixed4 = 3,
  Fixed8 = 4,
  Fixed16 = 5,
  Fixed32 = 6,
  Fixed64 = 7,
  Fixed128 = 8,
  Fixed256 = 9,
  WebSafe = 10,  // the web-safe cube of Rv_IntGetNetscapePalette
};

// The state of a run: the block behind pDitherData.
struct DitherRun {
  uint32_t line = 0;    // rows dithered so far; the low three bits pick the threshold row
  uint32_t colors = 0;  // destination colours
  int32_t method = 0;   // the record's nDitheringMethod at the start
  PaletteKind kind = PaletteKind::Cached;
  int32_t dst_bits = 8;  // depth of the indices written
  int32_t width = 0;     // pixels of a row
  // The destination palette in full: the index of every colour chosen has
  // its entry here, the error of a diffusion method being measured from it.
  RGBQUAD dst_palette[256] = {};
  // Nearest-colour cache (kinds Cached and CallerCache): entry + 1 of
  // `candidates`, 0 for unknown. Owned by the run for kind Cached only.
  uint32_t *cache = nullptr;
  // The entries that may be chosen: blue, green, red and the palette index.
  RGBQUAD candidates[256] = {};
  uint32_t candidate_count = 0;
  // Error rows of a diffusion method: `error_rows` rows of `row_length`
  // slots of three channels (red, green, blue), one after the other.
  int32_t error_rows = 0;
  int32_t row_length = 0;
  int32_t *errors = nullptr;
  PixelReader reader;  // the source's format, its palette and gray field
};

// The depth of the smallest fixed palette that holds `colors` (1 to 256).
int32_t bucket_bits(uint32_t colors) noexcept;

// The run of a record, or null.
inline DitherRun *dither_run(const BITMAPRECORD *bitmap) noexcept {
  return static_cast<DitherRun *>(bitmap->pDitherData);
}

// Stops the run of a record when the scope ends.
class DitherScope {
 public:
  explicit DitherScope(BITMAPRECORD *bitmap) noexcept : bitmap_(bitmap) {}
  ~DitherScope() { Rv_StopDithering(bitmap_); }
  DitherScope(const DitherScope &) = delete;
  DitherScope &operator=(const DitherScope &) = delete;

 private:
  BITMAPRECORD *bitmap_;
};

}  // namespace rv::color
