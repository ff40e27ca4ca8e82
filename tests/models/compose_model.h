// What composition must write, byte by byte, from its formulas.
#pragma once

#include "support/frames.h"

namespace dorbmp::test {

// Each returns the destination's whole block after the call at that processor level. Destination and sources
// may be one frame.
std::vector<uint8_t> model_compose(int level, Frame& dst, Frame& background, Frame& foreground, Frame& key,
                                   uint32_t flags);
std::vector<uint8_t> model_mix(int level, Frame& dst, Frame& background, Frame& foreground, int32_t mix_level,
                               uint32_t flags);
// border_key may be null; foreground is then not read.
std::vector<uint8_t> model_compose_color(int level, Frame& dst, Frame& background, Frame& foreground,
                                         Frame& key, Frame* border_key, uint32_t color, uint32_t flags);

}  // namespace dorbmp::test
