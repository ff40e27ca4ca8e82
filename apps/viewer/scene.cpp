#include "viewer/scene.h"

#include <initializer_list>

namespace viewer {

Scene::Scene(int width, int height)
    : from_(bmp_create(width, height, BMP_FORMAT_RGB32, 0)),
      to_(bmp_create(width, height, BMP_FORMAT_RGB32, 0)),
      key_(bmp_create(width, height, BMP_FORMAT_KEY16, 0)),
      frame_(bmp_create(width, height, BMP_FORMAT_RGB32, BMP_CREATE_ZEROED)) {
  draw_pictures();
}

Scene::~Scene() {
  for (Bitmap* bitmap : {from_, to_, key_, frame_}) bmp_destroy(bitmap);
}

// Eight colour bars, and a board of squares that brighten downwards.
void Scene::draw_pictures() {
  constexpr uint32_t kBars[] = {0xC0C0C0, 0xC0C000, 0x00C0C0, 0x00C000,
                                0xC000C0, 0xC00000, 0x0000C0, 0x101010};
  for (int bar = 0; bar < 8; ++bar) {
    bmp_draw_rect(from_, width() * bar / 8, 0, width() * (bar + 1) / 8, height(), kBars[bar], BMP_OP_SET);
  }
  constexpr int kSquare = 24;
  for (int y = 0; y < height(); y += kSquare) {
    for (int x = 0; x < width(); x += kSquare) {
      const uint32_t grey = static_cast<uint32_t>(40 + 180 * y / height());
      const uint32_t color = (x + y) / kSquare % 2 == 0 ? grey * 0x010101 : grey << 16 | 0x2040;
      bmp_draw_rect(to_, x, y, x + kSquare, y + kSquare, color, BMP_OP_SET);
    }
  }
}

Bitmap* Scene::render(int progress) {
  const float done = static_cast<float>(progress) / kSteps;
  const float softness = static_cast<float>(height()) / 4;
  const float reach = static_cast<float>(width() + height()) / 2 + softness;  // covers the corners
  bmp_alpha_circle(key_, static_cast<float>(width()) / 2, static_cast<float>(height()) / 2, reach * done,
                   softness * done, 1.0f, BMP_ALPHA_COSINE);
  bmp_compose(frame_, from_, to_, key_, BMP_FRAME);
  return frame_;
}

}  // namespace viewer
