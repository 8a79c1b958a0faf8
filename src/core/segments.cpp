// Writing runs of pixels into a row in one call, as regions do, and writing
// one column, as right-angle rotation does.
#include <cstring>

#include "core/rowcol.h"
#include "core/storage.h"
#include "internal/bitmap_hooks.h"
#include "internal/memory.h"
#include "internal/pixels.h"
#include "internal/record.h"
#include "ruvokit/rvbitmap.h"

namespace rv {

void merge_runs(uint8_t *row, const uint8_t *src, int32_t bits, bool keep_top, int32_t col,
                const uint32_t *segments, uint32_t count) noexcept {
  for (uint32_t i = 0; i + 1 < count; i += 2) {
    const uint32_t first = segments[i];
    const uint32_t end = segments[i + 1];
    if (end <= first) continue;
    const uint64_t n = end - first;
    const uint64_t to = static_cast<uint64_t>(static_cast<int64_t>(first) + col);
    if (bits < 8) {
      px::copy_packed_run(row, to, src, first, n, bits);
      continue;
    }
    switch (bits) {
      case 12:
        for (uint64_t k = 0; k < n; ++k) px::put12(row, to + k, px::get12(src, first + k));
        break;
      case 16:
        if (keep_top) {
          for (uint64_t k = 0; k < n; ++k) {
            uint16_t d, s;
            std::memcpy(&d, row + 2 * (to + k), 2);
            std::memcpy(&s, src + 2 * (first + k), 2);
            d = static_cast<uint16_t>((d & 0x8000u) | (s & 0x7FFFu));
            std::memcpy(row + 2 * (to + k), &d, 2);
          }
          break;
        }
        std::memmove(row + 2 * to, src + 2 * first, static_cast<size_t>(2 * n));
        break;
      case 32:
      case 64: {
        const size_t size = static_cast<size_t>(bits / 8);
        if (keep_top) {
          const size_t keep = size - size / 4;  // all but the alpha part
          for (uint64_t k = 0; k < n; ++k) std::memmove(row + size * (to + k), src + size * (first + k), keep);
          break;
        }
        std::memmove(row + size * to, src + size * first, static_cast<size_t>(size * n));
        break;
      }
      default: {
        const size_t size = static_cast<size_t>(bits / 8);
        std::memmove(row + size * to, src + size * first, static_cast<size_t>(size * n));
        break;
      }
    }
  }
}

}  // namespace rv

