// Colour resolution of bitmap lists (one palette and one match table for
// every item, rows numbered across the list, a list that shrinks under the
// loop) and the gray range of 32-bit gray bitmaps.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "color/color_records.h"
#include "support/bitmaps.h"

namespace {

using colortest::rgb;

// Colours that five bits per channel hold exactly, so that a quantised
// palette gives them back; item i is 5 x (2 + i) pixels of its pair.
const std::vector<std::vector<RGBQUAD>> kColours = {
    {rgb(0, 66, 132), rgb(255, 255, 255)}, {rgb(198, 0, 0), rgb(0, 66, 132)}, {rgb(132, 132, 0), rgb(0, 0, 0)}};

struct List {
  HBITMAPLIST list = nullptr;
  explicit List(size_t count) {
    Rv_CreateBitmapList(&list);
    for (size_t i = 0; i < count; ++i) {
      BITMAPRECORD b{};
      rvtest::make(&b, 5, 2 + static_cast<int32_t>(i), 24);
      for (int32_t y = 0; y < b.nHeight; ++y) {
        for (int32_t x = 0; x < 5; ++x) {
          const RGBQUAD &c = kColours[i][static_cast<size_t>(x + y) % 2];
          Rv_PutPixelColor(&b, y, x, RV_RGB(c.rgbRed, c.rgbGreen, c.rgbBlue));
        }
      }
      Rv_InsertBitmapListItem(list, RV_LIST_END, &b);
    }
  }
  ~List() { Rv_DestroyBitmapList(list); }
  BITMAPRECORD *item(uint32_t i) { return list->pItems + i; }
};

// The rows heard and the thread's match table while they came; can take the
// item being made out of the list at its first row.
struct Heard {
  std::vector<int32_t> rows;
  uint32_t *table = nullptr;
  HBITMAPLIST take_out_of = nullptr;
  static int32_t take(BITMAPRECORD *, void *, int32_t row, int32_t lines, void *self) {
    auto *h = static_cast<Heard *>(self);
    h->rows.push_back(lines == 1 ? row : -1);
    h->table = Rv_SetUserMatchTable(nullptr);
    Rv_SetUserMatchTable(h->table);
    if (h->take_out_of != nullptr && h->rows.size() == 1) Rv_RemoveBitmapListItem(h->take_out_of, 0, nullptr);
    return SUCCESS;
  }
};

// The optimised palette of the whole list, or the caller's: every item gets
// it, with a match table made for the call and the thread's put back after.
TEST(ColorResList, OnePaletteForAll) {
  RGBQUAD pattern[16];
  std::memset(pattern, 2, sizeof(pattern));
  RGBQUAD mine[5] = {rgb(0, 0, 0), rgb(255, 255, 255), rgb(0, 66, 132), rgb(198, 0, 0), rgb(132, 132, 0)};
  for (bool optimised : {true, false}) {
    List l(3);
    uint32_t sentinel[1];
    Rv_SetUserMatchTable(sentinel);
    Heard heard;
    ASSERT_EQ(Rv_ColorResBitmapListExt(l.list, 4, optimised ? COLORRES_OPTIMIZED_PALETTE : COLORRES_USER_PALETTE,
                                       optimised ? pattern : mine, nullptr, optimised ? 16 : 5, &Heard::take, &heard),
              SUCCESS);
    EXPECT_EQ(Rv_SetUserMatchTable(nullptr), sentinel);
    EXPECT_EQ(heard.rows, (std::vector<int32_t>{0, 1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_TRUE(heard.table != nullptr && heard.table != sentinel);
    for (uint32_t i = 0; i < 3; ++i) {
      BITMAPRECORD *b = l.item(i);
      EXPECT_EQ(b->uStructSize, RV_BITMAPRECORD_SIZE);
      EXPECT_EQ(std::memcmp(b->pPalette, optimised ? pattern : mine, optimised ? sizeof(pattern) : sizeof(mine)), 0);
      for (int32_t p = 0; p < 5 * b->nHeight; ++p) {
        const RGBQUAD &c = kColours[i][static_cast<size_t>(p % 5 + p / 5) % 2];
        EXPECT_EQ(Rv_GetPixelColor(b, p / 5, p % 5), RV_RGB(c.rgbRed, c.rgbGreen, c.rgbBlue)) << i;
      }
    }
  }
}

TEST(ColorResList, BadInputAndAShrinkingList) {
  RGBQUAD palette[2] = {};
  List l(3);
  EXPECT_EQ(Rv_ColorResBitmapList(nullptr, 4, 0, nullptr, nullptr, 0), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_ColorResBitmapList(l.list, 4, 0, palette, reinterpret_cast<HRVPALETTE>(8), 2), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_ColorResBitmapList(l.list, 4, COLORRES_USER_PALETTE, palette, nullptr, 0), ERROR_INVALID_PARAMETER);
  // An item that can't be converted stops the loop; those before it are done.
  l.item(1)->uFlags &= ~BITMAPFLAG_ALLOCATED;
  EXPECT_EQ(Rv_ColorResBitmapList(l.list, 8, COLORRES_FIXED_PALETTE, nullptr, nullptr, 0), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(l.item(0)->nBitsPerPixel, 8);
  EXPECT_EQ(l.item(2)->nBitsPerPixel, 24);
  l.item(1)->uFlags |= BITMAPFLAG_ALLOCATED;
  // The item being made leaves the list: its result has no slot.
  List one(1);
  Heard heard;
  heard.take_out_of = one.list;
  EXPECT_EQ(Rv_ColorResBitmapListExt(one.list, 4, COLORRES_FIXED_PALETTE, nullptr, nullptr, 0, &Heard::take, &heard),
            ERROR_INVALID_PARAMETER);
  EXPECT_EQ(one.list->uCount, 0u);
}

// Fields of four words (0x10, 0xFFFFFFF0, 0x12345, 0x80000000), unsigned and
// signed, and bad input, after which the outputs read 0.
TEST(GrayRange, MinMaxOf32BitGray) {
  const uint32_t words[4] = {0x00000010u, 0xFFFFFFF0u, 0x00012345u, 0x80000000u};
  const struct {
    int32_t low, high;
    bool is_signed;
    int64_t min, max;
  } cases[] = {{0, -1, false, 0x10, 0xFFFFFFF0}, {0, -1, true, INT32_MIN, 0x12345},
               {4, 11, true, -1, 0x34} /* 0x01, 0xFF, 0x34, 0x00 */, {16, 40, false, 0, 0xFFFF}};
  rvtest::Bitmap b;
  ASSERT_TRUE(rvtest::make(b.get(), 2, 2, 32));
  b->nOrder = ORDER_GRAY;
  Rv_PutBitmapRow(b.get(), words, 0, 8);
  Rv_PutBitmapRow(b.get(), words + 2, 1, 8);
  for (const auto &c : cases) {
    b->nLowBit = c.low;
    b->nHighBit = c.high;
    b->uFlags = c.is_signed ? b->uFlags | BITMAPFLAG_SIGNED : b->uFlags & ~BITMAPFLAG_SIGNED;
    int64_t min = 7, max = 7;
    ASSERT_EQ(Rv_IntGetMinMaxValGray(b.get(), &min, &max), SUCCESS);
    EXPECT_TRUE(min == c.min && max == c.max) << c.low << "-" << c.high << " " << c.is_signed;
  }
  int64_t min = 7;
  EXPECT_EQ(Rv_IntGetMinMaxValGray(nullptr, &min, nullptr), FAILURE);
  b->nOrder = ORDER_BGR;
  EXPECT_EQ(Rv_IntGetMinMaxValGray(b.get(), &min, nullptr), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(min, 0);
}

}  // namespace
