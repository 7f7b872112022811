#include "tests/support/avif_writer.h"

#include <avif/avif.h>

#include <memory>
#include <stdexcept>

namespace ovrel::test {

namespace {

struct EncoderDeleter {
    void operator()(avifEncoder* encoder) const noexcept { avifEncoderDestroy(encoder); }
};
struct ImageDeleter {
    void operator()(avifImage* image) const noexcept { avifImageDestroy(image); }
};
using Encoder = std::unique_ptr<avifEncoder, EncoderDeleter>;
using AvifImage = std::unique_ptr<avifImage, ImageDeleter>;

void require(avifResult result) {
    if (result != AVIF_RESULT_OK) {
        throw std::runtime_error(avifResultToString(result));
    }
}

avifPixelFormat formatOf(AvifChroma chroma) {
    switch (chroma) {
    case AvifChroma::full: return AVIF_PIXEL_FORMAT_YUV444;
    case AvifChroma::halved: return AVIF_PIXEL_FORMAT_YUV420;
    case AvifChroma::none: return AVIF_PIXEL_FORMAT_YUV400;
    }
    return AVIF_PIXEL_FORMAT_NONE;
}

void setTransformations(avifImage& image, const AvifOptions& options) {
    if (options.turns) {
        image.transformFlags |= AVIF_TRANSFORM_IROT;
        image.irot.angle = static_cast<std::uint8_t>(*options.turns);
    }
    if (options.mirror) {
        image.transformFlags |= AVIF_TRANSFORM_IMIR;
        image.imir.axis = static_cast<std::uint8_t>(*options.mirror);
    }
    if (options.crop) {
        image.transformFlags |= AVIF_TRANSFORM_CLAP;
        // ISO/IEC 14496-12, section 12.1.4.3: the offset is that of the centres, here in halves of a pixel.
        const AvifCrop& crop = *options.crop;
        image.clap = {crop.width,
                      1,
                      crop.height,
                      1,
                      2 * crop.left + crop.width - image.width,
                      2,
                      2 * crop.top + crop.height - image.height,
                      2};
    }
}

AvifImage avifImageOf(const Image& image, const AvifOptions& options) {
    AvifImage converted(avifImageCreate(image.width, image.height, options.depth, formatOf(options.chroma)));
    if (!converted) {
        throw std::runtime_error("no image");
    }
    converted->yuvRange = options.fullRange ? AVIF_RANGE_FULL : AVIF_RANGE_LIMITED;
    converted->colorPrimaries = options.primaries;
    converted->transferCharacteristics = options.transfer;
    converted->matrixCoefficients = options.matrix;
    converted->alphaPremultiplied = options.premultiplied ? AVIF_TRUE : AVIF_FALSE;
    if (!options.icc.empty()) {
        require(avifImageSetProfileICC(converted.get(), reinterpret_cast<const std::uint8_t*>(options.icc.data()),
                                       options.icc.size()));
    }
    setTransformations(*converted, options);
    avifRGBImage rgb;
    avifRGBImageSetDefaults(&rgb, converted.get());
    rgb.depth = image.layout == PixelLayout::rgba16 ? 16 : 8;
    rgb.ignoreAlpha = options.alpha ? AVIF_FALSE : AVIF_TRUE;
    rgb.pixels = const_cast<std::uint8_t*>(image.samples.data()); // only read
    rgb.rowBytes = static_cast<std::uint32_t>(image.bytesPerRow());
    require(avifImageRGBToYUV(converted.get(), &rgb));
    return converted;
}

Encoder encoderFor(const AvifOptions& options) {
    Encoder encoder(avifEncoderCreate());
    if (!encoder) {
        throw std::runtime_error("no encoder");
    }
    encoder->speed = AVIF_SPEED_FASTEST;
    encoder->quality = options.quality;
    encoder->qualityAlpha = options.quality;
    encoder->timescale = 1000;
    encoder->repetitionCount = options.repetitionCount;
    return encoder;
}

std::string finished(const Encoder& encoder) {
    avifRWData output = AVIF_DATA_EMPTY;
    const avifResult result = avifEncoderFinish(encoder.get(), &output);
    std::string bytes(reinterpret_cast<const char*>(output.data), result == AVIF_RESULT_OK ? output.size : 0);
    avifRWDataFree(&output);
    require(result);
    return bytes;
}

} // namespace

std::string writeAvif(const Image& image, const AvifOptions& options) {
    const Encoder encoder = encoderFor(options);
    require(avifEncoderAddImage(encoder.get(), avifImageOf(image, options).get(), 1, AVIF_ADD_IMAGE_FLAG_SINGLE));
    return finished(encoder);
}

std::string writeAvifSequence(std::span<const Image> frames, const AvifOptions& options) {
    const Encoder encoder = encoderFor(options);
    for (const Image& frame : frames) {
        require(avifEncoderAddImage(encoder.get(), avifImageOf(frame, options).get(), options.frameMilliseconds,
                                    AVIF_ADD_IMAGE_FLAG_NONE));
    }
    return finished(encoder);
}

} // namespace ovrel::test
