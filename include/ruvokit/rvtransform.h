/* Ruvokit imaging kernel: geometric transforms: resize, resample, rotate, shear, flip and view perspective, combine, warp, underlay, scramble, geometry values. */
#ifndef RUVOKIT_RVTRANSFORM_H
#define RUVOKIT_RVTRANSFORM_H

#include "rvtypes.h"
#include "rvstatus.h"

RV_BEGIN_DECLS

RV_END_DECLS

#endif /* RUVOKIT_RVTRANSFORM_H */
