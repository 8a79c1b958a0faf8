// Duplicating a bitmap's description, the frame round a copy, and copying
// pixels: whole bitmaps and rectangles.
#include <algorithm>
#include <cstring>

#include "internal/bitmap_hooks.h"
#include "internal/memory.h"
#include "internal/pixels.h"
#include "internal/progress.h"
#include "internal/record.h"
#include "internal/replace.h"
#include "ruvokit/rvbitmap.h"
#include "ruvokit/rvcolor.h"
#include "ruvokit/rvdisplay.h"
#include "ruvokit/rvregion.h"

namespace {

// The storage request that keeps a bitmap's form.
uint32_t request_of(const BITMAPRECORD *b) noexcept {
  if (b->uFlags & BITMAPFLAG_COMPRESSED) return BITMAPMEM_COMPRESSED | BITMAPMEM_CONVENTIONAL;
  if (b->uFlags & BITMAPFLAG_SUPER_COMPRESSED) return BITMAPMEM_SUPER_COMPRESSED;
  if (b->uFlags & BITMAPFLAG_DISK) return BITMAPMEM_DISK;
  return BITMAPMEM_CONVENTIONAL;
}

// Copies the paint tables and their settings when both bitmaps have them.
void copy_paint_tables(BITMAPRECORD *dst, const BITMAPRECORD *src) noexcept {
  if (dst->pPaintLUT != nullptr && src->pPaintLUT != nullptr) {
    std::memcpy(dst->pPaintLUT, src->pPaintLUT, 256);
    dst->nPaintGamma = src->nPaintGamma;
    dst->nPaintContrast = src->nPaintContrast;
    dst->nPaintIntensity = src->nPaintIntensity;
    dst->uFlags = (dst->uFlags & ~BITMAPFLAG_PAINT_LUT) | (src->uFlags & BITMAPFLAG_PAINT_LUT);
  }
  if (rv::has_lut16_fields(dst) && rv::has_lut16_fields(src) && dst->pPaintLUT16 != nullptr &&
      src->pPaintLUT16 != nullptr) {
    std::memcpy(dst->pPaintLUT16, src->pPaintLUT16, 0x20000);
  }
}

// Clears in a half-made duplicate what it shares with its source, as the
// flags say, so that freeing it frees only its own.
void unshare_duplicate(BITMAPRECORD *b, uint32_t flags) noexcept {
  if (!(flags & DUPFLAG_OWN_PALETTE)) {
    b->pPalette = nullptr;
    b->pLUT = nullptr;
    if (rv::has_lut16_fields(b)) b->pLUT16 = nullptr;
  }
  if (!(flags & DUPFLAG_OWN_REGION)) b->pRgnInfo = nullptr;
  if (!(flags & DUPFLAG_OWN_OVERLAYS)) b->hOverlays = nullptr;
}

}  // namespace

int32_t Rv_FreeDuplicateBitmap(BITMAPRECORD *pBitmap, uint32_t uFlags) noexcept {
  if (pBitmap == nullptr) return ERROR_INVALID_PARAMETER;
  if (!rv::valid_record_size(pBitmap->uStructSize)) return ERROR_INVALID_STRUCT_SIZE;
  unshare_duplicate(pBitmap, uFlags);
  Rv_FreeBitmap(pBitmap);
  return SUCCESS;
}

