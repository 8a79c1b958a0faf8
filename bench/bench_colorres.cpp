// Colour resolution of a 4000 x 3000 picture: a photo reduced to an
// optimised 256-colour palette with Floyd-Steinberg, and to 1 bit; an 8-bit
// palette bitmap brought to 24 bits. Each iteration makes the whole result
// (storage included) and frees it. Bytes per second count the 24-bit side,
// so the ratio to BM_MemoryCopy_4000x3000x3 reads off directly.
#include <benchmark/benchmark.h>

#include <vector>

#include "bench_common.h"
#include "ruvokit/rvkrn.h"

namespace {

// The picture as a 24-bit bitmap, made once.
BITMAPRECORD *photo() {
  static BITMAPRECORD bitmap = [] {
    BITMAPRECORD b{};
    Rv_CreateBitmap(&b, RV_BITMAPRECORD_SIZE, BITMAPMEM_CONVENTIONAL, rvbench::kWidth, rvbench::kHeight, 24,
                    ORDER_BGR, nullptr, VIEW_TOP_LEFT, nullptr, 0);
    const std::vector<uint8_t> rows = rvbench::picture24();
    const auto stride = static_cast<uint32_t>(3 * rvbench::kWidth);
    for (int y = 0; y < rvbench::kHeight; ++y) {
      Rv_PutBitmapRow(&b, rows.data() + size_t{stride} * static_cast<size_t>(y), y, stride);
    }
    return b;
  }();
  return &bitmap;
}

void resolve_photo(benchmark::State &state, BITMAPRECORD *source, int32_t bits, uint32_t flags) {
  for (auto _ : state) {
    BITMAPRECORD result{};
    if (Rv_ColorResBitmap(source, &result, RV_BITMAPRECORD_SIZE, bits, flags, nullptr, nullptr, 0, nullptr,
                          nullptr) != SUCCESS) {
      state.SkipWithError("colour resolution failed");
      return;
    }
    benchmark::DoNotOptimize(result.pData);
    Rv_FreeBitmap(&result);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * rvbench::kPictureBytes));
}

void BM_ColorRes_24To8_Optimised256_FloydSteinberg(benchmark::State &state) {
  resolve_photo(state, photo(), 8, COLORRES_OPTIMIZED_PALETTE | COLORRES_DITHERING(FLOYD_STEIN_DITHERING));
}
BENCHMARK(BM_ColorRes_24To8_Optimised256_FloydSteinberg)->Unit(benchmark::kMillisecond);

void BM_ColorRes_24To1_FloydSteinberg(benchmark::State &state) {
  resolve_photo(state, photo(), 1, COLORRES_FIXED_PALETTE | COLORRES_DITHERING(FLOYD_STEIN_DITHERING));
}
BENCHMARK(BM_ColorRes_24To1_FloydSteinberg)->Unit(benchmark::kMillisecond);

void BM_ColorRes_8To24(benchmark::State &state) {
  // The photo's own 256-colour form is the palette bitmap.
  static BITMAPRECORD indexed = [] {
    BITMAPRECORD b{};
    Rv_ColorResBitmap(photo(), &b, RV_BITMAPRECORD_SIZE, 8, COLORRES_OPTIMIZED_PALETTE, nullptr, nullptr, 0, nullptr,
                      nullptr);
    return b;
  }();
  resolve_photo(state, &indexed, 24, COLORRES_ORDER_BGR);
}
BENCHMARK(BM_ColorRes_8To24)->Unit(benchmark::kMillisecond);

}  // namespace
