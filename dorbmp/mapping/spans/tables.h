// The kernels there are, by kind and family. A family's list names the slots it replaces in the plain table.
#pragma once

#include <span>
#include <utility>

#include "dorbmp/mapping/spans/span_types.h"

namespace dorbmp::spans {

// Sides of the filter boxes in half texels: slot 1 + 5 * vertical class + horizontal class.
inline constexpr int kHalfWidths[] = {2, 4, 6, 8, 16};
inline constexpr int kHalfHeights[] = {2, 3, 4, 8};

template <class Span>
struct KindTables {
  SpanTable<Span> slots;
  Span* small;  // for textures smaller than their box; its src is a SmallTexture
};

// What a kernel that takes a slot must give for equal coordinates.
enum class Exactness : uint8_t {
  kExact,         // the bytes of the kernel it replaces
  kMayBeOneLess,  // an approximate division: the bytes, or one below
};

template <class Span>
struct SpanOverride {
  int slot;
  Span* kernel;
  Exactness exactness;
};
template <class Span>
using SpanOverrides = std::span<const SpanOverride<Span>>;

template <int... kSlot>
using Slots = std::integer_sequence<int, kSlot...>;

template <int... kSlot>
constexpr bool has(Slots<kSlot...>, int slot) {
  return ((slot == kSlot) || ...);
}

namespace plain {
extern const KindTables<AffineSpan> yuy2_affine;
extern const KindTables<PerspectiveSpan> yuy2_perspective;
extern const KindTables<AffineSpan> rgb32_affine;
extern const KindTables<PerspectiveSpan> rgb32_perspective;
extern const KindTables<AffineSpan> key16_affine;
extern const KindTables<PerspectiveSpan> key16_perspective;
extern const KindTables<AuxSpan> yuy2_depth;
extern const KindTables<AuxSpan> rgb32_depth;
extern const KindTables<AuxSpan> matte_yuy2;
extern const KindTables<AuxSpan> matte_rgb32;
}  // namespace plain

namespace mmxext {
// Affine and in perspective. The widest boxes of packed 4:2:2, and the tallest but the narrowest, stay plain.
using Yuy2Slots = Slots<0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 11, 12, 13, 14, 16>;
using Rgb32Slots = Slots<1, 2, 3, 4, 6, 11>;
using Key16Slots = Slots<1, 2, 6, 11>;

extern const SpanOverrides<AffineSpan> yuy2_affine;
extern const SpanOverrides<PerspectiveSpan> yuy2_perspective;
extern const SpanOverrides<AffineSpan> rgb32_affine;
extern const SpanOverrides<PerspectiveSpan> rgb32_perspective;
extern const SpanOverrides<AffineSpan> key16_affine;
extern const SpanOverrides<PerspectiveSpan> key16_perspective;
extern const SpanOverrides<AuxSpan> yuy2_depth;
extern const SpanOverrides<AuxSpan> rgb32_depth;
extern const SpanOverrides<AuxSpan> matte_yuy2;
extern const SpanOverrides<AuxSpan> matte_rgb32;
}  // namespace mmxext

// Wider kernels for the highest level, with the bytes of those they replace, MMX ones included. Not in every
// build.
namespace avx2 {
extern const SpanOverrides<AffineSpan> yuy2_affine;
extern const SpanOverrides<PerspectiveSpan> yuy2_perspective;
extern const SpanOverrides<AffineSpan> rgb32_affine;
extern const SpanOverrides<PerspectiveSpan> rgb32_perspective;
extern const SpanOverrides<AffineSpan> key16_affine;
extern const SpanOverrides<PerspectiveSpan> key16_perspective;
extern const SpanOverrides<AuxSpan> yuy2_depth;
extern const SpanOverrides<AuxSpan> rgb32_depth;
extern const SpanOverrides<AuxSpan> matte_yuy2;
extern const SpanOverrides<AuxSpan> matte_rgb32;
}  // namespace avx2

}  // namespace dorbmp::spans
