#include "platform/bitmap.h"
#include "platform/linux/color_profiles.h"
#include "platform/linux/decoders.h"
#include "tests/support/exif_writer.h"
#include "tests/support/fake_image_source.h"
#include "tests/support/icc_profiles.h"
#include "tests/support/limited_memory.h"
#include "tests/support/memory_file.h"
#include "tests/support/peak_memory.h"
#include "tests/support/pictures.h"
#include "tests/support/png_writer.h"
#include "tests/support/sanitizers.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <initializer_list>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace ovrel::test {

namespace {

using namespace std::string_literals;

using Rgba16 = std::array<std::uint16_t, 4>;

std::optional<Image> decode(std::string_view file) {
    const std::unique_ptr<ImageSource> source = openPng(memoryFile(file));
    return source ? source->decode(0) : std::nullopt;
}

/// A pixel of either depth, spread to 16 bits.
Rgba16 widePixelOf(const Image& image, std::uint32_t x, std::uint32_t y) {
    Rgba16 pixel{};
    if (image.layout == PixelLayout::rgba16) {
        std::memcpy(pixel.data(), image.row(y) + std::size_t{x} * sizeof pixel, sizeof pixel);
    } else {
        const Rgba narrow = pixelOf(image, x, y);
        std::transform(narrow.begin(), narrow.end(), pixel.begin(),
                       [](std::uint8_t sample) { return static_cast<std::uint16_t>(sample * 257); });
    }
    return pixel;
}

/// A picture of random samples, without any symmetry.
PngPicture noise(PngColorType colorType, std::uint8_t bitDepth, std::uint32_t width, std::uint32_t height) {
    PngPicture picture;
    picture.width = width;
    picture.height = height;
    picture.colorType = colorType;
    picture.bitDepth = bitDepth;
    std::mt19937 random(1);
    picture.samples.resize(std::size_t{width} * height * channelsOf(colorType));
    for (std::uint16_t& sample : picture.samples) {
        sample = static_cast<std::uint16_t>(random() & ((1U << bitDepth) - 1));
    }
    if (colorType == PngColorType::palette) {
        for (std::size_t i = 0; i < std::size_t{1} << bitDepth; ++i) {
            const auto part = [&] { return static_cast<std::uint8_t>(random()); };
            picture.palette.push_back({part(), part(), part()});
        }
    }
    return picture;
}

/// What the description says of a pixel (PNG, third edition, sections 6 and 11.3.1.1), spread to 16 bits.
Rgba16 describedPixel(const PngPicture& picture, std::size_t x, std::size_t y) {
    const std::size_t channels = channelsOf(picture.colorType);
    const std::uint16_t* samples = picture.samples.data() + (y * picture.width + x) * channels;
    const auto spread = [&](std::uint16_t sample) {
        return static_cast<std::uint16_t>(sample * 65535U / ((1U << picture.bitDepth) - 1));
    };
    const std::vector<std::uint16_t>& transparency = picture.transparency;
    switch (picture.colorType) {
    case PngColorType::gray: {
        const bool transparent = !transparency.empty() && samples[0] == transparency[0];
        const std::uint16_t light = spread(samples[0]);
        return {light, light, light, static_cast<std::uint16_t>(transparent ? 0 : 65535)};
    }
    case PngColorType::grayAlpha: {
        const std::uint16_t light = spread(samples[0]);
        return {light, light, light, spread(samples[1])};
    }
    case PngColorType::palette: {
        const auto& [red, green, blue] = picture.palette[samples[0]];
        const std::uint16_t alpha = samples[0] < transparency.size() ? transparency[samples[0]] : 255;
        const auto wide = [](unsigned sample) { return static_cast<std::uint16_t>(sample * 257); };
        return {wide(red), wide(green), wide(blue), wide(alpha)};
    }
    case PngColorType::rgb: {
        const bool transparent = !transparency.empty() && std::equal(samples, samples + 3, transparency.begin());
        return {spread(samples[0]), spread(samples[1]), spread(samples[2]),
                static_cast<std::uint16_t>(transparent ? 0 : 65535)};
    }
    case PngColorType::rgba: return {spread(samples[0]), spread(samples[1]), spread(samples[2]), spread(samples[3])};
    }
    return {};
}

void expectAsDescribed(const PngPicture& picture) {
    const std::optional<Image> image = decode(writePng(picture));
    ASSERT_TRUE(image);
    ASSERT_EQ(image->width, picture.width);
    ASSERT_EQ(image->height, picture.height);
    ASSERT_EQ(image->layout, picture.bitDepth == 16 ? PixelLayout::rgba16 : PixelLayout::rgba8);
    for (std::uint32_t y = 0; y < picture.height; ++y) {
        for (std::uint32_t x = 0; x < picture.width; ++x) {
            ASSERT_EQ(widePixelOf(*image, x, y), describedPixel(picture, x, y)) << x << ", " << y;
        }
    }
}

struct Kind {
    PngColorType colorType;
    std::uint8_t bitDepth;
};

/// PNG, third edition, section 11.2.1.
constexpr Kind allKinds[] = {
    {PngColorType::gray, 1},    {PngColorType::gray, 2},       {PngColorType::gray, 4},    {PngColorType::gray, 8},
    {PngColorType::gray, 16},   {PngColorType::rgb, 8},        {PngColorType::rgb, 16},    {PngColorType::palette, 1},
    {PngColorType::palette, 2}, {PngColorType::palette, 4},    {PngColorType::palette, 8}, {PngColorType::grayAlpha, 8},
    {PngColorType::rgba, 8},    {PngColorType::grayAlpha, 16}, {PngColorType::rgba, 16},
};

std::string describe(const Kind& kind) {
    return "colour type " + std::to_string(static_cast<int>(kind.colorType)) + ", depth " +
           std::to_string(kind.bitDepth);
}

/// A small picture with chunks in front of its pixels.
std::string withChunks(std::vector<PngChunk> chunks, PngColorType colorType = PngColorType::rgb) {
    PngPicture picture = noise(colorType, 8, 5, 4);
    picture.beforeImageData = std::move(chunks);
    return writePng(picture);
}

std::string pngFile(std::string_view chunks) {
    return pngSignature + std::string(chunks) + pngChunk("IEND", "");
}

std::string packed(std::string_view bytes) {
    return pngProfile(bytes).substr(9);
}

constexpr std::uint64_t littleMemory = std::uint64_t{64} << 20;

TEST(PngSource, StatesFormatSizeAndOrientationBeforeDecoding) {
    PngPicture picture = noise(PngColorType::rgb, 8, 40, 24);
    picture.beforeImageData = {{"eXIf", exifBlock(6)}};
    const std::unique_ptr<ImageSource> source = openPng(memoryFile(writePng(picture)));
    expectStill(source, ImageFormat::png, 40, 24, 6);
}

TEST(PngSource, DecodesEveryColourTypeAndDepth) {
    for (const Kind& kind : allKinds) {
        for (const bool interlaced : {false, true}) {
            SCOPED_TRACE(describe(kind) + (interlaced ? ", interlaced" : ""));
            PngPicture picture = noise(kind.colorType, kind.bitDepth, 37, 41);
            picture.interlaced = interlaced;
            expectAsDescribed(picture);
        }
    }
}

TEST(PngSource, DecodesEverySmallSize) {
    for (const bool interlaced : {false, true}) {
        for (std::uint32_t width = 1; width <= 9; ++width) {
            for (std::uint32_t height = 1; height <= 9; ++height) {
                SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(height));
                PngPicture picture = noise(PngColorType::palette, 1, width, height);
                picture.interlaced = interlaced;
                expectAsDescribed(picture);
            }
        }
    }
}

