#include "platform/error.h"

#include <cerrno>

namespace rv::os {

namespace {
thread_local uint32_t t_last_error = kErrNone;
}

uint32_t last_error() noexcept { return t_last_error; }
void set_last_error(uint32_t code) noexcept { t_last_error = code; }

uint32_t error_from_errno(int err) noexcept {
  switch (err) {
    case 0: return kErrNone;
    case ENOENT: return kErrFileNotFound;
    case ENOTDIR: return kErrPathNotFound;
    case EMFILE:
    case ENFILE: return kErrTooManyOpenFiles;
    case EACCES:
    case EPERM:
    case EROFS: return kErrAccessDenied;
    case EBADF: return kErrInvalidHandle;
    case ENOMEM: return kErrNotEnoughMemory;
    case EEXIST: return kErrFileExists;
    case EINVAL: return kErrInvalidParameter;
    case ENOSPC:
    case EDQUOT: return kErrDiskFull;
    case EFBIG: return kErrDiskFull;
    case EIO: return kErrWriteFault;
    default: return kErrInvalidParameter;
  }
}

void set_last_error_from_errno() noexcept { t_last_error = error_from_errno(errno); }

}  // namespace rv::os
