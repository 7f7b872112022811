#include "platform/linux/decoders.h"
#include "tests/support/damaged_files.h"
#include "tests/support/exif_writer.h"
#include "tests/support/fake_image_source.h"
#include "tests/support/icc_profiles.h"
#include "tests/support/jpeg_writer.h"
#include "tests/support/limited_memory.h"
#include "tests/support/memory_file.h"
#include "tests/support/peak_memory.h"
#include "tests/support/pictures.h"
#include "tests/support/sanitizers.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ovrel::test {

namespace {

using namespace std::string_literals;

constexpr std::uint8_t app1 = 0xE1;
constexpr std::uint8_t app2 = 0xE2;
constexpr std::uint8_t startOfFrame = 0xC0;
constexpr std::uint8_t startOfProgressiveFrame = 0xC2;
constexpr std::uint8_t startOfScan = 0xDA;

std::optional<Image> decode(std::string_view file) {
    const std::unique_ptr<ImageSource> source = openJpeg(memoryFile(file));
    return source ? source->decode(0) : std::nullopt;
}

/// A picture without any symmetry, smooth enough to come back from JPEG nearly as it was.
Image slopes(std::uint32_t width, std::uint32_t height) {
    return makeImage(width, height, [&](std::uint32_t x, std::uint32_t y) {
        const auto part = [](std::uint32_t value, std::uint32_t of) { return 40 + 150 * value / of; };
        return Rgba{static_cast<std::uint8_t>(part(x, width)), static_cast<std::uint8_t>(part(y, height)),
                    static_cast<std::uint8_t>(part(x + y, width + height)), 255};
    });
}

/// The same as inks.
Image inkSlopes(std::uint32_t width, std::uint32_t height) {
    Image image = makeImage(width, height, [&](std::uint32_t x, std::uint32_t y) {
        return Rgba{static_cast<std::uint8_t>(20 + x), static_cast<std::uint8_t>(100 + y),
                    static_cast<std::uint8_t>(200 - x - y), static_cast<std::uint8_t>(10 + y)};
    });
    image.layout = PixelLayout::cmyk8;
    image.colorSpace.model = ColorModel::cmyk;
    return image;
}

int largestDifference(const Image& a, const Image& b) {
    if (a.width != b.width || a.height != b.height || a.layout != b.layout) {
        return 256;
    }
    int largest = 0;
    for (std::size_t i = 0; i < a.samples.size(); ++i) {
        largest = std::max(largest, std::abs(a.samples.data()[i] - b.samples.data()[i]));
    }
    return largest;
}

bool sameRow(const Image& a, const Image& b, std::uint32_t y) {
    return std::equal(a.row(y), a.row(y) + a.bytesPerRow(), b.row(y));
}

/// Where the segment of `marker` begins, at its 0xFF, counted from `from`.
std::size_t placeOf(std::uint8_t marker, const std::string& file, std::size_t from = 2) {
    while (static_cast<std::uint8_t>(file.at(from + 1)) != marker) {
        from += 2 + (static_cast<std::size_t>(static_cast<std::uint8_t>(file.at(from + 2))) << 8) +
                static_cast<std::uint8_t>(file.at(from + 3));
    }
    return from;
}

/// Where the entropy-coded data of the first scan begins.
std::size_t placeOfData(const std::string& file) {
    const std::size_t scan = placeOf(startOfScan, file);
    return scan + 2 + static_cast<std::uint8_t>(file.at(scan + 3));
}

/// Where the last scan begins.
std::size_t placeOfLastScan(const std::string& file) {
    return file.rfind("\xFF\xDA"s);
}

/// `file` with other dimensions in its frame header (ITU-T T.81, annex B.2.2).
std::string claiming(std::uint16_t width, std::uint16_t height, std::string file, std::uint8_t frameMarker) {
    const std::size_t frame = placeOf(frameMarker, file);
    file[frame + 5] = static_cast<char>(height >> 8);
    file[frame + 6] = static_cast<char>(height & 0xFF);
    file[frame + 7] = static_cast<char>(width >> 8);
    file[frame + 8] = static_cast<char>(width & 0xFF);
    return file;
}

TEST(JpegSource, StatesFormatSizeAndOrientationBeforeDecoding) {
    JpegOptions options;
    options.exif = exifBlock(6);
    const std::unique_ptr<ImageSource> source = openJpeg(memoryFile(writeJpeg(slopes(40, 24), options)));
    expectStill(source, ImageFormat::jpeg, 40, 24, 6);
}

TEST(JpegSource, DecodesEveryKindOfCoding) {
    struct Case {
        const char* what;
        JpegOptions options;
        int tolerance = 4;
    };
    std::vector<Case> cases;
    cases.push_back({"baseline", {}});
    cases.push_back({"4:2:2", {}});
    cases.back().options.horizontalSubsampling = 2;
    cases.push_back({"4:4:0", {}});
    cases.back().options.verticalSubsampling = 2;
    cases.push_back({"4:2:0", {}});
    cases.back().options.horizontalSubsampling = 2;
    cases.back().options.verticalSubsampling = 2;
    cases.push_back({"4:1:1", {}, 8});
    cases.back().options.horizontalSubsampling = 4;
    cases.push_back({"progressive", {}});
    cases.back().options.progressive = true;
    cases.push_back({"progressive 4:2:0", {}});
    cases.back().options.progressive = true;
    cases.back().options.horizontalSubsampling = 2;
    cases.back().options.verticalSubsampling = 2;
    cases.push_back({"arithmetic", {}});
    cases.back().options.arithmetic = true;
    cases.push_back({"progressive and arithmetic", {}});
    cases.back().options.arithmetic = true;
    cases.back().options.progressive = true;
    cases.push_back({"a restart marker behind every MCU", {}});
    cases.back().options.restartInterval = 1;
    cases.push_back({"a scan for each component", {}});
    cases.back().options.scanForEachComponent = true;
    cases.push_back({"stored as RGB", {}});
    cases.back().options.colors = JpegColors::rgb;
    for (const auto& [what, options, tolerance] : cases) {
        SCOPED_TRACE(what);
        const Image original = slopes(83, 61);
        const std::optional<Image> image = decode(writeJpeg(original, options));
        ASSERT_TRUE(image);
        EXPECT_LE(largestDifference(*image, original), tolerance);
        EXPECT_EQ(image->colorSpace, ColorSpace{});
    }
}

TEST(JpegSource, DecodesEverySmallSize) {
    JpegOptions options;
    options.horizontalSubsampling = 2;
    options.verticalSubsampling = 2;
    for (const bool progressive : {false, true}) {
        options.progressive = progressive;
        for (std::uint32_t width = 1; width <= 18; ++width) {
            for (std::uint32_t height = 1; height <= 18; ++height) {
                SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(height));
                const Image original = makeImage(width, height, Rgba{90, 160, 200, 255});
                const std::optional<Image> image = decode(writeJpeg(original, options));
                ASSERT_TRUE(image);
                EXPECT_LE(largestDifference(*image, original), 2);
            }
        }
    }
}

