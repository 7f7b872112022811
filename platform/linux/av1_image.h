/// \file av1_image.h
/// AV1 pictures whatever the brand of their file.
#pragma once

#include "platform/image_source.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace ovrel {

/// Opens the bytes of a HEIF file (ISO/IEC 23008-12) whose primary picture is AV1.
/// \return null when its header is damaged or the picture is of another kind
std::unique_ptr<ImageSource> openAv1Image(std::vector<std::uint8_t> bytes);

} // namespace ovrel
