// Fuzzes the reading of device-independent bitmaps. Any bytes, read as a
// packed DIB, as a header with its pixels apart, and from a memory block taken
// over or lain over, must give a status without reading outside the bytes or
// leaking. A DIB that reads must write out again and read back to the same
// pixels.
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "color/dib.h"
#include "ruvokit/rvkrn.h"

namespace {

// The bits of a row that hold pixels (the rest of the last byte and the
// padding are free to differ).
bool same_pixels(const uint8_t *a, const uint8_t *b, uint64_t pixel_bits) {
  const uint64_t whole = pixel_bits / 8;
  if (std::memcmp(a, b, static_cast<size_t>(whole)) != 0) return false;
  const auto rest = static_cast<uint32_t>(pixel_bits % 8);
  const auto mask = static_cast<uint8_t>(0xFFu << (8 - rest));
  return rest == 0 || ((a[whole] ^ b[whole]) & mask) == 0;
}

void check_round_trip(BITMAPRECORD *read) {
  uint32_t size = 0;
  auto *dib = static_cast<uint8_t *>(Rv_ConvertToDIBPTR(read, RV_BITMAPRECORD_SIZE, &size));
  if (dib == nullptr) std::abort();  // a bitmap that was read is one a DIB can hold
  BITMAPRECORD again{};
  if (rv::dib::read_packed(&again, RV_BITMAPRECORD_SIZE, dib, size) != SUCCESS) std::abort();
  if (again.nWidth != read->nWidth || again.nHeight != read->nHeight ||
      again.nBitsPerPixel != read->nBitsPerPixel || again.nOrder != read->nOrder) {
    std::abort();
  }
  const auto line = static_cast<size_t>(read->nBytesPerLine);
  auto *a = static_cast<uint8_t *>(std::malloc(line));
  auto *b = static_cast<uint8_t *>(std::malloc(line));
  const uint64_t pixel_bits = uint64_t{static_cast<uint32_t>(read->nWidth)} * static_cast<uint32_t>(read->nBitsPerPixel);
  for (int32_t y = 0; y < read->nHeight; ++y) {
    // Written bottom-up: a top-down picture's rows come back the other way round.
    const int32_t other = read->nViewPerspective == VIEW_TOP_LEFT ? read->nHeight - 1 - y : y;
    if (Rv_GetBitmapRow(read, a, y, static_cast<uint32_t>(line)) < 0 ||
        Rv_GetBitmapRow(&again, b, other, static_cast<uint32_t>(line)) < 0 || !same_pixels(a, b, pixel_bits)) {
      std::abort();
    }
  }
  std::free(a);
  std::free(b);
  Rv_FreeBitmap(&again);
  Rv_LocalFree(dib);
}

RVHANDLE block_of(const uint8_t *data, size_t size) {
  RVHANDLE handle = Rv_OsAllocHandle(RV_DIB_HANDLE_FLAGS, size);
  if (handle != nullptr && size != 0) std::memcpy(Rv_OsLockHandle(handle), data, size);
  return handle;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size > (1u << 20)) return 0;
  BITMAPRECORD bitmap{};

  // Packed: the pixels behind the table.
  if (rv::dib::read_packed(&bitmap, RV_BITMAPRECORD_SIZE, data, size) == SUCCESS) check_round_trip(&bitmap);
  Rv_FreeBitmap(&bitmap);

  // Header and pixels apart, the header part cut at the middle.
  const size_t half = size / 2;
  if (Rv_ConvertFromDIBExt(&bitmap, RV_BITMAPRECORD_SIZE, data, half, data + half, size - half) == SUCCESS) {
    check_round_trip(&bitmap);
  }
  Rv_FreeBitmap(&bitmap);

  // A block lain over: the caller keeps it.
  RVHANDLE handle = block_of(data, size);
  if (Rv_MirrorFromDIB(&bitmap, RV_BITMAPRECORD_SIZE, handle) == SUCCESS) Rv_FreeBitmap(&bitmap);
  Rv_OsFreeHandle(handle);

  // A block taken over, and given back as a DIB.
  handle = block_of(data, size);
  if (Rv_ChangeFromDIB(&bitmap, RV_BITMAPRECORD_SIZE, handle) == SUCCESS) {
    RVHANDLE back = Rv_ChangeToDIB(&bitmap, RV_BITMAPRECORD_SIZE);
    if (back == nullptr) std::abort();
    const auto *block = static_cast<const WINHANDLE *>(back);
    BITMAPRECORD again{};
    if (rv::dib::read_packed(&again, RV_BITMAPRECORD_SIZE, static_cast<const uint8_t *>(block->pData),
                             block->uSize) != SUCCESS) {
      std::abort();
    }
    Rv_FreeBitmap(&again);
    Rv_OsFreeHandle(back);
  } else {
    Rv_OsFreeHandle(handle);
  }
  return 0;
}
