// YUV video frames stored as a DIB with a four-character compression code:
// the table of codes with what each needs of the frame, and the decoders that
// turn one row of a frame into blue-green-red bytes.
#pragma once
#include <cstdint>

namespace rv::yuv {

enum class Range : uint8_t {
  Studio,  // Y 16..235, chroma centred on 128, in fixed point with 10 fraction bits
  Full,    // Y 0..255, in thousandths, divisions truncating towards zero
};

// One code. Planar frames hold the Y plane, then the two chroma planes, each
// sample standing for a square of pixels `1 << chroma_shift` wide. Packed
// frames hold rows of the DIB line size of `bits`, each a run of groups of
// `group_pixels` pixels in `group_bytes` bytes: the Y of pixel i at byte
// y_at[i], the chroma of pixel i at u_at[i / (group_pixels / chroma_pairs)] and
// the same index of v_at.
struct FrameCode {
  uint32_t fourcc;
  uint8_t dim_x;  // the width divides by this
  uint8_t dim_y;  // the height divides by this
  uint8_t bits;   // the biBitCount of the code (24 is taken as well)
  Range range;
  bool planar;
  // Planar.
  uint8_t chroma_shift;
  bool v_first;
  // Packed.
  uint8_t group_pixels;
  uint8_t group_bytes;
  uint8_t chroma_pairs;
  uint8_t y_at[8];
  uint8_t u_at[2];
  uint8_t v_at[2];
};

// The code's entry, or null.
const FrameCode *find(uint32_t fourcc) noexcept;

// Whether the code is a compressed frame for the file-format module.
bool is_compressed_frame(uint32_t fourcc) noexcept;

// Bytes of a packed row, and of a whole frame, of the given size.
uint64_t row_bytes(const FrameCode &code, uint32_t width) noexcept;
uint64_t frame_bytes(const FrameCode &code, uint32_t width, uint32_t height) noexcept;

// Row `row` (0 at the top) of a frame of frame_bytes() bytes, as `width`
// blue-green-red triples at `out`. The width and height divide as the code
// asks.
void decode_row(const FrameCode &code, const uint8_t *frame, uint32_t width, uint32_t height,
                uint32_t row, uint8_t *out) noexcept;

// One pixel of each range, stored blue, green, red, each channel clamped to 0..255.
void studio_to_bgr(int32_t y, int32_t u, int32_t v, uint8_t *out) noexcept;
void full_to_bgr(int32_t y, int32_t u, int32_t v, uint8_t *out) noexcept;

}  // namespace rv::yuv
