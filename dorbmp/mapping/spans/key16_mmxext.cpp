// 16-bit planes. Values are the plain kernels'; affine spans advance by adding, so their coordinates differ
// in the last places.
#include <cstring>

#include "dorbmp/mapping/spans/box_mmxext.h"
#include "dorbmp/mapping/spans/span_mmxext.h"

namespace dorbmp::spans::mmxext {
namespace {

template <int kHalfWidth, int kHalfHeight>
struct PutBox {
  DORBMP_INLINE void put(uint8_t* row, int32_t x, const Texture& texture, const PositionMmx& at) const {
    const auto key = static_cast<uint16_t>(BoxMmx<Key16Mmx, kHalfWidth, kHalfHeight>::sample(texture, at));
    std::memcpy(row + static_cast<ptrdiff_t>(x) * 2, &key, sizeof(key));
  }
};

struct Kind {
  using Walk = AddingWalk;
  template <int kSlot>
  using Put = BoxOfSlot<PutBox, kSlot>;
  template <int>
  static constexpr Exactness kExactness = Exactness::kExact;
};

constexpr auto kAffine = affine_slots<Kind>(Key16Slots{});
constexpr auto kPerspective = perspective_slots<Kind>(Key16Slots{});

}  // namespace

constinit const SpanOverrides<AffineSpan> key16_affine = kAffine;
constinit const SpanOverrides<PerspectiveSpan> key16_perspective = kPerspective;

}  // namespace dorbmp::spans::mmxext
