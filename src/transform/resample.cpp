// The interpolating resizers of whole bitmaps. Each source row that is needed
// is read, widened in place to a work format the destination decides, and
// brought to the destination's width by the horizontal stage; the vertical
// stage combines those rows; the output step takes each finished work row to
// the destination's depth. The fixed-point engine draws ramps where a
// dimension grows and takes exact area averages where it shrinks; the spline
// engine fits a cubic spline where a dimension grows.
#include <cstring>
#include <new>

#include "color/convert.h"
#include "internal/memory.h"
#include "internal/progress.h"
#include "internal/record.h"
#include "internal/simd.h"
#include "ruvokit/rvcolor.h"
#include "transform/resample_fast.h"
#include "transform/resample_rows.h"
#include "transform/resize_internal.h"

namespace rv::resample {

namespace {

enum class ElemKind : uint8_t { U8, U16, S16, U32 };

// The work format: what a work pixel is, and how a finished row reaches the
// destination.
struct Format {
  int32_t work_bits;
  int32_t work_order;
  ElemKind elem;
  int32_t channels;
  bool dither;       // a palette destination reached by dithering
  int32_t out_bits;  // the destination depth the conversion writes (0: plain gray)
};

bool is_gray_ramp(BITMAPRECORD *b) noexcept {
  return b->nBitsPerPixel == 8 && b->nOrder != ORDER_GRAY && Rv_IntIsGrayScaleBitmap(b, 0) == GRAY_RAMP;
}

Format choose_format(const BITMAPRECORD *src, BITMAPRECORD *dst, Engine engine) noexcept {
  const int32_t bits = dst->nBitsPerPixel;
  if (dst->nOrder == ORDER_GRAY) {
    // The spline engine has no 32-bit element: it works such a row as four
    // channels of 8 bits.
    if (bits == 32) {
      return engine == Engine::Fixed ? Format{32, ORDER_GRAY, ElemKind::U32, 1, false, 32}
                                     : Format{32, ORDER_BGR, ElemKind::U8, 4, false, 32};
    }
    const bool is_signed = (src->uFlags & BITMAPFLAG_SIGNED) != 0;
    return {16, ORDER_GRAY, is_signed ? ElemKind::S16 : ElemKind::U16, 1, false, bits};
  }
  switch (bits) {
    case 8:
      if (is_gray_ramp(dst)) return {24, ORDER_BGR, ElemKind::U8, 3, false, 0};
      return {24, ORDER_BGR, ElemKind::U8, 3, true, 8};
    case 16:
    case 32:
      if (dst->nOrder == ORDER_BGR565) return {24, ORDER_BGR, ElemKind::U8, 3, false, bits};
      return {32, ORDER_BGR, ElemKind::U8, 4, false, bits};
    case 24: return {24, ORDER_BGR, ElemKind::U8, 3, false, 24};
    case 48: return {48, ORDER_BGR, ElemKind::U16, 3, false, 48};
    case 64: return {64, ORDER_BGR, ElemKind::U16, 4, false, 64};
    default: return {24, ORDER_BGR, ElemKind::U8, 3, true, bits};
  }
}

// How a source row is widened to the work format: through its palette (an
// 8-bit gray ramp reads as plain gray), and a gray source by its bit range,
// with its lookup table applied on the way to 24-bit work.
color::ConvertArgs read_args(BITMAPRECORD *src, const Format &f) noexcept {
  color::ConvertArgs a;
  a.src_bits = is_gray_ramp(src) ? 0 : src->nBitsPerPixel;
  a.dst_bits = f.work_bits;
  a.src_order = src->nOrder;
  a.dst_order = f.work_order;
  if (src->nBitsPerPixel <= 8 && src->nOrder != ORDER_GRAY) a.src_palette = src->pPalette;
  if (src->nOrder == ORDER_GRAY) {
    a.flags = CONVERT_SRC_GRAY | CONVERT_DST_GRAY | CONVERT_SRC_BITRANGE;
    a.low_bit = src->nLowBit;
    a.high_bit = src->nHighBit;
    if (f.work_bits == 24) {
      if (src->pLUT != nullptr) {
        a.src_palette = src->pLUT;
      } else if (rv::has_lut16_fields(src)) {
        a.lut16 = src->pLUT16;
      }
    }
  }
  return a;
}

// How a finished work row reaches the destination: a gray destination takes
// the source's bit range as its field.
color::ConvertArgs write_args(const BITMAPRECORD *src, const BITMAPRECORD *dst, const Format &f) noexcept {
  color::ConvertArgs a;
  a.src_bits = f.work_bits;
  a.dst_bits = f.out_bits;
  a.src_order = f.work_order;
  a.dst_order = dst->nOrder;
  a.dst_palette = dst->pPalette;
  if (dst->nOrder == ORDER_GRAY) {
    a.flags = CONVERT_SRC_GRAY | CONVERT_DST_GRAY | CONVERT_DST_BITRANGE;
    if (src->uFlags & BITMAPFLAG_SIGNED) a.flags |= CONVERT_SIGNED;
    a.low_bit = src->nLowBit;
    a.high_bit = src->nHighBit;
  }
  return a;
}

// The dither step of palette destinations other than an 8-bit gray ramp: a
// run on a scratch record of the destination's size, 24-bit blue-green-red
// (the work rows) with Floyd-Steinberg, into the destination's palette,
// colours and depth.
class PaletteDither {
 public:
  PaletteDither() = default;
  PaletteDither(const PaletteDither &) = delete;
  PaletteDither &operator=(const PaletteDither &) = delete;
  ~PaletteDither() { stop(); }

