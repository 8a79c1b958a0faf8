// The allocation functions: the heap with a size header, movable blocks of
// handle kind 3, the classic handle calls on them, and the standard memory
// functions under exported names.
#include "internal/memory.h"

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <new>

#include "internal/fault.h"

namespace rv {

namespace {

// Heap blocks carry their size in front, which keeps the data 16-aligned.
constexpr size_t kHeader = 16;
struct BlockHeader {
  size_t bytes;
};
static_assert(sizeof(BlockHeader) <= kHeader);

BlockHeader *header_of(const void *block) noexcept {
  return reinterpret_cast<BlockHeader *>(const_cast<uint8_t *>(static_cast<const uint8_t *>(block)) -
                                         kHeader);
}

}  // namespace

void *alloc_block(size_t bytes, bool zero) noexcept {
  if (bytes > SIZE_MAX - kHeader || fault::fail_allocation()) return nullptr;
  void *raw = zero ? std::calloc(1, bytes + kHeader) : std::malloc(bytes + kHeader);
  if (raw == nullptr) return nullptr;
  static_cast<BlockHeader *>(raw)->bytes = bytes;
  return static_cast<uint8_t *>(raw) + kHeader;
}

void *realloc_block(void *block, size_t bytes, bool zero) noexcept {
  if (block == nullptr) return alloc_block(bytes, zero);
  if (bytes > SIZE_MAX - kHeader || fault::fail_allocation()) return nullptr;
  const size_t old_bytes = header_of(block)->bytes;
  void *raw = std::realloc(header_of(block), bytes + kHeader);
  if (raw == nullptr) return nullptr;
  static_cast<BlockHeader *>(raw)->bytes = bytes;
  uint8_t *data = static_cast<uint8_t *>(raw) + kHeader;
  if (zero && bytes > old_bytes) std::memset(data + old_bytes, 0, bytes - old_bytes);
  return data;
}

void free_block(void *block) noexcept {
  if (block != nullptr) std::free(header_of(block));
}

size_t block_size(const void *block) noexcept { return block ? header_of(block)->bytes : 0; }

// --- movable blocks ---------------------------------------------------------------
// Layout: [16-byte header whose last pointer-sized word is the handle][data].
namespace {
constexpr size_t kMovableHeader = 16;
static_assert(kMovableHeader >= sizeof(void *));

void set_front_word(WINHANDLE *handle) noexcept {
  std::memcpy(static_cast<uint8_t *>(handle->pData) - sizeof(void *), &handle, sizeof handle);
}
}  // namespace

WINHANDLE *movable_alloc(size_t bytes, uint32_t flags) noexcept {
  auto *handle = static_cast<WINHANDLE *>(alloc_block(sizeof(WINHANDLE), true));
  if (handle == nullptr) return nullptr;
  void *block = bytes <= SIZE_MAX - kMovableHeader
                    ? alloc_block(bytes + kMovableHeader, (flags & RV_GMEM_ZEROINIT) != 0)
                    : nullptr;
  if (block == nullptr) {
    free_block(handle);
    return nullptr;
  }
  handle->nKind = WINHANDLE_KIND_MEMORY;
  handle->pBlock = block;
  handle->pData = static_cast<uint8_t *>(block) + kMovableHeader;
  handle->uSize = bytes;
  handle->uFlags = flags;
  set_front_word(handle);
  return handle;
}

bool movable_realloc(WINHANDLE *handle, size_t bytes, uint32_t flags) noexcept {
  if (bytes > SIZE_MAX - kMovableHeader) return false;
  const bool zero = ((flags | handle->uFlags) & RV_GMEM_ZEROINIT) != 0;
  void *block = realloc_block(handle->pBlock, bytes + kMovableHeader, zero);
  if (block == nullptr) return false;
  handle->pBlock = block;
  handle->pData = static_cast<uint8_t *>(block) + kMovableHeader;
  handle->uSize = bytes;
  set_front_word(handle);
  return true;
}

void movable_free(WINHANDLE *handle) noexcept {
  if (handle == nullptr) return;
  free_block(handle->pBlock);
  handle->nKind = 0;
  free_block(handle);
}

WINHANDLE *movable_handle_of(const void *data) noexcept {
  if (data == nullptr) return nullptr;
  WINHANDLE *handle;
  std::memcpy(&handle, static_cast<const uint8_t *>(data) - sizeof(void *), sizeof handle);
  return handle;
}

}  // namespace rv