TEST(PngSource, MakesTheOneTransparentGrayTransparent) {
    for (const int bitDepth : {1, 2, 4, 8, 16}) {
        SCOPED_TRACE(bitDepth);
        PngPicture picture = noise(PngColorType::gray, static_cast<std::uint8_t>(bitDepth), 19, 17);
        picture.transparency = {picture.samples[5]};
        expectAsDescribed(picture);
    }
}

TEST(PngSource, MakesTheOneTransparentColourTransparent) {
    for (const int bitDepth : {8, 16}) {
        SCOPED_TRACE(bitDepth);
        PngPicture picture = noise(PngColorType::rgb, static_cast<std::uint8_t>(bitDepth), 19, 17);
        picture.transparency.assign(picture.samples.begin() + 15, picture.samples.begin() + 18);
        // Neighbours of the transparent colour stay opaque, in the lowest bit of 16 too.
        for (std::ptrdiff_t channel = 0; channel < 3; ++channel) {
            std::copy_n(picture.transparency.begin(), 3, picture.samples.begin() + 30 + 3 * channel);
            picture.samples[static_cast<std::size_t>(30 + 3 * channel + channel)] ^= 1;
        }
        expectAsDescribed(picture);
        const std::optional<Image> image = decode(writePng(picture));
        EXPECT_EQ(widePixelOf(*image, 5, 0)[3], 0);
        EXPECT_EQ(widePixelOf(*image, 10, 0)[3], 65535);
        EXPECT_EQ(widePixelOf(*image, 11, 0)[3], 65535);
        EXPECT_EQ(widePixelOf(*image, 12, 0)[3], 65535);
    }
}

