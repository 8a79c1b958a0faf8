// Sections and views. An anonymous section is one private mapping made when
// the section is created and kept until it closes, so that its contents
// survive while views come and go; a view of it is an address inside that
// mapping and needs no file descriptor. A section over a file maps shared
// views of the file on demand.
#pragma once
#include <cstddef>
#include <cstdint>

#include "platform/object.h"

namespace rv::os {

class File;

class Section final : public Object {
 public:
  // nullptr with the platform error set when the memory can't be had.
  static Section *create_anonymous(uint64_t size) noexcept;
  // A section over `file` (which it keeps a reference to); the file grows to
  // `size` when it is shorter. A size of 0 takes the file's size.
  static Section *create_file(File *file, uint64_t size, bool writable) noexcept;

  // A read-write (or read-only) view of `bytes` bytes from `offset`.
  void *map(uint64_t offset, size_t bytes) noexcept;
  // Ends a view that map() gave.
  bool unmap(void *view, size_t bytes) noexcept;

  uint64_t size() const noexcept { return size_; }
  bool is_anonymous() const noexcept { return file_ == nullptr; }

 private:
  Section(uint64_t size, void *base, File *file, bool writable) noexcept
      : Object(ObjectType::Section), size_(size), base_(base), file_(file), writable_(writable) {}
  ~Section() override;

  uint64_t size_;
  void *base_;  // anonymous sections: the whole mapping
  File *file_;  // file sections: the file
  bool writable_;
};

size_t page_size() noexcept;
uint32_t processor_count() noexcept;

}  // namespace rv::os
