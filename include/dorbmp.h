/**
 * @file
 * dorbmp: raster graphics for video frames.
 *
 * A host allocates frames with bmp_create, lets the library fill, draw, copy, interpolate, blend and map
 * them, and releases them with bmp_destroy. Every operation works on the whole frame or on one field of it
 * (every other line). There are no error codes: what cannot be drawn is not drawn.
 *
 * Threads. The library keeps no state between calls. Calls that write different bitmaps may run at the same
 * time; calls that write the same bitmap, or that build the same bitmap's display header, must not overlap.
 * Calls work on the stack: bmp_map_polygon and bmp_map_rect need up to 192 KB of it, the others less than 16,
 * which threads and fibres with small stacks must allow for.
 *
 * Calls outside the contract. Null where a bitmap is required, and an address that is not what the operation
 * says, are the caller's fault and are not detected. Numbers may be anything: a call never reads or writes
 * outside the bitmaps it was given; it clips, clamps or draws nothing.
 */
#ifndef DORBMP_H
#define DORBMP_H

#include <stddef.h>
#include <stdint.h>

#if defined(_WIN32) && !defined(_WIN64)
#define BMP_CALL __stdcall
#else
#define BMP_CALL
#endif

/* DORBMP_STATIC: the host links the static library. DORBMP_BUILD: the library itself is being compiled. */
#if defined(_WIN32) && !defined(DORBMP_STATIC) && !defined(DORBMP_BUILD)
#define BMP_API __declspec(dllimport)
#elif defined(__GNUC__) && !defined(_WIN32)
#define BMP_API __attribute__((visibility("default")))
#else
#define BMP_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Bitmaps ------------------------------------------------------------------------------------------ */

/** Pixel layouts. Bytes are given in memory order. */
typedef enum PixelFormat {
  BMP_FORMAT_YUY2 = 0,  /**< 2 bytes: packed 4:2:2, Y0 U Y1 V per pair of pixels; fourcc "YUY2" */
  BMP_FORMAT_RGB32 = 1, /**< 4 bytes: blue, green, red, unused; fourcc "RGBQ" */
  BMP_FORMAT_KEY16 = 2, /**< 2 bytes: one unsigned word, 0..4096 as a key (4096 is 1.0); fourcc "PWRW" */
  BMP_FORMAT_QUAD3 = 3, /**< 4 bytes without further meaning */
  BMP_FORMAT_QUAD4 = 4, /**< as BMP_FORMAT_QUAD3 */
  BMP_FORMAT_QUAD5 = 5, /**< as BMP_FORMAT_QUAD3 */
  BMP_FORMAT_PAL8 = 6,  /**< 1 byte: index into the 256 entries of the display header; fourcc "RGB8" */
  BMP_FORMAT_KEY8 = 7   /**< 1 byte: one unsigned byte, 0..128 as a key (128 is 1.0), 0..255 as a matte */
} PixelFormat;

/** The two low bits of most flags arguments. */
typedef enum FieldFlags {
  BMP_FRAME = 0,      /**< every line */
  BMP_FIELD_ODD = 1,  /**< start at line 1 instead of line 0 */
  BMP_FIELD_ONLY = 2, /**< every other line: the even field, with BMP_FIELD_ODD the odd one */
  BMP_FIELD_MASK = 3  /**< both */
} FieldFlags;

/** bmp_create only: zero-filled pixels. */
#define BMP_CREATE_ZEROED 4u

/**
 * A frame and its pixels, one heap block. On 32-bit targets the record is twelve 32-bit words (48 bytes); on
 * 64-bit targets the two addresses are 64 bits wide (56 bytes) and nothing else changes. Read it freely,
 * write only field_order and reserved.
 *
 * A host may build a record of its own for a part of a frame: width and height the part's, pixels moved to
 * its first pixel (in YUY2 an even one), no display header, all else the frame's. Such a record must not be
 * destroyed or displayed, nor be given a palette. For the library its memory is height * pitch bytes from
 * pixels.
 * - Any part: bmp_draw_rect, bmp_draw_line, bmp_blt, bmp_compose_color, bmp_alpha_rect and bmp_alpha_circle
 *   on 16-bit planes, bmp_map_polygon, bmp_map_rect. They touch nothing beside it.
 * - Any part whose width is a multiple of 8: bmp_compose with a key. At other widths it may read and write up
 *   to 7 pixels to the right of the part, which must be there in the last line too.
 * - bmp_clear, bmp_copy, bmp_interporate and the constant mix take all of the memory, pixels beside the part
 *   too: the part must begin in column 0 or end above the frame's last line.
 */
