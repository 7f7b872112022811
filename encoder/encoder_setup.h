/// \file encoder_setup.h
/// What a still image and a frame of an animation have in common on their way into libavif.
#pragma once

#include <avif/avif.h>

#include <cstdint>

namespace ovrel {

/// Sets the codec, qualities, speed and threads.
/// \param quality 0 … 100, for the colour; alpha is always lossless
/// \param speed 0 … 10
void configureEncoder(avifEncoder& encoder, std::int32_t quality, std::int32_t speed);

/// Hands libaom its options, in a fixed order, up to the first that is refused.
avifResult setCodecOptions(avifEncoder& encoder, std::int32_t quality);

/// Describes the image's colours and fills its planes.
/// \param image 8-bit 4:2:0, without planes
/// \param pixels the image's size in tightly packed premultiplied RGBA rows
avifResult fillImage(avifImage& image, const std::uint8_t* pixels);

} // namespace ovrel
