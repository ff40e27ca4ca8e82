/* The public header is plain C and stands alone. */
#include "dorbmp.h"

uint32_t size_of_record_in_c(void);

uint32_t size_of_record_in_c(void) {
  return (uint32_t)sizeof(Bitmap);
}
