#include "platform/linux/heif_items.h"

#include "platform/linux/hevc_work.h"

#include <optional>
#include <utility>

namespace ovrel {

namespace {

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
        items.isAmbiguous = items.isAmbiguous || !isWholeReference(*box, numberBytes);
        const bool isAuxiliary = box->type == boxType("auxl");
        if (!isAuxiliary && box->type != boxType("dimg")) {
            continue;
        }
        const std::uint64_t from = takeNumber(box->content, numberBytes);
        const std::uint64_t count = takeNumber(box->content, 2);
        for (std::uint64_t i = 0; i < count && !box->content.empty() && items.mayKeep(); ++i) {
            const std::uint64_t to = takeNumber(box->content, numberBytes);
            items.partsOf.emplace(isAuxiliary ? to : from, Part{isAuxiliary ? from : to, !isAuxiliary});
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

/// ISO/IEC 14496-12, section 8.11.3: numbers take four or eight bytes or are left out. For other widths libheif reads
/// nothing, so that the data would lie elsewhere than here.
bool isKnownWidth(std::size_t bytes) {
    return bytes == 0 || bytes == 4 || bytes == 8;
}

/// ISO/IEC 14496-12, section 8.11.3.
void readLocations(HeifBytes content, HeifBytes file, HeifBytes itemData, Items& items) {
    constexpr unsigned lastVersion = 2;
    const unsigned version = takeFullBoxHead(content).version;
    const std::uint64_t sizes = takeNumber(content, 2);
    const auto width = [&](unsigned shift) { return static_cast<std::size_t>(sizes >> shift & 0xFU); };
    const LocationWidths widths{.item = version < 2 ? 2U : 4U,
                                .offset = width(12),
                                .length = width(8),
                                .base = width(4),
                                .index = version == 0 ? 0 : width(0)};
    if (version > lastVersion || !isKnownWidth(widths.offset) || !isKnownWidth(widths.length) ||
        !isKnownWidth(widths.base) || !isKnownWidth(widths.index)) {
        items.isAmbiguous = true;
        return;
    }
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

/// ISO/IEC 14496-12, section 8.11.6. Older versions of entries name no type, and what stands behind as many entries as
/// the box counts is none.
void readTypes(HeifBytes content, Items& items) {
    std::uint64_t left = takeNumber(content, takeFullBoxHead(content).version == 0 ? 2 : 4);
    for (std::optional<Box> entry; left > 0 && (entry = takeBox(content)) && items.mayKeep(); --left) {
        const unsigned version = takeFullBoxHead(entry->content).version;
        if (entry->type != boxType("infe") || version < 2) {
            continue;
        }
        const std::uint64_t item = takeNumber(entry->content, version == 2 ? 2 : 4);
        takeNumber(entry->content, 2); // by which entry the data are protected
        items.isAmbiguous = !items.types.emplace(item, takeNumber(entry->content, 4)).second || items.isAmbiguous;
    }
}

/// ISO/IEC 14496-12, section 8.11.1.
void readMeta(HeifBytes content, HeifBytes file, Items& items) {
    takeFullBoxHead(content);
    std::optional<HeifBytes> types;
    std::optional<HeifBytes> properties;
    std::optional<HeifBytes> locations;
    std::optional<HeifBytes> itemData;
    while (const std::optional<Box> box = takeBox(content)) {
        if (box->type == boxType("iinf")) {
            takeOnly(*box, types, items);
        } else if (box->type == boxType("iprp")) {
            takeOnly(*box, properties, items);
        } else if (box->type == boxType("iloc")) {
            takeOnly(*box, locations, items);
        } else if (box->type == boxType("idat")) {
            takeOnly(*box, itemData, items);
        } else if (box->type == boxType("iref")) {
            readReferences(box->content, items);
        }
    }
    readTypes(types.value_or(HeifBytes()), items);
    readProperties(properties.value_or(HeifBytes()), items);
    readLocations(locations.value_or(HeifBytes()), file, itemData.value_or(HeifBytes()), items);
}

} // namespace

Items readItems(HeifBytes file) {
    Items items;
    std::optional<HeifBytes> meta;
    HeifBytes rest = file;
    while (const std::optional<Box> box = takeBox(rest)) {
        if (box->type == boxType("meta")) {
            takeOnly(*box, meta, items);
        }
    }
    readMeta(meta.value_or(HeifBytes()), file, items);
    return items;
}

} // namespace ovrel
