#include "models/span_model.h"

#include <algorithm>
#include <vector>

namespace dorbmp::test {
namespace {

struct Point {
  int32_t u;
  int32_t v;
};

int32_t to_fixed(float value, float limit) {
  if (!(value > 0.0f)) return 0;
  return static_cast<int32_t>(value > limit ? limit : value);
}

using Weights = std::vector<int64_t>;

// The two lists of weights as drawn in the filter's description.
Weights across(int hclass, int64_t f) {
  const int full = std::array{0, 1, 2, 3, 7}[static_cast<size_t>(hclass)];
  Weights weights = {128 - f};
  weights.insert(weights.end(), static_cast<size_t>(full), 128);
  weights.push_back(f);
  return weights;
}

Weights down(int vclass, int64_t f) {
  switch (vclass) {
    case 0:
      return {128 - f, f};
    case 1:
      return f <= 64 ? Weights{128 - f, f + 64} : Weights{128 - f, 128, f - 64};
    case 2:
      return {128 - f, 128, f};
    default:
      return {128 - f, 128, 128, 128, f};
  }
}

// A box half as wide over chroma samples: overlap of [f, f + 64 * width in luma texels] with each.
Weights chroma_across(int hclass, int64_t f) {
  const int64_t end = f + 64 * std::array{1, 2, 3, 4, 8}[static_cast<size_t>(hclass)];
  Weights weights;
  for (int64_t left = 0; left < end; left += 128) {
    weights.push_back(std::min(end, left + 128) - std::max(f, left));
  }
  return weights;
}

// Reads one channel of a texture.
struct Plane {
  Frame& texture;
  int32_t columns;
  int bytes;   // a sample
  int step;    // to the next column
  int offset;  // of column 0

  int64_t at(int32_t column, int32_t line) const {
    column = std::clamp(column, 0, columns - 1);
    line = std::clamp(line, 0, texture->height - 1);
    const uint8_t* sample = texture.row(line) + column * step + offset;
    return bytes == 1 ? sample[0] : sample[0] | sample[1] << 8;
  }
};

uint32_t box(const Plane& plane, int32_t column, int32_t line, const Weights& horizontal,
             const Weights& vertical, Quotient quotient) {
  int64_t total = 0, all = 0;
  for (size_t j = 0; j < vertical.size(); ++j) {
    for (size_t i = 0; i < horizontal.size(); ++i) {
      const int64_t weight = horizontal[i] * vertical[j];
      all += weight;
      total += weight * plane.at(column + static_cast<int32_t>(i), line + static_cast<int32_t>(j));
    }
  }
  if (quotient == Quotient::by_1365 && all % 3 == 0) {
    return static_cast<uint32_t>((total * (49152 / all) + 24576) / 1024 * 1365 / 65536);
  }
  return static_cast<uint32_t>((total + all / 2) / all);
}

class Sampler {
 public:
  Sampler(const SpanModel& model, Frame& texture) : model_(model), texture_(texture) {}

  uint32_t single(Point at, int bytes, int step, int offset) const {
    return filtered({texture_, texture_->width, bytes, step, offset}, at);
  }

  uint32_t luma(Point at) const { return single(at, 1, 2, 0); }

  uint32_t chroma(Point at, int offset) const {
    const Plane pairs{texture_, (texture_->width + 1) / 2, 1, 4, offset};
    const int32_t i = at.u >> 16, j = at.v >> 16;
    const int32_t fx = at.u >> 9 & 127, fy = at.v >> 9 & 127;
    if (model_.slot == 0) return static_cast<uint32_t>(pairs.at(i / 2, j));
    if (model_.slot == 1 && i % 2 == 0) {
      return static_cast<uint32_t>((pairs.at(i / 2, j + 1) * fy + pairs.at(i / 2, j) * (128 - fy) + 64) >> 7);
    }
    if (model_.slot == 1) {
      return static_cast<uint32_t>(
          ((pairs.at(i / 2, j + 1) * (128 - fx) + pairs.at(i / 2 + 1, j + 1) * fx) * fy +
           (pairs.at(i / 2, j) * (128 - fx) + pairs.at(i / 2 + 1, j) * fx) * (128 - fy) + 8192) >>
          14);
    }
    return box(pairs, at.u >> 17, j, chroma_across(hclass(), at.u >> 10 & 127), down(vclass(), fy),
               Quotient::exact);
  }

