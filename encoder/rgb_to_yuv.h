/// \file rgb_to_yuv.h
/// libavif's conversion of RGB to YUV on several processors.
#pragma once

#include <avif/avif.h>

namespace ovrel {

/// Fills the planes of `image` with what `avifImageRGBToYUV()` makes of `rgb`, bit for bit. Libavif converts
/// premultiplied pixels on one processor, several times slower than straight ones; here the bands of a large picture
/// are converted side by side.
/// \param image 4:2:0, without planes; owns them afterwards, also after a failure
/// \param rgb of the same size
/// \param threads how many may work, the calling one included; more than 8 count as 8, less than 1 as 1
avifResult convertRgbToYuv(avifImage& image, const avifRGBImage& rgb, int threads) noexcept;

} // namespace ovrel
