#include "tests/conversion/bombs/bomb.h"

#include "tests/conversion/bombs/bomb_bytes.h"
#include "tests/support/fake_image_source.h"
#include "tests/support/heif_file.h"
#include "tests/support/heif_writer.h"

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace ovrel::test {

namespace {

Image plain(std::uint32_t side) {
    return makeImage(side, side, Rgba{90, 90, 90, 255});
}

/// ISO/IEC 23008-12, section 6.5.3.2: name, version and flags, width and height.
std::string stating(std::uint32_t side, const std::string& file) {
    return withBytesBehind(file, "ispe", 8, bigEndianBytes(side, 4) + bigEndianBytes(side, 4));
}

/// An HEVC picture, or where libheif has no encoder a file of none that can be read: refused alike.
std::string hevc(std::uint32_t side) {
    const std::array<Image, 1> images{plain(side)};
    constexpr std::uint32_t boxBytes = 16;
    return writeHeif(images).value_or(bigEndianBytes(boxBytes, 4) + "ftypheic" + std::string(4, '\0'));
}

/// \param file as of hevc()
std::string hevcClaiming(std::uint32_t side, const std::string& file) {
    return file.find("ispe") == std::string::npos ? file : stating(side, file);
}

/// A picture whose data are so many pictures in truth, each to be decoded. The data are all of the last box, and their
/// length stands in the box of places (ISO/IEC 14496-12, section 8.11.3).
std::string hevcOfPictures(std::size_t count) {
    std::string file = hevc(256);
    const std::size_t begin = file.find("mdat") + 4;
    const std::size_t places = file.find("iloc");
    if (places == std::string::npos) {
        return file;
    }
    const std::string picture = file.substr(begin);
    file = withBytesBehind(file, "iloc", file.find(bigEndianBytes(picture.size(), 4), places) - places,
                           bigEndianBytes(count * picture.size(), 4));
    return file.substr(0, begin) + repeated(picture, count);
}

/// A picture of which libheif makes tiles, since its sides are odd, and whose tiles claim to make up a larger one
/// (ISO/IEC 23008-12, section 6.6.2.3): version, flags, rows and columns less one, then width and height.
std::string hevcWithGridOf(std::uint32_t side) {
    std::string file = hevc(19);
    const std::size_t sizes = file.find(std::string("idat\0\0\0\0", 8));
    if (sizes != std::string::npos) {
        file.replace(sizes + 8, 4, bigEndianBytes(side, 2) + bigEndianBytes(side, 2));
    }
    return file;
}

/// A file around a picture of the item number 2, or one of hevc() where libheif has no encoder.
std::string around(std::uint32_t side, const std::function<std::string(const HeifItem& picture)>& file) {
    const std::optional<HeifItem> picture = hevcItem(2, plain(side));
    return picture ? file(*picture) : hevc(side);
}

/// A picture that is made of an item that is not there.
std::string hevcMadeOfNothing(const HeifItem& derived) {
    return around(64, [&](const HeifItem& picture) {
        constexpr std::uint64_t missing = 99;
        return heifFile({derived, picture}, {{"dimg", derived.id, {missing}}});
    });
}

/// The units of a type (ITU-T H.265, section 7.3.1.2) in a configuration (ISO/IEC 14496-15, section 8.3.2.1), each
/// behind its length in four bytes.
std::string unitsOfType(unsigned type, const std::string& configuration) {
    const auto number = [&](std::size_t at, std::size_t bytes) {
        std::size_t value = 0;
        for (const char byte : configuration.substr(at, bytes)) {
            value = value << 8 | static_cast<std::uint8_t>(byte);
        }
        return value;
    };
    constexpr std::size_t boxHeadBytes = 8;
    std::size_t at = boxHeadBytes + 22;
    std::string found;
    for (std::size_t arrays = number(at++, 1); arrays > 0; --arrays) {
        const bool isWanted = (number(at, 1) & 0x3FU) == type;
        std::size_t units = number(at + 1, 2);
        for (at += 3; units > 0; --units) {
            const std::size_t bytes = number(at, 2);
            found += isWanted ? heifNumber(bytes, 4) + configuration.substr(at + 2, bytes) : "";
            at += 2 + bytes;
        }
    }
    return found;
}

/// A picture with so many sets of parameters in front of its data, for each of which a decoder makes tables.
std::string hevcWithParameters(std::size_t sets) {
    return around(2'048, [&](HeifItem picture) {
        constexpr unsigned pictureParameterSet = 34;
        picture.data = repeated(unitsOfType(pictureParameterSet, picture.properties.front()), sets) + picture.data;
        return heifFile({picture});
    });
}

/// One picture laid so often upon a canvas that has room for all.
std::string hevcLaidOften(std::uint16_t times) {
    return around(64, [&](const HeifItem& picture) {
        constexpr std::uint32_t side = 4'096;
        return heifFile({overlayItem(1, times, side, side), picture},
                        {{"dimg", 1, std::vector<std::uint64_t>(times, picture.id)}});
    });
}

/// As phones write them: tiles of 512 pixels, a thumbnail, and planes beside the picture.
std::string hevcOfTiles(std::uint32_t width, std::uint32_t height) {
    constexpr std::uint32_t side = 512;
    return around(side, [&](const HeifItem& tile) {
        const unsigned rows = (height + side - 1) / side;
        const unsigned columns = (width + side - 1) / side;
        std::vector<HeifItem> items{gridItem(1, rows, columns, width, height), tile, *hevcItem(3, plain(64))};
        std::vector<HeifReference> references{
            {"dimg", 1, std::vector<std::uint64_t>(std::size_t{rows} * columns, tile.id)}, {"thmb", 3, {1}}};
        for (const std::uint64_t id : {4U, 5U, 6U}) {
            HeifItem plane = *hevcItem(id, plain(1'024));
            plane.properties.push_back(heifFullBox("auxC", 0, "urn:example:plane:" + std::to_string(id) + '\0'));
            items.push_back(plane);
            references.push_back({"auxl", id, {1}});
        }
        return heifFile(items, references);
    });
}

/// How a sound picture ends; where libheif has no encoder, the file is one of hevc().
Ending soundEnding() {
    return hevcItem(1, plain(64)) ? Ending::converted : Ending::damaged;
}

} // namespace

std::vector<Bomb> heifBombs() {
    constexpr std::uint32_t largestSide = 65'536;
    return {
        {"HevcOfTheLargestSize", "a.jpg", Ending::damaged, [] { return hevcClaiming(largestSide, hevc(64)); }},
        {"HevcLargerThanItSays", "a.jpg", Ending::damaged, [] { return hevcClaiming(16, hevc(1'100)); }},
        {"HevcOfThousandsOfPicturesInOne", "a.jpg", Ending::damaged, [] { return hevcOfPictures(3'000); }},
        {"HevcOfTilesLargerThanItSays", "a.jpg", Ending::damaged, [] { return hevcWithGridOf(16'384); }},
        {"HevcOfThousandsOfParameterSets", "a.jpg", Ending::damaged, [] { return hevcWithParameters(20'000); }},
        {"HevcLaidOftenUponACanvas", "a.jpg", Ending::damaged, [] { return hevcLaidOften(16'000); }},
        {"HevcOfTilesLikeAPhonesPicture", "a.jpg", soundEnding(), [] { return hevcOfTiles(4'032, 3'024); }},
        {"HevcOfTilesLikeAPanorama", "a.jpg", soundEnding(), [] { return hevcOfTiles(8'190, 1'814); }},
        {"HevcOverlayOfNothing", "a.jpg", Ending::damaged, [] { return hevcMadeOfNothing(overlayItem(1, 1, 64, 64)); }},
        {"HevcIdentityOfNothing", "a.jpg", Ending::damaged, [] { return hevcMadeOfNothing(identityItem(1, 64, 64)); }},
    };
}

} // namespace ovrel::test
