// Flip (upside down) and reverse (left to right), of the stored rows and of the
// picture as displayed, and the in-place row loop they share with the half
// turn. The region and the overlays follow the pixels.
#include "transform/flip.h"

#include "internal/bitmap_hooks.h"
#include "transform/mirror.h"
#include "internal/record.h"
#include "ruvokit/rvtransform.h"
#include "transform/progress_range.h"
#include "transform/rows.h"

namespace rv::xform {

namespace {

// The run forms turn without rows when their shortcuts are installed: a half
// turn is a mirror of each row and a flip of the row order, and without both
// shortcuts it goes through rows whole.
bool turn_runs(BITMAPRECORD *b, RowTurn how, int32_t *status) noexcept {
  if (how == RowTurn::Flip) return hooks::flip_runs(b, status);
  if (!hooks::mirror_runs(b, status)) return false;
  if (how == RowTurn::Mirror || *status != SUCCESS) return true;
  int32_t undo = SUCCESS;
  if (hooks::flip_runs(b, status) && *status == SUCCESS) return true;
  const bool handled = *status != SUCCESS;  // the flip ran and failed
  hooks::mirror_runs(b, &undo);
  return handled;
}

class RowTurner {
 public:
  // Three rows of work: the two rows a step exchanges, and a mirrored one.
  RowTurner(BITMAPRECORD *b, RowTurn how, uint8_t *rows) noexcept
      : b_(b),
        how_(how),
        bytes_(static_cast<uint32_t>(b->nBytesPerLine)),
        a_(rows),
        c_(rows + bytes_),
        m_(rows + 2 * bytes_) {}

  int32_t steps() const noexcept { return how_ == RowTurn::Mirror ? b_->nHeight : (b_->nHeight + 1) / 2; }

  // Step i: rows i and nHeight - 1 - i exchange (mirrored for a half turn), or
  // row i is mirrored. A write that fails puts back what the step changed.
  int32_t step(int32_t i) noexcept {
    const int32_t top = i;
    const int32_t bottom = how_ == RowTurn::Mirror ? i : b_->nHeight - 1 - i;
    if (top == bottom) {
      if (how_ == RowTurn::Flip) return SUCCESS;
      const int32_t status = read_row(b_, a_, top);
      return status == SUCCESS ? write_row(b_, turned(a_), top) : status;
    }
    int32_t status = read_row(b_, a_, top);
    if (status == SUCCESS) status = read_row(b_, c_, bottom);
    if (status == SUCCESS) status = write_row(b_, turned(c_), top);
    if (status != SUCCESS) return status;
    status = write_row(b_, turned(a_), bottom);
    if (status != SUCCESS) write_row(b_, a_, top);  // the first write undone, as far as the storage lets
    return status;
  }

 private:
  // The row as it goes back: as read for a flip, else mirrored.
  const uint8_t *turned(const uint8_t *row) noexcept {
    if (how_ == RowTurn::Flip) return row;
    mirror_copy(m_, row, b_->nWidth, b_->nBitsPerPixel, bytes_);
    return m_;
  }

  BITMAPRECORD *b_;
  RowTurn how_;
  size_t bytes_;
  uint8_t *a_;
  uint8_t *c_;
  uint8_t *m_;
};

}  // namespace

int32_t turn_rows(BITMAPRECORD *b, RowTurn how, int32_t start_percent, int32_t end_percent) noexcept {
  int32_t status = SUCCESS;
  if (turn_runs(b, how, &status)) {
    if (status != SUCCESS) return status;
    return RangeProgress::report_range(start_percent, end_percent);
  }
  const auto bytes = static_cast<size_t>(static_cast<uint32_t>(b->nBytesPerLine));
  Buffer<uint8_t> rows(3 * bytes);
  if (!rows) return ERROR_NO_MEMORY;
  Access access(b);
  if (access.status() != SUCCESS) return access.status();
  RowTurner turner(b, how, rows.get());
  RangeProgress progress(turner.steps(), start_percent, end_percent);
  status = progress.start();
  int32_t done = 0;
  while (status == SUCCESS && done < turner.steps()) {
    status = turner.step(done);
    if (status != SUCCESS) break;
    ++done;
    status = progress.row_done();
  }
  // Each step is its own inverse: doing the finished ones again restores them.
  if (status != SUCCESS) {
    for (int32_t i = 0; i < done; ++i) turner.step(i);
  }
  return access.finish(status);
}

}  // namespace rv::xform

namespace {

using rv::xform::RowTurn;

// The storage turn, then the region and the overlays; if either of those
// fails, everything done is undone.
int32_t turn_bitmap(BITMAPRECORD *b, RowTurn how) noexcept {
  const int32_t checked = rv::check_record(b, rv::NullRecord::InvalidImage, true);
  if (checked != SUCCESS) return checked;
  const bool flip = how == RowTurn::Flip;
  int32_t status = rv::xform::turn_rows(b, how, 0, 100);
  if (status != SUCCESS) return status;
  const bool transposed = rv::xform::is_transposed(b->nViewPerspective);
  status = flip ? rv::hooks::flip_region(b) : rv::hooks::reverse_region(b);
  if (status == SUCCESS) {
    status = flip ? rv::hooks::flip_overlays(b, transposed) : rv::hooks::reverse_overlays(b, transposed);
    if (status != SUCCESS) flip ? rv::hooks::flip_region(b) : rv::hooks::reverse_region(b);
  }
  if (status != SUCCESS) {
    rv::xform::QuietProgress quiet;
    rv::xform::turn_rows(b, how, 0, 100);
  }
  return status;
}

// The displayed picture: for the transposed perspectives the stored rows are
// displayed columns, so upside down is left to right in storage.
int32_t turn_displayed(BITMAPRECORD *b, bool flip) noexcept {
  const bool transposed = rv::xform::is_transposed(b->nViewPerspective);
  return flip != transposed ? Rv_IntFlipBitmap(b) : Rv_IntReverseBitmap(b);
}

}  // namespace

int32_t Rv_IntFlipBitmap(BITMAPRECORD *pBitmap) noexcept { return turn_bitmap(pBitmap, RowTurn::Flip); }

int32_t Rv_IntReverseBitmap(BITMAPRECORD *pBitmap) noexcept { return turn_bitmap(pBitmap, RowTurn::Mirror); }

int32_t Rv_FlipBitmap(BITMAPRECORD *pBitmap) noexcept {
  const int32_t status = rv::check_record(pBitmap, rv::NullRecord::InvalidParameter, false);
  if (status != SUCCESS) return status;
  if (!rv::is_allocated(pBitmap)) return ERROR_INVALID_PARAMETER;
  return turn_displayed(pBitmap, true);
}

// Only the NULL record is refused here: an unallocated one goes on to the
// storage form, which calls it an invalid image.
int32_t Rv_ReverseBitmap(BITMAPRECORD *pBitmap) noexcept {
  const int32_t status = rv::check_record(pBitmap, rv::NullRecord::InvalidParameter, false);
  if (status != SUCCESS) return status;
  return turn_displayed(pBitmap, false);
}
