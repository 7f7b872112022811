#include "platform/linux/color_profiles.h"

#include "platform/bitmap.h"
#include "tests/support/fake_image_source.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <utility>

namespace ovrel::test {

namespace {

/// One opaque colour of `space` in sRGB.
Rgba inSrgb(const ColorSpace& space, Rgba color) {
    Image image = makeImage(1, 1, color);
    image.colorSpace = space;
    return pixelOf(convertedToSrgb(std::move(image)), 0, 0);
}

std::uint8_t srgbSample(double light) {
    const double signal = light <= 0.0031308 ? light * 12.92 : 1.055 * std::pow(light, 1 / 2.4) - 0.055;
    return static_cast<std::uint8_t>(std::lround(signal * 255));
}

void expectNear(const Rgba& found, const Rgba& expected, int tolerance) {
    for (std::size_t i = 0; i < found.size(); ++i) {
        EXPECT_NEAR(found[i], expected[i], tolerance) << "channel " << i;
    }
}

constexpr Chromaticities adobeRgb{{0.3127, 0.3290}, {0.64, 0.33}, {0.21, 0.71}, {0.15, 0.06}};

} // namespace

TEST(ColorProfiles, TurnsAGammaIntoSrgb) {
    const ColorSpace linear = colorSpaceFromGamma(1.0);
    ASSERT_FALSE(linear.profile.empty());
    for (const int sample : {10, 64, 128, 200}) {
        const std::uint8_t expected = srgbSample(sample / 255.0);
        const auto level = static_cast<std::uint8_t>(sample);
        expectNear(inSrgb(linear, {level, level, level, 255}), {expected, expected, expected, 255}, 1);
    }
}

TEST(ColorProfiles, KeepsSrgbWithoutAProfile) {
    EXPECT_TRUE(colorSpaceFromGamma(1.0 / 0.45455).profile.empty());
    EXPECT_TRUE(colorSpaceFromChromaticities(srgbChromaticities).profile.empty());
    for (const std::uint16_t transfer : std::initializer_list<std::uint16_t>{1, 2, 6, 13, 14, 15}) {
        EXPECT_TRUE(colorSpaceFromCicp(1, transfer).profile.empty()) << transfer;
        EXPECT_TRUE(colorSpaceFromCicp(2, transfer).profile.empty()) << transfer;
    }
}

TEST(ColorProfiles, WidensGreenOfALargerTriangle) {
    // Adobe RGB's green at half light is more saturated than sRGB can show: its red and blue are cut to 0.
    const Rgba green = inSrgb(colorSpaceFromGamma(2.2, adobeRgb), {0, 200, 0, 255});
    EXPECT_EQ(green[0], 0);
    EXPECT_GE(green[1], 198);
    const Rgba neutral = inSrgb(colorSpaceFromChromaticities(adobeRgb), {120, 120, 120, 255});
    expectNear(neutral, {120, 120, 120, 255}, 1);
}

TEST(ColorProfiles, ConvertsDisplayP3ByItsCodePoints) {
    // The same light in both spaces: P3 (234, 51, 35) is sRGB (255, 0, 0) to the nearest step.
    expectNear(inSrgb(colorSpaceFromCicp(12, 13), {234, 51, 35, 255}), {255, 0, 0, 255}, 2);
}

TEST(ColorProfiles, MapsTheReferenceWhiteOfHighDynamicRangeToWhite) {
    const auto white = [](std::uint16_t transfer, std::uint8_t signal) {
        return inSrgb(colorSpaceFromCicp(1, transfer), {signal, signal, signal, 255});
    };
    // ITU-R BT.2408: 203 cd/m² is 58 % of PQ and 75 % of HLG.
    expectNear(white(16, 148), {255, 255, 255, 255}, 2);
    expectNear(white(18, 191), {255, 255, 255, 255}, 2);
    EXPECT_LT(white(16, 100)[0], 140);
    EXPECT_LT(white(18, 100)[0], 190);
}

TEST(ColorProfiles, GivesTheSameBytesAtAnyTime) {
    const std::vector<std::uint8_t> profile = colorSpaceFromCicp(12, 13).profile;
    // ICC.1:2022, section 7.2.8: the first of January 2000, midnight.
    const std::vector<std::uint8_t> date(profile.begin() + 24, profile.begin() + 36);
    EXPECT_EQ(date, (std::vector<std::uint8_t>{0x07, 0xD0, 0, 1, 0, 1, 0, 0, 0, 0, 0, 0}));
}

TEST(ColorProfiles, RefusesSenselessDescriptions) {
    for (const double exponent : {0.0, -1.0, 1000.0, std::nan(""), HUGE_VAL}) {
        EXPECT_TRUE(colorSpaceFromGamma(exponent).profile.empty()) << exponent;
    }
    Chromaticities line = srgbChromaticities;
    line.green = line.red;
    EXPECT_TRUE(colorSpaceFromChromaticities(line).profile.empty());
    Chromaticities flat = srgbChromaticities;
    flat.white = {0.3, 0.0};
    EXPECT_TRUE(colorSpaceFromGamma(1.8, flat).profile.empty());
}

TEST(ColorProfiles, TakesAnEmbeddedProfileOnlyForItsModel) {
    const std::vector<std::uint8_t> rgb = colorSpaceFromCicp(12, 13).profile;
    EXPECT_EQ(colorSpaceFromProfile(rgb, ColorModel::rgb).profile, rgb);
    EXPECT_TRUE(colorSpaceFromProfile(rgb, ColorModel::cmyk).profile.empty());
    EXPECT_EQ(colorSpaceFromProfile(rgb, ColorModel::cmyk).model, ColorModel::cmyk);
    // Grey is stored as R = G = B, which a profile of RGB describes as well.
    EXPECT_EQ(colorSpaceFromProfile(rgb, ColorModel::gray).model, ColorModel::rgb);
    EXPECT_EQ(colorSpaceFromProfile(rgb, ColorModel::gray).profile, rgb);
}

TEST(ColorProfiles, TakesADamagedProfileForNone) {
    std::vector<std::uint8_t> profile = colorSpaceFromCicp(12, 13).profile;
    EXPECT_TRUE(colorSpaceFromProfile(std::span(profile).first(100), ColorModel::rgb).profile.empty());
    EXPECT_TRUE(colorSpaceFromProfile({}, ColorModel::rgb).profile.empty());
    // Signatures of the data colour space that no enumeration of them holds.
    for (const std::uint8_t byte : {std::uint8_t{0xFF}, std::uint8_t{0xFE}, std::uint8_t{0}}) {
        std::vector<std::uint8_t> odd = profile;
        std::fill_n(odd.begin() + 16, 4, byte);
        EXPECT_TRUE(colorSpaceFromProfile(odd, ColorModel::rgb).profile.empty());
    }
    profile.resize(ColorSpace::maximumProfileBytes + 1);
    EXPECT_TRUE(colorSpaceFromProfile(profile, ColorModel::rgb).profile.empty());
}

} // namespace ovrel::test
