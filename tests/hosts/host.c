/* The smallest host: a frame, a rectangle, its address. Exits with 0 when the pixel is there. */
#include <dorbmp.h>

int main(void) {
  Bitmap* frame = bmp_create(64, 48, BMP_FORMAT_RGB32, BMP_CREATE_ZEROED);
  int drawn;
  bmp_draw_rect(frame, 10, 10, 20, 20, 0x00336699u, BMP_OP_SET);
  drawn = *(uint32_t*)bmp_pointer(frame, 19, 19) == 0x00336699u;
  bmp_destroy(frame);
  return drawn ? 0 : 1;
}
