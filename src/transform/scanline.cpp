// The row kernels of resizing: samples picked, never blended, from a source
// row into a destination row by a whole step and a Bresenham fraction, and
// the settling of a zero target dimension from the aspect ratio.
#include <cstring>

#include "internal/pixels.h"
#include "ruvokit/rvtransform.h"

namespace {

// Copies whole samples of one depth: sample `from` of the source to place `to`
// of the destination. Below 8 bits and at 12 only the sample's own bits of
// the destination change, so that a kernel may work inside one buffer.
template <int Bits>
struct Sample {
  const uint8_t *src;
  uint8_t *dst;
  void operator()(uint64_t to, uint64_t from) const noexcept {
    if constexpr (Bits < 8) {
      rv::px::put_packed(dst, Bits, to, rv::px::get_packed(src, Bits, from));
    } else if constexpr (Bits == 12) {
      rv::px::put12(dst, to, rv::px::get12(src, from));
    } else {
      // Read whole before written, as in one buffer the two may overlap.
      constexpr size_t kBytes = Bits / 8;
      uint8_t sample[kBytes];
      std::memcpy(sample, src + from * kBytes, kBytes);
      std::memcpy(dst + to * kBytes, sample, kBytes);
    }
  }
};

struct Walk {
  uint32_t position, step, accum, fraction, count, denominator;
  bool enlarge;
};

// Forward: sample, add the fraction, move by the step (not when enlarging)
// and by one more when the accumulator reached the denominator.
template <class Copy>
void walk_forward(const Copy &copy, const Walk &w) noexcept {
  uint32_t pos = w.position, acc = w.accum;
  for (uint32_t k = 0; k < w.count; ++k) {
    copy(k, pos);
    acc += w.fraction;
    if (!w.enlarge) pos += w.step;
    if (acc >= w.denominator) {
      ++pos;
      acc -= w.denominator;
    }
  }
}

// Backward, for a row that grows inside its buffer: from the end position
// the fraction is taken off per output, and the source steps back each time
// the accumulator goes below 0. An output never lands on a source sample that
// is still to be read.
template <class Copy>
void walk_backward(const Copy &copy, const Walk &w) noexcept {
  if (w.denominator == 0 || w.count == 0) return;
  const uint64_t total = static_cast<uint64_t>(w.fraction) * w.count + w.accum;
  int64_t pos = static_cast<int64_t>(w.position) + static_cast<int64_t>(total / w.denominator);
  int64_t acc = static_cast<int64_t>(total % w.denominator);
  for (uint32_t k = w.count; k-- > 0;) {
    acc -= w.fraction;
    if (acc < 0) {
      acc += w.denominator;
      if (pos > 0) --pos;
    }
    copy(k, static_cast<uint64_t>(pos));
  }
}

template <int Bits, class Walker>
void run(Walker walker, const uint8_t *src, uint8_t *dst, const Walk &w) noexcept {
  walker(Sample<Bits>{src, dst}, w);
}

// Dispatches on the depth; false for a depth the bitmaps don't have.
template <class Walker>
bool dispatch(Walker walker, int32_t bits, const uint8_t *src, uint8_t *dst, const Walk &w) noexcept {
  switch (bits) {
    case 1: run<1>(walker, src, dst, w); return true;
    case 2: run<2>(walker, src, dst, w); return true;
    case 3: run<3>(walker, src, dst, w); return true;
    case 4: run<4>(walker, src, dst, w); return true;
    case 5: run<5>(walker, src, dst, w); return true;
    case 6: run<6>(walker, src, dst, w); return true;
    case 7: run<7>(walker, src, dst, w); return true;
    case 8: run<8>(walker, src, dst, w); return true;
    case 12: run<12>(walker, src, dst, w); return true;
    case 16: run<16>(walker, src, dst, w); return true;
    case 24: run<24>(walker, src, dst, w); return true;
    case 32: run<32>(walker, src, dst, w); return true;
    case 48: run<48>(walker, src, dst, w); return true;
    case 64: run<64>(walker, src, dst, w); return true;
    default: return false;
  }
}

struct Forward {
  template <class Copy>
  void operator()(const Copy &copy, const Walk &w) const noexcept { walk_forward(copy, w); }
};
struct Backward {
  template <class Copy>
  void operator()(const Copy &copy, const Walk &w) const noexcept { walk_backward(copy, w); }
};

// The double-precision product truncated to 32 bits as the processor does
// it: a value outside the range comes out as the lowest number.
int32_t truncate32(double v) noexcept {
  if (!(v > -2147483649.0 && v < 2147483648.0)) return INT32_MIN;
  return static_cast<int32_t>(v);
}

}  // namespace

