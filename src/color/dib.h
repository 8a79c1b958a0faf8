// Device-independent bitmaps inside the colour subsystem: the exchange records
// pinned to the byte, what a header says once it has been read and checked, and
// the pieces that the readers (dib_from.cpp, dib_handle.cpp) and the writers
// (dib_to.cpp) share. A packed DIB comes from outside: every read of it is
// checked against the bytes its caller says it has, or, where the caller gives
// no size, against what its own header claims.
#pragma once
#include <cstddef>
#include <cstdint>

#include "ruvokit/rvcolor.h"

namespace rv::yuv {
struct FrameCode;
}

namespace rv::dib {

static_assert(sizeof(BITMAPINFOHEADER) == 40);
static_assert(offsetof(BITMAPINFOHEADER, biPlanes) == 12);
static_assert(offsetof(BITMAPINFOHEADER, biCompression) == 16);
static_assert(offsetof(BITMAPINFOHEADER, biXPelsPerMeter) == 24);
static_assert(offsetof(BITMAPINFOHEADER, biClrImportant) == 36);
static_assert(sizeof(BITMAPCOREHEADER) == 12);
static_assert(offsetof(BITMAPCOREHEADER, bcBitCount) == 10);
static_assert(sizeof(RGBTRIPLE) == 3);

constexpr uint32_t kInfoHeaderBytes = 40;
constexpr uint32_t kCoreHeaderBytes = 12;
// BI_BITFIELDS masks lie at byte 40 of the header: right behind a 40-byte
// header (where they stand in for the colour table), inside a longer one. A
// header of 56 bytes or more holds an alpha mask at byte 52.
constexpr uint32_t kMasksAt = 40;
constexpr uint32_t kMaskBytes = 12;
constexpr uint32_t kAlphaMaskAt = 52;
constexpr uint32_t kMaxTableEntries = 256;

// The bytes a caller's pointer reaches when only the header's claims bound the reads.
constexpr uint64_t kUnbounded = UINT64_MAX;

// Resolution: header pixels per metre to dots per inch and back, rounded as
// the exchange format has always been read and written.
constexpr int32_t dpi_of_ppm(int32_t ppm) noexcept {
  return static_cast<int32_t>((static_cast<int64_t>(ppm) * 254 + 5000) / 10000);
}
constexpr int32_t ppm_of_dpi(int32_t dpi) noexcept {
  return static_cast<int32_t>((static_cast<int64_t>(dpi) * 10000 + 127) / 254);
}

// A DIB line of `width` pixels of `bits`: ((width x bits + 31) >> 3) & ~3, in 64 bits.
constexpr uint64_t line_bytes(uint64_t width, uint32_t bits) noexcept {
  return ((width * bits + 31) >> 3) & ~uint64_t{3};
}

// The fields of either header form, as stored.
struct Header {
  uint32_t size;  // 12, or 40 and more (read as 40)
  bool core;
  int32_t width;
  int32_t height;  // negative: top-down
  uint32_t planes;
  uint32_t bit_count;
  uint32_t compression;
  uint32_t size_image;
  int32_t x_ppm;
  int32_t y_ppm;
  uint32_t colors_used;
};

// What lies between the header and the pixels of a packed DIB.
struct Table {
  uint32_t entries;      // colour entries
  uint32_t entry_bytes;  // 3 behind a 12-byte header, else 4
  uint32_t mask_bytes;   // 12 for the masks behind a 40-byte BI_BITFIELDS header
  uint64_t bytes() const noexcept { return mask_bytes + uint64_t{entries} * entry_bytes; }
};

// How the pixels become rows of the bitmap.
enum class Pixels : uint8_t {
  Plain,   // the rows are the bitmap's rows
  Masks,   // fields are taken out of each pixel by the masks
  Yuv,     // a YUV frame, decoded to 24 bits
  Frame,   // a compressed frame, for the file-format module
};

struct Masks {
  uint32_t red, green, blue, alpha;
};

// A header read and checked, with everything the readers need before a pixel.
struct Description {
  Header header;
  Table table;
  Pixels pixels;
  int32_t width;
  int32_t rows;           // |height|
  int32_t bits;           // depth of the bitmap
  int32_t order;          // nOrder of the bitmap
  int32_t colors;         // nColors of the bitmap: table entries in use at 8 bits or less
  int32_t view;           // nViewPerspective of the bitmap
  Masks masks;
  const yuv::FrameCode *yuv;
  uint64_t row_bytes;     // bytes between source rows (Plain, Masks)
  uint64_t pixel_bytes;   // bytes the pixels take
};

// Reads the header at `p`, of which `avail` bytes can be read. SUCCESS, or
// ERROR_DIB_INVALID when it is cut short or of no known size.
int32_t read_header(const uint8_t *p, uint64_t avail, Header *out) noexcept;

// The table behind a header.
Table table_of(const Header &h) noexcept;

// The checks of a read, in the order the readers make them: dimensions
// (ERROR_INVALID_PARAMETER), planes, compression and depth
// (ERROR_FEATURE_NOT_SUPPORTED; a compressed frame ERROR_LIBRARY_MISSING_356
// when `frames` is set, else ERROR_FEATURE_NOT_SUPPORTED), colour count, masks
// and table length (ERROR_DIB_INVALID against `header_avail`). `header` is where
// the header starts. The pixels are not looked at: see check_pixels.
int32_t describe(const uint8_t *header, uint64_t header_avail, bool frames,
                 Description *out) noexcept;

// Whether `avail` bytes hold the pixels: ERROR_DIB_INVALID, or for a YUV frame
// (whose non-zero biSizeImage must hold it too) ERROR_SIZE_YUV_BUFFER_INCORRECT.
int32_t check_pixels(const Description &d, uint64_t avail) noexcept;

// The bitmap's fields from a description: Rv_InitBitmapWithCallbacks with the
// size and depth, then colours, order, view and resolution.
int32_t init_record(BITMAPRECORD *bitmap, uint32_t struct_size, const Description &d) noexcept;

// Gives an initialised bitmap of 8 bits or less its palette from the colour
// table that starts `table` (the masks, if any, skipped): an array of 1 << bits
// entries, those beyond the table black, with nColors kept as described.
int32_t attach_palette(BITMAPRECORD *bitmap, const Description &d, const uint8_t *table) noexcept;

// Reads a DIB into a new bitmap; the body of Rv_ConvertFromDIBExt.
int32_t read(BITMAPRECORD *bitmap, uint32_t struct_size, const uint8_t *header,
             uint64_t header_avail, const uint8_t *bits, uint64_t bits_avail) noexcept;

// Reads a packed DIB of `avail` bytes: the pixels follow the header and table.
// ERROR_DIB_INVALID for a header that can't be read.
int32_t read_packed(BITMAPRECORD *bitmap, uint32_t struct_size, const uint8_t *dib,
                    uint64_t avail) noexcept;

// --- steps done by other parts of the library -------------------------------------------
// A compressed frame ("dmb1", "MJPG", "JPEG") is decoded by the file-format
// module, whose fltLoadBuffer the module loader finds. Without the loader the
// module is missing: ERROR_LIBRARY_MISSING_356.
int32_t load_compressed_frame(BITMAPRECORD *bitmap, uint32_t struct_size,
                              const Description &d, const uint8_t *frame,
                              uint64_t frame_bytes) noexcept;

// Colour resolution of `src` to a palette depth with an optimised palette, into
// the new bitmap `dst`.
int32_t resolve_to_palette(BITMAPRECORD *src, BITMAPRECORD *dst, int32_t bits) noexcept;

// Brings a bitmap of a view that a DIB can't hold (2, 3, 5 to 8) to view 4,
// showing the same picture: into the new bitmap `dst`, or in place when `dst`
// is null (Rv_ChangeBitmapViewPerspective).
int32_t change_to_dib_view(BITMAPRECORD *dst, BITMAPRECORD *src) noexcept;

}  // namespace rv::dib
