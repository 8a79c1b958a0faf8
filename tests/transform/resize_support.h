// Builders of the resize tests: bitmaps whose pixels are given as numbers,
// read back as numbers, and a run of a call through every failure of
// memory.
#pragma once
#include <cstring>
#include <vector>

#include "internal/fault.h"
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

// Runs `call` on a fresh bitmap from `make` with each allocation failing in
// turn, until none does. A failure must be ERROR_NO_MEMORY and leave the
// bitmap as it was; a helper on the way may get by without its memory (a
// colour search falls back), and then the call succeeds. Returns the status
// of the run in which nothing failed.
template <class Make, class Call>
int32_t run_with_failures(const Make &make, const Call &call) {
  for (int64_t n = 0;; ++n) {
    rvtest::Bitmap b;
    make(b.get());
    const rvtest::Snapshot before(b.get());
    rv::fault::fail_after(n);
    const int32_t status = call(b.get());
    const bool fired = rv::fault::fired();
    rv::fault::fail_after(-1);
    if (!fired) return status;
    if (status == SUCCESS) continue;
    EXPECT_EQ(status, ERROR_NO_MEMORY) << "failure " << n;
    EXPECT_TRUE(before.same(b.get())) << "failure " << n;
  }
}

}  // namespace rztest
