// The BMP reading and writing of rvimg and its parsing of operations, against
// the shared library as the tool uses it.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "bmpfile.h"
#include "operations.h"
#include "support/bitmaps.h"

namespace {

uint32_t word_at(const std::vector<uint8_t> &b, size_t at) {
  uint32_t v;
  std::memcpy(&v, &b[at], 4);
  return v;
}

COLORREF shown(BITMAPRECORD *b, int32_t r, int32_t c, int32_t *alpha) {
  const int32_t row = b->nViewPerspective == VIEW_BOTTOM_LEFT ? b->nHeight - 1 - r : r;
  return Rv_IntGetPixelColor(b, row, c, alpha);
}

TEST(BmpFile, EveryDepthRoundTripsThroughAFile) {
  struct Case {
    int32_t bits, order, file_bits;
  } cases[] = {{1, 0, 1},   {2, 0, 4},    {3, 0, 4},    {4, 0, 4},   {5, 0, 8},   {6, 0, 8},
               {7, 0, 8},   {8, 0, 8},    {12, ORDER_GRAY, 24},     {16, ORDER_GRAY, 24},
               {16, ORDER_BGR, 16},       {16, ORDER_RGB, 16},      {16, ORDER_BGR565, 16},
               {24, ORDER_BGR, 24},       {24, ORDER_RGB, 24},      {32, ORDER_BGR, 32},
               {32, ORDER_RGB, 32},       {48, ORDER_BGR, 24},      {64, ORDER_RGB, 32}};
  const std::string path = testing::TempDir() + "rvimg_round_trip.bmp";
  for (const Case &c : cases) {
    SCOPED_TRACE(c.bits);
    rvtest::Bitmap src, back;
    ASSERT_TRUE(rvtest::make(src.get(), 11, 6, c.bits));
    rvtest::fill_random(src.get(), static_cast<uint32_t>(c.bits + c.order));
    src->nOrder = c.order;
    src->nXResolution = 300;
    src->nYResolution = 72;
    if (c.bits <= 8) {
      auto entries = rvtest::random_bytes(4u << c.bits, 9);
      Rv_SetBitmapNewPalette(src.get(), reinterpret_cast<RGBQUAD *>(entries.data()), 1 << c.bits);
    }
    std::vector<uint8_t> bytes;
    ASSERT_EQ(rvimg::write_bmp(src.get(), &bytes), SUCCESS);
    ASSERT_EQ(bytes[0], 'B');
    ASSERT_EQ(bytes[1], 'M');
    EXPECT_EQ(word_at(bytes, 2), bytes.size());
    // The source's colours, or the three masks of 5-6-5.
    const uint32_t table = c.bits <= 8 ? 4u << c.bits : (c.order == ORDER_BGR565 ? 12 : 0);
    EXPECT_EQ(word_at(bytes, 10), 14 + 40 + table);
    ASSERT_EQ(rvimg::write_bmp_file(path.c_str(), src.get()), SUCCESS);
    ASSERT_EQ(rvimg::read_bmp_file(path.c_str(), back.get()), SUCCESS);
    EXPECT_EQ(back->nBitsPerPixel, c.file_bits);
    EXPECT_EQ(back->nXResolution, 300);  // through pixels per metre and back
    EXPECT_EQ(back->nYResolution, 72);
    for (int32_t r = 0; r < 6; ++r) {
      for (int32_t x = 0; x < 11; ++x) {
        int32_t a0, a1;
        ASSERT_EQ(shown(back.get(), r, x, &a1), shown(src.get(), r, x, &a0)) << r << "," << x;
        if (c.bits == 32) {
          EXPECT_EQ(a1, a0);
        }
      }
    }
  }
  std::remove(path.c_str());
}

TEST(BmpFile, EveryCutAndBentFileGivesAStatus) {
  rvtest::Bitmap src;
  ASSERT_TRUE(rvtest::make(src.get(), 3, 2, 2));
  rvtest::fill_random(src.get(), 1);
  std::vector<uint8_t> whole;
  ASSERT_EQ(rvimg::write_bmp(src.get(), &whole), SUCCESS);
  // Each prefix in a block of exactly its size, so that a read past it is caught.
  for (size_t n = 0; n <= whole.size(); ++n) {
    const std::vector<uint8_t> cut(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(n));
    rvtest::Bitmap b;
    const int32_t status = rvimg::read_bmp(cut.data(), cut.size(), b.get());
    EXPECT_EQ(status == SUCCESS, n == whole.size()) << n;
  }
  struct Bend {
    size_t at;
    uint32_t value;
    int32_t status;
  } bends[] = {{0, 0x4D43, ERROR_INVALID_FILE_FORMAT_9},     // "CM"
               {10, 0xFFFF, ERROR_DIB_INVALID},             // pixels beyond the file
               {10, 40, ERROR_DIB_INVALID},                 // pixels inside the header
               {14 + 32, 17, ERROR_DIB_INVALID},            // 17 colours at 4 bits
               {14 + 4, 0x40000, ERROR_DIB_INVALID}};       // wider than the pixels
  for (const Bend &bend : bends) {
    auto bent = whole;
    std::memcpy(&bent[bend.at], &bend.value, bend.at == 0 ? 2 : 4);
    rvtest::Bitmap b;
    EXPECT_EQ(rvimg::read_bmp(bent.data(), bent.size(), b.get()), bend.status) << bend.at;
  }
  rvtest::Bitmap b;
  EXPECT_EQ(rvimg::read_bmp_file((testing::TempDir() + "no such file.bmp").c_str(), b.get()),
            ERROR_FILE_NOT_FOUND_10);
  EXPECT_EQ(rvimg::read_bmp_file(testing::TempDir().c_str(), b.get()), ERROR_FILE_READ);
}

TEST(Operations, OptionsFollowTheirOperationAndBecomeItsFlags) {
  struct Good {
    std::vector<std::string> words;
    size_t steps;
    uint32_t last_flags;
  } good[] = {
      {{"--bits", "8", "--palette", "optimized", "--dither", "floyd"}, 1, 0x10002},
      {{"--bits", "4", "--palette", "my.bmp", "--palette-object", "--order", "bgr"}, 1, 0x114},
      {{"--resize", "800x600", "--resample", "linear", "--alpha-aware"}, 1, 0x22},
      {{"--flip", "--rotate", "17.5", "--grow", "--fill", "ffffff", "--center", "3,4"}, 2, 0x9},
      {{"--reverse", "--perspective", "6"}, 2, 0},
  };
  for (const Good &g : good) {
    std::vector<rvimg::Step> steps;
    std::string error;
    ASSERT_TRUE(rvimg::parse_steps(g.words, &steps, &error)) << error;
    ASSERT_EQ(steps.size(), g.steps);
    EXPECT_EQ(steps.back().flags(), g.last_flags) << g.words[0];
  }
  const std::vector<std::vector<std::string>> bad = {
      {"--palette", "fixed"},          {"--bits", "8", "--resample", "linear"}, {"--bits", "9"},
      {"--bits"},                      {"--bits", "8", "--dither", "floyd-x"},  {"--resize", "0x5"},
      {"--rotate", "1", "--fill", "fff"}, {"--perspective", "9"},              {"--sharpen"}};
  for (const auto &words : bad) {
    std::vector<rvimg::Step> steps;
    std::string error;
    EXPECT_FALSE(rvimg::parse_steps(words, &steps, &error)) << words[0];
    EXPECT_FALSE(error.empty());
  }
}

}  // namespace
