/// \file heif_boxes.h
/// The boxes of a HEIF file, read without trust in any number. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace ovrel {

using HeifBytes = std::span<const std::uint8_t>;

/// Takes a number off the front, the highest byte first; 0, and nothing is left, where the bytes end before.
/// \param size in bytes, at most 8
std::uint64_t takeNumber(HeifBytes& bytes, std::size_t size);

/// Takes bytes off the front; as many as there are where they end before.
HeifBytes takeBytes(HeifBytes& bytes, std::uint64_t size);

/// ISO/IEC 14496-12, section 4.2.
struct Box {
    std::uint64_t type = 0; ///< as of boxType()
    HeifBytes content;      ///< behind size and type
};

/// \param name four letters
constexpr std::uint64_t boxType(std::string_view name) {
    std::uint64_t type = 0;
    for (const char letter : name) {
        type = type << 8 | static_cast<std::uint8_t>(letter);
    }
    return type;
}

/// Takes a box off the front; one that sticks out ends where its surroundings do.
/// \return nothing at the end
std::optional<Box> takeBox(HeifBytes& bytes);

/// ISO/IEC 14496-12, section 4.2: the first four bytes of many boxes.
struct FullBoxHead {
    unsigned version = 0;
    std::uint32_t flags = 0;
};

FullBoxHead takeFullBoxHead(HeifBytes& content);

/// ISO/IEC 14496-12, section 8.11.12: from which item references lead, how many, and to which.
/// \param numberBytes that the number of an item takes
/// \return whether such a box is as long as what it counts. libheif goes by the count alone, and so reads other boxes
///         behind one that is not.
bool isWholeReference(const Box& box, std::size_t numberBytes);

} // namespace ovrel