  int32_t start(const BITMAPRECORD *dst) noexcept {
    int32_t status = Rv_InitBitmapWithCallbacks(&scratch_, RV_BITMAPRECORD_SIZE, dst->nWidth, dst->nHeight, 24,
                                                 nullptr);
    if (status != SUCCESS) return status;
    scratch_.nOrder = ORDER_BGR;
    scratch_.nDitheringMethod = FLOYD_STEIN_DITHERING;
    status = Rv_StartDitheringExt(&scratch_, dst->pPalette, static_cast<uint32_t>(dst->nColors), dst->nBitsPerPixel,
                                  nullptr);
    running_ = status == SUCCESS;
    return status;
  }
  // The work row is blue-green-red, which the run reads without changing.
  int32_t line(const uint8_t *work, uint8_t *out) noexcept {
    return Rv_DitherLine(&scratch_, const_cast<uint8_t *>(work), out);
  }
  void stop() noexcept {
    if (running_) Rv_StopDithering(&scratch_);
    running_ = false;
  }

 private:
  BITMAPRECORD scratch_{};
  bool running_ = false;
};

// The heap blocks of one call, freed together.
class Blocks {
 public:
  Blocks() = default;
  Blocks(const Blocks &) = delete;
  Blocks &operator=(const Blocks &) = delete;
  ~Blocks() {
    for (int32_t i = 0; i < count_; ++i) free_block(blocks_[i]);
  }
  // A zeroed block with room for vector loads past its end; null on failure.
  void *get(size_t bytes) noexcept {
    if (count_ == kMax) return nullptr;
    void *p = alloc_block(bytes + 64, true);
    if (p != nullptr) blocks_[count_++] = p;
    return p;
  }
  template <class T>
  T *array(size_t count) noexcept {
    return static_cast<T *>(get(count * sizeof(T)));
  }

