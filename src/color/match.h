// The colour match tree as buffer conversion sees it: one lookup from a
// colour to a palette index. A miss (-1) sends the conversion on to the
// palette search.
#pragma once
#include <cstdint>

#include "ruvokit/rvcolor.h"

namespace rv::color {

// The index the tree holds for the colour, or -1.
int32_t match_find(const MATCHTREE *tree, uint8_t red, uint8_t green, uint8_t blue) noexcept;

}  // namespace rv::color
