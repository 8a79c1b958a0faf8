// Setting a pixel reader up for a record, and the wide-gamut step of its rows.
#include "color/pixel_reader.h"

#include <cstring>

#include "color/convert.h"
#include "color/palette.h"
#include "internal/record.h"
#include "ruvokit/rvbitmap.h"

namespace rv::color {

namespace {

bool is_gray_word(const BITMAPRECORD *bitmap) noexcept {
  const int32_t bits = bitmap->nBitsPerPixel;
  return bits == 12 || ((bits == 16 || bits == 32) && bitmap->nOrder == ORDER_GRAY);
}

const RGBQUAD16 *lut16_of(const BITMAPRECORD *bitmap, uint32_t tables) noexcept {
  return (tables & PixelReader::kLut16) != 0 ? Rv_GetLUT16(bitmap, TRUE) : nullptr;
}

const RGBQUAD *lut_of(const BITMAPRECORD *bitmap, uint32_t tables) noexcept {
  return (tables & PixelReader::kLut) != 0 ? bitmap->pLUT : nullptr;
}

}  // namespace

bool PixelReader::has_gray_table(const BITMAPRECORD *bitmap, uint32_t tables) noexcept {
  return is_gray_word(bitmap) && (lut16_of(bitmap, tables) != nullptr || lut_of(bitmap, tables) != nullptr);
}

int32_t PixelReader::setup(const BITMAPRECORD *bitmap, uint32_t tables,
                           int32_t gray_width_limit) noexcept {
  bits_ = bitmap->nBitsPerPixel;
  order_ = bitmap->nOrder;
  red_first_ = order_ == ORDER_RGB;
  wide_gamut_ = order_ == ORDER_WIDE_GAMUT && (bits_ == 24 || bits_ == 48);
  lut16_ = nullptr;
  lut_ = nullptr;
  std::memset(palette_, 0, sizeof(palette_));
  if (!px::is_valid_depth(bits_)) return ERROR_INVALID_PARAMETER;

  if (bits_ <= 8) {
    kind_ = Kind::Index;
    const int32_t entries = 1 << bits_;
    const RGBQUAD *source = bitmap->pPalette;
    int32_t count = bitmap->nColors < entries ? bitmap->nColors : entries;
    if (source == nullptr) {
      source = fixed_palette(bits_);
      count = entries;
    }
    if (count > 0) std::memcpy(palette_, source, sizeof(RGBQUAD) * static_cast<size_t>(count));
    return SUCCESS;
  }

  if (is_gray_word(bitmap)) {
    kind_ = Kind::Gray;
    uint32_t width = 0;
    Rv_GetGrayParams(bits_, gray_width_limit, bitmap->nLowBit, bitmap->nHighBit, &width, &mask_,
                     &shift_);
    if (shift_ > 63) shift_ = 63;  // a field past the word reads as 0
    lut16_ = lut16_of(bitmap, tables);
    lut_ = lut16_ == nullptr ? lut_of(bitmap, tables) : nullptr;
    // Every value of the field must have its entry.
    const uint64_t values = uint64_t{mask_} + 1;
    if (lut16_ != nullptr && bitmap->uLUT16Length < values) {
      return ERROR_LUT_LENGTH_INVALID_LUTLENGTH_SHOULD;
    }
    if (lut_ != nullptr && bitmap->uLUTLength < values) {
      return ERROR_LUT_LENGTH_INVALID_LUTLENGTH_SHOULD;
    }
    return SUCCESS;
  }

  switch (bits_) {
    case 16: kind_ = Kind::Rgb16; break;
    case 24: kind_ = Kind::Rgb24; break;
    case 32: kind_ = Kind::Rgb32; break;
    case 48: kind_ = Kind::Rgb48; break;
    default: kind_ = Kind::Rgb64; break;
  }
  return SUCCESS;
}

int32_t PixelReader::prepare_row(uint8_t *row, int32_t width) const noexcept {
  if (!wide_gamut_ || width < 1) return SUCCESS;
  ConvertArgs args;
  args.src_bits = bits_;
  args.dst_bits = bits_;
  args.src_order = ORDER_WIDE_GAMUT;
  args.dst_order = ORDER_BGR;
  return convert_buffer(row, width, args);
}

}  // namespace rv::color