typedef struct Bitmap {
  int32_t width;          /**< pixels a line */
  int32_t height;         /**< lines */
  int32_t pitch;          /**< bytes from one line to the next, a multiple of 16, padding included */
  int32_t bits_per_pixel; /**< 8 * bytes_per_pixel */
  uint8_t* pixels;        /**< line 0, pixel 0; lines follow top-down; 16-byte aligned */
  void* display_header;   /**< header and palette for the display, built on first need, owned by the bitmap */
  uint32_t fourcc;        /**< four characters in memory order, or 0 */
  uint32_t field_order;   /**< 0 frame, 1 even field, 2 odd field */
  uint32_t reserved;      /**< never used by the library; 0 from bmp_create */
  int32_t bytes_per_pixel; /**< 1, 2 or 4 */
  /** the two low bits of bmp_create's flags; bit 1: the bitmap holds one field's view */
  uint32_t field_mode;
  uint32_t format; /**< a PixelFormat */
} Bitmap;

/**
 * Creates a frame of width x height pixels. flags: FieldFlags, kept in field_mode, and BMP_CREATE_ZEROED,
 * without which the pixels are undefined. Returns null where the frame cannot be allocated: negative sizes,
 * or a block of 2 GiB and more. A format code above 7 takes its bytes per pixel from height.
 */
BMP_API Bitmap* BMP_CALL bmp_create(int32_t width, int32_t height, uint32_t format, uint32_t flags);

/** Frees a bitmap, its pixels and its display header. Null is allowed. */
BMP_API void BMP_CALL bmp_destroy(Bitmap* bitmap);

/** pixels + x * bytes_per_pixel + y * pitch, the offset in wrapping 32-bit arithmetic. Nothing is checked. */
BMP_API void* BMP_CALL bmp_pointer(const Bitmap* bitmap, int32_t x, int32_t y);

/**
 * Sets whole lines, padding included, to zero bytes. FieldFlags are taken literally: BMP_FIELD_ODD without
 * BMP_FIELD_ONLY clears every line but line 0.
 */
BMP_API void BMP_CALL bmp_clear(Bitmap* bitmap, uint32_t flags);

/**
 * Stores palette entry index (0..255), a quad 0x00RRGGBB, in the display header, which is built if need be.
 * Returns the header, or null where it could not be allocated. Entries never set are black. Entries outside
 * the palette, and every entry of a bitmap that is not BMP_FORMAT_PAL8, are not stored.
 */
BMP_API void* BMP_CALL bmp_set_palette(Bitmap* bitmap, uint32_t index, uint32_t quad);

/** 0x??BBGGRR to 0x00RRGGBB and back. The first argument is ignored. */
BMP_API uint32_t BMP_CALL bmp_translate_color(const Bitmap* unused, uint32_t color);

/**
 * Shows width columns of the bitmap, from src_x on, on a Windows device context at (dest_x, dest_y),
 * unconverted: one SetDIBitsToDevice of the whole bitmap with source line 0, height lines and first scan line
 * start_line. Device line dest_y + i, for i from 0 to height - 1, shows line
 * bitmap->height - height + start_line + i where there is one: with the bitmap's height, start_line is the
 * line at the top; a smaller height shows the last lines. Returns the number of lines set, 0 on failure, with
 * a start_line outside the bitmap and on systems without device contexts.
 */
BMP_API int32_t BMP_CALL bmp_display(void* device, int32_t dest_x, int32_t dest_y, int32_t width,
                                     int32_t height, Bitmap* bitmap, int32_t src_x, int32_t start_line);

/* ---- Raster operations -------------------------------------------------------------------------------- */

/** @name Pixel operations of bmp_draw_rect and bmp_draw_line */
/** @{ */
#define BMP_OP_SET 0x00u /**< the value in place of the pixel */
#define BMP_OP_OR 0x10u  /**< bitwise or */
#define BMP_OP_AND 0x20u /**< bitwise and */
#define BMP_OP_XOR 0x30u /**< bitwise exclusive or, lines only */
/** @} */

/**
 * Fills columns left..right-1 of lines top..bottom-1, clipped to the bitmap.
 * - BMP_FORMAT_RGB32, BMP_OP_SET: the pixel becomes value.
 * - BMP_FORMAT_KEY16, BMP_OP_SET: the pixel becomes the low 16 bits of value.
 * - BMP_FORMAT_PAL8, exactly BMP_OP_OR or BMP_OP_AND: combined with the low 8 bits of value.
 *
 * Any other pair draws nothing; the 8-bit format has no plain fill.
 */
