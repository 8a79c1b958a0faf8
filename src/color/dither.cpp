// The dither run: starting it (the palette's kind, the candidates, the cache
// and its seeding, the error rows), one row at a time by each method, and
// stopping it.
//
// Error diffusion keeps, per error row, the error that the lines below the
// present one will receive, summed but not yet divided. The same slots serve
// as incoming and outgoing error: the slot of a column is read just before
// the first pixel that writes it, and in the same step every row takes what
// the row below it held there and the deepest row is cleared. What was read
// travels along the line as the running carry of the next pixels, with the
// error the pixels to their left pass right. Error that falls beyond either
// end lands in the margins and is never read.
#include "color/dither.h"

#include <cstring>
#include <new>

#include "color/dither_tables.h"
#include "color/match.h"
#include "color/palette.h"
#include "color/palette_tables.h"
#include "color/channels.h"
#include "internal/memory.h"
#include "internal/pixels.h"
#include "internal/record.h"

namespace rv::color {

namespace {

constexpr int32_t clamp255(int32_t v) noexcept { return v < 0 ? 0 : (v > 255 ? 255 : v); }

constexpr uint32_t red_of(uint32_t c) noexcept { return (c >> 16) & 0xFF; }
constexpr uint32_t green_of(uint32_t c) noexcept { return (c >> 8) & 0xFF; }
constexpr uint32_t blue_of(uint32_t c) noexcept { return c & 0xFF; }

bool uses_cache(PaletteKind kind) noexcept {
  return kind == PaletteKind::Cached || kind == PaletteKind::CallerCache;
}

// The index of a colour (channels 0 to 255) by the run's kind.
inline uint32_t index_of(DitherRun &run, uint32_t r, uint32_t g, uint32_t b) noexcept {
  switch (run.kind) {
    case PaletteKind::Cached:
    case PaletteKind::CallerCache: {
      uint32_t &slot = run.cache[match_key(r, g, b)];
      uint32_t i = slot - 1;  // 0 (unknown) wraps past every candidate
      if (i >= run.candidate_count) {
        // A miss, or a caller's entry that is no candidate of this palette:
        // the search on the five-bit colour.
        i = static_cast<uint32_t>(find_palette_index(run.candidates,
                                                     static_cast<int32_t>(run.candidate_count),
                                                     static_cast<int32_t>(r & 248),
                                                     static_cast<int32_t>(g & 248),
                                                     static_cast<int32_t>(b & 248)));
        slot = i + 1;
      }
      return run.candidates[i].rgbReserved;
    }
    case PaletteKind::Fixed2: return channels::gray(r, g, b) >= 128 ? 1 : 0;
    case PaletteKind::Fixed4: return channels::gray(r, g, b) >> 6;
    case PaletteKind::Fixed8: return ((r >> 7) << 2) | ((g >> 7) << 1) | (b >> 7);
    case PaletteKind::Fixed16: {
      const uint32_t c = ((b >> 7) << 2) | ((g >> 7) << 1) | (r >> 7);
      return c == 0 ? 0 : (8 | c);
    }
    case PaletteKind::Fixed32: return ((r >> 6) << 3) | ((g >> 6) << 1) | (b >> 7);
    case PaletteKind::Fixed64: return ((r >> 6) << 4) | ((g >> 6) << 2) | (b >> 6);
    case PaletteKind::Fixed128: return ((r >> 6) << 5) | ((g >> 5) << 2) | (b >> 6);
    case PaletteKind::Fixed256: return ((r >> 5) << 5) | ((g >> 5) << 2) | (b >> 6);
    case PaletteKind::WebSafe: return 36 * (r / 51) + 6 * (g / 51) + b / 51;
  }
  return 0;
}

inline void put_index(uint8_t *dst, int32_t bits, uint32_t x, uint32_t index) noexcept {
  if (bits == 8) {
    dst[x] = static_cast<uint8_t>(index);
  } else {
    px::put_packed(dst, bits, x, index);
  }
}

// --- no dithering ------------------------------------------------------------------------

void nearest_row(DitherRun &run, const uint8_t *src, uint8_t *dst) noexcept {
  const auto width = static_cast<uint32_t>(run.width);
  for (uint32_t x = 0; x < width; ++x) {
    const uint32_t c = run.reader.rgb(src, x);
    put_index(dst, run.dst_bits, x, index_of(run, red_of(c), green_of(c), blue_of(c)));
  }
}

// --- threshold methods -------------------------------------------------------------------

// What a threshold t adds to each channel before an index of `bits` bits is
// found: the threshold brought to the spacing of the levels of that depth.
constexpr int32_t threshold_offset(int32_t bits, int32_t t) noexcept {
  switch (bits) {
    case 1: return t - 128;
    case 2: return (t >> 1) - 64;
    case 3: return t / 3 - 42;
    case 4: return (t >> 2) - 32;
    case 5: return t / 5 - 25;
    case 6: return t / 6 - 21;
    case 7: return t / 7 - 18;
    default: return (t >> 3) - 16;
  }
}

// The depth whose offset a kind takes: the cache kinds the depth written, the
// fixed palettes their own depth, the web-safe cube that of 64 colours.
int32_t offset_bits(const DitherRun &run) noexcept {
  switch (run.kind) {
    case PaletteKind::Cached:
    case PaletteKind::CallerCache: return run.dst_bits;
    case PaletteKind::WebSafe: return 6;
    default: return static_cast<int32_t>(run.kind) - 1;
  }
}

void threshold_row(DitherRun &run, const uint8_t *src, uint8_t *dst) noexcept {
  const uint8_t(&table)[8][8] =
      run.method == ORDERED_DITHERING ? kOrderedThresholds : kClusteredThresholds;
  const uint8_t *t = table[run.line & 7];
  const int32_t bits = offset_bits(run);
  int32_t offset[8];
  for (int32_t i = 0; i < 8; ++i) offset[i] = threshold_offset(bits, t[i]);

  const auto width = static_cast<uint32_t>(run.width);
  for (uint32_t x = 0; x < width; ++x) {
    const uint32_t c = run.reader.rgb(src, x);
    const uint32_t r = red_of(c), g = green_of(c), b = blue_of(c);
    const uint32_t threshold = t[x & 7];
    uint32_t index;
    if (run.kind == PaletteKind::Fixed2) {
      index = channels::gray(r, g, b) > threshold ? 1 : 0;
    } else if (run.kind == PaletteKind::Fixed16) {
      const uint32_t bits16 = (threshold < b ? 4u : 0u) | (threshold < g ? 2u : 0u) |
                              (threshold < r ? 1u : 0u);
      index = bits16 == 0 ? 0 : (8 | bits16);
    } else {
      const int32_t add = offset[x & 7];
      index = index_of(run, static_cast<uint32_t>(clamp255(static_cast<int32_t>(r) + add)),
                       static_cast<uint32_t>(clamp255(static_cast<int32_t>(g) + add)),
                       static_cast<uint32_t>(clamp255(static_cast<int32_t>(b) + add)));
    }
    put_index(dst, run.dst_bits, x, index);
  }
}

// --- error diffusion ---------------------------------------------------------------------

template <int32_t Method>
void diffuse_row(DitherRun &run, const uint8_t *src, uint8_t *dst) noexcept {
  constexpr DiffusionMethod m = kDiffusionMethods[Method - 1];
  constexpr int32_t margin = m.margin;
  constexpr int32_t last = m.rows - 1;
  const auto width = static_cast<uint32_t>(run.width);
  const size_t stride = static_cast<size_t>(run.row_length) * 3;
  int32_t *rows[3];
  for (int32_t k = 0; k < 3; ++k) rows[k] = run.errors + (k <= last ? k * stride : 0);

  // Reads the slot of a column into a carry and moves the rows up there.
  auto take = [&](size_t slot, int32_t *carry) {
    int32_t *s[3] = {rows[0] + 3 * slot, rows[1] + 3 * slot, rows[2] + 3 * slot};
    for (int32_t c = 0; c < 3; ++c) {
      carry[c] = s[0][c];
      for (int32_t k = 0; k < last; ++k) s[k][c] = s[k + 1][c];
      s[last][c] = 0;
    }
  };

  // The left margin is never read; keeping it clear keeps it from growing
  // without bound over a tall picture.
  for (int32_t k = 0; k <= last; ++k) std::memset(rows[k], 0, sizeof(int32_t) * 3 * margin);

  // carry[k]: what reached pixel x + k so far.
  int32_t carry[margin + 1][3];

  // The error e of channel ch of the pixel at slot p, to its neighbours.
  auto spread = [&](int32_t e, int32_t ch, size_t p) {
    if constexpr (m.right != 0) carry[1][ch] += m.right * e;
    if constexpr (m.right2 != 0) carry[2][ch] += m.right2 * e;
    for (int32_t k = 0; k <= last; ++k) {
      int32_t *row = rows[k] + 3 * (p - margin) + ch;
      for (int32_t d = 0; d <= 2 * margin; ++d) {
        const int32_t w = m.below[k][d + 3 - margin];
        if (w != 0) row[3 * d] += w * e;
      }
    }
  };
  for (int32_t k = 0; k <= margin; ++k) take(static_cast<size_t>(margin + k), carry[k]);

  for (uint32_t x = 0; x < width; ++x) {
    const size_t p = x + static_cast<size_t>(margin);
    const uint32_t c = run.reader.rgb(src, x);
    const int32_t r = clamp255(static_cast<int32_t>(red_of(c)) + carry[0][0] / m.divisor);
    const int32_t g = clamp255(static_cast<int32_t>(green_of(c)) + carry[0][1] / m.divisor);
    const int32_t b = clamp255(static_cast<int32_t>(blue_of(c)) + carry[0][2] / m.divisor);
    const uint32_t index = index_of(run, static_cast<uint32_t>(r), static_cast<uint32_t>(g),
                                    static_cast<uint32_t>(b));
    const RGBQUAD &q = run.dst_palette[index & 0xFF];
    // Channel by channel, in plain integers: packing the three errors into a
    // vector costs more than it saves on this dependent chain.
    spread(r - q.rgbRed, 0, p);
    spread(g - q.rgbGreen, 1, p);
    spread(b - q.rgbBlue, 2, p);

    for (int32_t k = 0; k < margin; ++k) {
      for (int32_t ch = 0; ch < 3; ++ch) carry[k][ch] = carry[k + 1][ch];
    }
    if (x + 1 < width) take(p + 1 + margin, carry[margin]);
    put_index(dst, run.dst_bits, x, index);
  }
}

using RowFn = void (*)(DitherRun &, const uint8_t *, uint8_t *) noexcept;

RowFn row_function(int32_t method) noexcept {
  switch (method) {
    case FLOYD_STEIN_DITHERING: return &diffuse_row<1>;
    case STUCKI_DITHERING: return &diffuse_row<2>;
    case BURKES_DITHERING: return &diffuse_row<3>;
    case SIERRA_DITHERING: return &diffuse_row<4>;
    case STEVENSON_ARCE_DITHERING: return &diffuse_row<5>;
    case JARVIS_DITHERING: return &diffuse_row<6>;
    case ORDERED_DITHERING:
    case CLUSTERED_DITHERING: return &threshold_row;
    default: return &nearest_row;
  }
}

// --- the start ---------------------------------------------------------------------------

bool same_entries(const RGBQUAD *a, const RGBQUAD *b, uint32_t count) noexcept {
  return std::memcmp(a, b, sizeof(RGBQUAD) * count) == 0;
}

void copy_entries(RGBQUAD *dst, const RGBQUAD *src, uint32_t count) noexcept {
  std::memcpy(dst, src, sizeof(RGBQUAD) * count);
}

// The kind, the destination palette and the candidates of the run.
void choose_palette(DitherRun &run, const RGBQUAD *palette, uint32_t *cache) noexcept {
  const int32_t bits = bucket_bits(run.colors);
  const RGBQUAD *fixed = fixed_palette(bits);
  const auto fixed_kind = static_cast<PaletteKind>(bits + 1);
  const uint32_t fixed_count = 1u << bits;
  if (cache != nullptr) {
    run.kind = PaletteKind::CallerCache;
    run.cache = cache;
    if (palette == nullptr) {
      copy_entries(run.dst_palette, fixed, fixed_count);
    } else {
      copy_entries(run.dst_palette, palette, run.colors);
    }
  } else if (palette == nullptr || same_entries(palette, fixed, run.colors)) {
    run.kind = fixed_kind;
    copy_entries(run.dst_palette, fixed, fixed_count);
    return;
  } else if (bits == 8 && same_entries(palette, kWebSafePalette, run.colors)) {
    run.kind = PaletteKind::WebSafe;
    copy_entries(run.dst_palette, kWebSafePalette, 256);
    return;
  } else {
    run.kind = PaletteKind::Cached;
    copy_entries(run.dst_palette, palette, run.colors);
  }
  // Entries flagged in the low two bits of their reserved byte are held back
  // from matching. A palette with nothing else offers all its entries.
  for (uint32_t i = 0; i < run.colors; ++i) {
    const RGBQUAD &e = run.dst_palette[i];
    if ((e.rgbReserved & 3) != 0) continue;
    run.candidates[run.candidate_count++] = RGBQUAD{e.rgbBlue, e.rgbGreen, e.rgbRed, static_cast<uint8_t>(i)};
  }
  if (run.candidate_count == 0) {
    for (uint32_t i = 0; i < run.colors; ++i) {
      const RGBQUAD &e = run.dst_palette[i];
      run.candidates[i] = RGBQUAD{e.rgbBlue, e.rgbGreen, e.rgbRed, static_cast<uint8_t>(i)};
    }
    run.candidate_count = run.colors;
  }
}

// Exact palette colours answer without a search: each candidate's key gets
// it unless an earlier one (or the caller) has the slot already.
void seed_cache(DitherRun &run) noexcept {
  for (uint32_t i = 0; i < run.candidate_count; ++i) {
    uint32_t &slot = run.cache[match_key(PixelReader::quad_color(run.candidates[i]))];
    if (slot == 0) slot = i + 1;
  }
}

void release(DitherRun *run) noexcept {
  if (run == nullptr) return;
  free_block(run->errors);
  if (run->kind == PaletteKind::Cached) free_block(run->cache);
  free_block(run);
}

int32_t set_up(DitherRun &run, const BITMAPRECORD *bitmap, const RGBQUAD *palette,
               uint32_t *cache) noexcept {
  choose_palette(run, palette, cache);

  const uint32_t tables = PixelReader::kLut | PixelReader::kLut16;
  const int32_t limit = PixelReader::has_gray_table(bitmap, tables) ? bitmap->nBitsPerPixel : 8;
  int32_t status = run.reader.setup(bitmap, tables, limit);
  if (status != SUCCESS) return status;

  if (run.method >= FLOYD_STEIN_DITHERING && run.method <= JARVIS_DITHERING) {
    const DiffusionMethod &m = kDiffusionMethods[run.method - 1];
    const uint64_t length = static_cast<uint64_t>(run.width) + 2 * static_cast<uint64_t>(m.margin);
    if (length > 0x7FFFFFFFu) return ERROR_NO_MEMORY;
    run.error_rows = m.rows;
    run.row_length = static_cast<int32_t>(length);
    run.errors = alloc_array<int32_t>(length * 3 * static_cast<uint64_t>(m.rows), true);
    if (run.errors == nullptr) return ERROR_NO_MEMORY;
  }

  if (run.kind == PaletteKind::Cached) {
    run.cache = alloc_array<uint32_t>(kMatchTableEntries, true);
    if (run.cache == nullptr) return ERROR_NO_MEMORY;
  }
  if (uses_cache(run.kind)) seed_cache(run);
  return SUCCESS;
}

}  // namespace

int32_t bucket_bits(uint32_t colors) noexcept {
  int32_t bits = 1;
  while (bits < 8 && (1u << bits) < colors) ++bits;
  return bits;
}

}  // namespace rv::color

