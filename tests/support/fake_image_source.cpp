#include "tests/support/fake_image_source.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace ovrel::test {

Image makeImage(std::uint32_t width, std::uint32_t height,
                const std::function<Rgba(std::uint32_t, std::uint32_t)>& colorAt) {
    Image image{width, height, PixelLayout::rgba8, {}, {}};
    image.samples = PixelBuffer::zeroed(height, image.bytesPerRow());
    for (std::uint32_t y = 0; y < height; ++y) {
        for (std::uint32_t x = 0; x < width; ++x) {
            const Rgba color = colorAt(x, y);
            std::copy(color.begin(), color.end(), image.row(y) + std::size_t{x} * 4);
        }
    }
    return image;
}

Image makeImage(std::uint32_t width, std::uint32_t height, Rgba color) {
    return makeImage(width, height, [&](std::uint32_t, std::uint32_t) { return color; });
}

Image copyOf(const Image& image) {
    Image copy{image.width, image.height, image.layout, PixelBuffer::zeroed(image.height, image.bytesPerRow()),
               image.colorSpace};
    std::memcpy(copy.samples.data(), image.samples.data(), image.samples.size());
    return copy;
}

Rgba pixelOf(const Image& image, std::uint32_t x, std::uint32_t y) {
    Rgba color{};
    std::copy_n(image.row(y) + std::size_t{x} * 4, color.size(), color.begin());
    return color;
}

void expectPlain(const Image& image, Rgba color, int tolerance) {
    for (std::uint32_t y = 0; y < image.height; ++y) {
        for (std::uint32_t x = 0; x < image.width; ++x) {
            SCOPED_TRACE(testing::Message() << x << ", " << y);
            const Rgba pixel = pixelOf(image, x, y);
            for (std::size_t channel = 0; channel < 3; ++channel) {
                ASSERT_NEAR(pixel[channel], color[channel], tolerance);
            }
            ASSERT_EQ(pixel[3], color[3]);
        }
    }
}

FakeImageSource& FakeImageSource::add(Image image, std::optional<double> unclampedDelaySeconds) {
    ImageProperties properties;
    properties.pixelWidth = image.width;
    properties.pixelHeight = image.height;
    properties.gifUnclampedDelayTime = unclampedDelaySeconds;
    frames.push_back({std::move(image), properties});
    return *this;
}

std::optional<Image> FakeImageSource::decode(std::size_t index) {
    const Frame& frame = frames[index];
    std::optional<Image> image = frame.image ? std::optional(copyOf(*frame.image)) : std::nullopt;
    if (whenDecoded) {
        whenDecoded(index);
    }
    return image;
}

} // namespace ovrel::test
