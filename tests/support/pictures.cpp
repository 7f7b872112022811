#include "tests/support/pictures.h"

#include "tests/support/exif_writer.h"
#include "tests/support/fake_image_source.h"

#include <gtest/gtest.h>

namespace ovrel::test {

Image gradient(std::uint32_t width, std::uint32_t height) {
    return makeImage(width, height, [&](std::uint32_t x, std::uint32_t y) {
        const auto part = [](std::uint32_t value) { return static_cast<std::uint8_t>(value); };
        return Rgba{part(x * 255 / width), part(y * 255 / height), part(x * y), part(x * 7 + y * 30)};
    });
}

Image smooth(std::uint32_t width, std::uint32_t height, bool transparent) {
    return makeImage(width, height, [&](std::uint32_t x, std::uint32_t y) {
        return Rgba{static_cast<std::uint8_t>(x * 255 / width), static_cast<std::uint8_t>(y * 255 / height), 90,
                    static_cast<std::uint8_t>(transparent ? 128 + x * 127 / width : 255)};
    });
}

Image upright(const Image& stored, std::uint16_t orientation) {
    const bool exchanged = orientation >= 5;
    Image image = makeImage(exchanged ? stored.height : stored.width, exchanged ? stored.width : stored.height,
                            [&](std::uint32_t x, std::uint32_t y) {
                                const StoredPlace place = storedPlace(orientation, x, y, stored.width, stored.height);
                                return pixelOf(stored, place.x, place.y);
                            });
    image.layout = stored.layout;
    image.colorSpace = stored.colorSpace;
    return image;
}

void expectNear(const std::optional<Image>& found, const Image& expected, int tolerance) {
    ASSERT_TRUE(found);
    ASSERT_EQ(found->width, expected.width);
    ASSERT_EQ(found->height, expected.height);
    ASSERT_EQ(found->layout, expected.layout);
    for (std::uint32_t y = 0; y < expected.height; ++y) {
        for (std::uint32_t x = 0; x < expected.width; ++x) {
            const Rgba pixel = pixelOf(*found, x, y);
            for (std::size_t channel = 0; channel < pixel.size(); ++channel) {
                ASSERT_NEAR(pixel[channel], pixelOf(expected, x, y)[channel], tolerance)
                    << x << ", " << y << ", channel " << channel;
            }
        }
    }
}

void expectSame(const std::optional<Image>& found, const Image& expected) {
    expectNear(found, expected, 0);
}

void expectStill(const std::unique_ptr<ImageSource>& source, ImageFormat format, std::uint32_t width,
                 std::uint32_t height, std::uint8_t orientation) {
    ASSERT_TRUE(source);
    EXPECT_EQ(source->format(), format);
    EXPECT_EQ(source->count(), 1U);
    EXPECT_EQ(source->properties(0).pixelWidth, width);
    EXPECT_EQ(source->properties(0).pixelHeight, height);
    EXPECT_EQ(source->properties(0).orientation, orientation);
    EXPECT_FALSE(source->properties(0).gifUnclampedDelayTime);
    EXPECT_FALSE(source->properties(0).gifDelayTime);
    EXPECT_FALSE(source->gifLoopCount());
}

} // namespace ovrel::test
