/// \file image.h
/// A decoded picture as its file describes it.
#pragma once

#include "platform/color_space.h"
#include "platform/pixel_buffer.h"

#include <cstddef>
#include <cstdint>

namespace ovrel {

/// How the samples of one pixel lie in memory.
enum class PixelLayout {
    rgba8,  ///< R, G, B, A, one byte each, straight alpha; grey is stored as R = G = B
    rgba16, ///< the same with two bytes each in the machine's byte order
    cmyk8,  ///< C, M, Y, K, one byte each, 0 = no ink, opaque
};

/// Bytes of one pixel.
constexpr std::size_t bytesPerPixel(PixelLayout layout) {
    return layout == PixelLayout::rgba16 ? 8 : 4;
}

/// One decoded picture, upright. Owns its pixels.
struct Image {
    std::uint32_t width = 0;  ///< pixels, at least 1
    std::uint32_t height = 0; ///< pixels, at least 1
    PixelLayout layout = PixelLayout::rgba8;
    PixelBuffer samples;   ///< height rows of width pixels, top row first, no padding
    ColorSpace colorSpace; ///< its model is cmyk exactly when the layout is cmyk8

    std::size_t bytesPerRow() const { return width * bytesPerPixel(layout); }
    std::uint8_t* row(std::uint32_t y) { return samples.data() + y * bytesPerRow(); }
    const std::uint8_t* row(std::uint32_t y) const { return samples.data() + y * bytesPerRow(); }
};

} // namespace ovrel