TEST(PngSource, GivesPaletteEntriesTheirAlpha) {
    for (const int bitDepth : {1, 2, 4, 8}) {
        for (const bool interlaced : {false, true}) {
            SCOPED_TRACE(bitDepth);
            PngPicture picture = noise(PngColorType::palette, static_cast<std::uint8_t>(bitDepth), 23, 19);
            picture.interlaced = interlaced;
            picture.transparency = {0};
            expectAsDescribed(picture);
            picture.transparency = {255, 100};
            expectAsDescribed(picture);
        }
    }
}

TEST(PngSource, TurnsAllEightOrientationsUpright) {
    constexpr std::uint32_t width = 45;
    constexpr std::uint32_t height = 70;
    for (const Kind& kind : {Kind{PngColorType::rgb, 8}, Kind{PngColorType::rgba, 16}}) {
        for (const bool interlaced : {false, true}) {
            for (const bool behindImageData : {false, true}) {
                for (std::uint16_t orientation = 1; orientation <= 8; ++orientation) {
                    SCOPED_TRACE(testing::Message() << orientation << (interlaced ? " interlaced" : "")
                                                    << (behindImageData ? " behind" : ""));
                    PngPicture picture = noise(kind.colorType, kind.bitDepth, width, height);
                    picture.interlaced = interlaced;
                    std::vector<PngChunk>& chunks = behindImageData ? picture.afterImageData : picture.beforeImageData;
                    chunks.push_back({"eXIf", exifBlock(orientation, TiffByteOrder::big)});
                    const std::optional<Image> image = decode(writePng(picture));
                    ASSERT_TRUE(image);
                    ASSERT_EQ(image->width, orientation < 5 ? width : height);
                    ASSERT_EQ(image->height, orientation < 5 ? height : width);
                    for (std::uint32_t y = 0; y < image->height; ++y) {
                        for (std::uint32_t x = 0; x < image->width; ++x) {
                            const StoredPlace place = storedPlace(orientation, x, y, width, height);
                            ASSERT_EQ(widePixelOf(*image, x, y), describedPixel(picture, place.x, place.y))
                                << x << ", " << y;
                        }
                    }
                }
            }
        }
    }
}

TEST(PngSource, SurvivesAFileThatIsRewrittenWhileItIsOpen) {
    const TemporaryFolder folder;
    const std::filesystem::path path = folder.write("picture.png", writePng(noise(PngColorType::rgb, 8, 20, 14)));
    const std::unique_ptr<ImageSource> source = openPng(*InputFile::open(path));
    ASSERT_TRUE(source);
    const PngPicture larger = noise(PngColorType::gray, 1, 160, 30);
    std::string file = writePng(larger);
    ASSERT_LE(file.size(), std::filesystem::file_size(path));
    file.resize(std::filesystem::file_size(path));
    folder.write("picture.png", file);
    const std::optional<Image> image = source->decode(0);
    ASSERT_TRUE(image);
    EXPECT_EQ(image->width, 160U);
    EXPECT_EQ(image->height, 30U);
}

TEST(PngSource, IgnoresADamagedExifChunk) {
    std::string file = withChunks({{"eXIf", exifBlock(6)}});
    const std::size_t orientation = file.find("eXIf") + 4 + 18;
    ASSERT_EQ(file.at(orientation), 6);
    file[orientation] = 8;
    const std::unique_ptr<ImageSource> source = openPng(memoryFile(file));
    ASSERT_TRUE(source);
    EXPECT_EQ(source->properties(0).orientation, 1);
    EXPECT_TRUE(source->decode(0));
}

