// Colour resolution of a bitmap list: every item in place, with one palette
// for all. A caller's palette gets one match table that every item fills and
// reads; an optimised palette is made over the whole list, and the items then
// take it as the caller's, with its match table.
#include <cstring>

#include "color/colorres.h"
#include "color/match.h"
#include "internal/record.h"

namespace {

// Numbers the rows of the whole list for the caller's callback.
struct RowCounter {
  COLORRESLISTCALLBACK callback;
  void *user;
  int32_t row;
};

int32_t count_row(BITMAPRECORD *bitmap, void *row, int32_t lines, void *counter) noexcept {
  auto *c = static_cast<RowCounter *>(counter);
  const int32_t status = c->callback(bitmap, row, c->row, lines, c->user);
  c->row += lines;
  return status;
}

// The one palette of the optimised road: the caller's pattern, its free
// entries filled from every bitmap of the list, and a match table of it
// (an empty one, learnt as the items go, when the colours needed none).
int32_t common_palette(HBITMAPLIST list, RGBQUAD *caller, uint32_t count,
                       rv::color::PalettePattern *pattern, uint32_t **table) noexcept {
  pattern->build(caller, count);
  uint32_t *made = nullptr;
  if (pattern->free_count() > 0) {
    RGBQUAD chosen[256] = {};
    uint32_t given = pattern->free_count();
    int32_t reduced = 0;
    const int32_t status = Rv_CreateBitmapListOptPal(list, chosen, &given, &made, &reduced);
    if (status != SUCCESS) return status;
    pattern->fill(chosen);
    if (made != nullptr) pattern->renumber(made);
  }
  if (made == nullptr) made = rv::color::new_match_table();
  if (made == nullptr) return ERROR_NO_MEMORY;
  *table = made;
  return SUCCESS;
}

}  // namespace

int32_t Rv_ColorResBitmapListExt(HBITMAPLIST hList, int32_t nBitsPerPixel, uint32_t uFlags, RGBQUAD *pPalette,
                                 HRVPALETTE hPalette, uint32_t uColors, COLORRESLISTCALLBACK pfnCallback,
                                 void *pUserData) noexcept {
  if (hList == nullptr || (pPalette != nullptr && hPalette != nullptr)) return ERROR_INVALID_PARAMETER;
  const bool palette_depth = nBitsPerPixel >= 1 && nBitsPerPixel <= 8;
  uint32_t count = uColors;
  if (palette_depth) {
    // A palette object's count is settled by each item, as it reads it.
    if (hPalette == nullptr || uColors != 0) {
      const int32_t status = rv::color::palette_count(nBitsPerPixel, uColors, pPalette != nullptr, &count);
      if (status != SUCCESS) return status;
    }
    uFlags &= ~COLORRES_ORDER_GRAY;
  }
  // A palette object is the caller's palette, as it is for one bitmap.
  if (hPalette != nullptr) uFlags = (uFlags & ~COLORRES_PALETTE_HANDLE) | COLORRES_USER_PALETTE;

  uint32_t *table = nullptr;
  RGBQUAD *palette = pPalette;
  rv::color::PalettePattern pattern;
  const uint32_t road = uFlags & 0x37Fu;
  if (road == COLORRES_USER_PALETTE) {
    table = rv::color::new_match_table();
    if (table == nullptr) return ERROR_NO_MEMORY;
    uFlags |= COLORRES_USER_MATCH_TABLE;
  } else if (palette_depth && (road == 0 || road == COLORRES_OPTIMIZED_PALETTE ||
                               road == COLORRES_IDENTITY_PALETTE ||
                               road == (COLORRES_OPTIMIZED_PALETTE | COLORRES_IDENTITY_PALETTE))) {
    const int32_t status = common_palette(hList, pPalette, count, &pattern, &table);
    if (status != SUCCESS) return status;
    palette = const_cast<RGBQUAD *>(pattern.entries());
    uFlags = (uFlags & ~0x3CFu) | COLORRES_USER_PALETTE | COLORRES_USER_MATCH_TABLE;
  }
  uint32_t *former = table != nullptr ? Rv_SetUserMatchTable(table) : nullptr;

  RowCounter counter{pfnCallback, pUserData, 0};
  int32_t status = SUCCESS;
  for (uint32_t i = 0; i < hList->uCount && status == SUCCESS; ++i) {
    // Each item is converted in place from a full-form copy of its record,
    // which is written back whatever the outcome.
    BITMAPRECORD item;
    std::memcpy(&item, hList->pItems + i, sizeof(item));
    status = Rv_ColorResBitmap(&item, &item, rv::kRecordSize, nBitsPerPixel, uFlags, palette, hPalette, count,
                               pfnCallback != nullptr ? &count_row : nullptr, &counter);
    if (i >= hList->uCount) {
      // The callback took items out from under the loop: this one has no
      // slot left, and a result made for it goes.
      if (status == SUCCESS) Rv_FreeBitmap(&item);
      status = ERROR_INVALID_PARAMETER;
      break;
    }
    std::memset(hList->pItems + i, 0, sizeof(item));
    std::memcpy(hList->pItems + i, &item, sizeof(item));
  }

  if (table != nullptr) {
    Rv_SetUserMatchTable(former);
    Rv_FreeUserMatchTable(table);
  }
  if (status == SUCCESS && pPalette != nullptr && palette != pPalette) pattern.give_back(pPalette);
  return status;
}

int32_t Rv_ColorResBitmapList(HBITMAPLIST hList, int32_t nBitsPerPixel, uint32_t uFlags, RGBQUAD *pPalette,
                              HRVPALETTE hPalette, uint32_t uColors) noexcept {
  return Rv_ColorResBitmapListExt(hList, nBitsPerPixel, uFlags, pPalette, hPalette, uColors, nullptr, nullptr);
}
