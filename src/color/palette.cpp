// Palettes: the fixed and gray palettes, the palette arrays of records, and
// the palette object that callers hold by handle.
//
// A record's palette is an array of RGBQUAD from the library's heap, owned by
// the record. Every call that replaces it makes the new array first and frees
// the old one after, so that a failure leaves the record as it was and a
// caller may pass the record's own array as the source.
#include "color/palette.h"

#include <cstring>

#include "color/palette_tables.h"
#include "internal/handles.h"
#include "internal/memory.h"
#include "internal/record.h"

namespace rv::color {

namespace {

constexpr int32_t kMaxEntries = 256;
// A palette object takes this many bytes besides its entries.
constexpr uint32_t kObjectHeaderBytes = 52;

int32_t close_palette(void *object) noexcept {
  static_cast<PaletteObject *>(object)->nTag = 0;
  Rv_LocalFree(object);
  return TRUE;
}

// Deleting a palette object goes through the handle closer of its tag.
[[maybe_unused]] const bool g_closer_installed =
    (rv::set_object_closer(WINHANDLE_KIND_PALETTE, &close_palette), true);

RGBQUAD *copy_entries(const RGBQUAD *entries, int32_t count) noexcept {
  auto *copy = static_cast<RGBQUAD *>(RV_ALLOC(static_cast<uint32_t>(count), sizeof(RGBQUAD)));
  if (copy != nullptr) std::memcpy(copy, entries, sizeof(RGBQUAD) * static_cast<size_t>(count));
  return copy;
}

// Hangs `palette` (or nothing) on the record with `colors` entries, freeing
// the array it had unless that is the same one.
void replace_palette(BITMAPRECORD *bitmap, RGBQUAD *palette, int32_t colors) noexcept {
  if (bitmap->pPalette != palette) Rv_LocalFree(bitmap->pPalette);
  bitmap->pPalette = palette;
  bitmap->nColors = colors;
}

void fill_gray(RGBQUAD *entries, int32_t count) noexcept {
  for (int32_t i = 0; i < count; ++i) {
    const auto level = static_cast<uint8_t>(count == 256 ? i : i * 255 / (count - 1));
    entries[i] = RGBQUAD{level, level, level, 0};
  }
}

PaletteObject *new_object(uint32_t count) noexcept {
  auto *object = static_cast<PaletteObject *>(RV_ALLOC_INIT(1, kObjectHeaderBytes + 4 * count));
  if (object == nullptr) return nullptr;
  object->nTag = WINHANDLE_KIND_PALETTE;
  object->uVersion = RV_PALETTE_VERSION;
  object->uEntries = static_cast<uint16_t>(count);
  return object;
}

// Entries swap between the two byte orders: blue-green-red-reserved and
// red-green-blue-flags.
PALETTEENTRY to_entry(const RGBQUAD &q) noexcept {
  return PALETTEENTRY{q.rgbRed, q.rgbGreen, q.rgbBlue, q.rgbReserved};
}
RGBQUAD to_quad(const PALETTEENTRY &e) noexcept {
  return RGBQUAD{e.peBlue, e.peGreen, e.peRed, e.peFlags};
}

}  // namespace

const RGBQUAD *fixed_palette(int32_t bits) noexcept {
  if (bits < 1 || bits > 8) return nullptr;
  return kFixedPalettes + kFixedPaletteOffset[bits];
}

PaletteObject *palette_object(HRVPALETTE handle) noexcept {
  if (handle == nullptr || handle == RV_INVALID_HANDLE) return nullptr;
  auto *object = static_cast<PaletteObject *>(handle);
  return object->nTag == WINHANDLE_KIND_PALETTE ? object : nullptr;
}

}  // namespace rv::color

using rv::color::PaletteObject;

// --- fixed and gray palettes ---------------------------------------------------------

const RGBQUAD *Rv_IntGetFixedPalette(int32_t nBits) noexcept {
  return rv::color::fixed_palette(nBits);
}

const RGBQUAD *Rv_IntGetNetscapePalette(void) noexcept { return rv::color::kWebSafePalette; }

RGBQUAD *Rv_CreateGrayPalette(int32_t nBits) noexcept {
  if (nBits == 0) nBits = 8;
  if (nBits < 1 || nBits > 8) return nullptr;
  const int32_t count = 1 << nBits;
  auto *palette = static_cast<RGBQUAD *>(RV_ALLOC(static_cast<uint32_t>(count), sizeof(RGBQUAD)));
  if (palette != nullptr) rv::color::fill_gray(palette, count);
  return palette;
}

