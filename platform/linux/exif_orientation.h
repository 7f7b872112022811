/// \file exif_orientation.h
/// The one tag of Exif that a converter needs.
#pragma once

#include <cstdint>
#include <span>

namespace ovrel {

/// \param exif a TIFF structure (TIFF 6.0, section 2) as Exif blocks hold it, with or without the leading
///             "Exif\0\0" of JPEG; any bytes are safe
/// \return the orientation 1 … 8 of IFD0 (Exif 2.32, tag 0x0112); 1 when it is absent or not one of these
std::uint8_t exifOrientation(std::span<const std::uint8_t> exif);

} // namespace ovrel
