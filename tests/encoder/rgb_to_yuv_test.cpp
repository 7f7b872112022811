#include "encoder/rgb_to_yuv.h"

#include "encoder/avif_handles.h"
#include "tests/encoder/pictures.h"

#include <gtest/gtest.h>

#include <pthread.h>

#include <cstddef>
#include <initializer_list>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

namespace ovrel::test {

namespace {

ImageHandle emptyImage(const Picture& picture) {
    ImageHandle image(avifImageCreate(picture.width, picture.height, 8, AVIF_PIXEL_FORMAT_YUV420));
    image->colorPrimaries = AVIF_COLOR_PRIMARIES_BT709;
    image->transferCharacteristics = AVIF_TRANSFER_CHARACTERISTICS_SRGB;
    image->matrixCoefficients = AVIF_MATRIX_COEFFICIENTS_BT601;
    image->yuvRange = AVIF_RANGE_FULL;
    return image;
}

avifRGBImage sourceOf(Picture& picture, const avifImage& image) {
    avifRGBImage source{};
    avifRGBImageSetDefaults(&source, &image);
    source.pixels = picture.pixels.data();
    source.rowBytes = picture.width * 4;
    source.format = AVIF_RGB_FORMAT_RGBA;
    source.alphaPremultiplied = AVIF_TRUE;
    return source;
}

/// Tightly packed rows of one plane.
std::vector<std::uint8_t> planeOf(const avifImage& image, avifChannelIndex channel) {
    std::vector<std::uint8_t> samples;
    const std::uint8_t* row = avifImagePlane(&image, channel);
    for (std::uint32_t y = 0; y < avifImagePlaneHeight(&image, channel); ++y) {
        samples.insert(samples.end(), row, row + avifImagePlaneWidth(&image, channel));
        row += avifImagePlaneRowBytes(&image, channel);
    }
    return samples;
}

/// Compares with one call of libavif over the whole picture.
void expectSamePlanes(Picture picture, std::initializer_list<int> threadCounts) {
    const ImageHandle expected = emptyImage(picture);
    const avifRGBImage source = sourceOf(picture, *expected);
    ASSERT_EQ(avifImageRGBToYUV(expected.get(), &source), AVIF_RESULT_OK);

    for (const int threads : threadCounts) {
        SCOPED_TRACE(std::to_string(threads) + " threads");
        const ImageHandle image = emptyImage(picture);
        ASSERT_EQ(convertRgbToYuv(*image, source, threads), AVIF_RESULT_OK);
        for (const avifChannelIndex channel : {AVIF_CHAN_Y, AVIF_CHAN_U, AVIF_CHAN_V, AVIF_CHAN_A}) {
            SCOPED_TRACE("channel " + std::to_string(channel));
            ASSERT_FALSE(planeOf(*expected, channel).empty());
            ASSERT_TRUE(planeOf(*image, channel) == planeOf(*expected, channel));
        }
    }
}

TEST(RgbToYuv, IsTheSameInBandsBitForBit) {
    struct Row {
        std::uint32_t width;
        std::uint32_t height;
    };
    for (const Row& row : {
             Row{1, 1},
             Row{7, 3},
             Row{512, 256}, // just one band
             Row{512, 257}, // an odd row over
             Row{511, 258},
             Row{1031, 517},
             Row{640, 1201},
             Row{65535, 5},
             Row{100'001, 7}, // less than two rows would fill a band
             Row{200'003, 1},
             Row{200'003, 3},
             Row{1, 300'001},
             Row{2, 131'073},
             Row{3, 200'000},
         }) {
        SCOPED_TRACE(std::to_string(row.width) + "x" + std::to_string(row.height));
        expectSamePlanes(noisePicture(row.width, row.height, row.width), {1, 2, 3, 8});
    }
}

TEST(RgbToYuv, TakesAnyNumberOfThreads) {
    expectSamePlanes(noisePicture(1000, 1500, 5), {-1, 0, 9, 1000});
}

TEST(RgbToYuv, IsTheSameWhereAllIsOpaqueOrTransparent) {
    expectSamePlanes(gradientPicture(1001, 701), {4});
    expectSamePlanes(plainPicture(1001, 701, 200, 100, 50, 0), {4});
    expectSamePlanes(plainPicture(1001, 701, 200, 100, 50, 1), {4});
}

TEST(RgbToYuv, ReportsWhatLibavifRefuses) {
    for (const std::uint32_t height : {16U, 1000U}) {
        SCOPED_TRACE(height);
        Picture picture = noisePicture(1000, height, 6);
        const ImageHandle image = emptyImage(picture);
        image->matrixCoefficients = AVIF_MATRIX_COEFFICIENTS_BT2020_CL; // which libavif does not convert
        EXPECT_NE(convertRgbToYuv(*image, sourceOf(picture, *image), 4), AVIF_RESULT_OK);
    }
}

/// While it lives no thread can be started: none gets the memory for its stack.
class NoMoreThreads {
public:
    NoMoreThreads() {
        pthread_attr_init(&attributes_);
        pthread_getattr_default_np(&attributes_);
        pthread_attr_getstacksize(&attributes_, &stackBytes_);
        setStackBytes(std::size_t{1} << 60U);
    }
    ~NoMoreThreads() {
        setStackBytes(stackBytes_);
        pthread_attr_destroy(&attributes_);
    }
    NoMoreThreads(const NoMoreThreads&) = delete;
    NoMoreThreads& operator=(const NoMoreThreads&) = delete;

private:
    void setStackBytes(std::size_t bytes) {
        pthread_attr_setstacksize(&attributes_, bytes);
        pthread_setattr_default_np(&attributes_);
    }
    pthread_attr_t attributes_{};
    std::size_t stackBytes_ = 0;
};

TEST(RgbToYuv, ManagesWithoutThreadsThatCannotBeStarted) {
    const NoMoreThreads noMoreThreads;
    ASSERT_THROW(std::thread([] {}).join(), std::system_error);
    expectSamePlanes(noisePicture(1000, 1500, 7), {8});
}

} // namespace

} // namespace ovrel::test