BMP_API void BMP_CALL bmp_draw_rect(Bitmap* bitmap, int32_t left, int32_t top, int32_t right, int32_t bottom,
                                    uint32_t value, uint32_t op);

/**
 * Draws a one-pixel line from (x0, y0), included, to (x1, y1), excluded, on BMP_FORMAT_PAL8 alone, so that
 * joined lines do not combine a shared point twice. Bits 4..6 of op choose SET, OR, AND or XOR with the low
 * 8 bits of value. The line must lie inside the bitmap; pixels outside are left out.
 */
BMP_API void BMP_CALL bmp_draw_line(Bitmap* bitmap, int32_t x0, int32_t y0, int32_t x1, int32_t y1,
                                    uint32_t value, uint32_t op);

/**
 * Copies a frame, padding included, or with BMP_FIELD_ONLY one field. Both bitmaps must have one geometry;
 * otherwise only what fits both is copied.
 */
BMP_API void BMP_CALL bmp_copy(Bitmap* destination, const Bitmap* source, uint32_t flags);

/**
 * Copies a rectangle between bitmaps of one pixel size, clipped to both; between unequal ones nothing is
 * drawn where the source's lines are too short for the destination's bytes. Clipping at the source's left
 * and top edges moves the destination along; clipping at the destination's left and top edges does not move
 * the source. With BMP_FIELD_ONLY only destination lines of the chosen field are written, from the source
 * lines at the same relative positions. Lines are copied from the top, each forwards.
 */
BMP_API void BMP_CALL bmp_blt(Bitmap* destination, int32_t dest_x, int32_t dest_y, int32_t width,
                              int32_t height, const Bitmap* source, int32_t src_x, int32_t src_y,
                              uint32_t flags);

/**
 * Builds a whole frame from one field (BMP_FIELD_ODD chooses it): its lines are copied, the lines between
 * become the byte-wise rounded mean of their neighbours, missing neighbours are repeated. In place is
 * allowed. The source must have the destination's pitch and at least its height, the odd field two lines;
 * otherwise nothing is drawn.
 */
BMP_API void BMP_CALL bmp_interporate(Bitmap* destination, const Bitmap* source, uint32_t flags);

/* ---- Composition -------------------------------------------------------------------------------------- */

/** bmp_compose: the key argument is a mix level 0..4096, not a bitmap. Wrap it with BMP_LEVEL. */
#define BMP_COMPOSE_MIX 0x10000u

/** A number in place of a bitmap, for the arguments that take either. */
#define BMP_VALUE(number) ((const void*)(uintptr_t)(uint32_t)(number))
/** A mix level 0..4096 in place of bmp_compose's key. */
#define BMP_LEVEL(level) BMP_VALUE(level)

/**
 * Lays foreground over background through a key plane: 0..128 a pixel in a BMP_FORMAT_KEY8 bitmap, 0..4096
 * in any other; or, with BMP_COMPOSE_MIX, mixes them with one level 0..4096. destination may be background
 * or foreground. With a key, the images are BMP_FORMAT_YUY2 or BMP_FORMAT_RGB32 (other formats draw
 * nothing) and up to 7 pixels of each line's padding may be written; chroma follows the key of the even
 * pixel. The constant mix takes any format and mixes whole lines, padding included.
 *
 * All bitmaps must have at least the destination's height, and with a key its width, in a mix its pitch; a
 * call with a smaller one draws nothing. So does one with a record of the host's own whose lines have no
 * room for the padding that is written, or a mix with a pitch that is no multiple of 4.
 *
 * Keys above their scale give meaningless pixels. Results differ by at most one between processor levels;
 * bytes 3 of RGB32 pixels are written at levels 1 and above.
 */
BMP_API void BMP_CALL bmp_compose(Bitmap* destination, const Bitmap* background, const Bitmap* foreground,
                                  const void* key, uint32_t flags);

/**
 * Composes with a flat colour (YUY2: Y, U, V in bits 16, 8, 0 and up; RGB32: red, green, blue).
 * With border_key: foreground where key is 4096, background where border_key is 0, the colour in the band
 * where border_key exceeds key. Without (null): background through key over the colour; foreground is not
 * read. Both keys are 16-bit planes.
 *
 * At level 0 the bordered RGB32 form takes the colour's bytes in reverse order; above it also writes bytes 3,
 * with bits 24..31 of the colour, and differs by up to three. All other results differ by at most one between
 * processor levels. The YUY2 forms leave the last width % 2 pixels of a line as they were at level 0, the
 * last width % 4 above.
 */
