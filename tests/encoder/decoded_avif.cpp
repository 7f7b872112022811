#include "tests/encoder/decoded_avif.h"

#include <algorithm>
#include <cstddef>
#include <stdexcept>

namespace ovrel::test {

namespace {

void check(avifResult result) {
    if (result != AVIF_RESULT_OK) {
        throw std::runtime_error(avifResultToString(result));
    }
}

} // namespace

DecodedAvif::DecodedAvif(const std::filesystem::path& file) : decoder_(avifDecoderCreate()) {
    check(decoder_ == nullptr ? AVIF_RESULT_OUT_OF_MEMORY : AVIF_RESULT_OK);
    decoder_->imageDimensionLimit = 0; // the usual limit is half of what the encoder takes
    check(avifDecoderSetIOFile(decoder_.get(), file.c_str()));
    check(avifDecoderParse(decoder_.get()));
    check(avifDecoderNextImage(decoder_.get()));
}

void DecodedAvif::decodeFrame(std::uint32_t index) {
    check(avifDecoderNthImage(decoder_.get(), index));
}

std::vector<std::uint8_t> DecodedAvif::alpha() const {
    if (image().alphaPlane == nullptr) {
        std::vector<std::uint8_t> opaque(std::size_t{image().width} * image().height, 255);
        return opaque;
    }
    return planeOf(image(), AVIF_CHAN_A);
}

std::vector<std::uint8_t> DecodedAvif::rgba() const {
    std::vector<std::uint8_t> pixels(std::size_t{image().width} * image().height * 4);
    avifRGBImage target{};
    avifRGBImageSetDefaults(&target, &image());
    target.format = AVIF_RGB_FORMAT_RGBA;
    target.pixels = pixels.data();
    target.rowBytes = image().width * 4;
    check(avifImageYUVToRGB(&image(), &target));
    return pixels;
}

std::vector<std::uint64_t> DecodedAvif::durations() const {
    std::vector<std::uint64_t> durations;
    for (int i = 0; i < decoder_->imageCount; ++i) {
        avifImageTiming timing{};
        check(avifDecoderNthImageTiming(decoder_.get(), static_cast<std::uint32_t>(i), &timing));
        durations.push_back(timing.durationInTimescales);
    }
    return durations;
}

std::vector<std::uint8_t> planeOf(const avifImage& image, avifChannelIndex channel) {
    std::vector<std::uint8_t> samples;
    const std::uint8_t* row = avifImagePlane(&image, channel);
    for (std::uint32_t y = 0; y < avifImagePlaneHeight(&image, channel); ++y) {
        samples.insert(samples.end(), row, row + avifImagePlaneWidth(&image, channel));
        row += avifImagePlaneRowBytes(&image, channel);
    }
    return samples;
}

} // namespace ovrel::test
