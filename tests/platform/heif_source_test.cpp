#include "platform/bitmap.h"
#include "platform/linux/color_profiles.h"
#include "platform/linux/decoders.h"
#include "tests/support/avif_writer.h"
#include "tests/support/damaged_files.h"
#include "tests/support/fake_image_source.h"
#include "tests/support/heif_file.h"
#include "tests/support/heif_writer.h"
#include "tests/support/icc_profiles.h"
#include "tests/support/memory_file.h"
#include "tests/support/pictures.h"
#include "tests/support/skip_outside_ci.h"

#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace ovrel::test {

namespace {

std::unique_ptr<ImageSource> open(std::string_view file) {
    return openHeif(memoryFile(file));
}

constexpr int lossy = 12; // the encoder halves the chroma

/// Files as cameras make them; libheif writes them where it has an encoder for HEVC.
class HevcSource : public testing::Test {
protected:
    void SetUp() override {
        const Image image = smooth(64, 64);
        if (!writeHeif({&image, 1})) {
            OVREL_SKIP_OUTSIDE_CI("libheif cannot write HEVC here");
        }
    }

    static std::string written(const Image& image, const HeifOptions& options = {}) {
        return *writeHeif({&image, 1}, options);
    }
};

TEST_F(HevcSource, StatesFormatAndSizeBeforeDecoding) {
    const auto source = open(written(smooth(96, 64)));
    expectStill(source, ImageFormat::heif, 96, 64, 1);
}

TEST_F(HevcSource, DecodesPicturesWithAndWithoutAlpha) {
    for (const bool transparent : {false, true}) {
        SCOPED_TRACE(transparent);
        for (const auto& [width, height] : {std::pair{96U, 64U}, {71U, 67U}}) {
            const auto source = open(written(smooth(width, height, transparent)));
            ASSERT_TRUE(source);
            expectNear(source->decode(0), smooth(width, height, transparent), lossy);
        }
    }
}

TEST_F(HevcSource, IsOpenedByItsContent) {
    const std::unique_ptr<ImageSource> source = openImage(memoryFile(written(smooth(64, 64))));
    ASSERT_TRUE(source);
    EXPECT_EQ(source->format(), ImageFormat::heif);
    expectNear(source->decode(0), smooth(64, 64), lossy);
}

TEST_F(HevcSource, AppliesTheFilesOwnTurns) {
    constexpr std::uint32_t width = 96;
    constexpr std::uint32_t height = 64;
    const Image stored = smooth(width, height);
    for (std::uint16_t orientation = 1; orientation <= 8; ++orientation) {
        SCOPED_TRACE(orientation);
        HeifOptions options;
        options.orientation = orientation;
        const Image expected = upright(stored, orientation);
        const auto source = open(written(stored, options));
        ASSERT_TRUE(source);
        EXPECT_EQ(source->properties(0).orientation, 1);
        EXPECT_EQ(source->properties(0).pixelWidth, expected.width);
        EXPECT_EQ(source->properties(0).pixelHeight, expected.height);
        expectNear(source->decode(0), expected, lossy);
    }
}

TEST_F(HevcSource, PutsThePrimaryPictureFirst) {
    std::vector<Image> pictures;
    pictures.push_back(smooth(96, 64));
    pictures.push_back(makeImage(64, 64, Rgba{200, 30, 60, 255}));
    const auto source = open(*writeHeif(pictures));
    ASSERT_TRUE(source);
    ASSERT_EQ(source->count(), 2U);
    EXPECT_EQ(source->properties(1).pixelWidth, 64U);
    expectNear(source->decode(1), pictures[1], lossy);
    expectNear(source->decode(0), pictures[0], lossy);
}

TEST_F(HevcSource, DecodesDeepPicturesToSixteenBits) {
    HeifOptions options;
    options.depth = 10;
    std::string file;
    try {
        file = written(smooth(64, 64, true), options);
    } catch (const std::runtime_error& error) {
        GTEST_SKIP() << "this encoder knows no ten bits: " << error.what();
    }
    const auto source = open(file);
    ASSERT_TRUE(source);
    const std::optional<Image> image = source->decode(0);
    ASSERT_TRUE(image);
    ASSERT_EQ(image->layout, PixelLayout::rgba16);
    const Image expected = smooth(64, 64, true);
    constexpr int tolerance = lossy * 257;
    for (std::uint32_t y = 0; y < 64; ++y) {
        for (std::uint32_t x = 0; x < 64; ++x) {
            std::array<std::uint16_t, 4> found{};
            std::memcpy(found.data(), image->row(y) + x * sizeof found, sizeof found);
            for (std::size_t channel = 0; channel < found.size(); ++channel) {
                ASSERT_NEAR(found[channel], pixelOf(expected, x, y)[channel] * 257, tolerance) << x << ", " << y;
            }
        }
    }
}

TEST_F(HevcSource, StraightensPremultipliedColors) {
    HeifOptions options;
    options.premultiplied = true;
    const Image premultiplied = makeImage(64, 64, [](std::uint32_t x, std::uint32_t) {
        return x < 32 ? Rgba{60, 30, 0, 128} : Rgba{100, 50, 0, 200};
    });
    const Image straight = makeImage(64, 64, [](std::uint32_t x, std::uint32_t) {
        return x < 32 ? Rgba{120, 60, 0, 128} : Rgba{128, 64, 0, 200};
    });
    const auto source = open(written(premultiplied, options));
    ASSERT_TRUE(source);
    const std::optional<Image> image = source->decode(0);
    ASSERT_TRUE(image);
    constexpr int tolerance = 16;
    for (const std::uint32_t x : {8U, 56U}) { // away from the edge, which the encoder blurs
        for (std::size_t channel = 0; channel < 4; ++channel) {
            EXPECT_NEAR(pixelOf(*image, x, 32)[channel], pixelOf(straight, x, 32)[channel], tolerance) << x;
        }
    }
}

constexpr std::uint16_t displayP3 = 12;
constexpr std::uint16_t srgbTransfer = 13;

TEST_F(HevcSource, KeepsTheProfile) {
    HeifOptions options;
    options.icc = textOf(displayP3Profile());
    const auto source = open(written(smooth(64, 64), options));
    ASSERT_TRUE(source);
    const std::optional<Image> image = source->decode(0);
    ASSERT_TRUE(image);
    EXPECT_EQ(textOf(image->colorSpace.profile), options.icc);
}

TEST_F(HevcSource, ConvertsGrayPicturesThroughTheirGrayProfile) {
    const ColorSpace linear{ColorModel::gray, grayProfile(1.0)};
    HeifOptions options;
    options.icc = textOf(linear.profile);
    for (const unsigned depth : {8U, 10U}) {
        SCOPED_TRACE(depth);
        options.depth = depth;
        std::string file;
        try {
            file = written(makeImage(64, 64, Rgba{128, 128, 128, 255}), options);
        } catch (const std::runtime_error& error) {
            GTEST_SKIP() << "this encoder does not know so many bits: " << error.what();
        }
        const auto source = open(file);
        ASSERT_TRUE(source);
        std::optional<Image> image = source->decode(0);
        ASSERT_TRUE(image);
        EXPECT_EQ(image->colorSpace, linear);
        const Rgba pixel = pixelOf(convertedToSrgb(std::move(*image)), 32, 32);
        // IEC 61966-2-1: half of the light is 188.
        for (std::size_t channel = 0; channel < 3; ++channel) {
            EXPECT_NEAR(pixel[channel], 188, 2);
        }
    }
}

TEST_F(HevcSource, IgnoresAGrayProfileOfAPictureInColours) {
    HeifOptions options;
    options.icc = textOf(grayProfile(1.0));
    const auto source = open(written(smooth(64, 64), options));
    ASSERT_TRUE(source);
    const std::optional<Image> image = source->decode(0);
    ASSERT_TRUE(image);
    EXPECT_EQ(image->colorSpace, ColorSpace());
    expectNear(image, smooth(64, 64), lossy);
}

TEST_F(HevcSource, TellsColorsByCodePoints) {
    HeifOptions options;
    options.statesCicp = true;
    options.primaries = displayP3;
    options.transfer = srgbTransfer;
    const auto source = open(written(smooth(64, 64), options));
    ASSERT_TRUE(source);
    const std::optional<Image> image = source->decode(0);
    ASSERT_TRUE(image);
    EXPECT_EQ(image->colorSpace, colorSpaceFromCicp(displayP3, srgbTransfer));
}

// libheif hands out memory for them nevertheless, which the sanitizers want back.
TEST_F(HevcSource, TakesCodePointsThatNobodyKnowsForSrgb) {
    HeifOptions options;
    options.statesCicp = true;
    std::string file = written(smooth(64, 64), options);
    const std::size_t name = file.find("nclx");
    ASSERT_NE(name, std::string::npos);
    for (const std::size_t codePoint : {name + 4, name + 6}) { // primaries, transfer
        SCOPED_TRACE(codePoint - name);
        std::string odd = file;
        odd[codePoint] = '\x1F';
        const std::unique_ptr<ImageSource> source = open(odd);
        ASSERT_TRUE(source);
        const std::optional<Image> image = source->decode(0);
        ASSERT_TRUE(image);
        expectNear(image, smooth(64, 64), lossy);
        EXPECT_EQ(image->colorSpace, ColorSpace());
    }
}

// libheif would follow them until the stack ends.
TEST_F(HevcSource, RefusesPicturesMadeOfThemselves) {
    const std::string file = written(smooth(19, 13)); // of odd sizes libheif makes tiles
    const std::size_t name = file.find("dimg");
    if (name == std::string::npos) {
        GTEST_SKIP() << "this libheif makes no tiles";
    }
    ASSERT_TRUE(open(file));
    std::string endless = file;
    constexpr std::size_t numberBytes = 2; // item, how many sources, source
    endless.replace(name + 4 + 2 * numberBytes, numberBytes, file, name + 4, numberBytes);
    EXPECT_FALSE(open(endless));
}

TEST_F(HevcSource, DecodesPicturesThatAreLaidUponEachOther) {
    const Image picture = smooth(64, 64);
    const HeifItem plain = *hevcItem(2, picture);
    for (const HeifItem& derived : {overlayItem(1, 1, 64, 64), identityItem(1, 64, 64)}) {
        const auto source = open(heifFile({derived, plain}, {{"dimg", 1, {2}}}));
        ASSERT_TRUE(source) << derived.type;
        expectNear(source->decode(0), picture, lossy);
    }
}

// libheif would end the program.
TEST_F(HevcSource, RefusesPicturesMadeOfWhatIsNoPicture) {
    const HeifItem plain = *hevcItem(2, smooth(64, 64));
    const HeifItem exif{3, "Exif", {}, std::string("\0\0\0\0MM\0*", 8)};
    constexpr std::uint64_t missing = 99;
    for (const HeifItem& derived : {overlayItem(1, 1, 64, 64), identityItem(1, 64, 64), gridItem(1, 1, 1, 64, 64)}) {
        for (const std::uint64_t part : {exif.id, missing}) {
            SCOPED_TRACE(derived.type + " of " + std::to_string(part));
            const auto source = open(heifFile({derived, plain, exif}, {{"dimg", 1, {part}}}));
            EXPECT_FALSE(source && source->decode(0));
            // One step further away.
            HeifItem inner = derived;
            inner.id = 4;
            const auto outer =
                open(heifFile({identityItem(1, 64, 64), inner, plain, exif}, {{"dimg", 1, {4}}, {"dimg", 4, {part}}}));
            EXPECT_FALSE(outer && outer->decode(0));
        }
    }
}

// libheif reads on behind the end of such a box.
TEST_F(HevcSource, RefusesReferencesThatReachOutOfTheirBox) {
    std::string file = heifFile({identityItem(1, 64, 64), *hevcItem(2, smooth(64, 64))}, {{"dimg", 1, {2}}});
    ASSERT_TRUE(open(file));
    const std::size_t name = file.find("dimg");
    constexpr std::size_t headBytes = 8;
    file.replace(name - 4, 4, heifNumber(headBytes, 4));
    EXPECT_FALSE(open(file));
    file.replace(name + headBytes, 2, heifNumber(99, 2));
    EXPECT_FALSE(open(file));
}

TEST_F(HevcSource, IsNotMistakenForAv1ByItsCompressedData) {
    using namespace std::string_literals;
    const auto source = open(written(smooth(64, 64)) + "\0\0\0\x18mdat anything av1C goes"s);
    ASSERT_TRUE(source);
    EXPECT_EQ(source->format(), ImageFormat::heif);
    expectNear(source->decode(0), smooth(64, 64), lossy);
}

TEST_F(HevcSource, RefusesAFileThatClaimsAv1AsWell) {
    using namespace std::string_literals;
    EXPECT_FALSE(open(written(smooth(64, 64)) + "\0\0\0\x10"
                                                "free....av1C"s));
}

TEST_F(HevcSource, SurvivesTruncation) {
    const std::string file = written(smooth(64, 64, true));
    constexpr std::size_t step = 7;
    expectToSurviveTruncation(file, openHeif, step);
}

TEST_F(HevcSource, SurvivesFlippedBits) {
    constexpr unsigned rounds = 300;
    expectToSurviveBitFlips(written(smooth(64, 64)), openHeif, rounds);
}

// AV1 under a brand that is not AVIF's

/// Gives a file other brands than AVIF's.
std::string rebranded(std::string file, std::string_view brand) {
    for (const std::string_view known : {"avif", "avis", "miaf", "MA1A", "MA1B"}) {
        const std::size_t headBytes = 64;
        for (std::size_t at = file.find(known); at < headBytes; at = file.find(known)) {
            file.replace(at, brand.size(), brand);
        }
    }
    return file;
}

TEST(HeifSource, DecodesAv1UnderTheGeneralBrand) {
    const Image picture = smooth(40, 24, true);
    AvifOptions options;
    options.turns = 1;
    const std::string file = rebranded(writeAvif(picture, options), "mif1");
    const std::unique_ptr<ImageSource> source = openImage(memoryFile(file));
    ASSERT_TRUE(source);
    EXPECT_EQ(source->count(), 1U);
    EXPECT_EQ(source->properties(0).pixelWidth, 40U);
    EXPECT_EQ(source->properties(0).orientation, 8);
    expectNear(source->decode(0), upright(picture, 8), lossy);
}

TEST(HeifSource, DecodesAv1SequencesUnderTheGeneralBrand) {
    std::vector<Image> frames;
    frames.push_back(smooth(40, 24));
    frames.push_back(makeImage(40, 24, Rgba{10, 200, 30, 255}));
    const auto source = open(rebranded(writeAvifSequence(frames), "msf1"));
    ASSERT_TRUE(source);
    ASSERT_EQ(source->count(), 2U);
    expectNear(source->decode(0), frames[0], lossy);
    expectNear(source->decode(1), frames[1], lossy);
}

TEST(HeifSource, DecodesWhatLibheifWritesAsAv1) {
    HeifOptions options;
    options.compression = HeifCompression::av1;
    const Image picture = smooth(64, 48, true);
    const std::optional<std::string> file = writeHeif({&picture, 1}, options);
    if (!file) {
        OVREL_SKIP_OUTSIDE_CI("libheif cannot write AV1 here");
    }
    for (const std::string& branded : {*file, rebranded(*file, "mif1")}) {
        const std::unique_ptr<ImageSource> source = openImage(memoryFile(branded));
        ASSERT_TRUE(source);
        expectNear(source->decode(0), picture, lossy);
    }
}

TEST(HeifSource, RefusesADamagedHeader) {
    using namespace std::string_literals;
    for (const std::string& file : {""s,
                                    "\0\0\0\x18"
                                    "ftypheic\0\0\0\0mif1heic"s,
                                    "\0\0\0\x18"
                                    "ftypheic\0\0\0\0mif1heic\0\0\0\x10meta\0\0\0\0av1C"s,
                                    "\0\0\0\x18"
                                    "ftypheic\0\0\0\0mif1heic\0\0\0\x0Cmeta\0\0\0\0"s}) {
        EXPECT_FALSE(open(file));
    }
}

TEST(HeifSource, SurvivesDamagedAv1) {
    const std::string file = rebranded(writeAvif(smooth(16, 12, true)), "mif1");
    expectToSurviveTruncation(file, openHeif);
    expectToSurviveBitFlips(file, openHeif, 300);
}

} // namespace

} // namespace ovrel::test
