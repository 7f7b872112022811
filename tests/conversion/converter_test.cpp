#include "conversion/converter.h"

#include "platform/bitmap.h"
#include "platform/linux/color_profiles.h"
#include "tests/support/avif_facts.h"
#include "tests/support/child_process.h"
#include "tests/support/exif_writer.h"
#include "tests/support/fake_image_source.h"
#include "tests/support/gif_writer.h"
#include "tests/support/jpeg_writer.h"
#include "tests/support/png_writer.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/webp_writer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <lcms2.h>

#include <unistd.h>

#include <algorithm>
#include <array>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace ovrel::test {

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;

constexpr double quality = 0.9;
constexpr int fastest = 10;

constexpr std::array<Rgba, 4> quarterColors{
    {{210, 70, 50, 255}, {60, 170, 70, 255}, {50, 80, 190, 255}, {220, 210, 90, 255}}};

std::size_t quarterAt(std::uint32_t x, std::uint32_t y, std::uint32_t width, std::uint32_t height) {
    return (x < width / 2 ? 0U : 1U) + (y < height / 2 ? 0U : 2U);
}

/// One colour in each quarter, so that it shows which side is up.
Image quarters(std::uint32_t width, std::uint32_t height) {
    return makeImage(width, height,
                     [&](std::uint32_t x, std::uint32_t y) { return quarterColors[quarterAt(x, y, width, height)]; });
}

/// The same with the lower half half transparent.
Image halfTransparentQuarters(std::uint32_t width, std::uint32_t height) {
    Image image = quarters(width, height);
    for (std::uint32_t y = height / 2; y < height; ++y) {
        for (std::uint32_t x = 0; x < width; ++x) {
            image.row(y)[std::size_t{x} * 4 + 3] = 128;
        }
    }
    return image;
}

/// Compares the middles of the quarters and the corners, wherever `found` is larger.
void expectNear(const Image& found, const Image& expected, int tolerance = 12) {
    const std::uint32_t right = expected.width - 1;
    const std::uint32_t bottom = expected.height - 1;
    for (const std::uint32_t y : {0U, bottom / 4, bottom * 3 / 4, bottom}) {
        for (const std::uint32_t x : {0U, right / 4, right * 3 / 4, right}) {
            SCOPED_TRACE(testing::Message() << x << ", " << y);
            const Rgba color = pixelOf(found, x, y);
            for (std::size_t channel = 0; channel < color.size(); ++channel) {
                EXPECT_NEAR(color[channel], pixelOf(expected, x, y)[channel], tolerance);
            }
        }
    }
}

PngPicture withChunk(PngPicture picture, const std::string& type, const std::string& content) {
    picture.beforeImageData.push_back({type, content});
    return picture;
}

std::string textOf(const std::vector<std::uint8_t>& bytes) {
    return {bytes.begin(), bytes.end()};
}

/// A GIF of one frame for each of `shifts`, which moves the colours of the quarters.
std::string quartersGif(std::uint16_t width, std::uint16_t height, const std::vector<std::size_t>& shifts) {
    GifContent content;
    content.width = width;
    content.height = height;
    for (const Rgba& color : quarterColors) {
        content.palette.push_back({color[0], color[1], color[2]});
    }
    content.loop = GifLoop{3};
    for (const std::size_t shift : shifts) {
        GifFrameBlock frame;
        frame.width = width;
        frame.height = height;
        frame.control = GifControl{static_cast<std::uint16_t>(10 * (shift + 1)), 1, {}};
        for (std::uint32_t y = 0; y < height; ++y) {
            for (std::uint32_t x = 0; x < width; ++x) {
                frame.pixels.push_back(static_cast<std::uint8_t>((quarterAt(x, y, width, height) + shift) % 4));
            }
        }
        content.frames.push_back(frame);
    }
    return writeGif(content);
}

std::string sRgbProfile() {
    const std::unique_ptr<void, decltype(&cmsCloseProfile)> profile(cmsCreate_sRGBProfile(), &cmsCloseProfile);
    cmsUInt32Number size = 0;
    cmsSaveProfileToMem(profile.get(), nullptr, &size);
    std::string bytes(size, '\0');
    cmsSaveProfileToMem(profile.get(), bytes.data(), &size);
    return bytes;
}

/// Conversions of real files, each into a folder of its own.
class ConverterTest : public testing::TestWithParam<EncodingMode> {
protected:
    void SetUp() override {
        ASSERT_TRUE(Converter::supported())
            << "the system's image writer has no AV1 encoder; \"./dev test\" installs one";
    }

    static bool isSystem() { return GetParam() == EncodingMode::system; }

    struct Converted {
        AvifFacts facts;
        bool multiImage = false;
    };

