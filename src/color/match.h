// Match tables of the colour subsystem.
//
// The match tree is an exact colour-to-index lookup over a palette: three
// levels of 256 slots, indexed by blue, then green, then red. Buffer
// conversion consults it before the palette search (a miss, -1, sends the
// pixel on to the search), and colour resolution builds one per run over its
// working palette:
//
//   MATCHTREE tree{};                                   // empty
//   if (rv::color::match_tree_build(&tree, palette, n) != SUCCESS) ...
//   Rv_IntConvertBuffer(..., &tree);                    // or match_find()
//   rv::color::match_tree_free(&tree);
//
// The match table is the nearest-colour cache of 32768 words keyed by the top
// five bits of each channel, each word an index + 1 (0: not known yet). The
// dither run seeds and fills one, the optimised palette hands one out, and
// each thread may install one for colour resolution (word 0 of its thread
// data).
#pragma once
#include <cstdint>

#include "ruvokit/rvcolor.h"

namespace rv::color {

// --- the match tree -------------------------------------------------------------------

// Builds the tree of `count` (1 to 256) entries into `tree`, replacing and
// freeing what it held only once the new tree stands. SUCCESS,
// ERROR_INVALID_PARAMETER or ERROR_NO_MEMORY (the tree then stays as it was).
int32_t match_tree_build(MATCHTREE *tree, const RGBQUAD *palette, int32_t count) noexcept;
// Frees the nodes; the tree is empty again.
void match_tree_free(MATCHTREE *tree) noexcept;
// The index the tree holds for the colour, or -1 (also for a null or empty
// tree). A slot that holds an index ends the walk: the channels below it are
// not compared.
int32_t match_find(const MATCHTREE *tree, uint8_t red, uint8_t green, uint8_t blue) noexcept;

// --- match tables ---------------------------------------------------------------------

constexpr uint32_t kMatchTableEntries = RV_MATCH_TABLE_ENTRIES;

// The key of a colour: the top five bits of red, green and blue.
constexpr uint32_t match_key(uint32_t red, uint32_t green, uint32_t blue) noexcept {
  return ((red >> 3) << 10) | ((green >> 3) << 5) | (blue >> 3);
}
// The same for a colour packed as blue in bits 0-7, green 8-15, red 16-23.
constexpr uint32_t match_key(uint32_t bgr) noexcept {
  return ((bgr >> 9) & 0x7C00u) | ((bgr >> 6) & 0x03E0u) | ((bgr >> 3) & 0x001Fu);
}

// A zeroed table from the heap that callers free with Rv_FreeUserMatchTable,
// or null.
uint32_t *new_match_table() noexcept;

// The calling thread's installed table, or null.
uint32_t *user_match_table() noexcept;

}  // namespace rv::color
