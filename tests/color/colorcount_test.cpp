// Colour counting: what counts as one colour at each depth, the list in order
// of first appearance, the stop one past the room, and bad input.
#include <gtest/gtest.h>

#include <vector>

#include "color/color_records.h"
#include "support/bitmaps.h"

namespace {

using Bytes = std::vector<uint8_t>;
using colortest::rgb;

// An allocated bitmap of one row holding `pixels`.
void make_row(rvtest::Bitmap &b, int32_t width, int32_t bits, const Bytes &pixels,
              int32_t order = ORDER_BGR) {
  ASSERT_TRUE(rvtest::make(b.get(), width, 1, bits));
  b->nOrder = order;
  Bytes row = pixels;
  row.resize(static_cast<size_t>(b->nBytesPerLine));
  ASSERT_GT(Rv_PutBitmapRow(b.get(), row.data(), 0, static_cast<uint32_t>(row.size())), 0);
}

TEST(ColorCount, WhatCountsAsOneColour) {
  struct Case {
    const char *what;
    int32_t width, bits, order;
    Bytes pixels;
    uint32_t count;
  };
  const Case cases[] = {
      // Entries 0 and 1 are one colour.
      {"palette", 4, 8, 0, {0, 1, 2, 1}, 2},
      // 5-6-5: greens 0 and 1 of six bits share their top five bits.
      {"565", 3, 16, ORDER_BGR565, {0x00, 0x00, 0x20, 0x00, 0x00, 0xF8}, 2},
      {"555", 2, 16, ORDER_BGR, {0x00, 0x7C, 0x1F, 0x00}, 2},
      {"gray16", 3, 16, ORDER_GRAY, {0x34, 0x12, 0x35, 0x12, 0x34, 0x12}, 2},
      {"rgb48 high bytes", 2, 48, ORDER_BGR, {0x01, 9, 0, 9, 0, 9, 0xFF, 9, 0, 9, 0, 9}, 1},
  };
  for (const Case &c : cases) {
    rvtest::Bitmap b;
    make_row(b, c.width, c.bits, c.pixels, c.order);
    if (c.bits == 8) {
      const RGBQUAD palette[3] = {rgb(1, 2, 3), rgb(1, 2, 3), rgb(4, 5, 6)};
      ASSERT_EQ(Rv_SetBitmapNewPalette(b.get(), palette, 3), SUCCESS);
    }
    uint32_t count = 0;
    EXPECT_EQ(Rv_GetBitmapColorCountExt(b.get(), &count, nullptr), SUCCESS) << c.what;
    EXPECT_EQ(count, c.count) << c.what;
  }
}

TEST(ColorCount, ListsInOrderOfFirstAppearanceAndStopsPastTheRoom) {
  rvtest::Bitmap b;
  // Blue-green-red bytes of five pixels, three colours.
  make_row(b, 5, 24, {1, 2, 3, 4, 5, 6, 1, 2, 3, 7, 8, 9, 4, 5, 6});
  RGBQUAD list[4] = {};
  uint32_t count = 4;
  ASSERT_EQ(Rv_GetBitmapColorCountExt(b.get(), &count, list), SUCCESS);
  ASSERT_EQ(count, 3u);
  const RGBQUAD expected[3] = {rgb(3, 2, 1), rgb(6, 5, 4), rgb(9, 8, 7)};
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(list[i].rgbRed, expected[i].rgbRed);
    EXPECT_EQ(list[i].rgbBlue, expected[i].rgbBlue);
  }
  RGBQUAD small[2] = {};
  count = 1;
  ASSERT_EQ(Rv_GetBitmapColorCountExt(b.get(), &count, small), SUCCESS);
  EXPECT_EQ(count, 2u);  // room + 1: "too many"
  EXPECT_EQ(small[0].rgbRed, 3);
  EXPECT_EQ(small[1].rgbRed, 0);  // nothing past the room
}

TEST(ColorCount, BadInput) {
  uint32_t count = 0;
  rvtest::Bitmap b;
  EXPECT_EQ(Rv_GetBitmapColorCountExt(nullptr, &count, nullptr), ERROR_INVALID_IMAGE);
  ASSERT_EQ(Rv_InitBitmap(b.get(), RV_BITMAPRECORD_SIZE, 4, 4, 24), SUCCESS);
  EXPECT_EQ(Rv_GetBitmapColorCountExt(b.get(), &count, nullptr), ERROR_INVALID_IMAGE);
  ASSERT_EQ(Rv_AllocateBitmap(b.get(), BITMAPMEM_CONVENTIONAL), SUCCESS);
  EXPECT_EQ(Rv_GetBitmapColorCountExt(b.get(), nullptr, nullptr), ERROR_INVALID_PARAMETER);
  b->uStructSize = 216;
  EXPECT_EQ(Rv_GetBitmapColorCountExt(b.get(), &count, nullptr), ERROR_INVALID_STRUCT_SIZE);
  b->uStructSize = RV_BITMAPRECORD_SIZE;
  EXPECT_EQ(Rv_GetBitmapColorCountExt(b.get(), &count, nullptr), SUCCESS);
  EXPECT_EQ(count, 1u);
}

}  // namespace
