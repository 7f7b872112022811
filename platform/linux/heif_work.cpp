#include "platform/linux/heif_work.h"

#include "platform/linux/heif_boxes.h"
#include "platform/linux/hevc_work.h"

#include <algorithm>
#include <map>
#include <optional>
#include <utility>
#include <vector>

namespace ovrel {

namespace {

constexpr HevcCost unlimited{HevcWork::unlimited, HevcWork::unlimited};

HevcCost operator+(const HevcCost& a, const HevcCost& b) {
    return {boundedSum(a.pixels, b.pixels), std::max(a.largestPicture, b.largestPicture)};
}

/// Where the data of an item lie.
struct Place {
    HeifBytes from; ///< what the extents count from
    std::vector<HeifBytes> extents;
    std::uint64_t bytes = 0; ///< of all extents
    bool isKnown = true;     ///< false for a way to state it that libheif does not know either
};

/// What a file says of its items, as far as it matters here.
struct Items {
    std::vector<Box> properties;
    std::multimap<std::uint64_t, std::uint64_t> propertiesOf; ///< of an item, their places among the properties from 1
    std::multimap<std::uint64_t, std::uint64_t> partsOf;      ///< of an item, what is decoded for it as well
    std::map<std::uint64_t, Place> places;
    std::size_t records = 0;  ///< of all that is kept above
    bool isAmbiguous = false; ///< something is stated twice, so that libheif may take the other one

