#include <gtest/gtest.h>

#include <cstring>

#include "internal/fault.h"
#include "support/bitmaps.h"

namespace {

// A small allocated bitmap whose width tells it apart.
BITMAPRECORD item(int32_t width, uint32_t size = RV_BITMAPRECORD_SIZE) {
  BITMAPRECORD b{};
  EXPECT_TRUE(rvtest::make(&b, width, 2, 8, size));
  return b;
}

std::vector<int32_t> widths(HBITMAPLIST list) {
  std::vector<int32_t> w;
  for (uint32_t i = 0; i < list->uCount; ++i) w.push_back(list->pItems[i].nWidth);
  return w;
}

struct List {
  HBITMAPLIST h = nullptr;
  List() { EXPECT_EQ(Rv_CreateBitmapList(&h), SUCCESS); }
  ~List() { Rv_DestroyBitmapList(h); }
};

TEST(BitmapList, InsertHoldsTheIndexToTheCount) {
  List list;
  BITMAPRECORD a = item(1), b = item(2), c = item(3, RV_BITMAPRECORD_SIZE_OLD);
  ASSERT_EQ(Rv_InsertBitmapListItem(list.h, RV_LIST_END, &a), SUCCESS);  // appends
  ASSERT_EQ(Rv_InsertBitmapListItem(list.h, 0, &b), SUCCESS);            // prepends
  ASSERT_EQ(Rv_InsertBitmapListItem(list.h, 1, &c), SUCCESS);
  EXPECT_EQ(widths(list.h), (std::vector<int32_t>{2, 3, 1}));
  EXPECT_EQ(list.h->pItems[1].uStructSize, RV_BITMAPRECORD_SIZE);  // stored in the full form
  uint32_t count = 0;
  EXPECT_EQ(Rv_GetBitmapListCount(list.h, &count), SUCCESS);
  EXPECT_EQ(count, 3u);
  BITMAPRECORD bad{};
  bad.uStructSize = 99;
  EXPECT_EQ(Rv_InsertBitmapListItem(list.h, 0, &bad), ERROR_INVALID_STRUCT_SIZE);
  EXPECT_EQ(Rv_InsertBitmapListItem(nullptr, 0, &a), ERROR_INVALID_PARAMETER);
  // A failed growth leaves the list as it was.
  BITMAPRECORD d = item(4);
  rv::fault::fail_after(0);
  EXPECT_EQ(Rv_InsertBitmapListItem(list.h, 0, &d), ERROR_NO_MEMORY);
  rv::fault::fail_after(-1);
  EXPECT_EQ(widths(list.h), (std::vector<int32_t>{2, 3, 1}));
  Rv_FreeBitmap(&d);
}

TEST(BitmapList, GetRemoveSetReplace) {
  List list;
  for (int32_t w = 1; w <= 4; ++w) {
    BITMAPRECORD b = item(w);
    ASSERT_EQ(Rv_InsertBitmapListItem(list.h, RV_LIST_END, &b), SUCCESS);
  }
  BITMAPRECORD older;
  ASSERT_EQ(Rv_GetBitmapListItem(list.h, 2, &older, RV_BITMAPRECORD_SIZE_OLD), SUCCESS);
  EXPECT_EQ(older.uStructSize, RV_BITMAPRECORD_SIZE_OLD);
  EXPECT_EQ(older.nWidth, 3);
  EXPECT_EQ(older.pData, list.h->pItems[2].pData);  // shared with the list
  EXPECT_EQ(Rv_GetBitmapListItem(list.h, 4, &older, RV_BITMAPRECORD_SIZE), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_GetBitmapListItem(list.h, 0, &older, 200), ERROR_INVALID_STRUCT_SIZE);

  BITMAPRECORD out;
  ASSERT_EQ(Rv_RemoveBitmapListItem(list.h, 0, &out), SUCCESS);  // the caller owns it now
  EXPECT_EQ(out.nWidth, 1);
  Rv_FreeBitmap(&out);
  EXPECT_EQ(widths(list.h), (std::vector<int32_t>{2, 3, 4}));

  BITMAPRECORD fresh = item(9);
  BITMAPRECORD old;
  ASSERT_EQ(Rv_ReplaceBitmapListItem(list.h, RV_LIST_END, &fresh, &old, RV_BITMAPRECORD_SIZE), SUCCESS);
  EXPECT_EQ(old.nWidth, 4);
  Rv_FreeBitmap(&old);
  BITMAPRECORD again = item(8);
  ASSERT_EQ(Rv_ReplaceBitmapListItem(list.h, 0, &again, nullptr, 0), SUCCESS);  // the old one is freed
  EXPECT_EQ(widths(list.h), (std::vector<int32_t>{8, 3, 9}));

  // A cleared slot is all zero, and deleting it is harmless.
  BITMAPRECORD keep = list.h->pItems[1];
  ASSERT_EQ(Rv_SetBitmapListItem(list.h, 1, nullptr), SUCCESS);
  EXPECT_EQ(list.h->pItems[1].uStructSize, 0u);
  Rv_FreeBitmap(&keep);
  EXPECT_EQ(Rv_DeleteBitmapListItems(list.h, 1, 1), SUCCESS);
  EXPECT_EQ(widths(list.h), (std::vector<int32_t>{8, 9}));
}

TEST(BitmapList, DeleteCopyAndMove) {
  List list;
  for (int32_t w = 1; w <= 5; ++w) {
    BITMAPRECORD b = item(w);
    ASSERT_EQ(Rv_InsertBitmapListItem(list.h, RV_LIST_END, &b), SUCCESS);
  }
  HBITMAPLIST copies = nullptr;
  ASSERT_EQ(Rv_CopyBitmapListItems(&copies, list.h, 3, RV_LIST_END), SUCCESS);
  EXPECT_EQ(widths(copies), (std::vector<int32_t>{4, 5}));
  EXPECT_NE(copies->pItems[0].pData, list.h->pItems[3].pData);  // copies, not shares
  Rv_DestroyBitmapList(copies);
  HBITMAPLIST moved = nullptr;
  ASSERT_EQ(Rv_MoveBitmapListItems(&moved, list.h, 1, 2), SUCCESS);
  EXPECT_EQ(widths(moved), (std::vector<int32_t>{2, 3}));
  EXPECT_EQ(widths(list.h), (std::vector<int32_t>{1, 4, 5}));
  Rv_DestroyBitmapList(moved);
  ASSERT_EQ(Rv_MoveBitmapListItems(&moved, list.h, 0, RV_LIST_END), SUCCESS);
  EXPECT_EQ(list.h->uCount, 0u);
  EXPECT_EQ(list.h->pItems, nullptr);
  Rv_DestroyBitmapList(moved);
  for (int32_t w = 1; w <= 3; ++w) {
    BITMAPRECORD b = item(w);
    ASSERT_EQ(Rv_InsertBitmapListItem(list.h, RV_LIST_END, &b), SUCCESS);
  }
  EXPECT_EQ(Rv_DeleteBitmapListItems(list.h, 0, RV_LIST_END), SUCCESS);  // empties; the handle stays
  EXPECT_EQ(list.h->uCount, 0u);
  EXPECT_EQ(Rv_DeleteBitmapListItems(list.h, 0, 1), ERROR_INVALID_PARAMETER);  // an empty list
  EXPECT_EQ(Rv_CopyBitmapListItems(&moved, list.h, 0, 1), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_RemoveBitmapListItem(list.h, 0, nullptr), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_CreateBitmapList(nullptr), ERROR_INVALID_PARAMETER);
}

}  // namespace
