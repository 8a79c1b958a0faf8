// Files for the library: open, read, write, seek, size, delete, rename,
// attributes, free space, the temporary directory and unique temporary names.
// Paths are UTF-8; callers convert wide names just before they come here.
// Share modes have no meaning here and are not taken.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/object.h"

namespace rv::os {

enum FileAccess : uint32_t { kFileRead = 1, kFileWrite = 2 };

enum class Disposition : uint32_t {
  CreateNew = 1,         // fails when the file exists
  CreateAlways = 2,      // creates or truncates
  OpenExisting = 3,      // fails when the file is missing
  OpenAlways = 4,        // opens or creates
  TruncateExisting = 5,  // opens and truncates; fails when missing
};

enum class DeleteOnClose : uint32_t {
  No = 0,
  Now = 1,      // unlinked right after opening (the library's own storage files)
  AtClose = 2,  // unlinked when the last handle closes (a caller's request)
};

enum class SeekFrom : uint32_t { Begin = 0, Current = 1, End = 2 };

class File final : public Object {
 public:
  // Opens or creates a file; nullptr with the platform error set on failure.
  static File *open(const char *path, uint32_t access, Disposition disposition,
                    DeleteOnClose del) noexcept;

  // Reads up to `bytes`, stopping early only at the end of the file. Returns
  // the count read, or -1 with the platform error set.
  int64_t read(void *buffer, size_t bytes) noexcept;
  // Writes all of `bytes`; -1 with the platform error set on failure.
  int64_t write(const void *buffer, size_t bytes) noexcept;
  // Moves the file position; the new position goes to *position if given.
  bool seek(int64_t offset, SeekFrom from, int64_t *position) noexcept;
  bool set_size(uint64_t size) noexcept;
  // Cuts or extends the file at the present position.
  bool set_end() noexcept;
  bool size(uint64_t *size) const noexcept;
  bool flush() noexcept;
  int descriptor() const noexcept { return fd_; }
  const std::string &path() const noexcept { return path_; }

 private:
  File(int fd, std::string path, bool unlink_at_close) noexcept
      : Object(ObjectType::File), fd_(fd), path_(std::move(path)), unlink_at_close_(unlink_at_close) {}
  ~File() override;

  int fd_;
  std::string path_;
  bool unlink_at_close_;
};

struct FileAttributes {
  bool is_directory;
  bool read_only;
  uint64_t size;
  int64_t modified_seconds;  // since the Unix epoch
};

bool delete_file(const char *path) noexcept;
bool rename_file(const char *from, const char *to, bool replace) noexcept;
bool file_attributes(const char *path, FileAttributes *attributes) noexcept;
bool create_directory(const char *path) noexcept;
// Free bytes for the caller, total bytes and total free bytes of the volume
// that holds `path`; any output may be null.
bool disk_free_space(const char *path, uint64_t *free_to_caller, uint64_t *total,
                     uint64_t *total_free) noexcept;

// $TMPDIR when it names a directory, else "/tmp/"; always ends with '/'.
std::string temp_directory();

// The classic unique temporary name: `dir` + up to three characters of
// `prefix` + four upper-case hex digits of the number + ".TMP". With `unique`
// 0 a number is chosen and the file created empty (it did not exist before);
// otherwise the name is only formed. Returns the number used, 0 on failure.
uint32_t temp_file_name(const char *dir, const char *prefix, uint32_t unique,
                        std::string *name) noexcept;

}  // namespace rv::os
