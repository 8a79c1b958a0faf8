// The compressed-row exchange format of 1-bit rows: a little-endian 32-bit
// count of words, then that many 16-bit run lengths, alternating between 0
// and 1 bits and beginning with a run of 0 bits. The encoder here makes such
// rows from packed bits or from runs; it is what every compressing call of
// the library uses.
#pragma once
#include <cstdint>
#include <cstring>

namespace rv::runs {

// Bytes of a compressed row's head, the word count.
constexpr uint32_t kHeadBytes = 4;
// The longest run one word holds.
constexpr uint32_t kMaxRun = 65535;

inline uint32_t load32(const uint8_t *p) noexcept {
  return p[0] | (p[1] << 8) | (static_cast<uint32_t>(p[2]) << 16) | (static_cast<uint32_t>(p[3]) << 24);
}
inline void store32(uint8_t *p, uint32_t v) noexcept {
  for (int i = 0; i < 4; ++i) p[i] = static_cast<uint8_t>(v >> (8 * i));
}
inline uint32_t word_count(const uint8_t *row) noexcept { return load32(row); }
inline uint32_t word(const uint8_t *row, uint32_t k) noexcept {
  const uint8_t *p = row + kHeadBytes + 2 * static_cast<size_t>(k);
  return p[0] | (p[1] << 8);
}
// Bytes the row takes in a buffer of rows.
inline size_t row_bytes(const uint8_t *row) noexcept { return kHeadBytes + 2 * static_cast<size_t>(word_count(row)); }
// Bytes a compressed row of `bits` bits may need at the most: every bit a run
// of its own, after a first run of length 0.
inline size_t max_row_bytes(uint32_t bits) noexcept { return kHeadBytes + 2 * (static_cast<size_t>(bits) + 2); }

// Builds one compressed row in `row`. The word being written is the run in
// hand; it grows while bits of its value come, and a run of the other value
// opens the next word.
class Encoder {
 public:
  // The run in hand starts at `first_run` (a 16-bit number: a negative start
  // cancels bits that are to count as nothing).
  explicit Encoder(uint8_t *row, uint16_t first_run = 0) noexcept : row_(row) { put(0, first_run); }

  // Adds `bits` packed bits from the high bit of src[0] on. The first byte of
  // an encoder adds to the run in hand in 16-bit arithmetic, without the
  // overflow rule, which is how a negative start cancels.
  void add_bits(const uint8_t *src, uint64_t bits) noexcept;
  // Adds a run of `length` bits of value `one`.
  void add_run(bool one, uint64_t length) noexcept;
  // Writes the word count in front; returns it.
  uint32_t finish() noexcept {
    store32(row_, cur_ + 1);
    return cur_ + 1;
  }

 private:
  void put(uint32_t k, uint32_t v) noexcept {
    uint8_t *p = row_ + kHeadBytes + 2 * static_cast<size_t>(k);
    p[0] = static_cast<uint8_t>(v);
    p[1] = static_cast<uint8_t>(v >> 8);
  }
  uint32_t get(uint32_t k) const noexcept { return word(row_, k); }
  // Adds to the run in hand; past 65535 the word is filled, an empty run of
  // the other value follows, and the addition goes on in a new word.
  void grow(uint64_t add, bool checked) noexcept;
  void open(uint32_t length) noexcept { put(++cur_, length); }

  uint8_t *row_;
  uint32_t cur_ = 0;
  bool one_ = false;  // the value of the run in hand
  bool first_ = true;
};

// Walks the runs of a compressed row: the value and length of each in turn.
class Reader {
 public:
  explicit Reader(const uint8_t *row) noexcept : row_(row), count_(word_count(row)) {}
  bool done() const noexcept { return k_ >= count_; }
  uint32_t length() const noexcept { return word(row_, k_); }
  bool one() const noexcept { return (k_ & 1) != 0; }
  void next() noexcept { ++k_; }

 private:
  const uint8_t *row_;
  uint32_t count_;
  uint32_t k_ = 0;
};

// Sets bits [first, end) of a packed row (from the high bit of row[0]).
void set_bits(uint8_t *row, uint64_t first, uint64_t end) noexcept;

}  // namespace rv::runs
