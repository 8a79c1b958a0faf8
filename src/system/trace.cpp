// The exported debug trace.
#include <cstdarg>
#include <cstdio>

#include "platform/trace.h"
#include "ruvokit/rvplatform.h"

void Trace(const char *pszFunction, const char *pszFormat, ...) noexcept {
  if (pszFormat == nullptr) return;
  char message[4096];
  va_list args;
  va_start(args, pszFormat);
  std::vsnprintf(message, sizeof message, pszFormat, args);
  va_end(args);
  rv::os::trace_write(pszFunction, message);
}
