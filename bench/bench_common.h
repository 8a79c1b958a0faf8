// Shared sizes and picture makers of the benchmarks.
#pragma once
#include <cstddef>
#include <cstdint>
#include <vector>

namespace rvbench {

constexpr int kWidth = 4000;
constexpr int kHeight = 3000;
constexpr size_t kPictureBytes = size_t{kWidth} * kHeight * 3;

// Row y of a photograph-like picture in 24-bit blue-green-red: smooth
// gradients in each channel with a little fixed noise, so that neighbouring
// pixels are close but seldom equal.
inline void picture_row24(uint8_t *row, int y) {
  uint32_t noise = 0x9E3779B9u * static_cast<uint32_t>(y + 1);
  for (int x = 0; x < kWidth; ++x) {
    noise = noise * 1664525u + 1013904223u;
    const int jitter = static_cast<int>(noise >> 29) - 4;  // -4..3
    auto clamp = [](int v) { return static_cast<uint8_t>(v < 0 ? 0 : (v > 255 ? 255 : v)); };
    row[3 * x] = clamp((x * 255) / kWidth + jitter);
    row[3 * x + 1] = clamp((y * 255) / kHeight + jitter);
    row[3 * x + 2] = clamp(((x + y) * 255) / (kWidth + kHeight) + (x / 37 % 7) * 4 + jitter);
  }
}

// The whole picture of picture_row24, rows of 3 x kWidth bytes one after
// the other.
inline std::vector<uint8_t> picture24() {
  std::vector<uint8_t> rows(kPictureBytes);
  for (int y = 0; y < kHeight; ++y) picture_row24(rows.data() + size_t{3} * kWidth * static_cast<size_t>(y), y);
  return rows;
}

}  // namespace rvbench
