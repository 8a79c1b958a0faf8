// Colour values between bitmaps: a COLORREF of one bitmap (a plain colour, a
// palette index, or a gray level of a deep gray bitmap) expressed for another,
// and the plain colour it stands for.
#include "color/palette.h"
#include "internal/record.h"

namespace {

bool usable(const BITMAPRECORD *bitmap) noexcept {
  return bitmap != nullptr && rv::valid_record_size(bitmap->uStructSize);
}

COLORREF plain(const RGBQUAD &q) noexcept { return RV_RGB(q.rgbRed, q.rgbGreen, q.rgbBlue); }

bool same_colour(const RGBQUAD &a, const RGBQUAD &b) noexcept {
  return a.rgbRed == b.rgbRed && a.rgbGreen == b.rgbGreen && a.rgbBlue == b.rgbBlue;
}

}  // namespace

COLORREF Rv_TranslateBitmapColor(const BITMAPRECORD *pBitmapDst, const BITMAPRECORD *pBitmapSrc,
                                 COLORREF crColor) noexcept {
  if (!usable(pBitmapDst)) return crColor;
  COLORREF color = crColor;
  // A gray level: kept, or looked up in the destination's table, for a gray
  // destination; its 8-bit value (byte 1) as a plain gray for any other.
  if (RV_COLOR_FLAGS(color) & COLOR_GRAY_FLAG) {
    const uint8_t level = RV_GET_G(color);
    if (pBitmapDst->nOrder == ORDER_GRAY) {
      if (pBitmapDst->pLUT == nullptr || !(pBitmapDst->uFlags & BITMAPFLAG_USE_LUT)) return color;
      const uint32_t length = pBitmapDst->uLUTLength;
      const auto count = static_cast<int32_t>(length == 65536 ? 65535 : length);
      return RV_PALETTE_INDEX(
          rv::color::find_palette_index(pBitmapDst->pLUT, count, level, level, level));
    }
    color = RV_RGB(level, level, level);
  }
  // A palette index of the source: its colour, or the index itself when the
  // destination's palette holds the same colour there.
  if (RV_COLOR_FLAGS(color) & COLOR_INDEX_FLAG) {
    const auto index = static_cast<int32_t>(color & 0xFFFF);
    RGBQUAD entry;
    if (usable(pBitmapSrc) && pBitmapSrc->nBitsPerPixel <= 8 &&
        Rv_GetBitmapColors(pBitmapSrc, index, 1, &entry) == SUCCESS) {
      if (pBitmapDst->nBitsPerPixel > 8) return plain(entry);
      RGBQUAD own;
      if (Rv_GetBitmapColors(pBitmapDst, index, 1, &own) == SUCCESS && same_colour(own, entry)) {
        return color;
      }
      color = plain(entry);
    } else {
      color = 0;
    }
  }
  if (pBitmapDst->nBitsPerPixel > 8) return color;
  return RV_PALETTE_INDEX(Rv_GetNearestPaletteIndex(pBitmapDst, color));
}

COLORREF Rv_GetTrueColorValue(const BITMAPRECORD *pBitmap, COLORREF crColor) noexcept {
  if (!usable(pBitmap)) return 0;
  const COLORREF value = Rv_TranslateBitmapColor(pBitmap, pBitmap, crColor);
  const int32_t depth = pBitmap->nBitsPerPixel;
  const uint32_t index = value & 0xFFFF;
  if ((RV_COLOR_FLAGS(value) & COLOR_INDEX_FLAG) && depth < 9) {
    RGBQUAD entry;
    if (index >= static_cast<uint32_t>(pBitmap->nColors) ||
        Rv_GetBitmapColors(pBitmap, static_cast<int32_t>(index), 1, &entry) != SUCCESS) {
      return value;
    }
    return plain(entry);
  }
  if ((RV_COLOR_FLAGS(value) & COLOR_GRAY_FLAG) && depth >= 9 && depth <= 16) {
    if (pBitmap->pLUT != nullptr && index < pBitmap->uLUTLength) return plain(pBitmap->pLUT[index]);
    if (rv::has_lut16_fields(pBitmap) && pBitmap->pLUT16 != nullptr &&
        index < pBitmap->uLUT16Length) {
      const RGBQUAD16 &e = pBitmap->pLUT16[index];
      return RV_RGB(e.rgbRed >> 8, e.rgbGreen >> 8, e.rgbBlue >> 8);
    }
  }
  return value;
}
