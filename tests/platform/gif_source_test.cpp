#include "platform/linux/decoders.h"
#include "tests/support/damaged_files.h"
#include "tests/support/fake_image_source.h"
#include "tests/support/gif_writer.h"
#include "tests/support/memory_file.h"
#include "tests/support/peak_memory.h"
#include "tests/support/sanitizers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <map>
#include <new>
#include <random>
#include <utility>

namespace ovrel::test {
namespace {

/// A picture as rows of letters.
using Drawing = std::vector<std::string>;

/// The letters of a palette's entries; '.' is an index of its own that a control extension makes transparent.
const std::string letters = "RGBWK.";
constexpr std::uint8_t dot = 5;
const GifPalette colors{{255, 0, 0}, {0, 255, 0}, {0, 0, 255}, {255, 255, 255}, {0, 0, 0}, {9, 9, 9}};

Drawing drawn(const Image& image) {
    const std::map<Rgba, char> letterOf{{{255, 0, 0, 255}, 'R'},     {{0, 255, 0, 255}, 'G'}, {{0, 0, 255, 255}, 'B'},
                                        {{255, 255, 255, 255}, 'W'}, {{0, 0, 0, 255}, 'K'},   {{0, 0, 0, 0}, '.'}};
    Drawing rows(image.height);
    for (std::uint32_t y = 0; y < image.height; ++y) {
        for (std::uint32_t x = 0; x < image.width; ++x) {
            const auto letter = letterOf.find(pixelOf(image, x, y));
            rows[y] += letter == letterOf.end() ? '?' : letter->second;
        }
    }
    return rows;
}

enum Disposal : std::uint8_t { unspecified = 0, keep = 1, background = 2, previous = 3, previousInDrafts = 4 };

/// A frame that shows `rows` at a place.
GifFrameBlock frame(std::uint16_t left, std::uint16_t top, const Drawing& rows, std::uint8_t disposal = keep) {
    GifFrameBlock block;
    block.left = left;
    block.top = top;
    block.width = static_cast<std::uint16_t>(rows.front().size());
    block.height = static_cast<std::uint16_t>(rows.size());
    for (const std::string& row : rows) {
        for (const char letter : row) {
            block.pixels.push_back(static_cast<std::uint8_t>(letters.find(letter)));
        }
    }
    block.control = GifControl{10, disposal, dot};
    return block;
}

std::string animation(std::uint16_t width, std::uint16_t height, std::vector<GifFrameBlock> frames) {
    return writeGif({width, height, colors, std::nullopt, std::move(frames)});
}

std::unique_ptr<ImageSource> open(const std::string& file) {
    return openGif(memoryFile(file));
}

Drawing decoded(ImageSource& source, std::size_t index) {
    const std::optional<Image> image = source.decode(index);
    return image ? drawn(*image) : Drawing{"not decoded"};
}

std::vector<Drawing> allDecoded(const std::string& file) {
    const std::unique_ptr<ImageSource> source = open(file);
    std::vector<Drawing> frames;
    for (std::size_t index = 0; source && index < source->count(); ++index) {
        frames.push_back(decoded(*source, index));
    }
    return frames;
}

using Frames = std::vector<Drawing>;

// Facts

TEST(GifSource, StatesTheCanvasOfEveryFrame) {
    const auto source = open(animation(4, 3, {frame(0, 0, {"R"}), frame(1, 1, {"GG"})}));
    ASSERT_TRUE(source);
    EXPECT_EQ(source->format(), ImageFormat::gif);
    ASSERT_EQ(source->count(), 2U);
    for (std::size_t index = 0; index < 2; ++index) {
        EXPECT_EQ(source->properties(index).pixelWidth, 4U);
        EXPECT_EQ(source->properties(index).pixelHeight, 3U);
        EXPECT_EQ(source->properties(index).orientation, 1);
    }
}

TEST(GifSource, StatesDelaysAsStored) {
    std::vector<GifFrameBlock> frames;
    for (const std::uint16_t hundredths : std::vector<std::uint16_t>{0, 1, 2, 10, 65535}) {
        frames.push_back(frame(0, 0, {"R"}));
        frames.back().control->delayHundredths = hundredths;
    }
    const auto source = open(animation(1, 1, frames));
    ASSERT_TRUE(source);
    ASSERT_EQ(source->count(), 5U);
    EXPECT_EQ(source->properties(0).gifUnclampedDelayTime, 0.0);
    EXPECT_EQ(source->properties(1).gifUnclampedDelayTime, 0.01);
    EXPECT_EQ(source->properties(2).gifUnclampedDelayTime, 0.02);
    EXPECT_EQ(source->properties(3).gifUnclampedDelayTime, 0.1);
    EXPECT_EQ(source->properties(4).gifUnclampedDelayTime, 655.35);
    EXPECT_EQ(source->properties(0).gifDelayTime, std::nullopt);
}

TEST(GifSource, StatesNoDelayOfAFrameWithoutControlExtension) {
    std::vector<GifFrameBlock> frames{frame(0, 0, {"R"}), frame(0, 0, {"G"})};
    frames[1].control.reset();
    const auto source = open(animation(1, 1, frames));
    ASSERT_TRUE(source);
    EXPECT_EQ(source->properties(0).gifUnclampedDelayTime, 0.1);
    EXPECT_EQ(source->properties(1).gifUnclampedDelayTime, std::nullopt);
}

TEST(GifSource, TakesTheLastOfSeveralControlExtensions) {
    GifFrameBlock late = frame(0, 0, {"G"});
    late.control->delayHundredths = 70;
    const std::string control = gifFrame(late, colors.size()).substr(0, 8);
    const auto source = open(gifHeader(1, 1, colors) + control + gifFrame(frame(0, 0, {"R"}), colors.size()) + ";");
    ASSERT_TRUE(source);
    EXPECT_EQ(source->properties(0).gifUnclampedDelayTime, 0.1);
}

TEST(GifSource, IgnoresAControlExtensionOfAnotherSize) {
    GifFrameBlock plain = frame(0, 0, {"R"});
    plain.control.reset();
    const std::string threeBytes("!\xF9\x03\x09\x07\x00\x00", 7);
    const auto source = open(gifHeader(1, 1, colors) + threeBytes + gifFrame(plain, colors.size()) + ";");
    ASSERT_TRUE(source);
    EXPECT_EQ(source->properties(0).gifUnclampedDelayTime, std::nullopt);
    EXPECT_EQ(decoded(*source, 0), Drawing{"R"});
}

TEST(GifSource, StatesTheLoopCountAsStored) {
    for (const std::string_view application : {"NETSCAPE2.0", "ANIMEXTS1.0"}) {
        for (const std::uint16_t count : std::vector<std::uint16_t>{0, 1, 3, 256, 65535}) {
            SCOPED_TRACE(std::string(application) + " " + std::to_string(count));
            const auto source = open(writeGif({1, 1, colors, GifLoop{count, application}, {frame(0, 0, {"R"})}}));
            ASSERT_TRUE(source);
            EXPECT_EQ(source->gifLoopCount(), count);
        }
    }
}

TEST(GifSource, StatesNoLoopCountWhereTheFileHasNone) {
    const std::string image = gifFrame(frame(0, 0, {"R"}), colors.size()) + ";";
    const std::string one("\x01\x05\x00", 3);
    const std::map<std::string, std::string> extensions{
        {"none", ""},
        {"another application", gifApplication("XMP DataXMP", one)},
        {"a name that is too short", gifApplication("NETSCAPE2.", one)},
        {"another sub-block", gifApplication("NETSCAPE2.0", std::string("\x02\x05\x00\x00\x00", 5))},
        {"a sub-block that is too short", gifApplication("NETSCAPE2.0", std::string("\x01\x05", 2))},
        {"a comment", std::string("!\xFE\x0BNETSCAPE2.0\x03\x01\x05\x00\x00", 19)},
    };
    for (const auto& [name, extension] : extensions) {
        SCOPED_TRACE(name);
        std::string file = gifHeader(1, 1, colors);
        file += extension;
        file += image;
        const auto source = open(file);
        ASSERT_TRUE(source);
        EXPECT_EQ(source->gifLoopCount(), std::nullopt);
        EXPECT_EQ(decoded(*source, 0), Drawing{"R"});
    }
}

TEST(GifSource, TakesTheFirstOfSeveralLoopCounts) {
    const std::string image = gifFrame(frame(0, 0, {"R"}), colors.size());
    const auto source = open(gifHeader(1, 1, colors) + gifLoop({2}) + image + gifLoop({7}) + image + ";");
    ASSERT_TRUE(source);
    EXPECT_EQ(source->gifLoopCount(), 2);
    EXPECT_EQ(source->count(), 2U);
}

// What is shown

TEST(GifSource, LeavesWhatNoFramePaintedTransparent) {
    EXPECT_EQ(allDecoded(animation(4, 3, {frame(1, 1, {"RG"})})), Frames({{"....", ".RG.", "...."}}));
}

TEST(GifSource, KeepsWhatStandsUnderTransparentPixels) {
    EXPECT_EQ(allDecoded(animation(4, 2, {frame(0, 0, {"RRRR", "GGGG"}), frame(0, 0, {".B.B", "B..."})})),
              Frames({{"RRRR", "GGGG"}, {"RBRB", "BGGG"}}));
}

TEST(GifSource, ShowsAFrameThatIsAllTransparent) {
    EXPECT_EQ(allDecoded(animation(2, 1, {frame(0, 0, {".."}), frame(0, 0, {"R."}), frame(0, 0, {".."})})),
              Frames({{".."}, {"R."}, {"R."}}));
}

TEST(GifSource, KeepsTheFrameBeforeWithKeptOrUnspecifiedDisposal) {
    for (const std::uint8_t disposal : {unspecified, keep, Disposal{5}, Disposal{6}, Disposal{7}}) {
        SCOPED_TRACE(int{disposal});
        EXPECT_EQ(allDecoded(animation(4, 3,
                                       {frame(0, 0, {"RRRR", "RRRR", "RRRR"}, disposal), frame(1, 1, {"GG"}, disposal),
                                        frame(2, 2, {"BB"}, disposal)})),
                  Frames({{"RRRR", "RRRR", "RRRR"}, {"RRRR", "RGGR", "RRRR"}, {"RRRR", "RGGR", "RRBB"}}));
    }
}

TEST(GifSource, ClearsTheAreaOfAFrameWithBackgroundDisposal) {
    EXPECT_EQ(
        allDecoded(animation(4, 3,
                             {frame(0, 0, {"RRRR", "RRRR", "RRRR"}), frame(1, 0, {"G.", "GG"}, background),
                              frame(3, 2, {"B"}, background), frame(0, 2, {"W"})})),
        Frames(
            {{"RRRR", "RRRR", "RRRR"}, {"RGRR", "RGGR", "RRRR"}, {"R..R", "R..R", "RRRB"}, {"R..R", "R..R", "WRR."}}));
}

TEST(GifSource, BringsBackWhatStoodUnderAFrameWithPreviousDisposal) {
    for (const std::uint8_t disposal : {previous, previousInDrafts}) {
        SCOPED_TRACE(int{disposal});
        EXPECT_EQ(allDecoded(animation(4, 3,
                                       {frame(0, 0, {"RRR.", "RRR.", "...."}), frame(1, 0, {"GGG", "GGG"}, disposal),
                                        frame(2, 1, {"B.", "BB"}, disposal), frame(3, 2, {"W"})})),
                  Frames({{"RRR.", "RRR.", "...."},
                          {"RGGG", "RGGG", "...."},
                          {"RRR.", "RRB.", "..BB"},
                          {"RRR.", "RRR.", "...W"}}));
    }
}

TEST(GifSource, ClearsAFirstFrameWithPreviousDisposal) {
    EXPECT_EQ(allDecoded(animation(3, 2, {frame(0, 0, {"RRR", "RRR"}, previous), frame(1, 1, {"G"})})),
              Frames({{"RRR", "RRR"}, {"...", ".G."}}));
}

TEST(GifSource, BringsBackTheAreaThatAnEarlierFrameCleared) {
    EXPECT_EQ(allDecoded(animation(3, 1,
                                   {frame(0, 0, {"RRR"}), frame(0, 0, {"GG"}, background),
                                    frame(0, 0, {"BBB"}, previous), frame(2, 0, {"W"})})),
              Frames({{"RRR"}, {"GGR"}, {"BBB"}, {"..W"}}));
}

TEST(GifSource, GivesAControlExtensionToOneFrameOnly) {
    std::vector<GifFrameBlock> frames{frame(0, 0, {"RR"}, background), frame(1, 0, {"G"}), frame(0, 0, {"B"})};
    frames[1].control.reset();
    EXPECT_EQ(allDecoded(animation(2, 1, frames)), Frames({{"RR"}, {".G"}, {"BG"}}));
}

TEST(GifSource, TakesColorsFromTheLocalPaletteWhereThereIsOne) {
    GifFrameBlock local = frame(1, 0, {"RG"});
    local.palette = {{0, 0, 255}, {255, 255, 255}};
    local.control->transparentIndex.reset();
    EXPECT_EQ(allDecoded(animation(3, 1, {frame(0, 0, {"RRR"}), local, frame(2, 0, {"R"})})),
              Frames({{"RRR"}, {"RBW"}, {"RBR"}}));
}

TEST(GifSource, ShowsALocalPaletteWithoutAGlobalOne) {
    GifFrameBlock local = frame(0, 0, {"RG"});
    local.palette = colors;
    EXPECT_EQ(allDecoded(writeGif({2, 1, {}, std::nullopt, {local}})), Frames({{"RG"}}));
}

TEST(GifSource, ShowsBlackWhereThereIsNoPaletteAtAll) {
    GifFrameBlock plain = frame(0, 0, {"RG."});
    plain.imageData = gifImageData(plain.pixels, 3);
    EXPECT_EQ(allDecoded(writeGif({3, 1, {}, std::nullopt, {plain}})), Frames({{"KK."}}));
}

TEST(GifSource, DoesNotPaintIndicesOutsideOfThePalette) {
    GifFrameBlock odd = frame(0, 0, {"GG"});
    odd.palette = {{255, 0, 0}, {0, 255, 0}};
    odd.control.reset();
    odd.imageData = gifImageData({1, 7}, 3);
    EXPECT_EQ(allDecoded(animation(2, 1, {frame(0, 0, {"BB"}), odd})), Frames({{"BB"}, {"GB"}}));
}

TEST(GifSource, AcceptsATransparentIndexOutsideOfThePalette) {
    GifFrameBlock odd = frame(0, 0, {"RG"});
    odd.control->transparentIndex = 200;
    EXPECT_EQ(allDecoded(animation(2, 1, {odd})), Frames({{"RG"}}));
}

TEST(GifSource, PutsInterlacedRowsInTheirPlaces) {
    for (std::uint16_t height = 1; height <= 20; ++height) {
        SCOPED_TRACE(height);
        Drawing rows;
        for (std::uint16_t y = 0; y < height; ++y) {
            rows.push_back(std::string(1, letters[y % 5]) + letters[(y / 5) % 5]);
        }
        GifFrameBlock interlaced = frame(0, 0, rows);
        interlaced.interlaced = true;
        EXPECT_EQ(allDecoded(animation(2, height, {interlaced})), Frames({rows}));
    }
}

// The canvas

TEST(GifSource, EnlargesTheCanvasToHoldTheFirstFrame) {
    EXPECT_EQ(allDecoded(animation(2, 2, {frame(1, 1, {"RG", "BW"})})), Frames({{"...", ".RG", ".BW"}}));
    EXPECT_EQ(allDecoded(animation(3, 1, {frame(0, 0, {"R", "G"})})), Frames({{"R..", "G.."}}));
    EXPECT_EQ(allDecoded(animation(0, 0, {frame(0, 0, {"RG"})})), Frames({{"RG"}}));
}

TEST(GifSource, CutsLaterFramesAtTheCanvas) {
    EXPECT_EQ(allDecoded(animation(3, 2,
                                   {frame(0, 0, {"R"}), frame(2, 1, {"GB", "WK"}), frame(0, 1, {"BBBB", "WWWW"}),
                                    frame(3, 0, {"W"}), frame(0, 2, {"W"}), frame(65535, 65535, {"W"})})),
              Frames({{"R..", "..."}, {"R..", "..G"}, {"R..", "BBB"}, {"R..", "BBB"}, {"R..", "BBB"}, {"R..", "BBB"}}));
}

TEST(GifSource, CutsInterlacedFramesAtTheCanvas) {
    GifFrameBlock tall = frame(1, 1, {"RG", "GG", "BG", "WG", "KG", "RG", "GG", "BG", "WG", "KG"});
    tall.interlaced = true;
    EXPECT_EQ(allDecoded(animation(2, 4, {frame(0, 0, {"K"}), tall})),
              Frames({{"K.", "..", "..", ".."}, {"K.", ".R", ".G", ".B"}}));
}

TEST(GifSource, ShowsTheSameOfAFrameHoweverMuchOfItLiesOnTheCanvas) {
    constexpr std::uint16_t width = 23;
    constexpr std::uint16_t height = 37;
    std::mt19937 random(11);
    Drawing rows(height);
    for (std::string& row : rows) {
        while (row.size() < width) { // runs, so that codes stand for many pixels and reach across rows
            row += std::string(1 + random() % 40, letters[random() % 5]);
        }
        row.resize(width);
    }
    for (const bool interlaced : {false, true}) {
        GifFrameBlock large = frame(0, 0, rows);
        large.interlaced = interlaced;
        for (const std::uint16_t visibleWidth : std::initializer_list<std::uint16_t>{1, 2, 9, width}) {
            for (std::uint16_t visibleHeight = 1; visibleHeight <= height; ++visibleHeight) {
                SCOPED_TRACE(testing::Message() << visibleWidth << " x " << visibleHeight << ' ' << interlaced);
                Drawing visible(rows.begin(), rows.begin() + visibleHeight);
                for (std::string& row : visible) {
                    row.resize(visibleWidth);
                }
                const Drawing first(visibleHeight, std::string(visibleWidth, 'K'));
                EXPECT_EQ(allDecoded(animation(visibleWidth, visibleHeight, {frame(0, 0, first), large})),
                          Frames({first, visible}));
            }
        }
    }
}

TEST(GifSource, ClearsAndBringsBackOnlyWhatLiesOnTheCanvas) {
    EXPECT_EQ(allDecoded(animation(2, 2,
                                   {frame(0, 0, {"RR", "RR"}), frame(1, 1, {"GG", "GG"}, background),
                                    frame(0, 1, {"BBB", "BBB"}, previous), frame(0, 0, {"W"})})),
              Frames({{"RR", "RR"}, {"RR", "RG"}, {"RR", "BB"}, {"WR", "R."}}));
}

TEST(GifSource, ShowsNothingOfAFrameWithoutArea) {
    GifFrameBlock flat;
    flat.left = 1;
    flat.width = 3;
    EXPECT_EQ(allDecoded(animation(2, 1, {frame(0, 0, {"RG"}), flat})), Frames({{"RG"}, {"RG"}}));
}

TEST(GifSource, StatesAZeroSizeOfACanvasWithoutArea) {
    GifFrameBlock flat;
    flat.width = 2;
    const auto source = open(animation(5, 0, {flat}));
    ASSERT_TRUE(source);
    EXPECT_EQ(source->properties(0).pixelWidth, 5U);
    EXPECT_EQ(source->properties(0).pixelHeight, 0U);
    EXPECT_FALSE(source->decode(0));
}

// The order of decoding

TEST(GifSource, DecodesFramesInAnyOrder) {
    const auto source = open(animation(
        3, 1,
        {frame(0, 0, {"RRR"}), frame(0, 0, {"G"}, background), frame(1, 0, {"B"}, previous), frame(2, 0, {"W"})}));
    ASSERT_TRUE(source);
    const std::vector<Drawing> expected{{"RRR"}, {"GRR"}, {".BR"}, {".RW"}};
    for (const std::size_t index : {3U, 0U, 0U, 2U, 2U, 1U, 3U, 3U, 1U, 2U, 0U, 3U}) {
        EXPECT_EQ(decoded(*source, index), expected[index]) << index;
    }
}

TEST(GifSource, HandsOutFramesThatStayAsTheyWere) {
    const auto source = open(animation(2, 1, {frame(0, 0, {"RR"}), frame(0, 0, {"G"}), frame(1, 0, {"B"})}));
    ASSERT_TRUE(source);
    const std::optional<Image> first = source->decode(0);
    const std::optional<Image> last = source->decode(2);
    ASSERT_TRUE(first && last);
    EXPECT_EQ(drawn(*first), Drawing{"RR"});
    EXPECT_EQ(drawn(*last), Drawing{"GB"});
    EXPECT_EQ(first->layout, PixelLayout::rgba8);
    EXPECT_EQ(first->colorSpace, ColorSpace());
}

// The data of an image

/// Packs codes of the widths that a decoder expects when every code but the first defines another one.
class CodePacker {
public:
    explicit CodePacker(unsigned codeSize) : codeSize_(codeSize) { restart(); }

