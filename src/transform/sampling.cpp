// Row kernels of rotation. Every output pixel takes the source pixel nearest
// to its walk position, or corrects it towards its neighbours (linear), or
// interpolates a 4 by 4 block with a local spline (cubic); a position outside
// the source gives the fill pixel, and so does a neighbour outside it. The
// walk adds the table cosine and sine at each pixel: two additions, no
// multiplication. Depths below 8 always take the nearest pixel.
#include "transform/sampling.h"

#include <cstring>

#include "color/channels.h"
#include "internal/pixels.h"
#include "ruvokit/rvbitmap.h"

namespace rv::xform {

namespace {

// --- where pixels come from ----------------------------------------------------------------
// Rows in memory.
class Memory {
 public:
  explicit Memory(const SourcePixels &s) noexcept : base_(s.base), bytes_per_line_(s.bytes_per_line), bits_(s.bits) {}
  uint32_t value(int32_t x, int32_t y) noexcept { return px::get_pixel(row(y), bits_, static_cast<uint32_t>(x)); }
  uint32_t bit(int32_t x, int32_t y) noexcept { return (row(y)[x >> 3] >> (7 - (x & 7))) & 1u; }
  template <size_t kBytes>
  const uint8_t *bytes(int32_t x, int32_t y) noexcept {
    return row(y) + static_cast<size_t>(x) * kBytes;
  }
  int32_t status() const noexcept { return SUCCESS; }

 private:
  const uint8_t *row(int32_t y) const noexcept { return base_ + bytes_per_line_ * static_cast<uint32_t>(y); }
  const uint8_t *base_;
  size_t bytes_per_line_;
  int32_t bits_;
};

// The one-pixel read of the row functions, for storage that isn't flat
// memory. A pointer it gives holds until the next read.
class Reader {
 public:
  explicit Reader(const SourcePixels &s) noexcept
      : b_(s.bitmap), bits_(s.bits), row_bytes_(static_cast<uint32_t>(s.bitmap->nBytesPerLine)) {}
  uint32_t bit(int32_t x, int32_t y) noexcept { return value(x, y); }
  uint32_t value(int32_t x, int32_t y) noexcept {
    read(x, y, 2);  // a packed pixel may run into the next byte
    if (bits_ == 12) {
      const uint32_t word = buffer_[0] | (static_cast<uint32_t>(buffer_[1]) << 8);
      return (x & 1) ? word >> 4 : word & 0xFFFu;
    }
    return px::get_bits(buffer_, static_cast<uint64_t>(x) * static_cast<uint32_t>(bits_) % 8, bits_);
  }
  template <size_t kBytes>
  const uint8_t *bytes(int32_t x, int32_t y) noexcept {
    read(x, y, kBytes);
    return buffer_;
  }
  int32_t status() const noexcept { return status_; }

