// Every kernel of every kind, slot and level against the model of its row of the table.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "dorbmp/mapping/spans/tables.h"
#include "models/span_model.h"
#include "support/fence.h"
#include "support/levels.h"

namespace dorbmp::test {
namespace {

using namespace spans;

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

struct Formats {
  uint32_t texture;
  uint32_t dst;
};

Formats formats_of(Texel texel) {
  switch (texel) {
    case Texel::yuy2:
      return {BMP_FORMAT_YUY2, BMP_FORMAT_YUY2};
    case Texel::rgb32:
      return {BMP_FORMAT_RGB32, BMP_FORMAT_RGB32};
    case Texel::key16:
      return {BMP_FORMAT_KEY16, BMP_FORMAT_KEY16};
    case Texel::matte_yuy2:
      return {BMP_FORMAT_KEY8, BMP_FORMAT_YUY2};
    default:
      return {BMP_FORMAT_KEY8, BMP_FORMAT_RGB32};
  }
}

// How far a footprint reaches beyond its first texel, in 16.16: what the caller takes off the limits.
int32_t margin(int half_units) {
  return (half_units - 2) * 32768 + 16;
}

float limit(int32_t size, int32_t reach) {
  return static_cast<float>(std::max((size - 1) * 65536 - reach, 0));
}

// A kind as the tests see it: its kernels, and the arithmetic of its rows.
template <class Span>
struct Kind {
  const char* name;
  Texel texel;
  Walk walk;
  Walk mmx_walk;
  SpanTable<Span> SpanTables::*installed;
  const KindTables<Span>& plain;
  const SpanOverrides<Span>& mmx;