    Converted converted(const std::string& name, const std::string& bytes) {
        const TemporaryFolder folder;
        const fs::path source = folder.write("in/" + name, bytes);
        const ConversionResult result = Converter::convert({source, ""}, folder / "out", quality, GetParam(), fastest);
        EXPECT_EQ(result.file, folder / "out" / source.stem().concat(".avif"));
        EXPECT_THAT(folder.listing(),
                    ElementsAre("in", "in/" + name, "out", "out/" + source.stem().native() + ".avif"));
        EXPECT_EQ(contentOf(source), bytes) << "a source is only read";
        return {avifFacts(result.file), result.multiImage};
    }

    /// How a picture of this size is stored: the system's writer gets even sizes only.
    static std::string coding(std::uint32_t width, std::uint32_t height, const std::string& more = "") {
        const std::uint32_t unit = isSystem() ? 2 : 1;
        return codingOf((width + unit - 1) / unit * unit, (height + unit - 1) / unit * unit, more);
    }

    /// The same for what libaom encodes in both modes.
    static std::string codingOf(std::uint32_t width, std::uint32_t height, const std::string& more = "") {
        return std::to_string(width) + "x" + std::to_string(height) + ", 8 bits, YUV420, full range, CICP 1/13/6" +
               more;
    }
};

std::string nameOf(const testing::TestParamInfo<EncodingMode>& parameter) {
    return parameter.param == EncodingMode::system ? "System" : "Efficient";
}

INSTANTIATE_TEST_SUITE_P(Modes, ConverterTest, testing::ValuesIn(allEncodingModes), nameOf);

} // namespace

TEST_P(ConverterTest, StoresStillPicturesInOneWay) {
    struct Row {
        const char* name;
        std::function<std::string(const Image&)> write;
        bool hasAlpha;
    };
    const auto asPng = [](const Image& image) { return writePng(pngOf(image)); };
    const auto asWebp = [](const Image& image) { return writeWebp(image); };
    const auto asDeepPng = [](const Image& image) {
        PngPicture picture = pngOf(image);
        picture.bitDepth = 16;
        for (std::uint16_t& sample : picture.samples) {
            sample = static_cast<std::uint16_t>(sample * 257);
        }
        return writePng(picture);
    };
    const Row rows[] = {
        {"photo.jpg", [](const Image& image) { return writeJpeg(image); }, false},
        {"photo.JPEG",
         [](const Image& image) { return writeJpeg(image, {.progressive = true, .exif = {}, .profile = {}}); }, false},
        {"opaque.png", asPng, false},
        {"transparent.png", asPng, true},
        {"deep.png", asDeepPng, true},
        {"opaque.webp", asWebp, false},
        {"transparent.webp", asWebp, true},
        {"lossy.webp", [](const Image& image) { return writeWebp(image, {}, 95.0F); }, true},
    };
    for (const auto& [width, height] : {std::pair{48U, 32U}, {33U, 32U}, {48U, 17U}, {33U, 17U}, {1U, 1U}}) {
        for (const Row& row : rows) {
            SCOPED_TRACE(testing::Message() << row.name << " " << width << "x" << height);
            const Image image = row.hasAlpha ? halfTransparentQuarters(width, height) : quarters(width, height);
            const auto [facts, multiImage] = converted(row.name, row.write(image));
            EXPECT_EQ(facts.coding, coding(width, height, row.hasAlpha ? ", alpha" : ""));
            EXPECT_FALSE(multiImage);
            ASSERT_EQ(facts.frames.size(), 1U);
            expectNear(facts.frames[0], image, 20);
        }
    }
}

TEST_P(ConverterTest, RepeatsTheEdgeOfOddSizesForTheSystemsWriter) {
    const Image image = quarters(33, 17);
    const AvifFacts facts = converted("odd.png", writePng(pngOf(image))).facts;
    const Image& found = facts.frames.at(0);
    ASSERT_EQ(found.width, isSystem() ? 34U : 33U);
    ASSERT_EQ(found.height, isSystem() ? 18U : 17U);
    for (const auto& [x, y] :
         {std::pair{found.width - 1, 4U}, {8U, found.height - 1}, {found.width - 1, found.height - 1}}) {
        const Rgba edge = pixelOf(image, std::min(x, 32U), std::min(y, 16U));
        for (std::size_t channel = 0; channel < 4; ++channel) {
            EXPECT_NEAR(pixelOf(found, x, y)[channel], edge[channel], 12) << x << ", " << y;
        }
    }
}