// --- the exported allocation functions ---------------------------------------------
namespace {

void *local_alloc(uint32_t count, uint32_t size, bool zero) noexcept {
  size_t bytes;
  if (!rv::checked_bytes32(count, size, &bytes)) return nullptr;
  return rv::alloc_block(bytes, zero);
}

void *local_realloc(void *memory, uint32_t count, uint32_t size, bool zero) noexcept {
  size_t bytes;
  if (!rv::checked_bytes32(count, size, &bytes)) return nullptr;
  return rv::realloc_block(memory, bytes, zero);
}

void *global_alloc(uint32_t count, uint32_t size, bool zero) noexcept {
  size_t bytes;
  if (!rv::checked_bytes32(count, size, &bytes)) return nullptr;
  WINHANDLE *handle = rv::movable_alloc(bytes, zero ? RV_GMEM_ZEROINIT : 0);
  return handle ? handle->pData : nullptr;
}

void *global_realloc(void *memory, uint32_t count, uint32_t size, bool zero) noexcept {
  if (memory == nullptr) return global_alloc(count, size, zero);
  size_t bytes;
  if (!rv::checked_bytes32(count, size, &bytes)) return nullptr;
  WINHANDLE *handle = rv::movable_handle_of(memory);
  if (!rv::movable_realloc(handle, bytes, zero ? RV_GMEM_ZEROINIT : 0)) return nullptr;
  return handle->pData;
}

WINHANDLE *as_memory_handle(RVHANDLE h) noexcept {
  if (h == nullptr || h == RV_INVALID_HANDLE) return nullptr;
  auto *handle = static_cast<WINHANDLE *>(h);
  return handle->nKind == WINHANDLE_KIND_MEMORY ? handle : nullptr;
}

}  // namespace

void *Rv_LocalAlloc(uint32_t uCount, uint32_t uSize, int32_t, const char *) noexcept {
  return local_alloc(uCount, uSize, false);
}
void *Rv_LocalAllocInit(uint32_t uCount, uint32_t uSize, int32_t, const char *) noexcept {
  return local_alloc(uCount, uSize, true);
}
void *Rv_LocalRealloc(void *pMemory, uint32_t uCount, uint32_t uSize, int32_t,
                      const char *) noexcept {
  return local_realloc(pMemory, uCount, uSize, false);
}
void *Rv_LocalReallocInit(void *pMemory, uint32_t uCount, uint32_t uSize, int32_t,
                          const char *) noexcept {
  return local_realloc(pMemory, uCount, uSize, true);
}
void Rv_LocalFree(void *pMemory) noexcept { rv::free_block(pMemory); }

void *Rv_GlobalAlloc(uint32_t uCount, uint32_t uSize, int32_t, const char *) noexcept {
  return global_alloc(uCount, uSize, false);
}
void *Rv_GlobalAllocInit(uint32_t uCount, uint32_t uSize, int32_t, const char *) noexcept {
  return global_alloc(uCount, uSize, true);
}
void *Rv_GlobalRealloc(void *pMemory, uint32_t uCount, uint32_t uSize, int32_t,
                       const char *) noexcept {
  return global_realloc(pMemory, uCount, uSize, false);
}
void Rv_GlobalFree(void *pMemory) noexcept {
  if (pMemory != nullptr) rv::movable_free(rv::movable_handle_of(pMemory));
}

