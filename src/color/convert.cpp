// The conversion core. A conversion is planned once per pair of formats
// (Converter::prepare): the arguments are checked, the source and destination
// are sorted into classes, and the per-pair tables are built. Pixels then go
// through one decoder per source class and one encoder per destination
// class, a chunk at a time, over a small buffer on the stack: the rules of
// each source class live in its decoder alone. Fast paths for the common
// pairs (convert_x86.cpp) replace the chunk loop where the processor allows.
#include "color/convert.h"

#include <cstring>

#include "color/channels.h"
#include "color/grayscale.h"
#include "color/kernels.h"
#include "color/match.h"
#include "color/palette.h"
#include "internal/pixels.h"
#include "internal/simd.h"

namespace rv::color {

namespace detail {

// Pixels per chunk: a multiple of 8, so that every chunk of a packed depth
// starts on a byte.
constexpr uint32_t kChunk = 64;

struct Rgb16Px {
  uint16_t b, g, r, a;
};

union Chunk {
  uint32_t rgb8[kChunk];  // blue, green, red, alpha from the low byte up
  Rgb16Px rgb16[kChunk];
  uint8_t index[kChunk];
  uint32_t gray[kChunk];
};

}  // namespace detail

namespace {

using detail::Chunk;
using detail::DestClass;
using detail::Form;
using detail::kChunk;
using detail::Layout16;
using detail::Plan;
using detail::SourceClass;

// --- arithmetic ------------------------------------------------------------------------

// x shifted left by n, or right by -n; everything shifts out at 64 places.
constexpr uint64_t shift_by(uint64_t x, int32_t n) noexcept {
  if (n >= 64 || n <= -64) return 0;
  return n >= 0 ? x << n : x >> -n;
}

constexpr uint32_t field_mask(int32_t width) noexcept {
  if (width <= 0) return 0;
  return width >= 32 ? 0xFFFFFFFFu : (1u << width) - 1;
}

constexpr int32_t min32(int32_t a, int32_t b) noexcept { return a < b ? a : b; }

constexpr uint32_t bgra(uint32_t b, uint32_t g, uint32_t r, uint32_t a) noexcept {
  return b | (g << 8) | (r << 16) | (a << 24);
}
constexpr uint32_t blue_of(uint32_t c) noexcept { return c & 0xFF; }
constexpr uint32_t green_of(uint32_t c) noexcept { return (c >> 8) & 0xFF; }
constexpr uint32_t red_of(uint32_t c) noexcept { return (c >> 16) & 0xFF; }
constexpr uint32_t gray_of(uint32_t c) noexcept {
  return channels::gray(red_of(c), green_of(c), blue_of(c));
}

// An 8-bit gray g in a field of w bits shifted by s: for w above 8 the value
// is (g * (2^w - 1)) / 255, truncating; for w up to 8 the top w bits of g.
constexpr uint32_t place8(uint32_t g, int32_t w, int32_t s) noexcept {
  if (w > 32) w = 32;
  const uint64_t v = w > 8 ? ((static_cast<uint64_t>(g) << w) - g) / 255 : shift_by(g, w - 8);
  return static_cast<uint32_t>(shift_by(w > 0 ? v : 0, s));
}

// A 16-bit gray in a field of w bits: its top w bits, shifted by s.
constexpr uint32_t place16(uint32_t g, int32_t w, int32_t s) noexcept {
  return w > 0 ? static_cast<uint32_t>(shift_by(shift_by(g, w - 16), s)) : 0;
}

// A 16-bit gray scaled to a field of w bits: (G * (2^w - 1)) / 65535.
constexpr uint32_t scale16(uint32_t g, int32_t w, int32_t s) noexcept {
  if (w <= 0) return 0;
  if (w > 32) w = 32;
  return static_cast<uint32_t>(shift_by(((static_cast<uint64_t>(g) << w) - g) / 65535, s));
}

// The gray levels as a palette: plain gray is read as an 8-bit palette over it.
struct GrayRamp {
  RGBQUAD entries[256];
  constexpr GrayRamp() noexcept : entries() {
    for (int i = 0; i < 256; ++i) {
      const auto v = static_cast<uint8_t>(i);
      entries[i] = RGBQUAD{v, v, v, 0};
    }
  }
};
constexpr GrayRamp kGrayRamp;

// --- transparency ------------------------------------------------------------------------

// Alpha of a source without its own: 0 where the pixel is the transparent
// colour (compared at 8 bits) or, for a colour given as an index, where the
// source's index or gray value is that index.
inline uint32_t made_alpha(const Plan &p, uint32_t bgr) noexcept {
  return p.transparent && !p.transparent_by_index && (bgr & 0xFFFFFF) == p.transparent_bgr ? 0
                                                                                          : 255;
}
inline uint32_t made_alpha_indexed(const Plan &p, uint32_t bgr, uint32_t index) noexcept {
  if (p.transparent && p.transparent_by_index) return index == p.transparent_index ? 0 : 255;
  return made_alpha(p, bgr);
}

inline detail::Rgb16Px widen(uint32_t c) noexcept {
  return {channels::widen8(blue_of(c)), channels::widen8(green_of(c)), channels::widen8(red_of(c)),
          channels::widen8(c >> 24)};
}

// --- sources -------------------------------------------------------------------------------
// One decoder per source class. rgb8 gives blue, green, red and alpha in a
// word; rgb16 the 16-bit channels; gray the destination's gray word; index an
// index into the plan's index map.

struct PaletteSource {
  static constexpr bool kHasIndex = true;
  static uint32_t index(const Plan &p, const uint8_t *row, uint32_t i) noexcept {
    return p.src_pixel_bits == 8 ? row[i] : px::get_packed(row, p.src_pixel_bits, i);
  }
  static uint32_t rgb8(const Plan &p, const uint8_t *row, uint32_t i) noexcept {
    return p.source_colors[index(p, row, i)];
  }
  static detail::Rgb16Px rgb16(const Plan &p, const uint8_t *row, uint32_t i) noexcept {
    return widen(rgb8(p, row, i));
  }
  static uint32_t gray(const Plan &p, const uint8_t *row, uint32_t i) noexcept {
    return p.gray_place[index(p, row, i)];
  }
};

struct Rgb16Source {
  static constexpr bool kHasIndex = false;
  static uint32_t channels(const Plan &p, uint32_t word) noexcept {
    const Layout16 &l = p.src_layout;
    const uint32_t r = channels::widen5((word >> l.red_shift) & 31);
    const uint32_t b = channels::widen5((word >> l.blue_shift) & 31);
    const uint32_t g = l.green_bits == 6 ? channels::widen6((word >> l.green_shift) & 63)
                                         : channels::widen5((word >> l.green_shift) & 31);
    return bgra(b, g, r, 0);
  }
  static uint32_t rgb8(const Plan &p, const uint8_t *row, uint32_t i) noexcept {
    const uint32_t word = channels::load16(row + 2 * i);
    const uint32_t alpha = !p.c16_alpha_from_bit || (word & 0x8000) ? 255 : 0;
    return channels(p, word) | (alpha << 24);
  }
  static detail::Rgb16Px rgb16(const Plan &p, const uint8_t *row, uint32_t i) noexcept {
    const uint32_t word = channels::load16(row + 2 * i);
    return widen(channels(p, word) | ((word & 0x8000) ? 0xFF000000u : 0));
  }
  static uint32_t gray(const Plan &p, const uint8_t *row, uint32_t i) noexcept {
    return p.gray_place[gray_of(channels(p, channels::load16(row + 2 * i)))];
  }
};

// 24 and 32-bit colour: three bytes, and an alpha byte at 32 bits.
template <uint32_t kBytes>
struct ByteSource {
  static constexpr bool kHasIndex = false;
  static uint32_t rgb8(const Plan &p, const uint8_t *row, uint32_t i) noexcept {
    const uint8_t *q = row + kBytes * i;
    const uint32_t c = p.src_red_first ? bgra(q[2], q[1], q[0], 0) : bgra(q[0], q[1], q[2], 0);
    return c | ((kBytes == 4 ? q[3] : made_alpha(p, c)) << 24);
  }
  static detail::Rgb16Px rgb16(const Plan &p, const uint8_t *row, uint32_t i) noexcept {
    return widen(rgb8(p, row, i));
  }
  static uint32_t gray(const Plan &p, const uint8_t *row, uint32_t i) noexcept {
    return p.gray_place[gray_of(rgb8(p, row, i))];
  }
};

// 48 and 64-bit colour: 16-bit channels, and a 16-bit alpha at 64 bits. Where
// 8 bits are wanted, the high byte of each channel.
template <uint32_t kBytes>
struct WordSource {
  static constexpr bool kHasIndex = false;
  static detail::Rgb16Px rgb16(const Plan &p, const uint8_t *row, uint32_t i) noexcept {
    const uint8_t *q = row + kBytes * i;
    const uint16_t c0 = channels::load16(q), c1 = channels::load16(q + 2), c2 = channels::load16(q + 4);
    detail::Rgb16Px px = p.src_red_first ? detail::Rgb16Px{c2, c1, c0, 0}
                                         : detail::Rgb16Px{c0, c1, c2, 0};
    if (kBytes == 8) {
      px.a = channels::load16(q + 6);
    } else {
      px.a = static_cast<uint16_t>(made_alpha(p, high_bytes(px)) * 257);
    }
    return px;
  }
  static uint32_t high_bytes(const detail::Rgb16Px &px) noexcept {
    return bgra(channels::narrow16(px.b), channels::narrow16(px.g), channels::narrow16(px.r),
                channels::narrow16(px.a));
  }
  static uint32_t rgb8(const Plan &p, const uint8_t *row, uint32_t i) noexcept {
    return high_bytes(rgb16(p, row, i));
  }
  static uint32_t gray(const Plan &p, const uint8_t *row, uint32_t i) noexcept {
    const detail::Rgb16Px px = rgb16(p, row, i);
    const uint32_t field = p.dst_field_bits;
    if (field <= 8) return p.gray_place[gray_of(high_bytes(px))];
    const uint32_t deep = channels::gray(px.r, px.g, px.b);
    if (field < 32) return place16(deep, p.place_width, p.place_shift);
    // 32-bit gray takes a 16-bit value in both halves: the gray of the high
    // bytes from 48 bits, the full gray from 64.
    const uint32_t g = kBytes == 6 ? gray_of(high_bytes(px)) : deep;
    return static_cast<uint32_t>(shift_by(shift_by(g, p.place_width - 32), p.place_shift)) *
           0x10001u;
  }
};

// 12, 16 and 32-bit gray words, with or without a lookup table.
struct GrayWordSource {
  static constexpr bool kHasIndex = true;
  static uint32_t word(const Plan &p, const uint8_t *row, uint32_t i) noexcept {
    switch (p.gray_bits) {
      case 12: return px::get12(row, i);
      case 16: return channels::load16(row + 2 * i);
      default: return channels::load32(row + 4 * i);
    }
  }
  static uint32_t field(const Plan &p, uint32_t w) noexcept {
    return static_cast<uint32_t>(shift_by(w, -p.field_shift)) & p.field_mask;
  }
  static uint32_t index(const Plan &p, const uint8_t *row, uint32_t i) noexcept {
    return field(p, word(p, row, i)) & 0xFF;
  }
  static uint32_t rgb8(const Plan &p, const uint8_t *row, uint32_t i) noexcept {
    const uint32_t v = field(p, word(p, row, i));
    uint32_t c;
    if (p.lut16 != nullptr) {
      const RGBQUAD16 &e = p.lut16[v];
      c = bgra(channels::narrow16(e.rgbBlue), channels::narrow16(e.rgbGreen), channels::narrow16(e.rgbRed), 0);
    } else if (p.gray_palette != nullptr) {
      const RGBQUAD &e = p.gray_palette[v];
      c = bgra(e.rgbBlue, e.rgbGreen, e.rgbRed, 0);
    } else {
      // The low byte of the field, not scaled up when the field is narrower.
      c = bgra(v & 0xFF, v & 0xFF, v & 0xFF, 0);
    }
    return c | (made_alpha_indexed(p, c, v) << 24);
  }
  static detail::Rgb16Px rgb16(const Plan &p, const uint8_t *row, uint32_t i) noexcept {
    const uint32_t w = word(p, row, i);
    const uint32_t v = field(p, w);
    detail::Rgb16Px px;
    uint32_t c;
    if (p.lut16 != nullptr) {
      const RGBQUAD16 &e = p.lut16[v];
      px = {e.rgbBlue, e.rgbGreen, e.rgbRed, 0};
      c = bgra(channels::narrow16(e.rgbBlue), channels::narrow16(e.rgbGreen), channels::narrow16(e.rgbRed), 0);
    } else if (p.gray_palette != nullptr) {
      const RGBQUAD &e = p.gray_palette[v];
      c = bgra(e.rgbBlue, e.rgbGreen, e.rgbRed, 0);
      px = widen(c);
    } else {
      const auto level = static_cast<uint16_t>(
          p.field_mask != 0 ? static_cast<uint64_t>(v) * 65535 / p.field_mask : 0);
      px = {level, level, level, 0};
      c = bgra(level >> 8, level >> 8, level >> 8, 0);
    }
    px.a = p.alpha_from_top_byte ? static_cast<uint16_t>((w >> 24) * 257)
                                 : static_cast<uint16_t>(made_alpha_indexed(p, c, v) * 257);
    return px;
  }
  static uint32_t gray(const Plan &p, const uint8_t *row, uint32_t i) noexcept {
    const uint32_t w = word(p, row, i);
    const uint32_t field_bits = p.dst_field_bits;
    if (p.lut16 != nullptr || p.gray_palette != nullptr) {
      const uint32_t at = p.raw_index ? w : field(p, w);
      if (p.gray_palette != nullptr && p.lut16 == nullptr) {
        const RGBQUAD &e = p.gray_palette[at];
        return p.gray_place[channels::gray(e.rgbRed, e.rgbGreen, e.rgbBlue)];
      }
      const RGBQUAD16 &e = p.lut16[at];
      if (field_bits <= 8) return p.gray_place[(5u * e.rgbGreen + 2u * e.rgbRed + e.rgbBlue + 4) >> 11];
      const uint32_t deep = channels::gray(e.rgbRed, e.rgbGreen, e.rgbBlue);
      return p.src_range ? scale16(deep, static_cast<int32_t>(field_bits), 0)
                         : scale16(deep, p.place_width, p.place_shift);
    }
    if (p.dst_range) {
      // The top bits of the source word, placed in the destination's field.
      const int32_t down = p.gray_bits - p.place_width;
      uint32_t v;
      if (p.gray_signed && down > 0) {
        v = static_cast<uint32_t>(static_cast<int32_t>(static_cast<int16_t>(w)) >> (down < 31 ? down : 31));
      } else {
        v = static_cast<uint32_t>(shift_by(w, -down));
      }
      return static_cast<uint32_t>(shift_by(v, p.place_shift));
    }
    const uint32_t v = field(p, w);
    if (p.gray_bits == 32 && field_bits == 8) return scale_between(v, 0, p.field_mask, 255);
    if (p.field_width == static_cast<int32_t>(field_bits)) return v;
    // The field brought to the destination's full scale.
    const uint64_t full = (uint64_t{1} << field_bits) - 1;
    return p.field_mask != 0 ? static_cast<uint32_t>(v * full / p.field_mask) : 0;
  }
};

// --- destinations ------------------------------------------------------------------------

// The palette index of a colour: the match tree first, then the palette
// search, with the answers kept in a small cache for the rest of the run.
uint32_t palette_index(Plan &p, uint32_t c) noexcept {
  const uint32_t key = c & 0xFFFFFF;
  const uint32_t slot = (key * 0x9E3779B1u) >> (32 - 11);
  static_assert(Plan::kCacheSlots == 1u << 11);
  if (!p.cache_ready) {
    std::memset(p.cache_keys, 0xFF, sizeof(p.cache_keys));
    p.cache_ready = true;
  }
  if (p.cache_keys[slot] == key) return p.cache_index[slot];
  const auto red = static_cast<uint8_t>(red_of(c)), green = static_cast<uint8_t>(green_of(c)),
             blue = static_cast<uint8_t>(blue_of(c));
  int32_t index = p.match != nullptr ? match_find(p.match, red, green, blue) : -1;
  if (index < 0) index = find_palette_index(p.dst_palette, p.dst_colors, red, green, blue);
  p.cache_keys[slot] = key;
  p.cache_index[slot] = static_cast<uint8_t>(index);
  return p.cache_index[slot];
}

void put_index(const Plan &p, uint8_t *row, uint32_t i, uint32_t index) noexcept {
  if (p.dst_pixel_bits == 8) {
    row[i] = static_cast<uint8_t>(index);
  } else {
    px::put_packed(row, p.dst_pixel_bits, i, index);
  }
}

void encode_palette(Plan &p, const Chunk &chunk, uint8_t *row, uint32_t first,
                    uint32_t count) noexcept {
  if (p.form == Form::Index) {
    for (uint32_t i = 0; i < count; ++i) put_index(p, row, first + i, p.index_map[chunk.index[i]]);
  } else {
    for (uint32_t i = 0; i < count; ++i) put_index(p, row, first + i, palette_index(p, chunk.rgb8[i]));
  }
}

void encode_gray(Plan &p, const Chunk &chunk, uint8_t *row, uint32_t first, uint32_t count) noexcept {
  for (uint32_t i = 0; i < count; ++i) {
    const uint32_t v = chunk.gray[i];
    const uint32_t at = first + i;
    switch (p.dst_pixel_bits) {
      case 8: row[at] = static_cast<uint8_t>(v); break;
      case 12: px::put12(row, at, v & 0xFFF); break;
      case 16: channels::store16(row + 2 * at, v); break;
      case 32: channels::store32(row + 4 * at, v); break;
      default: px::put_packed(row, p.dst_pixel_bits, at, v); break;
    }
  }
}

void encode_rgb16(Plan &p, const Chunk &chunk, uint8_t *row, uint32_t first, uint32_t count) noexcept {
  const Layout16 &l = p.dst_layout;
  for (uint32_t i = 0; i < count; ++i) {
    const uint32_t c = chunk.rgb8[i];
    uint32_t word = ((red_of(c) >> 3) << l.red_shift) | ((blue_of(c) >> 3) << l.blue_shift) |
                    ((green_of(c) >> (8 - l.green_bits)) << l.green_shift);
    if (p.carry_alpha_bit && (c >> 31) != 0) word |= 0x8000;
    channels::store16(row + 2 * (first + i), word);
  }
}

template <uint32_t kBytes>
void encode_bytes(Plan &p, const Chunk &chunk, uint8_t *row, uint32_t first, uint32_t count) noexcept {
  for (uint32_t i = 0; i < count; ++i) {
    const uint32_t c = chunk.rgb8[i];
    uint8_t *q = row + kBytes * (first + i);
    q[0] = static_cast<uint8_t>(p.dst_red_first ? red_of(c) : blue_of(c));
    q[1] = static_cast<uint8_t>(green_of(c));
    q[2] = static_cast<uint8_t>(p.dst_red_first ? blue_of(c) : red_of(c));
    if (kBytes == 4) q[3] = static_cast<uint8_t>(c >> 24);
  }
}

template <uint32_t kBytes>
void encode_words(Plan &p, const Chunk &chunk, uint8_t *row, uint32_t first, uint32_t count) noexcept {
  for (uint32_t i = 0; i < count; ++i) {
    const detail::Rgb16Px &px = chunk.rgb16[i];
    uint8_t *q = row + kBytes * (first + i);
    channels::store16(q, p.dst_red_first ? px.r : px.b);
    channels::store16(q + 2, px.g);
    channels::store16(q + 4, p.dst_red_first ? px.b : px.r);
    if (kBytes == 8) channels::store16(q + 6, px.a);
  }
}

// --- decoding loops ---------------------------------------------------------------------

template <class Source>
void decode(const Plan &p, const uint8_t *row, uint32_t first, uint32_t count, Chunk &chunk) noexcept {
  switch (p.form) {
    case Form::Rgb8:
      for (uint32_t i = 0; i < count; ++i) chunk.rgb8[i] = Source::rgb8(p, row, first + i);
      break;
    case Form::Rgb16:
      for (uint32_t i = 0; i < count; ++i) chunk.rgb16[i] = Source::rgb16(p, row, first + i);
      break;
    case Form::Gray:
      for (uint32_t i = 0; i < count; ++i) chunk.gray[i] = Source::gray(p, row, first + i);
      break;
    case Form::Index:
      if constexpr (Source::kHasIndex) {
        for (uint32_t i = 0; i < count; ++i) {
          chunk.index[i] = static_cast<uint8_t>(Source::index(p, row, first + i));
        }
      }
      break;
  }
}

detail::DecodeFn decoder_of(SourceClass source) noexcept {
  switch (source) {
    case SourceClass::Palette: return &decode<PaletteSource>;
    case SourceClass::Rgb16: return &decode<Rgb16Source>;
    case SourceClass::Rgb24: return &decode<ByteSource<3>>;
    case SourceClass::Rgb32: return &decode<ByteSource<4>>;
    case SourceClass::Rgb48: return &decode<WordSource<6>>;
    case SourceClass::Rgb64: return &decode<WordSource<8>>;
    case SourceClass::GrayWord: return &decode<GrayWordSource>;
  }
  return nullptr;
}

detail::EncodeFn encoder_of(DestClass dest) noexcept {
  switch (dest) {
    case DestClass::Palette: return &encode_palette;
    case DestClass::Gray: return &encode_gray;
    case DestClass::Rgb16: return &encode_rgb16;
    case DestClass::Rgb24: return &encode_bytes<3>;
    case DestClass::Rgb32: return &encode_bytes<4>;
    case DestClass::Rgb48: return &encode_words<6>;
    case DestClass::Rgb64: return &encode_words<8>;
  }
  return nullptr;
}

// --- wide gamut ----------------------------------------------------------------------------
// A fixed matrix at 13 fractional bits between the stored values of the order
// and blue-green-red, with no gamma step. Into the order the sums are shifted
// (the 16-bit form kept within 65535); out of it they are divided, truncating
// towards zero, and clamped.

constexpr int32_t kIntoGamut[3][3] = {{7151, 897, 145}, {394, 7067, 731}, {1067, 2841, 4284}};
constexpr int32_t kOutOfGamut[3][3] = {
    {9467, -1151, -125}, {-305, 10232, -1735}, {-2156, -6498, 16846}};

template <bool kInto>
void apply_gamut(uint8_t *row, uint32_t width, bool wide) noexcept {
  const int32_t limit = wide ? 65535 : 255;
  const uint32_t step = wide ? 6 : 3;
  for (uint32_t i = 0; i < width; ++i) {
    uint8_t *q = row + static_cast<uint64_t>(step) * i;
    int64_t in[3];
    for (int k = 0; k < 3; ++k) in[k] = wide ? channels::load16(q + 2 * k) : q[k];
    for (int k = 0; k < 3; ++k) {
      int64_t v;
      if (kInto) {
        v = (kIntoGamut[k][0] * in[0] + kIntoGamut[k][1] * in[1] + kIntoGamut[k][2] * in[2] + 4095) >> 13;
      } else {
        v = (kOutOfGamut[k][0] * in[0] + kOutOfGamut[k][1] * in[1] + kOutOfGamut[k][2] * in[2] + 4095) / 8192;
        if (v < 0) v = 0;
      }
      if (v > limit) v = limit;
      if (wide) {
        channels::store16(q + 2 * k, static_cast<uint32_t>(v));
      } else {
        q[k] = static_cast<uint8_t>(v);
      }
    }
  }
}

// --- planning ----------------------------------------------------------------------------

bool valid_depth(int32_t bits) noexcept {
  switch (bits) {
    case 0: case 1: case 2: case 3: case 4: case 5: case 6: case 7: case 8:
    case 12: case 16: case 24: case 32: case 48: case 64:
      return true;
    default:
      return false;
  }
}

bool color_order(int32_t order) noexcept { return order == ORDER_RGB || order == ORDER_BGR; }

bool source_order_ok(int32_t bits, int32_t order) noexcept {
  switch (bits) {
    case 16: return color_order(order) || order == ORDER_BGR565 || order == ORDER_GRAY;
    case 24: case 48: return color_order(order) || order == ORDER_WIDE_GAMUT;
    case 32: return color_order(order) || order == ORDER_GRAY;
    case 64: return color_order(order);
    default: return true;
  }
}

bool dest_order_ok(int32_t bits, int32_t order, bool plain_source) noexcept {
  switch (bits) {
    case 16: return color_order(order) || order == ORDER_BGR565 || order == ORDER_GRAY;
    case 24: case 48: case 64: return color_order(order) || order == ORDER_WIDE_GAMUT;
    case 32:
      return color_order(order) || order == ORDER_GRAY ||
             (plain_source && order == ORDER_WIDE_GAMUT);
    default: return true;
  }
}

Layout16 layout_of(int32_t order) noexcept {
  switch (order) {
    case ORDER_RGB: return {0, 5, 5, 10};
    case ORDER_BGR565: return {11, 5, 6, 0};
    default: return {10, 5, 5, 0};
  }
}

// Where a gray value lands in a gray destination of `field` bits for the
// sources without a gray word (palettes, plain gray, 24, 48 and 64 bits):
// the whole field, or the destination range.
void place_in_range(const ConvertArgs &a, const Plan &p, bool deep_source, int32_t *w, int32_t *s) noexcept {
  const int32_t field = p.dst_field_bits;
  if (!p.dst_range) {
    *w = field;
    *s = 0;
    return;
  }
  const int32_t low = a.low_bit > 0 ? a.low_bit : 0;
  const int32_t high = a.high_bit >= 0 ? a.high_bit : (deep_source ? 15 : field - 1);
  *w = min32(high - low + 1, field);
  *s = high - *w + 1;
}

// The gray plan of 16 and 32-bit colour sources: with a destination range,
// the field capped by the tables passed; without one, 32-bit gray takes fixed
// scales and the other depths an 8-bit (or 16-bit) field at the top.
void plan_color_word_gray(const ConvertArgs &a, Plan &p) noexcept {
  const int32_t field = p.dst_field_bits;
  const bool is16 = p.source == SourceClass::Rgb16;
  if (!p.dst_range && field == 32) {
    for (uint32_t g = 0; g < 256; ++g) p.gray_place[g] = is16 ? g * 0x01010101u : g * 257u;
    return;
  }
  int32_t w, s;
  if (p.dst_range) {
    const int32_t low = a.low_bit > 0 ? a.low_bit : 0;
    const int32_t high = a.high_bit >= 0 ? a.high_bit : field - 1;
    const int32_t cap = a.lut16 != nullptr ? 16 : (a.src_palette != nullptr ? 8 : field);
    w = min32(high - low + 1, cap);
    s = high - w + 1;
  } else {
    const bool wide = is16 ? field == 16 : a.lut16 != nullptr;
    w = min32(field, wide ? 16 : 8);
    s = field - w;
  }
  for (uint32_t g = 0; g < 256; ++g) p.gray_place[g] = place8(g, w, s);
}

// The field of a gray word and where its table's gray goes.
void plan_gray_word(const ConvertArgs &a, Plan &p) noexcept {
  const int32_t bits = p.gray_bits;
  const bool table = a.lut16 != nullptr || a.src_palette != nullptr;
  const bool to_gray = p.dest == DestClass::Gray;
  const int32_t field = to_gray ? p.dst_field_bits : a.dst_bits;
  const int32_t low = a.low_bit > 0 ? a.low_bit : 0;
  int32_t high = bits - 1;
  int32_t w = bits;
  p.raw_index = to_gray && !p.src_range;
  if (p.src_range) {
    high = a.high_bit >= 0 ? a.high_bit : bits - 1;
    int32_t cap = bits;
    if (!table) {
      switch (a.dst_bits) {
        case 48: case 64: cap = 16; break;
        case 32: cap = to_gray ? 32 : 8; break;
        case 16: cap = to_gray ? 16 : 8; break;
        case 0: case 24: cap = 8; break;
        default: cap = a.dst_bits; break;  // 1 to 15
      }
    }
    w = min32(high - low + 1, cap);
  } else if (p.dst_range) {
    high = a.high_bit >= 0 ? a.high_bit : field - 1;
    int32_t cap = a.lut16 != nullptr ? 16 : (a.src_palette != nullptr ? 8 : field);
    if (bits == 12) cap = min32(cap, 12);
    w = min32(high - low + 1, cap);
  } else if (to_gray && table) {
    high = field - 1;
    if (bits == 12) {
      w = 12;
    } else if (bits == 16) {
      w = min32(field, field == 16 ? 16 : 8);
    } else {
      w = min32(field, a.lut16 != nullptr ? 16 : 8);
    }
  } else if (!table) {
    int32_t cap = 8;
    if (a.dst_bits == 48 || a.dst_bits == 64) {
      cap = 16;
    } else if (to_gray) {
      cap = bits == 12 && field <= 16 ? 16 : field;
    }
    w = min32(bits, cap);
  }
  const int32_t s = high - w + 1;
  p.field_width = w;
  p.field_shift = s;
  p.field_mask = field_mask(w);
  p.place_width = w;
  p.place_shift = s;
  // A table's gray under a source range fills the destination's whole field.
  if (to_gray && table) {
    const int32_t pw = p.src_range ? field : w;
    const int32_t ps = p.src_range ? 0 : s;
    for (uint32_t g = 0; g < 256; ++g) p.gray_place[g] = place8(g, pw, ps);
  }
}

bool identity_words(const uint32_t *table, uint32_t count) noexcept {
  for (uint32_t i = 0; i < count; ++i) {
    if (table[i] != i) return false;
  }
  return true;
}

void choose_kernel(Plan &p) noexcept;

int32_t build_plan(const ConvertArgs &a, Plan &p) noexcept {
  uint32_t flags = a.flags;
  if (a.src_order == ORDER_GRAY) {
    flags |= CONVERT_SRC_GRAY;
  } else {
    flags &= ~(CONVERT_SRC_GRAY | CONVERT_SRC_BITRANGE);
  }
  if (a.dst_order == ORDER_GRAY) {
    flags |= CONVERT_DST_GRAY;
  } else {
    flags &= ~CONVERT_DST_GRAY;
  }
  if ((flags & CONVERT_SRC_BITRANGE) && (flags & CONVERT_DST_BITRANGE)) return ERROR_INVALID_PARAMETER;
  if ((flags & CONVERT_DST_BITRANGE) && !(flags & CONVERT_DST_GRAY)) return ERROR_INVALID_PARAMETER;
  if ((a.src_bits == 12 && !(flags & CONVERT_SRC_GRAY)) ||
      (a.dst_bits == 12 && !(flags & CONVERT_DST_GRAY))) {
    return ERROR_INVALID_PARAMETER;
  }
  const int32_t dst_field = a.dst_bits == 0 ? 8 : a.dst_bits;
  // A range that asks for the whole word is no range.
  const bool whole_word = a.low_bit <= 0;
  if ((flags & CONVERT_SRC_BITRANGE) && whole_word &&
      (a.high_bit < 0 || a.high_bit == a.src_bits - 1)) {
    flags &= ~CONVERT_SRC_BITRANGE;
  }
  if ((flags & CONVERT_DST_BITRANGE) && whole_word &&
      (a.high_bit < 0 || a.high_bit == dst_field - 1)) {
    flags &= ~CONVERT_DST_BITRANGE;
  }
  if (!valid_depth(a.src_bits) || !valid_depth(a.dst_bits)) return ERROR_INVALID_PARAMETER;
  if (!source_order_ok(a.src_bits, a.src_order)) return ERROR_INVALID_PARAMETER;

  // A source in the wide-gamut order is brought out of it before anything
  // else, even before the destination is checked.
  const bool src_gamut = a.src_order == ORDER_WIDE_GAMUT;
  const bool dst_gamut = a.dst_order == ORDER_WIDE_GAMUT;
  p.gamut_out_first = src_gamut && !dst_gamut;
  p.deferred_status = SUCCESS;
  if (!dest_order_ok(a.dst_bits, a.dst_order, a.src_bits == 0)) {
    if (!p.gamut_out_first) return ERROR_INVALID_PARAMETER;
    p.deferred_status = ERROR_INVALID_PARAMETER;
    return SUCCESS;
  }
  p.gamut_into = 0;
  p.gamut_48_quirk = false;
  if (dst_gamut && !src_gamut) {
    p.gamut_into = a.dst_bits == 24 || a.dst_bits == 48 ? a.dst_bits : -1;
    p.gamut_48_quirk = a.src_bits == 48;
  }
  const int32_t src_order = src_gamut ? ORDER_BGR : a.src_order;
  const int32_t dst_order = dst_gamut ? ORDER_BGR : a.dst_order;

  const bool src_gray = (flags & CONVERT_SRC_GRAY) != 0;
  const bool dst_gray = (flags & CONVERT_DST_GRAY) != 0;
  switch (a.src_bits) {
    case 12: p.source = SourceClass::GrayWord; break;
    case 16: p.source = src_gray ? SourceClass::GrayWord : SourceClass::Rgb16; break;
    case 24: p.source = SourceClass::Rgb24; break;
    case 32: p.source = src_gray ? SourceClass::GrayWord : SourceClass::Rgb32; break;
    case 48: p.source = SourceClass::Rgb48; break;
    case 64: p.source = SourceClass::Rgb64; break;
    default: p.source = SourceClass::Palette; break;
  }
  if (a.dst_bits == 0 || dst_gray) {
    p.dest = DestClass::Gray;
  } else {
    switch (a.dst_bits) {
      case 16: p.dest = DestClass::Rgb16; break;
      case 24: p.dest = DestClass::Rgb24; break;
      case 32: p.dest = DestClass::Rgb32; break;
      case 48: p.dest = DestClass::Rgb48; break;
      case 64: p.dest = DestClass::Rgb64; break;
      default: p.dest = DestClass::Palette; break;
    }
  }
  p.src_pixel_bits = static_cast<uint8_t>(a.src_bits == 0 ? 8 : a.src_bits);
  p.dst_pixel_bits = static_cast<uint8_t>(dst_field);
  p.dst_field_bits = static_cast<uint8_t>(dst_field);
  p.src_red_first = src_order == ORDER_RGB;
  p.dst_red_first = dst_order == ORDER_RGB;
  p.src_layout = layout_of(src_order);
  p.dst_layout = layout_of(dst_order);
  p.carry_alpha_bit = p.source == SourceClass::Rgb16 && p.dest == DestClass::Rgb16 &&
                      src_order != ORDER_BGR565 && dst_order != ORDER_BGR565;
  p.c16_alpha_from_bit = p.carry_alpha_bit || p.dest == DestClass::Rgb64;
  p.src_range = (flags & CONVERT_SRC_BITRANGE) != 0;
  p.dst_range = (flags & CONVERT_DST_BITRANGE) != 0;
  p.gray_bits = static_cast<uint8_t>(a.src_bits);
  p.gray_signed = (flags & CONVERT_SIGNED) != 0 && a.src_bits == 16;
  p.alpha_from_top_byte = p.source == SourceClass::GrayWord && a.src_bits == 32 &&
                          p.dest == DestClass::Rgb64;
  p.transparent = (flags & CONVERT_TRANSPARENT) != 0;
  p.transparent_by_index = RV_COLOR_FLAGS(a.transparent) == 0x01;
  p.transparent_index = static_cast<uint8_t>(a.transparent);
  p.transparent_bgr = bgra(RV_GET_B(a.transparent), RV_GET_G(a.transparent), RV_GET_R(a.transparent), 0);
  p.gray_palette = nullptr;
  p.lut16 = nullptr;
  p.match = a.match;
  p.cache_ready = false;
  p.kernel = nullptr;
  p.nothing_to_do = false;
  p.dst_palette = nullptr;
  p.dst_colors = 0;
  p.field_shift = 0;
  p.field_width = 0;
  p.field_mask = 0;
  p.place_width = dst_field;
  p.place_shift = 0;
  p.raw_index = false;
  if (p.dest == DestClass::Palette) {
    p.dst_palette = palette_or_fixed(a.dst_palette, a.dst_bits);
    p.dst_colors = 1 << a.dst_bits;
  }

  // The intermediate form of the pair.
  switch (p.dest) {
    case DestClass::Palette:
      p.form = p.source == SourceClass::Palette ||
                       (p.source == SourceClass::GrayWord && a.lut16 == nullptr &&
                        a.src_palette == nullptr)
                   ? Form::Index
                   : Form::Rgb8;
      break;
    case DestClass::Gray: p.form = Form::Gray; break;
    case DestClass::Rgb48: case DestClass::Rgb64: p.form = Form::Rgb16; break;
    default: p.form = Form::Rgb8; break;
  }

  if (p.source == SourceClass::Rgb24 || p.source == SourceClass::Rgb48 || p.source == SourceClass::Rgb64) {
    place_in_range(a, p, p.source != SourceClass::Rgb24, &p.place_width, &p.place_shift);
  }
  // Pairs whose destination form is their source form.
  if (p.dest != DestClass::Palette && p.dest != DestClass::Gray) {
    const bool same_class = (p.source == SourceClass::Rgb24 && p.dest == DestClass::Rgb24) ||
                            (p.source == SourceClass::Rgb32 && p.dest == DestClass::Rgb32) ||
                            (p.source == SourceClass::Rgb48 && p.dest == DestClass::Rgb48) ||
                            (p.source == SourceClass::Rgb64 && p.dest == DestClass::Rgb64);
    if (same_class && p.src_red_first == p.dst_red_first) p.nothing_to_do = true;
    if (p.source == SourceClass::Rgb16 && p.dest == DestClass::Rgb16 && src_order == dst_order) {
      p.nothing_to_do = true;
    }
  }
  p.decode = decoder_of(p.source);
  p.encode = encoder_of(p.dest);
  choose_kernel(p);

  // The tables of the source class; a fast path needs none but a palette's
  // colours.
  switch (p.source) {
    case SourceClass::Palette: {
      const bool plain = a.src_bits == 0;
      const RGBQUAD *palette = plain ? kGrayRamp.entries : palette_or_fixed(a.src_palette, a.src_bits);
      const uint32_t count = 1u << p.src_pixel_bits;
      if (p.form == Form::Index) {
        const bool identity = Rv_IntMapPalette(plain ? nullptr : palette, static_cast<int32_t>(count),
                                               p.dst_palette, p.dst_colors, p.index_map) != 0;
        p.nothing_to_do = identity && p.src_pixel_bits == p.dst_pixel_bits;
      } else if (p.form == Form::Gray) {
        int32_t w, s;
        place_in_range(a, p, false, &w, &s);
        for (uint32_t i = 0; i < count; ++i) {
          const RGBQUAD &e = palette[i];
          p.gray_place[i] = place8(channels::gray(e.rgbRed, e.rgbGreen, e.rgbBlue), w, s);
        }
        p.nothing_to_do = p.src_pixel_bits == p.dst_pixel_bits && identity_words(p.gray_place, count);
      } else {
        for (uint32_t i = 0; i < count; ++i) {
          const RGBQUAD &e = palette[i];
          const uint32_t c = bgra(e.rgbBlue, e.rgbGreen, e.rgbRed, 0);
          p.source_colors[i] = c | (made_alpha_indexed(p, c, i) << 24);
        }
      }
      break;
    }
    case SourceClass::GrayWord:
      p.lut16 = a.lut16;
      p.gray_palette = a.lut16 == nullptr ? a.src_palette : nullptr;
      plan_gray_word(a, p);
      if (p.form == Form::Index) {
        Rv_IntMapPalette(nullptr, 256, p.dst_palette, p.dst_colors, p.index_map);
      }
      break;
    case SourceClass::Rgb16:
    case SourceClass::Rgb32:
      if (p.form == Form::Gray && p.kernel == nullptr) plan_color_word_gray(a, p);
      break;
    case SourceClass::Rgb24:
    case SourceClass::Rgb48:
    case SourceClass::Rgb64:
      if (p.form == Form::Gray && p.kernel == nullptr) {
        for (uint32_t g = 0; g < 256; ++g) p.gray_place[g] = place8(g, p.place_width, p.place_shift);
      }
      break;
  }
  return SUCCESS;
}

// --- fast paths ---------------------------------------------------------------------------

#ifdef RV_COLOR_X86_KERNELS
bool swaps(const Plan &p) noexcept { return p.src_red_first != p.dst_red_first; }
kernels::Rgb16Layout kernel_layout(const Layout16 &l) noexcept {
  return {l.red_shift, l.green_bits, l.blue_shift};
}

void run_swap24(const Plan &, uint8_t *row, uint32_t n) noexcept {
  kernels::ssse3::swap24(row, static_cast<int32_t>(n));
}
void run_24_to_32(const Plan &p, uint8_t *row, uint32_t n) noexcept {
  kernels::ssse3::rgb24_to_32(row, static_cast<int32_t>(n), swaps(p));
}
void run_24_to_32_avx2(const Plan &p, uint8_t *row, uint32_t n) noexcept {
  kernels::avx2::rgb24_to_32(row, static_cast<int32_t>(n), swaps(p));
}
void run_32_to_24(const Plan &p, uint8_t *row, uint32_t n) noexcept {
  kernels::ssse3::rgb32_to_24(row, static_cast<int32_t>(n), swaps(p));
}
void run_24_to_48(const Plan &p, uint8_t *row, uint32_t n) noexcept {
  kernels::ssse3::rgb24_to_48(row, static_cast<int32_t>(n), swaps(p));
}
void run_48_to_24(const Plan &p, uint8_t *row, uint32_t n) noexcept {
  kernels::ssse3::rgb48_to_24(row, static_cast<int32_t>(n), swaps(p));
}
void run_24_to_16(const Plan &p, uint8_t *row, uint32_t n) noexcept {
  kernels::ssse3::rgb24_to_16(row, static_cast<int32_t>(n), kernel_layout(p.dst_layout), p.src_red_first);
}
void run_16_to_24(const Plan &p, uint8_t *row, uint32_t n) noexcept {
  kernels::ssse3::rgb16_to_24(row, static_cast<int32_t>(n), kernel_layout(p.src_layout), p.dst_red_first);
}
void run_16_to_24_avx2(const Plan &p, uint8_t *row, uint32_t n) noexcept {
  kernels::avx2::rgb16_to_24(row, static_cast<int32_t>(n), kernel_layout(p.src_layout), p.dst_red_first);
}
void run_24_to_gray8(const Plan &p, uint8_t *row, uint32_t n) noexcept {
  kernels::ssse3::rgb24_to_gray8(row, static_cast<int32_t>(n), p.src_red_first);
}
void run_index8_to_24(const Plan &p, uint8_t *row, uint32_t n) noexcept {
  kernels::ssse3::index8_to_24(row, static_cast<int32_t>(n), p.source_colors, p.dst_red_first);
}
void run_index1_to_24(const Plan &p, uint8_t *row, uint32_t n) noexcept {
  kernels::ssse3::index1_to_24(row, static_cast<int32_t>(n), p.source_colors, p.dst_red_first);
}

// The fast path of a pair, if it has one.
detail::KernelFn kernel_of(const Plan &p) noexcept {
  const SourceClass s = p.source;
  const DestClass d = p.dest;
  if (s == SourceClass::Rgb24) {
    switch (d) {
      case DestClass::Rgb24: return swaps(p) ? &run_swap24 : nullptr;
      case DestClass::Rgb32:
        if (p.transparent) return nullptr;
        return simd::level() == simd::Level::Avx2 ? &run_24_to_32_avx2 : &run_24_to_32;
      case DestClass::Rgb48: return &run_24_to_48;
      case DestClass::Rgb16: return &run_24_to_16;
      case DestClass::Gray:
        // The whole 8-bit field: the gray as it is.
        return p.dst_pixel_bits == 8 && p.place_width == 8 && p.place_shift == 0 ? &run_24_to_gray8
                                                                                 : nullptr;
      default: return nullptr;
    }
  }
  if (s == SourceClass::Rgb32 && d == DestClass::Rgb24) return &run_32_to_24;
  if (s == SourceClass::Rgb48 && d == DestClass::Rgb24) return &run_48_to_24;
  if (s == SourceClass::Rgb16 && d == DestClass::Rgb24) {
    return simd::level() == simd::Level::Avx2 ? &run_16_to_24_avx2 : &run_16_to_24;
  }
  if (s == SourceClass::Palette && d == DestClass::Rgb24) {
    if (p.src_pixel_bits == 8) return &run_index8_to_24;
    if (p.src_pixel_bits == 1) return &run_index1_to_24;
  }
  return nullptr;
}
#endif

void choose_kernel(Plan &p) noexcept {
#ifdef RV_COLOR_X86_KERNELS
  if (simd::level() != simd::Level::Plain && !p.nothing_to_do) p.kernel = kernel_of(p);
#else
  (void)p;
#endif
}

}  // namespace

// --- the converter -------------------------------------------------------------------------

int32_t Converter::prepare(const ConvertArgs &args) noexcept {
  status_ = build_plan(args, plan_);
  return status_ != SUCCESS ? status_ : plan_.deferred_status;
}

int32_t Converter::convert(void *buffer, int32_t width) noexcept {
  if (buffer == nullptr || width <= 0) return ERROR_INVALID_PARAMETER;
  if (status_ != SUCCESS) return status_;
  Plan &p = plan_;
  auto *row = static_cast<uint8_t *>(buffer);
  const auto count = static_cast<uint32_t>(width);
  if (p.gamut_out_first) apply_gamut<false>(row, count, p.src_pixel_bits == 48);
  if (p.deferred_status != SUCCESS) return p.deferred_status;
  if (p.nothing_to_do) {
    // The bytes are already the destination's.
  } else if (p.kernel != nullptr) {
    p.kernel(p, row, count);
  } else {
    Chunk chunk;
    const uint8_t *src = row;
    const bool grows = p.dst_pixel_bits > p.src_pixel_bits;
    const bool moved = grows && p.dst_pixel_bits % 8 == 0;
    if (moved) {
      // Growing into whole bytes: the source moves to the end of the
      // destination's bytes and the chunks then go forward, so that no
      // source pixel is overwritten before it is read and both streams rise.
      const uint64_t src_bytes = (uint64_t{count} * p.src_pixel_bits + 7) / 8;
      const uint64_t dst_bytes = uint64_t{count} * (p.dst_pixel_bits / 8);
      src = row + (dst_bytes - src_bytes);
      std::memmove(row + (dst_bytes - src_bytes), row, src_bytes);
    }
    if (grows && !moved) {
      // Growing into packed pixels, whose spare bits must stay: from the
      // last chunk to the first.
      for (uint32_t first = (count - 1) / kChunk * kChunk;; first -= kChunk) {
        const uint32_t n = count - first < kChunk ? count - first : kChunk;
        p.decode(p, row, first, n, chunk);
        p.encode(p, chunk, row, first, n);
        if (first == 0) break;
      }
    } else {
      for (uint32_t first = 0; first < count; first += kChunk) {
        const uint32_t n = count - first < kChunk ? count - first : kChunk;
        p.decode(p, src, first, n, chunk);
        p.encode(p, chunk, row, first, n);
      }
    }
  }
  // A 48-bit source going into the wide-gamut order matrixes the buffer as
  // 48-bit pixels itself, whatever it has become; the destination's matrix
  // follows, so 48 to 48 bits is matrixed twice. Both are kept as they are.
  if (p.gamut_48_quirk) apply_gamut<true>(row, count, true);
  if (p.gamut_into == 24) apply_gamut<true>(row, count, false);
  if (p.gamut_into == 48) apply_gamut<true>(row, count, true);
  if (p.gamut_into < 0) return ERROR_FEATURE_NOT_SUPPORTED;
  return SUCCESS;
}

int32_t convert_buffer(void *buffer, int32_t width, const ConvertArgs &args) noexcept {
  if (buffer == nullptr || width == 0) return ERROR_INVALID_PARAMETER;
  Converter converter;
  // A destination refused after a wide-gamut source is reported by convert(),
  // once the source's matrix has been applied.
  converter.prepare(args);
  return converter.convert(buffer, width);
}

}  // namespace rv::color