int32_t Rv_IntBeginCopyBitmap(BITMAPRECORD *pDst, BITMAPRECORD *pSrc, int32_t nParam,
                              uint32_t *puMemory) noexcept {
  if (pDst == nullptr || pSrc == nullptr) return ERROR_INVALID_PARAMETER;
  const BITMAPDATACALLBACKS *cb = pSrc->pDataCallbacks;
  if (cb == nullptr || cb->pfnBeginCopy == nullptr) return SUCCESS;
  BITMAPALLOCINFO info{};
  info.uStructSize = RV_BITMAPALLOCINFO_SIZE;
  info.uMemory = puMemory ? *puMemory : BITMAPMEM_CONVENTIONAL;
  info.nWidth = pDst->nWidth;
  info.nHeight = pDst->nHeight;
  info.nBitsPerPixel = pDst->nBitsPerPixel;
  info.nBytesPerLine = pDst->nBytesPerLine;
  info.nOrder = pDst->nOrder;
  info.nViewPerspective = pDst->nViewPerspective;
  info.uSize = rv::bitmap_size(pDst);
  info.pPalette = pSrc->pPalette;
  BITMAPDATACALLBACKS fresh{};
  fresh.uStructSize = RV_BITMAPDATACALLBACKS_SIZE;
  const int32_t result = cb->pfnBeginCopy(pSrc, nParam, &info, &fresh, cb->pUserData);
  if (result != SUCCESS && result != 2) return result;
  if (puMemory) *puMemory = info.uMemory;
  if (result == SUCCESS) return Rv_SetBitmapDataCallbacks(pDst, &fresh);
  return SUCCESS;
}

int32_t Rv_IntEndCopyBitmap(BITMAPRECORD *pBitmap, int32_t nParam) noexcept {
  if (pBitmap == nullptr) return ERROR_INVALID_PARAMETER;
  const BITMAPDATACALLBACKS *cb = pBitmap->pDataCallbacks;
  if (cb == nullptr || cb->pfnEndCopy == nullptr) return SUCCESS;
  return cb->pfnEndCopy(pBitmap, nParam, cb->pUserData);
}

int32_t Rv_DupBitmapNewDim(BITMAPRECORD *pDst, BITMAPRECORD *pSrc, uint32_t uStructSize, int32_t nWidth,
                           int32_t nHeight, int32_t nBitsPerPixel, uint32_t uFlags) noexcept {
  if (pDst == nullptr || pSrc == nullptr) return ERROR_INVALID_IMAGE;
  if (!rv::valid_record_size(pSrc->uStructSize) || !rv::valid_record_size(uStructSize)) {
    return ERROR_INVALID_STRUCT_SIZE;
  }
  if (!rv::is_allocated(pSrc)) return ERROR_INVALID_IMAGE;
  // 1. The new geometry, and what the record carries along.
  int32_t status = Rv_InitBitmap(pDst, uStructSize, nWidth, nHeight, nBitsPerPixel);
  if (status != SUCCESS) return status;
  constexpr uint32_t kCarried = BITMAPFLAG_RGN_NO_CLIP | BITMAPFLAG_RESERVED_20000 | BITMAPFLAG_COMPRESSED |
                                BITMAPFLAG_SUPER_COMPRESSED | BITMAPFLAG_DISK | BITMAPFLAG_SIGNED;
  pDst->uFlags |= pSrc->uFlags & kCarried;
  pDst->nViewPerspective = pSrc->nViewPerspective;
  pDst->nXResolution = pSrc->nXResolution;
  pDst->nYResolution = pSrc->nYResolution;
  pDst->uReserved3 = pSrc->uReserved3;
  // 2. The order; a gray source made into 24 bits becomes blue-green-red.
  pDst->nOrder = pSrc->nOrder == ORDER_GRAY && nBitsPerPixel == 24 ? ORDER_BGR : pSrc->nOrder;
  if (pDst->nOrder == ORDER_GRAY) pDst->uFlags |= pSrc->uFlags & BITMAPFLAG_LUT_NONLINEAR;
  // 3. Storage in the source's form, within the copy frame when asked.
  if (uFlags & DUPFLAG_ALLOCATE) {
    uint32_t memory = request_of(pSrc);
    if (uFlags & (DUPFLAG_LOCK_AS_SOURCE | DUPFLAG_BEGIN_END)) {
      status = Rv_IntBeginCopyBitmap(pDst, pSrc, 0, &memory);
      if (status == SUCCESS && (uFlags & DUPFLAG_BEGIN_END)) status = Rv_IntEndCopyBitmap(pSrc, 0);
    }
    if (status == SUCCESS) status = Rv_IntAllocateBitmap(pDst, memory, pSrc->pPalette);
    if (status != SUCCESS) {
      Rv_FreeBitmap(pDst);
      return status;
    }
    if (uFlags & DUPFLAG_LOCK_AS_SOURCE) {
      for (int32_t i = 0; i < pSrc->nLockCount; ++i) Rv_AccessBitmap(pDst);
    }
  }
  // 4. Palette and animation attributes.
  if (uFlags & DUPFLAG_OWN_PALETTE) {
    status = Rv_CopyBitmapPalette(pDst, pSrc);
  } else {
    pDst->pPalette = pSrc->pPalette;
  }
  pDst->nColors = pSrc->nColors;
  if (status == SUCCESS) status = Rv_CopyPlaybackParms(pDst, pSrc);
  // 5. Region and overlays.
  if (status == SUCCESS) {
    if (uFlags & DUPFLAG_OWN_REGION) {
      status = Rv_CopyBitmapRgn(pDst, pSrc, 0, 0);
    } else {
      pDst->pRgnInfo = pSrc->pRgnInfo;
    }
  }
  if (status == SUCCESS) {
    if (uFlags & DUPFLAG_OWN_OVERLAYS) {
      status = rv::hooks::copy_overlays(pDst, pSrc);
    } else {
      pDst->hOverlays = pSrc->hOverlays;
    }
  }
  // 6. Gray parameters of a gray source kept at its depth.
  if (status == SUCCESS && pSrc->nOrder == ORDER_GRAY && nBitsPerPixel == pSrc->nBitsPerPixel) {
    status = Rv_CopyGrayParams(pDst, pSrc, (uFlags & DUPFLAG_OWN_PALETTE) ? TRUE : FALSE);
  }
  // 7.-8. Paint tables and extra data.
  if (status == SUCCESS) {
    copy_paint_tables(pDst, pSrc);
    status = Rv_CopyBitmapExtraData(pDst, pSrc, 0);
  }
  if (status != SUCCESS) Rv_FreeDuplicateBitmap(pDst, uFlags);
  return status;
}

