// Bitmap lists: whole records kept by value in one growable array, each in the
// full form whatever form it came in.
#include <cstring>

#include "internal/memory.h"
#include "internal/record.h"
#include "ruvokit/rvbitmap.h"

namespace {

constexpr size_t kItem = sizeof(BITMAPRECORD);

// Resizes the array to `count` items; the list keeps its old array when that
// fails. Zero items free it.
bool resize_items(BITMAPLIST *list, uint32_t count) noexcept {
  if (count == 0) {
    rv::free_block(list->pItems);
    list->pItems = nullptr;
    return true;
  }
  void *items = rv::realloc_block(list->pItems, static_cast<size_t>(count) * kItem, false);
  if (items == nullptr) return false;
  list->pItems = static_cast<BITMAPRECORD *>(items);
  return true;
}

// The record as the list keeps it: copied over its own size into a cleared
// full-form slot, with the two fields every record carries.
void store(BITMAPRECORD *slot, const BITMAPRECORD *record) noexcept {
  std::memset(slot, 0, kItem);
  std::memcpy(slot, record, record->uStructSize);
  slot->nLockCount = record->nLockCount;
  slot->pDataCallbacks = record->pDataCallbacks;
  slot->uStructSize = rv::kRecordSize;
}

// A copy of a full-form item into a record of `size` bytes.
void load(BITMAPRECORD *record, const BITMAPRECORD *item, uint32_t size) noexcept {
  std::memcpy(record, item, size);
  record->uStructSize = size;
  record->nLockCount = item->nLockCount;
  record->pDataCallbacks = item->pDataCallbacks;
}

bool first_item_has_full_form(const BITMAPLIST *list) noexcept {
  return list->uCount == 0 || list->pItems[0].uStructSize == rv::kRecordSize;
}

// Closes the gap of `count` items at `index` and gives the array back its
// size (a failed shrink leaves it larger).
void close_up(BITMAPLIST *list, uint32_t index, uint32_t count) noexcept {
  BITMAPRECORD *items = list->pItems;
  std::memmove(items + index, items + index + count,
               static_cast<size_t>(list->uCount - index - count) * kItem);
  list->uCount -= count;
  resize_items(list, list->uCount);
}

}  // namespace

int32_t Rv_CreateBitmapList(HBITMAPLIST *phList) noexcept {
  if (phList == nullptr) return ERROR_INVALID_PARAMETER;
  auto *list = static_cast<BITMAPLIST *>(rv::alloc_block(sizeof(BITMAPLIST), true));
  if (list == nullptr) return ERROR_NO_MEMORY;
  *phList = list;
  return SUCCESS;
}

int32_t Rv_DestroyBitmapList(HBITMAPLIST hList) noexcept {
  if (hList == nullptr) return ERROR_INVALID_PARAMETER;
  if (hList->uCount > 0) Rv_DeleteBitmapListItems(hList, 0, RV_LIST_END);
  rv::free_block(hList->pItems);
  rv::free_block(hList);
  return SUCCESS;
}

int32_t Rv_GetBitmapListCount(HBITMAPLIST hList, uint32_t *puCount) noexcept {
  if (hList == nullptr || puCount == nullptr) return ERROR_INVALID_PARAMETER;
  *puCount = hList->uCount;
  return SUCCESS;
}

int32_t Rv_InsertBitmapListItem(HBITMAPLIST hList, uint32_t uIndex, const BITMAPRECORD *pBitmap) noexcept {
  if (hList == nullptr || pBitmap == nullptr) return ERROR_INVALID_PARAMETER;
  if (hList->uCount > 0 && hList->pItems == nullptr) return ERROR_NULL_POINTER;
  if (!first_item_has_full_form(hList) || !rv::valid_record_size(pBitmap->uStructSize)) {
    return ERROR_INVALID_STRUCT_SIZE;
  }
  if (hList->uCount == UINT32_MAX || !resize_items(hList, hList->uCount + 1)) return ERROR_NO_MEMORY;
  const uint32_t index = uIndex < hList->uCount ? uIndex : hList->uCount;
  BITMAPRECORD *items = hList->pItems;
  std::memmove(items + index + 1, items + index, static_cast<size_t>(hList->uCount - index) * kItem);
  store(items + index, pBitmap);
  ++hList->uCount;
  return SUCCESS;
}

int32_t Rv_RemoveBitmapListItem(HBITMAPLIST hList, uint32_t uIndex, BITMAPRECORD *pBitmap) noexcept {
  if (hList == nullptr || uIndex >= hList->uCount) return ERROR_INVALID_PARAMETER;
  if (!first_item_has_full_form(hList)) return ERROR_INVALID_STRUCT_SIZE;
  if (pBitmap != nullptr) std::memcpy(pBitmap, hList->pItems + uIndex, kItem);
  close_up(hList, uIndex, 1);
  return SUCCESS;
}

int32_t Rv_DeleteBitmapListItems(HBITMAPLIST hList, uint32_t uIndex, uint32_t uCount) noexcept {
  if (hList == nullptr || uIndex >= hList->uCount || uCount == 0) return ERROR_INVALID_PARAMETER;
  const uint32_t count = uCount < hList->uCount - uIndex ? uCount : hList->uCount - uIndex;
  for (uint32_t i = 0; i < count; ++i) Rv_FreeBitmap(hList->pItems + uIndex + i);
  close_up(hList, uIndex, count);
  return SUCCESS;
}

