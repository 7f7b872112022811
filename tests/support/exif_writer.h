/// \file exif_writer.h
/// Exif blocks with an orientation, for files of any format.
#pragma once

#include <cstdint>
#include <string>

namespace ovrel::test {

enum class TiffByteOrder { little, big };

/// A TIFF structure as PNG and WebP embed it: IFD0 with a resolution unit and the orientation. JPEG wants
/// "Exif\0\0" before it.
/// \param orientation written as it is, valid or not
std::string exifBlock(std::uint16_t orientation, TiffByteOrder order = TiffByteOrder::little);

/// Where the upright picture's pixel (x, y) stands in a stored picture of `width` × `height` (Exif 2.32, tag 0x0112).
struct StoredPlace {
    std::uint32_t x = 0;
    std::uint32_t y = 0;
};
StoredPlace storedPlace(std::uint16_t orientation, std::uint32_t x, std::uint32_t y, std::uint32_t width,
                        std::uint32_t height);

} // namespace ovrel::test
