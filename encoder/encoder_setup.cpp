#include "encoder/encoder_setup.h"

#include "encoder/rgb_to_yuv.h"

#include <unistd.h>

#include <algorithm>
#include <array>

namespace ovrel {

namespace {

/// More threads cost memory and hardly speed up one picture.
int threadCount() {
    return static_cast<int>(std::clamp(::sysconf(_SC_NPROCESSORS_ONLN), 1L, 8L));
}

} // namespace

void configureEncoder(avifEncoder& encoder, std::int32_t quality, std::int32_t speed) {
    encoder.codecChoice = AVIF_CODEC_CHOICE_AOM;
    encoder.quality = quality;
    encoder.qualityAlpha = AVIF_QUALITY_LOSSLESS;
    encoder.speed = speed;
    encoder.maxThreads = threadCount();
}

avifResult setCodecOptions(avifEncoder& encoder, std::int32_t quality) {
    struct Option {
        const char* key;
        const char* value;
    };
    const std::array options{
        Option{"tune", quality >= 50 ? "ssim" : "psnr"},
        Option{"sharpness", "0"},
        Option{"color:denoise-noise-level", "0"},
    };
    for (const Option& option : options) {
        const avifResult result = avifEncoderSetCodecSpecificOption(&encoder, option.key, option.value);
        if (result != AVIF_RESULT_OK) {
            return result;
        }
    }
    return AVIF_RESULT_OK;
}

avifResult fillImage(avifImage& image, const std::uint8_t* pixels) {
    // ITU-T H.273, tables 2 to 4: BT.709 primaries, sRGB transfer, BT.601 matrix.
    image.colorPrimaries = AVIF_COLOR_PRIMARIES_BT709;
    image.transferCharacteristics = AVIF_TRANSFER_CHARACTERISTICS_SRGB;
    image.matrixCoefficients = AVIF_MATRIX_COEFFICIENTS_BT601;
    image.yuvRange = AVIF_RANGE_FULL;
    image.alphaPremultiplied = AVIF_FALSE;

    avifRGBImage source{};
    avifRGBImageSetDefaults(&source, &image);
    source.pixels = const_cast<std::uint8_t*>(pixels); // libavif has one structure for reading and writing
    source.rowBytes = image.width * 4;
    source.format = AVIF_RGB_FORMAT_RGBA;
    source.alphaPremultiplied = AVIF_TRUE;
    return convertRgbToYuv(image, source, threadCount());
}

} // namespace ovrel
