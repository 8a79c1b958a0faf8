// Scaling runs of 32-bit gray words down to bytes between a minimum and a
// maximum.
#include <cstring>

#include "color/grayscale.h"
#include "ruvokit/rvcolor.h"

int32_t Rv_Gray32To8(int32_t nCount, const uint32_t *pSrc, uint8_t *pDst, uint32_t uMask,
                     int32_t nShift, uint32_t uMinLow, uint32_t /*uMinHigh*/, uint32_t uMaxLow,
                     uint32_t /*uMaxHigh*/) noexcept {
  if (pSrc == nullptr || pDst == nullptr) return ERROR_INVALID_PARAMETER;
  if (nCount <= 0) return SUCCESS;
  // An empty range gives full-scale bytes over the run.
  if (uMaxLow == uMinLow) {
    std::memset(pDst, 0xFF, static_cast<size_t>(nCount));
    return SUCCESS;
  }
  const uint32_t shift = static_cast<uint32_t>(nShift);
  for (int32_t i = 0; i < nCount; ++i) {
    const uint32_t value = (shift < 32 ? pSrc[i] >> shift : 0) & uMask;
    pDst[i] = static_cast<uint8_t>(rv::color::scale_between(value, uMinLow, uMaxLow, 255));
  }
  return SUCCESS;
}
