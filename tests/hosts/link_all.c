/* Links every export and calls one. Needs no run-time library: it also stands for a compiler that has its
 * own. Exits with 0. */
#include "dorbmp.h"

typedef void (*Export)(void);

int main(void) {
  static Export const volatile exports[] = {
      (Export)bmp_alpha_circle, (Export)bmp_alpha_rect,  (Export)bmp_blt,
      (Export)bmp_clear,        (Export)bmp_compose,     (Export)bmp_copy,
      (Export)bmp_create,       (Export)bmp_destroy,     (Export)bmp_compose_color,
      (Export)bmp_display,      (Export)bmp_draw_line,   (Export)bmp_draw_rect,
      (Export)bmp_interporate,  (Export)bmp_map_rect,    (Export)bmp_map_polygon,
      (Export)bmp_pointer,      (Export)bmp_set_palette, (Export)bmp_translate_color,
  };
  unsigned i;
  for (i = 0; i < sizeof(exports) / sizeof(exports[0]); ++i) {
    if (exports[i] == 0) return 1;
  }
  return bmp_translate_color(0, 0x00112233) == 0x00332211 ? 0 : 2;
}
