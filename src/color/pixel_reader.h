// Reading the stored pixels of a bitmap's rows as 8-bit colours: the one
// decoding that dithering, colour counting and the optimised palette share.
//
//   rv::color::PixelReader reader;
//   int32_t status = reader.setup(bitmap, rv::color::PixelReader::kLut16, width_limit);
//   for (each row) {
//     status = reader.prepare_row(row, width);   // out of the wide-gamut order
//     for (x...) uint32_t c = reader.rgb(row, x); // blue 0-7, green 8-15, red 16-23
//   }
//
// Depths 1 to 8 read the record's palette (the fixed palette of the depth
// when it has none; entries past nColors are black). Gray words (12 and 16
// bits, and 32 bits of ORDER_GRAY) take their field (word >> shift) & mask,
// then the 16-bit table's high bytes, or the table's entry, or the field
// itself in all three channels, scaled by 255 / mask when the field is
// narrower than 8 bits. 16-bit colour widens its fields by replication; 24
// and 32 bits take the bytes by order, 48 and 64 bits the high byte of each
// channel.
#pragma once
#include <cstdint>

#include "color/channels.h"
#include "internal/pixels.h"
#include "ruvokit/rvtypes.h"

namespace rv::color {

class PixelReader {
 public:
  enum class Kind : uint8_t { Index, Gray, Rgb16, Rgb24, Rgb32, Rgb48, Rgb64 };

  // Which tables of a gray record the reader may use.
  static constexpr uint32_t kLut = 1;    // pLUT
  static constexpr uint32_t kLut16 = 2;  // Rv_GetLUT16(bitmap, TRUE), pLUT16 of a full-form record

  // Whether the record has a table that `tables` allows (gray records only).
  static bool has_gray_table(const BITMAPRECORD *bitmap, uint32_t tables) noexcept;

  // Takes the format of the record: depth, order, palette, gray field of at
  // most `gray_width_limit` bits and the tables `tables` allows. SUCCESS;
  // ERROR_INVALID_PARAMETER for a depth the library doesn't have;
  // ERROR_LUT_LENGTH_INVALID_LUTLENGTH_SHOULD when a table in use is shorter
  // than the field's values.
  int32_t setup(const BITMAPRECORD *bitmap, uint32_t tables, int32_t gray_width_limit) noexcept;

  // Brings a wide-gamut row of 24 or 48 bits out of that order, in place
  // (48-bit rows stay 48-bit); other rows are left alone.
  int32_t prepare_row(uint8_t *row, int32_t width) const noexcept;

  Kind kind() const noexcept { return kind_; }
  int32_t bits() const noexcept { return bits_; }
  // The palette that depths 1 to 8 read: 256 entries.
  const RGBQUAD *palette() const noexcept { return palette_; }
  uint32_t gray_mask() const noexcept { return mask_; }
  bool gray_has_table() const noexcept { return lut16_ != nullptr || lut_ != nullptr; }

  // The palette index of pixel x of a row (Index).
  uint32_t index(const uint8_t *row, uint32_t x) const noexcept {
    return bits_ == 8 ? row[x] : px::get_packed(row, bits_, x);
  }
  // The gray field of pixel x of a row (Gray).
  uint32_t gray_field(const uint8_t *row, uint32_t x) const noexcept {
    uint32_t word;
    switch (bits_) {
      case 12: word = px::get12(row, x); break;
      case 16: word = static_cast<uint32_t>(row[2 * x]) | (static_cast<uint32_t>(row[2 * x + 1]) << 8); break;
      default: word = px::get_pixel(row, 32, x); break;
    }
    return static_cast<uint32_t>(static_cast<uint64_t>(word) >> shift_) & mask_;
  }
  // The colour of a gray field value.
  uint32_t gray_color(uint32_t v) const noexcept {
    if (lut16_ != nullptr) {
      const RGBQUAD16 &e = lut16_[v];
      return static_cast<uint32_t>(e.rgbBlue >> 8) | (static_cast<uint32_t>(e.rgbGreen >> 8) << 8) |
             (static_cast<uint32_t>(e.rgbRed >> 8) << 16);
    }
    if (lut_ != nullptr) return quad_color(lut_[v]);
    if (mask_ < 255) v = mask_ != 0 ? v * 255 / mask_ : 0;
    v &= 0xFF;
    return v * 0x010101u;
  }

  // The colour of pixel x of a row: blue in bits 0-7, green 8-15, red 16-23.
  uint32_t rgb(const uint8_t *row, uint32_t x) const noexcept {
    switch (kind_) {
      case Kind::Index: return quad_color(palette_[index(row, x)]);
      case Kind::Gray: return gray_color(gray_field(row, x));
      case Kind::Rgb16: return rgb16(static_cast<uint32_t>(row[2 * x]) | (static_cast<uint32_t>(row[2 * x + 1]) << 8));
      case Kind::Rgb24: return ordered(row + 3 * static_cast<uint64_t>(x), 1);
      case Kind::Rgb32: return ordered(row + 4 * static_cast<uint64_t>(x), 1);
      case Kind::Rgb48: return ordered(row + 6 * static_cast<uint64_t>(x) + 1, 2);
      case Kind::Rgb64: return ordered(row + 8 * static_cast<uint64_t>(x) + 1, 2);
    }
    return 0;
  }

  static uint32_t quad_color(const RGBQUAD &q) noexcept {
    return static_cast<uint32_t>(q.rgbBlue) | (static_cast<uint32_t>(q.rgbGreen) << 8) |
           (static_cast<uint32_t>(q.rgbRed) << 16);
  }

 private:
  // Three channels `step` bytes apart, red first or blue first.
  uint32_t ordered(const uint8_t *p, uint32_t step) const noexcept {
    const uint32_t first = p[0], second = p[step], third = p[2 * step];
    return red_first_ ? (third | (second << 8) | (first << 16)) : (first | (second << 8) | (third << 16));
  }
  uint32_t rgb16(uint32_t w) const noexcept;

  Kind kind_ = Kind::Index;
  int32_t bits_ = 8;
  int32_t order_ = ORDER_BGR;
  bool red_first_ = false;
  bool wide_gamut_ = false;
  uint32_t mask_ = 0;
  uint32_t shift_ = 0;
  const RGBQUAD16 *lut16_ = nullptr;
  const RGBQUAD *lut_ = nullptr;
  RGBQUAD palette_[256] = {};
};

inline uint32_t PixelReader::rgb16(uint32_t w) const noexcept {
  uint32_t red, green, blue;
  if (order_ == ORDER_BGR565) {
    red = channels::widen5((w >> 11) & 31);
    green = channels::widen6((w >> 5) & 63);
    blue = channels::widen5(w & 31);
  } else {
    const uint32_t high = channels::widen5((w >> 10) & 31), low = channels::widen5(w & 31);
    green = channels::widen5((w >> 5) & 31);
    red = red_first_ ? low : high;
    blue = red_first_ ? high : low;
  }
  return blue | (green << 8) | (red << 16);
}

}  // namespace rv::color
