/// \file bitmap.h
/// Pictures as the encoder reads them: 8-bit sRGB.
#pragma once

#include "platform/image.h"
#include "platform/pixel_buffer.h"

#include <cstdint>

namespace ovrel {

/// 8-bit RGBA in sRGB, colour premultiplied by alpha, height rows of width × 4 bytes, top row first.
struct Bitmap {
    std::uint32_t width = 0;  ///< pixels, at least 1
    std::uint32_t height = 0; ///< pixels, at least 1
    PixelBuffer pixels;

    /// Draws `image` into its own memory, converting from its colour space with perceptual intent. Opaque pixels of an
    /// sRGB picture are kept bit for bit; a profile that cannot be used counts as none.
    /// \throws std::bad_alloc
    static Bitmap draw(Image&& image);
};

/// The same conversion with straight alpha: `image` as rgba8 in sRGB.
/// \throws std::bad_alloc
Image convertedToSrgb(Image&& image);

/// `image` with 8 bits a sample in its own colour space.
/// \throws std::bad_alloc
Image reducedTo8Bits(Image&& image);

} // namespace ovrel
