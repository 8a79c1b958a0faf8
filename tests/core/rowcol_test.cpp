#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "core/rowcol.h"
#include "internal/handles.h"
#include "internal/pixels.h"
#include "platform/file.h"
#include "support/bitmaps.h"

namespace {

const int32_t kDepths[] = {1, 2, 3, 4, 5, 6, 7, 8, 12, 16, 24, 32, 48, 64};

// Reads pixel `x` of a row as a byte string, whatever the depth.
std::string pixel(const std::vector<uint8_t> &row, int32_t bits, int32_t x) {
  if (bits < 8) return std::to_string(rv::px::get_packed(row.data(), bits, x));
  if (bits == 12) return std::to_string(rv::px::get12(row.data(), x));
  const size_t n = static_cast<size_t>(bits / 8);
  return std::string(reinterpret_cast<const char *>(row.data()) + n * x, n);
}

TEST(ColToByte, EveryDepth) {
  const int32_t expected[] = {1, 3, 4, 6, 8, 9, 11, 13, 19, 26, 39, 52, 78, 104};  // column 13
  for (size_t i = 0; i < std::size(kDepths); ++i) {
    EXPECT_EQ(Rv_IntColToByte(kDepths[i], 13), expected[i]) << kDepths[i];
  }
  EXPECT_EQ(Rv_IntColToByte(10, 13), 13);  // other depths: the column itself
}

TEST(Rows, ColumnFormsStartAtTheByteHoldingTheColumn) {
  rvtest::Bitmap b;
  ASSERT_TRUE(rvtest::make(b.get(), 40, 2, 1));
  const uint8_t row[8] = {0x00, 0xAB, 0xCD, 0xEF, 0x12};
  ASSERT_EQ(Rv_PutBitmapRow(b.get(), row, 1, 8), 8);
  uint8_t out[2] = {};
  EXPECT_EQ(Rv_GetBitmapRowCol(b.get(), out, 1, 13, 2), 2);  // columns 8 to 15 and onward
  EXPECT_EQ(out[0], 0xAB);
  EXPECT_EQ(out[1], 0xCD);
  const uint8_t two[2] = {0x55, 0x66};
  EXPECT_EQ(Rv_PutBitmapRowCol(b.get(), two, 0, 17, 2), 2);
  EXPECT_EQ(b->pData[2], 0x55);
  EXPECT_EQ(b->pData[3], 0x66);
}

TEST(Segments, PackedRunsChangeOnlyTheirBits) {
  rvtest::Bitmap b;
  ASSERT_TRUE(rvtest::make(b.get(), 16, 1, 1));
  b->pData[0] = 0x00;
  const uint8_t src[4] = {0xFF, 0xFF};
  const uint32_t run[2] = {3, 5};
  ASSERT_EQ(Rv_PutBitmapRowSegments(b.get(), src, 0, 0, run, 2, FALSE), SUCCESS);
  EXPECT_EQ(b->pData[0], 0x18);  // bits 3 and 4 from the high end
  EXPECT_EQ(b->pData[1], 0x00);
}

TEST(Segments, AgreeWithPixelByPixelAtEveryDepthAndDisplacement) {
  for (int32_t bits : kDepths) {
    for (int32_t displacement : {0, 1, 3, 5}) {
      rvtest::Bitmap b;
      ASSERT_TRUE(rvtest::make(b.get(), 37, 1, bits));
      rvtest::fill_random(b.get(), 11 + bits);
      const auto before = rvtest::read_row(b.get(), 0);
      const auto src = rvtest::random_bytes(static_cast<size_t>(b->nBytesPerLine), 99 + bits);
      const uint32_t runs[] = {2, 9, 12, 13, 20, 31, 33, 33};  // the last run is empty
      ASSERT_EQ(Rv_PutBitmapRowSegments(b.get(), src.data(), 0, displacement, runs, 8, FALSE), SUCCESS);
      const auto after = rvtest::read_row(b.get(), 0);
      for (int32_t x = 0; x < 37; ++x) {
        const int32_t from = x - displacement;
        bool in_run = false;
        for (int k = 0; k < 8; k += 2) in_run |= from >= int32_t(runs[k]) && from < int32_t(runs[k + 1]);
        const std::string want = in_run ? pixel(src, bits, from) : pixel(before, bits, x);
        ASSERT_EQ(pixel(after, bits, x), want) << bits << " bits, +" << displacement << ", x " << x;
      }
      // Padding bits and bytes of the row stay.
      const int32_t used_bits = 37 * bits;
      for (int32_t byte = (used_bits + 7) / 8; byte < b->nBytesPerLine; ++byte) {
        ASSERT_EQ(after[byte], before[byte]) << bits;
      }
    }
  }
}

TEST(Segments, KeepTopBitsKeepsTheAlphaPart) {
  struct Case {
    int32_t bits, order;
    bool kept;
  };
  const Case cases[] = {{16, ORDER_BGR, true},     {16, ORDER_BGR565, false}, {16, ORDER_GRAY, false},
                        {32, ORDER_BGR, true},     {64, ORDER_BGR, true},     {24, ORDER_BGR, false}};
  for (const Case &c : cases) {
    rvtest::Bitmap b;
    ASSERT_TRUE(rvtest::make(b.get(), 4, 1, c.bits));
    b->nOrder = c.order;
    std::memset(b->pData, 0xFF, static_cast<size_t>(b->nBytesPerLine));
    std::vector<uint8_t> src(static_cast<size_t>(b->nBytesPerLine), 0x00);
    const uint32_t run[2] = {1, 3};
    ASSERT_EQ(Rv_PutBitmapRowSegments(b.get(), src.data(), 0, 0, run, 2, TRUE), SUCCESS);
    const size_t size = static_cast<size_t>(c.bits / 8);
    const uint8_t *p1 = b->pData + size;  // pixel 1, in the run
    const uint8_t last = p1[size - 1];
    EXPECT_EQ(last, c.kept ? (c.bits == 16 ? 0x80 : 0xFF) : 0x00) << c.bits << "/" << c.order;
    EXPECT_EQ(p1[0], 0x00);
    EXPECT_EQ(b->pData[0], 0xFF);  // pixel 0, outside the run
  }
}

TEST(Columns, PutBitmapColAgreesWithPixelsAtEveryDepth) {
  for (int32_t bits : kDepths) {
    for (int32_t bottom_up : {FALSE, TRUE}) {
      rvtest::Bitmap b;
      ASSERT_TRUE(rvtest::make(b.get(), 11, 9, bits));
      rvtest::fill_random(b.get(), 5 + bits);
      std::vector<std::vector<uint8_t>> before;
      for (int32_t y = 0; y < 9; ++y) before.push_back(rvtest::read_row(b.get(), y));
      const auto stream = rvtest::random_bytes(64 + 9 * 8, 7 + bits);
      const int32_t col = 5;
      ASSERT_EQ(Rv_PutBitmapCol(b.get(), stream.data(), col, 9, bottom_up), SUCCESS);
      for (int32_t y = 0; y < 9; ++y) {
        const auto row = rvtest::read_row(b.get(), y);
        const int32_t index = bottom_up ? 8 - y : y;
        std::string want;
        if (bits < 8) {
          want = std::to_string(rv::px::get_packed(stream.data(), bits, index));
        } else if (bits == 12) {
          want = std::to_string(rv::px::get12(stream.data(), index));
        } else {
          want = std::string(reinterpret_cast<const char *>(stream.data()) + index * (bits / 8), bits / 8);
        }
        ASSERT_EQ(pixel(row, bits, col), want) << bits << " y " << y;
        for (int32_t x = 0; x < 11; ++x) {
          if (x != col) {
            ASSERT_EQ(pixel(row, bits, x), pixel(before[y], bits, x)) << bits << " x " << x;
          }
        }
      }
    }
  }
}

// A bitmap kept in an open file, as disk storage is.
struct DiskBitmap {
  rvtest::Bitmap b;
  explicit DiskBitmap(int32_t width, int32_t height, int32_t bits) {
    Rv_InitBitmap(b.get(), RV_BITMAPRECORD_SIZE, width, height, bits);
    const std::string path = rv::os::temp_directory() + "rvkrn_disk_rows.bin";
    const std::u16string name(path.begin(), path.end());
    b->hData = Rv_WinCreateFileW(name.c_str(), RV_GENERIC_READ | RV_GENERIC_WRITE, 0, nullptr,
                                 RV_CREATE_ALWAYS, RV_FILE_FLAG_DELETE_ON_CLOSE, nullptr);
    auto *file = static_cast<rv::os::File *>(rv::platform_object(b->hData));
    file->set_size(Rv_GetBitmapDataSize(b.get()));
    b->uFlags |= BITMAPFLAG_ALLOCATED | BITMAPFLAG_DISK;
  }
};

TEST(Disk, RowsSegmentsAndColumnsGoThroughTheFile) {
  DiskBitmap disk(20, 4, 4);
  rvtest::Bitmap mem;
  ASSERT_TRUE(rvtest::make(mem.get(), 20, 4, 4));
  for (int32_t y = 0; y < 4; ++y) {
    const auto row = rvtest::random_bytes(12, 40 + y);
    ASSERT_EQ(Rv_PutBitmapRow(disk.b.get(), row.data(), y, 12), 12);
    ASSERT_EQ(Rv_PutBitmapRow(mem.get(), row.data(), y, 12), 12);
  }
  const auto src = rvtest::random_bytes(12, 77);
  const uint32_t runs[4] = {1, 4, 9, 15};
  const auto stream = rvtest::random_bytes(4, 78);
  for (BITMAPRECORD *b : {disk.b.get(), mem.get()}) {
    ASSERT_EQ(Rv_PutBitmapRowSegments(b, src.data(), 2, 1, runs, 4, FALSE), SUCCESS);
    ASSERT_EQ(Rv_PutBitmapCol(b, stream.data(), 7, 4, TRUE), SUCCESS);
  }
  for (int32_t y = 0; y < 4; ++y) EXPECT_EQ(rvtest::read_row(disk.b.get(), y), rvtest::read_row(mem.get(), y));
  uint8_t tail[64];
  EXPECT_EQ(Rv_GetBitmapRow(disk.b.get(), tail, 3, 64), 12);  // a read stops at the end of the file
  uint32_t memory = 0;
  Rv_GetBitmapMemoryInfo(disk.b.get(), &memory, nullptr, nullptr, nullptr, nullptr, nullptr);
  EXPECT_EQ(memory, BITMAPMEMINFO_DISK);
  ASSERT_EQ(Rv_ChangeBitmapHeight(disk.b.get(), 6), SUCCESS);
  EXPECT_EQ(Rv_GetBitmapRow(disk.b.get(), tail, 5, 12), 12);
}

}  // namespace