    /// Counts one more record. Cameras write some hundreds, and a file could name millions in as many bytes.
    /// \return whether it may be kept
    bool mayKeep() { return ++records <= mostRecords; }
    bool areTooMany() const { return records > mostRecords; }

private:
    static constexpr std::size_t mostRecords = std::size_t{1} << 20;
};

/// Takes a box that no file has twice.
void takeOnly(const Box& box, std::optional<HeifBytes>& content, Items& items) {
    items.isAmbiguous = items.isAmbiguous || content;
    content = box.content;
}

/// ISO/IEC 23008-12, section 9.3.2.
void readAssociations(HeifBytes content, Items& items) {
    const FullBoxHead head = takeFullBoxHead(content);
    const std::size_t numberBytes = head.version == 0 ? 2 : 4;
    const bool isWide = (head.flags & 1U) != 0;
    const std::uint64_t indexMask = isWide ? 0x7FFF : 0x7F; // the highest bit says whether it is essential
    const std::uint64_t entries = takeNumber(content, 4);
    for (std::uint64_t entry = 0; entry < entries && !content.empty(); ++entry) {
        const std::uint64_t item = takeNumber(content, numberBytes);
        const std::uint64_t count = takeNumber(content, 1);
        for (std::uint64_t i = 0; i < count && !content.empty() && items.mayKeep(); ++i) {
            items.propertiesOf.emplace(item, takeNumber(content, isWide ? 2 : 1) & indexMask);
        }
    }
}

/// ISO/IEC 23008-12, section 9.3.1: the properties, and which items have them.
void readProperties(HeifBytes content, Items& items) {
    std::optional<HeifBytes> properties;
    while (const std::optional<Box> box = takeBox(content)) {
        if (box->type == boxType("ipco")) {
            takeOnly(*box, properties, items);
        } else if (box->type == boxType("ipma")) {
            readAssociations(box->content, items);
        }
    }
    HeifBytes rest = properties.value_or(HeifBytes());
    for (std::optional<Box> property; (property = takeBox(rest)) && items.mayKeep();) {
        items.properties.push_back(*property);
    }
}

/// ISO/IEC 14496-12, section 8.11.12; ISO/IEC 23008-12, sections 6.6.1 and 6.4.5: "dimg" leads from a picture to what
/// it is made of, "auxl" from an alpha plane and its like to their picture.
void readReferences(HeifBytes content, Items& items) {
    const std::size_t numberBytes = takeFullBoxHead(content).version == 0 ? 2 : 4;
    while (std::optional<Box> box = takeBox(content)) {
        const bool isAuxiliary = box->type == boxType("auxl");
        if (!isAuxiliary && box->type != boxType("dimg")) {
            continue;
        }
        const std::uint64_t from = takeNumber(box->content, numberBytes);
        const std::uint64_t count = takeNumber(box->content, 2);
        for (std::uint64_t i = 0; i < count && !box->content.empty() && items.mayKeep(); ++i) {
            const std::uint64_t to = takeNumber(box->content, numberBytes);
            items.partsOf.emplace(isAuxiliary ? to : from, isAuxiliary ? from : to);
        }
    }
}

/// Widths of the numbers in an "iloc" box.
struct LocationWidths {
    std::size_t item = 0;
    std::size_t offset = 0;
    std::size_t length = 0;
    std::size_t base = 0;
    std::size_t index = 0;
};

void readExtents(HeifBytes& content, const LocationWidths& widths, Items& items, Place& place) {
    const std::uint64_t base = takeNumber(content, widths.base);
    const std::uint64_t count = takeNumber(content, 2);
    for (std::uint64_t i = 0; i < count && !content.empty() && items.mayKeep(); ++i) {
        takeNumber(content, widths.index);
        const std::uint64_t offset = boundedSum(base, takeNumber(content, widths.offset));
        const std::uint64_t length = takeNumber(content, widths.length);
        HeifBytes rest = place.from;
        takeBytes(rest, offset);
        place.extents.push_back(takeBytes(rest, length == 0 ? rest.size() : length)); // 0 stands for all the rest
        place.bytes = boundedSum(place.bytes, place.extents.back().size());
    }
}

/// ISO/IEC 14496-12, section 8.11.3.
void readLocations(HeifBytes content, HeifBytes file, HeifBytes itemData, Items& items) {
    constexpr std::uint64_t largestWidth = 8;
    const unsigned version = takeFullBoxHead(content).version;
    const std::uint64_t sizes = takeNumber(content, 2);
    const auto width = [&](unsigned shift) { return std::min(sizes >> shift & 0xFU, largestWidth); };
    const LocationWidths widths{.item = version < 2 ? 2U : 4U,
                                .offset = width(12),
                                .length = width(8),
                                .base = width(4),
                                .index = version == 0 ? 0 : width(0)};
    const std::uint64_t count = takeNumber(content, widths.item);
    for (std::uint64_t i = 0; i < count && !content.empty() && items.mayKeep(); ++i) {
        Place place;
        const std::uint64_t item = takeNumber(content, widths.item);
        const std::uint64_t method = version == 0 ? 0 : takeNumber(content, 2) & 0xFU;
        takeNumber(content, 2); // in which file; only this one is read
        place.from = method == 0 ? file : itemData;
        place.isKnown = method <= 1;
        readExtents(content, widths, items, place);
        items.isAmbiguous = !items.places.emplace(item, std::move(place)).second || items.isAmbiguous;
    }
}

/// ISO/IEC 14496-12, section 8.11.1.
void readMeta(HeifBytes content, HeifBytes file, Items& items) {
    takeFullBoxHead(content);
    std::optional<HeifBytes> properties;
    std::optional<HeifBytes> locations;
    std::optional<HeifBytes> itemData;
    while (const std::optional<Box> box = takeBox(content)) {
        if (box->type == boxType("iprp")) {
            takeOnly(*box, properties, items);
        } else if (box->type == boxType("iloc")) {
            takeOnly(*box, locations, items);
        } else if (box->type == boxType("idat")) {
            takeOnly(*box, itemData, items);
        } else if (box->type == boxType("iref")) {
            readReferences(box->content, items);
        }
    }
    readProperties(properties.value_or(HeifBytes()), items);
    readLocations(locations.value_or(HeifBytes()), file, itemData.value_or(HeifBytes()), items);
}

/// ISO/IEC 14496-15, section 8.3.2.1: behind fixed fields arrays of NAL units, each unit behind its length.
void addConfiguration(HeifBytes content, HevcWork& work) {
    constexpr std::uint64_t fixedBytes = 22;
    takeBytes(content, fixedBytes);
    const std::uint64_t arrays = takeNumber(content, 1);
    for (std::uint64_t array = 0; array < arrays && !content.empty(); ++array) {
        takeNumber(content, 1); // the type, which each unit says as well
        const std::uint64_t units = takeNumber(content, 2);
        for (std::uint64_t unit = 0; unit < units && !content.empty(); ++unit) {
            const std::uint64_t length = takeNumber(content, 2);
            work.addUnit(takeBytes(content, length));
        }
    }
}

class Costs {
public:
    explicit Costs(HeifBytes file) : bytesLeft_(boundedSum(boundedProduct(file.size(), readings), sharedBytes)) {
        std::optional<HeifBytes> meta;
        HeifBytes rest = file;
        while (const std::optional<Box> box = takeBox(rest)) {
            if (box->type == boxType("meta")) {
                takeOnly(*box, meta, items_);
            }
        }
        readMeta(meta.value_or(HeifBytes()), file, items_);
    }

