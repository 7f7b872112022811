#include "platform/linux/color_profiles.h"
#include "platform/linux/decoders.h"
#include "tests/support/avif_writer.h"
#include "tests/support/damaged_files.h"
#include "tests/support/fake_image_source.h"
#include "tests/support/icc_profiles.h"
#include "tests/support/memory_file.h"
#include "tests/support/peak_memory.h"
#include "tests/support/pictures.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <string>
#include <string_view>

namespace ovrel::test {

namespace {

using Rgba16 = std::array<std::uint16_t, 4>;

std::unique_ptr<ImageSource> open(std::string_view file) {
    return openAvif(memoryFile(file));
}

std::optional<Image> decode(std::string_view file) {
    const auto source = open(file);
    return source ? source->decode(0) : std::nullopt;
}

/// The part of a picture that a crop leaves.
Image cropped(const Image& image, const AvifCrop& crop) {
    return makeImage(crop.width, crop.height,
                     [&](std::uint32_t x, std::uint32_t y) { return pixelOf(image, crop.left + x, crop.top + y); });
}

Image turnedAnticlockwise(const Image& image) {
    return makeImage(image.height, image.width,
                     [&](std::uint32_t x, std::uint32_t y) { return pixelOf(image, image.width - 1 - y, x); });
}

Image withTopAndBottomExchanged(const Image& image) {
    return makeImage(image.width, image.height,
                     [&](std::uint32_t x, std::uint32_t y) { return pixelOf(image, x, image.height - 1 - y); });
}

Image withLeftAndRightExchanged(const Image& image) {
    return makeImage(image.width, image.height,
                     [&](std::uint32_t x, std::uint32_t y) { return pixelOf(image, image.width - 1 - x, y); });
}

/// Writes a number over the file's bytes, the highest byte first.
void patch(std::string& file, std::size_t offset, std::uint32_t value) {
    for (unsigned i = 0; i < 4; ++i) {
        file[offset + i] = static_cast<char>(value >> (24 - 8 * i));
    }
}

TEST(AvifSource, StatesFormatSizeAndOrientationBeforeDecoding) {
    AvifOptions options;
    options.turns = 3;
    const auto source = open(writeAvif(gradient(40, 24), options));
    expectStill(source, ImageFormat::avif, 40, 24, 6);
}

TEST(AvifSource, TakesPicturesWithinTheLimitsAlone) {
    struct Row {
        ImageLimits limits;
        bool isWithin;
    };
    constexpr std::uint32_t most = std::numeric_limits<std::uint32_t>::max();
    const Row rows[] = {{{40, 24}, true},     {{24, 40}, true},       {{40, 23}, false},      {{39, 39}, false},
                        {{1, 1}, false},      {{16384, 16384}, true}, {{16385, 16384}, true}, {{65536, 65536}, true},
                        {{most, most}, true}, {{1U << 31, 2}, true}};
    const std::string file = writeAvif(gradient(40, 24));
    for (const auto& [limits, isWithin] : rows) {
        SCOPED_TRACE(std::to_string(limits.width) + "×" + std::to_string(limits.height));
        const auto source = openAvifWithin(limits, {file.begin(), file.end()});
        EXPECT_EQ(source != nullptr, isWithin);
        if (source) {
            expectSame(source->decode(0), gradient(40, 24));
        }
    }
}

TEST(AvifSource, DecodesLosslessPicturesBitForBit) {
    for (const auto& [width, height] : {std::pair{1U, 1U}, {1U, 9U}, {9U, 1U}, {37U, 41U}}) {
        SCOPED_TRACE(std::to_string(width) + "x" + std::to_string(height));
        const auto source = open(writeAvif(gradient(width, height)));
        ASSERT_TRUE(source);
        expectSame(source->decode(0), gradient(width, height));
        expectSame(source->decode(0), gradient(width, height));
    }
}

TEST(AvifSource, ShowsPicturesWithoutAlphaOpaque) {
    AvifOptions options;
    options.alpha = false;
    Image expected = gradient(16, 12);
    for (std::size_t i = 3; i < expected.samples.size(); i += 4) {
        expected.samples.data()[i] = 255;
    }
    expectSame(decode(writeAvif(gradient(16, 12), options)), expected);
}

TEST(AvifSource, DecodesCoarseChromaAndLimitedRange) {
    for (const bool fullRange : {true, false}) {
        SCOPED_TRACE(fullRange);
        AvifOptions options;
        options.chroma = AvifChroma::halved;
        options.matrix = 6;
        options.fullRange = fullRange;
        expectNear(decode(writeAvif(smooth(65, 47), options)), smooth(65, 47), 6);
    }
}

TEST(AvifSource, ShowsGreyPicturesGrey) {
    AvifOptions options;
    options.chroma = AvifChroma::none;
    options.matrix = 6;
    const Image gray = makeImage(20, 15, [](std::uint32_t x, std::uint32_t y) {
        const auto level = static_cast<std::uint8_t>(x * 12 + y);
        return Rgba{level, level, level, 255};
    });
    expectSame(decode(writeAvif(gray, options)), gray);
}

TEST(AvifSource, DecodesDeepPicturesToSixteenBits) {
    for (const unsigned depth : {10U, 12U}) {
        for (const AvifChroma chroma : {AvifChroma::full, AvifChroma::halved, AvifChroma::none}) {
            SCOPED_TRACE(std::to_string(depth) + " bits, chroma " + std::to_string(static_cast<int>(chroma)));
            Image deep{32, 20, PixelLayout::rgba16, PixelBuffer::zeroed(20, std::size_t{32} * 8), {}};
            for (std::uint32_t y = 0; y < deep.height; ++y) {
                for (std::uint32_t x = 0; x < deep.width; ++x) {
                    const auto level = static_cast<std::uint16_t>(x * 2000 + y * 30);
                    const Rgba16 pixel{level, level, level, static_cast<std::uint16_t>(65535 - x * 100)};
                    std::memcpy(deep.row(y) + x * sizeof pixel, pixel.data(), sizeof pixel);
                }
            }
            AvifOptions options;
            options.depth = depth;
            options.chroma = chroma;
            options.matrix = chroma == AvifChroma::full ? 0 : 6;
            const std::optional<Image> image = decode(writeAvif(deep, options));
            ASSERT_TRUE(image);
            ASSERT_EQ(image->layout, PixelLayout::rgba16);
            const int step = 65535 / ((1 << depth) - 1) + 1;
            for (std::uint32_t y = 0; y < deep.height; ++y) {
                for (std::uint32_t x = 0; x < deep.width; ++x) {
                    Rgba16 expected{};
                    Rgba16 found{};
                    std::memcpy(expected.data(), deep.row(y) + x * sizeof expected, sizeof expected);
                    std::memcpy(found.data(), image->row(y) + x * sizeof found, sizeof found);
                    for (std::size_t channel = 0; channel < found.size(); ++channel) {
                        ASSERT_NEAR(found[channel], expected[channel], step) << x << ", " << y;
                    }
                }
            }
        }
    }
}

TEST(AvifSource, StraightensPremultipliedColors) {
    AvifOptions options;
    options.premultiplied = true;
    const Image original = makeImage(16, 16, [](std::uint32_t x, std::uint32_t y) {
        return Rgba{static_cast<std::uint8_t>(x * 16), static_cast<std::uint8_t>(y * 16), 200,
                    static_cast<std::uint8_t>(128 + x * 4)};
    });
    expectNear(decode(writeAvif(original, options)), original, 2);
}

// Transformations

TEST(AvifSource, TurnsAndMirrorsInThatOrder) {
    for (unsigned turns = 0; turns < 4; ++turns) {
        for (const std::optional<unsigned> mirror : {std::optional<unsigned>(), std::optional(0U), std::optional(1U)}) {
            SCOPED_TRACE(std::to_string(turns) + " turns, mirror " + (mirror ? std::to_string(*mirror) : "none"));
            AvifOptions options;
            options.turns = turns;
            options.mirror = mirror;
            Image upright = gradient(13, 7);
            for (unsigned i = 0; i < turns; ++i) {
                upright = turnedAnticlockwise(upright);
            }
            if (mirror) {
                upright = *mirror == 0 ? withTopAndBottomExchanged(upright) : withLeftAndRightExchanged(upright);
            }
            const auto source = open(writeAvif(gradient(13, 7), options));
            ASSERT_TRUE(source);
            EXPECT_EQ(source->properties(0).pixelWidth, 13U);
            EXPECT_EQ(source->properties(0).pixelHeight, 7U);
            expectSame(source->decode(0), upright);
        }
    }
}

TEST(AvifSource, CropsToTheCleanAperture) {
    constexpr AvifCrop crop{3, 5, 20, 10};
    AvifOptions options;
    options.crop = crop;
    const auto source = open(writeAvif(gradient(32, 24), options));
    ASSERT_TRUE(source);
    EXPECT_EQ(source->properties(0).pixelWidth, 20U);
    EXPECT_EQ(source->properties(0).pixelHeight, 10U);
    expectSame(source->decode(0), cropped(gradient(32, 24), crop));
}

TEST(AvifSource, CropsBeforeItTurns) {
    constexpr AvifCrop crop{3, 5, 20, 10};
    AvifOptions options;
    options.crop = crop;
    options.turns = 1;
    const auto source = open(writeAvif(gradient(32, 24), options));
    ASSERT_TRUE(source);
    EXPECT_EQ(source->properties(0).pixelWidth, 20U);
    EXPECT_EQ(source->properties(0).orientation, 8);
    expectSame(source->decode(0), turnedAnticlockwise(cropped(gradient(32, 24), crop)));
}

TEST(AvifSource, CropsAtOddPlacesOfCoarseChroma) {
    constexpr AvifCrop crop{4, 6, 24, 10};
    AvifOptions options;
    options.crop = crop;
    options.chroma = AvifChroma::halved;
    options.matrix = 6;
    std::string file = writeAvif(smooth(33, 25), options);
    // Fields of the box: width, height, horizontal and vertical offset, each as numerator and denominator.
    constexpr std::size_t horizontalOffset = 4 + 4 * 4;
    const std::size_t clap = file.find("clap");
    patch(file, clap + horizontalOffset, static_cast<std::uint32_t>(2 * 3 + 24 - 33)); // from column 3 on
    const auto source = open(file);
    ASSERT_TRUE(source);
    EXPECT_EQ(source->properties(0).pixelWidth, 24U);
    expectNear(source->decode(0), cropped(smooth(33, 25), {3, 6, 24, 10}), 6);
}

TEST(AvifSource, RoundsHalvesOfAPixelDown) {
    AvifOptions options;
    options.crop = AvifCrop{4, 6, 20, 10};
    std::string file = writeAvif(gradient(32, 24), options);
    const std::size_t clap = file.find("clap");
    constexpr std::size_t horizontalOffset = 4 + 4 * 4;
    patch(file, clap + horizontalOffset, static_cast<std::uint32_t>(2 * 4 + 20 - 32 + 1)); // column 4½
    expectSame(decode(file), cropped(gradient(32, 24), {4, 6, 20, 10}));
}

TEST(AvifSource, IgnoresACleanApertureThatCannotBe) {
    AvifOptions options;
    options.crop = AvifCrop{4, 6, 20, 10};
    const std::string sound = writeAvif(gradient(32, 24), options);
    const std::size_t fields = sound.find("clap") + 4;
    struct Damage {
        const char* what;
        std::size_t field;
        std::uint32_t value;
    };
    constexpr std::uint32_t minusOne = 0xFFFFFFFF;
    for (const Damage& damage : {Damage{"no width", 0, 0},
                                 {"negative width", 0, minusOne},
                                 {"width by nothing", 1, 0},
                                 {"negative height", 2, minusOne},
                                 {"too high", 2, 25},
                                 {"left of the picture", 4, 0x80000000},
                                 {"right of the picture", 4, 0x7FFFFFFF},
                                 {"offset by nothing", 5, 0},
                                 {"negative denominator", 7, minusOne}}) {
        SCOPED_TRACE(damage.what);
        std::string file = sound;
        patch(file, fields + damage.field * 4, damage.value);
        const auto source = open(file);
        ASSERT_TRUE(source);
        EXPECT_EQ(source->properties(0).pixelWidth, 32U);
        expectSame(source->decode(0), gradient(32, 24));
    }
}

// Colour

constexpr std::uint16_t displayP3 = 12;
constexpr std::uint16_t rec2020 = 9;
constexpr std::uint16_t linear = 8;
constexpr std::uint16_t srgbTransfer = 13;

TEST(AvifSource, TellsColorsByCodePoints) {
    for (const auto& [primaries, transfer] : {std::pair<std::uint16_t, std::uint16_t>{1, srgbTransfer},
                                              {displayP3, srgbTransfer},
                                              {rec2020, linear},
                                              {2, 2}}) {
        SCOPED_TRACE(std::to_string(primaries) + "/" + std::to_string(transfer));
        AvifOptions options;
        options.primaries = primaries;
        options.transfer = transfer;
        const std::optional<Image> image = decode(writeAvif(gradient(8, 8), options));
        ASSERT_TRUE(image);
        EXPECT_EQ(image->colorSpace, colorSpaceFromCicp(primaries, transfer));
    }
}

TEST(AvifSource, PrefersTheProfileToCodePoints) {
    AvifOptions options;
    options.icc = textOf(displayP3Profile());
    options.primaries = rec2020;
    options.transfer = linear;
    const std::optional<Image> image = decode(writeAvif(gradient(8, 8), options));
    ASSERT_TRUE(image);
    EXPECT_EQ(textOf(image->colorSpace.profile), options.icc);
    EXPECT_EQ(image->colorSpace.model, ColorModel::rgb);
}

TEST(AvifSource, KeepsTheProfileOfAGreyPicture) {
    AvifOptions options;
    options.chroma = AvifChroma::none;
    options.matrix = 6;
    options.icc = textOf(grayProfile(1.8));
    const std::optional<Image> image = decode(writeAvif(smooth(8, 8), options));
    ASSERT_TRUE(image);
    EXPECT_EQ(image->colorSpace.model, ColorModel::gray);
    EXPECT_EQ(textOf(image->colorSpace.profile), options.icc);
}

TEST(AvifSource, TakesPicturesForSrgbWhoseProfileCannotBeUsed) {
    AvifOptions options;
    options.icc = "no profile";
    const std::optional<Image> image = decode(writeAvif(gradient(8, 8), options));
    ASSERT_TRUE(image);
    EXPECT_EQ(image->colorSpace, ColorSpace());
}

// Sequences

TEST(AvifSource, DecodesFramesOfASequenceInAnyOrder) {
    std::vector<Image> frames;
    for (std::uint32_t i = 0; i < 5; ++i) {
        frames.push_back(makeImage(24, 16, [&](std::uint32_t x, std::uint32_t y) {
            return Rgba{static_cast<std::uint8_t>(x * 10), static_cast<std::uint8_t>(y * 15),
                        static_cast<std::uint8_t>(i * 50), static_cast<std::uint8_t>(255 - i * 20)};
        }));
    }
    const auto source = open(writeAvifSequence(frames));
    ASSERT_TRUE(source);
    ASSERT_EQ(source->count(), 5U);
    for (const std::size_t index : {0U, 1U, 2U, 3U, 4U, 2U, 2U, 0U, 4U}) {
        SCOPED_TRACE(index);
        EXPECT_EQ(source->properties(index).pixelWidth, 24U);
        expectNear(source->decode(index), frames[index], 4);
    }
}

TEST(AvifSource, StatesTheTimesOfASequenceAndHowOftenItPlays) {
    std::vector<Image> frames;
    frames.push_back(smooth(16, 12));
    frames.push_back(gradient(16, 12));
    AvifOptions options;
    options.frameMilliseconds = 70;
    for (const auto& [repetitions, loops] : {std::pair{-1, 0}, {0, 1}, {3, 4}}) {
        SCOPED_TRACE(repetitions);
        options.repetitionCount = repetitions;
        const auto source = open(writeAvifSequence(frames, options));
        ASSERT_TRUE(source);
        ASSERT_EQ(source->count(), 2U);
        EXPECT_EQ(source->gifLoopCount(), loops);
        for (std::size_t index = 0; index < 2; ++index) {
            EXPECT_EQ(source->properties(index).gifUnclampedDelayTime, 0.07);
            EXPECT_FALSE(source->properties(index).gifDelayTime);
        }
    }
}

TEST(AvifSource, StatesNoLoopCountOfASequenceWithoutAnEditList) {
    std::vector<Image> frames;
    frames.push_back(smooth(16, 12));
    frames.push_back(gradient(16, 12));
    std::string file = writeAvifSequence(frames);
    std::size_t lists = 0;
    for (std::size_t list = file.find("edts"); list != std::string::npos; list = file.find("edts")) {
        file.replace(list, 4, "skip");
        ++lists;
    }
    ASSERT_GT(lists, 0U);
    const auto source = open(file);
    ASSERT_TRUE(source);
    EXPECT_FALSE(source->gifLoopCount());
    EXPECT_EQ(source->properties(1).gifUnclampedDelayTime, 0.1);
}

// Odd and damaged files

TEST(AvifSource, ReadsFilesWithoutThePropertyOfBitDepths) {
    std::string file = writeAvif(gradient(16, 12));
    for (std::size_t pixi = file.find("pixi"); pixi != std::string::npos; pixi = file.find("pixi")) {
        file.replace(pixi, 4, "skip");
    }
    expectSame(decode(file), gradient(16, 12));
}

TEST(AvifSource, ShowsNothingOfAFileThatIsCutOff) {
    std::vector<Image> frames;
    frames.push_back(gradient(16, 12));
    frames.push_back(smooth(16, 12));
    for (const std::string& file : {writeAvif(gradient(16, 12)), writeAvifSequence(frames)}) {
        for (std::size_t size = 0; size < file.size(); ++size) {
            const auto source = open(file.substr(0, size));
            if (source) {
                EXPECT_FALSE(source->decode(source->count() - 1)) << size << " of " << file.size();
            }
        }
    }
}

TEST(AvifSource, SpendsNoMemoryOnAHugePictureWithoutData) {
    constexpr std::uint64_t littleMemory = std::uint64_t{64} << 20;
    std::string file = writeAvif(gradient(16, 12));
    for (std::size_t ispe = file.find("ispe"); ispe != std::string::npos; ispe = file.find("ispe", ispe + 1)) {
        patch(file, ispe + 8, 65535); // behind the type, version and flags
        patch(file, ispe + 12, 65535);
    }
    const std::uint64_t taken = peakMemoryOf([&] { EXPECT_FALSE(open(file)); });
    EXPECT_LT(taken, littleMemory);
}

TEST(AvifSource, SurvivesTruncation) {
    AvifOptions options;
    options.turns = 1;
    options.crop = AvifCrop{2, 2, 8, 8};
    expectToSurviveTruncation(writeAvif(gradient(16, 12), options), openAvif);
}

TEST(AvifSource, SurvivesFlippedBits) {
    constexpr unsigned rounds = 500;
    AvifOptions options;
    options.mirror = 1;
    options.icc = textOf(displayP3Profile());
    expectToSurviveBitFlips(writeAvif(gradient(16, 12), options), openAvif, rounds);
    std::vector<Image> frames;
    frames.push_back(gradient(16, 12));
    frames.push_back(smooth(16, 12));
    expectToSurviveBitFlips(writeAvifSequence(frames), openAvif, rounds);
}

} // namespace

} // namespace ovrel::test
