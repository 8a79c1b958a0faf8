// Flip, reverse and rotation of a 4000 x 3000 24-bit picture and of a
// 2480 x 3508 1-bit page, in conventional memory. Bytes per second count the
// source picture once per operation, so that the ratio to the memory copy of
// the same bytes (BM_MemoryCopy_4000x3000x3) reads as the cost of the turn.
#include <benchmark/benchmark.h>

#include <cstring>
#include <random>

#include "bench_common.h"
#include "internal/simd.h"
#include "ruvokit/rvkrn.h"

namespace {

constexpr int32_t kPageWidth = 2480;
constexpr int32_t kPageHeight = 3508;

// A picture of random bytes, and a copy of them for the turns that must
// start from the same picture each time.
struct Picture {
  BITMAPRECORD bitmap{};
  std::vector<uint8_t> original;
  Picture(int32_t width, int32_t height, int32_t bits) {
    Rv_InitBitmap(&bitmap, RV_BITMAPRECORD_SIZE, width, height, bits);
    Rv_AllocateBitmap(&bitmap, BITMAPMEM_CONVENTIONAL);
    bitmap.nViewPerspective = VIEW_TOP_LEFT;
    original.resize(static_cast<size_t>(bitmap.nBytesPerLine) * static_cast<size_t>(height));
    std::mt19937 gen(7);
    for (auto &b : original) b = static_cast<uint8_t>(gen());
    std::memcpy(bitmap.pData, original.data(), original.size());
  }
  ~Picture() { Rv_FreeBitmap(&bitmap); }
  int64_t bytes() const { return static_cast<int64_t>(original.size()); }
};

// An operation that leaves the picture's size as it was (or brings it back
// every other time), run on the same picture again and again.
template <class Op>
void run_in_place(benchmark::State &state, int32_t width, int32_t height, int32_t bits, Op op) {
  Picture p(width, height, bits);
  for (auto _ : state) {
    op(&p.bitmap);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * p.bytes());
}

// An operation that grows the picture: each run starts from a new copy,
// made outside the timing.
template <class Op>
void run_from_copy(benchmark::State &state, int32_t width, int32_t height, int32_t bits, Op op) {
  Picture master(width, height, bits);
  for (auto _ : state) {
    state.PauseTiming();
    BITMAPRECORD b{};
    Rv_InitBitmap(&b, RV_BITMAPRECORD_SIZE, width, height, bits);
    Rv_AllocateBitmap(&b, BITMAPMEM_CONVENTIONAL);
    b.nViewPerspective = VIEW_TOP_LEFT;
    std::memcpy(b.pData, master.original.data(), master.original.size());
    state.ResumeTiming();
    op(&b);
    benchmark::ClobberMemory();
    state.PauseTiming();
    Rv_FreeBitmap(&b);
    state.ResumeTiming();
  }
  state.SetBytesProcessed(state.iterations() * master.bytes());
}

int32_t turn(BITMAPRECORD *b, int32_t angle, uint32_t flags) { return Rv_RotateBitmap(b, angle, flags, 0); }

void BM_Rotate90_4000x3000x24(benchmark::State &state) {
  run_in_place(state, rvbench::kWidth, rvbench::kHeight, 24, [](BITMAPRECORD *b) { turn(b, 9000, ROTATEFLAG_RESIZE); });
}
// The transpose alone, between buffers that stay: what the quarter turn costs
// without making the new bitmap's memory; with vectors, and without.
void BM_RotateBuffer90_4000x3000x24(benchmark::State &state) {
  rv::simd::ScopedLevel level(state.range(0) ? rv::simd::detected() : rv::simd::Level::Plain);
  Picture p(rvbench::kWidth, rvbench::kHeight, 24);
  std::vector<uint8_t> out(p.original.size());
  for (auto _ : state) {
    Rv_RotateBuffer90(p.original.data(), out.data(), TRUE, rvbench::kWidth, rvbench::kHeight, 24);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * p.bytes());
}
void BM_RotateBuffer90_2480x3508x1(benchmark::State &state) {
  Picture p(kPageWidth, kPageHeight, 1);
  std::vector<uint8_t> out(static_cast<size_t>(Rv_IntColToByte(1, kPageHeight + 31) / 4 * 4) * kPageWidth);
  for (auto _ : state) {
    Rv_RotateBuffer90(p.original.data(), out.data(), TRUE, kPageWidth, kPageHeight, 1);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * p.bytes());
}
void BM_Rotate180_4000x3000x24(benchmark::State &state) {
  run_in_place(state, rvbench::kWidth, rvbench::kHeight, 24, [](BITMAPRECORD *b) { turn(b, 18000, 0); });
}
void BM_Rotate270_4000x3000x24(benchmark::State &state) {
  run_in_place(state, rvbench::kWidth, rvbench::kHeight, 24, [](BITMAPRECORD *b) { turn(b, 27000, ROTATEFLAG_RESIZE); });
}
void BM_Rotate17_5Nearest_4000x3000x24(benchmark::State &state) {
  run_from_copy(state, rvbench::kWidth, rvbench::kHeight, 24, [](BITMAPRECORD *b) { turn(b, 1750, ROTATEFLAG_RESIZE); });
}
void BM_Rotate17_5Linear_4000x3000x24(benchmark::State &state) {
  run_from_copy(state, rvbench::kWidth, rvbench::kHeight, 24,
                [](BITMAPRECORD *b) { turn(b, 1750, ROTATEFLAG_RESIZE | ROTATEFLAG_LINEAR); });
}
void BM_Rotate17_5Cubic_4000x3000x24(benchmark::State &state) {
  run_from_copy(state, rvbench::kWidth, rvbench::kHeight, 24,
                [](BITMAPRECORD *b) { turn(b, 1750, ROTATEFLAG_RESIZE | ROTATEFLAG_CUBIC); });
}
void BM_Flip_4000x3000x24(benchmark::State &state) {
  run_in_place(state, rvbench::kWidth, rvbench::kHeight, 24, [](BITMAPRECORD *b) { Rv_IntFlipBitmap(b); });
}
void BM_Reverse_4000x3000x24(benchmark::State &state) {
  run_in_place(state, rvbench::kWidth, rvbench::kHeight, 24, [](BITMAPRECORD *b) { Rv_IntReverseBitmap(b); });
}
void BM_Rotate90_2480x3508x1(benchmark::State &state) {
  run_in_place(state, kPageWidth, kPageHeight, 1, [](BITMAPRECORD *b) { turn(b, 9000, ROTATEFLAG_RESIZE); });
}
void BM_Flip_2480x3508x1(benchmark::State &state) {
  run_in_place(state, kPageWidth, kPageHeight, 1, [](BITMAPRECORD *b) { Rv_IntFlipBitmap(b); });
}
void BM_Reverse_2480x3508x1(benchmark::State &state) {
  run_in_place(state, kPageWidth, kPageHeight, 1, [](BITMAPRECORD *b) { Rv_IntReverseBitmap(b); });
}
void BM_Rotate1_5Nearest_2480x3508x1(benchmark::State &state) {
  run_from_copy(state, kPageWidth, kPageHeight, 1, [](BITMAPRECORD *b) { turn(b, 150, ROTATEFLAG_RESIZE); });
}

}  // namespace

BENCHMARK(BM_Rotate90_4000x3000x24)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RotateBuffer90_4000x3000x24)->Arg(1)->Arg(0)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RotateBuffer90_2480x3508x1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Rotate180_4000x3000x24)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Rotate270_4000x3000x24)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Rotate17_5Nearest_4000x3000x24)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Rotate17_5Linear_4000x3000x24)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Rotate17_5Cubic_4000x3000x24)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Flip_4000x3000x24)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Reverse_4000x3000x24)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Rotate90_2480x3508x1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Flip_2480x3508x1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Reverse_2480x3508x1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Rotate1_5Nearest_2480x3508x1)->Unit(benchmark::kMillisecond);
