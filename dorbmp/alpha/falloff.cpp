#include "dorbmp/alpha/falloff.h"

#include "dorbmp.h"
#include "dorbmp/fixed.h"

// The tables are made at compile time, so that every target holds the same ones.
namespace dorbmp::alpha {
namespace {

// 2048 * (1 + cos(pi * sqrt(square))), to nearest. The series runs in the square of the angle, so neither
// table needs a root. square is at most 1: the last term, z^16 / 32!, is below 1e-19.
constexpr uint16_t raised_cosine(double square) {
  constexpr double kPi = 3.14159265358979323846;
  const double z = kPi * kPi * square;
  double cosine = 1;
  for (int k = 16; k > 0; --k) cosine = 1 - cosine * z / ((2 * k - 1) * (2 * k));
  return static_cast<uint16_t>(2048 * (1 + cosine) + 0.5);
}

constexpr Falloff make_linear() {
  Falloff table{};
  for (int32_t i = 0; i <= kDistanceSteps; ++i) {
    table.by_distance[i] = static_cast<uint16_t>(kFullKey - 4 * i);
  }
  // 4096 * sqrt(i / 2048) is sqrt(8192 * i), a whole number or no tie: the nearest one grows with i.
  int64_t root = 0;
  for (int64_t i = 0; i <= kSquareSteps; ++i) {
    while ((2 * root + 1) * (2 * root + 1) < 4 * 8192 * i) ++root;
    table.by_square[i] = static_cast<uint16_t>(kFullKey - root);
  }
  return table;
}

constexpr Falloff make_cosine() {
  Falloff table{};
  for (int32_t i = 0; i <= kDistanceSteps; ++i) {
    table.by_distance[i] = raised_cosine(static_cast<double>(i * i) / (kDistanceSteps * kDistanceSteps));
  }
  for (int32_t i = 0; i <= kSquareSteps; ++i) {
    table.by_square[i] = raised_cosine(static_cast<double>(i) / kSquareSteps);
  }
  return table;
}

}  // namespace

constexpr Falloff kLinearFalloff = make_linear();
constexpr Falloff kCosineFalloff = make_cosine();

const Falloff& falloff(uint32_t flags) {
  return (flags & BMP_ALPHA_COSINE) != 0 ? kCosineFalloff : kLinearFalloff;
}

}  // namespace dorbmp::alpha