using rv::color::DitherRun;

int32_t Rv_StartDitheringExt(BITMAPRECORD *pBitmap, const RGBQUAD *pPalette, uint32_t uColors,
                             int32_t nBitsPerPixel, uint32_t *pColorCache) noexcept {
  const int32_t status = rv::check_record(pBitmap, rv::NullRecord::InvalidParameter, false);
  if (status != SUCCESS) return status;
  if (!rv::px::is_valid_depth(pBitmap->nBitsPerPixel) || uColors < 1 || uColors > 256 ||
      nBitsPerPixel < 1 || nBitsPerPixel > 8 ||
      static_cast<uint32_t>(pBitmap->nDitheringMethod) > CLUSTERED_DITHERING) {
    return ERROR_INVALID_PARAMETER;
  }
  void *block = rv::alloc_block(sizeof(DitherRun), true);
  if (block == nullptr) return ERROR_NO_MEMORY;
  auto *run = new (block) DitherRun();
  run->colors = uColors;
  run->method = pBitmap->nDitheringMethod;
  run->dst_bits = nBitsPerPixel;
  run->width = pBitmap->nWidth > 0 ? pBitmap->nWidth : 0;
  const int32_t setup = rv::color::set_up(*run, pBitmap, pPalette, pColorCache);
  if (setup != SUCCESS) {
    rv::color::release(run);
    return setup;
  }
  pBitmap->pDitherData = run;
  return SUCCESS;
}

