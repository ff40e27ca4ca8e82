// Rows of packed 4:2:2 in the three shapes that hold exactly the same samples, and flat fills.
#pragma once

#include "dorfx/av.h"
#include "dorfx/frame.h"

namespace dorfx {

// Whether rows of this format can be exchanged with a working frame's without any arithmetic.
bool is_same_samples(AVPixelFormat format, PixelFormat working);

// Copies a row of `width` pixels, starting at pixel `from_x` (even) of line from_y, to pixel to_x (even) of
// line to_y. Of an odd width the last pixel is its own partner.
void copy_row_in(const AVFrame& from, int from_x, int from_y, int width, Frame& to, int to_x, int to_y);

// Copies the whole picture out; formats as is_same_samples, sizes equal.
void copy_picture_out(const Frame& from, AVFrame& to);

// Gives the partner of an odd width's last pixel that pixel's key, on the lines that FieldFlags choose:
// colour composition takes a pair's chroma key from both.
void pair_last_key(Frame& key, uint32_t fields);

// Sets every pixel to a colour packed as composition takes it (Stage::packed).
void fill(Frame& frame, uint32_t color);

}  // namespace dorfx