int32_t Rv_CreateBitmapGrayPalette(BITMAPRECORD *pBitmap) noexcept {
  const int32_t status = rv::check_record(pBitmap, rv::NullRecord::InvalidParameter, false);
  if (status != SUCCESS) return status;
  if (pBitmap->nBitsPerPixel < 1 || pBitmap->nBitsPerPixel > 8) return ERROR_INVALID_BITS_PER_PIXEL;
  RGBQUAD *palette = Rv_CreateGrayPalette(pBitmap->nBitsPerPixel);
  if (palette == nullptr) return ERROR_NO_MEMORY;
  rv::color::replace_palette(pBitmap, palette, 1 << pBitmap->nBitsPerPixel);
  return SUCCESS;
}

RGBQUAD *Rv_CreateFixedPalette(int32_t nBits) noexcept {
  if (nBits == 0) nBits = 1;
  const RGBQUAD *fixed = rv::color::fixed_palette(nBits);
  return fixed != nullptr ? rv::color::copy_entries(fixed, 1 << nBits) : nullptr;
}

int32_t Rv_CreateBitmapFixedPalette(BITMAPRECORD *pBitmap) noexcept {
  const int32_t status = rv::check_record(pBitmap, rv::NullRecord::InvalidParameter, false);
  if (status != SUCCESS) return status;
  const int32_t colors = pBitmap->nColors;
  const RGBQUAD *source = nullptr;
  switch (colors) {
    // Four colours read on from the start of the 2-entry table (into the
    // table behind it), not the 4-entry gray table: a result that is kept.
    case 4: source = rv::color::kFixedPalettes + rv::color::kFixedPaletteOffset[1]; break;
    case 2: case 8: case 16: case 32: case 64: case 128: case 256:
      source = rv::color::fixed_palette(__builtin_ctz(static_cast<uint32_t>(colors)));
      break;
    default: return FAILURE;
  }
  RGBQUAD *palette = rv::color::copy_entries(source, colors);
  if (palette == nullptr) return ERROR_NO_MEMORY;
  rv::color::replace_palette(pBitmap, palette, colors);
  return SUCCESS;
}

int32_t Rv_GetFixedPalette(RGBQUAD *pPalette, int32_t nBits) noexcept {
  if (pPalette == nullptr || nBits < 0 || nBits > 8) return ERROR_INVALID_PARAMETER;
  if (nBits == 0) {
    rv::color::fill_gray(pPalette, 256);
  } else {
    std::memcpy(pPalette, rv::color::fixed_palette(nBits), sizeof(RGBQUAD) << nBits);
  }
  return SUCCESS;
}

// --- palette arrays of records ---------------------------------------------------------

RGBQUAD *Rv_CreateNewPalette(const RGBQUAD *pEntries, int32_t nCount) noexcept {
  if (pEntries == nullptr || nCount <= 0 || nCount > rv::color::kMaxEntries) return nullptr;
  return rv::color::copy_entries(pEntries, nCount);
}

int32_t Rv_SetBitmapNewPalette(BITMAPRECORD *pBitmap, const RGBQUAD *pEntries,
                               int32_t nCount) noexcept {
  if (pBitmap == nullptr) return ERROR_INVALID_PARAMETER;
  if (pEntries == nullptr) {
    Rv_LocalFree(pBitmap->pPalette);
    pBitmap->pPalette = nullptr;
    return SUCCESS;
  }
  if (nCount <= 0 || nCount > rv::color::kMaxEntries) return ERROR_INVALID_PARAMETER;
  RGBQUAD *palette = rv::color::copy_entries(pEntries, nCount);
  if (palette == nullptr) return ERROR_NO_MEMORY;
  rv::color::replace_palette(pBitmap, palette, nCount);
  return SUCCESS;
}

