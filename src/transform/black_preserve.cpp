// Reducing 1-bit gray pictures so that thin black strokes survive: the black
// pixels of the block of source pixels behind each destination pixel are
// counted over the runs of the rows, and the pixel is black when the count
// reaches a threshold that grows with the block.
#include <algorithm>
#include <cstring>

#include "core/runs.h"
#include "internal/memory.h"
#include "internal/progress.h"
#include "ruvokit/rvcolor.h"
#include "transform/resize_internal.h"

namespace rv::resize {

namespace {

// The integer square root by the averaging iteration.
uint64_t root(uint64_t x) noexcept {
  if (x == 0) return 0;
  if (x < 4) return 1;
  uint64_t g = x / 2, d;
  do {
    const uint64_t q = x / g;
    d = (g > q ? g - q : q - g) / 2;
    g = std::min(g, q) + d;
  } while (d != 0);
  return g;
}

// How many black pixels of a block make a black pixel: 1 for blocks of up to
// 2 by 2, one less than the side up to 4, the side from 5 up.
uint32_t black_threshold(uint32_t xs, uint32_t ys) noexcept {
  const uint64_t n = root(static_cast<uint64_t>(std::max(xs, 1u)) * std::max(ys, 1u));
  if (n <= 2) return 1;
  return static_cast<uint32_t>(n <= 4 ? n - 1 : n);
}

struct Counter {
  uint32_t *counts;
  uint32_t sw, dw;
  PickSteps s;
  bool black;  // the pixel value that is black

  void add(uint32_t col, uint64_t n) const noexcept {
    if (col < dw) counts[col] += static_cast<uint32_t>(n);
  }

  // A narrowing row: each black run lands in the column that holds its first
  // pixel, and what doesn't fit there flows on through the next columns by
  // their whole steps and rests. White runs cost nothing.
  void count_narrowing(const uint8_t *row_runs) const noexcept {
    uint64_t x = 0;
    for (runs::Reader r(row_runs); !r.done(); r.next()) {
      const uint64_t length = r.length();
      if (r.one() == black && length > 0) {
        const uint64_t d = (static_cast<uint64_t>(dw) * x + dw - 1) / sw;
        const uint64_t fit = (d + 1) * sw / dw - x;
        if (fit >= length) {
          add(static_cast<uint32_t>(d), length);
        } else {
          add(static_cast<uint32_t>(d), fit);
          uint64_t rest = length - fit;
          uint64_t accum = ((d + 1) * s.xr) % dw;
          uint64_t col = d + 1;
          while (rest > s.xs && col < dw) {
            uint64_t n = s.xs;
            accum += s.xr;
            if (accum >= dw) {
              ++n;
              accum -= dw;
            }
            add(static_cast<uint32_t>(col++), n);
            rest -= n;
          }
          if (col < dw) add(static_cast<uint32_t>(col), rest);
        }
      }
      x += length;
    }
  }

