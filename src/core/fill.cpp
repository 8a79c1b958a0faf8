// Filling a bitmap (inside its region) with one colour, or with zero bytes.
#include <algorithm>

#include "internal/memory.h"
#include "internal/pixel_maker.h"
#include "internal/progress.h"
#include "internal/record.h"
#include "ruvokit/rvbitmap.h"
#include "ruvokit/rvregion.h"

namespace {

int32_t fill(BITMAPRECORD *b, bool clear, COLORREF color, int32_t alpha) noexcept {
  if (b == nullptr) return ERROR_INVALID_PARAMETER;
  if (!rv::valid_record_size(b->uStructSize)) return ERROR_INVALID_STRUCT_SIZE;
  if (!rv::is_allocated(b)) return ERROR_INVALID_PARAMETER;
  // 1. The region's bounds within the bitmap.
  RECT bounds{};
  int32_t status = Rv_GetBitmapRgnBounds(b, nullptr, &bounds);
  if (status != SUCCESS) return status;
  const int32_t top = std::max(bounds.top, 0), bottom = std::min(bounds.bottom, b->nHeight);
  // 2. Nothing to paint without a single segment.
  uint32_t max_segments = 0;
  status = Rv_GetBitmapClipSegmentsMax(b, &max_segments);
  if (status != SUCCESS) return status;
  if (max_segments == 0 && !clear) return SUCCESS;
  // 3. One prepared row and the segments of a row.
  const uint32_t bytes = static_cast<uint32_t>(b->nBytesPerLine);
  auto *row = static_cast<uint8_t *>(rv::alloc_block(bytes, true));
  auto *segments = rv::alloc_array<uint32_t>(std::max<uint32_t>(max_segments, 2));
  if (row == nullptr || segments == nullptr) {
    rv::free_block(row);
    rv::free_block(segments);
    return ERROR_NO_MEMORY;
  }
  // 4. The row is made once.
  int32_t locked = FALSE;
  status = Rv_IntAccessBitmap(b, &locked);
  if (status == SUCCESS && !clear) {
    status = rv::make_pixels(b, color, alpha, row, static_cast<uint32_t>(b->nWidth));
  }
  // 6. A row in memory costs too little to report: only disk data reports by
  //    rows, everything else says 0 before and 100 after, like one row.
  const bool on_disk = (b->uFlags & BITMAPFLAG_DISK) != 0;
  rv::RowProgress progress(on_disk ? bottom - top : 1);
  if (status == SUCCESS) status = progress.start();
  // 5. Every row through its segments.
  for (int32_t y = top; y < bottom && status == SUCCESS; ++y) {
    uint32_t count = 0;
    status = Rv_GetBitmapClipSegments(b, y, segments, &count);
    if (status != SUCCESS) break;
    if (count > 0) status = Rv_PutBitmapRowSegments(b, row, y, 0, segments, count, FALSE);
    if (status == SUCCESS && on_disk) status = progress.row_done();
  }
  if (status == SUCCESS && !on_disk) status = progress.row_done();
  // 7.
  rv::free_block(row);
  rv::free_block(segments);
  return Rv_IntReleaseBitmap(b, locked, status);
}

}  // namespace

int32_t Rv_FillBitmap2(BITMAPRECORD *pBitmap, COLORREF crColor, int32_t nAlpha) noexcept {
  return fill(pBitmap, false, crColor, nAlpha);
}

int32_t Rv_FillBitmap(BITMAPRECORD *pBitmap, COLORREF crColor) noexcept {
  return fill(pBitmap, false, crColor, 255);
}

int32_t Rv_ClearBitmap(BITMAPRECORD *pBitmap) noexcept { return fill(pBitmap, true, 0, 0); }
