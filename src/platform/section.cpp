#include "platform/section.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <new>
#include <thread>

#include "internal/fault.h"
#include "platform/error.h"
#include "platform/file.h"

namespace rv::os {

size_t page_size() noexcept {
  static const size_t size = [] {
    long n = ::sysconf(_SC_PAGESIZE);
    return n > 0 ? static_cast<size_t>(n) : size_t{4096};
  }();
  return size;
}

uint32_t processor_count() noexcept {
  long n = ::sysconf(_SC_NPROCESSORS_ONLN);
  if (n < 1) n = static_cast<long>(std::thread::hardware_concurrency());
  return n < 1 ? 1u : static_cast<uint32_t>(n);
}

Section *Section::create_anonymous(uint64_t size) noexcept {
  if (size == 0 || size > static_cast<uint64_t>(SIZE_MAX / 2) || rv::fault::fail_mapping()) {
    set_last_error(size == 0 ? kErrInvalidParameter : kErrNotEnoughMemory);
    return nullptr;
  }
  void *base = ::mmap(nullptr, static_cast<size_t>(size), PROT_READ | PROT_WRITE,
                      MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (base == MAP_FAILED) {
    set_last_error(kErrNotEnoughMemory);
    return nullptr;
  }
  // Large pictures take far fewer page faults in huge pages; where the system
  // offers none this is a no-op.
  constexpr uint64_t kHugePage = 2u << 20;
  if (size >= kHugePage) ::madvise(base, static_cast<size_t>(size), MADV_HUGEPAGE);
  auto *section = new (std::nothrow) Section(size, base, nullptr, true);
  if (section == nullptr) {
    ::munmap(base, static_cast<size_t>(size));
    set_last_error(kErrNotEnoughMemory);
  }
  return section;
}

Section *Section::create_file(File *file, uint64_t size, bool writable) noexcept {
  if (file == nullptr || rv::fault::fail_mapping()) {
    set_last_error(file ? kErrNotEnoughMemory : kErrInvalidHandle);
    return nullptr;
  }
  uint64_t present = 0;
  if (!file->size(&present)) return nullptr;
  if (size == 0) size = present;
  if (size == 0) {
    set_last_error(kErrInvalidParameter);
    return nullptr;
  }
  if (present < size && (!writable || !file->set_size(size))) {
    if (!writable) set_last_error(kErrAccessDenied);
    return nullptr;
  }
  auto *section = new (std::nothrow) Section(size, nullptr, file, writable);
  if (section == nullptr) {
    set_last_error(kErrNotEnoughMemory);
    return nullptr;
  }
  file->add_ref();
  return section;
}

Section::~Section() {
  if (base_ != nullptr) ::munmap(base_, static_cast<size_t>(size_));
  if (file_ != nullptr) file_->release();
}

void *Section::map(uint64_t offset, size_t bytes) noexcept {
  if (bytes == 0 || offset > size_ || bytes > size_ - offset) {
    set_last_error(kErrInvalidParameter);
    return nullptr;
  }
  if (base_ != nullptr) return static_cast<uint8_t *>(base_) + offset;
  if (rv::fault::fail_mapping()) {
    set_last_error(kErrNotEnoughMemory);
    return nullptr;
  }
  // mmap wants a page-aligned file offset: map from the page that holds
  // `offset` and hand out the address inside it.
  const uint64_t slack = offset % page_size();
  int prot = PROT_READ | (writable_ ? PROT_WRITE : 0);
  void *p = ::mmap(nullptr, static_cast<size_t>(bytes + slack), prot, MAP_SHARED,
                   file_->descriptor(), static_cast<off_t>(offset - slack));
  if (p == MAP_FAILED) {
    set_last_error_from_errno();
    return nullptr;
  }
  return static_cast<uint8_t *>(p) + slack;
}

bool Section::unmap(void *view, size_t bytes) noexcept {
  if (view == nullptr) return false;
  if (base_ != nullptr) return true;  // views of an anonymous section live in its mapping
  const auto address = reinterpret_cast<uintptr_t>(view);
  const uintptr_t slack = address % page_size();
  return ::munmap(reinterpret_cast<void *>(address - slack), bytes + slack) == 0;
}

}  // namespace rv::os
