// Row and column access, the one road to a bitmap's pixels whatever its
// storage: the four row functions, writing runs of a row, and writing one
// column. Rows and columns are not checked against the bitmap: that is the
// caller's part, as it is for any buffer.
#include <cstring>

#include "core/storage.h"
#include "internal/bitmap_hooks.h"
#include "internal/memory.h"
#include "internal/pixels.h"
#include "internal/record.h"
#include "ruvokit/rvbitmap.h"

namespace {

enum class Dir { Get, Put };

constexpr uint32_t kOtherForms = BITMAPFLAG_COMPRESSED | BITMAPFLAG_TILED | BITMAPFLAG_SUPER_COMPRESSED;

// The whole path of the four row functions; the whole-row forms pass column 0.
template <Dir dir>
int32_t row_access(BITMAPRECORD *b, void *buffer, int32_t row, int32_t col, uint32_t bytes,
                   const char *name) noexcept {
  if (b == nullptr || buffer == nullptr) return ERROR_INVALID_PARAMETER;
  if (!rv::valid_record_size(b->uStructSize)) return ERROR_INVALID_STRUCT_SIZE;
  if (rv::hooks::lock_tracing() && b->nLockCount < 1) rv::hooks::trace_lock_count(name, b->nLockCount, "\r\n");
  if (const BITMAPDATACALLBACKS *cb = b->pDataCallbacks) {
    int32_t result = 0;
    if constexpr (dir == Dir::Get) {
      if (cb->pfnGetRow) result = cb->pfnGetRow(b, buffer, row, col, bytes, cb->pUserData);
    } else {
      if (cb->pfnPutRow) result = cb->pfnPutRow(b, buffer, row, col, bytes, cb->pUserData);
    }
    if (result != 0) return result;
  }
  const uint32_t flags = b->uFlags;
  const int32_t byte = rv::px::col_to_byte(b->nBitsPerPixel, col);
  if (flags & kOtherForms) {
    if (flags & BITMAPFLAG_COMPRESSED) {
      if constexpr (dir == Dir::Get) {
        return rv::storage::compressed_read(b, buffer, row, col, bytes);
      } else {
        return rv::storage::compressed_write(b, buffer, row, col, bytes);
      }
    }
    if (flags & BITMAPFLAG_TILED) {
      if constexpr (dir == Dir::Get) {
        return rv::storage::tiled_read(b, buffer, row, byte, bytes);
      } else {
        return rv::storage::tiled_write(b, buffer, row, byte, bytes);
      }
    }
    if constexpr (dir == Dir::Get) {
      return rv::storage::super_read(b, buffer, row, byte, bytes);
    } else {
      return rv::storage::super_write(b, buffer, row, byte, bytes);
    }
  }
  // Flat storage: the row's position in 32-bit arithmetic, as recorded.
  const uint32_t position = static_cast<uint32_t>(b->nBytesPerLine) * static_cast<uint32_t>(row) +
                            static_cast<uint32_t>(byte);
  if (flags & BITMAPFLAG_CONVENTIONAL) {
    if (b->pData == nullptr) return ERROR_INVALID_IMAGE;
    if constexpr (dir == Dir::Get) {
      std::memcpy(buffer, b->pData + position, bytes);
    } else {
      std::memcpy(b->pData + position, buffer, bytes);
    }
    return static_cast<int32_t>(bytes);
  }
  if (flags & BITMAPFLAG_DISK) {
    int64_t n;
    if constexpr (dir == Dir::Get) {
      n = rv::storage::disk_read(b, position, buffer, bytes);
    } else {
      n = rv::storage::disk_write(b, position, buffer, bytes);
    }
    return static_cast<int32_t>(n);
  }
  return ERROR_NO_MEMORY;
}

}  // namespace

int32_t Rv_IntColToByte(int32_t nBitsPerPixel, int32_t nCol) noexcept {
  return rv::px::col_to_byte(nBitsPerPixel, nCol);
}

int32_t Rv_GetBitmapRow(BITMAPRECORD *pBitmap, void *pBuffer, int32_t nRow, uint32_t uBytes) noexcept {
  return row_access<Dir::Get>(pBitmap, pBuffer, nRow, 0, uBytes, "Rv_GetBitmapRow");
}

int32_t Rv_GetBitmapRowCol(BITMAPRECORD *pBitmap, void *pBuffer, int32_t nRow, int32_t nCol,
                           uint32_t uBytes) noexcept {
  return row_access<Dir::Get>(pBitmap, pBuffer, nRow, nCol, uBytes, "Rv_GetBitmapRowCol");
}

int32_t Rv_PutBitmapRow(BITMAPRECORD *pBitmap, const void *pBuffer, int32_t nRow, uint32_t uBytes) noexcept {
  return row_access<Dir::Put>(pBitmap, const_cast<void *>(pBuffer), nRow, 0, uBytes, "Rv_PutBitmapRow");
}

int32_t Rv_PutBitmapRowCol(BITMAPRECORD *pBitmap, const void *pBuffer, int32_t nRow, int32_t nCol,
                           uint32_t uBytes) noexcept {
  return row_access<Dir::Put>(pBitmap, const_cast<void *>(pBuffer), nRow, nCol, uBytes,
                              "Rv_PutBitmapRowCol");
}
