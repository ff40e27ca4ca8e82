#include <gtest/gtest.h>

#include <climits>

#include "dorbmp/display.h"
#include "support/frames.h"

extern "C" uint32_t size_of_record_in_c(void);

namespace dorbmp::test {
namespace {

struct Created {
  Bitmap* bitmap;
  explicit Created(Bitmap* created) : bitmap(created) {}
  ~Created() { bmp_destroy(bitmap); }
  Bitmap* operator->() const { return bitmap; }
};

TEST(Bitmap, RecordIsTheOneThatHostsKnow) {
  EXPECT_EQ(sizeof(Bitmap), sizeof(void*) == 4 ? 48u : 56u);
  EXPECT_EQ(size_of_record_in_c(), sizeof(Bitmap));
  const Created bitmap(bmp_create(3, 2, BMP_FORMAT_YUY2, BMP_FIELD_ONLY | BMP_FIELD_ODD));
  // Word by word on 32-bit targets, where hosts were compiled against the words.
  if (sizeof(void*) == 4) {
    uint32_t words[12];
    std::memcpy(words, bitmap.bitmap, sizeof(words));
    const uint32_t pixels = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(bitmap->pixels));
    const uint32_t expected[] = {3, 2, 16, 16, pixels, 0, 0x32595559, 2, 0, 2, 3, 0};
    for (int i = 0; i < 12; ++i) EXPECT_EQ(words[i], expected[i]) << "word " << i + 1;
  }
  EXPECT_EQ(reinterpret_cast<uintptr_t>(bitmap->pixels) % 16, 0u);
  const ptrdiff_t gap = bitmap->pixels - reinterpret_cast<uint8_t*>(bitmap.bitmap);
  EXPECT_GE(gap, static_cast<ptrdiff_t>(sizeof(Bitmap)));
  EXPECT_LE(gap + 32, static_cast<ptrdiff_t>(32 + sizeof(Bitmap) + 16));
}

TEST(Bitmap, FormatsSetSizesAndCodes) {
  constexpr struct {
    uint32_t format;
    int32_t bytes;
    uint32_t fourcc;
  } kFormats[] = {{0, 2, 0x32595559}, {1, 4, 0x51424752}, {2, 2, 0x57525750}, {3, 4, 0},
                  {4, 4, 0},          {5, 4, 0},          {6, 1, 0x38424752}, {7, 1, 0}};
  for (const auto& expected : kFormats) {
    for (int32_t width = 0; width <= 33; ++width) {
      const Created bitmap(bmp_create(width, 5, expected.format, 0));
      EXPECT_EQ(bitmap->bytes_per_pixel, expected.bytes);
      EXPECT_EQ(bitmap->bits_per_pixel, expected.bytes * 8);
      EXPECT_EQ(bitmap->fourcc, expected.fourcc);
      EXPECT_EQ(bitmap->pitch, (expected.bytes * width + 15) / 16 * 16);
      EXPECT_EQ(bitmap->format, expected.format);
      EXPECT_EQ(bitmap->display_header, nullptr);
    }
  }
  const Created odd_code(bmp_create(10, 3, 8, 0));
  EXPECT_EQ(odd_code->bytes_per_pixel, 3);
  EXPECT_EQ(odd_code->pitch, 32);
}

TEST(Bitmap, FieldModeAndOrderComeFromTheFlags) {
  constexpr uint32_t kOrder[] = {0, 0, 1, 2};
  for (uint32_t flags = 0; flags < 8; ++flags) {
    // A used block goes back to the heap first, so that zeros are no accident.
    if (const Created used(bmp_create(4, 4, BMP_FORMAT_RGB32, 0)); true) {
      std::memset(used->pixels, 0xFF, static_cast<size_t>(used->pitch) * 4);
    }
    const Created bitmap(bmp_create(4, 4, BMP_FORMAT_RGB32, flags));
    EXPECT_EQ(bitmap->field_mode, flags & 3);
    EXPECT_EQ(bitmap->field_order, kOrder[flags & 3]);
    if ((flags & BMP_CREATE_ZEROED) != 0) {
      for (int32_t i = 0; i < bitmap->pitch * 4; ++i) ASSERT_EQ(bitmap->pixels[i], 0);
    }
  }
}

TEST(Bitmap, SizesThatCannotBeAllocatedGiveNull) {
  constexpr int32_t kSizes[][2] = {
      {-1, 4},        {4, -1},      {-4, -4},        {INT_MAX, 1},      {1, INT_MAX},     {INT_MAX, INT_MAX},
      {65536, 65536}, {INT_MIN, 2}, {0x20000000, 1}, {0x10000, 0x8000}, {0x8000, 0x4000}, {INT_MIN, INT_MIN}};
  for (const auto& size : kSizes) {
    EXPECT_EQ(bmp_create(size[0], size[1], BMP_FORMAT_RGB32, 0), nullptr) << size[0] << " x " << size[1];
  }
  EXPECT_EQ(bmp_create(INT_MAX, INT_MAX, 9, BMP_CREATE_ZEROED), nullptr);
  bmp_destroy(nullptr);
}

TEST(Bitmap, PointerWrapsIn32Bits) {
  const Created bitmap(bmp_create(10, 10, BMP_FORMAT_RGB32, 0));
  EXPECT_EQ(bmp_pointer(bitmap.bitmap, 0, 0), bitmap->pixels);
  EXPECT_EQ(bmp_pointer(bitmap.bitmap, 3, 2), bitmap->pixels + 3 * 4 + 2 * 48);
  EXPECT_EQ(bmp_pointer(bitmap.bitmap, -1, -1), bitmap->pixels - 52);
  EXPECT_EQ(bmp_pointer(bitmap.bitmap, 0x40000000, 1), bitmap->pixels + 48);
  // 4 * 0x1FFFFFFF - 4: where addresses have 32 bits, their sum wraps too.
  EXPECT_EQ(reinterpret_cast<uintptr_t>(bmp_pointer(bitmap.bitmap, 0x1FFFFFFE, 0)),
            reinterpret_cast<uintptr_t>(bitmap->pixels) + uintptr_t{0x7FFFFFF8});
}

TEST(Bitmap, ClearTakesFieldFlagsLiterally) {
  Random random(1);
  for (int32_t height = 0; height <= 5; ++height) {
    for (uint32_t flags = 0; flags < 4; ++flags) {
      Frame frame(7, height, BMP_FORMAT_YUY2, random, {.offset = 3, .extra_pitch = 5});
      auto expected = frame.bytes();
      for (int32_t y = static_cast<int32_t>(flags & 1); y < height; y += (flags & 2) != 0 ? 2 : 1) {
        std::fill_n(expected.begin() + static_cast<ptrdiff_t>(frame.offset()) + y * frame->pitch,
                    frame->pitch, uint8_t{0});
      }
      bmp_clear(&frame, flags);
      EXPECT_EQ(difference(expected, frame), "") << "height " << height << ", flags " << flags;
    }
  }
}

// Lines without bytes, as many as there can be: nothing to do, and no time taken for it.
TEST(Bitmap, EmptyBitmapsOfAnyHeightAreDoneAtOnce) {
  for (const uint32_t format : {0u, 9u}) {
    const Created tall(bmp_create(0, INT_MAX, format, 0)), other(bmp_create(0, INT_MAX, format, 0));
    ASSERT_NE(tall.bitmap, nullptr);
    ASSERT_NE(other.bitmap, nullptr);
    for (uint32_t flags = 0; flags < 4; ++flags) {
      bmp_clear(tall.bitmap, flags);
      bmp_copy(tall.bitmap, other.bitmap, flags);
      bmp_interporate(tall.bitmap, other.bitmap, flags);
      bmp_compose(tall.bitmap, other.bitmap, other.bitmap, BMP_LEVEL(1), BMP_COMPOSE_MIX | flags);
    }
    const auto* header = static_cast<const DisplayHeader*>(bmp_set_palette(tall.bitmap, 0, 0));
    ASSERT_NE(header, nullptr);
    EXPECT_EQ(header->height, -INT_MAX);
    EXPECT_EQ(header->bit_count, format == 0 ? 16 : 0xFFF8);
  }
}

TEST(Bitmap, DisplayHeaderIsBuiltOnceAndKept) {
  constexpr struct {
    int32_t width;
    uint32_t format;
    int32_t header_width;
    uint16_t bits;
  } kCases[] = {{100, BMP_FORMAT_RGB32, 100, 32}, {3, BMP_FORMAT_YUY2, 8, 16}, {5, BMP_FORMAT_PAL8, 16, 8}};
  for (const auto& expected : kCases) {
    const Created bitmap(bmp_create(expected.width, 7, expected.format, 0));
    // Without a device nothing is shown; the header is built all the same.
    EXPECT_EQ(bmp_display(nullptr, 0, 0, 1, 1, bitmap.bitmap, 0, 0), 0);
    const auto* header = static_cast<const DisplayHeader*>(bitmap->display_header);
    ASSERT_NE(header, nullptr);
    EXPECT_EQ(header->header_size, 40u);
    EXPECT_EQ(header->width, expected.header_width);
    EXPECT_EQ(header->height, -7);
    EXPECT_EQ(header->planes, 1);
    EXPECT_EQ(header->bit_count, expected.bits);
    EXPECT_EQ(header->colors_used, expected.format == BMP_FORMAT_PAL8 ? 256u : 0u);
    EXPECT_EQ(bmp_set_palette(bitmap.bitmap, 0, 0), header);
  }
}

TEST(Bitmap, PaletteEntriesFollowTheHeader) {
  const Created palettised(bmp_create(4, 4, BMP_FORMAT_PAL8, 0));
  for (uint32_t i = 0; i < 256; i += 2) bmp_set_palette(palettised.bitmap, i, i * 0x010203);
  const auto* quads =
      reinterpret_cast<const uint32_t*>(static_cast<const DisplayHeader*>(palettised->display_header) + 1);
  for (uint32_t i = 0; i < 256; ++i) EXPECT_EQ(quads[i], i % 2 == 0 ? i * 0x010203 : 0u);
  // Entries that have no room are not stored; the address sanitizer would see them.
  EXPECT_EQ(bmp_set_palette(palettised.bitmap, 256, 1), palettised->display_header);
  EXPECT_EQ(bmp_set_palette(palettised.bitmap, UINT_MAX, 1), palettised->display_header);
  const Created rgb(bmp_create(4, 4, BMP_FORMAT_RGB32, 0));
  EXPECT_EQ(bmp_set_palette(rgb.bitmap, 0, 1), rgb->display_header);
}

TEST(Bitmap, TranslateColorSwapsRedAndBlue) {
  EXPECT_EQ(bmp_translate_color(nullptr, 0xAA112233), 0x00332211u);
}

}  // namespace
}  // namespace dorbmp::test
