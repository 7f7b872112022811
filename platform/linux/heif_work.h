/// \file heif_work.h
/// What decoding a picture of a HEIF file costs, whatever size the file states for it. Any thread.
#pragma once

#include <cstdint>
#include <span>

namespace ovrel {

/// What HEVC decoders come to put out; HevcWork::unlimited where that cannot be told.
struct HevcCost {
    std::uint64_t pixels = 0;         ///< of all pictures together
    std::uint64_t largestPicture = 0; ///< pixels
};

/// \return the cost of a picture: of its own data, of all that it is made of as often as it is, and of what it may be
///         seen through. Pictures in other codings cost nothing here. Unlimited where the picture is made of
///         something that is missing or no picture.
/// \param heif a file
/// \param item the picture's number
HevcCost hevcCostOf(std::span<const std::uint8_t> heif, std::uint64_t item);

} // namespace ovrel
