/* Ruvokit imaging kernel: colour: buffer conversion, palettes, dithering, colour resolution, gray, lookup tables, alpha, colour spaces, YUV, device-independent bitmaps. */
#ifndef RUVOKIT_RVCOLOR_H
#define RUVOKIT_RVCOLOR_H

#include "rvtypes.h"
#include "rvstatus.h"

RV_BEGIN_DECLS

RV_END_DECLS

#endif /* RUVOKIT_RVCOLOR_H */
