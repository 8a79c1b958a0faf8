// Records built by hand for the colour tests: just the fields that palette
// and gray code read, with a palette from the library's heap that the record
// owns.
#pragma once
#include <initializer_list>

#include "ruvokit/rvkrn.h"

namespace colortest {

inline RGBQUAD rgb(uint8_t r, uint8_t g, uint8_t b) { return RGBQUAD{b, g, r, 0}; }

struct Record {
  BITMAPRECORD b{};
  explicit Record(int32_t bits, std::initializer_list<RGBQUAD> palette = {}, int32_t colors = -1) {
    b.uStructSize = RV_BITMAPRECORD_SIZE;
    b.uFlags = BITMAPFLAG_ALLOCATED;
    b.nBitsPerPixel = bits;
    b.nOrder = bits <= 8 ? ORDER_RGB : ORDER_BGR;
    b.nHighBit = -1;
    b.nColors = colors >= 0 ? colors : (bits <= 8 ? 1 << bits : 0);
    if (palette.size() != 0) {
      b.pPalette = Rv_CreateNewPalette(palette.begin(), static_cast<int32_t>(palette.size()));
    }
  }
  ~Record() {
    Rv_LocalFree(b.pPalette);
  }
  Record(const Record &) = delete;
  Record &operator=(const Record &) = delete;
  BITMAPRECORD *operator->() { return &b; }
  BITMAPRECORD *get() { return &b; }
};

}  // namespace colortest
