#include "tests/encoder/avif_double.h"
#include "tests/encoder/outcome.h"
#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <condition_variable>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace ovrel::test {

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

TEST(StillEncoderCalls, AreMadeInOrder) {
    const TemporaryFolder folder;
    AvifDouble avif;
    ASSERT_EQ(encodeStill(blankPicture(3, 2), folder / "picture.avif", 70, 6), "written");
    EXPECT_THAT(avif.calls,
                ElementsAre("avifImageCreate 3x2, 8 bits, format " + std::to_string(AVIF_PIXEL_FORMAT_YUV420),
                            "avifEncoderCreate", "avifRGBImageSetDefaults", "avifImageRGBToYUV", "option tune=ssim",
                            "option sharpness=0", "option color:denoise-noise-level=0", "avifEncoderWrite",
                            "avifRWDataFree", "avifEncoderDestroy", "avifImageDestroy"));
    EXPECT_EQ(contentOf(folder / "picture.avif"), "the file");
}

TEST(StillEncoderCalls, ConfigureTheEncoder) {
    const TemporaryFolder folder;
    AvifDouble avif;
    ASSERT_EQ(encodeStill(blankPicture(3, 2), folder / "picture.avif", 70, 6), "written");

    EXPECT_THAT(changes(avif.encoderAtWork),
                ElementsAre("codecChoice=" + std::to_string(AVIF_CODEC_CHOICE_AOM), "maxThreads=4", "speed=6",
                            "quality=70", "qualityAlpha=100", "tileRowsLog2=0", "tileColsLog2=0"));
}

TEST(StillEncoderCalls, DescribeTheImageAndItsSource) {
    const TemporaryFolder folder;
    AvifDouble avif;
    const Picture picture = blankPicture(3, 2);
    ASSERT_EQ(encodeStill(picture, folder / "picture.avif"), "written");

    ASSERT_EQ(avif.conversions.size(), 1U);
    EXPECT_EQ(changes(avif.conversions[0].target), srgbImage);
    EXPECT_EQ(changes(avif.imageAtWork), srgbImage);
    const avifRGBImage& source = avif.conversions[0].source;
    EXPECT_EQ(changes(source), premultipliedRgba);
    EXPECT_EQ(source.width, 3U);
    EXPECT_EQ(source.height, 2U);
    EXPECT_EQ(source.pixels, picture.pixels.data());
    EXPECT_EQ(source.rowBytes, 12U);
}

TEST(StillEncoderCalls, TuneForSsimFromQuality50) {
    struct Row {
        std::int32_t quality;
        const char* option;
    };
    const TemporaryFolder folder;
    for (const Row& row : {Row{0, "option tune=psnr"}, Row{49, "option tune=psnr"}, Row{50, "option tune=ssim"},
                           Row{100, "option tune=ssim"}}) {
        SCOPED_TRACE(row.quality);
        AvifDouble avif;
        ASSERT_EQ(encodeStill(blankPicture(3, 2), folder / "picture.avif", row.quality), "written");
        EXPECT_THAT(avif.calls, Contains(row.option));
    }
}

TEST(StillEncoderCalls, UseOneToEightThreads) {
    struct Row {
        long processors;
        int maxThreads;
    };
    const TemporaryFolder folder;
    for (const Row& row :
         {Row{-1, 1}, Row{0, 1}, Row{1, 1}, Row{2, 2}, Row{8, 8}, Row{9, 8}, Row{12, 8}, Row{256, 8}}) {
        SCOPED_TRACE(row.processors);
        AvifDouble avif;
        avif.processors = row.processors;
        ASSERT_EQ(encodeStill(blankPicture(3, 2), folder / "picture.avif"), "written");
        EXPECT_EQ(avif.encoderAtWork.maxThreads, row.maxThreads);
    }
}

