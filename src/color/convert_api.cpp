// The exported forms of buffer conversion, and the small helpers that go with
// it: buffer sizes, palette maps and the padding of gray fields.
#include <cstring>

#include "color/channels.h"
#include "color/convert.h"
#include "color/palette.h"
#include "internal/pixels.h"

int32_t Rv_IntConvertBuffer(void *pBuffer, int32_t nWidth, int32_t nBitsPerPixelSrc,
                            int32_t nBitsPerPixelDst, int32_t nOrderSrc, int32_t nOrderDst,
                            const RGBQUAD *pPaletteSrc, const RGBQUAD *pPaletteDst,
                            const RGBQUAD16 *pLUT16, uint32_t uFlags, int32_t nLowBit,
                            int32_t nHighBit, COLORREF crTransparent,
                            const MATCHTREE *pUserMatchTable) noexcept {
  rv::color::ConvertArgs args;
  args.src_bits = nBitsPerPixelSrc;
  args.dst_bits = nBitsPerPixelDst;
  args.src_order = nOrderSrc;
  args.dst_order = nOrderDst;
  args.src_palette = pPaletteSrc;
  args.dst_palette = pPaletteDst;
  args.lut16 = pLUT16;
  args.flags = uFlags;
  args.low_bit = nLowBit;
  args.high_bit = nHighBit;
  args.transparent = crTransparent;
  args.match = pUserMatchTable;
  return rv::color::convert_buffer(pBuffer, nWidth, args);
}

int32_t Rv_ConvertBufferExt3(void *pBuffer, int32_t nWidth, int32_t nBitsPerPixelSrc,
                             int32_t nBitsPerPixelDst, int32_t nOrderSrc, int32_t nOrderDst,
                             const RGBQUAD *pPaletteSrc, const RGBQUAD *pPaletteDst,
                             const RGBQUAD16 *pLUT16, uint32_t /*uLUT16Length*/, uint32_t uFlags,
                             int32_t nLowBit, int32_t nHighBit, COLORREF crTransparent) noexcept {
  return Rv_IntConvertBuffer(pBuffer, nWidth, nBitsPerPixelSrc, nBitsPerPixelDst, nOrderSrc,
                             nOrderDst, pPaletteSrc, pPaletteDst, pLUT16, uFlags, nLowBit, nHighBit,
                             crTransparent, nullptr);
}

int32_t Rv_ConvertBufferExt2(void *pBuffer, int32_t nWidth, int32_t nBitsPerPixelSrc,
                             int32_t nBitsPerPixelDst, int32_t nOrderSrc, int32_t nOrderDst,
                             const RGBQUAD *pPaletteSrc, const RGBQUAD *pPaletteDst,
                             const RGBQUAD16 *pLUT16, uint32_t uLUT16Length, uint32_t uFlags,
                             int32_t nLowBit, int32_t nHighBit) noexcept {
  return Rv_ConvertBufferExt3(pBuffer, nWidth, nBitsPerPixelSrc, nBitsPerPixelDst, nOrderSrc,
                              nOrderDst, pPaletteSrc, pPaletteDst, pLUT16, uLUT16Length, uFlags,
                              nLowBit, nHighBit, 0);
}

int32_t Rv_ConvertBufferExt(void *pBuffer, int32_t nWidth, int32_t nBitsPerPixelSrc,
                            int32_t nBitsPerPixelDst, int32_t nOrderSrc, int32_t nOrderDst,
                            const RGBQUAD *pPaletteSrc, const RGBQUAD *pPaletteDst, uint32_t uFlags,
                            int32_t nLowBit, int32_t nHighBit) noexcept {
  return Rv_ConvertBufferExt3(pBuffer, nWidth, nBitsPerPixelSrc, nBitsPerPixelDst, nOrderSrc,
                              nOrderDst, pPaletteSrc, pPaletteDst, nullptr, 0, uFlags, nLowBit,
                              nHighBit, 0);
}

int32_t Rv_ConvertBuffer(void *pBuffer, int32_t nWidth, int32_t nBitsPerPixelSrc,
                         int32_t nBitsPerPixelDst, int32_t nOrderSrc, int32_t nOrderDst,
                         const RGBQUAD *pPaletteSrc, const RGBQUAD *pPaletteDst) noexcept {
  const uint32_t flags = (nOrderSrc == ORDER_GRAY ? CONVERT_SRC_GRAY : 0u) |
                         (nOrderDst == ORDER_GRAY ? CONVERT_DST_GRAY : 0u);
  return Rv_ConvertBufferExt3(pBuffer, nWidth, nBitsPerPixelSrc, nBitsPerPixelDst, nOrderSrc,
                              nOrderDst, pPaletteSrc, pPaletteDst, nullptr, 0, flags, -1, -1, 0);
}

