/// \file encoder_settings.h
/// How the user's settings become the encoder's.
#pragma once

#include <cstddef>
#include <cstdint>

namespace ovrel {

/// Capacity of the buffers in which the encoder words its failures.
inline constexpr std::size_t encoderErrorCapacity = 512;

/// \param quality a fraction; 0.0 … 1.0 is the range of the settings
/// \return quality × 100, rounded half away from zero, clamped to 0 … 100. Aborts when `quality` is not finite or the
///         product does not fit 64 bits.
std::int32_t encoderQuality(double quality);

} // namespace ovrel
