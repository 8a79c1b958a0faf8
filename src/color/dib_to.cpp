// Writing a bitmap as a packed DIB: the depth and order a DIB holds, the header
// and its table, and the rows bottom-up, converted where depth or order change.
#include <algorithm>
#include <cstring>

#include "color/channels.h"
#include "color/convert.h"
#include "color/dib.h"
#include "color/palette.h"
#include "internal/memory.h"
#include "internal/pixels.h"
#include "internal/record.h"
#include "ruvokit/rvbitmap.h"
#include "ruvokit/rvplatform.h"

namespace {

using rv::dib::kInfoHeaderBytes;
using rv::dib::kMaskBytes;

constexpr uint32_t kOtherForms = BITMAPFLAG_COMPRESSED | BITMAPFLAG_TILED | BITMAPFLAG_SUPER_COMPRESSED;

bool is_gray(const BITMAPRECORD *b) noexcept {
  return b->nBitsPerPixel == 12 || (b->nBitsPerPixel > 8 && b->nOrder == ORDER_GRAY);
}

bool dib_view(int32_t view) noexcept { return view == VIEW_TOP_LEFT || view == VIEW_BOTTOM_LEFT; }

// The depth a bitmap takes in a DIB.
int32_t dib_depth(const BITMAPRECORD *b) noexcept {
  switch (b->nBitsPerPixel) {
    case 2: case 3: return 4;
    case 5: case 6: case 7: return 8;
    case 12: case 48: return 24;
    case 16: return b->nOrder == ORDER_GRAY ? 24 : 16;
    case 64: return 32;
    default: return b->nBitsPerPixel;
  }
}

// What a bitmap becomes in a DIB.
struct Target {
  int32_t bits = 0;
  int32_t order = ORDER_RGB;  // ORDER_BGR or ORDER_BGR565 above 8 bits
  bool convert = false;       // rows go through the conversion core
  bool masks = false;         // 5-6-5, written as BI_BITFIELDS with its masks
  int32_t colors = 0;         // table entries
  uint64_t line = 0;
  uint64_t header = 0;        // header and table
  uint64_t image = 0;
  uint64_t total = 0;
  RGBQUAD palette[256] = {};  // the bitmap's colours, black beyond them
};

int32_t plan(const BITMAPRECORD *b, Target *t) noexcept {
  const int32_t bits = b->nBitsPerPixel;
  if (!rv::px::is_valid_depth(bits) || b->nWidth <= 0 || b->nHeight <= 0) return ERROR_INVALID_IMAGE;
  if (is_gray(b) && !Rv_IsBitmapLUTLengthValid(b)) return ERROR_INVALID_PARAMETER;
  t->bits = dib_depth(b);
  t->masks = t->bits == 16 && b->nOrder == ORDER_BGR565;
  t->order = t->bits <= 8 ? ORDER_RGB : t->masks ? ORDER_BGR565 : ORDER_BGR;
  t->convert = t->bits != bits || (t->bits > 8 && b->nOrder != t->order);
  if (bits <= 8) {
    const int32_t full = 1 << bits;
    t->colors = b->nColors > 0 && b->nColors <= full ? b->nColors : full;
    std::memcpy(t->palette, rv::color::palette_or_fixed(b->pPalette, bits),
                sizeof(RGBQUAD) * static_cast<size_t>(t->colors));
    for (int32_t i = 0; i < t->colors; ++i) t->palette[i].rgbReserved = 0;
  }
  t->line = rv::dib::line_bytes(static_cast<uint32_t>(b->nWidth), static_cast<uint32_t>(t->bits));
  t->image = t->line * static_cast<uint32_t>(b->nHeight);
  t->header = kInfoHeaderBytes + (t->masks ? kMaskBytes : 0) + 4 * static_cast<uint64_t>(t->colors);
  t->total = t->header + t->image;
  // Sizes go into 32-bit fields of the header and of the callers.
  return t->total <= UINT32_MAX ? SUCCESS : ERROR_NO_MEMORY;
}

void write_header(const BITMAPRECORD *b, const Target &t, uint8_t *out) noexcept {
  BITMAPINFOHEADER h{};
  h.biSize = kInfoHeaderBytes;
  h.biWidth = b->nWidth;
  h.biHeight = b->nHeight;
  h.biPlanes = 1;
  h.biBitCount = static_cast<uint16_t>(t.bits);
  h.biCompression = t.masks ? BI_BITFIELDS : BI_RGB;
  h.biSizeImage = static_cast<uint32_t>(t.image);
  h.biXPelsPerMeter = rv::dib::ppm_of_dpi(b->nXResolution);
  h.biYPelsPerMeter = rv::dib::ppm_of_dpi(b->nYResolution);
  h.biClrUsed = static_cast<uint32_t>(t.colors);
  std::memcpy(out, &h, sizeof h);
  out += sizeof h;
  if (t.masks) {
    for (uint32_t mask : {0xF800u, 0x7E0u, 0x1Fu}) {
      rv::channels::store32(out, mask);
      out += 4;
    }
  }
  std::memcpy(out, t.palette, sizeof(RGBQUAD) * static_cast<size_t>(t.colors));
}

// How rows of the bitmap become rows of the DIB: a plain conversion, gray
// words through their field and tables.
rv::color::ConvertArgs conversion(const BITMAPRECORD *b, const Target &t, bool transparency) noexcept {
  rv::color::ConvertArgs a;
  a.src_bits = b->nBitsPerPixel;
  a.dst_bits = t.bits;
  a.src_order = b->nOrder;
  a.dst_order = t.order;
  if (is_gray(b)) {
    a.flags = CONVERT_SRC_GRAY | CONVERT_SRC_BITRANGE;
    a.src_palette = b->pLUT;
    a.lut16 = Rv_GetLUT16(b, TRUE);
    a.low_bit = b->nLowBit;
    a.high_bit = b->nHighBit;
  } else if (b->nBitsPerPixel <= 8) {
    a.src_palette = t.palette;
  }
  if (t.bits <= 8) a.dst_palette = t.palette;
  if (transparency && (b->uFlags & BITMAPFLAG_TRANSPARENCY)) {
    a.flags |= CONVERT_TRANSPARENT;
    a.transparent = b->crTransparent;
  }
  return a;
}

// Clears the bits of a DIB line beyond its last pixel.
void clear_tail(uint8_t *line, uint64_t pixel_bits, uint64_t line_bytes) noexcept {
  const uint64_t whole = pixel_bits / 8;
  const auto rest = static_cast<uint32_t>(pixel_bits % 8);
  uint64_t from = whole;
  if (rest != 0) line[from++] &= static_cast<uint8_t>(0xFFu << (8 - rest));
  std::memset(line + from, 0, static_cast<size_t>(line_bytes - from));
}

// The header, the table and every row; DIB row k is the picture's k-th row
// from the bottom: the bitmap's row k in view 4, its row height - 1 - k in view 1.
int32_t write(BITMAPRECORD *b, const Target &t, bool transparency, uint8_t *out) noexcept {
  rv::color::Converter converter;
  if (t.convert) {
    const int32_t status = converter.prepare(conversion(b, t, transparency));
    if (status != SUCCESS) return status;
  }
  write_header(b, t, out);
  const auto width = static_cast<uint32_t>(b->nWidth);
  const auto source_line = static_cast<uint32_t>(b->nBytesPerLine);
  const size_t room = std::max<size_t>(
      source_line, Rv_CalcConvertSize(width, b->nBitsPerPixel, width, t.bits));
  auto *buffer = static_cast<uint8_t *>(rv::alloc_block(room, true));
  if (buffer == nullptr) return ERROR_NO_MEMORY;
  const uint64_t pixel_bits = uint64_t{width} * static_cast<uint32_t>(t.bits);
  const bool bottom_up = b->nViewPerspective == VIEW_BOTTOM_LEFT;
  int32_t status = Rv_AccessBitmap(b);
  for (int32_t k = 0; status == SUCCESS && k < b->nHeight; ++k) {
    const int32_t row = bottom_up ? k : b->nHeight - 1 - k;
    const int32_t got = Rv_GetBitmapRow(b, buffer, row, source_line);
    if (got < 0) {
      status = got;
      break;
    }
    if (t.convert) status = converter.convert(buffer, b->nWidth);
    uint8_t *line = out + t.header + t.line * static_cast<uint32_t>(k);
    std::memcpy(line, buffer, static_cast<size_t>(std::min<uint64_t>((pixel_bits + 7) / 8, t.line)));
    clear_tail(line, pixel_bits, t.line);
  }
  const int32_t released = Rv_ReleaseBitmap(b);
  rv::free_block(buffer);
  return status == SUCCESS ? released : status;
}

// A bitmap made along the way, freed at the end of the scope.
struct Scratch {
  BITMAPRECORD record{};
  bool made = false;
  Scratch() = default;
  Scratch(const Scratch &) = delete;
  Scratch &operator=(const Scratch &) = delete;
  ~Scratch() {
    if (made) Rv_FreeBitmap(&record);
  }
};

bool usable(const BITMAPRECORD *b, uint32_t struct_size) noexcept {
  return b != nullptr && rv::valid_record_size(b->uStructSize) && rv::valid_record_size(struct_size) &&
         rv::is_allocated(b);
}

// The body of the Rv_ConvertToDIB family: a movable block or a heap block.
void *convert_to_dib(BITMAPRECORD *b, uint32_t struct_size, uint32_t *size, bool handle) noexcept {
  if (!usable(b, struct_size)) return nullptr;
  BITMAPRECORD *source = b;
  Scratch resolved, turned;
  const int32_t depth = dib_depth(b);
  if (depth <= 8 && depth != b->nBitsPerPixel) {
    if (rv::dib::resolve_to_palette(source, &resolved.record, depth) != SUCCESS) return nullptr;
    resolved.made = true;
    source = &resolved.record;
  }
  if (!dib_view(source->nViewPerspective)) {
    if (rv::dib::change_to_dib_view(&turned.record, source) != SUCCESS) return nullptr;
    turned.made = true;
    source = &turned.record;
  }
  Target t;
  if (plan(source, &t) != SUCCESS) return nullptr;
  const auto total = static_cast<size_t>(t.total);
  RVHANDLE block_handle = nullptr;
  uint8_t *out;
  if (handle) {
    block_handle = Rv_OsAllocHandle(RV_DIB_HANDLE_FLAGS, total);
    out = static_cast<uint8_t *>(Rv_OsLockHandle(block_handle));
  } else {
    out = static_cast<uint8_t *>(RV_ALLOC(1, static_cast<uint32_t>(total)));
  }
  if (out == nullptr) return nullptr;
  if (write(source, t, true, out) != SUCCESS) {
    if (handle) {
      Rv_OsFreeHandle(block_handle);
    } else {
      Rv_LocalFree(out);
    }
    return nullptr;
  }
  if (size != nullptr) *size = static_cast<uint32_t>(total);
  return handle ? block_handle : out;
}

// The bitmap's own movable block, with nothing in front of or around it that
// isn't its data.
bool owns_movable_block(const BITMAPRECORD *b) noexcept {
  const uint32_t flags = b->uFlags;
  if (!(flags & BITMAPFLAG_GLOBAL_MEMORY) || !(flags & BITMAPFLAG_CONVENTIONAL) ||
      (flags & (BITMAPFLAG_USER_DATA | kOtherForms)) || b->pDataCallbacks != nullptr) {
    return false;
  }
  const auto *handle = static_cast<const WINHANDLE *>(b->hData);
  return handle != nullptr && handle->nKind == WINHANDLE_KIND_MEMORY &&
         b->uDataOffset + rv::flat_size(b) <= handle->uSize;
}

// Turns the bitmap's movable block into the DIB: grown (or trimmed) to its
// size, the pixels moved up behind a header written at its front. Null, with
// the bitmap as it was, when the block can't grow.
RVHANDLE take_over_block(BITMAPRECORD *b, const Target &t) noexcept {
  RVHANDLE handle = b->hData;
  const uint64_t before = static_cast<WINHANDLE *>(handle)->uSize;
  if (t.total > before && Rv_OsReallocHandle(handle, static_cast<size_t>(t.total), RV_DIB_HANDLE_FLAGS) == nullptr) {
    return nullptr;
  }
  auto *block = static_cast<uint8_t *>(Rv_OsLockHandle(handle));
  std::memmove(block + t.header, block + b->uDataOffset, static_cast<size_t>(t.image));
  write_header(b, t, block);
  // A block that stays longer than the DIB does no harm if trimming fails.
  if (t.total < before) Rv_OsReallocHandle(handle, static_cast<size_t>(t.total), 0);
  b->hData = nullptr;
  b->pData = nullptr;
  b->uDataOffset = 0;
  b->uFlags &= ~BITMAPFLAG_STORAGE_MASK;
  return handle;
}

}  // namespace

