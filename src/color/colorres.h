// Colour resolution internals that the one-bitmap and the list forms share:
// the colour count of a palette destination, a palette object taken in as
// the caller's palette, and the pattern of fixed and free entries that the
// optimiser fills.
#pragma once
#include <cstdint>

#include "ruvokit/rvcolor.h"

namespace rv::color {

// The flag values whose palette road is the optimiser's (after a palette
// object has turned into COLORRES_USER_PALETTE).
bool optimised_road(uint32_t flags) noexcept;

// The colour count of a destination of 1 to 8 bits: `colors`, or all the
// depth holds when 0, held to what the depth holds. A count of 0 beside a
// palette is ERROR_INVALID_PARAMETER.
int32_t palette_count(int32_t bits, uint32_t colors, bool has_palette, uint32_t *count) noexcept;

// A palette of up to 256 entries of which some are free: entries whose
// reserved byte has bit 1 set and bit 0 clear (2 in a fresh pattern) take
// the colours an optimiser chooses; the others are fixed colours.
class PalettePattern {
 public:
  // Every one of `count` entries free, then the fixed entries of `caller`
  // (which may be null) in their places.
  void build(const RGBQUAD *caller, uint32_t count) noexcept;

  uint32_t count() const noexcept { return count_; }
  uint32_t free_count() const noexcept { return free_count_; }
  // The free entries form one unbroken run of indices.
  bool free_run() const noexcept { return free_run_; }
  // The fixed entries whose reserved byte is 0: the colours the caller holds.
  const RGBQUAD *held() const noexcept { return held_; }
  uint32_t held_count() const noexcept { return held_count_; }
  const RGBQUAD *entries() const noexcept { return entries_; }

  // Each free entry takes the next of `colors` in order, whole (reserved
  // byte included).
  void fill(const RGBQUAD *colors) noexcept;
  // Writes the entries that were free into the same places of `caller`.
  void give_back(RGBQUAD *caller) const noexcept;

  // A match table made over the colours given to fill() answers with their
  // positions + 1; a dither run reads an answer as its candidate number + 1
  // (entries with neither of the two low reserved bits set, in order).
  // Where fixed entries make the two differ, the table is renumbered.
  void renumber(uint32_t *table) const noexcept;

 private:
  RGBQUAD entries_[256] = {};
  RGBQUAD held_[256] = {};
  uint8_t free_slots_[256] = {};  // the free entries in order
  uint32_t count_ = 0;
  uint32_t free_count_ = 0;
  uint32_t held_count_ = 0;
  bool free_run_ = false;
};

}  // namespace rv::color