BMP_API void BMP_CALL bmp_compose_color(Bitmap* destination, const Bitmap* background,
                                        const Bitmap* foreground, const Bitmap* key, const Bitmap* border_key,
                                        uint32_t color, uint32_t flags);

/* ---- Key shapes --------------------------------------------------------------------------------------- */

/** @name Flags of bmp_alpha_rect
 * Bits 4..6 say how coverage meets what the plane holds; other codes draw nothing there. */
/** @{ */
#define BMP_ALPHA_ADD 0x00u        /**< coverage is added */
#define BMP_ALPHA_MAX 0x10u        /**< the larger one stays */
#define BMP_ALPHA_ROUNDED 0x10000u /**< rounded corners, with BMP_ALPHA_SOFT or BMP_ALPHA_HARD */
#define BMP_ALPHA_SOFT 0x20000u    /**< coverage falls over the corner radius */
#define BMP_ALPHA_HARD 0x800000u   /**< anti-aliased corners */
#define BMP_ALPHA_COSINE 0x40000u  /**< raised-cosine instead of linear falloff; discs too */
/** @} */

/**
 * Draws a rectangle (pixels and lines, resolution 1/64, full coverage 4096) into a key plane: partly covered
 * pixels are added to what the plane holds (16 bits, wrapping) or combined by maximum; wholly covered ones
 * become 4096. Where two sides meet in one pixel column each is drawn as if the other were elsewhere; in one
 * line, only the top counts.
 *
 * Rounded: the corners are quarters of an ellipse with these radii, which shrink, keeping their ratio, until
 * they fit; radii below 1/64 draw the plain rectangle. Hard: true area coverage. Soft: coverage falls from
 * 4096 at the radii's distance inside to 0 at the sides and the corners' rim.
 *
 * This and bmp_alpha_circle draw words of 16 bits into a plane of BMP_FORMAT_KEY16. Other formats are not
 * told apart: words are written all the same where a line has room for them, nothing where it has not.
 * Flags: FieldFlags, with BMP_FIELD_ODD alone every line, and the ones above.
 */
BMP_API void BMP_CALL bmp_alpha_rect(Bitmap* bitmap, float x, float y, float width, float height,
                                     float radius_x, float radius_y, uint32_t flags);

/**
 * Fills a 16-bit key plane with a disc: 4096 inside, 0 outside, a hard anti-aliased rim (softness 0) or a
 * soft band of that width inside the radius. Lengths are in pixels; a line is aspect high, and cy is in
 * those units. Every pixel of every line of the field is written. Flags: FieldFlags (BMP_FIELD_ODD alone
 * leaves out line 0 only), BMP_ALPHA_COSINE.
 *
 * A radius of 0 or less gives an empty plane, a softness below 0 the hard rim. A softness above the radius
 * leaves the centre below 4096, as far as the band has risen there. An aspect that is not above 0 gives
 * meaningless values.
 */
BMP_API void BMP_CALL bmp_alpha_circle(Bitmap* bitmap, float cx, float cy, float radius, float softness,
                                       float aspect, uint32_t flags);

/* ---- Texture mapping ---------------------------------------------------------------------------------- */

/** A corner of a textured polygon. */
typedef struct PolygonVertex {
  float u; /**< texture column, 0 is the left edge of texel 0 */
  float v; /**< texture line, in lines of the whole frame */
  float q; /**< perspective weight (reciprocal depth); equal in all vertices: affine mapping */
  float x; /**< destination column, pixel k has its centre at k + 0.5 */
  float y; /**< destination line */
} PolygonVertex;

/** Flags of bmp_map_polygon beside FieldFlags. */
typedef enum MapFlags {
  BMP_MAP_AUX = 0x10,       /**< texture in texture_b; texture_a is a colour, or points to a row of depths */
  BMP_MAP_ONE_VALUE = 0x30, /**< no texture: texture_a is a colour, texture_b its opacity 0..4096 */
  BMP_MAP_SMOOTH = 0x4000,  /**< anti-aliased edges, convex polygons only */
  BMP_MAP_NEAREST = 0x8000  /**< point sampling, no minification filter */
} MapFlags;

/** The largest number of vertices; larger polygons draw nothing. */
#define BMP_MAX_VERTICES 1024