int32_t Rv_CopyBitmapData(BITMAPRECORD *pDst, BITMAPRECORD *pSrc) noexcept {
  if (pDst == nullptr || pSrc == nullptr || !rv::is_allocated(pDst) || !rv::is_allocated(pSrc)) {
    return ERROR_INVALID_IMAGE;
  }
  if (pDst == pSrc) return SUCCESS;
  if (!rv::valid_record_size(pDst->uStructSize) || !rv::valid_record_size(pSrc->uStructSize)) {
    return ERROR_INVALID_STRUCT_SIZE;
  }
  int32_t src_locked = FALSE, dst_locked = FALSE;
  int32_t status = Rv_IntAccessBitmap(pSrc, &src_locked);
  if (status != SUCCESS) return status;
  status = Rv_IntAccessBitmap(pDst, &dst_locked);
  if (status != SUCCESS) return Rv_IntReleaseBitmap(pSrc, src_locked, status);
  const uint32_t src_bytes = static_cast<uint32_t>(pSrc->nBytesPerLine);
  const uint32_t dst_bytes = static_cast<uint32_t>(pDst->nBytesPerLine);
  // One row of the longer kind, so that neither side reads past the buffer.
  auto *row = static_cast<uint8_t *>(rv::alloc_block(std::max(src_bytes, dst_bytes), true));
  if (row == nullptr) status = ERROR_NO_MEMORY;
  const int32_t rows = std::min(pSrc->nHeight, pDst->nHeight);
  rv::RowProgress progress(pSrc->nHeight, rv::RowProgress::Source::CopyStatus);
  if (status == SUCCESS) status = progress.start();
  // Two flat bitmaps in memory copy row to row; anything else goes through
  // the row functions and the buffer. The bytes are the same either way.
  const bool direct = rv::is_flat_memory(pSrc) && rv::is_flat_memory(pDst);
  for (int32_t y = 0; y < rows && status == SUCCESS; ++y) {
    if (direct) {
      uint8_t *to = pDst->pData + static_cast<size_t>(dst_bytes) * static_cast<uint32_t>(y);
      const uint8_t *from = pSrc->pData + static_cast<size_t>(src_bytes) * static_cast<uint32_t>(y);
      std::memcpy(to, from, std::min(src_bytes, dst_bytes));
      if (dst_bytes > src_bytes) std::memset(to + src_bytes, 0, dst_bytes - src_bytes);
    } else {
      Rv_GetBitmapRow(pSrc, row, y, src_bytes);
      if (Rv_PutBitmapRow(pDst, row, y, dst_bytes) != static_cast<int32_t>(dst_bytes)) {
        status = ERROR_NO_MEMORY;
        break;
      }
    }
    status = progress.row_done();
  }
  rv::free_block(row);
  status = Rv_IntReleaseBitmap(pDst, dst_locked, status);
  return Rv_IntReleaseBitmap(pSrc, src_locked, status);
}