uint32_t Rv_CalcConvertSize(uint32_t uWidthSrc, int32_t nBitsPerPixelSrc, uint32_t uWidthDst,
                            int32_t nBitsPerPixelDst) noexcept {
  const int32_t src_bits = nBitsPerPixelSrc == 0 ? 8 : nBitsPerPixelSrc;
  const int32_t dst_bits = nBitsPerPixelDst == 0 ? 8 : nBitsPerPixelDst;
  auto line = [](uint32_t width, int32_t bits) {
    return static_cast<uint32_t>(rv::px::bytes_per_line(static_cast<int32_t>(width), bits));
  };
  const uint32_t sizes[3] = {line(uWidthSrc, src_bits), line(uWidthDst, dst_bits),
                             line(uWidthDst, src_bits)};
  uint32_t size = 0;
  for (uint32_t s : sizes) size = s > size ? s : size;
  return size;
}

int32_t Rv_IntMapPalette(const RGBQUAD *pPaletteSrc, int32_t nSrc, const RGBQUAD *pPaletteDst,
                         int32_t nDst, uint8_t *pTable) noexcept {
  if (pPaletteSrc == nullptr && pPaletteDst == nullptr) return TRUE;
  if (pTable == nullptr) return FALSE;
  const int32_t count = nSrc < 0 ? 0 : (nSrc > 256 ? 256 : nSrc);
  if (pPaletteSrc != nullptr && pPaletteDst != nullptr && nDst >= count &&
      std::memcmp(pPaletteSrc, pPaletteDst, sizeof(RGBQUAD) * static_cast<size_t>(count)) == 0) {
    for (int32_t i = 0; i < count; ++i) pTable[i] = static_cast<uint8_t>(i);
    return TRUE;
  }
  bool identity = true;
  for (int32_t i = 0; i < count; ++i) {
    int32_t index;
    if (pPaletteSrc == nullptr) {
      index = rv::color::find_palette_index(pPaletteDst, nDst, i, i, i);
    } else {
      const RGBQUAD &e = pPaletteSrc[i];
      index = pPaletteDst == nullptr
                  ? static_cast<int32_t>(rv::channels::gray(e.rgbRed, e.rgbGreen, e.rgbBlue))
                  : rv::color::find_palette_index(pPaletteDst, nDst, e.rgbRed, e.rgbGreen, e.rgbBlue);
    }
    pTable[i] = static_cast<uint8_t>(index);
    identity = identity && pTable[i] == i;
  }
  return identity ? TRUE : FALSE;
}

int32_t Rv_PadPixelData(void *pData, int32_t nBitsPerPixel, int32_t nCount, int32_t nHighBit,
                        int32_t nLowBit, int32_t nPad) noexcept {
  if (pData == nullptr || nBitsPerPixel != 16) return ERROR_INVALID_PARAMETER;
  // A high bit above 15 becomes 1, not 15: the rule as it stands.
  const int32_t high = nHighBit < 0 ? 0 : (nHighBit > 15 ? 1 : nHighBit);
  int32_t low = nLowBit > high - 1 ? high - 1 : nLowBit;
  if (low < 0) low = 0;
  if (high == 15 && low == 0) return SUCCESS;
  const int32_t levels = 1 << (high - low + 1);
  const int32_t pad = (levels >> 2) < nPad ? (levels >> 2) : nPad;
  if (pad <= 0) return SUCCESS;
  const uint32_t lo = low < 1 ? 0 : static_cast<uint32_t>(pad) << low;
  const uint32_t hi = ((1u << (high + 1)) - 1) - (high < 15 ? static_cast<uint32_t>(pad) : 0);
  const uint32_t mask = static_cast<uint32_t>(levels - 1) << low;
  auto *words = static_cast<uint8_t *>(pData);
  for (int32_t i = 0; i < nCount; ++i) {
    uint8_t *q = words + 2 * static_cast<size_t>(i);
    const uint32_t word = rv::channels::load16(q);
    const uint32_t field = word & mask;
    uint32_t kept = field;
    if (field < lo) kept = lo;
    if (field > hi) kept = hi;
    if (kept != field) rv::channels::store16(q, (word & ~mask) | (kept & mask));
  }
  return SUCCESS;
}
