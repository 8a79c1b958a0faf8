#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "internal/simd.h"
#include "transform/resample_rows.h"
#include "transform/resize_support.h"

namespace {

using Values = std::vector<uint32_t>;
using Fill = int32_t (*)(BITMAPRECORD *, BITMAPRECORD *, uint32_t, uint32_t);

// One row (or column, `vertical`) of values through an Int form into a
// bitmap of `out` values, at 24 bits or as 16-bit gray words.
Values through(Fill fill, const Values &in, int32_t out, bool vertical, int32_t bits = 24, uint32_t flags = 0) {
  const int32_t order = bits == 24 ? ORDER_BGR : ORDER_GRAY;
  const auto n = static_cast<int32_t>(in.size());
  rvtest::Bitmap src, dst;
  EXPECT_TRUE(rztest::make(src.get(), vertical ? 1 : n, vertical ? n : 1, bits, order));
  EXPECT_TRUE(rztest::make(dst.get(), vertical ? 1 : out, vertical ? out : 1, bits, order));
  std::vector<Values> rows;
  if (vertical) {
    for (uint32_t v : in) rows.push_back({v});
  } else {
    rows.push_back(in);
  }
  rztest::put_values(src.get(), rows);
  EXPECT_EQ(fill(src.get(), dst.get(), RV_BITMAPRECORD_SIZE, flags), SUCCESS);
  return vertical ? rztest::column(dst.get(), 0) : rztest::values(dst.get(), 0);
}

struct Case {
  const char *what;
  Fill fill;
  Values in;
  int32_t out;
  int32_t bits;
  Values expected;
};

// Hand-worked rows, the same along a row and down a column (the spline's
// window is worked separately below).
TEST(Resample, RampsAreasAndCoarseWeights) {
  const Case cases[] = {
      // n = 4: two copies centre the first pixel, the ramp, and the flat tail.
      {"ramp 2 to 8", Rv_ResampleBitmapInt, {0, 100}, 8, 24, {0, 0, 0, 25, 50, 75, 100, 100}},
      // A falling ramp floors its quotient and carries a positive rest.
      {"falling ramp 2 to 6", Rv_ResampleBitmapInt, {10, 0}, 6, 24, {10, 10, 6, 3, 0, 0}},
      {"equal sizes", Rv_ResampleBitmapInt, {7, 9, 200}, 3, 24, {7, 9, 200}},
      {"one pixel", Rv_ResampleBitmapInt, {42}, 5, 24, {42, 42, 42, 42, 42}},
      // 3 to 2: wl 4096 and wr 2048, then 2048 and 4096.
      {"area 3 to 2", Rv_ResampleBitmapInt, {10, 40, 100}, 2, 24, {(4096 * 10 + 2048 * 40) / 6144,
                                                                     (2048 * 40 + 4096 * 100) / 6144}},
      // 7 to 3: step 9557 (si 2, sf 1365), wr 1365; F = 1024: step 2389, wr 341.
      {"area 7 to 3", Rv_ResampleBitmapInt, {0, 0, 60000, 0, 0, 0, 60000}, 3, 16,
       {60000u * 1365 / 9557, 60000u * (4096 - 1365) / (4096 - 1365 + 4096 + 2730), 60000u * 4095 / (1366 + 4096 + 4095)}},
      {"coarse 7 to 3", Rv_IntResampleCoarseBitmapInt, {0, 0, 60000, 0, 0, 0, 60000}, 3, 16,
       {60000u * 341 / 2389, 60000u * (1024 - 341) / (1024 - 341 + 1024 + 682), 60000u * 1023 / (342 + 1024 + 1023)}},
      {"box 4 to 2", Rv_ResampleBitmapInt, {1, 2, 200, 255}, 2, 24, {1, 227}},
      {"box 6 to 2", Rv_ResampleBitmapInt, {1, 2, 4, 200, 255, 100}, 2, 24, {2, 185}},
  };
  for (const Case &c : cases) {
    for (bool vertical : {false, true}) {
      EXPECT_EQ(through(c.fill, c.in, c.out, vertical, c.bits), c.expected) << c.what << (vertical ? " down" : "");
    }
  }
}

TEST(Resample, SplineValuesInSinglePrecision) {
  // Worked in single precision step by step: each sum rounded to a float,
  // then 0.49999 added in double and truncated.
  const Case rows[] = {
      {"2 to 4", Rv_BicubicResampleBitmapInt, {0, 100}, 4, 24, {0, 0, 50, 100}},
      // The copies after the first output are trunc(0.5 / ratio) taken in
      // single precision: 0.5 / 0.16666667f is 3 (in double it would be 2).
      {"2 to 12", Rv_BicubicResampleBitmapInt, {0, 120}, 12, 24, {0, 0, 0, 0, 20, 40, 60, 80, 100, 120, 120, 120}},
      {"3 to 6", Rv_BicubicResampleBitmapInt, {0, 100, 0}, 6, 24, {0, 0, 69, 100, 69, 0}},
      {"5 to 13", Rv_BicubicResampleBitmapInt, {10, 200, 30, 220, 40}, 13, 16,
       {10, 10, 83, 156, 151, 49, 22, 69, 166, 224, 187, 87, 40}},
  };
  for (const Case &c : rows) EXPECT_EQ(through(c.fill, c.in, c.out, false, c.bits), c.expected) << c.what;
  // Down a column the window of four rows takes straight outer rows.
  const Case columns[] = {
      {"3 to 6", Rv_BicubicResampleBitmapInt, {0, 100, 0}, 6, 24, {0, 0, 58, 100, 57, 0}},
      {"5 to 10", Rv_BicubicResampleBitmapInt, {10, 200, 30, 220, 40}, 10, 16,
       {10, 10, 118, 200, 115, 30, 126, 220, 144, 40}},
      {"5 to 13", Rv_BicubicResampleBitmapInt, {10, 200, 30, 220, 40}, 13, 16,
       {10, 10, 90, 174, 185, 106, 36, 79, 172, 216, 153, 67, 28}},
  };
  for (const Case &c : columns) EXPECT_EQ(through(c.fill, c.in, c.out, true, c.bits), c.expected) << c.what;
}

TEST(Resample, SplineBackSubstitutionLeavesTheUpperChannelsOfPixelNMinus3) {
  // Three equal channels part ways: the back substitution stops short of the
  // upper channels of pixel n - 3 and the first element of pixel 1.
  rvtest::Bitmap src, dst;
  ASSERT_TRUE(rztest::make(src.get(), 5, 1, 24, ORDER_BGR));
  ASSERT_TRUE(rztest::make(dst.get(), 10, 1, 24, ORDER_BGR));
  rztest::put_values(src.get(), {{10, 200, 30, 220, 40}});
  ASSERT_EQ(Rv_BicubicResampleBitmapInt(src.get(), dst.get(), RV_BITMAPRECORD_SIZE, 0), SUCCESS);
  const uint8_t expected[10][3] = {{10, 10, 10},   {10, 10, 10},   {105, 139, 139}, {200, 200, 200}, {57, 149, 149},
                                   {30, 30, 30},   {116, 174, 174}, {220, 220, 220}, {179, 179, 179}, {40, 40, 40}};
  const auto row = rvtest::read_row(dst.get(), 0);
  for (int x = 0; x < 10; ++x) {
    for (int c = 0; c < 3; ++c) EXPECT_EQ(row[3 * x + c], expected[x][c]) << x << " " << c;
  }
}

TEST(Resample, HeightsShrinkWithTheEngineOwnFraction) {
  // 5 to 3 rows: the fixed-point fraction truncates (2730), the spline
  // engine's rounds (2731), which moves the bottom weight of row 1.
  const Values column = {0, 0, 0, 65535, 0};
  EXPECT_EQ(through(Rv_ResampleBitmapInt, column, 3, true, 16)[1], 65535u * 1364 / (1366 + 4096 + 1364));
  EXPECT_EQ(through(Rv_BicubicResampleBitmapInt, column, 3, true, 16)[1], 65535u * 1365 / (1366 + 4096 + 1365));
}

TEST(Resample, SignedWordsAverageBlocksOfTwoByAShift) {
  // A block of a power of two is shifted (rounding down), others divided
  // (rounding towards zero).
  const Values pow2 = {0xFFFF, 0xFFFE};  // -1 and -2
  const Values three = {0xFFFF, 0xFFFE, 0};
  auto signed_through = [](const Values &in) {
    rvtest::Bitmap src, dst;
    EXPECT_TRUE(rztest::make(src.get(), static_cast<int32_t>(in.size()), 1, 16, ORDER_GRAY));
    EXPECT_TRUE(rztest::make(dst.get(), 1, 1, 16, ORDER_GRAY));
    src->uFlags |= BITMAPFLAG_SIGNED;
    rztest::put_values(src.get(), {in});
    EXPECT_EQ(Rv_ResampleBitmapInt(src.get(), dst.get(), RV_BITMAPRECORD_SIZE, 0), SUCCESS);
    return static_cast<int16_t>(rztest::values(dst.get(), 0)[0]);
  };
  EXPECT_EQ(signed_through(pow2), -2);
  EXPECT_EQ(signed_through(three), -1);
}

TEST(Resample, AlphaWeighting) {
  auto shrink = [](const std::vector<uint8_t> &bgra, int32_t out, uint32_t flags) {
    rvtest::Bitmap src, dst;
    EXPECT_TRUE(rztest::make(src.get(), static_cast<int32_t>(bgra.size() / 4), 1, 32, ORDER_BGR));
    EXPECT_TRUE(rztest::make(dst.get(), out, 1, 32, ORDER_BGR));
    std::vector<uint8_t> row(bgra);
    row.resize(static_cast<size_t>(src->nBytesPerLine));
    Rv_PutBitmapRow(src.get(), row.data(), 0, static_cast<uint32_t>(row.size()));
    EXPECT_EQ(Rv_ResampleBitmapInt(src.get(), dst.get(), RV_BITMAPRECORD_SIZE, flags), SUCCESS);
    return rvtest::read_row(dst.get(), 0);
  };
  const std::vector<uint8_t> pair = {200, 0, 0, 0, 100, 0, 0, 255};
  // Whole multiples: colours weigh alpha + 1, alpha is the plain average.
  EXPECT_EQ(shrink(pair, 1, SIZEFLAG_ALPHA_AWARE)[0], (200 * 1 + 100 * 256) / 257);
  EXPECT_EQ(shrink(pair, 1, SIZEFLAG_ALPHA_AWARE)[3], 127);
  EXPECT_EQ(shrink(pair, 1, 0)[0], 150);
  // Fully transparent pixels keep the plain average of their colours.
  EXPECT_EQ(shrink({200, 0, 0, 0, 100, 0, 0, 0}, 1, SIZEFLAG_ALPHA_AWARE)[0], 150);
  const std::vector<uint8_t> three = {30, 0, 0, 0, 60, 0, 0, 255, 90, 0, 0, 10};
  EXPECT_EQ(shrink(three, 1, SIZEFLAG_ALPHA_AWARE)[0], (30 * 1 + 60 * 256 + 90 * 11) / 268);
  EXPECT_EQ(shrink(three, 1, SIZEFLAG_ALPHA_AWARE)[3], (255 + 10) / 3);
  // Partial windows weigh ((a + 1) x w) >> 8: 3 to 2 has pixel 0 whole
  // (weight 16) and half of pixel 1 (256 x 2048 >> 8); alpha by area.
  EXPECT_EQ(shrink(three, 2, SIZEFLAG_ALPHA_AWARE)[0], (30 * 16 + 60 * 2048) / (16 + 2048));
  EXPECT_EQ(shrink(three, 2, SIZEFLAG_ALPHA_AWARE)[3], 255 * 2048 / 6144);
}

TEST(Resample, Gray32KeepsItsWordsInTheFixedEngineAndGoesThroughBytesInTheSpline) {
  rvtest::Bitmap src, fixed, spline;
  ASSERT_TRUE(rztest::make(src.get(), 2, 1, 32, ORDER_GRAY));
  ASSERT_TRUE(rztest::make(fixed.get(), 1, 1, 32, ORDER_GRAY));
  ASSERT_TRUE(rztest::make(spline.get(), 2, 1, 32, ORDER_GRAY));
  const uint32_t words[2] = {0xAB345678u, 0xAB345680u};
  Rv_PutBitmapRow(src.get(), words, 0, 8);
  ASSERT_EQ(Rv_ResampleBitmapInt(src.get(), fixed.get(), RV_BITMAPRECORD_SIZE, 0), SUCCESS);
  EXPECT_EQ(rztest::element(fixed.get(), 0, 0, 4), 0xAB34567Cu);
  // Four 8-bit channels carry the top byte; 32-bit colour to gray is g x 257.
  ASSERT_EQ(Rv_BicubicResampleBitmapInt(src.get(), spline.get(), RV_BITMAPRECORD_SIZE, 0), SUCCESS);
  EXPECT_EQ(rztest::element(spline.get(), 0, 0, 4), 0xABABu);
}

TEST(Resample, EqualSizesConvertToTheDestinationFormat) {
  rvtest::Bitmap src, dst;
  ASSERT_TRUE(rztest::make(src.get(), 9, 3, 24, ORDER_BGR));
  ASSERT_TRUE(rztest::make(dst.get(), 9, 3, 16, ORDER_BGR565));
  rvtest::fill_random(src.get(), 5);
  ASSERT_EQ(Rv_ResampleBitmapInt(src.get(), dst.get(), RV_BITMAPRECORD_SIZE, 0), SUCCESS);
  for (int32_t y = 0; y < 3; ++y) {
    auto row = rvtest::read_row(src.get(), y);
    ASSERT_EQ(Rv_ConvertBuffer(row.data(), 9, 24, 16, ORDER_BGR, ORDER_BGR565, nullptr, nullptr), SUCCESS);
    EXPECT_EQ(std::vector<uint8_t>(row.begin(), row.begin() + 18), [&] {
      auto out = rvtest::read_row(dst.get(), y);
      return std::vector<uint8_t>(out.begin(), out.begin() + 18);
    }());
  }
}

TEST(Resample, PaletteDestinationsAreDitheredFromBlueGreenRedRows) {
  // At equal sizes the work rows are the source rows: the result is a
  // Floyd-Steinberg run over them into the destination's palette and depth.
  rvtest::Bitmap src, dst, scratch;
  ASSERT_TRUE(rztest::make(src.get(), 9, 4, 24, ORDER_BGR));
  ASSERT_TRUE(rztest::make(dst.get(), 9, 4, 4, 0));
  rvtest::fill_random(src.get(), 21);
  ASSERT_EQ(Rv_ResampleBitmapInt(src.get(), dst.get(), RV_BITMAPRECORD_SIZE, 0), SUCCESS);
  ASSERT_EQ(Rv_InitBitmap(scratch.get(), RV_BITMAPRECORD_SIZE, 9, 4, 24), SUCCESS);
  scratch->nDitheringMethod = FLOYD_STEIN_DITHERING;
  ASSERT_EQ(Rv_StartDitheringExt(scratch.get(), nullptr, 16, 4, nullptr), SUCCESS);
  for (int32_t y = 0; y < 4; ++y) {
    auto row = rvtest::read_row(src.get(), y);
    std::vector<uint8_t> expected(static_cast<size_t>(dst->nBytesPerLine), 0);
    ASSERT_EQ(Rv_DitherLine(scratch.get(), row.data(), expected.data()), SUCCESS);
    EXPECT_EQ(rvtest::read_row(dst.get(), y), expected) << y;
  }
  Rv_StopDithering(scratch.get());
  // A palette the run refuses ends the call before any row.
  dst->nColors = 0;
  EXPECT_EQ(Rv_ResampleBitmapInt(src.get(), dst.get(), RV_BITMAPRECORD_SIZE, 0), ERROR_INVALID_PARAMETER);
}

TEST(Resample, GrayFieldsAndTablesOfGraySources) {
  // A 16-bit gray field in bits 4 to 11 keeps its place through gray work.
  rvtest::Bitmap src, dst, colour;
  ASSERT_TRUE(rztest::make(src.get(), 3, 1, 16, ORDER_GRAY));
  ASSERT_TRUE(rztest::make(dst.get(), 3, 1, 16, ORDER_GRAY));
  src->nLowBit = dst->nLowBit = 4;
  src->nHighBit = dst->nHighBit = 11;
  rztest::put_values(src.get(), {{0xF123, 0x0FF0, 0x0AB7}});
  ASSERT_EQ(Rv_ResampleBitmapInt(src.get(), dst.get(), RV_BITMAPRECORD_SIZE, 0), SUCCESS);
  EXPECT_EQ(rztest::values(dst.get(), 0), (std::vector<uint32_t>{0x0120, 0x0FF0, 0x0AB0}));
  // On the way to 24-bit work a gray source's table is applied.
  std::vector<RGBQUAD> table(256);
  for (int i = 0; i < 256; ++i) table[static_cast<size_t>(i)] = RGBQUAD{static_cast<uint8_t>(255 - i), 0, 0, 0};
  src->pLUT = table.data();
  src->uLUTLength = 256;
  ASSERT_TRUE(rztest::make(colour.get(), 3, 1, 24, ORDER_BGR));
  ASSERT_EQ(Rv_ResampleBitmapInt(src.get(), colour.get(), RV_BITMAPRECORD_SIZE, 0), SUCCESS);
  EXPECT_EQ(rztest::values(colour.get(), 0), (std::vector<uint32_t>{255 - 0x12, 255 - 0xFF, 255 - 0xAB}));
  src->pLUT = nullptr;
  src->uLUTLength = 0;
}

TEST(Resample, CheckOrderAndFailuresLeaveTheBitmapAsItWas) {
  rvtest::Bitmap b, unallocated;
  ASSERT_TRUE(rztest::make(b.get(), 6, 5, 24, ORDER_BGR));
  Rv_InitBitmap(unallocated.get(), RV_BITMAPRECORD_SIZE, 4, 4, 24);
  EXPECT_EQ(Rv_ResampleBitmap(nullptr, 2, 2, 0), ERROR_INVALID_IMAGE);
  EXPECT_EQ(Rv_ResampleBitmap(unallocated.get(), 2, 2, 0), ERROR_INVALID_IMAGE);
  EXPECT_EQ(Rv_ResampleBitmapInt(b.get(), unallocated.get(), RV_BITMAPRECORD_SIZE, 0), ERROR_INVALID_IMAGE);
  EXPECT_EQ(Rv_ResampleBitmapInt(b.get(), b.get(), 3, 0), ERROR_INVALID_STRUCT_SIZE);
  b->uStructSize = 7;
  EXPECT_EQ(Rv_BicubicResampleBitmap(b.get(), 2, 2, 0), ERROR_INVALID_STRUCT_SIZE);
  b->uStructSize = RV_BITMAPRECORD_SIZE;
  EXPECT_EQ(Rv_ResampleBitmap(b.get(), 0, 0, 0), ERROR_INVALID_PARAMETER);

  // Every allocation failure, each engine: the status, and the bitmap as it was.
  using InPlace = int32_t (*)(BITMAPRECORD *, int32_t, int32_t, uint32_t);
  for (InPlace fn : {Rv_ResampleBitmap, Rv_BicubicResampleBitmap, Rv_IntResampleCoarseBitmap}) {
    const int32_t status = rztest::run_with_failures(
        [](BITMAPRECORD *t) {
          ASSERT_TRUE(rztest::make(t, 7, 5, 24, ORDER_BGR));
          rvtest::fill_random(t, 3);
        },
        [fn](BITMAPRECORD *t) { return fn(t, 12, 3, 0); });
    EXPECT_EQ(status, SUCCESS);
  }
}

TEST(Resample, ProgressCountsDestinationRowsAndCanStop) {
  struct Log {
    std::vector<int32_t> calls;
    int32_t stop_at = 1000;
  } log;
  auto cb = [](int32_t percent, void *user) -> int32_t {
    auto *l = static_cast<Log *>(user);
    l->calls.push_back(percent);
    return percent >= l->stop_at ? ERROR_USER_ABORT : SUCCESS;
  };
  STATUSCALLBACK old_cb;
  void *old_user;
  old_cb = Rv_GetStatusCallBack(&old_user);
  Rv_SetStatusCallBack(cb, &log, nullptr, nullptr);
  rvtest::Bitmap b;
  ASSERT_TRUE(rztest::make(b.get(), 3, 3, 24, ORDER_BGR));
  ASSERT_EQ(Rv_ResampleBitmap(b.get(), 5, 4, 0), SUCCESS);
  EXPECT_EQ(log.calls, (std::vector<int32_t>{0, 25, 50, 75, 100}));
  log.calls.clear();
  log.stop_at = 50;
  rvtest::fill_random(b.get(), 9);
  const rvtest::Snapshot before(b.get());
  EXPECT_EQ(Rv_BicubicResampleBitmap(b.get(), 9, 4, 0), ERROR_USER_ABORT);
  EXPECT_TRUE(before.same(b.get()));
  Rv_SetStatusCallBack(old_cb, old_user, nullptr, nullptr);
}

TEST(Resample, ReciprocalDivisionOfByteSumsIsExact) {
  // The quotient changes at each multiple of the divisor: both sides of every
  // one, for small divisors and for divisors up to the largest served.
  std::vector<uint32_t> divisors = {1, 2, 3, 4095, 4096, 4097, 6144, 9557, 2389, rv::resample::Divider::kMaxDivisor - 1};
  std::mt19937 gen(7);
  for (int i = 0; i < 200; ++i) divisors.push_back(1 + gen() % (rv::resample::Divider::kMaxDivisor - 1));
  for (uint32_t d : divisors) {
    const rv::resample::Divider divide(d);
    for (uint64_t k = 0; k <= 255; ++k) {
      const uint64_t x = k * d;
      ASSERT_EQ(divide(x), k) << d;
      ASSERT_EQ(divide(x + d - 1), k) << d;
      if (x > 0) {
        ASSERT_EQ(divide(x - 1), k - 1) << d;
      }
    }
  }
}

// The vector forms against the plain ones, over random pictures of every
// work format and ratios that take each stage.
TEST(Resample, FastPathsGiveThePlainBytes) {
  struct Format {
    int32_t bits, order;
    uint32_t flags;
  };
  const Format formats[] = {{24, ORDER_BGR, 0},      {32, ORDER_BGR, 0}, {32, ORDER_BGR, SIZEFLAG_ALPHA_AWARE},
                            {48, ORDER_BGR, 0},      {64, ORDER_BGR, SIZEFLAG_ALPHA_AWARE},
                            {16, ORDER_GRAY, 0},     {32, ORDER_GRAY, 0}, {16, ORDER_BGR565, 0},
                            {8, 0, 0},               {4, 0, 0}};
  const int32_t sizes[][2] = {{17, 13}, {34, 26}, {51, 39}, {85, 221}, {272, 208}, {25, 20},
                              {4, 3},   {8, 13},  {40, 7},  {1, 1}};
  using IntForm = int32_t (*)(BITMAPRECORD *, BITMAPRECORD *, uint32_t, uint32_t);
  for (const Format &f : formats) {
    rvtest::Bitmap src;
    ASSERT_TRUE(rztest::make(src.get(), 17, 13, f.bits, f.order));
    rvtest::fill_random(src.get(), static_cast<uint32_t>(f.bits));
    for (const auto &size : sizes) {
      for (IntForm fn : {Rv_ResampleBitmapInt, Rv_BicubicResampleBitmapInt, Rv_IntResampleCoarseBitmapInt}) {
        rvtest::Bitmap fast, plain;
        ASSERT_TRUE(rztest::make(fast.get(), size[0], size[1], f.bits, f.order));
        ASSERT_TRUE(rztest::make(plain.get(), size[0], size[1], f.bits, f.order));
        ASSERT_EQ(fn(src.get(), fast.get(), RV_BITMAPRECORD_SIZE, f.flags), SUCCESS);
        {
          rv::simd::ScopedLevel level(rv::simd::Level::Plain);
          ASSERT_EQ(fn(src.get(), plain.get(), RV_BITMAPRECORD_SIZE, f.flags), SUCCESS);
        }
        for (int32_t y = 0; y < size[1]; ++y) {
          ASSERT_EQ(rvtest::read_row(fast.get(), y), rvtest::read_row(plain.get(), y))
              << f.bits << " " << size[0] << "x" << size[1] << " row " << y;
        }
      }
    }
  }
}

}  // namespace
