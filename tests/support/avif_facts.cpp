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

std::string codingOf(const avifDecoder& decoder) {
    const avifImage& image = *decoder.image;
    std::string coding = std::to_string(image.width) + "x" + std::to_string(image.height) + ", " +
                         std::to_string(image.depth) + " bits, " + avifPixelFormatToString(image.yuvFormat) +
                         (image.yuvRange == AVIF_RANGE_FULL ? ", full" : ", limited") + " range, CICP " +
                         std::to_string(image.colorPrimaries) + "/" + std::to_string(image.transferCharacteristics) +
                         "/" + std::to_string(image.matrixCoefficients);
    if (decoder.alphaPresent == AVIF_TRUE) {
        coding += image.alphaPremultiplied == AVIF_TRUE ? ", premultiplied alpha" : ", alpha";
    }
    const std::pair<bool, const char*> parts[] = {
        {image.icc.size != 0, ", profile"},
        {image.exif.size != 0, ", Exif"},
        {image.xmp.size != 0, ", XMP"},
        {image.transformFlags != AVIF_TRANSFORM_NONE, ", transformations"},
    };
    for (const auto& [isThere, name] : parts) {
        coding += isThere ? name : "";
    }
    return coding;
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
    facts.coding = codingOf(*decoder);
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
