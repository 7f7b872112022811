#include "platform/linux/decoders.h"

#include "platform/linux/av1_image.h"
#include "platform/linux/color_profiles.h"
#include "platform/linux/memory_watch.h"
#include "platform/linux/upright_rows.h"
#include "platform/memory.h"

#include <avif/avif.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <new>
#include <string_view>
#include <utility>
#include <vector>

namespace ovrel {

namespace {

struct DecoderDeleter {
    void operator()(avifDecoder* decoder) const noexcept { avifDecoderDestroy(decoder); }
};
using Decoder = std::unique_ptr<avifDecoder, DecoderDeleter>;

/// Width and height of an AV1 frame are stored in up to 16 bits.
constexpr std::uint32_t largestDimension = 65536;

/// Pixels of a picture; libavif takes no more.
constexpr std::uint32_t maximumPixels = AVIF_DEFAULT_IMAGE_SIZE_LIMIT;

/// As many as of a GIF. libavif keeps a record of each, while the file may name all of them in a few bytes.
constexpr std::uint32_t maximumFrames = 200'000;

/// The part of a coded picture that is to be shown.
struct Crop {
    std::uint32_t left = 0;
    std::uint32_t top = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
};

/// The place of a clean aperture along one axis.
struct Extent {
    std::uint32_t start = 0;
    std::uint32_t size = 0;
};

/// ISO/IEC 14496-12, section 12.1.4.3: the aperture's size and the distance of its centre from the picture's, as
/// fractions whose fields are signed, whatever libavif's types say. Whole pixels are wanted (ISO/IEC 23000-22, section
/// 7.3.6.7); where a file names parts of one, viewers round down.
/// \return nothing when the aperture is empty or sticks out of the picture
std::optional<Extent> extentOf(std::int64_t full, std::uint32_t sizeN, std::uint32_t sizeD, std::uint32_t offsetN,
                               std::uint32_t offsetD) {
    const auto number = [](std::uint32_t field) { return std::int64_t{static_cast<std::int32_t>(field)}; };
    if (number(sizeD) <= 0 || number(offsetD) <= 0) {
        return std::nullopt;
    }
    const std::int64_t size = number(sizeN) / number(sizeD);
    const std::int64_t twiceStart = (full - size) * number(offsetD) + 2 * number(offsetN);
    const std::int64_t start = twiceStart / (2 * number(offsetD));
    if (size < 1 || twiceStart < 0 || start + size > full) {
        return std::nullopt;
    }
    return Extent{static_cast<std::uint32_t>(start), static_cast<std::uint32_t>(size)};
}

/// The whole picture where the file has no sound clean aperture.
Crop cropOf(const avifImage& image) {
    const Crop whole{0, 0, image.width, image.height};
    if ((image.transformFlags & AVIF_TRANSFORM_CLAP) == 0) {
        return whole;
    }
    const avifCleanApertureBox& clap = image.clap;
    const std::optional<Extent> x = extentOf(image.width, clap.widthN, clap.widthD, clap.horizOffN, clap.horizOffD);
    const std::optional<Extent> y = extentOf(image.height, clap.heightN, clap.heightD, clap.vertOffN, clap.vertOffD);
    return x && y ? Crop{x->start, y->start, x->size, y->size} : whole;
}

/// ISO/IEC 23000-22, section 7.3.6.7: first the rotation, then the mirroring.
std::uint8_t orientationOf(const avifImage& image) {
    // Anticlockwise quarter turns, then: no mirroring, top and bottom exchanged, left and right exchanged.
    constexpr std::array<std::array<std::uint8_t, 3>, 4> orientations{{{1, 4, 2}, {8, 5, 7}, {3, 2, 4}, {6, 7, 5}}};
    const unsigned turns = (image.transformFlags & AVIF_TRANSFORM_IROT) != 0 ? image.irot.angle & 3U : 0U;
    const unsigned mirror = (image.transformFlags & AVIF_TRANSFORM_IMIR) != 0 ? (image.imir.axis & 1U) + 1U : 0U;
    return orientations[turns][mirror];
}

ColorSpace colorSpaceOf(const avifImage& image) {
    const std::span<const std::uint8_t> icc(image.icc.data, image.icc.size);
    if (icc.empty()) {
        return colorSpaceFromCicp(image.colorPrimaries, image.transferCharacteristics);
    }
    const bool isGray = image.yuvFormat == AVIF_PIXEL_FORMAT_YUV400;
    return colorSpaceFromProfile(icc, isGray ? ColorModel::gray : ColorModel::rgb);
}

/// Calls libavif. \throws std::bad_alloc when memory was the reason of a failure, which the AV1 decoder does not tell
template <typename Call>
bool succeeds(const Call& call) {
    const MemoryWatch memory;
    const avifResult result = call();
    if (result == AVIF_RESULT_OUT_OF_MEMORY) {
        throw std::bad_alloc();
    }
    if (result != AVIF_RESULT_OK) {
        memory.check();
    }
    return result == AVIF_RESULT_OK;
}

class AvifSource final : public ImageSource {
public:
    AvifSource(std::vector<std::uint8_t> bytes, Decoder decoder)
        : bytes_(std::move(bytes))
        , decoder_(std::move(decoder))
        , width_(decoder_->image->width)
        , height_(decoder_->image->height)
        , crop_(cropOf(*decoder_->image)) {
        properties_.pixelWidth = crop_.width;
        properties_.pixelHeight = crop_.height;
        properties_.orientation = orientationOf(*decoder_->image);
    }

