// Mirroring a row into another buffer, for the loops that read a row and
// write it back mirrored.
#pragma once
#include <cstddef>
#include <cstdint>

namespace rv::xform {

// Writes to `dst` the `bytes` bytes of row `src` with its `width` pixels in
// the opposite order: the bytes Rv_MirrorLine would leave after mirroring the
// row in place. The buffers may not overlap.
void mirror_copy(uint8_t *dst, const uint8_t *src, int32_t width, int32_t bits, size_t bytes) noexcept;

}  // namespace rv::xform
