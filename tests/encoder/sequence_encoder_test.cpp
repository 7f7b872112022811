#include "tests/encoder/outcome.h"
#include "tests/encoder/pictures.h"
#include "tests/support/avif_facts.h"
#include "tests/support/fake_image_source.h"
#include "tests/support/skip_outside_ci.h"
#include "tests/support/temporary_folder.h"

#include <avif/avif.h>
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

    const AvifFacts facts = avifFacts(file);
    EXPECT_EQ(facts.coding, "33x17, 8 bits, YUV420, full range, CICP 1/13/6, alpha");
    EXPECT_EQ(facts.timescale, 1000U);
    EXPECT_THAT(facts.durations, ElementsAre(1U, 40U, 2500U));
    EXPECT_EQ(facts.repetitionCount, 2);
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
        EXPECT_EQ(avifFacts(file).repetitionCount, count);
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

    const AvifFacts facts = avifFacts(file);
    ASSERT_EQ(facts.frames.size(), frames.size());
    for (std::size_t i = 0; i < frames.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(alphaOf(facts.frames[i]), alphaOf(frames[i]));
    }
}

TEST(SequenceEncoder, KeepsTheColoursOfEachFrame) {
    const TemporaryFolder folder;
    const fs::path file = folder / "animation.avif";
    const std::vector<Rgba> colors{{200, 100, 50, 255}, {20, 220, 120, 255}, {200, 100, 50, 128}};
    const Sequence sequence = createSequence(0, 90);
    for (const auto& [red, green, blue, alpha] : colors) {
        ASSERT_EQ(addFrame(sequence.get(), plainPicture(32, 32, red, green, blue, alpha), 50), "written");
    }
    ASSERT_EQ(finish(sequence.get(), file), "written");

    const AvifFacts facts = avifFacts(file);
    ASSERT_EQ(facts.frames.size(), colors.size());
    for (std::size_t i = 0; i < colors.size(); ++i) {
        SCOPED_TRACE(i);
        expectPlain(facts.frames[i], colors[i], 5);
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
    const AvifFacts facts = avifFacts(file);
    EXPECT_EQ(facts.width, 65535U);
    EXPECT_EQ(facts.height, 1U);
    EXPECT_EQ(facts.frames.size(), 2U);
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
        OVREL_SKIP_OUTSIDE_CI("this system has no /dev/full");
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
        const AvifFacts facts = avifFacts(folder / std::to_string(i));
        EXPECT_THAT(facts.durations, ElementsAre(10U, 20U));
        EXPECT_EQ(alphaOf(facts.frames.at(0)), alphaOf(frameOf(i, 0)));
        EXPECT_EQ(alphaOf(facts.frames.at(1)), alphaOf(frameOf(i, 1)));
    }
}

} // namespace

} // namespace ovrel::test
