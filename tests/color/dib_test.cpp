#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <vector>

#include "color/dib.h"
#include "color/dib_records.h"
#include "internal/fault.h"
#include "support/bitmaps.h"

namespace {

using dibtest::Dib;

// The colour (and alpha) shown at row r from the top.
COLORREF shown(BITMAPRECORD *b, int32_t r, int32_t c, int32_t *alpha) {
  const int32_t row = b->nViewPerspective == VIEW_BOTTOM_LEFT ? b->nHeight - 1 - r : r;
  return Rv_IntGetPixelColor(b, row, c, alpha);
}

void give_random_palette(BITMAPRECORD *b, uint32_t seed) {
  auto entries = rvtest::random_bytes(4u << b->nBitsPerPixel, seed);
  ASSERT_EQ(Rv_SetBitmapNewPalette(b, reinterpret_cast<RGBQUAD *>(entries.data()), 1 << b->nBitsPerPixel),
            SUCCESS);
}

TEST(Dib, EveryViewIsWrittenAsThePictureItShows) {
  rvtest::Bitmap ref;
  ASSERT_TRUE(rvtest::make(ref.get(), 5, 3, 8));
  rvtest::fill_random(ref.get(), 8);
  give_random_palette(ref.get(), 8);
  ref->nViewPerspective = VIEW_TOP_LEFT;
  for (int32_t view = 1; view <= 8; ++view) {
    for (bool change : {false, true}) {
      SCOPED_TRACE(testing::Message() << "view " << view << (change ? ", changed" : ", converted"));
      rvtest::Bitmap turned, back;
      ASSERT_EQ(Rv_ChangeBitmapViewPerspective(turned.get(), ref.get(), RV_BITMAPRECORD_SIZE, view), SUCCESS);
      RVHANDLE h = change ? Rv_ChangeToDIB(turned.get(), RV_BITMAPRECORD_SIZE)
                          : Rv_ConvertToDIB(turned.get(), RV_BITMAPRECORD_SIZE);
      ASSERT_NE(h, nullptr);
      ASSERT_EQ(Rv_DIBPTRToRuvo(back.get(), RV_BITMAPRECORD_SIZE, Rv_OsLockHandle(h)), SUCCESS);
      Rv_OsFreeHandle(h);
      ASSERT_EQ(back->nWidth, 5);
      ASSERT_EQ(back->nHeight, 3);
      for (int32_t r = 0; r < 3; ++r) {
        for (int32_t x = 0; x < 5; ++x) {
          int32_t a0, a1;
          EXPECT_EQ(shown(back.get(), r, x, &a1), shown(ref.get(), r, x, &a0)) << r << "," << x;
        }
      }
    }
  }
}

TEST(Dib, HeaderAndTableOfTheWrittenBlock) {
  rvtest::Bitmap b;
  ASSERT_TRUE(rvtest::make(b.get(), 3, 2, 8));
  give_random_palette(b.get(), 5);
  b->nColors = 16;
  b->nXResolution = 96;
  b->nViewPerspective = VIEW_TOP_LEFT;
  const uint8_t rows[2][4] = {{1, 2, 3, 0xEE}, {4, 5, 6, 0xEE}};
  for (int32_t y = 0; y < 2; ++y) Rv_PutBitmapRow(b.get(), rows[y], y, 4);
  RVHANDLE handle = Rv_ConvertToDIB(b.get(), RV_BITMAPRECORD_SIZE);
  ASSERT_NE(handle, nullptr);
  const auto bytes = dibtest::handle_bytes(handle);
  Rv_OsFreeHandle(handle);
  ASSERT_EQ(bytes.size(), 40u + 16 * 4 + 2 * 4);
  BITMAPINFOHEADER h;
  std::memcpy(&h, bytes.data(), sizeof h);
  EXPECT_EQ(h.biSize, 40u);
  EXPECT_EQ(h.biPlanes, 1);
  EXPECT_EQ(h.biSizeImage, 8u);
  EXPECT_EQ(h.biClrUsed, 16u);
  EXPECT_EQ(h.biClrImportant, 0u);
  EXPECT_EQ(h.biXPelsPerMeter, 3780);
  for (int i = 0; i < 16; ++i) {
    EXPECT_EQ(std::memcmp(&bytes[40 + 4 * i], &b->pPalette[i], 3), 0);
    EXPECT_EQ(bytes[43 + 4 * i], 0);  // reserved
  }
  // View 1: the last row first; the padding is cleared.
  const std::vector<uint8_t> pixels(bytes.end() - 8, bytes.end());
  EXPECT_EQ(pixels, (std::vector<uint8_t>{4, 5, 6, 0, 1, 2, 3, 0}));

  uint32_t size = 0;
  b->nViewPerspective = VIEW_BOTTOM_LEFT;
  auto *flat = static_cast<uint8_t *>(Rv_ConvertToDIB2(b.get(), RV_BITMAPRECORD_SIZE, &size, FALSE));
  ASSERT_NE(flat, nullptr);
  EXPECT_EQ(size, bytes.size());
  EXPECT_EQ(std::vector<uint8_t>(flat + 104, flat + 112), (std::vector<uint8_t>{1, 2, 3, 0, 4, 5, 6, 0}));
  Rv_LocalFree(flat);

  rvtest::Bitmap blank;
  Rv_InitBitmap(blank.get(), RV_BITMAPRECORD_SIZE, 3, 2, 8);
  EXPECT_EQ(Rv_ConvertToDIB(nullptr, RV_BITMAPRECORD_SIZE), nullptr);
  EXPECT_EQ(Rv_ConvertToDIB(blank.get(), RV_BITMAPRECORD_SIZE), nullptr);
  EXPECT_EQ(Rv_ConvertToDIB(b.get(), 12), nullptr);
}

// Pixels as stored by the reader, row by row.
std::vector<uint8_t> all_rows(BITMAPRECORD *b) {
  std::vector<uint8_t> out;
  for (int32_t y = 0; y < b->nHeight; ++y) {
    const auto row = rvtest::read_row(b, y);
    out.insert(out.end(), row.begin(), row.end());
  }
  return out;
}

TEST(Dib, BitFieldsOfKnownLayoutsStayAndOthersAreWidened) {
  // 5-6-5 keeps its pixels and takes the order.
  Dib d565(2, 1, 16, BI_BITFIELDS);
  d565.masks({0xF800, 0x7E0, 0x1F});
  d565.pixels = {0x34, 0x12, 0xFF, 0xFF};
  rvtest::Bitmap b565;
  ASSERT_EQ(d565.read(b565.get()), SUCCESS);
  EXPECT_EQ(b565->nOrder, ORDER_BGR565);
  EXPECT_EQ(b565->nBitsPerPixel, 16);
  EXPECT_EQ(all_rows(b565.get()), d565.pixels);

  // 4-4-4-4 with its alpha mask in a longer header: 24 bits, each field's bits repeated.
  Dib d4(1, 1, 16, BI_BITFIELDS);
  d4.header.biSize = 56;
  d4.masks({0x0F00, 0x00F0, 0x000F, 0xF000});
  d4.pixels = {0x5C, 0x1A, 0, 0};
  rvtest::Bitmap b4;
  ASSERT_EQ(d4.read(b4.get()), SUCCESS);
  EXPECT_EQ(b4->nBitsPerPixel, 24);
  EXPECT_EQ(Rv_GetPixelColor(b4.get(), 0, 0), RV_RGB(0xAA, 0x55, 0xCC));

  // 10-10-10 at 32 bits: the top 8 bits of each field, opaque without an alpha mask.
  Dib d10(1, 1, 32, BI_BITFIELDS);
  d10.masks({0x3FF00000, 0xFFC00, 0x3FF});
  const uint32_t pixel = (0x3FCu << 20) | (0x004u << 10) | 0x201u;
  std::memcpy(d10.pixels.data(), &pixel, 4);
  rvtest::Bitmap b10;
  ASSERT_EQ(d10.read(b10.get()), SUCCESS);
  int32_t alpha = 0;
  EXPECT_EQ(Rv_IntGetPixelColor(b10.get(), 0, 0, &alpha), RV_RGB(0xFF, 0x01, 0x80));
  EXPECT_EQ(alpha, 255);
}

TEST(Dib, AllZeroAlphaComesBackOpaqueAndAnyOtherAlphaStays) {
  // Plain, and through masks with an alpha mask: whatever gives the alpha.
  for (bool masked : {false, true}) {
    for (uint8_t a : {0, 7}) {
      Dib d(2, 2, 32, masked ? BI_BITFIELDS : BI_RGB);
      if (masked) {
        d.header.biSize = 56;
        d.masks({0xFF0000, 0xFF00, 0xFF, 0x0F000000});  // a 4-bit alpha field
      }
      for (size_t i = 0; i < d.pixels.size(); ++i) d.pixels[i] = static_cast<uint8_t>(i % 4 == 3 ? 0 : i);
      d.pixels[7] = a;
      rvtest::Bitmap b;
      ASSERT_EQ(d.read(b.get()), SUCCESS);
      const auto rows = all_rows(b.get());
      EXPECT_EQ(rows[3], a == 0 ? 255 : 0) << masked;
      EXPECT_EQ(rows[7], a == 0 ? 255 : masked ? 0x77 : a) << masked;
      EXPECT_EQ(rows[4], 4) << masked;
    }
  }
}

TEST(Dib, CoreHeaderTopDownAndSetUpOnly) {
  // A 12-byte header with 3-byte entries: bottom-up, default resolution.
  std::vector<uint8_t> core = {12, 0, 0, 0, 2, 0, 1, 0, 1, 0, 1, 0, 10, 20, 30, 40, 50, 60, 0x40, 0, 0, 0};
  rvtest::Bitmap c;
  ASSERT_EQ(Rv_DIBPTRToRuvo(c.get(), RV_BITMAPRECORD_SIZE, core.data()), SUCCESS);
  EXPECT_EQ(c->nViewPerspective, VIEW_BOTTOM_LEFT);
  EXPECT_EQ(c->nXResolution, Rv_GetDefaultXResolution());
  EXPECT_EQ(Rv_GetPixelColor(c.get(), 0, 1), RV_RGB(60, 50, 40));
  EXPECT_EQ(Rv_GetPixelColor(c.get(), 0, 0), RV_RGB(30, 20, 10));

  // A top-down header gives view 1; without pixels only the fields are set.
  Dib d(4, -3, 8);
  d.header.biClrUsed = 5;
  d.header.biYPelsPerMeter = 11811;
  d.table.assign(20, 9);
  rvtest::Bitmap b;
  const auto front = d.front();
  ASSERT_EQ(Rv_ConvertFromDIB(b.get(), RV_BITMAPRECORD_SIZE, front.data(), nullptr), SUCCESS);
  EXPECT_EQ(b->nWidth, 4);
  EXPECT_EQ(b->nHeight, 3);
  EXPECT_EQ(b->nColors, 5);
  EXPECT_EQ(b->nYResolution, 300);
  EXPECT_EQ(b->nViewPerspective, VIEW_TOP_LEFT);
  EXPECT_FALSE(b->uFlags & BITMAPFLAG_ALLOCATED);
  EXPECT_EQ(b->pPalette, nullptr);
}

TEST(Dib, HeadersThatLieGiveTheirStatusAndLeaveNothingAllocated) {
  struct Case {
    const char *what;
    std::function<void(Dib &)> bend;
    int32_t status;
  };
  const uint32_t mjpg = RV_FOURCC('M', 'J', 'P', 'G');
  const Case cases[] = {
      {"as made", [](Dib &) {}, SUCCESS},
      {"pixels cut short", [](Dib &d) { d.pixels.pop_back(); }, ERROR_DIB_INVALID},
      {"table cut short", [](Dib &d) { d.table.pop_back(); }, ERROR_DIB_INVALID},
      {"header of 20 bytes", [](Dib &d) { d.header.biSize = 20; }, ERROR_DIB_INVALID},
      {"header longer than the block", [](Dib &d) { d.header.biSize = 400; }, ERROR_DIB_INVALID},
      {"257 colours at 8 bits", [](Dib &d) { d.header.biClrUsed = 257; }, ERROR_DIB_INVALID},
      {"3 colours at 1 bit", [](Dib &d) { d.header.biBitCount = 1; d.header.biClrUsed = 3; }, ERROR_DIB_INVALID},
      {"no width", [](Dib &d) { d.header.biWidth = 0; }, ERROR_INVALID_PARAMETER},
      {"negative width", [](Dib &d) { d.header.biWidth = -4; }, ERROR_INVALID_PARAMETER},
      {"no height", [](Dib &d) { d.header.biHeight = 0; }, ERROR_INVALID_PARAMETER},
      {"height without a size", [](Dib &d) { d.header.biHeight = INT32_MIN; }, ERROR_INVALID_PARAMETER},
      {"line beyond 32 bits", [](Dib &d) { d.header.biWidth = 0x7FFFFFFF; d.header.biBitCount = 32; d.header.biClrUsed = 0; }, ERROR_DIB_INVALID},
      {"many rows, few bytes", [](Dib &d) { d.header.biHeight = 0x7FFFFFFF; }, ERROR_DIB_INVALID},
      {"two planes", [](Dib &d) { d.header.biPlanes = 2; }, ERROR_FEATURE_NOT_SUPPORTED},
      {"2 bits", [](Dib &d) { d.header.biBitCount = 2; }, ERROR_FEATURE_NOT_SUPPORTED},
      {"0 bits", [](Dib &d) { d.header.biBitCount = 0; }, ERROR_FEATURE_NOT_SUPPORTED},
      {"run lengths", [](Dib &d) { d.header.biCompression = 1; }, ERROR_FEATURE_NOT_SUPPORTED},
      {"bit fields at 8 bits", [](Dib &d) { d.header.biCompression = BI_BITFIELDS; }, ERROR_FEATURE_NOT_SUPPORTED},
      {"overlapping masks",
       [](Dib &d) {
         d.header.biBitCount = 16;
         d.header.biCompression = BI_BITFIELDS;
         d.header.biClrUsed = 0;
         d.table.clear();
         d.masks({0xFC00, 0x7E0, 0x1F});
       },
       ERROR_DIB_INVALID},
      {"a compressed frame", [mjpg](Dib &d) { d.header.biCompression = mjpg; }, ERROR_LIBRARY_MISSING_356},
      {"YVU9 of width 8",
       [](Dib &d) { d.header.biCompression = RV_FOURCC('Y', 'V', 'U', '9'); d.header.biBitCount = 9; },
       ERROR_FEATURE_NOT_SUPPORTED},
  };
  for (const Case &c : cases) {
    Dib d(8, 3, 8);
    d.header.biClrUsed = 2;
    d.table.assign(8, 0x80);
    c.bend(d);
    rvtest::Bitmap b;
    EXPECT_EQ(d.read(b.get()), c.status) << c.what;
    EXPECT_EQ(b->uFlags & BITMAPFLAG_ALLOCATED, c.status == SUCCESS ? BITMAPFLAG_ALLOCATED : 0u) << c.what;
  }
  rvtest::Bitmap b;
  Dib d(8, 3, 8);
  const auto front = d.front();
  EXPECT_EQ(Rv_ConvertFromDIB(nullptr, RV_BITMAPRECORD_SIZE, front.data(), nullptr), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_ConvertFromDIB(b.get(), 176, front.data(), nullptr), ERROR_INVALID_STRUCT_SIZE);
  EXPECT_EQ(Rv_ConvertFromDIB(b.get(), RV_BITMAPRECORD_SIZE, nullptr, nullptr), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Rv_DIBPTRToRuvo(b.get(), RV_BITMAPRECORD_SIZE, nullptr), ERROR_INVALID_IMAGE);
  EXPECT_EQ(Rv_DIBPTRToRuvo(nullptr, RV_BITMAPRECORD_SIZE, front.data()), ERROR_INVALID_IMAGE);
}

TEST(Dib, YuvFramesReadTopDownAndMustHaveTheirSize) {
  // I420 of 4 x 4: black above, white below; studio-range mid chroma.
  Dib d(4, 4, 12, RV_FOURCC('I', '4', '2', '0'));
  d.pixels.assign(16, 16);
  std::fill(d.pixels.begin() + 8, d.pixels.end(), 235);
  d.pixels.resize(24, 128);
  rvtest::Bitmap b;
  ASSERT_EQ(d.read(b.get()), SUCCESS);
  EXPECT_EQ(b->nBitsPerPixel, 24);
  EXPECT_EQ(b->nViewPerspective, VIEW_TOP_LEFT);  // rows run the other way from a DIB's
  EXPECT_EQ(Rv_GetPixelColor(b.get(), 0, 0), RV_RGB(0, 0, 0));
  EXPECT_EQ(Rv_GetPixelColor(b.get(), 3, 3), RV_RGB(255, 255, 255));

  d.header.biSizeImage = 23;  // the header's own claim bounds the reads
  const auto front = d.front();
  rvtest::Bitmap c;
  EXPECT_EQ(Rv_ConvertFromDIB(c.get(), RV_BITMAPRECORD_SIZE, front.data(), d.pixels.data()),
            ERROR_SIZE_YUV_BUFFER_INCORRECT);
  d.header.biSizeImage = 0;
  d.pixels.pop_back();
  EXPECT_EQ(d.read(c.get()), ERROR_SIZE_YUV_BUFFER_INCORRECT);
}

TEST(Dib, FailedAllocationsLeaveNothingBehind) {
  rvtest::Bitmap src;
  ASSERT_TRUE(rvtest::make(src.get(), 9, 4, 3));
  rvtest::fill_random(src.get(), 3);
  const auto before = all_rows(src.get());
  uint32_t size = 0;
  auto *dib = static_cast<uint8_t *>(Rv_ConvertToDIBPTR(src.get(), RV_BITMAPRECORD_SIZE, &size));
  ASSERT_NE(dib, nullptr);
  const std::vector<uint8_t> packed(dib, dib + size);
  Rv_LocalFree(dib);
  for (int64_t n = 0;; ++n) {
    rvtest::Bitmap b;
    rv::fault::fail_after(n);
    void *out = Rv_ConvertToDIBPTR(src.get(), RV_BITMAPRECORD_SIZE, nullptr);
    const int32_t status = Rv_DIBPTRToRuvo(b.get(), RV_BITMAPRECORD_SIZE, packed.data());
    const bool fired = rv::fault::fired();
    rv::fault::fail_after(-1);
    Rv_LocalFree(out);
    if (!fired) {
      EXPECT_NE(out, nullptr);
      EXPECT_EQ(status, SUCCESS);
      break;
    }
    if (status != SUCCESS) {
      EXPECT_FALSE(b->uFlags & BITMAPFLAG_ALLOCATED);
    }
  }
  EXPECT_EQ(all_rows(src.get()), before);
}

}  // namespace
