// The storage forms behind a bitmap record, as the allocator, the row
// functions, locks and freeing see them. Conventional memory, movable blocks
// and caller data are handled in the core itself; disk data is read and written
// through the open file in hData; tiles, compressed rows and super-compressed
// strips each have a module of their own behind the functions below.
#pragma once
#include <cstdint>

#include "ruvokit/rvtypes.h"

namespace rv::storage {

// --- conventional memory: an anonymous section mapped at allocation ----------------
// Maps size + 31 bytes and aligns the view up to 32 bytes: sets hData, pData and
// uDataOffset. ERROR_NO_MEMORY when the section can't be had.
int32_t map_conventional(BITMAPRECORD *bitmap, uint64_t size) noexcept;
// Unmaps the view at pData - uDataOffset and closes the section.
void unmap_conventional(BITMAPRECORD *bitmap) noexcept;
// A new section of `size`, the smaller of the old and new data copied over;
// the old storage stays on failure.
int32_t remap_conventional(BITMAPRECORD *bitmap, uint64_t size, uint64_t copy_bytes) noexcept;

// --- disk: a temporary file held open in hData -------------------------------------
// The count the file gives (short at its end), or ERROR_FILE_SEEK,
// ERROR_FILE_READ, ERROR_FILE_WRITE.
int64_t disk_read(const BITMAPRECORD *bitmap, uint64_t offset, void *buffer, uint32_t bytes) noexcept;
int64_t disk_write(const BITMAPRECORD *bitmap, uint64_t offset, const void *buffer,
                   uint32_t bytes) noexcept;
int32_t disk_set_size(const BITMAPRECORD *bitmap, uint64_t size) noexcept;
void disk_close(BITMAPRECORD *bitmap) noexcept;
// A temporary file of `size` bytes for the allocator; ERROR_NO_MEMORY when it
// can't be made.
int32_t disk_create(BITMAPRECORD *bitmap, uint64_t size) noexcept;

// --- tiles ------------------------------------------------------------------------------
struct TileRequest {
  uint64_t tile_size;       // bytes a tile may hold
  uint64_t available;       // memory the tiles may take
  int32_t tile_views;       // views that may be present at once
  bool no_disk;             // tiles may not go to files
};
int32_t tiled_allocate(BITMAPRECORD *bitmap, const TileRequest &request) noexcept;
void tiled_free(BITMAPRECORD *bitmap) noexcept;
int32_t tiled_read(BITMAPRECORD *bitmap, void *buffer, int32_t row, int32_t byte, uint32_t bytes) noexcept;
int32_t tiled_write(BITMAPRECORD *bitmap, const void *buffer, int32_t row, int32_t byte,
                    uint32_t bytes) noexcept;
// The address of row `row` in a present view, or null when the tile has none.
uint8_t *tiled_row_address(BITMAPRECORD *bitmap, int32_t row) noexcept;
int32_t tiled_change_height(BITMAPRECORD *bitmap, int32_t height) noexcept;
void tiled_info(const BITMAPRECORD *bitmap, uint32_t *tile_size, uint32_t *total_tiles,
                uint32_t *conv_tiles, uint32_t *max_views, uint32_t *views) noexcept;

// --- compressed 1-bit rows ------------------------------------------------------------
int32_t compressed_allocate(BITMAPRECORD *bitmap) noexcept;
void compressed_free(BITMAPRECORD *bitmap) noexcept;
uint64_t compressed_size(const BITMAPRECORD *bitmap) noexcept;
int32_t compressed_read(BITMAPRECORD *bitmap, void *buffer, int32_t row, int32_t col, uint32_t bytes) noexcept;
int32_t compressed_write(BITMAPRECORD *bitmap, const void *buffer, int32_t row, int32_t col,
                         uint32_t bytes) noexcept;
int32_t compressed_change_height(BITMAPRECORD *bitmap, int32_t height) noexcept;

// --- super-compressed strips -------------------------------------------------------
int32_t super_allocate(BITMAPRECORD *bitmap) noexcept;
void super_free(BITMAPRECORD *bitmap) noexcept;
uint64_t super_size(const BITMAPRECORD *bitmap) noexcept;
int32_t super_read(BITMAPRECORD *bitmap, void *buffer, int32_t row, int32_t byte, uint32_t bytes) noexcept;
int32_t super_write(BITMAPRECORD *bitmap, const void *buffer, int32_t row, int32_t byte,
                    uint32_t bytes) noexcept;
// The address of row `row` inside the present strip (made present first).
uint8_t *super_row_address(BITMAPRECORD *bitmap, int32_t row) noexcept;
int32_t super_change_height(BITMAPRECORD *bitmap, int32_t height) noexcept;

// Gives back the storage of an allocated record by its form (a caller's data
// stays the caller's); the flags are left for the caller to clear.
void release(BITMAPRECORD *bitmap) noexcept;

// Whether temporary files are held in memory (the allocator then takes no disk).
bool temp_files_in_memory() noexcept;

}  // namespace rv::storage
