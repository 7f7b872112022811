#include "tests/conversion/bombs/bomb.h"

#include "tests/conversion/bombs/bomb_bytes.h"
#include "tests/support/fake_image_source.h"
#include "tests/support/icc_profiles.h"
#include "tests/support/jpeg_writer.h"
#include "tests/support/png_writer.h"

namespace ovrel::test {

namespace {

constexpr std::size_t headerBytes = 128; // ICC.1:2022, section 7.2
constexpr std::size_t entryBytes = 12;

struct Tag {
    std::string name;
    std::string content;
};

std::string padded(std::string text) {
    text.resize((text.size() + 3) / 4 * 4);
    return text;
}

/// A sound profile of Display P3 with one more tag, of version 4.
std::string profileWith(const Tag& tag) {
    const std::string sound = textOf(displayP3Profile());
    const auto number = [&](std::size_t place) {
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < 4; ++i) {
            value = value << 8 | static_cast<std::uint8_t>(sound[place + i]);
        }
        return value;
    };
    // Section 7.3: the number of tags, then name, place and size of each. One entry more moves all of them.
    const std::uint32_t count = number(headerBytes);
    const std::size_t data = headerBytes + 4 + count * entryBytes;
    const std::string content = padded(tag.content);
    std::string table = bigEndianBytes(count + 1, 4);
    for (std::size_t entry = headerBytes + 4; entry < data; entry += entryBytes) {
        table +=
            sound.substr(entry, 4) + bigEndianBytes(number(entry + 4) + entryBytes, 4) + sound.substr(entry + 8, 4);
    }
    const std::string others = padded(sound.substr(data));
    const std::size_t place = data + entryBytes + others.size();
    table += tag.name + bigEndianBytes(place, 4) + bigEndianBytes(content.size(), 4);
    std::string profile = sound.substr(0, headerBytes) + table + others + content;
    return profile.replace(0, 4, bigEndianBytes(profile.size(), 4));
}

/// Section 10.16: processing elements, `count` times the same one.
std::string elements(const std::string& element, std::size_t count) {
    const std::size_t place = 16 + 8 * count;
    return "mpet" + bigEndianBytes(0, 4) + bigEndianBytes(3, 2) + bigEndianBytes(3, 2) + bigEndianBytes(count, 4) +
           repeated(bigEndianBytes(place, 4) + bigEndianBytes(element.size(), 4), count) + element;
}

/// Section 10.16.3: a matrix that changes nothing.
std::string matrixElement() {
    constexpr std::uint32_t one = 0x3F800000; // IEEE 754
    std::string element = "matf" + bigEndianBytes(0, 4) + bigEndianBytes(3, 2) + bigEndianBytes(3, 2);
    for (std::size_t i = 0; i < 12; ++i) {
        element += bigEndianBytes(i % 4 == 0 && i < 9 ? one : 0, 4);
    }
    return element;
}

/// Section 10.16.2: three times the same curve of as many segments as there can be.
std::string curvesElement() {
    constexpr std::size_t segments = 65'535;
    constexpr std::size_t curvePlace = 12 + 3 * 8;
    const std::string segment = "parf" + bigEndianBytes(0, 8) + bigEndianBytes(0x3F800000, 4) +
                                bigEndianBytes(0x3F800000, 4) + bigEndianBytes(0, 4) + bigEndianBytes(0, 4);
    const std::string curve = "curf" + bigEndianBytes(0, 4) + bigEndianBytes(segments, 2) + bigEndianBytes(0, 2) +
                              repeated(bigEndianBytes(0, 4), segments - 1) + repeated(segment, segments);
    return "cvst" + bigEndianBytes(0, 4) + bigEndianBytes(3, 2) + bigEndianBytes(3, 2) +
           repeated(bigEndianBytes(curvePlace, 4) + bigEndianBytes(curve.size(), 4), 3) + curve;
}

/// Section 10.16.4: a table of colours as large as a profile may be.
std::string tableElement() {
    constexpr std::size_t points = 100;
    std::string element = "clut" + bigEndianBytes(0, 4) + bigEndianBytes(3, 2) + bigEndianBytes(3, 2) +
                          std::string(3, static_cast<char>(points)) + std::string(13, '\0');
    element.resize(element.size() + points * points * points * 3 * 4);
    return element;
}

/// Section 10.12: a table of colours alone, as large as a profile may be.
std::string largestTable() {
    constexpr std::size_t points = 172;
    constexpr std::size_t curvesPlace = 32;
    constexpr std::size_t tablePlace = curvesPlace + 3 * 12;
    const std::string curve = "curv" + bigEndianBytes(0, 8);
    return "mAB " + bigEndianBytes(0, 4) + "\3\3" + bigEndianBytes(0, 2) + bigEndianBytes(curvesPlace, 4) +
           bigEndianBytes(0, 8) + bigEndianBytes(tablePlace, 4) + bigEndianBytes(curvesPlace, 4) + repeated(curve, 3) +
           std::string(3, static_cast<char>(points)) + std::string(13, '\0') + '\1' + std::string(3, '\0') +
           std::string(points * points * points * 3, '\x40');
}

/// Section 10.6: a curve that says it has four billion entries.
std::string endlessCurve() {
    return "curv" + bigEndianBytes(0, 4) + bigEndianBytes(0xFFFFFFFF, 4) + std::string(1'000, '\x7F');
}

/// A text in very many languages, all of them the same bytes.
std::string manyTexts() {
    constexpr std::size_t count = 1'000'000;
    constexpr std::size_t place = 16 + 12 * count;
    return "mluc" + bigEndianBytes(0, 4) + bigEndianBytes(count, 4) + bigEndianBytes(12, 4) +
           repeated("enUS" + bigEndianBytes(1'000'000, 4) + bigEndianBytes(place, 4), count) +
           std::string(1'000'000, 'a');
}

std::string pngWith(const std::string& profile) {
    PngPicture picture = pngOf(makeImage(64, 64, Rgba{10, 200, 30, 255}));
    picture.beforeImageData = {{"iCCP", pngProfile(profile)}};
    return writePng(picture);
}

std::string jpegWith(const std::string& profile) {
    JpegOptions options;
    options.profile = profile;
    return writeJpeg(makeImage(64, 64, Rgba{10, 200, 30, 255}), options);
}

Bomb inPng(const char* name, std::function<std::string()> profile) {
    return {name, "a.png", Ending::converted, [profile = std::move(profile)] { return pngWith(profile()); }};
}

std::string soundProfile() {
    return textOf(displayP3Profile());
}

} // namespace

std::vector<Bomb> profileBombs() {
    return {
        inPng("ProfileOfAMillionElements",
              [] {
                  return profileWith({"D2B0", elements(matrixElement(), 1'000'000)});
              }),
        inPng("ProfileOfManyCurvesOfManySegments",
              [] {
                  return profileWith({"D2B0", elements(curvesElement(), 500)});
              }),
        inPng("ProfileOfTheSameTableAgainAndAgain",
              [] {
                  return profileWith({"D2B0", elements(tableElement(), 1'000)});
              }),
        inPng("ProfileOfManyElementsForAnotherIntent",
              [] {
                  return profileWith({"D2B1", elements(matrixElement(), 1'000'000)});
              }),
        inPng("ProfileOfTheLargestTable",
              [] {
                  return profileWith({"A2B0", largestTable()});
              }),
        inPng("ProfileOfAnEndlessCurve",
              [] {
                  return profileWith({"A2B0", endlessCurve()});
              }),
        inPng("ProfileOfAMillionTexts",
              [] {
                  return profileWith({"dmdd", manyTexts()});
              }),
        inPng("ProfileOfFourBillionTags",
              [] { return soundProfile().replace(headerBytes, 4, bigEndianBytes(0xFFFFFFFF, 4)); }),
        inPng("ProfileWhoseTagsLieBehindItsEnd",
              [] { return soundProfile().replace(headerBytes + 8, 4, bigEndianBytes(0xFFFFFF00, 4)); }),
        inPng("ProfileThatSaysItIsLarger", [] { return soundProfile().replace(0, 4, bigEndianBytes(100'000'000, 4)); }),
        inPng("ProfileOfZeros", [] { return std::string(1'000'000, '\0'); }),
        inPng("ProfileThatEndsInItsHeader", [] { return soundProfile().substr(0, 100); }),
        {"JpegWithTheLargestProfile", "a.jpg", Ending::converted,
         [] {
             return jpegWith(profileWith({"A2B0", largestTable()}));
         }},
        {"PngWithAProfileOf100MB", "a.png", Ending::converted,
         [] {
             constexpr std::size_t size = 100'000'000;
             PngPicture picture = pngOf(makeImage(64, 64, Rgba{10, 200, 30, 255}));
             picture.beforeImageData = {
                 {"iCCP",
                  std::string("profile\0\0", 9) +
                      packedZeros(size - headerBytes,
                                  soundProfile().substr(0, headerBytes).replace(0, 4, bigEndianBytes(size, 4)))}};
             return writePng(picture);
         }},
    };
}

} // namespace ovrel::test
