// DIBs built by hand for the DIB tests: a header, a table and pixels that a
// test can bend into a lie before reading them.
#pragma once
#include <cstring>
#include <vector>

#include "ruvokit/rvkrn.h"

namespace dibtest {

struct Dib {
  BITMAPINFOHEADER header{};
  std::vector<uint8_t> table;  // colour entries or masks, behind the header
  std::vector<uint8_t> pixels;

  Dib(int32_t width, int32_t height, uint16_t bits, uint32_t compression = BI_RGB) {
    header.biSize = 40;
    header.biWidth = width;
    header.biHeight = height;
    header.biPlanes = 1;
    header.biBitCount = bits;
    header.biCompression = compression;
    const int32_t rows = height < 0 ? -height : height;
    pixels.assign(static_cast<size_t>((((width * bits + 31) >> 3) & ~3) * rows), 0);
  }
  void masks(std::initializer_list<uint32_t> words) {
    const size_t at = table.size();
    table.resize(at + 4 * words.size());
    std::memcpy(table.data() + at, words.begin(), 4 * words.size());
  }
  // Header and table, as the first argument of the readers wants them.
  std::vector<uint8_t> front() const {
    std::vector<uint8_t> out(sizeof header + table.size());
    std::memcpy(out.data(), &header, sizeof header);
    if (!table.empty()) std::memcpy(out.data() + sizeof header, table.data(), table.size());
    return out;
  }
  std::vector<uint8_t> packed() const {
    auto out = front();
    const size_t at = out.size();
    out.resize(at + pixels.size());
    if (!pixels.empty()) std::memcpy(out.data() + at, pixels.data(), pixels.size());
    return out;
  }
  int32_t read(BITMAPRECORD *b) const {
    const auto f = front();
    return Rv_ConvertFromDIBExt(b, RV_BITMAPRECORD_SIZE, f.data(), f.size(), pixels.data(), pixels.size());
  }
};

// A movable block holding `bytes`.
inline RVHANDLE handle_of(const std::vector<uint8_t> &bytes) {
  RVHANDLE h = Rv_OsAllocHandle(RV_DIB_HANDLE_FLAGS, bytes.size());
  std::memcpy(Rv_OsLockHandle(h), bytes.data(), bytes.size());
  return h;
}

inline std::vector<uint8_t> handle_bytes(RVHANDLE h) {
  const auto *w = static_cast<const WINHANDLE *>(h);
  const auto *p = static_cast<const uint8_t *>(w->pData);
  return std::vector<uint8_t>(p, p + w->uSize);
}

}  // namespace dibtest
