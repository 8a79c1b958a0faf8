// Colour counting. Each pixel gives a key; a bit array with one bit per
// possible key says which have been seen. The scan walks the rows and the
// clip segments of the bitmap's region, and ends as soon as the count
// reaches its limit: all the palette's colours found, or one colour past the
// room of the caller's list.
#include "color/colorcount.h"

#include <cstring>

#include "color/match.h"
#include "color/pixel_reader.h"
#include "internal/memory.h"
#include "internal/progress.h"
#include "internal/record.h"
#include "ruvokit/rvbitmap.h"
#include "ruvokit/rvregion.h"

namespace rv::color {

namespace {

enum class KeyForm { Folded, GrayField, Color24, Color15 };

// The blocks of a count, freed together.
struct Blocks {
  uint8_t *seen = nullptr;
  uint8_t *row = nullptr;
  uint32_t *segments = nullptr;
  ~Blocks() {
    free_block(seen);
    free_block(row);
    free_block(segments);
  }
};

struct Counter {
  PixelReader reader;
  KeyForm form = KeyForm::Color24;
  uint8_t fold[256] = {};  // palette index to the first index of its colour
  uint64_t limit = ~uint64_t{0};
  uint64_t room = 0;
  RGBQUAD *list = nullptr;
  uint8_t *seen = nullptr;
  uint64_t count = 0;

  // The key of pixel x, and its colour when `color` isn't null.
  uint64_t key(const uint8_t *row, uint32_t x, uint32_t *color) const noexcept {
    switch (form) {
      case KeyForm::Folded: {
        const uint32_t i = fold[reader.index(row, x)];
        if (color) *color = PixelReader::quad_color(reader.palette()[i]);
        return i;
      }
      case KeyForm::GrayField: {
        const uint32_t v = reader.gray_field(row, x);
        if (color) *color = reader.gray_color(v);
        return v;
      }
      case KeyForm::Color15: {
        const uint32_t c = reader.rgb(row, x);
        if (color) *color = c;
        return match_key(c);
      }
      case KeyForm::Color24: break;
    }
    const uint32_t c = reader.rgb(row, x);
    if (color) *color = c;
    return c;
  }

