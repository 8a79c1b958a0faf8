// Channel arithmetic of the colour subsystem: the one gray weighting of the
// library, the widening and narrowing of channels, and little-endian words at
// any address. The packing of pixels that are not whole bytes is rv::px's
// (internal/pixels.h).
#pragma once
#include <bit>
#include <cstdint>
#include <cstring>

namespace rv::channels {

// The gray of a colour, on the channels' own width: (5 G + 2 R + B + 4) >> 3.
constexpr uint32_t gray(uint32_t red, uint32_t green, uint32_t blue) noexcept {
  return (5 * green + 2 * red + blue + 4) >> 3;
}

// An 8-bit channel widened to 16 bits, and a 16-bit one narrowed (high byte,
// no rounding).
constexpr uint16_t widen8(uint32_t c) noexcept { return static_cast<uint16_t>(c * 257); }
constexpr uint8_t narrow16(uint32_t c) noexcept { return static_cast<uint8_t>(c >> 8); }

// 5- and 6-bit fields of 16-bit colour widened to 8 bits by replication.
constexpr uint8_t widen5(uint32_t c) noexcept { return static_cast<uint8_t>((c << 3) | (c >> 2)); }
constexpr uint8_t widen6(uint32_t c) noexcept { return static_cast<uint8_t>((c << 2) | (c >> 4)); }

// Little-endian words at any address.
inline uint16_t load16(const uint8_t *p) noexcept {
  if constexpr (std::endian::native == std::endian::little) {
    uint16_t v;
    std::memcpy(&v, p, 2);
    return v;
  }
  return static_cast<uint16_t>(p[0] | (p[1] << 8));
}
inline uint32_t load32(const uint8_t *p) noexcept {
  if constexpr (std::endian::native == std::endian::little) {
    uint32_t v;
    std::memcpy(&v, p, 4);
    return v;
  }
  return p[0] | (static_cast<uint32_t>(p[1]) << 8) | (static_cast<uint32_t>(p[2]) << 16) |
         (static_cast<uint32_t>(p[3]) << 24);
}
inline void store16(uint8_t *p, uint32_t v) noexcept {
  if constexpr (std::endian::native == std::endian::little) {
    const auto w = static_cast<uint16_t>(v);
    std::memcpy(p, &w, 2);
    return;
  }
  p[0] = static_cast<uint8_t>(v);
  p[1] = static_cast<uint8_t>(v >> 8);
}
inline void store32(uint8_t *p, uint32_t v) noexcept {
  if constexpr (std::endian::native == std::endian::little) {
    std::memcpy(p, &v, 4);
    return;
  }
  p[0] = static_cast<uint8_t>(v);
  p[1] = static_cast<uint8_t>(v >> 8);
  p[2] = static_cast<uint8_t>(v >> 16);
  p[3] = static_cast<uint8_t>(v >> 24);
}

}  // namespace rv::channels
