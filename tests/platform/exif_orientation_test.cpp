#include "platform/linux/exif_orientation.h"

#include "tests/support/exif_writer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <span>
#include <string>
#include <vector>

namespace ovrel::test {

namespace {

using namespace std::string_literals;

/// A copy of exactly the block's size, so that the address sanitizer sees any step outside.
std::uint8_t orientationOf(const std::string& block) {
    const std::vector<std::uint8_t> bytes(block.begin(), block.end());
    return exifOrientation(bytes);
}

TEST(ExifOrientation, ReadsTheEightOrientationsInBothByteOrders) {
    for (const TiffByteOrder order : {TiffByteOrder::little, TiffByteOrder::big}) {
        for (std::uint16_t orientation = 1; orientation <= 8; ++orientation) {
            SCOPED_TRACE(orientation);
            EXPECT_EQ(orientationOf(exifBlock(orientation, order)), orientation);
            EXPECT_EQ(orientationOf("Exif\0\0"s + exifBlock(orientation, order)), orientation);
        }
    }
}

TEST(ExifOrientation, TakesOtherNumbersForUpright) {
    for (const std::uint16_t orientation : std::initializer_list<std::uint16_t>{0, 9, 255, 256 + 6, 65535}) {
        SCOPED_TRACE(orientation);
        EXPECT_EQ(orientationOf(exifBlock(orientation)), 1);
        EXPECT_EQ(orientationOf(exifBlock(orientation, TiffByteOrder::big)), 1);
    }
}

TEST(ExifOrientation, ReadsBlocksAsOtherWritersMakeThem) {
    const struct {
        const char* what;
        std::string block;
        int orientation;
    } cases[] = {
        {"a long number", "II*\0\x08\0\0\0\x01\0\x12\x01\x04\0\x01\0\0\0\x06\0\0\0"s, 6},
        {"a long number, big endian", "MM\0*\0\0\0\x08\0\x01\x01\x12\0\x04\0\0\0\x01\0\0\0\x08"s, 8},
        {"a long number that is a valid one only in its lower half",
         "II*\0\x08\0\0\0\x01\0\x12\x01\x04\0\x01\0\0\0\x06\0\x01\0"s, 1},
        {"text", "II*\0\x08\0\0\0\x01\0\x12\x01\x02\0\x01\0\0\0\x06\0\0\0"s, 1},
        {"a directory further behind", "II*\0\x0C\0\0\0abcd\x01\0\x12\x01\x03\0\x01\0\0\0\x03\0\0\0"s, 3},
        {"another tag in front",
         "II*\0\x08\0\0\0\x02\0\x0F\x01\x02\0\x01\0\0\0\x06\0\0\0\x12\x01\x03\0\x01\0\0\0\x05\0\0\0"s, 5},
        {"more entries claimed than there are", "II*\0\x08\0\0\0\xFF\xFF\x12\x01\x03\0\x01\0\0\0\x07\0\0\0"s, 7},
        {"no entries", "II*\0\x08\0\0\0\0\0"s, 1},
        {"other entries only", "II*\0\x08\0\0\0\xFF\xFF\x28\x01\x03\0\x01\0\0\0\x06\0\0\0"s, 1},
        {"a directory outside", "II*\0\xF0\xFF\xFF\xFF\x01\0\x12\x01\x03\0\x01\0\0\0\x06\0\0\0"s, 1},
        {"a directory that begins with the last byte", "II*\0\x09\0\0\0\x01\0"s, 1},
        {"no number 42", "II+\0\x08\0\0\0\x01\0\x12\x01\x03\0\x01\0\0\0\x06\0\0\0"s, 1},
        {"two byte orders", "IM*\0\x08\0\0\0\x01\0\x12\x01\x03\0\x01\0\0\0\x06\0\0\0"s, 1},
        {"the identifier alone", "Exif\0\0"s, 1},
        {"nothing", ""s, 1},
    };
    for (const auto& [what, block, orientation] : cases) {
        SCOPED_TRACE(what);
        EXPECT_EQ(orientationOf(block), orientation);
    }
}

TEST(ExifOrientation, SurvivesBlocksThatEndAnywhere) {
    const std::string block = "Exif\0\0"s + exifBlock(6);
    constexpr std::size_t behindTheValue = 6 + 8 + 2 + 10;
    for (std::size_t size = 0; size < block.size(); ++size) {
        SCOPED_TRACE(size);
        EXPECT_EQ(orientationOf(block.substr(0, size)), size >= behindTheValue ? 6 : 1);
    }
}

TEST(ExifOrientation, SurvivesAnyBytes) {
    std::mt19937 random(1);
    for (int i = 0; i < 20000; ++i) {
        std::string block = exifBlock(6, i % 2 == 0 ? TiffByteOrder::little : TiffByteOrder::big);
        for (int change = 0; change < 3; ++change) {
            block[random() % block.size()] = static_cast<char>(random());
        }
        const int orientation = orientationOf(block);
        EXPECT_TRUE(orientation >= 1 && orientation <= 8) << orientation;
    }
}

} // namespace

} // namespace ovrel::test