TEST_P(ConverterTest, TurnsThePixelsAndStoresNoOrientation) {
    const Image upright = quarters(48, 32);
    for (std::uint16_t orientation = 1; orientation <= 8; ++orientation) {
        SCOPED_TRACE(orientation);
        const bool exchangesSides = orientation >= 5;
        Image stored = makeImage(exchangesSides ? 32 : 48, exchangesSides ? 48 : 32, Rgba{});
        for (std::uint32_t y = 0; y < upright.height; ++y) {
            for (std::uint32_t x = 0; x < upright.width; ++x) {
                const StoredPlace place = storedPlace(orientation, x, y, stored.width, stored.height);
                const Rgba color = pixelOf(upright, x, y);
                std::copy(color.begin(), color.end(), stored.row(place.y) + std::size_t{place.x} * 4);
            }
        }
        const std::string exif = exifBlock(orientation);
        const std::pair<const char*, std::string> files[] = {
            {"photo.jpg", writeJpeg(stored, {.exif = exif, .profile = {}})},
            {"photo.png", writePng(withChunk(pngOf(stored), "eXIf", exif))},
            {"photo.webp", writeWebp(stored, {.exif = exif, .icc = {}})},
        };
        for (const auto& [name, bytes] : files) {
            SCOPED_TRACE(name);
            const AvifFacts facts = converted(name, bytes).facts;
            ASSERT_EQ(facts.coding, coding(48, 32));
            expectNear(facts.frames.at(0), upright);
        }
    }
}

TEST_P(ConverterTest, KeepsAnRgbProfileForTheSystemsWriterAndDrawsSrgbOtherwise) {
    const ColorSpace displayP3 = colorSpaceFromCicp(12, 13);
    const std::string profile = textOf(displayP3.profile);
    for (const auto& [width, height] : {std::pair{48U, 32U}, {33U, 17U}}) {
        const Image image = quarters(width, height);
        Image described = copyOf(image);
        described.colorSpace = displayP3;
        const Image inSrgb = convertedToSrgb(std::move(described));
        const std::pair<const char*, std::string> files[] = {
            {"photo.jpg", writeJpeg(image, {.exif = {}, .profile = profile})},
            {"photo.png", writePng(withChunk(pngOf(image), "iCCP", pngProfile(profile)))},
            {"photo.webp", writeWebp(image, {.exif = {}, .icc = profile})},
        };
        for (const auto& [name, bytes] : files) {
            SCOPED_TRACE(testing::Message() << name << " " << width << "x" << height);
            const AvifFacts facts = converted(name, bytes).facts;
            EXPECT_EQ(facts.width, width + (isSystem() ? width % 2 : 0));
            EXPECT_EQ(facts.height, height + (isSystem() ? height % 2 : 0));
            EXPECT_THAT(facts.coding, testing::HasSubstr(", 8 bits, YUV420, full range, CICP "));
            EXPECT_THAT(facts.coding, testing::EndsWith(isSystem() ? "/6, profile" : " 1/13/6"));
            EXPECT_EQ(textOf(facts.profile), isSystem() ? profile : "");
            expectNear(facts.frames.at(0), isSystem() ? image : inSrgb);
        }
    }
}

TEST_P(ConverterTest, KeepsAnEmbeddedSrgbProfileForTheSystemsWriterToo) {
    const std::string profile = sRgbProfile();
    const Image image = quarters(33, 17);
    const AvifFacts facts = converted("photo.jpg", writeJpeg(image, {.exif = {}, .profile = profile})).facts;
    EXPECT_EQ(textOf(facts.profile), isSystem() ? profile : "");
    expectNear(facts.frames.at(0), image);
}

TEST_P(ConverterTest, DrawsGreyAndInksInSrgb) {
    const Image image = quarters(33, 17);
    Image grey = makeImage(33, 17, [&](std::uint32_t x, std::uint32_t y) {
        const Rgba color = pixelOf(image, x, y);
        const auto luma = static_cast<std::uint8_t>(0.299 * color[0] + 0.587 * color[1] + 0.114 * color[2]);
        return Rgba{luma, luma, luma, 255};
    });
    const AvifFacts ofGrey =
        converted("grey.jpg", writeJpeg(image, {.colors = JpegColors::gray, .exif = {}, .profile = {}})).facts;
    EXPECT_EQ(ofGrey.coding, coding(33, 17));
    expectNear(ofGrey.frames.at(0), grey);

    Image inks = makeImage(33, 17, {0, 255, 255, 0}); // no cyan and no black, all of magenta and yellow: red
    inks.layout = PixelLayout::cmyk8;
    inks.colorSpace.model = ColorModel::cmyk;
    const AvifFacts ofInks =
        converted("inks.jpg", writeJpeg(inks, {.colors = JpegColors::cmyk, .exif = {}, .profile = {}})).facts;
    EXPECT_EQ(ofInks.coding, coding(33, 17));
    expectNear(ofInks.frames.at(0), makeImage(33, 17, {255, 0, 0, 255}));
}

