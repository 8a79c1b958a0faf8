// The block of extra data a record may carry: either a raw buffer, or a tagged
// block ("RUVO", an entry count, then entries of a size word, a tag word and
// the data). The tagged operations keep the behaviour their callers rely on:
// a lookup compares the tag of the first entry only, so only the first entry
// of a block can ever be found; replacing an entry with data of the same size
// writes at position 8 of the block whatever the entry; replacing it with
// data of another size moves what follows but leaves the entry's size word
// and the recorded block size as they were.
#include <cstring>

#include "internal/memory.h"
#include "internal/record.h"
#include "ruvokit/rvbitmap.h"

namespace {

constexpr uint32_t kHeader = 8;       // magic and count
constexpr uint32_t kEntryHeader = 8;  // size and tag

uint32_t read_word(const uint8_t *p) noexcept {
  uint32_t v;
  std::memcpy(&v, p, 4);
  return v;
}

void write_word(uint8_t *p, uint32_t v) noexcept { std::memcpy(p, &v, 4); }

bool has_magic(const BITMAPRECORD *bitmap) noexcept {
  return bitmap->pExtraData != nullptr && bitmap->uExtraDataSize >= 4 &&
         read_word(static_cast<const uint8_t *>(bitmap->pExtraData)) == RV_EXTRADATA_MAGIC;
}

void drop_block(BITMAPRECORD *bitmap) noexcept {
  rv::free_block(bitmap->pExtraData);
  bitmap->pExtraData = nullptr;
  bitmap->uExtraDataSize = 0;
}

int32_t check_raw(const BITMAPRECORD *bitmap, int32_t reserved) noexcept {
  const int32_t status = rv::check_record(bitmap, rv::NullRecord::InvalidImage, false);
  if (status != SUCCESS) return status;
  return reserved != 0 ? ERROR_INVALID_PARAMETER : SUCCESS;
}

// Room for `bytes` bytes. The block never shrinks below what uExtraDataSize
// claims, so that a block whose size word was left behind is never read past
// its end.
uint8_t *resize_block(BITMAPRECORD *bitmap, uint64_t bytes) noexcept {
  if (bytes < bitmap->uExtraDataSize) bytes = bitmap->uExtraDataSize;
  if (bytes > 0xFFFFFFFFull) return nullptr;
  return static_cast<uint8_t *>(rv::realloc_block(bitmap->pExtraData, static_cast<size_t>(bytes), false));
}

}  // namespace

int32_t Rv_AllocateBitmapExtraData(BITMAPRECORD *pBitmap, int32_t nReserved, uint32_t uSize) noexcept {
  const int32_t status = check_raw(pBitmap, nReserved);
  if (status != SUCCESS) return status;
  drop_block(pBitmap);
  if (uSize == 0) return SUCCESS;
  pBitmap->pExtraData = rv::alloc_block(uSize, true);
  if (pBitmap->pExtraData == nullptr) return ERROR_NO_MEMORY;
  pBitmap->uExtraDataSize = uSize;
  return SUCCESS;
}

int32_t Rv_FreeBitmapExtraData(BITMAPRECORD *pBitmap, int32_t nReserved) noexcept {
  const int32_t status = check_raw(pBitmap, nReserved);
  if (status != SUCCESS) return status;
  drop_block(pBitmap);
  return SUCCESS;
}

int32_t Rv_CopyBitmapExtraData(BITMAPRECORD *pDst, const BITMAPRECORD *pSrc, int32_t nReserved) noexcept {
  if (nReserved != 0 || pDst == nullptr || pSrc == nullptr || pDst == pSrc) {
    return ERROR_INVALID_PARAMETER;
  }
  if (!rv::valid_record_size(pDst->uStructSize) || !rv::valid_record_size(pSrc->uStructSize)) {
    return ERROR_INVALID_STRUCT_SIZE;
  }
  if (pSrc->pExtraData == nullptr || pSrc->uExtraDataSize == 0) {
    drop_block(pDst);
    return SUCCESS;
  }
  void *copy = rv::alloc_block(pSrc->uExtraDataSize, false);
  if (copy == nullptr) return ERROR_NO_MEMORY;
  std::memcpy(copy, pSrc->pExtraData, pSrc->uExtraDataSize);
  drop_block(pDst);
  pDst->pExtraData = copy;
  pDst->uExtraDataSize = pSrc->uExtraDataSize;
  return SUCCESS;
}

