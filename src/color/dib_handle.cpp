// Bitmaps over a DIB in a memory handle: the record takes the handle over
// (Rv_ChangeFromDIB) or lies over the caller's pixels where they are
// (Rv_MirrorFromDIB).
#include <cstring>

#include "color/dib.h"
#include "internal/record.h"
#include "ruvokit/rvbitmap.h"
#include "ruvokit/rvplatform.h"

namespace {

WINHANDLE *memory_handle(RVHANDLE handle) noexcept {
  if (handle == nullptr || handle == RV_INVALID_HANDLE) return nullptr;
  auto *object = static_cast<WINHANDLE *>(handle);
  return object->nKind == WINHANDLE_KIND_MEMORY && object->pData != nullptr ? object : nullptr;
}

int32_t from_handle(BITMAPRECORD *bitmap, uint32_t struct_size, RVHANDLE handle,
                    bool mirror) noexcept {
  using namespace rv::dib;
  if (bitmap == nullptr) return ERROR_INVALID_PARAMETER;
  if (!rv::valid_record_size(struct_size)) return ERROR_INVALID_STRUCT_SIZE;
  WINHANDLE *memory = memory_handle(handle);
  if (memory == nullptr) return ERROR_INVALID_PARAMETER;
  auto *block = static_cast<uint8_t *>(memory->pData);
  const uint64_t size = memory->uSize;

  Header header;
  int32_t status = read_header(block, size, &header);
  if (status != SUCCESS) return status;
  // A mirror can't show bit fields through its pixels: it reads them instead.
  if (mirror && header.compression == BI_BITFIELDS) return read_packed(bitmap, struct_size, block, size);
  Description d;
  status = describe(block, size, false, &d);
  if (status != SUCCESS) return status;
  if (d.pixels == Pixels::Masks) {
    // Fields the bitmap can't hold as they are: read into storage of the
    // record's own, and the handle, taken over, is done with.
    status = read_packed(bitmap, struct_size, block, size);
    if (status == SUCCESS) Rv_OsFreeHandle(handle);
    return status;
  }
  const uint64_t offset = header.size + d.table.bytes();
  if (offset > UINT32_MAX) return ERROR_DIB_INVALID;  // uDataOffset holds it
  status = check_pixels(d, size - offset);
  if (status != SUCCESS) return status;

  status = init_record(bitmap, struct_size, d);
  if (status == SUCCESS && d.bits <= 8) status = attach_palette(bitmap, d, block + header.size);
  // Allocated over no data of its own, with its paint table; then the handle.
  if (status == SUCCESS) status = Rv_SetBitmapDataPointer(bitmap, nullptr, 0);
  if (status != SUCCESS) {
    Rv_FreeBitmap(bitmap);
    return status;
  }
  bitmap->hData = handle;
  bitmap->pData = nullptr;
  bitmap->uFlags = (bitmap->uFlags | BITMAPFLAG_GLOBAL_MEMORY) &
                   ~(BITMAPFLAG_LOCKED | BITMAPFLAG_TILED | (mirror ? 0u : BITMAPFLAG_USER_DATA));
  if (mirror) {
    bitmap->uDataOffset = static_cast<uint32_t>(offset);
  } else {
    bitmap->uDataOffset = 0;
    std::memmove(block, block + offset, static_cast<size_t>(d.pixel_bytes));
  }
  return SUCCESS;
}

}  // namespace

int32_t Rv_ChangeFromDIB(BITMAPRECORD *pBitmap, uint32_t uStructSize, RVHANDLE hDIB) noexcept {
  return from_handle(pBitmap, uStructSize, hDIB, false);
}

int32_t Rv_MirrorFromDIB(BITMAPRECORD *pBitmap, uint32_t uStructSize, RVHANDLE hDIB) noexcept {
  return from_handle(pBitmap, uStructSize, hDIB, true);
}
