#include "platform/linux/hevc_work.h"
#include "tests/support/hevc_units.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace ovrel::test {

namespace {

HevcWork workOf(const std::string& data) {
    HevcWork work;
    work.addUnits({reinterpret_cast<const std::uint8_t*>(data.data()), data.size()});
    return work;
}

std::string parameters(std::uint64_t width, std::uint64_t height) {
    return withLength(hevcParameterUnit({.width = width, .height = height}));
}

std::string slices(unsigned firstOnes, unsigned others) {
    std::string data;
    for (unsigned i = 0; i < firstOnes + others; ++i) {
        data += withLength(hevcSlice(i < firstOnes));
    }
    return data;
}

TEST(HevcWork, FindsTheSizeBehindWhateverStandsBefore) {
    for (const unsigned layers : {0U, 1U, 6U}) {
        for (const unsigned chroma : {0U, 1U, 3U}) {
            for (const std::uint8_t profile : {std::uint8_t{0}, std::uint8_t{1}, std::uint8_t{3}, std::uint8_t{255}}) {
                const std::string unit = hevcParameterUnit({.width = 4032,
                                                            .height = 3024,
                                                            .furtherLayers = layers,
                                                            .chromaFormat = chroma,
                                                            .profileByte = profile});
                EXPECT_EQ(workOf(withLength(unit)).pixels(), 4032U * 3024U)
                    << layers << " layers, chroma " << chroma << ", profile byte " << unsigned{profile};
            }
        }
    }
}

TEST(HevcWork, TakesTheLargestSizeThatIsStated) {
    const HevcWork work = workOf(parameters(64, 64) + parameters(8192, 4320) + parameters(16, 16));
    EXPECT_EQ(work.pixels(), 8192U * 4320U);
    EXPECT_EQ(work.largestPicture(), 8192U * 4320U);
}

TEST(HevcWork, CountsPicturesAndSlices) {
    struct Row {
        unsigned firstOnes;
        unsigned others;
        unsigned pictures;
    };
    for (const Row& row : {Row{0, 0, 1}, Row{1, 0, 1}, Row{1, 15, 1}, Row{1, 67, 1}, Row{3, 0, 3}, Row{0, 480, 1}}) {
        const HevcWork work = workOf(parameters(100, 10) + slices(row.firstOnes, row.others));
        EXPECT_EQ(work.pixels(), 1000U * row.pictures) << row.firstOnes << " and " << row.others;
        EXPECT_EQ(work.slicePixels(), 1000U * (row.firstOnes + row.others));
        EXPECT_EQ(work.largestPicture(), 1000U);
    }
}

TEST(HevcWork, CountsPictureParameterSets) {
    const std::string set = withLength(hevcUnit(34, "some"));
    struct Row {
        unsigned sets;
        std::uint64_t pixels;
    };
    for (const Row& row : {Row{0, 1000}, Row{1, 1000}, Row{7, 1000}, Row{8, 2000}, Row{63, 8000}, Row{64, 9000},
                           Row{65, HevcWork::unlimited}, Row{20'000, HevcWork::unlimited}}) {
        std::string data = parameters(100, 10);
        for (unsigned i = 0; i < row.sets; ++i) {
            data += set;
        }
        EXPECT_EQ(workOf(data + slices(1, 0)).pixels(), row.pixels) << row.sets;
    }
}

TEST(HevcWork, TakesWhatItCannotReadForUnlimited) {
    const std::string whole = hevcParameterUnit({.width = 64, .height = 64});
    constexpr std::size_t headerBytes = 2;
    for (std::size_t size = headerBytes + 1; size + 2 < whole.size(); ++size) {
        EXPECT_EQ(workOf(withLength(whole.substr(0, size))).pixels(), HevcWork::unlimited) << size;
    }
    EXPECT_EQ(workOf(parameters(0xFFFFFFFE, 0xFFFFFFFE) + slices(3, 0)).pixels(), HevcWork::unlimited);
    EXPECT_EQ(workOf(withLength(hevcUnit(33, std::string(300, '\0')))).pixels(), HevcWork::unlimited);
}

TEST(HevcWork, LeavesOutOtherLayersAndOtherUnits) {
    std::string data = parameters(10, 10);
    const std::string large = hevcParameterUnit({.width = 1000, .height = 1000});
    data += withLength(hevcUnit(33, large.substr(2), 1));
    for (const unsigned type : {32U, 35U, 39U, 63U}) {
        data += withLength(hevcUnit(type, large.substr(2)));
    }
    EXPECT_EQ(workOf(data).pixels(), 100U);
}

TEST(HevcWork, EndsWithTheData) {
    for (const std::string& data : {std::string(), std::string("\0\0", 2), std::string("\xFF\xFF\xFF\xFF", 4),
                                    std::string(400, '\0'), std::string("\0\0\0\x02\x42\x01", 6)}) {
        EXPECT_EQ(workOf(data).pixels(), 0U);
    }
    std::string longer = parameters(10, 10);
    longer[0] = '\x7F'; // a length beyond the end
    EXPECT_EQ(workOf(longer).pixels(), 100U);
}

} // namespace

} // namespace ovrel::test
