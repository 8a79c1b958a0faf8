// Conventional memory (an anonymous section with a view aligned to 32 bytes)
// and disk data (the open temporary file in hData).
#include "core/storage.h"

#include <cstring>

#include "internal/handles.h"
#include "internal/record.h"
#include "platform/file.h"
#include "platform/section.h"
#include "ruvokit/rvplatform.h"
#include "ruvokit/rvstatus.h"

namespace rv::storage {

namespace {

constexpr uint64_t kAlignSlack = 31;

os::Section *section_of(const BITMAPRECORD *bitmap) noexcept {
  os::Object *object = platform_object(bitmap->hData);
  return object && object->type() == os::ObjectType::Section ? static_cast<os::Section *>(object)
                                                              : nullptr;
}

os::File *file_of(const BITMAPRECORD *bitmap) noexcept {
  os::Object *object = platform_object(bitmap->hData);
  return object && object->type() == os::ObjectType::File ? static_cast<os::File *>(object) : nullptr;
}

struct MappedView {
  RVHANDLE handle;
  uint8_t *data;
  uint32_t offset;
};

// A section of size + 31 bytes and its view, the data aligned up to 32 bytes.
bool make_view(uint64_t size, MappedView *out) noexcept {
  if (size > UINT64_MAX - kAlignSlack) return false;
  os::Section *section = os::Section::create_anonymous(size + kAlignSlack);
  if (section == nullptr) return false;
  auto *view = static_cast<uint8_t *>(section->map(0, static_cast<size_t>(size + kAlignSlack)));
  if (view == nullptr) {
    section->release();
    return false;
  }
  WINHANDLE *handle = make_platform_handle(section);  // takes the reference
  if (handle == nullptr) return false;
  const uintptr_t address = reinterpret_cast<uintptr_t>(view);
  const uintptr_t aligned = (address + kAlignSlack) & ~static_cast<uintptr_t>(kAlignSlack);
  out->handle = handle;
  out->data = view + (aligned - address);
  out->offset = static_cast<uint32_t>(aligned - address);
  return true;
}

void drop_view(RVHANDLE handle, uint8_t *data, uint32_t offset, uint64_t size) noexcept {
  auto *section = static_cast<os::Section *>(platform_object(handle));
  if (section != nullptr && data != nullptr) {
    section->unmap(data - offset, static_cast<size_t>(size + kAlignSlack));
  }
  close_handle(handle);
}

}  // namespace

int32_t map_conventional(BITMAPRECORD *bitmap, uint64_t size) noexcept {
  MappedView view{};
  if (!make_view(size, &view)) return ERROR_NO_MEMORY;
  bitmap->hData = view.handle;
  bitmap->pData = view.data;
  bitmap->uDataOffset = view.offset;
  return SUCCESS;
}

void unmap_conventional(BITMAPRECORD *bitmap) noexcept {
  if (section_of(bitmap) == nullptr) return;
  const os::Section *section = section_of(bitmap);
  drop_view(bitmap->hData, bitmap->pData, bitmap->uDataOffset, section->size() - kAlignSlack);
}

int32_t remap_conventional(BITMAPRECORD *bitmap, uint64_t size, uint64_t copy_bytes) noexcept {
  MappedView view{};
  if (!make_view(size, &view)) return ERROR_NO_MEMORY;
  if (bitmap->pData != nullptr && copy_bytes > 0) {
    std::memcpy(view.data, bitmap->pData, static_cast<size_t>(copy_bytes));
  }
  unmap_conventional(bitmap);
  bitmap->hData = view.handle;
  bitmap->pData = view.data;
  bitmap->uDataOffset = view.offset;
  return SUCCESS;
}

namespace {
// The file of a disk bitmap positioned at `offset`, or null.
os::File *seek_file(const BITMAPRECORD *bitmap, uint64_t offset) noexcept {
  os::File *file = file_of(bitmap);
  if (file == nullptr || offset > static_cast<uint64_t>(INT64_MAX) ||
      !file->seek(static_cast<int64_t>(offset), os::SeekFrom::Begin, nullptr)) {
    return nullptr;
  }
  return file;
}
}  // namespace

int64_t disk_read(const BITMAPRECORD *bitmap, uint64_t offset, void *buffer, uint32_t bytes) noexcept {
  os::File *file = seek_file(bitmap, offset);
  if (file == nullptr) return ERROR_FILE_SEEK;
  const int64_t n = file->read(buffer, bytes);
  return n < 0 ? int64_t{ERROR_FILE_READ} : n;
}

int64_t disk_write(const BITMAPRECORD *bitmap, uint64_t offset, const void *buffer,
                   uint32_t bytes) noexcept {
  os::File *file = seek_file(bitmap, offset);
  if (file == nullptr) return ERROR_FILE_SEEK;
  const int64_t n = file->write(buffer, bytes);
  return n < 0 ? int64_t{ERROR_FILE_WRITE} : n;
}

int32_t disk_set_size(const BITMAPRECORD *bitmap, uint64_t size) noexcept {
  os::File *file = file_of(bitmap);
  return file != nullptr && file->set_size(size) ? SUCCESS : ERROR_NO_MEMORY;
}

void disk_close(BITMAPRECORD *bitmap) noexcept { close_handle(bitmap->hData); }

void release(BITMAPRECORD *b) noexcept {
  const uint32_t flags = b->uFlags;
  if (flags & BITMAPFLAG_USER_DATA) return;  // the data is the caller's
  if (flags & BITMAPFLAG_COMPRESSED) {
    compressed_free(b);
  } else if (flags & BITMAPFLAG_TILED) {
    tiled_free(b);
  } else if (flags & BITMAPFLAG_SUPER_COMPRESSED) {
    super_free(b);
  } else if (flags & BITMAPFLAG_CONVENTIONAL) {
    if (flags & BITMAPFLAG_GLOBAL_MEMORY) {
      Rv_OsFreeHandle(b->hData);
    } else {
      unmap_conventional(b);
    }
  } else if (flags & BITMAPFLAG_DISK) {
    disk_close(b);  // closing deletes the temporary file
  }
}


}  // namespace rv::storage
