// The exported sine and cosine. Angles outside a turn are taken modulo 36000
// so that no value can reach past the table.
#include "ruvokit/rvtransform.h"
#include "transform/trig.h"

int32_t Rv_SinValue(int32_t nAngle) noexcept { return rv::xform::sin_of(rv::xform::wrap_angle(nAngle)); }

int32_t Rv_CosValue(int32_t nAngle) noexcept { return rv::xform::cos_of(rv::xform::wrap_angle(nAngle)); }
