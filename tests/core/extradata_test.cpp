#include <gtest/gtest.h>

#include <cstring>

#include "internal/fault.h"
#include "support/bitmaps.h"

namespace {

uint32_t word_at(const BITMAPRECORD &b, uint32_t pos) {
  uint32_t v;
  std::memcpy(&v, static_cast<const uint8_t *>(b.pExtraData) + pos, 4);
  return v;
}

TEST(ExtraData, OnlyTheFirstEntryCanBeFound) {
  rvtest::Bitmap b;
  ASSERT_EQ(Rv_InitBitmap(b.get(), RV_BITMAPRECORD_SIZE, 2, 2, 8), SUCCESS);
  const char one[4] = {'a', 'b', 'c', 'd'};
  const char two[2] = {'x', 'y'};
  ASSERT_EQ(Rv_SetBitmapExtraData(b.get(), 1, 4, one), SUCCESS);
  ASSERT_EQ(Rv_SetBitmapExtraData(b.get(), 2, 2, two), SUCCESS);
  EXPECT_EQ(b->uExtraDataSize, 8u + 12u + 10u);
  EXPECT_EQ(word_at(b.record, 0), RV_EXTRADATA_MAGIC);
  EXPECT_EQ(word_at(b.record, 4), 2u);
  uint32_t size = 16;
  char out[16] = {};
  EXPECT_EQ(Rv_GetBitmapExtraData(b.get(), 1, &size, out), SUCCESS);
  EXPECT_EQ(size, 4u);
  EXPECT_EQ(std::memcmp(out, one, 4), 0);
  size = 16;
  EXPECT_EQ(Rv_GetBitmapExtraData(b.get(), 2, &size, out), ERROR_TAG_NOT_FOUND);
  size = 3;
  EXPECT_EQ(Rv_GetBitmapExtraData(b.get(), 1, &size, out), ERROR_BUFFER_TOO_SMALL);
  EXPECT_EQ(size, 4u);
  EXPECT_EQ(Rv_GetBitmapExtraData(b.get(), 1, nullptr, out), ERROR_NULL_POINTER);
}

TEST(ExtraData, SameSizeSetWritesAtPositionEight) {
  rvtest::Bitmap b;
  ASSERT_EQ(Rv_InitBitmap(b.get(), RV_BITMAPRECORD_SIZE, 2, 2, 8), SUCCESS);
  const uint8_t one[4] = {1, 1, 1, 1}, two[8] = {2, 2, 2, 2, 2, 2, 2, 2};
  Rv_SetBitmapExtraData(b.get(), 1, 4, one);
  Rv_SetBitmapExtraData(b.get(), 2, 8, two);
  const uint8_t again[8] = {9, 0, 0, 0, 1, 0, 0, 0};
  // Setting tag 2 again with its own size lands on the first entry's head.
  ASSERT_EQ(Rv_SetBitmapExtraData(b.get(), 2, 8, again), SUCCESS);
  EXPECT_EQ(word_at(b.record, 8), 9u);    // the first entry's size word
  EXPECT_EQ(word_at(b.record, 12), 1u);   // its tag
  const auto *p = static_cast<const uint8_t *>(b->pExtraData);
  EXPECT_EQ(p[28], 2);  // the second entry's data is untouched
}

TEST(ExtraData, OtherSizeMovesTheRestButKeepsTheSizes) {
  rvtest::Bitmap b;
  ASSERT_EQ(Rv_InitBitmap(b.get(), RV_BITMAPRECORD_SIZE, 2, 2, 8), SUCCESS);
  const uint8_t one[4] = {1, 1, 1, 1}, two[2] = {7, 7};
  Rv_SetBitmapExtraData(b.get(), 1, 4, one);
  Rv_SetBitmapExtraData(b.get(), 2, 2, two);
  const uint32_t before = b->uExtraDataSize;
  const uint8_t longer[6] = {5, 5, 5, 5, 5, 5};
  ASSERT_EQ(Rv_SetBitmapExtraData(b.get(), 1, 6, longer), SUCCESS);
  EXPECT_EQ(b->uExtraDataSize, before);  // not brought up to date
  EXPECT_EQ(word_at(b.record, 8), 4u);   // nor the entry's size word
  const auto *p = static_cast<const uint8_t *>(b->pExtraData);
  EXPECT_EQ(std::memcmp(p + 16, longer, 6), 0);
  EXPECT_EQ(word_at(b.record, 22), 2u);  // the next entry moved behind the new data
  EXPECT_EQ(word_at(b.record, 26), 2u);
  // Shorter again: the block never shrinks below its recorded size.
  const uint8_t shorter[1] = {3};
  ASSERT_EQ(Rv_SetBitmapExtraData(b.get(), 1, 1, shorter), SUCCESS);
  uint32_t size = 64;
  uint8_t out[64];
  EXPECT_EQ(Rv_GetBitmapExtraData(b.get(), 1, &size, out), SUCCESS);  // reads within the block
}

TEST(ExtraData, RemovalAndRawBlocks) {
  rvtest::Bitmap b;
  ASSERT_EQ(Rv_InitBitmap(b.get(), RV_BITMAPRECORD_SIZE, 2, 2, 8), SUCCESS);
  const uint8_t one[4] = {1, 2, 3, 4}, two[2] = {7, 8};
  Rv_SetBitmapExtraData(b.get(), 1, 4, one);
  Rv_SetBitmapExtraData(b.get(), 2, 2, two);
  ASSERT_EQ(Rv_SetBitmapExtraData(b.get(), 1, 0, nullptr), SUCCESS);
  EXPECT_EQ(word_at(b.record, 4), 1u);
  EXPECT_EQ(b->uExtraDataSize, 8u + 10u);
  uint32_t size = 8;
  uint8_t out[8];
  EXPECT_EQ(Rv_GetBitmapExtraData(b.get(), 2, &size, out), SUCCESS);  // now it is the first
  EXPECT_EQ(out[1], 8);
  ASSERT_EQ(Rv_SetBitmapExtraData(b.get(), 2, 0, nullptr), SUCCESS);
  EXPECT_EQ(b->pExtraData, nullptr);  // the last entry gone: no block
  EXPECT_EQ(Rv_SetBitmapExtraData(b.get(), 2, 3, nullptr), ERROR_NULL_POINTER);
  // A raw block without the magic counts as absent and is replaced.
  ASSERT_EQ(Rv_AllocateBitmapExtraData(b.get(), 0, 32), SUCCESS);
  EXPECT_EQ(Rv_GetBitmapExtraData(b.get(), 0, &size, out), ERROR_TAG_NOT_FOUND);
  ASSERT_EQ(Rv_SetBitmapExtraData(b.get(), 5, 2, two), SUCCESS);
  EXPECT_EQ(b->uExtraDataSize, 18u);
  EXPECT_EQ(Rv_AllocateBitmapExtraData(b.get(), 1, 32), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_AllocateBitmapExtraData(nullptr, 0, 32), ERROR_INVALID_IMAGE);
  rvtest::Bitmap c;
  ASSERT_EQ(Rv_InitBitmap(c.get(), RV_BITMAPRECORD_SIZE, 2, 2, 8), SUCCESS);
  EXPECT_EQ(Rv_CopyBitmapExtraData(c.get(), b.get(), 0), SUCCESS);
  EXPECT_EQ(c->uExtraDataSize, 18u);
  EXPECT_NE(c->pExtraData, b->pExtraData);
  EXPECT_EQ(Rv_CopyBitmapExtraData(c.get(), c.get(), 0), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_FreeBitmapExtraData(b.get(), 0), SUCCESS);
  EXPECT_EQ(Rv_CopyBitmapExtraData(c.get(), b.get(), 0), SUCCESS);  // source has none
  EXPECT_EQ(c->pExtraData, nullptr);
}

TEST(ExtraData, FailedGrowthKeepsTheOldBlock) {
  rvtest::Bitmap b;
  ASSERT_EQ(Rv_InitBitmap(b.get(), RV_BITMAPRECORD_SIZE, 2, 2, 8), SUCCESS);
  const uint8_t one[4] = {1, 2, 3, 4};
  Rv_SetBitmapExtraData(b.get(), 1, 4, one);
  void *block = b->pExtraData;
  rv::fault::fail_after(0);
  EXPECT_EQ(Rv_SetBitmapExtraData(b.get(), 2, 4, one), ERROR_NO_MEMORY);
  rv::fault::fail_after(-1);
  EXPECT_EQ(b->pExtraData, block);
  EXPECT_EQ(b->uExtraDataSize, 20u);
  EXPECT_EQ(word_at(b.record, 4), 1u);
}

}  // namespace
