// The library's heap. Every owned table goes through here (directly or through
// Rv_LocalAlloc), so that the fault injection of the tests reaches it and the
// size of each block is known for growth with zero-fill.
#pragma once
#include <cstddef>
#include <cstdint>

#include "ruvokit/rvplatform.h"

namespace rv {

// A block of `bytes` bytes (zeroed when `zero`), or null.
void *alloc_block(size_t bytes, bool zero) noexcept;
// Grows or shrinks a block (a null block is a new one); with `zero` the bytes
// it grows by are zeroed. Null on failure, the old block then stays.
void *realloc_block(void *block, size_t bytes, bool zero) noexcept;
void free_block(void *block) noexcept;
// Bytes asked for when the block was made or last resized.
size_t block_size(const void *block) noexcept;

// A count of elements of a size, refused (0) when the product overflows 32
// bits, as the allocation interface does.
inline bool checked_bytes32(uint32_t count, uint32_t size, size_t *bytes) noexcept {
  const uint64_t product = static_cast<uint64_t>(count) * size;
  if (product > 0xFFFFFFFFull) return false;
  *bytes = static_cast<size_t>(product);
  return true;
}

// Typed helpers for the library's own tables.
template <class T>
T *alloc_array(size_t count, bool zero = false) noexcept {
  if (count > SIZE_MAX / sizeof(T)) return nullptr;
  return static_cast<T *>(alloc_block(count * sizeof(T), zero));
}

// Movable blocks (handle kind 3). The data is preceded by a pointer-sized word
// that holds the address of the handle object.
WINHANDLE *movable_alloc(size_t bytes, uint32_t flags) noexcept;
// Resizes the block of `handle`; false leaves the old block in place.
bool movable_realloc(WINHANDLE *handle, size_t bytes, uint32_t flags) noexcept;
void movable_free(WINHANDLE *handle) noexcept;
// The handle of a movable block's data, read from the word in front of it.
WINHANDLE *movable_handle_of(const void *data) noexcept;

}  // namespace rv

// Allocation with the caller's source line, for the library's own code.
#define RV_ALLOC(count, size) Rv_LocalAlloc((count), (size), __LINE__, __FILE__)
#define RV_ALLOC_INIT(count, size) Rv_LocalAllocInit((count), (size), __LINE__, __FILE__)