 private:
  static constexpr int32_t kMax = 16;
  void *blocks_[kMax] = {};
  int32_t count_ = 0;
};

// Everything a call shares across its stages.
struct Job {
  BITMAPRECORD *src = nullptr;
  BITMAPRECORD *dst = nullptr;
  int64_t sw = 0, sh = 0, dw = 0, dh = 0;
  Format fmt{};
  Engine engine = Engine::Fixed;
  int32_t fraction_bits = 12;
  bool alpha = false;     // colours weigh by alpha in the area forms
  bool identity = false;  // the work row is the destination row
  int64_t xq = 0, xr = 0, yq = 0, yr = 0;
  color::Converter *reader = nullptr;
  color::Converter *writer = nullptr;
  PaletteDither dither;
  RowProgress *progress = nullptr;
  uint8_t *read_buf = nullptr;
  uint8_t *out_buf = nullptr;
  Blocks blocks;
  int64_t row_elems = 0;  // elements of a work row of the destination's width
  size_t row_bytes = 0;   // bytes of a work row buffer
};

template <class T>
class Runner {
 public:
  explicit Runner(Job &job) noexcept : j_(job), count_(job.dw * job.fmt.channels) {}

  int32_t run() noexcept {
    if (!allocate()) return ERROR_NO_MEMORY;
    if (j_.dh < j_.sh) return vertical_area();
    return j_.engine == Engine::Spline ? vertical_spline() : vertical_ramp();
  }

 private:
  using S = typename Elem<T>::Sum;

  T *row() noexcept { return static_cast<T *>(j_.blocks.get(j_.row_bytes)); }

  bool allocate() noexcept {
    for (T *&r : rows_) {
      r = row();
      if (r == nullptr) return false;
    }
    const size_t n = static_cast<size_t>(count_);
    if (j_.engine == Engine::Spline && j_.dw >= j_.sw) {
      const size_t m = static_cast<size_t>(j_.sw * j_.fmt.channels);
      d_ = j_.blocks.array<float>(m);
      u_ = j_.blocks.array<float>(m);
      plan_ = j_.blocks.array<SplineStep>(static_cast<size_t>(j_.dw));
      if (d_ == nullptr || u_ == nullptr || plan_ == nullptr) return false;
      spline_plan(j_.sw, j_.dw, plan_);
    }
    if (j_.dw < j_.sw && j_.sw % j_.dw != 0 && std::is_same_v<T, uint8_t> &&
        static_cast<uint64_t>(j_.sw / j_.dw + 2) << j_.fraction_bits < fast::kMaxWindow32) {
      area_ = j_.blocks.array<AreaStep>(static_cast<size_t>(j_.dw));
      if (area_ == nullptr) return false;
      area_plan(j_.sw, j_.dw, j_.fraction_bits, area_);
    }
    if (j_.dh < j_.sh) {
      acc_ = j_.blocks.array<S>(n);
      weight_ = j_.blocks.array<S>(static_cast<size_t>(j_.dw));
      return acc_ != nullptr && weight_ != nullptr;
    }
    if (j_.engine == Engine::Spline) {
      for (float *&f : floats_) {
        f = j_.blocks.array<float>(n);
        if (f == nullptr) return false;
      }
      return true;
    }
    for (int64_t *&a : ramp_) {
      a = j_.blocks.array<int64_t>(n);
      if (a == nullptr) return false;
    }
    return true;
  }

  // Source row `y` (kept inside the picture) through the horizontal stage.
  int32_t horizontal(int64_t y, T *out) noexcept {
    if (y >= j_.sh) y = j_.sh - 1;
    int32_t status = resize::read_row(j_.src, j_.read_buf, static_cast<int32_t>(y));
    if (status == SUCCESS) status = j_.reader->convert(j_.read_buf, static_cast<int32_t>(j_.sw));
    if (status != SUCCESS) return status;
    const T *in = reinterpret_cast<const T *>(j_.read_buf);
    switch (j_.fmt.channels) {
      case 1: stage<1>(in, out); break;
      case 3: stage<3>(in, out); break;
      default: stage<4>(in, out); break;
    }
    return SUCCESS;
  }

