#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "color/dib_records.h"
#include "internal/fault.h"
#include "support/bitmaps.h"

namespace {

using dibtest::Dib;

// A DIB of a random 8-bit bitmap, as Rv_ConvertToDIB writes it.
std::vector<uint8_t> sample_dib(int32_t bits = 8) {
  rvtest::Bitmap b;
  rvtest::make(b.get(), 5, 3, bits);
  rvtest::fill_random(b.get(), 11);
  RVHANDLE h = Rv_ConvertToDIB(b.get(), RV_BITMAPRECORD_SIZE);
  auto bytes = dibtest::handle_bytes(h);
  Rv_OsFreeHandle(h);
  return bytes;
}

std::vector<uint8_t> shown_rows(BITMAPRECORD *b) {
  Rv_AccessBitmap(b);
  std::vector<uint8_t> out;
  for (int32_t y = 0; y < b->nHeight; ++y) {
    const auto row = rvtest::read_row(b, y);
    out.insert(out.end(), row.begin(), row.end());
  }
  Rv_ReleaseBitmap(b);
  return out;
}

TEST(DibHandle, ChangeTakesTheBlockAndGivesItBackUnchanged) {
  const auto dib = sample_dib();
  const size_t offset = 40 + 256 * 4;
  RVHANDLE h = dibtest::handle_of(dib);
  rvtest::Bitmap b;
  ASSERT_EQ(Rv_ChangeFromDIB(b.get(), RV_BITMAPRECORD_SIZE, h), SUCCESS);
  EXPECT_EQ(b->hData, h);
  EXPECT_EQ(b->pData, nullptr);
  EXPECT_EQ(b->uDataOffset, 0u);
  EXPECT_EQ(b->uFlags & (BITMAPFLAG_GLOBAL_MEMORY | BITMAPFLAG_USER_DATA | BITMAPFLAG_ALLOCATED),
            BITMAPFLAG_GLOBAL_MEMORY | BITMAPFLAG_ALLOCATED);
  EXPECT_EQ(b->nViewPerspective, VIEW_BOTTOM_LEFT);
  EXPECT_EQ(shown_rows(b.get()), std::vector<uint8_t>(dib.begin() + offset, dib.end()));

  // The pixels lie at the block's start: the DIB is written round them in place.
  RVHANDLE back = Rv_ChangeToDIB(b.get(), RV_BITMAPRECORD_SIZE);
  EXPECT_EQ(back, h);
  EXPECT_FALSE(b->uFlags & BITMAPFLAG_ALLOCATED);
  EXPECT_EQ(dibtest::handle_bytes(back), dib);
  Rv_OsFreeHandle(back);

  // Conventional data goes into a new block; a locked bitmap stays as it is.
  rvtest::Bitmap c;
  ASSERT_TRUE(rvtest::make(c.get(), 6, 4, 24));
  rvtest::fill_random(c.get(), 2);
  RVHANDLE copy = Rv_ConvertToDIB(c.get(), RV_BITMAPRECORD_SIZE);
  c->nLockCount = 1;
  EXPECT_EQ(Rv_ChangeToDIB(c.get(), RV_BITMAPRECORD_SIZE), nullptr);
  c->nLockCount = 0;
  RVHANDLE changed = Rv_ChangeToDIB(c.get(), RV_BITMAPRECORD_SIZE);
  EXPECT_FALSE(c->uFlags & BITMAPFLAG_ALLOCATED);
  EXPECT_EQ(dibtest::handle_bytes(changed), dibtest::handle_bytes(copy));
  Rv_OsFreeHandle(changed);
  Rv_OsFreeHandle(copy);
}

TEST(DibHandle, MirrorLiesOverTheCallersPixels) {
  const auto dib = sample_dib();
  RVHANDLE h = dibtest::handle_of(dib);
  {
    rvtest::Bitmap b;
    ASSERT_EQ(Rv_MirrorFromDIB(b.get(), RV_BITMAPRECORD_SIZE, h), SUCCESS);
    EXPECT_TRUE(b->uFlags & BITMAPFLAG_USER_DATA);
    EXPECT_EQ(b->uDataOffset, 40u + 256 * 4);
    const uint8_t row[8] = {9, 9, 9, 9, 9, 0, 0, 0};
    Rv_AccessBitmap(b.get());
    Rv_PutBitmapRow(b.get(), row, 0, 8);
    Rv_ReleaseBitmap(b.get());
  }
  // The bitmap is gone, the handle stays with the row written through it.
  const auto after = dibtest::handle_bytes(h);
  EXPECT_EQ(after[40 + 1024], 9);
  EXPECT_EQ(std::vector<uint8_t>(after.begin(), after.begin() + 1064),
            std::vector<uint8_t>(dib.begin(), dib.begin() + 1064));
  Rv_OsFreeHandle(h);
}

TEST(DibHandle, BitFieldsAreReadIntoStorageOfTheirOwn) {
  Dib d(2, 1, 16, BI_BITFIELDS);
  d.masks({0x0F00, 0x00F0, 0x000F});
  d.pixels = {0x5C, 0x1A, 0x00, 0x0F};
  // The mirror leaves the handle as it was; the change frees it once read.
  for (bool mirror : {true, false}) {
    RVHANDLE h = dibtest::handle_of(d.packed());
    rvtest::Bitmap b;
    const int32_t status = mirror ? Rv_MirrorFromDIB(b.get(), RV_BITMAPRECORD_SIZE, h)
                                  : Rv_ChangeFromDIB(b.get(), RV_BITMAPRECORD_SIZE, h);
    ASSERT_EQ(status, SUCCESS);
    EXPECT_EQ(b->nBitsPerPixel, 24);
    EXPECT_FALSE(b->uFlags & BITMAPFLAG_GLOBAL_MEMORY);
    EXPECT_EQ(Rv_GetPixelColor(b.get(), 0, 1), RV_RGB(0xFF, 0, 0));
    if (mirror) Rv_OsFreeHandle(h);
  }
  // 5-6-5 is kept over the block.
  Dib k(2, 1, 16, BI_BITFIELDS);
  k.masks({0xF800, 0x7E0, 0x1F});
  RVHANDLE h = dibtest::handle_of(k.packed());
  rvtest::Bitmap b;
  ASSERT_EQ(Rv_ChangeFromDIB(b.get(), RV_BITMAPRECORD_SIZE, h), SUCCESS);
  EXPECT_EQ(b->nOrder, ORDER_BGR565);
  EXPECT_EQ(b->hData, h);
}

TEST(DibHandle, BadHandlesAndShortBlocksLeaveTheHandleAsItWas) {
  rvtest::Bitmap b;
  WINHANDLE region{};
  region.nKind = WINHANDLE_KIND_REGION;
  EXPECT_EQ(Rv_ChangeFromDIB(b.get(), RV_BITMAPRECORD_SIZE, nullptr), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_MirrorFromDIB(b.get(), RV_BITMAPRECORD_SIZE, &region), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_ChangeFromDIB(nullptr, RV_BITMAPRECORD_SIZE, &region), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_ChangeFromDIB(b.get(), 3, &region), ERROR_INVALID_STRUCT_SIZE);

  auto dib = sample_dib();
  struct Case {
    size_t at;
    uint8_t value;
    int32_t status;
  };
  const Case cases[] = {{0, 0, ERROR_DIB_INVALID},         {4, 0, ERROR_INVALID_PARAMETER},
                        {12, 2, ERROR_FEATURE_NOT_SUPPORTED}, {16, 'Y', ERROR_FEATURE_NOT_SUPPORTED},
                        {14, 2, ERROR_FEATURE_NOT_SUPPORTED}, {1000, 0, SUCCESS}};
  for (const Case &c : cases) {
    auto bent = dib;
    bent[c.at] = c.value;
    if (c.status == SUCCESS) bent.pop_back();  // pixels a byte short
    RVHANDLE h = dibtest::handle_of(bent);
    rvtest::Bitmap r;
    const int32_t expected = c.status == SUCCESS ? ERROR_DIB_INVALID : c.status;
    EXPECT_EQ(Rv_ChangeFromDIB(r.get(), RV_BITMAPRECORD_SIZE, h), expected) << c.at;
    EXPECT_EQ(dibtest::handle_bytes(h), bent) << c.at;
    Rv_OsFreeHandle(h);
  }
}

TEST(DibHandle, FailuresOfChangeToDIBKeepTheBitmap) {
  rvtest::Bitmap b;
  ASSERT_TRUE(rvtest::make(b.get(), 5, 3, 12));
  rvtest::fill_random(b.get(), 4);
  const auto before = shown_rows(b.get());
  for (int64_t n = 0;; ++n) {
    rv::fault::fail_after(n);
    RVHANDLE h = Rv_ChangeToDIB(b.get(), RV_BITMAPRECORD_SIZE);
    const bool fired = rv::fault::fired();
    rv::fault::fail_after(-1);
    if (!fired) {
      ASSERT_NE(h, nullptr);
      Rv_OsFreeHandle(h);
      break;
    }
    ASSERT_EQ(h, nullptr);
    EXPECT_EQ(shown_rows(b.get()), before);
  }
}

}  // namespace
