// Colour resolution: a bitmap brought to a new depth and colour order, with a
// palette chosen by rule, row by row through the converter or a dither run,
// into a new bitmap, into the same record, or to a row callback only.
//
// In place, the source record is first copied to a private heap record that
// the rows are read from, and the caller's record itself is then made into
// the new bitmap. rv::replace_record builds the new bitmap beside the old one
// instead, which isn't enough here: the row callback must be handed the
// caller's own record while the rows arrive (the list form counts on it),
// and a caller's palette may be the record's own array, which has to stay
// alive, in the private copy, until the last row. So the record is rebuilt
// where it stands; the extra data moves to it from the private copy at the
// end, and a failure puts the private copy back over it.
#include <cstring>

#include "color/colorres.h"
#include "color/convert.h"
#include "color/dither.h"
#include "color/match.h"
#include "color/palette.h"
#include "color/palette_tables.h"
#include "internal/memory.h"
#include "internal/progress.h"
#include "internal/record.h"
#include "ruvokit/rvbitmap.h"
#include "ruvokit/rvdisplay.h"
#include "ruvokit/rvregion.h"

namespace rv::color {

namespace {

constexpr uint32_t kOrderFlags =
    COLORRES_ORDER_BGR | COLORRES_ORDER_GRAY | COLORRES_ORDER_WIDE_GAMUT | COLORRES_ORDER_BGR565;
// The record flags a result takes from its source.
constexpr uint32_t kCarriedFlags =
    BITMAPFLAG_RGN_NO_CLIP | BITMAPFLAG_RESERVED_20000 | BITMAPFLAG_LUT_NONLINEAR;

// The order of a destination over 8 bits by its flags, or -1.
int32_t destination_order(int32_t bits, uint32_t flags) noexcept {
  switch (flags & kOrderFlags) {
    case 0: return ORDER_RGB;
    case COLORRES_ORDER_BGR: return ORDER_BGR;
    case COLORRES_ORDER_GRAY: return bits < 24 || bits == 32 ? ORDER_GRAY : -1;
    case COLORRES_ORDER_GRAY | COLORRES_ORDER_BGR: return bits < 24 ? ORDER_GRAY : ORDER_BGR;
    // The converter has these orders at these depths only.
    case COLORRES_ORDER_WIDE_GAMUT: return bits == 24 || bits == 48 ? ORDER_WIDE_GAMUT : -1;
    case COLORRES_ORDER_BGR565: return bits == 16 ? ORDER_BGR565 : -1;
    default: return -1;
  }
}

bool same_rgb(const RGBQUAD &a, uint8_t r, uint8_t g, uint8_t b) noexcept {
  return a.rgbRed == r && a.rgbGreen == g && a.rgbBlue == b;
}

// Entries `filled` to 255 repeat the first entry that is neither black nor
// white (gray 127 when all are), so that a search over the whole depth never
// prefers an entry past the real ones.
void pad_palette(RGBQUAD *palette, uint32_t filled) noexcept {
  if (filled >= 256) return;
  RGBQUAD pad{127, 127, 127, 0};
  for (uint32_t i = 0; i < filled; ++i) {
    if (!same_rgb(palette[i], 0, 0, 0) && !same_rgb(palette[i], 255, 255, 255)) {
      pad = palette[i];
      break;
    }
  }
  for (uint32_t i = filled; i < 256; ++i) palette[i] = pad;
}

// Clears what follows the pixels of a row up to its end, so that no byte of
// the source row a result was made in survives into the result.
void clear_row_tail(uint8_t *row, int32_t width, int32_t bits, uint32_t row_bytes) noexcept {
  const uint64_t used_bits = static_cast<uint64_t>(width) * static_cast<uint64_t>(bits);
  const uint64_t whole = used_bits / 8;
  if (whole >= row_bytes) return;
  const uint32_t spare = static_cast<uint32_t>(used_bits % 8);
  uint64_t first_clear = whole;
  if (spare != 0) {
    // Packed pixels fill a byte from its top bit; an even 12-bit pixel
    // ends in the low half of its second byte.
    const uint32_t keep = bits == 12 ? 0x0Fu : 0xFF00u >> spare;
    row[whole] = static_cast<uint8_t>(row[whole] & keep);
    ++first_clear;
  }
  if (first_clear < row_bytes) std::memset(row + first_clear, 0, static_cast<size_t>(row_bytes - first_clear));
}

// The arguments once checked.
struct Request {
  BITMAPRECORD *source;
  BITMAPRECORD *dest;  // null: rows to the callback only
  uint32_t size;
  int32_t bits;
  uint32_t flags;
  RGBQUAD *palette;
  HRVPALETTE handle;
  uint32_t colors;  // the colour count of a palette destination, else uColors
  int32_t order;    // of a destination over 8 bits
  COLORRESCALLBACK callback;
  void *user;
};

// The checks in the order of the interface: a missing or unallocated source
// comes before the sizes, and every argument before any work.
int32_t check(Request &r) noexcept {
  if (r.source == nullptr || !is_allocated(r.source)) return ERROR_INVALID_PARAMETER;
  if (!valid_record_size(r.source->uStructSize)) return ERROR_INVALID_STRUCT_SIZE;
  if (r.dest != nullptr && !valid_record_size(r.size)) return ERROR_INVALID_STRUCT_SIZE;
  if (r.palette != nullptr && r.handle != nullptr) return ERROR_INVALID_PARAMETER;
  switch (r.bits) {
    case 1: case 2: case 3: case 4: case 5: case 6: case 7: case 8:
      // A palette has no order.
      r.flags &= ~(COLORRES_ORDER_BGR565 | COLORRES_ORDER_GRAY | COLORRES_ORDER_BGR);
      // A palette object's count is settled when it is read.
      if (r.handle != nullptr && r.colors == 0) return SUCCESS;
      return palette_count(r.bits, r.colors, r.palette != nullptr, &r.colors);
    case 12:
      r.flags = (r.flags & COLORRES_ORDER_BGR) | COLORRES_ORDER_GRAY;
      break;
    case 16: case 24: case 32: case 48: case 64:
      break;
    default:
      return ERROR_INVALID_PARAMETER;
  }
  r.order = destination_order(r.bits, r.flags);
  return r.order < 0 ? ERROR_INVALID_PARAMETER : SUCCESS;
}

// One call's work and everything it holds.
class Resolution {
 public:
  explicit Resolution(const Request &r) noexcept : r_(r) {}
  ~Resolution();
  Resolution(const Resolution &) = delete;
  Resolution &operator=(const Resolution &) = delete;

