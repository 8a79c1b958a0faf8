// Colour resolution of bitmap lists (one palette for every item, the shared
// match table, the rows numbered across the list, a list that shrinks under
// the loop) and the gray range of 32-bit gray bitmaps.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "color/color_records.h"
#include "support/bitmaps.h"

namespace {

using colortest::rgb;

// A list of 24-bit pictures, item i of colours[i] repeated over 5 x (2 + i).
struct List {
  HBITMAPLIST list = nullptr;
  explicit List(const std::vector<std::vector<RGBQUAD>> &colours) {
    Rv_CreateBitmapList(&list);
    for (size_t i = 0; i < colours.size(); ++i) {
      BITMAPRECORD b{};
      rvtest::make(&b, 5, 2 + static_cast<int32_t>(i), 24);
      for (int32_t y = 0; y < b.nHeight; ++y) {
        std::vector<uint8_t> row(static_cast<size_t>(b.nBytesPerLine));
        for (size_t x = 0; x < 5; ++x) std::memcpy(&row[3 * x], &colours[i][(x + y) % colours[i].size()], 3);
        Rv_PutBitmapRow(&b, row.data(), y, static_cast<uint32_t>(row.size()));
      }
      Rv_InsertBitmapListItem(list, RV_LIST_END, &b);
    }
  }
  ~List() { Rv_DestroyBitmapList(list); }
  BITMAPRECORD *item(uint32_t i) { return list->pItems + i; }
};

struct Heard {
  std::vector<int32_t> rows;
  uint32_t *table = nullptr;
  HBITMAPLIST remove_from = nullptr;
  static int32_t take(BITMAPRECORD *b, void *, int32_t row, int32_t lines, void *self) {
    auto *h = static_cast<Heard *>(self);
    EXPECT_EQ(lines, 1);
    EXPECT_EQ(b->nBitsPerPixel, 4);
    h->rows.push_back(row);
    h->table = Rv_SetUserMatchTable(nullptr);
    Rv_SetUserMatchTable(h->table);
    // The item being made leaves the list (and nobody holds it).
    if (h->remove_from != nullptr && h->rows.size() == 1) Rv_RemoveBitmapListItem(h->remove_from, 0, nullptr);
    return SUCCESS;
  }
};

// Colours that five bits per channel hold exactly, so that the quantised
// palette gives them back.
const std::vector<std::vector<RGBQUAD>> kColours = {
    {rgb(0, 66, 132), rgb(255, 255, 255)}, {rgb(198, 0, 0), rgb(0, 66, 132)}, {rgb(132, 132, 0), rgb(0, 0, 0)}};

TEST(ColorResList, OnePaletteForAll) {
  List l(kColours);
  RGBQUAD pattern[16];
  std::memset(pattern, 2, sizeof(pattern));
  uint32_t sentinel[1];
  Rv_SetUserMatchTable(sentinel);
  Heard heard;
  ASSERT_EQ(Rv_ColorResBitmapListExt(l.list, 4, COLORRES_OPTIMIZED_PALETTE, pattern, nullptr, 16, &Heard::take,
                                     &heard),
            SUCCESS);
  EXPECT_EQ(Rv_SetUserMatchTable(nullptr), sentinel);  // put back
  // Rows are numbered across the list; the made table served every item.
  std::vector<int32_t> expected(2 + 3 + 4);
  for (size_t i = 0; i < expected.size(); ++i) expected[i] = static_cast<int32_t>(i);
  EXPECT_EQ(heard.rows, expected);
  EXPECT_NE(heard.table, nullptr);
  EXPECT_NE(heard.table, sentinel);
  for (uint32_t i = 0; i < 3; ++i) {
    BITMAPRECORD *b = l.item(i);
    ASSERT_EQ(b->nBitsPerPixel, 4);
    EXPECT_EQ(b->uStructSize, RV_BITMAPRECORD_SIZE);
    EXPECT_EQ(std::memcmp(b->pPalette, pattern, sizeof(pattern)), 0) << i;
    for (int32_t y = 0; y < b->nHeight; ++y) {
      for (int32_t x = 0; x < 5; ++x) {
        const RGBQUAD &c = kColours[i][static_cast<size_t>(x + y) % 2];
        EXPECT_EQ(Rv_GetPixelColor(b, y, x), RV_RGB(c.rgbRed, c.rgbGreen, c.rgbBlue)) << i;
      }
    }
  }
}

TEST(ColorResList, CallersPaletteSharesOneTable) {
  List l(kColours);
  RGBQUAD mine[4] = {rgb(0, 0, 0), rgb(255, 255, 255), rgb(0, 66, 132), rgb(198, 0, 0)};
  Heard heard;
  ASSERT_EQ(Rv_ColorResBitmapListExt(l.list, 4, COLORRES_USER_PALETTE, mine, nullptr, 4, &Heard::take, &heard),
            SUCCESS);
  EXPECT_NE(heard.table, nullptr);
  EXPECT_EQ(Rv_SetUserMatchTable(nullptr), nullptr);
  for (uint32_t i = 0; i < 3; ++i) {
    EXPECT_EQ(l.item(i)->nColors, 4);
    EXPECT_EQ(std::memcmp(l.item(i)->pPalette, mine, sizeof(mine)), 0);
  }
}

TEST(ColorResList, BadInputAndAShrinkingList) {
  RGBQUAD palette[2] = {};
  List l(kColours);
  EXPECT_EQ(Rv_ColorResBitmapList(nullptr, 4, 0, nullptr, nullptr, 0), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_ColorResBitmapList(l.list, 4, 0, palette, reinterpret_cast<HRVPALETTE>(8), 2),
            ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_ColorResBitmapList(l.list, 4, COLORRES_USER_PALETTE, palette, nullptr, 0), ERROR_INVALID_PARAMETER);
  // An item that can't be converted stops the loop; those before it are done.
  l.item(1)->uFlags &= ~BITMAPFLAG_ALLOCATED;
  EXPECT_EQ(Rv_ColorResBitmapList(l.list, 8, COLORRES_FIXED_PALETTE, nullptr, nullptr, 0), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(l.item(0)->nBitsPerPixel, 8);
  EXPECT_EQ(l.item(2)->nBitsPerPixel, 24);
  l.item(1)->uFlags |= BITMAPFLAG_ALLOCATED;

  List one({kColours[0]});
  Heard heard;
  heard.remove_from = one.list;
  EXPECT_EQ(Rv_ColorResBitmapListExt(one.list, 4, COLORRES_FIXED_PALETTE, nullptr, nullptr, 0, &Heard::take, &heard),
            ERROR_INVALID_PARAMETER);
  EXPECT_EQ(one.list->uCount, 0u);
}

TEST(GrayRange, MinMaxOf32BitGray) {
  struct Case {
    int32_t low, high;
    bool is_signed;
    int64_t min, max;
  };
  const uint32_t words[4] = {0x00000010u, 0xFFFFFFF0u, 0x00012345u, 0x80000000u};
  const Case cases[] = {
      {0, -1, false, 0x10, 0xFFFFFFF0},
      {0, -1, true, -0x7FFFFFFFLL - 1, 0x12345},
      {4, 11, false, 0x00, 0xFF},       // bits 4 to 11: 0x01, 0xFF, 0x34, 0x00
      {4, 11, true, -1, 0x34},
      {16, 40, false, 0x0000, 0xFFFF},  // the field stops at bit 31
  };
  BITMAPRECORD b{};
  ASSERT_TRUE(rvtest::make(&b, 2, 2, 32));
  b.nOrder = ORDER_GRAY;
  Rv_PutBitmapRow(&b, words, 0, 8);
  Rv_PutBitmapRow(&b, words + 2, 1, 8);
  for (const Case &c : cases) {
    b.nLowBit = c.low;
    b.nHighBit = c.high;
    b.uFlags = c.is_signed ? b.uFlags | BITMAPFLAG_SIGNED : b.uFlags & ~BITMAPFLAG_SIGNED;
    int64_t min = 7, max = 7;
    ASSERT_EQ(Rv_IntGetMinMaxValGray(&b, &min, &max), SUCCESS);
    EXPECT_EQ(min, c.min) << c.low << "-" << c.high;
    EXPECT_EQ(max, c.max) << c.low << "-" << c.high;
  }
  int64_t min = 7;
  EXPECT_EQ(Rv_IntGetMinMaxValGray(&b, nullptr, nullptr), SUCCESS);
  EXPECT_EQ(Rv_IntGetMinMaxValGray(nullptr, &min, nullptr), FAILURE);
  b.nOrder = ORDER_BGR;
  EXPECT_EQ(Rv_IntGetMinMaxValGray(&b, &min, nullptr), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(min, 0);
  b.uStructSize = 216;
  EXPECT_EQ(Rv_IntGetMinMaxValGray(&b, &min, nullptr), ERROR_INVALID_STRUCT_SIZE);
  b.uStructSize = RV_BITMAPRECORD_SIZE;
  Rv_FreeBitmap(&b);
}

}  // namespace
