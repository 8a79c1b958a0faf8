#include <gtest/gtest.h>

#include "support/bitmaps.h"

namespace {

TEST(CreateBitmap, PalettesOrdersAndViews) {
  struct Case {
    int32_t bits, order;
    bool palette;  // pass a palette of our own
    int32_t view;
    int32_t expected_bits, expected_order, expected_view;
    bool gray;  // the palette comes out gray
  };
  const Case cases[] = {
      {0, ORDER_BGR, false, 0, 8, ORDER_RGB, VIEW_TOP_LEFT, true},        // depth 0: 8-bit gray
      {4, ORDER_GRAY, false, 3, 4, ORDER_RGB, 3, true},                    // gray asked for
      {4, ORDER_GRAY, true, 1, 4, ORDER_RGB, 1, false},                    // a palette wins
      {8, ORDER_BGR, false, 8, 8, ORDER_RGB, 8, false},                    // fixed palette
      {24, ORDER_RGB, false, 0, 24, ORDER_RGB, VIEW_TOP_LEFT, false},
      {16, ORDER_GRAY, false, 4, 16, ORDER_GRAY, 4, false},
  };
  RGBQUAD own[256] = {};
  for (int i = 0; i < 256; ++i) own[i] = RGBQUAD{uint8_t(i), 0, uint8_t(255 - i), 0};
  for (const Case &c : cases) {
    rvtest::Bitmap b;
    ASSERT_EQ(Rv_CreateBitmap(b.get(), RV_BITMAPRECORD_SIZE, BITMAPMEM_CONVENTIONAL, 5, 3, c.bits, c.order,
                              c.palette ? own : nullptr, c.view, nullptr, 0),
              SUCCESS);
    EXPECT_EQ(b->nBitsPerPixel, c.expected_bits);
    EXPECT_EQ(b->nOrder, c.expected_order);
    EXPECT_EQ(b->nViewPerspective, c.expected_view);
    if (c.expected_bits <= 8) {
      ASSERT_NE(b->pPalette, nullptr);
      EXPECT_EQ(Rv_IsGrayScalePalette(b->pPalette, b->nColors) != GRAY_NO, c.gray) << c.bits;
      if (c.palette) {
        EXPECT_EQ(b->pPalette[3].rgbBlue, 3);
      }
    }
  }
}

TEST(CreateBitmap, TwoBitFixedPaletteStartsFromTheTwoColourTable) {
  rvtest::Bitmap b;
  ASSERT_EQ(Rv_CreateBitmap(b.get(), RV_BITMAPRECORD_SIZE, BITMAPMEM_CONVENTIONAL, 4, 4, 2, 0, nullptr, 0,
                            nullptr, 0),
            SUCCESS);
  ASSERT_EQ(b->nColors, 4);
  const COLORREF expected[4] = {RV_RGB(0, 0, 0), RV_RGB(255, 255, 255), RV_RGB(0, 0, 0), RV_RGB(0, 0, 85)};
  for (int i = 0; i < 4; ++i) {
    const RGBQUAD &e = b->pPalette[i];
    EXPECT_EQ(RV_RGB(e.rgbRed, e.rgbGreen, e.rgbBlue), expected[i]) << i;
  }
}

TEST(CreateBitmap, RefusalsAndCallerData) {
  rvtest::Bitmap b;
  // Order 5 outside 24 and 48 bits: refused after initialisation, without storage.
  EXPECT_EQ(Rv_CreateBitmap(b.get(), RV_BITMAPRECORD_SIZE, BITMAPMEM_CONVENTIONAL, 4, 4, 8, ORDER_WIDE_GAMUT,
                            nullptr, 0, nullptr, 0),
            ERROR_INVALID_BITS_PER_PIXEL);
  EXPECT_EQ(b->nWidth, 4);
  EXPECT_FALSE(b->uFlags & BITMAPFLAG_ALLOCATED);
  EXPECT_EQ(Rv_CreateBitmap(b.get(), RV_BITMAPRECORD_SIZE, BITMAPMEM_CONVENTIONAL, 4, 4, 24, 0, nullptr, 9,
                            nullptr, 0),
            ERROR_INVALID_PARAMETER);
  uint8_t data[4 * 2] = {1, 2, 3, 4, 5, 6, 7, 8};
  ASSERT_EQ(Rv_CreateBitmap(b.get(), RV_BITMAPRECORD_SIZE, BITMAPMEM_NO_MEMORY, 4, 2, 8, 0, nullptr, 0, data,
                            sizeof data),
            SUCCESS);
  EXPECT_EQ(b->pData, data);
  const RGBQUAD &five = b->pPalette[5];
  EXPECT_EQ(Rv_GetPixelColor(b.get(), 1, 0), RV_RGB(five.rgbRed, five.rgbGreen, five.rgbBlue));
  EXPECT_EQ(Rv_CreateBitmap(nullptr, RV_BITMAPRECORD_SIZE, 1, 1, 1, 8, 0, nullptr, 0, nullptr, 0),
            ERROR_INVALID_PARAMETER);
}

}  // namespace
