#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "internal/fault.h"
#include "transform/mirror.h"
#include "transform/pictures.h"

namespace {

using rvtest::Grid;

Grid mirrored(Grid g) {
  for (auto &row : g) std::reverse(row.begin(), row.end());
  return g;
}

Grid flipped(Grid g) {
  std::reverse(g.begin(), g.end());
  return g;
}

TEST(MirrorLine, PackedDepthsMoveThePixelsToTheFront) {
  struct Case {
    int32_t bits, width;
    std::vector<uint8_t> in, out;
  };
  const Case cases[] = {
      {1, 10, {0xB4, 0x40}, {0x8B, 0x40}},  // 1011010001 -> 1000101101, shifted back by 6 bits
      {1, 16, {0x01, 0x80}, {0x01, 0x80}},
      {2, 3, {0x1B}, {0x90}},               // 00 01 10 -> 10 01 00, the unused pair cleared
      {4, 3, {0x12, 0x3F}, {0x32, 0x10}},   // the nibble after the pixels is cleared
      {8, 3, {1, 2, 3, 9}, {3, 2, 1, 9}},   // bytes past the width stay
      {24, 2, {1, 2, 3, 4, 5, 6}, {4, 5, 6, 1, 2, 3}},
  };
  for (const Case &c : cases) {
    std::vector<uint8_t> line = c.in;
    ASSERT_EQ(Rv_MirrorLine(line.data(), c.width, c.bits), SUCCESS);
    EXPECT_EQ(line, c.out) << c.bits << " bits, width " << c.width;
  }
  uint8_t line[2] = {1, 2};
  EXPECT_EQ(Rv_MirrorLine(nullptr, 4, 8), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_MirrorLine(line, 2, 10), SUCCESS);  // no such depth: nothing happens
  EXPECT_EQ(line[0], 1);
}

// The mirror into a second buffer, which the row loops use, leaves the bytes
// of the mirror in place.
TEST(MirrorLine, ReversesThePixelsAtEveryDepthAndWidth) {
  for (int32_t bits : rvtest::kAllDepths) {
    for (int32_t width : {1, 2, 7, 9, 13, 33}) {
      auto line = rvtest::random_bytes(static_cast<size_t>(rv::px::bytes_per_line(width, bits)), 3 * bits + width);
      const auto before = line;
      std::vector<uint8_t> copy(line.size());
      rv::xform::mirror_copy(copy.data(), line.data(), width, bits, line.size());
      ASSERT_EQ(Rv_MirrorLine(line.data(), width, bits), SUCCESS);
      ASSERT_EQ(copy, line) << bits << " bits, width " << width;
      for (int32_t x = 0; x < width; ++x) {
        ASSERT_EQ(rvtest::pixel_of(line.data(), bits, x), rvtest::pixel_of(before.data(), bits, width - 1 - x))
            << bits << " bits, width " << width << ", x " << x;
      }
    }
  }
}

TEST(Flip, ChecksInTheirOrder) {
  rvtest::Bitmap unallocated;
  ASSERT_EQ(Rv_InitBitmap(unallocated.get(), RV_BITMAPRECORD_SIZE, 4, 4, 8), SUCCESS);
  BITMAPRECORD bad_size{};
  bad_size.uStructSize = 216;
  struct Case {
    int32_t (*fn)(BITMAPRECORD *);
    BITMAPRECORD *b;
    int32_t want;
  };
  const Case cases[] = {
      {Rv_FlipBitmap, nullptr, ERROR_INVALID_PARAMETER},
      {Rv_FlipBitmap, &bad_size, ERROR_INVALID_STRUCT_SIZE},
      {Rv_FlipBitmap, unallocated.get(), ERROR_INVALID_PARAMETER},
      {Rv_ReverseBitmap, nullptr, ERROR_INVALID_PARAMETER},
      {Rv_ReverseBitmap, unallocated.get(), ERROR_INVALID_IMAGE},  // only NULL is refused up front
      {Rv_IntFlipBitmap, nullptr, ERROR_INVALID_IMAGE},
      {Rv_IntFlipBitmap, unallocated.get(), ERROR_INVALID_IMAGE},
      {Rv_IntReverseBitmap, &bad_size, ERROR_INVALID_STRUCT_SIZE},
  };
  for (size_t i = 0; i < std::size(cases); ++i) EXPECT_EQ(cases[i].fn(cases[i].b), cases[i].want) << i;
}

// Flip and reverse act on the displayed picture: for the transposed
// perspectives a flip reverses each stored row.
TEST(Flip, FollowsTheDisplayedPictureInEveryPerspective) {
  for (int32_t view = 1; view <= 8; ++view) {
    for (bool flip : {true, false}) {
      rvtest::Bitmap b;
      ASSERT_TRUE(rvtest::make(b.get(), 5, 3, 8));
      rvtest::fill_random(b.get(), 17);
      b->nViewPerspective = view;
      const Grid before = rvtest::displayed(b.get());
      ASSERT_EQ(flip ? Rv_FlipBitmap(b.get()) : Rv_ReverseBitmap(b.get()), SUCCESS);
      EXPECT_EQ(rvtest::displayed(b.get()), flip ? flipped(before) : mirrored(before)) << view << flip;
    }
  }
}

TEST(Flip, ReportsProgressByRowPairsAndRows) {
  struct Case {
    int32_t (*fn)(BITMAPRECORD *);
    int32_t height;
    std::vector<int32_t> heard;
  };
  const Case cases[] = {
      {Rv_IntFlipBitmap, 1, {0, 100}},
      {Rv_IntFlipBitmap, 5, {0, 33, 66, 100}},  // three steps, the middle row among them
      {Rv_IntReverseBitmap, 4, {0, 25, 50, 75, 100}},
  };
  for (const Case &c : cases) {
    rvtest::Bitmap b;
    ASSERT_TRUE(rvtest::make(b.get(), 3, c.height, 4));
    rvtest::Progress progress;
    ASSERT_EQ(c.fn(b.get()), SUCCESS);
    EXPECT_EQ(progress.heard, c.heard) << c.height;
  }
}

// A stop by the callback or a failed allocation leaves the bitmap as it was.
TEST(Flip, FailureLeavesThePixelsAsTheyWere) {
  for (auto fn : {Rv_IntFlipBitmap, Rv_IntReverseBitmap}) {
    for (int32_t stop_at : {1, 2}) {
      rvtest::Bitmap b;
      ASSERT_TRUE(rvtest::make(b.get(), 9, 6, 3));
      rvtest::fill_random(b.get(), 5);
      const Grid before = rvtest::grid_of(b.get());
      rvtest::Progress progress;
      progress.stop_at = stop_at;
      EXPECT_EQ(fn(b.get()), ERROR_USER_ABORT);
      EXPECT_EQ(rvtest::grid_of(b.get()), before) << stop_at;
    }
    rvtest::Bitmap b;
    ASSERT_TRUE(rvtest::make(b.get(), 9, 6, 24));
    rvtest::fill_random(b.get(), 6);
    const Grid before = rvtest::grid_of(b.get());
    rv::fault::fail_after(0);
    EXPECT_EQ(fn(b.get()), ERROR_NO_MEMORY);
    rv::fault::fail_after(-1);
    EXPECT_EQ(rvtest::grid_of(b.get()), before);
  }
}

}  // namespace
