#include "platform/image_destination.h"

#include "platform/linux/color_profiles.h"
#include "tests/support/avif_facts.h"
#include "tests/support/fake_image_source.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace ovrel::test {

namespace {

/// Every test needs an AV1 encoder behind the system's writer.
class ImageDestinationTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_FALSE(ImageDestination::typeIdentifiers().empty())
            << "the system's image writer has no AV1 encoder; \"./dev test\" installs one";
    }

    std::filesystem::path written(const Image& image, double quality) {
        std::filesystem::path file = folder_ / "written.avif";
        const auto destination = ImageDestination::create(file, ImageDestination::avifType, 1);
        EXPECT_NE(destination, nullptr);
        destination->addImage(image, quality);
        EXPECT_TRUE(destination->finalize());
        return file;
    }

    TemporaryFolder folder_;
};

Image quarters(std::uint8_t alpha) {
    return makeImage(32, 32, [&](std::uint32_t x, std::uint32_t y) {
        return Rgba{static_cast<std::uint8_t>(x < 16 ? 200 : 40), static_cast<std::uint8_t>(y < 16 ? 180 : 60), 90,
                    y < 16 ? std::uint8_t{255} : alpha};
    });
}

void expectNear(const Image& found, const Image& expected, int tolerance) {
    ASSERT_EQ(found.samples.size(), expected.samples.size());
    for (const auto& [x, y] : {std::pair{8U, 8U}, {24U, 8U}, {8U, 24U}, {24U, 24U}}) {
        for (std::size_t channel = 0; channel < 4; ++channel) {
            EXPECT_NEAR(pixelOf(found, x, y)[channel], pixelOf(expected, x, y)[channel], tolerance);
        }
    }
}

} // namespace

TEST_F(ImageDestinationTest, WritesSrgbThatAnotherDecoderShowsAlike) {
    const Image image = quarters(255);
    const AvifFacts facts = avifFacts(written(image, 0.9));
    EXPECT_EQ(facts.coding, "32x32, 8 bits, YUV420, full range, CICP 1/13/6");
    expectNear(facts.frames.at(0), image, 6);
}

TEST_F(ImageDestinationTest, KeepsTransparency) {
    const Image image = quarters(100);
    const AvifFacts facts = avifFacts(written(image, 0.9));
    EXPECT_TRUE(facts.hasAlpha);
    expectNear(facts.frames.at(0), image, 8);
}

TEST_F(ImageDestinationTest, EmbedsTheImagesOwnProfile) {
    Image image = quarters(255);
    image.colorSpace = colorSpaceFromCicp(12, 13);
    const AvifFacts facts = avifFacts(written(image, 0.9));
    EXPECT_EQ(facts.profile, image.colorSpace.profile);
    expectNear(facts.frames.at(0), image, 6);
}

TEST_F(ImageDestinationTest, WritesInksAsSrgb) {
    Image image = makeImage(16, 16, {0, 255, 255, 0}); // cyan none, magenta and yellow full, black none: red
    image.layout = PixelLayout::cmyk8;
    image.colorSpace.model = ColorModel::cmyk;
    const AvifFacts facts = avifFacts(written(image, 0.95));
    EXPECT_TRUE(facts.profile.empty());
    const Rgba color = pixelOf(facts.frames.at(0), 8, 8);
    EXPECT_NEAR(color[0], 255, 8);
    EXPECT_NEAR(color[1], 0, 8);
    EXPECT_NEAR(color[2], 0, 8);
}

TEST_F(ImageDestinationTest, WritesFewerBytesAtLowerQuality) {
    const Image noise = makeImage(64, 64, [state = 1U](std::uint32_t, std::uint32_t) mutable {
        state = state * 1664525U + 1013904223U;
        return Rgba{static_cast<std::uint8_t>(state >> 24), static_cast<std::uint8_t>(state >> 16),
                    static_cast<std::uint8_t>(state >> 8), 255};
    });
    const std::size_t low = contentOf(written(noise, 0.1)).size();
    const std::size_t high = contentOf(written(noise, 0.9)).size();
    EXPECT_LT(low, high);
}

TEST_F(ImageDestinationTest, IsNotMadeForOtherTypesOrSeveralImages) {
    EXPECT_EQ(ImageDestination::create(folder_ / "a", "public.heic", 1), nullptr);
    EXPECT_EQ(ImageDestination::create(folder_ / "a", ImageDestination::avifType, 2), nullptr);
    EXPECT_TRUE(folder_.listing().empty());
}

TEST_F(ImageDestinationTest, IsNotMadeWhereNoFileCanBe) {
    EXPECT_EQ(ImageDestination::create(folder_ / "missing" / "a.avif", ImageDestination::avifType, 1), nullptr);
}

TEST_F(ImageDestinationTest, ReportsAFullDisk) {
    const auto destination = ImageDestination::create("/dev/full", ImageDestination::avifType, 1);
    ASSERT_NE(destination, nullptr);
    destination->addImage(quarters(255), 0.5);
    EXPECT_FALSE(destination->finalize());
}

TEST_F(ImageDestinationTest, IsNotCompleteWithoutAnImage) {
    const auto destination = ImageDestination::create(folder_ / "a.avif", ImageDestination::avifType, 1);
    ASSERT_NE(destination, nullptr);
    EXPECT_FALSE(destination->finalize());
}

} // namespace ovrel::test
