/// \file bare_encode.h
/// What libavif alone needs for the same file: the yardstick of a conversion.
#pragma once

#include "platform/image.h"

#include <cstdint>

namespace ovrel::bench {

/// Encodes an opaque rgba8 image in memory with the settings of our encoder, the fastest way that libavif offers.
/// \return bytes of the file
/// \throws std::runtime_error
std::size_t bareEncode(const Image& image, int quality, int speed, int threads);

} // namespace ovrel::bench