namespace {

// The byte span [*lo, *hi) of a row that the runs touch.
void touched_span(const BITMAPRECORD *b, int32_t col, const uint32_t *segments, uint32_t count,
                  uint64_t *lo, uint64_t *hi) noexcept {
  *lo = UINT64_MAX;
  *hi = 0;
  const uint64_t bits = static_cast<uint64_t>(b->nBitsPerPixel);
  for (uint32_t i = 0; i + 1 < count; i += 2) {
    if (segments[i + 1] <= segments[i]) continue;
    const uint64_t first = static_cast<uint64_t>(static_cast<int64_t>(segments[i]) + col);
    const uint64_t end = static_cast<uint64_t>(static_cast<int64_t>(segments[i + 1]) + col);
    const uint64_t a = first * bits / 8, z = (end * bits + 7) / 8;
    if (a < *lo) *lo = a;
    if (z > *hi) *hi = z;
  }
  const uint64_t bpl = static_cast<uint32_t>(b->nBytesPerLine);
  if (*hi > bpl) *hi = bpl;
}

// Reads a row into a working buffer, merges the runs and writes it back,
// through the row functions (data callbacks, compressed rows) or the file.
int32_t merge_through_buffer(BITMAPRECORD *b, const uint8_t *src, int32_t row, int32_t col,
                             const uint32_t *segments, uint32_t count, bool keep_top) noexcept {
  const uint32_t bpl = static_cast<uint32_t>(b->nBytesPerLine);
  const BITMAPDATACALLBACKS *cb = b->pDataCallbacks;
  void *buffer = nullptr;
  bool owned = false;
  if (cb != nullptr && cb->pfnGetPixelBuffer != nullptr &&
      cb->pfnGetPixelBuffer(b, &buffer, bpl, cb->pUserData) == SUCCESS && buffer != nullptr) {
    owned = false;
  } else {
    buffer = rv::alloc_block(bpl, true);
    if (buffer == nullptr) return ERROR_NO_MEMORY;
    owned = true;
  }
  auto *bytes = static_cast<uint8_t *>(buffer);
  int32_t status;
  const bool on_disk = cb == nullptr && !(b->uFlags & BITMAPFLAG_CONVENTIONAL) && (b->uFlags & BITMAPFLAG_DISK);
  if (on_disk) {
    // The file form: only the bytes the runs touch are read and written back.
    uint64_t lo, hi;
    touched_span(b, col, segments, count, &lo, &hi);
    status = SUCCESS;
    if (lo < hi) {
      const uint64_t base = static_cast<uint64_t>(bpl) * static_cast<uint32_t>(row);
      const uint32_t n = static_cast<uint32_t>(hi - lo);
      int64_t got = rv::storage::disk_read(b, base + lo, bytes + lo, n);
      if (got < 0) status = static_cast<int32_t>(got);
      if (status == SUCCESS) {
        rv::merge_runs(bytes, src, b->nBitsPerPixel, keep_top, col, segments, count);
        int64_t put = rv::storage::disk_write(b, base + lo, bytes + lo, n);
        if (put < 0) status = static_cast<int32_t>(put);
      }
    }
  } else {
    status = Rv_GetBitmapRow(b, bytes, row, bpl);
    if (status >= 0) {
      rv::merge_runs(bytes, src, b->nBitsPerPixel, keep_top, col, segments, count);
      status = Rv_PutBitmapRow(b, bytes, row, bpl);
    }
    if (status >= 0) status = SUCCESS;
  }
  if (owned) rv::free_block(buffer);
  return status;
}

}  // namespace

int32_t Rv_PutBitmapRowSegments(BITMAPRECORD *pBitmap, const void *pBuffer, int32_t nRow, int32_t nCol,
                                const uint32_t *pSegments, uint32_t uSegmentCount,
                                int32_t bKeepTopBits) noexcept {
  if (pBitmap == nullptr || pBuffer == nullptr || pSegments == nullptr) return ERROR_INVALID_PARAMETER;
  if (!rv::valid_record_size(pBitmap->uStructSize)) return ERROR_INVALID_STRUCT_SIZE;
  const int32_t bits = pBitmap->nBitsPerPixel;
  // Only pixels with an alpha part keep their top bits: 5-5-5 colour, 32 and 64 bits.
  const bool keep_top = bKeepTopBits && pBitmap->nOrder != ORDER_BGR565 &&
                        ((bits == 16 && pBitmap->nOrder != ORDER_GRAY) || bits == 32 || bits == 64);
  if (rv::hooks::lock_tracing() && pBitmap->nLockCount < 1) {
    rv::hooks::trace_lock_count("Rv_PutBitmapRowSegments", pBitmap->nLockCount, "\r\n");
  }
  const auto *src = static_cast<const uint8_t *>(pBuffer);
  const uint32_t flags = pBitmap->uFlags;
  if (pBitmap->pDataCallbacks == nullptr && !(flags & BITMAPFLAG_COMPRESSED) &&
      (flags & BITMAPFLAG_CONVENTIONAL)) {
    uint8_t *row = nullptr;
    if (flags & BITMAPFLAG_TILED) {
      row = rv::storage::tiled_row_address(pBitmap, nRow);
    } else if (flags & BITMAPFLAG_SUPER_COMPRESSED) {
      row = rv::storage::super_row_address(pBitmap, nRow);
    } else {
      if (pBitmap->pData == nullptr) return ERROR_INVALID_IMAGE;
      row = pBitmap->pData + static_cast<uint32_t>(pBitmap->nBytesPerLine) * static_cast<uint32_t>(nRow);
    }
    if (row != nullptr) {
      rv::merge_runs(row, src, bits, keep_top, nCol, pSegments, uSegmentCount);
      return SUCCESS;
    }
  }
  return merge_through_buffer(pBitmap, src, nRow, nCol, pSegments, uSegmentCount, keep_top);
}