 private:
  bool is_matte() const { return model_.texel == Texel::matte_yuy2 || model_.texel == Texel::matte_rgb32; }
  // 8-bit textures are filtered in slot 0 as well, and no wider than in slot 19.
  int slot() const { return is_matte() ? std::clamp(model_.slot, 1, 19) : model_.slot; }
  int hclass() const { return (slot() - 1) % 5; }
  int vclass() const { return (slot() - 1) / 5; }

  uint32_t filtered(const Plane& plane, Point at) const {
    const int32_t i = at.u >> 16, j = at.v >> 16;
    if (slot() == 0) return static_cast<uint32_t>(plane.at(i, j));
    return box(plane, i, j, across(hclass(), at.u >> 9 & 127), down(vclass(), at.v >> 9 & 127),
               model_.quotient);
  }

  const SpanModel& model_;
  Frame& texture_;
};

void draw_pixel(const SpanModel& model, const SpanArguments& a, int32_t x, Point at) {
  const Sampler sampler(model, a.texture);
  uint8_t* const row = a.dst.row(a.y);
  const auto component = [&](int shift) { return a.color >> shift & 255; };
  switch (model.texel) {
    case Texel::rgb32:
      for (int c = 0; c < 4; ++c) row[4 * x + c] = static_cast<uint8_t>(sampler.single(at, 1, 4, c));
      break;
    case Texel::key16:
      a.dst.set(x, a.y, static_cast<uint16_t>(sampler.single(at, 2, 2, 0)));
      break;
    case Texel::yuy2:
      row[2 * x] = static_cast<uint8_t>(sampler.luma(at));
      if (x % 2 == 0) {
        row[2 * x + 1] = static_cast<uint8_t>(sampler.chroma(at, 1));
        row[2 * x + 3] = static_cast<uint8_t>(sampler.chroma(at, 3));
      }
      break;
    case Texel::matte_rgb32: {
      const uint32_t opacity = sampler.single(at, 1, 1, 0);
      for (int c = 0; c < 3; ++c) {
        uint8_t& byte = row[4 * x + c];
        byte = static_cast<uint8_t>((byte * (255 - opacity) + opacity * component(8 * c)) / 255);
      }
      break;
    }
    case Texel::matte_yuy2: {
      const uint32_t opacity = sampler.single(at, 1, 1, 0);
      if (opacity == 0) break;
      const auto blend = [&](uint8_t& byte, uint32_t value) {
        byte = static_cast<uint8_t>((byte * (255 - opacity) + opacity * value) / 256);
      };
      blend(row[2 * x], component(16));
      if (x % 2 == 0) {
        blend(row[2 * x + 1], component(8));
        blend(row[2 * x + 3], component(0));
      }
      break;
    }
  }
}

}  // namespace

void draw_span(const SpanModel& model, const SpanArguments& a) {
  float u_added = static_cast<float>(a.first) * a.duq + a.uq_start;
  float v_added = static_cast<float>(a.first) * a.dvq + a.vq_start;
  float q_added = static_cast<float>(a.first) * a.dq + a.q_start;
  for (int32_t pixel = a.first; pixel <= a.last; ++pixel) {
    const float x = static_cast<float>(pixel);
    float u = x * a.duq + a.uq_start;
    float v = x * a.dvq + a.vq_start;
    bool drawn = true;
    if (model.walk == Walk::adding) {
      u = u_added;
      v = v_added;
    } else if (model.walk != Walk::affine) {
      const float q = model.walk == Walk::depth ? q_added : x * a.dq + a.q_start;
      const float w = 1.0f / q;
      u = u * w + a.u_bias;
      v = v * w + a.v_bias;
      if (model.walk == Walk::depth) {
        drawn = q > a.depths[pixel];
        if (drawn) a.depths[pixel] = q;
      }
    }
    if (drawn) draw_pixel(model, a, pixel, {to_fixed(u, a.u_max), to_fixed(v, a.v_max)});
    u_added += a.duq;
    v_added += a.dvq;
    q_added += a.dq;
  }
}

}  // namespace dorbmp::test
