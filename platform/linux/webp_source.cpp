#include "platform/linux/decoders.h"

#include "platform/linux/color_profiles.h"
#include "platform/linux/exif_orientation.h"
#include "platform/linux/memory_watch.h"
#include "platform/linux/upright_rows.h"
#include "platform/memory.h"

#include <webp/decode.h>
#include <webp/demux.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>
#include <vector>

namespace ovrel {

namespace {

struct DemuxerDeleter {
    void operator()(WebPDemuxer* demuxer) const noexcept { WebPDemuxDelete(demuxer); }
};
struct AnimationDeleter {
    void operator()(WebPAnimDecoder* decoder) const noexcept { WebPAnimDecoderDelete(decoder); }
};

using Demuxer = std::unique_ptr<WebPDemuxer, DemuxerDeleter>;
using Animation = std::unique_ptr<WebPAnimDecoder, AnimationDeleter>;

/// A file and what its container says.
struct WebpFile {
    std::vector<std::uint8_t> bytes;
    Demuxer demuxer; ///< refers to the bytes
    ImageProperties properties;
    ColorSpace colorSpace;
    std::size_t frameCount = 1;
    std::int64_t loopCount = 0; ///< of an animation: how often it plays, 0 for without end
    bool isAnimated = false;

    WebPData data() const { return {bytes.data(), bytes.size()}; }
    std::uint64_t pixels() const { return std::uint64_t{properties.pixelWidth} * properties.pixelHeight; }
    bool isTurned() const { return properties.orientation != 1; }
};

/// \throws std::bad_alloc when there is less left than `bytesPerPixel` for each pixel of the canvas
void requireMemory(const WebpFile& file, std::uint64_t bytesPerPixel) {
    if (!fitsIntoMemory(file.pixels() * bytesPerPixel)) {
        throw std::bad_alloc();
    }
}

constexpr std::uint64_t rgbaBytes = bytesPerPixel(PixelLayout::rgba8);

class StillWebpSource final : public ImageSource {
public:
    explicit StillWebpSource(WebpFile file) : file_(std::move(file)) {}

    ImageFormat format() const override { return ImageFormat::webp; }
    std::size_t count() const override { return 1; }
    ImageProperties properties(std::size_t) const override { return file_.properties; }

    std::optional<Image> decode(std::size_t) override {
        WebPDecoderConfig config;
        if (!WebPInitDecoderConfig(&config) ||
            WebPGetFeatures(file_.bytes.data(), file_.bytes.size(), &config.input) != VP8_STATUS_OK ||
            std::cmp_not_equal(config.input.width, file_.properties.pixelWidth) ||
            std::cmp_not_equal(config.input.height, file_.properties.pixelHeight)) {
            return std::nullopt;
        }
        // The decoder's own memory: the lossless one holds a second picture, the lossy one little but an alpha plane.
        constexpr int losslessFormat = 2;
        const std::uint64_t workingBytes = config.input.format == losslessFormat ? rgbaBytes
                                           : config.input.has_alpha != 0         ? 2
                                                                                 : 0;
        requireMemory(file_, workingBytes + (file_.isTurned() ? 2 * rgbaBytes : rgbaBytes));

        const std::uint32_t height = file_.properties.pixelHeight;
        UprightRows rows(file_.properties.pixelWidth, height, PixelLayout::rgba8, file_.properties.orientation, height);
        config.output.colorspace = MODE_RGBA;
        config.output.is_external_memory = 1;
        config.output.u.RGBA.rgba = rows.row(0);
        config.output.u.RGBA.stride = static_cast<int>(rows.bytesPerRow());
        config.output.u.RGBA.size = rows.bytesPerRow() * height;
        const MemoryWatch memory;
        const VP8StatusCode status = WebPDecode(file_.bytes.data(), file_.bytes.size(), &config);
        if (status == VP8_STATUS_OUT_OF_MEMORY) {
            throw std::bad_alloc();
        }
        if (status != VP8_STATUS_OK) {
            memory.check(); // where the alpha plane's decoder lacks some, the status is another
            return std::nullopt;
        }
        return std::move(rows).finish(file_.colorSpace);
    }

private:
    WebpFile file_;
};

std::optional<double> delaySeconds(const WebPDemuxer* demuxer, std::size_t index) {
    constexpr double millisecondsPerSecond = 1000.0;
    WebPIterator frame;
    if (!WebPDemuxGetFrame(demuxer, static_cast<int>(index + 1), &frame)) {
        return std::nullopt;
    }
    const double delay = frame.duration / millisecondsPerSecond;
    WebPDemuxReleaseIterator(&frame);
    return delay;
}

class AnimatedWebpSource final : public ImageSource {
public:
    explicit AnimatedWebpSource(WebpFile file)
        : file_(std::move(file)), readableFrames_(std::min(file_.frameCount, mostFrames)) {}

    ImageFormat format() const override { return ImageFormat::webp; }
    std::size_t count() const override { return file_.frameCount; }
    std::optional<std::int64_t> gifLoopCount() const override { return file_.loopCount; }

