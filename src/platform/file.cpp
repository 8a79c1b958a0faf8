#include "platform/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "platform/error.h"

namespace rv::os {

File *File::open(const char *path, uint32_t access, Disposition disposition,
                 DeleteOnClose del) noexcept {
  if (path == nullptr || *path == '\0') {
    set_last_error(kErrInvalidParameter);
    return nullptr;
  }
  int flags = O_CLOEXEC;
  if ((access & kFileRead) && (access & kFileWrite)) {
    flags |= O_RDWR;
  } else if (access & kFileWrite) {
    flags |= O_WRONLY;
  } else {
    flags |= O_RDONLY;
  }
  switch (disposition) {
    case Disposition::CreateNew: flags |= O_CREAT | O_EXCL; break;
    case Disposition::CreateAlways: flags |= O_CREAT | O_TRUNC; break;
    case Disposition::OpenExisting: break;
    case Disposition::OpenAlways: flags |= O_CREAT; break;
    case Disposition::TruncateExisting: flags |= O_TRUNC; break;
    default: set_last_error(kErrInvalidParameter); return nullptr;
  }
  // Truncation needs write access on POSIX.
  if ((flags & O_TRUNC) && (flags & O_ACCMODE) == O_RDONLY) flags = (flags & ~O_ACCMODE) | O_RDWR;
  int fd;
  do {
    fd = ::open(path, flags, 0666);
  } while (fd < 0 && errno == EINTR);
  if (fd < 0) {
    const int err = errno;
    set_last_error(error_from_errno(err));
    if (err == ENOENT) {
      // A missing folder is "path not found", a missing file "file not found".
      std::string dir(path);
      const auto slash = dir.rfind('/');
      struct stat st {};
      if (slash != std::string::npos && slash > 0 &&
          ::stat(dir.substr(0, slash).c_str(), &st) != 0) {
        set_last_error(kErrPathNotFound);
      }
    }
    return nullptr;
  }
  struct stat st {};
  if (fstat(fd, &st) == 0 && S_ISDIR(st.st_mode)) {
    ::close(fd);
    set_last_error(kErrAccessDenied);
    return nullptr;
  }
  if (del == DeleteOnClose::Now) ::unlink(path);
  File *file = new (std::nothrow) File(fd, path, del == DeleteOnClose::AtClose);
  if (file == nullptr) {
    ::close(fd);
    if (del == DeleteOnClose::AtClose) ::unlink(path);
    set_last_error(kErrNotEnoughMemory);
  }
  return file;
}

File::~File() {
  ::close(fd_);
  if (unlink_at_close_) ::unlink(path_.c_str());
}

int64_t File::read(void *buffer, size_t bytes) noexcept {
  auto *p = static_cast<uint8_t *>(buffer);
  size_t done = 0;
  while (done < bytes) {
    ssize_t n = ::read(fd_, p + done, bytes - done);
    if (n < 0) {
      if (errno == EINTR) continue;
      set_last_error_from_errno();
      if (errno == EIO) set_last_error(kErrReadFault);
      return -1;
    }
    if (n == 0) break;  // end of file: return what was read
    done += static_cast<size_t>(n);
  }
  return static_cast<int64_t>(done);
}

int64_t File::write(const void *buffer, size_t bytes) noexcept {
  const auto *p = static_cast<const uint8_t *>(buffer);
  size_t done = 0;
  while (done < bytes) {
    ssize_t n = ::write(fd_, p + done, bytes - done);
    if (n < 0) {
      if (errno == EINTR) continue;
      set_last_error_from_errno();
      return -1;
    }
    if (n == 0) {
      set_last_error(kErrDiskFull);
      return -1;
    }
    done += static_cast<size_t>(n);
  }
  return static_cast<int64_t>(done);
}

bool File::seek(int64_t offset, SeekFrom from, int64_t *position) noexcept {
  int whence = from == SeekFrom::Begin ? SEEK_SET : from == SeekFrom::Current ? SEEK_CUR : SEEK_END;
  off_t pos = ::lseek(fd_, static_cast<off_t>(offset), whence);
  if (pos < 0) {
    set_last_error(errno == EINVAL ? kErrInvalidParameter : error_from_errno(errno));
    return false;
  }
  if (position) *position = pos;
  return true;
}

bool File::set_size(uint64_t size) noexcept {
  if (size > static_cast<uint64_t>(INT64_MAX) || ::ftruncate(fd_, static_cast<off_t>(size)) != 0) {
    set_last_error_from_errno();
    return false;
  }
  return true;
}

bool File::set_end() noexcept {
  off_t pos = ::lseek(fd_, 0, SEEK_CUR);
  if (pos < 0 || ::ftruncate(fd_, pos) != 0) {
    set_last_error_from_errno();
    return false;
  }
  return true;
}

bool File::size(uint64_t *size) const noexcept {
  struct stat st {};
  if (fstat(fd_, &st) != 0) {
    set_last_error_from_errno();
    return false;
  }
  *size = static_cast<uint64_t>(st.st_size);
  return true;
}

bool File::flush() noexcept {
  if (::fsync(fd_) != 0 && errno != EINVAL && errno != EROFS) {
    set_last_error_from_errno();
    return false;
  }
  return true;
}

bool delete_file(const char *path) noexcept {
  if (path == nullptr || ::unlink(path) != 0) {
    set_last_error(path ? error_from_errno(errno) : kErrInvalidParameter);
    return false;
  }
  return true;
}

bool rename_file(const char *from, const char *to, bool replace) noexcept {
  if (from == nullptr || to == nullptr) {
    set_last_error(kErrInvalidParameter);
    return false;
  }
  if (!replace) {
    struct stat st {};
    if (::stat(to, &st) == 0) {
      set_last_error(kErrAlreadyExists);
      return false;
    }
  }
  if (::rename(from, to) != 0) {
    set_last_error_from_errno();
    return false;
  }
  return true;
}

bool file_attributes(const char *path, FileAttributes *attributes) noexcept {
  struct stat st {};
  if (path == nullptr || ::stat(path, &st) != 0) {
    set_last_error(path ? error_from_errno(errno) : kErrInvalidParameter);
    return false;
  }
  if (attributes) {
    attributes->is_directory = S_ISDIR(st.st_mode);
    attributes->read_only = ::access(path, W_OK) != 0;
    attributes->size = static_cast<uint64_t>(st.st_size);
    attributes->modified_seconds = st.st_mtime;
  }
  return true;
}

bool create_directory(const char *path) noexcept {
  if (path == nullptr || ::mkdir(path, 0777) != 0) {
    set_last_error(path ? error_from_errno(errno) : kErrInvalidParameter);
    return false;
  }
  return true;
}

bool disk_free_space(const char *path, uint64_t *free_to_caller, uint64_t *total,
                     uint64_t *total_free) noexcept {
  struct statvfs vfs {};
  if (path == nullptr || ::statvfs(path, &vfs) != 0) {
    set_last_error(path ? error_from_errno(errno) : kErrInvalidParameter);
    return false;
  }
  const uint64_t unit = vfs.f_frsize ? vfs.f_frsize : vfs.f_bsize;
  if (free_to_caller) *free_to_caller = static_cast<uint64_t>(vfs.f_bavail) * unit;
  if (total) *total = static_cast<uint64_t>(vfs.f_blocks) * unit;
  if (total_free) *total_free = static_cast<uint64_t>(vfs.f_bfree) * unit;
  return true;
}

std::string temp_directory() {
  const char *env = std::getenv("TMPDIR");
  if (env != nullptr && *env != '\0') {
    struct stat st {};
    if (::stat(env, &st) == 0 && S_ISDIR(st.st_mode)) {
      std::string dir(env);
      if (dir.back() != '/') dir.push_back('/');
      return dir;
    }
  }
  return "/tmp/";
}

namespace {
std::string form_temp_name(const char *dir, const char *prefix, uint32_t unique) {
  std::string name(dir ? dir : "");
  if (!name.empty() && name.back() != '/') name.push_back('/');
  for (int i = 0; prefix && i < 3 && prefix[i] != '\0'; ++i) name.push_back(prefix[i]);
  char digits[16];
  std::snprintf(digits, sizeof digits, "%04X.TMP", unique & 0xFFFFu);
  name += digits;
  return name;
}
}  // namespace

uint32_t temp_file_name(const char *dir, const char *prefix, uint32_t unique,
                        std::string *name) noexcept {
  if (dir == nullptr || name == nullptr) {
    set_last_error(kErrInvalidParameter);
    return 0;
  }
  try {
    if (unique != 0) {
      *name = form_temp_name(dir, prefix, unique);
      return unique & 0xFFFFu;
    }
    // Start from a number that differs between processes and calls, and walk
    // the 65535 numbers until one names a file that doesn't exist yet.
    static std::atomic<uint32_t> counter{0};
    uint32_t start = (static_cast<uint32_t>(::getpid()) * 2654435761u +
                      counter.fetch_add(7919, std::memory_order_relaxed)) & 0xFFFFu;
    for (uint32_t i = 0; i < 0xFFFFu; ++i) {
      uint32_t n = (start + i) % 0xFFFFu + 1;
      std::string candidate = form_temp_name(dir, prefix, n);
      int fd = ::open(candidate.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0666);
      if (fd >= 0) {
        ::close(fd);
        *name = std::move(candidate);
        return n;
      }
      if (errno != EEXIST) {
        set_last_error_from_errno();
        return 0;
      }
    }
    set_last_error(kErrFileExists);
  } catch (...) {
    set_last_error(kErrNotEnoughMemory);
  }
  return 0;
}

}  // namespace rv::os
