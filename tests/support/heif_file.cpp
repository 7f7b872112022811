#include "tests/support/heif_file.h"

#include "tests/support/heif_writer.h"

#include <algorithm>
#include <map>
#include <span>
#include <stdexcept>

namespace ovrel::test {

namespace {

constexpr std::size_t boxHeadBytes = 8;

std::string spatialExtents(std::uint32_t width, std::uint32_t height) {
    return heifFullBox("ispe", 0, heifNumber(width, 4) + heifNumber(height, 4));
}

/// ISO/IEC 23008-12, section 9.3: all properties once, and which of them each item has.
std::string properties(const std::vector<HeifItem>& items) {
    std::vector<std::string> boxes;
    std::string all;
    std::string associations = heifNumber(items.size(), 4);
    for (const HeifItem& item : items) {
        associations += heifNumber(item.id, 2) + heifNumber(item.properties.size(), 1);
        for (const std::string& property : item.properties) {
            auto found = std::find(boxes.begin(), boxes.end(), property);
            if (found == boxes.end()) {
                found = boxes.insert(boxes.end(), property);
                all += property;
            }
            constexpr std::uint64_t essential = 0x8000;
            associations += heifNumber(essential | static_cast<std::uint64_t>(found - boxes.begin() + 1), 2);
        }
    }
    constexpr unsigned wideIndices = 1;
    return heifBox("iprp", heifBox("ipco", all) + heifFullBox("ipma", 0, associations, wideIndices));
}

/// ISO/IEC 14496-12, section 8.11.6.
std::string types(const std::vector<HeifItem>& items, const std::vector<HeifReference>& references) {
    const auto isHidden = [&](std::uint64_t id) {
        return std::any_of(references.begin(), references.end(), [&](const HeifReference& reference) {
            return reference.type == "dimg" && std::count(reference.to.begin(), reference.to.end(), id) != 0;
        });
    };
    std::string entries = heifNumber(items.size(), 2);
    for (const HeifItem& item : items) {
        const std::string content = heifNumber(item.id, 2) + heifNumber(0, 2) + item.type + std::string(1, '\0');
        entries += heifFullBox("infe", 2, content, isHidden(item.id) ? 1 : 0);
    }
    return heifFullBox("iinf", 0, entries);
}

/// ISO/IEC 14496-12, section 8.11.12.
std::string boxOf(const std::vector<HeifReference>& references) {
    std::string boxes;
    for (const HeifReference& reference : references) {
        std::string content = heifNumber(reference.from, 2) + heifNumber(reference.to.size(), 2);
        for (const std::uint64_t id : reference.to) {
            content += heifNumber(id, 2);
        }
        boxes += heifBox(reference.type, content);
    }
    return heifFullBox("iref", 0, boxes);
}

/// ISO/IEC 14496-12, section 8.11.3.
std::string locations(const std::vector<HeifItem>& items, const std::map<std::string, std::size_t>& offsets,
                      std::size_t start) {
    constexpr std::uint64_t offsetsAndLengthsInFourBytes = 0x4400;
    std::string content = heifNumber(offsetsAndLengthsInFourBytes, 2) + heifNumber(items.size(), 2);
    for (const HeifItem& item : items) {
        content += heifNumber(item.id, 2) + heifNumber(0, 2) + heifNumber(1, 2);
        content += heifNumber(start + offsets.at(item.data), 4) + heifNumber(item.data.size(), 4);
    }
    return heifFullBox("iloc", 0, content);
}

/// The content of the first box of this type in a file.
std::string contentOf(const std::string& file, std::string_view type) {
    const std::size_t name = file.find(type);
    if (name == std::string::npos || name < 4) {
        throw std::runtime_error("the file lacks " + std::string(type));
    }
    std::size_t size = 0;
    for (const char byte : file.substr(name - 4, 4)) {
        size = size << 8 | static_cast<std::uint8_t>(byte);
    }
    return file.substr(name + 4, size - boxHeadBytes);
}

} // namespace

std::string heifNumber(std::uint64_t value, std::size_t bytes) {
    std::string text;
    for (std::size_t i = bytes; i-- > 0;) {
        text += static_cast<char>(value >> (8 * i) & 0xFFU);
    }
    return text;
}

std::string heifBox(std::string_view type, const std::string& content) {
    return heifNumber(content.size() + boxHeadBytes, 4) + std::string(type) + content;
}

std::string heifFullBox(std::string_view type, unsigned version, const std::string& content, unsigned flags) {
    return heifBox(type, heifNumber(version, 1) + heifNumber(flags, 3) + content);
}

std::string heifFile(const std::vector<HeifItem>& items, const std::vector<HeifReference>& references) {
    std::map<std::string, std::size_t> offsets;
    std::string data;
    for (const HeifItem& item : items) {
        if (offsets.emplace(item.data, data.size()).second) {
            data += item.data;
        }
    }
    const std::string head = heifBox("ftyp", "heic" + heifNumber(0, 4) + "mif1heic");
    const std::string handler =
        heifFullBox("hdlr", 0, heifNumber(0, 4) + "pict" + std::string(12, '\0') + std::string(1, '\0'));
    const auto withData = [&](std::size_t start) {
        return head + heifFullBox("meta", 0,
                                  handler + heifFullBox("pitm", 0, heifNumber(items.front().id, 2)) +
                                      locations(items, offsets, start) + types(items, references) + properties(items) +
                                      (references.empty() ? "" : boxOf(references)));
    };
    return withData(withData(0).size() + boxHeadBytes) + heifBox("mdat", data);
}

std::optional<HeifItem> hevcItem(std::uint64_t id, const Image& image) {
    const std::optional<std::string> file = writeHeif({&image, 1});
    if (!file) {
        return std::nullopt;
    }
    return HeifItem{id,
                    "hvc1",
                    {heifBox("hvcC", contentOf(*file, "hvcC")), spatialExtents(image.width, image.height)},
                    contentOf(*file, "mdat")};
}

HeifItem gridItem(std::uint64_t id, unsigned rows, unsigned columns, std::uint32_t width, std::uint32_t height) {
    return {id,
            "grid",
            {spatialExtents(width, height)},
            heifNumber(0, 2) + heifNumber(rows - 1, 1) + heifNumber(columns - 1, 1) + heifNumber(width, 2) +
                heifNumber(height, 2)};
}

HeifItem overlayItem(std::uint64_t id, std::size_t pictures, std::uint32_t width, std::uint32_t height) {
    constexpr unsigned wideNumbers = 1;
    const std::string opaqueWhite(8, '\xFF');
    return {id,
            "iovl",
            {spatialExtents(width, height)},
            heifNumber(wideNumbers, 2) + opaqueWhite + heifNumber(width, 4) + heifNumber(height, 4) +
                std::string(pictures * 8, '\0')};
}

HeifItem identityItem(std::uint64_t id, std::uint32_t width, std::uint32_t height) {
    return {id, "iden", {spatialExtents(width, height)}, ""};
}

} // namespace ovrel::test
