#include <gtest/gtest.h>

#include <vector>

#include "support/bitmaps.h"

namespace {

TEST(Fill, EveryPixelTakesTheColour) {
  const int32_t depths[] = {1, 2, 3, 4, 5, 6, 7, 8, 12, 16, 24, 32, 48, 64};
  for (int32_t bits : depths) {
    rvtest::Bitmap b;
    ASSERT_TRUE(rvtest::make(b.get(), 37, 3, bits));
    if (bits == 12 || bits == 16) b->nOrder = ORDER_GRAY;
    rvtest::fill_random(b.get(), 3);
    const COLORREF white = RV_RGB(255, 255, 255);
    ASSERT_EQ(Rv_FillBitmap(b.get(), white), SUCCESS) << bits;
    for (int32_t y = 0; y < 3; ++y) {
      for (int32_t x = 0; x < 37; ++x) ASSERT_EQ(Rv_GetPixelColor(b.get(), y, x), white) << bits << " " << x;
    }
    ASSERT_EQ(Rv_ClearBitmap(b.get()), SUCCESS);
    for (int32_t y = 0; y < 3; ++y) {
      for (int32_t x = 0; x < 37; ++x) {
        uint8_t bytes[8] = {0xEE, 0xEE};
        Rv_GetPixelData(b.get(), bytes, y, x, 8);
        const int32_t got = bits < 8 ? (((bytes[0] << 8) | bytes[1]) >> (16 - (x * bits) % 8 - bits)) & ((1 << bits) - 1)
                            : bits == 12 ? ((bytes[0] | bytes[1] << 8) >> ((x & 1) * 4)) & 0xFFF
                                         : bytes[0] | bytes[bits / 8 - 1];
        ASSERT_EQ(got, 0) << bits << " bits, x " << x;
      }
    }
  }
  rvtest::Bitmap alpha;
  ASSERT_TRUE(rvtest::make(alpha.get(), 2, 2, 32));
  ASSERT_EQ(Rv_FillBitmap2(alpha.get(), RV_RGB(1, 2, 3), 99), SUCCESS);
  EXPECT_EQ(alpha->pData[0], 3);
  EXPECT_EQ(alpha->pData[3], 99);
  EXPECT_EQ(Rv_FillBitmap(nullptr, 0), ERROR_INVALID_PARAMETER);
}

TEST(Fill, MemoryBitmapsReportOnlyStartAndEnd) {
  std::vector<int32_t> seen;
  auto record = [](int32_t percent, void *user) -> int32_t {
    static_cast<std::vector<int32_t> *>(user)->push_back(percent);
    return SUCCESS;
  };
  Rv_SetStatusCallBack(record, &seen, nullptr, nullptr);
  rvtest::Bitmap b;
  ASSERT_TRUE(rvtest::make(b.get(), 5, 300, 8));
  EXPECT_EQ(Rv_FillBitmap(b.get(), 0), SUCCESS);
  EXPECT_EQ(seen, (std::vector<int32_t>{0, 100}));
  auto stop = [](int32_t percent, void *) -> int32_t { return percent == 0 ? ERROR_USER_ABORT : SUCCESS; };
  Rv_SetStatusCallBack(stop, nullptr, nullptr, nullptr);
  EXPECT_EQ(Rv_ClearBitmap(b.get()), ERROR_USER_ABORT);
  Rv_SetStatusCallBack(nullptr, nullptr, nullptr, nullptr);
}

}  // namespace
