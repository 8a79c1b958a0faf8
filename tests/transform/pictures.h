// Helpers of the transform tests: a bitmap's pixels as comparable values, the
// displayed picture of a perspective, and a recording progress callback.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "internal/pixels.h"
#include "ruvokit/rvkrn.h"
#include "support/bitmaps.h"

namespace rvtest {

const int32_t kAllDepths[] = {1, 2, 3, 4, 5, 6, 7, 8, 12, 16, 24, 32, 48, 64};

// Pixel x of a row as bytes, whatever the depth.
inline std::string pixel_of(const uint8_t *row, int32_t bits, int32_t x) {
  if (bits < 8) return std::to_string(rv::px::get_packed(row, bits, static_cast<uint64_t>(x)));
  if (bits == 12) return std::to_string(rv::px::get12(row, static_cast<uint64_t>(x)));
  const size_t n = static_cast<size_t>(bits / 8);
  return std::string(reinterpret_cast<const char *>(row) + n * static_cast<size_t>(x), n);
}

// The stored pixels, row by row: grid[y][x].
using Grid = std::vector<std::vector<std::string>>;
inline Grid grid_of(BITMAPRECORD *b) {
  Grid g(static_cast<size_t>(b->nHeight));
  for (int32_t y = 0; y < b->nHeight; ++y) {
    const auto row = read_row(b, y);
    for (int32_t x = 0; x < b->nWidth; ++x) g[y].push_back(pixel_of(row.data(), b->nBitsPerPixel, x));
  }
  return g;
}

// Where stored pixel (x, y) of a w by h storage in `view` is displayed, from
// the perspective table itself: first row and first column at their corners.
inline void displayed_at(int32_t view, int32_t w, int32_t h, int32_t x, int32_t y, int32_t *dx, int32_t *dy) {
  switch (view) {
    case 1: *dx = x; *dy = y; break;
    case 2: *dx = w - 1 - x; *dy = y; break;
    case 3: *dx = w - 1 - x; *dy = h - 1 - y; break;
    case 4: *dx = x; *dy = h - 1 - y; break;
    case 5: *dx = y; *dy = x; break;
    case 6: *dx = h - 1 - y; *dy = x; break;
    case 7: *dx = h - 1 - y; *dy = w - 1 - x; break;
    default: *dx = y; *dy = w - 1 - x; break;
  }
}

// The picture as displayed: display[Y][X].
inline Grid displayed(const Grid &g, int32_t view) {
  const auto h = static_cast<int32_t>(g.size()), w = h ? static_cast<int32_t>(g[0].size()) : 0;
  const bool transposed = view >= 5;
  Grid d(static_cast<size_t>(transposed ? w : h), std::vector<std::string>(static_cast<size_t>(transposed ? h : w)));
  for (int32_t y = 0; y < h; ++y) {
    for (int32_t x = 0; x < w; ++x) {
      int32_t dx, dy;
      displayed_at(view, w, h, x, y, &dx, &dy);
      d[dy][dx] = g[y][x];
    }
  }
  return d;
}
inline Grid displayed(BITMAPRECORD *b) { return displayed(grid_of(b), b->nViewPerspective); }

// A grid turned a quarter clockwise.
inline Grid turned_clockwise(const Grid &g) {
  const size_t h = g.size(), w = h ? g[0].size() : 0;
  Grid t(w, std::vector<std::string>(h));
  for (size_t y = 0; y < h; ++y)
    for (size_t x = 0; x < w; ++x) t[x][h - 1 - y] = g[y][x];
  return t;
}

// Records the percents the thread's progress callback hears; answers
// `stop_with` at call number `stop_at` (counted from 0).
struct Progress {
  std::vector<int32_t> heard;
  int32_t stop_at = -1;
  int32_t stop_with = ERROR_USER_ABORT;
  STATUSCALLBACK old_callback = nullptr;
  void *old_user = nullptr;
  Progress() { Rv_SetStatusCallBack(&Progress::record, this, &old_callback, &old_user); }
  ~Progress() { Rv_SetStatusCallBack(old_callback, old_user, nullptr, nullptr); }
  static int32_t record(int32_t percent, void *self) {
    auto *p = static_cast<Progress *>(self);
    p->heard.push_back(percent);
    return static_cast<int32_t>(p->heard.size()) - 1 == p->stop_at ? p->stop_with : SUCCESS;
  }
};

}  // namespace rvtest
