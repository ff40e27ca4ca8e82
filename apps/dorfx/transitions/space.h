// Points in space and how they are seen. Lengths are in widths of a pixel; x to the right, y down, z away
// from the viewer. The frame lies at z = 0 around the origin, where nothing changes its size.
#pragma once

#include <array>
#include <cmath>

namespace dorfx {

struct Vec3 {
  double x, y, z;
};

// Corners from the upper left one, clockwise where the front is seen.
using Corners = std::array<Vec3, 4>;

// About an axis through the origin, by radians.
inline Vec3 turned_x(const Vec3& p, double angle) {
  const double c = std::cos(angle), s = std::sin(angle);
  return {p.x, c * p.y - s * p.z, s * p.y + c * p.z};
}
inline Vec3 turned_y(const Vec3& p, double angle) {
  const double c = std::cos(angle), s = std::sin(angle);
  return {c * p.x - s * p.z, p.y, s * p.x + c * p.z};
}
inline Vec3 turned_z(const Vec3& p, double angle) {
  const double c = std::cos(angle), s = std::sin(angle);
  return {c * p.x - s * p.y, s * p.x + c * p.y, p.z};
}
inline Vec3 moved(const Vec3& p, double x, double y, double z) {
  return {p.x + x, p.y + y, p.z + z};
}

template <class Move>
Corners each(Corners corners, Move move) {
  for (Vec3& corner : corners) corner = move(corner);
  return corners;
}

}  // namespace dorfx
