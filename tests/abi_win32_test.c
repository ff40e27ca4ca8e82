/*
 * The contract of the 32-bit DLL, as a host sees it that was compiled against nothing but the words: the
 * library by its name, the exports by theirs, prototypes by hand, every argument a 32-bit word, every callee
 * removing its arguments.
 */
#include <stdio.h>
#include <string.h>
#include <windows.h>

typedef char a_word_is_four_bytes[sizeof(void*) == 4 && sizeof(int) == 4 && sizeof(float) == 4 ? 1 : -1];

static int failures = 0;

static void expect(int holds, const char* what) {
  if (holds) return;
  printf("FAILED: %s\n", what);
  ++failures;
}

static HMODULE library;

static void* by_name(const char* name) {
  FARPROC address = GetProcAddress(library, name);
  void* result;
  if (address == NULL) {
    printf("FAILED: %s is not exported\n", name);
    exit(1);
  }
  memcpy(&result, &address, sizeof(result));
  return result;
}

/* Calls with count words and the stack pointer compared: what comes back is EAX. */
static unsigned call(const char* name, const void* words, int count) {
  void* function = by_name(name);
  const unsigned* last = (const unsigned*)words + count;
  unsigned result;
  int left;
  __asm__ volatile(
      "movl %%esp, %%edi\n"
      "1: subl $4, %%esi\n\t"
      "pushl (%%esi)\n\t"
      "decl %%ebx\n\t"
      "jnz 1b\n\t"
      "call *%%eax\n\t"
      "movl %%edi, %%ecx\n\t"
      "subl %%esp, %%ecx\n\t"
      "movl %%edi, %%esp"
      : "=a"(result), "=c"(left), "+S"(last), "+b"(count)
      : "a"(function)
      : "edi", "edx", "memory", "cc", "st", "mm0", "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "xmm6",
        "xmm7");
  if (left != 0) {
    printf("FAILED: %s leaves the stack pointer %d bytes below where it was\n", name, left);
    ++failures;
  }
  return result;
}

/* Words from values of any of the four kinds. */
typedef union Word {
  int i;
  unsigned u;
  float f;
  void* p;
} Word;

#define I(value) \
  { .i = (int)(value) }
#define F(value) \
  { .f = (value) }
#define P(value) \
  { .p = (value) }