namespace {

// The checks the whole-bitmap and rectangle copies share.
int32_t check_copy(const BITMAPRECORD *dst, const BITMAPRECORD *src, uint32_t size) noexcept {
  if (src == nullptr) return ERROR_INVALID_PARAMETER;
  if (!rv::valid_record_size(src->uStructSize) || (dst != nullptr && !rv::valid_record_size(size))) {
    return ERROR_INVALID_STRUCT_SIZE;
  }
  return rv::is_allocated(src) ? SUCCESS : ERROR_INVALID_PARAMETER;
}

// The part of a whole copy that may fail before any pixel moves: the frame,
// gray parameters and storage of a duplicate made without storage.
int32_t prepare_target(BITMAPRECORD *dst, BITMAPRECORD *src, uint32_t memory, bool end_frame) noexcept {
  int32_t status = Rv_IntBeginCopyBitmap(dst, src, 1, &memory);
  if (status == SUCCESS && end_frame) status = Rv_IntEndCopyBitmap(src, 1);
  if (status == SUCCESS && src->nOrder == ORDER_GRAY) {
    dst->nOrder = ORDER_GRAY;
    status = Rv_CopyGrayParams(dst, src, TRUE);
  }
  if (status == SUCCESS) status = Rv_IntAllocateBitmap(dst, memory, dst->pPalette);
  return status;
}

constexpr uint32_t kOwnAll = DUPFLAG_OWN_PALETTE | DUPFLAG_OWN_REGION | DUPFLAG_OWN_OVERLAYS;

}  // namespace

int32_t Rv_CopyBitmap2(BITMAPRECORD *pDst, BITMAPRECORD *pSrc, uint32_t uStructSize, uint32_t uMemory) noexcept {
  if (pDst == nullptr) return ERROR_INVALID_PARAMETER;
  if (pDst == pSrc) return SUCCESS;
  int32_t status = check_copy(pDst, pSrc, uStructSize);
  if (status != SUCCESS) return status;
  status = Rv_DupBitmapNewDim(pDst, pSrc, uStructSize, pSrc->nWidth, pSrc->nHeight, pSrc->nBitsPerPixel, kOwnAll);
  if (status != SUCCESS) return status;
  status = prepare_target(pDst, pSrc, uMemory, true);
  if (status == SUCCESS) status = Rv_CopyBitmapData(pDst, pSrc);
  if (status != SUCCESS) Rv_FreeBitmap(pDst);
  return status;
}

