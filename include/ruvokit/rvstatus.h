/* Ruvokit imaging kernel: status codes.
 *
 * Every function returns a signed 32-bit status: SUCCESS (1), FAILURE (0),
 * qualified successes above 1, errors below 0. Row functions return the
 * number of bytes moved when positive. The rows live in rvstatus.def, which is
 * also where the message texts come from. */
#ifndef RUVOKIT_RVSTATUS_H
#define RUVOKIT_RVSTATUS_H

enum RvStatusCode {
#define RV_STATUS(name, value, text) name = (value),
#define RV_STATUS_LIBRARY_MISSING(name, value) name = (value),
#include "rvstatus.def"
#undef RV_STATUS
#undef RV_STATUS_LIBRARY_MISSING
};

#endif /* RUVOKIT_RVSTATUS_H */
