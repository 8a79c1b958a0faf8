#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "internal/bitmap_hooks.h"
#include "internal/fault.h"
#include "internal/memory.h"
#include "platform/trace.h"
#include "support/bitmaps.h"

namespace {

TEST(InitBitmap, OrderOfChecks) {
  BITMAPRECORD b{};
  struct Case {
    BITMAPRECORD *bitmap;
    uint32_t size;
    int32_t width, height, bits;
    int32_t expected;
  };
  const Case cases[] = {
      {nullptr, RV_BITMAPRECORD_SIZE, -1, 1, 3, ERROR_INVALID_PARAMETER},
      {&b, 216, -1, 1, 3, ERROR_INVALID_STRUCT_SIZE},
      {&b, 176, 1, 1, 8, ERROR_INVALID_STRUCT_SIZE},
      {&b, RV_BITMAPRECORD_SIZE, -1, 1, 9, ERROR_INVALID_WIDTH_OR_HEIGHT},
      {&b, RV_BITMAPRECORD_SIZE, 1, -1, 8, ERROR_INVALID_WIDTH_OR_HEIGHT},
      {&b, RV_BITMAPRECORD_SIZE, 1, 1, 9, ERROR_INVALID_BITS_PER_PIXEL},
      {&b, RV_BITMAPRECORD_SIZE, 1, 1, 0, ERROR_INVALID_BITS_PER_PIXEL},
      {&b, RV_BITMAPRECORD_SIZE, 1, 1, 65, ERROR_INVALID_BITS_PER_PIXEL},
      {&b, RV_BITMAPRECORD_SIZE_OLD, 0, 0, 0, SUCCESS},
      {&b, RV_BITMAPRECORD_SIZE, 0, 5, 12, SUCCESS},
  };
  for (const Case &c : cases) {
    EXPECT_EQ(Rv_InitBitmap(c.bitmap, c.size, c.width, c.height, c.bits), c.expected) << &c - cases;
  }
}

TEST(AllocateBitmap, RequestsAreReducedThenChecked) {
  struct Case {
    int32_t bits;
    uint32_t memory;
    int32_t expected;
    uint32_t flags;  // storage flags after a success
  };
  const uint32_t conv = BITMAPFLAG_ALLOCATED | BITMAPFLAG_CONVENTIONAL;
  const Case cases[] = {
      {8, BITMAPMEM_CONVENTIONAL, SUCCESS, conv},
      {8, BITMAPMEM_CONVENTIONAL | BITMAPMEM_NO_DISK, SUCCESS, conv},
      {8, BITMAPMEM_NOT_TILED | BITMAPMEM_CONVENTIONAL, SUCCESS, conv},
      {4, BITMAPMEM_COMPRESSED | BITMAPMEM_CONVENTIONAL, SUCCESS, conv},  // only 1 bit compresses
      {4, BITMAPMEM_COMPRESSED, ERROR_INVALID_PARAMETER, 0},              // nothing left
      {8, BITMAPMEM_SUPER_COMPRESSED | BITMAPMEM_CONVENTIONAL, ERROR_NO_MEMORY, 0},
      {4, BITMAPMEM_SUPER_COMPRESSED | BITMAPMEM_CONVENTIONAL, SUCCESS, conv},  // dropped at 4 bits
      {8, BITMAPMEM_NO_MEMORY, SUCCESS, conv | BITMAPFLAG_USER_DATA},
      {8, BITMAPMEM_NO_MEMORY | BITMAPMEM_NO_DISK, SUCCESS, conv | BITMAPFLAG_USER_DATA},
      {8, BITMAPMEM_CONVENTIONAL | BITMAPMEM_DISK, ERROR_INVALID_PARAMETER, 0},
      {8, 0, ERROR_INVALID_PARAMETER, 0},
      {8, BITMAPMEM_TILED | BITMAPMEM_NOT_TILED, ERROR_INVALID_PARAMETER, 0},
      {8, BITMAPMEM_TILED, SUCCESS, conv},  // small: tiles not needed
  };
  for (const Case &c : cases) {
    rvtest::Bitmap b;
    ASSERT_EQ(Rv_InitBitmap(b.get(), RV_BITMAPRECORD_SIZE, 16, 16, c.bits), SUCCESS);
    EXPECT_EQ(Rv_AllocateBitmap(b.get(), c.memory), c.expected) << &c - cases;
    EXPECT_EQ(b->uFlags & BITMAPFLAG_STORAGE_MASK, c.flags) << &c - cases;
    if (c.expected != SUCCESS) {
      EXPECT_EQ(b->pPaintLUT, nullptr) << &c - cases;
    }
  }
}

TEST(AllocateBitmap, ConventionalDataIsAlignedAndThePaintTableIsIdentity) {
  rvtest::Bitmap b;
  ASSERT_TRUE(rvtest::make(b.get(), 33, 7, 24));
  EXPECT_EQ(reinterpret_cast<uintptr_t>(b->pData) % 32, 0u);
  EXPECT_NE(b->hData, nullptr);
  for (int i = 0; i < 256; ++i) ASSERT_EQ(b->pPaintLUT[i], i);
  uint32_t memory = 0, tiles = 99;
  EXPECT_EQ(Rv_GetBitmapMemoryInfo(b.get(), &memory, &tiles, nullptr, nullptr, nullptr, nullptr), SUCCESS);
  EXPECT_EQ(memory, BITMAPMEMINFO_CONVENTIONAL);
  EXPECT_EQ(tiles, 0u);
  EXPECT_EQ(Rv_GetBitmapMemoryInfo(b.get(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
            ERROR_INVALID_PARAMETER);
}

TEST(AllocateBitmap, ThresholdsDecideTheForm) {
  // Exactly the tile threshold: tiles are not taken.
  {
    rvtest::Bitmap b;
    ASSERT_EQ(Rv_InitBitmap(b.get(), RV_BITMAPRECORD_SIZE, 4096, 1024, 32), SUCCESS);
    ASSERT_EQ(Rv_GetBitmapDataSize(b.get()), 0x1000000u);
    EXPECT_EQ(Rv_AllocateBitmap(b.get(), BITMAPMEM_TILED), SUCCESS);
    EXPECT_EQ(b->uFlags & BITMAPFLAG_TILED, 0u);
  }
  // Above the thread's cap, without tiles or disk, nothing can be had.
  ASSERT_EQ(Rv_SetMemoryThresholds(0, 1000, 0, 0, 0, MEMTHRESHOLD_MAX_CONV_SIZE), SUCCESS);
  {
    rvtest::Bitmap small, large;
    ASSERT_EQ(Rv_InitBitmap(small.get(), RV_BITMAPRECORD_SIZE, 10, 10, 8), SUCCESS);
    EXPECT_EQ(Rv_AllocateBitmap(small.get(), BITMAPMEM_CONVENTIONAL), SUCCESS);
    ASSERT_EQ(Rv_InitBitmap(large.get(), RV_BITMAPRECORD_SIZE, 100, 100, 8), SUCCESS);
    EXPECT_EQ(Rv_AllocateBitmap(large.get(), BITMAPMEM_NOT_TILED | BITMAPMEM_CONVENTIONAL), SUCCESS);
    EXPECT_EQ(Rv_AllocateBitmap(large.get(), BITMAPMEM_CONVENTIONAL | BITMAPMEM_NO_DISK), ERROR_NO_MEMORY);
  }
  ASSERT_EQ(Rv_SetMemoryThresholds(0, 0x7FFFFFFF, 0, 0, 0, MEMTHRESHOLD_MAX_CONV_SIZE), SUCCESS);
  // Above the process limit the allocator goes straight to a file (none can be
  // made yet), unless the request refuses disk.
  GLOBALMEMORYTHRESHOLDS limit{sizeof(GLOBALMEMORYTHRESHOLDS), 1000};
  ASSERT_EQ(Rv_SetGlobalMemoryThresholds(&limit), SUCCESS);
  {
    rvtest::Bitmap b;
    ASSERT_EQ(Rv_InitBitmap(b.get(), RV_BITMAPRECORD_SIZE, 100, 100, 8), SUCCESS);
    EXPECT_EQ(Rv_AllocateBitmap(b.get(), BITMAPMEM_CONVENTIONAL), ERROR_NO_MEMORY);
    EXPECT_EQ(Rv_AllocateBitmap(b.get(), BITMAPMEM_CONVENTIONAL | BITMAPMEM_NO_DISK), SUCCESS);
    EXPECT_EQ(b->uFlags & BITMAPFLAG_CONVENTIONAL, BITMAPFLAG_CONVENTIONAL);
  }
  ASSERT_EQ(Rv_SetGlobalMemoryThresholds(nullptr), SUCCESS);
}

TEST(Thresholds, SettersCheckAsTheyGo) {
  int32_t reserve, conv, tile, tiles, views;
  ASSERT_EQ(Rv_GetMemoryThresholds(&reserve, &conv, &tile, &tiles, &views), SUCCESS);
  EXPECT_EQ(conv, 0x7FFFFFFF);
  EXPECT_EQ(tiles, -100);
  EXPECT_EQ(views, 1);
  // The reserve is set before the tile size is refused.
  EXPECT_EQ(Rv_SetMemoryThresholds(-5, 0, -1, 0, 0, MEMTHRESHOLD_MEMORY_RESERVE | MEMTHRESHOLD_TILE_SIZE),
            ERROR_INVALID_PARAMETER);
  Rv_GetMemoryThresholds(&reserve, nullptr, &tile, nullptr, nullptr);
  EXPECT_EQ(reserve, -5);
  EXPECT_EQ(tile, 0);
  EXPECT_EQ(Rv_SetMemoryThresholds(-101, 0, 0, 0, 0, MEMTHRESHOLD_MEMORY_RESERVE), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_SetMemoryThresholds(0, 0, 0, 0, 0, MEMTHRESHOLD_MEMORY_RESERVE), SUCCESS);

  GLOBALMEMORYTHRESHOLDS t{sizeof(GLOBALMEMORYTHRESHOLDS), -1};
  EXPECT_EQ(Rv_SetGlobalMemoryThresholds(&t), SUCCESS);
  EXPECT_EQ(Rv_IntGetMaximumConventionalMemorySize(0), 43199488u);
  EXPECT_EQ(Rv_IntGetMaximumConventionalMemorySize(-2), 1536000000u);
  t.uMaxConvSize = -2;
  EXPECT_EQ(Rv_SetGlobalMemoryThresholds(&t), ERROR_INVALID_PARAMETER);
  t.uStructSize = 16;
  EXPECT_EQ(Rv_SetGlobalMemoryThresholds(&t), ERROR_INVALID_STRUCT_SIZE);
  GLOBALMEMORYTHRESHOLDS out{};
  EXPECT_EQ(Rv_GetGlobalMemoryThresholds(nullptr, 16), ERROR_INVALID_STRUCT_SIZE);
  EXPECT_EQ(Rv_GetGlobalMemoryThresholds(nullptr, sizeof out), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_GetGlobalMemoryThresholds(&out, sizeof out), SUCCESS);
  const int64_t got = out.uMaxConvSize;  // a packed field: read it by value
  EXPECT_EQ(got, 43199488);
  EXPECT_EQ(Rv_SetGlobalMemoryThresholds(nullptr), SUCCESS);
  EXPECT_EQ(Rv_IntGetMaximumConventionalMemorySize(0), 0u);

  EXPECT_EQ(Rv_SetDefaultMemoryType(BITMAPMEM_TILED), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_SetDefaultMemoryType(BITMAPMEM_DISK), SUCCESS);
  uint32_t memory = 0;
  EXPECT_EQ(Rv_GetDefaultMemoryType(&memory), SUCCESS);
  EXPECT_EQ(memory, BITMAPMEM_DISK);
  Rv_SetDefaultMemoryType(BITMAPMEM_CONVENTIONAL);
  EXPECT_EQ(Rv_DefaultDithering(9), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_GetDefaultDithering(), 7);
}

// --- callbacks ---------------------------------------------------------------------------
struct Log {
  std::vector<std::string> calls;
  int32_t lock_result = SUCCESS;
  int32_t allocate_result = SUCCESS;
  int32_t get_row_result = 0;
};

int32_t on_allocate(BITMAPALLOCINFO *info, void *user) {
  auto *log = static_cast<Log *>(user);
  log->calls.push_back("allocate " + std::to_string(info->nBytesPerLine));
  return log->allocate_result;
}
int32_t on_free(BITMAPRECORD *, void *user) {
  static_cast<Log *>(user)->calls.push_back("free");
  return SUCCESS;
}
int32_t on_lock(BITMAPRECORD *, void *user) {
  auto *log = static_cast<Log *>(user);
  log->calls.push_back("lock");
  return log->lock_result;
}
int32_t on_unlock(BITMAPRECORD *, void *user) {
  static_cast<Log *>(user)->calls.push_back("unlock");
  return SUCCESS;
}
int32_t on_get_row(BITMAPRECORD *, void *, int32_t row, int32_t col, uint32_t bytes, void *user) {
  auto *log = static_cast<Log *>(user);
  log->calls.push_back("get " + std::to_string(row) + "," + std::to_string(col) + "," + std::to_string(bytes));
  return log->get_row_result;
}
int32_t on_put_row(BITMAPRECORD *, const void *, int32_t row, int32_t col, uint32_t bytes, void *user) {
  static_cast<Log *>(user)->calls.push_back("put " + std::to_string(row) + "," + std::to_string(col) + "," +
                                            std::to_string(bytes));
  return 0;
}

BITMAPDATACALLBACKS callbacks_for(Log *log) {
  BITMAPDATACALLBACKS cb{};
  cb.uStructSize = RV_BITMAPDATACALLBACKS_SIZE;
  cb.pUserData = log;
  cb.pfnAllocate = on_allocate;
  cb.pfnFree = on_free;
  cb.pfnLock = on_lock;
  cb.pfnUnlock = on_unlock;
  cb.pfnGetRow = on_get_row;
  cb.pfnPutRow = on_put_row;
  return cb;
}

TEST(DataCallbacks, OrderOfCallsThroughALife) {
  Log log;
  const BITMAPDATACALLBACKS cb = callbacks_for(&log);
  BITMAPRECORD b{};
  ASSERT_EQ(Rv_InitBitmapWithCallbacks(&b, RV_BITMAPRECORD_SIZE, 5, 3, 8, &cb), SUCCESS);
  ASSERT_NE(b.pDataCallbacks, nullptr);
  ASSERT_EQ(Rv_AllocateBitmap(&b, BITMAPMEM_CONVENTIONAL), SUCCESS);
  ASSERT_EQ(Rv_AccessBitmap(&b), SUCCESS);
  ASSERT_EQ(Rv_AccessBitmap(&b), SUCCESS);  // only the first lock is seen
  uint8_t row[8] = {1, 2, 3, 4, 5};
  EXPECT_EQ(Rv_PutBitmapRow(&b, row, 2, 5), 5);
  EXPECT_EQ(Rv_GetBitmapRowCol(&b, row, 1, 3, 2), 2);
  EXPECT_EQ(Rv_ReleaseBitmap(&b), SUCCESS);
  EXPECT_EQ(Rv_ReleaseBitmap(&b), SUCCESS);  // only the last release is seen
  Rv_FreeBitmap(&b);
  EXPECT_EQ(b.pDataCallbacks, nullptr);
  const std::vector<std::string> expected = {"allocate 8", "lock", "put 2,0,5", "get 1,3,2", "unlock", "free"};
  EXPECT_EQ(log.calls, expected);
}

TEST(DataCallbacks, CallbacksCanServeOrRefuse) {
  Log log;
  BITMAPDATACALLBACKS cb = callbacks_for(&log);
  rvtest::Bitmap b;
  ASSERT_EQ(Rv_InitBitmapWithCallbacks(b.get(), RV_BITMAPRECORD_SIZE, 5, 3, 8, &cb), SUCCESS);
  // The allocate callback's refusal is the result, and the paint table goes.
  log.allocate_result = ERROR_FILE_OPEN;
  EXPECT_EQ(Rv_AllocateBitmap(b.get(), BITMAPMEM_CONVENTIONAL), ERROR_FILE_OPEN);
  EXPECT_EQ(b->pPaintLUT, nullptr);
  // Taking the storage over: allocated, caller's data, no memory of its own.
  log.allocate_result = 2;
  ASSERT_EQ(Rv_AllocateBitmap(b.get(), BITMAPMEM_CONVENTIONAL), SUCCESS);
  EXPECT_EQ(b->uFlags & BITMAPFLAG_STORAGE_MASK, BITMAPFLAG_ALLOCATED | BITMAPFLAG_USER_DATA);
  // A row callback that answers with a count ends the read without storage.
  log.get_row_result = 5;
  uint8_t row[8];
  EXPECT_EQ(Rv_GetBitmapRow(b.get(), row, 0, 5), 5);
  log.get_row_result = 0;  // storage is then read: there is none
  EXPECT_EQ(Rv_GetBitmapRow(b.get(), row, 0, 5), ERROR_NO_MEMORY);
  // A lock refused leaves the count as it was.
  log.lock_result = ERROR_INVALID_IMAGE;
  EXPECT_EQ(Rv_AccessBitmap(b.get()), ERROR_INVALID_IMAGE);
  EXPECT_EQ(b->nLockCount, 0);
  int32_t locked = TRUE;
  EXPECT_EQ(Rv_IntAccessBitmap(b.get(), &locked), ERROR_INVALID_IMAGE);
  EXPECT_EQ(locked, FALSE);
  // The caller gets a copy of the callbacks, or an empty record.
  BITMAPDATACALLBACKS out{}, *pout = &out;
  EXPECT_EQ(Rv_GetBitmapDataCallbacks(b.get(), &pout), SUCCESS);
  EXPECT_EQ(out.pfnLock, &on_lock);
  EXPECT_EQ(Rv_SetBitmapDataCallbacks(b.get(), nullptr), SUCCESS);
  EXPECT_EQ(Rv_GetBitmapDataCallbacks(b.get(), &pout), SUCCESS);
  EXPECT_EQ(out.pfnLock, nullptr);
  EXPECT_EQ(out.uStructSize, RV_BITMAPDATACALLBACKS_SIZE);
  cb.uStructSize = 44;
  EXPECT_EQ(Rv_SetBitmapDataCallbacks(b.get(), &cb), ERROR_INVALID_STRUCT_SIZE);
  BITMAPRECORD zero{};
  ASSERT_EQ(Rv_InitBitmap(&zero, RV_BITMAPRECORD_SIZE, 0, 0, 0), SUCCESS);
  cb.uStructSize = RV_BITMAPDATACALLBACKS_SIZE;
  EXPECT_EQ(Rv_SetBitmapDataCallbacks(&zero, &cb), ERROR_INVALID_WIDTH_OR_HEIGHT);
}

// --- locks, free, height, caller data --------------------------------------------------------
TEST(Locks, ReleaseWithoutLockAndTracing) {
  rvtest::Bitmap b;
  ASSERT_TRUE(rvtest::make(b.get(), 4, 4, 8));
  EXPECT_EQ(Rv_ReleaseBitmap(b.get()), SUCCESS);
  EXPECT_EQ(b->nLockCount, -1);
  std::vector<std::string> traced;
  auto sink = [](const char *function, const char *message, void *user) {
    static_cast<std::vector<std::string> *>(user)->push_back(std::string(function) + ": " + message);
  };
  rv::os::TraceSink old = rv::os::set_trace_sink(sink, &traced);
  uint8_t row[4];
  Rv_GetBitmapRow(b.get(), row, 0, 4);  // tracing off: nothing
  rv::hooks::set_lock_tracing(true);
  Rv_GetBitmapRow(b.get(), row, 0, 4);
  Rv_AccessBitmap(b.get());
  rv::hooks::set_lock_tracing(false);
  rv::os::set_trace_sink(old, nullptr);
  const std::vector<std::string> expected = {"Rv_GetBitmapRow: pBitmap->nLockCount = -1\r\n",
                                             "Rv_AccessBitmap: pBitmap->nLockCount = -1\n"};
  EXPECT_EQ(traced, expected);
  EXPECT_EQ(Rv_IntReleaseBitmap(b.get(), FALSE, ERROR_FILE_READ), ERROR_FILE_READ);
  EXPECT_EQ(Rv_IntReleaseBitmap(b.get(), TRUE, SUCCESS), SUCCESS);
  EXPECT_EQ(Rv_IntReleaseBitmap(nullptr, TRUE, SUCCESS), ERROR_NULL_POINTER);
}

TEST(Locks, MovableBlockIsReachableOnlyWhileLocked) {
  rvtest::Bitmap b;
  ASSERT_EQ(Rv_InitBitmap(b.get(), RV_BITMAPRECORD_SIZE, 4, 2, 8), SUCCESS);
  constexpr uint32_t kHeader = 40;
  RVHANDLE block = Rv_OsAllocHandleInit(RV_GMEM_MOVEABLE, kHeader + 8);
  auto *base = static_cast<uint8_t *>(WinGlobalLock(block));
  base[kHeader + 4] = 0x77;  // row 1, column 0
  b->hData = block;
  b->uDataOffset = kHeader;
  b->uFlags |= BITMAPFLAG_ALLOCATED | BITMAPFLAG_CONVENTIONAL | BITMAPFLAG_GLOBAL_MEMORY;
  uint8_t row[4];
  EXPECT_EQ(Rv_GetBitmapRow(b.get(), row, 1, 4), ERROR_INVALID_IMAGE);  // not locked
  ASSERT_EQ(Rv_AccessBitmap(b.get()), SUCCESS);
  EXPECT_TRUE(b->uFlags & BITMAPFLAG_LOCKED);
  EXPECT_EQ(b->pData, base + kHeader);
  EXPECT_EQ(Rv_GetBitmapRow(b.get(), row, 1, 4), 4);
  EXPECT_EQ(row[0], 0x77);
  EXPECT_EQ(Rv_ChangeBitmapHeight(b.get(), 4), ERROR_INVALID_PARAMETER);  // locked
  ASSERT_EQ(Rv_ReleaseBitmap(b.get()), SUCCESS);
  EXPECT_EQ(b->pData, nullptr);
  EXPECT_FALSE(b->uFlags & BITMAPFLAG_LOCKED);
  // Growing reallocates with zero fill and keeps the handle.
  ASSERT_EQ(Rv_ChangeBitmapHeight(b.get(), 4), SUCCESS);
  EXPECT_EQ(b->hData, block);
  EXPECT_EQ(Rv_GetBitmapDataSize(b.get()), 16u + kHeader);
  Rv_AccessBitmap(b.get());
  EXPECT_EQ(b->pData[4], 0x77);
  EXPECT_EQ(b->pData[15], 0);
  Rv_ReleaseBitmap(b.get());
}

TEST(FreeBitmap, TwiceIsHarmlessAndTheGeometryStays) {
  BITMAPRECORD b{};
  ASSERT_TRUE(rvtest::make(&b, 9, 5, 4));
  b.pPalette = rv::alloc_array<RGBQUAD>(16, true);
  Rv_FreeBitmap(&b);
  EXPECT_EQ(b.uFlags & BITMAPFLAG_STORAGE_MASK, 0u);
  EXPECT_EQ(b.pPalette, nullptr);
  EXPECT_EQ(b.pPaintLUT, nullptr);
  EXPECT_EQ(b.nWidth, 9);
  EXPECT_EQ(b.nBytesPerLine, 8);
  Rv_FreeBitmap(&b);
  Rv_FreeBitmap(nullptr);
  // It can be allocated again.
  EXPECT_EQ(Rv_AllocateBitmap(&b, BITMAPMEM_CONVENTIONAL), SUCCESS);
  Rv_FreeBitmap(&b);
}

TEST(ChangeHeight, ConventionalKeepsTheRowsItCan) {
  rvtest::Bitmap b;
  ASSERT_TRUE(rvtest::make(b.get(), 10, 4, 24));
  rvtest::fill_random(b.get(), 3);
  const auto row2 = rvtest::read_row(b.get(), 2);
  ASSERT_EQ(Rv_ChangeBitmapHeight(b.get(), 100), SUCCESS);
  EXPECT_EQ(b->nHeight, 100);
  EXPECT_EQ(Rv_GetBitmapDataSize(b.get()), 100u * 32);
  EXPECT_EQ(rvtest::read_row(b.get(), 2), row2);
  ASSERT_EQ(Rv_ChangeBitmapHeight(b.get(), 3), SUCCESS);
  EXPECT_EQ(rvtest::read_row(b.get(), 2), row2);
  EXPECT_EQ(Rv_ChangeBitmapHeight(b.get(), 3), SUCCESS);
  // A failed mapping leaves the old storage.
  uint8_t *data = b->pData;
  rv::fault::fail_after(0);
  EXPECT_EQ(Rv_ChangeBitmapHeight(b.get(), 50), ERROR_NO_MEMORY);
  rv::fault::fail_after(-1);
  EXPECT_EQ(b->pData, data);
  EXPECT_EQ(b->nHeight, 3);
  EXPECT_EQ(rvtest::read_row(b.get(), 2), row2);
}

TEST(DataPointer, CallerDataRulesAndUnallocatedReads) {
  rvtest::Bitmap b;
  ASSERT_EQ(Rv_InitBitmap(b.get(), RV_BITMAPRECORD_SIZE, 4, 2, 8), SUCCESS);
  ASSERT_EQ(Rv_AllocateBitmap(b.get(), BITMAPMEM_NO_MEMORY), SUCCESS);
  uint8_t row[4];
  EXPECT_EQ(Rv_GetBitmapRow(b.get(), row, 0, 4), ERROR_INVALID_IMAGE);
  uint8_t data[8] = {1, 2, 3, 4, 5, 6, 7, 8};
  EXPECT_EQ(Rv_SetBitmapDataPointer(b.get(), data, 12345), SUCCESS);  // size not looked at
  EXPECT_EQ(Rv_GetBitmapRow(b.get(), row, 1, 4), 4);
  EXPECT_EQ(row[0], 5);
  rvtest::Bitmap own;
  ASSERT_TRUE(rvtest::make(own.get(), 4, 2, 8));
  EXPECT_EQ(Rv_SetBitmapDataPointer(own.get(), data, 7), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_SetBitmapDataPointer(own.get(), data, 8), SUCCESS);
  EXPECT_EQ(own->uFlags & BITMAPFLAG_STORAGE_MASK,
            BITMAPFLAG_ALLOCATED | BITMAPFLAG_CONVENTIONAL | BITMAPFLAG_USER_DATA);
  EXPECT_EQ(own->pData, data);
  EXPECT_EQ(Rv_SetBitmapDataPointer(nullptr, data, 8), ERROR_INVALID_IMAGE);
}

// --- every function answers bad records in its order ------------------------------------------
TEST(BadRecords, EachFunctionAnswersWithItsStatus) {
  BITMAPRECORD wrong{};
  wrong.uStructSize = 100;
  BITMAPRECORD unallocated{};
  ASSERT_EQ(Rv_InitBitmap(&unallocated, RV_BITMAPRECORD_SIZE, 4, 4, 8), SUCCESS);
  uint8_t buffer[64] = {};
  uint32_t value = 0;
  const uint32_t segments[2] = {0, 1};
  struct Case {
    const char *name;
    int32_t (*call)(BITMAPRECORD *, uint8_t *, uint32_t *);
    int32_t on_null, on_wrong_size, on_unallocated;
  };
  constexpr int32_t kOk = 0x7FFF;  // "not an error of this kind": any non-negative result
  const Case cases[] = {
      {"GetBitmapRow", [](BITMAPRECORD *b, uint8_t *p, uint32_t *) { return Rv_GetBitmapRow(b, p, 0, 4); },
       ERROR_INVALID_PARAMETER, ERROR_INVALID_STRUCT_SIZE, ERROR_NO_MEMORY},
      {"PutBitmapRowCol", [](BITMAPRECORD *b, uint8_t *p, uint32_t *) { return Rv_PutBitmapRowCol(b, p, 0, 1, 2); },
       ERROR_INVALID_PARAMETER, ERROR_INVALID_STRUCT_SIZE, ERROR_NO_MEMORY},
      {"UpdateBitmapSize", [](BITMAPRECORD *b, uint8_t *, uint32_t *) { return Rv_UpdateBitmapSize(b); },
       ERROR_INVALID_IMAGE, ERROR_INVALID_STRUCT_SIZE, ERROR_INVALID_IMAGE},
      {"AllocateBitmap", [](BITMAPRECORD *b, uint8_t *, uint32_t *) { return Rv_AllocateBitmap(b, 0xFFFF); },
       ERROR_INVALID_IMAGE, ERROR_INVALID_STRUCT_SIZE, ERROR_INVALID_PARAMETER},
      {"ReleaseBitmap", [](BITMAPRECORD *b, uint8_t *, uint32_t *) { return Rv_ReleaseBitmap(b); },
       ERROR_NULL_POINTER, ERROR_INVALID_STRUCT_SIZE, kOk},
      {"ChangeBitmapHeight", [](BITMAPRECORD *b, uint8_t *, uint32_t *) { return Rv_ChangeBitmapHeight(b, 9); },
       ERROR_INVALID_IMAGE, ERROR_INVALID_STRUCT_SIZE, ERROR_INVALID_IMAGE},
      {"GetBitmapMemoryInfo",
       [](BITMAPRECORD *b, uint8_t *, uint32_t *v) {
         return Rv_GetBitmapMemoryInfo(b, v, nullptr, nullptr, nullptr, nullptr, nullptr);
       },
       ERROR_INVALID_IMAGE, ERROR_INVALID_STRUCT_SIZE, ERROR_INVALID_IMAGE},
      {"SetBitmapDataCallbacks", [](BITMAPRECORD *b, uint8_t *, uint32_t *) { return Rv_SetBitmapDataCallbacks(b, nullptr); },
       ERROR_INVALID_PARAMETER, ERROR_INVALID_STRUCT_SIZE, kOk},
      {"SetBitmapExtraData", [](BITMAPRECORD *b, uint8_t *p, uint32_t *) { return Rv_SetBitmapExtraData(b, 1, 0, p); },
       ERROR_NULL_POINTER, ERROR_INVALID_STRUCT_SIZE, kOk},
      {"AllocateBitmapExtraData",
       [](BITMAPRECORD *b, uint8_t *, uint32_t *) { return Rv_AllocateBitmapExtraData(b, 0, 0); },
       ERROR_INVALID_IMAGE, ERROR_INVALID_STRUCT_SIZE, kOk},
      {"SetBitmapDataPointer", [](BITMAPRECORD *b, uint8_t *p, uint32_t *) { return Rv_SetBitmapDataPointer(b, p, 1); },
       ERROR_INVALID_IMAGE, ERROR_INVALID_PARAMETER, ERROR_INVALID_PARAMETER},
  };
  for (const Case &c : cases) {
    EXPECT_EQ(c.call(nullptr, buffer, &value), c.on_null) << c.name;
    EXPECT_EQ(c.call(&wrong, buffer, &value), c.on_wrong_size) << c.name;
    const int32_t r = c.call(&unallocated, buffer, &value);
    if (c.on_unallocated == kOk) {
      EXPECT_GE(r, 0) << c.name;
    } else {
      EXPECT_EQ(r, c.on_unallocated) << c.name;
    }
  }
  EXPECT_EQ(Rv_PutBitmapRowSegments(nullptr, buffer, 0, 0, segments, 2, 0), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_PutBitmapRowSegments(&unallocated, buffer, 0, 0, nullptr, 2, 0), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_PutBitmapRowSegments(&wrong, buffer, 0, 0, segments, 2, 0), ERROR_INVALID_STRUCT_SIZE);
  EXPECT_EQ(Rv_GetBitmapRow(&unallocated, nullptr, 0, 4), ERROR_INVALID_PARAMETER);
  Rv_FreeBitmap(&wrong);  // refused quietly
  Rv_FreeBitmap(&unallocated);
}

}  // namespace
