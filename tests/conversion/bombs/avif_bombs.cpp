#include "tests/conversion/bombs/bomb.h"

#include "tests/conversion/bombs/bomb_bytes.h"
#include "tests/support/avif_writer.h"
#include "tests/support/fake_image_source.h"

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
    };
}

} // namespace ovrel::test
