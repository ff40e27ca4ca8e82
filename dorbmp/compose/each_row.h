// The walk over a frame's rows that every composition kernel shares.
#pragma once

#include <cstddef>
#include <cstdint>

#include "dorbmp/compiler.h"

namespace dorbmp::compose {
namespace {  // files with different instruction sets must not share this

// A plane at its current row. count units of unit bytes and the skip make the way to the next row, however
// many of them a kernel's step reaches.
template <class Byte>
struct Plane {
  Byte* row;
  ptrdiff_t pitch;

  Plane(Byte* first, ptrdiff_t skip, int32_t count, int unit)
      : row(first), pitch(skip + ptrdiff_t{count} * unit) {}
};

template <class RowKernel, class... Bytes>
DORBMP_INLINE void each_row(int32_t rows, RowKernel kernel, Plane<Bytes>... planes) {
  for (; rows > 0; --rows) {
    kernel(planes.row...);
    ((planes.row += planes.pitch), ...);
  }
}

}  // namespace
}  // namespace dorbmp::compose
