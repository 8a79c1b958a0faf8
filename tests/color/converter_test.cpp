// The conversion core as the library's modules use it: one plan for many
// rows, the match tree's place in the palette search, and rows of real
// bitmaps.
#include <gtest/gtest.h>

#include <vector>

#include "color/convert.h"
#include "support/bitmaps.h"

namespace {

using Bytes = std::vector<uint8_t>;

TEST(Converter, OnePlanServesManyRowsAndMatchesOneShotCalls) {
  const Bytes row = rvtest::random_bytes(3 * 300, 5);
  const RGBQUAD *palette = Rv_IntGetFixedPalette(8);
  rv::color::ConvertArgs args;
  args.src_bits = 24;
  args.dst_bits = 8;
  args.dst_palette = palette;
  rv::color::Converter converter;
  ASSERT_EQ(converter.prepare(args), SUCCESS);
  for (int32_t width : {300, 17, 1}) {
    Bytes planned = row, single = row;
    ASSERT_EQ(converter.convert(planned.data(), width), SUCCESS);
    ASSERT_EQ(Rv_ConvertBuffer(single.data(), width, 24, 8, ORDER_BGR, 0, nullptr, palette), SUCCESS);
    EXPECT_EQ(planned, single) << width;
  }
  EXPECT_EQ(converter.convert(nullptr, 4), ERROR_INVALID_PARAMETER);

  rv::color::Converter refused;
  args.dst_order = ORDER_GRAY;
  args.dst_bits = 24;
  EXPECT_EQ(refused.prepare(args), ERROR_INVALID_PARAMETER);
  Bytes untouched = row;
  EXPECT_EQ(refused.convert(untouched.data(), 10), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(untouched, row);
}

// A tree that holds no colour sends every pixel on to the palette search:
// the result is the search's, whatever tree is passed.
TEST(Converter, AMissInTheMatchTreeFallsBackToTheSearch) {
  const Bytes row = rvtest::random_bytes(3 * 64, 9);
  const RGBQUAD *palette = Rv_IntGetNetscapePalette();
  Bytes with_tree = row, without = row;
  alignas(8) uint8_t opaque[64] = {};
  const auto *tree = reinterpret_cast<const MATCHTREE *>(opaque);
  ASSERT_EQ(Rv_IntConvertBuffer(with_tree.data(), 64, 24, 8, ORDER_BGR, 0, nullptr, palette, nullptr,
                                0, -1, -1, 0, tree),
            SUCCESS);
  ASSERT_EQ(Rv_ConvertBuffer(without.data(), 64, 24, 8, ORDER_BGR, 0, nullptr, palette), SUCCESS);
  EXPECT_EQ(with_tree, without);
  for (int i = 0; i < 64; ++i) {
    EXPECT_EQ(without[static_cast<size_t>(i)],
              Rv_FindPaletteIndex(palette, 256, row[3 * i + 2], row[3 * i + 1], row[3 * i]));
  }
}

// Rows read from an 8-bit bitmap with a gray palette convert to the levels
// the palette holds; the record's palette is the library's to free.
TEST(Converter, RowsOfAPaletteBitmap) {
  rvtest::Bitmap bitmap;
  ASSERT_TRUE(rvtest::make(bitmap.get(), 8, 2, 4));
  ASSERT_EQ(Rv_CreateBitmapGrayPalette(bitmap.get()), SUCCESS);
  const Bytes indexes = {0x0F, 0x7A, 0x00, 0x00};
  ASSERT_EQ(Rv_PutBitmapRow(bitmap.get(), indexes.data(), 1, 4), 4);
  Bytes row = rvtest::read_row(bitmap.get(), 1);
  row.resize(Rv_CalcConvertSize(8, 4, 8, 24));
  ASSERT_EQ(Rv_ConvertBuffer(row.data(), 8, 4, 24, 0, ORDER_BGR, bitmap->pPalette, nullptr), SUCCESS);
  const uint8_t levels[8] = {0, 255, 119, 170, 0, 0, 0, 0};  // i * 255 / 15
  for (int i = 0; i < 8; ++i) EXPECT_EQ(row[static_cast<size_t>(3 * i)], levels[i]) << i;
  EXPECT_EQ(Rv_IsGrayScaleBitmap(bitmap.get()), GRAY_RAMP);
}

}  // namespace
