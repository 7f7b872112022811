/// \file pictures.h
/// Made pictures: tightly packed premultiplied RGBA rows, as the encoder takes them.
#pragma once

#include "platform/image.h"

#include <cstdint>
#include <vector>

namespace ovrel::test {

struct Picture {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::vector<std::uint8_t> pixels;
};

/// Fully transparent.
Picture blankPicture(std::uint32_t width, std::uint32_t height);

/// One colour, given with straight alpha, all over.
Picture plainPicture(std::uint32_t width, std::uint32_t height, std::uint8_t red, std::uint8_t green, std::uint8_t blue,
                     std::uint8_t alpha = 255);

/// Opaque; red grows to the right, green downwards, blue falls.
Picture gradientPicture(std::uint32_t width, std::uint32_t height);

/// Bytes without any order, so colours may be brighter than their alpha.
Picture noisePicture(std::uint32_t width, std::uint32_t height, std::uint32_t seed);

/// The alpha of each pixel.
std::vector<std::uint8_t> alphaOf(const Picture& picture);

/// The same of an rgba8 image.
std::vector<std::uint8_t> alphaOf(const Image& image);

} // namespace ovrel::test
