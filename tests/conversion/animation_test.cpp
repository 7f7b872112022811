#include "conversion/animation.h"

#include "conversion/encoder_settings.h"
#include "tests/conversion/refusal.h"
#include "tests/support/avif_facts.h"
#include "tests/support/child_process.h"
#include "tests/support/fake_image_source.h"
#include "tests/support/memory_limit.h"
#include "tests/support/sanitizers.h"
#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <malloc.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace ovrel::test {

namespace {

constexpr double quality = 0.9;
constexpr int fastest = 10;

Image frame(std::uint8_t level, std::uint32_t width = 16, std::uint32_t height = 16) {
    return makeImage(width, height, {level, level, level, 255});
}

AvifFacts encoded(FakeImageSource& source) {
    const TemporaryFolder folder;
    encodeGIF(source, folder / "animation.avif", quality, fastest);
    return avifFacts(folder / "animation.avif");
}

Refusal refusal(FakeImageSource& source, const std::filesystem::path& file) {
    return refusalOf([&] { encodeGIF(source, file, quality, fastest); });
}

} // namespace

TEST(EncodeGIF, KeepsEveryFrameInOrder) {
    FakeImageSource source;
    source.add(frame(30), 0.1).add(frame(120), 0.1).add(frame(220), 0.1);
    const AvifFacts facts = encoded(source);
    ASSERT_EQ(facts.frames.size(), 3U);
    EXPECT_EQ(facts.timescale, 1000U);
    EXPECT_NEAR(pixelOf(facts.frames[0], 8, 8)[0], 30, 6);
    EXPECT_NEAR(pixelOf(facts.frames[1], 8, 8)[0], 120, 6);
    EXPECT_NEAR(pixelOf(facts.frames[2], 8, 8)[0], 220, 6);
}

TEST(EncodeGIF, TakesTheTimeOfAFrameInMilliseconds) {
    struct Case {
        std::optional<double> unclamped;
        std::optional<double> clamped;
        std::uint64_t milliseconds;
    };
    const double infinity = std::numeric_limits<double>::infinity();
    const std::vector<Case> cases{
        {0.25, {}, 250}, {0.0, {}, 100},   {0.0004, {}, 1},      {{}, {}, 100},
        {{}, 0.3, 300},  {0.02, 0.1, 20},  {-0.5, {}, 100},      {infinity, {}, 100},
        {0.0, 0.3, 100}, {0.0125, {}, 13}, {655.35, {}, 655350}, {std::nan(""), {}, 100},
    };
    FakeImageSource source;
    for (const Case& row : cases) {
        source.add(frame(100), row.unclamped);
        source.frames.back().properties.gifDelayTime = row.clamped;
    }
    const AvifFacts facts = encoded(source);
    ASSERT_EQ(facts.durations.size(), cases.size());
    for (std::size_t i = 0; i < cases.size(); ++i) {
        EXPECT_EQ(facts.durations[i], cases[i].milliseconds) << "frame " << i;
    }
}

TEST(EncodeGIF, CountsRepetitionsAfterTheFirstTime) {
    struct Case {
        std::optional<std::int64_t> loopCount;
        int repetitionCount;
    };
    for (const Case& row : std::vector<Case>{{{}, 0}, {0, -1}, {1, 0}, {3, 2}, {65535, 65534}}) {
        FakeImageSource source;
        source.add(frame(30), 0.1).add(frame(200), 0.1);
        source.loopCount = row.loopCount;
        EXPECT_EQ(encoded(source).repetitionCount, row.repetitionCount);
    }
}

TEST(EncodeGIF, RefusesAFrameOfAnotherSize) {
    const TemporaryFolder folder;
    FakeImageSource smaller;
    smaller.add(frame(1)).add(frame(2, 15, 16));
    EXPECT_EQ(refusal(smaller, folder / "a"),
              Refusal("Unable to prepare GIF frame 2", "Не удалось подготовить кадр GIF 2"));
    FakeImageSource taller;
    taller.add(frame(1)).add(frame(2)).add(frame(3, 16, 17));
    EXPECT_EQ(refusal(taller, folder / "a"),
              Refusal("Unable to prepare GIF frame 3", "Не удалось подготовить кадр GIF 3"));
    EXPECT_TRUE(folder.listing().empty());
}

