#include <gtest/gtest.h>

#include <vector>

#include "support/bitmaps.h"

namespace {

TEST(AlphaValues, RowsTakeTheValueInTheirAlphaPartOnly) {
  std::vector<uint8_t> row32(10, 1), row64(17, 1), row24(6, 1);
  EXPECT_EQ(Rv_SetRowAlphaValues(32, row32.data(), 10, 0x1234), SUCCESS);
  EXPECT_EQ(row32, (std::vector<uint8_t>{1, 1, 1, 0x34, 1, 1, 1, 0x34, 1, 1}));  // no partial pixel
  EXPECT_EQ(Rv_SetRowAlphaValues(64, row64.data(), 16, 0x12345678), SUCCESS);
  EXPECT_EQ(row64[6], 0x78);
  EXPECT_EQ(row64[7], 0x56);
  EXPECT_EQ(row64[15], 0x56);
  EXPECT_EQ(row64[16], 1);
  EXPECT_EQ(Rv_SetRowAlphaValues(24, row24.data(), 6, 0), SUCCESS);
  EXPECT_EQ(row24, std::vector<uint8_t>(6, 1));
  EXPECT_EQ(Rv_SetRowAlphaValues(32, nullptr, 4, 0), ERROR_INVALID_PARAMETER);
}

TEST(AlphaValues, BitmapsReportProgressByRowsAndStopWhenTold) {
  rvtest::Bitmap b;
  ASSERT_TRUE(rvtest::make(b.get(), 3, 4, 32));
  rvtest::fill_random(b.get(), 1);
  struct Log {
    std::vector<int32_t> seen;
    int32_t stop_at = 101;
  } log;
  auto callback = [](int32_t percent, void *user) -> int32_t {
    auto *l = static_cast<Log *>(user);
    l->seen.push_back(percent);
    return percent >= l->stop_at ? ERROR_ESCAPE_OR_USER_ABORT : SUCCESS;
  };
  Rv_SetStatusCallBack(callback, &log, nullptr, nullptr);
  EXPECT_EQ(Rv_SetBitmapAlphaValues(b.get(), 200), SUCCESS);
  EXPECT_EQ(log.seen, (std::vector<int32_t>{0, 25, 50, 75, 100}));
  for (int32_t y = 0; y < 4; ++y) {
    const auto row = rvtest::read_row(b.get(), y);
    for (int x = 0; x < 3; ++x) EXPECT_EQ(row[4 * x + 3], 200);
  }
  log = Log{{}, 50};
  EXPECT_EQ(Rv_SetBitmapAlphaValues(b.get(), 7), ERROR_ESCAPE_OR_USER_ABORT);
  EXPECT_EQ(rvtest::read_row(b.get(), 1)[3], 7);
  EXPECT_EQ(rvtest::read_row(b.get(), 2)[3], 200);
  Rv_SetStatusCallBack(nullptr, nullptr, nullptr, nullptr);

  rvtest::Bitmap other;
  ASSERT_TRUE(rvtest::make(other.get(), 3, 4, 24));
  EXPECT_EQ(Rv_SetBitmapAlphaValues(other.get(), 1), ERROR_INVALID_BITS_PER_PIXEL);
  EXPECT_EQ(Rv_SetBitmapAlphaValues(nullptr, 1), ERROR_INVALID_PARAMETER);
  b->uStructSize = 9;
  EXPECT_EQ(Rv_SetBitmapAlphaValues(b.get(), 1), ERROR_INVALID_STRUCT_SIZE);
  b->uStructSize = RV_BITMAPRECORD_SIZE;
}

}  // namespace