RVHANDLE Rv_ConvertToDIB(BITMAPRECORD *pBitmap, uint32_t uStructSize) noexcept {
  return convert_to_dib(pBitmap, uStructSize, nullptr, true);
}

void *Rv_ConvertToDIBPTR(BITMAPRECORD *pBitmap, uint32_t uStructSize, uint32_t *puSize) noexcept {
  return convert_to_dib(pBitmap, uStructSize, puSize, false);
}

void *Rv_ConvertToDIB2(BITMAPRECORD *pBitmap, uint32_t uStructSize, uint32_t *puSize,
                       int32_t bHandle) noexcept {
  return convert_to_dib(pBitmap, uStructSize, puSize, bHandle != FALSE);
}

RVHANDLE Rv_ChangeToDIB(BITMAPRECORD *pBitmap, uint32_t uStructSize) noexcept {
  if (!usable(pBitmap, uStructSize) || pBitmap->nLockCount > 0 ||
      (pBitmap->uFlags & BITMAPFLAG_LOCKED)) {
    return nullptr;
  }
  if (!dib_view(pBitmap->nViewPerspective) &&
      rv::dib::change_to_dib_view(nullptr, pBitmap) != SUCCESS) {
    return nullptr;
  }
  // A palette depth a DIB can't hold goes through colour resolution first.
  Scratch resolved;
  BITMAPRECORD *source = pBitmap;
  const int32_t depth = dib_depth(pBitmap);
  if (depth <= 8 && depth != pBitmap->nBitsPerPixel) {
    if (rv::dib::resolve_to_palette(pBitmap, &resolved.record, depth) != SUCCESS) return nullptr;
    resolved.made = true;
    source = &resolved.record;
  }
  Target t;
  if (plan(source, &t) != SUCCESS) return nullptr;
  RVHANDLE handle;
  if (source == pBitmap && !t.convert && pBitmap->nViewPerspective == VIEW_BOTTOM_LEFT &&
      owns_movable_block(pBitmap)) {
    handle = take_over_block(pBitmap, t);
    if (handle == nullptr) return nullptr;
  } else {
    handle = Rv_OsAllocHandle(RV_DIB_HANDLE_FLAGS, static_cast<size_t>(t.total));
    auto *out = static_cast<uint8_t *>(Rv_OsLockHandle(handle));
    if (out == nullptr) return nullptr;
    if (write(source, t, false, out) != SUCCESS) {
      Rv_OsFreeHandle(handle);
      return nullptr;
    }
  }
  Rv_FreeBitmap(pBitmap);
  return handle;
}
