#include "bmpfile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

namespace rvimg {

namespace {

uint32_t load32(const uint8_t *p) {
  return p[0] | (uint32_t{p[1]} << 8) | (uint32_t{p[2]} << 16) | (uint32_t{p[3]} << 24);
}

void store32(uint8_t *p, uint32_t v) {
  for (int i = 0; i < 4; ++i) p[i] = static_cast<uint8_t>(v >> (8 * i));
}

struct FileCloser {
  void operator()(FILE *f) const { std::fclose(f); }
};
using File = std::unique_ptr<FILE, FileCloser>;

}  // namespace

int32_t read_bmp(const uint8_t *data, size_t size, BITMAPRECORD *bitmap) {
  if (size < kFileHeaderBytes || data[0] != 'B' || data[1] != 'M') return ERROR_INVALID_FILE_FORMAT_9;
  // The header and its table lie between the file header and the pixels.
  const uint32_t pixels = load32(data + 10);
  if (pixels < kFileHeaderBytes || pixels > size) return ERROR_DIB_INVALID;
  return Rv_ConvertFromDIBExt(bitmap, RV_BITMAPRECORD_SIZE, data + kFileHeaderBytes,
                              pixels - kFileHeaderBytes, data + pixels, size - pixels);
}

int32_t read_bmp_file(const char *path, BITMAPRECORD *bitmap) {
  File file(std::fopen(path, "rb"));
  if (!file) return errno == ENOENT ? ERROR_FILE_NOT_FOUND_10 : ERROR_FILE_OPEN;
  std::vector<uint8_t> bytes;
  try {
    uint8_t chunk[1 << 16];
    size_t n;
    while ((n = std::fread(chunk, 1, sizeof chunk, file.get())) > 0) bytes.insert(bytes.end(), chunk, chunk + n);
  } catch (const std::bad_alloc &) {
    return ERROR_NO_MEMORY;
  }
  if (std::ferror(file.get())) return ERROR_FILE_READ;
  return read_bmp(bytes.data(), bytes.size(), bitmap);
}

int32_t write_bmp(BITMAPRECORD *bitmap, std::vector<uint8_t> *bytes) {
  uint32_t size = 0;
  auto *dib = static_cast<uint8_t *>(Rv_ConvertToDIBPTR(bitmap, RV_BITMAPRECORD_SIZE, &size));
  if (dib == nullptr) {
    const int32_t view = bitmap->nViewPerspective;
    return view == VIEW_TOP_LEFT || view == VIEW_BOTTOM_LEFT ? ERROR_NO_MEMORY : ERROR_FEATURE_NOT_SUPPORTED;
  }
  BITMAPINFOHEADER header;
  std::memcpy(&header, dib, sizeof header);
  try {
    bytes->assign(kFileHeaderBytes + size, 0);
  } catch (const std::bad_alloc &) {
    Rv_LocalFree(dib);
    return ERROR_NO_MEMORY;
  }
  uint8_t *out = bytes->data();
  out[0] = 'B';
  out[1] = 'M';
  store32(out + 2, static_cast<uint32_t>(bytes->size()));
  store32(out + 10, kFileHeaderBytes + size - header.biSizeImage);
  std::memcpy(out + kFileHeaderBytes, dib, size);
  Rv_LocalFree(dib);
  return SUCCESS;
}

int32_t write_bmp_file(const char *path, BITMAPRECORD *bitmap) {
  std::vector<uint8_t> bytes;
  const int32_t status = write_bmp(bitmap, &bytes);
  if (status != SUCCESS) return status;
  File file(std::fopen(path, "wb"));
  if (!file) return ERROR_FILE_OPEN;
  if (std::fwrite(bytes.data(), 1, bytes.size(), file.get()) != bytes.size()) return ERROR_FILE_WRITE;
  return std::fclose(file.release()) == 0 ? SUCCESS : ERROR_FILE_WRITE;
}

}  // namespace rvimg
