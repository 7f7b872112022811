#include "tests/encoder/avif_double.h"
#include "tests/encoder/outcome.h"
#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace ovrel::test {

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

avif_sequence* create(std::int32_t quality = 70, std::int32_t speed = 6, std::int32_t repetitionCount = 3) {
    Message message;
    avif_sequence* const sequence =
        avif_sequence_create(quality, speed, repetitionCount, message.data(), message.capacity());
    EXPECT_NE(sequence, nullptr);
    EXPECT_EQ(message.text(), "untouched");
    return sequence;
}

TEST(SequenceEncoderCalls, AreMadeInOrder) {
    const TemporaryFolder folder;
    AvifDouble avif;
    avif_sequence* const sequence = create();
    EXPECT_THAT(avif.calls, ElementsAre("avifEncoderCreate", "option tune=ssim", "option sharpness=0",
                                        "option color:denoise-noise-level=0"));
    for (int i = 0; i < 2; ++i) {
        avif.calls.clear();
        EXPECT_EQ(addFrame(sequence, blankPicture(3, 2), 40), "written");
        EXPECT_THAT(avif.calls,
                    ElementsAre("avifImageCreate 3x2, 8 bits, format " + std::to_string(AVIF_PIXEL_FORMAT_YUV420),
                                "avifRGBImageSetDefaults", "avifImageRGBToYUV", "avifEncoderAddImage",
                                "avifImageDestroy"));
    }
    avif.calls.clear();
    EXPECT_EQ(finish(sequence, folder / "animation.avif"), "written");
    EXPECT_THAT(avif.calls, ElementsAre("avifEncoderFinish", "avifRWDataFree"));
    EXPECT_EQ(contentOf(folder / "animation.avif"), "the file");

    avif.calls.clear();
    avif_sequence_destroy(sequence);
    avif_sequence_destroy(nullptr);
    EXPECT_THAT(avif.calls, ElementsAre("avifEncoderDestroy"));
}

TEST(SequenceEncoderCalls, ConfigureTheEncoder) {
    AvifDouble avif;
    avif_sequence* const sequence = create(70, 6, 3);
    EXPECT_EQ(addFrame(sequence, blankPicture(3, 2), 40), "written");
    avif_sequence_destroy(sequence);

    EXPECT_THAT(changes(avif.encoderAtWork),
                ElementsAre("codecChoice=" + std::to_string(AVIF_CODEC_CHOICE_AOM), "maxThreads=4", "speed=6",
                            "timescale=1000", "repetitionCount=3", "quality=70", "qualityAlpha=100"));
}

TEST(SequenceEncoderCalls, DescribeEachFrame) {
    AvifDouble avif;
    const Picture picture = blankPicture(3, 2);
    avif_sequence* const sequence = create();
    EXPECT_EQ(addFrame(sequence, picture, 0x1'0000'0000), "written");
    avif_sequence_destroy(sequence);

    EXPECT_EQ(avif.durationAtWork, 0x1'0000'0000U);
    EXPECT_EQ(avif.flagsAtWork, static_cast<avifAddImageFlags>(AVIF_ADD_IMAGE_FLAG_NONE));
    EXPECT_EQ(changes(avif.imageAtWork), srgbImage);
    ASSERT_EQ(avif.conversions.size(), 1U);
    const avifRGBImage& source = avif.conversions[0].source;
    EXPECT_EQ(changes(source), premultipliedRgba);
    EXPECT_EQ(source.pixels, picture.pixels.data());
    EXPECT_EQ(source.rowBytes, 12U);
}

TEST(SequenceEncoderCalls, TuneForSsimFromQuality50) {
    struct Row {
        std::int32_t quality;
        const char* option;
    };
    for (const Row& row : {Row{-1, "option tune=psnr"}, Row{0, "option tune=psnr"}, Row{49, "option tune=psnr"},
                           Row{50, "option tune=ssim"}, Row{100, "option tune=ssim"}}) {
        SCOPED_TRACE(row.quality);
        AvifDouble avif;
        avif_sequence_destroy(create(row.quality));
        EXPECT_THAT(avif.calls, Contains(row.option));
    }
}

TEST(SequenceEncoderCalls, PassAnyQualitySpeedAndCountOn) {
    AvifDouble avif;
    avif_sequence* const sequence = create(1000, -20, -1);
    EXPECT_EQ(addFrame(sequence, blankPicture(3, 2), 40), "written");
    avif_sequence_destroy(sequence);
    EXPECT_EQ(avif.encoderAtWork.quality, 1000);
    EXPECT_EQ(avif.encoderAtWork.speed, -20);
    EXPECT_EQ(avif.encoderAtWork.repetitionCount, -1);
}

TEST(SequenceEncoderCalls, UseOneToEightThreads) {
    struct Row {
        long processors;
        int maxThreads;
    };
    for (const Row& row : {Row{-1, 1}, Row{1, 1}, Row{2, 2}, Row{8, 8}, Row{12, 8}}) {
        SCOPED_TRACE(row.processors);
        AvifDouble avif;
        avif.processors = row.processors;
        avif_sequence* const sequence = create();
        EXPECT_EQ(addFrame(sequence, blankPicture(3, 2), 40), "written");
        avif_sequence_destroy(sequence);
        EXPECT_EQ(avif.encoderAtWork.maxThreads, row.maxThreads);
    }
}

