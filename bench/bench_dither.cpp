// Dithering and the optimised palette of a 4000 x 3000 24-bit picture. Bytes
// per second count the source picture, so the ratio to
// BM_MemoryCopy_4000x3000x3 reads off directly.
#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "bench_common.h"
#include "ruvokit/rvkrn.h"

namespace {

const std::vector<uint8_t> &picture() {
  static const std::vector<uint8_t> rows = rvbench::picture24();
  return rows;
}

// 256 colours that no arithmetic rule covers: every pixel goes through the
// nearest-colour cache.
std::vector<RGBQUAD> scattered_palette() {
  std::mt19937 gen(42);
  std::vector<RGBQUAD> palette(256);
  for (RGBQUAD &q : palette) {
    q = RGBQUAD{static_cast<uint8_t>(gen()), static_cast<uint8_t>(gen()), static_cast<uint8_t>(gen()), 0};
  }
  return palette;
}

// One run over the whole picture per iteration: start, every row, stop.
void dither_picture(benchmark::State &state, int32_t method, const RGBQUAD *palette, uint32_t colors) {
  const std::vector<uint8_t> &rows = picture();
  BITMAPRECORD source{};
  source.uStructSize = RV_BITMAPRECORD_SIZE;
  source.nWidth = rvbench::kWidth;
  source.nHeight = rvbench::kHeight;
  source.nBitsPerPixel = 24;
  source.nOrder = ORDER_BGR;
  source.nDitheringMethod = method;
  std::vector<uint8_t> dst(rvbench::kWidth);
  const size_t stride = size_t{3} * rvbench::kWidth;
  for (auto _ : state) {
    if (Rv_StartDithering(&source, palette, colors) != SUCCESS) {
      state.SkipWithError("start failed");
      return;
    }
    for (int y = 0; y < rvbench::kHeight; ++y) {
      Rv_DitherLine(&source, const_cast<uint8_t *>(rows.data()) + stride * static_cast<size_t>(y), dst.data());
    }
    Rv_StopDithering(&source);
    benchmark::DoNotOptimize(dst.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * rvbench::kPictureBytes));
}

void BM_DitherFloydSteinberg_Fixed256(benchmark::State &state) {
  dither_picture(state, FLOYD_STEIN_DITHERING, nullptr, 256);
}
BENCHMARK(BM_DitherFloydSteinberg_Fixed256)->Unit(benchmark::kMillisecond);

void BM_DitherFloydSteinberg_Palette256(benchmark::State &state) {
  const std::vector<RGBQUAD> palette = scattered_palette();
  dither_picture(state, FLOYD_STEIN_DITHERING, palette.data(), 256);
}
BENCHMARK(BM_DitherFloydSteinberg_Palette256)->Unit(benchmark::kMillisecond);

void BM_DitherFloydSteinberg_1Bit(benchmark::State &state) {
  dither_picture(state, FLOYD_STEIN_DITHERING, nullptr, 2);
}
BENCHMARK(BM_DitherFloydSteinberg_1Bit)->Unit(benchmark::kMillisecond);

void BM_DitherOrdered_Fixed16(benchmark::State &state) {
  dither_picture(state, ORDERED_DITHERING, nullptr, 16);
}
BENCHMARK(BM_DitherOrdered_Fixed16)->Unit(benchmark::kMillisecond);

void BM_OptimisedPalette256(benchmark::State &state) {
  BITMAPRECORD bitmap{};
  Rv_CreateBitmap(&bitmap, RV_BITMAPRECORD_SIZE, BITMAPMEM_CONVENTIONAL, rvbench::kWidth, rvbench::kHeight,
                  24, ORDER_BGR, nullptr, VIEW_TOP_LEFT, nullptr, 0);
  const std::vector<uint8_t> &rows = picture();
  const auto stride = static_cast<uint32_t>(3 * rvbench::kWidth);
  for (int y = 0; y < rvbench::kHeight; ++y) {
    Rv_PutBitmapRow(&bitmap, rows.data() + size_t{stride} * static_cast<size_t>(y), y, stride);
  }
  RGBQUAD palette[256];
  for (auto _ : state) {
    uint32_t colors = 256, *match = nullptr;
    int32_t reduced = 0;
    Rv_CreateBitmapOptPal(&bitmap, palette, &colors, 256, nullptr, 0, &match, &reduced, FALSE);
    Rv_FreeUserMatchTable(match);
    benchmark::DoNotOptimize(palette);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * rvbench::kPictureBytes));
  Rv_FreeBitmap(&bitmap);
}
BENCHMARK(BM_OptimisedPalette256)->Unit(benchmark::kMillisecond);

}  // namespace
