// The optimised palette: the library's colour quantiser.
//
// The pixels of one bitmap, or of several, are counted in a histogram of
// 32768 bins of five bits per channel. Dominant colours are isolated as
// entries of their own, the rest is split into boxes by variance, and each
// box gives the mean of its colours. As a by-product the histogram becomes a
// match table from five-bit colour to palette index (the same form as the
// dither run's cache).
//
// Colour resolution calls optimized_palette (Rv_CreateBitmapOptPal) for one
// bitmap and optimized_palette_of_records for the records of a list; the
// Quantiser below is what both run when the picture's own colours don't fit.
#pragma once
#include <cstdint>

#include "ruvokit/rvtypes.h"

namespace rv::color {

// A box of colours: a run of the quantiser's key array, with its statistics
// on the five-bit scale.
struct OptPalBox {
  uint32_t start = 0;  // first key
  uint32_t count = 0;  // distinct keys
  uint32_t mean[3] = {};  // red, green, blue
  uint32_t var[3] = {};
  uint32_t var_total = 0;
  uint64_t weight = 0;  // pixels
  uint64_t sum[3] = {};
};

class Quantiser {
 public:
  Quantiser() noexcept = default;
  ~Quantiser();
  Quantiser(const Quantiser &) = delete;
  Quantiser &operator=(const Quantiser &) = delete;

  // Makes the histogram, the key array and the boxes for a palette of
  // `colors` entries at `palette`. SUCCESS, ERROR_INVALID_PARAMETER for no
  // palette or no colours, ERROR_NO_MEMORY.
  int32_t setup(RGBQUAD *palette, uint32_t colors, bool fast) noexcept;
  // Counts every pixel of an allocated bitmap (ERROR_INVALID_PARAMETER
  // otherwise). Depths the library doesn't have count nothing.
  int32_t add_bitmap(BITMAPRECORD *bitmap) noexcept;
  // Counts one pixel of the five-bit colour `key`. A bin that would reach
  // 0x80000000 first halves every bin, rounding up, so that a colour seen
  // stays seen.
  void add_key(uint32_t key) noexcept;
  // Isolates, splits, and writes the palette: `colors` entries, those no box
  // needed left black. With `match`, hands over the match table (palette
  // index + 1 of each key seen, else 0), which the caller frees with
  // Rv_FreeUserMatchTable.
  void finish(uint32_t **match) noexcept;

  // For tests.
  const uint32_t *histogram() const noexcept { return histogram_; }
  uint32_t boxes() const noexcept { return box_count_; }

 private:
  void isolate_dominant() noexcept;
  void split() noexcept;
  void count_box(OptPalBox &box) const noexcept;
  void finish_stats(OptPalBox &box) const noexcept;
  void write_palette() noexcept;

  RGBQUAD *palette_ = nullptr;
  uint32_t colors_ = 0;
  bool fast_ = false;
  uint32_t *histogram_ = nullptr;  // 32768 bins
  uint32_t *keys_ = nullptr;       // the keys seen, in order of first sight
  uint32_t key_count_ = 0;
  OptPalBox *boxes_ = nullptr;
  uint32_t *order_ = nullptr;  // box of each palette entry after sorting
  uint32_t box_capacity_ = 0;
  uint32_t box_count_ = 0;
};

// Sorts `count` entries ascending by red, then green, then blue, by plain
// exchange; `order`, when given, is permuted alongside.
void sort_palette(RGBQUAD *entries, uint32_t count, uint32_t *order) noexcept;

// Rv_CreateBitmapOptPal.
int32_t optimized_palette(BITMAPRECORD *bitmap, RGBQUAD *palette, uint32_t *colors,
                          uint32_t max_colors, const RGBQUAD *fixed, uint32_t fixed_count,
                          uint32_t **match, int32_t *reduced, bool fast) noexcept;

// One palette for `count` full-form records (the items of a bitmap list).
// `palette` has room for 256 entries and for *colors. With more than one
// record all of 8 bits or less, their palettes are merged when the distinct
// colours fit in *colors (*reduced 0, *colors their count, sorted);
// otherwise every record's pixels go into one quantisation (*reduced 1).
// ERROR_INVALID_IMAGE for no records.
int32_t optimized_palette_of_records(const BITMAPRECORD *records, uint32_t count, RGBQUAD *palette,
                                     uint32_t *colors, uint32_t **match, int32_t *reduced) noexcept;

}  // namespace rv::color
