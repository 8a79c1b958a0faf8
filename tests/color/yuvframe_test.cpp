#include <gtest/gtest.h>

#include <array>
#include <vector>

#include "color/yuvframe.h"
#include "ruvokit/rvkrn.h"

namespace {

using Bgr = std::array<uint8_t, 3>;

Bgr studio(int32_t y, int32_t u, int32_t v) {
  Bgr out;
  rv::yuv::studio_to_bgr(y, u, v, out.data());
  return out;
}

Bgr full(int32_t y, int32_t u, int32_t v) {
  Bgr out;
  rv::yuv::full_to_bgr(y, u, v, out.data());
  return out;
}

TEST(YuvFrame, ArithmeticOfBothRanges) {
  EXPECT_EQ(studio(16, 128, 128), (Bgr{0, 0, 0}));
  EXPECT_EQ(studio(235, 128, 128), (Bgr{255, 255, 255}));
  EXPECT_EQ(studio(82, 90, 240), (Bgr{0, 1, 255}));
  EXPECT_EQ(studio(128, 128, 128), (Bgr{130, 130, 130}));
  // Divisions truncate towards zero: -226.316 is -226, so blue is 24, not 23.
  EXPECT_EQ(full(250, 0, 128), (Bgr{24, 255, 250}));
  EXPECT_EQ(full(10, 255, 0), (Bgr{235, 58, 0}));
  EXPECT_EQ(full(128, 128, 128), (Bgr{128, 128, 128}));
}

TEST(YuvFrame, PackedCodesTakeEachPixelsSamplesFromTheirPlaces) {
  struct Sample {
    uint8_t y, u, v;
  };
  struct Case {
    uint32_t fourcc;
    std::vector<uint8_t> bytes;
    std::vector<Sample> pixels;
  };
  const Case cases[] = {
      {RV_FOURCC('Y', 'U', 'Y', '2'), {10, 20, 30, 40}, {{10, 20, 40}, {30, 20, 40}}},
      {RV_FOURCC('U', 'Y', 'V', 'Y'), {20, 10, 40, 30}, {{10, 20, 40}, {30, 20, 40}}},
      {RV_FOURCC('Y', 'V', 'Y', 'U'), {10, 40, 30, 20}, {{10, 20, 40}, {30, 20, 40}}},
      {RV_FOURCC('Y', '4', '1', 'P'),
       {100, 1, 110, 2, 200, 3, 210, 4, 5, 6, 7, 8},
       {{1, 100, 110}, {2, 100, 110}, {3, 100, 110}, {4, 100, 110},
        {5, 200, 210}, {6, 200, 210}, {7, 200, 210}, {8, 200, 210}}},
      // Half a group at the end of a row, in the 8 bytes its line has.
      {RV_FOURCC('Y', '4', '1', 'T'), {100, 1, 110, 2, 200, 3, 210, 4}, {{1, 100, 110}, {2, 100, 110}, {3, 100, 110}, {4, 100, 110}}},
      {RV_FOURCC('Y', '2', '1', '1'), {1, 100, 2, 110}, {{1, 100, 110}, {1, 100, 110}, {2, 100, 110}, {2, 100, 110}}},
  };
  for (const Case &c : cases) {
    const rv::yuv::FrameCode *code = rv::yuv::find(c.fourcc);
    ASSERT_NE(code, nullptr);
    const auto width = static_cast<uint32_t>(c.pixels.size());
    ASSERT_EQ(rv::yuv::frame_bytes(*code, width, 1), c.bytes.size()) << c.fourcc;
    std::vector<uint8_t> out(3 * width);
    rv::yuv::decode_row(*code, c.bytes.data(), width, 1, 0, out.data());
    for (uint32_t x = 0; x < width; ++x) {
      const Sample &s = c.pixels[x];
      const Bgr expected = code->range == rv::yuv::Range::Studio ? studio(s.y, s.u, s.v) : full(s.y, s.u, s.v);
      EXPECT_EQ((Bgr{out[3 * x], out[3 * x + 1], out[3 * x + 2]}), expected) << c.fourcc << " pixel " << x;
    }
  }
  EXPECT_EQ(rv::yuv::find(RV_FOURCC('M', 'J', 'P', 'G')), nullptr);
  EXPECT_TRUE(rv::yuv::is_compressed_frame(RV_FOURCC('d', 'm', 'b', '1')));
}

TEST(YuvFrame, PlanarChromaCoversSquaresAndComesInTheCodesOrder) {
  // YVU9 of 16 x 16: V plane, then U plane, a sample for each 4 x 4 square.
  const rv::yuv::FrameCode &yvu9 = *rv::yuv::find(RV_FOURCC('Y', 'V', 'U', '9'));
  std::vector<uint8_t> frame(rv::yuv::frame_bytes(yvu9, 16, 16), 128);
  ASSERT_EQ(frame.size(), 288u);
  frame[256 + 9] = 200;       // V of the square at row 2, column 1
  frame[256 + 16 + 9] = 60;   // its U
  std::vector<uint8_t> row(48);
  for (uint32_t y : {8u, 11u}) {
    rv::yuv::decode_row(yvu9, frame.data(), 16, 16, y, row.data());
    EXPECT_EQ((Bgr{row[12], row[13], row[14]}), studio(128, 60, 200)) << y;
    EXPECT_EQ((Bgr{row[21], row[22], row[23]}), studio(128, 60, 200)) << y;
    EXPECT_EQ((Bgr{row[24], row[25], row[26]}), studio(128, 128, 128)) << y;
  }
  // The same bytes as I420 (U first) and as YV12 (V first).
  std::vector<uint8_t> small(24, 128);
  std::fill(small.begin() + 16, small.begin() + 20, 60);
  std::fill(small.begin() + 20, small.end(), 200);
  for (auto [fourcc, u, v] : {std::array<uint32_t, 3>{RV_FOURCC('I', '4', '2', '0'), 60, 200},
                              std::array<uint32_t, 3>{RV_FOURCC('Y', 'V', '1', '2'), 200, 60}}) {
    rv::yuv::decode_row(*rv::yuv::find(fourcc), small.data(), 4, 4, 3, row.data());
    EXPECT_EQ((Bgr{row[9], row[10], row[11]}),
              studio(128, static_cast<int32_t>(u), static_cast<int32_t>(v)));
  }
}

}  // namespace
