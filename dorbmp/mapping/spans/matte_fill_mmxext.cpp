// A colour through an 8-bit texture. All values are the plain kernels'.
#include "dorbmp/mapping/spans/box_mmxext.h"
#include "dorbmp/mapping/spans/span_mmxext.h"
#include "dorbmp/mapping/spans/writer.h"

namespace dorbmp::spans::mmxext {
namespace {

// The opacity under a pixel, for the plain writers.
struct Opacity {
  [[maybe_unused]] static constexpr bool kUnfiltered = false;
  uint32_t opacity;

  template <int>
  uint32_t channel() const {
    return opacity;
  }
};

template <class Fill, int kHalfWidth, int kHalfHeight>
class PutThrough {
 public:
  explicit PutThrough(uint32_t color) : fill_(color) {}

  DORBMP_INLINE void put(uint8_t* row, int32_t x, const Texture& texture, const PositionMmx& at) const {
    fill_.put(row, x, Opacity{BoxMmx<Matte8Mmx, kHalfWidth, kHalfHeight>::sample(texture, at)});
  }

 private:
  Fill fill_;
};

constexpr auto kExact = Exactness::kExact;

constexpr SpanOverride<AuxSpan> kYuy2[] = {
    {0, color_through_matte<PutThrough<FillYuy2, 2, 2>>, kExact},
    {1, color_through_matte<PutThrough<FillYuy2, 2, 2>>, kExact},
    {10, color_through_matte<PutThrough<FillYuy2, 16, 3>>, kExact},
    {11, color_through_matte<PutThrough<FillYuy2, 2, 4>>, kExact},
};

constexpr SpanOverride<AuxSpan> kRgb32[] = {
    {0, color_through_matte<PutThrough<FillRgb32, 2, 2>>, kExact},
};

}  // namespace

constinit const SpanOverrides<AuxSpan> matte_yuy2 = kYuy2;
constinit const SpanOverrides<AuxSpan> matte_rgb32 = kRgb32;

}  // namespace dorbmp::spans::mmxext
