// Pixel packing shared by every module that touches pixel bytes: where a
// column lies in a row, and reading and writing one pixel of the packed
// depths. Depths 1 to 7 are packed from the high bit of each byte downwards
// and contiguous across bytes (a pixel of 3, 5, 6 or 7 bits may straddle two
// bytes). Depth 12 holds two pixels in three bytes: the even one is the low 12
// bits of the little-endian word at byte 3k, the odd one the high 12 bits of
// the little-endian word at byte 3k + 1.
#pragma once
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace rv::px {

inline bool is_valid_depth(int32_t bits) noexcept {
  switch (bits) {
    case 1: case 2: case 3: case 4: case 5: case 6: case 7: case 8:
    case 12: case 16: case 24: case 32: case 48: case 64:
      return true;
    default:
      return false;
  }
}

// Bytes of a row of `width` pixels: a multiple of four, computed in 32 bits
// as the record does (a product that overflows 32 bits is simply wrong).
inline int32_t bytes_per_line(int32_t width, int32_t bits) noexcept {
  const uint32_t product = static_cast<uint32_t>(width) * static_cast<uint32_t>(bits);
  return static_cast<int32_t>(((product + 31u) >> 3) & 0x1FFFFFFCu);
}

// The byte of a row that holds column `col` (below 8 bits, the whole byte in
// which the pixel starts).
inline int32_t col_to_byte(int32_t bits, int32_t col) noexcept {
  switch (bits) {
    case 1: return col / 8;
    case 2: return col / 4;
    case 3: return 3 * col / 8;
    case 4: return col / 2;
    case 5: return 5 * col / 8;
    case 6: return 3 * col / 4;
    case 7: return 7 * col / 8;
    case 8: return col;
    case 12: return col + col / 2;
    case 16: return 2 * col;
    case 24: return 3 * col;
    case 32: return 4 * col;
    case 48: return 6 * col;
    case 64: return 8 * col;
    default: return col;
  }
}

// A field of `bits` (1 to 8) that starts `bit` bits after the top bit of p[0].
// Two bytes hold any such field; the second is touched only when needed.
inline uint32_t get_bits(const uint8_t *p, uint64_t bit, int32_t bits) noexcept {
  p += bit / 8;
  const uint32_t shift = static_cast<uint32_t>(bit % 8);
  uint32_t word = static_cast<uint32_t>(p[0]) << 8;
  if (shift + static_cast<uint32_t>(bits) > 8) word |= p[1];
  return (word >> (16 - shift - static_cast<uint32_t>(bits))) & ((1u << bits) - 1u);
}

inline void put_bits(uint8_t *p, uint64_t bit, int32_t bits, uint32_t value) noexcept {
  p += bit / 8;
  const uint32_t shift = static_cast<uint32_t>(bit % 8);
  const uint32_t down = 16 - shift - static_cast<uint32_t>(bits);
  const uint32_t mask = ((1u << bits) - 1u) << down;
  const uint32_t v = (value << down) & mask;
  p[0] = static_cast<uint8_t>((p[0] & ~(mask >> 8)) | (v >> 8));
  if (shift + static_cast<uint32_t>(bits) > 8) {
    p[1] = static_cast<uint8_t>((p[1] & ~mask) | (v & 0xFFu));
  }
}

// Bytes from the one that holds column `col` to the one that holds its last
// bit: 2 for a pixel of up to 7 bits that straddles two bytes, and at depth 12.
inline uint32_t pixel_span(int32_t bits, int32_t col) noexcept {
  if (bits == 12) return 2;
  if (bits >= 8) return static_cast<uint32_t>(bits / 8);
  const uint64_t first = static_cast<uint64_t>(col) * static_cast<uint64_t>(bits);
  return static_cast<uint32_t>((first + static_cast<uint64_t>(bits) + 7) / 8 - first / 8);
}

// Depths 1 to 7: the pixel at `col` of a row, counted from the row's start.
inline uint32_t get_packed(const uint8_t *row, int32_t bits, uint64_t col) noexcept {
  return get_bits(row, col * static_cast<uint64_t>(bits), bits);
}

inline void put_packed(uint8_t *row, int32_t bits, uint64_t col, uint32_t value) noexcept {
  put_bits(row, col * static_cast<uint64_t>(bits), bits, value);
}

// A 12-bit pixel whose bytes begin at `p` (the byte that holds the column):
// an even column is the low 12 bits of the word at p, an odd one the high 12
// bits of the word at p.
inline uint32_t get12_at(const uint8_t *p, bool odd) noexcept {
  const uint32_t word = p[0] | (static_cast<uint32_t>(p[1]) << 8);
  return odd ? word >> 4 : word & 0xFFFu;
}

// Rewrites only the pixel's 12 bits: the neighbour's half byte stays.
inline void put12_at(uint8_t *p, bool odd, uint32_t value) noexcept {
  value &= 0xFFFu;
  if (odd) {
    p[0] = static_cast<uint8_t>((p[0] & 0x0Fu) | ((value & 0x0Fu) << 4));
    p[1] = static_cast<uint8_t>(value >> 4);
  } else {
    p[0] = static_cast<uint8_t>(value);
    p[1] = static_cast<uint8_t>((p[1] & 0xF0u) | (value >> 8));
  }
}

inline uint32_t get12(const uint8_t *row, uint64_t col) noexcept {
  return get12_at(row + col + col / 2, (col & 1) != 0);
}

inline void put12(uint8_t *row, uint64_t col, uint32_t value) noexcept {
  put12_at(row + col + col / 2, (col & 1) != 0, value);
}

// Any depth: the pixel value (up to 32 bits) or, for 48 and 64 bits, its low
// 32 bits; callers of the deep depths copy bytes instead.
inline uint32_t get_pixel(const uint8_t *row, int32_t bits, uint64_t col) noexcept {
  switch (bits) {
    case 8: return row[col];
    case 12: return get12(row, col);
    case 16: { uint16_t v; std::memcpy(&v, row + 2 * col, 2); return v; }
    case 24: return row[3 * col] | (row[3 * col + 1] << 8) | (static_cast<uint32_t>(row[3 * col + 2]) << 16);
    case 32: { uint32_t v; std::memcpy(&v, row + 4 * col, 4); return v; }
    default: return bits < 8 ? get_packed(row, bits, col) : 0;
  }
}

// Copies `nbits` bits of an MSB-first bit stream from bit `src_bit` of `src`
// to bit `dst_bit` of `dst`; the destination bits around them keep their
// values. Whole bytes are moved when both start at the same bit of a byte.
inline void copy_bits(uint8_t *dst, uint64_t dst_bit, const uint8_t *src, uint64_t src_bit,
                      uint64_t nbits) noexcept {
  if (nbits == 0) return;
  if (dst_bit % 8 != src_bit % 8) {
    // Eight bits at a time where possible, then the rest.
    uint64_t done = 0;
    for (; done + 8 <= nbits; done += 8) put_bits(dst, dst_bit + done, 8, get_bits(src, src_bit + done, 8));
    for (; done < nbits; ++done) put_bits(dst, dst_bit + done, 1, get_bits(src, src_bit + done, 1));
    return;
  }
  uint8_t *d = dst + dst_bit / 8;
  const uint8_t *s = src + src_bit / 8;
  const uint32_t head = static_cast<uint32_t>(dst_bit % 8);  // bits before the run in its first byte
  const uint64_t end_bit = head + nbits;                     // run end, counted from *d's top bit
  const uint64_t last = (end_bit - 1) / 8;                   // index of the run's last byte
  const uint8_t first_mask = static_cast<uint8_t>(0xFFu >> head);
  const uint32_t tail = static_cast<uint32_t>(end_bit % 8);
  const uint8_t last_mask = static_cast<uint8_t>(tail ? 0xFFu << (8 - tail) : 0xFFu);
  if (last == 0) {
    const uint8_t m = first_mask & last_mask;
    d[0] = static_cast<uint8_t>((d[0] & ~m) | (s[0] & m));
    return;
  }
  d[0] = static_cast<uint8_t>((d[0] & ~first_mask) | (s[0] & first_mask));
  if (last > 1) std::memmove(d + 1, s + 1, static_cast<size_t>(last - 1));
  d[last] = static_cast<uint8_t>((d[last] & ~last_mask) | (s[last] & last_mask));
}

// Copies `count` packed pixels of `bits` (1 to 7) from pixel `src_col` of
// `src` to pixel `dst_col` of `dst`; the bits around the run keep their values.
inline void copy_packed_run(uint8_t *dst, uint64_t dst_col, const uint8_t *src, uint64_t src_col,
                            uint64_t count, int32_t bits) noexcept {
  const auto b = static_cast<uint64_t>(bits);
  copy_bits(dst, dst_col * b, src, src_col * b, count * b);
}

}  // namespace rv::px
