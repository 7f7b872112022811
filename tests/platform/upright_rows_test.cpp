#include "platform/linux/upright_rows.h"

#include <gtest/gtest.h>

#include <cstring>
#include <utility>
#include <vector>

namespace ovrel::test {

namespace {

/// Fills a stored picture whose pixels count 1, 2, 3, … and returns the numbers of the upright one.
template <typename Sample>
std::vector<unsigned> turned(std::uint32_t width, std::uint32_t height, std::uint8_t orientation,
                             std::uint32_t stripRows, PixelLayout layout) {
    UprightRows rows(width, height, layout, orientation, stripRows);
    Sample next = 0;
    for (std::uint32_t y = 0; y < height; ++y) {
        std::uint8_t* row = rows.row(y);
        for (std::uint32_t x = 0; x < width; ++x) {
            ++next;
            std::memcpy(row + x * bytesPerPixel(layout), &next, sizeof next);
        }
    }
    const Image image = std::move(rows).finish({});
    std::vector<unsigned> numbers{image.width, image.height};
    for (std::uint32_t y = 0; y < image.height; ++y) {
        for (std::uint32_t x = 0; x < image.width; ++x) {
            Sample sample = 0;
            std::memcpy(&sample, image.row(y) + x * bytesPerPixel(layout), sizeof sample);
            numbers.push_back(static_cast<unsigned>(sample));
        }
    }
    return numbers;
}

struct Case {
    std::uint8_t orientation;
    std::vector<unsigned> upright; ///< width, height, then the pixels of the stored rows 1 2 3 and 4 5 6
};

const std::vector<Case> cases{
    {1, {3, 2, 1, 2, 3, 4, 5, 6}}, {2, {3, 2, 3, 2, 1, 6, 5, 4}}, {3, {3, 2, 6, 5, 4, 3, 2, 1}},
    {4, {3, 2, 4, 5, 6, 1, 2, 3}}, {5, {2, 3, 1, 4, 2, 5, 3, 6}}, {6, {2, 3, 4, 1, 5, 2, 6, 3}},
    {7, {2, 3, 6, 3, 5, 2, 4, 1}}, {8, {2, 3, 3, 6, 2, 5, 1, 4}},
};

} // namespace

TEST(UprightRows, TurnsEachOfTheEightOrientations) {
    for (const Case& row : cases) {
        for (const std::uint32_t stripRows : {1U, 2U, 32U}) {
            SCOPED_TRACE(testing::Message() << "orientation " << int{row.orientation} << ", strip " << stripRows);
            EXPECT_EQ(turned<std::uint32_t>(3, 2, row.orientation, stripRows, PixelLayout::rgba8), row.upright);
            EXPECT_EQ(turned<std::uint64_t>(3, 2, row.orientation, stripRows, PixelLayout::rgba16), row.upright);
        }
    }
}

TEST(UprightRows, TurnsPicturesLargerThanStripAndTile) {
    const std::uint32_t width = 150;
    const std::uint32_t height = 70;
    const std::vector<unsigned> quarter = turned<std::uint32_t>(width, height, 6, 32, PixelLayout::rgba8);
    ASSERT_EQ(quarter[0], height);
    ASSERT_EQ(quarter[1], width);
    for (std::uint32_t y = 0; y < width; ++y) {
        for (std::uint32_t x = 0; x < height; ++x) {
            ASSERT_EQ(quarter[2 + y * height + x], (height - 1 - x) * width + y + 1);
        }
    }
}

TEST(UprightRows, TreatsAnUnknownOrientationAsUpright) {
    EXPECT_EQ(turned<std::uint32_t>(3, 2, 0, 2, PixelLayout::rgba8), cases[0].upright);
    EXPECT_EQ(turned<std::uint32_t>(3, 2, 9, 2, PixelLayout::rgba8), cases[0].upright);
}

TEST(UprightRows, LeavesRowsThatNeverCameTransparent) {
    UprightRows rows(2, 4, PixelLayout::rgba8, 3, 2);
    std::memset(rows.row(0), 7, rows.bytesPerRow());
    const Image image = std::move(rows).finish({});
    EXPECT_EQ(image.row(3)[0], 7); // the first stored row is the last upright one
    for (std::uint32_t y = 0; y < 3; ++y) {
        EXPECT_EQ(image.row(y)[0], 0);
    }
}

} // namespace ovrel::test
