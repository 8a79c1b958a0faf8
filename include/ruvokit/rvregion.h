/* Ruvokit imaging kernel: regions: the region engine, region objects, bitmap regions, colour regions. */
#ifndef RUVOKIT_RVREGION_H
#define RUVOKIT_RVREGION_H

#include "rvtypes.h"
#include "rvstatus.h"

RV_BEGIN_DECLS

RV_END_DECLS

#endif /* RUVOKIT_RVREGION_H */