int32_t Rv_CopyBitmapPalette(BITMAPRECORD *pBitmapDst, const BITMAPRECORD *pBitmapSrc) noexcept {
  if (pBitmapDst == nullptr || pBitmapSrc == nullptr) return ERROR_INVALID_PARAMETER;
  if (!rv::valid_record_size(pBitmapDst->uStructSize) ||
      !rv::valid_record_size(pBitmapSrc->uStructSize)) {
    return ERROR_INVALID_STRUCT_SIZE;
  }
  if (pBitmapDst == pBitmapSrc) return SUCCESS;
  const int32_t colors = pBitmapSrc->nColors;
  if (pBitmapSrc->pPalette == nullptr || colors <= 0) {
    rv::color::replace_palette(pBitmapDst, nullptr, 0);
    return SUCCESS;
  }
  if (colors > rv::color::kMaxEntries) return ERROR_INVALID_PARAMETER;
  RGBQUAD *palette = rv::color::copy_entries(pBitmapSrc->pPalette, colors);
  if (palette == nullptr) return ERROR_NO_MEMORY;
  rv::color::replace_palette(pBitmapDst, palette, colors);
  return SUCCESS;
}

int32_t Rv_SetBitmapPalette(BITMAPRECORD *pBitmap, HRVPALETTE hPalette) noexcept {
  const int32_t status = rv::check_record(pBitmap, rv::NullRecord::InvalidImage, false);
  if (status != SUCCESS) return status;
  PaletteObject *object = rv::color::palette_object(hPalette);
  if (object == nullptr || object->uEntries < 2 || object->uEntries > rv::color::kMaxEntries) {
    return ERROR_INVALID_PARAMETER;
  }
  const int32_t count = object->uEntries;
  auto *palette = static_cast<RGBQUAD *>(RV_ALLOC(static_cast<uint32_t>(count), sizeof(RGBQUAD)));
  if (palette == nullptr) return ERROR_NO_MEMORY;
  for (int32_t i = 0; i < count; ++i) palette[i] = rv::color::to_quad(object->entries()[i]);
  rv::color::replace_palette(pBitmap, palette, count);
  return SUCCESS;
}

HRVPALETTE Rv_DupBitmapPalette(const BITMAPRECORD *pBitmap) noexcept {
  if (rv::check_record(pBitmap, rv::NullRecord::InvalidParameter, false) != SUCCESS) return nullptr;
  return Rv_CreatePalette(pBitmap->pPalette, pBitmap->nColors);
}

uint32_t Rv_GetBitmapPaletteEntries(const BITMAPRECORD *pBitmap, uint32_t uStart, uint32_t uCount,
                                    RGBQUAD *pEntries) noexcept {
  if (pEntries == nullptr ||
      rv::check_record(pBitmap, rv::NullRecord::InvalidParameter, false) != SUCCESS ||
      pBitmap->pPalette == nullptr || pBitmap->nColors <= 0) {
    return 0;
  }
  const auto colors = static_cast<uint32_t>(pBitmap->nColors);
  if (uStart >= colors) return 0;
  const uint32_t count = uCount < colors - uStart ? uCount : colors - uStart;
  std::memcpy(pEntries, pBitmap->pPalette + uStart, sizeof(RGBQUAD) * count);
  return count;
}

int32_t Rv_GetBitmapColors(const BITMAPRECORD *pBitmap, int32_t nIndex, int32_t nCount,
                           RGBQUAD *pEntries) noexcept {
  const int32_t status = rv::check_record(pBitmap, rv::NullRecord::InvalidImage, false);
  if (status != SUCCESS) return status;
  if (nCount <= 0 || nIndex < 0 || pEntries == nullptr || pBitmap->nBitsPerPixel > 8) {
    return ERROR_INVALID_PARAMETER;
  }
  const uint32_t read = Rv_GetBitmapPaletteEntries(pBitmap, static_cast<uint32_t>(nIndex),
                                                   static_cast<uint32_t>(nCount), pEntries);
  return read < static_cast<uint32_t>(nCount) ? ERROR_INVALID_PARAMETER : SUCCESS;
}

int32_t Rv_PutBitmapColors(BITMAPRECORD *pBitmap, int32_t nIndex, int32_t nCount,
                           const RGBQUAD *pEntries) noexcept {
  const int32_t status = rv::check_record(pBitmap, rv::NullRecord::InvalidImage, true);
  if (status != SUCCESS) return status;
  const int32_t colors = pBitmap->nColors;
  if (nIndex < 0 || nCount <= 0 || pEntries == nullptr || pBitmap->nBitsPerPixel > 8 ||
      colors > rv::color::kMaxEntries || static_cast<int64_t>(nIndex) + nCount > colors) {
    return ERROR_INVALID_PARAMETER;
  }
  if (pBitmap->pPalette == nullptr) {
    auto *palette =
        static_cast<RGBQUAD *>(RV_ALLOC_INIT(static_cast<uint32_t>(colors), sizeof(RGBQUAD)));
    if (palette == nullptr) return ERROR_NO_MEMORY;
    pBitmap->pPalette = palette;
  }
  std::memmove(pBitmap->pPalette + nIndex, pEntries, sizeof(RGBQUAD) * static_cast<size_t>(nCount));
  return SUCCESS;
}