TEST(StillEncoderCalls, AllocateNothingForInvalidParameters) {
    struct Row {
        const char* why;
        bool hasPixels;
        std::uint32_t width;
        std::uint32_t height;
        std::int32_t quality;
        std::int32_t speed;
    };
    for (const Row& row : {
             Row{"quality", true, 3, 2, 101, 6},
             Row{"negative quality", true, 3, 2, -1, 6},
             Row{"speed", true, 3, 2, 50, 11},
             Row{"negative speed", true, 3, 2, 50, -1},
             Row{"width", true, 0x40000000, 2, 50, 6},
             Row{"no width", true, 0, 2, 50, 6},
             Row{"no height", true, 3, 0, 50, 6},
             Row{"no pixels", false, 3, 2, 50, 6},
         }) {
        SCOPED_TRACE(row.why);
        AvifDouble avif;
        const Picture picture = blankPicture(3, 2);
        Message message;
        EXPECT_FALSE(encode_avif_rgba(row.hasPixels ? picture.pixels.data() : nullptr, row.width, row.height,
                                      row.quality, row.speed, "unused", message.data(), message.capacity()));
        EXPECT_EQ(message.text(), "Invalid encoding parameters");
        EXPECT_THAT(avif.calls, IsEmpty());
    }
}

TEST(StillEncoderCalls, BoundTheWidthButNotTheHeight) {
    struct Row {
        std::uint32_t width;
        std::uint32_t height;
        const char* message;
    };
    const Picture picture = blankPicture(1, 1);
    for (const Row& row : {
             Row{0x3fffffff, 1, "Cannot allocate AVIF encoder"},
             Row{0x40000000, 1, "Invalid encoding parameters"},
             Row{1, 0x40000000, "Cannot allocate AVIF encoder"},
             Row{1, 0xffffffff, "Cannot allocate AVIF encoder"},
         }) {
        SCOPED_TRACE(std::to_string(row.width) + "x" + std::to_string(row.height));
        AvifDouble avif;
        avif.refusesImages = true; // ends what passes the check before any pixel is read
        Message message;
        EXPECT_FALSE(encode_avif_rgba(picture.pixels.data(), row.width, row.height, 50, 6, "unused", message.data(),
                                      message.capacity()));
        EXPECT_EQ(message.text(), row.message);
    }
}

TEST(StillEncoderCalls, ReleaseEverythingOnceAfterEachFailure) {
    struct Row {
        const char* why;
        void (*arrange)(AvifDouble&);
        const char* file;
        const char* message;
        std::vector<std::string> lastCalls;
    };
    const std::vector<std::string> releases{"avifRWDataFree", "avifEncoderDestroy", "avifImageDestroy"};
    const auto after = [&releases](const char* call) {
        std::vector<std::string> calls{call};
        calls.insert(calls.end(), releases.begin(), releases.end());
        return calls;
    };
    const Row rows[] = {
        {"no image",
         [](AvifDouble& avif) { avif.refusesImages = true; },
         "picture.avif",
         "Cannot allocate AVIF encoder",
         {"avifEncoderCreate", "avifEncoderDestroy"}},
        {"no encoder",
         [](AvifDouble& avif) { avif.refusesEncoders = true; },
         "picture.avif",
         "Cannot allocate AVIF encoder",
         {"avifEncoderCreate", "avifImageDestroy"}},
        {"neither",
         [](AvifDouble& avif) { avif.refusesImages = avif.refusesEncoders = true; },
         "picture.avif",
         "Cannot allocate AVIF encoder",
         {"avifEncoderCreate"}},
        {"conversion", [](AvifDouble& avif) { avif.ofConversion = AVIF_RESULT_REFORMAT_FAILED; }, "picture.avif",
         "reformat failed: what went wrong", after("avifImageRGBToYUV")},
        {"first option", [](AvifDouble& avif) { avif.refusedOption = "tune"; }, "picture.avif",
         "invalid option: what went wrong", after("option tune=ssim")},
        {"second option", [](AvifDouble& avif) { avif.refusedOption = "sharpness"; }, "picture.avif",
         "invalid option: what went wrong", after("option sharpness=0")},
        {"third option", [](AvifDouble& avif) { avif.refusedOption = "color:denoise-noise-level"; }, "picture.avif",
         "invalid option: what went wrong", after("option color:denoise-noise-level=0")},
        {"encode", [](AvifDouble& avif) { avif.ofWrite = AVIF_RESULT_ENCODE_COLOR_FAILED; }, "picture.avif",
         "encode failed: what went wrong", after("avifEncoderWrite")},
        {"missing folder", [](AvifDouble&) {}, "missing/picture.avif", "Cannot create output file",
         after("avifEncoderWrite")},
        {"full device", [](AvifDouble&) {}, "/dev/full", "Cannot finish output file", after("avifEncoderWrite")},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        const TemporaryFolder folder;
        AvifDouble avif;
        avif.diagnosis = "what went wrong";
        row.arrange(avif);
        EXPECT_EQ(encodeStill(blankPicture(3, 2), folder / row.file), row.message);
        ASSERT_GE(avif.calls.size(), row.lastCalls.size());
        const std::vector<std::string> lastCalls(avif.calls.end() - static_cast<std::ptrdiff_t>(row.lastCalls.size()),
                                                 avif.calls.end());
        EXPECT_EQ(lastCalls, row.lastCalls);
        EXPECT_THAT(avif.alive, IsEmpty());
        EXPECT_THAT(folder.listing(), IsEmpty());
    }
}

