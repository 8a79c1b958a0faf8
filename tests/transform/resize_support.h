// Builders of the resize tests: bitmaps whose pixels are given as numbers,
// read back as numbers, and a snapshot that tells that a failed call left a
// bitmap as it was.
#pragma once
#include <cstring>
#include <vector>

#include "support/bitmaps.h"

namespace rztest {

// A bitmap of `bits` in conventional memory with the given order.
inline bool make(BITMAPRECORD *b, int32_t w, int32_t h, int32_t bits, int32_t order) {
  if (Rv_InitBitmap(b, RV_BITMAPRECORD_SIZE, w, h, bits) != SUCCESS) return false;
  b->nOrder = order;
  if (order == ORDER_GRAY) Rv_InitGrayParams(b);
  return Rv_AllocateBitmap(b, BITMAPMEM_CONVENTIONAL) == SUCCESS;
}

// Element `e` of row y, elements being `size` bytes little-endian.
inline uint32_t element(BITMAPRECORD *b, int32_t y, int32_t e, int32_t size) {
  const auto row = rvtest::read_row(b, y);
  uint32_t v = 0;
  std::memcpy(&v, row.data() + static_cast<size_t>(e) * size, static_cast<size_t>(size));
  return v;
}

// Sets every channel of the pixels of a 24-bit bitmap (values row by row) or
// the words of a 16-bit gray bitmap.
inline void put_values(BITMAPRECORD *b, const std::vector<std::vector<uint32_t>> &rows) {
  const int32_t size = b->nBitsPerPixel == 24 ? 1 : b->nBitsPerPixel / 8;
  const int32_t channels = b->nBitsPerPixel == 24 ? 3 : 1;
  for (size_t y = 0; y < rows.size(); ++y) {
    std::vector<uint8_t> row(static_cast<size_t>(b->nBytesPerLine));
    for (size_t x = 0; x < rows[y].size(); ++x) {
      for (int32_t c = 0; c < channels; ++c) {
        std::memcpy(row.data() + (x * channels + c) * size, &rows[y][x], static_cast<size_t>(size));
      }
    }
    Rv_PutBitmapRow(b, row.data(), static_cast<int32_t>(y), static_cast<uint32_t>(row.size()));
  }
}

// The first channel of each pixel of row y (24 bits), or each word (16 bits).
inline std::vector<uint32_t> values(BITMAPRECORD *b, int32_t y) {
  const int32_t size = b->nBitsPerPixel == 24 ? 1 : b->nBitsPerPixel / 8;
  const int32_t channels = b->nBitsPerPixel == 24 ? 3 : 1;
  std::vector<uint32_t> out;
  for (int32_t x = 0; x < b->nWidth; ++x) out.push_back(element(b, y, x * channels, size));
  return out;
}

// The values of column x from the top.
inline std::vector<uint32_t> column(BITMAPRECORD *b, int32_t x) {
  std::vector<uint32_t> out;
  for (int32_t y = 0; y < b->nHeight; ++y) out.push_back(values(b, y)[static_cast<size_t>(x)]);
  return out;
}

// The record fields and every row, to tell that a failed call changed nothing.
struct Snapshot {
  BITMAPRECORD record;
  std::vector<std::vector<uint8_t>> rows;
  explicit Snapshot(BITMAPRECORD *b) : record(*b) {
    for (int32_t y = 0; y < b->nHeight; ++y) rows.push_back(rvtest::read_row(b, y));
  }
  bool same(BITMAPRECORD *b) const {
    if (std::memcmp(&record, b, sizeof record) != 0) return false;
    for (int32_t y = 0; y < b->nHeight; ++y) {
      if (rvtest::read_row(b, y) != rows[static_cast<size_t>(y)]) return false;
    }
    return true;
  }
};

}  // namespace rztest
