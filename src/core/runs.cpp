// Compressed rows of 1-bit pixels: packed bits to runs and back, one row or a
// buffer of rows.
#include "core/runs.h"

#include <array>

#include "ruvokit/rvbitmap.h"

namespace rv::runs {

namespace {

// The runs of each byte value from the high bit down: byte 0 is the single
// run 8, byte 1 is 7, 1, byte 2 is 6, 1, 1, byte 3 is 6, 2.
struct ByteRuns {
  uint8_t count;
  uint8_t run[8];
};

constexpr std::array<ByteRuns, 256> make_table() {
  std::array<ByteRuns, 256> table{};
  for (int b = 0; b < 256; ++b) {
    ByteRuns r{};
    int bit = 7;
    while (bit >= 0) {
      const int value = (b >> bit) & 1;
      int length = 0;
      while (bit >= 0 && ((b >> bit) & 1) == value) {
        ++length;
        --bit;
      }
      r.run[r.count++] = static_cast<uint8_t>(length);
    }
    table[static_cast<size_t>(b)] = r;
  }
  return table;
}

constexpr std::array<ByteRuns, 256> kByteRuns = make_table();
static_assert(kByteRuns[0].count == 1 && kByteRuns[0].run[0] == 8);
static_assert(kByteRuns[2].count == 3 && kByteRuns[2].run[0] == 6 && kByteRuns[2].run[2] == 1);
static_assert(kByteRuns[3].count == 2 && kByteRuns[3].run[1] == 2);

// Bytes of a padded 1-bit row of `width` pixels.
uint32_t padded_bytes(uint32_t width) noexcept { return ((width + 31) >> 3) & 0x1FFFFFFCu; }

}  // namespace

void Encoder::grow(uint64_t add, bool checked) noexcept {
  uint64_t hand = get(cur_);
  if (!checked) {
    put(cur_, static_cast<uint32_t>((hand + add) & 0xFFFFu));
    return;
  }
  while (hand + add > kMaxRun) {
    add -= kMaxRun - hand;
    put(cur_, kMaxRun);
    open(0);
    open(0);
    hand = 0;
  }
  put(cur_, static_cast<uint32_t>(hand + add));
}

void Encoder::add_bits(const uint8_t *src, uint64_t bits) noexcept {
  for (; bits >= 8; bits -= 8, ++src) {
    const uint8_t b = *src;
    const ByteRuns &r = kByteRuns[b];
    uint32_t k = 0;
    if (((b & 0x80) != 0) == one_) grow(r.run[k++], !first_);
    for (; k < r.count; ++k) open(r.run[k]);
    one_ = (b & 1) != 0;
    first_ = false;
  }
  if (bits == 0) return;
  // The rest of a byte: its runs cut to the bits that remain.
  const uint8_t b = *src;
  const ByteRuns &r = kByteRuns[b];
  uint32_t left = static_cast<uint32_t>(bits);
  bool value = (b & 0x80) != 0;
  for (uint32_t k = 0; k < r.count && left > 0; ++k, value = !value) {
    const uint32_t length = r.run[k] < left ? r.run[k] : left;
    if (k == 0 && value == one_) {
      grow(length, !first_);
    } else {
      open(length);
    }
    left -= length;
    one_ = value;
  }
  first_ = false;
}

void Encoder::add_run(bool one, uint64_t length) noexcept {
  if (length == 0) return;
  if (one != one_) {
    open(0);
    one_ = one;
  }
  grow(length, true);
  first_ = false;
}

void set_bits(uint8_t *row, uint64_t first, uint64_t end) noexcept {
  if (first >= end) return;
  uint64_t a = first / 8;
  const uint64_t last = (end - 1) / 8;
  const auto head = static_cast<uint8_t>(0xFFu >> (first % 8));
  const auto tail = static_cast<uint8_t>(0xFFu << (7 - (end - 1) % 8));
  if (a == last) {
    row[a] |= static_cast<uint8_t>(head & tail);
    return;
  }
  row[a++] |= head;
  if (last > a) std::memset(row + a, 0xFF, static_cast<size_t>(last - a));
  row[last] |= tail;
}

}  // namespace rv::runs

int32_t Rv_CompressRow(void *pCompressed, uint8_t *pRow, uint32_t uBitOffset, uint32_t uBits) noexcept {
  if (pCompressed == nullptr || pRow == nullptr) return ERROR_INVALID_PARAMETER;
  // The skipped bits of the first byte are cleared for the call and counted
  // off the first run, so that the row reads as if it began at the offset.
  const uint32_t offset = uBitOffset & 7u;
  const uint64_t bits = static_cast<uint64_t>(uBits) + offset;
  const uint8_t saved = pRow[0];
  if (offset != 0) pRow[0] = static_cast<uint8_t>(saved & (0xFFu >> offset));
  rv::runs::Encoder encoder(static_cast<uint8_t *>(pCompressed), static_cast<uint16_t>(0x10000u - offset));
  encoder.add_bits(pRow, bits);
  encoder.finish();
  pRow[0] = saved;
  return static_cast<int32_t>(uBits);
}

int32_t Rv_CompressRows(void *pCompressed, const uint8_t *pRows, uint32_t uWidth, uint32_t uRows) noexcept {
  if (pCompressed == nullptr || pRows == nullptr) return ERROR_INVALID_PARAMETER;
  auto *out = static_cast<uint8_t *>(pCompressed);
  const uint32_t stride = rv::runs::padded_bytes(uWidth);
  for (uint32_t y = 0; y < uRows; ++y, pRows += stride) {
    rv::runs::Encoder encoder(out);
    encoder.add_bits(pRows, uWidth);
    encoder.finish();
    out += rv::runs::row_bytes(out);
  }
  return SUCCESS;
}

int32_t Rv_ExpandRow(const void *pCompressed, uint8_t *pRow, uint32_t uStartBit, uint32_t uBits) noexcept {
  if (pCompressed == nullptr || pRow == nullptr) return ERROR_INVALID_PARAMETER;
  const auto *row = static_cast<const uint8_t *>(pCompressed);
  std::memset(pRow, 0, (static_cast<size_t>(uBits) + 7) / 8);
  rv::runs::Reader runs(row);
  // The run that holds the first bit, and how far into it the output starts.
  uint64_t skip = uStartBit;
  while (!runs.done() && skip >= runs.length()) {
    skip -= runs.length();
    runs.next();
  }
  uint64_t out = 0;
  for (; !runs.done() && out < uBits; runs.next(), skip = 0) {
    const uint64_t available = runs.length() - skip;
    const uint64_t length = available < uBits - out ? available : uBits - out;
    if (runs.one()) rv::runs::set_bits(pRow, out, out + length);
    out += length;
  }
  return SUCCESS;
}

int32_t Rv_ExpandRows(const void *pCompressed, uint8_t *pRows, uint32_t uWidth, uint32_t uRows) noexcept {
  if (pCompressed == nullptr || pRows == nullptr) return ERROR_INVALID_PARAMETER;
  const auto *in = static_cast<const uint8_t *>(pCompressed);
  const uint32_t stride = rv::runs::padded_bytes(uWidth);
  for (uint32_t y = 0; y < uRows; ++y, pRows += stride) {
    std::memset(pRows, 0, stride);
    Rv_ExpandRow(in, pRows, 0, uWidth);
    in += rv::runs::row_bytes(in);
  }
  return SUCCESS;
}
