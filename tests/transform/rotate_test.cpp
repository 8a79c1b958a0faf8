#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "internal/fault.h"
#include "internal/memory.h"
#include "internal/record.h"
#include "internal/simd.h"
#include "transform/pictures.h"
#include "transform/rotate90.h"
#include "transform/trig.h"

namespace {

using rvtest::Grid;

TEST(Trig, TableAndQuadrants) {
  EXPECT_EQ(rv::xform::kSineTable[0], 0);
  EXPECT_EQ(rv::xform::kSineTable[4500], 11585);
  EXPECT_EQ(rv::xform::kSineTable[9000], 16384);
  struct Case {
    int32_t angle, sin, cos;
  };
  const Case cases[] = {{0, 0, 16384},         {4500, 11585, 11585},  {9000, 16384, 0},
                        {13500, 11585, -11585}, {18000, 0, -16384},   {22500, -11585, -11585},
                        {27000, -16384, 0},     {31500, -11585, 11585}, {36000, 0, 16384},
                        {-9000, -16384, 0}};
  for (const Case &c : cases) {
    EXPECT_EQ(Rv_SinValue(c.angle), c.sin) << c.angle;
    EXPECT_EQ(Rv_CosValue(c.angle), c.cos) << c.angle;
  }
}

TEST(RotateBuffer, QuarterAndHalfTurnsOfPlainRows) {
  // Two rows of three 8-bit pixels (rows padded to four bytes).
  const uint8_t src[8] = {1, 2, 3, 0, 4, 5, 6, 0};
  uint8_t out[12] = {};
  ASSERT_EQ(Rv_RotateBuffer90(src, out, TRUE, 3, 2, 8), SUCCESS);  // the last row becomes the first column
  EXPECT_EQ(std::vector<uint8_t>(out, out + 12), (std::vector<uint8_t>{4, 1, 0, 0, 5, 2, 0, 0, 6, 3, 0, 0}));
  ASSERT_EQ(Rv_RotateBuffer90(src, out, FALSE, 3, 2, 8), SUCCESS);
  EXPECT_EQ(std::vector<uint8_t>(out, out + 12), (std::vector<uint8_t>{3, 6, 0, 0, 2, 5, 0, 0, 1, 4, 0, 0}));
  uint8_t half[8];
  std::memcpy(half, src, 8);
  ASSERT_EQ(Rv_RotateBuffer180(half, half, 3, 2, 8), SUCCESS);  // in place
  EXPECT_EQ(std::vector<uint8_t>(half, half + 8), (std::vector<uint8_t>{6, 5, 4, 0, 3, 2, 1, 0}));
  EXPECT_EQ(Rv_RotateBuffer90(nullptr, out, TRUE, 3, 2, 8), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_RotateBuffer180(src, nullptr, 3, 2, 8), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_RotateBuffer90(src, out, TRUE, 3, 2, 10), ERROR_INVALID_BITS_PER_PIXEL);
  EXPECT_EQ(Rv_RotateBuffer90(src, out, TRUE, 3, 0, 8), SUCCESS);
}

// The blocked transpose of flat memory (with vectors and without), the
// column-by-column form that serves every storage and the buffer turn give
// the same bytes, past band and block edges, at every depth.
TEST(QuarterTurn, FastPathGivesTheBytesOfThePlainOne) {
  for (int32_t bits : rvtest::kAllDepths) {
    for (auto [w, h] : {std::pair{70, 67}, std::pair{21, 530}}) {  // past a block; past a band
      for (bool clockwise : {true, false}) {
        rvtest::Bitmap src, plain;
        ASSERT_TRUE(rvtest::make(src.get(), w, h, bits));
        ASSERT_TRUE(rvtest::make(plain.get(), h, w, bits));
        rvtest::fill_random(src.get(), 100 + bits);
        rv::xform::RangeProgress progress(h, 0, 100);
        ASSERT_EQ(rv::xform::quarter_turn_rows(src.get(), plain.get(), clockwise, progress), SUCCESS);
        const size_t size = rv::flat_size(plain.get());
        for (auto level : {rv::simd::Level::Plain, rv::simd::detected()}) {
          rv::simd::ScopedLevel force(level);
          rvtest::Bitmap fast;
          ASSERT_TRUE(rvtest::make(fast.get(), h, w, bits));
          ASSERT_EQ(rv::xform::quarter_turn_flat(src.get(), fast.get(), clockwise, progress), SUCCESS);
          std::vector<uint8_t> buffer(size, 0);
          ASSERT_EQ(Rv_RotateBuffer90(src->pData, buffer.data(), clockwise, static_cast<uint32_t>(w),
                                      static_cast<uint32_t>(h), static_cast<uint32_t>(bits)),
                    SUCCESS);
          ASSERT_EQ(std::memcmp(fast->pData, plain->pData, size), 0) << bits << " bits, " << w << " x " << h;
          ASSERT_EQ(std::memcmp(buffer.data(), plain->pData, size), 0) << bits << " bits, " << w << " x " << h;
        }
      }
    }
  }
}

// Four quarter turns and two flips give back the picture at every depth; one
// turn is the picture turned clockwise.
TEST(QuarterTurn, FourTurnsAndTwoFlipsGiveTheOriginal) {
  for (int32_t bits : rvtest::kAllDepths) {
    for (auto [w, h] : {std::pair{13, 7}, std::pair{69, 66}}) {
      rvtest::Bitmap b;
      ASSERT_TRUE(rvtest::make(b.get(), w, h, bits));
      rvtest::fill_random(b.get(), 7 * bits + w);
      b->nViewPerspective = VIEW_TOP_LEFT;
      const Grid before = rvtest::grid_of(b.get());
      ASSERT_EQ(Rv_RotateBitmap90(b.get(), TRUE, 0, 100), SUCCESS);
      ASSERT_EQ(rvtest::grid_of(b.get()), rvtest::turned_clockwise(before)) << bits;
      for (int i = 0; i < 3; ++i) ASSERT_EQ(Rv_RotateBitmap90(b.get(), TRUE, 0, 100), SUCCESS);
      for (int i = 0; i < 2; ++i) ASSERT_EQ(Rv_IntFlipBitmap(b.get()), SUCCESS);
      EXPECT_EQ(b->nWidth, w);
      EXPECT_EQ(rvtest::grid_of(b.get()), before) << bits << " bits, " << w << " x " << h;
    }
  }
}

// The perspective is folded into the angle: in every perspective a positive
// angle turns the displayed picture clockwise.
TEST(QuarterTurn, TurnsTheDisplayedPictureInEveryPerspective) {
  for (int32_t view = 1; view <= 8; ++view) {
    for (int32_t quarters = 0; quarters < 4; ++quarters) {
      rvtest::Bitmap b;
      ASSERT_TRUE(rvtest::make(b.get(), 7, 5, 8));
      rvtest::fill_random(b.get(), 3);
      b->nViewPerspective = view;
      Grid want = rvtest::displayed(b.get());
      for (int32_t i = 0; i < quarters; ++i) want = rvtest::turned_clockwise(want);
      ASSERT_EQ(Rv_RotateBitmap(b.get(), 9000 * quarters, ROTATEFLAG_RESIZE, 0), SUCCESS);
      EXPECT_TRUE(b->nViewPerspective == 1 || b->nViewPerspective == 4);
      EXPECT_EQ(rvtest::displayed(b.get()), want) << "view " << view << ", " << quarters << " quarters";
    }
  }
}

// A 5 by 4 24-bit picture turned by 30 degrees about its centre, worked out
// by hand from the walk: nearest pixels, the three-sample correction and the
// spline.
TEST(Rotate, HandCheckedSampling) {
  struct Case {
    uint32_t flags;
    int32_t view;
    std::vector<uint8_t> want;
  };
  const Case cases[] = {
      {0, 1, {0,   0,   0,   0,   0,   10,  50,  3,   10,  0,   0,   0,   0,   0,   0,   14,  120, 10,  57,  63,
              30,  107, 66,  50,  150, 9,   10,  150, 9,   10,  21,  180, 10,  64,  123, 50,  114, 126, 90,  157,
              69,  70,  207, 72,  90,  0,   0,   0,   121, 186, 130, 171, 189, 190, 214, 132, 170, 214, 132, 170}},
      {ROTATEFLAG_LINEAR, 1,
       {0,   0,   0,   12,  27,  10,  57,  3,   10,  0,   0,   0,   0,   0,   0,   13,  105, 10,  53,  82,
        34,  93,  56,  38,  137, 27,  29,  139, 9,   9,   34,  162, 29,  78,  133, 63,  118, 107, 83,  159,
        79,  80,  203, 53,  64,  0,   0,   0,   107, 177, 115, 159, 162, 153, 193, 133, 156, 162, 76,  96}},
      {ROTATEFLAG_CUBIC | ROTATEFLAG_LINEAR, 1,
       {0,   0,   0,   15,  25,  13,  57,  3,   9,   0,   0,   0,   0,   0,   0,   11,  105, 9,   48,  85,
        31,  93,  52,  37,  140, 22,  22,  158, 5,   5,   42,  198, 33,  84,  142, 71,  121, 108, 83,  162,
        81,  83,  220, 51,  61,  0,   0,   0,   108, 180, 116, 165, 180, 164, 214, 146, 174, 130, 63,  82}},
      {0, 4, {0,   0,   0,   100, 6,   10,  150, 9,   10,  207, 72,  90,  207, 72,  90,  0,   0,   10,  57,  63,
              30,  107, 66,  50,  164, 129, 130, 214, 132, 170, 7,   60,  10,  64,  123, 50,  114, 126, 90,  171,
              189, 190, 171, 189, 190, 0,   0,   0,   21,  180, 10,  71,  183, 70,  0,   0,   0,   0,   0,   0}},
  };
  for (const Case &c : cases) {
    rvtest::Bitmap b;
    ASSERT_TRUE(rvtest::make(b.get(), 5, 4, 24));
    for (int32_t y = 0; y < 4; ++y) {
      uint8_t row[16] = {};
      for (int32_t x = 0; x < 5; ++x) {
        row[3 * x] = static_cast<uint8_t>(x * 50 + y * 7);
        row[3 * x + 1] = static_cast<uint8_t>(y * 60 + x * 3);
        row[3 * x + 2] = static_cast<uint8_t>(x * y * 20 + 10);
      }
      Rv_PutBitmapRow(b.get(), row, y, 16);
    }
    b->nViewPerspective = c.view;
    ASSERT_EQ(Rv_RotateBitmap(b.get(), 3000, c.flags, RV_RGB(0, 0, 0)), SUCCESS);
    ASSERT_EQ(b->nWidth, 5);
    std::vector<uint8_t> got;
    for (int32_t y = 0; y < 4; ++y) {
      const auto row = rvtest::read_row(b.get(), y);
      got.insert(got.end(), row.begin(), row.begin() + 15);
    }
    EXPECT_EQ(got, c.want) << "flags " << c.flags << ", view " << c.view;
  }
}

// A bitmap whose rows the data callbacks serve from a vector: storage that
// isn't flat memory, read and written through the row functions.
struct Served {
  std::vector<uint8_t> data;
  uint32_t bytes_per_line = 0;
  rvtest::Bitmap b;
  static int32_t get(BITMAPRECORD *b, void *buffer, int32_t row, int32_t col, uint32_t n, void *user) {
    auto *s = static_cast<Served *>(user);
    std::memcpy(buffer, s->data.data() + s->bytes_per_line * row + Rv_IntColToByte(b->nBitsPerPixel, col), n);
    return static_cast<int32_t>(n);
  }
  static int32_t put(BITMAPRECORD *b, const void *buffer, int32_t row, int32_t col, uint32_t n, void *user) {
    auto *s = static_cast<Served *>(user);
    std::memcpy(s->data.data() + s->bytes_per_line * row + Rv_IntColToByte(b->nBitsPerPixel, col), buffer, n);
    return static_cast<int32_t>(n);
  }
  Served(BITMAPRECORD *like) : data(rv::flat_size(like)), bytes_per_line(static_cast<uint32_t>(like->nBytesPerLine)) {
    BITMAPDATACALLBACKS cb{};
    cb.uStructSize = RV_BITMAPDATACALLBACKS_SIZE;
    cb.pUserData = this;
    cb.pfnGetRow = get;
    cb.pfnPutRow = put;
    Rv_InitBitmapWithCallbacks(b.get(), RV_BITMAPRECORD_SIZE, like->nWidth, like->nHeight, like->nBitsPerPixel, &cb);
    Rv_AllocateBitmap(b.get(), BITMAPMEM_NO_MEMORY);
    std::memcpy(data.data(), like->pData, data.size());
    b->nViewPerspective = like->nViewPerspective;
  }
};

// Pixels read one at a time and rows written as columns through the row
// functions give what the paths over flat memory give.
TEST(Rotate, StorageOutsideFlatMemoryGivesTheSameResult) {
  const uint32_t flags[] = {ROTATEFLAG_RESIZE, ROTATEFLAG_RESIZE | ROTATEFLAG_LINEAR, ROTATEFLAG_CUBIC};
  for (int32_t bits : {1, 4, 12, 16, 24}) {
    for (int32_t angle : {9000, 1750, -2500}) {
      for (uint32_t f : flags) {
        rvtest::Bitmap flat;
        ASSERT_TRUE(rvtest::make(flat.get(), 23, 17, bits));
        rvtest::fill_random(flat.get(), 31 + bits);
        Served served(flat.get());
        ASSERT_EQ(Rv_RotateBitmap(flat.get(), angle, f, 0), SUCCESS);
        ASSERT_EQ(Rv_RotateBitmap(served.b.get(), angle, f, 0), SUCCESS);
        EXPECT_EQ(rvtest::grid_of(served.b.get()), rvtest::grid_of(flat.get())) << bits << " bits, " << angle;
      }
    }
  }
}

// Depths below 8 sample the same pixels as 8 bits do.
TEST(Rotate, PackedDepthsSampleLikeBytes) {
  for (int32_t bits : {1, 3, 4}) {
    rvtest::Bitmap packed, bytes;
    ASSERT_TRUE(rvtest::make(packed.get(), 37, 29, bits));
    ASSERT_TRUE(rvtest::make(bytes.get(), 37, 29, 8));
    rvtest::fill_random(packed.get(), 77);
    for (int32_t y = 0; y < 29; ++y) {
      const auto row = rvtest::read_row(packed.get(), y);
      for (int32_t x = 0; x < 37; ++x) bytes->pData[y * bytes->nBytesPerLine + x] = rv::px::get_packed(row.data(), bits, x);
    }
    ASSERT_EQ(Rv_RotateBitmap(packed.get(), 150, ROTATEFLAG_RESIZE, RV_PALETTE_INDEX(0)), SUCCESS);
    ASSERT_EQ(Rv_RotateBitmap(bytes.get(), 150, ROTATEFLAG_RESIZE, RV_PALETTE_INDEX(0)), SUCCESS);
    ASSERT_EQ(packed->nWidth, bytes->nWidth);
    for (int32_t y = 0; y < packed->nHeight; ++y) {
      const auto row = rvtest::read_row(packed.get(), y);
      for (int32_t x = 0; x < packed->nWidth; ++x) {
        ASSERT_EQ(rv::px::get_packed(row.data(), bits, x), bytes->pData[y * bytes->nBytesPerLine + x]) << bits;
      }
    }
  }
}

// Interpolation needs values that are levels: a paletted 8-bit picture, or
// gray read through a lookup table, takes the nearest pixels whatever the
// flags; an 8-bit gray ramp interpolates.
TEST(Rotate, InterpolationOnlyWhereValuesAreLevels) {
  struct Case {
    int32_t bits;
    bool gray_palette, lut, interpolates;
  };
  const Case cases[] = {{8, false, false, false}, {8, true, false, true}, {16, false, true, false},
                        {16, false, false, true}};
  for (const Case &c : cases) {
    Grid results[2];
    for (int i = 0; i < 2; ++i) {
      rvtest::Bitmap b;
      ASSERT_TRUE(rvtest::make(b.get(), 15, 11, c.bits));
      rvtest::fill_random(b.get(), 4);
      if (c.bits == 16) b->nOrder = ORDER_GRAY;
      if (c.gray_palette) {
        b->pPalette = static_cast<RGBQUAD *>(rv::alloc_block(256 * sizeof(RGBQUAD), false));
        for (int k = 0; k < 256; ++k) b->pPalette[k] = RGBQUAD{uint8_t(k), uint8_t(k), uint8_t(k), 0};
      }
      if (c.lut) {
        b->pLUT = static_cast<RGBQUAD *>(rv::alloc_block(65536 * sizeof(RGBQUAD), true));
        b->uLUTLength = 65536;
      }
      ASSERT_EQ(Rv_RotateBitmap(b.get(), 1234, i ? ROTATEFLAG_LINEAR : 0, 0), SUCCESS);
      results[i] = rvtest::grid_of(b.get());
    }
    EXPECT_EQ(results[0] != results[1], c.interpolates) << c.bits << " bits";
  }
}

TEST(Rotate, SizesShortcutsAndResolutions) {
  struct Case {
    int32_t w, h, angle;
    uint32_t flags;
    int32_t want_w, want_h, want_xres, want_yres;
  };
  const Case cases[] = {
      {100, 100, 4500, ROTATEFLAG_RESIZE, 142, 142, 200, 200},  // trunc(141.42 + 0.6); equal resolutions stay
      {6, 4, 9000, 0, 6, 4, 300, 100},                           // not square, no resize: the general path
      {6, 4, 9000, ROTATEFLAG_RESIZE, 4, 6, 300, 100},           // the quarter turn
      {6, 4, 18000, 0, 6, 4, 100, 300},
      {6, 4, 9000, ROTATEFLAG_CENTER, 4, 6, 300, 100},  // about (0, 0), into the bounding box
  };
  for (const Case &c : cases) {
    rvtest::Bitmap b;
    ASSERT_TRUE(rvtest::make(b.get(), c.w, c.h, 8));
    b->nXResolution = c.w == c.h ? 200 : 100;
    b->nYResolution = c.w == c.h ? 200 : 300;
    ASSERT_EQ(Rv_IntRotateBitmap(b.get(), c.angle, c.flags, 0, 0, 100, 0, 0), SUCCESS);
    EXPECT_EQ(b->nWidth, c.want_w) << c.angle;
    EXPECT_EQ(b->nHeight, c.want_h) << c.angle;
    EXPECT_EQ(b->nXResolution, c.want_xres) << c.angle << " flags " << c.flags;
    EXPECT_EQ(b->nYResolution, c.want_yres) << c.angle << " flags " << c.flags;
  }
  // 36000 is no turn at all, and -9000 is 27000.
  rvtest::Bitmap a, b;
  ASSERT_TRUE(rvtest::make(a.get(), 9, 5, 4));
  ASSERT_TRUE(rvtest::make(b.get(), 9, 5, 4));
  rvtest::fill_random(a.get(), 2);
  rvtest::fill_random(b.get(), 2);
  const Grid before = rvtest::grid_of(a.get());
  ASSERT_EQ(Rv_RotateBitmap(a.get(), 36000, 0, 0), SUCCESS);
  EXPECT_EQ(rvtest::grid_of(a.get()), before);
  ASSERT_EQ(Rv_RotateBitmap(a.get(), -9000, ROTATEFLAG_RESIZE, 0), SUCCESS);
  ASSERT_EQ(Rv_RotateBitmap(b.get(), 27000, ROTATEFLAG_RESIZE, 0), SUCCESS);
  EXPECT_EQ(rvtest::grid_of(a.get()), rvtest::grid_of(b.get()));
  EXPECT_EQ(Rv_RotateBitmap(nullptr, 100, 0, 0), ERROR_INVALID_IMAGE);
  BITMAPRECORD bad{};
  bad.uStructSize = 216;
  EXPECT_EQ(Rv_RotateBitmap(&bad, 100, 0, 0), ERROR_INVALID_STRUCT_SIZE);
}

// A 32-bit gray bitmap's recorded range takes in the fill, where it is set.
TEST(Rotate, GrayRangeTakesTheFill) {
  rvtest::Bitmap b;
  ASSERT_TRUE(rvtest::make(b.get(), 8, 8, 32));
  b->nOrder = ORDER_GRAY;
  b->nMinVal = 10;
  b->nMaxVal = -1;  // not set
  ASSERT_EQ(Rv_RotateBitmap(b.get(), 1000, 0, RV_GRAY_LEVEL(5)), SUCCESS);
  EXPECT_EQ(b->nMinVal, 5);
  EXPECT_EQ(b->nMaxVal, -1);
}

TEST(Rotate, ProgressIsScaledIntoTheGivenShare) {
  struct Case {
    int32_t angle;
    uint32_t flags;
    int32_t start, end;
    std::vector<int32_t> heard;
  };
  const Case cases[] = {
      {0, 0, 20, 40, {20, 40}},                       // no turn: both ends
      {0, 0, 30, 30, {30}},
      {1000, 0, 20, 40, {20, 25, 30, 35, 40}},        // four rows of the general path
      {9000, ROTATEFLAG_RESIZE, 0, 50, {0, 12, 25, 37, 50}},  // four source rows of the quarter turn
      {18000, 0, 0, 100, {0, 50, 100}},               // two row pairs
  };
  for (const Case &c : cases) {
    rvtest::Bitmap b;
    ASSERT_TRUE(rvtest::make(b.get(), 4, 4, 24));
    rvtest::Progress progress;
    ASSERT_EQ(Rv_IntRotateBitmap(b.get(), c.angle, c.flags, 0, c.start, c.end, 0, 0), SUCCESS);
    EXPECT_EQ(progress.heard, c.heard) << c.angle;
  }
}

// Whatever allocation fails, and wherever the callback stops, the bitmap is
// left as it was: size, perspective and pixels. (An allocation that a step
// can do without, such as a palette search's, may fail with the turn still
// done.)
TEST(Rotate, FailureLeavesTheBitmap) {
  struct Case {
    int32_t angle;
    uint32_t flags;
  };
  // In perspective 2 a turn by 0 is a half turn of the storage.
  const Case cases[] = {{1750, ROTATEFLAG_RESIZE | ROTATEFLAG_CUBIC}, {9000, ROTATEFLAG_RESIZE}, {0, 0}};
  for (const Case &c : cases) {
    for (int32_t bits : {1, 24}) {
      for (int64_t n = -1; n < 60; ++n) {
        rvtest::Bitmap b;
        ASSERT_TRUE(rvtest::make(b.get(), 11, 6, bits));
        rvtest::fill_random(b.get(), 9);
        b->nViewPerspective = VIEW_TOP_RIGHT;
        const Grid before = rvtest::grid_of(b.get());
        rvtest::Progress progress;
        if (n < 0) progress.stop_at = 2;  // first the callback's stop
        rv::fault::fail_after(n);
        const int32_t status = Rv_RotateBitmap(b.get(), c.angle, c.flags, 0);
        const bool fired = rv::fault::fired();
        rv::fault::fail_after(-1);
        if (n < 0) {
          EXPECT_EQ(status, ERROR_USER_ABORT);
        }
        if (n >= 0 && !fired) {
          EXPECT_EQ(status, SUCCESS);
          break;
        }
        if (status == SUCCESS) continue;
        EXPECT_TRUE(b->nWidth == 11 && b->nViewPerspective == VIEW_TOP_RIGHT && rvtest::grid_of(b.get()) == before)
            << c.angle << ", " << bits << " bits, failure " << n;
      }
    }
  }
}

}  // namespace