TEST(PngSource, TakesTheFirstSoundExifChunk) {
    const std::string file = withChunks({{"eXIf", exifBlock(6)}, {"eXIf", exifBlock(8)}, {"eXIf", exifBlock(3)}});
    EXPECT_EQ(openPng(memoryFile(file))->properties(0).orientation, 6);
    std::string damaged = file;
    damaged[damaged.find("eXIf") + 5] = 'x';
    EXPECT_EQ(openPng(memoryFile(damaged))->properties(0).orientation, 8);
}

TEST(PngSource, DecodesTheSameTwice) {
    const std::unique_ptr<ImageSource> source = openPng(memoryFile(writePng(noise(PngColorType::rgba, 8, 30, 30))));
    const std::optional<Image> first = source->decode(0);
    const std::optional<Image> second = source->decode(0);
    ASSERT_TRUE(first && second);
    ASSERT_EQ(first->samples.size(), second->samples.size());
    EXPECT_EQ(std::memcmp(first->samples.data(), second->samples.data(), first->samples.size()), 0);
}

/// Content of gAMA (PNG, third edition, section 11.3.2.2).
PngChunk gamma(std::uint32_t hundredThousandths) {
    return {"gAMA", pngInteger(hundredThousandths)};
}

/// Content of cHRM (section 11.3.2.1).
PngChunk chromaticities(const Chromaticities& colors) {
    std::string content;
    for (const auto& point : {colors.white, colors.red, colors.green, colors.blue}) {
        for (const double coordinate : point) {
            content += pngInteger(static_cast<std::uint32_t>(std::lround(coordinate * 100'000)));
        }
    }
    return {"cHRM", content};
}

PngChunk codePoints(int primaries, int transfer, int matrix = 0, int fullRange = 1) {
    return {"cICP",
            {static_cast<char>(primaries), static_cast<char>(transfer), static_cast<char>(matrix),
             static_cast<char>(fullRange)}};
}

PngChunk profile(const ColorSpace& space) {
    return {"iCCP", pngProfile({reinterpret_cast<const char*>(space.profile.data()), space.profile.size()})};
}

const Chromaticities wideGamut{{0.3127, 0.3290}, {0.64, 0.33}, {0.21, 0.71}, {0.15, 0.06}};
const PngChunk srgb{"sRGB", "\0"s};

TEST(PngSource, ChoosesTheDescriptionOfColoursThatGoesFirst) {
    const ColorSpace displayP3 = colorSpaceFromCicp(12, 13);
    const ColorSpace rec2020 = colorSpaceFromCicp(9, 13);
    const ColorSpace linear = colorSpaceFromGamma(1.0);
    ASSERT_FALSE(displayP3.profile.empty() || rec2020.profile.empty() || linear.profile.empty());
    const struct {
        const char* what;
        std::vector<PngChunk> chunks;
        ColorSpace expected;
    } cases[] = {
        {"nothing", {}, {}},
        {"sRGB", {srgb}, {}},
        {"the gamma of sRGB", {gamma(45455)}, {}},
        {"the gamma and the chromaticities of sRGB", {gamma(45455), chromaticities(srgbChromaticities)}, {}},
        {"linear light", {gamma(100'000)}, linear},
        {"a gamma of 1.8", {gamma(55'556)}, colorSpaceFromGamma(100'000 / 55'556.0)},
        {"gamma and chromaticities",
         {gamma(45455), chromaticities(wideGamut)},
         colorSpaceFromGamma(100'000 / 45'455.0, wideGamut)},
        {"chromaticities alone", {chromaticities(wideGamut)}, colorSpaceFromChromaticities(wideGamut)},
        {"no gamma", {gamma(0)}, {}},
        {"sRGB before gamma and chromaticities", {srgb, gamma(100'000), chromaticities(wideGamut)}, {}},
        {"code points", {codePoints(12, 13)}, displayP3},
        {"code points of PQ", {codePoints(9, 16)}, colorSpaceFromCicp(9, 16)},
        {"code points before sRGB", {codePoints(12, 13), srgb, gamma(100'000)}, displayP3},
        {"code points of sRGB before gamma", {codePoints(1, 13), gamma(100'000)}, {}},
        {"code points with a matrix, which RGB has not", {codePoints(12, 13, 1)}, {}},
        {"code points with a narrow range", {codePoints(9, 16, 0, 0)}, {}},
        {"code points with a range that is none", {codePoints(9, 16, 0, 2)}, {}},
        {"gamma for code points with a narrow range", {codePoints(9, 16, 0, 0), gamma(100'000)}, linear},
        {"code points behind some with a narrow range", {codePoints(9, 16, 0, 0), codePoints(12, 13)}, displayP3},
        {"code points of a wrong length", {{"cICP", "\x0C\x0D"s}}, {}},
        {"the first code points of two", {codePoints(12, 13), codePoints(9, 13)}, displayP3},
        {"a profile", {profile(rec2020)}, rec2020},
        {"a profile before all else", {codePoints(12, 13), profile(rec2020), gamma(100'000)}, rec2020},
        {"code points for a profile that cannot be read",
         {{"iCCP", "name\0\0no zlib stream"s}, codePoints(12, 13)},
         displayP3},
        {"gamma for a profile that cannot be used",
         {{"iCCP", pngProfile(std::string(200, 'x'))}, gamma(100'000)},
         linear},
    };
    for (const auto& [what, chunks, expected] : cases) {
        SCOPED_TRACE(what);
        const std::optional<Image> image = decode(withChunks(chunks));
        ASSERT_TRUE(image);
        EXPECT_EQ(image->colorSpace, expected);
    }
}

TEST(PngSource, CallsGrayPicturesGrayUnlessTheirProfileIsOfColours) {
    for (const PngColorType colorType : {PngColorType::gray, PngColorType::grayAlpha}) {
        EXPECT_EQ(decode(withChunks({}, colorType))->colorSpace, (ColorSpace{ColorModel::gray, {}}));
        EXPECT_EQ(decode(withChunks({srgb}, colorType))->colorSpace, (ColorSpace{ColorModel::gray, {}}));
        EXPECT_EQ(decode(withChunks({gamma(100'000)}, colorType))->colorSpace, colorSpaceFromGamma(1.0));
    }
}

TEST(PngSource, ConvertsGrayPicturesThroughTheirGrayProfile) {
    const ColorSpace linear{ColorModel::gray, grayProfile(1.0)};
    for (const PngColorType colorType : {PngColorType::gray, PngColorType::grayAlpha}) {
        for (const std::uint8_t depth : std::initializer_list<std::uint8_t>{8, 16}) {
            SCOPED_TRACE(testing::Message() << static_cast<int>(colorType) << ", " << int{depth});
            PngPicture picture;
            picture.colorType = colorType;
            picture.bitDepth = depth;
            const auto half = static_cast<std::uint16_t>(depth == 8 ? 128 : 128 * 257);
            picture.samples = {half, static_cast<std::uint16_t>((1U << depth) - 1)};
            picture.samples.resize(channelsOf(colorType));
            picture.beforeImageData = {profile(linear)};
            std::optional<Image> image = decode(writePng(picture));
            ASSERT_TRUE(image);
            EXPECT_EQ(image->colorSpace, linear);
            const Rgba pixel = pixelOf(convertedToSrgb(std::move(*image)), 0, 0);
            // IEC 61966-2-1: half of the light is 188.
            for (std::size_t channel = 0; channel < 3; ++channel) {
                EXPECT_NEAR(pixel[channel], 188, 1);
            }
            EXPECT_EQ(pixel[3], 255);
        }
    }
}

TEST(PngSource, IgnoresAGrayProfileOfAPictureInColours) {
    EXPECT_EQ(decode(withChunks({profile({ColorModel::gray, grayProfile(1.0)})}))->colorSpace, ColorSpace{});
}

TEST(PngSource, IgnoresCodePointsBehindTheImageData) {
    PngPicture picture = noise(PngColorType::rgb, 8, 5, 4);
    picture.afterImageData = {codePoints(12, 13)};
    EXPECT_EQ(decode(writePng(picture))->colorSpace, ColorSpace{});
}

TEST(PngSource, CountsTheImagesOfAnAnimation) {
    const PngChunk control2{"acTL", pngAnimationControl(2)};
    const PngChunk frame{"fcTL", pngFrameControl(0, 5, 4)};
    const struct {
        const char* what;
        std::vector<PngChunk> before;
        std::vector<PngChunk> after;
        std::size_t count;
    } cases[] = {
        {"no animation", {}, {}, 1},
        {"an animation that begins with the default image", {control2, frame}, {}, 2},
        {"an animation beside the default image", {control2}, {frame}, 3},
        {"an animation of the default image alone", {{"acTL", pngAnimationControl(1)}, frame}, {}, 1},
        {"one frame beside the default image", {{"acTL", pngAnimationControl(1)}}, {}, 2},
        {"as many frames as the format has", {{"acTL", pngAnimationControl(0x7FFFFFFF)}, frame}, {}, 0x7FFFFFFF},
        {"no frames", {{"acTL", pngAnimationControl(0)}, frame}, {}, 1},
        {"more frames than the format has", {{"acTL", pngAnimationControl(0x80000000)}, frame}, {}, 1},
        {"a control behind the image data", {}, {control2}, 1},
        {"two controls", {control2, control2, frame}, {}, 1},
        {"a control of a wrong length", {{"acTL", pngInteger(2)}, frame}, {}, 1},
    };
    for (const auto& [what, before, after, count] : cases) {
        SCOPED_TRACE(what);
        PngPicture picture = noise(PngColorType::rgb, 8, 5, 4);
        picture.beforeImageData = before;
        picture.afterImageData = after;
        const std::unique_ptr<ImageSource> source = openPng(memoryFile(writePng(picture)));
        ASSERT_TRUE(source);
        EXPECT_EQ(source->count(), count);
        EXPECT_TRUE(source->decode(0));
        if (count > 1) {
            EXPECT_FALSE(source->decode(1));
        }
    }
}

TEST(PngSource, IgnoresADamagedAnimationControl) {
    std::string file = withChunks({{"acTL", pngAnimationControl(2)}});
    file[file.find("acTL") + 7] = 3;
    EXPECT_EQ(openPng(memoryFile(file))->count(), 1U);
}

TEST(PngSource, GivesTheDefaultImageOfAnAnimation) {
    PngPicture picture = noise(PngColorType::rgba, 8, 9, 7);
    picture.beforeImageData = {{"acTL", pngAnimationControl(2)}, {"fcTL", pngFrameControl(0, 9, 7)}};
    picture.afterImageData = {{"fcTL", pngFrameControl(1, 9, 7)}, {"fdAT", pngInteger(2) + "not even looked at"}};
    expectAsDescribed(picture);
}

TEST(PngSource, IgnoresUnknownChunksTextAndWhatFollowsTheEnd) {
    const std::string plain = withChunks({});
    const std::string file = withChunks({{"prVt", "anything"},
                                         {"tEXt", "Title\0text"s},
                                         {"zTXt", "Title\0\0no zlib stream"s},
                                         {"sPLT", "nonsense"},
                                         {"tIME", "short"},
                                         {"bKGD", ""}}) +
                             "trailing garbage";
    const std::optional<Image> expected = decode(plain);
    const std::optional<Image> image = decode(file);
    ASSERT_TRUE(expected && image);
    EXPECT_EQ(std::memcmp(image->samples.data(), expected->samples.data(), expected->samples.size()), 0);
}

TEST(PngSource, TakesChunksOfManyMegabytes) {
    const std::string large(std::size_t{17} << 20, 'x');
    EXPECT_TRUE(decode(withChunks({{"prVt", large}, {"tEXt", "Title\0"s + large}, {"eXIf", large}})));
    const std::optional<Image> image = decode(withChunks({{"iCCP", "name\0\0"s + large}}));
    ASSERT_TRUE(image);
    EXPECT_EQ(image->colorSpace, ColorSpace{});
}

/// The zlib stream of `bytes` zeros, made without holding them.
std::string packedZeros(std::uint64_t bytes) {
    z_stream stream{};
    deflateInit(&stream, Z_BEST_COMPRESSION);
    std::string zeros(std::size_t{1} << 20, '\0');
    std::string result;
    std::array<char, 4096> block{};
    for (std::uint64_t done = 0; done < bytes; done += zeros.size()) {
        stream.next_in = reinterpret_cast<Bytef*>(zeros.data());
        stream.avail_in = static_cast<uInt>(zeros.size());
        const bool last = done + zeros.size() >= bytes;
        do {
            stream.next_out = reinterpret_cast<Bytef*>(block.data());
            stream.avail_out = static_cast<uInt>(block.size());
            deflate(&stream, last ? Z_FINISH : Z_NO_FLUSH);
            result.append(block.data(), block.size() - stream.avail_out);
        } while (stream.avail_out == 0);
    }
    deflateEnd(&stream);
    return result;
}

TEST(PngSource, UnpacksNeitherTextNorProfilesWithoutEnd) {
    const std::string bomb = packedZeros(std::uint64_t{128} << 20);
    for (const PngChunk& chunk : {PngChunk{"zTXt", "Title\0\0"s + bomb}, PngChunk{"iCCP", "name\0\0"s + bomb},
                                  PngChunk{"iTXt", "Title\0\1\0\0\0"s + bomb}, PngChunk{"iCCP", "name\0\0"s + bomb}}) {
        SCOPED_TRACE(chunk.type);
        const std::string file = withChunks({chunk, chunk, chunk});
        const std::uint64_t peak = peakMemoryOf([&] { EXPECT_TRUE(decode(file)); });
        EXPECT_LT(peak, littleMemory);
    }
}

TEST(PngSource, RefusesAHugeHeaderWithoutTakingMemory) {
    constexpr std::uint32_t most = 0x7FFFFFFF;
    const std::string data = pngChunk("IDAT", packed("hardly any pixels"));
    const std::uint64_t peak = peakMemoryOf([&] {
        for (const bool interlaced : {false, true}) {
            for (const auto& [width, height] :
                 {std::pair{60'000U, 60'000U}, std::pair{most, most}, std::pair{most, 1U}, std::pair{1U, most}}) {
                SCOPED_TRACE(testing::Message() << width << " x " << height);
                for (const Kind& kind :
                     {Kind{PngColorType::rgb, 8}, Kind{PngColorType::rgba, 16}, Kind{PngColorType::gray, 1}}) {
                    EXPECT_FALSE(decode(pngFile(
                        pngChunk("IHDR", pngHeader(width, height, kind.bitDepth, kind.colorType, interlaced)) + data)));
                }
            }
        }
    });
    EXPECT_LT(peak, littleMemory);
}

TEST(PngSource, TellsLackOfMemory) {
    if (!canLimitMemory) {
        GTEST_SKIP() << "not under a sanitizer";
    }
    ColorSpace large = colorSpaceFromCicp(12, 13);
    large.profile.resize(1'000'000);
    PngPicture picture = noise(PngColorType::rgba, 8, 500'000, 2);
    picture.beforeImageData = {profile(large)};
    expectToTellLackOfMemory(writePng(picture), openPng);
}

TEST(PngSource, RefusesBadHeaders) {
    const std::string data = pngChunk("IDAT", packed("\0\0\0\0"s));
    const struct {
        const char* what;
        std::string chunks;
    } cases[] = {
        {"nothing", ""},
        {"no header", data},
        {"another chunk first", pngChunk("gAMA", pngInteger(45455)) + pngChunk("IHDR", pngHeader(1, 1)) + data},
        {"no width", pngChunk("IHDR", pngHeader(0, 1)) + data},
        {"no height", pngChunk("IHDR", pngHeader(1, 0)) + data},
        {"a negative width", pngChunk("IHDR", pngHeader(0x80000000, 1)) + data},
        {"a depth of 3", pngChunk("IHDR", pngHeader(1, 1, 3)) + data},
        {"RGB with a depth of 4", pngChunk("IHDR", pngHeader(1, 1, 4)) + data},
        {"an unknown colour type", pngChunk("IHDR", pngHeader(1, 1, 8, static_cast<PngColorType>(5))) + data},
        {"a header of a wrong length", pngChunk("IHDR", pngHeader(1, 1) + "x") + data},
        {"no image data", pngChunk("IHDR", pngHeader(1, 1))},
        {"a palette picture without a palette", pngChunk("IHDR", pngHeader(1, 1, 8, PngColorType::palette)) + data},
        {"an unknown critical chunk", pngChunk("IHDR", pngHeader(1, 1)) + pngChunk("ABCD", "") + data},
    };
    for (const auto& [what, chunks] : cases) {
        SCOPED_TRACE(what);
        EXPECT_FALSE(decode(pngFile(chunks)));
    }
    EXPECT_TRUE(decode(pngFile(pngChunk("IHDR", pngHeader(1, 1)) + data))) << "the sound one";
}

TEST(PngSource, RefusesImageDataThatDoesNotFillThePicture) {
    const std::string header = pngChunk("IHDR", pngHeader(2, 3, 8, PngColorType::gray));
    EXPECT_TRUE(decode(pngFile(header + pngChunk("IDAT", packed(std::string(9, '\0'))))));
    EXPECT_FALSE(decode(pngFile(header + pngChunk("IDAT", packed(std::string(8, '\0')))))) << "one byte less";
    EXPECT_FALSE(decode(pngFile(header + pngChunk("IDAT", packed(std::string(9, '\x09')))))) << "no such filter";
    EXPECT_FALSE(decode(pngFile(header + pngChunk("IDAT", "no zlib stream"))));
}

TEST(PngSource, DecodesPicturesThatAreAsSmallAsDeflateMakesThem) {
    constexpr std::uint32_t side = 1024;
    const std::string file = pngFile(pngChunk("IHDR", pngHeader(side * 8, side, 1, PngColorType::gray)) +
                                     pngChunk("IDAT", packedZeros(std::uint64_t{side} * (side + 1))));
    const std::optional<Image> image = decode(file);
    ASSERT_TRUE(image);
    EXPECT_EQ(pixelOf(*image, side, side - 1), (Rgba{0, 0, 0, 255}));
}

TEST(PngSource, RefusesFilesThatEndAnywhere) {
    for (const bool interlaced : {false, true}) {
        PngPicture picture = noise(PngColorType::palette, 4, 9, 40);
        picture.interlaced = interlaced;
        picture.transparency = {0, 100};
        picture.beforeImageData = {gamma(100'000), {"acTL", pngAnimationControl(2)}, {"eXIf", exifBlock(6)}};
        picture.afterImageData = {{"tEXt", "Title\0text"s}};
        const std::string file = writePng(picture);
        for (std::size_t size = 0; size < file.size(); ++size) {
            SCOPED_TRACE(size);
            EXPECT_FALSE(decode(file.substr(0, size)));
        }
        EXPECT_TRUE(decode(file));
    }
}

TEST(PngSource, RefusesEveryFlippedBitOfCriticalChunks) {
    PngPicture picture = noise(PngColorType::palette, 4, 9, 7);
    picture.transparency.clear();
    const std::string file = writePng(picture);
    // The end has no content to protect, and newer versions of libpng do not look at its checksum.
    constexpr std::size_t checksumBytes = 4;
    for (std::size_t place = pngSignature.size(); place < file.size() - checksumBytes; ++place) {
        for (int bit = 0; bit < 8; ++bit) {
            SCOPED_TRACE(testing::Message() << "byte " << place << ", bit " << bit);
            std::string damaged = file;
            damaged[place] = static_cast<char>(damaged[place] ^ (1 << bit));
            EXPECT_FALSE(decode(damaged));
        }
    }
}

TEST(PngSource, SurvivesDamageWithRightChecksums) {
    std::mt19937 random(1);
    for (const Kind& kind : allKinds) {
        for (int i = 0; i < 300; ++i) {
            std::string header = pngHeader(7, 9, kind.bitDepth, kind.colorType, i % 2 == 0);
            std::string palette(std::size_t{3} * (1 + random() % 20), '\x40');
            std::string transparency(random() % 10, '\x20');
            std::string rows;
            for (int byte = 0; byte < 800; ++byte) {
                rows.push_back(static_cast<char>(byte % 9 == 0 ? random() % 5 : random()));
            }
            std::string data = packed(rows);
            for (std::string* part : {&header, &palette, &transparency, &data}) {
                if (random() % 4 == 0 && !part->empty()) {
                    char& byte = (*part)[part == &header ? 8 + random() % 5 : random() % part->size()];
                    byte = static_cast<char>(byte ^ (1 << random() % 8));
                }
            }
            const std::string file =
                pngFile(pngChunk("IHDR", header) + pngChunk("PLTE", palette) + pngChunk("tRNS", transparency) +
                        pngChunk("IDAT", data.substr(0, random() % 8 == 0 ? random() % data.size() : data.size())));
            const std::optional<Image> image = decode(file);
            if (image) {
                ASSERT_EQ(image->width, 7U);
                ASSERT_EQ(image->height, 9U);
            }
        }
    }
}

} // namespace

} // namespace ovrel::test