// --- one column ----------------------------------------------------------------------------
namespace {

// Sets pixel `col` in the bytes `at`, which begin at the byte holding it,
// to pixel `index` of the stream.
void set_pixel_at(uint8_t *at, int32_t bits, int32_t col, const uint8_t *stream, uint64_t index) noexcept {
  if (bits < 8) {
    const uint64_t bit = static_cast<uint64_t>(col) * static_cast<uint64_t>(bits) % 8;
    rv::px::put_bits(at, bit, bits, rv::px::get_packed(stream, bits, index));
  } else if (bits == 12) {
    rv::px::put12_at(at, (col & 1) != 0, rv::px::get12(stream, index));
  } else {
    const size_t size = static_cast<size_t>(bits / 8);
    std::memcpy(at, stream + index * size, size);
  }
}

}  // namespace

int32_t Rv_PutBitmapCol(BITMAPRECORD *pBitmap, const void *pBuffer, int32_t nCol, uint32_t uRows,
                        int32_t bBottomUp) noexcept {
  if (pBitmap == nullptr || pBuffer == nullptr) return ERROR_INVALID_PARAMETER;
  if (!rv::valid_record_size(pBitmap->uStructSize)) return ERROR_INVALID_STRUCT_SIZE;
  const auto *stream = static_cast<const uint8_t *>(pBuffer);
  const int32_t bits = pBitmap->nBitsPerPixel;
  const uint32_t flags = pBitmap->uFlags;
  const uint32_t byte = static_cast<uint32_t>(rv::px::col_to_byte(bits, nCol));
  const uint32_t bpl = static_cast<uint32_t>(pBitmap->nBytesPerLine);
  const bool flat_memory = (flags & BITMAPFLAG_CONVENTIONAL) && pBitmap->pData != nullptr &&
                           !(flags & (BITMAPFLAG_COMPRESSED | BITMAPFLAG_TILED | BITMAPFLAG_SUPER_COMPRESSED));
  const bool callbacks_only = pBitmap->pDataCallbacks != nullptr && !flat_memory;
  for (uint32_t i = 0; i < uRows; ++i) {
    const int32_t row = static_cast<int32_t>(bBottomUp ? uRows - 1 - i : i);
    if (flat_memory) {
      set_pixel_at(pBitmap->pData + bpl * static_cast<uint32_t>(row) + byte, bits, nCol, stream, i);
      continue;
    }
    uint8_t bytes[8] = {};
    if (callbacks_only) {
      // The callbacks serve the data: they get the pixel alone, in place.
      set_pixel_at(bytes, bits, nCol, stream, i);
      const int32_t put = Rv_PutBitmapRowCol(pBitmap, bytes, row, nCol, (static_cast<uint32_t>(bits) + 7) / 8);
      if (put < 0) return put;
      continue;
    }
    // Other storage: read the bytes that hold the pixel, set it, write them back.
    const uint32_t n = rv::px::pixel_span(bits, nCol);
    const int32_t got = Rv_GetBitmapRowCol(pBitmap, bytes, row, nCol, n);
    if (got < 0) return got;
    set_pixel_at(bytes, bits, nCol, stream, i);
    const int32_t put = Rv_PutBitmapRowCol(pBitmap, bytes, row, nCol, n);
    if (put < 0) return put;
  }
  return SUCCESS;
}
