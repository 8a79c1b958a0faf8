// The fixed tables of dithering: the two 8 x 8 threshold tables and the
// error-diffusion methods (dither_tables.cpp).
#pragma once
#include <cstdint>

namespace rv::color {

// Threshold tables, row by row: ORDERED_DITHERING and CLUSTERED_DITHERING.
extern const uint8_t kOrderedThresholds[8][8];
extern const uint8_t kClusteredThresholds[8][8];

// An error-diffusion method. A pixel's error e (per channel) goes to the
// pixels after it on its line (`right` x e to the next, `right2` x e to the
// one after), and to the lines below: below[k][d + 3] x e to the pixel d
// columns away, k + 1 lines down. Each pixel's correction is the sum of what
// reached it divided by `divisor`, truncating towards zero.
struct DiffusionMethod {
  int32_t rows;     // lines below that receive error: 1 to 3
  int32_t margin;   // columns the error reaches to either side; rows hold width + 2 x margin
  int32_t divisor;
  int32_t right;
  int32_t right2;
  int32_t below[3][7];
};

// Methods 1 (FLOYD_STEIN_DITHERING) to 6 (JARVIS_DITHERING) at [method - 1].
inline constexpr DiffusionMethod kDiffusionMethods[6] = {
    // Floyd-Steinberg
    {1, 1, 16, 7, 0, {{0, 0, 3, 5, 1, 0, 0}, {}, {}}},
    // Stucki
    {2, 2, 42, 8, 4, {{0, 2, 4, 8, 4, 2, 0}, {0, 1, 2, 4, 2, 1, 0}, {}}},
    // Burkes
    {1, 2, 32, 8, 4, {{0, 2, 4, 8, 4, 2, 0}, {}, {}}},
    // Sierra
    {2, 2, 32, 5, 3, {{0, 2, 4, 5, 4, 2, 0}, {0, 0, 2, 3, 2, 0, 0}, {}}},
    // Stevenson-Arce
    {3, 3, 200, 0, 32, {{12, 0, 26, 0, 30, 0, 16}, {0, 12, 0, 26, 0, 12, 0}, {5, 0, 12, 0, 12, 0, 5}}},
    // Jarvis
    {2, 2, 48, 7, 5, {{0, 3, 5, 7, 5, 3, 0}, {0, 1, 3, 5, 3, 1, 0}, {}}},
};

}  // namespace rv::color
