#include <gtest/gtest.h>

#include <cstring>

#include "internal/fault.h"
#include "internal/memory.h"
#include "ruvokit/rvkrn.h"

namespace {

TEST(LocalAlloc, ProductOverflowing32BitsFails) {
  struct Case {
    uint32_t count, size;
    bool fits;
  };
  const Case cases[] = {
      {0x10000, 0x10000, false},  // exactly 2^32
      {0xFFFFFFFF, 2, false},
      {3, 0x55555556, false},
      {0x10000, 0x100, true},
      {0, 0xFFFFFFFF, true},  // zero bytes is a valid (empty) block
  };
  for (const Case &c : cases) {
    void *p = Rv_LocalAlloc(c.count, c.size, __LINE__, __FILE__);
    EXPECT_EQ(p != nullptr, c.fits) << c.count << " x " << c.size;
    Rv_LocalFree(p);
    void *g = Rv_GlobalAlloc(c.count, c.size, __LINE__, __FILE__);
    EXPECT_EQ(g != nullptr, c.fits) << c.count << " x " << c.size;
    Rv_GlobalFree(g);
  }
  // A failed growth leaves the old block in place.
  auto *p = static_cast<uint8_t *>(Rv_LocalAllocInit(4, 4, __LINE__, __FILE__));
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(Rv_LocalRealloc(p, 0x10000, 0x10000, __LINE__, __FILE__), nullptr);
  p[15] = 7;
  Rv_LocalFree(p);
}

TEST(LocalAlloc, InitFormsZeroAndGrowthZeroesOnlyTheNewBytes) {
  auto *p = static_cast<uint8_t *>(Rv_LocalAllocInit(10, 3, __LINE__, __FILE__));
  ASSERT_NE(p, nullptr);
  for (int i = 0; i < 30; ++i) EXPECT_EQ(p[i], 0);
  std::memset(p, 0xAB, 30);
  p = static_cast<uint8_t *>(Rv_LocalReallocInit(p, 100, 1, __LINE__, __FILE__));
  ASSERT_NE(p, nullptr);
  for (int i = 0; i < 30; ++i) EXPECT_EQ(p[i], 0xAB);
  for (int i = 30; i < 100; ++i) EXPECT_EQ(p[i], 0);
  Rv_LocalFree(p);
  Rv_LocalFree(nullptr);
}

TEST(GlobalAlloc, WordInFrontOfTheDataHoldsTheHandle) {
  auto *data = static_cast<uint8_t *>(Rv_GlobalAllocInit(16, 4, __LINE__, __FILE__));
  ASSERT_NE(data, nullptr);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(data) % 16, 0u);
  WINHANDLE *handle;
  std::memcpy(&handle, data - sizeof(void *), sizeof handle);
  ASSERT_NE(handle, nullptr);
  EXPECT_EQ(handle->nKind, WINHANDLE_KIND_MEMORY);
  EXPECT_EQ(handle->pData, data);
  EXPECT_EQ(handle->uSize, 64u);
  data[63] = 0x11;
  // Reallocation goes through the handle and keeps it pointing at the data.
  data = static_cast<uint8_t *>(Rv_GlobalRealloc(data, 4096, 1, __LINE__, __FILE__));
  ASSERT_NE(data, nullptr);
  EXPECT_EQ(rv::movable_handle_of(data), handle);
  EXPECT_EQ(handle->pData, data);
  EXPECT_EQ(data[63], 0x11);
  Rv_GlobalFree(data);
}

TEST(HandleCalls, LockGivesTheDataAndReallocKeepsTheHandle) {
  RVHANDLE h = Rv_OsAllocHandleInit(RV_GMEM_MOVEABLE, 100);
  ASSERT_NE(h, nullptr);
  auto *p = static_cast<uint8_t *>(WinGlobalLock(h));
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(p, Rv_OsLockHandle(h));  // no count: the same address every time
  EXPECT_EQ(p[99], 0);
  p[0] = 42;
  EXPECT_EQ(WinGlobalUnlock(h), TRUE);
  EXPECT_EQ(WinGlobalReAlloc(h, 1 << 20, RV_GMEM_ZEROINIT), h);
  p = static_cast<uint8_t *>(Rv_OsLockHandle(h));
  EXPECT_EQ(p[0], 42);
  EXPECT_EQ(p[(1 << 20) - 1], 0);
  EXPECT_EQ(Rv_WinCloseHandle(h), TRUE);  // closing a kind-3 handle frees the block
  EXPECT_EQ(Rv_OsLockHandle(nullptr), nullptr);
  EXPECT_EQ(Rv_OsReallocHandle(RV_INVALID_HANDLE, 10, 0), nullptr);
}

TEST(HandleCalls, AllocationFailureGivesNull) {
  rv::fault::fail_after(0);
  EXPECT_EQ(Rv_OsAllocHandle(0, 10), nullptr);
  EXPECT_TRUE(rv::fault::fired());
  rv::fault::fail_after(1);  // the handle object is made, its block is not
  EXPECT_EQ(Rv_GlobalAlloc(1, 10, __LINE__, __FILE__), nullptr);
  rv::fault::fail_after(-1);
}

TEST(MemoryFunctions, BehaveAsTheStandardOnes) {
  char a[8] = "AbCdEf", b[8] = "aBcDeG";
  EXPECT_EQ(Rv_MemoryCompareI(a, b, 5), 0);
  EXPECT_LT(Rv_MemoryCompareI(a, b, 6), 0);
  EXPECT_NE(Rv_MemoryCompare(a, b, 5), 0);
  EXPECT_EQ(Rv_Krn_memcmp(a, a, 6), 0);
  EXPECT_EQ(Rv_MemoryChr(a, 'd', 6), a + 3);
  EXPECT_EQ(Rv_MemoryChr(a, 'z', 6), nullptr);
  Rv_MemoryMove(a + 1, a, 5);
  EXPECT_STREQ(a, "AAbCdE");
  Rv_Krn_memset(b, 'x', 3);
  Rv_MemoryCopy(a, b, 4);
  EXPECT_EQ(std::memcmp(a, "xxxD", 4), 0);
  EXPECT_EQ(Rv_MemoryCopy(nullptr, nullptr, 0), nullptr);
}

}  // namespace