void Rv_GetResizedScanLine(int32_t nBitsPerPixel, int32_t nDstBytes, uint32_t nPosition, uint32_t nStep,
                           uint32_t nAccum, uint32_t nFraction, const uint8_t *pSrc, uint8_t *pDst,
                           uint32_t nCount, uint32_t nDenominator, uint32_t bEnlarge) noexcept {
  if (pSrc == nullptr || pDst == nullptr || !rv::px::is_valid_depth(nBitsPerPixel)) return;
  // Packed samples are merged into a cleared row (a nibble is written whole).
  if ((nBitsPerPixel < 8 && nBitsPerPixel != 4) || nBitsPerPixel == 12) {
    if (nDstBytes > 0) std::memset(pDst, 0, static_cast<size_t>(nDstBytes));
  }
  const Walk w{nPosition, nStep, nAccum, nFraction, nCount, nDenominator, bEnlarge != 0};
  dispatch(Forward{}, nBitsPerPixel, pSrc, pDst, w);
}

void Rv_ReverseGetResizedScanLine(int32_t nBitsPerPixel, int32_t nDstBytes, uint32_t nPosition, uint32_t nStep,
                                  uint32_t nAccum, uint32_t nFraction, const uint8_t *pSrc, uint8_t *pDst,
                                  uint32_t nCount, uint32_t nDenominator, uint32_t bEnlarge) noexcept {
  if (pSrc == nullptr || pDst == nullptr || !rv::px::is_valid_depth(nBitsPerPixel)) return;
  const Walk w{nPosition, nStep, nAccum, nFraction, nCount, nDenominator, bEnlarge != 0};
  if (!w.enlarge) {
    dispatch(Forward{}, nBitsPerPixel, pSrc, pDst, w);
    return;
  }
  // At depth 1 the last byte written starts cleared when no source bit lives
  // in it; every other byte is written whole by the walk.
  if (nBitsPerPixel == 1 && nCount > 0 && nDenominator != 0) {
    const uint32_t last = (nCount - 1) / 8;
    if (nDstBytes >= 0 && last >= static_cast<uint32_t>(nDstBytes)) pDst[last] = 0;
  }
  dispatch(Backward{}, nBitsPerPixel, pSrc, pDst, w);
}

int32_t Rv_IntResolveTargetSize(int32_t *pnNewWidth, int32_t *pnNewHeight, int32_t nOldWidth,
                                int32_t nOldHeight) noexcept {
  if (pnNewWidth == nullptr || pnNewHeight == nullptr) return 0;
  const int32_t w = *pnNewWidth, h = *pnNewHeight;
  if (w < 0 || h < 0) return 0;
  if (w != 0 && h != 0) return 1;
  if (w == 0 && h == 0) return 0;
  // Which product is rounded depends on how the given dimension compares with
  // the other old one; the result is truncated.
  if (w != 0) {
    int32_t height = 0;
    if (nOldWidth != 0) {
      height = w > nOldHeight ? truncate32((static_cast<double>(w) / nOldWidth) * nOldHeight)
                              : truncate32(w * (static_cast<double>(nOldHeight) / nOldWidth));
    }
    *pnNewHeight = height;
    return height > 0 ? 1 : 0;
  }
  int32_t width = 0;
  if (nOldHeight != 0) {
    width = h > nOldWidth ? truncate32((static_cast<double>(h) / nOldHeight) * nOldWidth)
                          : truncate32(h * (static_cast<double>(nOldWidth) / nOldHeight));
  }
  *pnNewWidth = width;
  return width > 0 ? 1 : 0;
}
