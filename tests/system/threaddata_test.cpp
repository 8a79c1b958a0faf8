#include "internal/threaddata.h"

#include <gtest/gtest.h>

#include <thread>

#include "internal/fault.h"
#include "ruvokit/rvkrn.h"

namespace {

void expect_first_values(const rv::THREADDATA &td, int32_t dithering) {
  EXPECT_EQ(td.pUserMatchTable, nullptr);
  EXPECT_EQ(td.nDefaultDithering, dithering);
  EXPECT_EQ(td.nDefaultXResolution, 150);
  EXPECT_EQ(td.nDefaultYResolution, 150);
  EXPECT_EQ(td.uDefaultMemoryType, 1u);
  EXPECT_EQ(td.nMaxConvSize, 0x7FFFFFFF);
  EXPECT_EQ(td.nMemoryReserve, 0);
  EXPECT_EQ(td.nTileSize, 0);
  EXPECT_EQ(td.nConvTiles, -100);
  EXPECT_EQ(td.nTileViews, 1);
  EXPECT_EQ(td.pfnStatus, nullptr);
}

TEST(ThreadData, NewThreadGetsTheFirstValues) {
  std::thread([] {
    EXPECT_EQ(Rv_AllocThreadData(0), TRUE);
    EXPECT_TRUE(rv::has_own_thread_data());
    expect_first_values(rv::thread_data(), 7);
  }).join();
}

TEST(ThreadData, ThreadWithoutMemoryUsesTheSharedFallback) {
  std::thread([] {
    rv::fault::fail_after(0);
    EXPECT_EQ(Rv_AllocThreadData(0), FALSE);
    EXPECT_TRUE(rv::fault::fired());
    rv::fault::fail_after(0);
    EXPECT_EQ(&rv::thread_data(), &rv::fallback_thread_data());
    // The fallback's dithering default is the process-wide value, 0.
    expect_first_values(rv::fallback_thread_data(), 0);
    rv::fault::fail_after(-1);
    EXPECT_EQ(Rv_AllocThreadData(0), TRUE);  // a later try can succeed
    EXPECT_NE(&rv::thread_data(), &rv::fallback_thread_data());
  }).join();
}

int32_t noop_status(int32_t, void *) { return SUCCESS; }

TEST(ThreadData, ProgressCallbacksArePerThread) {
  int marker = 0;
  STATUSCALLBACK old = nullptr;
  void *old_user = nullptr;
  ASSERT_EQ(Rv_SetStatusCallBack(&noop_status, &marker, &old, &old_user), SUCCESS);
  void *user = nullptr;
  EXPECT_EQ(Rv_GetStatusCallBack(&user), &noop_status);
  EXPECT_EQ(user, &marker);
  std::thread([] { EXPECT_EQ(Rv_GetStatusCallBack(nullptr), nullptr); }).join();
  STATUSCALLBACK mine = nullptr;
  Rv_SetStatusCallBack(old, old_user, &mine, nullptr);
  EXPECT_EQ(mine, &noop_status);
  EXPECT_EQ(Rv_GetCopyStatusCallBack(nullptr), nullptr);
}

TEST(ThreadData, SlotsForSiblingModules) {
  uint32_t slot = Rv_TlsAlloc();
  ASSERT_NE(slot, RV_TLS_OUT_OF_INDEXES);
  int a = 0, b = 0;
  EXPECT_EQ(Rv_TlsSetValue(slot, &a), TRUE);
  std::thread([&] {
    EXPECT_EQ(Rv_TlsGetValue(slot), nullptr);
    Rv_TlsSetValue(slot, &b);
    EXPECT_EQ(Rv_TlsGetValue(slot), &b);
  }).join();
  EXPECT_EQ(Rv_TlsGetValue(slot), &a);
  EXPECT_EQ(Rv_TlsFree(slot), TRUE);
  EXPECT_EQ(Rv_TlsSetValue(RV_TLS_OUT_OF_INDEXES, &a), FALSE);
}

}  // namespace
