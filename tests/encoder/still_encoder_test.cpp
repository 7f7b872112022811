#include "tests/encoder/outcome.h"
#include "tests/encoder/pictures.h"
#include "tests/support/avif_facts.h"
#include "tests/support/fake_image_source.h"
#include "tests/support/skip_outside_ci.h"
#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <future>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace ovrel::test {

namespace {

using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

namespace fs = std::filesystem;

constexpr auto refusal = "Invalid encoding parameters";

Image decodedPicture(const fs::path& file) {
    return std::move(avifFacts(file).frames.at(0));
}

double meanDifference(const Image& left, const Picture& right) {
    EXPECT_EQ(left.samples.size(), right.pixels.size());
    double sum = 0;
    for (std::size_t i = 0; i < std::min(left.samples.size(), right.pixels.size()); ++i) {
        sum += std::abs(left.samples.data()[i] - right.pixels[i]);
    }
    return sum / static_cast<double>(right.pixels.size());
}

TEST(StillEncoder, DescribesThePictureInTheFile) {
    const TemporaryFolder folder;
    const fs::path file = folder / "picture.avif";
    ASSERT_EQ(encodeStill(noisePicture(33, 17, 1), file), "written");

    const AvifFacts facts = avifFacts(file);
    EXPECT_EQ(facts.coding, "33x17, 8 bits, YUV420, full range, CICP 1/13/6, alpha");
    EXPECT_EQ(facts.frames.size(), 1U);
}

TEST(StillEncoder, KeepsAlphaOfAnyQualityExactly) {
    const TemporaryFolder folder;
    const fs::path file = folder / "picture.avif";
    for (const std::int32_t quality : {0, 49, 50, 100}) {
        SCOPED_TRACE(quality);
        const Picture picture = noisePicture(61, 47, 2);
        ASSERT_EQ(encodeStill(picture, file, quality), "written");
        EXPECT_EQ(alphaOf(decodedPicture(file)), alphaOf(picture));
    }
}

TEST(StillEncoder, KeepsTheColoursOfAnOpaquePicture) {
    struct Row {
        std::int32_t quality;
        double allowedDifference; // of 255, mean over all samples
    };
    const TemporaryFolder folder;
    const fs::path file = folder / "picture.avif";
    for (const Row& row : {Row{100, 1.0}, Row{90, 1.5}, Row{50, 4.0}}) {
        SCOPED_TRACE(row.quality);
        const Picture picture = gradientPicture(96, 64);
        ASSERT_EQ(encodeStill(picture, file, row.quality, 6), "written");
        EXPECT_LE(meanDifference(decodedPicture(file), picture), row.allowedDifference);
    }
}

TEST(StillEncoder, StoresStraightColourBesideAlpha) {
    const TemporaryFolder folder;
    const fs::path file = folder / "picture.avif";
    ASSERT_EQ(encodeStill(plainPicture(32, 32, 200, 100, 50, 128), file, 100), "written");

    expectPlain(decodedPicture(file), {200, 100, 50, 128}, 4);
}

TEST(StillEncoder, EncodesAFullyTransparentPicture) {
    const TemporaryFolder folder;
    const fs::path file = folder / "picture.avif";
    const Picture picture = plainPicture(20, 10, 0, 0, 0, 0);
    ASSERT_EQ(encodeStill(picture, file), "written");
    EXPECT_THAT(alphaOf(decodedPicture(file)), AllOf(testing::SizeIs(200), Each(0)));
}

TEST(StillEncoder, EncodesEverySize) {
    struct Row {
        std::uint32_t width;
        std::uint32_t height;
    };
    const TemporaryFolder folder;
    const fs::path file = folder / "picture.avif";
    for (const Row& row : {Row{1, 1}, Row{2, 1}, Row{1, 2}, Row{3, 5}, Row{255, 3}, Row{1, 1000}, Row{1023, 769}}) {
        SCOPED_TRACE(std::to_string(row.width) + "x" + std::to_string(row.height));
        const Picture picture = noisePicture(row.width, row.height, 3);
        ASSERT_EQ(encodeStill(picture, file), "written");
        const Image decoded = decodedPicture(file);
        EXPECT_EQ(decoded.width, row.width);
        EXPECT_EQ(decoded.height, row.height);
        EXPECT_EQ(alphaOf(decoded), alphaOf(picture));
    }
}

TEST(StillEncoder, AcceptsQualityAndSpeedUpToTheirLimits) {
    struct Row {
        std::int32_t quality;
        std::int32_t speed;
        const char* outcome;
    };
    constexpr std::int32_t least = std::numeric_limits<std::int32_t>::min();
    constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max();
    const Picture picture = plainPicture(8, 8, 10, 20, 30);
    for (const Row& row : {
             Row{0, 0, "written"},
             Row{0, 10, "written"},
             Row{100, 0, "written"},
             Row{100, 10, "written"},
             Row{101, 10, refusal},
             Row{-1, 10, refusal},
             Row{least, 10, refusal},
             Row{most, 10, refusal},
             Row{100, 11, refusal},
             Row{100, -1, refusal},
             Row{100, least, refusal},
             Row{100, most, refusal},
         }) {
        SCOPED_TRACE("quality " + std::to_string(row.quality) + ", speed " + std::to_string(row.speed));
        const TemporaryFolder folder;
        EXPECT_EQ(encodeStill(picture, folder / "picture.avif", row.quality, row.speed), row.outcome);
        EXPECT_EQ(folder.listing().size(), row.outcome == refusal ? 0U : 1U);
    }
}

TEST(StillEncoder, RefusesPicturesWithoutPixelsAndTooWideOnes) {
    struct Row {
        const std::uint8_t* pixels;
        std::uint32_t width;
        std::uint32_t height;
    };
    const std::vector<std::uint8_t> pixels(64);
    const TemporaryFolder folder;
    for (const Row& row : {
             Row{nullptr, 4, 4},
             Row{pixels.data(), 0, 4},
             Row{pixels.data(), 4, 0},
             Row{pixels.data(), 0x40000000, 1},
             Row{pixels.data(), 0xffffffff, 1},
         }) {
        SCOPED_TRACE(std::to_string(row.width) + "x" + std::to_string(row.height));
        Message message;
        EXPECT_FALSE(encode_avif_rgba(row.pixels, row.width, row.height, 50, 10, (folder / "picture.avif").c_str(),
                                      message.data(), message.capacity()));
        EXPECT_EQ(message.text(), refusal);
    }
    EXPECT_THAT(folder.listing(), IsEmpty());
}

TEST(StillEncoder, CutsItsMessageToTheBuffer) {
    struct Row {
        std::size_t capacity;
        std::string text;
    };
    for (const Row& row : {Row{1, ""}, Row{2, "I"}, Row{8, "Invalid"}, Row{27, "Invalid encoding parameter"},
                           Row{28, "Invalid encoding parameters"}, Row{0, "untouched"}}) {
        SCOPED_TRACE(row.capacity);
        Message message;
        EXPECT_FALSE(encode_avif_rgba(nullptr, 1, 1, 50, 10, "unused", message.data(), row.capacity));
        EXPECT_EQ(message.text(), row.text);
        EXPECT_TRUE(std::all_of(message.data() + row.capacity, message.data() + message.capacity(),
                                [](char byte) { return byte == '~'; }));
    }
    EXPECT_FALSE(encode_avif_rgba(nullptr, 1, 1, 50, 10, "unused", nullptr, 0));
}

TEST(StillEncoder, ReplacesTheContentOfAnExistingFile) {
    const TemporaryFolder folder;
    const fs::path file = folder.write("picture.avif", std::string(100'000, 'x'));
    ASSERT_EQ(encodeStill(plainPicture(8, 8, 10, 20, 30), file), "written");
    EXPECT_LT(fs::file_size(file), 100'000U);
    EXPECT_EQ(decodedPicture(file).width, 8U);
}

TEST(StillEncoder, SaysThatAFileCannotBeCreated) {
    const TemporaryFolder folder;
    EXPECT_EQ(encodeStill(plainPicture(8, 8, 10, 20, 30), folder / "missing" / "picture.avif"),
              "Cannot create output file");
    EXPECT_EQ(encodeStill(plainPicture(8, 8, 10, 20, 30), folder.path()), "Cannot create output file");
    EXPECT_THAT(folder.listing(), IsEmpty());
}

TEST(StillEncoder, SaysThatAFileCannotBeFinishedOnAFullDevice) {
    if (!fs::exists("/dev/full")) {
        OVREL_SKIP_OUTSIDE_CI("this system has no /dev/full");
    }
    // One file fits into the buffer of the stream and fails when closed, the other fails when written.
    EXPECT_EQ(encodeStill(plainPicture(8, 8, 10, 20, 30), "/dev/full"), "Cannot finish output file");
    EXPECT_EQ(encodeStill(noisePicture(256, 256, 4), "/dev/full", 100), "Cannot finish output file");
}

TEST(StillEncoder, EncodesOnSeveralThreadsAtOnce) {
    const TemporaryFolder folder;
    std::vector<std::future<std::string>> outcomes;
    const auto pictureOf = [](std::uint32_t i) { return noisePicture(40 + i, 30, i); };
    for (std::uint32_t i = 0; i < 6; ++i) {
        outcomes.push_back(std::async(std::launch::async, [&folder, &pictureOf, i] {
            return encodeStill(pictureOf(i), folder / std::to_string(i), 50, 8);
        }));
    }
    for (std::uint32_t i = 0; i < 6; ++i) {
        SCOPED_TRACE(i);
        ASSERT_EQ(outcomes[i].get(), "written");
        EXPECT_EQ(alphaOf(decodedPicture(folder / std::to_string(i))), alphaOf(pictureOf(i)));
    }
    EXPECT_THAT(folder.listing(), ElementsAre("0", "1", "2", "3", "4", "5"));
}

} // namespace

} // namespace ovrel::test
