/// \file fake_image_source.h
/// Image sources and pictures that a test makes up.
#pragma once

#include "platform/image_source.h"

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace ovrel::test {

using Rgba = std::array<std::uint8_t, 4>;

/// An rgba8 picture in sRGB whose pixels `colorAt(x, y)` names.
Image makeImage(std::uint32_t width, std::uint32_t height,
                const std::function<Rgba(std::uint32_t, std::uint32_t)>& colorAt);

/// The same in one colour.
Image makeImage(std::uint32_t width, std::uint32_t height, Rgba color);

/// A copy that shares nothing.
Image copyOf(const Image& image);

Rgba pixelOf(const Image& image, std::uint32_t x, std::uint32_t y);

/// Fails the test unless every pixel has this colour, give or take `tolerance`, and exactly this alpha.
void expectPlain(const Image& image, Rgba color, int tolerance);

/// A source whose facts are set by the test. Frames that are nothing cannot be decoded.
class FakeImageSource final : public ImageSource {
public:
    struct Frame {
        std::optional<Image> image;
        ImageProperties properties;
    };

    ImageFormat imageFormat = ImageFormat::gif;
    std::vector<Frame> frames;
    std::optional<std::int64_t> loopCount;
    std::function<void(std::size_t)> whenDecoded; ///< called with the index of a frame before it is handed out

    /// Adds a frame with the size of `image` among its properties.
    FakeImageSource& add(Image image, std::optional<double> unclampedDelaySeconds = std::nullopt);

    ImageFormat format() const override { return imageFormat; }
    std::size_t count() const override { return frames.size(); }
    std::optional<std::int64_t> gifLoopCount() const override { return loopCount; }
    ImageProperties properties(std::size_t index) const override { return frames[index].properties; }
    std::optional<Image> decode(std::size_t index) override;
};

} // namespace ovrel::test