/**
 * Draws a textured polygon into destination and, where given, fills cover (BMP_FORMAT_KEY8 with 128, else
 * 16-bit with 4096) beside it. A null destination draws into cover and fills no plane. Pixels whose centres
 * lie inside by the even-odd rule are drawn; polygons that share an edge neither overlap nor leave a gap.
 *
 * Texture. texture_a, or texture_b where texture_a is null or BMP_MAP_AUX is set; of the destination's
 * format, or BMP_FORMAT_KEY8. Coordinates outside repeat its outermost texels; columns and lines from 32767
 * on are out of reach. One created with BMP_FIELD_ONLY is read as one field, which BMP_FIELD_ODD in flags
 * chooses.
 *
 * Colour through an 8-bit texture. Onto YUY2 or RGB32, with BMP_MAP_AUX and BMP_VALUE(colour) in texture_a,
 * in the packing of the one-value fill; each texel, 0..255, is the colour's opacity. Without the flag nothing
 * is drawn; matte is not looked at.
 *
 * Depth. With a matte, for YUY2 and RGB32 textures, a pixel is drawn where its interpolated q is greater than
 * the float that matte holds for it, and the float becomes that q: larger is nearer. matte: 32-bit floats, of
 * the destination's geometry; clear it (q above 0) before the first polygon. With BMP_MAP_AUX, a null matte
 * and unequal weights, texture_a points to one row of such floats, as many as the destination has columns,
 * which serves every line and is written too; null draws nothing.
 *
 * One value (BMP_MAP_ONE_VALUE). texture_a is BMP_VALUE(colour): for YUY2, Y, U and V in bits 16, 8 and 0 and
 * up; for RGB32, bits 0, 8 and 16 and up go to bytes 0, 1 and 2, byte 3 stays. texture_b is
 * BMP_VALUE(opacity), 0..4096. Edges are smooth, only YUY2 and RGB32 destinations are served, and matte is
 * not looked at.
 *
 * Smooth edges. Not with BMP_MAP_NEAREST, beside a matte or with an 8-bit texture: there the flag is ignored.
 * A line is drawn between two edges alone, the first to begin: of a polygon that is not convex, parts are
 * missing or notches filled. Beside a coverage plane they blend by how much of a pixel has been painted
 * before, so that polygons which share an edge join without a seam; clear the plane first.
 *
 * What has no kernel, or a plane smaller than the destination, draws nothing; so does a polygon with a NaN.
 */
BMP_API void BMP_CALL bmp_map_polygon(Bitmap* destination, Bitmap* cover, Bitmap* matte,
                                      const void* texture_a, const void* texture_b,
                                      const PolygonVertex* vertices, int32_t count, uint32_t flags);

/**
 * Resamples a source rectangle onto a destination rectangle by exact area weighting: every pixel becomes the
 * mean of what lies under it. Corners are in pixels and lines, at any fraction, the second ones excluded;
 * positions are kept to 1/4096 pixel and 1/2048 line. Starts outside are clipped, their partners with them.
 * Beyond the destination's far sides nothing is drawn, beyond the source's its last pixels repeat.
 *
 *   BMP_FORMAT_PAL8, cover null: 8-bit samples; edge pixels are scaled by how much of them is covered.
 *   BMP_FORMAT_RGB32 with cover: wholly covered pixels are replaced, edge pixels join what is there.
 *   BMP_FORMAT_YUY2 with cover: all pixels join what is there, except inside magnified lines.
 *
 * Any other pair draws nothing. source should have the destination's pixel size; its format is not looked at.
 * cover, 16-bit samples of the destination's geometry, accumulates how much of each pixel has been painted
 * (4096: once; modulo 65536). Clear it before a series of calls; rectangles that share an edge then join
 * without a seam.
 *
 * With BMP_FIELD_ONLY the lines of one field are drawn, coordinates still those of the frame; a source
 * created with BMP_FIELD_ONLY is then read as that field alone. source_extent must be null: a call with one
 * draws nothing. So do empty rectangles, spans of zero, infinities and NaNs.
 */
BMP_API void BMP_CALL bmp_map_rect(Bitmap* destination, Bitmap* cover, float dst_x0, float dst_y0,
                                   float dst_x1, float dst_y1, const Bitmap* source,
                                   const int32_t* source_extent, float src_x0, float src_y0, float src_x1,
                                   float src_y1, uint32_t flags);

#ifdef __cplusplus
}
#endif

#endif
