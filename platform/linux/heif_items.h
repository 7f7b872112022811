/// \file heif_items.h
/// The items of a HEIF file: what they are, what belongs to them, and where their data lie. Any thread.
#pragma once

#include "platform/linux/heif_boxes.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

namespace ovrel {

/// Where the data of an item lie.
struct Place {
    HeifBytes from; ///< what the extents count from
    std::vector<HeifBytes> extents;
    std::uint64_t bytes = 0; ///< of all extents
    bool isKnown = true;     ///< false for a way to state it that libheif does not know either
};

/// What is decoded for a picture as well.
struct Part {
    std::uint64_t item = 0;
    bool isNeeded = false; ///< whether the picture is made of it, and not only seen through it
};

/// What a file says of its items, as far as it matters to their decoding.
struct Items {
    std::map<std::uint64_t, std::uint64_t> types; ///< four letters, as of boxType()
    std::vector<Box> properties;
    std::multimap<std::uint64_t, std::uint64_t> propertiesOf; ///< of an item, their places among the properties from 1
    std::multimap<std::uint64_t, Part> partsOf;
    std::map<std::uint64_t, Place> places;
    std::size_t records = 0;  ///< of all that is kept above
    bool isAmbiguous = false; ///< something is stated so that libheif may take it in another way

    /// Counts one more record. Cameras write some hundreds, and a file could name millions in as many bytes.
    /// \return whether it may be kept
    bool mayKeep() { return ++records <= mostRecords; }
    bool areTooMany() const { return records > mostRecords; }

private:
    static constexpr std::size_t mostRecords = std::size_t{1} << 20;
};

/// \param file has to live as long as what is returned, which refers to its bytes
Items readItems(HeifBytes file);

} // namespace ovrel
