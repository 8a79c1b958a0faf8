// The fast paths against the plain path, and the common pairs against a slow
// per-pixel model written from the rules alone.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "internal/simd.h"
#include "ruvokit/rvkrn.h"

namespace {

using Bytes = std::vector<uint8_t>;

struct Pair {
  int32_t src_bits, dst_bits, src_order, dst_order;
  const RGBQUAD *src_palette = nullptr;
  const RGBQUAD *dst_palette = nullptr;
};

std::vector<RGBQUAD> random_palette(std::mt19937 &random, int count) {
  std::vector<RGBQUAD> p(static_cast<size_t>(count));
  for (RGBQUAD &q : p) {
    q = RGBQUAD{uint8_t(random()), uint8_t(random()), uint8_t(random()), 0};
  }
  return p;
}

int32_t convert(const Pair &p, uint8_t *buffer, int32_t width) {
  return Rv_ConvertBuffer(buffer, width, p.src_bits, p.dst_bits, p.src_order, p.dst_order,
                          p.src_palette, p.dst_palette);
}

// Every pair with a fast path, over every width from 0 to 67 and four
// alignments of the row: the bytes of the whole buffer must agree with the
// plain path at every vector level.
TEST(ConvertFastPaths, SameBytesAsThePlainPath) {
  std::mt19937 random(2024);
  const std::vector<RGBQUAD> palette = random_palette(random, 256);
  const Pair pairs[] = {
      {24, 24, ORDER_BGR, ORDER_RGB},      {24, 32, ORDER_BGR, ORDER_BGR},
      {24, 32, ORDER_RGB, ORDER_BGR},      {32, 24, ORDER_BGR, ORDER_BGR},
      {32, 24, ORDER_BGR, ORDER_RGB},      {24, 48, ORDER_BGR, ORDER_BGR},
      {24, 48, ORDER_RGB, ORDER_BGR},      {48, 24, ORDER_BGR, ORDER_BGR},
      {48, 24, ORDER_BGR, ORDER_RGB},      {24, 16, ORDER_BGR, ORDER_BGR},
      {24, 16, ORDER_RGB, ORDER_BGR565},   {24, 16, ORDER_BGR, ORDER_RGB},
      {16, 24, ORDER_BGR, ORDER_BGR},      {16, 24, ORDER_BGR565, ORDER_RGB},
      {16, 24, ORDER_RGB, ORDER_BGR},      {24, 8, ORDER_BGR, ORDER_GRAY},
      {24, 0, ORDER_RGB, 0},               {8, 24, 0, ORDER_BGR, palette.data()},
      {8, 24, 0, ORDER_RGB, palette.data()}, {0, 24, 0, ORDER_BGR},
      {1, 24, 0, ORDER_RGB, palette.data()}, {24, 8, ORDER_BGR, 0, nullptr, palette.data()},
  };
  for (const Pair &pair : pairs) {
    for (int32_t width = 0; width <= 67; ++width) {
      // Exactly the bytes of the larger form: at the last offset the run ends
      // where the allocation does, so a read or write past it is caught.
      auto form = [width](int32_t bits) { return (static_cast<size_t>(width) * (bits ? bits : 8) + 7) / 8; };
      const size_t size = std::max(form(pair.src_bits), form(pair.dst_bits));
      for (uint32_t offset = 0; offset < 4; ++offset) {
        Bytes input(size + 3);
        for (uint8_t &b : input) b = static_cast<uint8_t>(random());
        Bytes plain = input;
        int32_t plain_status;
        {
          rv::simd::ScopedLevel force(rv::simd::Level::Plain);
          plain_status = convert(pair, plain.data() + offset, width);
        }
        for (auto level : {rv::simd::Level::Ssse3, rv::simd::Level::Avx2}) {
          rv::simd::ScopedLevel force(level);
          Bytes fast = input;
          ASSERT_EQ(convert(pair, fast.data() + offset, width), plain_status);
          ASSERT_EQ(fast, plain) << pair.src_bits << " to " << pair.dst_bits << " orders "
                                 << pair.src_order << "/" << pair.dst_order << " width " << width
                                 << " offset " << offset;
        }
      }
    }
  }
}

// The slow model: one pixel at a time into a separate row.
struct Model {
  static void put3(uint8_t *d, uint32_t r, uint32_t g, uint32_t b, bool red_first) {
    d[0] = static_cast<uint8_t>(red_first ? r : b);
    d[1] = static_cast<uint8_t>(g);
    d[2] = static_cast<uint8_t>(red_first ? b : r);
  }
  static Bytes convert(const Pair &p, const Bytes &src, int32_t width) {
    const size_t n = static_cast<size_t>(width);
    Bytes out(n * (p.dst_bits == 0 ? 1 : static_cast<size_t>(p.dst_bits) / 8 + (p.dst_bits < 8)));
    for (size_t i = 0; i < n; ++i) {
      uint32_t r = 0, g = 0, b = 0;
      if (p.src_bits == 24 || p.src_bits == 32) {
        const uint8_t *s = &src[i * static_cast<size_t>(p.src_bits / 8)];
        const bool rf = p.src_order == ORDER_RGB;
        r = s[rf ? 0 : 2], g = s[1], b = s[rf ? 2 : 0];
      } else if (p.src_bits == 16) {
        const uint32_t w = src[2 * i] | (src[2 * i + 1] << 8);
        const uint32_t r5 = p.src_order == ORDER_RGB ? w & 31 : (w >> (p.src_order == ORDER_BGR565 ? 11 : 10)) & 31;
        const uint32_t b5 = p.src_order == ORDER_RGB ? (w >> 10) & 31 : w & 31;
        r = (r5 << 3) | (r5 >> 2), b = (b5 << 3) | (b5 >> 2);
        if (p.src_order == ORDER_BGR565) {
          const uint32_t g6 = (w >> 5) & 63;
          g = (g6 << 2) | (g6 >> 4);
        } else {
          const uint32_t g5 = (w >> 5) & 31;
          g = (g5 << 3) | (g5 >> 2);
        }
      } else if (p.src_bits == 48) {
        const uint8_t *s = &src[6 * i];
        const bool rf = p.src_order == ORDER_RGB;
        r = s[rf ? 1 : 5], g = s[3], b = s[rf ? 5 : 1];
      } else {  // palettes of 1, 4 and 8 bits
        const size_t per_byte = 8 / static_cast<size_t>(p.src_bits);
        const uint32_t shift = static_cast<uint32_t>(8 - p.src_bits * static_cast<int32_t>(i % per_byte + 1));
        const uint32_t index = (src[i / per_byte] >> shift) & ((1u << p.src_bits) - 1);
        const RGBQUAD &q = p.src_palette[index];
        r = q.rgbRed, g = q.rgbGreen, b = q.rgbBlue;
      }
      const bool rf = p.dst_order == ORDER_RGB;
      switch (p.dst_bits) {
        case 0: out[i] = static_cast<uint8_t>((5 * g + 2 * r + b + 4) >> 3); break;
        case 8:
          out[i] = static_cast<uint8_t>(Rv_FindPaletteIndex(p.dst_palette, 256, int32_t(r), int32_t(g), int32_t(b)));
          break;
        case 16: {
          uint32_t w;
          if (p.dst_order == ORDER_BGR565) {
            w = ((r >> 3) << 11) | ((g >> 2) << 5) | (b >> 3);
          } else {
            w = rf ? ((b >> 3) << 10) | ((g >> 3) << 5) | (r >> 3) : ((r >> 3) << 10) | ((g >> 3) << 5) | (b >> 3);
          }
          out[2 * i] = static_cast<uint8_t>(w), out[2 * i + 1] = static_cast<uint8_t>(w >> 8);
          break;
        }
        case 24: put3(&out[3 * i], r, g, b, rf); break;
        case 32: put3(&out[4 * i], r, g, b, rf), out[4 * i + 3] = 255; break;
        case 48:
          for (size_t k = 0; k < 3; ++k) {
            const uint32_t channel[3] = {rf ? r : b, g, rf ? b : r};
            out[6 * i + 2 * k] = out[6 * i + 2 * k + 1] = static_cast<uint8_t>(channel[k]);
          }
          break;
      }
    }
    return out;
  }
};

TEST(ConvertCommonPairs, AgreeWithASlowModel) {
  std::mt19937 random(99);
  const std::vector<RGBQUAD> palette = random_palette(random, 256);
  const Pair pairs[] = {
      {24, 32, ORDER_BGR, ORDER_RGB}, {32, 24, ORDER_RGB, ORDER_BGR}, {24, 24, ORDER_BGR, ORDER_RGB},
      {24, 16, ORDER_BGR, ORDER_BGR}, {24, 16, ORDER_RGB, ORDER_BGR565}, {24, 16, ORDER_BGR, ORDER_RGB},
      {16, 24, ORDER_BGR, ORDER_BGR}, {16, 24, ORDER_BGR565, ORDER_RGB}, {16, 24, ORDER_RGB, ORDER_BGR},
      {24, 0, ORDER_BGR, 0},          {8, 24, 0, ORDER_BGR, palette.data()}, {1, 24, 0, ORDER_RGB, palette.data()},
      {24, 48, ORDER_BGR, ORDER_RGB}, {48, 24, ORDER_RGB, ORDER_BGR}, {24, 8, ORDER_BGR, 0, nullptr, palette.data()},
      {4, 32, 0, ORDER_RGB, palette.data()}, {8, 48, 0, ORDER_BGR, palette.data()},
      {16, 32, ORDER_BGR565, ORDER_BGR},
  };
  for (auto level : {rv::simd::Level::Plain, rv::simd::Level::Avx2}) {
    rv::simd::ScopedLevel force(level);
    for (const Pair &pair : pairs) {
      for (int round = 0; round < 20; ++round) {
        const int32_t width = 1 + static_cast<int32_t>(random() % 700);
        Bytes row(Rv_CalcConvertSize(uint32_t(width), pair.src_bits, uint32_t(width), pair.dst_bits));
        for (uint8_t &b : row) b = static_cast<uint8_t>(random());
        const Bytes expected = Model::convert(pair, row, width);
        ASSERT_EQ(convert(pair, row.data(), width), SUCCESS);
        ASSERT_TRUE(std::equal(expected.begin(), expected.end(), row.begin()))
            << pair.src_bits << " to " << pair.dst_bits << " width " << width;
      }
    }
  }
}

}  // namespace
