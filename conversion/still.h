/// \file still.h
/// Encoding one still picture.
#pragma once

#include "conversion/services.h"
#include "platform/image.h"

#include <filesystem>

namespace ovrel {

/// Encodes `image` with libavif into `file`.
/// \param quality a fraction, see encoderQuality()
/// \throws ConversionError; std::bad_alloc when the picture does not fit into memory
void encodeCompact(Image&& image, const std::filesystem::path& file, double quality, int speed);

/// Encodes `image` with the system's writer into `file`.
/// \param quality 0.0 … 1.0, handed on unrounded
/// \throws ConversionError; std::bad_alloc when the picture does not fit into memory
void encodeWithSystem(Image&& image, const std::filesystem::path& file, double quality, const Services& services);

} // namespace ovrel
