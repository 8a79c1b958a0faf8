// What every transform needs around its row loop: whole-row reads and writes
// that turn a short count into a status, a lock held for the loop, and a work
// buffer from the library's heap that frees itself.
#pragma once
#include <cstddef>
#include <cstdint>

#include "internal/memory.h"
#include "ruvokit/rvbitmap.h"

namespace rv::xform {

// A whole row into `buffer`: SUCCESS, or the read's error.
inline int32_t read_row(BITMAPRECORD *b, void *buffer, int32_t row) noexcept {
  const int32_t got = Rv_GetBitmapRow(b, buffer, row, static_cast<uint32_t>(b->nBytesPerLine));
  return got < 0 ? got : SUCCESS;
}

// A whole row from `buffer`: SUCCESS, the write's error, or ERROR_FILE_WRITE
// when fewer bytes went out than the row holds.
inline int32_t write_row(BITMAPRECORD *b, const void *buffer, int32_t row) noexcept {
  const int32_t put = Rv_PutBitmapRow(b, buffer, row, static_cast<uint32_t>(b->nBytesPerLine));
  if (put < 0) return put;
  return put == b->nBytesPerLine ? SUCCESS : ERROR_FILE_WRITE;
}

// The bitmap locked for the length of a loop (movable data has an address
// only while locked).
class Access {
 public:
  explicit Access(BITMAPRECORD *b) noexcept : b_(b), status_(Rv_IntAccessBitmap(b, &locked_)) {}
  Access(const Access &) = delete;
  Access &operator=(const Access &) = delete;
  ~Access() { finish(SUCCESS); }
  int32_t status() const noexcept { return status_; }
  // Releases the lock; the loop's status wins over the release's.
  int32_t finish(int32_t status) noexcept {
    const int32_t result = Rv_IntReleaseBitmap(b_, locked_, status);
    locked_ = FALSE;
    return result;
  }

 private:
  BITMAPRECORD *b_;
  int32_t locked_ = FALSE;
  int32_t status_;
};

// A block of `count` elements from the library's heap, freed with the scope.
template <class T>
class Buffer {
 public:
  explicit Buffer(size_t count, bool zero = false) noexcept : p_(rv::alloc_array<T>(count ? count : 1, zero)) {}
  Buffer(const Buffer &) = delete;
  Buffer &operator=(const Buffer &) = delete;
  ~Buffer() { rv::free_block(p_); }
  explicit operator bool() const noexcept { return p_ != nullptr; }
  T *get() const noexcept { return p_; }
  T &operator[](size_t i) const noexcept { return p_[i]; }

 private:
  T *p_;
};

// Flat memory the loop may address directly: in memory, neither compressed,
// tiled nor in strips, and no data callbacks that would serve rows themselves.
inline bool is_flat_memory(const BITMAPRECORD *b) noexcept {
  constexpr uint32_t kOther = BITMAPFLAG_COMPRESSED | BITMAPFLAG_TILED | BITMAPFLAG_SUPER_COMPRESSED;
  return (b->uFlags & BITMAPFLAG_CONVENTIONAL) && !(b->uFlags & kOther) && b->pData != nullptr &&
         b->pDataCallbacks == nullptr;
}

inline uint8_t *row_address(const BITMAPRECORD *b, int32_t row) noexcept {
  return b->pData + static_cast<size_t>(static_cast<uint32_t>(b->nBytesPerLine)) * static_cast<uint32_t>(row);
}

inline bool is_transposed(int32_t view) noexcept { return view >= VIEW_LEFT_TOP && view <= VIEW_LEFT_BOTTOM; }

}  // namespace rv::xform
