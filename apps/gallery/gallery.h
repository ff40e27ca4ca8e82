// The list of pictures. To add one, add an entry to the list of its subsystem; to add a subsystem, write a
// file with a list and name it in kSections (main.cpp).
#pragma once

#include <span>

#include "image.h"

namespace dorbmp::gallery {

struct Entry {
  const char* name;   // of the file, without extension
  const char* title;  // in the picture
  const char* text;   // under it, on the page
  Image (*render)(const char* title);
};

std::span<const Entry> raster_entries();
std::span<const Entry> alpha_entries();
std::span<const Entry> compose_entries();
std::span<const Entry> polygon_entries();
std::span<const Entry> rect_entries();

}  // namespace dorbmp::gallery
