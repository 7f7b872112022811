/// \file pictures.h
/// Pictures to be encoded, and what must come back of them.
#pragma once

#include "platform/image_source.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace ovrel::test {

/// An rgba8 picture of many details and without any symmetry, its alpha from 0 on.
Image gradient(std::uint32_t width, std::uint32_t height);

/// An rgba8 picture of few details, so that coarse chroma does it no harm, and without any symmetry; opaque, or with an
/// alpha from 128 on.
Image smooth(std::uint32_t width, std::uint32_t height, bool transparent = false);

/// How a picture of four bytes a pixel is shown that is stored with an orientation of 1 … 8 (Exif 2.32, tag 0x0112).
Image upright(const Image& stored, std::uint16_t orientation);

/// Fails the test unless an image came with the size, the layout and nearly the samples of `expected`, which has one
/// byte a sample.
void expectNear(const std::optional<Image>& found, const Image& expected, int tolerance);
void expectSame(const std::optional<Image>& found, const Image& expected);

/// Fails the test unless the source is open and states one picture of this size, and no time or loop count.
void expectStill(const std::unique_ptr<ImageSource>& source, ImageFormat format, std::uint32_t width,
                 std::uint32_t height, std::uint8_t orientation);

} // namespace ovrel::test
