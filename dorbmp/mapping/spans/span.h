// The loop every plain span kernel is an instance of, the calling interfaces around it, and the maker of
// tables. A kind is a walk, a texel and a writer; a slot is a footprint.
#pragma once

#include "dorbmp/mapping/spans/footprint.h"
#include "dorbmp/mapping/spans/tables.h"
#include "dorbmp/mapping/spans/texel.h"
#include "dorbmp/mapping/spans/walk.h"
#include "dorbmp/mapping/spans/writer.h"

namespace dorbmp::spans {
namespace {  // files with different instruction sets must not share these

// One pixel's texture position, ready to be asked for channels.
template <class Texel, class Footprint>
struct Sample {
  const typename Footprint::Texture& texture;
  Position at;

  // A texel may be moved as a whole.
  static constexpr bool kUnfiltered = std::is_same_v<Footprint, Nearest>;
  const uint8_t* texel() const { return Texel::address(texture.line(at.v >> 16), at.u >> 16); }

  template <int kChannel>
  DORBMP_INLINE uint32_t channel() const {
    return Texel::template sample<Footprint, kChannel>(texture, at);
  }
};

template <class Texel, class Footprint, class Walk, class Writer>
DORBMP_INLINE void run_span(uint8_t* row, int32_t first, int32_t last,
                            const typename Footprint::Texture& texture, Walk walk, const Writer& writer) {
  for (int32_t x = first; x <= last; ++x, walk.advance()) {
    if (walk.admits(x)) writer.put(row, x, Sample<Texel, Footprint>{texture, walk.at(x)});
  }
}

template <class Texel, class Writer>
struct Affine {
  using Span = AffineSpan;

  template <class Footprint>
  static void BMP_CALL span(uint8_t* dst_row, int32_t x_first, int32_t x_last, const uint8_t* src,
                            int32_t src_pitch, float du, float dv, float u_start, float v_start, float u_max,
                            float v_max) {
    run_span<Texel, Footprint>(dst_row, x_first, x_last, {src, src_pitch},
                               AffineWalk{du, dv, u_start, v_start, u_max, v_max}, Writer());
  }
};

template <class Texel, class Writer>
struct Perspective {
  using Span = PerspectiveSpan;

  template <class Footprint>
  static void BMP_CALL span(uint8_t* dst_row, int32_t x_first, int32_t x_last, const uint8_t* src,
                            int32_t src_pitch, float duq, float dvq, float uq_start, float vq_start, float dq,
                            float q_start, float u_bias, float v_bias, float u_max, float v_max) {
    run_span<Texel, Footprint>(
        dst_row, x_first, x_last, {src, src_pitch},
        PerspectiveWalk{duq, dvq, uq_start, vq_start, dq, q_start, u_bias, v_bias, u_max, v_max}, Writer());
  }
};

template <class Texel, class Writer>
struct DepthTested {
  using Span = AuxSpan;

  template <class Footprint>
  static void BMP_CALL span(uint8_t* dst_row, int32_t x_first, int32_t x_last, const uint8_t* src,
                            int32_t src_pitch, float duq, float dvq, float uq_start, float vq_start, float dq,
                            float q_start, float u_bias, float v_bias, float u_max, float v_max,
                            void* depths) {
    const PerspectiveWalk walk{duq, dvq, uq_start, vq_start, dq, q_start, u_bias, v_bias, u_max, v_max};
    run_span<Texel, Footprint>(dst_row, x_first, x_last, {src, src_pitch}, DepthWalk(walk, x_first, depths),
                               Writer());
  }
};

template <class Writer>
struct ColorThroughMatte {
  using Span = AuxSpan;

  template <class Footprint>
  static void BMP_CALL span(uint8_t* dst_row, int32_t x_first, int32_t x_last, const uint8_t* src,
                            int32_t src_pitch, float duq, float dvq, float uq_start, float vq_start, float dq,
                            float q_start, float u_bias, float v_bias, float u_max, float v_max,
                            void* color) {
    run_span<Matte8, Footprint>(
        dst_row, x_first, x_last, {src, src_pitch},
        PerspectiveWalk{duq, dvq, uq_start, vq_start, dq, q_start, u_bias, v_bias, u_max, v_max},
        Writer(static_cast<uint32_t>(reinterpret_cast<uintptr_t>(color))));
  }
};

// Slots 1 to 20: the class across varies faster.
template <int kSlot>
using BoxOf = Box<kHalfWidths[(kSlot - 1) % 5], kHalfHeights[(kSlot - 1) / 5]>;

// Slot 0, slots 1 to kLastBox, and that one's kernel in what is left.
template <class Kind, class Slot0 = Nearest, int kLastBox = kSlots - 1>
constexpr KindTables<typename Kind::Span> make_tables() {
  return []<int... kSlot>(std::integer_sequence<int, kSlot...>) {
    return KindTables<typename Kind::Span>{
        {&Kind::template span<Slot0>, &Kind::template span<BoxOf<std::min(kSlot + 1, kLastBox)>>...},
        &Kind::template span<SmallBox<1>>};
  }
  (std::make_integer_sequence<int, kSlots - 1>{});
}

}  // namespace
}  // namespace dorbmp::spans
