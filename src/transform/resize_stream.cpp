// Resizing rows that a caller streams through its own buffer: each row is
// narrowed or widened in place by picking samples, and the caller is told how
// many times it goes out, so that the heights come out right in any order of
// rows.
#include "transform/resize_stream.h"

#include "internal/memory.h"

int32_t Rv_StartResize(int32_t nOldWidth, int32_t nOldHeight, int32_t nNewWidth, int32_t nNewHeight,
                       RESIZEDATA **ppResizeData) noexcept {
  if (ppResizeData == nullptr) return ERROR_INVALID_PARAMETER;
  if (nOldWidth <= 0 || nOldHeight <= 0) return ERROR_INVALID_PARAMETER;
  if (!Rv_IntResolveTargetSize(&nNewWidth, &nNewHeight, nOldWidth, nOldHeight)) return ERROR_INVALID_PARAMETER;
  auto *d = rv::alloc_array<RESIZEDATA>(1, true);
  if (d == nullptr) return ERROR_NO_MEMORY;
  d->nLastRow = -1;
  d->nOldWidth = nOldWidth;
  d->nOldHeight = nOldHeight;
  d->nNewWidth = nNewWidth;
  d->nNewHeight = nNewHeight;
  d->nXStep = nOldWidth / nNewWidth;
  d->nXRest = nOldWidth % nNewWidth;
  d->nCopies = nNewHeight / nOldHeight;
  d->nCopiesRest = nNewHeight % nOldHeight;
  *ppResizeData = d;
  return SUCCESS;
}

namespace {

// The carry accumulator before and after row `row`: rows in sequence leave
// ((row + 1) x rest) mod height behind them, so any row's start value is known.
int32_t accum_before(const RESIZEDATA *d, int32_t row) noexcept {
  return static_cast<int32_t>(static_cast<int64_t>(d->nCopiesRest) * row % d->nOldHeight);
}

// How many times row `row` goes out, the accumulator moving with it.
int32_t copies_of(RESIZEDATA *d, int32_t row) noexcept {
  const int32_t rest = d->nCopiesRest, height = d->nOldHeight;
  int32_t copies = d->nCopies;
  if (row == d->nLastRow + 1) {
    const int32_t old = d->bReversing ? accum_before(d, row) : d->nCopiesAccum;
    d->bReversing = FALSE;
    d->nCopiesAccum = old + rest;
    if (d->nCopiesAccum >= height) {
      ++copies;
      d->nCopiesAccum -= height;
    }
  } else if (row == d->nLastRow - 1) {
    // Falling rows undo the rising walk: the value before the step is the one
    // a rising walk leaves after this row, and the carry is that walk's.
    const int32_t old = d->bReversing ? d->nCopiesAccum : accum_before(d, row + 1);
    d->bReversing = TRUE;
    d->nCopiesAccum = old - rest;
    if (d->nCopiesAccum < 0) {
      ++copies;
      d->nCopiesAccum += height;
    }
  } else {
    d->bReversing = FALSE;
    d->nCopiesAccum = accum_before(d, row) + rest;
    if (d->nCopiesAccum >= height) {
      ++copies;
      d->nCopiesAccum -= height;
    }
  }
  return copies;
}

}  // namespace

int32_t Rv_Resize(uint8_t *pBuffer, int32_t nRow, int32_t nBitsPerPixel, int32_t *pnNewWidth, int32_t *pnCopies,
                  RESIZEDATA *pResizeData) noexcept {
  if (pBuffer == nullptr || pnNewWidth == nullptr || pnCopies == nullptr || pResizeData == nullptr) {
    return ERROR_INVALID_PARAMETER;
  }
  RESIZEDATA *d = pResizeData;
  if (nRow < 0) return ERROR_INVALID_PARAMETER;
  if (d->nOldWidth == d->nNewWidth && d->nOldHeight == d->nNewHeight) {
    *pnCopies = 1;
    *pnNewWidth = d->nNewWidth;
    return 1;
  }
  const int32_t copies = copies_of(d, nRow);
  d->nLastRow = nRow;
  *pnNewWidth = d->nNewWidth;
  *pnCopies = copies;
  if (copies == 0) return 0;
  const auto old_bytes = static_cast<int32_t>(
      (static_cast<uint64_t>(static_cast<uint32_t>(d->nOldWidth)) * static_cast<uint32_t>(nBitsPerPixel) + 7) >> 3);
  const auto step = static_cast<uint32_t>(d->nXStep), rest = static_cast<uint32_t>(d->nXRest);
  const auto width = static_cast<uint32_t>(d->nNewWidth);
  if (d->nNewWidth > d->nOldWidth) {
    Rv_ReverseGetResizedScanLine(nBitsPerPixel, old_bytes, 0, step, 0, rest, pBuffer, pBuffer, width, width, 1);
  } else if (d->nNewWidth < d->nOldWidth) {
    // Whole-byte samples walk forward in place; packed ones rewrite only
    // their own bits so that samples still to be read survive.
    if (nBitsPerPixel >= 8) {
      Rv_GetResizedScanLine(nBitsPerPixel, 0, 0, step, 0, rest, pBuffer, pBuffer, width, width, 0);
    } else {
      Rv_ReverseGetResizedScanLine(nBitsPerPixel, old_bytes, 0, step, 0, rest, pBuffer, pBuffer, width, width, 0);
    }
  }
  return copies;
}

int32_t Rv_StopResize(RESIZEDATA *pResizeData) noexcept {
  if (pResizeData == nullptr) return ERROR_INVALID_PARAMETER;
  rv::free_block(pResizeData);
  return SUCCESS;
}
