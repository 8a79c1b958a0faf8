// Fixed-point sine and cosine: angles in hundredths of a degree, values
// scaled by 16384, all read from one quarter-wave table.
#pragma once
#include <cstdint>

namespace rv::xform {

constexpr int32_t kSineTableSize = 9001;
constexpr int32_t kTrigOne = 16384;  // the table's scale
extern const int32_t kSineTable[kSineTableSize];

// An angle in 0 to 35999.
inline int32_t sin_of(int32_t a) noexcept {
  if (a <= 9000) return kSineTable[a];
  if (a <= 18000) return kSineTable[18000 - a];
  if (a <= 27000) return -kSineTable[a - 18000];
  return -kSineTable[36000 - a];
}

inline int32_t cos_of(int32_t a) noexcept {
  if (a <= 9000) return kSineTable[9000 - a];
  if (a <= 18000) return -kSineTable[a - 9000];
  if (a <= 27000) return -kSineTable[27000 - a];
  return kSineTable[a - 27000];
}

// Any angle brought into 0 to 35999.
inline int32_t wrap_angle(int64_t a) noexcept {
  const int64_t r = a % 36000;
  return static_cast<int32_t>(r < 0 ? r + 36000 : r);
}

}  // namespace rv::xform