  int32_t run() noexcept;

 private:
  int32_t records() noexcept;
  int32_t describe() noexcept;
  int32_t choose_palette() noexcept;
  int32_t optimise(const RGBQUAD *caller, uint32_t flags) noexcept;
  int32_t allocate() noexcept;
  int32_t convert_rows() noexcept;
  int32_t row_loop(Converter *converter) noexcept;
  int32_t finish() noexcept;
  void undo() noexcept;

  Request r_;
  bool in_place_ = false;
  BITMAPRECORD *src_ = nullptr;      // the rows are read here
  BITMAPRECORD *dst_ = nullptr;      // and made here
  BITMAPRECORD *saved_ = nullptr;    // in place: the record as it was
  BITMAPRECORD *scratch_ = nullptr;  // no destination: the private record
  bool began_copy_ = false;
  // The palette road's outcome.
  RGBQUAD handle_entries_[256] = {};
  const RGBQUAD *dither_palette_ = nullptr;
  uint32_t dither_colors_ = 0;
  uint32_t *table_ = nullptr;  // the nearest-colour cache given to the dither run
  bool own_table_ = false;
  bool dithering_ = false;
  MATCHTREE tree_{};
  PalettePattern pattern_;  // the optimised road's palette
  bool filled_pattern_ = false;
  uint8_t *row_ = nullptr;     // converted in place, or the dither run's output
  uint32_t row_bytes_ = 0;
  uint8_t *source_row_ = nullptr;  // a dither run's input when it is shallower
};

Resolution::~Resolution() {
  match_tree_free(&tree_);
  if (own_table_) Rv_FreeUserMatchTable(table_);
  free_block(row_);
  free_block(source_row_);
  free_block(saved_);
  free_block(scratch_);
}

int32_t Resolution::run() noexcept {
  int32_t status = records();
  if (status != SUCCESS) return status;
  status = describe();
  if (status == SUCCESS && r_.dest != nullptr) status = allocate();
  if (status == SUCCESS) status = Rv_CopyPlaybackParms(dst_, src_);
  if (status == SUCCESS) status = convert_rows();
  if (began_copy_) Rv_IntEndCopyBitmap(src_, 0);
  if (status == SUCCESS) status = finish();
  if (status != SUCCESS) undo();
  return status;
}

// The private records: the copy of an in-place source, or the destination
// of a call without one.
int32_t Resolution::records() noexcept {
  in_place_ = r_.dest == r_.source;
  if (in_place_) {
    saved_ = alloc_array<BITMAPRECORD>(1);
    if (saved_ == nullptr) return ERROR_NO_MEMORY;
    *saved_ = *r_.source;
    src_ = saved_;
    dst_ = r_.dest;
    return SUCCESS;
  }
  src_ = r_.source;
  if (r_.dest != nullptr) {
    dst_ = r_.dest;
    return SUCCESS;
  }
  scratch_ = alloc_array<BITMAPRECORD>(1, true);
  if (scratch_ == nullptr) return ERROR_NO_MEMORY;
  dst_ = scratch_;
  return SUCCESS;
}

// The destination's description: geometry, what it takes from the source,
// its region, and its palette or order.
int32_t Resolution::describe() noexcept {
  const uint32_t size = scratch_ != nullptr ? kRecordSize : r_.size;
  int32_t status = Rv_InitBitmapWithCallbacks(dst_, size, src_->nWidth, src_->nHeight, r_.bits, nullptr);
  if (status != SUCCESS) return status;
  dst_->nViewPerspective = src_->nViewPerspective;
  dst_->nXResolution = src_->nXResolution;
  dst_->nYResolution = src_->nYResolution;
  dst_->uFlags |= src_->uFlags & kCarriedFlags;
  status = Rv_CopyBitmapRgn(dst_, src_, 0, 0);
  if (status != SUCCESS) return status;
  if (r_.bits <= 8) return choose_palette();
  dst_->nColors = static_cast<int32_t>(r_.colors);
  dst_->nOrder = r_.order;
  if (r_.order == ORDER_GRAY) Rv_InitGrayParams(dst_);
  return SUCCESS;
}

int32_t Resolution::choose_palette() noexcept {
  uint32_t flags = r_.flags;
  const RGBQUAD *caller = r_.palette;
  uint32_t count = r_.colors;
  uint32_t filled = 0;  // entries of the working palette that are the palette's own

  // A palette object is read as the caller's palette; entries it doesn't
  // hold are free, so no dither run chooses them.
  if (r_.handle != nullptr) {
    const uint32_t held = Rv_GetPaletteSize(r_.handle);
    if (held == 0) return ERROR_INVALID_PARAMETER;
    if (count == 0) count = held < (1u << r_.bits) ? held : (1u << r_.bits);
    std::memset(handle_entries_, 2, sizeof(handle_entries_));
    Rv_GetPaletteEntries(r_.handle, 0, held < count ? held : count, handle_entries_);
    caller = handle_entries_;
    flags = (flags & ~COLORRES_PALETTE_HANDLE) | COLORRES_USER_PALETTE;
  }

  auto *palette = static_cast<RGBQUAD *>(RV_ALLOC(256, sizeof(RGBQUAD)));
  if (palette == nullptr) return ERROR_NO_MEMORY;
  dst_->pPalette = palette;  // the destination owns it from here on
  dst_->nColors = static_cast<int32_t>(count);

  switch (flags & 0x3FFu) {
    case COLORRES_FIXED_PALETTE:
    case COLORRES_FIXED_PALETTE | COLORRES_NETSCAPE_PALETTE: {
      const bool cube = (flags & COLORRES_NETSCAPE_PALETTE) && r_.bits == 8;
      filled = cube ? 256 : 1u << r_.bits;
      std::memcpy(palette, cube ? kWebSafePalette : fixed_palette(r_.bits), sizeof(RGBQUAD) * filled);
      dithering_ = true;
      break;
    }
    case COLORRES_USER_PALETTE:
    case COLORRES_USER_PALETTE | COLORRES_USER_MATCH_TABLE:
      if (caller == nullptr) return ERROR_INVALID_PARAMETER;
      filled = count;
      std::memcpy(palette, caller, sizeof(RGBQUAD) * filled);
      if (flags & COLORRES_USER_MATCH_TABLE) table_ = user_match_table();
      dithering_ = true;
      break;
    case COLORRES_NETSCAPE_PALETTE:
      if (r_.bits != 8) return ERROR_INVALID_PARAMETER;
      filled = 256;
      std::memcpy(palette, kWebSafePalette, sizeof(kWebSafePalette));
      dithering_ = true;
      break;
    default: {
      if (!optimised_road(flags)) return ERROR_INVALID_PARAMETER;
      const int32_t status = optimise(caller, flags);
      if (status != SUCCESS) return status;
      filled = static_cast<uint32_t>(dst_->nColors);
      break;
    }
  }
  pad_palette(palette, filled);
  // A dither run takes the caller's palette as it stands on that road, else
  // the destination's.
  dither_palette_ = (flags & COLORRES_USER_PALETTE) ? caller : palette;
  dither_colors_ = static_cast<uint32_t>(dst_->nColors);
  return SUCCESS;
}

// The optimised road: the caller's palette, if any, is a pattern whose free
// entries the optimiser fills; the rest of the count stays free too.
int32_t Resolution::optimise(const RGBQUAD *caller, uint32_t flags) noexcept {
  PalettePattern &pattern = pattern_;
  pattern.build(caller, r_.colors);
  const uint32_t free = pattern.free_count();
  // Dither when the depth drops, and also when it doesn't unless the free
  // entries outnumber the source's colours and lie in one run.
  dithering_ = r_.bits < src_->nBitsPerPixel ||
               !(static_cast<int64_t>(free) > src_->nColors && pattern.free_run());
  uint32_t colors = pattern.count();
  if (free > 0) {
    RGBQUAD chosen[256] = {};
    uint32_t given = free;
    int32_t reduced = 0;
    const bool want_table = pattern.free_run() && !(flags & COLORRES_NO_MATCH_TABLE);
    const int32_t status =
        Rv_CreateBitmapOptPal(src_, chosen, &given, 256, pattern.held(), pattern.held_count(),
                              want_table ? &table_ : nullptr, &reduced,
                              (flags & COLORRES_OPTIMIZE_FAST) ? TRUE : FALSE);
    own_table_ = table_ != nullptr;
    if (status != SUCCESS) return status;
    pattern.fill(chosen);
    filled_pattern_ = true;
    if (table_ != nullptr) pattern.renumber(table_);
    if (flags & COLORRES_USER_MATCH_TABLE) {
      dithering_ = true;
    } else if (table_ == nullptr) {
      // The picture's own colours fitted: they map exactly, and the free
      // slots they didn't need are dropped from the count.
      dithering_ = false;
      colors -= free - given;
    }
  }
  std::memcpy(dst_->pPalette, pattern.entries(), sizeof(RGBQUAD) * pattern.count());
  dst_->nColors = static_cast<int32_t>(colors);
  return SUCCESS;
}

// Storage of the source's class, within the source's copy frame.
int32_t Resolution::allocate() noexcept {
  uint32_t memory = (src_->uFlags & BITMAPFLAG_DISK) ? BITMAPMEM_DISK : BITMAPMEM_CONVENTIONAL;
  int32_t status = Rv_IntBeginCopyBitmap(dst_, src_, 0, &memory);
  if (status != SUCCESS) return status;
  began_copy_ = true;
  status = Rv_IntAllocateBitmap(dst_, memory, dst_->pPalette);
  if (status != SUCCESS) return status;
  dst_->uReserved3 = src_->uReserved3;
  return SUCCESS;
}

// The row buffers, the dither run or the converter, then the rows.
int32_t Resolution::convert_rows() noexcept {
  const int32_t width = src_->nWidth;
  uint32_t bytes = Rv_CalcConvertSize(static_cast<uint32_t>(width), src_->nBitsPerPixel,
                                      static_cast<uint32_t>(width), r_.bits);
  const auto src_bytes = static_cast<uint32_t>(src_->nBytesPerLine);
  const auto dst_bytes = static_cast<uint32_t>(dst_->nBytesPerLine);
  if (bytes < src_bytes) bytes = src_bytes;
  if (bytes < dst_bytes) bytes = dst_bytes;
  if (bytes < 4) bytes = 4;  // a picture without columns still has a row
  row_bytes_ = bytes;
  row_ = static_cast<uint8_t *>(alloc_block(bytes, true));
  if (row_ == nullptr) return ERROR_NO_MEMORY;

  if (dithering_) {
    // A shallower source is read into a row of its own, so that the run's
    // input and output never overlap.
    if (src_->nBitsPerPixel < r_.bits) {
      source_row_ = static_cast<uint8_t *>(alloc_block(src_bytes, true));
      if (source_row_ == nullptr) return ERROR_NO_MEMORY;
    }
    // The call's method is the source's for the start of the run only.
    const int32_t method = src_->nDitheringMethod;
    void *former_run = src_->pDitherData;
    src_->nDitheringMethod = static_cast<int32_t>((r_.flags >> 16) & 0xFFu);
    int32_t status = Rv_StartDitheringExt(src_, dither_palette_, dither_colors_, r_.bits, table_);
    src_->nDitheringMethod = method;
    if (status != SUCCESS) return status;
    {
      DitherScope scope(src_);
      status = row_loop(nullptr);
    }
    src_->pDitherData = former_run;
    return status;
  }

  const bool gray_source = src_->nOrder == ORDER_GRAY;
  ConvertArgs args;
  args.src_bits = src_->nBitsPerPixel;
  args.dst_bits = r_.bits;
  args.src_order = src_->nOrder;
  args.dst_order = dst_->nOrder;
  args.src_palette = gray_source ? src_->pLUT : src_->pPalette;
  args.lut16 = Rv_GetLUT16(src_, TRUE);
  if (r_.flags & COLORRES_CONVERT_FLAG_20) {
    args.flags = gray_source ? 0x25u : 0x20u;
  } else {
    args.flags = gray_source ? CONVERT_SRC_GRAY | CONVERT_SRC_BITRANGE : 0u;
  }
  if (r_.flags & COLORRES_ORDER_GRAY) args.flags |= CONVERT_DST_GRAY;
  if (src_->uFlags & BITMAPFLAG_TRANSPARENCY) args.flags |= CONVERT_TRANSPARENT;
  args.low_bit = src_->nLowBit;
  args.high_bit = src_->nHighBit;
  args.transparent = src_->crTransparent;
  if (r_.bits <= 8) {
    args.dst_palette = dst_->pPalette;
    // An exact lookup of the palette's own colours before the search.
    if (dst_->nColors > 0) {
      const int32_t status = match_tree_build(&tree_, dst_->pPalette, dst_->nColors);
      if (status != SUCCESS) return status;
      args.match = &tree_;
    }
  }
  Converter converter;
  const int32_t status = converter.prepare(args);
  return status != SUCCESS ? status : row_loop(&converter);
}

// Every row from the top: read, converted or dithered, to the callback, into
// the destination; progress by the row rule. A destination in flat memory
// has its rows made where they lie (a conversion in place needs the room of
// the larger form there), which spares copying each one in.
int32_t Resolution::row_loop(Converter *converter) noexcept {
  const int32_t width = src_->nWidth;
  const auto src_bytes = static_cast<uint32_t>(src_->nBytesPerLine);
  const auto dst_bytes = static_cast<uint32_t>(dst_->nBytesPerLine);
  const bool put = r_.dest != nullptr;
  int32_t src_locked = FALSE, dst_locked = FALSE;
  int32_t status = Rv_IntAccessBitmap(src_, &src_locked);
  if (status == SUCCESS && put) status = Rv_IntAccessBitmap(dst_, &dst_locked);
  const bool direct =
      put && status == SUCCESS && is_flat_memory(dst_) && (converter == nullptr || dst_bytes >= row_bytes_);
  RowProgress progress(src_->nHeight);
  if (status == SUCCESS) status = progress.start();
  for (int32_t y = 0; y < src_->nHeight && status == SUCCESS; ++y) {
    uint8_t *out = direct ? row_address(dst_, y) : row_;
    uint8_t *in = converter != nullptr ? out : direct || source_row_ == nullptr ? row_ : source_row_;
    const int32_t got = Rv_GetBitmapRow(src_, in, y, src_bytes);
    if (got < 0) {
      status = got;
      break;
    }
    status = converter != nullptr ? converter->convert(out, width) : Rv_DitherLine(src_, in, out);
    if (status != SUCCESS) break;
    clear_row_tail(out, width, r_.bits, dst_bytes);
    if (r_.callback != nullptr) {
      status = r_.callback(dst_, out, 1, r_.user);
      if (status != SUCCESS) break;
    }
    if (put && !direct) {
      const int32_t written = Rv_PutBitmapRow(dst_, out, y, dst_bytes);
      if (written < 0) {
        status = written;
        break;
      }
    }
    status = progress.row_done();
  }
  status = Rv_IntReleaseBitmap(dst_, dst_locked, status);
  return Rv_IntReleaseBitmap(src_, src_locked, status);
}

// A made destination takes the source's overlays, its gray range, and the
// extra data: a copy beside the source, the block itself in place, where the
// private copy then goes with the old pixels. Only the extra data's copy can
// fail, and it comes before anything moves.
int32_t Resolution::finish() noexcept {
  if (r_.dest != nullptr && !in_place_) {
    const int32_t status = Rv_CopyBitmapExtraData(dst_, src_, 0);
    if (status != SUCCESS) return status;
  }
  // The colours chosen go into the caller's pattern only now that nothing
  // can fail.
  if (filled_pattern_ && r_.palette != nullptr) pattern_.give_back(r_.palette);
  if (r_.dest == nullptr) {
    Rv_FreeBitmap(scratch_);
    return SUCCESS;
  }
  int64_t low = 0, high = 0;
  if (Rv_IntGetMinMaxValGray(dst_, &low, &high) == SUCCESS) {
    dst_->nMinVal = static_cast<int32_t>(low);
    dst_->nMaxVal = static_cast<int32_t>(high);
  }
  dst_->hOverlays = src_->hOverlays;
  src_->hOverlays = nullptr;
  if (!in_place_) return SUCCESS;
  dst_->pExtraData = saved_->pExtraData;
  dst_->uExtraDataSize = saved_->uExtraDataSize;
  dst_->uReserved3 = saved_->uReserved3;
  saved_->pExtraData = nullptr;
  saved_->uExtraDataSize = 0;
  // The record stays locked as often as the caller had locked it.
  const int32_t locks = saved_->nLockCount;
  while (saved_->nLockCount > 0) Rv_ReleaseBitmap(saved_);
  Rv_FreeBitmap(saved_);
  for (int32_t i = 0; i < locks; ++i) Rv_AccessBitmap(dst_);
  return SUCCESS;
}

// Everything made goes; an in-place record gets its old contents back.
void Resolution::undo() noexcept {
  Rv_FreeBitmap(dst_);
  if (in_place_) *r_.dest = *saved_;
}

}  // namespace

}  // namespace rv::color

int32_t Rv_ColorResBitmap(BITMAPRECORD *pBitmapSrc, BITMAPRECORD *pBitmapDst, uint32_t uStructSize,
                          int32_t nBitsPerPixel, uint32_t uFlags, RGBQUAD *pPalette, HRVPALETTE hPalette,
                          uint32_t uColors, COLORRESCALLBACK pfnCallback, void *pUserData) noexcept {
  constexpr uint32_t kTableWanted =
      COLORRES_OPTIMIZED_PALETTE | COLORRES_USER_MATCH_TABLE | COLORRES_NO_MATCH_TABLE;
  if ((uFlags & kTableWanted) == kTableWanted) uFlags &= ~COLORRES_NO_MATCH_TABLE;
  rv::color::Request request{pBitmapSrc, pBitmapDst, uStructSize, nBitsPerPixel, uFlags,     pPalette,
                             hPalette,   uColors,    -1,          pfnCallback,   pUserData};
  const int32_t status = rv::color::check(request);
  if (status != SUCCESS) return status;
  rv::color::Resolution resolution(request);
  return resolution.run();
}