    ImageProperties properties(std::size_t index) const override {
        ImageProperties properties = file_.properties;
        properties.gifUnclampedDelayTime = delaySeconds(file_.demuxer.get(), index);
        return properties;
    }

    std::optional<Image> decode(std::size_t index) override {
        if (index >= readableFrames_ || !start()) {
            return std::nullopt;
        }
        if (index + 1 < composed_) {
            WebPAnimDecoderReset(decoder_.get());
            composed_ = 0;
        }
        for (; composed_ <= index; ++composed_) {
            int endMilliseconds = 0;
            const MemoryWatch memory;
            if (!WebPAnimDecoderGetNext(decoder_.get(), &canvas_, &endMilliseconds)) {
                memory.check();
                readableFrames_ = composed_; // later frames build upon this one
                return std::nullopt;
            }
        }
        return uprightCopy();
    }

private:
    /// \return false when the file is damaged or cut off
    bool start() {
        if (!decoder_) {
            // Two canvases and a frame of that size, then our copy.
            constexpr std::uint64_t pictures = 4;
            requireMemory(file_, (file_.isTurned() ? pictures + 1 : pictures) * rgbaBytes);
            WebPAnimDecoderOptions options;
            WebPAnimDecoderOptionsInit(&options);
            options.color_mode = MODE_RGBA;
            options.use_threads = 0;
            const WebPData data = file_.data();
            const MemoryWatch memory;
            decoder_.reset(WebPAnimDecoderNew(&data, &options));
            if (!decoder_) {
                memory.check();
            }
        }
        return decoder_ != nullptr;
    }

    Image uprightCopy() const {
        const ImageProperties& properties = file_.properties;
        UprightRows rows(properties.pixelWidth, properties.pixelHeight, PixelLayout::rgba8, properties.orientation);
        for (std::uint32_t y = 0; y < properties.pixelHeight; ++y) {
            std::memcpy(rows.row(y), canvas_ + y * rows.bytesPerRow(), rows.bytesPerRow());
        }
        return std::move(rows).finish(file_.colorSpace);
    }

    /// libwebp looks for every frame from the first one on, so an endless list of them would take endless time.
    static constexpr std::size_t mostFrames = 65536;

    WebpFile file_;
    Animation decoder_;
    std::uint8_t* canvas_ = nullptr; ///< the decoder's, as the last composed frame shows it
    std::size_t composed_ = 0;       ///< frames on the canvas
    std::size_t readableFrames_;
};

/// \return the content of the first chunk of this name (RFC 9649, section 2.7.1); empty when there is none, or one
///         larger than the profiles that are used, which Exif keeps far below
std::vector<std::uint8_t> chunk(const WebPDemuxer* demuxer, const char* name) {
    WebPChunkIterator iterator;
    if (!WebPDemuxGetChunk(demuxer, name, 1, &iterator)) {
        return {};
    }
    const std::size_t size = iterator.chunk.size <= ColorSpace::maximumProfileBytes ? iterator.chunk.size : 0;
    std::vector<std::uint8_t> content(iterator.chunk.bytes, iterator.chunk.bytes + size);
    WebPDemuxReleaseChunkIterator(&iterator);
    return content;
}

/// Reads the container of the file's bytes.
/// \return whether its header is sound; the file may still be cut off
bool readContainer(WebpFile& file) {
    const WebPData data = file.data();
    WebPDemuxState state = WEBP_DEMUX_PARSE_ERROR;
    const MemoryWatch memory;
    file.demuxer.reset(WebPDemuxPartial(&data, &state));
    const WebPDemuxer* demuxer = file.demuxer.get();
    if (demuxer == nullptr || state < WEBP_DEMUX_PARSED_HEADER) {
        memory.check();
        return false;
    }
    file.properties.pixelWidth = WebPDemuxGetI(demuxer, WEBP_FF_CANVAS_WIDTH);
    file.properties.pixelHeight = WebPDemuxGetI(demuxer, WEBP_FF_CANVAS_HEIGHT);
    file.properties.orientation = exifOrientation(chunk(demuxer, "EXIF"));
    file.colorSpace = colorSpaceFromProfile(chunk(demuxer, "ICCP"), ColorModel::rgb);
    file.isAnimated = (WebPDemuxGetI(demuxer, WEBP_FF_FORMAT_FLAGS) & ANIMATION_FLAG) != 0;
    file.frameCount = WebPDemuxGetI(demuxer, WEBP_FF_FRAME_COUNT);
    file.loopCount = WebPDemuxGetI(demuxer, WEBP_FF_LOOP_COUNT);
    return file.pixels() != 0 && file.frameCount != 0;
}

} // namespace

std::unique_ptr<ImageSource> openWebp(InputFile input) {
    std::optional<std::vector<std::uint8_t>> bytes = input.readAll();
    if (!bytes) {
        return nullptr;
    }
    WebpFile file;
    file.bytes = std::move(*bytes);
    if (!readContainer(file)) {
        return nullptr;
    }
    if (file.isAnimated) {
        return std::make_unique<AnimatedWebpSource>(std::move(file));
    }
    return std::make_unique<StillWebpSource>(std::move(file));
}

} // namespace ovrel
