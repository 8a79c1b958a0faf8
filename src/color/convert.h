// The conversion core: the one definition of what a pixel of one format is
// in another. Every operation that moves pixels between formats (colour
// resolution, resize, rotate, paint, device-independent bitmaps...) comes
// through here, usually through Converter so that the tables of a format pair
// are built once for many rows.
//
//   rv::color::ConvertArgs args;            // formats as Rv_IntConvertBuffer takes them
//   args.src_bits = 24; args.dst_bits = 8; args.dst_palette = palette; ...
//   rv::color::Converter converter;         // on the stack; no heap
//   int32_t status = converter.prepare(args);
//   for (each row) status = converter.convert(row_buffer, width);
//
// A conversion works in place: the buffer holds the source pixels on entry
// and the destination pixels on return, and must hold the larger of the two
// forms (Rv_CalcConvertSize). Pixels that grow are walked from the last to
// the first, pixels that shrink from the first to the last.
#pragma once
#include <cstdint>

#include "ruvokit/rvcolor.h"

namespace rv::color {

// The arguments of Rv_IntConvertBuffer, the buffer and width aside.
struct ConvertArgs {
  int32_t src_bits = 24;
  int32_t dst_bits = 24;
  int32_t src_order = ORDER_BGR;
  int32_t dst_order = ORDER_BGR;
  const RGBQUAD *src_palette = nullptr;  // palette, or the lookup table of a gray source
  const RGBQUAD *dst_palette = nullptr;
  const RGBQUAD16 *lut16 = nullptr;  // 16-bit lookup table of a gray source; wins over src_palette
  uint32_t flags = 0;                // CONVERT_...
  int32_t low_bit = -1;
  int32_t high_bit = -1;
  COLORREF transparent = 0;
  const MATCHTREE *match = nullptr;  // consulted before the palette search
};

namespace detail {

// What a source pixel is decoded to before it is encoded: 8-bit channels,
// 16-bit channels, an index into a per-conversion table, or the finished
// destination gray word.
enum class Form : uint8_t { Rgb8, Rgb16, Index, Gray };

enum class SourceClass : uint8_t {
  Palette,  // 1 to 8 bits, and plain gray read as 8 bits over a gray ramp
  Rgb16,
  Rgb24,
  Rgb32,
  Rgb48,
  Rgb64,
  GrayWord,  // 12, 16 and 32-bit gray
};

enum class DestClass : uint8_t { Palette, Gray, Rgb16, Rgb24, Rgb32, Rgb48, Rgb64 };

// Field positions of 16-bit colour.
struct Layout16 {
  uint8_t red_shift;
  uint8_t green_shift;
  uint8_t green_bits;
  uint8_t blue_shift;
};

struct Plan;
union Chunk;
using DecodeFn = void (*)(const Plan &plan, const uint8_t *row, uint32_t first, uint32_t count,
                          Chunk &chunk) noexcept;
using EncodeFn = void (*)(Plan &plan, const Chunk &chunk, uint8_t *row, uint32_t first,
                          uint32_t count) noexcept;
using KernelFn = void (*)(const Plan &plan, uint8_t *row, uint32_t width) noexcept;

// Everything a conversion needs, worked out once by Converter::prepare.
struct Plan {
  SourceClass source;
  DestClass dest;
  Form form;
  uint8_t src_pixel_bits;  // bits a pixel takes in the buffer (plain gray: 8)
  uint8_t dst_pixel_bits;
  uint8_t dst_field_bits;  // depth of a gray destination's field (plain gray: 8)
  bool src_red_first;      // ORDER_RGB: red in the first byte or lowest channel
  bool dst_red_first;
  bool nothing_to_do;      // the destination form is the source form
  bool carry_alpha_bit;    // 16-bit colour keeps bit 15 across 5-5-5 orders
  bool c16_alpha_from_bit;  // 16-bit colour gives its bit 15 as alpha
  bool alpha_from_top_byte;  // 32-bit gray gives its top byte as 64-bit alpha
  Layout16 src_layout;
  Layout16 dst_layout;

  // Transparency: a made alpha is 0 where the pixel matches.
  bool transparent;
  bool transparent_by_index;
  uint8_t transparent_index;
  uint32_t transparent_bgr;  // blue bits 0-7, green 8-15, red 16-23

  // Palette and gray-ramp sources: each entry as blue, green, red, alpha.
  uint32_t source_colors[256];
  // Index sources to a palette or a gray field: index to destination index.
  uint8_t index_map[256];
  // 8-bit gray to the destination's gray word.
  uint32_t gray_place[256];

  // Gray-word sources.
  uint8_t gray_bits;         // 12, 16 or 32
  bool gray_signed;          // arithmetic shift in the range step of 16-bit words
  bool raw_index;            // the table is indexed by the whole word
  bool src_range;            // CONVERT_SRC_BITRANGE in force
  bool dst_range;            // CONVERT_DST_BITRANGE in force
  int32_t field_shift;       // source field: (word >> field_shift) & field_mask
  int32_t field_width;
  uint32_t field_mask;
  int32_t place_width;       // placing of a table's gray in the destination
  int32_t place_shift;
  const RGBQUAD *gray_palette;  // the table of a gray source
  const RGBQUAD16 *lut16;

  // Palette destinations.
  const RGBQUAD *dst_palette;
  int32_t dst_colors;
  const MATCHTREE *match;
  bool cache_ready;

  // Wide gamut.
  bool gamut_out_first;    // bring the source out of the order before converting
  bool gamut_48_quirk;     // the 48-bit source matrixes the buffer into the order at its end
  int32_t gamut_into;      // 0 none, 24 or 48: the destination's matrix; -1 not supported
  int32_t deferred_status; // a destination refused after the source's matrix step

  DecodeFn decode;
  EncodeFn encode;
  KernelFn kernel;  // a fast path that does the whole run, or null

  // Colour-to-index cache in front of the palette search: keys are blue,
  // green, red in 24 bits; an empty slot holds a key no colour has.
  static constexpr uint32_t kCacheSlots = 2048;
  uint32_t cache_keys[kCacheSlots];
  uint8_t cache_index[kCacheSlots];
};

}  // namespace detail

class Converter {
 public:
  Converter() noexcept = default;
  Converter(const Converter &) = delete;
  Converter &operator=(const Converter &) = delete;

  // Checks the formats and builds the tables of the pair. SUCCESS, or the
  // status every later convert() gives.
  int32_t prepare(const ConvertArgs &args) noexcept;
  // Converts `width` pixels of `buffer` in place.
  int32_t convert(void *buffer, int32_t width) noexcept;

 private:
  int32_t status_ = ERROR_INVALID_PARAMETER;
  detail::Plan plan_;
};

// One conversion, as Rv_IntConvertBuffer does it.
int32_t convert_buffer(void *buffer, int32_t width, const ConvertArgs &args) noexcept;

}  // namespace rv::color