 private:
  void read(int32_t x, int32_t y, uint32_t n) noexcept {
    const auto byte = static_cast<uint32_t>(px::col_to_byte(bits_, x));
    if (byte + n > row_bytes_) n = row_bytes_ - byte;
    const int32_t got = Rv_GetBitmapRowCol(b_, buffer_, y, x, n);
    if (got < 0 && status_ == SUCCESS) status_ = got;
  }
  BITMAPRECORD *b_;
  int32_t bits_;
  uint32_t row_bytes_;
  int32_t status_ = SUCCESS;
  uint8_t buffer_[8] = {};
};

struct Walker {
  Axis x, y;
  int32_t cos, sin;
  int32_t width, height;
  explicit Walker(const RowWalk &w, const SourcePixels &s) noexcept
      : x(w.x), y(w.y), cos(w.cos), sin(w.sin), width(s.width), height(s.height) {}
  bool inside() const noexcept { return inside(x.pixel, y.pixel); }
  bool inside(int32_t px, int32_t py) const noexcept {
    return static_cast<uint32_t>(px) < static_cast<uint32_t>(width) &&
           static_cast<uint32_t>(py) < static_cast<uint32_t>(height);
  }
  [[gnu::always_inline]] void next() noexcept {
    x.step(cos);
    y.step(sin);
  }
};

// --- nearest pixel -----------------------------------------------------------------------
// Packed depths and 12 bits, by value.
template <class Src>
void nearest_values(Src &src, Walker w, int32_t bits, int32_t count, uint32_t fill, uint8_t *out) noexcept {
  for (int32_t i = 0; i < count; ++i, w.next()) {
    const uint32_t v = w.inside() ? src.value(w.x.pixel, w.y.pixel) : fill;
    if (bits == 12) {
      px::put12(out, static_cast<uint32_t>(i), v);
    } else {
      px::put_packed(out, bits, static_cast<uint32_t>(i), v);
    }
  }
}

// Depth 1, eight pixels gathered into each byte of the row.
template <class Src>
void nearest_bits(Src &src, Walker w, int32_t count, uint32_t fill, uint8_t *out) noexcept {
  uint32_t byte = 0;
  for (int32_t i = 0; i < count; ++i, w.next()) {
    byte = (byte << 1) | (w.inside() ? src.bit(w.x.pixel, w.y.pixel) : fill);
    if ((i & 7) == 7) {
      out[i >> 3] = static_cast<uint8_t>(byte);
      byte = 0;
    }
  }
  if (count & 7) out[count >> 3] = static_cast<uint8_t>(byte << (8 - (count & 7)));
}

template <size_t kBytes, class Src>
void nearest_bytes(Src &src, Walker w, int32_t count, const uint8_t *fill, uint8_t *out) noexcept {
  for (int32_t i = 0; i < count; ++i, w.next(), out += kBytes) {
    const uint8_t *p = w.inside() ? src.template bytes<kBytes>(w.x.pixel, w.y.pixel) : fill;
    std::memcpy(out, p, kBytes);
  }
}

// --- pixel forms that interpolate: channels, largest value, packing ------------------------
// kBytes 0 is the 12-bit form, read and written by value. Channel 3 of the
// 5-5-5 form carries the top bit of the base pixel, which no sampling mixes.
template <int kChannels_, size_t kBytes_, int64_t kMax_>
struct Form {
  static constexpr int kChannels = kChannels_;
  static constexpr size_t kBytes = kBytes_;
  static constexpr int64_t kMax = kMax_;
};

struct Gray8 : Form<1, 1, 255> {
  static void unpack(const uint8_t *p, int64_t *c) noexcept { c[0] = p[0]; }
  static void pack(const int64_t *c, uint8_t *p) noexcept { p[0] = static_cast<uint8_t>(c[0]); }
};
struct Gray12 : Form<1, 0, 4095> {
  static void unpack_value(uint32_t v, int64_t *c) noexcept { c[0] = v; }
};
struct Gray16 : Form<1, 2, 65535> {
  static void unpack(const uint8_t *p, int64_t *c) noexcept { c[0] = p[0] | (p[1] << 8); }
  static void pack(const int64_t *c, uint8_t *p) noexcept {
    p[0] = static_cast<uint8_t>(c[0]);
    p[1] = static_cast<uint8_t>(c[0] >> 8);
  }
};
struct Gray32 : Form<1, 4, 0xFFFFFFFFll> {
  static void unpack(const uint8_t *p, int64_t *c) noexcept {
    uint32_t v;
    std::memcpy(&v, p, 4);
    c[0] = v;
  }
  static void pack(const int64_t *c, uint8_t *p) noexcept {
    const auto v = static_cast<uint32_t>(c[0]);
    std::memcpy(p, &v, 4);
  }
};
template <int kChannels_>
struct Bytes8 : Form<kChannels_, kChannels_, 255> {
  static void unpack(const uint8_t *p, int64_t *c) noexcept {
    for (int i = 0; i < kChannels_; ++i) c[i] = p[i];
  }
  static void pack(const int64_t *c, uint8_t *p) noexcept {
    for (int i = 0; i < kChannels_; ++i) p[i] = static_cast<uint8_t>(c[i]);
  }
};
template <int kChannels_>
struct Words16 : Form<kChannels_, 2 * kChannels_, 65535> {
  static void unpack(const uint8_t *p, int64_t *c) noexcept {
    for (int i = 0; i < kChannels_; ++i) c[i] = p[2 * i] | (p[2 * i + 1] << 8);
  }
  static void pack(const int64_t *c, uint8_t *p) noexcept {
    for (int i = 0; i < kChannels_; ++i) {
      p[2 * i] = static_cast<uint8_t>(c[i]);
      p[2 * i + 1] = static_cast<uint8_t>(c[i] >> 8);
    }
  }
};
// 16-bit colour, 5-5-5 (top bit apart) or 5-6-5: each field is widened to 8
// bits as the colour module widens it, and cut back to its width.
template <int kGreenBits>
struct Rgb16 : Form<3, 2, 255> {
  static constexpr uint32_t kGreenMask = (1u << kGreenBits) - 1u;
  static void unpack(const uint8_t *p, int64_t *c) noexcept {
    const uint32_t v = p[0] | (p[1] << 8);
    c[0] = channels::widen5(v & 31u);
    c[1] = kGreenBits == 6 ? channels::widen6((v >> 5) & kGreenMask) : channels::widen5((v >> 5) & kGreenMask);
    c[2] = channels::widen5((v >> (5 + kGreenBits)) & 31u);
    c[3] = v & 0x8000u;
  }
  static void pack(const int64_t *c, uint8_t *p) noexcept {
    uint32_t v = (static_cast<uint32_t>(c[0] & 0xFF) >> 3) |
                 ((static_cast<uint32_t>(c[1] & 0xFF) >> (8 - kGreenBits)) << 5) |
                 ((static_cast<uint32_t>(c[2] & 0xFF) >> 3) << (5 + kGreenBits));
    if (kGreenBits == 5) v |= static_cast<uint32_t>(c[3]) & 0x8000u;
    p[0] = static_cast<uint8_t>(v);
    p[1] = static_cast<uint8_t>(v >> 8);
  }
};

template <class F, class Src>
void load(Src &src, int32_t x, int32_t y, int64_t *c) noexcept {
  if constexpr (F::kBytes == 0) {
    F::unpack_value(src.value(x, y), c);
  } else {
    F::unpack(src.template bytes<F::kBytes>(x, y), c);
  }
}

// A pixel, or the fill where (x, y) lies outside the source.
template <class F, class Src>
void load_or_fill(Src &src, const Walker &w, int32_t x, int32_t y, const int64_t *fill, int64_t *c) noexcept {
  if (w.inside(x, y)) {
    load<F>(src, x, y, c);
  } else {
    std::memcpy(c, fill, 4 * sizeof(int64_t));
  }
}

template <class F>
void store(const int64_t *c, uint8_t *out, int32_t i) noexcept {
  if constexpr (F::kBytes == 0) {
    px::put12(out, static_cast<uint32_t>(i), static_cast<uint32_t>(c[0]));
  } else {
    F::pack(c, out + static_cast<size_t>(i) * F::kBytes);
  }
}

// --- linear: the base pixel moved towards the neighbour on each fraction's side -------------
// v -= (v - neighbour) x |fraction| / 16384, truncated towards zero, first
// along x and then, on that result, along y with the base pixel's neighbour.
template <class F>
void lean(int64_t *v, const int64_t *neighbour, int32_t fraction) noexcept {
  const int64_t f = fraction < 0 ? -fraction : fraction;
  for (int i = 0; i < F::kChannels; ++i) v[i] -= ((v[i] - neighbour[i]) * f) / 16384;
}

template <class F, class Src>
void linear_row(Src &src, Walker w, int32_t count, const int64_t *fill, uint8_t *out) noexcept {
  for (int32_t i = 0; i < count; ++i, w.next()) {
    const int32_t x = w.x.pixel, y = w.y.pixel;
    const int32_t fx = w.x.fraction, fy = w.y.fraction;
    if (!w.inside()) {
      store<F>(fill, out, i);
      continue;
    }
    int64_t v[4] = {}, n[4] = {};
    load<F>(src, x, y, v);
    if (fx != 0) {
      load_or_fill<F>(src, w, fx > 0 ? x + 1 : x - 1, y, fill, n);
      lean<F>(v, n, fx);
    }
    if (fy != 0) {
      load_or_fill<F>(src, w, x, fy > 0 ? y + 1 : y - 1, fill, n);
      lean<F>(v, n, fy);
    }
    store<F>(v, out, i);
  }
}

// --- cubic: a local spline through four samples ----------------------------------------------
struct Weights {
  double t, u, wu, wt;
  explicit Weights(double fraction) noexcept
      : t(fraction), u(1.0 - fraction), wu((u * u * u - u) / 6), wt((t * t * t - t) / 6) {}
};

// The spline between p1 and p2 at the weights' fraction, rounded and held to
// 0 to kMax.
int64_t spline(const int64_t *p, const Weights &w, int64_t max) noexcept {
  double d1 = static_cast<double>(p[0] - 2 * p[1] + p[2]) * 1.5;
  const int64_t e = p[3] - 2 * p[2] + p[1];
  double d2 = 0;
  if (e != 0) {
    d2 = (static_cast<double>(6 * e) - d1) * 0.266667;
    d1 = d1 - d2 * 0.25;
  }
  const double v = static_cast<double>(p[2]) * w.t + static_cast<double>(p[1]) * w.u + d1 * w.wu + d2 * w.wt;
  const auto r = static_cast<int64_t>(v + 0.5);
  return r < 0 ? 0 : r > max ? max : r;
}

template <class F, class Src>
void cubic_row(Src &src, Walker w, int32_t count, const int64_t *fill, uint8_t *out) noexcept {
  for (int32_t i = 0; i < count; ++i, w.next()) {
    if (!w.inside()) {
      store<F>(fill, out, i);
      continue;
    }
    // The block starts one before the pixel at or left of (above) the position.
    int32_t x = w.x.pixel, y = w.y.pixel;
    int32_t fx = w.x.fraction, fy = w.y.fraction;
    if (fx < 0) {
      --x;
      fx += 16384;
    }
    if (fy < 0) {
      --y;
      fy += 16384;
    }
    int64_t block[4][4][4];
    for (int j = 0; j < 4; ++j) {
      for (int k = 0; k < 4; ++k) load_or_fill<F>(src, w, x - 1 + k, y - 1 + j, fill, block[j][k]);
    }
    const Weights wx(fx / 16384.0), wy(fy / 16384.0);
    int64_t v[4] = {0, 0, 0, block[1][1][3]};
    for (int c = 0; c < F::kChannels; ++c) {
      int64_t rows[4], samples[4];
      for (int j = 0; j < 4; ++j) {
        for (int k = 0; k < 4; ++k) samples[k] = block[j][k][c];
        rows[j] = spline(samples, wx, F::kMax);
      }
      v[c] = spline(rows, wy, F::kMax);
    }
    store<F>(v, out, i);
  }
}

template <class F, class Src>
void interpolate(Src &src, Sampling how, const Walker &w, int32_t count, const uint8_t *fill_pixel,
                 uint8_t *out) noexcept {
  int64_t fill[4] = {};
  if constexpr (F::kBytes == 0) {
    F::unpack_value(px::get12(fill_pixel, 0), fill);
  } else {
    F::unpack(fill_pixel, fill);
  }
  if (how == Sampling::Linear) {
    linear_row<F>(src, w, count, fill, out);
  } else {
    cubic_row<F>(src, w, count, fill, out);
  }
}

template <class Src>
void sample(Src &src, const SourcePixels &s, Sampling how, const Walker &w, int32_t count, const uint8_t *fill,
            uint8_t *out) noexcept {
  const int32_t bits = s.bits;
  if (bits == 1) {
    nearest_bits(src, w, count, fill[0] >> 7, out);
    return;
  }
  if (bits < 8 || (bits == 12 && how == Sampling::Nearest)) {
    const uint32_t value = bits == 12 ? px::get12(fill, 0) : px::get_packed(fill, bits, 0);
    nearest_values(src, w, bits, count, value, out);
    return;
  }
  if (how == Sampling::Nearest) {
    switch (bits) {
      case 8: nearest_bytes<1>(src, w, count, fill, out); break;
      case 16: nearest_bytes<2>(src, w, count, fill, out); break;
      case 24: nearest_bytes<3>(src, w, count, fill, out); break;
      case 32: nearest_bytes<4>(src, w, count, fill, out); break;
      case 48: nearest_bytes<6>(src, w, count, fill, out); break;
      default: nearest_bytes<8>(src, w, count, fill, out); break;
    }
    return;
  }
  const bool gray = s.order == ORDER_GRAY;
  switch (bits) {
    case 8: interpolate<Gray8>(src, how, w, count, fill, out); break;
    case 12: interpolate<Gray12>(src, how, w, count, fill, out); break;
    case 16:
      if (gray) {
        interpolate<Gray16>(src, how, w, count, fill, out);
      } else if (s.order == ORDER_BGR565) {
        interpolate<Rgb16<6>>(src, how, w, count, fill, out);
      } else {
        interpolate<Rgb16<5>>(src, how, w, count, fill, out);
      }
      break;
    case 24: interpolate<Bytes8<3>>(src, how, w, count, fill, out); break;
    case 32:
      if (gray) {
        interpolate<Gray32>(src, how, w, count, fill, out);
      } else {
        interpolate<Bytes8<4>>(src, how, w, count, fill, out);
      }
      break;
    case 48: interpolate<Words16<3>>(src, how, w, count, fill, out); break;
    default: interpolate<Words16<4>>(src, how, w, count, fill, out); break;
  }
}

}  // namespace

int32_t sample_row(const SourcePixels &src, Sampling how, const RowWalk &walk, int32_t count, const uint8_t *fill,
                   uint8_t *out) noexcept {
  const Walker w(walk, src);
  if (src.base != nullptr) {
    Memory memory(src);
    sample(memory, src, how, w, count, fill, out);
    return SUCCESS;
  }
  Reader reader(src);
  sample(reader, src, how, w, count, fill, out);
  return reader.status();
}

}  // namespace rv::xform
