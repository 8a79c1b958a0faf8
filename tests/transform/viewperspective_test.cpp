#include <gtest/gtest.h>

#include <algorithm>

#include "internal/fault.h"
#include "transform/pictures.h"

namespace {

using rvtest::Grid;

// A small picture of distinct pixels.
Grid numbered(int32_t w, int32_t h) {
  Grid g(static_cast<size_t>(h));
  for (int32_t y = 0; y < h; ++y)
    for (int32_t x = 0; x < w; ++x) g[y].push_back(std::to_string(y * w + x));
  return g;
}

TEST(ViewPerspective, ChangeParamsOfTheDocumentedPairs) {
  struct Case {
    int32_t from, to;
    uint32_t flip;
    int32_t angle;
  };
  const Case cases[] = {{1, 1, 0, 0}, {1, 2, 1, 180}, {1, 4, 1, 0}, {1, 6, 0, 270}, {6, 1, 0, 90}};
  for (const Case &c : cases) {
    uint32_t flip = 9;
    int32_t angle = 9;
    ASSERT_EQ(Rv_GetChangeViewPerspectiveParams(c.from, c.to, &flip, &angle), SUCCESS);
    EXPECT_EQ(flip, c.flip) << c.from << "->" << c.to;
    EXPECT_EQ(angle, c.angle) << c.from << "->" << c.to;
  }
  uint32_t flip;
  int32_t angle;
  EXPECT_EQ(Rv_GetChangeViewPerspectiveParams(0, 1, &flip, &angle), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_GetChangeViewPerspectiveParams(1, 9, &flip, &angle), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_GetChangeViewPerspectiveParams(1, 2, nullptr, &angle), ERROR_INVALID_PARAMETER);
}

// For every pair, the flip and turn the parameters name, done on the storage,
// keep the displayed picture.
TEST(ViewPerspective, ChangeParamsKeepTheDisplayedPicture) {
  const Grid g = numbered(4, 3);
  for (int32_t from = 1; from <= 8; ++from) {
    for (int32_t to = 1; to <= 8; ++to) {
      uint32_t flip;
      int32_t angle;
      ASSERT_EQ(Rv_GetChangeViewPerspectiveParams(from, to, &flip, &angle), SUCCESS);
      Grid t = g;
      if (flip) std::reverse(t.begin(), t.end());
      for (int32_t a = 0; a < angle; a += 90) t = rvtest::turned_clockwise(t);
      EXPECT_EQ(rvtest::displayed(t, to), rvtest::displayed(g, from)) << from << "->" << to;
    }
  }
}

// Every pixel maps to the place that shows it in the other perspective, the
// pixel's rectangle maps with it, and To undoes From, for plain and
// transposed bitmaps alike.
TEST(ViewPerspective, PointAndRectMappingsAgreeWithTheDisplay) {
  for (int32_t own = 1; own <= 8; ++own) {
    for (int32_t view = 1; view <= 8; ++view) {
      BITMAPRECORD b{};
      ASSERT_EQ(Rv_InitBitmap(&b, RV_BITMAPRECORD_SIZE, 5, 3, 8), SUCCESS);
      b.nViewPerspective = own;
      const bool swap = (own >= 5) != (view >= 5);
      const int32_t w2 = swap ? 3 : 5, h2 = swap ? 5 : 3;
      for (int32_t y = 0; y < 3; ++y) {
        for (int32_t x = 0; x < 5; ++x) {
          int32_t px = x, py = y;
          ASSERT_EQ(Rv_PointFromBitmap(&b, view, &px, &py), SUCCESS);
          int32_t dx, dy, dx2, dy2;
          rvtest::displayed_at(own, 5, 3, x, y, &dx, &dy);
          rvtest::displayed_at(view, w2, h2, px, py, &dx2, &dy2);
          ASSERT_EQ(std::make_pair(dx, dy), std::make_pair(dx2, dy2)) << own << "->" << view << " " << x << "," << y;
          int32_t rect[4] = {x, y, x + 1, y + 1};
          ASSERT_EQ(Rv_RectFromBitmap(&b, view, rect), SUCCESS);
          EXPECT_EQ(std::vector<int32_t>(rect, rect + 4), (std::vector<int32_t>{px, py, px + 1, py + 1}));
          ASSERT_EQ(Rv_PointToBitmap(&b, view, &px, &py), SUCCESS);
          ASSERT_EQ(Rv_RectToBitmap(&b, view, rect), SUCCESS);
          EXPECT_EQ(std::make_pair(px, py), std::make_pair(x, y)) << own << "<-" << view;
          EXPECT_EQ(rect[0], x);
          EXPECT_EQ(rect[3], y + 1);
        }
      }
    }
  }
}

TEST(ViewPerspective, MappingEdges) {
  BITMAPRECORD b{};
  ASSERT_EQ(Rv_InitBitmap(&b, RV_BITMAPRECORD_SIZE, 100, 50, 8), SUCCESS);
  b.nViewPerspective = 1;
  int32_t x = 0, y = 0;
  ASSERT_EQ(Rv_PointFromBitmap(&b, 3, &x, &y), SUCCESS);
  EXPECT_EQ(std::make_pair(x, y), std::make_pair(99, 49));
  int32_t rect[4] = {0, 0, 10, 10};
  ASSERT_EQ(Rv_ChangeRectViewPerspective(1, 100, 50, 3, rect), SUCCESS);
  EXPECT_EQ(std::vector<int32_t>(rect, rect + 4), (std::vector<int32_t>{90, 40, 100, 50}));
  ASSERT_EQ(Rv_ChangeRectViewPerspective(1, 100, 50, 12, rect), SUCCESS);  // a bad perspective changes nothing
  EXPECT_EQ(rect[0], 90);
  EXPECT_EQ(Rv_ChangeRectViewPerspective(1, 100, 50, 3, nullptr), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_PointToBitmap(nullptr, 1, &x, &y), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_PointFromBitmap(&b, 2, nullptr, &y), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_RectFromBitmap(&b, 9, rect), ERROR_INVALID_PARAMETER);
  b.uStructSize = 216;
  EXPECT_EQ(Rv_RectToBitmap(&b, 2, rect), ERROR_INVALID_STRUCT_SIZE);
}

// The perspective steps turn the displayed picture without moving a pixel.
TEST(ViewPerspective, StepsTurnTheDisplayedPicture) {
  const Grid g = numbered(4, 3);
  for (int32_t view = 1; view <= 8; ++view) {
    for (int step = 0; step < 3; ++step) {
      BITMAPRECORD b{};
      ASSERT_EQ(Rv_InitBitmap(&b, RV_BITMAPRECORD_SIZE, 4, 3, 8), SUCCESS);
      b.nViewPerspective = view;
      b.nXResolution = 100;
      Grid want = rvtest::displayed(g, view);
      if (step == 0) {
        ASSERT_EQ(Rv_FlipBitmapViewPerspective(&b), SUCCESS);
        std::reverse(want.begin(), want.end());
      } else if (step == 1) {
        ASSERT_EQ(Rv_ReverseBitmapViewPerspective(&b), SUCCESS);
        for (auto &row : want) std::reverse(row.begin(), row.end());
      } else {
        ASSERT_EQ(Rv_RotateBitmapViewPerspective(&b, 90), SUCCESS);
        want = rvtest::turned_clockwise(want);
      }
      EXPECT_EQ(rvtest::displayed(g, b.nViewPerspective), want) << view << ", step " << step;
      EXPECT_EQ(b.nXResolution, step == 2 ? 150 : 100);  // a quarter turn swaps the resolutions
    }
  }
}

TEST(ViewPerspective, RotateAnglesAndChecks) {
  struct Case {
    int32_t angle, status, view;
  };
  // From perspective 1: 90 gives 6, 180 gives 3, 270 gives 8.
  const Case cases[] = {{0, SUCCESS, 1},    {-90, SUCCESS, 8},  {-360, SUCCESS, 1}, {180, SUCCESS, 3},
                        {45, ERROR_INVALID_PARAMETER, 1},       {360, ERROR_INVALID_PARAMETER, 1},
                        {-450, SUCCESS, 8}};
  for (const Case &c : cases) {
    BITMAPRECORD b{};
    ASSERT_EQ(Rv_InitBitmap(&b, RV_BITMAPRECORD_SIZE, 4, 3, 8), SUCCESS);
    b.nViewPerspective = 1;
    EXPECT_EQ(Rv_RotateBitmapViewPerspective(&b, c.angle), c.status) << c.angle;
    EXPECT_EQ(b.nViewPerspective, c.view) << c.angle;
  }
  EXPECT_EQ(Rv_RotateBitmapViewPerspective(nullptr, 90), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_IntRotateBitmapViewPerspective(nullptr, 90), ERROR_INVALID_IMAGE);
  EXPECT_EQ(Rv_IntFlipBitmapViewPerspective(nullptr), ERROR_INVALID_IMAGE);
  BITMAPRECORD b{};
  b.uStructSize = 216;
  EXPECT_EQ(Rv_FlipBitmapViewPerspective(&b), ERROR_INVALID_STRUCT_SIZE);
}

// Changing a bitmap's perspective moves its pixels so that it shows the same
// picture, in place or into a new bitmap.
TEST(ViewPerspective, ChangeBitmapKeepsTheDisplayedPicture) {
  for (int32_t bits : {1, 4, 24}) {
    for (int32_t from = 1; from <= 8; ++from) {
      for (int32_t to = 1; to <= 8; ++to) {
        rvtest::Bitmap b;
        ASSERT_TRUE(rvtest::make(b.get(), 7, 5, bits));
        rvtest::fill_random(b.get(), 40 + bits);
        b->nViewPerspective = from;
        const Grid shown = rvtest::displayed(b.get());
        rvtest::Bitmap copy;
        ASSERT_EQ(Rv_ChangeBitmapViewPerspective(copy.get(), b.get(), RV_BITMAPRECORD_SIZE, to), SUCCESS);
        EXPECT_EQ(copy->nViewPerspective, to);
        EXPECT_EQ(rvtest::displayed(copy.get()), shown) << bits << ": " << from << "->" << to;
        EXPECT_EQ(rvtest::displayed(b.get()), shown);  // the source stays
        ASSERT_EQ(Rv_ChangeBitmapViewPerspective(nullptr, b.get(), 0, to), SUCCESS);
        EXPECT_EQ(rvtest::displayed(b.get()), shown) << bits << ": " << from << "->" << to << " in place";
      }
    }
  }
  rvtest::Bitmap b;
  ASSERT_TRUE(rvtest::make(b.get(), 7, 5, 8));
  EXPECT_EQ(Rv_ChangeBitmapViewPerspective(nullptr, nullptr, 0, 1), ERROR_INVALID_PARAMETER);
  BITMAPRECORD dst{};
  EXPECT_EQ(Rv_ChangeBitmapViewPerspective(&dst, b.get(), 216, 1), ERROR_INVALID_STRUCT_SIZE);
  EXPECT_EQ(Rv_ChangeBitmapViewPerspective(nullptr, b.get(), 0, 9), ERROR_INVALID_PARAMETER);
}

TEST(ViewPerspective, FailedChangeLeavesTheBitmap) {
  rvtest::Bitmap b;
  ASSERT_TRUE(rvtest::make(b.get(), 9, 4, 24));
  rvtest::fill_random(b.get(), 8);
  b->nViewPerspective = VIEW_TOP_LEFT;
  const Grid before = rvtest::grid_of(b.get());
  int32_t status = SUCCESS;
  for (int64_t n = 0; n < 50; ++n) {
    rv::fault::fail_after(n);
    status = Rv_ChangeBitmapViewPerspective(nullptr, b.get(), 0, VIEW_LEFT_BOTTOM);  // a flip and a quarter turn
    const bool fired = rv::fault::fired();
    rv::fault::fail_after(-1);
    if (!fired) break;
    ASSERT_NE(status, SUCCESS) << n;
    ASSERT_EQ(b->nViewPerspective, VIEW_TOP_LEFT) << n;
    ASSERT_EQ(rvtest::grid_of(b.get()), before) << n;
  }
  EXPECT_EQ(status, SUCCESS);
  EXPECT_EQ(b->nViewPerspective, VIEW_LEFT_BOTTOM);
}

}  // namespace