  // A row that keeps or grows its width: each destination column takes the
  // current source pixel, the carry deciding when the next one comes.
  void count_widening(const uint8_t *row_runs) const noexcept {
    runs::Reader r(row_runs);
    while (!r.done() && r.length() == 0) r.next();
    uint32_t left = r.done() ? 0 : r.length();
    uint64_t accum = 0;
    for (uint32_t k = 0; k < dw; ++k) {
      if (!r.done() && r.one() == black) ++counts[k];
      accum += s.xr;
      if (accum >= dw) {
        accum -= dw;
        if (left > 0 && --left == 0) {
          do r.next();
          while (!r.done() && r.length() == 0);
          left = r.done() ? 0 : r.length();
        }
      }
    }
  }
};

// The destination row as runs: black where the count reached the threshold,
// in the polarity of the source.
void build_runs(uint8_t *out, const uint32_t *counts, uint32_t dw, uint32_t threshold, bool black) noexcept {
  runs::Encoder encoder(out);
  uint32_t k = 0;
  while (k < dw) {
    const bool is_black = counts[k] >= threshold;
    uint32_t end = k + 1;
    while (end < dw && (counts[end] >= threshold) == is_black) ++end;
    encoder.add_run(is_black ? black : !black, end - k);
    k = end;
  }
  encoder.finish();
}

}  // namespace

int32_t resize_black_preserve(BITMAPRECORD *src, BITMAPRECORD *dst) noexcept {
  if (src->nBitsPerPixel != 1 || dst->nBitsPerPixel != 1) return ERROR_INVALID_BITS_PER_PIXEL;
  const int32_t sw = src->nWidth, sh = src->nHeight, dw = dst->nWidth, dh = dst->nHeight;
  if (sw < 1 || sh < 1 || dw < 1 || dh < 1) return ERROR_INVALID_IMAGE;
  const bool black = Rv_IntIsGrayScaleBitmap(src, 0) == GRAY_RAMP_INVERTED;
  const PickSteps s = pick_steps(sw, sh, dw, dh);
  const uint32_t threshold = black_threshold(s.xs, s.ys);

  auto *counts = alloc_array<uint32_t>(static_cast<size_t>(dw));
  auto *packed_in = static_cast<uint8_t *>(alloc_block(static_cast<uint32_t>(src->nBytesPerLine), true));
  auto *runs_in = static_cast<uint8_t *>(alloc_block(runs::max_row_bytes(static_cast<uint32_t>(sw)), false));
  auto *runs_out = static_cast<uint8_t *>(alloc_block(runs::max_row_bytes(static_cast<uint32_t>(dw)), false));
  auto *packed_out = static_cast<uint8_t *>(alloc_block(static_cast<uint32_t>(dst->nBytesPerLine), true));
  int32_t status = counts && packed_in && runs_in && runs_out && packed_out ? SUCCESS : ERROR_NO_MEMORY;
  if (status == SUCCESS) {
    Access2 access(src, dst);
    status = access.status();
    RowProgress progress(dh);
    if (status == SUCCESS) status = progress.start();
    const Counter counter{counts, static_cast<uint32_t>(sw), static_cast<uint32_t>(dw), s, black};
    const bool src_up = src->nViewPerspective == VIEW_BOTTOM_LEFT, dst_up = dst->nViewPerspective == VIEW_BOTTOM_LEFT;
    RowPicker pick;
    int64_t last = -1;
    for (int32_t y = 0; y < dh && status == SUCCESS; ++y) {
      const uint32_t current = std::min(pick.row, static_cast<uint32_t>(sh - 1));
      if (static_cast<int64_t>(current) > last) {
        std::memset(counts, 0, sizeof(uint32_t) * static_cast<size_t>(dw));
        const uint32_t block = std::max(s.ys, 1u) + (pick.accum + s.yr >= static_cast<uint32_t>(dh) ? 1u : 0u);
        for (uint32_t i = 0; i < block && status == SUCCESS; ++i) {
          const auto r = static_cast<int32_t>(std::min(current + i, static_cast<uint32_t>(sh - 1)));
          status = read_row(src, packed_in, src_up ? sh - 1 - r : r);
          if (status != SUCCESS) break;
          Rv_CompressRow(runs_in, packed_in, 0, static_cast<uint32_t>(sw));
          if (dw < sw) {
            counter.count_narrowing(runs_in);
          } else {
            counter.count_widening(runs_in);
          }
        }
        if (status != SUCCESS) break;
        build_runs(runs_out, counts, static_cast<uint32_t>(dw), threshold, black);
        Rv_ExpandRow(runs_out, packed_out, 0, static_cast<uint32_t>(dw));
        last = current;
      }
      pick.next(s, dh);
      status = write_row(dst, packed_out, dst_up ? dh - 1 - y : y);
      if (status == SUCCESS) status = progress.row_done();
    }
    status = access.finish(status);
  }
  free_block(counts);
  free_block(packed_in);
  free_block(runs_in);
  free_block(runs_out);
  free_block(packed_out);
  return status;
}

}  // namespace rv::resize
