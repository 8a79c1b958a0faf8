// Buffer conversion: pixels worked out by hand for each rule, the checks and
// their order, the kept odd behaviours, and the helpers around conversion.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "color/color_records.h"

namespace {

using Bytes = std::vector<uint8_t>;
using colortest::rgb;

Bytes operator+(Bytes a, const Bytes &b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}
Bytes le16(uint32_t v) { return {uint8_t(v), uint8_t(v >> 8)}; }
Bytes le32(uint32_t v) { return {uint8_t(v), uint8_t(v >> 8), uint8_t(v >> 16), uint8_t(v >> 24)}; }
Bytes words(std::initializer_list<uint32_t> values) {
  Bytes out;
  for (uint32_t v : values) out = out + le16(v);
  return out;
}

struct Format {
  int32_t src_bits, dst_bits, src_order, dst_order;
  uint32_t flags = 0;
  int32_t low = -1, high = -1;
  const RGBQUAD *src_palette = nullptr;
  const RGBQUAD *dst_palette = nullptr;
  const RGBQUAD16 *lut16 = nullptr;
  COLORREF transparent = 0;
};

// Converts `input` (padded to the conversion size) and returns the status;
// `buffer` keeps all of it.
int32_t run(const Format &f, int32_t width, const Bytes &input, Bytes *buffer) {
  *buffer = input;
  const size_t size = Rv_CalcConvertSize(static_cast<uint32_t>(width), f.src_bits,
                                         static_cast<uint32_t>(width), f.dst_bits);
  if (buffer->size() < size) buffer->resize(size, 0xEE);
  return Rv_ConvertBufferExt3(buffer->data(), width, f.src_bits, f.dst_bits, f.src_order,
                              f.dst_order, f.src_palette, f.dst_palette, f.lut16, 0, f.flags,
                              f.low, f.high, f.transparent);
}

std::string hex(const Bytes &b) {
  std::string s;
  char part[4];
  for (uint8_t v : b) {
    std::snprintf(part, sizeof part, "%02X ", v);
    s += part;
  }
  return s;
}

struct Case {
  const char *rule;
  Format format;
  int32_t width;
  Bytes input;
  Bytes expected;  // the first bytes of the buffer afterwards
};

void check(const Case &c) {
  Bytes out;
  ASSERT_EQ(run(c.format, c.width, c.input, &out), SUCCESS) << c.rule;
  ASSERT_GE(out.size(), c.expected.size()) << c.rule;
  EXPECT_EQ(hex(Bytes(out.begin(), out.begin() + static_cast<long>(c.expected.size()))),
            hex(c.expected))
      << c.rule;
}

const RGBQUAD kFour[4] = {rgb(0, 0, 0), rgb(10, 20, 30), rgb(200, 100, 50), rgb(255, 255, 255)};

TEST(ConvertBuffer, ColourRules) {
  const RGBQUAD16 lut16[2] = {{0x1000, 0x2000, 0x3000, 0}, {0xFFFF, 0x8000, 0x0100, 0}};
  const Case cases[] = {
      {"24 to 16 keeps the top bits", {24, 16, ORDER_BGR, ORDER_BGR}, 1, {0xFF, 0xFF, 0xFF}, le16(0x7FFF)},
      {"5-6-5 takes six bits of green", {24, 16, ORDER_BGR, ORDER_BGR565}, 1, {0x10, 0x20, 0x30}, le16(0x3102)},
      {"5-5-5 in red-green-blue order", {24, 16, ORDER_RGB, ORDER_RGB}, 1, {0x30, 0x20, 0x10}, le16(0x0886)},
      {"16 to 24 replicates top bits", {16, 24, ORDER_BGR, ORDER_BGR}, 1, le16(0x7FFF), {0xFF, 0xFF, 0xFF}},
      {"5-6-5 to 24", {16, 24, ORDER_BGR565, ORDER_BGR}, 1, le16(0x3102), {16, 32, 49}},
      {"bit 15 to 64 is alpha", {16, 64, ORDER_BGR, ORDER_BGR}, 2, words({0xFFFF, 0x7FFF}),
       words({0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0})},
      {"16 to 32 alpha is always 255", {16, 32, ORDER_BGR, ORDER_BGR}, 2, words({0xFFFF, 0x7FFF}),
       {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}},
      {"5-5-5 orders carry bit 15", {16, 16, ORDER_BGR, ORDER_RGB}, 1, le16(0x8443), le16(0x8C41)},
      {"5-6-5 carries no bit 15", {16, 16, ORDER_BGR, ORDER_BGR565}, 1, le16(0x8443), le16(0x0883)},
      {"24 swap", {24, 24, ORDER_BGR, ORDER_RGB}, 2, {1, 2, 3, 4, 5, 6}, {3, 2, 1, 6, 5, 4}},
      {"24 to 32 alpha 255", {24, 32, ORDER_BGR, ORDER_RGB}, 1, {1, 2, 3}, {3, 2, 1, 0xFF}},
      {"transparent colour gets alpha 0",
       {24, 32, ORDER_BGR, ORDER_BGR, CONVERT_TRANSPARENT, -1, -1, nullptr, nullptr, nullptr, RV_RGB(3, 2, 1)},
       2, {1, 2, 3, 1, 2, 4}, {1, 2, 3, 0, 1, 2, 4, 0xFF}},
      {"an index never matches a colour source",
       {24, 32, ORDER_BGR, ORDER_BGR, CONVERT_TRANSPARENT, -1, -1, nullptr, nullptr, nullptr, 0x01000001},
       1, {1, 1, 1}, {1, 1, 1, 0xFF}},
      {"32 to 24 drops alpha", {32, 24, ORDER_RGB, ORDER_BGR}, 2, {1, 2, 3, 4, 5, 6, 7, 8}, {3, 2, 1, 7, 6, 5}},
      {"64 to 32 high bytes, alpha too", {64, 32, ORDER_BGR, ORDER_BGR}, 1,
       words({0x1234, 0x5678, 0x9ABC, 0xDEF0}), {0x12, 0x56, 0x9A, 0xDE}},
      {"32 to 64 widens alpha", {32, 64, ORDER_BGR, ORDER_BGR}, 1, {1, 2, 3, 4},
       words({0x0101, 0x0202, 0x0303, 0x0404})},
      {"24 to 48 is times 257", {24, 48, ORDER_BGR, ORDER_RGB}, 1, {1, 2, 3}, words({0x0303, 0x0202, 0x0101})},
      {"48 to 24 high bytes", {48, 24, ORDER_BGR, ORDER_BGR}, 1, words({0x12FF, 0x34FF, 0x56FF}), {0x12, 0x34, 0x56}},
      {"24 to 64 transparent",
       {24, 64, ORDER_BGR, ORDER_BGR, CONVERT_TRANSPARENT, -1, -1, nullptr, nullptr, nullptr, RV_RGB(3, 2, 1)},
       2, {1, 2, 3, 1, 2, 2}, words({0x0101, 0x0202, 0x0303, 0, 0x0101, 0x0202, 0x0202, 0xFFFF})},
      {"48 to 64 matches on high bytes",
       {48, 64, ORDER_BGR, ORDER_BGR, CONVERT_TRANSPARENT, -1, -1, nullptr, nullptr, nullptr, RV_RGB(3, 2, 1)},
       1, words({0x0111, 0x0222, 0x0333}), words({0x0111, 0x0222, 0x0333, 0})},
      {"1-bit fixed palette to 24", {1, 24, ORDER_RGB, ORDER_BGR}, 4, {0xB0},
       {255, 255, 255, 0, 0, 0, 255, 255, 255, 255, 255, 255}},
      {"palette to 32 transparent by index",
       {2, 32, ORDER_RGB, ORDER_BGR, CONVERT_TRANSPARENT, -1, -1, kFour, nullptr, nullptr, 0x01000002},
       2, {0x90}, {50, 100, 200, 0, 30, 20, 10, 0xFF}},
      {"gray word to 24: the high byte", {16, 24, ORDER_GRAY, ORDER_BGR}, 1, le16(0xAB12), {0xAB, 0xAB, 0xAB}},
      {"narrow field to 24 is not scaled", {16, 24, ORDER_GRAY, ORDER_BGR, CONVERT_SRC_BITRANGE, 0, 3}, 1,
       le16(0xAB15), {5, 5, 5}},
      {"gray word to 48 at full scale", {16, 48, ORDER_GRAY, ORDER_BGR, CONVERT_SRC_BITRANGE, 0, 7}, 1,
       le16(0x0002), words({0x0202, 0x0202, 0x0202})},
      {"gray word through a palette table", {16, 24, ORDER_GRAY, ORDER_BGR, 0, -1, -1, kFour}, 1,
       le16(0x0002), {50, 100, 200}},
      {"gray word through a 16-bit table", {16, 48, ORDER_GRAY, ORDER_BGR, 0, -1, -1, kFour, nullptr, lut16}, 1,
       le16(0x0001), words({0xFFFF, 0x8000, 0x0100})},
      {"32-bit gray's top byte is 64-bit alpha", {32, 64, ORDER_GRAY, ORDER_BGR}, 1, le32(0x12345678),
       words({0x1234, 0x1234, 0x1234, 0x1212})},
  };
  for (const Case &c : cases) check(c);
}

TEST(ConvertBuffer, GrayRules) {
  const RGBQUAD16 lut16[1] = {{0x1000, 0x8000, 0xF000, 0}};
  const Case cases[] = {
      {"the weighting", {24, 0, ORDER_BGR, 0}, 1, {10, 20, 30}, {21}},
      {"24 to 16 gray at full scale", {24, 16, ORDER_BGR, ORDER_GRAY}, 1, {10, 20, 30}, le16(21 * 257)},
      {"24 to 12 gray", {24, 12, ORDER_BGR, ORDER_GRAY}, 1, {10, 20, 30}, {0x51, 0x11}},  // 21*4095/255 = 337
      {"24 to 32 gray", {24, 32, ORDER_BGR, ORDER_GRAY}, 1, {0xFF, 0xFF, 0xFF}, le32(0xFFFFFFFF)},
      {"32 colour to 32 gray is 16 bits", {32, 32, ORDER_BGR, ORDER_GRAY}, 1, {0xFF, 0xFF, 0xFF, 0}, le32(0x0000FFFF)},
      {"32 colour to 16 gray is g << 8", {32, 16, ORDER_BGR, ORDER_GRAY}, 1, {10, 20, 30, 0}, le16(21 << 8)},
      {"32 colour to 12 gray is g << 4", {32, 12, ORDER_BGR, ORDER_GRAY}, 1, {10, 20, 30, 0}, {0x50, 0x11}},
      {"16 colour to 32 gray", {16, 32, ORDER_BGR, ORDER_GRAY}, 1, le16(0x7FFF), le32(0xFFFFFFFF)},
      {"16 colour to 16 gray", {16, 16, ORDER_BGR, ORDER_GRAY}, 1, le16(0x7FFF), le16(0xFFFF)},
      {"48 to 32 gray: high-byte gray twice", {48, 32, ORDER_BGR, ORDER_GRAY}, 1,
       words({0xFF00, 0xFF00, 0xFF00}), le32(0x00FF00FF)},
      {"64 to 32 gray: full gray twice", {64, 32, ORDER_BGR, ORDER_GRAY}, 1,
       words({0x1234, 0x1234, 0x1234, 0}), le32(0x12341234)},
      {"48 to 16 gray: full channels", {48, 16, ORDER_BGR, ORDER_GRAY}, 1,
       words({0x0100, 0x0200, 0x0300}), le16((5 * 0x200 + 2 * 0x300 + 0x100 + 4) >> 3)},
      {"48 to plain gray: high bytes", {48, 0, ORDER_BGR, 0}, 1, words({0x01FF, 0x02FF, 0x03FF}), {2}},
      {"palette to 8-bit gray", {2, 8, ORDER_RGB, ORDER_GRAY, 0, -1, -1, kFour}, 4, {0x1B},
       {0, 19, 119, 255}},
      {"16 gray to plain: high byte", {16, 0, ORDER_GRAY, 0}, 1, le16(0xAB12), {0xAB}},
      {"a 4-bit field scaled to 8", {16, 0, ORDER_GRAY, 0, CONVERT_SRC_BITRANGE, 0, 3}, 1, le16(0x0005), {85}},
      {"a mid field", {16, 0, ORDER_GRAY, 0, CONVERT_SRC_BITRANGE, 4, 11}, 1, le16(0x0AB0), {0xAB}},
      {"16 to 16 gray, source range", {16, 16, ORDER_GRAY, ORDER_GRAY, CONVERT_SRC_BITRANGE, 0, 11}, 1,
       le16(0x0800), le16(0x0800 * 65535 / 4095)},
      {"16 to 16 gray, destination range", {16, 16, ORDER_GRAY, ORDER_GRAY, CONVERT_DST_BITRANGE, 4, 11}, 1,
       le16(0x8000), le16(0x0800)},
      {"signed words shift arithmetically",
       {16, 16, ORDER_GRAY, ORDER_GRAY, CONVERT_DST_BITRANGE | CONVERT_SIGNED, 4, 11}, 1, le16(0x8000), le16(0xF800)},
      {"16 to 32 gray", {16, 32, ORDER_GRAY, ORDER_GRAY}, 1, le16(0x1234), le32(0x12341234)},
      {"32 to 32 gray, source range", {32, 32, ORDER_GRAY, ORDER_GRAY, CONVERT_SRC_BITRANGE, 0, 15}, 1,
       le32(0xABCD0002), le32(0x00020002)},
      {"32 to plain gray: top byte", {32, 0, ORDER_GRAY, 0}, 1, le32(0xAB123456), {0xAB}},
      {"12 to 16 gray at full scale", {12, 16, ORDER_GRAY, ORDER_GRAY}, 2, {0xFF, 0x1F, 0x00},
       words({0xFFFF, 16})},
      {"12 to plain gray", {12, 0, ORDER_GRAY, 0}, 2, {0xFF, 0x0F, 0x80}, {0xFF, 127}},
      {"16 gray through a 16-bit table", {16, 0, ORDER_GRAY, 0, 0, -1, -1, nullptr, nullptr, lut16}, 1,
       le16(0), {(5 * 0x8000 + 2 * 0xF000 + 0x1000 + 4) >> 11}},
      {"16 gray through a palette table to 16", {16, 16, ORDER_GRAY, ORDER_GRAY, CONVERT_SRC_BITRANGE, 0, 1, kFour},
       1, le16(0xFF02), le16(119 * 257)},
  };
  for (const Case &c : cases) check(c);
}

TEST(ConvertBuffer, PalettesAndPackedPixels) {
  const RGBQUAD *fixed8 = Rv_IntGetFixedPalette(8);
  const Case cases[] = {
      {"same palette: bytes stay whatever they are", {8, 8, 0, 0, 0, -1, -1, fixed8, nullptr}, 3,
       {7, 200, 255}, {7, 200, 255}},
      {"black and white through the shortcuts", {24, 1, ORDER_BGR, 0}, 3,
       {0, 0, 0, 255, 255, 255, 250, 250, 250}, {0x60}},
      // 3-bit gray fields straddle bytes; the spare bits of the last byte stay.
      {"straddling 3-bit pixels", {0, 3, 0, ORDER_GRAY}, 3, {0xFF, 0x3F, 0xFF}, {0xE7, 0xBF, 0xFF}},
      {"1-bit to 5-bit fields", {1, 5, 0, ORDER_GRAY}, 2, {0x80, 0x3F}, {0xF8, 0x3F}},
      {"4-bit palette to 8-bit palette", {4, 8, 0, 0, 0, -1, -1, Rv_IntGetFixedPalette(4), fixed8}, 2,
       {0x9F}, {0xE0, 0xFF}},
      {"gray to a palette through the map", {0, 2, 0, 0, 0, -1, -1, nullptr, kFour}, 3, {0, 150, 254}, {0x2C}},
      // 12 bits of an odd width rewrite only the low 12 bits of the last word.
      {"odd 12-bit width", {0, 12, 0, ORDER_GRAY}, 3, {0x10, 0x20, 0xFF, 0x00, 0xA5},
       {0x00, 0x11, 0x20, 0xFF, 0xAF}},
  };
  for (const Case &c : cases) check(c);
}

TEST(ConvertBuffer, ChecksComeFirstAndLeaveTheBuffer) {
  struct Refusal {
    const char *why;
    Format format;
    int32_t width;
  };
  const Refusal refusals[] = {
      {"width 0", {24, 32, ORDER_BGR, ORDER_BGR}, 0},
      {"both ranges", {16, 16, ORDER_GRAY, ORDER_GRAY, CONVERT_SRC_BITRANGE | CONVERT_DST_BITRANGE, 2, 9}, 1},
      {"a range on a colour destination", {16, 24, ORDER_GRAY, ORDER_BGR, CONVERT_DST_BITRANGE, 2, 9}, 1},
      {"12 bits that aren't gray", {12, 24, ORDER_BGR, ORDER_BGR}, 1},
      {"to 12 bits not gray", {24, 12, ORDER_BGR, ORDER_BGR}, 1},
      {"source depth", {9, 24, 0, ORDER_BGR}, 1},
      {"source depth above 64", {65, 24, 0, ORDER_BGR}, 1},
      {"destination depth", {24, 10, ORDER_BGR, 0}, 1},
      {"16-bit source order", {16, 24, ORDER_WIDE_GAMUT, ORDER_BGR}, 1},
      {"24-bit gray source", {24, 32, ORDER_GRAY, ORDER_BGR}, 1},
      {"32-bit 5-6-5 source", {32, 24, ORDER_BGR565, ORDER_BGR}, 1},
      {"64-bit gray source", {64, 24, ORDER_GRAY, ORDER_BGR}, 1},
      {"16-bit wide-gamut destination", {24, 16, ORDER_BGR, ORDER_WIDE_GAMUT}, 1},
      {"24-bit gray destination", {32, 24, ORDER_BGR, ORDER_GRAY}, 1},
      {"32-bit wide gamut from colour", {24, 32, ORDER_BGR, ORDER_WIDE_GAMUT}, 1},
  };
  const Bytes input = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
  for (const Refusal &r : refusals) {
    Bytes out;
    EXPECT_EQ(run(r.format, r.width, input, &out), ERROR_INVALID_PARAMETER) << r.why;
    EXPECT_TRUE(std::equal(input.begin(), input.end(), out.begin())) << r.why;
  }
  EXPECT_EQ(Rv_ConvertBuffer(nullptr, 1, 24, 32, ORDER_BGR, ORDER_BGR, nullptr, nullptr),
            ERROR_INVALID_PARAMETER);

  // A range that asks for the whole word is no range at all.
  const Bytes word = le16(0xAB12);
  Bytes plain, ranged;
  ASSERT_EQ(run({16, 0, ORDER_GRAY, 0}, 1, word, &plain), SUCCESS);
  for (int32_t low : {0, -3}) {
    for (int32_t high : {15, -1}) {
      ASSERT_EQ(run({16, 0, ORDER_GRAY, 0, CONVERT_SRC_BITRANGE, low, high}, 1, word, &ranged), SUCCESS);
      EXPECT_EQ(plain, ranged) << low << " " << high;
    }
  }
}

TEST(ConvertBuffer, WideGamut) {
  // Into the order: the matrix shifted; out of it: divided and clamped.
  const Case cases[] = {
      {"into the order", {24, 24, ORDER_BGR, ORDER_WIDE_GAMUT}, 1, {100, 150, 200}, {107, 152, 170}},
      {"out of the order", {24, 24, ORDER_WIDE_GAMUT, ORDER_BGR}, 2, {100, 150, 200, 10, 200, 30},
       {91, 141, 255, 0, 243, 0}},
      {"out of it, then as blue-green-red", {24, 24, ORDER_WIDE_GAMUT, ORDER_RGB}, 1, {100, 150, 200},
       {255, 141, 91}},
      {"48 into 48 is matrixed twice", {48, 48, ORDER_BGR, ORDER_WIDE_GAMUT}, 1,
       words({1000, 30000, 60000}), words({8724, 30977, 33446})},
      {"16-bit results stay within range", {48, 48, ORDER_BGR, ORDER_WIDE_GAMUT}, 1,
       words({65535, 65535, 65535}), words({65535, 65535, 65535})},
  };
  for (const Case &c : cases) check(c);

  // Plain gray into a 32-bit wide-gamut destination: the pixels are written,
  // then the order is refused.
  Bytes out;
  EXPECT_EQ(run({0, 32, 0, ORDER_WIDE_GAMUT}, 1, {9, 0, 0, 0}, &out), ERROR_FEATURE_NOT_SUPPORTED);
  EXPECT_EQ(hex(Bytes(out.begin(), out.begin() + 4)), hex({9, 9, 9, 0xFF}));
  // A wide-gamut source is brought out of the order before the destination
  // is refused.
  EXPECT_EQ(run({24, 24, ORDER_WIDE_GAMUT, ORDER_GRAY}, 1, {100, 150, 200}, &out), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(hex(Bytes(out.begin(), out.begin() + 3)), hex({91, 141, 255}));
}

TEST(ConvertHelpers, SizesMapsAndPadding) {
  EXPECT_EQ(Rv_CalcConvertSize(10, 8, 10, 24), 32u);
  EXPECT_EQ(Rv_CalcConvertSize(10, 0, 3, 1), 12u);   // 0 bits count as 8
  EXPECT_EQ(Rv_CalcConvertSize(3, 24, 10, 1), 32u);  // the destination width at the source depth
  EXPECT_EQ(Rv_CalcConvertSize(0x20000000, 32, 1, 1), 4u);  // 32-bit products wrap

  uint8_t table[256];
  EXPECT_EQ(Rv_IntMapPalette(kFour, 4, kFour, 4, table), TRUE);
  EXPECT_EQ(Rv_IntMapPalette(nullptr, 4, nullptr, 4, table), TRUE);
  EXPECT_EQ(Rv_IntMapPalette(kFour, 4, nullptr, 0, table), FALSE);
  EXPECT_EQ(table[2], 119);  // the gray of (200, 100, 50)
  EXPECT_EQ(Rv_IntMapPalette(nullptr, 256, kFour, 4, table), FALSE);
  EXPECT_EQ(table[0], 0);
  EXPECT_EQ(table[20], 1);
  EXPECT_EQ(table[250], 3);

  struct Pad {
    int32_t high, low, pad;
    uint16_t in, out;
  };
  const Pad pads[] = {
      {11, 0, 16, 0x0000, 0x0000},  // low 0: nothing below
      {11, 0, 16, 0x0FFF, 0x0FEF},  // above 4095 - 16
      {11, 0, 16, 0xF123, 0xF123},  // bits outside the field untouched
      {11, 4, 16, 0x0005, 0x0105},  // below 16 << 4
      {11, 4, 16, 0x0FF3, 0x0FE3},  // above: the field part of 4079
      {20, 0, 1, 0x0003, 0x0002},   // a high bit above 15 counts as 1
      {15, 0, 100, 0xFFFF, 0xFFFF}, // the whole word: nothing changes
  };
  for (const Pad &p : pads) {
    uint16_t word = p.in;
    EXPECT_EQ(Rv_PadPixelData(&word, 16, 1, p.high, p.low, p.pad), SUCCESS);
    EXPECT_EQ(word, p.out) << std::hex << p.in;
  }
  uint16_t word = 0;
  EXPECT_EQ(Rv_PadPixelData(&word, 12, 1, 11, 0, 4), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_PadPixelData(nullptr, 16, 1, 11, 0, 4), ERROR_INVALID_PARAMETER);
}

}  // namespace
