// Animation attributes of a frame.
#include "ruvokit/rvcolor.h"
#include "ruvokit/rvdisplay.h"

int32_t Rv_CopyPlaybackParms(BITMAPRECORD *pDst, const BITMAPRECORD *pSrc) noexcept {
  if (pDst == nullptr || pSrc == nullptr) return ERROR_INVALID_PARAMETER;
  constexpr uint32_t kFlags = BITMAPFLAG_WAIT_USER_INPUT | BITMAPFLAG_TRANSPARENCY;
  pDst->uFlags = (pDst->uFlags & ~kFlags) | (pSrc->uFlags & kFlags);
  pDst->nLeft = pSrc->nLeft;
  pDst->nTop = pSrc->nTop;
  pDst->nDelay = pSrc->nDelay;
  pDst->crBackground = Rv_TranslateBitmapColor(pDst, pSrc, pSrc->crBackground);
  pDst->crTransparent = Rv_TranslateBitmapColor(pDst, pSrc, pSrc->crTransparent);
  pDst->nDisposalMethod = pSrc->nDisposalMethod;
  return SUCCESS;
}
