#include "platform/linux/decoders.h"
#include "tests/support/damaged_files.h"
#include "tests/support/exif_writer.h"
#include "tests/support/fake_image_source.h"
#include "tests/support/icc_profiles.h"
#include "tests/support/memory_file.h"
#include "tests/support/peak_memory.h"
#include "tests/support/pictures.h"
#include "tests/support/sanitizers.h"
#include "tests/support/webp_writer.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <string_view>

namespace ovrel::test {

namespace {

std::unique_ptr<ImageSource> open(std::string_view file) {
    return openWebp(memoryFile(file));
}

/// The picture of many details, opaque.
Image opaqueGradient(std::uint32_t width, std::uint32_t height) {
    Image image = gradient(width, height);
    for (std::size_t i = 3; i < image.samples.size(); i += 4) {
        image.samples.data()[i] = 255;
    }
    return image;
}

TEST(WebpSource, StatesFormatSizeAndOrientationBeforeDecoding) {
    const auto source = open(writeWebp(gradient(40, 24), {exifBlock(6), ""}));
    expectStill(source, ImageFormat::webp, 40, 24, 6);
}

TEST(WebpSource, DecodesLosslessPicturesBitForBit) {
    for (const auto& [width, height] : {std::pair{1U, 1U}, {1U, 9U}, {9U, 1U}, {37U, 41U}, {300U, 200U}}) {
        SCOPED_TRACE(std::to_string(width) + "x" + std::to_string(height));
        const auto source = open(writeWebp(gradient(width, height)));
        ASSERT_TRUE(source);
        expectSame(source->decode(0), gradient(width, height));
        expectSame(source->decode(0), gradient(width, height));
    }
}

TEST(WebpSource, DecodesLossyPictures) {
    constexpr float quality = 95;
    constexpr int tolerance = 24; // chroma is halved, so single pixels may be off
    for (const bool transparent : {false, true}) {
        SCOPED_TRACE(transparent);
        const Image original = makeImage(64, 48, [&](std::uint32_t x, std::uint32_t y) {
            return Rgba{static_cast<std::uint8_t>(x * 4), static_cast<std::uint8_t>(y * 5), 90,
                        static_cast<std::uint8_t>(transparent ? 128 + x : 255)};
        });
        const auto source = open(writeWebp(original, {}, quality));
        ASSERT_TRUE(source);
        const std::optional<Image> image = source->decode(0);
        ASSERT_TRUE(image);
        for (std::uint32_t y = 0; y < original.height; ++y) {
            for (std::uint32_t x = 0; x < original.width; ++x) {
                const Rgba found = pixelOf(*image, x, y);
                const Rgba expected = pixelOf(original, x, y);
                for (std::size_t channel = 0; channel < 3; ++channel) {
                    ASSERT_NEAR(found[channel], expected[channel], tolerance) << x << ", " << y;
                }
                ASSERT_EQ(found[3], expected[3]) << "alpha is kept exactly at " << x << ", " << y;
            }
        }
    }
}

TEST(WebpSource, TurnsPicturesUpright) {
    constexpr std::uint32_t width = 13;
    constexpr std::uint32_t height = 7;
    const Image stored = gradient(width, height);
    for (std::uint8_t orientation = 1; orientation <= 8; ++orientation) {
        SCOPED_TRACE(int{orientation});
        const WebpMetadata metadata{exifBlock(orientation), ""};
        const std::string still = writeWebp(stored);
        for (const std::string& file :
             {writeWebp(stored, metadata), writeWebpAnimation({width, height, 0, 0, {{still}, {still}}, metadata})}) {
            const auto source = open(file);
            ASSERT_TRUE(source);
            EXPECT_EQ(source->properties(0).orientation, orientation);
            EXPECT_EQ(source->properties(0).pixelWidth, width);
            expectSame(source->decode(0), upright(stored, orientation));
        }
    }
}

TEST(WebpSource, KeepsTheProfile) {
    const std::string profile = textOf(displayP3Profile());
    const std::string still = writeWebp(gradient(8, 8));
    for (const std::string& file :
         {writeWebp(gradient(8, 8), {"", profile}), writeWebpAnimation({8, 8, 0, 0, {{still}}, {"", profile}})}) {
        const auto source = open(file);
        ASSERT_TRUE(source);
        const std::optional<Image> image = source->decode(0);
        ASSERT_TRUE(image);
        EXPECT_EQ(textOf(image->colorSpace.profile), profile);
        EXPECT_EQ(image->colorSpace.model, ColorModel::rgb);
    }
}

TEST(WebpSource, TakesPicturesForSrgbWhoseProfileCannotBeUsed) {
    for (const std::string& profile :
         {std::string(), std::string("no profile"), textOf(displayP3Profile()).substr(0, 100)}) {
        const auto source = open(writeWebp(gradient(8, 8), {"", profile}));
        ASSERT_TRUE(source);
        const std::optional<Image> image = source->decode(0);
        ASSERT_TRUE(image);
        EXPECT_EQ(image->colorSpace, ColorSpace());
    }
}

TEST(WebpSource, IgnoresWhatFollowsTheFile) {
    for (const std::string& file : {writeWebp(gradient(20, 10)), writeWebp(gradient(20, 10), {exifBlock(1), ""})}) {
        const auto source = open(file + "and more");
        ASSERT_TRUE(source);
        expectSame(source->decode(0), gradient(20, 10));
    }
}

TEST(WebpSource, ShowsNothingOfAFileThatIsCutOff) {
    const std::string still = writeWebp(opaqueGradient(20, 10));
    for (const std::string& file :
         {still, writeWebp(gradient(20, 10), {exifBlock(3), textOf(displayP3Profile())}),
          writeWebp(gradient(20, 10), {}, 80.0F), writeWebpAnimation({20, 10, 0, 0, {{still}, {still}}, {}})}) {
        for (std::size_t size = 0; size < file.size(); ++size) {
            const auto source = open(file.substr(0, size));
            for (std::size_t index = 0; source && index < source->count(); ++index) {
                EXPECT_FALSE(source->decode(index)) << size << " of " << file.size();
            }
        }
    }
}

TEST(WebpSource, RefusesADamagedHeader) {
    using namespace std::string_literals;
    for (const std::string& file :
         {""s, "RIFF"s, "RIFF\x0C\0\0\0WEBP"s, "RIFF\x16\0\0\0WEBPVP8X\x0A\0\0\0\0\0\0\0"s,
          "RIFF\x14\0\0\0WEBPVP8L\x08\0\0\0\x2E\0\0\0\0\0\0\0"s, "RIFF\x10\0\0\0WEBPJUNK\x04\0\0\0abcd"s}) {
        EXPECT_FALSE(open(file));
    }
}

// Animations

constexpr Rgba red{255, 0, 0, 255};
constexpr Rgba green{0, 255, 0, 255};
constexpr Rgba blue{0, 0, 255, 255};
constexpr Rgba clear{0, 0, 0, 0};

/// A still of rows of letters: R, G, B, and '.' for transparent.
std::string still(const std::vector<std::string>& rows) {
    return writeWebp(makeImage(static_cast<std::uint32_t>(rows.front().size()), static_cast<std::uint32_t>(rows.size()),
                               [&](std::uint32_t x, std::uint32_t y) {
                                   const char letter = rows[y][x];
                                   return letter == 'R' ? red : letter == 'G' ? green : letter == 'B' ? blue : clear;
                               }));
}

std::vector<std::string> drawn(const Image& image) {
    std::vector<std::string> rows(image.height);
    for (std::uint32_t y = 0; y < image.height; ++y) {
        for (std::uint32_t x = 0; x < image.width; ++x) {
            const Rgba pixel = pixelOf(image, x, y);
            rows[y] += pixel == red ? 'R' : pixel == green ? 'G' : pixel == blue ? 'B' : pixel[3] == 0 ? '.' : '?';
        }
    }
    return rows;
}

using Drawings = std::vector<std::vector<std::string>>;

Drawings allDrawn(ImageSource& source) {
    Drawings drawings;
    for (std::size_t index = 0; index < source.count(); ++index) {
        const std::optional<Image> image = source.decode(index);
        drawings.push_back(image ? drawn(*image) : std::vector<std::string>{"not decoded"});
    }
    return drawings;
}

/// Frames of every kind on a canvas of 6 × 3; its background colour is opaque white.
WebpAnimation richAnimation() {
    WebpAnimation animation{6, 3, 4, 0xFFFFFFFF, {}, {}};
    animation.frames.push_back({still({"RR", "RR"}), 2, 0});
    animation.frames.push_back({still({"GG.", "..G"}), 0, 0, 50, true, true});
    animation.frames.push_back({still({"B"}), 4, 2});
    animation.frames.push_back({still({".B.B", "B.B."}), 2, 0, 70, false, false});
    animation.frames.push_back({still({"G"}), 0, 2});
    return animation;
}

const Drawings richDrawings{{"..RR..", "..RR..", "......"},
                            {"GGRR..", "..GR..", "......"},
                            {"...R..", "...R..", "....B."},
                            {"...B.B", "..B.B.", "....B."},
                            {"...B.B", "..B.B.", "G...B."}};

TEST(WebpSource, ShowsFramesOfAnAnimationAsABrowserDoes) {
    const auto source = open(writeWebpAnimation(richAnimation()));
    ASSERT_TRUE(source);
    EXPECT_EQ(source->count(), 5U);
    EXPECT_EQ(source->properties(4).pixelWidth, 6U);
    EXPECT_EQ(source->properties(4).pixelHeight, 3U);
    EXPECT_EQ(allDrawn(*source), richDrawings);
}

TEST(WebpSource, StatesTheTimesOfAnAnimationAndHowOftenItPlays) {
    const auto source = open(writeWebpAnimation(richAnimation()));
    ASSERT_TRUE(source);
    EXPECT_EQ(source->gifLoopCount(), 4);
    EXPECT_EQ(source->properties(0).gifUnclampedDelayTime, 0.1);
    EXPECT_EQ(source->properties(1).gifUnclampedDelayTime, 0.05);
    EXPECT_EQ(source->properties(3).gifUnclampedDelayTime, 0.07);
    EXPECT_FALSE(source->properties(1).gifDelayTime);
}

TEST(WebpSource, StatesNoTimeOfAStill) {
    const auto source = open(still({"R"}));
    ASSERT_TRUE(source);
    EXPECT_FALSE(source->gifLoopCount());
    EXPECT_FALSE(source->properties(0).gifUnclampedDelayTime);
}

TEST(WebpSource, DecodesFramesInAnyOrder) {
    const auto source = open(writeWebpAnimation(richAnimation()));
    ASSERT_TRUE(source);
    for (const std::size_t index : {4U, 0U, 0U, 3U, 1U, 1U, 4U, 4U, 2U}) {
        const std::optional<Image> image = source->decode(index);
        ASSERT_TRUE(image);
        EXPECT_EQ(drawn(*image), richDrawings[index]) << index;
    }
}

TEST(WebpSource, DecodesAnAnimationOfOneFrame) {
    const auto source = open(writeWebpAnimation({4, 2, 0, 0, {{still({"R"}), 2, 0}}, {}}));
    ASSERT_TRUE(source);
    EXPECT_EQ(allDrawn(*source), Drawings({{"..R.", "...."}}));
}

TEST(WebpSource, ShowsNoFrameBehindADamagedOne) {
    WebpAnimation animation{64, 64, 0, 0, {}, {}};
    for (int i = 0; i < 4; ++i) {
        animation.frames.push_back({writeWebp(opaqueGradient(64, 64)), 0, 0});
    }
    std::string file = writeWebpAnimation(animation);
    std::size_t third = 0;
    for (int i = 0; i < 3; ++i) {
        third = file.find("VP8L", third + 1);
    }
    constexpr std::size_t pixelsOffset = 13; // chunk header, signature, size of the picture
    file.replace(third + pixelsOffset, 40, 40, '\xFF');
    const auto source = open(file);
    ASSERT_TRUE(source);
    ASSERT_EQ(source->count(), 4U);
    EXPECT_TRUE(source->decode(1));
    EXPECT_FALSE(source->decode(2));
    EXPECT_FALSE(source->decode(3));
    EXPECT_FALSE(source->decode(2));
    expectSame(source->decode(0), opaqueGradient(64, 64));
}

// Bounds

constexpr std::uint64_t littleMemory = std::uint64_t{256} << 20; // the address sanitizer needs some for itself

TEST(WebpSource, SpendsNoMemoryOnAHugePictureWithoutData) {
    // The largest still picture, 16384 × 16384, of which no pixel is there.
    std::string file("RIFF\x16\0\0\0WEBPVP8L\x0A\0\0\0\x2F\xFF\xFF\xFF\x0F\0\0\0\0\0", 30);
    const std::uint64_t taken = peakMemoryOf([&] {
        const auto source = open(file);
        ASSERT_TRUE(source);
        EXPECT_EQ(source->properties(0).pixelWidth, 16384U);
        EXPECT_EQ(source->properties(0).pixelHeight, 16384U);
        try {
            EXPECT_FALSE(source->decode(0));
        } catch (const std::bad_alloc&) {
            // Refused where there is no memory for it.
        }
    });
    if (!underThreadSanitizer) { // which fills pages of its own beside each that is only mapped
        EXPECT_LT(taken, littleMemory);
    }
}

TEST(WebpSource, RefusesAnAnimationThatDoesNotFitIntoMemory) {
    // A canvas of 2²⁴ × 255 pixels would take 17 GB, and four times that to compose; the frame is one pixel.
    std::string file = writeWebpAnimation({4, 4, 0, 0, {{still({"R"})}, {still({"G"})}}, {}});
    const std::size_t canvasSize = file.find("VP8X") + 12;
    file.replace(canvasSize, 6, std::string("\xFF\xFF\xFF\xFE\x00\x00", 6));
    const std::uint64_t taken = peakMemoryOf([&] {
        const auto source = open(file);
        ASSERT_TRUE(source);
        EXPECT_EQ(source->properties(0).pixelWidth, 1U << 24);
        EXPECT_THROW(source->decode(0), std::bad_alloc);
    });
    EXPECT_LT(taken, littleMemory);
}

TEST(WebpSource, ReadsNoMoreFramesThanItCanInBoundedTime) {
    constexpr std::size_t count = 200'000;
    const std::string two = writeWebpAnimation({1, 1, 0, 0, {{still({"R"})}, {still({"R"})}}, {}});
    const std::size_t first = two.find("ANMF");
    const std::string frame = two.substr(first, two.find("ANMF", first + 1) - first);
    std::string file = two.substr(0, first);
    for (std::size_t i = 0; i < count; ++i) {
        file += frame;
    }
    const std::size_t riffBytes = file.size() - 8;
    for (unsigned i = 0; i < 4; ++i) {
        file[4 + i] = static_cast<char>(riffBytes >> (8 * i) & 0xFF);
    }
    const auto source = open(file);
    ASSERT_TRUE(source);
    EXPECT_EQ(source->count(), count);
    EXPECT_EQ(source->properties(count - 1).gifUnclampedDelayTime, 0.1);
    EXPECT_TRUE(source->decode(0));
    EXPECT_TRUE(source->decode(100));
    EXPECT_FALSE(source->decode(65536));
}

TEST(WebpSource, SurvivesTruncation) {
    expectToSurviveTruncation(writeWebpAnimation(richAnimation()), openWebp);
    expectToSurviveTruncation(writeWebp(gradient(20, 10), {exifBlock(6), textOf(displayP3Profile())}, 80.0F), openWebp);
}

TEST(WebpSource, SurvivesFlippedBits) {
    constexpr unsigned rounds = 300;
    expectToSurviveBitFlips(writeWebpAnimation(richAnimation()), openWebp, rounds);
    expectToSurviveBitFlips(writeWebp(gradient(20, 10), {exifBlock(6), ""}), openWebp, rounds);
    expectToSurviveBitFlips(writeWebp(gradient(20, 10), {}, 80.0F), openWebp, rounds);
}

} // namespace

} // namespace ovrel::test
