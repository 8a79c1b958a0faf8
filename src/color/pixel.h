// Pixel arithmetic of the colour subsystem: the one gray weighting of
// the library, the widening and narrowing of channels, and the packing of
// pixels that are not whole bytes (depths 1 to 7, and 12-bit pairs).
#pragma once
#include <cstdint>

namespace rv::pixel {

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

// Pixels of 1 to 8 bits lie most significant bits first, contiguous across
// bytes; a pixel that straddles two bytes reads them as one big-endian word.
// Only the bytes the pixel touches are read or written.
inline uint32_t get_packed(const uint8_t *row, uint32_t index, uint32_t bits) noexcept {
  const uint64_t bit = static_cast<uint64_t>(index) * bits;
  const uint8_t *p = row + (bit >> 3);
  const uint32_t offset = static_cast<uint32_t>(bit & 7);
  const uint32_t mask = (1u << bits) - 1;
  if (offset + bits <= 8) return (p[0] >> (8 - offset - bits)) & mask;
  const uint32_t word = (static_cast<uint32_t>(p[0]) << 8) | p[1];
  return (word >> (16 - offset - bits)) & mask;
}

// Rewrites only the bits of the pixel; its neighbours' bits stay.
inline void put_packed(uint8_t *row, uint32_t index, uint32_t bits, uint32_t value) noexcept {
  const uint64_t bit = static_cast<uint64_t>(index) * bits;
  uint8_t *p = row + (bit >> 3);
  const uint32_t offset = static_cast<uint32_t>(bit & 7);
  const uint32_t mask = (1u << bits) - 1;
  if (offset + bits <= 8) {
    const uint32_t shift = 8 - offset - bits;
    p[0] = static_cast<uint8_t>((p[0] & ~(mask << shift)) | ((value & mask) << shift));
    return;
  }
  const uint32_t shift = 16 - offset - bits;
  uint32_t word = (static_cast<uint32_t>(p[0]) << 8) | p[1];
  word = (word & ~(mask << shift)) | ((value & mask) << shift);
  p[0] = static_cast<uint8_t>(word >> 8);
  p[1] = static_cast<uint8_t>(word);
}

// 12-bit gray: two pixels in three bytes. The first is the low 12 bits of the
// little-endian word at byte 0, the second the high 12 bits of the word at
// byte 1. Writing a pixel leaves the neighbour's nibble of the shared byte.
inline uint32_t get12(const uint8_t *row, uint32_t index) noexcept {
  const uint8_t *p = row + static_cast<uint64_t>(index >> 1) * 3;
  if ((index & 1) == 0) return p[0] | (static_cast<uint32_t>(p[1] & 0x0F) << 8);
  return (p[1] >> 4) | (static_cast<uint32_t>(p[2]) << 4);
}

inline void put12(uint8_t *row, uint32_t index, uint32_t value) noexcept {
  uint8_t *p = row + static_cast<uint64_t>(index >> 1) * 3;
  if ((index & 1) == 0) {
    p[0] = static_cast<uint8_t>(value);
    p[1] = static_cast<uint8_t>((p[1] & 0xF0) | ((value >> 8) & 0x0F));
  } else {
    p[1] = static_cast<uint8_t>((p[1] & 0x0F) | ((value & 0x0F) << 4));
    p[2] = static_cast<uint8_t>(value >> 4);
  }
}

// Little-endian words at any address.
inline uint16_t load16(const uint8_t *p) noexcept {
  return static_cast<uint16_t>(p[0] | (p[1] << 8));
}
inline uint32_t load32(const uint8_t *p) noexcept {
  return p[0] | (static_cast<uint32_t>(p[1]) << 8) | (static_cast<uint32_t>(p[2]) << 16) |
         (static_cast<uint32_t>(p[3]) << 24);
}
inline void store16(uint8_t *p, uint32_t v) noexcept {
  p[0] = static_cast<uint8_t>(v);
  p[1] = static_cast<uint8_t>(v >> 8);
}
inline void store32(uint8_t *p, uint32_t v) noexcept {
  p[0] = static_cast<uint8_t>(v);
  p[1] = static_cast<uint8_t>(v >> 8);
  p[2] = static_cast<uint8_t>(v >> 16);
  p[3] = static_cast<uint8_t>(v >> 24);
}

// Bytes of a row of `width` pixels, padded to four bytes, in the 32-bit
// arithmetic of the record (a product that overflows is simply wrong).
constexpr uint32_t line_bytes(uint32_t width, uint32_t bits) noexcept {
  return ((width * bits + 31) >> 3) & 0x1FFFFFFCu;
}

}  // namespace rv::pixel