  template <int C>
  void stage(const T *in, T *out) noexcept {
    if (j_.dw < j_.sw) {
      if (!fast::h_area(in, j_.sw, out, j_.dw, C, area_, static_cast<uint32_t>(1) << j_.fraction_bits, j_.alpha)) {
        h_area<T, C>(in, j_.sw, out, j_.dw, j_.fraction_bits, j_.alpha);
      }
    } else if (j_.engine == Engine::Spline) {
      if (!fast::spline_derivatives<T, C>(in, j_.sw, d_, u_)) spline_derivatives<T, C>(in, j_.sw, d_, u_);
      // The row's own copy of U is free now: the vector form keeps the row
      // there as floats.
      if (!fast::h_spline(in, j_.sw, out, j_.dw, C, d_, u_, plan_)) h_spline<T, C>(in, out, j_.dw, d_, plan_);
    } else if (!fast::h_ramp(in, j_.sw, out, j_.dw, C, j_.xq, j_.xr)) {
      h_ramp<T, C>(in, j_.sw, out, j_.dw, j_.xq, j_.xr);
    }
  }

  // The output step for the next destination row, then the row's progress.
  int32_t emit(const T *work) noexcept {
    const auto *bytes = reinterpret_cast<const uint8_t *>(work);
    int32_t status = SUCCESS;
    if (j_.fmt.dither) {
      status = j_.dither.line(bytes, j_.out_buf);
      bytes = j_.out_buf;
    } else if (!j_.identity) {
      std::memcpy(j_.out_buf, work, static_cast<size_t>(count_) * sizeof(T));
      status = j_.writer->convert(j_.out_buf, static_cast<int32_t>(j_.dw));
      bytes = j_.out_buf;
    }
    if (status == SUCCESS) status = resize::write_row(j_.dst, bytes, static_cast<int32_t>(y_++));
    if (status == SUCCESS) status = j_.progress->row_done();
    return status;
  }

  // Growing heights by the fixed-point engine: a ramp over whole rows from
  // each source row to the next, by the same scheme as along a row.
  int32_t vertical_ramp() noexcept {
    T *cur = rows_[0], *next = rows_[1], *out = rows_[2];
    int32_t status = horizontal(0, cur);
    int64_t accum = 0, src_row = 0;
    bool first = true;
    while (status == SUCCESS && y_ < j_.dh) {
      accum += j_.yr;
      int64_t n = j_.yq;
      if (accum >= j_.sh) {
        ++n;
        accum -= j_.sh;
      }
      if (src_row + 1 < j_.sh) {
        status = horizontal(src_row + 1, next);
        if (status != SUCCESS) break;
      } else {
        std::memcpy(next, cur, static_cast<size_t>(count_) * sizeof(T));
      }
      if (first) {
        for (int64_t k = n / 2; k > 0 && y_ < j_.dh && status == SUCCESS; --k) status = emit(cur);
        first = false;
      }
      if (status == SUCCESS && y_ < j_.dh) status = emit(cur);
      if (status == SUCCESS && n > 1 && y_ < j_.dh) status = ramp_rows(cur, next, out, n);
      std::swap(cur, next);
      if (src_row + 1 < j_.sh) ++src_row;
    }
    return status;
  }

  // The n - 1 rows between two source rows: each adds the floored quotients
  // of the differences to the row before, and carries its rests.
  int32_t ramp_rows(const T *cur, const T *next, T *out, int64_t n) noexcept {
    int32_t status = SUCCESS;
    if (fast::ramp_ready(cur, n)) {
      for (int64_t j = 1; j < n && y_ < j_.dh && status == SUCCESS; ++j) {
        fast::ramp_row(cur, next, out, count_, j, n);
        status = emit(out);
      }
      return status;
    }
    int64_t *q = ramp_[0], *r = ramp_[1], *rest = ramp_[2];
    for (int64_t i = 0; i < count_; ++i) {
      const int64_t d = static_cast<int64_t>(next[i]) - static_cast<int64_t>(cur[i]);
      q[i] = d / n;
      r[i] = d % n;
      if (r[i] < 0) {
        r[i] += n;
        --q[i];
      }
      rest[i] = 0;
    }
    std::memcpy(out, cur, static_cast<size_t>(count_) * sizeof(T));
    for (int64_t j = 1; j < n && y_ < j_.dh && status == SUCCESS; ++j) {
      for (int64_t i = 0; i < count_; ++i) {
        int64_t v = static_cast<int64_t>(out[i]) + q[i];
        rest[i] += r[i];
        if (rest[i] >= n) {
          rest[i] -= n;
          ++v;
        }
        out[i] = static_cast<T>(v);
      }
      status = emit(out);
    }
    return status;
  }