int32_t Rv_CopyBitmap(BITMAPRECORD *pDst, BITMAPRECORD *pSrc, uint32_t uStructSize) noexcept {
  if (pSrc == nullptr) return ERROR_INVALID_PARAMETER;
  return Rv_CopyBitmap2(pDst, pSrc, uStructSize, request_of(pSrc));
}

namespace {

// Copies the clipped rectangle row by row. Source and target columns may sit
// at different bit positions of their bytes: the run is moved by bits (or by
// half bytes at depth 12), and the target's bits around it stay.
int32_t copy_rect_rows(BITMAPRECORD *dst, BITMAPRECORD *src, int32_t left, int32_t top, int32_t right,
                       int32_t bottom, int32_t col, int32_t row, int32_t requested_rows) noexcept {
  const int32_t bits = src->nBitsPerPixel;
  const uint64_t width = static_cast<uint64_t>(right - left);
  const int32_t dst_col = left - col;
  const auto bit_pos = [bits](int32_t c) -> uint32_t {
    return bits < 8 || bits == 12 ? static_cast<uint32_t>(static_cast<uint64_t>(c) * bits % 8) : 0u;
  };
  const uint32_t src_pos = bit_pos(left), dst_pos = bit_pos(dst_col);
  const uint64_t run_bits = static_cast<uint64_t>(bits) * width;
  const uint32_t src_bytes = static_cast<uint32_t>((run_bits + 7 + src_pos) >> 3);
  const uint32_t dst_bytes = static_cast<uint32_t>((run_bits + 7 + dst_pos) >> 3);
  const bool whole_bytes = bits >= 8 && bits != 12;
  auto *in = static_cast<uint8_t *>(rv::alloc_block(src_bytes + 8, true));
  auto *out = whole_bytes ? in : static_cast<uint8_t *>(rv::alloc_block(dst_bytes + 8, true));
  if (in == nullptr || out == nullptr) {
    rv::free_block(in);
    if (out != in) rv::free_block(out);
    return ERROR_NO_MEMORY;
  }
  int32_t src_locked = FALSE, dst_locked = FALSE;
  int32_t status = Rv_IntAccessBitmap(src, &src_locked);
  if (status == SUCCESS) status = Rv_IntAccessBitmap(dst, &dst_locked);
  rv::RowProgress progress(requested_rows, rv::RowProgress::Source::CopyStatus);
  if (status == SUCCESS) status = progress.start();
  for (int32_t y = top; y < bottom && status == SUCCESS; ++y) {
    int32_t got = Rv_GetBitmapRowCol(src, in, y, left, src_bytes);
    if (got < 0) {
      status = got;
      break;
    }
    if (!whole_bytes) {
      // The target's own bits at both ends of the run stay.
      got = Rv_GetBitmapRowCol(dst, out, y - row, dst_col, dst_bytes);
      if (got < 0) {
        status = got;
        break;
      }
      if (bits == 12) {
        for (uint64_t i = 0; i < width; ++i) {
          const uint64_t s = static_cast<uint64_t>(left) + i, d = static_cast<uint64_t>(dst_col) + i;
          rv::px::put12_at(out + (rv::px::col_to_byte(12, static_cast<int32_t>(d)) - rv::px::col_to_byte(12, dst_col)),
                           (d & 1) != 0,
                           rv::px::get12_at(in + (rv::px::col_to_byte(12, static_cast<int32_t>(s)) -
                                                  rv::px::col_to_byte(12, left)),
                                            (s & 1) != 0));
        }
      } else {
        rv::px::copy_bits(out, dst_pos, in, src_pos, run_bits);
      }
    }
    const int32_t put = Rv_PutBitmapRowCol(dst, out, y - row, dst_col, dst_bytes);
    if (put < 0) {
      status = put;
      break;
    }
    status = progress.row_done();
  }
  if (dst_locked) status = Rv_IntReleaseBitmap(dst, dst_locked, status);
  status = Rv_IntReleaseBitmap(src, src_locked, status);
  rv::free_block(in);
  if (out != in) rv::free_block(out);
  return status;
}

}  // namespace