TEST(JpegSource, GivesGrayAsEqualRedGreenAndBlue) {
    const Image original = makeImage(50, 30, [](std::uint32_t x, std::uint32_t y) {
        const auto light = static_cast<std::uint8_t>(20 + 3 * x + 2 * y);
        return Rgba{light, light, light, 255};
    });
    for (const bool progressive : {false, true}) {
        JpegOptions options;
        options.colors = JpegColors::gray;
        options.progressive = progressive;
        const std::optional<Image> image = decode(writeJpeg(original, options));
        ASSERT_TRUE(image);
        EXPECT_LE(largestDifference(*image, original), 3);
        EXPECT_EQ(image->colorSpace, (ColorSpace{ColorModel::gray, {}}));
        for (std::uint32_t x = 0; x < image->width; ++x) {
            const Rgba pixel = pixelOf(*image, x, 7);
            EXPECT_EQ(pixel, (Rgba{pixel[0], pixel[0], pixel[0], 255}));
        }
    }
}

TEST(JpegSource, GivesInksWithZeroForNoneWhicheverWayTheyAreStored) {
    struct Case {
        const char* what;
        JpegColors colors;
        bool adobe;
    };
    for (const auto& [what, colors, adobe] :
         {Case{"CMYK of Adobe, inverted", JpegColors::cmyk, true},
          Case{"CMYK without a mark, as it is", JpegColors::cmyk, false}, Case{"YCCK", JpegColors::ycck, true}}) {
        for (const bool progressive : {false, true}) {
            SCOPED_TRACE(what);
            JpegOptions options;
            options.colors = colors;
            options.adobe = adobe;
            options.progressive = progressive;
            const Image original = inkSlopes(41, 33);
            const std::optional<Image> image = decode(writeJpeg(original, options));
            ASSERT_TRUE(image);
            EXPECT_EQ(image->layout, PixelLayout::cmyk8);
            EXPECT_EQ(image->colorSpace, (ColorSpace{ColorModel::cmyk, {}}));
            EXPECT_LE(largestDifference(*image, original), 4);
        }
    }
}

