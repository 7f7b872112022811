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

std::vector<std::uint8_t> bareEncode(const Bitmap& bitmap, Alpha alpha, int quality, int speed, int threads) {
    const std::unique_ptr<avifImage, ImageDeleter> planes(
        avifImageCreate(bitmap.width, bitmap.height, 8, AVIF_PIXEL_FORMAT_YUV420));
    const std::unique_ptr<avifEncoder, EncoderDeleter> encoder(avifEncoderCreate());
    if (!planes || !encoder) {
        throw std::runtime_error("out of memory");
    }
    planes->colorPrimaries = AVIF_COLOR_PRIMARIES_BT709;
    planes->transferCharacteristics = AVIF_TRANSFER_CHARACTERISTICS_SRGB;
    planes->matrixCoefficients = AVIF_MATRIX_COEFFICIENTS_BT601;
    avifRGBImage rgb;
    avifRGBImageSetDefaults(&rgb, planes.get());
    rgb.pixels = const_cast<std::uint8_t*>(bitmap.pixels.data()); // only read
    rgb.rowBytes = bitmap.width * 4;
    rgb.alphaPremultiplied = alpha == Alpha::premultiplied;
    require(avifImageRGBToYUV(planes.get(), &rgb));
    encoder->codecChoice = AVIF_CODEC_CHOICE_AOM;
    encoder->quality = quality;
    encoder->qualityAlpha = AVIF_QUALITY_LOSSLESS;
    encoder->speed = speed;
    encoder->maxThreads = threads;
    require(avifEncoderSetCodecSpecificOption(encoder.get(), "tune", quality >= 50 ? "ssim" : "psnr"));
    require(avifEncoderSetCodecSpecificOption(encoder.get(), "sharpness", "0"));
    require(avifEncoderSetCodecSpecificOption(encoder.get(), "color:denoise-noise-level", "0"));
    avifRWData output = AVIF_DATA_EMPTY;
    const avifResult result = avifEncoderWrite(encoder.get(), planes.get(), &output);
    std::vector<std::uint8_t> file(output.data, output.data + output.size);
    avifRWDataFree(&output);
    require(result);
    return file;
}

} // namespace ovrel::bench
