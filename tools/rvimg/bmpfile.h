// BMP files: a 14-byte file header in front of a packed DIB, read and written
// through the kernel's own DIB functions.
#pragma once
#include <cstdint>
#include <vector>

#include "ruvokit/rvkrn.h"

namespace rvimg {

constexpr uint32_t kFileHeaderBytes = 14;

// Reads a BMP file's bytes into `bitmap`, a record the call fills (full form).
// Whatever the bytes, the result is a status: ERROR_INVALID_FILE_FORMAT_9 when
// they aren't a BMP file, else what the kernel says of the DIB in them.
int32_t read_bmp(const uint8_t *data, size_t size, BITMAPRECORD *bitmap);
// The same from a file: ERROR_FILE_NOT_FOUND_10, ERROR_FILE_OPEN or
// ERROR_FILE_READ when it can't be read.
int32_t read_bmp_file(const char *path, BITMAPRECORD *bitmap);

// The BMP file of a bitmap, in the depth a DIB holds (see Rv_ConvertToDIB).
int32_t write_bmp(BITMAPRECORD *bitmap, std::vector<uint8_t> *bytes);
// The same into a file; ERROR_FILE_OPEN or ERROR_FILE_WRITE when it can't be written.
int32_t write_bmp_file(const char *path, BITMAPRECORD *bitmap);

}  // namespace rvimg
