// Storage forms whose modules come later: tiles, compressed rows,
// super-compressed strips and temporary files for disk data. Until then the
// allocator finds that they can't be made (it falls through to its next step
// or to ERROR_NO_MEMORY), and no bitmap of these forms exists, so the access
// functions are never reached with one.
#include <initializer_list>

#include "core/storage.h"
#include "ruvokit/rvstatus.h"

namespace rv::storage {

int32_t tiled_allocate(BITMAPRECORD *, const TileRequest &) noexcept { return ERROR_NO_MEMORY; }
void tiled_free(BITMAPRECORD *) noexcept {}
int32_t tiled_read(BITMAPRECORD *, void *, int32_t, int32_t, uint32_t) noexcept { return ERROR_NO_MEMORY; }
int32_t tiled_write(BITMAPRECORD *, const void *, int32_t, int32_t, uint32_t) noexcept {
  return ERROR_NO_MEMORY;
}
uint8_t *tiled_row_address(BITMAPRECORD *, int32_t) noexcept { return nullptr; }
int32_t tiled_change_height(BITMAPRECORD *, int32_t) noexcept { return ERROR_NO_MEMORY; }
void tiled_info(const BITMAPRECORD *, uint32_t *tile_size, uint32_t *total_tiles, uint32_t *conv_tiles,
                uint32_t *max_views, uint32_t *views) noexcept {
  for (uint32_t *p : {tile_size, total_tiles, conv_tiles, max_views, views})
    if (p) *p = 0;
}

int32_t compressed_allocate(BITMAPRECORD *) noexcept { return ERROR_NO_MEMORY; }
void compressed_free(BITMAPRECORD *) noexcept {}
uint64_t compressed_size(const BITMAPRECORD *) noexcept { return 0; }
int32_t compressed_read(BITMAPRECORD *, void *, int32_t, int32_t, uint32_t) noexcept { return ERROR_NO_MEMORY; }
int32_t compressed_write(BITMAPRECORD *, const void *, int32_t, int32_t, uint32_t) noexcept {
  return ERROR_NO_MEMORY;
}
int32_t compressed_change_height(BITMAPRECORD *, int32_t) noexcept { return ERROR_NO_MEMORY; }

int32_t super_allocate(BITMAPRECORD *) noexcept { return ERROR_NO_MEMORY; }
void super_free(BITMAPRECORD *) noexcept {}
uint64_t super_size(const BITMAPRECORD *) noexcept { return 0; }
int32_t super_read(BITMAPRECORD *, void *, int32_t, int32_t, uint32_t) noexcept { return ERROR_NO_MEMORY; }
int32_t super_write(BITMAPRECORD *, const void *, int32_t, int32_t, uint32_t) noexcept {
  return ERROR_NO_MEMORY;
}
uint8_t *super_row_address(BITMAPRECORD *, int32_t) noexcept { return nullptr; }
int32_t super_change_height(BITMAPRECORD *, int32_t) noexcept { return ERROR_NO_MEMORY; }

int32_t disk_create(BITMAPRECORD *, uint64_t) noexcept { return ERROR_NO_MEMORY; }
bool temp_files_in_memory() noexcept { return false; }

}  // namespace rv::storage
