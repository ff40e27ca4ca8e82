// Front ends of composition: rows, skips, the alignment test, the slot.
#pragma once

#include <cstdint>

#include "dorbmp.h"

namespace dorbmp::compose {

// key: a key plane, or with BMP_COMPOSE_MIX the mix level.
void compose(Bitmap& dst, const Bitmap& background, const Bitmap& foreground, const void* key,
             uint32_t flags);

// foreground is read with a border key alone, and may be null without one.
void compose_color(Bitmap& dst, const Bitmap& background, const Bitmap* foreground, const Bitmap& key,
                   const Bitmap* border_key, uint32_t color, uint32_t flags);

}  // namespace dorbmp::compose
