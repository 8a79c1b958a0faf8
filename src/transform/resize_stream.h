// The state of a streaming resize, behind the RESIZEDATA handle.
#pragma once
#include <cstdint>

#include "ruvokit/rvtransform.h"

struct RESIZEDATA {
  int32_t nLastRow;   // the row of the last Rv_Resize call; -1 at the start
  int32_t bReversing; // set while rows arrive in falling order
  int32_t nOldWidth;
  int32_t nOldHeight;
  int32_t nNewWidth;
  int32_t nNewHeight;
  int32_t nXStep;     // nOldWidth / nNewWidth
  int32_t nXRest;     // nOldWidth % nNewWidth
  int32_t nReserved1;
  int32_t nReserved2;
  int32_t nCopies;      // nNewHeight / nOldHeight
  int32_t nCopiesRest;  // nNewHeight % nOldHeight
  int32_t nReserved3;
  int32_t nCopiesAccum; // the carry accumulator of the row copies
};
