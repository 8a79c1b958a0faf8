// The pixel reader that dithering, counting and the quantiser share: one
// pixel of each stored form, worked out by hand.
#include <gtest/gtest.h>

#include <vector>

#include "color/color_records.h"
#include "color/pixel_reader.h"

namespace {

using Bytes = std::vector<uint8_t>;
using rv::color::PixelReader;

constexpr uint32_t bgr(uint32_t r, uint32_t g, uint32_t b) { return b | (g << 8) | (r << 16); }

TEST(PixelReader, OnePixelOfEachForm) {
  RGBQUAD lut[16] = {};
  lut[9] = colortest::rgb(1, 2, 3);
  RGBQUAD16 lut16[16] = {};
  lut16[9] = RGBQUAD16{0x0AFF, 0x0BFF, 0x0CFF, 0};
  struct Case {
    const char *what;
    int32_t bits, order, low, high;
    uint32_t tables;
    Bytes pixel;
    uint32_t color;
  };
  const Case cases[] = {
      {"565", 16, ORDER_BGR565, 0, -1, 0, {0x41, 0xF8}, bgr(255, 8, 8)},  // green 2, blue 1
      {"555 rgb", 16, ORDER_RGB, 0, -1, 0, {0x1F, 0x00}, bgr(255, 0, 0)},
      {"24 rgb", 24, ORDER_RGB, 0, -1, 0, {1, 2, 3}, bgr(1, 2, 3)},
      {"32 bgr", 32, ORDER_BGR, 0, -1, 0, {1, 2, 3, 4}, bgr(3, 2, 1)},
      {"48 high bytes", 48, ORDER_BGR, 0, -1, 0, {0xFF, 1, 0xFF, 2, 0xFF, 3}, bgr(3, 2, 1)},
      {"64 rgb", 64, ORDER_RGB, 0, -1, 0, {0, 1, 0, 2, 0, 3, 0, 4}, bgr(1, 2, 3)},
      // A four-bit field is scaled to eight bits, a wider one cut to its top eight.
      {"gray field 4", 16, ORDER_GRAY, 0, 3, 0, {0x08, 0x00}, bgr(136, 136, 136)},
      {"gray field 16", 16, ORDER_GRAY, 0, -1, 0, {0x34, 0x12}, bgr(0x12, 0x12, 0x12)},
      {"gray12", 12, ORDER_GRAY, 0, -1, 0, {0x00, 0x0A, 0}, bgr(0xA0, 0xA0, 0xA0)},
      {"gray lut", 16, ORDER_GRAY, 4, 7, PixelReader::kLut, {0x90, 0x00}, bgr(1, 2, 3)},
      {"gray lut16", 16, ORDER_GRAY, 4, 7, PixelReader::kLut | PixelReader::kLut16, {0x90, 0x00},
       bgr(0x0C, 0x0B, 0x0A)},
  };
  for (const Case &c : cases) {
    BITMAPRECORD b{};
    b.uStructSize = RV_BITMAPRECORD_SIZE;
    b.nBitsPerPixel = c.bits;
    b.nOrder = c.order;
    b.nLowBit = c.low;
    b.nHighBit = c.high;
    b.pLUT = lut;
    b.uLUTLength = 16;
    b.pLUT16 = lut16;
    b.uLUT16Length = 16;
    PixelReader reader;
    const int32_t limit = PixelReader::has_gray_table(&b, c.tables) ? c.bits : 8;
    ASSERT_EQ(reader.setup(&b, c.tables, limit), SUCCESS) << c.what;
    EXPECT_EQ(reader.rgb(c.pixel.data(), 0), c.color) << c.what;
  }
}

}  // namespace
