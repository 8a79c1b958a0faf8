// The sampling of a rotation: the fixed-point walk over the source, where the
// walk reads pixels, and the row kernels of every depth (nearest pixel, the
// three-sample linear correction, and the 4 by 4 spline).
#pragma once
#include <cstddef>
#include <cstdint>

#include "ruvokit/rvtypes.h"

namespace rv::xform {

// One coordinate of the walk: a pixel and a signed fraction of 1/16384 from
// the pixel's centre, kept within half a pixel so that the pixel is always
// the nearest one.
struct Axis {
  int32_t pixel;
  int32_t fraction;
  [[gnu::always_inline]] void step(int32_t by) noexcept {
    fraction += by;
    if (fraction > 8192) {
      fraction -= 16384;
      ++pixel;
    } else if (fraction < -8191) {
      fraction += 16384;
      --pixel;
    }
  }
};

// The walk of one output row: the source position of its first pixel and the
// table cosine and sine added at each pixel.
struct RowWalk {
  Axis x, y;
  int32_t cos, sin;
};

enum class Sampling { Nearest, Linear, Cubic };

// Where the pixels come from: `base` and `bytes_per_line` when the rows lie in
// memory (flat data, or rows loaded whole); otherwise `bitmap`, read a pixel
// at a time through the row functions.
struct SourcePixels {
  const uint8_t *base;
  size_t bytes_per_line;
  BITMAPRECORD *bitmap;
  int32_t width, height, bits, order;
};

// Fills `out` (a row of `count` pixels at the source's depth, cleared) along
// the walk. `fill` holds the fill pixel as make_pixels makes it. SUCCESS, or
// the error of a pixel read.
int32_t sample_row(const SourcePixels &src, Sampling how, const RowWalk &walk, int32_t count, const uint8_t *fill,
                   uint8_t *out) noexcept;

}  // namespace rv::xform