#define CALL(name, ...) \
  call(#name, (const Word[]){__VA_ARGS__}, sizeof((const Word[]){__VA_ARGS__}) / sizeof(Word))

static unsigned* create(int width, int height, int format) {
  return (unsigned*)CALL(bmp_create, I(width), I(height), I(format), I(4));
}

static unsigned char* pixels(unsigned* bitmap) {
  return (unsigned char*)bitmap[4];
}

static void the_record(void) {
  unsigned* bitmap = (unsigned*)CALL(bmp_create, I(3), I(2), I(0), I(4 | 2 | 1));
  const unsigned expected[12] = {3, 2, 16, 16, bitmap[4], 0, 0x32595559, 2, 0, 2, 3, 0};
  int i;
  for (i = 0; i < 12; ++i) {
    if (bitmap[i] == expected[i]) continue;
    printf("FAILED: word %d is %08x, not %08x\n", i, bitmap[i], expected[i]);
    ++failures;
  }
  expect(bitmap[4] % 16 == 0, "pixels are 16-byte aligned");
  expect(bitmap[4] >= (unsigned)bitmap + 48 && bitmap[4] < (unsigned)bitmap + 64, "pixels follow 48 bytes");
  expect(CALL(bmp_pointer, P(bitmap), I(2), I(1)) == bitmap[4] + 20, "bmp_pointer");
  CALL(bmp_destroy, P(bitmap));
}

static void raster(void) {
  unsigned* rgb = create(8, 4, 1);
  unsigned* copy = create(8, 4, 1);
  unsigned* palettised = create(8, 4, 6);
  CALL(bmp_draw_rect, P(rgb), I(1), I(1), I(3), I(2), I(0x11223344), I(0));
  expect(*(unsigned*)(pixels(rgb) + 36) == 0x11223344 && *(unsigned*)(pixels(rgb) + 32) == 0,
         "bmp_draw_rect");
  CALL(bmp_copy, P(copy), P(rgb), I(0));
  expect(memcmp(pixels(copy), pixels(rgb), 128) == 0, "bmp_copy");
  CALL(bmp_blt, P(copy), I(4), I(3), I(1), I(1), P(rgb), I(2), I(1), I(0));
  expect(*(unsigned*)(pixels(copy) + 3 * 32 + 16) == 0x11223344, "bmp_blt");
  CALL(bmp_clear, P(copy), I(0));
  expect(*(unsigned*)(pixels(copy) + 3 * 32 + 16) == 0, "bmp_clear");
  CALL(bmp_interporate, P(copy), P(rgb), I(3));
  expect(pixels(copy)[4] == 0x44 && pixels(copy)[64 + 4] == 0x22, "bmp_interporate");
  CALL(bmp_draw_line, P(palettised), I(0), I(0), I(3), I(3), I(0x77), I(0));
  expect(pixels(palettised)[2 * 16 + 2] == 0x77 && pixels(palettised)[3 * 16 + 3] == 0, "bmp_draw_line");
  CALL(bmp_destroy, P(rgb));
  CALL(bmp_destroy, P(copy));
  CALL(bmp_destroy, P(palettised));
}

static void composition(void) {
  unsigned* to = create(8, 2, 1);
  unsigned* back = create(8, 2, 1);
  unsigned* front = create(8, 2, 1);
  unsigned* key = create(8, 2, 2);
  CALL(bmp_draw_rect, P(front), I(0), I(0), I(8), I(2), I(0x00406080), I(0));
  CALL(bmp_draw_rect, P(key), I(0), I(0), I(4), I(2), I(4096), I(0));
  CALL(bmp_compose, P(to), P(back), P(front), P(key), I(0));
  expect((*(unsigned*)pixels(to) & 0xFFFFFF) == 0x406080 && pixels(to)[16] == 0, "bmp_compose with a key");
  CALL(bmp_compose, P(to), P(back), P(front), I(2048), I(0x10000));
  expect(pixels(to)[0] == 0x40, "bmp_compose with a level");
  CALL(bmp_compose_color, P(to), P(front), P(front), P(key), P(NULL), I(0x00102030), I(0));
  expect((*(unsigned*)pixels(to) & 0xFFFFFF) == 0x406080, "bmp_compose_color where the key is full");
  expect((*(unsigned*)(pixels(to) + 16) & 0xFFFFFF) == 0x102030, "bmp_compose_color where the key is empty");
  CALL(bmp_destroy, P(to));
  CALL(bmp_destroy, P(back));
  CALL(bmp_destroy, P(front));
  CALL(bmp_destroy, P(key));
}

static unsigned short key_at(unsigned* plane, int x, int y) {
  return *(unsigned short*)(pixels(plane) + y * (int)plane[2] + 2 * x);
}

static void shapes(void) {
  unsigned* plane = create(16, 8, 2);
  CALL(bmp_alpha_rect, P(plane), F(2.5f), F(1.0f), F(4.0f), F(3.0f), F(0.0f), F(0.0f), I(0));
  expect(key_at(plane, 2, 2) == 2048 && key_at(plane, 3, 2) == 4096 && key_at(plane, 1, 2) == 0,
         "bmp_alpha_rect");
  CALL(bmp_alpha_circle, P(plane), F(8.0f), F(4.0f), F(3.0f), F(0.0f), F(1.0f), I(0));
  expect(key_at(plane, 8, 4) == 4096 && key_at(plane, 3, 2) == 0, "bmp_alpha_circle");
  CALL(bmp_destroy, P(plane));
}

static void mapping(void) {
  unsigned* to = create(8, 4, 1);
  unsigned* texture = create(8, 4, 1);
  unsigned* cover = create(8, 4, 2);
  /* u, v, q, x, y */
  float corners[4][5] = {{0, 0, 1, 0, 0}, {8, 0, 1, 8, 0}, {8, 4, 1, 8, 4}, {0, 4, 1, 0, 4}};
  CALL(bmp_draw_rect, P(texture), I(0), I(0), I(8), I(4), I(0x00406080), I(0));
  CALL(bmp_map_polygon, P(to), P(NULL), P(NULL), P(texture), P(NULL), P(corners), I(4), I(0x8000));
  expect(*(unsigned*)(pixels(to) + 2 * 32 + 16) == 0x406080, "bmp_map_polygon");
  CALL(bmp_clear, P(to), I(0));
  CALL(bmp_map_rect, P(to), P(cover), F(0), F(0), F(8), F(4), P(texture), P(NULL), F(0), F(0), F(8), F(4),
       I(0));
  expect((*(unsigned*)(pixels(to) + 2 * 32 + 16) & 0xFFFFFF) == 0x406080, "bmp_map_rect");
  CALL(bmp_destroy, P(cover));
  CALL(bmp_destroy, P(to));
  CALL(bmp_destroy, P(texture));
}

static void display(void) {
  unsigned* rgb = create(4, 2, 1);
  unsigned* palettised = create(4, 2, 6);
  unsigned* header;
  expect(CALL(bmp_translate_color, P(NULL), I(0x00112233)) == 0x332211, "bmp_translate_color");
  header = (unsigned*)CALL(bmp_set_palette, P(palettised), I(255), I(0x00ABCDEF));
  expect(header != NULL && header[0] == 40 && header[10 + 255] == 0xABCDEF, "bmp_set_palette");
  expect(CALL(bmp_display, P(NULL), I(0), I(0), I(4), I(2), P(rgb), I(0), I(0)) == 0,
         "bmp_display on nothing");
  expect(rgb[5] != 0, "the display header is kept");
  CALL(bmp_destroy, P(rgb));
  CALL(bmp_destroy, P(palettised));
}

int main(void) {
  library = LoadLibraryA("dorbmp.dll");
  if (library == NULL) {
    printf("FAILED: dorbmp.dll does not load: %lu\n", GetLastError());
    return 1;
  }
  the_record();
  raster();
  composition();
  shapes();
  mapping();
  display();
  expect(FreeLibrary(library), "the library unloads");
  printf("%d failures\n", failures);
  return failures != 0;
}