  // Shrinking heights: whole multiples average their blocks of rows, others
  // weigh the first row of each window by the top weight, the rows inside
  // fully and the row at its end by the bottom weight. The bottom row of one
  // window is the top row of the next and is read once.
  int32_t vertical_area() noexcept {
    int32_t status = SUCCESS;
    T *top = rows_[0], *bottom = rows_[1], *tmp = rows_[2], *out = rows_[3];
    if (j_.sh % j_.dh == 0) {
      const int64_t k = j_.sh / j_.dh;
      const BoxDivisor box(static_cast<uint64_t>(k));
      for (int64_t y = 0; y < j_.dh && status == SUCCESS; ++y) {
        clear_sums();
        for (int64_t r = y * k; r < (y + 1) * k && status == SUCCESS; ++r) {
          status = horizontal(r, tmp);
          if (status == SUCCESS) add_row(tmp, 1);
        }
        if (status == SUCCESS) {
          finish_box(out, box);
          status = emit(out);
        }
      }
      return status;
    }
    AreaWalk walk(j_.sh, j_.dh, j_.fraction_bits, j_.engine == Engine::Spline, false);
    bool top_ready = false;
    for (int64_t y = 0; y < j_.dh && status == SUCCESS; ++y) {
      if (!top_ready) status = horizontal(walk.first_pixel(), top);
      if (status != SUCCESS) break;
      clear_sums();
      S den = 0;
      add_row(top, walk.wl);
      den += static_cast<S>(walk.wl);
      for (int64_t r = walk.first + 1; r < walk.end && status == SUCCESS; ++r) {
        status = horizontal(r, tmp);
        if (status == SUCCESS) add_row(tmp, walk.F);
        den += static_cast<S>(walk.F);
      }
      const bool has_bottom = walk.has_right();
      if (status == SUCCESS && has_bottom) {
        status = horizontal(walk.end, bottom);
        add_row(bottom, walk.wr);
        den += static_cast<S>(walk.wr);
      }
      if (status != SUCCESS) break;
      finish(out, den);
      status = emit(out);
      walk.advance();
      if (has_bottom) std::swap(top, bottom);
      top_ready = has_bottom;
    }
    return status;
  }

  void clear_sums() noexcept {
    std::memset(acc_, 0, static_cast<size_t>(count_) * sizeof(S));
    std::memset(weight_, 0, static_cast<size_t>(j_.dw) * sizeof(S));
  }

  // Adds a row with weight w. With alpha weighting a colour weighs
  // (alpha + 1) x w, and the weights are summed per pixel.
  void add_row(const T *row, uint64_t w) noexcept {
    if (!j_.alpha) {
      if (fast::add_row(row, acc_, count_, w)) return;
      for (int64_t i = 0; i < count_; ++i) acc_[i] += static_cast<S>(row[i]) * static_cast<S>(w);
      return;
    }
    for (int64_t p = 0; p < j_.dw; ++p) add_pixel<T, 4>(acc_ + 4 * p, weight_[p], row + 4 * p, w, true, 0);
  }