    HevcCost costOf(std::uint64_t item) {
        return items_.areTooMany() || items_.isAmbiguous ? unlimited : costWithin(item, deepest);
    }

private:
    // Items may share their data and parameters, though not so often that reading them would cost much itself.
    static constexpr std::uint64_t readings = 4;
    static constexpr std::uint64_t sharedBytes = std::uint64_t{1} << 20;

    /// An alpha plane of a picture that is made of others as deeply as heif_derivation.h allows, and one step more.
    static constexpr int deepest = 6;

    HevcCost costWithin(std::uint64_t item, int depth) {
        if (depth == 0) {
            return unlimited; // made of itself
        }
        if (const auto known = costs_.find(item); known != costs_.end()) {
            return known->second;
        }
        HevcCost cost = ownCostOf(item);
        const auto [begin, end] = items_.partsOf.equal_range(item);
        for (auto part = begin; part != end; ++part) {
            cost = cost + costWithin(part->second, depth - 1);
        }
        costs_[item] = cost;
        return cost;
    }

    HevcCost ownCostOf(std::uint64_t item) {
        HevcWork work;
        bool isHevc = false;
        const auto [begin, end] = items_.propertiesOf.equal_range(item);
        for (auto index = begin; index != end; ++index) {
            const std::uint64_t place = index->second - 1; // of 0, which is none, the largest number
            if (place >= items_.properties.size() || items_.properties[place].type != boxType("hvcC")) {
                continue;
            }
            const HeifBytes configuration = items_.properties[place].content;
            if (!mayRead(configuration.size())) {
                return unlimited;
            }
            addConfiguration(configuration, work);
            isHevc = true;
        }
        if (!isHevc) {
            return {};
        }
        const auto data = items_.places.find(item);
        if (data == items_.places.end()) {
            return {}; // libheif has nothing to decode either
        }
        if (!data->second.isKnown || !mayRead(data->second.bytes)) {
            return unlimited;
        }
        addData(data->second, work);
        return {work.pixels(), work.largestPicture()};
    }

    bool mayRead(std::uint64_t bytes) {
        const bool isLittle = bytes <= bytesLeft_;
        bytesLeft_ -= isLittle ? bytes : bytesLeft_;
        return isLittle;
    }

    static void addData(const Place& place, HevcWork& work) {
        if (place.extents.size() == 1) {
            work.addUnits(place.extents.front());
            return;
        }
        std::vector<std::uint8_t> whole;
        for (const HeifBytes extent : place.extents) {
            whole.insert(whole.end(), extent.begin(), extent.end());
        }
        work.addUnits(whole);
    }

    Items items_;
    std::uint64_t bytesLeft_;
    std::map<std::uint64_t, HevcCost> costs_;
};

} // namespace

HevcCost hevcCostOf(HeifBytes heif, std::uint64_t item) {
    return Costs(heif).costOf(item);
}

} // namespace ovrel
