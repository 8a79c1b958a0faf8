/* Ruvokit imaging kernel: display and animation: paint, paint adjustments, playback, overlays. */
#ifndef RUVOKIT_RVDISPLAY_H
#define RUVOKIT_RVDISPLAY_H

#include "rvtypes.h"
#include "rvstatus.h"

RV_BEGIN_DECLS

RV_END_DECLS

#endif /* RUVOKIT_RVDISPLAY_H */
