#include "remote/banner_error.h"
#include "remote/banner_network.h"
#include "tests/support/avif_writer.h"
#include "tests/support/fake_image_source.h"
#include "tests/support/icc_profiles.h"
#include "tests/support/png_writer.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <optional>
#include <string>

namespace ovrel::test {

namespace {

constexpr Rgba blue{20, 60, 200, 255};

/// \return nothing when the bytes are refused as a banner
std::optional<Image> decode(const std::string& bytes) {
    try {
        return BannerNetwork::decode(QByteArray::fromStdString(bytes));
    } catch (const BannerError& error) {
        EXPECT_EQ(error, BannerError::invalid);
        return std::nullopt;
    }
}

std::string banner(std::uint32_t width, std::uint32_t height, const AvifOptions& options = {}) {
    return writeAvif(makeImage(width, height, blue), options);
}

/// ISO/IEC 23008-12, section 6.5.3, without the length: its type, version and flags, width and height.
std::string sizeBox(std::uint32_t width, std::uint32_t height) {
    std::string box("ispe\0\0\0\0", 8);
    for (const std::uint32_t side : {width, height}) {
        for (const int shift : {24, 16, 8, 0}) {
            box += static_cast<char>(side >> shift & 0xFFU);
        }
    }
    return box;
}

TEST(BannerImage, DecodesAnAvifThatIsSixTimesAsWideAsHigh) {
    const struct {
        std::uint32_t width;
        std::uint32_t height;
    } rows[] = {{600, 100}, {1080, 180}, {4320, 720}, {6, 1}, {604, 100}, {596, 100}};
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.width << "x" << row.height);
        const std::optional<Image> image = decode(banner(row.width, row.height));
        ASSERT_TRUE(image);
        EXPECT_EQ(image->width, row.width);
        EXPECT_EQ(image->height, row.height);
        EXPECT_EQ(image->layout, PixelLayout::rgba8);
        EXPECT_EQ(pixelOf(*image, row.width - 1, row.height - 1), blue);
    }
}

TEST(BannerImage, RefusesOtherShapesAndSizes) {
    const struct {
        std::uint32_t width;
        std::uint32_t height;
    } rows[] = {{610, 100}, {606, 100}, {594, 100}, {4326, 721}, {4320, 721}, {4326, 720}, {100, 600}, {1, 1}};
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.width << "x" << row.height);
        EXPECT_FALSE(decode(banner(row.width, row.height)));
    }
}

TEST(BannerImage, JudgesTheCodedSizeBehindACropOrAFalseHeader) {
    const std::string file = banner(4321, 721);
    const std::string coded = sizeBox(4321, 721);
    ASSERT_NE(file.find(coded), std::string::npos);
    std::string falseHeader = file;
    for (std::size_t at = falseHeader.find(coded); at != std::string::npos; at = falseHeader.find(coded)) {
        falseHeader.replace(at, coded.size(), sizeBox(600, 100));
    }
    AvifOptions cropped;
    cropped.crop = {0, 0, 600, 100};

    EXPECT_FALSE(decode(falseHeader));
    EXPECT_FALSE(decode(banner(4321, 721, cropped)));
    EXPECT_TRUE(decode(banner(1200, 200, cropped)));
}

TEST(BannerImage, KeepsTransparencyAndGivesSrgb) {
    AvifOptions options;
    options.depth = 10;
    options.icc = textOf(displayP3Profile());
    const std::optional<Image> image = decode(writeAvif(makeImage(60, 10, {20, 60, 200, 100}), options));
    ASSERT_TRUE(image);
    EXPECT_EQ(image->layout, PixelLayout::rgba8);
    EXPECT_TRUE(image->colorSpace.profile.empty());
    EXPECT_EQ(pixelOf(*image, 5, 5)[3], 100);
}

TEST(BannerImage, RefusesWhatIsNoAvifStill) {
    const Image picture = makeImage(60, 10, blue);
    const std::array<Image, 2> frames{copyOf(picture), copyOf(picture)};
    EXPECT_FALSE(decode(writePng(pngOf(picture))));
    EXPECT_FALSE(decode(writeAvifSequence(frames))) << "the brand of an animation";
    EXPECT_FALSE(decode(""));
    EXPECT_FALSE(decode("ftypavif"));
    std::string otherBrand = banner(60, 10);
    otherBrand.replace(8, 4, "mif1"); // "avif" stays among the compatible brands
    EXPECT_FALSE(decode(otherBrand));
}

TEST(BannerImage, RefusesDamage) {
    const std::string file = banner(60, 10);
    ASSERT_TRUE(decode(file));
    for (std::size_t size = 0; size < file.size(); size += 7) {
        EXPECT_FALSE(decode(file.substr(0, size))) << size;
    }
}

TEST(BannerImage, LooksAtTheSizeThatWillBeSeen) {
    AvifOptions turned;
    turned.turns = 1;
    EXPECT_FALSE(decode(banner(60, 10, turned)));
    turned.turns = 2;
    EXPECT_TRUE(decode(banner(60, 10, turned)));
}

} // namespace

} // namespace ovrel::test
