// The calling thread's platform error: the number the last failing platform
// call left behind, in the platform's own numbering (the classic system error
// numbers, so that callers can map them to status codes).
#pragma once
#include <cstdint>

namespace rv::os {

enum : uint32_t {
  kErrNone = 0,
  kErrFileNotFound = 2,
  kErrPathNotFound = 3,
  kErrTooManyOpenFiles = 4,
  kErrAccessDenied = 5,
  kErrInvalidHandle = 6,
  kErrNotEnoughMemory = 8,
  kErrWriteFault = 29,
  kErrReadFault = 30,
  kErrHandleEof = 38,
  kErrFileExists = 80,
  kErrInvalidParameter = 87,
  kErrDiskFull = 112,
  kErrInsufficientBuffer = 122,
  kErrModNotFound = 126,
  kErrProcNotFound = 127,
  kErrAlreadyExists = 183,
  kErrInvalidFlags = 1004,
  kErrNoUnicodeTranslation = 1113,
};

uint32_t last_error() noexcept;
void set_last_error(uint32_t code) noexcept;
// Records the error that the C library left in errno, translated.
void set_last_error_from_errno() noexcept;
uint32_t error_from_errno(int err) noexcept;

}  // namespace rv::os
