// Single pixels: read and written as colours that don't depend on the depth,
// or as raw bytes. Occasional use; bulk work goes through rows.
#include <cstring>

#include "internal/pixel_maker.h"
#include "internal/pixels.h"
#include "internal/record.h"
#include "ruvokit/rvbitmap.h"
#include "ruvokit/rvcolor.h"
#include "ruvokit/rvregion.h"

namespace {

bool inside(const BITMAPRECORD *b, int32_t row, int32_t col) noexcept {
  return row >= 0 && row < b->nHeight && col >= 0 && col < b->nWidth;
}

COLORREF palette_colour(const BITMAPRECORD *b, uint32_t index) noexcept {
  const RGBQUAD *palette = b->pPalette;
  uint32_t count = static_cast<uint32_t>(b->nColors);
  if (palette == nullptr) {
    palette = Rv_IntGetFixedPalette(b->nBitsPerPixel);
    count = 1u << b->nBitsPerPixel;
  }
  if (palette == nullptr || index >= count) return 0;
  return RV_RGB(palette[index].rgbRed, palette[index].rgbGreen, palette[index].rgbBlue);
}

// A deep gray pixel's colour: through the table in use, or the top 8 bits of
// its significant field repeated in three channels.
COLORREF gray_colour(const BITMAPRECORD *b, uint32_t word) noexcept {
  uint32_t count, mask, shift;
  Rv_GetGrayParams(b->nBitsPerPixel, b->nBitsPerPixel, b->nLowBit, b->nHighBit, &count, &mask, &shift);
  const uint32_t value = (word >> shift) & mask;
  if ((b->uFlags & BITMAPFLAG_USE_LUT) && b->pLUT != nullptr) {
    if (value >= b->uLUTLength) return 0;
    const RGBQUAD &e = b->pLUT[value];
    return RV_RGB(e.rgbRed, e.rgbGreen, e.rgbBlue);
  }
  uint32_t g;
  if (count >= 8) {
    g = value >> (count - 8);
  } else {
    g = mask ? value * 255u / mask : 0;
  }
  return RV_RGB(g, g, g);
}

// The alpha of a 16-bit channel brought to 8 bits.
int32_t alpha16(uint32_t a) noexcept {
  if (a == 0) return 0;
  if (a >= 65535) return 255;
  if (a < 255) return static_cast<int32_t>(a * 0.0038910505836575876);
  return static_cast<int32_t>(a / 65535.0 * 255.0);
}

COLORREF decode(const BITMAPRECORD *b, const uint8_t *p, int32_t col, int32_t *alpha) noexcept {
  const int32_t bits = b->nBitsPerPixel;
  *alpha = 255;
  if (bits < 8) {
    const uint64_t bit = static_cast<uint64_t>(col) * static_cast<uint64_t>(bits) % 8;
    return palette_colour(b, rv::px::get_bits(p, bit, bits));
  }
  if (bits == 8) {
    if (b->pPalette == nullptr) return RV_RGB(p[0], p[0], p[0]);
    return palette_colour(b, p[0]);
  }
  if (bits == 12) return gray_colour(b, rv::px::get12_at(p, (col & 1) != 0));
  const bool rgb = b->nOrder == ORDER_RGB;
  if (bits == 16) {
    uint16_t w;
    std::memcpy(&w, p, 2);
    if (b->nOrder == ORDER_GRAY) return gray_colour(b, w);
    uint32_t c0, g, c2;
    if (b->nOrder == ORDER_BGR565) {
      const uint32_t r5 = (w >> 11) & 31u, g6 = (w >> 5) & 63u, b5 = w & 31u;
      return RV_RGB((r5 << 3) | (r5 >> 2), (g6 << 2) | (g6 >> 4), (b5 << 3) | (b5 >> 2));
    }
    c0 = w & 31u;
    g = (w >> 5) & 31u;
    c2 = (w >> 10) & 31u;
    c0 = (c0 << 3) | (c0 >> 2);
    g = (g << 3) | (g >> 2);
    c2 = (c2 << 3) | (c2 >> 2);
    return rgb ? RV_RGB(c0, g, c2) : RV_RGB(c2, g, c0);
  }
  uint8_t bgr[8];
  const uint8_t *q = p;
  if (b->nOrder == ORDER_WIDE_GAMUT) {
    // The wide-gamut order goes through the conversion to blue-green-red.
    std::memcpy(bgr, p, static_cast<size_t>(bits / 8));
    Rv_IntConvertBuffer(bgr, 1, bits, 24, ORDER_WIDE_GAMUT, ORDER_BGR, nullptr, nullptr, nullptr, 0,
                        -1, -1, 0, nullptr);
    return RV_RGB(bgr[2], bgr[1], bgr[0]);
  }
  if (bits == 24 || bits == 32) {
    if (bits == 32) *alpha = q[3];
    return rgb ? RV_RGB(q[0], q[1], q[2]) : RV_RGB(q[2], q[1], q[0]);
  }
  // 48 and 64: the high byte of each 16-bit channel.
  uint16_t ch[4];
  std::memcpy(ch, q, static_cast<size_t>(bits / 8));
  if (bits == 64) *alpha = alpha16(ch[3]);
  const uint32_t c0 = ch[0] >> 8, g = ch[1] >> 8, c2 = ch[2] >> 8;
  return rgb ? RV_RGB(c0, g, c2) : RV_RGB(c2, g, c0);
}

}  // namespace

