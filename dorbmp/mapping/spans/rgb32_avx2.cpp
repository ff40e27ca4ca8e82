// 32-bit texels, eight pixels to a block. Every slot gives the bytes of the kernel it replaces: the MMX one
// where there is one, with its walk and its quotient, else the plain one.
#include "dorbmp/mapping/spans/depth_walk_avx2.h"
#include "dorbmp/mapping/spans/rgb32_box_avx2.h"
#include "dorbmp/mapping/spans/span_avx2.h"

namespace dorbmp::spans::avx2 {
namespace {

class Nearest {
 public:
  Nearest(const uint8_t* src, int32_t pitch, float, float) : src_(src), pitch_(pitch) {}

  bool fits() const { return true; }

  DORBMP_INLINE __m256i pixels(const PositionsAvx2& at) const {
    const __m256i line = _mm256_mullo_epi32(_mm256_srai_epi32(at.v, 16), all(pitch_));
    const __m256i column = _mm256_slli_epi32(_mm256_srai_epi32(at.u, 16), 2);
    return gather(src_, _mm256_add_epi32(line, column));
  }

 private:
  const uint8_t* src_;
  int32_t pitch_;
};

// MMX kernels walk and divide in their own way.
template <int kSlot>
inline constexpr bool kHasMmxKernel = has(mmxext::Rgb32Slots{}, kSlot);

template <int kSlot, Quotient kQuotient>
struct SlotSampler {
  using Type = Box<kHalfWidth<kSlot>, kHalfHeight<kSlot>, kQuotient>;
};
template <Quotient kQuotient>
struct SlotSampler<0, kQuotient> {
  using Type = Nearest;
};

struct Kind {
  template <int kSlot>
  using Sampler = typename SlotSampler<kSlot, kHasMmxKernel<kSlot> ? Quotient::kMmx : Quotient::kExact>::Type;
  template <int kSlot>
  using Walk = std::conditional_t<kHasMmxKernel<kSlot>, AddingWalkAvx2, AffineWalkAvx2>;
  static constexpr int32_t kTexel = 4;

  static constexpr Replaced<AffineSpan> kAffine = {plain::rgb32_affine, mmxext::rgb32_affine};
  static constexpr Replaced<PerspectiveSpan> kPerspective = {plain::rgb32_perspective,
                                                             mmxext::rgb32_perspective};

  static int32_t begin(int32_t first) { return first; }

  template <class Sampler, class Walk>
  DORBMP_INLINE static void run(uint8_t* row, int32_t first, int32_t last, const Sampler& sampler, Walk& walk,
                                int64_t = 0) {
    uint8_t* to = row + static_cast<ptrdiff_t>(first) * kTexel;
    int32_t left = last - first + 1;
    for (; left >= kBlock; left -= kBlock, to += kBlock * kTexel) {
      store_block(to, sampler.pixels(walk.next()));
    }
    if (left > 0) store_pixels(to, left, sampler.pixels(walk.next()));
  }
};

// Depth-tested. The MMX kernel there is, of slot 1, divides exactly.
struct DepthKind : Kind {
  template <int kSlot>
  using Sampler = typename SlotSampler<kSlot, Quotient::kExact>::Type;
  using Bilinear = avx2::Bilinear;

  static constexpr Replaced<AuxSpan> kPerspective = {plain::rgb32_depth, mmxext::rgb32_depth};