RVHANDLE Rv_OsAllocHandle(uint32_t uFlags, size_t uBytes) noexcept {
  return rv::movable_alloc(uBytes, uFlags);
}
RVHANDLE Rv_OsAllocHandleInit(uint32_t uFlags, size_t uBytes) noexcept {
  return rv::movable_alloc(uBytes, uFlags | RV_GMEM_ZEROINIT);
}
RVHANDLE Rv_OsReallocHandle(RVHANDLE hMemory, size_t uBytes, uint32_t uFlags) noexcept {
  WINHANDLE *handle = as_memory_handle(hMemory);
  if (handle == nullptr) return nullptr;
  return rv::movable_realloc(handle, uBytes, uFlags) ? handle : nullptr;
}
void *Rv_OsLockHandle(RVHANDLE hMemory) noexcept {
  WINHANDLE *handle = as_memory_handle(hMemory);
  return handle ? handle->pData : nullptr;
}
int32_t Rv_OsUnlockHandle(RVHANDLE hMemory) noexcept {
  return as_memory_handle(hMemory) ? TRUE : FALSE;
}
void Rv_OsFreeHandle(RVHANDLE hMemory) noexcept { rv::movable_free(as_memory_handle(hMemory)); }
void *WinGlobalLock(RVHANDLE hMemory) noexcept { return Rv_OsLockHandle(hMemory); }
int32_t WinGlobalUnlock(RVHANDLE hMemory) noexcept { return Rv_OsUnlockHandle(hMemory); }
RVHANDLE WinGlobalReAlloc(RVHANDLE hMemory, size_t uBytes, uint32_t uFlags) noexcept {
  return Rv_OsReallocHandle(hMemory, uBytes, uFlags);
}

// --- memory functions ---------------------------------------------------------------
void *Rv_MemoryCopy(void *pDst, const void *pSrc, size_t uBytes) noexcept {
  return uBytes ? std::memcpy(pDst, pSrc, uBytes) : pDst;
}
void *Rv_MemoryMove(void *pDst, const void *pSrc, size_t uBytes) noexcept {
  return uBytes ? std::memmove(pDst, pSrc, uBytes) : pDst;
}
int32_t Rv_MemoryCompare(const void *p1, const void *p2, size_t uBytes) noexcept {
  return uBytes ? std::memcmp(p1, p2, uBytes) : 0;
}
int32_t Rv_MemoryCompareI(const void *p1, const void *p2, size_t uBytes) noexcept {
  const auto *a = static_cast<const uint8_t *>(p1);
  const auto *b = static_cast<const uint8_t *>(p2);
  for (size_t i = 0; i < uBytes; ++i) {
    int ca = a[i] >= 'A' && a[i] <= 'Z' ? a[i] + 32 : a[i];
    int cb = b[i] >= 'A' && b[i] <= 'Z' ? b[i] + 32 : b[i];
    if (ca != cb) return ca - cb;
  }
  return 0;
}
void *Rv_MemorySet(void *pDst, int32_t nValue, size_t uBytes) noexcept {
  return uBytes ? std::memset(pDst, nValue, uBytes) : pDst;
}
void *Rv_MemoryChr(const void *pMemory, int32_t nValue, size_t uBytes) noexcept {
  return uBytes ? const_cast<void *>(std::memchr(pMemory, nValue, uBytes)) : nullptr;
}
void *Rv_Krn_memcpy(void *pDst, const void *pSrc, size_t uBytes) noexcept {
  return Rv_MemoryCopy(pDst, pSrc, uBytes);
}
void *Rv_Krn_memset(void *pDst, int32_t nValue, size_t uBytes) noexcept {
  return Rv_MemorySet(pDst, nValue, uBytes);
}
int32_t Rv_Krn_memcmp(const void *p1, const void *p2, size_t uBytes) noexcept {
  return Rv_MemoryCompare(p1, p2, uBytes);
}