  SpanModel model(int slot, int level) const {
    SpanModel result{texel, walk, slot};
    if (level < kLevelMmxExt) return result;
    for (const SpanOverride<Span>& replaced : mmx) {
      if (replaced.slot != slot) continue;
      result.walk = mmx_walk;
      if (replaced.exactness == Exactness::kMayBeOneLess) result.quotient = Quotient::by_1365;
    }
    return result;
  }
};

void call(AffineSpan* kernel, const SpanArguments& a, const uint8_t* src, int32_t pitch) {
  kernel(a.dst.row(a.y), a.first, a.last, src, pitch, a.duq, a.dvq, a.uq_start, a.vq_start, a.u_max, a.v_max);
}
void call(PerspectiveSpan* kernel, const SpanArguments& a, const uint8_t* src, int32_t pitch) {
  kernel(a.dst.row(a.y), a.first, a.last, src, pitch, a.duq, a.dvq, a.uq_start, a.vq_start, a.dq, a.q_start,
         a.u_bias, a.v_bias, a.u_max, a.v_max);
}
void call(AuxSpan* kernel, const SpanArguments& a, const uint8_t* src, int32_t pitch) {
  void* const aux =
      a.depths != nullptr ? static_cast<void*>(a.depths) : const_cast<void*>(BMP_VALUE(a.color));
  kernel(a.dst.row(a.y), a.first, a.last, src, pitch, a.duq, a.dvq, a.uq_start, a.vq_start, a.dq, a.q_start,
         a.u_bias, a.v_bias, a.u_max, a.v_max, aux);
}

// Coordinates that stay inside, run over every border, or are no coordinates at all.
void choose_coordinates(Random& random, bool perspective, SpanArguments& a) {
  const float width = static_cast<float>(a.texture->width), height = static_cast<float>(a.texture->height);
  const auto texels = [&](float low, float high) { return random.real(low, high) * 65536.0f; };
  a.uq_start = texels(-0.3f * width, 1.2f * width);
  a.vq_start = texels(-0.3f * height, 1.2f * height);
  a.duq = texels(-1.0f, 1.0f) * width / 40.0f;
  a.dvq = texels(-1.0f, 1.0f) * height / 40.0f;
  if (random.chance(4)) a.duq = 65536.0f * static_cast<float>(random.between(0, 2));
  if (random.chance(4)) a.uq_start = std::floor(a.uq_start / 65536.0f) * 65536.0f;
  if (random.chance(6)) a.dvq = 0.0f;
  a.dq = perspective ? random.real(-0.02f, 0.02f) : 0.0f;
  a.q_start = perspective ? random.real(0.3f, 2.0f) : 1.0f;
  a.u_bias = perspective ? texels(-4.0f, 0.0f) : 0.0f;
  a.v_bias = perspective ? texels(-2.0f, 0.25f) : 0.0f;
  if (random.chance(12)) a.q_start = 0.0f;
  if (random.chance(30)) a.duq = kNaN;
  if (random.chance(30)) a.vq_start = random.chance(2) ? kInfinity : -kInfinity;
  if (random.chance(30)) a.uq_start = 1e30f;
}

template <class Span>
void check(const Kind<Span>& kind, int slot, int level, uint64_t seed, Fence& fence) {
  Random random(seed);
  const SpanModel model = kind.model(slot, level);
  const Formats formats = formats_of(kind.texel);
  const bool matte = formats.texture == BMP_FORMAT_KEY8;
  const int box = matte ? std::clamp(slot, 1, 19) : slot;
  const int half_width = box == 0 ? 2 : kHalfWidths[(box - 1) % 5];
  const int half_height = box == 0 ? 2 : kHalfHeights[(box - 1) / 5];

  // Some textures are smaller than the box: those have a kernel of their own.
  const bool small = slot != 0 && random.chance(5);
  Frame texture(small ? random.between(1, half_width / 2) : random.between(half_width / 2, 40),
                small ? random.between(1, half_height) : random.between((half_height + 1) / 2, 30),
                formats.texture, random, {.extra_pitch = 16 * random.between(0, 1)});
  const bool is_small = texture->width * 2 < half_width || texture->height * 2 < half_height;
  if (random.chance(8))
    std::memset(texture.row(0), 255, static_cast<size_t>(texture->pitch * texture->height));

  Frame expected(random.between(1, 70), 3, formats.dst, random, {.offset = 16, .extra_pitch = 16});
  Frame got(expected->width, 3, formats.dst, random, {.offset = 16, .extra_pitch = 16});
  got.set_bytes(expected.bytes());
  std::vector<float> depths(static_cast<size_t>(expected->width));
  for (float& depth : depths) depth = random.real(-1.0f, 2.0f);
  std::vector<float> model_depths = depths;

  SpanArguments a{.dst = expected, .y = 1, .first = 0, .last = 0, .texture = texture};
  choose_coordinates(random, kind.walk == Walk::perspective || kind.walk == Walk::depth, a);
  a.first = random.between(0, expected->width - 1);
  a.last = random.between(a.first - 1, expected->width - 1);
  // Single precision may round a limit up by those 16.
  const auto reach = [&](int half_units) {
    return slot == 0 ? 0 : margin(half_units) - (random.chance(4) ? 16 : 0);
  };
  a.u_max = limit(texture->width, reach(half_width));
  a.v_max = limit(texture->height, reach(half_height));
  a.color = random.next();
  a.depths = kind.walk == Walk::depth ? model_depths.data() : nullptr;
  SpanModel small_model{kind.texel, kind.walk, slot};
  draw_span(is_small ? small_model : model, a);

  SpanArguments b{.dst = got,
                  .y = 1,
                  .first = a.first,
                  .last = a.last,
                  .texture = texture,
                  .duq = a.duq,
                  .dvq = a.dvq,
                  .uq_start = a.uq_start,
                  .vq_start = a.vq_start,
                  .dq = a.dq,
                  .q_start = a.q_start,
                  .u_bias = a.u_bias,
                  .v_bias = a.v_bias,
                  .u_max = a.u_max,
                  .v_max = a.v_max,
                  .depths = a.depths != nullptr ? depths.data() : nullptr,
                  .color = a.color};
  // The lines end where the last one's texels do: its padding lies beyond the fence.
  std::vector<uint8_t> lines = texture.bytes();
  const int texels = texture->width + (kind.texel == Texel::yuy2 ? texture->width & 1 : 0);
  lines.resize(static_cast<size_t>(texture->pitch * (texture->height - 1) +
                                   texels * bytes_per_pixel(formats.texture)));
  const uint8_t* const src = fence.copy(lines, random.chance(2));
  const SmallTexture record{src,        texture->pitch, texture->width - 1, texture->height - 1,
                            half_width, half_height};
  if (is_small) {
    call(kind.plain.small, b, static_cast<const uint8_t*>(static_cast<const void*>(&record)), 0);
  } else {
    call((span_tables.*kind.installed)[static_cast<size_t>(slot)], b, src, texture->pitch);
  }

  const std::string failure = difference(expected.bytes(), got);
  ASSERT_EQ(failure, "") << kind.name << " slot " << slot << " level " << level << " seed " << seed
                         << " texture " << texture->width << "x" << texture->height;
  ASSERT_EQ(std::memcmp(model_depths.data(), depths.data(), depths.size() * sizeof(float)), 0)
      << kind.name << " slot " << slot << " level " << level << " seed " << seed;
  ASSERT_TRUE(x87_is_empty()) << kind.name << " slot " << slot << " level " << level;
}

template <class Span>
void check_kind(const Kind<Span>& kind) {
  Fence fence;
  for (const Setting setting : {Setting{0}, Setting{2}, Setting{4}}) {
    if (setting.level > kHighestLevel) continue;
    const AtLevel at(setting);
    const int level = setting.level;
    for (int slot = 0; slot < kSlots; ++slot) {
      for (uint64_t seed = 0; seed < 300; ++seed) {
        check(kind, slot, level, seed * 1000 + static_cast<uint64_t>(slot), fence);
        if (testing::Test::HasFatalFailure()) return;
      }
    }
  }
}

// A constant texture, by channels, and what becomes of a line that holds `old` everywhere.
using Channels = std::array<uint8_t, 4>;

void fill_constant(Frame& texture, Texel texel, const Channels& value) {
  const int period = texel == Texel::key16 ? 2 : texel == Texel::yuy2 || texel == Texel::rgb32 ? 4 : 1;
  uint8_t* const bytes = texture.row(0);
  for (int i = 0; i < texture->pitch * texture->height; ++i)
    bytes[i] = value[static_cast<size_t>(i % period)];
}

void paint_constant(uint8_t* line, int first, int last, Texel texel, const Channels& value, uint32_t color) {
  const int a = value[0];
  for (int x = first; x <= last; ++x) {
    switch (texel) {
      case Texel::yuy2:
        line[2 * x] = value[x % 2 == 0 ? 0 : 2];
        if (x % 2 == 0) line[2 * x + 1] = value[1], line[2 * x + 3] = value[3];
        break;
      case Texel::rgb32:
        std::copy(value.begin(), value.end(), line + 4 * x);
        break;
      case Texel::key16:
        std::copy(value.begin(), value.begin() + 2, line + 2 * x);
        break;
      case Texel::matte_rgb32:
        for (int c = 0; c < 3; ++c) {
          const int component = static_cast<int>(color >> (8 * c) & 255);
          line[4 * x + c] = static_cast<uint8_t>((line[4 * x + c] * (255 - a) + a * component) / 255);
        }
        break;
      case Texel::matte_yuy2:
        for (const auto& [byte, shift] : {std::pair{0, 16}, {1, 8}, {3, 0}}) {
          if ((byte != 0 && x % 2 != 0) || a == 0) continue;
          uint8_t& old = line[2 * x + byte];
          const int component = static_cast<int>(color >> shift & 255);
          old = static_cast<uint8_t>((old * (255 - a) + a * component) >> 8);
        }
        break;
    }
  }
}

// In every slot a constant texture gives its own value, at the ends of every scale as well, and a span
// touches the bytes of its pixels and no others, wherever it begins and ends.
template <class Span>
void check_constants(const Kind<Span>& kind) {
  const std::vector<Channels> values =
      kind.texel == Texel::key16
          ? std::vector<Channels>{{0, 0}, {1, 0}, {0, 0x10}, {0xFF, 0x7F}, {0, 0x80}, {0xFF, 0xFF}}
          : std::vector<Channels>{{0, 255, 0, 1}, {255, 0, 255, 254}, {254, 77, 254, 128}, {1, 128, 1, 255}};
  const Formats formats = formats_of(kind.texel);
  constexpr int kWidth = 24;
  constexpr uint32_t kColor = 0xF38040;
  for (const Setting& setting : kSettings) {
    const AtLevel at(setting);
    for (int slot = 0; slot < kSlots; ++slot) {
      for (const Channels& value : values) {
        Random random(static_cast<uint64_t>(slot));
        Frame texture(20, 12, formats.texture, random);
        fill_constant(texture, kind.texel, value);
        for (int first = 4; first < 8; ++first) {
          for (int last = first - 1; last < kWidth; ++last) {
            Frame dst(kWidth, 1, formats.dst, random, {.offset = 16});
            std::vector<uint8_t> expected = dst.bytes();
            paint_constant(expected.data() + dst.offset(), first, last, kind.texel, value, kColor);
            std::array<float, kWidth> depths = {};
            // A step and a start that bring every fraction about, over all four borders.
            const SpanArguments a{.dst = dst,
                                  .y = 0,
                                  .first = first,
                                  .last = last,
                                  .texture = texture,
                                  .duq = 65536 * 1.37f,
                                  .dvq = 65536 * 0.71f,
                                  .uq_start = 65536 * random.real(-8, 4),
                                  .vq_start = 65536 * random.real(-6, 2),
                                  .dq = kind.walk == Walk::affine ? 0.0f : 0.004f,
                                  .q_start = 1.0f,
                                  .u_bias = 0.0f,
                                  .v_bias = 0.0f,
                                  .u_max = limit(20, slot == 0 ? 0 : margin(16)),
                                  .v_max = limit(12, slot == 0 ? 0 : margin(8)),
                                  .depths = kind.walk == Walk::depth ? depths.data() : nullptr,
                                  .color = kColor};
            call((span_tables.*kind.installed)[static_cast<size_t>(slot)], a, texture.row(0), texture->pitch);
            ASSERT_EQ(difference(expected, dst), "")
                << kind.name << " slot " << slot << " level " << setting.level << " value " << int{value[0]}
                << "," << int{value[1]} << " pixels " << first << " to " << last;
          }
        }
      }
    }
  }
}

// clang-format off
const Kind<AffineSpan> kAffineKinds[] = {
    {"yuy2/affine", Texel::yuy2, Walk::affine, Walk::affine, &SpanTables::yuy2_affine, plain::yuy2_affine, mmxext::yuy2_affine},
    {"rgb32/affine", Texel::rgb32, Walk::affine, Walk::adding, &SpanTables::rgb32_affine, plain::rgb32_affine, mmxext::rgb32_affine},
    {"key16/affine", Texel::key16, Walk::affine, Walk::adding, &SpanTables::key16_affine, plain::key16_affine, mmxext::key16_affine},
};
const Kind<PerspectiveSpan> kPerspectiveKinds[] = {
    {"yuy2/perspective", Texel::yuy2, Walk::perspective, Walk::perspective, &SpanTables::yuy2_perspective, plain::yuy2_perspective, mmxext::yuy2_perspective},
    {"rgb32/perspective", Texel::rgb32, Walk::perspective, Walk::perspective, &SpanTables::rgb32_perspective, plain::rgb32_perspective, mmxext::rgb32_perspective},
    {"key16/perspective", Texel::key16, Walk::perspective, Walk::perspective, &SpanTables::key16_perspective, plain::key16_perspective, mmxext::key16_perspective},
};
const Kind<AuxSpan> kAuxKinds[] = {
    {"yuy2/depth", Texel::yuy2, Walk::depth, Walk::depth, &SpanTables::yuy2_depth, plain::yuy2_depth, mmxext::yuy2_depth},
    {"rgb32/depth", Texel::rgb32, Walk::depth, Walk::depth, &SpanTables::rgb32_depth, plain::rgb32_depth, mmxext::rgb32_depth},
    {"matte/yuy2", Texel::matte_yuy2, Walk::perspective, Walk::perspective, &SpanTables::matte_yuy2, plain::matte_yuy2, mmxext::matte_yuy2},
    {"matte/rgb32", Texel::matte_rgb32, Walk::perspective, Walk::perspective, &SpanTables::matte_rgb32, plain::matte_rgb32, mmxext::matte_rgb32},
};
// clang-format on

TEST(Spans, Affine) {
  for (const auto& kind : kAffineKinds) check_kind(kind);
}
TEST(Spans, Perspective) {
  for (const auto& kind : kPerspectiveKinds) check_kind(kind);
}
TEST(Spans, WithAux) {
  for (const auto& kind : kAuxKinds) check_kind(kind);
}
TEST(Spans, ConstantsStayAndOtherBytesToo) {
  for (const auto& kind : kAffineKinds) check_constants(kind);
  for (const auto& kind : kPerspectiveKinds) check_constants(kind);
  for (const auto& kind : kAuxKinds) check_constants(kind);
}

// Steps that are rounded at every pixel, also from halfway between two numbers, over changing exponents: on a
// texture so wide that the last place of a coordinate shows.
TEST(Spans, AddedStepsAreRoundedOneByOne) {
  if (kHighestLevel < 2) return;
  Random textures(3);
  Frame texture(32700, 3, BMP_FORMAT_RGB32, textures);
  for (uint64_t seed = 0; seed < 1500; ++seed) {
    Random random(seed);
    Frame expected(700, 1, BMP_FORMAT_RGB32, random), got(700, 1, BMP_FORMAT_RGB32, random);
    got.set_bytes(expected.bytes());
    SpanArguments a{.dst = expected,
                    .y = 0,
                    .first = random.between(0, 20),
                    .last = random.between(0, 699),
                    .texture = texture};
    const float place = std::ldexp(1.0f, random.between(12, 31));
    a.uq_start = place * (1.0f + (random.chance(3) ? 1e-7f : 0.1f) * random.real(-1.0f, 1.0f));
    a.duq = (static_cast<float>(random.between(-40, 40)) + 0.5f * static_cast<float>(random.between(0, 2))) *
            place * 0x1p-24f;
    if (random.chance(3)) a.duq = place * random.real(-0.01f, 0.01f);
    a.vq_start = random.real(-1.0f, 3.0f) * 65536.0f;
    a.dvq = random.real(-300.0f, 300.0f);
    // Whether or not a coordinate can come to rest on the last texel.
    a.u_max = limit(32700, random.chance(2) ? 16 : 1000);
    a.v_max = limit(3, 16);
    draw_span({Texel::rgb32, Walk::adding, 1}, a);
    for (const Setting setting : {Setting{2}, Setting{4}}) {
      if (setting.level > kHighestLevel) continue;
      const AtLevel at(setting);
      SpanArguments b{.dst = got,
                      .y = 0,
                      .first = a.first,
                      .last = a.last,
                      .texture = texture,
                      .duq = a.duq,
                      .dvq = a.dvq,
                      .uq_start = a.uq_start,
                      .vq_start = a.vq_start,
                      .u_max = a.u_max,
                      .v_max = a.v_max};
      call(span_tables.rgb32_affine[1], b, texture.row(0), texture->pitch);
      ASSERT_EQ(difference(expected.bytes(), got), "") << "seed " << seed << " level " << setting.level;
    }
  }
}

// From level 2 on the slots of a kind's list hold its kernels, all others the plain ones.
template <class Span>
void check_table(const Kind<Span>& kind) {
  for (int level = 0; level < kLevels; ++level) {
    const AtLevel at({level, WiderTwins::kNever});
    SpanTable<Span> expected = kind.plain.slots;
    for (const SpanOverride<Span>& replaced : kind.mmx) {
      const auto slot = static_cast<size_t>(replaced.slot);
      if (level >= kLevelMmxExt) expected[slot] = replaced.kernel;
      EXPECT_NE(replaced.kernel, kind.plain.slots[slot]) << kind.name << " slot " << slot;
    }
    EXPECT_EQ(span_tables.*kind.installed, expected) << kind.name << " level " << level;
    EXPECT_EQ(std::count(expected.begin(), expected.end(), nullptr), 0) << kind.name;
  }
}

TEST(Spans, TablesByLevel) {
  for (const auto& kind : kAffineKinds) check_table(kind);
  for (const auto& kind : kPerspectiveKinds) check_table(kind);
  for (const auto& kind : kAuxKinds) check_table(kind);
  EXPECT_EQ(plain::matte_yuy2.slots[20], plain::matte_yuy2.slots[19]);
  EXPECT_EQ(plain::matte_rgb32.slots[20], plain::matte_rgb32.slots[19]);
}

// The two fade routines: a 4096 scale whose low 8 bits are stored, and a 128 scale that saturates.
TEST(Spans, Fade) {
  Random random(1);
  Frame line(64, 1, BMP_FORMAT_YUY2, random);
  const std::vector<uint8_t> before = line.bytes();
  const int32_t terms[4] = {900000, 20000, 900000, 1044480};
  plain::fade_yuy2(line.row(0), 3000, terms[0], terms[1], terms[3], 31);
  for (size_t i = 0; i < 124; ++i) {
    ASSERT_EQ(line.bytes()[i], static_cast<uint8_t>((before[i] * 3000 + terms[i % 4]) >> 12));
  }
  EXPECT_EQ(line.bytes()[124], before[124]);
  line.set_bytes(before);
  mmxext::fade_yuy2(line.row(0), 100, 9000, 200, 32000, 31);
  const int32_t short_terms[4] = {9000, 200, 9000, 32000};
  for (size_t i = 0; i < 124; ++i) {
    ASSERT_EQ(line.bytes()[i], std::min((before[i] * 100 + short_terms[i % 4]) >> 7, 255));
  }
  EXPECT_TRUE(x87_is_empty());
  for (int level = 0; level < kLevels; ++level) {
    const AtLevel at(level);
    EXPECT_EQ(span_tables.fade, level < kLevelMmxExt ? plain::fade_yuy2 : mmxext::fade_yuy2);
  }
}

}  // namespace
}  // namespace dorbmp::test