  // Counts the pixels [first, end) of a row; true when the limit is reached.
  bool walk(const uint8_t *row, uint32_t first, uint32_t end) noexcept {
    for (uint32_t x = first; x < end; ++x) {
      uint32_t color = 0;
      const uint64_t k = key(row, x, list != nullptr ? &color : nullptr);
      uint8_t &byte = seen[k >> 3];
      const auto bit = static_cast<uint8_t>(0x80u >> (k & 7));
      if ((byte & bit) != 0) continue;
      byte |= bit;
      ++count;
      if (list != nullptr && count <= room) {
        list[count - 1] = RGBQUAD{static_cast<uint8_t>(color), static_cast<uint8_t>(color >> 8),
                                  static_cast<uint8_t>(color >> 16), 0};
      }
      if (count >= limit) return true;
    }
    return false;
  }
};

// Keys of a palette: each entry folded onto the first of its colour. Returns
// the number of distinct colours.
uint32_t fold_palette(Counter &counter) noexcept {
  const RGBQUAD *palette = counter.reader.palette();
  const uint32_t entries = 1u << counter.reader.bits();
  uint32_t distinct = 0;
  for (uint32_t i = 0; i < entries; ++i) {
    const uint32_t c = PixelReader::quad_color(palette[i]);
    uint32_t j = 0;
    while (PixelReader::quad_color(palette[j]) != c) ++j;
    counter.fold[i] = static_cast<uint8_t>(j);
    if (j == i) ++distinct;
  }
  return distinct;
}

// The bytes of the seen-set.
uint64_t seen_bytes(Counter &counter, const BITMAPRECORD *bitmap) noexcept {
  switch (counter.reader.kind()) {
    case PixelReader::Kind::Index:
      counter.form = KeyForm::Folded;
      return ((uint64_t{1} << bitmap->nBitsPerPixel) + 7) >> 3;
    case PixelReader::Kind::Gray:
      if (counter.reader.gray_has_table()) {
        counter.form = KeyForm::Color24;
        return 0x200000;
      }
      counter.form = KeyForm::GrayField;
      return (uint64_t{counter.reader.gray_mask()} + 1 + 7) / 8;
    case PixelReader::Kind::Rgb16:
      counter.form = KeyForm::Color15;
      return 0x1000;
    default:
      counter.form = KeyForm::Color24;
      return 0x200000;
  }
}

}  // namespace

int32_t count_colors(BITMAPRECORD *bitmap, uint32_t *count, RGBQUAD *list) noexcept {
  if (bitmap == nullptr) return ERROR_INVALID_IMAGE;
  if (count == nullptr) return ERROR_INVALID_PARAMETER;
  int32_t status = check_record(bitmap, NullRecord::InvalidImage, true);
  if (status != SUCCESS) return status;

  Counter counter;
  counter.list = list;
  counter.room = list != nullptr ? *count : 0;
  const int32_t limit = bitmap->pLUT == nullptr && list != nullptr ? 8 : bitmap->nBitsPerPixel;
  status = counter.reader.setup(bitmap, PixelReader::kLut, limit);
  if (status != SUCCESS) return status;

  const uint64_t bytes = seen_bytes(counter, bitmap);
  if (counter.form == KeyForm::Folded) {
    const uint32_t distinct = fold_palette(counter);
    counter.limit = list != nullptr && distinct > counter.room ? counter.room + 1 : distinct;
  } else if (list != nullptr) {
    counter.limit = counter.room + 1;
  }

  RECT bounds{};
  uint32_t max_segments = 0;
  status = Rv_GetBitmapRgnBounds(bitmap, nullptr, &bounds);
  if (status == SUCCESS) status = Rv_GetBitmapClipSegmentsMax(bitmap, &max_segments);
  if (status != SUCCESS) return status;
  if (bounds.top < 0) bounds.top = 0;
  if (bounds.bottom > bitmap->nHeight) bounds.bottom = bitmap->nHeight;

  Blocks blocks;
  blocks.seen = static_cast<uint8_t *>(alloc_block(static_cast<size_t>(bytes), true));
  blocks.row = static_cast<uint8_t *>(alloc_block(static_cast<uint32_t>(bitmap->nBytesPerLine), false));
  blocks.segments = alloc_array<uint32_t>(max_segments > 2 ? max_segments : 2);
  if (blocks.seen == nullptr || blocks.row == nullptr || blocks.segments == nullptr) {
    return ERROR_NO_MEMORY;
  }
  counter.seen = blocks.seen;

  const auto width = static_cast<uint32_t>(bitmap->nWidth > 0 ? bitmap->nWidth : 0);
  RowProgress progress(bounds.bottom - bounds.top);
  status = progress.start();
  bool done = counter.count >= counter.limit;
  for (int32_t y = bounds.top; y < bounds.bottom && !done && status == SUCCESS; ++y) {
    const int32_t got = Rv_GetBitmapRow(bitmap, blocks.row, y, static_cast<uint32_t>(bitmap->nBytesPerLine));
    if (got < 0) return got;
    status = counter.reader.prepare_row(blocks.row, bitmap->nWidth);
    if (status != SUCCESS) return status;
    uint32_t n = max_segments;
    status = Rv_GetBitmapClipSegments(bitmap, y, blocks.segments, &n);
    if (status != SUCCESS) return status;
    for (uint32_t s = 0; s + 1 < n && !done; s += 2) {
      const uint32_t first = blocks.segments[s];
      const uint32_t end = blocks.segments[s + 1] < width ? blocks.segments[s + 1] : width;
      done = counter.walk(blocks.row, first, end);
    }
    status = progress.row_done();
  }
  if (status != SUCCESS) return status;
  *count = static_cast<uint32_t>(counter.count);
  return SUCCESS;
}

}  // namespace rv::color

int32_t Rv_GetBitmapColorCountExt(BITMAPRECORD *pBitmap, uint32_t *puCount,
                                  RGBQUAD *pPalette) noexcept {
  return rv::color::count_colors(pBitmap, puCount, pPalette);
}
