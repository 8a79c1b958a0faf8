#include <gtest/gtest.h>

#include <cstring>

#include "internal/memory.h"
#include "support/bitmaps.h"

namespace {

TEST(PixelColor, FailuresGiveTheErrorValue) {
  rvtest::Bitmap b;
  ASSERT_TRUE(rvtest::make(b.get(), 5, 4, 24));
  EXPECT_EQ(Rv_GetPixelColor(b.get(), 0, 5), RV_PIXEL_COLOR_ERROR);  // column = width
  EXPECT_EQ(Rv_GetPixelColor(b.get(), 4, 0), RV_PIXEL_COLOR_ERROR);
  EXPECT_EQ(Rv_GetPixelColor(b.get(), -1, 0), RV_PIXEL_COLOR_ERROR);
  EXPECT_EQ(Rv_GetPixelColor(nullptr, 0, 0), RV_PIXEL_COLOR_ERROR);
  rvtest::Bitmap gray32;
  ASSERT_TRUE(rvtest::make(gray32.get(), 2, 2, 32));
  gray32->nOrder = ORDER_GRAY;
  EXPECT_EQ(Rv_GetPixelColor(gray32.get(), 0, 0), RV_PIXEL_COLOR_ERROR);
  BITMAPRECORD unallocated{};
  Rv_InitBitmap(&unallocated, RV_BITMAPRECORD_SIZE, 2, 2, 8);
  EXPECT_EQ(Rv_GetPixelColor(&unallocated, 0, 0), RV_PIXEL_COLOR_ERROR);
  EXPECT_EQ(Rv_PutPixelColor(&unallocated, 0, 0, 0), ERROR_INVALID_IMAGE);
  // Outside the bitmap (no region): refused, nothing written.
  EXPECT_EQ(Rv_PutPixelColor(b.get(), 0, 5, 0xFFFFFF), ERROR_INVALID_WIDTH_OR_HEIGHT);
  EXPECT_EQ(Rv_PutPixelColor(b.get(), 4, 0, 0xFFFFFF), ERROR_INVALID_WIDTH_OR_HEIGHT);
}

TEST(PixelColor, PackedBitsFromTheHighEnd) {
  rvtest::Bitmap b;
  ASSERT_TRUE(rvtest::make(b.get(), 16, 1, 1));  // no palette: the fixed one, black and white
  b->pData[1] = 0x40;                              // column 9
  EXPECT_EQ(Rv_GetPixelColor(b.get(), 0, 9), RV_RGB(255, 255, 255));
  EXPECT_EQ(Rv_GetPixelColor(b.get(), 0, 8), RV_RGB(0, 0, 0));
  // Depth 3, column 2 straddles two bytes.
  rvtest::Bitmap three;
  ASSERT_TRUE(rvtest::make(three.get(), 8, 1, 3));
  uint8_t data[2] = {};
  EXPECT_EQ(Rv_GetPixelData(three.get(), data, 0, 2, 1), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_GetPixelData(three.get(), data, 0, 2, 2), SUCCESS);
  EXPECT_EQ(Rv_GetPixelData(three.get(), nullptr, 0, 2, 2), ERROR_INVALID_IMAGE);
  const uint8_t bytes[2] = {0xAB, 0xCD};
  EXPECT_EQ(Rv_PutPixelData(three.get(), bytes, 0, 2, 2), SUCCESS);
  EXPECT_EQ(three->pData[0], 0xAB);
  EXPECT_EQ(three->pData[1], 0xCD);
  // An index-flagged colour is taken as the index.
  EXPECT_EQ(Rv_PutPixelColor(three.get(), 0, 5, RV_PALETTE_INDEX(6)), SUCCESS);
  uint8_t pix[2];
  Rv_GetPixelData(three.get(), pix, 0, 5, 2);
  EXPECT_EQ(((pix[0] << 8 | pix[1]) >> (16 - 15 % 8 - 3)) & 7, 6);
}

TEST(PixelColor, ColoursRoundTripAtEveryColourDepth) {
  struct Case {
    int32_t bits, order;
    COLORREF color, expected;
    int32_t alpha_in, alpha_out;
  };
  const Case cases[] = {
      {16, ORDER_BGR, RV_RGB(0xF8, 0x80, 0x08), RV_RGB(0xFF, 0x84, 0x08), 255, 255},  // 5-bit widening
      {16, ORDER_RGB, RV_RGB(0xF8, 0x80, 0x08), RV_RGB(0xFF, 0x84, 0x08), 255, 255},
      {16, ORDER_BGR565, RV_RGB(0xF8, 0x84, 0x08), RV_RGB(0xFF, 0x86, 0x08), 255, 255},
      {24, ORDER_BGR, RV_RGB(1, 2, 3), RV_RGB(1, 2, 3), 255, 255},
      {24, ORDER_RGB, RV_RGB(1, 2, 3), RV_RGB(1, 2, 3), 255, 255},
      {32, ORDER_BGR, RV_RGB(9, 8, 7), RV_RGB(9, 8, 7), 77, 77},
      {48, ORDER_RGB, RV_RGB(200, 100, 50), RV_RGB(200, 100, 50), 255, 255},
      {64, ORDER_BGR, RV_RGB(200, 100, 50), RV_RGB(200, 100, 50), 128, 128},
      {24, ORDER_BGR, RV_GRAY_LEVEL(0x8000) | 0x8000, RV_RGB(0x80, 0x80, 0x80), 255, 255},  // tagged gray
  };
  for (const Case &c : cases) {
    rvtest::Bitmap b;
    ASSERT_TRUE(rvtest::make(b.get(), 3, 2, c.bits));
    b->nOrder = c.order;
    ASSERT_EQ(Rv_IntPutPixelColor(b.get(), 1, 2, c.color, c.alpha_in), SUCCESS);
    int32_t alpha = -1;
    EXPECT_EQ(Rv_IntGetPixelColor(b.get(), 1, 2, &alpha), c.expected) << c.bits << "/" << c.order;
    EXPECT_EQ(alpha, c.alpha_out) << c.bits;
  }
  // The byte layout of the orders.
  rvtest::Bitmap rgb;
  ASSERT_TRUE(rvtest::make(rgb.get(), 1, 1, 24));
  rgb->nOrder = ORDER_RGB;
  Rv_PutPixelColor(rgb.get(), 0, 0, RV_RGB(1, 2, 3));
  EXPECT_EQ(rgb->pData[0], 1);
  EXPECT_EQ(rgb->pData[2], 3);
}

TEST(PixelColor, AlphaOfSixteenBitChannels) {
  const struct {
    uint16_t stored;
    int32_t alpha;
  } cases[] = {{0, 0}, {65535, 255}, {100, 0}, {1000, 3}, {32768, 127}, {65534, 254}};
  for (const auto &c : cases) {
    rvtest::Bitmap b;
    ASSERT_TRUE(rvtest::make(b.get(), 1, 1, 64));
    std::memcpy(b->pData + 6, &c.stored, 2);
    int32_t alpha = -1;
    Rv_IntGetPixelColor(b.get(), 0, 0, &alpha);
    EXPECT_EQ(alpha, c.alpha) << c.stored;
  }
}

TEST(PixelColor, DeepGrayFieldsAndTables) {
  rvtest::Bitmap b;
  ASSERT_TRUE(rvtest::make(b.get(), 2, 1, 16));
  b->nOrder = ORDER_GRAY;
  b->nLowBit = 4;
  b->nHighBit = 11;
  const uint16_t around = 0xF00F;
  std::memcpy(b->pData, &around, 2);
  ASSERT_EQ(Rv_PutPixelColor(b.get(), 0, 0, RV_RGB(200, 200, 200)), SUCCESS);
  uint16_t w;
  std::memcpy(&w, b->pData, 2);
  EXPECT_EQ(w, 0xF00F | (200 << 4));  // the bits outside the field stay
  EXPECT_EQ(Rv_GetPixelColor(b.get(), 0, 0), RV_RGB(200, 200, 200));
  // A tagged gray level is the field's own value.
  ASSERT_EQ(Rv_PutPixelColor(b.get(), 0, 1, RV_GRAY_LEVEL(0x21)), SUCCESS);
  std::memcpy(&w, b->pData + 2, 2);
  EXPECT_EQ(w, 0x21 << 4);
  // With a table in use: the nearest entry's index.
  b->nLowBit = 0;
  b->nHighBit = 1;
  b->pLUT = rv::alloc_array<RGBQUAD>(4, true);
  b->uLUTLength = 4;
  b->uFlags |= BITMAPFLAG_USE_LUT;
  for (int i = 0; i < 4; ++i) b->pLUT[i] = RGBQUAD{uint8_t(i * 80), uint8_t(i * 80), uint8_t(i * 80), 0};
  ASSERT_EQ(Rv_PutPixelColor(b.get(), 0, 0, RV_RGB(170, 170, 170)), SUCCESS);
  std::memcpy(&w, b->pData, 2);
  EXPECT_EQ(w & 3, 2);
  EXPECT_EQ(Rv_GetPixelColor(b.get(), 0, 0), RV_RGB(160, 160, 160));
  // Twelve bits: odd columns take the high 12 bits of their pair; the
  // neighbour's half byte stays.
  rvtest::Bitmap twelve;
  ASSERT_TRUE(rvtest::make(twelve.get(), 2, 1, 12));
  twelve->pData[1] = 0x05;
  ASSERT_EQ(Rv_PutPixelColor(twelve.get(), 0, 1, RV_GRAY_LEVEL(0xABC)), SUCCESS);
  EXPECT_EQ(twelve->pData[1], 0xC5);
  EXPECT_EQ(twelve->pData[2], 0xAB);
  // A plain colour's gray is shifted up to the high bit: white is 0xFF0.
  ASSERT_EQ(Rv_PutPixelColor(twelve.get(), 0, 0, RV_RGB(255, 255, 255)), SUCCESS);
  EXPECT_EQ(twelve->pData[0], 0xF0);
  EXPECT_EQ(twelve->pData[1], 0xCF);
}

}  // namespace