TEST(SequenceEncoderCalls, CreateNothingAfterARefusal) {
    struct Row {
        const char* why;
        void (*arrange)(AvifDouble&);
        const char* message;
        std::vector<std::string> calls;
    };
    const Row rows[] = {
        {"no encoder",
         [](AvifDouble& avif) { avif.refusesEncoders = true; },
         "Cannot allocate animation encoder",
         {"avifEncoderCreate"}},
        {"first option",
         [](AvifDouble& avif) { avif.refusedOption = "tune"; },
         "invalid option",
         {"avifEncoderCreate", "option tune=ssim", "avifEncoderDestroy"}},
        {"second option",
         [](AvifDouble& avif) { avif.refusedOption = "sharpness"; },
         "invalid option",
         {"avifEncoderCreate", "option tune=ssim", "option sharpness=0", "avifEncoderDestroy"}},
        {"third option",
         [](AvifDouble& avif) { avif.refusedOption = "color:denoise-noise-level"; },
         "invalid option",
         {"avifEncoderCreate", "option tune=ssim", "option sharpness=0", "option color:denoise-noise-level=0",
          "avifEncoderDestroy"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        AvifDouble avif;
        avif.diagnosis = "what went wrong";
        row.arrange(avif);
        Message message;
        EXPECT_EQ(avif_sequence_create(70, 6, 3, message.data(), message.capacity()), nullptr);
        EXPECT_EQ(message.text(), row.message);
        EXPECT_EQ(avif.calls, row.calls);
    }
}

TEST(SequenceEncoderCalls, AllocateNothingForAnInvalidFrame) {
    struct Row {
        const char* why;
        std::uint32_t width;
        std::uint32_t height;
        std::uint64_t duration;
        bool hasPixels;
        bool hasSequence;
    };
    AvifDouble avif;
    avif_sequence* const sequence = create();
    const Picture picture = blankPicture(3, 2);
    for (const Row& row : {
             Row{"no duration", 3, 2, 0, true, true},
             Row{"no pixels", 3, 2, 40, false, true},
             Row{"no sequence", 3, 2, 40, true, false},
             Row{"no width", 0, 2, 40, true, true},
             Row{"no height", 3, 0, 40, true, true},
             Row{"width", 65536, 2, 40, true, true},
             Row{"height", 3, 65536, 40, true, true},
         }) {
        SCOPED_TRACE(row.why);
        avif.calls.clear();
        Message message;
        EXPECT_FALSE(avif_sequence_add(row.hasSequence ? sequence : nullptr,
                                       row.hasPixels ? picture.pixels.data() : nullptr, row.width, row.height,
                                       row.duration, message.data(), message.capacity()));
        EXPECT_EQ(message.text(), "Invalid animation frame");
        EXPECT_THAT(avif.calls, IsEmpty());
    }
    avif_sequence_destroy(sequence);
}

TEST(SequenceEncoderCalls, ReleaseTheFrameOnceAfterEachFailure) {
    struct Row {
        const char* why;
        void (*arrange)(AvifDouble&);
        const char* message;
        const char* lastCall;
    };
    for (const Row& row : {
             Row{"no image", [](AvifDouble& avif) { avif.refusesImages = true; }, "Cannot allocate animation frame",
                 "avifImageCreate 3x2, 8 bits, format 3"},
             Row{"conversion", [](AvifDouble& avif) { avif.ofConversion = AVIF_RESULT_REFORMAT_FAILED; },
                 "reformat failed: what went wrong", "avifImageDestroy"},
             Row{"add", [](AvifDouble& avif) { avif.ofAdd = AVIF_RESULT_ENCODE_COLOR_FAILED; },
                 "encode failed: what went wrong", "avifImageDestroy"},
         }) {
        SCOPED_TRACE(row.why);
        AvifDouble avif;
        avif.diagnosis = "what went wrong";
        avif_sequence* const sequence = create();
        row.arrange(avif);
        EXPECT_EQ(addFrame(sequence, blankPicture(3, 2), 40), row.message);
        EXPECT_EQ(avif.calls.back(), row.lastCall);
        EXPECT_THAT(avif.alive, ElementsAre(sequence));
        avif_sequence_destroy(sequence);
    }
}

TEST(SequenceEncoderCalls, ReleaseTheOutputOnceAfterEachFailure) {
    struct Row {
        const char* why;
        avifResult ofFinish;
        const char* file;
        const char* message;
    };
    for (const Row& row : {
             Row{"finish", AVIF_RESULT_NO_CONTENT, "animation.avif", "no content: what went wrong"},
             Row{"missing folder", AVIF_RESULT_OK, "missing/animation.avif", "Cannot create animation file"},
             Row{"full device", AVIF_RESULT_OK, "/dev/full", "Cannot finish animation file"},
         }) {
        SCOPED_TRACE(row.why);
        const TemporaryFolder folder;
        AvifDouble avif;
        avif.diagnosis = "what went wrong";
        avif.ofFinish = row.ofFinish;
        avif_sequence* const sequence = create();
        avif.calls.clear();
        EXPECT_EQ(finish(sequence, folder / row.file), row.message);
        EXPECT_THAT(avif.calls, ElementsAre("avifEncoderFinish", "avifRWDataFree"));
        EXPECT_THAT(avif.alive, ElementsAre(sequence));
        EXPECT_THAT(folder.listing(), IsEmpty());
        avif_sequence_destroy(sequence);
    }
}

TEST(SequenceEncoderCalls, ConvertALargeFrameInBands) {
    AvifDouble avif;
    avif_sequence* const sequence = create();
    EXPECT_EQ(addFrame(sequence, blankPicture(2000, 1101), 40), "written");
    EXPECT_GT(avif.conversions.size(), 1U);
    EXPECT_EQ(avif.planesReleased, 2); // colour and alpha of the frame, each once
    avif_sequence_destroy(sequence);
}

} // namespace

} // namespace ovrel::test
