// The end of every transform in place: the new record takes the old one's
// place, or goes away leaving the old one as it was.
#include "internal/replace.h"

#include <cstring>

#include "internal/memory.h"
#include "internal/record.h"
#include "ruvokit/rvbitmap.h"

namespace rv {

namespace {

// Clears in `drop` each owned pointer that `keep` holds too.
void unshare(BITMAPRECORD *drop, const BITMAPRECORD *keep) noexcept {
  if (drop->pPalette == keep->pPalette) drop->pPalette = nullptr;
  if (drop->pLUT == keep->pLUT) drop->pLUT = nullptr;
  if (drop->pRgnInfo == keep->pRgnInfo) drop->pRgnInfo = nullptr;
  if (drop->hOverlays == keep->hOverlays) drop->hOverlays = nullptr;
  if (drop->pExtraData == keep->pExtraData) {
    drop->pExtraData = nullptr;
    drop->uExtraDataSize = 0;
  }
  if (has_lut16_fields(drop) && has_lut16_fields(keep) && drop->pLUT16 == keep->pLUT16) {
    drop->pLUT16 = nullptr;
  }
}

}  // namespace

int32_t replace_record(BITMAPRECORD *target, BITMAPRECORD *fresh, int32_t status) noexcept {
  if (status != SUCCESS) {
    unshare(fresh, target);
    Rv_FreeBitmap(fresh);
    return status;
  }
  unshare(target, fresh);
  Rv_IntEndCopyBitmap(target, 0);
  while (target->nLockCount > 0) Rv_ReleaseBitmap(target);
  Rv_FreeBitmap(target);
  // The record keeps its own size; a full-form table that an older record
  // can't hold goes.
  const uint32_t size = target->uStructSize;
  if (!has_lut16_fields(target) && has_lut16_fields(fresh)) {
    free_block(fresh->pLUT16);
    free_block(fresh->pPaintLUT16);
    fresh->pLUT16 = nullptr;
    fresh->pPaintLUT16 = nullptr;
  }
  std::memcpy(target, fresh, size < fresh->uStructSize ? size : fresh->uStructSize);
  target->uStructSize = size;
  // These two are kept whatever the record's size.
  target->nLockCount = fresh->nLockCount;
  target->pDataCallbacks = fresh->pDataCallbacks;
  return SUCCESS;
}

}  // namespace rv
