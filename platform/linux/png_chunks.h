/// \file png_chunks.h
/// What a PNG file says in chunks that libpng does not know in all its versions, or would meet only behind the pixels.
#pragma once

#include "platform/linux/input_file.h"

#include <cstddef>
#include <cstdint>
#include <optional>

namespace ovrel {

/// Code points of ITU-T H.273.
struct PngCodePoints {
    std::uint8_t primaries = 0;
    std::uint8_t transfer = 0;
};

/// Damaged and misplaced chunks count as absent.
struct PngChunks {
    std::uint32_t width = 0;      ///< pixels as stored, 1 … 2³¹ − 1
    std::uint32_t height = 0;     ///< pixels as stored, 1 … 2³¹ − 1
    std::uint8_t orientation = 1; ///< 1 … 8, from eXIf on either side of the pixels

    /// Frames of the animation (acTL), and the default image when it is not one of them; 1 without an animation.
    std::size_t imageCount = 1;

    std::optional<PngCodePoints> codePoints; ///< cICP, of the full range
    std::uint64_t imageDataBytes = 0;        ///< compressed bytes in the IDAT chunks that the file has room for
};

/// Walks from chunk to chunk, reading the content of few and small ones.
/// \return nothing when the image header is missing or damaged, or there are more chunks than encoders write
std::optional<PngChunks> readPngChunks(const InputFile& file);

} // namespace ovrel