  // Colours by their weight sums (0 where nothing weighed), the rest by `den`
  // or the box divisor.
  template <class Divide>
  void finish_with(T *out, const Divide &divide) noexcept {
    if (!j_.alpha) {
      for (int64_t i = 0; i < count_; ++i) out[i] = Elem<T>::clamp(divide(acc_[i]));
      return;
    }
    for (int64_t p = 0; p < j_.dw; ++p) put_pixel<T, 4>(out + 4 * p, acc_ + 4 * p, weight_[p], true, divide);
  }
  void finish(T *out, S den) noexcept {
    if (!j_.alpha && fast::divide_row(acc_, out, count_, den)) return;
    finish_with(out, [den](S v) { return v / den; });
  }
  void finish_box(T *out, const BoxDivisor &box) noexcept { finish_with(out, box); }

  // Growing heights by the spline: a window of four rows, the second
  // derivatives of the inner two solved with straight outer rows, and t
  // walking from one inner row to the next by the ratio of the heights.
  int32_t vertical_spline() noexcept {
    T *a = rows_[0], *b = rows_[1], *c = rows_[2], *e = rows_[3], *out = rows_[4];
    float *db = floats_[0], *dc = floats_[1], *bf = floats_[2], *cf = floats_[3];
    int32_t status = horizontal(0, a);
    if (status == SUCCESS) std::memcpy(b, a, static_cast<size_t>(count_) * sizeof(T));
    if (status == SUCCESS) status = horizontal(1, c);
    if (status == SUCCESS) status = horizontal(2, e);
    if (status != SUCCESS) return status;
    int64_t next_row = 3;
    window(a, b, c, e);
    const float ratio = static_cast<float>(j_.sh) / static_cast<float>(j_.dh);
    const auto copies = static_cast<int64_t>(0.5f / ratio);
    float t = 0.0f;
    bool first = true;
    while (status == SUCCESS && y_ < j_.dh) {
      const T *row = b;
      if (t > 0.0f) {
        const SplineWeights w(t);
        if (!fast::spline_rows(bf, cf, db, dc, w, out, count_)) spline_rows(bf, cf, db, dc, w, out, count_);
        row = out;
      }
      status = emit(row);
      if (first) {
        for (int64_t k = 0; k < copies && y_ < j_.dh && status == SUCCESS; ++k) status = emit(row);
        first = false;
      }
      t += ratio;
      if (status == SUCCESS && t >= 1.0f) {
        t -= 1.0f;
        T *spare = a;
        a = b;
        b = c;
        c = e;
        e = spare;
        status = horizontal(next_row++, e);
        if (status == SUCCESS) window(a, b, c, e);
      }
    }
    return status;
  }

  void window(const T *a, const T *b, const T *c, const T *e) noexcept {
    float *db = floats_[0], *dc = floats_[1], *bf = floats_[2], *cf = floats_[3];
    if (!fast::spline_window(a, b, c, e, db, dc, bf, cf, count_)) spline_window(a, b, c, e, db, dc, bf, cf, count_);
  }

