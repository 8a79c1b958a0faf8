// Colour resolution of one bitmap: destination orders by flag, each palette
// road against the dither run it stands for, the optimiser's pattern, the
// callbacks, in place, rows made in place against rows put, failures that
// leave the input as it was, and bad input.
#include <gtest/gtest.h>

#include <cstring>

#include "color/color_records.h"
#include "internal/fault.h"
#include "transform/pictures.h"

namespace {

using colortest::rgb;
using rvtest::Grid;

// A w x h 24-bit picture: random, or `colors` repeated.
void picture(rvtest::Bitmap &b, int32_t w, int32_t h, const std::vector<RGBQUAD> &colors = {}) {
  ASSERT_TRUE(rvtest::make(b.get(), w, h, 24));
  if (colors.empty()) return rvtest::fill_random(b.get(), 5);
  for (int32_t y = 0; y < h; ++y) {
    for (int32_t x = 0; x < w; ++x) {
      const RGBQUAD &c = colors[static_cast<size_t>(x + y) % colors.size()];
      Rv_PutPixelColor(b.get(), y, x, RV_RGB(c.rgbRed, c.rgbGreen, c.rgbBlue));
    }
  }
}

// What a dither run by `method` makes of the source's rows.
Grid dithered(BITMAPRECORD *src, const RGBQUAD *palette, uint32_t colors, int32_t bits, int32_t method) {
  const int32_t former = src->nDitheringMethod;
  src->nDitheringMethod = method;
  EXPECT_EQ(Rv_StartDitheringExt(src, palette, colors, bits, nullptr), SUCCESS);
  src->nDitheringMethod = former;
  Grid grid;
  for (int32_t y = 0; y < src->nHeight; ++y) {
    auto in = rvtest::read_row(src, y);
    std::vector<uint8_t> out(in.size());
    Rv_DitherLine(src, in.data(), out.data());
    grid.emplace_back();
    for (int32_t x = 0; x < src->nWidth; ++x) grid.back().push_back(rvtest::pixel_of(out.data(), bits, x));
  }
  Rv_StopDithering(src);
  return grid;
}

int32_t resolve(BITMAPRECORD *src, BITMAPRECORD *dst, int32_t bits, uint32_t flags, RGBQUAD *palette = nullptr,
                uint32_t colors = 0, HRVPALETTE handle = nullptr) {
  return Rv_ColorResBitmap(src, dst, RV_BITMAPRECORD_SIZE, bits, flags, palette, handle, colors, nullptr, nullptr);
}

TEST(ColorRes, DestinationOrderByFlags) {
  constexpr uint32_t kGray = COLORRES_ORDER_GRAY, kBgr = COLORRES_ORDER_BGR;
  const struct {
    int32_t bits;
    uint32_t flags;
    int32_t order;  // -1: refused
  } cases[] = {
      {24, 0, ORDER_RGB}, {24, kBgr, ORDER_BGR}, {24, kGray, -1}, {16, kGray, ORDER_GRAY}, {32, kGray, ORDER_GRAY},
      {24, kGray | kBgr, ORDER_BGR}, {16, kGray | kBgr, ORDER_GRAY}, {32, kGray | kBgr, ORDER_BGR}, {64, kGray, -1},
      {12, 0, ORDER_GRAY}, {12, COLORRES_ORDER_WIDE_GAMUT | COLORRES_FIXED_PALETTE, ORDER_GRAY},
      {24, COLORRES_ORDER_WIDE_GAMUT, ORDER_WIDE_GAMUT}, {48, COLORRES_ORDER_WIDE_GAMUT, ORDER_WIDE_GAMUT},
      {16, COLORRES_ORDER_WIDE_GAMUT, -1}, {16, COLORRES_ORDER_BGR565, ORDER_BGR565}, {24, COLORRES_ORDER_BGR565, -1},
      {24, kBgr | COLORRES_ORDER_WIDE_GAMUT, -1},
  };
  rvtest::Bitmap src;
  picture(src, 9, 3);
  for (const auto &c : cases) {
    rvtest::Bitmap dst;
    EXPECT_EQ(resolve(src.get(), dst.get(), c.bits, c.flags), c.order < 0 ? ERROR_INVALID_PARAMETER : SUCCESS);
    if (c.order >= 0) {
      EXPECT_EQ(dst->nOrder, c.order) << c.bits << " " << c.flags;
    }
  }
}

// Each palette road gives its palette and the rows of the dither run it
// stands for, by the method of bits 16 to 23; the source's method is put back.
TEST(ColorRes, PaletteRoads) {
  rvtest::Bitmap src;
  picture(src, 13, 5);
  RGBQUAD mine[16];
  for (int i = 0; i < 16; ++i) mine[i] = rgb(static_cast<uint8_t>(i * 17), static_cast<uint8_t>(255 - i * 9), 90);
  const struct {
    int32_t bits;
    uint32_t flags;
    const RGBQUAD *palette;
    uint32_t colors;
  } cases[] = {
      {8, COLORRES_FIXED_PALETTE, Rv_IntGetFixedPalette(8), 256},
      {4, COLORRES_FIXED_PALETTE | COLORRES_NETSCAPE_PALETTE, Rv_IntGetFixedPalette(4), 16},
      {8, COLORRES_FIXED_PALETTE | COLORRES_NETSCAPE_PALETTE, Rv_IntGetNetscapePalette(), 256},
      {8, COLORRES_NETSCAPE_PALETTE, Rv_IntGetNetscapePalette(), 256},
      {1, COLORRES_FIXED_PALETTE, Rv_IntGetFixedPalette(1), 2},
      {5, COLORRES_USER_PALETTE, mine, 16},
  };
  for (const auto &c : cases) {
    for (int32_t method : {NO_DITHERING, FLOYD_STEIN_DITHERING, ORDERED_DITHERING}) {
      rvtest::Bitmap dst;
      src->nDitheringMethod = JARVIS_DITHERING;
      ASSERT_EQ(resolve(src.get(), dst.get(), c.bits, c.flags | COLORRES_DITHERING(method),
                        c.palette == mine ? mine : nullptr, c.colors),
                SUCCESS);
      EXPECT_EQ(src->nDitheringMethod, JARVIS_DITHERING);
      EXPECT_EQ(dst->nColors, static_cast<int32_t>(c.colors));
      EXPECT_EQ(std::memcmp(dst->pPalette, c.palette, sizeof(RGBQUAD) * c.colors), 0) << c.flags;
      EXPECT_EQ(rvtest::grid_of(dst.get()), dithered(src.get(), c.palette, c.colors, c.bits, method)) << c.flags;
    }
  }
  // Roads that don't exist, the cube below 8 bits, the caller's road without a palette.
  for (uint32_t flags : {COLORRES_USER_MATCH_TABLE, COLORRES_PALETTE_HANDLE, 0x3u, 0x28u, 0x50u}) {
    rvtest::Bitmap dst;
    EXPECT_EQ(resolve(src.get(), dst.get(), 8, flags), ERROR_INVALID_PARAMETER) << flags;
  }
  rvtest::Bitmap dst;
  EXPECT_EQ(resolve(src.get(), dst.get(), 4, COLORRES_NETSCAPE_PALETTE), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(resolve(src.get(), dst.get(), 4, COLORRES_USER_PALETTE, nullptr, 16), ERROR_INVALID_PARAMETER);

  // A palette object: all its entries for a count of 0; the entries it
  // doesn't hold are free, so never chosen.
  const RGBQUAD entries[3] = {rgb(250, 0, 0), rgb(0, 250, 0), rgb(0, 0, 250)};
  HRVPALETTE handle = Rv_CreatePalette(entries, 3);
  for (uint32_t colors : {0u, 8u}) {
    rvtest::Bitmap out;
    ASSERT_EQ(resolve(src.get(), out.get(), 4, COLORRES_PALETTE_HANDLE, nullptr, colors, handle), SUCCESS);
    EXPECT_EQ(out->nColors, colors == 0 ? 3 : 8);
    EXPECT_EQ(std::memcmp(out->pPalette, entries, sizeof(entries)), 0);
    for (const auto &row : rvtest::grid_of(out.get())) {
      for (const auto &pixel : row) EXPECT_LT(std::stoi(pixel), 3);
    }
  }
  rvtest::Bitmap untouched;
  EXPECT_EQ(resolve(src.get(), untouched.get(), 4, 0, mine, 3, handle), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(untouched->uStructSize, 0u);  // refused before any work
  Rv_WinDeleteObject(handle);
}

TEST(ColorRes, OptimisedRoad) {
  // The picture's own colours fit: they map exactly, undithered, the count
  // drops to them, and the entries past it repeat the first coloured one.
  rvtest::Bitmap few;
  picture(few, 7, 3, {rgb(0, 0, 0), rgb(10, 200, 30), rgb(255, 255, 255), rgb(90, 0, 90)});
  rvtest::Bitmap dst;
  ASSERT_EQ(resolve(few.get(), dst.get(), 4, COLORRES_OPTIMIZED_PALETTE | COLORRES_DITHERING(1)), SUCCESS);
  ASSERT_EQ(dst->nColors, 4);
  for (int32_t i = 4; i < 256; ++i) EXPECT_EQ(std::memcmp(&dst->pPalette[i], &dst->pPalette[1], 4), 0);
  for (int32_t y = 0; y < 3; ++y) {
    for (int32_t x = 0; x < 7; ++x) EXPECT_EQ(Rv_GetPixelColor(dst.get(), y, x), Rv_GetPixelColor(few.get(), y, x));
  }
  // A pattern: fixed entries (reserved 0, and 1 held back) stay, the free
  // ones (2) take the colours, which the caller's palette gets too.
  rvtest::Bitmap photo;
  picture(photo, 40, 20);
  RGBQUAD pattern[16];
  std::memset(pattern, 2, sizeof(pattern));
  pattern[0] = rgb(1, 2, 3);
  pattern[1] = RGBQUAD{0, 0, 0, 1};
  rvtest::Bitmap out;
  ASSERT_EQ(resolve(photo.get(), out.get(), 4, COLORRES_OPTIMIZED_PALETTE | COLORRES_DITHERING(1), pattern, 16),
            SUCCESS);
  EXPECT_EQ(std::memcmp(out->pPalette, pattern, sizeof(pattern)), 0);
  EXPECT_EQ(out->pPalette[0].rgbBlue, 3);
  EXPECT_EQ(out->pPalette[1].rgbReserved, 1);
  for (int i = 2; i < 16; ++i) EXPECT_EQ(pattern[i].rgbReserved, 0) << i;
  for (const auto &row : rvtest::grid_of(out.get())) {
    for (const auto &pixel : row) EXPECT_NE(pixel, "1");
  }
}

// The percents of the row rule; the row callback without a destination and
// in place (where it is handed the caller's own record); a stop by either
// callback leaves the destination freed.
TEST(ColorRes, ProgressAndRowCallback) {
  struct Heard {
    BITMAPRECORD *record = nullptr;
    Grid rows;
    int32_t stop_at = -1;
    static int32_t take(BITMAPRECORD *b, void *row, int32_t lines, void *self) {
      auto *h = static_cast<Heard *>(self);
      h->record = b;
      h->rows.emplace_back();
      for (int32_t x = 0; x < b->nWidth; ++x) h->rows.back().push_back(rvtest::pixel_of(static_cast<uint8_t *>(row), 4, x));
      return lines == 1 && static_cast<int32_t>(h->rows.size()) - 1 != h->stop_at ? SUCCESS : ERROR_USER_ABORT;
    }
  };
  rvtest::Bitmap src, dst, again;
  picture(src, 5, 7);
  picture(again, 5, 7);
  rvtest::Progress progress;
  ASSERT_EQ(resolve(src.get(), dst.get(), 4, COLORRES_FIXED_PALETTE), SUCCESS);
  EXPECT_EQ(progress.heard, (std::vector<int32_t>{0, 14, 28, 42, 57, 71, 85, 100}));
  Heard none, mine;
  ASSERT_EQ(Rv_ColorResBitmap(src.get(), nullptr, 0, 4, COLORRES_FIXED_PALETTE, nullptr, nullptr, 0, &Heard::take, &none),
            SUCCESS);
  EXPECT_EQ(none.rows, rvtest::grid_of(dst.get()));
  ASSERT_EQ(Rv_ColorResBitmap(again.get(), again.get(), RV_BITMAPRECORD_SIZE, 4, COLORRES_FIXED_PALETTE, nullptr,
                              nullptr, 0, &Heard::take, &mine),
            SUCCESS);
  EXPECT_EQ(mine.record, again.get());
  EXPECT_EQ(mine.rows, none.rows);
  for (bool by_progress : {true, false}) {
    rvtest::Bitmap out;
    progress.heard.clear();
    progress.stop_at = by_progress ? 3 : -1;
    Heard stop;
    stop.stop_at = by_progress ? -1 : 2;
    EXPECT_EQ(Rv_ColorResBitmap(src.get(), out.get(), RV_BITMAPRECORD_SIZE, 4, COLORRES_FIXED_PALETTE, nullptr,
                                nullptr, 0, &Heard::take, &stop),
              ERROR_USER_ABORT);
    EXPECT_FALSE(out->uFlags & BITMAPFLAG_ALLOCATED);
    EXPECT_EQ(out->pPalette, nullptr);
  }
}

// In place the record keeps its address, takes the size given, keeps its
// locks, and its extra data block and overlays move to the new bitmap; a
// separate destination gets a copy of the extra data and the overlays.
TEST(ColorRes, WhatTheResultTakesOver) {
  for (bool in_place : {true, false}) {
    rvtest::Bitmap src, other;
    picture(src, 6, 4);
    ASSERT_EQ(Rv_SetBitmapExtraData(src.get(), 7, 3, "abc"), SUCCESS);
    src->uReserved3 = 0x1234;
    src->hOverlays = reinterpret_cast<RVHANDLE>(0x40);  // no overlay module is installed
    Rv_AccessBitmap(src.get());
    void *extra = src->pExtraData;
    BITMAPRECORD *dst = in_place ? src.get() : other.get();
    ASSERT_EQ(Rv_ColorResBitmap(src.get(), dst, RV_BITMAPRECORD_SIZE_OLD, 32, COLORRES_ORDER_GRAY, nullptr, nullptr, 0,
                                nullptr, nullptr),
              SUCCESS);
    EXPECT_EQ(dst->uStructSize, RV_BITMAPRECORD_SIZE_OLD);
    EXPECT_EQ(dst->uReserved3, 0x1234u);
    EXPECT_EQ(dst->hOverlays, reinterpret_cast<RVHANDLE>(0x40));
    EXPECT_EQ(src->hOverlays, in_place ? dst->hOverlays : nullptr);
    EXPECT_EQ(dst->pExtraData == extra, in_place);
    EXPECT_EQ(std::memcmp(dst->pExtraData, extra, dst->uExtraDataSize), 0);
    EXPECT_EQ(dst->nLockCount, in_place ? 1 : 0);
    int64_t low = 0, high = 0;  // the result's gray range is recorded
    ASSERT_EQ(Rv_IntGetMinMaxValGray(dst, &low, &high), SUCCESS);
    EXPECT_TRUE(dst->nMinVal == static_cast<int32_t>(low) && dst->nMaxVal == static_cast<int32_t>(high) && low < high);
    dst->hOverlays = nullptr;
    Rv_ReleaseBitmap(in_place ? dst : src.get());
  }
}

// Conversions and dither runs, each in place, beside the source, and to the
// callback alone. An allocation failure at every step leaves the source's
// record and pixels as they were; every success makes the same rows, and a
// destination with data callbacks (from the source's copy frame), whose rows
// are put rather than made where they lie, gets them too.
TEST(ColorRes, FailuresAndRowRoads) {
  const struct {
    int32_t src_bits, bits;
    uint32_t flags;
  } cases[] = {
      {24, 8, COLORRES_OPTIMIZED_PALETTE | COLORRES_DITHERING(FLOYD_STEIN_DITHERING)},
      {24, 4, COLORRES_NO_MATCH_TABLE}, {8, 24, COLORRES_ORDER_BGR}, {24, 16, COLORRES_ORDER_BGR565},
      {4, 8, COLORRES_FIXED_PALETTE | COLORRES_DITHERING(ORDERED_DITHERING)},
  };
  BITMAPDATACALLBACKS frame{};
  frame.uStructSize = RV_BITMAPDATACALLBACKS_SIZE;
  frame.pfnBeginCopy = [](BITMAPRECORD *, int32_t, BITMAPALLOCINFO *, BITMAPDATACALLBACKS *, void *) {
    return static_cast<int32_t>(SUCCESS);  // the copy takes an empty callback record
  };
  for (const auto &c : cases) {
    Grid made;
    for (int mode = 0; mode < 4; ++mode) {  // in place, beside, callback only, beside with callbacks
      for (int64_t n = 0;; ++n) {
        rvtest::Bitmap src, other;
        ASSERT_TRUE(rvtest::make(src.get(), 23, 9, c.src_bits));
        rvtest::fill_random(src.get(), 3);
        ASSERT_EQ(Rv_SetBitmapExtraData(src.get(), 1, 4, "data"), SUCCESS);
        if (mode == 3) Rv_SetBitmapDataCallbacks(src.get(), &frame);
        const BITMAPRECORD before = src.record;
        const Grid pixels = rvtest::grid_of(src.get());
        BITMAPRECORD *dst = mode == 0 ? src.get() : mode == 2 ? nullptr : other.get();
        rv::fault::fail_after(n);
        const int32_t status = Rv_ColorResBitmap(src.get(), dst, RV_BITMAPRECORD_SIZE, c.bits, c.flags, nullptr,
                                                 nullptr, 0, nullptr, nullptr);
        const bool fired = rv::fault::fired();
        rv::fault::fail_after(-1);
        if (!fired) {
          ASSERT_EQ(status, SUCCESS);
          if (dst != nullptr && made.empty()) made = rvtest::grid_of(dst);
          if (dst != nullptr) {
            EXPECT_EQ(rvtest::grid_of(dst), made) << c.bits << " mode " << mode;
            EXPECT_EQ(dst->pDataCallbacks != nullptr, mode == 3);
          }
          break;
        }
        if (status == SUCCESS) continue;  // a failure the operation could do without
        EXPECT_EQ(status, ERROR_NO_MEMORY) << c.bits << " mode " << mode << " failure " << n;
        EXPECT_EQ(std::memcmp(&before, src.get(), sizeof(before)), 0) << c.bits << " mode " << mode << " failure " << n;
        EXPECT_EQ(rvtest::grid_of(src.get()), pixels);
        EXPECT_FALSE(other->uFlags & BITMAPFLAG_ALLOCATED);
      }
    }
  }
}

// Every depth to every depth, beside and in place, with and without a
// dither run.
TEST(ColorRes, EveryDepthToEveryDepth) {
  for (int32_t from : rvtest::kAllDepths) {
    for (int32_t to : rvtest::kAllDepths) {
      for (uint32_t flags : {0u, COLORRES_DITHERING(FLOYD_STEIN_DITHERING)}) {
        rvtest::Bitmap src, dst;
        ASSERT_TRUE(rvtest::make(src.get(), 7, 3, from));
        rvtest::fill_random(src.get(), 1);
        EXPECT_EQ(resolve(src.get(), dst.get(), to, flags), SUCCESS) << from << " to " << to;
        EXPECT_EQ(resolve(src.get(), src.get(), to, flags), SUCCESS) << from << " to " << to;
        EXPECT_EQ(rvtest::grid_of(src.get()), rvtest::grid_of(dst.get())) << from << " to " << to;
      }
    }
  }
}

// The checks, in order: a missing or unallocated source, the sizes, the
// arguments; a count of 0 beside a palette; a method past the last.
TEST(ColorRes, BadInput) {
  rvtest::Bitmap src, dst, unallocated;
  picture(src, 4, 2);
  Rv_InitBitmap(unallocated.get(), RV_BITMAPRECORD_SIZE, 4, 2, 24);
  RGBQUAD palette[4] = {};
  EXPECT_EQ(resolve(nullptr, dst.get(), 8, 0), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(resolve(unallocated.get(), dst.get(), 8, 0), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_ColorResBitmap(src.get(), dst.get(), 216, 8, 0, nullptr, nullptr, 0, nullptr, nullptr),
            ERROR_INVALID_STRUCT_SIZE);
  EXPECT_EQ(resolve(src.get(), dst.get(), 9, 0), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(resolve(src.get(), dst.get(), 4, COLORRES_USER_PALETTE, palette, 0), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(resolve(src.get(), dst.get(), 8, COLORRES_FIXED_PALETTE | COLORRES_DITHERING(9)), ERROR_INVALID_PARAMETER);
  src->uStructSize = 216;
  EXPECT_EQ(resolve(src.get(), dst.get(), 8, 0), ERROR_INVALID_STRUCT_SIZE);
  src->uStructSize = RV_BITMAPRECORD_SIZE;
}

}  // namespace
