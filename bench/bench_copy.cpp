// The yardstick: a plain memory copy of a 4000 x 3000 x 3 picture. Every
// other benchmark reports bytes per second so that its ratio to this one can
// be read off.
#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "bench_common.h"

static void BM_MemoryCopy_4000x3000x3(benchmark::State &state) {
  std::vector<uint8_t> src(rvbench::kPictureBytes, 0x5A), dst(rvbench::kPictureBytes);
  for (auto _ : state) {
    std::memcpy(dst.data(), src.data(), src.size());
    benchmark::DoNotOptimize(dst.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * rvbench::kPictureBytes);
}
BENCHMARK(BM_MemoryCopy_4000x3000x3)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
