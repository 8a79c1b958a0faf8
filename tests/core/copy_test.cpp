#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "internal/fault.h"
#include "internal/pixels.h"
#include "internal/replace.h"
#include "support/bitmaps.h"

namespace {

const int32_t kDepths[] = {1, 2, 3, 4, 5, 6, 7, 8, 12, 16, 24, 32, 48, 64};

uint64_t pixel_of(BITMAPRECORD *b, int32_t y, int32_t x) {
  const auto row = rvtest::read_row(b, y);
  const int32_t bits = b->nBitsPerPixel;
  if (bits < 8) return rv::px::get_packed(row.data(), bits, x);
  if (bits == 12) return rv::px::get12(row.data(), x);
  uint64_t v = 0;
  std::memcpy(&v, row.data() + x * (bits / 8), bits / 8);
  return v;
}

TEST(CopyBitmap, WholeCopiesAtEveryDepthOwnTheirPalette) {
  for (int32_t bits : kDepths) {
    rvtest::Bitmap src, dst;
    ASSERT_TRUE(rvtest::make(src.get(), 13, 5, bits));
    rvtest::fill_random(src.get(), bits);
    src->nXResolution = 77;
    if (bits <= 8) src->pPalette = Rv_CreateFixedPalette(bits);
    ASSERT_EQ(Rv_CopyBitmap(dst.get(), src.get(), RV_BITMAPRECORD_SIZE), SUCCESS) << bits;
    EXPECT_EQ(dst->nXResolution, 77);
    EXPECT_EQ(dst->nBitsPerPixel, bits);
    for (int32_t y = 0; y < 5; ++y) EXPECT_EQ(rvtest::read_row(dst.get(), y), rvtest::read_row(src.get(), y));
    if (bits <= 8) {
      EXPECT_NE(dst->pPalette, src->pPalette);
      EXPECT_EQ(std::memcmp(dst->pPalette, src->pPalette, sizeof(RGBQUAD) << bits), 0);
    }
  }
  rvtest::Bitmap b;
  ASSERT_TRUE(rvtest::make(b.get(), 2, 2, 8));
  EXPECT_EQ(Rv_CopyBitmapData(b.get(), b.get()), SUCCESS);
  EXPECT_EQ(Rv_CopyBitmap(b.get(), b.get(), RV_BITMAPRECORD_SIZE), SUCCESS);
  EXPECT_EQ(Rv_CopyBitmap(nullptr, b.get(), RV_BITMAPRECORD_SIZE), ERROR_INVALID_PARAMETER);
  rvtest::Bitmap other;
  EXPECT_EQ(Rv_CopyBitmap(other.get(), b.get(), 5), ERROR_INVALID_STRUCT_SIZE);
}

TEST(CopyBitmap, RowToRowAndBufferedCopiesAgree) {
  // A row callback that lets storage serve forces the buffered path.
  BITMAPDATACALLBACKS cb{};
  cb.uStructSize = RV_BITMAPDATACALLBACKS_SIZE;
  cb.pfnGetRow = [](BITMAPRECORD *, void *, int32_t, int32_t, uint32_t, void *) -> int32_t { return 0; };
  rvtest::Bitmap plain, buffered, a, b;
  ASSERT_TRUE(rvtest::make(plain.get(), 31, 7, 24));
  rvtest::fill_random(plain.get(), 8);
  ASSERT_EQ(Rv_InitBitmapWithCallbacks(buffered.get(), RV_BITMAPRECORD_SIZE, 31, 7, 24, &cb), SUCCESS);
  ASSERT_EQ(Rv_AllocateBitmap(buffered.get(), BITMAPMEM_CONVENTIONAL), SUCCESS);
  ASSERT_EQ(Rv_CopyBitmapData(buffered.get(), plain.get()), SUCCESS);
  ASSERT_EQ(Rv_CopyBitmap(a.get(), plain.get(), RV_BITMAPRECORD_SIZE), SUCCESS);
  ASSERT_EQ(Rv_CopyBitmap(b.get(), buffered.get(), RV_BITMAPRECORD_SIZE), SUCCESS);
  for (int32_t y = 0; y < 7; ++y) EXPECT_EQ(rvtest::read_row(a.get(), y), rvtest::read_row(b.get(), y));
}

TEST(CopyBitmap, ProgressGoesToTheCopyCallback) {
  std::vector<int32_t> seen;
  auto record = [](int32_t percent, void *user) -> int32_t {
    static_cast<std::vector<int32_t> *>(user)->push_back(percent);
    return SUCCESS;
  };
  Rv_SetCopyStatusCallBack(record, &seen, nullptr, nullptr);
  rvtest::Bitmap src, dst;
  ASSERT_TRUE(rvtest::make(src.get(), 4, 3, 8));
  ASSERT_EQ(Rv_CopyBitmap(dst.get(), src.get(), RV_BITMAPRECORD_SIZE), SUCCESS);
  Rv_SetCopyStatusCallBack(nullptr, nullptr, nullptr, nullptr);
  EXPECT_EQ(seen, (std::vector<int32_t>{0, 33, 66, 100}));
}

TEST(CopyBitmap, FailureAtEveryStepLeavesTheSourceAndFreesTheCopy) {
  rvtest::Bitmap src;
  ASSERT_TRUE(rvtest::make(src.get(), 9, 4, 4));
  src->pPalette = Rv_CreateFixedPalette(4);
  rvtest::fill_random(src.get(), 21);
  const uint8_t tag[3] = {1, 2, 3};
  Rv_SetBitmapExtraData(src.get(), 7, 3, tag);
  const rvtest::Snapshot before(src.get());
  for (int32_t mode = 0; mode < 3; ++mode) {
    bool succeeded = false;
    for (int64_t n = 0; n < 64 && !succeeded; ++n) {
      rvtest::Bitmap dst;
      rv::fault::fail_after(n);
      int32_t status;
      if (mode == 0) {
        status = Rv_CopyBitmap2(dst.get(), src.get(), RV_BITMAPRECORD_SIZE, BITMAPMEM_CONVENTIONAL);
      } else if (mode == 1) {
        status = Rv_CopyBitmapRect2(dst.get(), src.get(), RV_BITMAPRECORD_SIZE, 2, 1, 5, 2, BITMAPMEM_CONVENTIONAL);
      } else {
        rv::fault::fail_after(-1);
        rvtest::Bitmap copy;
        ASSERT_EQ(Rv_CopyBitmap(copy.get(), src.get(), RV_BITMAPRECORD_SIZE), SUCCESS);
        const rvtest::Snapshot own(copy.get());
        rv::fault::fail_after(n);
        status = Rv_CopyBitmapRect(nullptr, copy.get(), RV_BITMAPRECORD_SIZE, 2, 1, 5, 2);  // in place
        if (rv::fault::fired()) {
          EXPECT_TRUE(own.same(copy.get()));  // the in-place source stands as it was
        }
      }
      const bool fired = rv::fault::fired();
      rv::fault::fail_after(-1);
      succeeded = !fired;
      if (!fired) {
        EXPECT_EQ(status, SUCCESS);
      }
      // A step that can do without its allocation (a colour translation)
      // still succeeds; any other failure frees the half-made copy.
      if (status != SUCCESS) {
        EXPECT_EQ(status, ERROR_NO_MEMORY) << "mode " << mode << " step " << n;
        if (mode < 2) {
          EXPECT_FALSE(dst->uFlags & BITMAPFLAG_ALLOCATED);
        }
      }
      EXPECT_TRUE(before.same(src.get()));
    }
    EXPECT_TRUE(succeeded) << mode;
  }
}

TEST(CopyRect, OutsideTheSourceNothingIsWritten) {
  rvtest::Bitmap src, dst;
  ASSERT_TRUE(rvtest::make(src.get(), 10, 10, 24));
  rvtest::fill_random(src.get(), 4);
  ASSERT_EQ(Rv_CopyBitmapRect(dst.get(), src.get(), RV_BITMAPRECORD_SIZE, 20, 30, 6, 7), SUCCESS);
  EXPECT_EQ(dst->nWidth, 6);
  EXPECT_EQ(dst->nHeight, 7);
  EXPECT_TRUE(dst->uFlags & BITMAPFLAG_ALLOCATED);
  for (int32_t y = 0; y < 7; ++y) EXPECT_EQ(rvtest::read_row(dst.get(), y), std::vector<uint8_t>(20, 0));
}

TEST(CopyRect, PixelsLandWhereTheyBelongAtEveryDepth) {
  for (int32_t bits : kDepths) {
    rvtest::Bitmap src;
    ASSERT_TRUE(rvtest::make(src.get(), 23, 6, bits));
    rvtest::fill_random(src.get(), 60 + bits);
    // A rectangle that starts left of and above the source, and one inside.
    for (const RECT r : {RECT{-3, -1, 14, 4}, RECT{5, 2, 21, 6}, RECT{1, 0, 2, 6}}) {
      rvtest::Bitmap dst;
      const int32_t w = r.right - r.left, h = r.bottom - r.top;
      ASSERT_EQ(Rv_CopyBitmapRect(dst.get(), src.get(), RV_BITMAPRECORD_SIZE, r.left, r.top, w, h), SUCCESS);
      for (int32_t y = 0; y < h; ++y) {
        for (int32_t x = 0; x < w; ++x) {
          const int32_t sx = x + r.left, sy = y + r.top;
          const uint64_t want = sx >= 0 && sy >= 0 && sx < 23 && sy < 6 ? pixel_of(src.get(), sy, sx) : 0;
          ASSERT_EQ(pixel_of(dst.get(), y, x), want) << bits << " bits at " << x << "," << y;
        }
      }
    }
  }
  // Depth 3, column 1 to column 0: each row moves left by 3 bits.
  rvtest::Bitmap three, moved;
  ASSERT_TRUE(rvtest::make(three.get(), 8, 1, 3));
  const uint8_t row[4] = {0b00011111, 0b01000110, 0b11000000};
  Rv_PutBitmapRow(three.get(), row, 0, 4);
  ASSERT_EQ(Rv_CopyBitmapRect(moved.get(), three.get(), RV_BITMAPRECORD_SIZE, 1, 0, 7, 1), SUCCESS);
  EXPECT_EQ(moved->pData[0], 0b11111010);
  EXPECT_EQ(moved->pData[1], 0b00110110);
}

TEST(CopyRect, InPlaceAndTrim) {
  rvtest::Bitmap b;
  ASSERT_TRUE(rvtest::make(b.get(), 10, 8, 8));
  rvtest::fill_random(b.get(), 5);
  const uint64_t corner = pixel_of(b.get(), 2, 3);
  EXPECT_EQ(Rv_TrimBitmap(b.get(), 3, 2, 100, 3), SUCCESS);  // past the right edge: cut
  EXPECT_EQ(b->nWidth, 7);
  EXPECT_EQ(b->nHeight, 3);
  EXPECT_EQ(pixel_of(b.get(), 0, 0), corner);
  EXPECT_EQ(Rv_TrimBitmap(b.get(), 9, 0, 2, 2), ERROR_INVALID_WIDTH_OR_HEIGHT);  // starts past it
  EXPECT_EQ(Rv_TrimBitmap(b.get(), -5, -5, 7, 7), SUCCESS);                     // negative edges: 0
  EXPECT_EQ(b->nWidth, 2);
  EXPECT_EQ(pixel_of(b.get(), 0, 0), corner);
  EXPECT_EQ(Rv_TrimBitmap(nullptr, 0, 0, 1, 1), ERROR_INVALID_PARAMETER);
}

TEST(DupBitmap, OrdersFlagsAndSharing) {
  rvtest::Bitmap gray;
  ASSERT_TRUE(rvtest::make(gray.get(), 4, 4, 16));
  gray->nOrder = ORDER_GRAY;
  gray->uFlags |= BITMAPFLAG_LUT_NONLINEAR | BITMAPFLAG_SIGNED | BITMAPFLAG_RGN_NO_CLIP;
  gray->nViewPerspective = VIEW_TOP_LEFT;
  rvtest::Bitmap to24;
  ASSERT_EQ(Rv_DupBitmapNewDim(to24.get(), gray.get(), RV_BITMAPRECORD_SIZE, 8, 2, 24, DUPFLAG_ALLOCATE), SUCCESS);
  EXPECT_EQ(to24->nOrder, ORDER_BGR);
  EXPECT_EQ(to24->uFlags & BITMAPFLAG_LUT_NONLINEAR, 0u);
  EXPECT_TRUE(to24->uFlags & BITMAPFLAG_SIGNED);
  EXPECT_TRUE(to24->uFlags & BITMAPFLAG_RGN_NO_CLIP);
  EXPECT_EQ(to24->nViewPerspective, VIEW_TOP_LEFT);
  EXPECT_TRUE(to24->uFlags & BITMAPFLAG_ALLOCATED);
  rvtest::Bitmap to16;
  ASSERT_EQ(Rv_DupBitmapNewDim(to16.get(), gray.get(), RV_BITMAPRECORD_SIZE, 8, 2, 16, 0), SUCCESS);
  EXPECT_EQ(to16->nOrder, ORDER_GRAY);
  EXPECT_TRUE(to16->uFlags & BITMAPFLAG_LUT_NONLINEAR);
  EXPECT_FALSE(to16->uFlags & BITMAPFLAG_ALLOCATED);
  // A duplicate that shares the palette gives it back with the right call.
  rvtest::Bitmap pal;
  ASSERT_TRUE(rvtest::make(pal.get(), 4, 4, 8));
  pal->pPalette = Rv_CreateFixedPalette(8);
  BITMAPRECORD shared;
  ASSERT_EQ(Rv_DupBitmapNewDim(&shared, pal.get(), RV_BITMAPRECORD_SIZE, 2, 2, 8, DUPFLAG_ALLOCATE), SUCCESS);
  EXPECT_EQ(shared.pPalette, pal->pPalette);
  EXPECT_EQ(Rv_FreeDuplicateBitmap(&shared, DUPFLAG_ALLOCATE), SUCCESS);
  EXPECT_NE(pal->pPalette, nullptr);
  EXPECT_EQ(Rv_DupBitmapNewDim(&shared, nullptr, RV_BITMAPRECORD_SIZE, 2, 2, 8, 0), ERROR_INVALID_IMAGE);
  EXPECT_EQ(Rv_DupBitmapNewDim(&shared, pal.get(), 7, 2, 2, 8, 0), ERROR_INVALID_STRUCT_SIZE);
}

int32_t g_end_copies = 0;

TEST(CopyFrame, BeginGivesTheCopyNewCallbacks) {
  BITMAPDATACALLBACKS cb{};
  cb.uStructSize = RV_BITMAPDATACALLBACKS_SIZE;
  cb.pfnBeginCopy = [](BITMAPRECORD *, int32_t nParam, BITMAPALLOCINFO *info, BITMAPDATACALLBACKS *fresh,
                       void *) -> int32_t {
    EXPECT_EQ(nParam, 1);
    EXPECT_EQ(info->nWidth, 6);
    fresh->pfnEndCopy = [](BITMAPRECORD *, int32_t, void *) -> int32_t { return SUCCESS; };
    return SUCCESS;
  };
  cb.pfnEndCopy = [](BITMAPRECORD *, int32_t, void *) -> int32_t {
    ++g_end_copies;
    return SUCCESS;
  };
  rvtest::Bitmap src, dst;
  ASSERT_EQ(Rv_InitBitmapWithCallbacks(src.get(), RV_BITMAPRECORD_SIZE, 6, 2, 8, &cb), SUCCESS);
  ASSERT_EQ(Rv_AllocateBitmap(src.get(), BITMAPMEM_CONVENTIONAL), SUCCESS);
  ASSERT_EQ(Rv_CopyBitmap(dst.get(), src.get(), RV_BITMAPRECORD_SIZE), SUCCESS);
  ASSERT_NE(dst->pDataCallbacks, nullptr);
  EXPECT_NE(dst->pDataCallbacks->pfnEndCopy, nullptr);
  EXPECT_EQ(dst->pDataCallbacks->pfnBeginCopy, nullptr);
  EXPECT_EQ(g_end_copies, 1);
}

TEST(ReplaceRecord, SuccessTakesOverAndFailureLeavesTheTarget) {
  rvtest::Bitmap target;
  ASSERT_TRUE(rvtest::make(target.get(), 4, 4, 8));
  target->pPalette = Rv_CreateFixedPalette(8);
  BITMAPRECORD fresh;
  ASSERT_EQ(Rv_DupBitmapNewDim(&fresh, target.get(), RV_BITMAPRECORD_SIZE, 9, 9, 8, DUPFLAG_ALLOCATE), SUCCESS);
  RGBQUAD *palette = target->pPalette;
  EXPECT_EQ(rv::replace_record(target.get(), &fresh, ERROR_NO_MEMORY), ERROR_NO_MEMORY);
  EXPECT_EQ(target->nWidth, 4);
  EXPECT_EQ(target->pPalette, palette);  // shared, so kept
  ASSERT_EQ(Rv_DupBitmapNewDim(&fresh, target.get(), RV_BITMAPRECORD_SIZE, 9, 9, 8, DUPFLAG_ALLOCATE), SUCCESS);
  EXPECT_EQ(rv::replace_record(target.get(), &fresh, SUCCESS), SUCCESS);
  EXPECT_EQ(target->nWidth, 9);
  EXPECT_EQ(target->pPalette, palette);
  EXPECT_TRUE(target->uFlags & BITMAPFLAG_ALLOCATED);
}

}  // namespace
