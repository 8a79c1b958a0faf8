// The palette rules of colour resolution: the colour count of a palette
// destination, and the pattern of fixed and free entries.
#include <cstring>

#include "color/colorres.h"
#include "color/match.h"

namespace rv::color {

namespace {

constexpr uint8_t kFreeMark = 2;

// Free: bit 1 of the reserved byte set and bit 0 clear.
constexpr bool is_free(const RGBQUAD &e) noexcept { return (e.rgbReserved & 3) == kFreeMark; }

// An entry a dither run may choose.
constexpr bool is_candidate(const RGBQUAD &e) noexcept { return (e.rgbReserved & 3) == 0; }

}  // namespace

bool optimised_road(uint32_t flags) noexcept {
  switch (flags & 0x3FFu) {
    case 0:
    case COLORRES_OPTIMIZED_PALETTE:
    case COLORRES_IDENTITY_PALETTE:
    case COLORRES_OPTIMIZED_PALETTE | COLORRES_IDENTITY_PALETTE:
    case COLORRES_OPTIMIZED_PALETTE | COLORRES_USER_MATCH_TABLE:
    case COLORRES_NO_MATCH_TABLE:
    case COLORRES_NO_MATCH_TABLE | COLORRES_OPTIMIZED_PALETTE:
    case COLORRES_NO_MATCH_TABLE | COLORRES_IDENTITY_PALETTE:
    case COLORRES_NO_MATCH_TABLE | COLORRES_OPTIMIZED_PALETTE | COLORRES_IDENTITY_PALETTE:
      return true;
    default:
      return false;
  }
}

int32_t palette_count(int32_t bits, uint32_t colors, bool has_palette, uint32_t *count) noexcept {
  const uint32_t full = 1u << bits;
  if (colors == 0) {
    if (has_palette) return ERROR_INVALID_PARAMETER;
    colors = full;
  }
  *count = colors < full ? colors : full;
  return SUCCESS;
}

void PalettePattern::build(const RGBQUAD *caller, uint32_t count) noexcept {
  count_ = count < 256 ? count : 256;
  std::memset(entries_, kFreeMark, sizeof(entries_));
  free_count_ = 0;
  held_count_ = 0;
  free_run_ = true;
  int64_t last_free = -1;
  for (uint32_t i = 0; i < count_; ++i) {
    if (caller != nullptr && !is_free(caller[i])) entries_[i] = caller[i];
    if (is_free(entries_[i])) {
      if (last_free >= 0 && last_free + 1 != i) free_run_ = false;
      last_free = i;
      free_slots_[free_count_++] = static_cast<uint8_t>(i);
    } else if (entries_[i].rgbReserved == 0) {
      held_[held_count_++] = entries_[i];
    }
  }
}

void PalettePattern::fill(const RGBQUAD *colors) noexcept {
  for (uint32_t k = 0; k < free_count_; ++k) entries_[free_slots_[k]] = colors[k];
}

void PalettePattern::give_back(RGBQUAD *caller) const noexcept {
  for (uint32_t k = 0; k < free_count_; ++k) caller[free_slots_[k]] = entries_[free_slots_[k]];
}

void PalettePattern::renumber(uint32_t *table) const noexcept {
  // The candidate number of each entry; a palette with no candidate offers
  // all its entries.
  uint32_t candidates = 0;
  for (uint32_t i = 0; i < count_; ++i) candidates += is_candidate(entries_[i]) ? 1 : 0;
  constexpr uint32_t kNone = 0xFFFFFFFFu;
  uint32_t number[256];
  for (uint32_t i = 0, n = 0; i < count_; ++i) {
    number[i] = candidates == 0 || is_candidate(entries_[i]) ? n++ : kNone;
  }
  // Colour k went to the k-th free slot.
  uint32_t answer[256];
  bool identity = true;
  for (uint32_t k = 0; k < free_count_; ++k) {
    const uint32_t n = number[free_slots_[k]];
    answer[k] = n == kNone ? 0 : n + 1;
    identity = identity && answer[k] == k + 1;
  }
  if (identity) return;
  for (uint32_t key = 0; key < kMatchTableEntries; ++key) {
    const uint32_t v = table[key];
    table[key] = v != 0 && v <= free_count_ ? answer[v - 1] : 0;
  }
}

}  // namespace rv::color
