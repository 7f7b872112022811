#include "conversion/browser_image.h"

#include "platform/linux/color_profiles.h"
#include "tests/conversion/refusal.h"
#include "tests/support/child_process.h"
#include "tests/support/fake_image_source.h"
#include "tests/support/memory_limit.h"
#include "tests/support/sanitizers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

namespace ovrel::test {

namespace {

Image numbered(std::uint32_t width, std::uint32_t height) {
    return makeImage(width, height, [](std::uint32_t x, std::uint32_t y) {
        return Rgba{static_cast<std::uint8_t>(x), static_cast<std::uint8_t>(y), 9, static_cast<std::uint8_t>(100 + x)};
    });
}

} // namespace

TEST(BrowserCompatibleImage, LeavesEvenSizesAlone) {
    Image image = numbered(4, 6);
    image.colorSpace = {ColorModel::gray, {1, 2, 3}};
    const std::uint8_t* samples = image.samples.data();
    const Image same = browserCompatibleImage(std::move(image));
    EXPECT_EQ(same.samples.data(), samples);
    EXPECT_EQ(same.width, 4U);
    EXPECT_EQ(same.height, 6U);
    EXPECT_EQ(same.colorSpace.model, ColorModel::gray);
}

TEST(BrowserCompatibleImage, RepeatsTheEdgeOfOddSizes) {
    for (const auto& [width, height] : {std::pair{3U, 4U}, {4U, 3U}, {3U, 5U}, {1U, 1U}}) {
        SCOPED_TRACE(testing::Message() << width << "x" << height);
        const Image padded = browserCompatibleImage(numbered(width, height));
        ASSERT_EQ(padded.width, width + width % 2);
        ASSERT_EQ(padded.height, height + height % 2);
        const Image original = numbered(width, height);
        for (std::uint32_t y = 0; y < padded.height; ++y) {
            for (std::uint32_t x = 0; x < padded.width; ++x) {
                EXPECT_EQ(pixelOf(padded, x, y), pixelOf(original, std::min(x, width - 1), std::min(y, height - 1)));
            }
        }
    }
}

TEST(BrowserCompatibleImage, KeepsTheImagesOwnRgbSpace) {
    Image image = numbered(3, 3);
    image.colorSpace = colorSpaceFromCicp(12, 13);
    const ColorSpace space = image.colorSpace;
    const Image padded = browserCompatibleImage(std::move(image));
    EXPECT_EQ(padded.colorSpace, space);
    EXPECT_EQ(pixelOf(padded, 2, 2), pixelOf(numbered(3, 3), 2, 2));
}

TEST(BrowserCompatibleImage, DrawsOtherModelsInSrgb) {
    Image image = makeImage(3, 2, {0, 255, 255, 0});
    image.layout = PixelLayout::cmyk8;
    image.colorSpace.model = ColorModel::cmyk;
    const Image padded = browserCompatibleImage(std::move(image));
    EXPECT_EQ(padded.layout, PixelLayout::rgba8);
    EXPECT_EQ(padded.colorSpace, ColorSpace{});
    EXPECT_EQ(pixelOf(padded, 3, 1), (Rgba{255, 0, 0, 255}));
}

TEST(BrowserCompatibleImage, DrawsDeepSamplesWithEightBits) {
    Image image{1, 2, PixelLayout::rgba16, PixelBuffer::zeroed(2, 8), {}};
    image.samples.data()[0] = 0xFF;
    image.samples.data()[1] = 0xFF;
    const Image padded = browserCompatibleImage(std::move(image));
    EXPECT_EQ(padded.layout, PixelLayout::rgba8);
    EXPECT_EQ(pixelOf(padded, 1, 0), (Rgba{255, 0, 0, 0}));
}

TEST(BrowserCompatibleImage, SaysWhenThereIsNoMemoryToReduceTheDepth) {
    if (!canLimitMemory) {
        GTEST_SKIP() << "this build's allocator ends the program instead";
    }
    ChildProcess child([] {
        Image image;
        image.width = 2'000'001; // one row, which is what reducing the depth takes beside the picture
        image.height = 1;
        image.layout = PixelLayout::rgba16;
        image.samples = PixelBuffer::zeroed(1, image.bytesPerRow());
        leaveMemory(image.samples.size() / 2);
        EXPECT_EQ(refusalOf([&] { browserCompatibleImage(std::move(image)); }),
                  Refusal("Unable to prepare the image", "Не удалось подготовить изображение"));
        return HasFailure() ? 1 : 0;
    });
    EXPECT_EQ(child.wait(), 0);
}

TEST(BrowserCompatibleImage, SaysWhenThereIsNoMemoryForTheCopy) {
    ChildProcess child([] {
        Image image = makeImage(2001, 2001, {1, 2, 3, 255});
        leaveMemory(image.samples.size() / 2);
        EXPECT_EQ(
            refusalOf([&] { browserCompatibleImage(std::move(image)); }),
            Refusal("Unable to prepare a browser-compatible image", "Не удалось подготовить изображение для браузера"));
        return HasFailure() ? 1 : 0;
    });
    EXPECT_EQ(child.wait(), 0);
}

} // namespace ovrel::test
