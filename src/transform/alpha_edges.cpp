// Preparing pictures with alpha for averaging: finding transparent pixels,
// and giving them the colours of opaque neighbours so that a resize draws no
// dark fringe from colours nobody sees.
#include <algorithm>
#include <cstring>

#include "internal/memory.h"
#include "transform/resize_internal.h"

namespace rv::resize {

namespace {

// Four channels of 8 or 16 bits, alpha last.
template <class C>
struct Pixels {
  static constexpr uint32_t kMax = C(~C(0));
  static constexpr uint32_t kHalf = (kMax + 1) / 2;
  static constexpr int kShift = sizeof(C) * 8;
  C *row;
  uint32_t alpha(int64_t i) const noexcept { return row[4 * i + 3]; }
  // Each colour of pixel t moves towards donor d's by the donor's alpha.
  void blend(int64_t t, int64_t d) const noexcept {
    const uint32_t a = alpha(d);
    for (int ch = 0; ch < 3; ++ch) {
      row[4 * t + ch] = static_cast<C>(((kMax - a) * row[4 * t + ch] + a * row[4 * d + ch]) >> kShift);
    }
  }
};

template <class C>
void copy_colour(C *to, const C *from, int64_t i) noexcept {
  std::memcpy(to + 4 * i, from + 4 * i, 3 * sizeof(C));
}

// Along a row from the left: a pixel under half alpha takes from its next
// neighbour if that is at least half opaque, else from its previous one; the
// other neighbour, if it is under half too, takes from the same donor. The
// neighbours of the end pixels are clamped to the row.
template <class C>
void bleed_row(C *row, int64_t width) noexcept {
  const Pixels<C> p{row};
  int64_t i = 0;
  while (i < width) {
    if (p.alpha(i) >= Pixels<C>::kHalf) {
      ++i;
      continue;
    }
    const int64_t next = std::min(i + 1, width - 1), prev = i > 0 ? i - 1 : 0;
    int64_t donor, other;
    if (p.alpha(next) >= Pixels<C>::kHalf) {
      donor = next;
      other = prev;
    } else if (p.alpha(prev) >= Pixels<C>::kHalf) {
      donor = prev;
      other = next;
    } else {
      ++i;
      continue;
    }
    p.blend(i, donor);
    if (p.alpha(other) < Pixels<C>::kHalf) p.blend(other, donor);
    i += 2;
  }
}

// Down the columns, on a ring of three rows: a fully transparent pixel takes
// the colour of the pixel below if that has any alpha, else that of the pixel
// above, which then runs on into the pixel below too. Row y is written with
// the ring's middle row, which holds row y - 1: the picture moves down by one
// row, row 0 twice and the last row gone.
template <class C>
int32_t bleed_columns(BITMAPRECORD *b, uint8_t *bufs[3]) noexcept {
  uint8_t *prev = bufs[0], *cur = bufs[1], *next = bufs[2];
  int32_t status = read_row(b, prev, 0);
  if (status == SUCCESS) status = read_row(b, cur, 0);
  const int64_t width = b->nWidth;
  for (int32_t y = 0; y < b->nHeight && status == SUCCESS; ++y) {
    status = read_row(b, next, std::min(y, b->nHeight - 1));
    if (status != SUCCESS) break;
    C *c = reinterpret_cast<C *>(cur), *n = reinterpret_cast<C *>(next), *p = reinterpret_cast<C *>(prev);
    for (int64_t i = 0; i < width; ++i) {
      if (c[4 * i + 3] != 0) continue;
      if (n[4 * i + 3] != 0) {
        copy_colour(c, n, i);
      } else if (p[4 * i + 3] != 0) {
        copy_colour(c, p, i);
        copy_colour(n, p, i);
      }
    }
    status = write_row(b, cur, y);
    uint8_t *spare = prev;
    prev = cur;
    cur = next;
    next = spare;
  }
  return status;
}

template <class C>
int32_t bleed(BITMAPRECORD *b, bool horizontal, bool vertical, uint8_t *bufs[3]) noexcept {
  int32_t status = SUCCESS;
  if (horizontal) {
    for (int32_t y = 0; y < b->nHeight && status == SUCCESS; ++y) {
      status = read_row(b, bufs[0], y);
      if (status != SUCCESS) break;
      bleed_row(reinterpret_cast<C *>(bufs[0]), b->nWidth);
      status = write_row(b, bufs[0], y);
    }
  }
  if (vertical && status == SUCCESS) status = bleed_columns<C>(b, bufs);
  return status;
}

}  // namespace

int32_t probe_alpha(BITMAPRECORD *b, AlphaFound *found) noexcept {
  *found = AlphaFound{};
  const int32_t bits = b->nBitsPerPixel;
  if (bits != 32 && bits != 64) return SUCCESS;
  auto *row = static_cast<uint8_t *>(alloc_block(static_cast<uint32_t>(b->nBytesPerLine), false));
  if (row == nullptr) return ERROR_NO_MEMORY;
  int32_t locked = FALSE;
  int32_t status = Rv_IntAccessBitmap(b, &locked);
  for (int32_t y = 0; y < b->nHeight && status == SUCCESS && !found->transparent; ++y) {
    status = read_row(b, row, y);
    for (int32_t x = 0; x < b->nWidth && status == SUCCESS; ++x) {
      uint32_t a, max;
      if (bits == 32) {
        a = row[4 * static_cast<size_t>(x) + 3];
        max = 0xFF;
      } else {
        a = row[8 * static_cast<size_t>(x) + 6] | (row[8 * static_cast<size_t>(x) + 7] << 8);
        max = 0xFFFF;
      }
      if (a < max) found->has_alpha = true;
      if (a < 2) {
        found->transparent = true;
        break;
      }
    }
  }
  status = Rv_IntReleaseBitmap(b, locked, status);
  free_block(row);
  return status;
}

int32_t bleed_transparent_edges(BITMAPRECORD *b, bool horizontal, bool vertical) noexcept {
  const int32_t bits = b->nBitsPerPixel;
  if ((bits != 32 && bits != 64) || b->nWidth < 1 || b->nHeight < 1) return SUCCESS;
  const auto bytes = static_cast<uint32_t>(b->nBytesPerLine);
  uint8_t *bufs[3] = {static_cast<uint8_t *>(alloc_block(bytes, false)),
                      static_cast<uint8_t *>(alloc_block(bytes, false)),
                      static_cast<uint8_t *>(alloc_block(bytes, false))};
  int32_t status = bufs[0] && bufs[1] && bufs[2] ? SUCCESS : ERROR_NO_MEMORY;
  if (status == SUCCESS) {
    int32_t locked = FALSE;
    status = Rv_IntAccessBitmap(b, &locked);
    if (status == SUCCESS) {
      status = bits == 32 ? bleed<uint8_t>(b, horizontal, vertical, bufs) : bleed<uint16_t>(b, horizontal, vertical, bufs);
    }
    status = Rv_IntReleaseBitmap(b, locked, status);
  }
  for (uint8_t *buf : bufs) free_block(buf);
  return status;
}

}  // namespace rv::resize
