// The dither run: rows worked out by hand for two diffusion methods, the
// threshold tables read back through the run, the index rule of each fixed
// palette, the cache and its seeding, held-back entries, and bad input.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "color/color_records.h"
#include "internal/fault.h"
#include "support/bitmaps.h"

namespace {

using Bytes = std::vector<uint8_t>;
using colortest::rgb;

// A source record as a dither run reads it: nothing needs allocating.
struct Source {
  BITMAPRECORD b{};
  Source(int32_t width, int32_t bits, int32_t method, int32_t order = ORDER_BGR) {
    b.uStructSize = RV_BITMAPRECORD_SIZE;
    b.nWidth = width;
    b.nHeight = 1;
    b.nBitsPerPixel = bits;
    b.nOrder = order;
    b.nHighBit = -1;
    b.nDitheringMethod = method;
  }
  ~Source() { Rv_StopDithering(&b); }
};

Bytes gray24(const std::vector<int> &levels) {
  Bytes row;
  for (int v : levels) row.insert(row.end(), 3, static_cast<uint8_t>(v));
  return row;
}

Bytes color24(const std::vector<RGBQUAD> &colors) {
  Bytes row;
  for (const RGBQUAD &q : colors) row.insert(row.end(), {q.rgbBlue, q.rgbGreen, q.rgbRed});
  return row;
}

// Dithers each row in turn to 8-bit indices (or packed indices of `bits`).
std::vector<Bytes> dither(Source &s, const RGBQUAD *palette, uint32_t colors, std::vector<Bytes> rows,
                          int32_t bits = 8, uint32_t *cache = nullptr) {
  EXPECT_EQ(Rv_StartDitheringExt(&s.b, palette, colors, bits, cache), SUCCESS);
  std::vector<Bytes> out;
  for (Bytes &row : rows) {
    Bytes dst(static_cast<size_t>(s.b.nWidth) + 8, 0);
    EXPECT_EQ(Rv_DitherLine(&s.b, row.data(), dst.data()), SUCCESS);
    dst.resize(bits == 8 ? static_cast<size_t>(s.b.nWidth) : dst.size());
    out.push_back(dst);
  }
  EXPECT_EQ(Rv_StopDithering(&s.b), SUCCESS);
  return out;
}

// Gray rows to the two fixed colours: each pixel's carried error is divided
// only when it reaches the pixel, truncating towards zero (-746 / 16 is -46,
// which lifts 174 to exactly 128 on the second row of Floyd-Steinberg).
TEST(Dithering, DiffusionRowsWorkedByHand) {
  struct Case {
    int32_t method;
    std::vector<std::vector<int>> levels;
    std::vector<Bytes> expected;
  };
  const std::vector<std::vector<int>> picture = {
      {30, 60, 90, 120, 150, 180}, {200, 170, 140, 110, 80, 50},
      {128, 129, 127, 126, 130, 131}, {10, 245, 20, 235, 30, 225}};
  const Case cases[] = {
      {FLOYD_STEIN_DITHERING, {{100, 100, 100}, {100, 100, 174}}, {{0, 1, 0}, {0, 1, 1}}},
      {SIERRA_DITHERING, picture,
       {{0, 0, 0, 1, 1, 1}, {1, 1, 1, 0, 0, 0}, {0, 1, 0, 0, 1, 0}, {0, 1, 0, 1, 0, 1}}},
      {STEVENSON_ARCE_DITHERING, picture,
       {{0, 0, 0, 1, 1, 1}, {1, 1, 0, 0, 0, 0}, {1, 1, 0, 0, 1, 1}, {0, 1, 0, 1, 0, 1}}},
  };
  for (const Case &c : cases) {
    Source s(static_cast<int32_t>(c.levels[0].size()), 24, c.method);
    std::vector<Bytes> rows;
    for (const auto &levels : c.levels) rows.push_back(gray24(levels));
    EXPECT_EQ(dither(s, nullptr, 2, rows), c.expected) << "method " << c.method;
  }
}

// A flat gray v gives 1 exactly where v exceeds the threshold, so the levels
// that give 0 at a place count the threshold there, plus one.
TEST(Dithering, ThresholdTablesAsPrinted) {
  const uint8_t ordered[8][8] = {
      {0, 128, 32, 160, 8, 136, 40, 168},     {192, 64, 224, 96, 200, 72, 232, 104},
      {48, 176, 16, 144, 56, 184, 24, 152},   {236, 112, 208, 80, 244, 120, 216, 88},
      {12, 140, 44, 172, 4, 132, 36, 164},    {204, 76, 232, 108, 196, 68, 228, 100},
      {60, 188, 28, 156, 52, 180, 20, 148},   {248, 124, 220, 92, 240, 116, 212, 84}};
  const uint8_t clustered[8][8] = {
      {112, 40, 72, 104, 144, 176, 208, 136}, {88, 8, 16, 48, 192, 232, 240, 168},
      {56, 24, 0, 80, 160, 224, 248, 200},    {96, 64, 32, 120, 128, 216, 184, 152},
      {148, 180, 212, 140, 116, 44, 76, 108}, {196, 236, 244, 172, 92, 12, 20, 52},
      {164, 228, 252, 204, 60, 28, 4, 84},    {132, 220, 188, 156, 100, 68, 36, 124}};
  for (int32_t method : {ORDERED_DITHERING, CLUSTERED_DITHERING}) {
    const auto &table = method == ORDERED_DITHERING ? ordered : clustered;
    int zeros[8][8] = {};
    for (int v = 0; v < 256; ++v) {
      Source s(16, 24, method);  // two periods: column x and x + 8 agree
      const auto out = dither(s, nullptr, 2, std::vector<Bytes>(8, gray24(std::vector<int>(16, v))));
      for (int y = 0; y < 8; ++y) {
        for (int x = 0; x < 16; ++x) zeros[y][x & 7] += out[y][x] == 0 ? 1 : 0;
      }
    }
    for (int y = 0; y < 8; ++y) {
      for (int x = 0; x < 8; ++x) EXPECT_EQ(zeros[y][x], 2 * (table[y][x] + 1)) << method << " " << y << "," << x;
    }
  }
}

// The arithmetic index of each fixed palette and of the web-safe cube, with
// no dithering, whether the palette is given or not.
TEST(Dithering, FixedPaletteIndexRules) {
  struct Case {
    uint32_t colors;
    RGBQUAD color;
    uint8_t index;
  };
  const Case cases[] = {
      {2, rgb(120, 140, 120), 1},   {2, rgb(255, 0, 0), 0},        // gray 133, gray 64
      {4, rgb(200, 200, 200), 3},   {4, rgb(0, 200, 0), 1},         // gray >> 6
      {8, rgb(128, 127, 255), 5},   {16, rgb(100, 100, 100), 0},    // dark entries unused
      {16, rgb(128, 0, 200), 13},   {16, rgb(200, 200, 200), 15},
      {32, rgb(64, 191, 128), 13},  {64, rgb(255, 64, 63), 52},
      {128, rgb(192, 32, 127), 101}, {256, rgb(255, 160, 64), 245},
      {200, rgb(255, 255, 255), 255},  // the 256-colour rule past the given entries
  };
  for (const Case &c : cases) {
    for (bool given : {false, true}) {
      Source s(1, 24, NO_DITHERING);
      const int32_t bits = c.colors <= 2 ? 1 : c.colors <= 4 ? 2 : c.colors <= 8 ? 3 : c.colors <= 16 ? 4
                         : c.colors <= 32 ? 5 : c.colors <= 64 ? 6 : c.colors <= 128 ? 7 : 8;
      const RGBQUAD *palette = given ? Rv_IntGetFixedPalette(bits) : nullptr;
      const auto out = dither(s, palette, c.colors, {color24({c.color})});
      EXPECT_EQ(out[0][0], c.index) << c.colors << " given " << given;
    }
  }
  Source s(2, 24, NO_DITHERING);
  const auto out = dither(s, Rv_IntGetNetscapePalette(), 216,
                          {color24({rgb(255, 102, 51), rgb(50, 101, 152)})});
  EXPECT_EQ(out[0], (Bytes{193, 8}));
}

// A 1-bit source dithered to two colours without dithering follows the gray
// threshold of its palette's colours, not its bits.
TEST(Dithering, OneBitSourceGoesThroughTheGrayThreshold) {
  colortest::Record record(1, {rgb(130, 130, 130), rgb(120, 120, 120)});
  Source s(8, 1, NO_DITHERING);
  s.b.pPalette = record->pPalette;
  s.b.nColors = 2;
  const auto out = dither(s, nullptr, 2, {{0xF0}}, 1);
  EXPECT_EQ(out[0][0], 0x0F);
}

// Palettes matched through the cache: the exact colours are seeded (the
// first of a key wins), the search looks at the five-bit colour, held-back
// entries never come out, and a caller's cache is read and kept.
TEST(Dithering, CacheSeedingSearchAndCallerTables) {
  const RGBQUAD palette[] = {rgb(7, 7, 7), rgb(0, 0, 0), rgb(20, 20, 20), rgb(255, 255, 255)};
  Source s(3, 24, NO_DITHERING);
  // Black's key was seeded by entry 0; (15, 15, 15) is searched as (8, 8, 8).
  EXPECT_EQ(dither(s, palette, 4, {gray24({0, 15, 255})})[0], (Bytes{0, 0, 3}));

  std::vector<uint32_t> cache(RV_MATCH_TABLE_ENTRIES, 0);
  cache[RV_MATCH_TABLE_KEY(200, 0, 0)] = 3;  // the caller says: candidate 2
  Source t(2, 24, NO_DITHERING);
  const auto out = dither(t, palette, 4, {color24({rgb(200, 0, 0), rgb(15, 15, 15)})}, 8, cache.data());
  EXPECT_EQ(out[0], (Bytes{2, 0}));
  EXPECT_EQ(cache[RV_MATCH_TABLE_KEY(15, 15, 15)], 1u);   // learnt
  EXPECT_EQ(cache[RV_MATCH_TABLE_KEY(255, 255, 255)], 4u);  // seeded

}

// Entries flagged in the low two bits of their reserved byte are never
// chosen; a palette that flags every entry offers them all.
TEST(Dithering, FlaggedEntriesAreHeldBack) {
  std::vector<Bytes> rows;
  for (uint32_t y = 0; y < 6; ++y) rows.push_back(rvtest::random_bytes(3 * 40, 70 + y));
  std::vector<RGBQUAD> flagged(Rv_IntGetFixedPalette(4), Rv_IntGetFixedPalette(4) + 16);
  for (int i : {0, 7, 9, 15}) flagged[static_cast<size_t>(i)].rgbReserved = static_cast<uint8_t>(1 + i % 2);
  Source s(40, 24, FLOYD_STEIN_DITHERING);
  for (const Bytes &row : dither(s, flagged.data(), 16, rows)) {
    for (uint8_t index : row) EXPECT_TRUE(index != 0 && index != 7 && index != 9 && index != 15) << int(index);
  }
  std::vector<RGBQUAD> all = flagged, none = flagged;
  for (RGBQUAD &e : all) e.rgbReserved = 3;
  for (RGBQUAD &e : none) e.rgbReserved = 4;  // no flag, but not the fixed palette
  Source a(40, 24, FLOYD_STEIN_DITHERING), b(40, 24, FLOYD_STEIN_DITHERING);
  EXPECT_EQ(dither(a, all.data(), 16, rows), dither(b, none.data(), 16, rows));
}

// A wide-gamut source is read as the conversion brings it out of that order.
TEST(Dithering, WideGamutRowsAreConvertedFirst) {
  for (int32_t bits : {24, 48}) {
    const Bytes row = rvtest::random_bytes(static_cast<size_t>(bits / 8) * 32, 5);
    Bytes bgr = row;
    ASSERT_EQ(Rv_ConvertBuffer(bgr.data(), 32, bits, 24, ORDER_WIDE_GAMUT, ORDER_BGR, nullptr, nullptr), SUCCESS);
    bgr.resize(3 * 32);
    Source wide(32, bits, NO_DITHERING, ORDER_WIDE_GAMUT), plain(32, 24, NO_DITHERING);
    EXPECT_EQ(dither(wide, nullptr, 256, {row}), dither(plain, nullptr, 256, {bgr})) << bits;
  }
}

TEST(Dithering, BadInputAndFailedStarts) {
  const RGBQUAD palette[2] = {rgb(0, 0, 0), rgb(255, 255, 255)};
  Bytes row(16), dst(16);
  EXPECT_EQ(Rv_StartDithering(nullptr, palette, 2), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_DitherLine(nullptr, row.data(), dst.data()), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_StopDithering(nullptr), ERROR_INVALID_PARAMETER);

  Source s(4, 24, FLOYD_STEIN_DITHERING);
  EXPECT_EQ(Rv_DitherLine(&s.b, row.data(), dst.data()), ERROR_INVALID_PARAMETER);  // no run
  EXPECT_EQ(Rv_StopDithering(&s.b), SUCCESS);
  struct Bad {
    int32_t bits, method;
    uint32_t colors;
    int32_t dst_bits;
    uint32_t size;
    int32_t status;
  };
  const Bad bad[] = {
      {24, 1, 2, 1, 216, ERROR_INVALID_STRUCT_SIZE}, {24, 9, 2, 1, RV_BITMAPRECORD_SIZE, ERROR_INVALID_PARAMETER},
      {24, -1, 2, 1, RV_BITMAPRECORD_SIZE, ERROR_INVALID_PARAMETER}, {9, 1, 2, 1, RV_BITMAPRECORD_SIZE, ERROR_INVALID_PARAMETER},
      {24, 1, 0, 1, RV_BITMAPRECORD_SIZE, ERROR_INVALID_PARAMETER}, {24, 1, 257, 8, RV_BITMAPRECORD_SIZE, ERROR_INVALID_PARAMETER},
      {24, 1, 2, 0, RV_BITMAPRECORD_SIZE, ERROR_INVALID_PARAMETER}, {24, 1, 2, 9, RV_BITMAPRECORD_SIZE, ERROR_INVALID_PARAMETER},
  };
  for (const Bad &b : bad) {
    Source t(4, b.bits, b.method);
    t.b.uStructSize = b.size;
    EXPECT_EQ(Rv_StartDitheringExt(&t.b, palette, b.colors, b.dst_bits, nullptr), b.status) << b.bits << " " << b.method;
    EXPECT_EQ(t.b.pDitherData, nullptr);
    t.b.uStructSize = RV_BITMAPRECORD_SIZE;
  }
  EXPECT_EQ(Rv_StartDithering(&s.b, palette, 0), ERROR_INVALID_PARAMETER);

  // A gray record whose table doesn't cover its field.
  RGBQUAD lut[16] = {};
  Source g(4, 16, NO_DITHERING, ORDER_GRAY);
  g.b.pLUT = lut;
  g.b.uLUTLength = 16;
  EXPECT_EQ(Rv_StartDithering(&g.b, nullptr, 2), ERROR_LUT_LENGTH_INVALID_LUTLENGTH_SHOULD);
  g.b.nLowBit = 4;
  g.b.nHighBit = 7;
  EXPECT_EQ(Rv_StartDithering(&g.b, nullptr, 2), SUCCESS);

  // Every allocation of a start can fail and leaves no run.
  for (int64_t n = 0;; ++n) {
    Source f(4, 24, JARVIS_DITHERING);
    rv::fault::fail_after(n);
    const int32_t status = Rv_StartDithering(&f.b, palette, 2);
    const bool fired = rv::fault::fired();
    rv::fault::fail_after(-1);
    if (!fired) {
      EXPECT_EQ(status, SUCCESS);
      break;
    }
    EXPECT_EQ(status, ERROR_NO_MEMORY);
    EXPECT_EQ(f.b.pDitherData, nullptr);
  }
}

}  // namespace
