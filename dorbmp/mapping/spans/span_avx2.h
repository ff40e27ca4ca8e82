// The calling interfaces of the AVX2 span kernels, and the makers of their lists.
//
// A kind names its Sampler<kSlot>, the kernels it has replaced, and a quicker Bilinear for slot 1 where it
// has one; it says at which pixel a walk must begin, and runs a span. One with affine spans has a Walk<kSlot>
// for them and the size of its texels.
#pragma once

#include <array>
#include <utility>

#include "dorbmp/mapping/spans/ahead_avx2.h"
#include "dorbmp/mapping/spans/tables.h"
#include "dorbmp/mapping/spans/walk_avx2.h"

namespace dorbmp::spans::avx2 {
namespace {  // files with different instruction sets must not share these

// The kernels that the ones here stand for, on textures that leave no room for them.
template <class Span>
struct Replaced {
  const KindTables<Span>& plain;
  const SpanOverrides<Span>& mmx;

  Span* in(int slot) const {
    for (const SpanOverride<Span>& kernel : mmx) {
      if (kernel.slot == slot) return kernel.kernel;
    }
    return plain.slots[static_cast<size_t>(slot)];
  }
};

template <class Kind, int kSlot>
concept HasBilinear = kSlot == 1 && requires {
  typename Kind::Bilinear;
};

template <class Kind, int kSlot>
DORBMP_NOINLINE void BMP_CALL affine(uint8_t* dst_row, int32_t x_first, int32_t x_last, const uint8_t* src,
                                     int32_t src_pitch, float du, float dv, float u_start, float v_start,
                                     float u_max, float v_max) {
  const auto run = [&](const auto& sampler) DORBMP_INLINE_LAMBDA {
    typename Kind::template Walk<kSlot> walk(Kind::begin(x_first), du, dv, u_start, v_start, u_max, v_max);
    Kind::run(dst_row, x_first, x_last, sampler, walk, way_ahead(du, dv, src_pitch, Kind::kTexel));
  };
  if constexpr (HasBilinear<Kind, kSlot>) {
    using Bilinear = typename Kind::Bilinear;
    if (Bilinear::serves(src_pitch, u_max, v_max)) return run(Bilinear(src, src_pitch));
  }
  const typename Kind::template Sampler<kSlot> sampler(src, src_pitch, u_max, v_max);
  if (!sampler.fits()) {
    return Kind::kAffine.in(kSlot)(dst_row, x_first, x_last, src, src_pitch, du, dv, u_start, v_start, u_max,
                                   v_max);
  }
  run(sampler);
}

// aux is nothing, or what an AuxSpan has.
template <class Kind, int kSlot, class... Aux>
DORBMP_NOINLINE void BMP_CALL perspective(uint8_t* dst_row, int32_t x_first, int32_t x_last,
                                          const uint8_t* src, int32_t src_pitch, float duq, float dvq,
                                          float uq_start, float vq_start, float dq, float q_start,
                                          float u_bias, float v_bias, float u_max, float v_max, Aux... aux) {
  const auto run = [&](const auto& sampler) DORBMP_INLINE_LAMBDA {
    PerspectiveWalkAvx2 walk(Kind::begin(x_first), duq, dvq, uq_start, vq_start, dq, q_start, u_bias, v_bias,
                             u_max, v_max);
    Kind::run(dst_row, x_first, x_last, sampler, walk, aux...);
  };
  if constexpr (HasBilinear<Kind, kSlot>) {
    using Bilinear = typename Kind::Bilinear;
    if (Bilinear::serves(src_pitch, u_max, v_max)) return run(Bilinear(src, src_pitch));
  }
  const typename Kind::template Sampler<kSlot> sampler(src, src_pitch, u_max, v_max);
  if (!sampler.fits()) {
    return Kind::kPerspective.in(kSlot)(dst_row, x_first, x_last, src, src_pitch, duq, dvq, uq_start,
                                        vq_start, dq, q_start, u_bias, v_bias, u_max, v_max, aux...);
  }
  run(sampler);
}

using EverySlot = std::make_integer_sequence<int, kSlots>;

// Slots of a kind, the bilinear one by another kernel if need be.
template <class Kind, int... kSlot>
constexpr auto affine_slots(Slots<kSlot...>, AffineSpan* bilinear = affine<Kind, 1>) {
  return std::array{
      SpanOverride<AffineSpan>{kSlot, kSlot == 1 ? bilinear : affine<Kind, kSlot>, Exactness::kExact}...};
}

template <class Kind, int... kSlot>
constexpr auto perspective_slots(Slots<kSlot...>, PerspectiveSpan* bilinear = perspective<Kind, 1>) {
  return std::array{SpanOverride<PerspectiveSpan>{kSlot, kSlot == 1 ? bilinear : perspective<Kind, kSlot>,
                                                  Exactness::kExact}...};
}

template <class Kind, int... kSlot>
constexpr auto aux_slots(Slots<kSlot...>) {
  return std::array{SpanOverride<AuxSpan>{kSlot, perspective<Kind, kSlot, void*>, Exactness::kExact}...};
}

}  // namespace
}  // namespace dorbmp::spans::avx2
