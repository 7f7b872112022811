#include "platform/bitmap.h"

#include "platform/linux/color_profiles.h"
#include "platform/linux/lcms_handles.h"
#include "tests/support/fake_image_source.h"
#include "tests/support/icc_profiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>
#include <vector>

namespace ovrel::test {

namespace {

Image gradient(std::uint32_t width, std::uint32_t height, std::uint8_t alpha) {
    return makeImage(width, height, [&](std::uint32_t x, std::uint32_t y) {
        return Rgba{static_cast<std::uint8_t>(x * 7), static_cast<std::uint8_t>(y * 5),
                    static_cast<std::uint8_t>((x + y) * 3), alpha};
    });
}

std::vector<std::uint8_t> bytesOf(const PixelBuffer& buffer) {
    return {buffer.data(), buffer.data() + buffer.size()};
}

/// A picture of `layout` from a list of samples of its own width.
template <typename Sample>
Image imageOf(std::uint32_t width, std::uint32_t height, PixelLayout layout, const std::vector<Sample>& samples) {
    Image image{width, height, layout, {}, {}};
    image.samples = PixelBuffer::zeroed(height, image.bytesPerRow());
    EXPECT_EQ(samples.size() * sizeof(Sample), image.samples.size());
    std::memcpy(image.samples.data(), samples.data(), image.samples.size());
    return image;
}

} // namespace

TEST(Bitmap, CopiesOpaqueSrgbBitForBit) {
    const Image image = gradient(37, 23, 255);
    const Bitmap bitmap = Bitmap::draw(copyOf(image));
    EXPECT_EQ(bitmap.width, 37U);
    EXPECT_EQ(bitmap.height, 23U);
    EXPECT_EQ(bytesOf(bitmap.pixels), bytesOf(image.samples));
}

TEST(Bitmap, CopiesBitForBitWhenTheProfileIsSrgb) {
    Image image = gradient(37, 23, 255);
    const std::vector<std::uint8_t> samples = bytesOf(image.samples);
    image.colorSpace.profile = savedProfile([](cmsContext context) { return cmsCreate_sRGBProfileTHR(context); });
    EXPECT_EQ(bytesOf(Bitmap::draw(std::move(image)).pixels), samples);
}

TEST(Bitmap, PremultipliesByAlphaWithRounding) {
    for (int alpha = 0; alpha < 256; ++alpha) {
        const Bitmap bitmap = Bitmap::draw(makeImage(1, 1, {200, 100, 1, static_cast<std::uint8_t>(alpha)}));
        EXPECT_EQ(bitmap.pixels.data()[0], std::lround(200.0 * alpha / 255.0));
        EXPECT_EQ(bitmap.pixels.data()[1], std::lround(100.0 * alpha / 255.0));
        EXPECT_EQ(bitmap.pixels.data()[3], alpha);
    }
}

TEST(Bitmap, ConvertsStraightColourBeforeItPremultiplies) {
    Image image = makeImage(1, 1, {128, 128, 128, 128});
    image.colorSpace = colorSpaceFromGamma(1.0);
    const Bitmap bitmap = Bitmap::draw(std::move(image));
    // Half of the light is 188 in sRGB; half of that is 94.
    EXPECT_NEAR(bitmap.pixels.data()[0], 94, 1);
    EXPECT_EQ(bitmap.pixels.data()[3], 128);
}

TEST(Bitmap, RoundsSixteenBitSamplesToEight) {
    const std::vector<std::uint16_t> samples{0, 128, 129, 65535, 65535, 65406, 65407, 65535};
    const Bitmap bitmap = Bitmap::draw(imageOf(2, 1, PixelLayout::rgba16, samples));
    EXPECT_EQ(bytesOf(bitmap.pixels), (std::vector<std::uint8_t>{0, 0, 1, 255, 255, 254, 255, 255}));
}

TEST(Bitmap, ReducesEveryRowOfASixteenBitPicture) {
    const std::uint32_t width = 5;
    const std::uint32_t height = 7;
    std::vector<std::uint16_t> samples;
    std::vector<std::uint8_t> expected;
    for (unsigned i = 0; i < width * height * 4; ++i) {
        const unsigned value = i % 4 == 3 ? 255 : i;
        samples.push_back(static_cast<std::uint16_t>(value * 257));
        expected.push_back(static_cast<std::uint8_t>(value));
    }
    EXPECT_EQ(bytesOf(Bitmap::draw(imageOf(width, height, PixelLayout::rgba16, samples)).pixels), expected);
}

TEST(Bitmap, ConvertsSixteenBitSamplesBeforeTheyAreReduced) {
    // In linear light the darkest 8-bit steps are far apart: 100 of 65535 is 5 in sRGB, and would be 0 of 255 before.
    Image image = imageOf<std::uint16_t>(1, 1, PixelLayout::rgba16, {100, 100, 100, 65535});
    image.colorSpace = colorSpaceFromGamma(1.0);
    const Bitmap bitmap = Bitmap::draw(std::move(image));
    EXPECT_NEAR(bitmap.pixels.data()[0], 5, 1);
    EXPECT_EQ(bitmap.pixels.data()[3], 255);
}

TEST(Bitmap, ConvertsGreyByAGreyProfile) {
    Image image = makeImage(2, 1, {128, 128, 128, 255});
    image.row(0)[3] = 0;
    image.colorSpace = colorSpaceFromProfile(grayProfile(1.0), ColorModel::gray);
    ASSERT_FALSE(image.colorSpace.profile.empty());
    const Image converted = convertedToSrgb(std::move(image));
    EXPECT_NEAR(pixelOf(converted, 1, 0)[0], 188, 1);
    EXPECT_EQ(pixelOf(converted, 1, 0)[0], pixelOf(converted, 1, 0)[2]);
    EXPECT_EQ(pixelOf(converted, 0, 0)[3], 0);
    EXPECT_EQ(pixelOf(converted, 1, 0)[3], 255);
}

TEST(Bitmap, MixesInksWithoutAProfile) {
    Image image =
        imageOf<std::uint8_t>(4, 1, PixelLayout::cmyk8, {0, 0, 0, 0, 255, 0, 0, 0, 0, 0, 0, 255, 0, 128, 0, 128});
    image.colorSpace.model = ColorModel::cmyk;
    const Image converted = convertedToSrgb(std::move(image));
    EXPECT_EQ(pixelOf(converted, 0, 0), (Rgba{255, 255, 255, 255}));
    EXPECT_EQ(pixelOf(converted, 1, 0), (Rgba{0, 255, 255, 255}));
    EXPECT_EQ(pixelOf(converted, 2, 0), (Rgba{0, 0, 0, 255}));
    EXPECT_EQ(pixelOf(converted, 3, 0), (Rgba{127, 63, 127, 255}));
}

TEST(Bitmap, ConvertsInksByTheirProfile) {
    Image image = imageOf<std::uint8_t>(3, 1, PixelLayout::cmyk8, {0, 0, 0, 0, 0, 0, 0, 255, 0, 0, 0, 128});
    image.colorSpace = colorSpaceFromProfile(inkProfile(), ColorModel::cmyk);
    ASSERT_FALSE(image.colorSpace.profile.empty());
    const Image converted = convertedToSrgb(std::move(image));
    EXPECT_EQ(pixelOf(converted, 0, 0), (Rgba{255, 255, 255, 255}));
    EXPECT_EQ(pixelOf(converted, 1, 0), (Rgba{0, 0, 0, 255}));
    // Half of the black ink is L* 50 by this profile, which is 119 in sRGB; plain inks would give 127.
    for (std::size_t channel = 0; channel < 3; ++channel) {
        EXPECT_NEAR(pixelOf(converted, 2, 0)[channel], 119, 2);
    }
}

TEST(Bitmap, MixesInksPlainlyWhereTheProfileLeadsToNoLight) {
    Image image = imageOf<std::uint8_t>(2, 1, PixelLayout::cmyk8, {0, 0, 0, 0, 255, 255, 255, 255});
    // A link from inks to inks is no way to sRGB.
    image.colorSpace = {ColorModel::cmyk, savedProfile([](cmsContext context) {
                            return cmsCreateInkLimitingDeviceLinkTHR(context, cmsSigCmykData, 400.0);
                        })};
    const Image converted = convertedToSrgb(std::move(image));
    EXPECT_EQ(pixelOf(converted, 0, 0), (Rgba{255, 255, 255, 255}));
    EXPECT_EQ(pixelOf(converted, 1, 0), (Rgba{0, 0, 0, 255}));
}

TEST(Bitmap, IgnoresAProfileThatCannotBeUsed) {
    Image image = gradient(3, 3, 255);
    const std::vector<std::uint8_t> samples = bytesOf(image.samples);
    image.colorSpace.profile = {1, 2, 3};
    EXPECT_EQ(bytesOf(Bitmap::draw(std::move(image)).pixels), samples);
}

TEST(Bitmap, KeepsTheColourSpaceWhenItOnlyReducesBits) {
    Image image = imageOf<std::uint16_t>(1, 1, PixelLayout::rgba16, {25700, 0, 65535, 257});
    image.colorSpace = colorSpaceFromGamma(1.0);
    const ColorSpace space = image.colorSpace;
    const Image reduced = reducedTo8Bits(std::move(image));
    EXPECT_EQ(reduced.layout, PixelLayout::rgba8);
    EXPECT_EQ(reduced.colorSpace, space);
    EXPECT_EQ(pixelOf(reduced, 0, 0), (Rgba{100, 0, 255, 1}));
}

} // namespace ovrel::test
