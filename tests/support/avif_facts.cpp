#include "tests/support/avif_facts.h"

#include <avif/avif.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

namespace ovrel::test {

namespace {

struct DecoderDeleter {
    void operator()(avifDecoder* decoder) const noexcept { avifDecoderDestroy(decoder); }
};

void require(avifResult result, const std::filesystem::path& file) {
    if (result != AVIF_RESULT_OK) {
        throw std::runtime_error(file.native() + ": " + avifResultToString(result));
    }
}

} // namespace

AvifFacts avifFacts(const std::filesystem::path& file) {
    const std::unique_ptr<avifDecoder, DecoderDeleter> decoder(avifDecoderCreate());
    decoder->imageDimensionLimit = 0; // results may be as wide as the format allows
    require(avifDecoderSetIOFile(decoder.get(), file.c_str()), file);
    require(avifDecoderParse(decoder.get()), file);
    AvifFacts facts;
    facts.width = decoder->image->width;
    facts.height = decoder->image->height;
    facts.timescale = decoder->timescale;
    facts.repetitionCount = decoder->repetitionCount;
    facts.hasAlpha = decoder->alphaPresent == AVIF_TRUE;
    facts.profile.assign(decoder->image->icc.data, decoder->image->icc.data + decoder->image->icc.size);
    facts.colorPrimaries = decoder->image->colorPrimaries;
    facts.transferCharacteristics = decoder->image->transferCharacteristics;
    facts.matrixCoefficients = decoder->image->matrixCoefficients;
    while (facts.frames.size() < static_cast<std::size_t>(decoder->imageCount)) {
        require(avifDecoderNextImage(decoder.get()), file);
        facts.durations.push_back(decoder->imageTiming.durationInTimescales);
        Image image{facts.width, facts.height, PixelLayout::rgba8, {}, {}};
        image.samples = PixelBuffer::zeroed(image.height, image.bytesPerRow());
        avifRGBImage rgb;
        avifRGBImageSetDefaults(&rgb, decoder->image);
        rgb.depth = 8;
        rgb.format = AVIF_RGB_FORMAT_RGBA;
        rgb.pixels = image.samples.data();
        rgb.rowBytes = static_cast<std::uint32_t>(image.bytesPerRow());
        require(avifImageYUVToRGB(decoder->image, &rgb), file);
        facts.frames.push_back(std::move(image));
    }
    return facts;
}

} // namespace ovrel::test