TEST(JpegSource, TurnsAllEightOrientationsUpright) {
    constexpr std::uint32_t width = 45;
    constexpr std::uint32_t height = 70;
    for (const bool inks : {false, true}) {
        JpegOptions options;
        options.colors = inks ? JpegColors::cmyk : JpegColors::yCbCr;
        const Image original = inks ? inkSlopes(width, height) : slopes(width, height);
        const std::optional<Image> stored = decode(writeJpeg(original, options));
        ASSERT_TRUE(stored);
        for (std::uint16_t orientation = 1; orientation <= 8; ++orientation) {
            SCOPED_TRACE(orientation);
            options.exif = exifBlock(orientation, orientation % 2 == 0 ? TiffByteOrder::big : TiffByteOrder::little);
            const std::optional<Image> image = decode(writeJpeg(original, options));
            expectSame(image, upright(*stored, orientation));
        }
    }
}

TEST(JpegSource, FindsTheOrientationBehindOtherSegments) {
    const std::string xmp = jpegSegment(app1, "http://ns.adobe.com/xap/1.0/\0<x:xmpmeta/>"s);
    const std::string exif = jpegSegment(app1, "Exif\0\0"s + exifBlock(8));
    const std::string second = jpegSegment(app1, "Exif\0\0"s + exifBlock(3));
    const std::string file = writeJpeg(slopes(30, 20));
    EXPECT_EQ(openJpeg(memoryFile(withSegments(file, xmp + exif + second)))->properties(0).orientation, 8);
    EXPECT_EQ(openJpeg(memoryFile(withSegments(file, xmp)))->properties(0).orientation, 1);
    EXPECT_EQ(openJpeg(memoryFile(withSegments(file, jpegSegment(app1, "Exif"))))->properties(0).orientation, 1);
}

TEST(JpegSource, KeepsTheProfile) {
    JpegOptions options;
    options.profile = textOf(displayP3Profile());
    for (const JpegColors colors : {JpegColors::yCbCr, JpegColors::gray}) {
        options.colors = colors;
        const std::optional<Image> image = decode(writeJpeg(slopes(20, 20), options));
        ASSERT_TRUE(image);
        EXPECT_EQ(image->colorSpace.model, ColorModel::rgb);
        EXPECT_EQ(textOf(image->colorSpace.profile), options.profile);
    }
}

