// The picture behind a keyed wipe.
#pragma once

#include <string>

#include "dorfx/pattern.h"

namespace dorfx {

// Which sample values are 0 and 1: of 8 bits, 0 and 255, or 16 and 235.
enum class KeyRange { kFull, kLimited };

// Reads the first picture of a file that FFmpeg's libraries open, 8 or 16 bits, and scales it to the frame.
// Of a colour picture the brightness counts. Equal samples stay equal: white is exactly 1, black exactly 0.
Pattern load_key_picture(const std::string& name, KeyRange range, int width, int height);

// The same for a picture in memory: every destination pixel is the mean of what lies under it, or where the
// picture is smaller, blends its neighbours.
Pattern resample(const Pattern& picture, int width, int height);

}  // namespace dorfx
