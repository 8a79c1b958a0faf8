// YUV frames of DIBs: the codes and their row decoders.
#include "color/yuvframe.h"

#include <algorithm>
#include <iterator>

#include "color/dib.h"
#include "ruvokit/rvcolor.h"

namespace rv::yuv {

namespace {

// Planar codes: Y plane, then the chroma planes at 1 / 4 or 1 / 16 of its size.
constexpr FrameCode planar(uint32_t fourcc, uint8_t dim, uint8_t bits, uint8_t shift,
                           bool v_first) noexcept {
  return FrameCode{fourcc, dim, dim, bits, Range::Studio, true, shift, v_first, 0, 0, 0, {}, {}, {}};
}

constexpr FrameCode yuyv(uint32_t fourcc, Range range, uint8_t y0, uint8_t u, uint8_t y1,
                         uint8_t v) noexcept {
  return FrameCode{fourcc, 2, 1, 16, range, false, 0, false, 2, 4, 1, {y0, y1}, {u}, {v}};
}

// Eight pixels in 12 bytes: U0 Y0 V0 Y1 U4 Y2 V4 Y3 Y4 Y5 Y6 Y7.
constexpr FrameCode y41p(uint32_t fourcc) noexcept {
  return FrameCode{fourcc, 4, 4, 12, Range::Full, false, 0, false, 8, 12, 2,
                   {1, 3, 5, 7, 8, 9, 10, 11}, {0, 4}, {2, 6}};
}

constexpr FrameCode kCodes[] = {
    planar(RV_FOURCC('Y', 'V', 'U', '9'), 16, 9, 2, true),
    planar(RV_FOURCC('I', 'F', '0', '9'), 16, 9, 2, true),
    planar(RV_FOURCC('I', '4', '2', '0'), 4, 12, 1, false),
    planar(RV_FOURCC('I', 'Y', 'U', 'V'), 4, 12, 1, false),
    planar(RV_FOURCC('Y', 'V', '1', '2'), 4, 12, 1, true),
    yuyv(RV_FOURCC('Y', 'U', 'Y', '2'), Range::Full, 0, 1, 2, 3),
    yuyv(RV_FOURCC('U', 'Y', 'V', 'Y'), Range::Studio, 1, 0, 3, 2),
    yuyv(RV_FOURCC('c', 'y', 'u', 'v'), Range::Studio, 1, 0, 3, 2),
    yuyv(RV_FOURCC('Y', 'V', 'Y', 'U'), Range::Studio, 0, 3, 2, 1),
    yuyv(RV_FOURCC('Y', '4', '2', 'T'), Range::Studio, 1, 0, 3, 2),
    y41p(RV_FOURCC('Y', '4', '1', 'P')),
    y41p(RV_FOURCC('Y', '4', '1', 'T')),
    // Four pixels in 4 bytes, Y0 U Y2 V: each Y serves two pixels.
    FrameCode{RV_FOURCC('Y', '2', '1', '1'), 2, 1, 8, Range::Full, false, 0, false, 4, 4, 1,
              {0, 0, 2, 2}, {1}, {3}},
};

constexpr uint32_t kCompressedFrames[] = {
    RV_FOURCC('d', 'm', 'b', '1'), RV_FOURCC('M', 'J', 'P', 'G'), RV_FOURCC('J', 'P', 'E', 'G')};

inline uint8_t clamp8(int32_t v) noexcept {
  return static_cast<uint8_t>(std::clamp(v, 0, 255));
}

void pixel(Range range, int32_t y, int32_t u, int32_t v, uint8_t *out) noexcept {
  if (range == Range::Studio) {
    studio_to_bgr(y, u, v, out);
  } else {
    full_to_bgr(y, u, v, out);
  }
}

void decode_planar(const FrameCode &code, const uint8_t *frame, uint32_t width, uint32_t height,
                   uint32_t row, uint8_t *out) noexcept {
  const uint32_t shift = code.chroma_shift;
  const uint64_t plane = uint64_t{width} * height;
  const uint64_t chroma_width = width >> shift;
  const uint64_t chroma_plane = chroma_width * (height >> shift);
  const uint8_t *y_row = frame + uint64_t{row} * width;
  const uint8_t *first = frame + plane + (row >> shift) * chroma_width;
  const uint8_t *u_row = code.v_first ? first + chroma_plane : first;
  const uint8_t *v_row = code.v_first ? first : first + chroma_plane;
  for (uint32_t x = 0; x < width; ++x) {
    pixel(code.range, y_row[x], u_row[x >> shift], v_row[x >> shift], out + 3 * uint64_t{x});
  }
}

void decode_packed(const FrameCode &code, const uint8_t *frame, uint32_t width, uint32_t row,
                   uint8_t *out) noexcept {
  const uint8_t *line = frame + uint64_t{row} * row_bytes(code, width);
  const uint32_t per_chroma = code.group_pixels / code.chroma_pairs;
  for (uint32_t x = 0; x < width; ++x) {
    const uint8_t *group = line + uint64_t{x / code.group_pixels} * code.group_bytes;
    const uint32_t i = x % code.group_pixels;
    const uint32_t c = i / per_chroma;
    pixel(code.range, group[code.y_at[i]], group[code.u_at[c]], group[code.v_at[c]],
          out + 3 * uint64_t{x});
  }
}

}  // namespace

void studio_to_bgr(int32_t y, int32_t u, int32_t v, uint8_t *out) noexcept {
  out[0] = clamp8((1192 * y + 2066 * u - 283009) >> 10);
  out[1] = clamp8((1192 * y - 401 * u - 832 * v + 139263) >> 10);
  out[2] = clamp8((1192 * y + 1634 * v - 227713) >> 10);
}

void full_to_bgr(int32_t y, int32_t u, int32_t v, uint8_t *out) noexcept {
  out[0] = clamp8(y + (1772 * u - 226316) / 1000);
  out[1] = clamp8(y + (-344 * u - 714 * v + 135924) / 1000);
  out[2] = clamp8(y + (1402 * v - 178956) / 1000);
}

const FrameCode *find(uint32_t fourcc) noexcept {
  const FrameCode *code = std::find_if(std::begin(kCodes), std::end(kCodes),
                                       [fourcc](const FrameCode &c) { return c.fourcc == fourcc; });
  return code != std::end(kCodes) ? code : nullptr;
}

bool is_compressed_frame(uint32_t fourcc) noexcept {
  return std::find(std::begin(kCompressedFrames), std::end(kCompressedFrames), fourcc) !=
         std::end(kCompressedFrames);
}

uint64_t row_bytes(const FrameCode &code, uint32_t width) noexcept {
  return dib::line_bytes(width, code.bits);
}

uint64_t frame_bytes(const FrameCode &code, uint32_t width, uint32_t height) noexcept {
  if (!code.planar) return row_bytes(code, width) * height;
  const uint64_t chroma = uint64_t{width >> code.chroma_shift} * (height >> code.chroma_shift);
  return uint64_t{width} * height + 2 * chroma;
}

void decode_row(const FrameCode &code, const uint8_t *frame, uint32_t width, uint32_t height,
                uint32_t row, uint8_t *out) noexcept {
  if (code.planar) {
    decode_planar(code, frame, width, height, row, out);
  } else {
    decode_packed(code, frame, width, row, out);
  }
}

}  // namespace rv::yuv
