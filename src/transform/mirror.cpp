// Mirroring one packed row left to right, at every depth. Depths 1, 2 and 4
// reverse whole bytes (and the pixels inside each byte) and then move the
// pixels back to the front of the line; the other packed depths swap pixel
// pairs at their bit positions; byte-sized pixels swap as blocks.
#include "transform/mirror.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "internal/pixels.h"
#include "ruvokit/rvtransform.h"

namespace {

// Each byte with its pixels of `bits` (1, 2 or 4) in the opposite order.
constexpr std::array<uint8_t, 256> reversed_pixels(int bits) {
  std::array<uint8_t, 256> table{};
  const int per_byte = 8 / bits;
  const unsigned mask = (1u << bits) - 1u;
  for (unsigned v = 0; v < 256; ++v) {
    unsigned r = 0;
    for (int i = 0; i < per_byte; ++i) r |= ((v >> (i * bits)) & mask) << ((per_byte - 1 - i) * bits);
    table[v] = static_cast<uint8_t>(r);
  }
  return table;
}
constexpr auto kReversed1 = reversed_pixels(1);
constexpr auto kReversed2 = reversed_pixels(2);
constexpr auto kReversed4 = reversed_pixels(4);

// Depths 1, 2, 4: the bytes that hold the pixels are reversed with the pixels
// inside them, and the line is shifted left by the unused bits of the last
// byte, which come in as zeros at its end.
void mirror_bytes(uint8_t *line, uint64_t width, int32_t bits, const std::array<uint8_t, 256> &table) noexcept {
  const uint64_t used_bits = width * static_cast<uint64_t>(bits);
  const size_t n = static_cast<size_t>((used_bits + 7) / 8);
  for (size_t i = 0, j = n - 1; i < j; ++i, --j) {
    const uint8_t a = table[line[i]];
    line[i] = table[line[j]];
    line[j] = a;
  }
  if (n % 2 == 1) line[n / 2] = table[line[n / 2]];
  const unsigned shift = static_cast<unsigned>((8 - used_bits % 8) % 8);
  if (shift == 0) return;
  for (size_t i = 0; i + 1 < n; ++i) {
    line[i] = static_cast<uint8_t>((line[i] << shift) | (line[i + 1] >> (8 - shift)));
  }
  line[n - 1] = static_cast<uint8_t>(line[n - 1] << shift);
}

// Depths 3, 5, 6, 7: pairs of pixels from both ends, each at its bit position.
void mirror_packed(uint8_t *line, uint64_t width, int32_t bits) noexcept {
  for (uint64_t i = 0, j = width - 1; i < j; ++i, --j) {
    const uint32_t a = rv::px::get_packed(line, bits, i);
    rv::px::put_packed(line, bits, i, rv::px::get_packed(line, bits, j));
    rv::px::put_packed(line, bits, j, a);
  }
}

void mirror12(uint8_t *line, uint64_t width) noexcept {
  for (uint64_t i = 0, j = width - 1; i < j; ++i, --j) {
    const uint32_t a = rv::px::get12(line, i);
    rv::px::put12(line, i, rv::px::get12(line, j));
    rv::px::put12(line, j, a);
  }
}

template <size_t kBytes>
void mirror_whole(uint8_t *line, uint64_t width) noexcept {
  uint8_t *a = line;
  uint8_t *b = line + (width - 1) * kBytes;
  for (; a < b; a += kBytes, b -= kBytes) {
    uint8_t t[kBytes];
    std::memcpy(t, a, kBytes);
    std::memcpy(a, b, kBytes);
    std::memcpy(b, t, kBytes);
  }
}

// Byte-sized pixels copied in reverse order. Pixels of 3 and 6 bytes move as
// 4 and 8 bytes, the bytes past each one being overwritten by the next;
// the first and last move at their own size so as to read and write only
// the row.
template <size_t kBytes>
void copy_reversed(uint8_t *dst, const uint8_t *src, uint64_t width) noexcept {
  constexpr size_t kWide = kBytes == 3 ? 4 : kBytes == 6 ? 8 : kBytes;
  const uint8_t *from = src + (width - 1) * kBytes;
  std::memcpy(dst, from, kBytes);
  for (uint64_t i = 1; i + 1 < width; ++i) std::memcpy(dst + i * kBytes, from - i * kBytes, kWide);
  if (width > 1) std::memcpy(dst + (width - 1) * kBytes, src, kBytes);
}

}  // namespace

namespace rv::xform {

void mirror_copy(uint8_t *dst, const uint8_t *src, int32_t width, int32_t bits, size_t bytes) noexcept {
  const auto w = static_cast<uint64_t>(width > 0 ? width : 0);
  switch (w == 0 ? 0 : bits) {
    case 8: std::reverse_copy(src, src + w, dst); break;
    case 16: copy_reversed<2>(dst, src, w); break;
    case 24: copy_reversed<3>(dst, src, w); break;
    case 32: copy_reversed<4>(dst, src, w); break;
    case 48: copy_reversed<6>(dst, src, w); break;
    case 64: copy_reversed<8>(dst, src, w); break;
    default:  // packed pixels, or nothing to move
      std::memcpy(dst, src, bytes);
      Rv_MirrorLine(dst, width, bits);
      return;
  }
  const size_t used = static_cast<size_t>(w * static_cast<uint64_t>(bits / 8));
  std::memcpy(dst + used, src + used, bytes - used);
}

}  // namespace rv::xform

int32_t Rv_MirrorLine(uint8_t *pLine, int32_t nWidth, int32_t nBitsPerPixel) noexcept {
  if (pLine == nullptr) return ERROR_INVALID_PARAMETER;
  if (nWidth <= 0) return SUCCESS;
  const auto width = static_cast<uint64_t>(nWidth);
  switch (nBitsPerPixel) {
    case 1: mirror_bytes(pLine, width, 1, kReversed1); break;
    case 2: mirror_bytes(pLine, width, 2, kReversed2); break;
    case 4: mirror_bytes(pLine, width, 4, kReversed4); break;
    case 3: case 5: case 6: case 7: mirror_packed(pLine, width, nBitsPerPixel); break;
    case 12: mirror12(pLine, width); break;
    case 8: std::reverse(pLine, pLine + width); break;
    case 16: mirror_whole<2>(pLine, width); break;
    case 24: mirror_whole<3>(pLine, width); break;
    case 32: mirror_whole<4>(pLine, width); break;
    case 48: mirror_whole<6>(pLine, width); break;
    case 64: mirror_whole<8>(pLine, width); break;
    default: break;
  }
  return SUCCESS;
}