int32_t Rv_StartDithering(BITMAPRECORD *pBitmap, const RGBQUAD *pPalette, uint32_t uColors) noexcept {
  const int32_t status = rv::check_record(pBitmap, rv::NullRecord::InvalidParameter, false);
  if (status != SUCCESS) return status;
  if (uColors < 1 || uColors > 256) return ERROR_INVALID_PARAMETER;
  return Rv_StartDitheringExt(pBitmap, pPalette, uColors, rv::color::bucket_bits(uColors), nullptr);
}

int32_t Rv_DitherLine(BITMAPRECORD *pBitmap, void *pSrcRow, void *pDstRow) noexcept {
  const int32_t status = rv::check_record(pBitmap, rv::NullRecord::InvalidParameter, false);
  if (status != SUCCESS) return status;
  DitherRun *run = rv::color::dither_run(pBitmap);
  if (pSrcRow == nullptr || pDstRow == nullptr || run == nullptr) return ERROR_INVALID_PARAMETER;
  if (run->width < 1) return SUCCESS;
  auto *src = static_cast<uint8_t *>(pSrcRow);
  const int32_t prepared = run->reader.prepare_row(src, run->width);
  if (prepared != SUCCESS) return prepared;
  rv::color::row_function(run->method)(*run, src, static_cast<uint8_t *>(pDstRow));
  ++run->line;
  return SUCCESS;
}

int32_t Rv_StopDithering(BITMAPRECORD *pBitmap) noexcept {
  const int32_t status = rv::check_record(pBitmap, rv::NullRecord::InvalidParameter, false);
  if (status != SUCCESS) return status;
  rv::color::release(rv::color::dither_run(pBitmap));
  pBitmap->pDitherData = nullptr;
  return SUCCESS;
}
