// Builders shared by the tests: bitmaps of any depth in conventional memory,
// seeded pixel patterns, and a record that frees itself.
#pragma once
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "ruvokit/rvkrn.h"

namespace rvtest {

// A full-form record freed at the end of the scope.
struct Bitmap {
  BITMAPRECORD record{};
  Bitmap() = default;
  Bitmap(const Bitmap &) = delete;
  Bitmap &operator=(const Bitmap &) = delete;
  ~Bitmap() { Rv_FreeBitmap(&record); }
  BITMAPRECORD *operator->() { return &record; }
  BITMAPRECORD *get() { return &record; }
};

// Initialises and allocates `b` in conventional memory; false on failure.
inline bool make(BITMAPRECORD *b, int32_t width, int32_t height, int32_t bits,
                 uint32_t size = RV_BITMAPRECORD_SIZE, uint32_t memory = BITMAPMEM_CONVENTIONAL) {
  return Rv_InitBitmap(b, size, width, height, bits) == SUCCESS &&
         Rv_AllocateBitmap(b, memory) == SUCCESS;
}

// Seeded random bytes.
inline std::vector<uint8_t> random_bytes(size_t n, uint32_t seed) {
  std::mt19937 gen(seed);
  std::vector<uint8_t> v(n);
  for (auto &x : v) x = static_cast<uint8_t>(gen());
  return v;
}

// Fills every row of an allocated bitmap with seeded random bytes.
inline void fill_random(BITMAPRECORD *b, uint32_t seed) {
  const auto row = static_cast<uint32_t>(b->nBytesPerLine);
  for (int32_t y = 0; y < b->nHeight; ++y) {
    auto bytes = random_bytes(row, seed + static_cast<uint32_t>(y));
    Rv_PutBitmapRow(b, bytes.data(), y, row);
  }
}

inline std::vector<uint8_t> read_row(BITMAPRECORD *b, int32_t y) {
  std::vector<uint8_t> v(static_cast<size_t>(b->nBytesPerLine));
  Rv_GetBitmapRow(b, v.data(), y, static_cast<uint32_t>(v.size()));
  return v;
}

// The record fields and every row, to tell that a failed call changed nothing.
struct Snapshot {
  BITMAPRECORD record;
  std::vector<std::vector<uint8_t>> rows;
  explicit Snapshot(BITMAPRECORD *b) : record(*b) {
    for (int32_t y = 0; y < b->nHeight; ++y) rows.push_back(read_row(b, y));
  }
  bool same(BITMAPRECORD *b) const {
    if (std::memcmp(&record, b, sizeof record) != 0) return false;
    for (int32_t y = 0; y < b->nHeight; ++y) {
      if (read_row(b, y) != rows[static_cast<size_t>(y)]) return false;
    }
    return true;
  }
};

}  // namespace rvtest
