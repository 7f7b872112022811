/// \file heif_work.h
/// What decoding a picture of a HEIF file costs, whatever size the file states for it. Any thread.
#pragma once

#include <cstdint>
#include <span>

namespace ovrel {

/// What decoding comes to; HevcWork::unlimited where that cannot be told.
struct HevcCost {
    std::uint64_t pixels = 0;         ///< of all coded pictures together
    std::uint64_t slicePixels = 0;    ///< the same if each slice covered the whole of its picture
    std::uint64_t canvasPixels = 0;   ///< of all that tiles and overlays are put together on
    std::uint64_t largestPicture = 0; ///< pixels of the largest coded picture or canvas
    std::uint64_t items = 0;          ///< decoded one by one, as often as they are used
};

/// \return the cost of a picture: of its own data, of all that it is made of as often as it is, and of what it may be
///         seen through. Pictures in other codings cost nothing here. Unlimited where the picture is made of
///         something that is missing or no picture.
/// \param heif a file
/// \param item the picture's number
HevcCost hevcCostOf(std::span<const std::uint8_t> heif, std::uint64_t item);

/// Pixels of a picture whose sides are rounded up to the largest blocks of HEVC.
std::uint64_t codedPixels(std::uint32_t width, std::uint32_t height);

/// \return whether that is what decoding such a picture may cost. Coded pictures and canvases may each have four times
///         the pixels that are stated, for alpha, depth and masks and for what crops and tiles leave out, or a
///         megapixel where that is more. As many pixels are allowed if each slice covered its whole picture, or 256
///         megapixels where that is more: a second or two of work, and more than 120 slices of 1920 x 1080. And no more
///         than 4096 items are decoded one by one, since each takes up to a millisecond whatever its size.
/// \param stated pixels that the file states for the picture, as of codedPixels()
bool isWithin(const HevcCost& cost, std::uint64_t stated);

} // namespace ovrel