  Job &j_;
  int64_t count_;
  int64_t y_ = 0;
  T *rows_[5] = {};
  float *d_ = nullptr, *u_ = nullptr;
  SplineStep *plan_ = nullptr;
  AreaStep *area_ = nullptr;  // the windows of a narrowing row that 32-bit sums serve
  float *floats_[4] = {};
  int64_t *ramp_[3] = {};
  S *acc_ = nullptr;
  S *weight_ = nullptr;
};

size_t element_bytes(ElemKind e) noexcept {
  switch (e) {
    case ElemKind::U8: return 1;
    case ElemKind::U32: return 4;
    default: return 2;
  }
}

int32_t run_job(Job &job) noexcept {
  switch (job.fmt.elem) {
    case ElemKind::U8: return Runner<uint8_t>(job).run();
    case ElemKind::U16: return Runner<uint16_t>(job).run();
    case ElemKind::S16: return Runner<int16_t>(job).run();
    default: return Runner<uint32_t>(job).run();
  }
}

}  // namespace

int32_t fill(BITMAPRECORD *src, BITMAPRECORD *dst, uint32_t flags, Engine engine, int32_t fraction_bits) noexcept {
  Job job;
  job.src = src;
  job.dst = dst;
  job.sw = src->nWidth;
  job.sh = src->nHeight;
  job.dw = dst->nWidth;
  job.dh = dst->nHeight;
  if (job.sw < 1 || job.sh < 1 || job.dw < 1 || job.dh < 1) return ERROR_INVALID_IMAGE;
  job.engine = engine;
  job.fraction_bits = fraction_bits;
  job.fmt = choose_format(src, dst, engine);
  job.alpha = (flags & SIZEFLAG_ALPHA_AWARE) && job.fmt.channels == 4;
  job.identity = !job.fmt.dither && job.fmt.out_bits == job.fmt.work_bits && dst->nOrder == job.fmt.work_order &&
                 job.fmt.work_order != ORDER_GRAY;
  // The steps: the larger size by the smaller in each dimension.
  const bool x_enlarge = job.dw >= job.sw, y_enlarge = job.dh >= job.sh;
  job.xq = x_enlarge ? job.dw / job.sw : job.sw / job.dw;
  job.xr = x_enlarge ? job.dw % job.sw : job.sw % job.dw;
  job.yq = y_enlarge ? job.dh / job.sh : job.sh / job.dh;
  job.yr = y_enlarge ? job.dh % job.sh : job.sh % job.dh;

  // Buffers: a source row widened in place, work rows of the destination's
  // width, and the destination row.
  const int64_t pixel_bytes = job.fmt.work_bits / 8;
  job.row_elems = job.dw * job.fmt.channels;
  job.row_bytes = static_cast<size_t>(
      std::max<int64_t>(job.row_elems * static_cast<int64_t>(element_bytes(job.fmt.elem)), dst->nBytesPerLine));
  const auto read_bytes = static_cast<size_t>(std::max<int64_t>(job.sw * pixel_bytes, src->nBytesPerLine));
  const auto out_bytes = static_cast<size_t>(std::max<int64_t>(
      {job.dw * pixel_bytes, dst->nBytesPerLine,
       static_cast<int64_t>(Rv_CalcConvertSize(static_cast<uint32_t>(job.dw), job.fmt.work_bits,
                                               static_cast<uint32_t>(job.dw), job.fmt.out_bits))}));
  job.read_buf = static_cast<uint8_t *>(job.blocks.get(read_bytes));
  job.out_buf = static_cast<uint8_t *>(job.blocks.get(out_bytes));
  void *reader = job.blocks.get(sizeof(color::Converter));
  void *writer = job.blocks.get(sizeof(color::Converter));
  if (job.read_buf == nullptr || job.out_buf == nullptr || reader == nullptr || writer == nullptr) {
    return ERROR_NO_MEMORY;
  }
  job.reader = new (reader) color::Converter();
  job.writer = new (writer) color::Converter();
  int32_t status = job.reader->prepare(read_args(src, job.fmt));
  if (status == SUCCESS && !job.fmt.dither) status = job.writer->prepare(write_args(src, dst, job.fmt));
  if (status == SUCCESS && job.fmt.dither) status = job.dither.start(dst);
  if (status != SUCCESS) return status;

  resize::Access2 access(src, dst);
  status = access.status();
  RowProgress progress(dst->nHeight);
  job.progress = &progress;
  if (status == SUCCESS) status = progress.start();
  if (status == SUCCESS) status = run_job(job);
  if (job.fmt.dither) job.dither.stop();
  return access.finish(status);
}

namespace {

// The Int forms: the fill, then the destination's region scaled from the
// source's size and its overlays resized when they are its own.
int32_t fill_with_extras(BITMAPRECORD *src, BITMAPRECORD *dst, uint32_t struct_size, uint32_t flags, Engine engine,
                         int32_t fraction_bits) noexcept {
  int32_t status = check_record(src, NullRecord::InvalidImage, true);
  if (status == SUCCESS) status = check_record(dst, NullRecord::InvalidImage, true);
  if (status != SUCCESS) return status;
  if (!valid_record_size(struct_size)) return ERROR_INVALID_STRUCT_SIZE;
  status = fill(src, dst, flags, engine, fraction_bits);
  if (status == SUCCESS) status = resize::scale_region_from(dst, src->nWidth, src->nHeight);
  if (status == SUCCESS && dst->hOverlays != src->hOverlays) {
    status = hooks::resize_overlays(dst->hOverlays, src, dst, 0);
  }
  return status;
}

// The in-place forms: a new bitmap sharing the palette, tables, region and
// overlays, filled by the Int form, then put in the old one's place. A gray
// bitmap with a nonlinear table becomes 24-bit, so that the table is applied
// now; the result then has no palette or tables of its own.
int32_t resample_in_place(BITMAPRECORD *b, int32_t width, int32_t height, uint32_t flags, Engine engine,
                          int32_t fraction_bits, bool apply_nonlinear) noexcept {
  int32_t status = check_record(b, NullRecord::InvalidImage, true);
  if (status != SUCCESS) return status;
  if (!Rv_IntResolveTargetSize(&width, &height, b->nWidth, b->nHeight)) return ERROR_INVALID_PARAMETER;
  const bool to_colour = apply_nonlinear && b->nOrder == ORDER_GRAY && (b->uFlags & BITMAPFLAG_LUT_NONLINEAR);
  auto *fresh = alloc_array<BITMAPRECORD>(1, true);
  if (fresh == nullptr) return ERROR_NO_MEMORY;
  status = Rv_DupBitmapNewDim(fresh, b, b->uStructSize, width, height, to_colour ? 24 : b->nBitsPerPixel,
                              DUPFLAG_ALLOCATE | DUPFLAG_LOCK_AS_SOURCE);
  if (status != SUCCESS) {
    free_block(fresh);
    return status;
  }
  if (to_colour) fresh->pPalette = nullptr;
  status = fill_with_extras(b, fresh, fresh->uStructSize, flags, engine, fraction_bits);
  return resize::put_in_place(b, fresh, status);
}

}  // namespace

}  // namespace rv::resample