    CodePacker& code(unsigned code) {
        bits_ |= std::uint64_t{code} << bitCount_;
        bitCount_ += width_;
        for (; bitCount_ >= 8; bitCount_ -= 8, bits_ >>= 8) {
            data_ += static_cast<char>(bits_ & 0xFF);
        }
        next_ += first_ || next_ == 4096 ? 0 : 1;
        first_ = false;
        width_ += next_ == 1U << width_ && width_ < 12 ? 1 : 0;
        return *this;
    }
    CodePacker& clear() {
        code(1U << codeSize_);
        restart();
        return *this;
    }
    CodePacker& end() { return code((1U << codeSize_) + 1); }

    /// Code size, sub-blocks and terminator.
    std::string imageData() const {
        const std::string all = bitCount_ == 0 ? data_ : data_ + static_cast<char>(bits_);
        std::string blocks(1, static_cast<char>(codeSize_));
        for (std::size_t at = 0; at < all.size(); at += 255) {
            const std::string block = all.substr(at, 255);
            blocks += static_cast<char>(block.size()) + block;
        }
        return blocks + '\0';
    }

private:
    void restart() {
        next_ = (1U << codeSize_) + 2;
        width_ = codeSize_ + 1;
        first_ = true;
    }

    unsigned codeSize_;
    unsigned width_ = 0;
    unsigned next_ = 0;
    bool first_ = true;
    std::uint64_t bits_ = 0;
    unsigned bitCount_ = 0;
    std::string data_;
};

GifFrameBlock frameOf(std::uint16_t width, std::uint16_t height, std::string imageData) {
    GifFrameBlock block;
    block.width = width;
    block.height = height;
    block.imageData = std::move(imageData);
    return block;
}

TEST(GifSource, DecodesEveryCodeSize) {
    for (unsigned codeSize = 2; codeSize <= 11; ++codeSize) {
        SCOPED_TRACE(codeSize);
        const std::string data = CodePacker(codeSize).clear().code(0).code(1).code(2).code(3).end().imageData();
        EXPECT_EQ(allDecoded(animation(2, 2, {frameOf(2, 2, data)})), Frames({{"RG", "BW"}}));
    }
}

TEST(GifSource, CannotReadAFrameWithACodeSizeThatNoGifHas) {
    const auto source = open(animation(
        2, 1, {frame(0, 0, {"RR"}), frameOf(2, 1, std::string("\x0C\x02\x00\x00\x00", 5)), frame(1, 0, {"G"})}));
    ASSERT_TRUE(source);
    EXPECT_EQ(source->count(), 3U);
    EXPECT_FALSE(source->decode(1));
    EXPECT_EQ(decoded(*source, 2), Drawing{"RG"});
}

TEST(GifSource, DecodesWithoutClearAndEndCodes) {
    const std::string data = CodePacker(2).code(0).code(1).code(2).code(3).imageData();
    EXPECT_EQ(allDecoded(animation(2, 2, {frameOf(2, 2, data)})), Frames({{"RG", "BW"}}));
}

TEST(GifSource, DecodesClearCodesAnywhere) {
    const std::string data =
        CodePacker(2).clear().clear().code(0).clear().code(1).code(2).clear().code(3).end().imageData();
    EXPECT_EQ(allDecoded(animation(2, 2, {frameOf(2, 2, data)})), Frames({{"RG", "BW"}}));
}

TEST(GifSource, DecodesACodeThatIsDefinedByItself) {
    // 6 is defined as R and its own first pixel, 7 as 6 and its own.
    const std::string data = CodePacker(2).clear().code(0).code(6).code(7).end().imageData();
    EXPECT_EQ(allDecoded(animation(3, 2, {frameOf(3, 2, data)})), Frames({{"RRR", "RRR"}}));
}

TEST(GifSource, DecodesOnWithAFullTableOfCodes) {
    constexpr std::uint16_t side = 80; // 6400 codes, where 4096 fit
    CodePacker packer(8);
    packer.clear();
    std::mt19937 random(3);
    Drawing expected(side);
    for (std::string& row : expected) {
        for (unsigned x = 0; x < side; ++x) {
            const auto index = static_cast<unsigned>(random() % 5);
            row += letters[index];
            packer.code(index);
        }
    }
    EXPECT_EQ(allDecoded(animation(side, side, {frameOf(side, side, packer.end().imageData())})), Frames({expected}));
}

TEST(GifSource, DecodesWhatGiflibCompresses) {
    constexpr std::uint16_t side = 200;
    std::mt19937 random(5);
    GifContent content{side, side, GifPalette(256), std::nullopt, {GifFrameBlock()}};
    for (GifColor& color : content.palette) {
        color = {static_cast<std::uint8_t>(random()), static_cast<std::uint8_t>(random()),
                 static_cast<std::uint8_t>(random())};
    }
    GifFrameBlock& block = content.frames.front();
    block.width = side;
    block.height = side;
    for (unsigned i = 0; i < side * side; ++i) {
        block.pixels.push_back(static_cast<std::uint8_t>(i / 97 + random() % 3));
    }
    const auto source = open(writeGif(content));
    ASSERT_TRUE(source);
    const std::optional<Image> image = source->decode(0);
    ASSERT_TRUE(image);
    for (std::uint32_t i = 0; i < block.pixels.size(); ++i) {
        const GifColor& color = content.palette[block.pixels[i]];
        ASSERT_EQ(pixelOf(*image, i % side, i / side), (Rgba{color.red, color.green, color.blue, 255})) << i;
    }
}

TEST(GifSource, LeavesPixelsUnpaintedThatNeverCame) {
    GifFrameBlock shortFrame = frame(0, 0, {"GGG", "GGG"});
    shortFrame.pixels.resize(4);
    EXPECT_EQ(allDecoded(animation(3, 2, {shortFrame})), Frames({{"GGG", "G.."}}));
    EXPECT_EQ(allDecoded(animation(3, 2, {frame(0, 0, {"RRR", "RRR"}), shortFrame, frame(0, 1, {"B"})})),
              Frames({{"RRR", "RRR"}, {"GGG", "GRR"}, {"GGG", "BRR"}}));
}

TEST(GifSource, AcceptsAFrameWithoutAnyPixels) {
    const std::string onlyEnd = CodePacker(2).clear().end().imageData();
    for (const std::string& data : {std::string("\x02\x00", 2), onlyEnd}) {
        EXPECT_EQ(allDecoded(animation(2, 1, {frame(0, 0, {"RG"}), frameOf(2, 1, data), frame(0, 0, {"B"})})),
                  Frames({{"RG"}, {"RG"}, {"BG"}}));
    }
}

TEST(GifSource, IgnoresPixelsBeyondTheFrame) {
    EXPECT_EQ(allDecoded(animation(2, 2, {frameOf(2, 1, gifImageData({0, 1, 2, 2, 2}, 3)), frame(0, 1, {"W"})})),
              Frames({{"RG", ".."}, {"RG", "W."}}));
}

TEST(GifSource, ShowsWhatCameBeforeADamagedCode) {
    const std::string data = CodePacker(2).clear().code(0).code(1).code(2).code(14).code(3).end().imageData();
    EXPECT_EQ(allDecoded(animation(2, 3, {frameOf(2, 3, data), frame(0, 2, {"W"})})),
              Frames({{"RG", "B.", ".."}, {"RG", "B.", "W."}}));
}

TEST(GifSource, CannotReadAFrameWhoseFirstCodeIsDamaged) {
    for (const unsigned code : {6U, 7U}) {
        SCOPED_TRACE(code);
        const std::string data = CodePacker(2).code(code).code(0).imageData();
        const auto source = open(animation(2, 1, {frame(0, 0, {"RR"}), frameOf(2, 1, data), frame(1, 0, {"G"})}));
        ASSERT_TRUE(source);
        EXPECT_EQ(decoded(*source, 0), Drawing{"RR"});
        EXPECT_FALSE(source->decode(1));
        EXPECT_EQ(decoded(*source, 2), Drawing{"RG"});
    }
}

// The structure of the file

TEST(GifSource, NeedsNoTrailer) {
    EXPECT_EQ(allDecoded(writeGif({2, 1, colors, std::nullopt, {frame(0, 0, {"RG"})}, false})), Frames({{"RG"}}));
}

TEST(GifSource, ReadsFilesOfVersion87a) {
    GifFrameBlock plain = frame(0, 0, {"RG"});
    plain.control.reset();
    std::string file = animation(2, 1, {plain});
    file[4] = '7';
    EXPECT_EQ(allDecoded(file), Frames({{"RG"}}));
}

TEST(GifSource, IgnoresWhatFollowsTheTrailer) {
    const std::string file = animation(2, 1, {frame(0, 0, {"RG"})});
    EXPECT_EQ(allDecoded(file + file), Frames({{"RG"}}));
    EXPECT_EQ(allDecoded(file + ",!\xF9"), Frames({{"RG"}}));
}

TEST(GifSource, TakesAByteThatBeginsNoBlockForTheEnd) {
    const std::string image = gifFrame(frame(0, 0, {"RG"}), colors.size());
    EXPECT_EQ(allDecoded(gifHeader(2, 1, colors) + image + "x" + image + ";"), Frames({{"RG"}}));
}

TEST(GifSource, PassesOverDoubledTerminators) {
    const std::string first = gifFrame(frame(0, 0, {"RG"}), colors.size());
    const std::string second = gifFrame(frame(0, 0, {"B"}), colors.size());
    EXPECT_EQ(allDecoded(gifHeader(2, 1, colors) + first + std::string(3, '\0') + second + ";"),
              Frames({{"RG"}, {"BG"}}));
}

TEST(GifSource, PassesOverOtherExtensions) {
    const std::string comment("!\xFE\x05hello\x03you\x00", 13);
    const std::string empty("!\xFE\x00", 3);
    const std::string plainText = std::string("!\x01\x0C", 3) + std::string(12, '\1') + std::string("\x02hi\x00", 4);
    GifFrameBlock late = frame(0, 0, {"B."});
    const std::string block = gifFrame(late, colors.size());
    const std::string control = block.substr(0, 8);
    const std::string image = block.substr(8);
    EXPECT_EQ(allDecoded(gifHeader(2, 1, colors) + comment + gifFrame(frame(0, 0, {"RG"}), colors.size()) + empty +
                         control + plainText + comment + image + plainText + ";"),
              Frames({{"RG"}, {"BG"}}));
}

TEST(GifSource, RefusesAFileThatEndsBeforeItsFirstImageDoes) {
    GifFrameBlock local = frame(0, 0, {"RG"});
    local.palette = colors;
    const std::string file = animation(2, 1, {local});
    const std::size_t headerBytes = 13 + 3 * 8;
    const std::size_t imageBytes = 8 + 10 + 3 * 8 + 1; // control, descriptor, palette and code size
    for (std::size_t size = 0; size < headerBytes + imageBytes; ++size) {
        EXPECT_FALSE(open(file.substr(0, size))) << size;
    }
    EXPECT_FALSE(open(gifHeader(2, 1, colors) + ";"));
}

TEST(GifSource, ShowsWhatCameOfAnOnlyFrameThatIsCutOff) {
    constexpr std::uint16_t side = 12;
    std::mt19937 random(7);
    Drawing whole(side);
    std::string wanted;
    for (std::string& row : whole) {
        for (unsigned x = 0; x < side; ++x) {
            row += letters[random() % 5];
        }
        wanted += row;
    }
    const std::string file = gifHeader(side, side, colors) + gifFrame(frame(0, 0, whole), colors.size());
    const std::size_t codeSizeEnd = 13 + 3 * 8 + 8 + 10 + 1;
    std::size_t cameBefore = 0;
    for (std::size_t size = codeSizeEnd; size < file.size(); ++size) {
        SCOPED_TRACE(size);
        const auto source = open(file.substr(0, size));
        ASSERT_TRUE(source);
        ASSERT_EQ(source->count(), 1U);
        EXPECT_EQ(source->properties(0).pixelWidth, side);
        const std::optional<Image> image = source->decode(0);
        std::string shown;
        for (const std::string& row : image ? drawn(*image) : Drawing{std::string(wanted.size(), '.')}) {
            shown += row;
        }
        const std::size_t came = std::min(shown.find('.'), wanted.size());
        EXPECT_EQ(shown, wanted.substr(0, came) + std::string(wanted.size() - came, '.'));
        EXPECT_EQ(image.has_value(), came != 0);
        EXPECT_GE(came, cameBefore);
        cameBefore = came;
    }
    EXPECT_EQ(cameBefore, wanted.size()) << "only the terminator is missing";
}

TEST(GifSource, CannotShowAnOnlyFrameThatIsCutOffBeforeItsFirstPixel) {
    std::string onlyEnd = gifHeader(2, 1, colors) + gifFrame(frameOf(2, 1, CodePacker(2).clear().end().imageData()), 8);
    onlyEnd.pop_back();
    std::string flat = gifHeader(2, 1, colors) + gifFrame(frameOf(0, 1, std::string("\x02\x00", 2)), 8);
    flat.pop_back();
    for (const std::string& file : {onlyEnd, flat}) {
        const auto source = open(file);
        ASSERT_TRUE(source);
        EXPECT_EQ(source->count(), 1U);
        EXPECT_FALSE(source->decode(0));
    }
}

TEST(GifSource, DoesNotCountALaterFrameOfWhichPixelsAreMissing) {
    GifFrameBlock flat;
    flat.width = 2;
    const std::string first = gifHeader(2, 1, colors) + gifFrame(frame(0, 0, {"RG"}), colors.size());
    const std::string before = gifFrame(frame(0, 0, {"BW"}), colors.size());
    const std::string odd("\x0C\x02\x00\x00", 4); // a code size that no GIF has
    for (const std::string& last : {before.substr(0, before.size() - 3), gifFrame(flat, colors.size()).substr(0, 11),
                                    gifFrame(frameOf(2, 1, odd), colors.size())}) {
        for (std::size_t size = 0; size <= last.size(); ++size) {
            SCOPED_TRACE(size);
            EXPECT_EQ(allDecoded(first + last.substr(0, size)), Frames({{"RG"}}));
        }
    }
}

TEST(GifSource, CountsALaterFrameThatLacksOnlyTheEndOfItsData) {
    const std::string first = gifHeader(2, 2, colors) + gifFrame(frame(0, 0, {"RG"}), colors.size());
    const Drawing whole{"BW", "RK"};
    for (const bool interlaced : {false, true}) {
        GifFrameBlock block = frame(0, 0, whole);
        block.interlaced = interlaced;
        const std::string last = gifFrame(block, colors.size());
        for (const std::string& kept : {last, last.substr(0, last.size() - 1)}) {
            EXPECT_EQ(allDecoded(first + kept), Frames({{"RG", ".."}, whole}));
        }
    }
    // A sub-block that states one more byte than came.
    const std::string data = CodePacker(2).clear().code(2).code(3).code(0).code(1).imageData();
    std::string unfilled = gifFrame(frameOf(2, 2, data), colors.size());
    const std::size_t blockSize = unfilled.size() - data.size() + 1;
    ++unfilled[blockSize];
    unfilled.pop_back();
    EXPECT_EQ(allDecoded(first + unfilled), Frames({{"RG", ".."}, {"BW", "RG"}}));
}

// Bounds

TEST(GifSource, SpendsNoMemoryOnAHugeEmptyCanvas) {
    constexpr std::uint64_t little = std::uint64_t{256} << 20; // the address sanitizer needs some for itself
    const std::string file = animation(65535, 65535, {frame(0, 0, {"R"}), frame(9, 9, {"G"}, background)});
    const std::uint64_t taken = peakMemoryOf([&] {
        const auto source = open(file);
        ASSERT_TRUE(source);
        EXPECT_EQ(source->properties(0).pixelWidth, 65535U);
        EXPECT_EQ(source->properties(0).pixelHeight, 65535U);
        try {
            for (std::size_t index = 0; index < source->count(); ++index) {
                const std::optional<Image> image = source->decode(index);
                ASSERT_TRUE(image);
                EXPECT_EQ(pixelOf(*image, 0, 0), (Rgba{255, 0, 0, 255}));
                EXPECT_EQ(pixelOf(*image, 65534, 65534), Rgba{});
            }
        } catch (const std::bad_alloc&) {
            // So it is refused on most computers.
        }
    });
    EXPECT_LT(taken, little);
}

TEST(GifSource, SpendsNextToNoMemoryOnAFrame) {
    constexpr std::size_t count = 200'000;
    constexpr std::size_t mostBytesPerFrame = canLimitMemory ? 100 : 1000; // sanitizers keep freed memory
    GifFrameBlock local = frame(0, 0, {"R"});
    local.palette = colors;
    const std::string one = gifFrame(local, colors.size());
    std::string file = gifHeader(1, 1, colors);
    for (std::size_t i = 0; i < count; ++i) {
        file += one;
    }
    InputFile input = memoryFile(file);
    const std::uint64_t taken = peakMemoryOf([&] {
        const auto source = openGif(std::move(input));
        ASSERT_TRUE(source);
        EXPECT_EQ(source->count(), count);
        EXPECT_EQ(decoded(*source, count - 1), Drawing{"R"});
    });
    EXPECT_LT(taken, mostBytesPerFrame * count);
}

/// A file with some of everything.
std::string richFile() {
    GifFrameBlock interlaced = frame(1, 0, {"RG.", "BWK", "GGG", "RRR", "WWW"}, previous);
    interlaced.interlaced = true;
    GifFrameBlock local = frame(0, 2, {"GB", "RG"}, background);
    local.palette = {{255, 255, 255}, {0, 0, 0}, {255, 0, 0}, {0, 0, 255}};
    return writeGif({5,
                     4,
                     colors,
                     GifLoop{3},
                     {frame(0, 0, {"RRRRR", "GGGGG", "BBBBB", "WWWWW"}), interlaced, local, frame(4, 3, {"K"})}});
}

TEST(GifSource, SurvivesTruncation) {
    expectToSurviveTruncation(richFile(), openGif);
}

TEST(GifSource, SurvivesFlippedBits) {
    expectToSurviveBitFlips(richFile(), openGif, 1000);
}

} // namespace
} // namespace ovrel::test
