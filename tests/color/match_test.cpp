// Match trees (built by hand over a small palette, and consulted by buffer
// conversion) and match tables (the thread's, and those made from palettes).
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "color/color_records.h"
#include "internal/fault.h"
#include "internal/threaddata.h"

namespace {

using colortest::rgb;

// Blue 30 is one entry's alone; blue 60 is shared, green 50 there by two
// reds (and a duplicate of the first), green 80 by one entry alone.
const RGBQUAD kPalette[] = {rgb(10, 20, 30), rgb(40, 50, 60), rgb(70, 50, 60), rgb(40, 50, 60),
                            rgb(90, 80, 60)};

struct Tree {
  MATCHTREE tree{};
  ~Tree() { Rv_IntMatchTreeFree(&tree); }
};

TEST(MatchTree, FindsByBlueThenGreenThenRed) {
  Tree t;
  ASSERT_EQ(Rv_IntMatchTreeCreate(&t.tree, kPalette, 5), SUCCESS);
  struct Case {
    int r, g, b, index;
  };
  const Case cases[] = {
      {10, 20, 30, 0}, {0, 0, 30, 0},    // a lone blue answers at once
      {1, 80, 60, 4},                    // so does a lone green under a shared blue
      {40, 50, 60, 1}, {70, 50, 60, 2},  // the duplicate keeps the first index
      {0, 50, 60, -1}, {0, 0, 60, -1}, {0, 0, 99, -1}, {256, 0, 30, -1}, {0, -1, 30, -1},
  };
  for (const Case &c : cases) {
    EXPECT_EQ(Rv_IntMatchTreeFind(&t.tree, c.r, c.g, c.b), c.index) << c.r << "," << c.g << "," << c.b;
  }
  // Building again replaces the tree; a failed build keeps the one it had.
  for (int64_t n = 0; n < 3; ++n) {
    rv::fault::fail_after(n);
    EXPECT_EQ(Rv_IntMatchTreeCreate(&t.tree, kPalette + 1, 4), ERROR_NO_MEMORY);
    rv::fault::fail_after(-1);
    EXPECT_EQ(Rv_IntMatchTreeFind(&t.tree, 0, 0, 30), 0);
  }
  ASSERT_EQ(Rv_IntMatchTreeCreate(&t.tree, kPalette + 1, 4), SUCCESS);
  EXPECT_EQ(Rv_IntMatchTreeFind(&t.tree, 0, 0, 30), -1);
  EXPECT_EQ(Rv_IntMatchTreeFind(&t.tree, 70, 50, 60), 1);

  MATCHTREE empty{};
  EXPECT_EQ(Rv_IntMatchTreeFind(&empty, 10, 20, 30), -1);
  EXPECT_EQ(Rv_IntMatchTreeFind(nullptr, 10, 20, 30), -1);
  EXPECT_EQ(Rv_IntMatchTreeCreate(nullptr, kPalette, 5), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_IntMatchTreeCreate(&empty, nullptr, 5), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_IntMatchTreeCreate(&empty, kPalette, 0), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_IntMatchTreeCreate(&empty, kPalette, 257), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_IntMatchTreeFree(nullptr), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_IntMatchTreeFree(&empty), SUCCESS);
}

// Conversion to a palette asks the tree first: a hit stands even where the
// search would pick another entry, a miss goes to the search.
TEST(MatchTree, ConversionHitsAndMisses) {
  Tree t;
  ASSERT_EQ(Rv_IntMatchTreeCreate(&t.tree, kPalette, 5), SUCCESS);
  const uint8_t pixels[] = {60, 50, 70,   // blue, green, red: entry 2 exactly
                            30, 80, 90,   // blue 30 alone: entry 0, though entry 4 is nearer
                            61, 50, 70};  // no blue 61: the search
  std::vector<RGBQUAD> palette(256, rgb(0, 0, 0));  // an 8-bit destination has 256 entries
  std::copy(kPalette, kPalette + 5, palette.begin());
  std::vector<uint8_t> buffer(pixels, pixels + 9);
  ASSERT_EQ(Rv_IntConvertBuffer(buffer.data(), 3, 24, 8, ORDER_BGR, 0, nullptr, palette.data(), nullptr,
                                0, -1, -1, 0, &t.tree),
            SUCCESS);
  EXPECT_EQ(buffer[0], 2);
  EXPECT_EQ(buffer[1], 0);
  EXPECT_EQ(Rv_FindPaletteIndex(palette.data(), 256, 90, 80, 30), 4);
  EXPECT_EQ(buffer[2], Rv_FindPaletteIndex(palette.data(), 256, 70, 50, 61));
}

TEST(MatchTable, UserTablesAndTheThreadsTable) {
  uint32_t *table = Rv_CreateUserMatchTable(kPalette, 5);
  ASSERT_NE(table, nullptr);
  for (uint32_t key : {0u, 1u, 0x3FFu, 0x1234u, 0x7FFFu}) {
    const int r = static_cast<int>((key >> 10) * 8), g = static_cast<int>(((key >> 5) & 31) * 8),
              b = static_cast<int>((key & 31) * 8);
    EXPECT_EQ(table[key], static_cast<uint32_t>(Rv_FindPaletteIndex(kPalette, 5, r, g, b) + 1)) << key;
  }
  EXPECT_EQ(Rv_CreateUserMatchTable(nullptr, 5), nullptr);

  uint32_t *former = Rv_SetUserMatchTable(table);
  EXPECT_EQ(rv::thread_data().pUserMatchTable, table);
  EXPECT_EQ(Rv_SetUserMatchTable(former), table);
  EXPECT_EQ(Rv_FreeUserMatchTable(table), SUCCESS);
  EXPECT_EQ(Rv_FreeUserMatchTable(nullptr), SUCCESS);
}

}  // namespace
