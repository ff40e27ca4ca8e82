// Every composition kernel, family by family. What each computes is said at the head of its family's file.
//
// count is in pixels, of the constant mix in bytes; a skip is what follows a row's last unit up to the first
// unit of the next row, in bytes. A kernel takes whole steps of its own width and leaves the rest of count
// alone. No row or no step: nothing is written. Destination and sources may coincide.
#pragma once

#include <cstddef>
#include <cstdint>

#include "dorbmp.h"

namespace dorbmp::compose {

using KeyedKernel = void BMP_CALL(int32_t count, int32_t rows, uint8_t* dst, ptrdiff_t dst_skip,
                                  const uint8_t* background, ptrdiff_t background_skip,
                                  const uint8_t* foreground, ptrdiff_t foreground_skip, const uint8_t* key,
                                  ptrdiff_t key_skip);

using MixKernel = void BMP_CALL(int32_t count, int32_t rows, uint8_t* dst, ptrdiff_t dst_skip,
                                const uint8_t* background, ptrdiff_t background_skip,
                                int32_t background_weight, const uint8_t* foreground,
                                ptrdiff_t foreground_skip, int32_t level);

using BorderKernel = void BMP_CALL(int32_t count, int32_t rows, uint8_t* dst, ptrdiff_t dst_skip,
                                   const uint8_t* background, ptrdiff_t background_skip,
                                   const uint8_t* foreground, ptrdiff_t foreground_skip, const uint8_t* key,
                                   ptrdiff_t key_skip, const uint8_t* border_key, ptrdiff_t border_key_skip,
                                   uint32_t color);

using ColorKernel = void BMP_CALL(int32_t count, int32_t rows, uint8_t* dst, ptrdiff_t dst_skip,
                                  const uint8_t* image, ptrdiff_t image_skip, const uint8_t* key,
                                  ptrdiff_t key_skip, uint32_t color);

namespace plain {
KeyedKernel key16_rgb32, key8_rgb32, key16_yuy2, key8_yuy2;
MixKernel mix;
BorderKernel color_border_rgb32, color_border_yuy2;
ColorKernel color_rgb32, color_yuy2;
}  // namespace plain

namespace mmx {
KeyedKernel key16_rgb32, key8_rgb32, key16_yuy2, key8_yuy2;
MixKernel mix;
BorderKernel color_border_rgb32, color_border_yuy2;
ColorKernel color_yuy2;
}  // namespace mmx

namespace mmxext {
KeyedKernel key16_yuy2, key8_yuy2;
}  // namespace mmxext

// Aligned: every row of every image, and of 16-bit keys, begins at a multiple of 16 bytes.
namespace sse2 {
KeyedKernel key16_yuy2, key8_yuy2;
MixKernel mix;
}  // namespace sse2

// Twins of the families above at the highest level, with their results; without alignment.
namespace avx2 {
KeyedKernel key16_rgb32, key8_rgb32, key16_yuy2, key8_yuy2;
MixKernel mix;
BorderKernel color_border_rgb32, color_border_yuy2;
ColorKernel color_rgb32, color_yuy2;
}  // namespace avx2

}  // namespace dorbmp::compose
