// Row access over a 4000 x 3000 24-bit bitmap in conventional memory: the
// path every operation takes for its pixels. Compare with the memory copy.
#include <benchmark/benchmark.h>

#include <vector>

#include "bench_common.h"
#include "ruvokit/rvkrn.h"

namespace {

struct Picture {
  BITMAPRECORD bitmap{};
  Picture() {
    Rv_InitBitmap(&bitmap, RV_BITMAPRECORD_SIZE, rvbench::kWidth, rvbench::kHeight, 24);
    Rv_AllocateBitmap(&bitmap, BITMAPMEM_CONVENTIONAL);
  }
  ~Picture() { Rv_FreeBitmap(&bitmap); }
};

void BM_GetBitmapRow_4000x3000x24(benchmark::State &state) {
  Picture p;
  const auto bytes = static_cast<uint32_t>(p.bitmap.nBytesPerLine);
  std::vector<uint8_t> rows(static_cast<size_t>(bytes) * rvbench::kHeight);
  for (auto _ : state) {
    for (int32_t y = 0; y < rvbench::kHeight; ++y) {
      Rv_GetBitmapRow(&p.bitmap, rows.data() + static_cast<size_t>(y) * bytes, y, bytes);
    }
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * bytes * rvbench::kHeight);
}
BENCHMARK(BM_GetBitmapRow_4000x3000x24)->Unit(benchmark::kMillisecond);

void BM_PutBitmapRow_4000x3000x24(benchmark::State &state) {
  Picture p;
  const auto bytes = static_cast<uint32_t>(p.bitmap.nBytesPerLine);
  std::vector<uint8_t> rows(static_cast<size_t>(bytes) * rvbench::kHeight, 0x3C);
  for (auto _ : state) {
    for (int32_t y = 0; y < rvbench::kHeight; ++y) {
      Rv_PutBitmapRow(&p.bitmap, rows.data() + static_cast<size_t>(y) * bytes, y, bytes);
    }
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * bytes * rvbench::kHeight);
}
BENCHMARK(BM_PutBitmapRow_4000x3000x24)->Unit(benchmark::kMillisecond);

}  // namespace
