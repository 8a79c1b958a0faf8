// Shared sizes and picture makers of the benchmarks.
#pragma once
#include <cstddef>
#include <cstdint>

namespace rvbench {

constexpr int kWidth = 4000;
constexpr int kHeight = 3000;
constexpr size_t kPictureBytes = size_t{kWidth} * kHeight * 3;

}  // namespace rvbench