int32_t Rv_CopyBitmapRect2(BITMAPRECORD *pDst, BITMAPRECORD *pSrc, uint32_t uStructSize, int32_t nCol,
                           int32_t nRow, int32_t nWidth, int32_t nHeight, uint32_t uMemory) noexcept {
  const bool in_place = pDst == nullptr || pDst == pSrc;
  int32_t status = check_copy(in_place ? nullptr : pDst, pSrc, uStructSize);
  if (status != SUCCESS) return status;
  BITMAPRECORD local{};
  BITMAPRECORD *target = in_place ? &local : pDst;
  const uint32_t size = in_place ? RV_BITMAPRECORD_SIZE : uStructSize;
  status = Rv_DupBitmapNewDim(target, pSrc, size, nWidth, nHeight, pSrc->nBitsPerPixel, kOwnAll);
  if (status != SUCCESS) return status;
  status = prepare_target(target, pSrc, uMemory, !in_place);
  if (status == SUCCESS) {
    // The target's region is the source's, moved with the rectangle.
    rv::hooks::free_region(target);
    status = Rv_CopyBitmapRgn(target, pSrc, -nCol, -nRow);
    if (status == SUCCESS) rv::hooks::offset_overlays(target, -nCol, -nRow);
  }
  if (status == SUCCESS) {
    // Only the part inside the source is written.
    const int32_t left = std::max(nCol, 0), top = std::max(nRow, 0);
    const int32_t right = static_cast<int32_t>(std::min<int64_t>(int64_t{nCol} + nWidth, pSrc->nWidth));
    const int32_t bottom = static_cast<int32_t>(std::min<int64_t>(int64_t{nRow} + nHeight, pSrc->nHeight));
    if (right - left >= 1 && bottom - top >= 1) {
      status = copy_rect_rows(target, pSrc, left, top, right, bottom, nCol, nRow, nHeight);
    }
  }
  if (in_place) return rv::replace_record(pSrc, &local, status);
  if (status != SUCCESS) Rv_FreeBitmap(target);
  return status;
}

int32_t Rv_CopyBitmapRect(BITMAPRECORD *pDst, BITMAPRECORD *pSrc, uint32_t uStructSize, int32_t nCol,
                          int32_t nRow, int32_t nWidth, int32_t nHeight) noexcept {
  if (pSrc == nullptr) return ERROR_INVALID_PARAMETER;
  return Rv_CopyBitmapRect2(pDst, pSrc, uStructSize, nCol, nRow, nWidth, nHeight, request_of(pSrc));
}

int32_t Rv_TrimBitmap(BITMAPRECORD *pBitmap, int32_t nCol, int32_t nRow, uint32_t uWidth,
                      uint32_t uHeight) noexcept {
  if (pBitmap == nullptr || !rv::valid_record_size(pBitmap->uStructSize) || !rv::is_allocated(pBitmap)) {
    return pBitmap != nullptr && !rv::valid_record_size(pBitmap->uStructSize) ? ERROR_INVALID_STRUCT_SIZE
                                                                              : ERROR_INVALID_PARAMETER;
  }
  const int64_t right = std::min<int64_t>(int64_t{nCol} + uWidth, pBitmap->nWidth);
  const int64_t bottom = std::min<int64_t>(int64_t{nRow} + uHeight, pBitmap->nHeight);
  const int64_t left = std::max(nCol, 0), top = std::max(nRow, 0);
  if (right - left < 0 || bottom - top < 0) return ERROR_INVALID_WIDTH_OR_HEIGHT;
  return Rv_CopyBitmapRect(nullptr, pBitmap, pBitmap->uStructSize, static_cast<int32_t>(left),
                           static_cast<int32_t>(top), static_cast<int32_t>(right - left),
                           static_cast<int32_t>(bottom - top));
}
