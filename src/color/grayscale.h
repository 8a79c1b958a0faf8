// Scaling of 32-bit gray values into a smaller range between a minimum and a
// maximum, shared by Rv_Gray32To8 and buffer conversion.
#pragma once
#include <cstdint>

#include "platform/muldiv.h"

namespace rv::color {

// (value - min) scaled so that max - min becomes `full` (max above min).
// While max is positive as a signed word the scaling is MulDiv's, rounded to
// nearest; a larger max works in unsigned 64-bit arithmetic with half the
// range added before dividing. Values outside min..max give 0 or `full`.
inline uint32_t scale_between(uint32_t value, uint32_t min, uint32_t max, uint32_t full) noexcept {
  const uint32_t range = max - min;
  if (static_cast<int32_t>(max) > 0) {
    const int32_t diff = static_cast<int32_t>(value - min);
    if (diff <= 0) return 0;
    if (static_cast<uint32_t>(diff) >= range) return full;
    return static_cast<uint32_t>(
        os::mul_div(diff, static_cast<int32_t>(full), static_cast<int32_t>(range)));
  }
  if (range == 0 || value <= min) return 0;
  if (value - min >= range) return full;
  return static_cast<uint32_t>((static_cast<uint64_t>(value - min) * full + (range >> 1)) / range);
}

}  // namespace rv::color
