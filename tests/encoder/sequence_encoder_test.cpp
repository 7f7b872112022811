#include "tests/encoder/decoded_avif.h"
#include "tests/encoder/outcome.h"
#include "tests/encoder/pictures.h"
#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <string>
#include <vector>

namespace ovrel::test {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

namespace fs = std::filesystem;

struct Destroy {
    void operator()(avif_sequence* sequence) const { avif_sequence_destroy(sequence); }
};
using Sequence = std::unique_ptr<avif_sequence, Destroy>;

Sequence createSequence(std::int32_t repetitionCount = 0, std::int32_t quality = 50, std::int32_t speed = 10) {
    Message message;
    Sequence sequence(avif_sequence_create(quality, speed, repetitionCount, message.data(), message.capacity()));
    EXPECT_EQ(message.text(), "untouched");
    EXPECT_NE(sequence, nullptr);
    return sequence;
}

TEST(SequenceEncoder, DescribesTheAnimationInTheFile) {
    const TemporaryFolder folder;
    const fs::path file = folder / "animation.avif";
    const Sequence sequence = createSequence(2);
    ASSERT_EQ(addFrame(sequence.get(), noisePicture(33, 17, 1), 1), "written");
    ASSERT_EQ(addFrame(sequence.get(), noisePicture(33, 17, 2), 40), "written");
    ASSERT_EQ(addFrame(sequence.get(), noisePicture(33, 17, 3), 2500), "written");
    ASSERT_EQ(finish(sequence.get(), file), "written");

    const DecodedAvif decoded(file);
    EXPECT_TRUE(decoded.decoder().alphaPresent);
    EXPECT_EQ(decoded.decoder().imageCount, 3);
    EXPECT_EQ(decoded.decoder().timescale, 1000U);
    EXPECT_EQ(decoded.decoder().durationInTimescales, 2541U);
    EXPECT_THAT(decoded.durations(), ElementsAre(1U, 40U, 2500U));
    EXPECT_EQ(decoded.decoder().repetitionCount, 2);
    EXPECT_EQ(decoded.image().width, 33U);
    EXPECT_EQ(decoded.image().height, 17U);
    EXPECT_EQ(decoded.image().depth, 8U);
    EXPECT_EQ(decoded.image().yuvFormat, AVIF_PIXEL_FORMAT_YUV420);
    EXPECT_EQ(decoded.image().yuvRange, AVIF_RANGE_FULL);
    EXPECT_EQ(decoded.image().colorPrimaries, 1);
    EXPECT_EQ(decoded.image().transferCharacteristics, 13);
    EXPECT_EQ(decoded.image().matrixCoefficients, 6);
    EXPECT_FALSE(decoded.image().alphaPremultiplied);
    EXPECT_EQ(decoded.image().icc.size, 0U);
}

TEST(SequenceEncoder, RepeatsAsOftenAsAsked) {
    const TemporaryFolder folder;
    const fs::path file = folder / "animation.avif";
    for (const std::int32_t count : {0, 1, 2, 1000, AVIF_REPETITION_COUNT_INFINITE}) {
        SCOPED_TRACE(count);
        const Sequence sequence = createSequence(count);
        ASSERT_EQ(addFrame(sequence.get(), plainPicture(16, 16, 255, 0, 0), 100), "written");
        ASSERT_EQ(addFrame(sequence.get(), plainPicture(16, 16, 0, 0, 255), 100), "written");
        ASSERT_EQ(finish(sequence.get(), file), "written");
        EXPECT_EQ(DecodedAvif(file).decoder().repetitionCount, count);
    }
}

TEST(SequenceEncoder, KeepsOrderAndAlphaOfItsFrames) {
    const TemporaryFolder folder;
    const fs::path file = folder / "animation.avif";
    const std::vector<Picture> frames{
        noisePicture(40, 30, 1),           plainPicture(40, 30, 0, 0, 0, 0), plainPicture(40, 30, 1, 2, 3, 255),
        plainPicture(40, 30, 9, 9, 9, 77), noisePicture(40, 30, 2),
    };
    const Sequence sequence = createSequence();
    for (const Picture& frame : frames) {
        ASSERT_EQ(addFrame(sequence.get(), frame, 20), "written");
    }
    ASSERT_EQ(finish(sequence.get(), file), "written");

    DecodedAvif decoded(file);
    ASSERT_EQ(decoded.decoder().imageCount, 5);
    for (std::uint32_t i = 0; i < 5; ++i) {
        SCOPED_TRACE(i);
        decoded.decodeFrame(i);
        EXPECT_EQ(decoded.alpha(), alphaOf(frames[i]));
    }
}

TEST(SequenceEncoder, KeepsTheColoursOfEachFrame) {
    struct Row {
        std::uint8_t red;
        std::uint8_t green;
        std::uint8_t blue;
        std::uint8_t alpha;
    };
    const TemporaryFolder folder;
    const fs::path file = folder / "animation.avif";
    const std::vector<Row> frames{{200, 100, 50, 255}, {20, 220, 120, 255}, {200, 100, 50, 128}};
    const Sequence sequence = createSequence(0, 90);
    for (const Row& row : frames) {
        ASSERT_EQ(addFrame(sequence.get(), plainPicture(32, 32, row.red, row.green, row.blue, row.alpha), 50),
                  "written");
    }
    ASSERT_EQ(finish(sequence.get(), file), "written");

    DecodedAvif decoded(file);
    for (std::uint32_t i = 0; i < frames.size(); ++i) {
        SCOPED_TRACE(i);
        decoded.decodeFrame(i);
        const std::vector<std::uint8_t> pixels = decoded.rgba();
        for (std::size_t j = 0; j < pixels.size(); j += 4) {
            ASSERT_NEAR(pixels[j], frames[i].red, 5);
            ASSERT_NEAR(pixels[j + 1], frames[i].green, 5);
            ASSERT_NEAR(pixels[j + 2], frames[i].blue, 5);
            ASSERT_EQ(pixels[j + 3], frames[i].alpha);
        }
    }
}

TEST(SequenceEncoder, AcceptsSidesUpTo65535) {
    struct Row {
        std::uint32_t width;
        std::uint32_t height;
        const char* outcome;
    };
    for (const Row& row : {
             Row{65535, 1, "written"},
             Row{65536, 1, "Invalid animation frame"},
             Row{1, 65535, "written"},
             Row{1, 65536, "Invalid animation frame"},
         }) {
        SCOPED_TRACE(std::to_string(row.width) + "x" + std::to_string(row.height));
        const Sequence sequence = createSequence();
        EXPECT_EQ(addFrame(sequence.get(), plainPicture(row.width, row.height, 10, 20, 30), 10), row.outcome);
    }
}

TEST(SequenceEncoder, WritesAnAnimationOfTheLongestSide) {
    const TemporaryFolder folder;
    const fs::path file = folder / "animation.avif";
    const Sequence sequence = createSequence();
    ASSERT_EQ(addFrame(sequence.get(), plainPicture(65535, 1, 10, 20, 30), 10), "written");
    ASSERT_EQ(addFrame(sequence.get(), plainPicture(65535, 1, 30, 20, 10), 10), "written");
    ASSERT_EQ(finish(sequence.get(), file), "written");
    const DecodedAvif decoded(file);
    EXPECT_EQ(decoded.image().width, 65535U);
    EXPECT_EQ(decoded.image().height, 1U);
    EXPECT_EQ(decoded.decoder().imageCount, 2);
}

TEST(SequenceEncoder, RefusesFramesThatAreNone) {
    struct Row {
        const char* why;
        bool hasSequence;
        bool hasPixels;
        std::uint32_t width;
        std::uint32_t height;
        std::uint64_t duration;
    };
    const Sequence sequence = createSequence();
    const std::vector<std::uint8_t> pixels(64);
    for (const Row& row : {
             Row{"no duration", true, true, 4, 4, 0},
             Row{"no sequence", false, true, 4, 4, 10},
             Row{"no pixels", true, false, 4, 4, 10},
             Row{"no width", true, true, 0, 4, 10},
             Row{"no height", true, true, 4, 0, 10},
             Row{"enormous", true, true, 0xffffffff, 0xffffffff, 10},
         }) {
        SCOPED_TRACE(row.why);
        Message message;
        EXPECT_FALSE(avif_sequence_add(row.hasSequence ? sequence.get() : nullptr,
                                       row.hasPixels ? pixels.data() : nullptr, row.width, row.height, row.duration,
                                       message.data(), message.capacity()));
        EXPECT_EQ(message.text(), "Invalid animation frame");
    }
    EXPECT_EQ(addFrame(sequence.get(), plainPicture(4, 4, 10, 20, 30), 10), "written");
}

TEST(SequenceEncoder, RefusesAFrameOfAnotherSize) {
    const Sequence sequence = createSequence();
    ASSERT_EQ(addFrame(sequence.get(), plainPicture(16, 16, 10, 20, 30), 10), "written");
    const std::string message = addFrame(sequence.get(), plainPicture(18, 16, 10, 20, 30), 10);
    EXPECT_NE(message, "written");
    EXPECT_THAT(message, testing::HasSubstr(": "));
}

TEST(SequenceEncoder, RefusesToFinishWithoutFrames) {
    const TemporaryFolder folder;
    const Sequence sequence = createSequence();
    EXPECT_THAT(finish(sequence.get(), folder / "animation.avif"),
                StartsWith(std::string(avifResultToString(AVIF_RESULT_NO_CONTENT)) + ": "));
    EXPECT_THAT(folder.listing(), IsEmpty());
}

TEST(SequenceEncoder, SaysThatAFileCannotBeCreated) {
    const TemporaryFolder folder;
    const Sequence sequence = createSequence();
    ASSERT_EQ(addFrame(sequence.get(), plainPicture(16, 16, 10, 20, 30), 10), "written");
    EXPECT_EQ(finish(sequence.get(), folder / "missing" / "animation.avif"), "Cannot create animation file");
    EXPECT_THAT(folder.listing(), IsEmpty());
}

TEST(SequenceEncoder, SaysThatAFileCannotBeFinishedOnAFullDevice) {
    if (!fs::exists("/dev/full")) {
        GTEST_SKIP() << "this system has no /dev/full";
    }
    for (const std::uint32_t side : {16U, 256U}) {
        SCOPED_TRACE(side);
        const Sequence sequence = createSequence(0, 100);
        ASSERT_EQ(addFrame(sequence.get(), noisePicture(side, side, 1), 10), "written");
        ASSERT_EQ(addFrame(sequence.get(), noisePicture(side, side, 2), 10), "written");
        EXPECT_EQ(finish(sequence.get(), "/dev/full"), "Cannot finish animation file");
    }
}

TEST(SequenceEncoder, CutsItsMessageToTheBuffer) {
    Message message;
    EXPECT_FALSE(avif_sequence_add(nullptr, nullptr, 1, 1, 1, message.data(), 8));
    EXPECT_EQ(message.text(), "Invalid");
    EXPECT_FALSE(avif_sequence_add(nullptr, nullptr, 1, 1, 1, nullptr, 0));

    Message ofFinish;
    const Sequence sequence = createSequence();
    EXPECT_FALSE(avif_sequence_finish(sequence.get(), "unused", ofFinish.data(), 3));
    EXPECT_EQ(ofFinish.text(), "No");
}

TEST(SequenceEncoder, DestroysNothingAsWellAsAnUnfinishedAnimation) {
    avif_sequence_destroy(nullptr);
    const Sequence withoutFrames = createSequence();
    const Sequence withFrame = createSequence();
    EXPECT_EQ(addFrame(withFrame.get(), plainPicture(16, 16, 10, 20, 30), 10), "written");
}

TEST(SequenceEncoder, EncodesSeveralAnimationsAtOnce) {
    const TemporaryFolder folder;
    const auto frameOf = [](std::uint32_t animation, std::uint32_t frame) {
        return noisePicture(24 + animation, 20, animation * 10 + frame);
    };
    std::vector<std::future<std::string>> outcomes;
    for (std::uint32_t i = 0; i < 4; ++i) {
        outcomes.push_back(std::async(std::launch::async, [&folder, &frameOf, i] {
            const Sequence sequence = createSequence();
            addFrame(sequence.get(), frameOf(i, 0), 10);
            addFrame(sequence.get(), frameOf(i, 1), 20);
            return finish(sequence.get(), folder / std::to_string(i));
        }));
    }
    for (std::uint32_t i = 0; i < 4; ++i) {
        SCOPED_TRACE(i);
        ASSERT_EQ(outcomes[i].get(), "written");
        DecodedAvif decoded(folder / std::to_string(i));
        EXPECT_THAT(decoded.durations(), ElementsAre(10U, 20U));
        EXPECT_EQ(decoded.alpha(), alphaOf(frameOf(i, 0)));
        decoded.decodeFrame(1);
        EXPECT_EQ(decoded.alpha(), alphaOf(frameOf(i, 1)));
    }
}

} // namespace

} // namespace ovrel::test
