/* The record layout of a 32-bit build, as the interface documents it.
 * Compiled with -m32 -ffreestanding -fsyntax-only. */
#include "ruvokit/rvtypes.h"

#define CHECK(cond) _Static_assert(cond, #cond)

CHECK(sizeof(void *) == 4);
CHECK(sizeof(BITMAPRECORD) == 216);
CHECK(offsetof(BITMAPRECORD, pLUT16) == 176);
CHECK(offsetof(BITMAPRECORD, pPaintLUT16) == 180);
CHECK(offsetof(BITMAPRECORD, uSize64) == 188);
CHECK(offsetof(BITMAPRECORD, nLockCount) == 204);
CHECK(offsetof(BITMAPRECORD, pDataCallbacks) == 208);
CHECK(offsetof(BITMAPRECORD, uLUT16Length) == 172);
CHECK(offsetof(BITMAPRECORD, pPalette) == 44);
CHECK(offsetof(BITMAPRECORD, uSize32) == 56);
CHECK(offsetof(BITMAPRECORD, uDataOffset) == 120);
CHECK(RV_BITMAPRECORD_SIZE == 216);
CHECK(RV_BITMAPRECORD_SIZE_OLD == 176);
CHECK(sizeof(BITMAPDATACALLBACKS) == 44);
CHECK(sizeof(BITMAPALLOCINFO) == 48);
CHECK(offsetof(BITMAPALLOCINFO, uSize) == 36);
CHECK(offsetof(BITMAPALLOCINFO, pPalette) == 44);
CHECK(sizeof(GLOBALMEMORYTHRESHOLDS) == 12);
CHECK(sizeof(RGBQUAD) == 4);
CHECK(sizeof(RGBQUAD16) == 8);
CHECK(sizeof(RECT) == 16);
CHECK(sizeof(POINT) == 8);
