/// \file animation.h
/// Encoding an animation.
#pragma once

#include "platform/image_source.h"

#include <filesystem>

namespace ovrel {

/// Encodes every frame of `source` with its time into `file`.
/// \param quality a fraction, see encoderQuality()
/// \throws ConversionError; std::bad_alloc when a frame does not fit into memory
void encodeGIF(ImageSource& source, const std::filesystem::path& file, double quality, int speed);

} // namespace ovrel