    ImageFormat format() const override { return ImageFormat::avif; }
    std::size_t count() const override { return static_cast<std::size_t>(decoder_->imageCount); }

    /// libavif counts repetitions after the first time, and has negative numbers for "without end" and "not stated".
    std::optional<std::int64_t> gifLoopCount() const override {
        const int repetitions = decoder_->repetitionCount;
        if (!isSequence() || (repetitions < 0 && repetitions != AVIF_REPETITION_COUNT_INFINITE)) {
            return std::nullopt;
        }
        return repetitions == AVIF_REPETITION_COUNT_INFINITE ? 0 : std::int64_t{repetitions} + 1;
    }

    ImageProperties properties(std::size_t index) const override {
        ImageProperties properties = properties_;
        avifImageTiming timing;
        if (isSequence() &&
            avifDecoderNthImageTiming(decoder_.get(), static_cast<std::uint32_t>(index), &timing) == AVIF_RESULT_OK) {
            properties.gifUnclampedDelayTime = timing.duration;
        }
        return properties;
    }

    std::optional<Image> decode(std::size_t index) override {
        requireMemory();
        if (!succeeds([&] { return avifDecoderNthImage(decoder_.get(), static_cast<std::uint32_t>(index)); })) {
            return std::nullopt;
        }
        const avifImage& image = *decoder_->image;
        if (image.width != width_ || image.height != height_) {
            return std::nullopt;
        }
        return isCropped() ? convertCropped(image) : convert(image);
    }

private:
    bool isSequence() const { return decoder_->imageCount > 1; }
    bool isCropped() const { return crop_.width != width_ || crop_.height != height_; }

    /// \throws std::bad_alloc when the picture will not fit
    void requireMemory() const {
        // Four planes, and as many again while a grid is put together; then the RGBA picture, and once more where it
        // is cropped or turned.
        constexpr std::uint64_t planes = 8;
        constexpr std::uint64_t channels = 4;
        const bool isCopied = isCropped() || properties_.orientation != 1;
        const std::uint64_t samples = planes + (isCopied ? 2 * channels : channels);
        const std::uint64_t sampleBytes = decoder_->image->depth > 8 ? 2 : 1;
        if (!fitsIntoMemory(std::uint64_t{width_} * height_ * samples * sampleBytes)) {
            throw std::bad_alloc();
        }
    }

    static PixelLayout layoutOf(const avifImage& image) {
        return image.depth > 8 ? PixelLayout::rgba16 : PixelLayout::rgba8;
    }

    static bool convertTo(std::uint8_t* pixels, std::size_t bytesPerRow, const avifImage& image) {
        avifRGBImage rgb;
        avifRGBImageSetDefaults(&rgb, &image); // RGBA, straight alpha
        rgb.depth = image.depth > 8 ? 16 : 8;
        rgb.pixels = pixels;
        rgb.rowBytes = static_cast<std::uint32_t>(bytesPerRow);
        return succeeds([&] { return avifImageYUVToRGB(&image, &rgb); });
    }

    std::optional<Image> convert(const avifImage& image) const {
        UprightRows rows(width_, height_, layoutOf(image), properties_.orientation, height_);
        if (!convertTo(rows.row(0), rows.bytesPerRow(), image)) {
            return std::nullopt;
        }
        return std::move(rows).finish(colorSpaceOf(image));
    }

