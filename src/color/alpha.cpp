// Alpha: one alpha value for every pixel of a row or a bitmap.
#include "color/channels.h"
#include "internal/memory.h"
#include "internal/progress.h"
#include "internal/record.h"
#include "ruvokit/rvbitmap.h"
#include "ruvokit/rvcolor.h"
#include "ruvokit/rvregion.h"

int32_t Rv_SetRowAlphaValues(int32_t nBitsPerPixel, void *pRow, uint32_t uRowBytes,
                             uint32_t uAlpha) noexcept {
  if (nBitsPerPixel != 32 && nBitsPerPixel != 64) return SUCCESS;
  if (pRow == nullptr) return ERROR_INVALID_PARAMETER;
  auto *row = static_cast<uint8_t *>(pRow);
  const uint64_t step = static_cast<uint32_t>(nBitsPerPixel) / 8;
  for (uint64_t at = 0; at + step <= uRowBytes; at += step) {
    if (nBitsPerPixel == 32) {
      row[at + 3] = static_cast<uint8_t>(uAlpha);
    } else {
      rv::channels::store16(row + at + 6, uAlpha & 0xFFFFu);
    }
  }
  return SUCCESS;
}

int32_t Rv_SetBitmapAlphaValues(BITMAPRECORD *pBitmap, uint32_t uAlpha) noexcept {
  if (pBitmap == nullptr || !rv::is_allocated(pBitmap)) return ERROR_INVALID_PARAMETER;
  if (!rv::valid_record_size(pBitmap->uStructSize)) return ERROR_INVALID_STRUCT_SIZE;
  const int32_t bits = pBitmap->nBitsPerPixel;
  if (bits != 32 && bits != 64) return ERROR_INVALID_BITS_PER_PIXEL;

  // Only the rows and runs of the bitmap's region are written.
  RECT bounds;
  uint32_t most = 0;
  int32_t status = Rv_GetBitmapRgnBounds(pBitmap, nullptr, &bounds);
  if (status == SUCCESS) status = Rv_GetBitmapClipSegmentsMax(pBitmap, &most);
  if (status != SUCCESS) return status;
  const int32_t top = bounds.top < 0 ? 0 : bounds.top;
  const int32_t bottom = bounds.bottom > pBitmap->nHeight ? pBitmap->nHeight : bounds.bottom;
  const auto line = static_cast<uint32_t>(pBitmap->nBytesPerLine);
  auto *row = static_cast<uint8_t *>(rv::alloc_block(line, false));
  auto *segments = rv::alloc_array<uint32_t>(most > 0 ? most : 1);
  if (row == nullptr || segments == nullptr) {
    rv::free_block(row);
    rv::free_block(segments);
    return ERROR_NO_MEMORY;
  }
  rv::RowProgress progress(bottom - top);
  status = progress.start();
  if (status == SUCCESS) status = Rv_AccessBitmap(pBitmap);
  const bool locked = status == SUCCESS;
  for (int32_t y = top; status == SUCCESS && y < bottom; ++y) {
    uint32_t count = 0;
    const int32_t got = Rv_GetBitmapRow(pBitmap, row, y, line);
    status = got < 0 ? got : Rv_GetBitmapClipSegments(pBitmap, y, segments, &count);
    if (status != SUCCESS) break;
    Rv_SetRowAlphaValues(bits, row, line, uAlpha);
    const int32_t put = Rv_PutBitmapRowSegments(pBitmap, row, y, 0, segments, count, FALSE);
    if (put < 0) status = put;
    if (status == SUCCESS) status = progress.row_done();
  }
  if (locked) {
    const int32_t released = Rv_ReleaseBitmap(pBitmap);
    if (status == SUCCESS) status = released;
  }
  rv::free_block(row);
  rv::free_block(segments);
  return status;
}
