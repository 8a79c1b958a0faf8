#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "core/runs.h"
#include "support/bitmaps.h"

namespace {

std::vector<uint32_t> words_of(const std::vector<uint8_t> &compressed) {
  std::vector<uint32_t> out;
  for (uint32_t k = 0; k < rv::runs::word_count(compressed.data()); ++k) out.push_back(rv::runs::word(compressed.data(), k));
  return out;
}

std::vector<uint32_t> compress(std::vector<uint8_t> row, uint32_t offset, uint32_t bits) {
  std::vector<uint8_t> out(rv::runs::max_row_bytes(bits + 8));
  const std::vector<uint8_t> before = row;
  EXPECT_EQ(Rv_CompressRow(out.data(), row.data(), offset, bits), static_cast<int32_t>(bits));
  EXPECT_EQ(row, before);  // the skipped bits are put back
  return words_of(out);
}

TEST(CompressedRows, RowsToRuns) {
  struct Case {
    std::vector<uint8_t> row;
    uint32_t offset, bits;
    std::vector<uint32_t> words;
  };
  const Case cases[] = {
      {{0xFF}, 0, 8, {0, 8}},
      {std::vector<uint8_t>(13, 0), 0, 100, {100}},
      {std::vector<uint8_t>(8750, 0), 0, 70000, {65535, 0, 4465}},
      {{0x0F, 0xF0}, 0, 16, {4, 8, 4}},
      {{0x0F, 0xF0}, 0, 6, {4, 2}},
      // The offset skips bits of the first byte only; the row reads as if it
      // began there, a 1 first giving a first run of 0.
      {{0x1F, 0x80}, 3, 6, {0, 6}},
      {{0xE3}, 11, 5, {3, 2}},
      {{0x55}, 0, 8, {1, 1, 1, 1, 1, 1, 1, 1}},
      {{0xFF}, 0, 0, {0}},
  };
  for (const Case &c : cases) EXPECT_EQ(compress(c.row, c.offset, c.bits), c.words) << c.bits;
  // A run of set bits past 65535 keeps the alternation with an empty run.
  std::vector<uint8_t> ones(8750, 0xFF);
  EXPECT_EQ(compress(ones, 0, 70000), (std::vector<uint32_t>{0, 65535, 0, 4465}));
}

TEST(CompressedRows, RunsToRowsFromAnyBit) {
  // 0, 8, 4: eight set bits and four clear.
  std::vector<uint8_t> runs(10);
  rv::runs::store32(runs.data(), 3);
  const uint8_t words[] = {0, 0, 8, 0, 4, 0};
  std::memcpy(runs.data() + 4, words, 6);
  struct Case {
    uint32_t start, bits;
    std::vector<uint8_t> row;
  };
  const Case cases[] = {{0, 12, {0xFF, 0x00}}, {3, 9, {0xF8, 0x00}}, {8, 4, {0x00}}, {20, 4, {0x00}}, {1, 3, {0xE0}}};
  for (const Case &c : cases) {
    std::vector<uint8_t> row(c.row.size(), 0xAA);
    ASSERT_EQ(Rv_ExpandRow(runs.data(), row.data(), c.start, c.bits), SUCCESS);
    EXPECT_EQ(row, c.row) << c.start;
  }
  rv::runs::store32(runs.data(), 0);
  std::vector<uint8_t> row(2, 0xAA);
  EXPECT_EQ(Rv_ExpandRow(runs.data(), row.data(), 0, 9), SUCCESS);
  EXPECT_EQ(row, (std::vector<uint8_t>{0, 0}));
  EXPECT_EQ(Rv_ExpandRow(nullptr, row.data(), 0, 9), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_CompressRow(runs.data(), nullptr, 0, 9), ERROR_INVALID_PARAMETER);
}

TEST(CompressedRows, BuffersOfRowsGoBothWays) {
  for (uint32_t width : {1u, 7u, 33u, 200u}) {
    const uint32_t stride = ((width + 31) >> 3) & ~3u;
    auto rows = rvtest::random_bytes(stride * 5, width);
    for (uint32_t y = 0; y < 5; ++y) {  // the pad bits are not part of the row
      for (uint32_t bit = width; bit < stride * 8; ++bit) rows[y * stride + bit / 8] &= ~(0x80 >> (bit % 8));
    }
    std::vector<uint8_t> runs(5 * rv::runs::max_row_bytes(width));
    ASSERT_EQ(Rv_CompressRows(runs.data(), rows.data(), width, 5), SUCCESS);
    std::vector<uint8_t> back(rows.size(), 0x77);
    ASSERT_EQ(Rv_ExpandRows(runs.data(), back.data(), width, 5), SUCCESS);
    EXPECT_EQ(back, rows) << width;
  }
  EXPECT_EQ(Rv_CompressRows(nullptr, nullptr, 5, 0), ERROR_INVALID_PARAMETER);
}

}  // namespace