  template <class Sampler>
  DORBMP_INLINE static void run(uint8_t* row, int32_t first, int32_t last, const Sampler& sampler,
                                PerspectiveWalkAvx2& positions, void* depths) {
    DepthWalkAvx2 walk(positions, first, depths);
    uint8_t* to = row + static_cast<ptrdiff_t>(first) * kTexel;
    for (int32_t x = first; x <= last; x += kBlock, to += kBlock * kTexel) {
      __m256i drawn;
      const int32_t end = std::min(last - x + 1, kBlock);
      const __m256i pixels = sampler.pixels(walk.next(x, 0, end, drawn));
      if (end == kBlock) {
        auto* const block = static_cast<__m256i*>(static_cast<void*>(to));
        store_block(to, _mm256_blendv_epi8(_mm256_loadu_si256(block), pixels, drawn));
      } else {
        _mm256_maskstore_epi32(static_cast<int*>(static_cast<void*>(to)), drawn, pixels);
      }
    }
  }
};

DORBMP_NOINLINE void BMP_CALL long_bilinear_affine(uint8_t* dst_row, int32_t x_first, int32_t x_last,
                                                   const uint8_t* src, int32_t src_pitch, float du, float dv,
                                                   float u_start, float v_start, float u_max, float v_max) {
  AddingWalkAvx2 walk(x_first, du, dv, u_start, v_start, u_max, v_max);
  Bilinear(src, src_pitch)
      .run(dst_row + static_cast<ptrdiff_t>(x_first) * 4, x_last - x_first + 1, walk,
           way_ahead(du, dv, src_pitch, Kind::kTexel));
}

// A few pixels need no loop, and no frame for its constants.
void BMP_CALL bilinear_affine(uint8_t* dst_row, int32_t x_first, int32_t x_last, const uint8_t* src,
                              int32_t src_pitch, float du, float dv, float u_start, float v_start,
                              float u_max, float v_max) {
  const int32_t count = x_last - x_first + 1;
  if (!Bilinear::serves(src_pitch, u_max, v_max)) {
    affine<Kind, 1>(dst_row, x_first, x_last, src, src_pitch, du, dv, u_start, v_start, u_max, v_max);
  } else if (count > kBlock) {
    long_bilinear_affine(dst_row, x_first, x_last, src, src_pitch, du, dv, u_start, v_start, u_max, v_max);
  } else {
    AddingWalkAvx2 walk(x_first, du, dv, u_start, v_start, u_max, v_max);
    store_pixels(dst_row + static_cast<ptrdiff_t>(x_first) * 4, count,
                 Bilinear(src, src_pitch).pixels(walk.next()));
  }
}

void BMP_CALL bilinear_perspective(uint8_t* dst_row, int32_t x_first, int32_t x_last, const uint8_t* src,
                                   int32_t src_pitch, float duq, float dvq, float uq_start, float vq_start,
                                   float dq, float q_start, float u_bias, float v_bias, float u_max,
                                   float v_max) {
  if (!Bilinear::serves(src_pitch, u_max, v_max)) {
    return perspective<Kind, 1>(dst_row, x_first, x_last, src, src_pitch, duq, dvq, uq_start, vq_start, dq,
                                q_start, u_bias, v_bias, u_max, v_max);
  }
  const int32_t count = x_last - x_first + 1;
  if (count < 1) return;
  const auto bytes_at = [&](float x) {
    const float w = 1.0f / (x * dq + q_start);
    return bytes_apart((x * duq + uq_start) * w, (x * dvq + vq_start) * w, src_pitch, Kind::kTexel);
  };
  const float first = static_cast<float>(x_first);
  const int64_t ahead = count > kAhead ? bytes_at(first + float{kAhead}) - bytes_at(first) : 0;
  PerspectiveWalkAvx2 walk(x_first, duq, dvq, uq_start, vq_start, dq, q_start, u_bias, v_bias, u_max, v_max);
  Bilinear(src, src_pitch).run(dst_row + static_cast<ptrdiff_t>(x_first) * 4, count, walk, ahead);
}

constexpr auto kAffine = affine_slots<Kind>(EverySlot{}, bilinear_affine);
constexpr auto kPerspective = perspective_slots<Kind>(EverySlot{}, bilinear_perspective);
constexpr auto kDepth = aux_slots<DepthKind>(EverySlot{});

}  // namespace

constinit const SpanOverrides<AffineSpan> rgb32_affine = kAffine;
constinit const SpanOverrides<PerspectiveSpan> rgb32_perspective = kPerspective;
constinit const SpanOverrides<AuxSpan> rgb32_depth = kDepth;

}  // namespace dorbmp::spans::avx2
