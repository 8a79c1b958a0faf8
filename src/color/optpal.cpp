// The optimised palette. Boxes hold no colour lists of their own: each is a
// run of the one key array, which splitting partitions in place; the
// statistics of a split are counted over the smaller half and subtracted from
// the parent's for the other.
#include "color/optpal.h"

#include <cstring>

#include "color/colorcount.h"
#include "color/match.h"
#include "color/palette.h"
#include "color/pixel_reader.h"
#include "internal/memory.h"
#include "internal/record.h"
#include "ruvokit/rvbitmap.h"
#include "ruvokit/rvplatform.h"

namespace rv::color {

namespace {

constexpr uint32_t kKeys = kMatchTableEntries;

// The five-bit red, green and blue of a key.
constexpr uint32_t channel(uint32_t key, int32_t c) noexcept {
  return (key >> (10 - 5 * c)) & 31;
}

constexpr uint8_t widen5(uint32_t c) noexcept { return static_cast<uint8_t>((c << 3) | (c >> 2)); }

bool less_rgb(const RGBQUAD &a, const RGBQUAD &b) noexcept {
  if (a.rgbRed != b.rgbRed) return a.rgbRed < b.rgbRed;
  if (a.rgbGreen != b.rgbGreen) return a.rgbGreen < b.rgbGreen;
  return a.rgbBlue < b.rgbBlue;
}

bool same_rgb(const RGBQUAD &a, const RGBQUAD &b) noexcept {
  return a.rgbRed == b.rgbRed && a.rgbGreen == b.rgbGreen && a.rgbBlue == b.rgbBlue;
}

// Rounded mean of a weighted sum.
uint64_t rounded(uint64_t sum, uint64_t weight) noexcept {
  return weight != 0 ? (sum + (weight - 1) / 2) / weight : 0;
}

// The palette a record of 8 bits or less reads: its own array of nColors
// entries, or the fixed palette of its depth. Returns the entry count.
uint32_t record_palette(const BITMAPRECORD *bitmap, const RGBQUAD **entries) noexcept {
  const uint32_t depth_entries = 1u << bitmap->nBitsPerPixel;
  if (bitmap->pPalette == nullptr) {
    *entries = fixed_palette(bitmap->nBitsPerPixel);
    const auto n = static_cast<uint32_t>(bitmap->nColors > 0 ? bitmap->nColors : 0);
    return n < depth_entries ? n : depth_entries;
  }
  *entries = bitmap->pPalette;
  return static_cast<uint32_t>(bitmap->nColors > 0 ? bitmap->nColors : 0);
}

}  // namespace

// --- the quantiser -------------------------------------------------------------------------

Quantiser::~Quantiser() {
  Rv_LocalFree(histogram_);
  free_block(keys_);
  free_block(boxes_);
  free_block(order_);
}

int32_t Quantiser::setup(RGBQUAD *palette, uint32_t colors, bool fast) noexcept {
  if (palette == nullptr || colors == 0) return ERROR_INVALID_PARAMETER;
  palette_ = palette;
  colors_ = colors;
  fast_ = fast;
  // There are never more boxes than distinct keys.
  box_capacity_ = colors < kKeys ? colors : kKeys;
  histogram_ = static_cast<uint32_t *>(RV_ALLOC_INIT(kKeys, sizeof(uint32_t)));
  keys_ = alloc_array<uint32_t>(kKeys);
  boxes_ = alloc_array<OptPalBox>(box_capacity_, true);
  order_ = alloc_array<uint32_t>(box_capacity_);
  if (histogram_ == nullptr || keys_ == nullptr || boxes_ == nullptr || order_ == nullptr) {
    return ERROR_NO_MEMORY;
  }
  box_count_ = 1;
  return SUCCESS;
}

void Quantiser::add_key(uint32_t key) noexcept {
  uint32_t &bin = histogram_[key];
  if (bin == 0) {
    keys_[key_count_++] = key;
    ++boxes_[0].count;
  } else if (bin == 0x7FFFFFFFu) {
    for (uint32_t k = 0; k < kKeys; ++k) histogram_[k] = (histogram_[k] + 1) >> 1;
  }
  ++bin;
}

int32_t Quantiser::add_bitmap(BITMAPRECORD *bitmap) noexcept {
  if (!is_allocated(bitmap)) return ERROR_INVALID_PARAMETER;
  const int32_t bits = bitmap->nBitsPerPixel;
  // A depth the library doesn't have counts nothing.
  if (!px::is_valid_depth(bits)) return SUCCESS;
  // 32-bit gray reads a field of 8 bits at most, table or not.
  const uint32_t tables = PixelReader::kLut | PixelReader::kLut16;
  const int32_t limit = bits != 32 && PixelReader::has_gray_table(bitmap, tables) ? bits : 8;
  PixelReader reader;
  int32_t status = reader.setup(bitmap, tables, limit);
  if (status != SUCCESS) return status;

  const auto row_bytes = static_cast<uint32_t>(bitmap->nBytesPerLine);
  auto *row = static_cast<uint8_t *>(alloc_block(row_bytes, false));
  if (row == nullptr) return ERROR_NO_MEMORY;
  status = Rv_AccessBitmap(bitmap);
  if (status == SUCCESS) {
    const auto width = static_cast<uint32_t>(bitmap->nWidth > 0 ? bitmap->nWidth : 0);
    for (int32_t y = 0; y < bitmap->nHeight; ++y) {
      const int32_t got = Rv_GetBitmapRow(bitmap, row, y, row_bytes);
      status = got < 0 ? got : reader.prepare_row(row, bitmap->nWidth);
      if (status != SUCCESS) break;
      for (uint32_t x = 0; x < width; ++x) add_key(match_key(reader.rgb(row, x)));
    }
    Rv_ReleaseBitmap(bitmap);
  }
  free_block(row);
  return status;
}

// Weight and sums of a box, counted over its keys.
void Quantiser::count_box(OptPalBox &box) const noexcept {
  box.weight = 0;
  box.sum[0] = box.sum[1] = box.sum[2] = 0;
  for (uint32_t i = box.start; i < box.start + box.count; ++i) {
    const uint32_t key = keys_[i];
    const uint64_t n = histogram_[key];
    box.weight += n;
    for (int32_t c = 0; c < 3; ++c) box.sum[c] += n * channel(key, c);
  }
}

// Rounded means from the sums, and the variances around them.
void Quantiser::finish_stats(OptPalBox &box) const noexcept {
  uint64_t spread[3] = {};
  for (int32_t c = 0; c < 3; ++c) box.mean[c] = static_cast<uint32_t>(rounded(box.sum[c], box.weight));
  for (uint32_t i = box.start; i < box.start + box.count; ++i) {
    const uint32_t key = keys_[i];
    const uint64_t n = histogram_[key];
    for (int32_t c = 0; c < 3; ++c) {
      const int64_t d = static_cast<int64_t>(channel(key, c)) - static_cast<int64_t>(box.mean[c]);
      spread[c] += n * static_cast<uint64_t>(d * d);
    }
  }
  box.var_total = 0;
  for (int32_t c = 0; c < 3; ++c) {
    box.var[c] = static_cast<uint32_t>(rounded(spread[c], box.weight));
    box.var_total += box.var[c];
  }
}

// While enough colours are wanted, a key of the last box that has more than
// twice the pixels of any other becomes a box of its own.
void Quantiser::isolate_dominant() noexcept {
  uint32_t limit = fast_ ? 2 : 64;
  while (colors_ >= limit && box_count_ < box_capacity_) {
    OptPalBox &last = boxes_[box_count_ - 1];
    if (last.count < 2) return;
    uint32_t first = 0, second = 0, at = last.start;
    for (uint32_t i = last.start; i < last.start + last.count; ++i) {
      const uint32_t n = histogram_[keys_[i]];
      if (n > first) {
        second = first;
        first = n;
        at = i;
      } else if (n > second) {
        second = n;
      }
    }
    if (first <= 2 * static_cast<uint64_t>(second)) return;
    const uint32_t key = keys_[at];
    keys_[at] = keys_[last.start];
    keys_[last.start] = key;
    OptPalBox &rest = boxes_[box_count_];
    rest = OptPalBox{};
    rest.start = last.start + 1;
    rest.count = last.count - 1;
    last.count = 1;
    for (int32_t c = 0; c < 3; ++c) {
      last.mean[c] = channel(key, c);
      last.var[c] = 0;
    }
    last.var_total = 0;
    ++box_count_;
    ++limit;
  }
}

// Splits the box of the greatest variance in two on its widest axis, until
// there are enough boxes or no box can be split.
void Quantiser::split() noexcept {
  while (box_count_ < colors_ && box_count_ < box_capacity_) {
    uint32_t pick = 0;
    for (uint32_t b = 1; b < box_count_; ++b) {
      const OptPalBox &x = boxes_[b], &best = boxes_[pick];
      if (x.var_total > best.var_total || (x.var_total == best.var_total && x.count > best.count)) {
        pick = b;
      }
    }
    OptPalBox &box = boxes_[pick];
    if (box.count < 2) return;

    int32_t axis = 1;  // green
    if (box.var[0] >= box.var[1] && box.var[0] >= box.var[2]) {
      axis = 0;
    } else if (box.var[2] > box.var[1]) {
      axis = 2;
    }
    const uint32_t pivot = box.mean[axis];

    // Below, equal to and above the pivot, in place.
    uint32_t *k = keys_ + box.start;
    uint32_t lt = 0, i = 0, gt = box.count;
    while (i < gt) {
      const uint32_t v = channel(k[i], axis);
      if (v < pivot) {
        const uint32_t t = k[lt];
        k[lt++] = k[i];
        k[i++] = t;
      } else if (v > pivot) {
        const uint32_t t = k[--gt];
        k[gt] = k[i];
        k[i] = t;
      } else {
        ++i;
      }
    }
    const uint32_t below = lt, equal = gt - lt, above = box.count - gt;
    uint32_t boundary = below;  // the equal run goes with the high side
    if (equal > 0) {
      if (below < above) {
        boundary = below + equal;
      } else if (below == 0 && above == 0) {
        boundary = (box.count + 1) >> 1;
      }
    }

    OptPalBox &high = boxes_[box_count_];
    high = OptPalBox{};
    high.start = box.start + boundary;
    high.count = box.count - boundary;
    const OptPalBox parent = box;
    box.count = boundary;
    OptPalBox &smaller = box.count <= high.count ? box : high;
    OptPalBox &larger = &smaller == &box ? high : box;
    count_box(smaller);
    larger.weight = parent.weight - smaller.weight;
    for (int32_t c = 0; c < 3; ++c) larger.sum[c] = parent.sum[c] - smaller.sum[c];
    finish_stats(box);
    finish_stats(high);
    ++box_count_;
  }
}

void Quantiser::write_palette() noexcept {
  std::memset(palette_, 0, sizeof(RGBQUAD) * static_cast<size_t>(colors_));
  for (uint32_t b = 0; b < box_count_; ++b) {
    const OptPalBox &box = boxes_[b];
    palette_[b] = RGBQUAD{widen5(box.mean[2]), widen5(box.mean[1]), widen5(box.mean[0]), 0};
    order_[b] = b;
  }
  sort_palette(palette_, box_count_, order_);
}

void Quantiser::finish(uint32_t **match) noexcept {
  isolate_dominant();
  OptPalBox &last = boxes_[box_count_ - 1];
  count_box(last);
  finish_stats(last);
  split();
  write_palette();
  if (match == nullptr) return;
  for (uint32_t slot = 0; slot < box_count_; ++slot) {
    const OptPalBox &box = boxes_[order_[slot]];
    for (uint32_t i = box.start; i < box.start + box.count; ++i) histogram_[keys_[i]] = slot + 1;
  }
  *match = histogram_;
  histogram_ = nullptr;
}

void sort_palette(RGBQUAD *entries, uint32_t count, uint32_t *order) noexcept {
  for (uint32_t i = 0; i + 1 < count; ++i) {
    for (uint32_t j = i + 1; j < count; ++j) {
      if (!less_rgb(entries[j], entries[i])) continue;
      const RGBQUAD t = entries[i];
      entries[i] = entries[j];
      entries[j] = t;
      if (order != nullptr) {
        const uint32_t o = order[i];
        order[i] = order[j];
        order[j] = o;
      }
    }
  }
}

// --- one bitmap ------------------------------------------------------------------------------

namespace {

// Counts the bitmap's own colours into `palette` (room for `max_colors`) with
// its region taken off and the thread's progress callback held back, so that
// the whole picture counts and nothing is reported.
int32_t count_whole_picture(BITMAPRECORD *bitmap, RGBQUAD *palette, uint32_t *count) noexcept {
  void *region = bitmap->pRgnInfo;
  bitmap->pRgnInfo = nullptr;
  STATUSCALLBACK callback = nullptr;
  void *user = nullptr;
  Rv_SetStatusCallBack(nullptr, nullptr, &callback, &user);
  const int32_t status = count_colors(bitmap, count, palette);
  Rv_SetStatusCallBack(callback, user, nullptr, nullptr);
  bitmap->pRgnInfo = region;
  return status;
}

// Takes each fixed colour out of the list once, the entries after it moving
// up. Returns the new count.
uint32_t remove_fixed(RGBQUAD *list, uint32_t count, const RGBQUAD *fixed,
                      uint32_t fixed_count) noexcept {
  for (uint32_t f = 0; f < fixed_count; ++f) {
    for (uint32_t i = 0; i < count; ++i) {
      if (!same_rgb(list[i], fixed[f])) continue;
      std::memmove(list + i, list + i + 1, sizeof(RGBQUAD) * (count - i - 1));
      --count;
      break;
    }
  }
  return count;
}

}  // namespace

int32_t optimized_palette(BITMAPRECORD *bitmap, RGBQUAD *palette, uint32_t *colors,
                          uint32_t max_colors, const RGBQUAD *fixed, uint32_t fixed_count,
                          uint32_t **match, int32_t *reduced, bool fast) noexcept {
  int32_t status = check_record(bitmap, NullRecord::InvalidImage, true);
  if (status != SUCCESS) return status;
  if (palette == nullptr || colors == nullptr || *colors == 0 || reduced == nullptr) {
    return ERROR_INVALID_PARAMETER;
  }
  if (match != nullptr) *match = nullptr;
  *reduced = 1;
  if (fixed == nullptr) fixed_count = 0;

  // A palette bitmap that has no more entries than wanted gives its own.
  if (bitmap->nBitsPerPixel <= 8 && bitmap->nColors >= 0 &&
      static_cast<uint32_t>(bitmap->nColors) <= *colors) {
    const RGBQUAD *entries = nullptr;
    const uint32_t n = record_palette(bitmap, &entries);
    std::memset(palette, 0, sizeof(RGBQUAD) * static_cast<size_t>(*colors));
    if (entries != nullptr && n != 0) std::memcpy(palette, entries, sizeof(RGBQUAD) * n);
    *colors = static_cast<uint32_t>(bitmap->nColors);
    *reduced = 0;
    return SUCCESS;
  }

  // The picture's own colours, when they fit besides the fixed ones.
  uint32_t count = max_colors;
  if (count_whole_picture(bitmap, palette, &count) == SUCCESS && count <= max_colors &&
      count <= static_cast<uint64_t>(*colors) + fixed_count) {
    count = remove_fixed(palette, count, fixed, fixed_count);
    if (count <= *colors) {
      sort_palette(palette, count, nullptr);
      *reduced = 0;
      *colors = count;
      return SUCCESS;
    }
  }

  Quantiser quantiser;
  status = quantiser.setup(palette, *colors, fast);
  if (status == SUCCESS) status = quantiser.add_bitmap(bitmap);
  if (status != SUCCESS) return status;
  quantiser.finish(match);
  return SUCCESS;
}

// --- the records of a list -----------------------------------------------------------------

namespace {

// Merges the palettes of the records, each colour once. False when the
// colours don't fit in `limit` entries.
bool merge_palettes(const BITMAPRECORD *records, uint32_t count, RGBQUAD *palette,
                    uint32_t limit, uint32_t *merged) noexcept {
  uint32_t n = 0;
  for (uint32_t r = 0; r < count; ++r) {
    const RGBQUAD *entries = nullptr;
    const uint32_t entry_count = record_palette(&records[r], &entries);
    for (uint32_t i = 0; i < entry_count; ++i) {
      const RGBQUAD &e = entries[i];
      bool known = false;
      for (uint32_t j = 0; j < n && !known; ++j) known = same_rgb(palette[j], e);
      if (known) continue;
      if (n == limit) return false;
      palette[n++] = RGBQUAD{e.rgbBlue, e.rgbGreen, e.rgbRed, 0};
    }
  }
  *merged = n;
  return true;
}

}  // namespace

int32_t optimized_palette_of_records(const BITMAPRECORD *records, uint32_t count, RGBQUAD *palette,
                                     uint32_t *colors, uint32_t **match, int32_t *reduced) noexcept {
  if (palette == nullptr || colors == nullptr || reduced == nullptr) return ERROR_INVALID_PARAMETER;
  if (records == nullptr || count == 0) return ERROR_INVALID_IMAGE;
  if (count == 1) {
    BITMAPRECORD copy = records[0];
    return optimized_palette(&copy, palette, colors, *colors, nullptr, 0, match, reduced, false);
  }
  if (*colors == 0) return ERROR_INVALID_PARAMETER;
  if (match != nullptr) *match = nullptr;

  bool shallow = true;
  for (uint32_t r = 0; r < count && shallow; ++r) shallow = records[r].nBitsPerPixel <= 8;
  if (shallow) {
    *reduced = 0;
    std::memset(palette, 0, sizeof(RGBQUAD) * 256);
    uint32_t merged = 0;
    if (merge_palettes(records, count, palette, *colors, &merged)) {
      sort_palette(palette, merged, nullptr);
      *colors = merged;
      return SUCCESS;
    }
  }

  *reduced = 1;
  Quantiser quantiser;
  int32_t status = quantiser.setup(palette, *colors, false);
  for (uint32_t r = 0; r < count && status == SUCCESS; ++r) {
    BITMAPRECORD copy = records[r];
    status = quantiser.add_bitmap(&copy);
  }
  if (status != SUCCESS) return status;
  quantiser.finish(match);
  return SUCCESS;
}

}  // namespace rv::color

int32_t Rv_CreateBitmapOptPal(BITMAPRECORD *pBitmap, RGBQUAD *pPalette, uint32_t *puColors,
                              uint32_t uMaxColors, const RGBQUAD *pFixedColors,
                              uint32_t uFixedColors, uint32_t **ppMatchTable, int32_t *pbReduced,
                              int32_t bFast) noexcept {
  return rv::color::optimized_palette(pBitmap, pPalette, puColors, uMaxColors, pFixedColors,
                                      uFixedColors, ppMatchTable, pbReduced, bFast != 0);
}

int32_t Rv_CreateBitmapListOptPal(HBITMAPLIST hList, RGBQUAD *pPalette, uint32_t *puColors,
                                  uint32_t **ppMatchTable, int32_t *pbReduced) noexcept {
  if (hList == nullptr) return ERROR_INVALID_PARAMETER;
  return rv::color::optimized_palette_of_records(hList->pItems, hList->uCount, pPalette, puColors,
                                                 ppMatchTable, pbReduced);
}