    /// Crops after the conversion, so that the edges of a picture with coarser chroma come out right.
    std::optional<Image> convertCropped(const avifImage& image) const {
        const std::size_t pixelBytes = bytesPerPixel(layoutOf(image));
        const std::size_t bytesPerRow = width_ * pixelBytes;
        PixelBuffer whole = PixelBuffer::zeroed(height_, bytesPerRow);
        if (!convertTo(whole.data(), bytesPerRow, image)) {
            return std::nullopt;
        }
        UprightRows rows(crop_.width, crop_.height, layoutOf(image), properties_.orientation);
        for (std::uint32_t y = 0; y < crop_.height; ++y) {
            std::memcpy(rows.row(y), whole.data() + (crop_.top + y) * bytesPerRow + crop_.left * pixelBytes,
                        rows.bytesPerRow());
        }
        return std::move(rows).finish(colorSpaceOf(image));
    }

    std::vector<std::uint8_t> bytes_; ///< the decoder reads them as it goes
    Decoder decoder_;
    std::uint32_t width_;  ///< as coded
    std::uint32_t height_; ///< as coded
    Crop crop_;
    ImageProperties properties_;
};

/// libavif wants to see its brand. A file that goes by a more general one (ISO/IEC 23008-12, section 10) is given it.
void setBrand(std::vector<std::uint8_t>& bytes) {
    constexpr std::size_t majorBrandOffset = 8; // ISO/IEC 14496-12, section 4.3: size, "ftyp", major brand
    constexpr std::string_view sequence = "msf1";
    if (bytes.size() < majorBrandOffset + sequence.size()) {
        return;
    }
    const auto brand = bytes.begin() + majorBrandOffset;
    const bool isSequence = std::equal(sequence.begin(), sequence.end(), brand);
    const std::string_view known = isSequence ? "avis" : "avif";
    std::copy(known.begin(), known.end(), brand);
}

Decoder makeDecoder() {
    Decoder decoder(avifDecoderCreate());
    if (!decoder) {
        throw std::bad_alloc();
    }
    // Viewers show files that lack a pixi property or state an unusual clean aperture; so do we.
    decoder->strictFlags = AVIF_STRICT_DISABLED;
    decoder->imageSizeLimit = maximumPixels;
    decoder->imageDimensionLimit = largestDimension;
    decoder->imageCountLimit = maximumFrames;
    decoder->ignoreExif = AVIF_TRUE; // orientation is stated by irot and imir alone
    decoder->ignoreXMP = AVIF_TRUE;
    decoder->maxThreads = 1;
    return decoder;
}

/// The coded picture may be of another size than the header says; libavif scales it then. The decoder of AV1 takes
/// memory for what it meets, so that shall not be much more than what was compared with the memory that is left.
void limitCodedSize(avifDecoder& decoder) {
    constexpr std::uint64_t anySize = std::uint64_t{1} << 20;
    constexpr std::uint64_t mostShrinking = 4;
    const std::uint64_t stated = std::uint64_t{decoder.image->width} * decoder.image->height;
    decoder.imageSizeLimit = static_cast<std::uint32_t>(
        std::min<std::uint64_t>(decoder.imageSizeLimit, std::max(anySize, mostShrinking * stated)));
}

std::unique_ptr<ImageSource> openBytes(std::vector<std::uint8_t> bytes, Decoder decoder) {
    if (!succeeds([&] { return avifDecoderSetIOMemory(decoder.get(), bytes.data(), bytes.size()); }) ||
        !succeeds([&] { return avifDecoderParse(decoder.get()); }) || decoder->imageCount < 1) {
        return nullptr;
    }
    limitCodedSize(*decoder);
    return std::make_unique<AvifSource>(std::move(bytes), std::move(decoder));
}

} // namespace

std::unique_ptr<ImageSource> openAvif(InputFile file) {
    std::optional<std::vector<std::uint8_t>> bytes = file.readAll();
    return bytes ? openBytes(std::move(*bytes), makeDecoder()) : nullptr;
}

std::unique_ptr<ImageSource> openAvifWithin(ImageLimits limits, std::vector<std::uint8_t> bytes) {
    Decoder decoder = makeDecoder();
    // The AV1 decoder is told, too, and allocates nothing for a larger frame, whatever the header says of it.
    decoder->imageSizeLimit =
        static_cast<std::uint32_t>(std::min<std::uint64_t>(maximumPixels, std::uint64_t{limits.width} * limits.height));
    decoder->imageDimensionLimit = std::max(limits.width, limits.height);
    return openBytes(std::move(bytes), std::move(decoder));
}

std::unique_ptr<ImageSource> openAv1Image(std::vector<std::uint8_t> bytes) {
    setBrand(bytes);
    return openBytes(std::move(bytes), makeDecoder());
}

} // namespace ovrel
