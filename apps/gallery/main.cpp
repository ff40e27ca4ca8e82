// Renders docs/gallery.md and its pictures, all through the library.
//   gallery DIRECTORY        the directory that holds gallery.md; pictures go to gallery/ in it
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "gallery.h"

namespace {

using namespace dorbmp::gallery;

struct Section {
  const char* title;
  std::span<const Entry> (*entries)();
};

constexpr Section kSections[] = {
    {"Raster operations", raster_entries}, {"Key shapes", alpha_entries},
    {"Composition", compose_entries},      {"Polygon mapping", polygon_entries},
    {"Rectangle mapping", rect_entries},
};

}  // namespace

int main(int count, char** arguments) {
  if (count != 2) {
    std::fprintf(stderr, "usage: gallery DIRECTORY\n");
    return 2;
  }
  const std::filesystem::path directory = arguments[1];
  std::error_code error;
  std::filesystem::create_directories(directory / "gallery", error);
  std::ofstream page(directory / "gallery.md");
  page << "# Gallery\n\nEvery picture is drawn by the library, and this page by `apps/gallery`. To render "
          "both again: `./dev gallery`.\n\n"
          "Keys are shown as greys, 0 black and 4096 white.\n";
  for (const Section& section : kSections) {
    page << "\n## " << section.title << "\n";
    for (const Entry& entry : section.entries()) {
      const std::string file = std::string(entry.name) + ".png";
      if (!entry.render(entry.title).save((directory / "gallery" / file).string())) {
        std::fprintf(stderr, "gallery: cannot write %s\n", file.c_str());
        return 1;
      }
      page << "\n### " << entry.title << "\n\n"
           << entry.text << "\n\n![" << entry.title << "](gallery/" << file << ")\n";
    }
  }
  page.close();
  if (!page) {
    std::fprintf(stderr, "gallery: cannot write gallery.md\n");
    return 1;
  }
  return 0;
}
