// Reading a DIB's header: its two forms, the table behind it, the checks that
// every reader makes before a pixel is touched, and the record and palette
// that a header describes.
#include <algorithm>
#include <bit>
#include <cstring>

#include "color/channels.h"
#include "color/dib.h"
#include "color/yuvframe.h"
#include "internal/record.h"
#include "ruvokit/rvbitmap.h"

namespace rv::dib {

namespace {

using channels::load16;
using channels::load32;

bool plain_depth(uint32_t bits) noexcept {
  switch (bits) {
    case 1: case 4: case 8: case 16: case 24: case 32: return true;
    default: return false;
  }
}

// Masks that lie within the pixel and don't share a bit.
bool masks_consistent(const Masks &m, uint32_t bits) noexcept {
  const uint32_t pixel = bits == 16 ? 0xFFFFu : 0xFFFFFFFFu;
  const uint32_t all = m.red | m.green | m.blue | m.alpha;
  const uint32_t shared = (m.red & m.green) | (m.red & m.blue) | (m.green & m.blue) |
                          (m.alpha & (m.red | m.green | m.blue));
  return (all & ~pixel) == 0 && shared == 0;
}

// The masks of a BI_BITFIELDS header: the layouts the bitmap keeps as they
// are (5-5-5, 5-6-5 and 8-8-8 with an alpha bit or byte or none), or fields
// taken out one by one into 8-bit channels.
int32_t classify_masks(const uint8_t *header, Description &d) noexcept {
  const Header &h = d.header;
  d.masks.red = load32(header + kMasksAt);
  d.masks.green = load32(header + kMasksAt + 4);
  d.masks.blue = load32(header + kMasksAt + 8);
  d.masks.alpha = h.size >= kAlphaMaskAt + 4 ? load32(header + kAlphaMaskAt) : 0;
  const Masks &m = d.masks;
  if (!masks_consistent(m, h.bit_count)) return ERROR_DIB_INVALID;
  d.order = ORDER_BGR;
  d.pixels = Pixels::Masks;
  if (h.bit_count == 16) {
    d.bits = 24;
    const bool alpha_bit = m.alpha == 0 || m.alpha == 0x8000u;
    if (m.red == 0x7C00u && m.green == 0x3E0u && m.blue == 0x1Fu && alpha_bit) {
      d.bits = 16;
      d.pixels = Pixels::Plain;
    } else if (m.red == 0xF800u && m.green == 0x7E0u && m.blue == 0x1Fu && m.alpha == 0) {
      d.bits = 16;
      d.order = ORDER_BGR565;
      d.pixels = Pixels::Plain;
    }
  } else {
    d.bits = 32;
    if (m.red == 0xFF0000u && m.green == 0xFF00u && m.blue == 0xFFu &&
        (m.alpha == 0 || m.alpha == 0xFF000000u)) {
      d.pixels = Pixels::Plain;
    }
  }
  return SUCCESS;
}

// Compression and depth: the kind of pixels and the bitmap's depth.
int32_t classify_pixels(bool video, Description &d) noexcept {
  const Header &h = d.header;
  d.order = ORDER_BGR;
  switch (h.compression) {
    case BI_RGB:
      if (!plain_depth(h.bit_count)) return ERROR_FEATURE_NOT_SUPPORTED;
      d.pixels = Pixels::Plain;
      d.bits = static_cast<int32_t>(h.bit_count);
      return SUCCESS;
    case BI_BITFIELDS:
      if (h.bit_count != 16 && h.bit_count != 32) return ERROR_FEATURE_NOT_SUPPORTED;
      return SUCCESS;  // the masks are read once the table is known to be there
    default:
      break;
  }
  if (!video) return ERROR_FEATURE_NOT_SUPPORTED;
  if (yuv::is_compressed_frame(h.compression)) {
    d.pixels = Pixels::Frame;
    d.bits = 24;
    return SUCCESS;
  }
  const yuv::FrameCode *code = yuv::find(h.compression);
  if (code == nullptr) return ERROR_FEATURE_NOT_SUPPORTED;
  if (h.bit_count != code->bits && h.bit_count != 24) return ERROR_FEATURE_NOT_SUPPORTED;
  if (d.width % code->dim_x != 0 || d.rows % code->dim_y != 0) return ERROR_FEATURE_NOT_SUPPORTED;
  d.pixels = Pixels::Yuv;
  d.yuv = code;
  d.bits = 24;
  return SUCCESS;
}

}  // namespace

int32_t read_header(const uint8_t *p, uint64_t avail, Header *out) noexcept {
  if (p == nullptr || avail < 4) return ERROR_DIB_INVALID;
  Header h{};
  h.size = load32(p);
  if (h.size == kCoreHeaderBytes) {
    if (avail < kCoreHeaderBytes) return ERROR_DIB_INVALID;
    h.core = true;
    h.width = load16(p + 4);
    h.height = load16(p + 6);
    h.planes = load16(p + 8);
    h.bit_count = load16(p + 10);
    h.compression = BI_RGB;
  } else {
    if (h.size < kInfoHeaderBytes || avail < h.size) return ERROR_DIB_INVALID;
    h.width = static_cast<int32_t>(load32(p + 4));
    h.height = static_cast<int32_t>(load32(p + 8));
    h.planes = load16(p + 12);
    h.bit_count = load16(p + 14);
    h.compression = load32(p + 16);
    h.size_image = load32(p + 20);
    h.x_ppm = static_cast<int32_t>(load32(p + 24));
    h.y_ppm = static_cast<int32_t>(load32(p + 28));
    h.colors_used = load32(p + 32);
  }
  *out = h;
  return SUCCESS;
}

Table table_of(const Header &h) noexcept {
  Table t{};
  t.entry_bytes = h.core ? 3 : 4;
  if (h.bit_count <= 8) {
    t.entries = h.colors_used != 0 ? h.colors_used : 1u << h.bit_count;
  } else {
    t.entries = h.colors_used;
  }
  const uint32_t masks_end = kMasksAt + kMaskBytes;
  if (h.compression == BI_BITFIELDS && h.size < masks_end) t.mask_bytes = masks_end - h.size;
  return t;
}

int32_t describe(const uint8_t *header, uint64_t header_avail, bool video,
                 Description *out) noexcept {
  Description d{};
  int32_t status = read_header(header, header_avail, &d.header);
  if (status != SUCCESS) return status;
  const Header &h = d.header;
  if (h.width <= 0 || h.height == 0 || h.height == INT32_MIN) return ERROR_INVALID_PARAMETER;
  d.width = h.width;
  d.rows = h.height < 0 ? -h.height : h.height;
  if (h.planes != 1) return ERROR_FEATURE_NOT_SUPPORTED;
  status = classify_pixels(video, d);
  if (status != SUCCESS) return status;
  if (d.pixels == Pixels::Frame) {
    *out = d;
    return SUCCESS;
  }

  // The colour table: at most 256 entries, and no more than the depth can index.
  d.table = table_of(h);
  if (d.table.entries > kMaxTableEntries ||
      (h.bit_count <= 8 && d.table.entries > (1u << h.bit_count))) {
    return ERROR_DIB_INVALID;
  }
  if (uint64_t{h.size} + d.table.bytes() > header_avail) return ERROR_DIB_INVALID;
  if (h.compression == BI_BITFIELDS) {
    status = classify_masks(header, d);
    if (status != SUCCESS) return status;
  }
  d.colors = d.bits <= 8 ? static_cast<int32_t>(d.table.entries) : 0;
  if (d.bits <= 8) d.order = ORDER_RGB;

  // Lines of the source and of the bitmap must be sizes the record can hold.
  const uint64_t widest = std::max<uint64_t>(h.bit_count, static_cast<uint64_t>(d.bits));
  if (uint64_t{static_cast<uint32_t>(d.width)} * widest + 31 > 0xFFFFFFFFu) return ERROR_DIB_INVALID;
  if (d.pixels == Pixels::Yuv) {
    d.pixel_bytes = yuv::frame_bytes(*d.yuv, static_cast<uint32_t>(d.width), static_cast<uint32_t>(d.rows));
    d.view = h.height > 0 ? VIEW_TOP_LEFT : VIEW_BOTTOM_LEFT;  // frames are stored top-down
  } else {
    d.row_bytes = line_bytes(static_cast<uint32_t>(d.width), h.bit_count);
    d.pixel_bytes = d.row_bytes * static_cast<uint32_t>(d.rows);
    d.view = h.height < 0 ? VIEW_TOP_LEFT : VIEW_BOTTOM_LEFT;
  }
  *out = d;
  return SUCCESS;
}

int32_t check_pixels(const Description &d, uint64_t avail) noexcept {
  if (d.pixels == Pixels::Yuv) {
    const uint32_t claimed = d.header.size_image;
    return (claimed != 0 && claimed < d.pixel_bytes) || avail < d.pixel_bytes
               ? ERROR_SIZE_YUV_BUFFER_INCORRECT
               : SUCCESS;
  }
  return avail < d.pixel_bytes ? ERROR_DIB_INVALID : SUCCESS;
}

int32_t init_record(BITMAPRECORD *bitmap, uint32_t struct_size, const Description &d) noexcept {
  const int32_t status =
      Rv_InitBitmapWithCallbacks(bitmap, struct_size, d.width, d.rows, d.bits, nullptr);
  if (status != SUCCESS) return status;
  if (d.bits <= 8) bitmap->nColors = d.colors;
  bitmap->nOrder = d.order;
  bitmap->nViewPerspective = d.view;
  if (!d.header.core) {
    bitmap->nXResolution = dpi_of_ppm(d.header.x_ppm);
    bitmap->nYResolution = dpi_of_ppm(d.header.y_ppm);
  }
  return SUCCESS;
}

int32_t attach_palette(BITMAPRECORD *bitmap, const Description &d, const uint8_t *table) noexcept {
  RGBQUAD palette[kMaxTableEntries] = {};
  const uint8_t *entry = table + d.table.mask_bytes;
  for (int32_t i = 0; i < d.colors; ++i, entry += d.table.entry_bytes) {
    palette[i] = RGBQUAD{entry[0], entry[1], entry[2], 0};
  }
  const int32_t status = Rv_SetBitmapNewPalette(bitmap, palette, 1 << d.bits);
  if (status == SUCCESS) bitmap->nColors = d.colors;
  return status;
}

}  // namespace rv::dib
