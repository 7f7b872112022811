#include "tests/encoder/pictures.h"

#include <cstddef>
#include <cstring>
#include <random>

namespace ovrel::test {

namespace {

Picture emptyPicture(std::uint32_t width, std::uint32_t height) {
    return {width, height, std::vector<std::uint8_t>(std::size_t{width} * height * 4)};
}

} // namespace

Picture plainPicture(std::uint32_t width, std::uint32_t height, std::uint8_t red, std::uint8_t green, std::uint8_t blue,
                     std::uint8_t alpha) {
    const auto premultiplied = [alpha](std::uint8_t sample) {
        return static_cast<std::uint8_t>((sample * alpha + 127) / 255);
    };
    Picture picture = emptyPicture(width, height);
    for (std::size_t i = 0; i < picture.pixels.size(); i += 4) {
        picture.pixels[i] = premultiplied(red);
        picture.pixels[i + 1] = premultiplied(green);
        picture.pixels[i + 2] = premultiplied(blue);
        picture.pixels[i + 3] = alpha;
    }
    return picture;
}

Picture gradientPicture(std::uint32_t width, std::uint32_t height) {
    Picture picture = emptyPicture(width, height);
    std::size_t i = 0;
    for (std::uint32_t y = 0; y < height; ++y) {
        for (std::uint32_t x = 0; x < width; ++x, i += 4) {
            picture.pixels[i] = static_cast<std::uint8_t>(255 * x / width);
            picture.pixels[i + 1] = static_cast<std::uint8_t>(255 * y / height);
            picture.pixels[i + 2] = static_cast<std::uint8_t>(255 - 255 * (x + y) / (width + height));
            picture.pixels[i + 3] = 255;
        }
    }
    return picture;
}

Picture noisePicture(std::uint32_t width, std::uint32_t height, std::uint32_t seed) {
    Picture picture = emptyPicture(width, height);
    std::mt19937 random(seed);
    for (std::size_t i = 0; i < picture.pixels.size(); i += 4) {
        const auto pixel = static_cast<std::uint32_t>(random());
        std::memcpy(&picture.pixels[i], &pixel, sizeof pixel);
    }
    return picture;
}

std::vector<std::uint8_t> alphaOf(const Picture& picture) {
    std::vector<std::uint8_t> alpha;
    for (std::size_t i = 3; i < picture.pixels.size(); i += 4) {
        alpha.push_back(picture.pixels[i]);
    }
    return alpha;
}

} // namespace ovrel::test
