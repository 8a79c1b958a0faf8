// Colour resolution of one bitmap: destination orders by flag, each palette
// road checked against the dither run or the conversion it should amount to,
// the optimiser's pattern of fixed and free entries, in place and without a
// destination, the row and progress callbacks, failures that leave the input
// as it was, and bad input.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "color/color_records.h"
#include "internal/fault.h"
#include "support/bitmaps.h"
#include "transform/pictures.h"

namespace {

using Rows = std::vector<std::vector<uint8_t>>;
using colortest::rgb;

Rows rows_of(BITMAPRECORD *b) {
  Rows rows;
  for (int32_t y = 0; y < b->nHeight; ++y) rows.push_back(rvtest::read_row(b, y));
  return rows;
}

// A 24-bit picture of `colors` repeated over w x h pixels, or random.
void picture(rvtest::Bitmap &b, int32_t w, int32_t h, const std::vector<RGBQUAD> &colors = {}) {
  ASSERT_TRUE(rvtest::make(b.get(), w, h, 24));
  if (colors.empty()) return rvtest::fill_random(b.get(), 5);
  for (int32_t y = 0; y < h; ++y) {
    std::vector<uint8_t> row(static_cast<size_t>(b->nBytesPerLine));
    for (int32_t x = 0; x < w; ++x) {
      const RGBQUAD &c = colors[static_cast<size_t>(x + y) % colors.size()];
      std::memcpy(&row[3 * static_cast<size_t>(x)], &c, 3);
    }
    Rv_PutBitmapRow(b.get(), row.data(), y, static_cast<uint32_t>(row.size()));
  }
}

// The rows a dither run makes of the source by hand.
Rows dithered(BITMAPRECORD *src, const RGBQUAD *palette, uint32_t colors, int32_t bits, int32_t method,
              uint32_t *cache = nullptr) {
  const int32_t former = src->nDitheringMethod;
  src->nDitheringMethod = method;
  EXPECT_EQ(Rv_StartDitheringExt(src, palette, colors, bits, cache), SUCCESS);
  src->nDitheringMethod = former;
  Rows rows;
  for (int32_t y = 0; y < src->nHeight; ++y) {
    auto in = rvtest::read_row(src, y);
    std::vector<uint8_t> out(static_cast<size_t>(rv::px::bytes_per_line(src->nWidth, bits)));
    Rv_DitherLine(src, in.data(), out.data());
    rows.push_back(out);
  }
  Rv_StopDithering(src);
  return rows;
}

int32_t resolve(BITMAPRECORD *src, BITMAPRECORD *dst, int32_t bits, uint32_t flags, RGBQUAD *palette = nullptr,
                uint32_t colors = 0, HRVPALETTE handle = nullptr) {
  return Rv_ColorResBitmap(src, dst, RV_BITMAPRECORD_SIZE, bits, flags, palette, handle, colors, nullptr, nullptr);
}

TEST(ColorRes, DestinationOrderByFlags) {
  struct Case {
    int32_t bits;
    uint32_t flags;
    int32_t order;  // -1: refused
  };
  const Case cases[] = {
      {24, 0, ORDER_RGB}, {24, COLORRES_ORDER_BGR, ORDER_BGR}, {24, COLORRES_ORDER_GRAY, -1},
      {16, COLORRES_ORDER_GRAY, ORDER_GRAY}, {32, COLORRES_ORDER_GRAY, ORDER_GRAY},
      {24, COLORRES_ORDER_GRAY | COLORRES_ORDER_BGR, ORDER_BGR},
      {16, COLORRES_ORDER_GRAY | COLORRES_ORDER_BGR, ORDER_GRAY},
      {32, COLORRES_ORDER_GRAY | COLORRES_ORDER_BGR, ORDER_BGR},
      {12, 0, ORDER_GRAY}, {12, COLORRES_ORDER_WIDE_GAMUT | COLORRES_FIXED_PALETTE, ORDER_GRAY},
      {24, COLORRES_ORDER_WIDE_GAMUT, ORDER_WIDE_GAMUT}, {48, COLORRES_ORDER_WIDE_GAMUT, ORDER_WIDE_GAMUT},
      {16, COLORRES_ORDER_WIDE_GAMUT, -1}, {16, COLORRES_ORDER_BGR565, ORDER_BGR565},
      {24, COLORRES_ORDER_BGR565, -1}, {24, COLORRES_ORDER_BGR | COLORRES_ORDER_WIDE_GAMUT, -1},
      {64, COLORRES_ORDER_GRAY, -1},
  };
  rvtest::Bitmap src;
  picture(src, 9, 3);
  for (const Case &c : cases) {
    rvtest::Bitmap dst;
    const int32_t status = resolve(src.get(), dst.get(), c.bits, c.flags);
    if (c.order < 0) {
      EXPECT_EQ(status, ERROR_INVALID_PARAMETER) << c.bits << " " << c.flags;
      continue;
    }
    ASSERT_EQ(status, SUCCESS) << c.bits << " " << c.flags;
    EXPECT_EQ(dst->nOrder, c.order) << c.bits << " " << c.flags;
    // The pixels are the conversion's, row by row.
    const uint32_t gray_flag = (c.flags & COLORRES_ORDER_GRAY) || c.bits == 12 ? CONVERT_DST_GRAY : 0;
    for (int32_t y = 0; y < src->nHeight; ++y) {
      auto row = rvtest::read_row(src.get(), y);
      row.resize(Rv_CalcConvertSize(9, 24, 9, c.bits));
      Rv_IntConvertBuffer(row.data(), 9, 24, c.bits, ORDER_BGR, c.order, nullptr, nullptr, nullptr, gray_flag, 0,
                          7, 0, nullptr);
      const auto got = rvtest::read_row(dst.get(), y);
      for (int32_t x = 0; x < 9; ++x) {
        EXPECT_EQ(rvtest::pixel_of(got.data(), c.bits, x), rvtest::pixel_of(row.data(), c.bits, x))
            << c.bits << " " << c.flags << " row " << y;
      }
    }
  }
}

// Each palette road: the palette the result gets, and rows equal to the
// dither run that road stands for, by the method of bits 16 to 23.
TEST(ColorRes, PaletteRoads) {
  rvtest::Bitmap src;
  picture(src, 13, 5);
  RGBQUAD mine[16];
  for (int i = 0; i < 16; ++i) mine[i] = rgb(static_cast<uint8_t>(i * 17), static_cast<uint8_t>(255 - i * 9), 90);
  struct Case {
    int32_t bits;
    uint32_t flags;
    const RGBQUAD *expected;  // the palette, and what the run is given
    uint32_t colors;
  };
  const Case cases[] = {
      {8, COLORRES_FIXED_PALETTE, Rv_IntGetFixedPalette(8), 256},
      {4, COLORRES_FIXED_PALETTE | COLORRES_NETSCAPE_PALETTE, Rv_IntGetFixedPalette(4), 16},
      {8, COLORRES_FIXED_PALETTE | COLORRES_NETSCAPE_PALETTE, Rv_IntGetNetscapePalette(), 256},
      {8, COLORRES_NETSCAPE_PALETTE, Rv_IntGetNetscapePalette(), 256},
      {1, COLORRES_FIXED_PALETTE, Rv_IntGetFixedPalette(1), 2},
      {4, COLORRES_USER_PALETTE, mine, 16},
      {5, COLORRES_USER_PALETTE, mine, 16},
  };
  for (const Case &c : cases) {
    for (int32_t method : {NO_DITHERING, FLOYD_STEIN_DITHERING, ORDERED_DITHERING}) {
      rvtest::Bitmap dst;
      src->nDitheringMethod = JARVIS_DITHERING;
      RGBQUAD *given = c.expected == mine ? mine : nullptr;
      ASSERT_EQ(resolve(src.get(), dst.get(), c.bits, c.flags | COLORRES_DITHERING(method), given, c.colors),
                SUCCESS);
      EXPECT_EQ(src->nDitheringMethod, JARVIS_DITHERING);  // put back
      EXPECT_EQ(dst->nColors, static_cast<int32_t>(c.colors));
      EXPECT_EQ(std::memcmp(dst->pPalette, c.expected, sizeof(RGBQUAD) * c.colors), 0) << c.flags;
      EXPECT_EQ(rows_of(dst.get()), dithered(src.get(), c.expected, c.colors, c.bits, method))
          << c.bits << " " << c.flags << " method " << method;
    }
  }
  // Roads that don't exist, and the cube at a depth other than 8.
  for (uint32_t flags : {COLORRES_USER_MATCH_TABLE, COLORRES_PALETTE_HANDLE, 0x3u, 0x28u,
                         COLORRES_USER_PALETTE | COLORRES_NETSCAPE_PALETTE}) {
    rvtest::Bitmap dst;
    EXPECT_EQ(resolve(src.get(), dst.get(), 8, flags), ERROR_INVALID_PARAMETER) << flags;
  }
  rvtest::Bitmap dst;
  EXPECT_EQ(resolve(src.get(), dst.get(), 4, COLORRES_NETSCAPE_PALETTE), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(resolve(src.get(), dst.get(), 4, COLORRES_USER_PALETTE, nullptr, 16), ERROR_INVALID_PARAMETER);
}

// A palette object: its entries as the caller's palette, all of them for a
// count of 0, and the entries it doesn't hold free, so never chosen.
TEST(ColorRes, PaletteHandle) {
  rvtest::Bitmap src;
  picture(src, 16, 4);
  const RGBQUAD entries[3] = {rgb(250, 0, 0), rgb(0, 250, 0), rgb(0, 0, 250)};
  HRVPALETTE handle = Rv_CreatePalette(entries, 3);
  ASSERT_NE(handle, nullptr);
  for (uint32_t colors : {0u, 8u}) {
    rvtest::Bitmap dst;
    ASSERT_EQ(resolve(src.get(), dst.get(), 4, COLORRES_PALETTE_HANDLE, nullptr, colors, handle), SUCCESS);
    EXPECT_EQ(dst->nColors, colors == 0 ? 3 : 8);
    EXPECT_EQ(std::memcmp(dst->pPalette, entries, sizeof(entries)), 0);
    for (int32_t i = 3; i < dst->nColors; ++i) EXPECT_EQ(dst->pPalette[i].rgbReserved, 2) << i;
    for (int32_t y = 0; y < 4; ++y) {
      const auto row = rvtest::read_row(dst.get(), y);
      for (int32_t x = 0; x < 16; ++x) EXPECT_LT(rv::px::get_packed(row.data(), 4, x), 3u);
    }
  }
  rvtest::Bitmap dst;
  RGBQUAD also[3];
  EXPECT_EQ(resolve(src.get(), dst.get(), 4, 0, also, 3, handle), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(dst->uStructSize, 0u);  // refused before any work
  Rv_WinDeleteObject(handle);
}

TEST(ColorRes, OptimisedRoad) {
  // The picture's own colours fit: they map exactly, undithered, and the
  // count drops to them; entries past it repeat the first coloured one.
  const std::vector<RGBQUAD> colors = {rgb(0, 0, 0), rgb(10, 200, 30), rgb(255, 255, 255), rgb(90, 0, 90)};
  rvtest::Bitmap src;
  picture(src, 7, 3, colors);
  rvtest::Bitmap dst;
  ASSERT_EQ(resolve(src.get(), dst.get(), 4, COLORRES_OPTIMIZED_PALETTE | COLORRES_DITHERING(1)), SUCCESS);
  ASSERT_EQ(dst->nColors, 4);
  for (int32_t i = 4; i < 256; ++i) EXPECT_EQ(std::memcmp(&dst->pPalette[i], &dst->pPalette[1], 4), 0);
  for (int32_t y = 0; y < 3; ++y) {
    for (int32_t x = 0; x < 7; ++x) {
      EXPECT_EQ(Rv_GetPixelColor(dst.get(), y, x), Rv_GetPixelColor(src.get(), y, x));
    }
  }

  // A pattern: fixed entries (reserved 0 offered, 1 held back) stay where
  // they are, the free ones (2) take the colours, and the caller's palette
  // gets them too. With a match table the renumbered table serves the run.
  rvtest::Bitmap photo;
  picture(photo, 40, 20);
  RGBQUAD pattern[16];
  for (auto &e : pattern) e = RGBQUAD{2, 2, 2, 2};
  pattern[0] = rgb(1, 2, 3);
  pattern[1] = RGBQUAD{0, 0, 0, 1};  // black, never chosen
  rvtest::Bitmap out;
  ASSERT_EQ(resolve(photo.get(), out.get(), 4, COLORRES_OPTIMIZED_PALETTE | COLORRES_DITHERING(1), pattern, 16),
            SUCCESS);
  EXPECT_EQ(std::memcmp(&out->pPalette[0], &pattern[0], 8), 0);
  EXPECT_EQ(out->pPalette[0].rgbBlue, 3);
  EXPECT_EQ(std::memcmp(out->pPalette + 2, pattern + 2, sizeof(RGBQUAD) * 14), 0);
  for (int i = 2; i < 16; ++i) EXPECT_EQ(pattern[i].rgbReserved, 0) << i;
  for (int32_t y = 0; y < 20; ++y) {
    const auto row = rvtest::read_row(out.get(), y);
    for (int32_t x = 0; x < 40; ++x) EXPECT_NE(rv::px::get_packed(row.data(), 4, x), 1u);
  }
}

// The percents of the row rule, and a stop by the progress callback or the
// row callback, which leaves the destination freed.
TEST(ColorRes, ProgressAndRowCallback) {
  rvtest::Bitmap src;
  picture(src, 5, 7);
  {
    rvtest::Progress progress;
    rvtest::Bitmap dst;
    ASSERT_EQ(resolve(src.get(), dst.get(), 8, COLORRES_FIXED_PALETTE), SUCCESS);
    EXPECT_EQ(progress.heard, (std::vector<int32_t>{0, 14, 28, 42, 57, 71, 85, 100}));
  }
  struct Heard {
    BITMAPRECORD *record = nullptr;
    Rows rows;
    int32_t stop_at = -1;
    static int32_t take(BITMAPRECORD *b, void *row, int32_t lines, void *self) {
      auto *h = static_cast<Heard *>(self);
      EXPECT_EQ(lines, 1);
      h->record = b;
      const auto *p = static_cast<const uint8_t *>(row);
      h->rows.emplace_back(p, p + b->nBytesPerLine);
      return static_cast<int32_t>(h->rows.size()) - 1 == h->stop_at ? ERROR_USER_ABORT : SUCCESS;
    }
  };
  // Without a destination the rows go to the callback alone, from a private
  // record of the new depth with nothing allocated.
  Heard heard;
  ASSERT_EQ(Rv_ColorResBitmap(src.get(), nullptr, 0, 4, COLORRES_FIXED_PALETTE, nullptr, nullptr, 0, &Heard::take,
                              &heard),
            SUCCESS);
  rvtest::Bitmap dst;
  ASSERT_EQ(resolve(src.get(), dst.get(), 4, COLORRES_FIXED_PALETTE), SUCCESS);
  EXPECT_EQ(heard.rows, rows_of(dst.get()));

  // In place the callback is handed the caller's own record, already the
  // new bitmap.
  rvtest::Bitmap again;
  picture(again, 5, 7);
  Heard mine;
  ASSERT_EQ(Rv_ColorResBitmap(again.get(), again.get(), RV_BITMAPRECORD_SIZE, 4, COLORRES_FIXED_PALETTE, nullptr,
                              nullptr, 0, &Heard::take, &mine),
            SUCCESS);
  EXPECT_EQ(mine.record, again.get());
  EXPECT_EQ(mine.rows, heard.rows);

  for (int32_t which : {0, 1}) {
    rvtest::Bitmap out;
    rvtest::Progress progress;
    Heard stop;
    if (which == 0) progress.stop_at = 3;
    if (which == 1) stop.stop_at = 2;
    EXPECT_EQ(Rv_ColorResBitmap(src.get(), out.get(), RV_BITMAPRECORD_SIZE, 8, COLORRES_FIXED_PALETTE, nullptr,
                                nullptr, 0, &Heard::take, &stop),
              ERROR_USER_ABORT);
    EXPECT_FALSE(out->uFlags & BITMAPFLAG_ALLOCATED);
    EXPECT_EQ(out->pPalette, nullptr);
  }
}

// In place: the record keeps its address, takes the size given, keeps its
// locks, and its extra data block and overlays move to the new bitmap; a
// separate destination gets a copy of the extra data and the overlays.
TEST(ColorRes, WhatTheResultTakesOver) {
  for (bool in_place : {true, false}) {
    rvtest::Bitmap src;
    picture(src, 6, 4);
    ASSERT_EQ(Rv_SetBitmapExtraData(src.get(), 7, 3, "abc"), SUCCESS);
    src->uReserved3 = 0x1234;
    src->nViewPerspective = VIEW_TOP_RIGHT;
    src->hOverlays = reinterpret_cast<RVHANDLE>(0x40);  // no overlay module is installed
    Rv_AccessBitmap(src.get());
    void *extra = src->pExtraData;
    rvtest::Bitmap other;
    BITMAPRECORD *dst = in_place ? src.get() : other.get();
    ASSERT_EQ(Rv_ColorResBitmap(src.get(), dst, RV_BITMAPRECORD_SIZE_OLD, 32, COLORRES_ORDER_GRAY, nullptr, nullptr,
                                0, nullptr, nullptr),
              SUCCESS);
    EXPECT_EQ(dst->uStructSize, RV_BITMAPRECORD_SIZE_OLD);
    EXPECT_EQ(dst->nBitsPerPixel, 32);
    EXPECT_EQ(dst->nViewPerspective, VIEW_TOP_RIGHT);
    EXPECT_EQ(dst->uReserved3, 0x1234u);
    EXPECT_EQ(dst->hOverlays, reinterpret_cast<RVHANDLE>(0x40));
    EXPECT_EQ(src->hOverlays, in_place ? dst->hOverlays : nullptr);
    EXPECT_EQ(dst->pExtraData == extra, in_place);
    ASSERT_EQ(dst->uExtraDataSize, src->uExtraDataSize);
    EXPECT_EQ(std::memcmp(dst->pExtraData, extra, dst->uExtraDataSize), 0);
    EXPECT_EQ(dst->nLockCount, in_place ? 1 : 0);
    // The gray range of the result is recorded.
    int64_t low = 0, high = 0;
    ASSERT_EQ(Rv_IntGetMinMaxValGray(dst, &low, &high), SUCCESS);
    EXPECT_EQ(dst->nMinVal, static_cast<int32_t>(low));
    EXPECT_EQ(dst->nMaxVal, static_cast<int32_t>(high));
    EXPECT_LT(low, high);
    dst->hOverlays = nullptr;
    Rv_ReleaseBitmap(in_place ? dst : src.get());
  }
}

// A destination in flat memory has its rows made in place; one with data
// callbacks (given here by the source's copy frame) gets them through the
// row calls. The bytes are the same.
TEST(ColorRes, RowsInPlaceMatchRowsPut) {
  struct Case {
    int32_t src_bits, bits;
    uint32_t flags;
  };
  const Case cases[] = {
      {8, 24, COLORRES_ORDER_BGR}, {24, 8, COLORRES_OPTIMIZED_PALETTE | COLORRES_DITHERING(FLOYD_STEIN_DITHERING)},
      {24, 8, COLORRES_NO_MATCH_TABLE}, {4, 8, COLORRES_FIXED_PALETTE}, {24, 16, COLORRES_ORDER_BGR565},
  };
  BITMAPDATACALLBACKS frame{};
  frame.uStructSize = RV_BITMAPDATACALLBACKS_SIZE;
  frame.pfnBeginCopy = [](BITMAPRECORD *, int32_t, BITMAPALLOCINFO *, BITMAPDATACALLBACKS *, void *) {
    return static_cast<int32_t>(SUCCESS);  // the copy takes an empty callback record
  };
  for (const Case &c : cases) {
    rvtest::Bitmap src, flat, served;
    ASSERT_TRUE(rvtest::make(src.get(), 21, 6, c.src_bits));
    rvtest::fill_random(src.get(), 8);
    ASSERT_EQ(resolve(src.get(), flat.get(), c.bits, c.flags), SUCCESS);
    ASSERT_EQ(Rv_SetBitmapDataCallbacks(src.get(), &frame), SUCCESS);
    ASSERT_EQ(resolve(src.get(), served.get(), c.bits, c.flags), SUCCESS);
    ASSERT_NE(served->pDataCallbacks, nullptr);
    EXPECT_EQ(rows_of(flat.get()), rows_of(served.get())) << c.src_bits << " to " << c.bits;
  }
}

// An allocation failure at each step, in place, beside the source and with
// rows to a callback only: the source's record and pixels stay as they were.
TEST(ColorRes, FailureLeavesTheInput) {
  struct Case {
    int32_t src_bits, bits;
    uint32_t flags;
  };
  const Case cases[] = {
      {24, 8, COLORRES_OPTIMIZED_PALETTE | COLORRES_DITHERING(FLOYD_STEIN_DITHERING)},
      {24, 4, COLORRES_NO_MATCH_TABLE},
      {24, 1, COLORRES_FIXED_PALETTE | COLORRES_DITHERING(FLOYD_STEIN_DITHERING)},
      {8, 24, COLORRES_ORDER_BGR},
      {4, 8, COLORRES_FIXED_PALETTE | COLORRES_DITHERING(ORDERED_DITHERING)},
  };
  for (const Case &c : cases) {
    for (int mode : {0, 1, 2}) {  // in place, beside, callback only
      for (int64_t n = 0;; ++n) {
        rvtest::Bitmap src;
        ASSERT_TRUE(rvtest::make(src.get(), 23, 9, c.src_bits));
        rvtest::fill_random(src.get(), 3);
        ASSERT_EQ(Rv_SetBitmapExtraData(src.get(), 1, 4, "data"), SUCCESS);
        const BITMAPRECORD before = src.record;
        const Rows pixels = rows_of(src.get());
        rvtest::Bitmap other;
        BITMAPRECORD *dst = mode == 0 ? src.get() : mode == 1 ? other.get() : nullptr;
        rv::fault::fail_after(n);
        const int32_t status = Rv_ColorResBitmap(src.get(), dst, RV_BITMAPRECORD_SIZE, c.bits, c.flags, nullptr,
                                                 nullptr, 0, nullptr, nullptr);
        const bool fired = rv::fault::fired();
        rv::fault::fail_after(-1);
        if (!fired) {
          EXPECT_EQ(status, SUCCESS);
          break;
        }
        if (status == SUCCESS) continue;  // a failure the operation could do without
        EXPECT_EQ(status, ERROR_NO_MEMORY) << c.bits << " mode " << mode << " failure " << n;
        EXPECT_EQ(std::memcmp(&before, src.get(), sizeof(before)), 0) << c.bits << " mode " << mode << " failure " << n;
        EXPECT_EQ(rows_of(src.get()), pixels);
        if (mode == 1) {
          EXPECT_FALSE(other->uFlags & BITMAPFLAG_ALLOCATED);
        }
      }
    }
  }
}

TEST(ColorRes, BadInput) {
  rvtest::Bitmap src, dst;
  picture(src, 4, 2);
  RGBQUAD palette[4] = {};
  BITMAPRECORD unallocated{};
  Rv_InitBitmap(&unallocated, RV_BITMAPRECORD_SIZE, 4, 2, 24);
  struct Case {
    BITMAPRECORD *src;
    uint32_t size;
    int32_t bits;
    uint32_t flags;
    RGBQUAD *palette;
    uint32_t colors;
    int32_t status;
  };
  const Case cases[] = {
      {nullptr, RV_BITMAPRECORD_SIZE, 8, 0, nullptr, 0, ERROR_INVALID_PARAMETER},
      {&unallocated, RV_BITMAPRECORD_SIZE, 8, 0, nullptr, 0, ERROR_INVALID_PARAMETER},
      {src.get(), 216, 8, 0, nullptr, 0, ERROR_INVALID_STRUCT_SIZE},
      {src.get(), RV_BITMAPRECORD_SIZE, 9, 0, nullptr, 0, ERROR_INVALID_PARAMETER},
      {src.get(), RV_BITMAPRECORD_SIZE, 0, 0, nullptr, 0, ERROR_INVALID_PARAMETER},
      {src.get(), RV_BITMAPRECORD_SIZE, 4, COLORRES_USER_PALETTE, palette, 0, ERROR_INVALID_PARAMETER},
      {src.get(), RV_BITMAPRECORD_SIZE, 8, COLORRES_DITHERING(9) | COLORRES_FIXED_PALETTE, nullptr, 0,
       ERROR_INVALID_PARAMETER},
  };
  for (const Case &c : cases) {
    EXPECT_EQ(Rv_ColorResBitmap(c.src, dst.get(), c.size, c.bits, c.flags, c.palette, nullptr, c.colors, nullptr,
                                nullptr),
              c.status);
  }
  const uint32_t size = src->uStructSize;
  src->uStructSize = 216;
  EXPECT_EQ(resolve(src.get(), dst.get(), 8, 0), ERROR_INVALID_STRUCT_SIZE);
  src->uStructSize = size;
}

}  // namespace