TEST(EncodeGIF, RefusesAFrameThatCannotBeRead) {
    const TemporaryFolder folder;
    FakeImageSource source;
    source.add(frame(1)).add(frame(2));
    source.frames[1].image.reset();
    EXPECT_EQ(refusal(source, folder / "a"), Refusal("Unable to read GIF frame 2", "Не удалось прочитать кадр GIF 2"));
}

TEST(EncodeGIF, SaysForWhichFrameMemoryRanOut) {
    const TemporaryFolder folder;
    FakeImageSource source;
    source.add(frame(1)).add(frame(2)).add(frame(3));
    source.whenDecoded = [](std::size_t index) {
        if (index == 2) {
            throw std::bad_alloc();
        }
    };
    EXPECT_EQ(refusal(source, folder / "a"),
              Refusal("Unable to prepare GIF frame 3", "Не удалось подготовить кадр GIF 3"));
}

TEST(EncodeGIF, SaysWhichFrameTheEncoderRefused) {
    if (!canLimitMemory) {
        GTEST_SKIP() << "the sanitizer ends a process that gets no more memory";
    }
    const TemporaryFolder folder;
    ChildProcess child([&] {
        constexpr int smallBlock = 1 << 16;
        // Larger ones go back to the system, so that nothing is left of two frames for the third.
        ::mallopt(M_MMAP_THRESHOLD, smallBlock);
        ::mallopt(M_TRIM_THRESHOLD, smallBlock);
        constexpr std::uint32_t side = 1024;
        FakeImageSource source;
        source.add(frame(1, side, side)).add(frame(2, side, side)).add(frame(3, side, side));
        source.whenDecoded = [](std::size_t index) {
            if (index == 2) {
                leaveMemory(std::size_t{side} * side / 2); // half of what a plane takes
            }
        };
        const auto [english, russian] = refusal(source, folder / "a");
        const std::string prefix = "Frame 3: ";
        EXPECT_THAT(english, testing::StartsWith(prefix));
        const std::string ofEncoder = english.substr(std::min(prefix.size(), english.size()));
        EXPECT_NE(ofEncoder, "");
        EXPECT_EQ(russian, "Кадр 3: " + ofEncoder);
        return HasFailure() ? 1 : 0;
    });
    EXPECT_EQ(child.wait(), 0);
}

TEST(EncodeGIF, PassesOnWhatTheEncoderSaysOfAFrame) {
    const TemporaryFolder folder;
    FakeImageSource source;
    source.add(frame(1, 65536, 1)).add(frame(2, 65536, 1));
    EXPECT_EQ(refusal(source, folder / "a"),
              Refusal("Frame 1: Invalid animation frame", "Кадр 1: Invalid animation frame"));
}

TEST(EncodeGIF, PassesOnThatTheFileCannotBeCreated) {
    const TemporaryFolder folder;
    FakeImageSource source;
    source.add(frame(1)).add(frame(2));
    EXPECT_EQ(refusal(source, folder / "missing" / "a"),
              Refusal("Animation encoding failed: Cannot create animation file",
                      "Ошибка анимации: Cannot create animation file"));
}

TEST(EncoderQuality, RoundsHalfAwayFromZeroAndClamps) {
    EXPECT_EQ(encoderQuality(0.5), 50);
    EXPECT_EQ(encoderQuality(0.494), 49);
    EXPECT_EQ(encoderQuality(0.495), 50);
    EXPECT_EQ(encoderQuality(1.2), 100);
    EXPECT_EQ(encoderQuality(-0.3), 0);
    EXPECT_EQ(encoderQuality(0.0), 0);
    EXPECT_EQ(encoderQuality(1.0), 100);
}

TEST(EncoderQualityDeathTest, StopsTheProgramForWhatIsNoNumber) {
    EXPECT_DEATH(encoderQuality(std::nan("")), "quality is no number");
    EXPECT_DEATH(encoderQuality(std::numeric_limits<double>::infinity()), "quality is no number");
    EXPECT_DEATH(encoderQuality(1e300), "quality is no number");
}

} // namespace ovrel::test