using rv::resample::Engine;

int32_t Rv_ResampleBitmap(BITMAPRECORD *pBitmap, int32_t nWidth, int32_t nHeight, uint32_t uFlags) noexcept {
  return rv::resample::resample_in_place(pBitmap, nWidth, nHeight, uFlags, Engine::Fixed, 12, true);
}

int32_t Rv_BicubicResampleBitmap(BITMAPRECORD *pBitmap, int32_t nWidth, int32_t nHeight, uint32_t uFlags) noexcept {
  return rv::resample::resample_in_place(pBitmap, nWidth, nHeight, uFlags, Engine::Spline, 12, true);
}

int32_t Rv_IntResampleCoarseBitmap(BITMAPRECORD *pBitmap, int32_t nWidth, int32_t nHeight, uint32_t uFlags) noexcept {
  return rv::resample::resample_in_place(pBitmap, nWidth, nHeight, uFlags, Engine::Fixed, 10, false);
}

int32_t Rv_ResampleBitmapInt(BITMAPRECORD *pSrc, BITMAPRECORD *pDst, uint32_t uStructSize, uint32_t uFlags) noexcept {
  return rv::resample::fill_with_extras(pSrc, pDst, uStructSize, uFlags, Engine::Fixed, 12);
}

int32_t Rv_BicubicResampleBitmapInt(BITMAPRECORD *pSrc, BITMAPRECORD *pDst, uint32_t uStructSize,
                                    uint32_t uFlags) noexcept {
  return rv::resample::fill_with_extras(pSrc, pDst, uStructSize, uFlags, Engine::Spline, 12);
}

int32_t Rv_IntResampleCoarseBitmapInt(BITMAPRECORD *pSrc, BITMAPRECORD *pDst, uint32_t uStructSize,
                                      uint32_t uFlags) noexcept {
  return rv::resample::fill_with_extras(pSrc, pDst, uStructSize, uFlags, Engine::Fixed, 10);
}