TEST(StillEncoderCalls, EndTheTextOfLibavifEvenWhenItSaysNothing) {
    AvifDouble avif;
    avif.ofWrite = AVIF_RESULT_ENCODE_COLOR_FAILED;
    EXPECT_EQ(encodeStill(blankPicture(3, 2), "unused"), "encode failed: ");
}

/// Bands in the order of their rows.
std::vector<Conversion> bandsOf(const AvifDouble& avif) {
    std::vector<Conversion> bands = avif.conversions;
    std::sort(bands.begin(), bands.end(),
              [](const Conversion& left, const Conversion& right) { return left.top < right.top; });
    return bands;
}

std::set<std::thread::id> threadsOf(const AvifDouble& avif) {
    std::set<std::thread::id> threads;
    for (const Conversion& conversion : avif.conversions) {
        threads.insert(conversion.thread);
    }
    return threads;
}

TEST(StillEncoderBands, CoverALargePictureOnce) {
    struct Row {
        std::uint32_t width;
        std::uint32_t height;
    };
    const TemporaryFolder folder;
    for (const Row& row : {Row{2000, 1101}, Row{1, 1'000'001}, Row{500'000, 5}, Row{777, 1024}}) {
        SCOPED_TRACE(std::to_string(row.width) + "x" + std::to_string(row.height));
        AvifDouble avif;
        const Picture picture = blankPicture(row.width, row.height);
        ASSERT_EQ(encodeStill(picture, folder / "picture.avif"), "written");

        const std::vector<Conversion> bands = bandsOf(avif);
        ASSERT_GT(bands.size(), 1U);
        std::uint32_t top = 0;
        for (const Conversion& band : bands) {
            ASSERT_EQ(band.top, top);
            ASSERT_EQ(band.top % 2, 0U);
            ASSERT_EQ(band.target.width, row.width);
            ASSERT_EQ(band.source.width, row.width);
            ASSERT_EQ(band.source.height, band.target.height);
            ASSERT_EQ(band.source.rowBytes, row.width * 4);
            ASSERT_EQ(band.source.pixels, picture.pixels.data() + std::size_t{top} * row.width * 4);
            ASSERT_TRUE(band.source.alphaPremultiplied);
            ASSERT_FALSE(band.target.imageOwnsYUVPlanes);
            ASSERT_FALSE(band.target.imageOwnsAlphaPlane);
            top += band.target.height;
        }
        EXPECT_EQ(top, row.height);
    }
}

TEST(StillEncoderBands, LeaveThePlanesToTheImage) {
    const TemporaryFolder folder;
    AvifDouble avif;
    ASSERT_EQ(encodeStill(blankPicture(2000, 1101), folder / "picture.avif"), "written");
    EXPECT_TRUE(avif.imageAtWork.imageOwnsYUVPlanes);
    EXPECT_TRUE(avif.imageAtWork.imageOwnsAlphaPlane);
    EXPECT_EQ(avif.planesReleased, 2); // colour and alpha, each once
    EXPECT_THAT(avif.calls, Contains("avifImageAllocatePlanes").Times(1));
}

TEST(StillEncoderBands, StayOnTheCallingThreadOfOneProcessor) {
    const TemporaryFolder folder;
    AvifDouble avif;
    avif.processors = 1;
    ASSERT_EQ(encodeStill(blankPicture(2000, 1101), folder / "picture.avif"), "written");
    EXPECT_THAT(threadsOf(avif), ElementsAre(std::this_thread::get_id()));
}

/// Holds the first threads until so many have come.
class Meeting {
public:
    explicit Meeting(std::size_t size) : size_(size) {}

    void attend() {
        std::unique_lock lock(mutex_);
        threads_.insert(std::this_thread::get_id());
        complete_.notify_all();
        complete_.wait(lock, [this] { return threads_.size() >= size_; });
    }

    std::size_t threads() const { return threads_.size(); }

private:
    const std::size_t size_;
    std::set<std::thread::id> threads_;
    std::mutex mutex_;
    std::condition_variable complete_;
};

TEST(StillEncoderBands, AreConvertedSideBySideOnUpToEightThreads) {
    struct Row {
        long processors;
        std::size_t threads;
    };
    const TemporaryFolder folder;
    for (const Row& row : {Row{2, 2}, Row{5, 5}, Row{8, 8}, Row{12, 8}}) {
        SCOPED_TRACE(row.processors);
        AvifDouble avif;
        avif.processors = row.processors;
        Meeting meeting(row.threads);
        avif.duringConversion = [&meeting] { meeting.attend(); };
        ASSERT_EQ(encodeStill(blankPicture(2000, 1101), folder / "picture.avif"), "written");
        EXPECT_EQ(meeting.threads(), row.threads);
        EXPECT_THAT(threadsOf(avif), Contains(std::this_thread::get_id()));
    }
}

TEST(StillEncoderBands, ReleaseEverythingOnceAfterEachFailure) {
    struct Row {
        const char* why;
        void (*arrange)(AvifDouble&);
        const char* message;
        int planesReleased;
    };
    for (const Row& row : {
             Row{"allocation", [](AvifDouble& avif) { avif.ofAllocation = AVIF_RESULT_OUT_OF_MEMORY; },
                 "out of memory: what went wrong", 0},
             Row{"no view", [](AvifDouble& avif) { avif.refusesEmptyImages = true; }, "out of memory: what went wrong",
                 2},
             Row{"view", [](AvifDouble& avif) { avif.ofView = AVIF_RESULT_NO_CONTENT; }, "no content: what went wrong",
                 2},
             Row{"conversion", [](AvifDouble& avif) { avif.ofConversion = AVIF_RESULT_REFORMAT_FAILED; },
                 "reformat failed: what went wrong", 2},
         }) {
        SCOPED_TRACE(row.why);
        AvifDouble avif;
        avif.diagnosis = "what went wrong";
        row.arrange(avif);
        EXPECT_EQ(encodeStill(blankPicture(2000, 1101), "unused"), row.message);
        EXPECT_EQ(avif.planesReleased, row.planesReleased);
        EXPECT_THAT(avif.alive, IsEmpty());
        EXPECT_THAT(avif.calls, Not(Contains("avifEncoderWrite")));
    }
}

TEST(StillEncoderBands, StopAfterTheFirstFailure) {
    AvifDouble avif;
    avif.processors = 1;
    avif.ofConversion = AVIF_RESULT_REFORMAT_FAILED;
    EXPECT_EQ(encodeStill(blankPicture(2000, 1101), "unused"), "reformat failed: ");
    EXPECT_EQ(avif.conversions.size(), 1U);
}

} // namespace

} // namespace ovrel::test