int32_t Rv_CompareBitmapToPalette(const BITMAPRECORD *pBitmap, const RGBQUAD *pEntries,
                                  int32_t nCount) noexcept {
  if (pBitmap == nullptr) return FALSE;
  const int32_t count = nCount < pBitmap->nColors ? nCount : pBitmap->nColors;
  if (pBitmap->pPalette == nullptr || pEntries == nullptr || count <= 0) return TRUE;
  for (int32_t i = 0; i < count; ++i) {
    const RGBQUAD &a = pBitmap->pPalette[i];
    const RGBQUAD &b = pEntries[i];
    if (a.rgbRed != b.rgbRed || a.rgbGreen != b.rgbGreen || a.rgbBlue != b.rgbBlue) return FALSE;
  }
  return TRUE;
}

// --- palette objects ---------------------------------------------------------------------

HRVPALETTE Rv_CreatePalette(const RGBQUAD *pEntries, int32_t nCount) noexcept {
  if (pEntries == nullptr || nCount <= 0 || nCount > rv::color::kMaxEntries) return nullptr;
  PaletteObject *object = rv::color::new_object(static_cast<uint32_t>(nCount));
  if (object == nullptr) return nullptr;
  for (int32_t i = 0; i < nCount; ++i) object->entries()[i] = rv::color::to_entry(pEntries[i]);
  return object;
}

HRVPALETTE Rv_WinCreatePalette(const LOGPALETTE *pLogPalette) noexcept {
  if (pLogPalette == nullptr || pLogPalette->palVersion != RV_PALETTE_VERSION ||
      pLogPalette->palNumEntries == 0 || pLogPalette->palNumEntries > rv::color::kMaxEntries) {
    return nullptr;
  }
  const uint32_t count = pLogPalette->palNumEntries;
  PaletteObject *object = rv::color::new_object(count);
  if (object != nullptr) {
    std::memcpy(object->entries(), pLogPalette->palPalEntry, sizeof(PALETTEENTRY) * count);
  }
  return object;
}

uint32_t Rv_GetPaletteSize(HRVPALETTE hPalette) noexcept {
  PaletteObject *object = rv::color::palette_object(hPalette);
  return object != nullptr ? object->uEntries : 0;
}

uint32_t Rv_GetPaletteEntries(HRVPALETTE hPalette, uint32_t uStart, uint32_t uCount,
                              RGBQUAD *pEntries) noexcept {
  PaletteObject *object = rv::color::palette_object(hPalette);
  if (object == nullptr || pEntries == nullptr || uCount > rv::color::kMaxEntries ||
      uStart >= object->uEntries) {
    return 0;
  }
  const uint32_t count = uCount < object->uEntries - uStart ? uCount : object->uEntries - uStart;
  for (uint32_t i = 0; i < count; ++i) pEntries[i] = rv::color::to_quad(object->entries()[uStart + i]);
  return count;
}

uint32_t Rv_SetPaletteEntries(HRVPALETTE hPalette, uint32_t uStart, uint32_t uCount,
                              const RGBQUAD *pEntries) noexcept {
  PaletteObject *object = rv::color::palette_object(hPalette);
  if (object == nullptr || pEntries == nullptr || uStart >= object->uEntries) return 0;
  const uint32_t count = uCount < object->uEntries - uStart ? uCount : object->uEntries - uStart;
  for (uint32_t i = 0; i < count; ++i) object->entries()[uStart + i] = rv::color::to_entry(pEntries[i]);
  return count;
}

HRVPALETTE Rv_DupPalette(HRVPALETTE hPalette) noexcept {
  PaletteObject *object = rv::color::palette_object(hPalette);
  if (object == nullptr || object->uEntries == 0) return nullptr;
  PaletteObject *copy = rv::color::new_object(object->uEntries);
  if (copy != nullptr) {
    std::memcpy(copy->entries(), object->entries(), sizeof(PALETTEENTRY) * object->uEntries);
  }
  return copy;
}
