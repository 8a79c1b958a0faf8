/* The public headers compile as strict C. */
#include "ruvokit/rvkrn.h"

int rv_c_header_check(void);
int rv_c_header_check(void) {
  BITMAPRECORD bitmap;
  bitmap.uStructSize = RV_BITMAPRECORD_SIZE;
  return (int)bitmap.uStructSize + SUCCESS + ERROR_FILE_NOT_FOUND_10;
}
