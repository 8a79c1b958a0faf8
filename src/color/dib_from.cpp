// Reading a DIB into a new bitmap: plain rows, bit fields, YUV frames, and the
// packed form whose pixels follow its table.
#include <bit>
#include <cstring>

#include "color/channels.h"
#include "color/dib.h"
#include "color/yuvframe.h"
#include "internal/memory.h"
#include "internal/record.h"
#include "ruvokit/rvbitmap.h"

namespace rv::dib {

namespace {

// A field of a pixel between the lowest and the highest bit of its mask.
struct Field {
  uint32_t shift = 0;
  uint32_t width = 0;  // 0: the mask is empty
};

Field field_of(uint32_t mask) noexcept {
  if (mask == 0) return {};
  const auto low = static_cast<uint32_t>(std::countr_zero(mask));
  const auto high = 31u - static_cast<uint32_t>(std::countl_zero(mask));
  return {low, high - low + 1};
}

// The field widened or cut to 8 bits: a narrow field repeats its bits below
// itself (5 bits c give (c << 3) | (c >> 2)), a wide one keeps its top 8.
uint8_t channel8(uint32_t pixel, Field f) noexcept {
  if (f.width == 0) return 0;
  const uint32_t value = (pixel >> f.shift) & (0xFFFFFFFFu >> (32 - f.width));
  if (f.width >= 8) return static_cast<uint8_t>(value >> (f.width - 8));
  uint32_t out = 0;
  uint32_t filled = 0;
  for (; filled < 8; filled += f.width) out = (out << f.width) | value;
  return static_cast<uint8_t>(out >> (filled - 8));
}

struct MaskFields {
  Field red, green, blue, alpha;
  explicit MaskFields(const Masks &m) noexcept
      : red(field_of(m.red)), green(field_of(m.green)), blue(field_of(m.blue)), alpha(field_of(m.alpha)) {}
};

// One source row of 16- or 32-bit pixels to blue-green-red(-alpha) bytes.
void extract_row(const uint8_t *src, uint32_t source_bits, const MaskFields &f, uint32_t width,
                 bool with_alpha, uint8_t *out) noexcept {
  const uint32_t step = with_alpha ? 4 : 3;
  for (uint32_t x = 0; x < width; ++x, out += step) {
    const uint32_t pixel = source_bits == 16 ? channels::load16(src + 2 * uint64_t{x})
                                             : channels::load32(src + 4 * uint64_t{x});
    out[0] = channel8(pixel, f.blue);
    out[1] = channel8(pixel, f.green);
    out[2] = channel8(pixel, f.red);
    if (with_alpha) out[3] = f.alpha.width != 0 ? channel8(pixel, f.alpha) : 0xFF;
  }
}

// Whether any pixel of a 32-bit row has a non-zero alpha byte.
bool any_alpha(const uint8_t *row, uint32_t width) noexcept {
  uint8_t seen = 0;
  for (uint32_t x = 0; x < width; ++x) seen |= row[4 * uint64_t{x} + 3];
  return seen != 0;
}

// The rows of an allocated bitmap from the pixels, bitmap row y from source
// row y. A 32-bit picture whose alpha bytes are all 0, as they are read or as
// its masks make them, comes out opaque: a DIB that doesn't use its fourth
// byte leaves it 0.
int32_t put_rows(BITMAPRECORD *bitmap, const Description &d, const uint8_t *bits) noexcept {
  const auto line = static_cast<uint32_t>(bitmap->nBytesPerLine);
  const auto width = static_cast<uint32_t>(d.width);
  uint8_t *buffer = nullptr;
  if (d.pixels != Pixels::Plain) {
    buffer = static_cast<uint8_t *>(alloc_block(line, true));
    if (buffer == nullptr) return ERROR_NO_MEMORY;
  }
  const MaskFields fields(d.masks);
  const bool watch_alpha = d.bits == 32;
  bool alpha_seen = false;
  int32_t status = Rv_AccessBitmap(bitmap);
  for (int32_t y = 0; status == SUCCESS && y < d.rows; ++y) {
    const uint8_t *row = bits + d.row_bytes * static_cast<uint32_t>(y);
    switch (d.pixels) {
      case Pixels::Plain:
        break;
      case Pixels::Masks:
        extract_row(row, d.header.bit_count, fields, width, d.bits == 32, buffer);
        row = buffer;
        break;
      case Pixels::Yuv:
        yuv::decode_row(*d.yuv, bits, width, static_cast<uint32_t>(d.rows), static_cast<uint32_t>(y), buffer);
        row = buffer;
        break;
      case Pixels::Frame:
        break;
    }
    if (watch_alpha && !alpha_seen) alpha_seen = any_alpha(row, width);
    const int32_t put = Rv_PutBitmapRow(bitmap, row, y, line);
    if (put < 0) status = put;
  }
  const int32_t released = Rv_ReleaseBitmap(bitmap);
  if (status == SUCCESS) status = released;
  free_block(buffer);
  if (status == SUCCESS && watch_alpha && !alpha_seen) status = Rv_SetBitmapAlphaValues(bitmap, 255);
  return status;
}

uint32_t default_memory() noexcept {
  uint32_t memory = BITMAPMEM_CONVENTIONAL;
  Rv_GetDefaultMemoryType(&memory);
  return memory;
}

}  // namespace

int32_t read(BITMAPRECORD *bitmap, uint32_t struct_size, const uint8_t *header,
             uint64_t header_avail, const uint8_t *bits, uint64_t bits_avail) noexcept {
  if (bitmap == nullptr) return ERROR_INVALID_PARAMETER;
  if (!valid_record_size(struct_size)) return ERROR_INVALID_STRUCT_SIZE;
  if (header == nullptr) return ERROR_INVALID_PARAMETER;
  Description d;
  int32_t status = describe(header, header_avail, true, &d);
  if (status != SUCCESS) return status;
  if (d.pixels == Pixels::Frame) {
    return load_compressed_frame(bitmap, struct_size, d, bits, bits != nullptr ? bits_avail : 0);
  }
  if (bits != nullptr) {
    status = check_pixels(d, bits_avail);
    if (status != SUCCESS) return status;
  }
  status = init_record(bitmap, struct_size, d);
  if (status != SUCCESS || bits == nullptr) return status;

  status = Rv_AllocateBitmap(bitmap, default_memory());
  if (status == SUCCESS && d.bits <= 8) status = attach_palette(bitmap, d, header + d.header.size);
  if (status == SUCCESS) status = put_rows(bitmap, d, bits);
  if (status != SUCCESS) Rv_FreeBitmap(bitmap);
  return status;
}

int32_t read_packed(BITMAPRECORD *bitmap, uint32_t struct_size, const uint8_t *dib,
                    uint64_t avail) noexcept {
  Header header;
  if (read_header(dib, avail, &header) != SUCCESS) return ERROR_DIB_INVALID;
  // The table must be there before the pixels behind it can be found.
  const uint64_t table = table_of(header).bytes();
  if (header.colors_used > kMaxTableEntries || table > avail - header.size) return ERROR_DIB_INVALID;
  const uint64_t offset = header.size + table;
  return read(bitmap, struct_size, dib, offset, dib + offset, avail - offset);
}

}  // namespace rv::dib

int32_t Rv_ConvertFromDIB(BITMAPRECORD *pBitmap, uint32_t uStructSize, const void *pHeader,
                          const void *pBits) noexcept {
  return rv::dib::read(pBitmap, uStructSize, static_cast<const uint8_t *>(pHeader), rv::dib::kUnbounded,
                       static_cast<const uint8_t *>(pBits), rv::dib::kUnbounded);
}

int32_t Rv_ConvertFromDIBExt(BITMAPRECORD *pBitmap, uint32_t uStructSize, const void *pHeader,
                             uint64_t uHeaderBytes, const void *pBits, uint64_t uBitsBytes) noexcept {
  return rv::dib::read(pBitmap, uStructSize, static_cast<const uint8_t *>(pHeader), uHeaderBytes,
                       static_cast<const uint8_t *>(pBits), uBitsBytes);
}

int32_t Rv_DIBPTRToRuvo(BITMAPRECORD *pBitmap, uint32_t uStructSize, const void *pDIB) noexcept {
  if (pBitmap == nullptr || pDIB == nullptr) return ERROR_INVALID_IMAGE;
  return rv::dib::read_packed(pBitmap, uStructSize, static_cast<const uint8_t *>(pDIB),
                              rv::dib::kUnbounded);
}