int32_t Rv_SetBitmapExtraData(BITMAPRECORD *pBitmap, uint32_t uId, uint32_t uSize,
                              const void *pData) noexcept {
  const int32_t status = rv::check_record(pBitmap, rv::NullRecord::NullPointer, false);
  if (status != SUCCESS) return status;
  if (uSize != 0 && pData == nullptr) return ERROR_NULL_POINTER;
  if (!has_magic(pBitmap)) drop_block(pBitmap);

  if (pBitmap->pExtraData == nullptr) {
    if (uSize == 0) return SUCCESS;
    if (uSize > 0xFFFFFFFFu - kHeader - kEntryHeader) return ERROR_NO_MEMORY;
    auto *block = static_cast<uint8_t *>(rv::alloc_block(uSize + kHeader + kEntryHeader, false));
    if (block == nullptr) return ERROR_NO_MEMORY;
    write_word(block, RV_EXTRADATA_MAGIC);
    write_word(block + 4, 1);
    write_word(block + 8, uSize);
    write_word(block + 12, uId);
    std::memcpy(block + 16, pData, uSize);
    pBitmap->pExtraData = block;
    pBitmap->uExtraDataSize = uSize + kHeader + kEntryHeader;
    return SUCCESS;
  }

  auto *block = static_cast<uint8_t *>(pBitmap->pExtraData);
  const uint32_t size = pBitmap->uExtraDataSize;
  const uint32_t count = size >= kHeader ? read_word(block + 4) : 0;
  // Walk the entries from position 8.
  uint64_t pos = kHeader;
  uint32_t walked = 0;
  bool found = false;
  uint32_t entry_size = 0;
  while (walked < count && size - pos >= 9) {
    entry_size = read_word(block + pos);
    if (pos + kEntryHeader + entry_size > size) break;
    if (read_word(block + pos + 4) == uId) {
      found = true;
      break;
    }
    pos += kEntryHeader + entry_size;
    ++walked;
  }

  if (found) {
    const uint64_t entry_end = pos + kEntryHeader + entry_size;
    const uint64_t rest = size - entry_end;
    if (uSize == entry_size) {
      std::memcpy(block + kHeader, pData, uSize);  // position 8, whatever entry was found
      return SUCCESS;
    }
    if (uSize != 0) {
      const uint64_t needed = pos + kEntryHeader + uSize + rest;
      uint8_t *grown = resize_block(pBitmap, needed);
      if (grown == nullptr) return ERROR_NO_MEMORY;
      pBitmap->pExtraData = grown;
      std::memmove(grown + pos + kEntryHeader + uSize, grown + entry_end, static_cast<size_t>(rest));
      std::memcpy(grown + pos + kEntryHeader, pData, uSize);
      return SUCCESS;  // the entry's size word and uExtraDataSize stay as they were
    }
    // Removal: the later entries move down and the count drops.
    std::memmove(block + pos, block + entry_end, static_cast<size_t>(rest));
    const uint32_t left = count - 1;
    write_word(block + 4, left);
    if (left == 0) {
      drop_block(pBitmap);
      return SUCCESS;
    }
    const uint32_t new_size = static_cast<uint32_t>(size - (kEntryHeader + entry_size));
    void *shrunk = rv::realloc_block(block, new_size, false);
    if (shrunk == nullptr) return ERROR_NO_MEMORY;  // the old block stays, count already lowered
    pBitmap->pExtraData = shrunk;
    pBitmap->uExtraDataSize = new_size;
    return SUCCESS;
  }

  if (uSize == 0) return SUCCESS;  // nothing to remove
  const uint64_t new_size = pos + kEntryHeader + uSize;
  if (new_size > 0xFFFFFFFFull) return ERROR_NO_MEMORY;
  auto *grown = static_cast<uint8_t *>(rv::realloc_block(block, static_cast<size_t>(new_size), false));
  if (grown == nullptr) return ERROR_NO_MEMORY;
  write_word(grown + pos, uSize);
  write_word(grown + pos + 4, uId);
  std::memcpy(grown + pos + kEntryHeader, pData, uSize);
  write_word(grown + 4, walked + 1);
  pBitmap->pExtraData = grown;
  pBitmap->uExtraDataSize = static_cast<uint32_t>(new_size);
  return SUCCESS;
}

int32_t Rv_GetBitmapExtraData(const BITMAPRECORD *pBitmap, uint32_t uId, uint32_t *puSize,
                              void *pData) noexcept {
  if (pBitmap == nullptr || puSize == nullptr) return ERROR_NULL_POINTER;
  if (!rv::valid_record_size(pBitmap->uStructSize)) return ERROR_INVALID_STRUCT_SIZE;
  const uint32_t size = pBitmap->uExtraDataSize;
  if (size <= kHeader || !has_magic(pBitmap)) return ERROR_TAG_NOT_FOUND;
  const auto *block = static_cast<const uint8_t *>(pBitmap->pExtraData);
  if (read_word(block + 4) == 0 || size < kHeader + kEntryHeader) return ERROR_TAG_NOT_FOUND;
  // Only the first entry is ever compared.
  const uint32_t entry_size = read_word(block + kHeader);
  if (read_word(block + kHeader + 4) != uId) return ERROR_TAG_NOT_FOUND;
  if (static_cast<uint64_t>(entry_size) + kHeader + kEntryHeader > size) return ERROR_TAG_NOT_FOUND;
  const uint32_t room = *puSize;
  *puSize = entry_size;
  if (room < entry_size) return ERROR_BUFFER_TOO_SMALL;
  if (pData != nullptr) std::memcpy(pData, block + kHeader + kEntryHeader, entry_size);
  return SUCCESS;
}
