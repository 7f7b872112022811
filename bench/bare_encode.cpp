#include "bench/bare_encode.h"

#include <avif/avif.h>

#include <memory>
#include <stdexcept>

namespace ovrel::bench {

namespace {

struct ImageDeleter {
    void operator()(avifImage* image) const noexcept { avifImageDestroy(image); }
};
struct EncoderDeleter {
    void operator()(avifEncoder* encoder) const noexcept { avifEncoderDestroy(encoder); }
};

void require(avifResult result) {
    if (result != AVIF_RESULT_OK) {
        throw std::runtime_error(avifResultToString(result));
    }
}

} // namespace

std::size_t bareEncode(const Image& image, int quality, int speed, int threads) {
    const std::unique_ptr<avifImage, ImageDeleter> planes(
        avifImageCreate(image.width, image.height, 8, AVIF_PIXEL_FORMAT_YUV420));
    const std::unique_ptr<avifEncoder, EncoderDeleter> encoder(avifEncoderCreate());
    if (!planes || !encoder) {
        throw std::runtime_error("out of memory");
    }
    planes->colorPrimaries = AVIF_COLOR_PRIMARIES_BT709;
    planes->transferCharacteristics = AVIF_TRANSFER_CHARACTERISTICS_SRGB;
    planes->matrixCoefficients = AVIF_MATRIX_COEFFICIENTS_BT601;
    avifRGBImage rgb;
    avifRGBImageSetDefaults(&rgb, planes.get());
    // The image is only read.
    rgb.pixels = const_cast<std::uint8_t*>(image.samples.data());
    rgb.rowBytes = static_cast<std::uint32_t>(image.bytesPerRow());
    rgb.ignoreAlpha = AVIF_TRUE;
    require(avifImageRGBToYUV(planes.get(), &rgb));
    encoder->codecChoice = AVIF_CODEC_CHOICE_AOM;
    encoder->quality = quality;
    encoder->speed = speed;
    encoder->maxThreads = threads;
    require(avifEncoderSetCodecSpecificOption(encoder.get(), "tune", quality >= 50 ? "ssim" : "psnr"));
    require(avifEncoderSetCodecSpecificOption(encoder.get(), "sharpness", "0"));
    require(avifEncoderSetCodecSpecificOption(encoder.get(), "color:denoise-noise-level", "0"));
    avifRWData output = AVIF_DATA_EMPTY;
    const avifResult result = avifEncoderWrite(encoder.get(), planes.get(), &output);
    const std::size_t size = output.size;
    avifRWDataFree(&output);
    require(result);
    return size;
}

} // namespace ovrel::bench
