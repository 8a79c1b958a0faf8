// The optimised palette of small known pictures: the picture's own colours,
// isolated dominant colours, splits worked out by hand, the halving of full
// bins, the records of a list, and bad input.
#include <gtest/gtest.h>

#include <vector>

#include "color/color_records.h"
#include "color/optpal.h"
#include "support/bitmaps.h"

namespace {

using colortest::rgb;

// A 24-bit bitmap of one row of `colors`.
void make_picture(rvtest::Bitmap &b, const std::vector<RGBQUAD> &colors) {
  ASSERT_TRUE(rvtest::make(b.get(), static_cast<int32_t>(colors.size()), 1, 24));
  std::vector<uint8_t> row(static_cast<size_t>(b->nBytesPerLine));
  for (size_t i = 0; i < colors.size(); ++i) {
    row[3 * i] = colors[i].rgbBlue;
    row[3 * i + 1] = colors[i].rgbGreen;
    row[3 * i + 2] = colors[i].rgbRed;
  }
  ASSERT_GT(Rv_PutBitmapRow(b.get(), row.data(), 0, static_cast<uint32_t>(row.size())), 0);
}

std::vector<RGBQUAD> repeat(RGBQUAD c, size_t n) { return std::vector<RGBQUAD>(n, c); }
std::vector<RGBQUAD> operator+(std::vector<RGBQUAD> a, const std::vector<RGBQUAD> &b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

void expect_rgb(const RGBQUAD &q, int r, int g, int b, const char *what) {
  EXPECT_EQ(q.rgbRed, r) << what;
  EXPECT_EQ(q.rgbGreen, g) << what;
  EXPECT_EQ(q.rgbBlue, b) << what;
}

TEST(OptimisedPalette, ThePicturesOwnColours) {
  // Fewer colours than wanted: exactly those, sorted, and no match table.
  rvtest::Bitmap b;
  make_picture(b, {rgb(9, 9, 9), rgb(200, 0, 0), rgb(9, 9, 9), rgb(0, 5, 0), rgb(200, 0, 1)});
  RGBQUAD palette[256];
  uint32_t colors = 16, *match = reinterpret_cast<uint32_t *>(1);
  int32_t reduced = -1;
  ASSERT_EQ(Rv_CreateBitmapOptPal(b.get(), palette, &colors, 256, nullptr, 0, &match, &reduced, FALSE), SUCCESS);
  EXPECT_EQ(colors, 4u);
  EXPECT_EQ(reduced, 0);
  EXPECT_EQ(match, nullptr);
  expect_rgb(palette[0], 0, 5, 0, "0");
  expect_rgb(palette[1], 9, 9, 9, "1");
  expect_rgb(palette[2], 200, 0, 0, "2");
  expect_rgb(palette[3], 200, 0, 1, "3");

  // The fixed colours that occur leave room for the others.
  const RGBQUAD fixed[2] = {rgb(200, 0, 0), rgb(9, 9, 9)};
  colors = 2;
  ASSERT_EQ(Rv_CreateBitmapOptPal(b.get(), palette, &colors, 256, fixed, 2, nullptr, &reduced, FALSE), SUCCESS);
  EXPECT_EQ(colors, 2u);
  EXPECT_EQ(reduced, 0);
  expect_rgb(palette[0], 0, 5, 0, "fixed 0");
  expect_rgb(palette[1], 200, 0, 1, "fixed 1");

  // A palette bitmap with no more entries than wanted gives its own, unsorted.
  rvtest::Bitmap one;
  ASSERT_TRUE(rvtest::make(one.get(), 8, 1, 1));
  const RGBQUAD own[2] = {rgb(255, 255, 255), rgb(0, 0, 0)};
  ASSERT_EQ(Rv_SetBitmapNewPalette(one.get(), own, 2), SUCCESS);
  colors = 256;
  ASSERT_EQ(Rv_CreateBitmapOptPal(one.get(), palette, &colors, 256, nullptr, 0, nullptr, &reduced, FALSE), SUCCESS);
  EXPECT_EQ(colors, 2u);
  EXPECT_EQ(reduced, 0);
  expect_rgb(palette[0], 255, 255, 255, "own 0");
  expect_rgb(palette[2], 0, 0, 0, "own 2 cleared");
}

// Five-bit red levels 0 x3, 2 x1, 20 x1, 22 x3 asked for two colours: mean
// 11 splits {0, 2} (mean 0) from {20, 22} (mean 21, widened to 173).
TEST(OptimisedPalette, SplitWorkedByHand) {
  rvtest::Bitmap b;
  make_picture(b, repeat(rgb(0, 0, 0), 3) + repeat(rgb(16, 0, 0), 1) + repeat(rgb(160, 0, 0), 1) +
                      repeat(rgb(176, 0, 0), 3));
  RGBQUAD palette[256];
  uint32_t colors = 2, *match = nullptr;
  int32_t reduced = 0;
  ASSERT_EQ(Rv_CreateBitmapOptPal(b.get(), palette, &colors, 256, nullptr, 0, &match, &reduced, FALSE), SUCCESS);
  ASSERT_NE(match, nullptr);
  EXPECT_EQ(reduced, 1);
  EXPECT_EQ(colors, 2u);
  expect_rgb(palette[0], 0, 0, 0, "low");
  expect_rgb(palette[1], 173, 0, 0, "high");
  EXPECT_EQ(match[RV_MATCH_TABLE_KEY(0, 0, 0)], 1u);
  EXPECT_EQ(match[RV_MATCH_TABLE_KEY(16, 0, 0)], 1u);
  EXPECT_EQ(match[RV_MATCH_TABLE_KEY(160, 0, 0)], 2u);
  EXPECT_EQ(match[RV_MATCH_TABLE_KEY(176, 0, 0)], 2u);
  EXPECT_EQ(match[RV_MATCH_TABLE_KEY(80, 0, 0)], 0u);  // never seen
  Rv_FreeUserMatchTable(match);
}

// A box whose keys all share the value of the axis it splits on is cut in
// the middle: two greens of rounded-away variance still give two entries.
TEST(OptimisedPalette, EqualKeysOnTheAxisSplitInTheMiddle) {
  rvtest::Bitmap b;
  make_picture(b, repeat(rgb(0, 0, 0), 1000) + repeat(rgb(0, 8, 0), 1));
  RGBQUAD palette[4];
  uint32_t colors = 2;
  int32_t reduced = 0;
  ASSERT_EQ(Rv_CreateBitmapOptPal(b.get(), palette, &colors, 1, nullptr, 0, nullptr, &reduced, FALSE), SUCCESS);
  EXPECT_EQ(reduced, 1);
  expect_rgb(palette[0], 0, 0, 0, "first");
  expect_rgb(palette[1], 0, 8, 0, "second");
}

// A colour that outweighs every other twice over becomes an entry of its own
// at full five-bit precision, when at least 64 colours are wanted.
TEST(OptimisedPalette, DominantColourIsIsolated) {
  std::vector<RGBQUAD> pixels = repeat(rgb(200, 100, 50), 3000);
  const std::vector<uint8_t> noise = rvtest::random_bytes(3 * 1000, 11);
  for (size_t i = 0; i < 1000; ++i) pixels.push_back(rgb(noise[3 * i], noise[3 * i + 1], noise[3 * i + 2]));
  rvtest::Bitmap b;
  make_picture(b, pixels);
  const uint32_t key = RV_MATCH_TABLE_KEY(200, 100, 50);
  for (uint32_t wanted : {64u, 16u}) {
    std::vector<RGBQUAD> palette(wanted);
    uint32_t colors = wanted, *match = nullptr;
    int32_t reduced = 0;
    ASSERT_EQ(Rv_CreateBitmapOptPal(b.get(), palette.data(), &colors, wanted, nullptr, 0, &match, &reduced, FALSE), SUCCESS);
    ASSERT_NE(match, nullptr);
    const uint32_t slot = match[key];
    ASSERT_GE(slot, 1u);
    int sharing = 0;
    for (uint32_t k = 0; k < RV_MATCH_TABLE_ENTRIES; ++k) sharing += k != key && match[k] == slot;
    EXPECT_EQ(sharing == 0, wanted >= 64) << wanted;
    if (wanted >= 64) expect_rgb(palette[slot - 1], 206, 99, 49, "dominant");  // (25, 12, 6) widened
    Rv_FreeUserMatchTable(match);
  }
}

// A bin about to pass 0x7FFFFFFF halves every bin, rounding up, then counts.
TEST(OptimisedPalette, FullBinsHalveAll) {
  RGBQUAD palette[2];
  rv::color::Quantiser q;
  ASSERT_EQ(q.setup(palette, 2, false), SUCCESS);
  q.add_key(5);
  q.add_key(9);
  auto *bins = const_cast<uint32_t *>(q.histogram());
  bins[5] = 0x7FFFFFFF;
  bins[9] = 5;
  q.add_key(5);
  EXPECT_EQ(bins[5], 0x40000001u);
  EXPECT_EQ(bins[9], 3u);
}

TEST(OptimisedPalette, BitmapLists) {
  HBITMAPLIST list = nullptr;
  ASSERT_EQ(Rv_CreateBitmapList(&list), SUCCESS);
  RGBQUAD palette[256];
  uint32_t colors = 3, *match = nullptr;
  int32_t reduced = -1;
  EXPECT_EQ(Rv_CreateBitmapListOptPal(list, palette, &colors, nullptr, &reduced), ERROR_INVALID_IMAGE);
  const RGBQUAD pa[2] = {rgb(9, 0, 0), rgb(1, 0, 0)}, pb[2] = {rgb(1, 0, 0), rgb(5, 0, 0)};
  for (const RGBQUAD *entries : {pa, pb}) {
    BITMAPRECORD b{};
    ASSERT_TRUE(rvtest::make(&b, 4, 1, 1));
    ASSERT_EQ(Rv_SetBitmapNewPalette(&b, entries, 2), SUCCESS);
    ASSERT_EQ(Rv_InsertBitmapListItem(list, RV_LIST_END, &b), SUCCESS);
  }
  // Palettes of 8 bits or less merge when their colours fit.
  ASSERT_EQ(Rv_CreateBitmapListOptPal(list, palette, &colors, &match, &reduced), SUCCESS);
  EXPECT_EQ(reduced, 0);
  EXPECT_EQ(colors, 3u);
  EXPECT_EQ(match, nullptr);
  expect_rgb(palette[0], 1, 0, 0, "merged 0");
  expect_rgb(palette[2], 9, 0, 0, "merged 2");
  // Three colours don't fit in two: the pixels are quantised. All are index
  // 0, of five-bit reds 1 and 0.
  colors = 2;
  ASSERT_EQ(Rv_CreateBitmapListOptPal(list, palette, &colors, &match, &reduced), SUCCESS);
  EXPECT_EQ(reduced, 1);
  ASSERT_NE(match, nullptr);
  EXPECT_EQ(match[RV_MATCH_TABLE_KEY(9, 0, 0)], 2u);
  expect_rgb(palette[0], 0, 0, 0, "quantised 0");
  expect_rgb(palette[1], 8, 0, 0, "quantised 1");
  Rv_FreeUserMatchTable(match);
  EXPECT_EQ(Rv_CreateBitmapListOptPal(nullptr, palette, &colors, nullptr, &reduced), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_CreateBitmapListOptPal(list, palette, &colors, nullptr, nullptr), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_DestroyBitmapList(list), SUCCESS);
}

TEST(OptimisedPalette, BadInput) {
  RGBQUAD palette[4];
  uint32_t colors = 4, zero = 0;
  int32_t reduced = 0;
  rvtest::Bitmap b;
  EXPECT_EQ(Rv_CreateBitmapOptPal(nullptr, palette, &colors, 4, nullptr, 0, nullptr, &reduced, 0), ERROR_INVALID_IMAGE);
  ASSERT_EQ(Rv_InitBitmap(b.get(), RV_BITMAPRECORD_SIZE, 2, 2, 24), SUCCESS);
  EXPECT_EQ(Rv_CreateBitmapOptPal(b.get(), palette, &colors, 4, nullptr, 0, nullptr, &reduced, 0), ERROR_INVALID_IMAGE);
  ASSERT_EQ(Rv_AllocateBitmap(b.get(), BITMAPMEM_CONVENTIONAL), SUCCESS);
  EXPECT_EQ(Rv_CreateBitmapOptPal(b.get(), nullptr, &colors, 4, nullptr, 0, nullptr, &reduced, 0), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_CreateBitmapOptPal(b.get(), palette, nullptr, 4, nullptr, 0, nullptr, &reduced, 0), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_CreateBitmapOptPal(b.get(), palette, &zero, 4, nullptr, 0, nullptr, &reduced, 0), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_CreateBitmapOptPal(b.get(), palette, &colors, 4, nullptr, 0, nullptr, nullptr, 0), ERROR_INVALID_PARAMETER);
}

}  // namespace
