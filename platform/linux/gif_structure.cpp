#include "platform/linux/gif_structure.h"

#include "platform/linux/gif_pixel_reader.h"
#include "platform/memory.h"

#include <algorithm>
#include <new>
#include <string_view>

namespace ovrel {

namespace {

// GIF89a, appendix A: the bytes that begin a block.
constexpr std::uint8_t imageSeparator = 0x2C;
constexpr std::uint8_t extensionIntroducer = 0x21;
/// Some encoders close the data of an image twice; decoders in use pass over the second terminator.
constexpr std::uint8_t blockTerminator = 0x00;
/// More of them are no slip of an encoder but padding, which a file may hold in any length.
constexpr std::size_t maximumTerminators = 4096;

class StructureReader {
public:
    explicit StructureReader(GifStream& stream) : stream_(stream) {
        structure_.width = stream.screenWidth();
        structure_.height = stream.screenHeight();
    }

    GifStructure read() && {
        while (const std::optional<std::uint8_t> introducer = stream_.readByte()) {
            if (!readBlock(*introducer)) {
                break;
            }
        }
        return std::move(structure_);
    }

private:
    /// \return false when nothing may follow
    bool readBlock(std::uint8_t introducer) {
        terminators_ = introducer == blockTerminator ? terminators_ + 1 : 0;
        switch (introducer) {
        case imageSeparator: return readImage();
        case extensionIntroducer: return readExtension();
        case blockTerminator: return terminators_ <= maximumTerminators;
        default: return false;
        }
    }

    /// \return false when the file ends inside the block; so do the others
    bool readImage() {
        GifFrame frame = control_;
        control_ = GifFrame(); // section 23: a control extension speaks of the one image behind it
        frame.offset = stream_.position();
        if (!stream_.beginImage()) {
            return false;
        }
        const GifImageDesc area = stream_.image();
        while (stream_.nextDataBlock()) {
        }
        if (structure_.frames.empty()) {
            structure_.width = std::max(structure_.width, static_cast<std::uint32_t>(area.Left + area.Width));
            structure_.height = std::max(structure_.height, static_cast<std::uint32_t>(area.Top + area.Height));
            structure_.isCutOff = stream_.ended();
        }
        const bool isCutOff = stream_.ended();
        if (!isCutOff || structure_.frames.empty() || holdsEveryPixel(frame)) {
            add(frame);
        }
        return !isCutOff;
    }

    /// Whether a frame that is cut off lacks no more than the end of its data. Browsers show such a one.
    bool holdsEveryPixel(const GifFrame& frame) {
        stream_.seek(frame.offset);
        if (!stream_.beginImage() || stream_.codeSize() > GifLzwDecoder::maximumCodeSize) {
            return false;
        }
        const std::size_t pixels =
            static_cast<std::size_t>(stream_.image().Width) * static_cast<std::size_t>(stream_.image().Height);
        return pixels != 0 && GifPixelReader(stream_).skip(pixels) == pixels;
    }

    bool readExtension() {
        const std::optional<std::uint8_t> label = stream_.beginExtension();
        if (!label) {
            return false;
        }
        switch (*label) {
        case GRAPHICS_EXT_FUNC_CODE: readControl(); break;
        case APPLICATION_EXT_FUNC_CODE: readApplication(); break;
        default: break;
        }
        while (stream_.nextSubBlock()) {
        }
        return !stream_.ended();
    }

    void readControl() {
        const std::optional<GifStream::SubBlock> block = stream_.nextSubBlock();
        GraphicsControlBlock control{};
        if (!block || DGifExtensionToGCB(block->size(), block->data(), &control) != GIF_OK) {
            return;
        }
        control_.delayHundredths = static_cast<std::uint16_t>(control.DelayTime);
        control_.disposal = disposalOf(control.DisposalMode);
        control_.transparentIndex = control.TransparentColor == NO_TRANSPARENT_COLOR
                                        ? std::nullopt
                                        : std::optional(static_cast<std::uint8_t>(control.TransparentColor));
    }

    static GifDisposal disposalOf(int mode) {
        // Early drafts gave "previous" the number 4; browsers still take both.
        constexpr int previousInDrafts = 4;
        switch (mode) {
        case DISPOSE_BACKGROUND: return GifDisposal::background;
        case DISPOSE_PREVIOUS:
        case previousInDrafts: return GifDisposal::previous;
        default: return GifDisposal::keep;
        }
    }

    /// The looping extension of browsers: the name, then a sub-block of the number 1 and the count, low byte first.
    void readApplication() {
        constexpr std::uint8_t loopSubBlock = 1;
        constexpr std::size_t loopSubBlockBytes = 3;
        const std::optional<GifStream::SubBlock> name = stream_.nextSubBlock();
        if (!name || !(isNamed(*name, "NETSCAPE2.0") || isNamed(*name, "ANIMEXTS1.0"))) {
            return;
        }
        while (const std::optional<GifStream::SubBlock> block = stream_.nextSubBlock()) {
            const bool isLoop = block->size() >= loopSubBlockBytes && (*block)[0] == loopSubBlock;
            if (isLoop && !structure_.loopCount) {
                structure_.loopCount = static_cast<std::uint16_t>((*block)[1] | (*block)[2] << 8);
            }
        }
    }

    static bool isNamed(GifStream::SubBlock block, std::string_view name) {
        return std::equal(block.begin(), block.end(), name.begin(), name.end(), [](std::uint8_t found, char expected) {
            return found == static_cast<std::uint8_t>(expected);
        });
    }

    void add(const GifFrame& frame) {
        std::vector<GifFrame>& frames = structure_.frames;
        if (frames.size() == frames.capacity() && !fitsIntoMemory(2 * frames.size() * sizeof(GifFrame))) {
            throw std::bad_alloc();
        }
        frames.push_back(frame);
    }

    GifStream& stream_;
    GifStructure structure_;
    GifFrame control_;            ///< what a graphic control extension said of the next image
    std::size_t terminators_ = 0; ///< without anything between them
};

} // namespace

GifStructure readGifStructure(GifStream& stream) {
    return StructureReader(stream).read();
}

} // namespace ovrel
