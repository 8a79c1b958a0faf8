#include <gtest/gtest.h>

#include <cstring>

#include "internal/memory.h"
#include "internal/record.h"
#include "support/bitmaps.h"

namespace {

TEST(RecordSize, OlderFormHoldsUpTo0xFFFF0000) {
  BITMAPRECORD b{};
  b.uStructSize = RV_BITMAPRECORD_SIZE_OLD;
  EXPECT_EQ(Rv_IntSetBitmapSize(&b, 0xFFFF0000u, 0), SUCCESS);
  EXPECT_EQ(b.uSize32, 0xFFFF0000u);
  EXPECT_EQ(Rv_IntSetBitmapSize(&b, 0xFFFF0001u, 0), ERROR_NOT_ENOUGH_MEMORY);
  EXPECT_EQ(b.uSize32, 0xFFFF0000u);
  EXPECT_EQ(Rv_IntSetBitmapSize(&b, 5, 1), ERROR_NOT_ENOUGH_MEMORY);
  BITMAPRECORD full{};
  full.uStructSize = RV_BITMAPRECORD_SIZE;
  EXPECT_EQ(Rv_IntSetBitmapSize(&full, 5, 1), SUCCESS);
  EXPECT_EQ(full.uSize32, 5u);
  EXPECT_EQ(full.uSize64, 0x100000005ull);
  EXPECT_EQ(rv::bitmap_size(&full), 0x100000005ull);
  // An older record that can't hold its size is cleared whole by initialisation.
  BITMAPRECORD big{};
  EXPECT_EQ(Rv_InitBitmap(&big, RV_BITMAPRECORD_SIZE_OLD, 65536, 65536, 8), ERROR_NOT_ENOUGH_MEMORY);
  EXPECT_EQ(big.uStructSize, 0u);
  EXPECT_EQ(Rv_InitBitmap(&big, RV_BITMAPRECORD_SIZE, 65536, 65536, 8), SUCCESS);
  EXPECT_EQ(Rv_GetBitmapDataSize(&big), 65536ull * 65536);
}

TEST(RecordDefaults, PerDepth) {
  struct Case {
    int32_t bits, high_bit, order, colors, bytes_per_line;
  };
  const Case cases[] = {
      {1, 0, ORDER_RGB, 2, 4},     {3, 2, ORDER_RGB, 8, 4},       {8, 7, ORDER_RGB, 256, 8},
      {12, 11, ORDER_GRAY, 0, 12}, {16, 15, ORDER_BGR, 0, 16},    {24, 7, ORDER_BGR, 0, 24},
      {32, -1, ORDER_BGR, 0, 28},  {48, 15, ORDER_BGR, 0, 44},    {64, 15, ORDER_BGR, 0, 56},
  };
  for (const Case &c : cases) {
    BITMAPRECORD b;
    std::memset(&b, 0xCD, sizeof b);
    ASSERT_EQ(Rv_InitBitmap(&b, RV_BITMAPRECORD_SIZE, 7, 3, c.bits), SUCCESS);
    EXPECT_EQ(b.nHighBit, c.high_bit) << c.bits;
    EXPECT_EQ(b.nLUTHighBit, c.high_bit) << c.bits;
    EXPECT_EQ(b.nOrder, c.order) << c.bits;
    EXPECT_EQ(b.nColors, c.colors) << c.bits;
    EXPECT_EQ(b.nBytesPerLine, c.bytes_per_line) << c.bits;
    EXPECT_EQ(b.uSize64, 3u * c.bytes_per_line);
    EXPECT_EQ(b.nViewPerspective, VIEW_BOTTOM_LEFT);
    EXPECT_EQ(b.nXResolution, 150);
    EXPECT_EQ(b.nPaintGamma, 100);
    EXPECT_EQ(b.nDitheringMethod, Rv_GetDefaultDithering());
    EXPECT_EQ(b.uFlags, 0u);
    EXPECT_EQ(b.pData, nullptr);
    EXPECT_EQ(b.nLockCount, 0);
    EXPECT_EQ(b.pDataCallbacks, nullptr);
    Rv_FreeBitmap(&b);
  }
  // Width, height and depth all 0: only the size is written.
  BITMAPRECORD empty;
  std::memset(&empty, 0xCD, sizeof empty);
  EXPECT_EQ(Rv_InitBitmap(&empty, RV_BITMAPRECORD_SIZE, 0, 0, 0), SUCCESS);
  EXPECT_EQ(empty.uStructSize, RV_BITMAPRECORD_SIZE);
  EXPECT_EQ(empty.nViewPerspective, 0);
  EXPECT_EQ(empty.nPaintGamma, 0);
}

TEST(RecordDefaults, ResolutionsComeFromTheThread) {
  const int32_t x = Rv_SetDefaultXResolution(300);
  const int32_t y = Rv_SetDefaultYResolution(0);  // below 1: 150
  BITMAPRECORD b{};
  ASSERT_EQ(Rv_InitBitmap(&b, RV_BITMAPRECORD_SIZE, 1, 1, 24), SUCCESS);
  EXPECT_EQ(b.nXResolution, 300);
  EXPECT_EQ(b.nYResolution, 150);
  EXPECT_EQ(Rv_SetDefaultXResolution(x), 300);
  EXPECT_EQ(Rv_SetDefaultYResolution(y), 0);
}

TEST(CopyBitmapHandle, CopiesTheSmallerSizeAndLeavesIt) {
  BITMAPRECORD older{}, full;
  ASSERT_EQ(Rv_InitBitmap(&older, RV_BITMAPRECORD_SIZE_OLD, 10, 10, 8), SUCCESS);
  std::memset(&full, 0xAB, sizeof full);
  EXPECT_EQ(Rv_CopyBitmapHandle(&full, &older, RV_BITMAPRECORD_SIZE), SUCCESS);
  EXPECT_EQ(full.uStructSize, RV_BITMAPRECORD_SIZE_OLD);
  EXPECT_EQ(full.nWidth, 10);
  EXPECT_EQ(reinterpret_cast<uint8_t *>(&full)[RV_BITMAPRECORD_SIZE_OLD], 0xAB);  // beyond: untouched
  EXPECT_EQ(Rv_CopyBitmapHandle(nullptr, &older, RV_BITMAPRECORD_SIZE), SUCCESS);
  EXPECT_EQ(Rv_CopyBitmapHandle(&full, &older, 200), ERROR_INVALID_STRUCT_SIZE);
  older.uStructSize = 7;
  EXPECT_EQ(Rv_CopyBitmapHandle(nullptr, &older, RV_BITMAPRECORD_SIZE), ERROR_INVALID_STRUCT_SIZE);
  EXPECT_EQ(Rv_CopyBitmapHandle(&full, nullptr, RV_BITMAPRECORD_SIZE), ERROR_INVALID_PARAMETER);
}

TEST(GrayParams, GetGrayParamsMaskAndShift) {
  struct Case {
    int32_t bits, max_bits, low, high;
    uint32_t count, mask, shift;
  };
  const Case cases[] = {
      {16, 16, 0, -1, 16, 0xFFFF, 0},  {16, 8, 0, 11, 8, 0xFF, 4},   {12, 16, -3, 11, 12, 0xFFF, 0},
      {32, 32, 0, -1, 32, 0xFFFFFFFF, 0}, {16, 16, 4, 9, 6, 0x3F, 4},
  };
  for (const Case &c : cases) {
    uint32_t count = 99, mask = 99, shift = 99;
    Rv_GetGrayParams(c.bits, c.max_bits, c.low, c.high, &count, &mask, &shift);
    EXPECT_EQ(count, c.count);
    EXPECT_EQ(mask, c.mask);
    EXPECT_EQ(shift, c.shift);
  }
  uint32_t count = 99, mask = 99;
  Rv_GetGrayParams(16, 16, 0, -1, &count, &mask, nullptr);  // nothing written without both
  EXPECT_EQ(count, 99u);
  EXPECT_EQ(mask, 99u);
}

TEST(GrayParams, InitCopyAndFree) {
  rvtest::Bitmap a, b;
  ASSERT_TRUE(rvtest::make(a.get(), 4, 4, 16));
  ASSERT_TRUE(rvtest::make(b.get(), 4, 4, 16));
  a->nOrder = b->nOrder = ORDER_GRAY;
  a->pLUT = rv::alloc_array<RGBQUAD>(16, true);
  a->uLUTLength = 16;
  a->pLUT16 = rv::alloc_array<RGBQUAD16>(16, true);
  a->uLUT16Length = 16;
  a->pLUT16[3].rgbRed = 777;
  a->nLowBit = 2;
  a->nHighBit = 5;
  a->uFlags |= BITMAPFLAG_USE_LUT;
  EXPECT_EQ(Rv_IsBitmapLUTLengthValid(a.get()), TRUE);  // 1 << (5 - 2 + 1)
  EXPECT_EQ(Rv_HasLUT(a.get()), TRUE);
  ASSERT_EQ(Rv_CopyGrayParams(b.get(), a.get(), TRUE), SUCCESS);
  EXPECT_NE(b->pLUT, a->pLUT);
  EXPECT_NE(b->pLUT16, a->pLUT16);
  EXPECT_EQ(b->pLUT16[3].rgbRed, 777);
  EXPECT_EQ(b->uLUT16Length, 16u);
  EXPECT_TRUE(b->uFlags & BITMAPFLAG_USE_LUT);
  EXPECT_EQ(b->nHighBit, 5);
  Rv_InitGrayParams(b.get());
  EXPECT_EQ(b->pLUT, nullptr);
  EXPECT_EQ(b->pLUT16, nullptr);
  EXPECT_EQ(b->uLUTLength, 0u);
  EXPECT_EQ(b->uLUT16Length, 16u);  // left as it was
  EXPECT_EQ(b->nHighBit, 15);
  EXPECT_EQ(b->nMaxVal, 65535);
  EXPECT_EQ(Rv_CopyGrayParams(nullptr, a.get(), TRUE), ERROR_INVALID_PARAMETER);
  // Without copying, the tables are shared: give them back to one owner only.
  ASSERT_EQ(Rv_CopyGrayParams(b.get(), a.get(), FALSE), SUCCESS);
  EXPECT_EQ(b->pLUT, a->pLUT);
  b->pLUT = nullptr;
  b->pLUT16 = nullptr;
}

TEST(GrayParams, LookupTableLengthRules) {
  struct Case {
    int32_t order;
    bool use_lut;
    int32_t low, high, lut_low, lut_high;
    uint32_t lut_len, lut16_len;
    bool lut, lut16;
    int32_t valid;
  };
  const Case cases[] = {
      {ORDER_BGR, true, 0, 0, 0, 0, 3, 0, true, false, TRUE},        // not gray: always
      {ORDER_GRAY, false, 0, 0, 0, 0, 0, 0, false, false, TRUE},     // no table
      {ORDER_GRAY, true, 0, 11, 0, 0, 4096, 0, true, false, TRUE},
      {ORDER_GRAY, true, 0, 11, 0, 0, 4095, 0, true, false, FALSE},
      {ORDER_GRAY, false, 0, 11, 0, 7, 256, 0, true, false, TRUE},   // the table's own bits
      {ORDER_GRAY, false, 0, 0, 0, -1, 65536, 0, true, false, TRUE}, // -1: the top bit
      {ORDER_GRAY, true, 0, 11, 0, 0, 4096, 4096, true, true, TRUE},
      {ORDER_GRAY, true, 0, 11, 0, 0, 4096, 2048, true, true, FALSE}, // lengths differ
      {ORDER_GRAY, true, 0, 11, 0, 0, 4096, 4096, false, true, FALSE}, // deep table alone
  };
  for (const Case &c : cases) {
    BITMAPRECORD b{};
    b.uStructSize = RV_BITMAPRECORD_SIZE;
    b.nBitsPerPixel = 16;
    b.nOrder = c.order;
    b.uFlags = c.use_lut ? BITMAPFLAG_USE_LUT : 0;
    b.nLowBit = c.low;
    b.nHighBit = c.high;
    b.nLUTLowBit = c.lut_low;
    b.nLUTHighBit = c.lut_high;
    RGBQUAD lut[1];
    RGBQUAD16 lut16[1];
    b.pLUT = c.lut ? lut : nullptr;
    b.uLUTLength = c.lut_len;
    b.pLUT16 = c.lut16 ? lut16 : nullptr;
    b.uLUT16Length = c.lut16_len;
    EXPECT_EQ(Rv_IsBitmapLUTLengthValid(&b), c.valid) << &c - cases;
  }
}

}  // namespace
