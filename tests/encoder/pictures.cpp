#include "tests/encoder/pictures.h"

#include <cstddef>
#include <cstring>
#include <random>
#include <span>

namespace ovrel::test {

namespace {

std::vector<std::uint8_t> alphaOf(std::span<const std::uint8_t> pixels) {
    std::vector<std::uint8_t> alpha;
    for (std::size_t i = 3; i < pixels.size(); i += 4) {
        alpha.push_back(pixels[i]);
    }
    return alpha;
}

} // namespace

Picture blankPicture(std::uint32_t width, std::uint32_t height) {
    return {width, height, std::vector<std::uint8_t>(std::size_t{width} * height * 4)};
}

Picture plainPicture(std::uint32_t width, std::uint32_t height, std::uint8_t red, std::uint8_t green, std::uint8_t blue,
                     std::uint8_t alpha) {
    const auto premultiplied = [alpha](std::uint8_t sample) {
        return static_cast<std::uint8_t>((sample * alpha + 127) / 255);
    };
    Picture picture = blankPicture(width, height);
    for (std::size_t i = 0; i < picture.pixels.size(); i += 4) {
        picture.pixels[i] = premultiplied(red);
        picture.pixels[i + 1] = premultiplied(green);
        picture.pixels[i + 2] = premultiplied(blue);
        picture.pixels[i + 3] = alpha;
    }
    return picture;
}

Picture gradientPicture(std::uint32_t width, std::uint32_t height) {
    Picture picture = blankPicture(width, height);
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
    Picture picture = blankPicture(width, height);
    std::mt19937 random(seed);
    for (std::size_t i = 0; i < picture.pixels.size(); i += 4) {
        const auto pixel = static_cast<std::uint32_t>(random());
        std::memcpy(&picture.pixels[i], &pixel, sizeof pixel);
    }
    return picture;
}

std::vector<std::uint8_t> alphaOf(const Picture& picture) {
    return alphaOf(std::span(picture.pixels));
}

std::vector<std::uint8_t> alphaOf(const Image& image) {
    return alphaOf(std::span(image.samples.data(), image.samples.size()));
}

} // namespace ovrel::test