int32_t Rv_GetBitmapListItem(HBITMAPLIST hList, uint32_t uIndex, BITMAPRECORD *pBitmap,
                             uint32_t uStructSize) noexcept {
  if (hList == nullptr || uIndex >= hList->uCount || pBitmap == nullptr) return ERROR_INVALID_PARAMETER;
  if (!rv::valid_record_size(uStructSize)) return ERROR_INVALID_STRUCT_SIZE;
  BITMAPRECORD *item = hList->pItems + uIndex;
  // A record without room for the deep paint table can't share it: it goes.
  if (uStructSize <= offsetof(BITMAPRECORD, pPaintLUT16) && rv::is_allocated(item)) {
    rv::free_block(item->pPaintLUT16);
    item->pPaintLUT16 = nullptr;
  }
  load(pBitmap, item, uStructSize);
  return SUCCESS;
}

int32_t Rv_SetBitmapListItem(HBITMAPLIST hList, uint32_t uIndex, const BITMAPRECORD *pBitmap) noexcept {
  if (hList == nullptr || uIndex >= hList->uCount) return ERROR_INVALID_PARAMETER;
  BITMAPRECORD *slot = hList->pItems + uIndex;
  std::memset(slot, 0, kItem);  // what the slot held is not freed
  if (pBitmap == nullptr) return SUCCESS;
  if (!rv::valid_record_size(pBitmap->uStructSize)) return ERROR_INVALID_STRUCT_SIZE;
  store(slot, pBitmap);
  return SUCCESS;
}

int32_t Rv_ReplaceBitmapListItem(HBITMAPLIST hList, uint32_t uIndex, const BITMAPRECORD *pNew,
                                 BITMAPRECORD *pOld, uint32_t uOldSize) noexcept {
  if (hList == nullptr || hList->uCount == 0 || pNew == nullptr) return ERROR_INVALID_PARAMETER;
  const uint32_t index = uIndex == RV_LIST_END ? hList->uCount - 1 : uIndex;
  if (index >= hList->uCount) return ERROR_INVALID_PARAMETER;
  if (!rv::valid_record_size(pNew->uStructSize) || (pOld != nullptr && !rv::valid_record_size(uOldSize))) {
    return ERROR_INVALID_STRUCT_SIZE;
  }
  BITMAPRECORD *slot = hList->pItems + index;
  if (pOld != nullptr) {
    load(pOld, slot, uOldSize);
  } else if (rv::is_allocated(slot)) {
    Rv_FreeBitmap(slot);
  }
  store(slot, pNew);
  return SUCCESS;
}

namespace {

int32_t check_range(HBITMAPLIST *phNew, HBITMAPLIST hList, uint32_t uIndex, uint32_t uCount) noexcept {
  if (phNew == nullptr || hList == nullptr || uIndex >= hList->uCount || uCount == 0) {
    return ERROR_INVALID_PARAMETER;
  }
  return SUCCESS;
}

}  // namespace

int32_t Rv_CopyBitmapListItems(HBITMAPLIST *phNew, HBITMAPLIST hList, uint32_t uIndex, uint32_t uCount) noexcept {
  int32_t status = check_range(phNew, hList, uIndex, uCount);
  if (status != SUCCESS) return status;
  HBITMAPLIST list = nullptr;
  status = Rv_CreateBitmapList(&list);
  if (status != SUCCESS) return status;
  const uint32_t count = uCount < hList->uCount - uIndex ? uCount : hList->uCount - uIndex;
  for (uint32_t i = 0; i < count && status == SUCCESS; ++i) {
    BITMAPRECORD copy{};
    status = Rv_CopyBitmap(&copy, hList->pItems + uIndex + i, rv::kRecordSize);
    if (status == SUCCESS) {
      status = Rv_InsertBitmapListItem(list, RV_LIST_END, &copy);
      if (status != SUCCESS) Rv_FreeBitmap(&copy);
    }
  }
  if (status != SUCCESS) {
    Rv_DestroyBitmapList(list);
    return status;
  }
  *phNew = list;
  return SUCCESS;
}

int32_t Rv_MoveBitmapListItems(HBITMAPLIST *phNew, HBITMAPLIST hList, uint32_t uIndex, uint32_t uCount) noexcept {
  int32_t status = check_range(phNew, hList, uIndex, uCount);
  if (status != SUCCESS) return status;
  if (!first_item_has_full_form(hList)) return ERROR_INVALID_STRUCT_SIZE;
  HBITMAPLIST list = nullptr;
  status = Rv_CreateBitmapList(&list);
  if (status != SUCCESS) return status;
  const uint32_t count = uCount < hList->uCount - uIndex ? uCount : hList->uCount - uIndex;
  if (!resize_items(list, count)) {
    Rv_DestroyBitmapList(list);
    return ERROR_NO_MEMORY;
  }
  std::memcpy(list->pItems, hList->pItems + uIndex, static_cast<size_t>(count) * kItem);
  list->uCount = count;
  close_up(hList, uIndex, count);
  *phNew = list;
  return SUCCESS;
}
