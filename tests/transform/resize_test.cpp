#include <gtest/gtest.h>
#include <numeric>
#include <random>
#include <vector>

#include "internal/bitmap_hooks.h"
#include "internal/fault.h"
#include "internal/pixels.h"
#include "transform/resize_support.h"

namespace {

const int32_t kDepths[] = {1, 2, 3, 4, 5, 6, 7, 8, 12, 16, 24, 32, 48, 64};

uint32_t sample(const uint8_t *row, int32_t bits, uint64_t x) {
  if (bits == 12) return rv::px::get12(row, x);
  if (bits <= 32) return rv::px::get_pixel(row, bits, x);
  uint32_t v;
  std::memcpy(&v, row + x * static_cast<uint64_t>(bits / 8) + 2, 4);  // the upper channels
  return v;
}

// --- the row kernels and the streamed rows ----------------------------------------------

TEST(ResizeKernels, PickSamplesAtEveryDepth) {
  for (int32_t bits : kDepths) {
    const auto src = rvtest::random_bytes(256, static_cast<uint32_t>(bits));
    std::vector<uint8_t> dst(256, 0xA5);
    // Doubling: each source pixel at 2i and 2i + 1.
    Rv_GetResizedScanLine(bits, 256, 0, 0, 0, 10, src.data(), dst.data(), 20, 20, 1);
    for (uint64_t i = 0; i < 20; ++i) EXPECT_EQ(sample(dst.data(), bits, i), sample(src.data(), bits, i / 2)) << bits;
    // Thirds: positions 0, 3, 6, ... by the whole step.
    Rv_GetResizedScanLine(bits, 256, 1, 3, 0, 0, src.data(), dst.data(), 7, 7, 0);
    for (uint64_t i = 0; i < 7; ++i) EXPECT_EQ(sample(dst.data(), bits, i), sample(src.data(), bits, 1 + 3 * i));
  }
  // Packed depths but 4 start from a cleared row; 4 keeps the bytes past its
  // samples; depths the bitmaps don't have leave the row alone.
  const uint8_t src[4] = {0xFF, 0xFF, 0xFF, 0xFF};
  for (int32_t bits : {2, 4, 9, 10, 20, 0, 65}) {
    std::vector<uint8_t> dst(4, 0x5A);
    Rv_GetResizedScanLine(bits, 4, 0, 1, 0, 0, src, dst.data(), 1, 1, 0);
    const uint8_t first = bits == 2 ? 0xC0 : bits == 4 ? 0xFA : 0x5A;
    const uint8_t rest = bits == 2 ? 0x00 : 0x5A;
    EXPECT_EQ(dst, (std::vector<uint8_t>{first, rest, rest, rest})) << bits;
  }
  Rv_GetResizedScanLine(8, 4, 0, 1, 0, 0, nullptr, nullptr, 4, 4, 0);  // nothing happens
}

TEST(ResizeKernels, InPlaceRowsMatchTheTwoBufferKernel) {
  // Widths up and down at every depth: the row resized inside its buffer is
  // the row picked into another one.
  const int32_t pairs[][2] = {{7, 16}, {16, 7}, {33, 34}, {34, 33}, {5, 5}, {1, 9}, {40, 3}, {100, 101}};
  for (int32_t bits : kDepths) {
    for (const auto &p : pairs) {
      const int32_t ow = p[0], nw = p[1];
      RESIZEDATA *d = nullptr;
      ASSERT_EQ(Rv_StartResize(ow, 10, nw, 20, &d), SUCCESS);
      const size_t bytes = static_cast<size_t>(std::max(ow, nw)) * 8 + 8;
      auto buffer = rvtest::random_bytes(bytes, static_cast<uint32_t>(bits * 100 + ow));
      const auto source = buffer;
      std::vector<uint8_t> expected(bytes, 0);
      if (ow == nw) {
        expected = source;
      } else {
        Rv_GetResizedScanLine(bits, 0, 0, static_cast<uint32_t>(ow / nw), 0, static_cast<uint32_t>(ow % nw),
                              source.data(), expected.data(), static_cast<uint32_t>(nw), static_cast<uint32_t>(nw),
                              nw > ow ? 1 : 0);
      }
      int32_t width = 0, copies = 0;
      ASSERT_EQ(Rv_Resize(buffer.data(), 0, bits, &width, &copies, d), 2);
      EXPECT_EQ(width, nw);
      for (uint64_t x = 0; x < static_cast<uint64_t>(nw); ++x) {
        ASSERT_EQ(sample(buffer.data(), bits, x), sample(expected.data(), bits, x))
            << bits << " " << ow << "->" << nw << " at " << x;
      }
      Rv_StopResize(d);
    }
  }
}

TEST(ResizeStream, EachRowGetsItsCopiesInAnyOrder) {
  const int32_t heights[][2] = {{4, 5}, {7, 3}, {10, 23}, {13, 13}, {9, 1}, {6, 60}};
  for (const auto &h : heights) {
    auto pass = [&](const std::vector<int32_t> &order) {
      RESIZEDATA *d = nullptr;
      EXPECT_EQ(Rv_StartResize(8, h[0], 4, h[1], &d), SUCCESS);
      std::vector<int32_t> copies(static_cast<size_t>(h[0]));
      uint8_t row[64] = {};
      for (int32_t r : order) {
        int32_t width = 0, n = -1;
        const int32_t result = Rv_Resize(row, r, 8, &width, &n, d);
        EXPECT_EQ(result, n);
        copies[static_cast<size_t>(r)] = n;
      }
      Rv_StopResize(d);
      return copies;
    };
    std::vector<int32_t> up(static_cast<size_t>(h[0]));
    std::iota(up.begin(), up.end(), 0);
    const auto ascending = pass(up);
    EXPECT_EQ(std::accumulate(ascending.begin(), ascending.end(), 0), h[1]);
    std::vector<int32_t> down(up.rbegin(), up.rend());
    EXPECT_EQ(pass(down), ascending) << h[0] << "->" << h[1];
    std::vector<int32_t> mixed = up;
    std::shuffle(mixed.begin(), mixed.end(), std::mt19937(static_cast<uint32_t>(h[1])));
    EXPECT_EQ(pass(mixed), ascending);
    // Up, then back down, then up again.
    std::vector<int32_t> zigzag;
    for (int32_t r = 0; r < h[0] / 2; ++r) zigzag.push_back(r);
    for (int32_t r = h[0] - 1; r >= h[0] / 2; --r) zigzag.push_back(r);
    EXPECT_EQ(pass(zigzag), ascending);
  }
}

TEST(ResizeStream, SizesAndBadInput) {
  RESIZEDATA *d = nullptr;
  EXPECT_EQ(Rv_StartResize(200, 100, 0, 0, &d), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_StartResize(200, 100, 10, 10, nullptr), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_StartResize(0, 100, 10, 10, &d), ERROR_INVALID_PARAMETER);
  ASSERT_EQ(Rv_StartResize(200, 100, 100, 0, &d), SUCCESS);
  uint8_t row[600] = {};
  int32_t width = 0, copies = 0, total = 0;
  for (int32_t r = 0; r < 100; ++r) total += Rv_Resize(row, r, 24, &width, &copies, d);
  EXPECT_EQ(width, 100);
  EXPECT_EQ(total, 50);
  EXPECT_EQ(Rv_Resize(nullptr, 0, 24, &width, &copies, d), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_Resize(row, 0, 24, nullptr, &copies, d), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_Resize(row, 0, 24, &width, &copies, nullptr), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_StopResize(d), SUCCESS);
  EXPECT_EQ(Rv_StopResize(nullptr), ERROR_INVALID_PARAMETER);
  // The same size: one copy and the row untouched.
  ASSERT_EQ(Rv_StartResize(3, 3, 3, 3, &d), SUCCESS);
  uint8_t same[12] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
  EXPECT_EQ(Rv_Resize(same, 1, 24, &width, &copies, d), 1);
  EXPECT_EQ(copies, 1);
  EXPECT_EQ(same[8], 9);
  Rv_StopResize(d);
  rv::fault::fail_after(0);
  EXPECT_EQ(Rv_StartResize(3, 3, 4, 4, &d), ERROR_NO_MEMORY);
  rv::fault::fail_after(-1);
}

TEST(ResizeStream, ZeroTargetsFollowTheAspectRatio) {
  struct Case {
    int32_t w, h, ow, oh, result, rw, rh;
  };
  const Case cases[] = {
      {100, 0, 200, 100, 1, 100, 50},
      {0, 50, 200, 100, 1, 100, 50},
      // Which product is rounded depends on the comparison with the other
      // old dimension: (27 / 3) x 13 against 13 x (27 / 3).
      {27, 0, 3, 13, 1, 27, 117},
      {13, 0, 3, 27, 1, 13, 117},
      {0, 0, 5, 5, 0, 0, 0},
      {-1, 4, 5, 5, 0, -1, 4},
      {4, 0, 0, 5, 0, 4, 0},
      {1, 0, 100, 1, 0, 1, 0},
      {3, 4, 0, 0, 1, 3, 4},
  };
  for (const Case &c : cases) {
    int32_t w = c.w, h = c.h;
    EXPECT_EQ(Rv_IntResolveTargetSize(&w, &h, c.ow, c.oh), c.result) << c.w << " " << c.h;
    EXPECT_EQ(w, c.rw);
    EXPECT_EQ(h, c.rh);
  }
  int32_t w = 1;
  EXPECT_EQ(Rv_IntResolveTargetSize(&w, nullptr, 1, 1), 0);
}

// --- whole bitmaps --------------------------------------------------------------------------

TEST(ResizeBitmap, NearestSamplesAndFallingRows) {
  rvtest::Bitmap src, dst;
  ASSERT_TRUE(rztest::make(src.get(), 3, 2, 24, ORDER_BGR));
  ASSERT_TRUE(rztest::make(dst.get(), 6, 4, 24, ORDER_BGR));
  rztest::put_values(src.get(), {{1, 2, 3}, {4, 5, 6}});
  ASSERT_EQ(Rv_IntResizeBitmap(src.get(), dst.get(), SIZEFLAG_NEAREST), SUCCESS);
  EXPECT_EQ(rztest::values(dst.get(), 0), (std::vector<uint32_t>{1, 1, 2, 2, 3, 3}));
  EXPECT_EQ(rztest::values(dst.get(), 3), (std::vector<uint32_t>{4, 4, 5, 5, 6, 6}));
  // Perspectives 1 and 4 aren't converted: the rows go out falling.
  src->nViewPerspective = VIEW_TOP_LEFT;
  dst->nViewPerspective = VIEW_BOTTOM_LEFT;
  ASSERT_EQ(Rv_ResizeBitmap(src.get(), dst.get(), 0), SUCCESS);
  EXPECT_EQ(rztest::column(dst.get(), 0), (std::vector<uint32_t>{4, 4, 1, 1}));
  // A reduction picks the first pixel of each step.
  rvtest::Bitmap small;
  ASSERT_TRUE(rztest::make(small.get(), 2, 1, 24, ORDER_BGR));
  ASSERT_EQ(Rv_IntResizeBitmap(dst.get(), small.get(), 0), SUCCESS);
  EXPECT_EQ(rztest::values(small.get(), 0), (std::vector<uint32_t>{4, 5}));

  rvtest::Bitmap other, unallocated;
  ASSERT_TRUE(rztest::make(other.get(), 2, 2, 8, 0));
  Rv_InitBitmap(unallocated.get(), RV_BITMAPRECORD_SIZE, 2, 2, 24);
  EXPECT_EQ(Rv_IntResizeBitmap(src.get(), other.get(), 0), ERROR_INVALID_BITS_PER_PIXEL);
  EXPECT_EQ(Rv_IntResizeBitmap(src.get(), unallocated.get(), 0), ERROR_INVALID_IMAGE);
  EXPECT_EQ(Rv_IntResizeBitmap(nullptr, dst.get(), 0), ERROR_INVALID_IMAGE);
  EXPECT_EQ(Rv_ResizeBitmap(nullptr, dst.get(), 0), ERROR_INVALID_PARAMETER);
  other->uStructSize = 3;
  EXPECT_EQ(Rv_ResizeBitmap(src.get(), other.get(), 0), ERROR_INVALID_STRUCT_SIZE);
  other->uStructSize = RV_BITMAPRECORD_SIZE;
  // Another perspective is reached through a temporary: 1 to 2 mirrors the
  // stored rows.
  dst->nViewPerspective = VIEW_TOP_RIGHT;
  ASSERT_EQ(Rv_ResizeBitmap(src.get(), dst.get(), 0), SUCCESS);
  EXPECT_EQ(rztest::values(dst.get(), 0), (std::vector<uint32_t>{3, 3, 2, 2, 1, 1}));
  EXPECT_EQ(src->nViewPerspective, VIEW_TOP_LEFT);
  // Another depth is reached by colour resolution of a temporary copy: an
  // 8-bit destination gets the optimised palette's colours.
  ASSERT_EQ(Rv_ResizeBitmap(src.get(), other.get(), 0), SUCCESS);
  EXPECT_EQ(src->nBitsPerPixel, 24);
  rvtest::Bitmap two, four;
  ASSERT_TRUE(rztest::make(two.get(), 2, 1, 24, ORDER_BGR));
  ASSERT_TRUE(rztest::make(four.get(), 4, 1, 8, 0));
  Rv_PutPixelColor(two.get(), 0, 0, RV_RGB(255, 0, 0));
  Rv_PutPixelColor(two.get(), 0, 1, RV_RGB(0, 0, 255));
  ASSERT_EQ(Rv_ResizeBitmap(two.get(), four.get(), 0), SUCCESS);
  EXPECT_EQ(Rv_GetPixelColor(four.get(), 0, 0), RV_RGB(255, 0, 0));
  EXPECT_EQ(Rv_GetPixelColor(four.get(), 0, 3), RV_RGB(0, 0, 255));
}

TEST(SizeBitmap, ChecksAndTheSameSize) {
  rvtest::Bitmap b, unallocated;
  ASSERT_TRUE(rztest::make(b.get(), 4, 3, 32, ORDER_BGR));
  Rv_InitBitmap(unallocated.get(), RV_BITMAPRECORD_SIZE, 4, 4, 24);
  EXPECT_EQ(Rv_SizeBitmap(nullptr, 2, 2, 0), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_SizeBitmap(unallocated.get(), 2, 2, 0), ERROR_INVALID_PARAMETER);
  unallocated->uStructSize = 12;
  EXPECT_EQ(Rv_SizeBitmap(unallocated.get(), 2, 2, 0), ERROR_INVALID_STRUCT_SIZE);
  EXPECT_EQ(Rv_SizeBitmap(b.get(), 0, 0, 0), ERROR_INVALID_PARAMETER);
  const rvtest::Snapshot before(b.get());  // every alpha is 0 after the fill
  EXPECT_EQ(Rv_SizeBitmap(b.get(), 4, 3, SIZEFLAG_ALPHA_AWARE | SIZEFLAG_LINEAR), SUCCESS);
  EXPECT_TRUE(before.same(b.get()));
  EXPECT_EQ(Rv_SizeBitmap(b.get(), 8, 0, 0), SUCCESS);
  EXPECT_EQ(b->nHeight, 6);
  EXPECT_EQ(Rv_KrnSizeBitmapRgn(nullptr, 1, 1), ERROR_INVALID_IMAGE);
  EXPECT_EQ(Rv_KrnSizeBitmapRgn(b.get(), 1, 1), SUCCESS);
}

// A 1-bit bitmap of `w` x `h`, `black` pixels set to the black value in
// reading order, in the palette given (null: black and white).
void make_page(BITMAPRECORD *b, int32_t w, int32_t h, int32_t black, const RGBQUAD *palette = nullptr) {
  ASSERT_TRUE(rztest::make(b, w, h, 1, 0));
  if (palette != nullptr) {
    Rv_SetBitmapNewPalette(b, palette, 2);
  } else {
    Rv_CreateBitmapGrayPalette(b);
  }
  const bool one_is_black = palette != nullptr && palette[1].rgbRed == 0;
  for (int32_t y = 0; y < h; ++y) {
    std::vector<uint8_t> row(static_cast<size_t>(b->nBytesPerLine), one_is_black ? 0x00 : 0xFF);
    for (int32_t x = 0; x < w; ++x) {
      if (y * w + x < black) rv::px::put_packed(row.data(), 1, static_cast<uint64_t>(x), one_is_black ? 1 : 0);
    }
    Rv_PutBitmapRow(b, row.data(), y, static_cast<uint32_t>(row.size()));
  }
}

TEST(SizeBitmap, BlackPreservingThresholds) {
  // A block of k by k pixels makes one pixel: black from 1, 2, 3, 5, 6 black
  // pixels for k of 2 to 6 (the step between 4 and 5 is the rule's).
  const int32_t thresholds[][2] = {{2, 1}, {3, 2}, {4, 3}, {5, 5}, {6, 6}};
  const RGBQUAD inverted[2] = {{255, 255, 255, 0}, {0, 0, 0, 0}};
  for (const auto &t : thresholds) {
    for (const RGBQUAD *palette : {static_cast<const RGBQUAD *>(nullptr), inverted}) {
      const uint32_t black_value = palette != nullptr ? 1 : 0;
      for (int32_t black : {t[1] - 1, t[1]}) {
        rvtest::Bitmap b;
        make_page(b.get(), t[0], t[0], black, palette);
        ASSERT_EQ(Rv_SizeBitmap(b.get(), 1, 1, SIZEFLAG_BLACK_PRESERVE | SIZEFLAG_LINEAR), SUCCESS);
        ASSERT_EQ(b->nBitsPerPixel, 1);
        const uint32_t pixel = rvtest::read_row(b.get(), 0)[0] >> 7;
        EXPECT_EQ(pixel == black_value, black >= t[1]) << t[0] << " " << black;
      }
    }
  }
  // Runs cross destination columns; a stroke one pixel wide survives 3 to 1
  // in width where picking would lose it.
  rvtest::Bitmap stroke, picked;
  make_page(stroke.get(), 12, 3, 0);
  make_page(picked.get(), 12, 3, 0);
  for (BITMAPRECORD *b : {stroke.get(), picked.get()}) {
    for (int32_t y = 0; y < 3; ++y) {
      std::vector<uint8_t> row(4, 0xFF);
      rv::px::put_packed(row.data(), 1, 4, 0);  // column 4
      rv::px::put_packed(row.data(), 1, 7, 0);  // column 7
      rv::px::put_packed(row.data(), 1, 8, 0);  // column 8: a run over two blocks
      Rv_PutBitmapRow(b, row.data(), y, 4);
    }
  }
  ASSERT_EQ(Rv_SizeBitmap(stroke.get(), 4, 1, SIZEFLAG_BLACK_PRESERVE), SUCCESS);
  EXPECT_EQ(rvtest::read_row(stroke.get(), 0)[0] >> 4, 0x9u);  // columns 1 and 2 black
  ASSERT_EQ(Rv_SizeBitmap(picked.get(), 4, 1, 0), SUCCESS);
  EXPECT_EQ(rvtest::read_row(picked.get(), 0)[0] >> 4, 0xFu);
}

TEST(SizeBitmap, FlagsFallBackWhereTheyDontApply) {
  // A 1-bit colour page takes neither black preservation nor gray results.
  const RGBQUAD colours[2] = {{0, 0, 255, 0}, {255, 0, 0, 0}};
  rvtest::Bitmap colour, plain, gray, cubic, linear;
  make_page(colour.get(), 8, 8, 5, colours);
  make_page(plain.get(), 8, 8, 5, colours);
  ASSERT_EQ(Rv_SizeBitmap(colour.get(), 4, 4, SIZEFLAG_BLACK_PRESERVE | SIZEFLAG_GRAY_RESULT), SUCCESS);
  ASSERT_EQ(Rv_SizeBitmap(plain.get(), 4, 4, 0), SUCCESS);
  EXPECT_EQ(colour->nBitsPerPixel, 1);
  for (int32_t y = 0; y < 4; ++y) EXPECT_EQ(rvtest::read_row(colour.get(), y), rvtest::read_row(plain.get(), y));
  // A gray page gives 8-bit averages over a gray palette.
  make_page(gray.get(), 4, 2, 1);
  ASSERT_EQ(Rv_SizeBitmap(gray.get(), 2, 1, SIZEFLAG_GRAY_RESULT | SIZEFLAG_LINEAR), SUCCESS);
  EXPECT_EQ(gray->nBitsPerPixel, 8);
  EXPECT_EQ(Rv_IntIsGrayScaleBitmap(gray.get(), 0), GRAY_RAMP);
  EXPECT_EQ(rvtest::read_row(gray.get(), 0)[0], 255 * 3 / 4);
  EXPECT_EQ(rvtest::read_row(gray.get(), 0)[1], 255);
  // Both on a gray page: black preservation takes the 8-bit result, which it
  // can't write; the page stays as it was.
  rvtest::Bitmap both;
  make_page(both.get(), 4, 2, 1);
  const rvtest::Snapshot before(both.get());
  EXPECT_EQ(Rv_SizeBitmap(both.get(), 2, 1, SIZEFLAG_GRAY_RESULT | SIZEFLAG_BLACK_PRESERVE), ERROR_INVALID_BITS_PER_PIXEL);
  EXPECT_TRUE(before.same(both.get()));
  // The spline only where a dimension grows.
  for (BITMAPRECORD *b : {cubic.get(), linear.get()}) {
    ASSERT_TRUE(rztest::make(b, 13, 11, 24, ORDER_BGR));
    rvtest::fill_random(b, 77);
  }
  ASSERT_EQ(Rv_SizeBitmap(cubic.get(), 5, 7, SIZEFLAG_CUBIC), SUCCESS);
  ASSERT_EQ(Rv_SizeBitmap(linear.get(), 5, 7, SIZEFLAG_LINEAR), SUCCESS);
  for (int32_t y = 0; y < 7; ++y) EXPECT_EQ(rvtest::read_row(cubic.get(), y), rvtest::read_row(linear.get(), y));
}

TEST(SizeBitmap, TransparentEdgesAreBledFirst) {
  // Row 0: transparent, opaque 200, transparent; row 1: 1, transparent, 3.
  rvtest::Bitmap b;
  ASSERT_TRUE(rztest::make(b.get(), 3, 2, 32, ORDER_BGR));
  const uint8_t rows[2][12] = {{10, 10, 10, 0, 200, 200, 200, 255, 50, 50, 50, 0},
                               {1, 1, 1, 255, 2, 2, 2, 0, 3, 3, 3, 255}};
  for (int32_t y = 0; y < 2; ++y) Rv_PutBitmapRow(b.get(), rows[y], y, 12);
  ASSERT_EQ(Rv_SizeBitmap(b.get(), 3, 4, SIZEFLAG_ALPHA_AWARE), SUCCESS);
  // Along rows the end pixels, their own clamped neighbours, blend twice
  // towards 200; down the columns the picture moves one row down and the
  // transparent pixels of row 0's copy take the colours below them.
  const uint32_t expected[4][3] = {{199, 200, 199}, {199, 200, 199}, {1, 200, 3}, {1, 200, 3}};
  for (int32_t y = 0; y < 4; ++y) {
    for (int32_t x = 0; x < 3; ++x) EXPECT_EQ(rztest::element(b.get(), y, 4 * x, 1), expected[y][x]) << y << x;
  }
  // Without alpha below 2 nothing is bled.
  rvtest::Bitmap opaque;
  ASSERT_TRUE(rztest::make(opaque.get(), 2, 1, 32, ORDER_BGR));
  const uint8_t row[8] = {10, 10, 10, 2, 200, 200, 200, 255};
  Rv_PutBitmapRow(opaque.get(), row, 0, 8);
  ASSERT_EQ(Rv_SizeBitmap(opaque.get(), 4, 1, SIZEFLAG_ALPHA_AWARE), SUCCESS);
  EXPECT_EQ(rztest::element(opaque.get(), 0, 0, 1), 10u);
}

TEST(SizeBitmap, FailuresLeaveTheBitmapAsItWas) {
  struct Case {
    int32_t bits;
    uint32_t flags;
  };
  const Case cases[] = {{24, 0},
                        {1, SIZEFLAG_BLACK_PRESERVE},
                        {1, SIZEFLAG_GRAY_RESULT},
                        {32, SIZEFLAG_ALPHA_AWARE | SIZEFLAG_LINEAR},
                        {24, SIZEFLAG_COARSE_WEIGHTS},
                        {8, SIZEFLAG_CUBIC},
                        {4, SIZEFLAG_LINEAR}};
  for (const Case &c : cases) {
    const int32_t status = rztest::run_with_failures(
        [&c](BITMAPRECORD *b) {
          ASSERT_TRUE(rztest::make(b, 9, 7, c.bits, c.bits <= 8 ? 0 : ORDER_BGR));
          if (c.bits == 8) Rv_CreateBitmapGrayPalette(b);
          rvtest::fill_random(b, 11);
        },
        [&c](BITMAPRECORD *b) { return Rv_SizeBitmap(b, 5, 12, c.flags); });
    EXPECT_EQ(status, SUCCESS) << c.bits;
  }
}

// The region and overlay steps reach the modules that own them.
struct StepLog {
  int32_t width_before = 0, height_before = 0, width = 0, height = 0, region_calls = 0, overlay_calls = 0;
  uint32_t overlay_flags = 99;
  int32_t result = SUCCESS;
};
StepLog g_steps;

TEST(SizeBitmap, RegionAndOverlayStepsGoThroughTheHooks) {
  static const rv::hooks::ResizeSteps steps = {
      [](BITMAPRECORD *b, int32_t w, int32_t h) {
        g_steps.width_before = b->nWidth;
        g_steps.height_before = b->nHeight;
        g_steps.width = w;
        g_steps.height = h;
        ++g_steps.region_calls;
        return g_steps.result;
      },
      [](RVHANDLE, BITMAPRECORD *, BITMAPRECORD *, uint32_t flags) -> int32_t {
        ++g_steps.overlay_calls;
        g_steps.overlay_flags = flags;
        return SUCCESS;
      }};
  rv::hooks::set_resize_steps(&steps);
  rvtest::Bitmap src, dst;
  ASSERT_TRUE(rztest::make(src.get(), 4, 6, 24, ORDER_BGR));
  ASSERT_TRUE(rztest::make(dst.get(), 8, 3, 24, ORDER_BGR));
  int marker = 0;
  dst->pRgnInfo = &marker;
  dst->hOverlays = &marker;
  EXPECT_EQ(Rv_ResampleBitmapInt(src.get(), dst.get(), RV_BITMAPRECORD_SIZE, SIZEFLAG_ALPHA_AWARE), SUCCESS);
  EXPECT_EQ(g_steps.region_calls, 1);
  EXPECT_EQ(g_steps.width_before, 4);  // the region is scaled from the source's size
  EXPECT_EQ(g_steps.height_before, 6);
  EXPECT_EQ(g_steps.width, 8);
  EXPECT_EQ(g_steps.height, 3);
  EXPECT_EQ(dst->nWidth, 8);
  EXPECT_EQ(g_steps.overlay_flags, 0u);
  // The nearest-sample Int form leaves both alone; a failing region step is
  // the call's result.
  EXPECT_EQ(Rv_IntResizeBitmap(src.get(), dst.get(), 0), SUCCESS);
  EXPECT_EQ(g_steps.region_calls, 1);
  g_steps.result = ERROR_INVALID_TILE;
  EXPECT_EQ(Rv_KrnSizeBitmapRgn(dst.get(), 2, 2), ERROR_INVALID_TILE);
  EXPECT_EQ(Rv_ResizeBitmap(src.get(), dst.get(), SIZEFLAG_LINEAR), ERROR_INVALID_TILE);
  dst->pRgnInfo = nullptr;
  dst->hOverlays = nullptr;
  rv::hooks::set_resize_steps(nullptr);
}

}  // namespace