COLORREF Rv_IntGetPixelColor(BITMAPRECORD *pBitmap, int32_t nRow, int32_t nCol, int32_t *pAlpha) noexcept {
  if (rv::check_record(pBitmap, rv::NullRecord::InvalidImage, true) != SUCCESS) return RV_PIXEL_COLOR_ERROR;
  if (!inside(pBitmap, nRow, nCol)) return RV_PIXEL_COLOR_ERROR;
  if (pBitmap->nBitsPerPixel == 32 && pBitmap->nOrder == ORDER_GRAY) return RV_PIXEL_COLOR_ERROR;
  int32_t locked = FALSE;
  if (Rv_IntAccessBitmap(pBitmap, &locked) != SUCCESS) return RV_PIXEL_COLOR_ERROR;
  uint8_t bytes[8] = {};
  const uint32_t n = rv::px::pixel_span(pBitmap->nBitsPerPixel, nCol);
  COLORREF color = RV_PIXEL_COLOR_ERROR;
  if (Rv_GetBitmapRowCol(pBitmap, bytes, nRow, nCol, n) >= 0) {
    int32_t alpha;
    color = decode(pBitmap, bytes, nCol, &alpha);
    if (pAlpha) *pAlpha = alpha;
  }
  Rv_IntReleaseBitmap(pBitmap, locked, SUCCESS);
  return color;
}

COLORREF Rv_GetPixelColor(BITMAPRECORD *pBitmap, int32_t nRow, int32_t nCol) noexcept {
  return Rv_IntGetPixelColor(pBitmap, nRow, nCol, nullptr);
}

int32_t Rv_IntPutPixelColor(BITMAPRECORD *pBitmap, int32_t nRow, int32_t nCol, COLORREF crColor,
                            int32_t nAlpha) noexcept {
  int32_t status = rv::check_record(pBitmap, rv::NullRecord::InvalidImage, true);
  if (status != SUCCESS) return status;
  // A region protects the pixels outside it.
  if (!Rv_IsPtInBitmapRgn(pBitmap, nRow, nCol)) return ERROR_INVALID_WIDTH_OR_HEIGHT;
  int32_t locked = FALSE;
  status = Rv_IntAccessBitmap(pBitmap, &locked);
  if (status != SUCCESS) return status;
  uint8_t bytes[8] = {};
  const uint32_t n = rv::px::pixel_span(pBitmap->nBitsPerPixel, nCol);
  // The pixel's neighbours in its bytes, and the bits outside a gray field, stay.
  int32_t result = Rv_GetBitmapRowCol(pBitmap, bytes, nRow, nCol, n);
  if (result >= 0) {
    rv::make_pixels_at(pBitmap, crColor, nAlpha, bytes, nCol, 1);
    result = Rv_PutBitmapRowCol(pBitmap, bytes, nRow, nCol, n);
  }
  return Rv_IntReleaseBitmap(pBitmap, locked, result < 0 ? result : SUCCESS);
}

int32_t Rv_PutPixelColor(BITMAPRECORD *pBitmap, int32_t nRow, int32_t nCol, COLORREF crColor) noexcept {
  return Rv_IntPutPixelColor(pBitmap, nRow, nCol, crColor, 255);
}

namespace {

template <bool put>
int32_t pixel_data(BITMAPRECORD *b, void *data, int32_t row, int32_t col, uint32_t bytes) noexcept {
  if (b == nullptr) return ERROR_INVALID_IMAGE;
  if (!rv::valid_record_size(b->uStructSize)) return ERROR_INVALID_STRUCT_SIZE;
  if (!rv::is_allocated(b) || data == nullptr) return ERROR_INVALID_IMAGE;
  const uint32_t needed = rv::px::pixel_span(b->nBitsPerPixel, col);
  if (bytes < needed) return ERROR_INVALID_PARAMETER;
  int32_t locked = FALSE;
  int32_t status = Rv_IntAccessBitmap(b, &locked);
  if (status != SUCCESS) return status;
  const int32_t moved = put ? Rv_PutBitmapRowCol(b, data, row, col, needed)
                            : Rv_GetBitmapRowCol(b, data, row, col, needed);
  status = moved == static_cast<int32_t>(needed) ? SUCCESS : ERROR_NO_MEMORY;
  return Rv_IntReleaseBitmap(b, locked, status);
}

}  // namespace

int32_t Rv_GetPixelData(BITMAPRECORD *pBitmap, void *pData, int32_t nRow, int32_t nCol,
                        uint32_t uBytes) noexcept {
  return pixel_data<false>(pBitmap, pData, nRow, nCol, uBytes);
}

int32_t Rv_PutPixelData(BITMAPRECORD *pBitmap, const void *pData, int32_t nRow, int32_t nCol,
                        uint32_t uBytes) noexcept {
  return pixel_data<true>(pBitmap, const_cast<void *>(pData), nRow, nCol, uBytes);
}
