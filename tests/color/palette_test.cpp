#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

#include "color/color_records.h"
#include "internal/fault.h"
#include "internal/simd.h"

namespace {

using colortest::Record;
using colortest::rgb;

bool same(const RGBQUAD &a, const RGBQUAD &b) { return std::memcmp(&a, &b, 4) == 0; }

// The fixed palettes from their rules, worked out here independently of the
// committed tables.
RGBQUAD rule_entry(int bits, int i) {
  auto level = [](int k, int v) { return static_cast<uint8_t>((255 * v * 2 + (k - 1)) / (2 * (k - 1))); };
  static const uint8_t sixteen[16][3] = {
      {0, 0, 0},       {128, 0, 0},   {0, 128, 0},   {128, 128, 0}, {0, 0, 128},   {128, 0, 128},
      {0, 128, 128},   {128, 128, 128}, {192, 192, 192}, {255, 0, 0}, {0, 255, 0},   {255, 255, 0},
      {0, 0, 255},     {255, 0, 255}, {0, 255, 255}, {255, 255, 255}};
  switch (bits) {
    case 1: return i ? rgb(255, 255, 255) : rgb(0, 0, 0);
    case 2: return rgb(level(4, i), level(4, i), level(4, i));
    case 3: return rgb(i & 4 ? 255 : 0, i & 2 ? 255 : 0, i & 1 ? 255 : 0);
    case 4: return rgb(sixteen[i][0], sixteen[i][1], sixteen[i][2]);
    case 5: return rgb(level(4, (i >> 3) & 3), level(4, (i >> 1) & 3), level(2, i & 1));
    case 6: return rgb(level(4, (i >> 4) & 3), level(4, (i >> 2) & 3), level(4, i & 3));
    case 7: return rgb(level(4, (i >> 5) & 3), level(8, (i >> 2) & 7), level(4, i & 3));
    default: return rgb(level(8, (i >> 5) & 7), level(8, (i >> 2) & 7), level(4, i & 3));
  }
}

TEST(FixedPalettes, CommittedTablesFollowTheirRules) {
  for (int bits = 1; bits <= 8; ++bits) {
    const RGBQUAD *table = Rv_IntGetFixedPalette(bits);
    ASSERT_NE(table, nullptr);
    for (int i = 0; i < (1 << bits); ++i) {
      EXPECT_TRUE(same(table[i], rule_entry(bits, i))) << "depth " << bits << " entry " << i;
    }
  }
  EXPECT_EQ(Rv_IntGetFixedPalette(0), nullptr);
  EXPECT_EQ(Rv_IntGetFixedPalette(9), nullptr);
  const RGBQUAD *web = Rv_IntGetNetscapePalette();
  for (int i = 0; i < 256; ++i) {
    const RGBQUAD expected = i < 216 ? rgb(static_cast<uint8_t>(51 * (i / 36)),
                                           static_cast<uint8_t>(51 * ((i / 6) % 6)),
                                           static_cast<uint8_t>(51 * (i % 6)))
                                     : rgb(0, 0, 0);
    EXPECT_TRUE(same(web[i], expected)) << i;
  }
}

TEST(FixedPalettes, ArraysAndRecordPalettes) {
  RGBQUAD *gray = Rv_CreateGrayPalette(2);
  ASSERT_NE(gray, nullptr);
  EXPECT_TRUE(same(gray[1], rgb(85, 85, 85)) && same(gray[3], rgb(255, 255, 255)));
  Rv_LocalFree(gray);
  gray = Rv_CreateGrayPalette(0);  // 0 means 8: entry i is i
  ASSERT_NE(gray, nullptr);
  EXPECT_TRUE(same(gray[77], rgb(77, 77, 77)));
  Rv_LocalFree(gray);
  EXPECT_EQ(Rv_CreateGrayPalette(9), nullptr);

  RGBQUAD *fixed = Rv_CreateFixedPalette(0);  // the 2-entry table
  ASSERT_NE(fixed, nullptr);
  EXPECT_TRUE(same(fixed[1], rgb(255, 255, 255)));
  Rv_LocalFree(fixed);
  EXPECT_EQ(Rv_CreateFixedPalette(9), nullptr);

  RGBQUAD ramp[256];
  EXPECT_EQ(Rv_GetFixedPalette(ramp, 0), SUCCESS);
  EXPECT_TRUE(same(ramp[200], rgb(200, 200, 200)));
  EXPECT_EQ(Rv_GetFixedPalette(ramp, 4), SUCCESS);
  EXPECT_TRUE(same(ramp[8], rgb(192, 192, 192)));
  EXPECT_EQ(Rv_GetFixedPalette(nullptr, 4), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_GetFixedPalette(ramp, 9), ERROR_INVALID_PARAMETER);

  // Four colours read on past the 2-entry table: black, white, black, dark blue.
  Record four(2);
  ASSERT_EQ(Rv_CreateBitmapFixedPalette(four.get()), SUCCESS);
  const RGBQUAD expected[4] = {rgb(0, 0, 0), rgb(255, 255, 255), rgb(0, 0, 0), rgb(0, 0, 85)};
  for (int i = 0; i < 4; ++i) EXPECT_TRUE(same(four->pPalette[i], expected[i])) << i;
  Record odd(8, {rgb(1, 2, 3)}, 5);
  EXPECT_EQ(Rv_CreateBitmapFixedPalette(odd.get()), FAILURE);
  EXPECT_TRUE(same(odd->pPalette[0], rgb(1, 2, 3)));  // a refusal leaves the record alone
  Record gray_record(3);
  EXPECT_EQ(Rv_CreateBitmapGrayPalette(gray_record.get()), SUCCESS);
  EXPECT_TRUE(same(gray_record->pPalette[7], rgb(255, 255, 255)));
  EXPECT_EQ(gray_record->nColors, 8);
  Record deep(24);
  EXPECT_EQ(Rv_CreateBitmapGrayPalette(deep.get()), ERROR_INVALID_BITS_PER_PIXEL);
  EXPECT_EQ(Rv_CreateBitmapGrayPalette(nullptr), ERROR_INVALID_PARAMETER);
}

TEST(RecordPalettes, CopySetPutGetCompare) {
  Record src(2, {rgb(1, 1, 1), rgb(2, 2, 2), rgb(3, 3, 3), rgb(4, 4, 4)});
  Record dst(2, {rgb(9, 9, 9)}, 1);
  EXPECT_EQ(Rv_CopyBitmapPalette(dst.get(), src.get()), SUCCESS);
  EXPECT_EQ(dst->nColors, 4);
  EXPECT_TRUE(same(dst->pPalette[3], rgb(4, 4, 4)));
  EXPECT_NE(dst->pPalette, src->pPalette);
  EXPECT_EQ(Rv_CopyBitmapPalette(dst.get(), dst.get()), SUCCESS);  // onto itself: kept
  EXPECT_TRUE(same(dst->pPalette[3], rgb(4, 4, 4)));
  Record none(8);
  EXPECT_EQ(Rv_CopyBitmapPalette(dst.get(), none.get()), SUCCESS);
  EXPECT_EQ(dst->pPalette, nullptr);
  EXPECT_EQ(dst->nColors, 0);
  none->uStructSize = 216;
  EXPECT_EQ(Rv_CopyBitmapPalette(dst.get(), none.get()), ERROR_INVALID_STRUCT_SIZE);
  EXPECT_EQ(Rv_CopyBitmapPalette(nullptr, src.get()), ERROR_INVALID_PARAMETER);

  // Putting colours into a record without an array makes a zeroed one first.
  Record put(2);
  const RGBQUAD two[2] = {rgb(10, 20, 30), rgb(40, 50, 60)};
  EXPECT_EQ(Rv_PutBitmapColors(put.get(), 1, 2, two), SUCCESS);
  EXPECT_TRUE(same(put->pPalette[0], rgb(0, 0, 0)) && same(put->pPalette[2], two[1]));
  EXPECT_EQ(Rv_PutBitmapColors(put.get(), 3, 2, two), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_PutBitmapColors(put.get(), -1, 1, two), ERROR_INVALID_PARAMETER);
  put->uFlags = 0;
  EXPECT_EQ(Rv_PutBitmapColors(put.get(), 0, 1, two), ERROR_INVALID_IMAGE);

  RGBQUAD read[4];
  EXPECT_EQ(Rv_GetBitmapColors(src.get(), 1, 3, read), SUCCESS);
  EXPECT_TRUE(same(read[2], rgb(4, 4, 4)));
  EXPECT_EQ(Rv_GetBitmapColors(src.get(), 2, 3, read), ERROR_INVALID_PARAMETER);  // only 2 there
  EXPECT_EQ(Rv_GetBitmapColors(src.get(), 0, 0, read), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_GetBitmapColors(nullptr, 0, 1, read), ERROR_INVALID_IMAGE);
  EXPECT_EQ(Rv_GetBitmapPaletteEntries(src.get(), 3, 10, read), 1u);
  EXPECT_EQ(Rv_GetBitmapPaletteEntries(src.get(), 4, 1, read), 0u);

  const RGBQUAD probe[2] = {RGBQUAD{1, 1, 1, 99}, rgb(2, 2, 2)};
  EXPECT_EQ(Rv_CompareBitmapToPalette(src.get(), probe, 2), TRUE);  // reserved bytes don't count
  EXPECT_EQ(Rv_CompareBitmapToPalette(src.get(), probe + 1, 1), FALSE);
  EXPECT_EQ(Rv_CompareBitmapToPalette(none.get(), probe, 2), TRUE);
  EXPECT_EQ(Rv_CompareBitmapToPalette(nullptr, probe, 2), FALSE);

  EXPECT_EQ(Rv_SetBitmapNewPalette(dst.get(), two, 2), SUCCESS);
  EXPECT_EQ(dst->nColors, 2);
  EXPECT_EQ(Rv_SetBitmapNewPalette(dst.get(), nullptr, 2), SUCCESS);
  EXPECT_EQ(dst->pPalette, nullptr);
  EXPECT_EQ(dst->nColors, 2);  // unchanged without entries
}

TEST(RecordPalettes, FailedAllocationLeavesTheRecord) {
  Record r(2, {rgb(1, 1, 1), rgb(2, 2, 2), rgb(3, 3, 3), rgb(4, 4, 4)});
  RGBQUAD *before = r->pPalette;
  const RGBQUAD two[2] = {rgb(10, 20, 30), rgb(40, 50, 60)};
  using Call = int32_t (*)(BITMAPRECORD *, const RGBQUAD *);
  const Call calls[] = {
      [](BITMAPRECORD *b, const RGBQUAD *e) { return Rv_SetBitmapNewPalette(b, e, 2); },
      [](BITMAPRECORD *b, const RGBQUAD *) { return Rv_CreateBitmapGrayPalette(b); },
      [](BITMAPRECORD *b, const RGBQUAD *) { return Rv_CreateBitmapFixedPalette(b); },
  };
  for (Call call : calls) {
    rv::fault::fail_after(0);
    EXPECT_EQ(call(r.get(), two), ERROR_NO_MEMORY);
    rv::fault::fail_after(-1);
    EXPECT_EQ(r->pPalette, before);
    EXPECT_EQ(r->nColors, 4);
  }
}

TEST(PaletteObjects, EntriesVersionAndDeletion) {
  const RGBQUAD entries[3] = {rgb(255, 0, 0), rgb(0, 255, 0), rgb(0, 0, 255)};
  HRVPALETTE palette = Rv_CreatePalette(entries, 3);
  ASSERT_NE(palette, nullptr);
  EXPECT_EQ(*static_cast<int32_t *>(palette), WINHANDLE_KIND_PALETTE);
  const auto *words = static_cast<const uint8_t *>(palette);
  EXPECT_EQ(words[4] | (words[5] << 8), 768);
  EXPECT_EQ(words[8], 255);  // red first in the object
  EXPECT_EQ(Rv_GetPaletteSize(palette), 3u);
  RGBQUAD back[3];
  EXPECT_EQ(Rv_GetPaletteEntries(palette, 1, 5, back), 2u);
  EXPECT_TRUE(same(back[1], entries[2]));
  EXPECT_EQ(Rv_GetPaletteEntries(palette, 3, 1, back), 0u);
  EXPECT_EQ(Rv_SetPaletteEntries(palette, 2, 4, entries), 1u);
  HRVPALETTE copy = Rv_DupPalette(palette);
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(Rv_GetPaletteEntries(copy, 2, 1, back), 1u);
  EXPECT_TRUE(same(back[0], entries[0]));

  // The classic search honours a flagged colour's low byte; the record form
  // clears the flags first.
  EXPECT_EQ(GetNearestPaletteIndex(palette, RV_RGB(0, 250, 0)), 1u);
  EXPECT_EQ(GetNearestPaletteIndex(palette, 0x01000002u | RV_RGB(0, 250, 0)), 2u);
  EXPECT_EQ(GetNearestPaletteIndex(nullptr, 0), 0u);
  Record r(2, {rgb(255, 0, 0), rgb(0, 255, 0), rgb(0, 0, 255), rgb(9, 9, 9)});
  EXPECT_EQ(Rv_GetNearestPaletteIndex(r.get(), 0x01000002u | RV_RGB(0, 250, 0)), 1u);
  rv::fault::fail_after(0);  // no temporary object: 0
  EXPECT_EQ(Rv_GetNearestPaletteIndex(r.get(), RV_RGB(0, 250, 0)), 0u);
  rv::fault::fail_after(-1);
  HRVPALETTE from_record = Rv_DupBitmapPalette(r.get());
  Record target(2);
  EXPECT_EQ(Rv_SetBitmapPalette(target.get(), from_record), SUCCESS);
  EXPECT_TRUE(same(target->pPalette[3], rgb(9, 9, 9)));
  EXPECT_EQ(Rv_SetBitmapPalette(target.get(), nullptr), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_SetBitmapPalette(nullptr, from_record), ERROR_INVALID_IMAGE);

  struct {
    uint16_t version, count;
    PALETTEENTRY entries[2];
  } log = {768, 2, {{1, 2, 3, 0}, {4, 5, 6, 0}}};
  HRVPALETTE from_log = Rv_WinCreatePalette(reinterpret_cast<const LOGPALETTE *>(&log));
  ASSERT_NE(from_log, nullptr);
  EXPECT_EQ(Rv_GetPaletteSize(from_log), 2u);
  log.version = 769;
  EXPECT_EQ(Rv_WinCreatePalette(reinterpret_cast<const LOGPALETTE *>(&log)), nullptr);

  for (HRVPALETTE h : {palette, copy, from_record, from_log}) EXPECT_EQ(Rv_WinDeleteObject(h), TRUE);
  EXPECT_EQ(Rv_CreatePalette(entries, 0), nullptr);
  EXPECT_EQ(Rv_CreatePalette(entries, 257), nullptr);
}

TEST(FindPaletteIndex, ShortcutsAndTies) {
  const RGBQUAD black = rgb(0, 0, 0), white = rgb(255, 255, 255);
  struct Case {
    std::vector<RGBQUAD> palette;
    int r, g, b;
    int32_t expected;
  };
  const Case cases[] = {
      {{black, white, black}, 0, 0, 0, 0},              // black from the front
      {{white, rgb(1, 1, 1), black}, 0, 0, 0, 2},       // ... then the back
      {{white, white}, 255, 255, 255, 1},                // white from the back
      {{white, rgb(9, 9, 9)}, 255, 255, 255, 0},         // ... then the front
      {{white, white}, 0, 0, 0, 1},                      // tie of the same class: the later
      {{rgb(10, 0, 0), rgb(0, 0, 10)}, 0, 0, 0, 0},      // tie across classes: the first
      {{rgb(5, 5, 6), rgb(5, 5, 4)}, 5, 5, 5, 1},        // the later shares the colour's class
      {{rgb(5, 5, 4), rgb(5, 5, 6)}, 5, 5, 5, 0},        // ... the later doesn't
      {{rgb(9, 9, 9), rgb(5, 6, 7), rgb(5, 6, 7)}, 5, 6, 7, 1},  // exact match ends the walk
      {{rgb(100, 0, 0), rgb(0, 100, 0)}, 60, 50, 0, 0},
  };
  for (const Case &c : cases) {
    EXPECT_EQ(Rv_FindPaletteIndex(c.palette.data(), static_cast<int32_t>(c.palette.size()), c.r,
                                  c.g, c.b),
              c.expected)
        << c.r << "," << c.g << "," << c.b;
  }
  EXPECT_EQ(Rv_FindPaletteIndex(nullptr, 4, 1, 2, 3), 0);
  EXPECT_EQ(Rv_FindPaletteIndex(&black, 0, 1, 2, 3), -1);
}

// The plain walk, as defined, against what the library gives at every vector
// level: palettes with many repeated entries make ties common.
TEST(FindPaletteIndex, VectorWalkMatchesThePlainWalk) {
  std::mt19937 random(7);
  std::vector<RGBQUAD> palette(300);
  for (int round = 0; round < 40; ++round) {
    const int levels = round % 2 ? 4 : 256;  // few levels: many duplicates and ties
    for (RGBQUAD &q : palette) {
      q = rgb(static_cast<uint8_t>(random() % levels * (255 / (levels - 1))),
              static_cast<uint8_t>(random() % levels * (255 / (levels - 1))),
              static_cast<uint8_t>(random() % levels * (255 / (levels - 1))));
      q.rgbReserved = static_cast<uint8_t>(random());
    }
    const int32_t count = 1 + static_cast<int32_t>(random() % palette.size());
    for (int probe = 0; probe < 50; ++probe) {
      const int r = static_cast<int>(random() % 256), g = static_cast<int>(random() % 256),
                b = static_cast<int>(random() % 256);
      int32_t plain;
      {
        rv::simd::ScopedLevel force(rv::simd::Level::Plain);
        plain = Rv_FindPaletteIndex(palette.data(), count, r, g, b);
      }
      for (auto level : {rv::simd::Level::Ssse3, rv::simd::Level::Avx2}) {
        rv::simd::ScopedLevel force(level);
        ASSERT_EQ(Rv_FindPaletteIndex(palette.data(), count, r, g, b), plain)
            << "count " << count << " colour " << r << "," << g << "," << b;
      }
    }
  }
}

TEST(GrayVerdicts, Palettes) {
  struct Case {
    std::vector<uint8_t> levels;
    int32_t expected;
  };
  const Case cases[] = {
      {{0, 127, 254}, GRAY_RAMP},
      {{0, 128, 255}, GRAY_OTHER},
      {{255, 128, 1}, GRAY_RAMP_INVERTED},
      {{0, 255}, GRAY_RAMP},
      {{0}, GRAY_RAMP},
      {{255}, GRAY_RAMP_INVERTED},
      {{7}, GRAY_OTHER},
      {{10, 20}, GRAY_OTHER},
  };
  for (const Case &c : cases) {
    std::vector<RGBQUAD> p;
    for (uint8_t v : c.levels) p.push_back(rgb(v, v, v));
    EXPECT_EQ(Rv_IsGrayScalePalette(p.data(), static_cast<int32_t>(p.size())), c.expected);
  }
  const RGBQUAD colour[2] = {rgb(0, 0, 0), rgb(255, 255, 254)};
  EXPECT_EQ(Rv_IsGrayScalePalette(colour, 2), GRAY_NO);
  EXPECT_EQ(Rv_IsGrayScalePalette(nullptr, 2), ERROR_INVALID_PARAMETER);

  Record ramp(1, {rgb(0, 0, 0), rgb(255, 255, 255)});
  EXPECT_EQ(Rv_IsGrayScaleBitmap(ramp.get()), GRAY_RAMP);
  Record short_ramp(2, {rgb(0, 0, 0), rgb(255, 255, 255)}, 2);  // gray, but not 1 << depth entries
  EXPECT_EQ(Rv_IsGrayScaleBitmap(short_ramp.get()), GRAY_OTHER);
  Record no_palette(8);
  EXPECT_EQ(Rv_IsGrayScaleBitmap(no_palette.get()), GRAY_NO);
  Record deep(24);
  EXPECT_EQ(Rv_IsGrayScaleBitmap(deep.get()), GRAY_NO);
  EXPECT_EQ(Rv_IsGrayScaleBitmap(nullptr), ERROR_INVALID_PARAMETER);
}

// Deep gray records judged by the shape of their lookup table.
TEST(GrayVerdicts, LookupTableShapes) {
  auto table_of = [](int n, auto level) {
    std::vector<RGBQUAD> t(static_cast<size_t>(n));
    for (int i = 0; i < n; ++i) {
      const auto v = static_cast<uint8_t>(level(i));
      t[static_cast<size_t>(i)] = rgb(v, v, v);
    }
    return t;
  };
  struct Case {
    const char *name;
    std::vector<RGBQUAD> lut;
    uint32_t flags;
    int32_t expected;
  };
  // A rising table of straight pieces whose steps alternate between 0 and 2.
  auto pieces = [](int count) {
    return [count](int i) {
      int value = 0;
      for (int k = 1; k <= i; ++k) value += ((k - 1) * count / 255) % 2 ? 2 : 0;
      return value;
    };
  };
  std::vector<RGBQUAD> colour = table_of(256, [](int i) { return i; });
  colour[10].rgbBlue = 3;
  const Case cases[] = {
      {"rising", table_of(256, [](int i) { return i; }), 0, GRAY_RAMP},
      {"falling", table_of(256, [](int i) { return 255 - i; }), 0, GRAY_RAMP_INVERTED},
      {"three pieces", table_of(256, pieces(3)), 0, GRAY_RAMP},
      {"four pieces", table_of(256, pieces(4)), 0, GRAY_OTHER},
      {"not gray", colour, 0, GRAY_NO},
      {"signed rising", table_of(256, [](int i) { return i < 128 ? 128 + i : i - 128; }),
       BITMAPFLAG_SIGNED, GRAY_RAMP},
      {"signed but unsigned data", table_of(256, [](int i) { return i; }), BITMAPFLAG_SIGNED,
       GRAY_OTHER},
  };
  for (const Case &c : cases) {
    Record r(8, {}, 0);
    r->nBitsPerPixel = 8 + 4;  // 12-bit gray reading 8 bits through the table
    r->nOrder = ORDER_GRAY;
    r->nHighBit = 7;
    r->uFlags |= BITMAPFLAG_USE_LUT | c.flags;
    r->pLUT = const_cast<RGBQUAD *>(c.lut.data());
    r->uLUTLength = static_cast<uint32_t>(c.lut.size());
    EXPECT_EQ(Rv_IsGrayScaleBitmap(r.get()), c.expected) << c.name;
    r->uLUTLength = 100;
    EXPECT_EQ(Rv_IsGrayScaleBitmap(r.get()), ERROR_LUT_LENGTH_INVALID_LUTLENGTH_SHOULD) << c.name;
    r->uLUTLength = 256;
    r->uFlags &= ~BITMAPFLAG_USE_LUT;  // a table not in force
    r->nLUTHighBit = 7;
    EXPECT_EQ(Rv_IsGrayScaleBitmap(r.get()), GRAY_RAMP) << c.name;
    r->pLUT = nullptr;
  }
}

TEST(ColorValues, TranslateAndTrueColor) {
  Record pal(2, {rgb(0, 0, 0), rgb(255, 0, 0), rgb(0, 0, 255), rgb(250, 250, 250)});
  Record other(2, {rgb(0, 0, 0), rgb(0, 0, 254), rgb(255, 0, 0), rgb(255, 255, 255)});
  Record deep(24);
  struct Case {
    BITMAPRECORD *dst, *src;
    COLORREF in, expected;
  };
  const Case cases[] = {
      {pal.get(), pal.get(), RV_PALETTE_INDEX(2), RV_PALETTE_INDEX(2)},        // same colour there
      {other.get(), pal.get(), RV_PALETTE_INDEX(2), RV_PALETTE_INDEX(1)},      // nearest elsewhere
      {deep.get(), pal.get(), RV_PALETTE_INDEX(1), RV_RGB(255, 0, 0)},         // to a plain colour
      {other.get(), deep.get(), RV_PALETTE_INDEX(1), RV_PALETTE_INDEX(0)},     // no source: black
      {deep.get(), nullptr, RV_GRAY_LEVEL(0x1234), RV_RGB(0x12, 0x12, 0x12)},  // byte 1 of a level
      {pal.get(), nullptr, RV_RGB(240, 240, 255), RV_PALETTE_INDEX(3)},
      {deep.get(), nullptr, RV_RGB(1, 2, 3), RV_RGB(1, 2, 3)},
      {nullptr, nullptr, 0x12345678u, 0x12345678u},
  };
  for (const Case &c : cases) {
    EXPECT_EQ(Rv_TranslateBitmapColor(c.dst, c.src, c.in), c.expected) << std::hex << c.in;
  }

  EXPECT_EQ(Rv_GetTrueColorValue(pal.get(), RV_PALETTE_INDEX(3)), RV_RGB(250, 250, 250));
  EXPECT_EQ(Rv_GetTrueColorValue(pal.get(), RV_RGB(1, 1, 1)), RV_RGB(0, 0, 0));
  EXPECT_EQ(Rv_GetTrueColorValue(nullptr, RV_RGB(1, 1, 1)), 0u);

  // A gray record with a table: levels become the table's colours.
  Record gray(16, {}, 0);
  gray->nOrder = ORDER_GRAY;
  RGBQUAD lut[4] = {rgb(0, 0, 0), rgb(10, 20, 30), rgb(40, 50, 60), rgb(70, 80, 90)};
  gray->pLUT = lut;
  gray->uLUTLength = 4;
  EXPECT_EQ(Rv_GetTrueColorValue(gray.get(), RV_GRAY_LEVEL(2)), RV_RGB(40, 50, 60));
  EXPECT_EQ(Rv_GetTrueColorValue(gray.get(), RV_GRAY_LEVEL(9)), RV_GRAY_LEVEL(9));
  gray->uFlags |= BITMAPFLAG_USE_LUT;  // a level searched in the table in force
  EXPECT_EQ(Rv_TranslateBitmapColor(gray.get(), nullptr, RV_GRAY_LEVEL(0x2800)), RV_PALETTE_INDEX(2));
  gray->pLUT = nullptr;
}

TEST(LookupTables, Lut16InForce) {
  Record r(16, {}, 0);
  RGBQUAD16 table[2] = {};
  r->pLUT16 = table;
  struct Case {
    int32_t order;
    uint32_t flags;
    int32_t force;
    bool expected;
  };
  const Case cases[] = {
      {ORDER_GRAY, 0, FALSE, false},
      {ORDER_GRAY, 0, TRUE, true},
      {ORDER_GRAY, BITMAPFLAG_USE_LUT, FALSE, true},
      {ORDER_GRAY, BITMAPFLAG_LUT_NONLINEAR, FALSE, true},
      {ORDER_BGR, BITMAPFLAG_USE_LUT, TRUE, false},
  };
  for (const Case &c : cases) {
    r->nOrder = c.order;
    r->uFlags = BITMAPFLAG_ALLOCATED | c.flags;
    EXPECT_EQ(Rv_GetLUT16(r.get(), c.force) != nullptr, c.expected);
  }
  r->uStructSize = RV_BITMAPRECORD_SIZE_OLD;  // the older form has no such table
  EXPECT_EQ(Rv_GetLUT16(r.get(), TRUE), nullptr);
  r->pLUT16 = nullptr;
  EXPECT_EQ(Rv_GetLUT16(nullptr, TRUE), nullptr);
}

TEST(GrayScaling, Gray32To8) {
  const uint32_t src[4] = {0, 0x8000, 0xFFFF, 0x12345678};
  uint8_t dst[4];
  ASSERT_EQ(Rv_Gray32To8(3, src, dst, 0xFFFF, 0, 0, 0, 0xFFFF, 0), SUCCESS);
  EXPECT_EQ(dst[0], 0);
  EXPECT_EQ(dst[1], 128);  // 32768 * 255 / 65535 = 127.5, rounded away
  EXPECT_EQ(dst[2], 255);
  ASSERT_EQ(Rv_Gray32To8(1, src + 3, dst, 0xFFFFFFFF, 0, 0, 0, 0xFFFFFFFF, 0), SUCCESS);
  EXPECT_EQ(dst[0], (0x12345678ull * 255 + 0x7FFFFFFF) / 0xFFFFFFFF);  // unsigned road
  std::memset(dst, 0, sizeof dst);
  ASSERT_EQ(Rv_Gray32To8(3, src, dst, 0xFF, 0, 5, 0, 5, 0), SUCCESS);  // empty range
  EXPECT_EQ(dst[2], 0xFF);
  EXPECT_EQ(dst[3], 0);
  EXPECT_EQ(Rv_Gray32To8(1, nullptr, dst, 1, 0, 0, 0, 1, 0), ERROR_INVALID_PARAMETER);
}

}  // namespace
