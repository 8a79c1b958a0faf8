/* Ruvokit imaging kernel: the bitmap core: records, storage, rows, columns and pixels, copy and fill, lists. */
#ifndef RUVOKIT_RVBITMAP_H
#define RUVOKIT_RVBITMAP_H

#include "rvtypes.h"
#include "rvstatus.h"

RV_BEGIN_DECLS

RV_END_DECLS

#endif /* RUVOKIT_RVBITMAP_H */
