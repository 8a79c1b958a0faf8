/* Ruvokit imaging kernel: display and animation: paint, paint adjustments, playback, overlays. */
#ifndef RUVOKIT_RVDISPLAY_H
#define RUVOKIT_RVDISPLAY_H

#include "rvtypes.h"
#include "rvstatus.h"

RV_BEGIN_DECLS

/* --- playback --------------------------------------------------------------------------- */
/* Copies the animation fields (position, delay, disposal, background and
 * transparent colours, translated into pDst's palette, and their flags). */
RV_API int32_t Rv_CopyPlaybackParms(BITMAPRECORD *pDst, const BITMAPRECORD *pSrc) RV_NOEXCEPT;

RV_END_DECLS

#endif /* RUVOKIT_RVDISPLAY_H */
