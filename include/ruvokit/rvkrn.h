/* Ruvokit imaging kernel: the whole public interface.
 *
 * librvkrn is the kernel of the Ruvokit imaging toolkit: the bitmap record and
 * its storage, pixel conversion, palettes and dithering, transforms, regions,
 * painting through callbacks, playback, files and the platform services that
 * all of it stands on. Every function returns a signed 32-bit status
 * (rvstatus.h) unless its declaration says otherwise. */
#ifndef RUVOKIT_RVKRN_H
#define RUVOKIT_RVKRN_H

#include "rvtypes.h"
#include "rvstatus.h"
#include "rvplatform.h"
#include "rvtext.h"
#include "rvbitmap.h"
#include "rvcolor.h"
#include "rvtransform.h"
#include "rvregion.h"
#include "rvdisplay.h"
#include "rvsystem.h"

#endif /* RUVOKIT_RVKRN_H */
