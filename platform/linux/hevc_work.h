/// \file hevc_work.h
/// What decoding HEVC data costs, told without decoding them. Any thread.
#pragma once

#include <cstdint>
#include <limits>
#include <span>

namespace ovrel {

/// Collects what the data for one decoder state. Whatever cannot be read counts as costing without limit.
class HevcWork {
public:
    static constexpr std::uint64_t unlimited = std::numeric_limits<std::uint64_t>::max();

    /// \param data NAL units, each behind its length in four bytes
    void addUnits(std::span<const std::uint8_t> data);

    /// \param unit without its length
    void addUnit(std::span<const std::uint8_t> unit);

    /// Pixels that are decoded: those of the largest picture for each picture, and an eighth of them for each picture
    /// parameter set, since a decoder makes tables of a picture's size for each. More of these than have numbers count
    /// as without limit.
    std::uint64_t pixels() const;

    /// Pixels that would be decoded if each slice covered the whole picture. Slices say where they begin, so one may
    /// cover again what others have covered; where they end shows only when they are decoded.
    std::uint64_t slicePixels() const;

    /// Pixels of the largest picture.
    std::uint64_t largestPicture() const { return largestPicture_; }

private:
    std::uint64_t largestPicture_ = 0;
    std::uint64_t pictures_ = 0;
    std::uint64_t slices_ = 0;
    std::uint64_t pictureParameterSets_ = 0;
};

/// \return the product, or HevcWork::unlimited where that is too large
constexpr std::uint64_t boundedProduct(std::uint64_t a, std::uint64_t b) {
    return b != 0 && a > HevcWork::unlimited / b ? HevcWork::unlimited : a * b;
}

/// \return the sum, or HevcWork::unlimited where that is too large
constexpr std::uint64_t boundedSum(std::uint64_t a, std::uint64_t b) {
    return a > HevcWork::unlimited - b ? HevcWork::unlimited : a + b;
}

} // namespace ovrel
