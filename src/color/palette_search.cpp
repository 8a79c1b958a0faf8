// Nearest colours. Rv_FindPaletteIndex is the library's one palette search,
// on the path of every pixel that goes to a palette; GetNearestPaletteIndex
// is the plainer classic search on a palette object.
#include <cstring>

#include "color/kernels.h"
#include "color/palette.h"
#include "ruvokit/rvplatform.h"
#include "internal/simd.h"

namespace rv::color {

namespace {

bool is_black(const RGBQUAD &q) noexcept { return (q.rgbRed | q.rgbGreen | q.rgbBlue) == 0; }
bool is_white(const RGBQUAD &q) noexcept {
  return (q.rgbRed & q.rgbGreen & q.rgbBlue) == 0xFF;
}

// The walk as it is defined: from entry 0 up, a smaller distance takes the
// lead, an equal one only when the entry's class is the colour's own, and a
// distance of 0 ends the walk. Distances are unsigned 32-bit, so channels
// outside 0..255 still give a defined (wrapped) result.
int32_t plain_walk(const RGBQUAD *entries, int32_t count, int32_t red, int32_t green,
                   int32_t blue) noexcept {
  const uint32_t target_class = colour_class(red, green, blue);
  uint32_t best = 0xFFFFFFFFu;
  int32_t index = 0;
  for (int32_t i = 0; i < count; ++i) {
    const RGBQUAD &q = entries[i];
    const uint32_t dr = q.rgbRed - static_cast<uint32_t>(red);
    const uint32_t dg = q.rgbGreen - static_cast<uint32_t>(green);
    const uint32_t db = q.rgbBlue - static_cast<uint32_t>(blue);
    const uint32_t distance = dr * dr + dg * dg + db * db;
    if (distance < best ||
        (distance == best && colour_class(q.rgbRed, q.rgbGreen, q.rgbBlue) == target_class)) {
      best = distance;
      index = i;
      if (best == 0) break;
    }
  }
  return index;
}

#ifdef RV_COLOR_X86_KERNELS
// The same walk over blocks of 256 entries whose distances come from a vector
// kernel. A block whose least distance is above the lead changes nothing; one
// whose least is below it hands the lead to its first entry at that distance,
// exactly where the walk would have settled; after that only entries at the
// lead's distance and of the colour's class take over, the last one winning.
int32_t vector_walk(const RGBQUAD *entries, int32_t count, int32_t red, int32_t green,
                    int32_t blue, bool avx2) noexcept {
  const uint32_t target_class = colour_class(red, green, blue);
  const uint32_t bgr = static_cast<uint32_t>(blue) | (static_cast<uint32_t>(green) << 8) |
                       (static_cast<uint32_t>(red) << 16);
  uint32_t distances[256];
  uint32_t best = 0xFFFFFFFFu;
  int32_t index = 0;
  for (int32_t base = 0; base < count; base += 256) {
    const int32_t n = count - base < 256 ? count - base : 256;
    const RGBQUAD *block = entries + base;
    const uint32_t least = avx2 ? kernels::avx2::distances(block, n, bgr, distances)
                                : kernels::sse2::distances(block, n, bgr, distances);
    if (least > best) continue;
    int32_t from = 0;
    if (least < best) {
      const int32_t first = kernels::sse2::find_equal(distances, 0, n, least);
      best = least;
      index = base + first;
      if (best == 0) return index;
      from = first + 1;
    }
    for (int32_t j = kernels::sse2::find_equal(distances, from, n, best); j >= 0;
         j = kernels::sse2::find_equal(distances, j + 1, n, best)) {
      if (colour_class(block[j].rgbRed, block[j].rgbGreen, block[j].rgbBlue) == target_class) {
        index = base + j;
      }
    }
  }
  return index;
}
#endif

}  // namespace

int32_t find_palette_index(const RGBQUAD *entries, int32_t count, int32_t red, int32_t green,
                           int32_t blue) noexcept {
  if (entries == nullptr) return 0;
  // An empty palette has no entry to look at, not even for the shortcuts.
  if (count <= 0) return -1;
  // Black and white dominate real pictures: black looks from the front,
  // white from the back.
  if ((red | green | blue) == 0) {
    if (is_black(entries[0])) return 0;
    if (is_black(entries[count - 1])) return count - 1;
  } else if (red == 255 && green == 255 && blue == 255) {
    if (is_white(entries[count - 1])) return count - 1;
    if (is_white(entries[0])) return 0;
  }
#ifdef RV_COLOR_X86_KERNELS
  const simd::Level level = simd::level();
  const bool bytes = (static_cast<uint32_t>(red) | static_cast<uint32_t>(green) |
                      static_cast<uint32_t>(blue)) <= 0xFF;
  if (level != simd::Level::Plain && bytes && count >= 16) {
    return vector_walk(entries, count, red, green, blue, level == simd::Level::Avx2);
  }
#endif
  return plain_walk(entries, count, red, green, blue);
}

namespace {

// The classic search: the least squared distance, the first of a tie.
uint32_t nearest_in_object(HRVPALETTE handle, COLORREF color) noexcept {
  PaletteObject *object = palette_object(handle);
  if (object == nullptr) return 0;
  if (RV_COLOR_FLAGS(color) != 0) return color & 0xFF;
  if (object->uEntries < 2) return 0;
  const int32_t red = RV_GET_R(color), green = RV_GET_G(color), blue = RV_GET_B(color);
  uint32_t best = 0xFFFFFFFFu, index = 0;
  for (uint32_t i = 0; i < object->uEntries; ++i) {
    const PALETTEENTRY &e = object->entries()[i];
    const int32_t dr = e.peRed - red, dg = e.peGreen - green, db = e.peBlue - blue;
    const auto distance = static_cast<uint32_t>(dr * dr + dg * dg + db * db);
    if (distance < best) {
      best = distance;
      index = i;
    }
  }
  return index;
}

}  // namespace

}  // namespace rv::color

int32_t Rv_FindPaletteIndex(const RGBQUAD *pEntries, int32_t nCount, int32_t nRed, int32_t nGreen,
                            int32_t nBlue) noexcept {
  return rv::color::find_palette_index(pEntries, nCount, nRed, nGreen, nBlue);
}

uint32_t GetNearestPaletteIndex(HRVPALETTE hPalette, COLORREF crColor) noexcept {
  return rv::color::nearest_in_object(hPalette, crColor);
}

uint32_t Rv_GetNearestPaletteIndex(const BITMAPRECORD *pBitmap, COLORREF crColor) noexcept {
  if (pBitmap == nullptr) return 0;
  HRVPALETTE object = Rv_DupBitmapPalette(pBitmap);
  if (object == nullptr) return 0;
  const uint32_t index = rv::color::nearest_in_object(object, crColor & 0x00FFFFFFu);
  Rv_WinDeleteObject(object);
  return index;
}
