#include "tests/conversion/bombs/bomb.h"

#include "tests/conversion/bombs/bomb_bytes.h"
#include "tests/support/avif_writer.h"
#include "tests/support/fake_image_source.h"
#include "tests/support/heif_writer.h"

#include <array>

namespace ovrel::test {

namespace {

constexpr std::size_t million = 1'000'000;

Image plain(std::uint32_t side) {
    return makeImage(side, side, Rgba{90, 90, 90, 255});
}

AvifOptions opaque() {
    AvifOptions options;
    options.alpha = false;
    return options;
}

/// ISO/IEC 23008-12, section 6.5.3.2: name, version and flags, width and height.
std::string claiming(std::uint32_t side, const std::string& file) {
    return withBytesBehind(file, "ispe", 8, bigEndianBytes(side, 4) + bigEndianBytes(side, 4));
}

/// A sequence whose tables say, in a few bytes each, that it has `frames` frames of the size of the first.
std::string sequenceClaiming(std::uint32_t frames) {
    std::vector<Image> images;
    images.push_back(plain(16));
    images.push_back(plain(16));
    std::string file = writeAvifSequence(images, opaque());
    // ISO/IEC 14496-12, sections 8.6.1.2, 8.7.3.2 and 8.7.4: name, version and flags, then a count and entries of
    // (frames, time); size for all and a count; a count and entries of (first chunk, frames in it, description).
    file = withBytesBehind(file, "stts", 12, bigEndianBytes(frames, 4));
    file = withBytesBehind(file, "stsz", 8, bigEndianBytes(1, 4) + bigEndianBytes(frames, 4));
    return withBytesBehind(file, "stsc", 16, bigEndianBytes(frames, 4));
}

std::string avifWithLargeProfile() {
    AvifOptions options = opaque();
    options.icc.resize(100 * million);
    return writeAvif(plain(16), options);
}

/// An HEVC picture, or where libheif has no encoder a file of none that can be read: refused alike.
std::string hevc(std::uint32_t side) {
    const std::array<Image, 1> images{plain(side)};
    constexpr std::uint32_t boxBytes = 16;
    return writeHeif(images).value_or(bigEndianBytes(boxBytes, 4) + "ftypheic" + std::string(4, '\0'));
}

/// \param file as of hevc()
std::string hevcClaiming(std::uint32_t side, const std::string& file) {
    return file.find("ispe") == std::string::npos ? file : claiming(side, file);
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

} // namespace

std::vector<Bomb> avifBombs() {
    constexpr std::uint32_t largestSide = 65'536;
    constexpr std::uint32_t largestNumber = 0xFFFFFFFF;
    return {
        // The name decides that an AVIF is copied, so only those under other names are decoded at all.
        {"AvifThatIsCopied", "a.avif", Ending::copied, [] { return claiming(largestSide, writeAvif(plain(16))); }},
        {"AvifOfTheLargestSize", "a.png", Ending::damaged, [] { return claiming(largestSide, writeAvif(plain(16))); }},
        {"AvifOfAnImpossibleSize", "a.png", Ending::damaged,
         [] { return claiming(largestNumber, writeAvif(plain(16), opaque())); }},
        {"AvifOfFewPixelsToBeShownLarge", "a.png", Ending::converted,
         [] { return claiming(3'000, writeAvif(plain(16), opaque())); }},
        {"AvifLargerThanItSays", "a.png", Ending::damaged,
         [] { return claiming(16, writeAvif(plain(2'000), opaque())); }},
        {"AvifOfTwoMillionFrames", "a.png", Ending::damaged, [] { return sequenceClaiming(2 * million); }},
        {"AvifOfBillionsOfFrames", "a.png", Ending::damaged, [] { return sequenceClaiming(largestNumber); }},
        {"AvifWithAProfileOf100MB", "a.png", Ending::converted, avifWithLargeProfile},
        {"HevcOfTheLargestSize", "a.jpg", Ending::damaged, [] { return hevcClaiming(largestSide, hevc(64)); }},
        {"HevcLargerThanItSays", "a.jpg", Ending::damaged, [] { return hevcClaiming(16, hevc(1'100)); }},
        {"HevcOfThousandsOfPicturesInOne", "a.jpg", Ending::damaged, [] { return hevcOfPictures(3'000); }},
        {"HevcOfTilesLargerThanItSays", "a.jpg", Ending::damaged, [] { return hevcWithGridOf(16'384); }},
    };
}

} // namespace ovrel::test
