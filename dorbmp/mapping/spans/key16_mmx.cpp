// 16-bit planes. Values are the plain kernels'; affine spans advance by adding, so their coordinates differ
// in the last places.
#include <cstring>

#include "dorbmp/mapping/spans/box_mmx.h"
#include "dorbmp/mapping/spans/span_mmx.h"

namespace dorbmp::spans::mmx {
namespace {

template <int kHalfWidth, int kHalfHeight>
struct PutBox {
  DORBMP_INLINE void put(uint8_t* row, int32_t x, const Texture& texture, const PositionMmx& at) const {
    const auto key = static_cast<uint16_t>(BoxMmx<Key16Mmx, kHalfWidth, kHalfHeight>::sample(texture, at));
    std::memcpy(row + static_cast<ptrdiff_t>(x) * 2, &key, sizeof(key));
  }
};

constexpr auto kExact = Exactness::kExact;

constexpr SpanOverride<AffineSpan> kAffine[] = {
    {1, affine<AddingWalk, PutBox<2, 2>>, kExact},
    {2, affine<AddingWalk, PutBox<4, 2>>, kExact},
    {6, affine<AddingWalk, PutBox<2, 3>>, kExact},
    {11, affine<AddingWalk, PutBox<2, 4>>, kExact},
};

constexpr SpanOverride<PerspectiveSpan> kPerspective[] = {
    {1, perspective<PutBox<2, 2>>, kExact},
    {2, perspective<PutBox<4, 2>>, kExact},
    {6, perspective<PutBox<2, 3>>, kExact},
    {11, perspective<PutBox<2, 4>>, kExact},
};

}  // namespace

constinit const SpanOverrides<AffineSpan> key16_affine = kAffine;
constinit const SpanOverrides<PerspectiveSpan> key16_perspective = kPerspective;

}  // namespace dorbmp::spans::mmx
