// `rvimg demo`: shows the kernel at work without any input.
#include <cstdio>

#include "ruvokit/rvkrn.h"
#include "rvimg.h"

namespace rvimg {

int run_demo(int /*argc*/, char ** /*argv*/) {
  std::printf("Ruvokit imaging kernel\n\n");
  std::printf("bitmap record: %u bytes (older form %u bytes)\n", RV_BITMAPRECORD_SIZE,
              RV_BITMAPRECORD_SIZE_OLD);
  std::printf("data callbacks record: %u bytes, allocation info: %u bytes\n",
              RV_BITMAPDATACALLBACKS_SIZE, RV_BITMAPALLOCINFO_SIZE);
  std::printf("thread data for this thread: %s\n", Rv_AllocThreadData(0) ? "made" : "fallback");
  void *user = nullptr;
  std::printf("progress callback: %s\n", Rv_GetStatusCallBack(&user) ? "set" : "none");
  const int codes[] = {SUCCESS, ERROR_NO_MEMORY, ERROR_INVALID_STRUCT_SIZE, ERROR_FILE_NOT_FOUND_10,
                       ERROR_FILE_NOT_FOUND};
  std::printf("\nstatus codes:\n");
  for (int code : codes) std::printf("  %6d  %s\n", code, status_name(code));
  return 0;
}

}  // namespace rvimg
