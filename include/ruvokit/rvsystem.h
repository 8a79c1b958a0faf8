/* Ruvokit imaging kernel: system services: files, redirected I/O, temporary files, thread tools, modules, status-code messages. */
#ifndef RUVOKIT_RVSYSTEM_H
#define RUVOKIT_RVSYSTEM_H

#include "rvtypes.h"
#include "rvstatus.h"

RV_BEGIN_DECLS

RV_END_DECLS

#endif /* RUVOKIT_RVSYSTEM_H */
