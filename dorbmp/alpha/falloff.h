// The profiles of soft edges, from 4096 at the inner end of a band to 0 at the outer one.
#pragma once

#include <array>
#include <cstdint>

namespace dorbmp::alpha {

inline constexpr int32_t kDistanceSteps = 1024;
inline constexpr int32_t kSquareSteps = 2048;

// One profile, indexed twice: by distance for straight bands and discs, by squared distance for corners,
// where the square is at hand and its root is not.
struct Falloff {
  std::array<uint16_t, kDistanceSteps + 1> by_distance;  // entry i at distance i / 1024
  std::array<uint16_t, kSquareSteps + 1> by_square;      // entry i at distance sqrt(i / 2048)
};

extern const Falloff kLinearFalloff;
extern const Falloff kCosineFalloff;

// BMP_ALPHA_COSINE chooses.
const Falloff& falloff(uint32_t flags);

}  // namespace dorbmp::alpha
