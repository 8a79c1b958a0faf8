// The pixel maker: a colour made into the pixel bytes of a bitmap.
#include "internal/pixel_maker.h"

#include <cstring>

#include "internal/pixels.h"
#include "internal/record.h"
#include "ruvokit/rvbitmap.h"
#include "ruvokit/rvcolor.h"

namespace rv {

namespace {

uint32_t top_byte(COLORREF c) noexcept { return c >> 24; }

bool deep_gray(const BITMAPRECORD *b) noexcept { return b->nOrder == ORDER_GRAY && b->nBitsPerPixel > 8; }
bool lut_in_use(const BITMAPRECORD *b) noexcept {
  return (b->uFlags & BITMAPFLAG_USE_LUT) && b->pLUT != nullptr && b->uLUTLength > 0;
}

// A colour tagged as a gray level stands for that gray in all three channels,
// except on a deep gray bitmap without a table in use, which takes it as its
// own value.
COLORREF normalise(const BITMAPRECORD *b, COLORREF color) noexcept {
  if (top_byte(color) == 0x04 && (!deep_gray(b) || lut_in_use(b))) {
    const uint32_t g = (color >> 8) & 0xFFu;
    return RV_RGB(g, g, g);
  }
  return color;
}

// The palette index of a colour for a bitmap of up to 8 bits. A colour with
// COLOR_INDEX_FLAG is an index already.
uint32_t palette_index(const BITMAPRECORD *b, COLORREF color) noexcept {
  const uint32_t limit = (1u << b->nBitsPerPixel) - 1u;
  if (top_byte(color) == 0x01) return color & limit;
  if (b->pPalette != nullptr) return Rv_GetNearestPaletteIndex(b, color) & limit;
  // No palette of its own: the fixed palette of the depth.
  BITMAPRECORD with_fixed = *b;
  with_fixed.pPalette = const_cast<RGBQUAD *>(Rv_IntGetFixedPalette(b->nBitsPerPixel));
  with_fixed.nColors = 1 << b->nBitsPerPixel;
  return Rv_GetNearestPaletteIndex(&with_fixed, color) & limit;
}

struct GrayField {
  uint32_t count, mask, shift;
};

GrayField gray_field(const BITMAPRECORD *b) noexcept {
  GrayField f{};
  Rv_GetGrayParams(b->nBitsPerPixel, b->nBitsPerPixel, b->nLowBit, b->nHighBit, &f.count, &f.mask, &f.shift);
  return f;
}

// The value of the significant field of a deep gray pixel.
uint32_t gray_value(const BITMAPRECORD *b, COLORREF color, const GrayField &f) noexcept {
  if (top_byte(color) == 0x01 || top_byte(color) == 0x04) return color & 0xFFFFu;
  const int32_t r = RV_GET_R(color), g = RV_GET_G(color), bl = RV_GET_B(color);
  if (lut_in_use(b)) {
    const int32_t index = Rv_FindPaletteIndex(b->pLUT, static_cast<int32_t>(b->uLUTLength), r, g, bl);
    return index < 0 ? 0u : static_cast<uint32_t>(index);
  }
  const uint32_t gray = static_cast<uint32_t>((5 * g + 2 * r + bl + 4) >> 3);
  return f.count >= 8 ? gray << (f.count - 8) : gray >> (8 - f.count);
}

// The bytes of one pixel of a byte depth (16 to 64), in `px`; `bytes` their count.
void colour_pixel(const BITMAPRECORD *b, COLORREF color, int32_t alpha, uint8_t *px) noexcept {
  const uint32_t r = RV_GET_R(color), g = RV_GET_G(color), bl = RV_GET_B(color);
  const uint32_t a = static_cast<uint32_t>(alpha < 0 ? 0 : alpha > 255 ? 255 : alpha);
  const bool rgb = b->nOrder == ORDER_RGB;
  const uint32_t c0 = rgb ? r : bl, c2 = rgb ? bl : r;
  switch (b->nBitsPerPixel) {
    case 16: {
      uint16_t w;
      if (b->nOrder == ORDER_BGR565) {
        w = static_cast<uint16_t>(((r >> 3) << 11) | ((g >> 2) << 5) | (bl >> 3));
      } else {
        uint16_t old;
        std::memcpy(&old, px, 2);
        w = static_cast<uint16_t>((old & 0x8000u) | ((c2 >> 3) << 10) | ((g >> 3) << 5) | (c0 >> 3));
      }
      std::memcpy(px, &w, 2);
      break;
    }
    case 24:
    case 32:
      px[0] = static_cast<uint8_t>(c0);
      px[1] = static_cast<uint8_t>(g);
      px[2] = static_cast<uint8_t>(c2);
      if (b->nBitsPerPixel == 32) px[3] = static_cast<uint8_t>(a);
      break;
    default: {  // 48 and 64: 16-bit channels, widened by 257
      const uint16_t ch[4] = {static_cast<uint16_t>(c0 * 257u), static_cast<uint16_t>(g * 257u),
                              static_cast<uint16_t>(c2 * 257u), static_cast<uint16_t>(a * 257u)};
      std::memcpy(px, ch, static_cast<size_t>(b->nBitsPerPixel / 8));
      break;
    }
  }
  if (b->nOrder == ORDER_WIDE_GAMUT) {
    // The wide-gamut order is reached from blue-green-red through the conversion.
    uint8_t bgr[8] = {static_cast<uint8_t>(bl), static_cast<uint8_t>(g), static_cast<uint8_t>(r)};
    Rv_IntConvertBuffer(bgr, 1, 24, b->nBitsPerPixel, ORDER_BGR, ORDER_WIDE_GAMUT, nullptr, nullptr,
                        nullptr, 0, -1, -1, 0, nullptr);
    std::memcpy(px, bgr, static_cast<size_t>(b->nBitsPerPixel / 8));
  }
}

}  // namespace

int32_t make_pixels_at(const BITMAPRECORD *b, COLORREF color, int32_t alpha, uint8_t *out, int32_t col,
                       uint32_t count) noexcept {
  const int32_t bits = b->nBitsPerPixel;
  color = normalise(b, color);
  const uint64_t base = static_cast<uint64_t>(px::col_to_byte(bits, col));
  if (bits <= 8) {
    const uint32_t index = palette_index(b, color);
    if (bits == 8) {
      std::memset(out, static_cast<int>(index), count);
    } else {
      const uint64_t first_bit = static_cast<uint64_t>(col) * static_cast<uint64_t>(bits) - base * 8;
      for (uint32_t i = 0; i < count; ++i) px::put_bits(out, first_bit + static_cast<uint64_t>(i) * bits, bits, index);
    }
    return SUCCESS;
  }
  if (deep_gray(b)) {
    const GrayField f = gray_field(b);
    const uint64_t field = (static_cast<uint64_t>(f.mask) << f.shift) & 0xFFFFFFFFull;
    const uint64_t value = (static_cast<uint64_t>(gray_value(b, color, f) & f.mask) << f.shift) & field;
    for (uint32_t i = 0; i < count; ++i) {
      const int32_t c = col + static_cast<int32_t>(i);
      if (bits == 12) {
        uint8_t *p = out + (px::col_to_byte(12, c) - base);
        const uint32_t old = px::get12_at(p, (c & 1) != 0);
        px::put12_at(p, (c & 1) != 0, static_cast<uint32_t>((old & ~field) | value));
      } else if (bits == 16) {
        uint16_t w;
        std::memcpy(&w, out + 2u * i, 2);
        w = static_cast<uint16_t>((w & ~field) | value);
        std::memcpy(out + 2u * i, &w, 2);
      } else {
        uint32_t w;
        std::memcpy(&w, out + 4u * i, 4);
        w = static_cast<uint32_t>((w & ~field) | value);
        std::memcpy(out + 4u * i, &w, 4);
      }
    }
    return SUCCESS;
  }
  const size_t size = static_cast<size_t>(bits / 8);
  if (count == 0) return SUCCESS;
  colour_pixel(b, color, alpha, out);
  for (uint32_t i = 1; i < count; ++i) {
    if (bits == 16 && b->nOrder != ORDER_BGR565) {
      // The free top bit of each 5-5-5 pixel stays as it was.
      uint16_t w, made;
      std::memcpy(&w, out + 2u * i, 2);
      std::memcpy(&made, out, 2);
      w = static_cast<uint16_t>((w & 0x8000u) | (made & 0x7FFFu));
      std::memcpy(out + 2u * i, &w, 2);
    } else {
      std::memcpy(out + size * i, out, size);
    }
  }
  return SUCCESS;
}

int32_t make_pixels(const BITMAPRECORD *bitmap, COLORREF color, int32_t alpha, uint8_t *out,
                    uint32_t count) noexcept {
  return make_pixels_at(bitmap, color, alpha, out, 0, count);
}

}  // namespace rv