TEST_P(ConverterTest, EncodesGifsAloneWithLibaom) {
    const auto [still, ofStill] = converted("still.gif", quartersGif(33, 17, {0}));
    EXPECT_FALSE(ofStill);
    EXPECT_EQ(still.coding, codingOf(33, 17));
    ASSERT_EQ(still.frames.size(), 1U);
    expectNear(still.frames[0], quarters(33, 17));
}

TEST_P(ConverterTest, AnimatesAGifFrameByFrame) {
    const auto [facts, multiImage] = converted("clip.gif", quartersGif(33, 17, {0, 1, 2}));
    EXPECT_TRUE(multiImage);
    EXPECT_EQ(facts.coding, codingOf(33, 17, ", alpha"));
    EXPECT_EQ(facts.repetitionCount, 2);
    EXPECT_THAT(facts.durations, ElementsAre(100U, 200U, 300U));
    ASSERT_EQ(facts.frames.size(), 3U);
    for (std::size_t shift = 0; shift < facts.frames.size(); ++shift) {
        SCOPED_TRACE(shift);
        const Image expected = makeImage(33, 17, [&](std::uint32_t x, std::uint32_t y) {
            return quarterColors[(quarterAt(x, y, 33, 17) + shift) % 4];
        });
        expectNear(facts.frames[shift], expected);
    }
}

TEST_P(ConverterTest, TakesTheFirstFrameOfAnAnimatedWebp) {
    WebpAnimation animation;
    animation.width = 48;
    animation.height = 32;
    for (const Image& image : {quarters(48, 32), makeImage(48, 32, {1, 2, 3, 255})}) {
        animation.frames.push_back({.still = writeWebp(image)});
    }
    const auto [facts, multiImage] = converted("clip.webp", writeWebpAnimation(animation));
    EXPECT_TRUE(multiImage);
    EXPECT_EQ(facts.coding, coding(48, 32));
    ASSERT_EQ(facts.frames.size(), 1U);
    expectNear(facts.frames[0], quarters(48, 32));
}

namespace {

/// Where processes wait for each other, so that they go on side by side.
class Gate {
public:
    Gate() {
        if (::pipe(ends_.data()) != 0) {
            throw std::runtime_error("no pipe");
        }
    }
    ~Gate() { ::close(ends_[0]); }
    Gate(const Gate&) = delete;
    Gate& operator=(const Gate&) = delete;

    /// Every process calls this once, the one that began the others as well; it returns when all have.
    void pass() {
        ::close(ends_[1]);
        char none = 0;
        EXPECT_EQ(::read(ends_[0], &none, 1), 0); // ends when nobody holds the other end any more
    }

private:
    std::array<int, 2> ends_{};
};

} // namespace

TEST(ConverterInSeveralProcesses, LosesNothingUnderOneName) {
    constexpr int processes = 4;
    constexpr int filesOfEach = 5;
    const auto colorOf = [](int process, int file) {
        const auto level = static_cast<std::uint8_t>(10 * (process * filesOfEach + file + 1));
        return Rgba{level, level, level, 255};
    };
    const TemporaryFolder sources;
    const TemporaryFolder results;
    results.write("photo.avif", "theirs");
    std::vector<std::string> names{"photo.avif"};
    Gate gate;
    std::vector<std::unique_ptr<ChildProcess>> children;
    for (int process = 0; process < processes; ++process) {
        children.push_back(std::make_unique<ChildProcess>([&, process] {
            std::vector<fs::path> files;
            for (int file = 0; file < filesOfEach; ++file) {
                const std::string folder = std::to_string(process) + "/" + std::to_string(file);
                files.push_back(
                    sources.write(folder + "/photo.png", writePng(pngOf(makeImage(16, 12, colorOf(process, file))))));
            }
            const bool withSystem = process % 2 == 1 && Converter::supported();
            const EncodingMode mode = withSystem ? EncodingMode::system : EncodingMode::efficient;
            gate.pass();
            std::vector<fs::path> found;
            for (const fs::path& file : files) {
                found.push_back(Converter::convert({file, ""}, results.path(), quality, mode, fastest).file);
            }
            for (int file = 0; file < filesOfEach; ++file) {
                expectPlain(avifFacts(found[static_cast<std::size_t>(file)]).frames.at(0), colorOf(process, file), 3);
            }
            return testing::Test::HasFailure() ? 1 : 0;
        }));
        for (int file = 0; file < filesOfEach; ++file) {
            names.push_back("photo-" + std::to_string(names.size() + 1) + ".avif");
        }
    }
    gate.pass();
    for (const std::unique_ptr<ChildProcess>& child : children) {
        EXPECT_EQ(child->wait(), 0);
    }
    EXPECT_THAT(results.listing(), testing::UnorderedElementsAreArray(names));
    EXPECT_EQ(contentOf(results / "photo.avif"), "theirs");
}

} // namespace ovrel::test
