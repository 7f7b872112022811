#include "platform/linux/decoders.h"

#include "platform/linux/gif_canvas.h"
#include "platform/linux/gif_pixel_reader.h"
#include "platform/linux/gif_stream.h"
#include "platform/linux/gif_structure.h"
#include "platform/memory.h"

#include <array>
#include <new>
#include <utility>
#include <vector>

namespace ovrel {

namespace {

constexpr double hundredthsPerSecond = 100.0;

/// An hour of the smoothest animation that browsers play has 180,000 frames; a file with more is meant to wear us out.
constexpr std::size_t maximumFrames = 200'000;

/// Every frame is encoded as a whole canvas, though the file may spend twelve bytes on it. So many pixels, 33,000
/// frames of a large screen, take the encoder half an hour and more.
constexpr std::uint64_t maximumPixels = std::uint64_t{1} << 36;

/// Rows that come one after the other, counted from the frame's top.
struct Pass {
    std::uint32_t first;
    std::uint32_t step;

    /// How many of the first `height` rows belong to it.
    std::uint32_t rowsOf(std::uint32_t height) const { return height > first ? (height - first - 1) / step + 1 : 0; }
};

constexpr std::array<Pass, 1> sequentialPasses{{{0, 1}}};
/// GIF89a, appendix E.
constexpr std::array<Pass, 4> interlacedPasses{{{0, 8}, {4, 8}, {2, 4}, {1, 2}}};

GifColorTable colorTable(const ColorMapObject* map, std::optional<std::uint8_t> transparentIndex) {
    constexpr std::uint8_t opaque = 255;
    GifColorTable colors{}; // indices outside of the table are not painted
    if (map == nullptr) {
        colors.fill({0, 0, 0, opaque}); // a file without any table shows black in browsers
    } else {
        for (std::size_t i = 0; i < static_cast<std::size_t>(map->ColorCount); ++i) {
            colors[i] = {map->Colors[i].Red, map->Colors[i].Green, map->Colors[i].Blue, opaque};
        }
    }
    if (transparentIndex) {
        colors[*transparentIndex] = {};
    }
    return colors;
}

class GifSource final : public ImageSource {
public:
    GifSource(std::unique_ptr<GifStream> stream, GifStructure structure)
        : stream_(std::move(stream)), structure_(std::move(structure)) {}

    ImageFormat format() const override { return ImageFormat::gif; }
    std::size_t count() const override { return structure_.frames.size(); }
    std::optional<std::int64_t> gifLoopCount() const override { return structure_.loopCount; }

    ImageProperties properties(std::size_t index) const override {
        ImageProperties properties;
        properties.pixelWidth = structure_.width;
        properties.pixelHeight = structure_.height;
        if (const std::optional<std::uint16_t> delay = structure_.frames[index].delayHundredths) {
            properties.gifUnclampedDelayTime = *delay / hundredthsPerSecond;
        }
        return properties;
    }

    std::optional<Image> decode(std::size_t index) override {
        if (structure_.width == 0 || structure_.height == 0) {
            return std::nullopt;
        }
        if (!canvas_ || index + 1 < composed_) {
            restart();
        }
        while (composed_ <= index) {
            readable_ = compose(structure_.frames[composed_]);
            ++composed_;
        }
        if (!readable_) {
            return std::nullopt;
        }
        if (composed_ < count()) {
            return canvas_->image();
        }
        Image last = std::move(*canvas_).release();
        canvas_.reset();
        return last;
    }

private:
    void restart() {
        canvas_.reset();
        const std::uint64_t pixels = std::uint64_t{structure_.width} * structure_.height;
        // The canvas and the copy that is handed out.
        if (count() > 1 && !fitsIntoMemory(2 * pixels * bytesPerPixel(PixelLayout::rgba8))) {
            throw std::bad_alloc();
        }
        canvas_.emplace(structure_.width, structure_.height);
        composed_ = 0;
    }

    /// Paints a frame onto the canvas.
    /// \return false when its data is damaged so early that nothing of it came
    bool compose(const GifFrame& frame) {
        stream_->seek(frame.offset);
        stream_->beginImage();
        const GifImageDesc& image = stream_->image();
        canvas_->beginFrame({static_cast<std::uint32_t>(image.Left), static_cast<std::uint32_t>(image.Top),
                             static_cast<std::uint32_t>(image.Left + image.Width),
                             static_cast<std::uint32_t>(image.Top + image.Height)},
                            frame.disposal);
        if (stream_->codeSize() > GifLzwDecoder::maximumCodeSize) {
            return false;
        }
        if (canvas_->frameArea().isEmpty()) {
            return !structure_.isCutOff;
        }
        GifPixelReader pixels(*stream_);
        const bool any =
            paint(pixels, colorTable(stream_->colorMap(), frame.transparentIndex),
                  image.Interlace ? std::span<const Pass>(interlacedPasses) : std::span<const Pass>(sequentialPasses));
        return any || !(pixels.isDamaged() || structure_.isCutOff);
    }

    /// Paints what the frame's data hold; the rest of the frame stays as it is. Pixels outside of the canvas are only
    /// passed over: a frame may claim billions of them in few bytes.
    /// \return whether any pixels came
    bool paint(GifPixelReader& pixels, const GifColorTable& colors, std::span<const Pass> passes) {
        const GifArea& area = canvas_->frameArea();
        const auto width = static_cast<std::size_t>(stream_->image().Width);
        const auto height = static_cast<std::uint32_t>(stream_->image().Height);
        const std::uint32_t visibleRows = area.bottom - area.top;
        row_.resize(area.right - area.left);
        bool any = false;
        std::size_t hidden = 0; // pixels in front of the next visible one
        for (const Pass& pass : passes) {
            for (std::uint32_t y = pass.first; y < visibleRows; y += pass.step) {
                if (pixels.skip(hidden) < hidden) {
                    return any;
                }
                const std::span<const std::uint8_t> row = pixels.read(row_);
                canvas_->paintRow(area.top + y, row, colors);
                any = any || !row.empty();
                if (row.size() < row_.size()) {
                    return any;
                }
                hidden = width - row_.size();
            }
            hidden += width * (pass.rowsOf(height) - pass.rowsOf(visibleRows));
        }
        return any;
    }

    std::unique_ptr<GifStream> stream_;
    GifStructure structure_;
    std::optional<GifCanvas> canvas_;
    std::size_t composed_ = 0; ///< frames on the canvas
    bool readable_ = false;    ///< whether anything of the last of them came
    std::vector<std::uint8_t> row_;
};

} // namespace

std::unique_ptr<ImageSource> openGif(InputFile file) {
    std::unique_ptr<GifStream> stream = GifStream::open(std::move(file));
    if (!stream) {
        return nullptr;
    }
    GifStructure structure = readGifStructure(*stream);
    const std::uint64_t frames = structure.frames.size();
    const std::uint64_t pixels = std::uint64_t{structure.width} * structure.height;
    if (frames < 1 || frames > maximumFrames || (frames > 1 && pixels > maximumPixels / frames)) {
        return nullptr;
    }
    return std::make_unique<GifSource>(std::move(stream), std::move(structure));
}

} // namespace ovrel
