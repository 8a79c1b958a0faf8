// The classic multiply-divide: a * b / c with a 64-bit product, rounded to the
// nearest integer with halves away from zero; -1 for a zero divisor or a
// result that does not fit 32 bits.
#pragma once
#include <cstdint>

namespace rv::os {

constexpr int32_t mul_div(int32_t a, int32_t b, int32_t c) noexcept {
  if (c == 0) return -1;
  const int64_t product = static_cast<int64_t>(a) * b;
  const bool negative = (product < 0) != (c < 0);
  const uint64_t num = product < 0 ? 0 - static_cast<uint64_t>(product) : static_cast<uint64_t>(product);
  const uint64_t den = c < 0 ? 0 - static_cast<uint64_t>(static_cast<int64_t>(c)) : static_cast<uint64_t>(c);
  const uint64_t q = (num + den / 2) / den;
  if (negative) {
    if (q > 0x80000000ull) return -1;
    return static_cast<int32_t>(0 - static_cast<int64_t>(q));
  }
  if (q > 0x7FFFFFFFull) return -1;
  return static_cast<int32_t>(q);
}

}  // namespace rv::os
