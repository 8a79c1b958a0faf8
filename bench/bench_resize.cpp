// Resizing a 4000 x 3000 24-bit picture to a quarter (1000 x 750) and to
// double (8000 x 6000) with each engine, into a destination allocated once.
// Bytes per second count the destination picture, so that the ratio to
// BM_MemoryCopy_4000x3000x3 reads off the cost over writing the output once.
// Each runs on the fast path (/0) and on the plain path (/1).
#include <benchmark/benchmark.h>

#include <vector>

#include "bench_common.h"
#include "internal/simd.h"
#include "ruvokit/rvkrn.h"

namespace {

BITMAPRECORD *source_picture() {
  static BITMAPRECORD *picture = [] {
    auto *b = new BITMAPRECORD{};
    Rv_InitBitmap(b, RV_BITMAPRECORD_SIZE, rvbench::kWidth, rvbench::kHeight, 24);
    Rv_AllocateBitmap(b, BITMAPMEM_CONVENTIONAL);
    std::vector<uint8_t> row(static_cast<size_t>(b->nBytesPerLine));
    for (int y = 0; y < rvbench::kHeight; ++y) {
      rvbench::picture_row24(row.data(), y);
      Rv_PutBitmapRow(b, row.data(), y, static_cast<uint32_t>(row.size()));
    }
    return b;
  }();
  return picture;
}

void resize_picture(benchmark::State &state, int32_t width, int32_t height, uint32_t flags) {
  rv::simd::ScopedLevel level(state.range(0) != 0 ? rv::simd::Level::Plain : rv::simd::detected());
  BITMAPRECORD *src = source_picture();
  BITMAPRECORD dst{};
  Rv_InitBitmap(&dst, RV_BITMAPRECORD_SIZE, width, height, 24);
  Rv_AllocateBitmap(&dst, BITMAPMEM_CONVENTIONAL);
  Rv_FillBitmap(&dst, 0);  // the pages are the system's until first touched: touch them untimed
  for (auto _ : state) {
    if (Rv_IntResizeBitmap(src, &dst, flags) != SUCCESS) state.SkipWithError("resize failed");
    benchmark::DoNotOptimize(dst.pData);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * width * height * 3);
  Rv_FreeBitmap(&dst);
}

#define RV_RESIZE_BENCH(name, w, h, flags) \
  BENCHMARK_CAPTURE(resize_picture, name, w, h, flags)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)

RV_RESIZE_BENCH(BM_Resize_to_1000x750_Nearest, 1000, 750, SIZEFLAG_NEAREST);
RV_RESIZE_BENCH(BM_Resize_to_1000x750_Linear, 1000, 750, SIZEFLAG_LINEAR);
RV_RESIZE_BENCH(BM_Resize_to_1000x750_Cubic, 1000, 750, SIZEFLAG_CUBIC);
// A reduction that is no whole multiple: partial weights at both ends of
// every window.
RV_RESIZE_BENCH(BM_Resize_to_1500x1125_Linear, 1500, 1125, SIZEFLAG_LINEAR);
RV_RESIZE_BENCH(BM_Resize_to_8000x6000_Nearest, 8000, 6000, SIZEFLAG_NEAREST);
RV_RESIZE_BENCH(BM_Resize_to_8000x6000_Linear, 8000, 6000, SIZEFLAG_LINEAR);
RV_RESIZE_BENCH(BM_Resize_to_8000x6000_Cubic, 8000, 6000, SIZEFLAG_CUBIC);

}  // namespace