TEST(JpegSource, JoinsAProfileOfSeveralSegments) {
    JpegOptions options;
    options.profile = textOf(displayP3Profile());
    options.profile.resize(200'000, '\0');
    const std::optional<Image> image = decode(writeJpeg(slopes(20, 20), options));
    ASSERT_TRUE(image);
    EXPECT_EQ(textOf(image->colorSpace.profile), options.profile);
}

TEST(JpegSource, DoesWithoutAProfileThatCannotBeUsed) {
    const std::string identifier = "ICC_PROFILE\0"s;
    const struct {
        const char* what;
        std::string segments;
    } cases[] = {
        {"no profile at all", jpegSegment(app2, identifier + "\1\1no profile"s)},
        {"a segment of two is missing", jpegSegment(app2, identifier + "\1\2"s + textOf(displayP3Profile()))},
        {"segment 0", jpegSegment(app2, identifier + "\0\1"s + textOf(displayP3Profile()))},
        {"the same segment twice", jpegSegment(app2, identifier + "\1\2a"s) + jpegSegment(app2, identifier + "\1\2b"s)},
        {"cut inside its head", jpegSegment(app2, identifier + "\1\1"s + textOf(displayP3Profile()).substr(0, 100))},
    };
    for (const auto& [what, segments] : cases) {
        SCOPED_TRACE(what);
        const std::optional<Image> image = decode(withSegments(writeJpeg(slopes(20, 20)), segments));
        ASSERT_TRUE(image);
        EXPECT_EQ(image->colorSpace, ColorSpace{});
    }
    JpegOptions inks;
    inks.colors = JpegColors::cmyk;
    inks.profile = textOf(displayP3Profile());
    EXPECT_EQ(decode(writeJpeg(inkSlopes(20, 20), inks))->colorSpace, (ColorSpace{ColorModel::cmyk, {}}));
}

TEST(JpegSource, DecodesTheSameTwice) {
    const std::unique_ptr<ImageSource> source = openJpeg(memoryFile(writeJpeg(slopes(60, 60))));
    const std::optional<Image> first = source->decode(0);
    const std::optional<Image> second = source->decode(0);
    ASSERT_TRUE(first && second);
    EXPECT_EQ(largestDifference(*first, *second), 0);
}

TEST(JpegSource, IgnoresWhatFollowsThePicture) {
    for (const bool progressive : {false, true}) {
        JpegOptions options;
        options.progressive = progressive;
        const std::string file = writeJpeg(slopes(60, 60), options);
        const std::optional<Image> image = decode(file);
        for (const std::string& trailer : {"\0\0\0\0"s, std::string(100'000, '\xFF'), file}) {
            const std::optional<Image> trailed = decode(file + trailer);
            ASSERT_TRUE(image && trailed);
            EXPECT_EQ(largestDifference(*image, *trailed), 0);
        }
    }
}

TEST(JpegSource, NeedsNoEndMarker) {
    for (const std::uint32_t side : {5U, 16U, 100U}) {
        for (const bool progressive : {false, true}) {
            for (const bool arithmetic : {false, true}) {
                SCOPED_TRACE(testing::Message()
                             << side << (progressive ? " progressive" : "") << (arithmetic ? " arithmetic" : ""));
                JpegOptions options;
                options.progressive = progressive;
                options.arithmetic = arithmetic;
                const std::string file = writeJpeg(slopes(side, side), options);
                const std::optional<Image> whole = decode(file);
                for (const std::size_t missing : {1U, 2U}) {
                    const std::optional<Image> image = decode(file.substr(0, file.size() - missing));
                    ASSERT_TRUE(whole && image);
                    EXPECT_EQ(largestDifference(*whole, *image), 0);
                }
            }
        }
    }
}

/// Rows at the top that are as in the whole picture.
std::uint32_t rowsThatCame(const Image& image, const Image& whole) {
    std::uint32_t rows = 0;
    while (rows < image.height && sameRow(image, whole, rows)) {
        ++rows;
    }
    return rows;
}

TEST(JpegSource, ShowsWhatCameOfAPictureThatEndsEarlyAndTheRestGray) {
    struct Case {
        const char* what;
        bool arithmetic;
        unsigned restartInterval;
        bool endMarker;
    };
    for (const auto& [what, arithmetic, restartInterval, endMarker] :
         {Case{"cut off", false, 0, false}, Case{"with an end marker too early", false, 0, true},
          Case{"with restart markers", false, 3, false}, Case{"with restart markers and an end marker", false, 3, true},
          Case{"arithmetic", true, 0, false}}) {
        SCOPED_TRACE(what);
        JpegOptions options;
        options.arithmetic = arithmetic;
        options.restartInterval = restartInterval;
        const std::string file = writeJpeg(slopes(80, 120), options);
        const std::optional<Image> whole = decode(file);
        const std::size_t data = placeOfData(file);
        const std::string half = file.substr(0, data + (file.size() - data) / 2) + (endMarker ? "\xFF\xD9" : "");
        const std::optional<Image> image = decode(half);
        ASSERT_TRUE(whole && image);
        ASSERT_EQ(image->height, 120U);
        const std::uint32_t came = rowsThatCame(*image, *whole);
        EXPECT_GT(came, 16U);
        EXPECT_LT(came, 104U);
        for (std::uint32_t y = came + 8; y < image->height; ++y) {
            for (std::uint32_t x = 0; x < image->width; ++x) {
                ASSERT_EQ(pixelOf(*image, x, y), (Rgba{128, 128, 128, 255})) << x << ", " << y;
            }
        }
    }
}

TEST(JpegSource, GraysTheMissingRowsOfATurnedPictureToo) {
    JpegOptions options;
    options.exif = exifBlock(3);
    const std::string file = writeJpeg(slopes(80, 120), options);
    const std::size_t data = placeOfData(file);
    const std::optional<Image> image = decode(file.substr(0, data + (file.size() - data) / 2));
    ASSERT_TRUE(image);
    EXPECT_EQ(pixelOf(*image, 40, 0), (Rgba{128, 128, 128, 255}));
    EXPECT_NE(pixelOf(*image, 40, 119), (Rgba{128, 128, 128, 255}));
}

TEST(JpegSource, ShowsAProgressivePictureWhoseLastScansAreMissingCoarsely) {
    JpegOptions options;
    options.progressive = true;
    const Image original = slopes(80, 120);
    const std::string file = writeJpeg(original, options);
    const std::optional<Image> image = decode(file.substr(0, placeOfLastScan(file) + 20));
    ASSERT_TRUE(image);
    EXPECT_LE(largestDifference(*image, original), 40);
}

TEST(JpegSource, RefusesAPictureOfWhichNothingCame) {
    for (const bool progressive : {false, true}) {
        for (const bool arithmetic : {false, true}) {
            SCOPED_TRACE(testing::Message() << (progressive ? "progressive " : "") << (arithmetic ? "arithmetic" : ""));
            JpegOptions options;
            options.progressive = progressive;
            options.arithmetic = arithmetic;
            const std::string file = writeJpeg(slopes(80, 120), options);
            EXPECT_FALSE(decode(file.substr(0, placeOfData(file))));
            EXPECT_FALSE(decode(file.substr(0, placeOf(startOfScan, file))));
            EXPECT_FALSE(decode(file.substr(0, 2)));
        }
    }
    const std::string file = writeJpeg(slopes(80, 120));
    EXPECT_FALSE(decode(file.substr(0, placeOfData(file)) + "\xFF\xD9")) << "the end marker behind the scan's head";
    EXPECT_FALSE(decode(file.substr(0, placeOfData(file) + 3))) << "less than a row of blocks";
    EXPECT_FALSE(decode(std::string("\xFF\xD8\xFF\xD9"))) << "no frame";
}

/// Kinds of coding whose decoders meet the end of the data each in its own way.
struct Coding {
    const char* what;
    JpegOptions options;
};

std::vector<Coding> codings() {
    std::vector<Coding> all{{"baseline", {}},   {"restart markers", {}}, {"progressive", {}},
                            {"arithmetic", {}}, {"both of these", {}},   {"a scan for each component", {}}};
    all[1].options.restartInterval = 1;
    all[2].options.progressive = true;
    all[3].options.arithmetic = true;
    all[4].options.progressive = true;
    all[4].options.arithmetic = true;
    all[5].options.scanForEachComponent = true;
    return all;
}

TEST(JpegSource, ShowsWhatCameOfAPictureOfOneRowOfBlocks) {
    for (const auto& [what, options] : codings()) {
        SCOPED_TRACE(what);
        const std::string file = writeJpeg(slopes(80, 8), options);
        const std::size_t data = placeOfData(file);
        const std::optional<Image> whole = decode(file);
        for (const std::string& end : {""s, "\xFF\xD9"s}) {
            constexpr std::size_t beginningOfTheFirstScan = 12;
            const std::optional<Image> image = decode(file.substr(0, data + beginningOfTheFirstScan) + end);
            ASSERT_TRUE(whole && image);
            EXPECT_LE(std::abs(pixelOf(*image, 4, 4)[0] - pixelOf(*whole, 4, 4)[0]), 60) << "it is 80 away from grey";
            constexpr std::size_t oneByte = 2; // which a zero follows when it is 0xFF
            EXPECT_TRUE(decode(file.substr(0, data + oneByte) + end));
        }
    }
}

TEST(JpegSource, RefusesAPictureOfOneRowOfBlocksOfWhichNothingCame) {
    for (const auto& [what, options] : codings()) {
        SCOPED_TRACE(what);
        const std::string file = writeJpeg(slopes(80, 8), options);
        const std::string head = file.substr(0, placeOfData(file));
        for (const std::string& end : {""s, "\xFF"s, "\xFF\xFF\xD9"s, "\xFF\xD9"s, "\xFF\xD0\xFF\xD1\xFF\xD9"s}) {
            EXPECT_FALSE(decode(head + end));
        }
        // ITU-T T.81, annex B.1.1.5: a zero makes 0xFF a byte of the data.
        EXPECT_TRUE(decode(head + "\xFF\0"s));
    }
}

TEST(JpegSource, RefusesVeryManySegments) {
    std::string few;
    for (int i = 0; i < 1000; ++i) {
        few += jpegSegment(0xE1, "");
    }
    std::string many;
    for (int i = 0; i < 100; ++i) {
        many += few;
    }
    const std::string picture = writeJpeg(slopes(16, 16), {});
    const std::unique_ptr<ImageSource> source = openJpeg(memoryFile(withSegments(picture, few)));
    ASSERT_TRUE(source);
    EXPECT_TRUE(source->decode(0));
    EXPECT_FALSE(openJpeg(memoryFile(withSegments(picture, many))));
}

TEST(JpegSource, RefusesAFileThatCannotBeReadToItsEnd) {
    const TemporaryFolder folder;
    const std::filesystem::path path = folder.write("picture.jpg", writeJpeg(slopes(900, 900), {}));
    const std::unique_ptr<ImageSource> source = openJpeg(*InputFile::open(path));
    ASSERT_TRUE(source && source->decode(0));
    std::filesystem::resize_file(path, std::filesystem::file_size(path) / 2);
    EXPECT_FALSE(source->decode(0)) << "cut off while it was open";
    EXPECT_TRUE(openJpeg(*InputFile::open(path))->decode(0)) << "cut off before";
}

TEST(JpegSource, SurvivesFilesThatEndAnywhere) {
    for (const bool progressive : {false, true}) {
        for (const bool arithmetic : {false, true}) {
            JpegOptions options;
            options.quality = 60;
            options.progressive = progressive;
            options.arithmetic = arithmetic;
            options.horizontalSubsampling = 2;
            options.verticalSubsampling = 2;
            options.exif = exifBlock(6);
            const std::string file = writeJpeg(slopes(35, 50), options);
            std::size_t shown = 0;
            for (std::size_t size = 0; size < file.size(); ++size) {
                const std::optional<Image> image = decode(file.substr(0, size));
                if (image) {
                    ++shown;
                    EXPECT_EQ(image->width, 50U);
                    EXPECT_EQ(image->height, 35U);
                }
            }
            EXPECT_GT(shown, 2U);
            EXPECT_LT(shown, file.size() - placeOfData(file));
        }
    }
}

TEST(JpegSource, SurvivesFlippedBits) {
    for (const bool progressive : {false, true}) {
        for (const bool arithmetic : {false, true}) {
            JpegOptions options;
            options.quality = 60;
            options.progressive = progressive;
            options.arithmetic = arithmetic;
            options.restartInterval = progressive ? 2 : 0;
            options.exif = exifBlock(5);
            expectToSurviveBitFlips(writeJpeg(slopes(24, 40), options), openJpeg, 2000);
        }
    }
}

TEST(JpegSource, RefusesAHugeHeaderWithoutTakingMemory) {
    const std::string small = writeJpeg(slopes(100, 100));
    const std::uint64_t peak = peakMemoryOf([&] {
        EXPECT_FALSE(decode(claiming(65500, 65500, small, startOfFrame)));
        EXPECT_FALSE(decode(claiming(65500, 65500, small.substr(0, small.size() - 2), startOfFrame)));
        EXPECT_FALSE(decode(claiming(65535, 65535, small, startOfFrame))) << "more than libjpeg takes";
    });
    EXPECT_LT(peak, std::uint64_t{64} << 20);
}

TEST(JpegSource, RefusesAHugeProgressiveHeaderWithoutTakingMemory) {
    JpegOptions options;
    options.progressive = true;
    const std::string file = claiming(65500, 65500, writeJpeg(slopes(100, 100), options), startOfProgressiveFrame);
    const std::uint64_t peak = peakMemoryOf([&] {
        try {
            EXPECT_FALSE(decode(file));
        } catch (const std::bad_alloc&) {
            // What a machine says that could not hold such a picture anyway.
        }
    });
    EXPECT_LT(peak, std::uint64_t{64} << 20);
}

TEST(JpegSource, TellsLackOfMemory) {
    if (!canLimitMemory) {
        GTEST_SKIP() << "not under a sanitizer";
    }
    for (const bool progressive : {false, true}) {
        SCOPED_TRACE(progressive);
        JpegOptions options;
        options.progressive = progressive;
        options.profile = textOf(displayP3Profile());
        options.profile.resize(1'000'000, '\0');
        expectToTellLackOfMemory(writeJpeg(slopes(60'000, 16), options), openJpeg);
    }
}

TEST(JpegSource, RefusesMoreScansThanAnyEncoderWrites) {
    JpegOptions options;
    options.progressive = true;
    options.colors = JpegColors::gray;
    const std::string file = writeJpeg(slopes(16, 16), options);
    const std::size_t last = placeOfLastScan(file);
    const std::string lastScan = file.substr(last, file.size() - 2 - last);
    std::size_t scans = 0;
    for (std::size_t place = file.find("\xFF\xDA"s); place != std::string::npos;
         place = file.find("\xFF\xDA"s, place + 1)) {
        ++scans;
    }
    const auto withScans = [&](std::size_t count) {
        std::string longer = file.substr(0, file.size() - 2);
        for (std::size_t i = scans; i < count; ++i) {
            longer += lastScan;
        }
        return longer + "\xFF\xD9";
    };
    EXPECT_TRUE(decode(withScans(200)));
    EXPECT_FALSE(decode(withScans(201)));
}

TEST(JpegSource, RefusesSegmentsWithoutEnd) {
    std::string segments;
    const std::string segment = jpegSegment(app1, std::string(65'533, 'x'));
    while (segments.size() < (std::size_t{65} << 20)) {
        segments += segment;
    }
    EXPECT_EQ(openJpeg(memoryFile(withSegments(writeJpeg(slopes(8, 8)), segments))), nullptr);
}

TEST(JpegSource, RefusesOtherDepthsThan8Bits) {
    std::string file = writeJpeg(slopes(16, 16));
    file[placeOf(startOfFrame, file) + 4] = 12;
    EXPECT_FALSE(decode(file));
}

TEST(JpegSource, RefusesTwoComponents) {
    JpegOptions options;
    options.scanForEachComponent = true;
    std::string file = writeJpeg(slopes(16, 16), options);
    ASSERT_TRUE(decode(file));
    // ITU-T T.81, annex B.2.2: length, precision, height, width, number of components, three bytes for each.
    file.replace(placeOfLastScan(file), std::string::npos, "\xFF\xD9");
    const std::size_t frame = placeOf(startOfFrame, file);
    file[frame + 3] = 8 + 2 * 3;
    file[frame + 9] = 2;
    file.erase(frame + 10 + 2 * 3, 3);
    const std::unique_ptr<ImageSource> source = openJpeg(memoryFile(file));
    ASSERT_TRUE(source) << "the header is sound";
    EXPECT_FALSE(source->decode(0));
}

} // namespace

} // namespace ovrel::test
