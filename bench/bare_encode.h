/// \file bare_encode.h
/// What libavif alone needs for the same file: the yardstick of a conversion.
#pragma once

#include "platform/bitmap.h"

#include <cstdint>
#include <vector>

namespace ovrel::bench {

/// How the yardstick reads pixels. Of opaque ones both are right.
enum class Alpha {
    premultiplied, ///< as our encoder does: the same file, bit for bit
    straight,      ///< libavif's fastest conversion; colours may differ by rounding
};

/// Encodes a picture in memory by libavif's own calls, one after the other, with the settings of our encoder.
/// \return the file
/// \throws std::runtime_error
std::vector<std::uint8_t> bareEncode(const Bitmap& bitmap, Alpha alpha, int quality, int speed, int threads);

} // namespace ovrel::bench
