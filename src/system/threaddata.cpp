// Per-thread data, the thread slots for sibling modules, and the progress
// callbacks kept in the thread data.
#include "internal/threaddata.h"

#include <cstring>

#include "internal/memory.h"
#include "platform/thread.h"
#include "ruvokit/rvplatform.h"
#include "ruvokit/rvstatus.h"

namespace rv {

namespace {

void set_first_values(THREADDATA &td, int32_t dithering) noexcept {
  std::memset(&td, 0, sizeof td);
  td.nDefaultDithering = dithering;
  td.nDefaultXResolution = kFirstResolution;
  td.nDefaultYResolution = kFirstResolution;
  td.uDefaultMemoryType = BITMAPMEM_CONVENTIONAL;
  td.nMaxConvSize = 0x7FFFFFFF;
  td.nMemoryReserve = 0;
  td.nTileSize = 0;
  td.nConvTiles = -100;
  td.nTileViews = 1;
}

// The fallback keeps the process-wide dithering default, which starts at 0.
THREADDATA make_fallback() noexcept {
  THREADDATA td;
  set_first_values(td, 0);
  return td;
}

THREADDATA g_fallback = make_fallback();

// Owns the thread's record and frees it when the thread ends.
// After it has gone (late in thread exit) the thread uses the fallback.
struct ThreadRecordHolder {
  THREADDATA *record = nullptr;
  bool gone = false;
  ~ThreadRecordHolder() {
    free_block(record);
    record = nullptr;
    gone = true;
  }
};
thread_local ThreadRecordHolder t_holder;

THREADDATA *own_record() noexcept {
  if (t_holder.record == nullptr && !t_holder.gone) {
    auto *td = static_cast<THREADDATA *>(alloc_block(sizeof(THREADDATA), false));
    if (td == nullptr) return nullptr;
    set_first_values(*td, kFirstDithering);
    t_holder.record = td;
  }
  return t_holder.record;
}

}  // namespace

THREADDATA &thread_data() noexcept {
  THREADDATA *td = own_record();
  return td ? *td : g_fallback;
}

bool has_own_thread_data() noexcept { return t_holder.record != nullptr; }

THREADDATA &fallback_thread_data() noexcept { return g_fallback; }

}  // namespace rv

using rv::thread_data;

int32_t Rv_AllocThreadData(uint32_t /*uReserved*/) noexcept {
  return &thread_data() != &rv::fallback_thread_data() ? TRUE : FALSE;
}

uint32_t Rv_TlsAlloc(void) noexcept { return rv::os::slot_alloc(); }
int32_t Rv_TlsFree(uint32_t uIndex) noexcept { return rv::os::slot_free(uIndex) ? TRUE : FALSE; }
int32_t Rv_TlsSetValue(uint32_t uIndex, void *pValue) noexcept {
  return rv::os::slot_set(uIndex, pValue) ? TRUE : FALSE;
}
void *Rv_TlsGetValue(uint32_t uIndex) noexcept { return rv::os::slot_get(uIndex); }

STATUSCALLBACK Rv_GetStatusCallBack(void **ppUserData) noexcept {
  rv::THREADDATA &td = thread_data();
  if (ppUserData) *ppUserData = td.pStatusUserData;
  return td.pfnStatus;
}

int32_t Rv_SetStatusCallBack(STATUSCALLBACK pfnCallback, void *pUserData, STATUSCALLBACK *ppfnOld,
                             void **ppOldUserData) noexcept {
  rv::THREADDATA &td = thread_data();
  if (ppfnOld) *ppfnOld = td.pfnStatus;
  if (ppOldUserData) *ppOldUserData = td.pStatusUserData;
  td.pfnStatus = pfnCallback;
  td.pStatusUserData = pUserData;
  return SUCCESS;
}

STATUSCALLBACK Rv_GetCopyStatusCallBack(void **ppUserData) noexcept {
  rv::THREADDATA &td = thread_data();
  if (ppUserData) *ppUserData = td.pCopyStatusUserData;
  return td.pfnCopyStatus;
}

int32_t Rv_SetCopyStatusCallBack(STATUSCALLBACK pfnCallback, void *pUserData,
                                 STATUSCALLBACK *ppfnOld, void **ppOldUserData) noexcept {
  rv::THREADDATA &td = thread_data();
  if (ppfnOld) *ppfnOld = td.pfnCopyStatus;
  if (ppOldUserData) *ppOldUserData = td.pCopyStatusUserData;
  td.pfnCopyStatus = pfnCallback;
  td.pCopyStatusUserData = pUserData;
  return SUCCESS;
}
