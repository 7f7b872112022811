#include "platform/linux/heif_work.h"
#include "platform/linux/hevc_work.h"
#include "tests/support/heif_file.h"
#include "tests/support/hevc_units.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace ovrel::test {

namespace {

/// ISO/IEC 14496-15, section 8.3.2.1, with one array of one unit.
std::string configuration(std::uint64_t side) {
    const std::string unit = hevcParameterUnit({.width = side, .height = side});
    return heifBox("hvcC", std::string(22, '\0') + heifNumber(1, 1) + heifNumber(33, 1) + heifNumber(1, 2) +
                               heifNumber(unit.size(), 2) + unit);
}

/// An item of the file that is made.
struct Item {
    std::uint64_t id = 1;
    std::uint64_t side = 0; ///< in its configuration; 0 for a picture that is none of HEVC
    std::string data{};
    std::string type{}; ///< of four letters; where it is empty one that fits to the side
};

using Link = std::pair<std::uint64_t, std::vector<std::uint64_t>>;

/// How a file states things.
struct Style {
    bool isWide = false;           ///< numbers of items in four bytes, indices of properties in two
    unsigned locationVersion = 0;  ///< 0 … 2
    std::uint64_t method = 0;      ///< 0 in the file, 1 in the box "idat"
    std::size_t extents = 1;       ///< that the data of an item lie in
    std::vector<Link> madeOf{};    ///< references "dimg"
    std::vector<Link> belongsTo{}; ///< references "auxl"
};

std::string references(std::string_view type, const std::vector<Link>& links, std::size_t width) {
    std::string boxes;
    for (const auto& [from, to] : links) {
        std::string content = heifNumber(from, width) + heifNumber(to.size(), 2);
        for (const std::uint64_t item : to) {
            content += heifNumber(item, width);
        }
        boxes += heifBox(type, content);
    }
    return boxes;
}

/// ISO/IEC 14496-12, section 8.11.3. The data follow each other from `start` on.
std::string locations(const std::vector<Item>& items, const Style& style, std::uint64_t start) {
    const std::size_t width = style.locationVersion == 2 ? 4 : 2;
    std::string content =
        heifNumber(0x4440, 2) + heifNumber(items.size(), width); // the base offset has four bytes, too
    for (const Item& item : items) {
        content += heifNumber(item.id, width);
        content += style.locationVersion == 0 ? "" : heifNumber(style.method, 2);
        content += heifNumber(0, 2) + heifNumber(start, 4) + heifNumber(style.extents, 2);
        const std::uint64_t part = item.data.size() / style.extents;
        for (std::size_t i = 0; i < style.extents; ++i) {
            const bool isLast = i + 1 == style.extents;
            content += heifNumber(i * part, 4) + heifNumber(isLast ? item.data.size() - i * part : part, 4);
        }
        start += item.data.size();
    }
    return heifFullBox("iloc", style.locationVersion, content);
}

/// ISO/IEC 14496-12, section 8.11.6.
std::string types(const std::vector<Item>& items, const Style& style) {
    std::string entries = heifNumber(items.size(), style.isWide ? 4 : 2);
    for (const Item& item : items) {
        const std::string usual = item.side != 0 ? "hvc1" : "iden";
        entries += heifFullBox("infe", style.isWide ? 3 : 2,
                               heifNumber(item.id, style.isWide ? 4 : 2) + heifNumber(0, 2) +
                                   (item.type.empty() ? usual : item.type) + std::string(1, '\0'));
    }
    return heifFullBox("iinf", style.isWide ? 1 : 0, entries);
}

std::string heif(const std::vector<Item>& items, const Style& style = {}) {
    const std::size_t width = style.isWide ? 4 : 2;
    std::string properties = heifBox("ispe", std::string(12, '\0'));
    std::string associations = heifNumber(items.size(), 4);
    std::string data;
    std::uint64_t index = 1;
    for (const Item& item : items) {
        associations +=
            heifNumber(item.id, width) + heifNumber(item.side != 0 ? 2 : 1, 1) + heifNumber(1, style.isWide ? 2 : 1);
        if (item.side != 0) {
            properties += configuration(item.side);
            associations += style.isWide ? heifNumber(0x8000 | ++index, 2) : heifNumber(0x80 | ++index, 1);
        }
        data += item.data;
    }
    const std::string described =
        types(items, style) +
        heifBox("iprp", heifBox("ipco", properties) +
                            heifFullBox("ipma", style.isWide ? 1 : 0, associations, style.isWide ? 1 : 0)) +
        heifFullBox("iref", style.isWide ? 1 : 0,
                    references("dimg", style.madeOf, width) + references("auxl", style.belongsTo, width)) +
        (style.method == 1 ? heifBox("idat", data) : "");
    const std::string head = heifBox("ftyp", "heic" + heifNumber(0, 4));
    const auto withData = [&](std::uint64_t start) {
        return head + heifFullBox("meta", 0, described + locations(items, style, start));
    };
    const std::uint64_t start = style.method == 0 ? withData(0).size() + 8 : 0;
    return withData(start) + heifBox("mdat", style.method == 0 ? data : "");
}

HevcCost costOf(const std::string& file, std::uint64_t item = 1) {
    return hevcCostOf({reinterpret_cast<const std::uint8_t*>(file.data()), file.size()}, item);
}

std::string pictures(unsigned count) {
    std::string data;
    for (unsigned i = 0; i < count; ++i) {
        data += withLength(hevcSlice(true));
    }
    return data;
}

TEST(HeifWork, IsThatOfThePicturesOwnData) {
    EXPECT_EQ(costOf(heif({{1, 100, pictures(1)}})).pixels, 10'000U);
    EXPECT_EQ(costOf(heif({{1, 100, pictures(7)}})).pixels, 70'000U);
    EXPECT_EQ(costOf(heif({{1, 100, pictures(7)}})).largestPicture, 10'000U);
    const std::string large = withLength(hevcParameterUnit({.width = 3000, .height = 2000}));
    EXPECT_EQ(costOf(heif({{1, 100, large + pictures(1)}})).largestPicture, 6'000'000U);
}

TEST(HeifWork, IsFoundHoweverTheFileIsWritten) {
    const std::vector<Item> items{{1, 10, pictures(2)}, {2, 20, pictures(3)}, {3, 0, pictures(9)}};
    for (const bool isWide : {false, true}) {
        for (const unsigned version : {0U, 1U, 2U}) {
            for (const std::uint64_t method : {0U, 1U}) {
                for (const std::size_t extents : {1U, 3U}) {
                    if (version == 0 && method != 0) {
                        continue; // which has no field for it
                    }
                    SCOPED_TRACE(testing::Message() << "wide " << isWide << ", version " << version << ", method "
                                                    << method << ", extents " << extents);
                    const std::string file = heif(items, {.isWide = isWide,
                                                          .locationVersion = version,
                                                          .method = method,
                                                          .extents = extents,
                                                          .madeOf = {{3, {1, 2}}}});
                    EXPECT_EQ(costOf(file, 1).pixels, 200U);
                    EXPECT_EQ(costOf(file, 2).pixels, 1200U);
                    EXPECT_EQ(costOf(file, 3).pixels, 1400U);
                }
            }
        }
    }
}

TEST(HeifWork, CountsPartsAsOftenAsTheyAreUsed) {
    const std::vector<Item> items{{1}, {2}, {3, 100, pictures(1)}, {4, 10, pictures(1)}};
    const std::string file = heif(items, {.madeOf = {{1, {2, 2, 2}}, {2, {3, 3}}}, .belongsTo = {{4, {1}}, {4, {9}}}});
    EXPECT_EQ(costOf(file, 2).pixels, 20'000U);
    EXPECT_EQ(costOf(file, 1).pixels, 60'100U);
    EXPECT_EQ(costOf(file, 1).largestPicture, 10'000U);
}

TEST(HeifWork, CountsWhatIsDecodedOneByOne) {
    const std::vector<Item> items{{1}, {2}, {3, 100, pictures(1)}, {4, 10, pictures(1)}};
    const std::string file = heif(items, {.madeOf = {{1, {2, 2, 2}}, {2, {3, 3}}}, .belongsTo = {{4, {1}}}});
    EXPECT_EQ(costOf(file, 3).items, 1U);
    EXPECT_EQ(costOf(file, 2).items, 3U);
    EXPECT_EQ(costOf(file, 1).items, 11U);
    const std::vector<std::uint64_t> often(60'000, 2);
    EXPECT_EQ(costOf(heif(items, {.madeOf = {{1, often}, {2, {3, 3}}}})).items, 180'001U);
}

TEST(HeifWork, FindsTheSizeOfWhatPicturesArePutTogetherOn) {
    const std::string small = heifNumber(0, 4) + heifNumber(300, 2) + heifNumber(20, 2);
    const std::string large = heifNumber(1, 2) + heifNumber(0, 2) + heifNumber(70'000, 4) + heifNumber(2, 4);
    const std::string overlay = heifNumber(0, 2) + std::string(8, '\xFF') + heifNumber(300, 2) + heifNumber(20, 2);
    const std::string largeOverlay =
        heifNumber(1, 2) + std::string(8, '\xFF') + heifNumber(70'000, 4) + heifNumber(2, 4);
    struct Row {
        const char* type;
        std::string data;
        std::uint64_t pixels;
    };
    for (const Row& row : {Row{"grid", small, 6000}, Row{"grid", large, 140'000}, Row{"iovl", overlay, 6000},
                           Row{"iovl", largeOverlay, 140'000}, Row{"grid", small.substr(0, 7), 0}, Row{"iovl", "", 0},
                           Row{"iden", small, 0}}) {
        for (const std::uint64_t method : {0U, 1U}) {
            SCOPED_TRACE(testing::Message() << row.type << " of " << row.data.size() << " bytes, method " << method);
            const std::string file = heif({{1, 0, row.data, row.type}, {2, 10, pictures(1)}},
                                          {.locationVersion = 1, .method = method, .madeOf = {{1, {2}}}});
            EXPECT_EQ(costOf(file).canvasPixels, row.pixels);
            EXPECT_EQ(costOf(file).largestPicture, std::max<std::uint64_t>(row.pixels, 100));
            EXPECT_EQ(costOf(file).pixels, 100U);
        }
    }
}

TEST(HeifWork, IsAllowedAsFarAsThePictureIsLarge) {
    constexpr std::uint64_t hd = 1920 * 1080;
    constexpr std::uint64_t coded = 1920 * 1088;
    EXPECT_EQ(codedPixels(1920, 1080), coded);
    EXPECT_EQ(codedPixels(1, 64), 64U * 64);
    EXPECT_EQ(codedPixels(0, 65), 0U);
    struct Row {
        HevcCost cost;
        std::uint64_t stated;
        bool isWithin;
    };
    for (const Row& row : {
             Row{{}, 0, true},
             Row{{.pixels = 1 << 20, .canvasPixels = 1 << 20}, 1, true},
             Row{{.pixels = (1 << 20) + 1}, 1, false},
             Row{{.canvasPixels = (1 << 20) + 1}, 1, false},
             Row{{.pixels = 4 * coded, .slicePixels = 4 * 17 * coded}, codedPixels(1920, 1080), true},
             Row{{.pixels = 4 * hd + 1}, hd, false},
             Row{{.canvasPixels = 4 * hd + 1}, hd, false},
             Row{{.slicePixels = 120 * coded}, coded, true},
             Row{{.slicePixels = 129 * coded}, coded, false},
             Row{{.slicePixels = std::uint64_t{1} << 29}, std::uint64_t{1} << 27, true},
             Row{{.items = 4096}, hd, true},
             Row{{.items = 4097}, hd, false},
             Row{{.largestPicture = HevcWork::unlimited}, HevcWork::unlimited, false},
         }) {
        EXPECT_EQ(isWithin(row.cost, row.stated), row.isWithin)
            << row.cost.pixels << ", " << row.cost.slicePixels << ", " << row.cost.canvasPixels << ", "
            << row.cost.items << " of " << row.stated;
    }
}

TEST(HeifWork, IsNothingForPicturesInOtherCodings) {
    EXPECT_EQ(costOf(heif({{1, 0, pictures(5)}})).pixels, 0U);
    EXPECT_EQ(costOf(heif({{1, 100, pictures(5)}}), 2).pixels, 0U);
    EXPECT_EQ(costOf("").pixels, 0U);
}

TEST(HeifWork, IsUnlimitedWhereAPictureIsMadeOfNone) {
    for (const bool isWide : {false, true}) {
        const std::vector<Link> madeOf{{1, {2}}, {2, {3}}};
        const auto of = [&](const Item& item) {
            return costOf(heif({{1}, {2}, item}, {.isWide = isWide, .madeOf = madeOf})).pixels;
        };
        EXPECT_EQ(of({3, 10, pictures(1)}), 100U);
        for (const char* const type : {"Exif", "mime", "uri ", "HVC1"}) {
            EXPECT_EQ(of({3, 10, pictures(1), type}), HevcWork::unlimited) << type;
        }
        EXPECT_EQ(of({4, 10, pictures(1)}), HevcWork::unlimited) << "missing";
    }
    // What a picture is only seen through, libheif leaves out.
    EXPECT_EQ(costOf(heif({{1, 10, pictures(1)}, {2, 0, "", "Exif"}}, {.belongsTo = {{2, {1}}, {9, {1}}}})).pixels,
              100U);
}

TEST(HeifWork, TakesNoMoreItemsThanTheFileCounts) {
    std::string file = heif({{1}, {2, 10, pictures(1)}}, {.madeOf = {{1, {2}}}});
    EXPECT_EQ(costOf(file).pixels, 100U);
    file.replace(file.find("iinf") + 8, 2, heifNumber(1, 2));
    EXPECT_EQ(costOf(file).pixels, HevcWork::unlimited);
}

TEST(HeifWork, IsUnlimitedWhereItCannotBeTold) {
    const std::vector<Item> items{{1, 10, pictures(1)}, {2, 10, pictures(1)}};
    EXPECT_EQ(costOf(heif(items, {.locationVersion = 1, .method = 2})).pixels, HevcWork::unlimited);
    EXPECT_EQ(costOf(heif(items, {.madeOf = {{1, {1}}}})).pixels, HevcWork::unlimited);
    EXPECT_EQ(costOf(heif(items, {.madeOf = {{1, {2}}}, .belongsTo = {{1, {2}}}})).pixels, HevcWork::unlimited);
}

/// The size that a box begins with.
std::size_t boxSizeAt(const std::string& file, std::size_t begin) {
    std::size_t size = 0;
    for (const char byte : file.substr(begin, 4)) {
        size = size << 8 | static_cast<std::uint8_t>(byte);
    }
    return size;
}

/// Doubles a box; those around it grow with it.
/// \param path from the outermost box on
std::string withBoxTwice(std::string file, const std::vector<std::string_view>& path) {
    std::vector<std::size_t> begins{0};
    for (const std::string_view name : path) {
        begins.push_back(file.find(name, begins.back()) - 4);
    }
    const std::size_t size = boxSizeAt(file, begins.back());
    for (std::size_t i = 1; i + 1 < begins.size(); ++i) {
        file.replace(begins[i], 4, heifNumber(boxSizeAt(file, begins[i]) + size, 4));
    }
    return file.insert(begins.back(), file.substr(begins.back(), size));
}

TEST(HeifWork, IsUnlimitedWhereTheFileSaysSomethingTwice) {
    const std::string file = heif({{1, 10, pictures(1)}}, {.locationVersion = 1, .method = 1});
    EXPECT_EQ(costOf(file).pixels, 100U);
    for (const std::vector<std::string_view>& path :
         std::vector<std::vector<std::string_view>>{{"meta"},
                                                    {"meta", "iinf"},
                                                    {"meta", "iprp"},
                                                    {"meta", "iprp", "ipco"},
                                                    {"meta", "iloc"},
                                                    {"meta", "idat"}}) {
        EXPECT_EQ(costOf(withBoxTwice(file, path)).pixels, HevcWork::unlimited) << path.back();
    }
    EXPECT_EQ(costOf(withBoxTwice(file, {"meta", "iref"})).pixels, 100U);
    EXPECT_EQ(costOf(heif({{1, 10, pictures(1)}, {1, 10, pictures(1)}})).pixels, HevcWork::unlimited);
}

TEST(HeifWork, IsUnlimitedWherePlacesAreWrittenInNoKnownWay) {
    for (const unsigned version : {0U, 1U, 2U}) {
        const std::string file = heif({{1, 10, pictures(1)}}, {.locationVersion = version});
        const std::size_t content = file.find("iloc") + 4;
        constexpr std::size_t headBytes = 4;
        for (const unsigned shift : {0U, 4U, 8U, 12U}) {
            for (unsigned width = 0; width < 16; ++width) {
                const unsigned usual = 0x4440;
                const unsigned widths = (usual & ~(0xFU << shift)) | width << shift;
                std::string odd = file;
                odd.replace(content + headBytes, 2, heifNumber(widths, 2));
                const bool isUnused = version == 0 && shift == 0;
                const bool isKnown = width == 0 || width == 4 || width == 8 || isUnused;
                EXPECT_EQ(costOf(odd).pixels != HevcWork::unlimited, isKnown)
                    << "version " << version << ", shift " << shift << ", width " << width;
            }
        }
    }
    std::string file = heif({{1, 10, pictures(1)}}, {.locationVersion = 2});
    file[file.find("iloc") + 4] = 3;
    EXPECT_EQ(costOf(file).pixels, HevcWork::unlimited);
}

TEST(HeifWork, IsUnlimitedWhereReferencesAreNotAsLongAsTheyCount) {
    for (const bool isWide : {false, true}) {
        const std::string file = heif({{1}, {2, 10, pictures(1)}}, {.isWide = isWide, .madeOf = {{1, {2}}}});
        EXPECT_EQ(costOf(file).pixels, 100U);
        const std::size_t name = file.find("dimg");
        const std::size_t size = boxSizeAt(file, name - 4);
        for (const std::size_t odd : {std::size_t{8}, size - 1, size + 1}) {
            std::string other = file;
            other.replace(name - 4, 4, heifNumber(odd, 4));
            EXPECT_EQ(costOf(other).pixels != HevcWork::unlimited, odd > size) << odd << " instead of " << size;
        }
        std::string more = file;
        more.replace(name + 4 + (isWide ? 4 : 2), 2, heifNumber(2, 2));
        EXPECT_EQ(costOf(more).pixels, HevcWork::unlimited);
        std::string other = file;
        EXPECT_EQ(costOf(other.replace(name, 4, "uuid")).pixels, HevcWork::unlimited);
    }
}

TEST(HeifWork, IsUnlimitedWhereReadingWouldCostMuchItself) {
    constexpr std::size_t references = 60'000;
    std::vector<Link> links;
    for (std::uint64_t item = 1; item <= 18; ++item) {
        links.push_back({item, std::vector<std::uint64_t>(references, 100)});
    }
    EXPECT_EQ(costOf(heif({{1, 10, pictures(1)}}, {.madeOf = links}), 1).pixels, HevcWork::unlimited);
    // An item of a megabyte that is there very often.
    std::vector<Item> items{{1, 0, std::string(1'000'000, '\0')}};
    std::vector<std::uint64_t> tiles;
    for (std::uint64_t id = 2; id < 100; ++id) {
        items.push_back({id, 10, ""});
        tiles.push_back(id);
    }
    std::string file = heif(items, {.madeOf = {{1, tiles}}});
    EXPECT_NE(costOf(file).pixels, HevcWork::unlimited);
    // Their length 0 stands for all that is left of the file (ISO/IEC 14496-12, section 8.11.3), here from its begin.
    constexpr std::size_t recordBytes = 18;
    const std::size_t secondOffset = file.find("iloc") + 12 + recordBytes + 4;
    for (std::size_t i = 0; i < tiles.size(); ++i) {
        file.replace(secondOffset + i * recordBytes, 4, heifNumber(0, 4));
    }
    EXPECT_EQ(costOf(file).pixels, HevcWork::unlimited);
}

TEST(HeifWork, EndsWithTheFile) {
    const std::string file = heif({{1, 10, pictures(2)}, {2, 20, pictures(3)}}, {.madeOf = {{1, {2}}}});
    EXPECT_EQ(costOf(file).pixels, 1400U);
    for (std::size_t size = 0; size < file.size(); ++size) {
        const HevcCost cost = costOf(file.substr(0, size));
        EXPECT_TRUE(cost.pixels <= 1400U || cost.pixels == HevcWork::unlimited) << size << ": " << cost.pixels;
    }
}

} // namespace

} // namespace ovrel::test
