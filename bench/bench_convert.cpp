// Buffer conversion over a 4000 x 3000 picture, row by row in place as the
// library's callers convert. Bytes per second count the source picture, so
// that the ratio to BM_MemoryCopy_4000x3000x3 reads off directly for the
// 24-bit sources. Each pair runs on the fast path (/0) and on the plain path
// (/1).
#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "bench_common.h"
#include "internal/simd.h"
#include "ruvokit/rvkrn.h"

namespace {

struct Pair {
  int32_t src_bits, dst_bits, src_order, dst_order;
  bool palette_dst = false;  // an 8-bit destination with a 256-entry palette
  bool restore = false;      // the search depends on the colours: each row starts afresh
};

size_t picture_bytes(int32_t bits) {
  return (size_t{rvbench::kWidth} * rvbench::kHeight * static_cast<size_t>(bits == 0 ? 8 : bits) + 7) / 8;
}

const RGBQUAD *bench_palette() { return Rv_IntGetFixedPalette(8); }

// The picture in a source format, each row at the stride of the pair.
std::vector<uint8_t> make_source(const Pair &p, size_t stride) {
  std::vector<uint8_t> rows(stride * rvbench::kHeight);
  std::vector<uint8_t> line(Rv_CalcConvertSize(rvbench::kWidth, 24, rvbench::kWidth, 64));
  for (int y = 0; y < rvbench::kHeight; ++y) {
    rvbench::picture_row24(line.data(), y);
    const int32_t bits = p.src_bits;
    if (bits == 8 || bits == 1) {
      Rv_ConvertBuffer(line.data(), rvbench::kWidth, 24, bits, ORDER_BGR, 0, nullptr,
                       bits == 8 ? bench_palette() : nullptr);
    } else if (bits != 24 || p.src_order != ORDER_BGR) {
      Rv_ConvertBuffer(line.data(), rvbench::kWidth, 24, bits, ORDER_BGR, p.src_order, nullptr, nullptr);
    }
    std::memcpy(rows.data() + stride * static_cast<size_t>(y), line.data(),
                Rv_CalcConvertSize(rvbench::kWidth, bits, rvbench::kWidth, bits));
  }
  return rows;
}

void convert_picture(benchmark::State &state, Pair p) {
  rv::simd::ScopedLevel level(state.range(0) != 0 ? rv::simd::Level::Plain : rv::simd::detected());
  const size_t stride = Rv_CalcConvertSize(rvbench::kWidth, p.src_bits, rvbench::kWidth, p.dst_bits);
  const size_t src_line = Rv_CalcConvertSize(rvbench::kWidth, p.src_bits, rvbench::kWidth, p.src_bits);
  const std::vector<uint8_t> pristine = make_source(p, stride);
  std::vector<uint8_t> work = pristine;
  const RGBQUAD *src_palette = p.src_bits <= 8 && p.src_bits > 0 && p.src_bits == 8 ? bench_palette() : nullptr;
  const RGBQUAD *dst_palette = p.palette_dst ? bench_palette() : nullptr;
  for (auto _ : state) {
    for (int y = 0; y < rvbench::kHeight; ++y) {
      uint8_t *row = work.data() + stride * static_cast<size_t>(y);
      if (p.restore) std::memcpy(row, pristine.data() + stride * static_cast<size_t>(y), src_line);
      Rv_ConvertBuffer(row, rvbench::kWidth, p.src_bits, p.dst_bits, p.src_order, p.dst_order,
                       src_palette, dst_palette);
    }
    benchmark::DoNotOptimize(work.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                          static_cast<int64_t>(picture_bytes(p.src_bits)));
}

#define RV_CONVERT_BENCH(name, ...)                                                       \
  BENCHMARK_CAPTURE(convert_picture, name, Pair{__VA_ARGS__})->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)

RV_CONVERT_BENCH(BM_Convert_24_to_32, 24, 32, ORDER_BGR, ORDER_BGR);
RV_CONVERT_BENCH(BM_Convert_32_to_24, 32, 24, ORDER_BGR, ORDER_BGR);
RV_CONVERT_BENCH(BM_Convert_24_BGR_to_RGB, 24, 24, ORDER_BGR, ORDER_RGB);
RV_CONVERT_BENCH(BM_Convert_24_to_16_555, 24, 16, ORDER_BGR, ORDER_BGR);
RV_CONVERT_BENCH(BM_Convert_24_to_16_565, 24, 16, ORDER_BGR, ORDER_BGR565);
RV_CONVERT_BENCH(BM_Convert_16_to_24, 16, 24, ORDER_BGR, ORDER_BGR);
RV_CONVERT_BENCH(BM_Convert_24_to_gray8, 24, 8, ORDER_BGR, ORDER_GRAY);
RV_CONVERT_BENCH(BM_Convert_pal8_to_24, 8, 24, 0, ORDER_BGR);
RV_CONVERT_BENCH(BM_Convert_24_to_48, 24, 48, ORDER_BGR, ORDER_BGR);
RV_CONVERT_BENCH(BM_Convert_48_to_24, 48, 24, ORDER_BGR, ORDER_BGR);
RV_CONVERT_BENCH(BM_Convert_1_to_24, 1, 24, 0, ORDER_BGR);
RV_CONVERT_BENCH(BM_Convert_24_to_pal8, 24, 8, ORDER_BGR, 0, true, true);

}  // namespace
