// Writes the frame that the viewer shows, as a portable pixmap: render WIDTH HEIGHT PROGRESS >FILE
#include <cstdio>
#include <cstdlib>

#include "viewer/scene.h"

int main(int count, char** arguments) {
  if (count != 4) return 2;
  viewer::Scene scene(std::atoi(arguments[1]), std::atoi(arguments[2]));
  const Bitmap* frame = scene.render(std::atoi(arguments[3]));
  std::printf("P6\n%d %d\n255\n", frame->width, frame->height);
  for (int y = 0; y < frame->height; ++y) {
    for (int x = 0; x < frame->width; ++x) {
      const auto* pixel = static_cast<const unsigned char*>(bmp_pointer(frame, x, y));
      std::putchar(pixel[2]);
      std::putchar(pixel[1]);
      std::putchar(pixel[0]);
    }
  }
}
