#include "platform/linux/png_chunks.h"

#include "platform/linux/exif_orientation.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <span>
#include <vector>

namespace ovrel {

namespace {

/// PNG, third edition, section 7.1: no length and no dimension is larger.
constexpr std::uint32_t maximumInteger = 0x7FFFFFFF;

constexpr std::size_t signatureBytes = 8;
constexpr std::size_t crcBytes = 4;

/// Far above the 64 KiB of an Exif block in JPEG, which cameras keep to.
constexpr std::uint32_t maximumExifBytes = std::uint32_t{1} << 20;

std::uint32_t bigEndian(std::span<const std::uint8_t> bytes) {
    return std::uint32_t{bytes[0]} << 24 | std::uint32_t{bytes[1]} << 16 | std::uint32_t{bytes[2]} << 8 | bytes[3];
}

constexpr std::uint32_t chunkType(const char (&name)[5]) {
    std::uint32_t type = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        type = type << 8 | static_cast<std::uint8_t>(name[i]);
    }
    return type;
}

/// Encoders write some kilobytes into a chunk; passing over a smaller one takes as long as over a large one.
constexpr std::size_t maximumChunks = std::size_t{1} << 22;

/// Goes through a file chunk by chunk (section 5.3: length, type, content, CRC of type and content).
class ChunkWalk {
public:
    explicit ChunkWalk(const InputFile& file) : file_(file), reader_(file) {}

    /// \return whether there is another chunk; number() and type() are its own
    bool next() {
        std::array<std::uint8_t, 8> head{};
        reader_.seek(nextChunk_);
        if (reader_.read(head) < head.size()) {
            return false;
        }
        content_ = nextChunk_ + head.size();
        length_ = bigEndian(head);
        type_ = bigEndian(std::span(head).subspan(4));
        nextChunk_ = content_ + length_ + crcBytes;
        ++number_;
        // Section 5.3: a type is four letters; anything else is no chunk.
        const std::span<const std::uint8_t> letters = std::span(head).subspan(4);
        return length_ <= maximumInteger && std::all_of(letters.begin(), letters.end(), [](std::uint8_t letter) {
                   return (letter >= 'A' && letter <= 'Z') || (letter >= 'a' && letter <= 'z');
               });
    }

    std::size_t number() const { return number_; } ///< of chunks so far

    std::uint32_t type() const { return type_; }

    /// Bytes of the content that lie inside the file.
    std::uint64_t bytesInFile() const {
        return std::min<std::uint64_t>(length_, file_.size() - std::min(content_, file_.size()));
    }

    /// \return the content; nothing when its length is not `least` … `most` or its CRC is wrong
    std::optional<std::vector<std::uint8_t>> content(std::uint32_t least, std::uint32_t most) {
        if (length_ < least || length_ > most) {
            return std::nullopt;
        }
        constexpr std::size_t typeBytes = 4;
        std::vector<std::uint8_t> bytes(typeBytes + length_ + crcBytes);
        reader_.seek(content_ - typeBytes);
        if (reader_.read(bytes) < bytes.size()) {
            return std::nullopt;
        }
        const std::span<const std::uint8_t> checked = std::span(bytes).first(typeBytes + length_);
        if (::crc32_z(0, checked.data(), checked.size()) != bigEndian(std::span(bytes).last(crcBytes))) {
            return std::nullopt;
        }
        return std::vector<std::uint8_t>(checked.begin() + typeBytes, checked.end());
    }

private:
    const InputFile& file_;
    FileReader reader_;
    std::uint64_t nextChunk_ = signatureBytes;
    std::uint64_t content_ = 0;
    std::size_t number_ = 0;
    std::uint32_t length_ = 0;
    std::uint32_t type_ = 0;
};

/// Section 11.2.1: IHDR comes first and begins with width and height.
bool readImageHeader(ChunkWalk& walk, PngChunks& chunks) {
    constexpr std::uint32_t headerBytes = 13;
    if (!walk.next() || walk.type() != chunkType("IHDR")) {
        return false;
    }
    const auto header = walk.content(headerBytes, headerBytes);
    if (!header) {
        return false;
    }
    chunks.width = bigEndian(*header);
    chunks.height = bigEndian(std::span(*header).subspan(4));
    const auto valid = [](std::uint32_t pixels) { return pixels >= 1 && pixels <= maximumInteger; };
    return valid(chunks.width) && valid(chunks.height);
}

/// What the chunks in front of the image data say of an animation.
struct AnimationHead {
    std::size_t controls = 0; ///< acTL chunks
    std::uint32_t frames = 0; ///< as the last acTL states
    bool startsWithDefaultImage = false;
};

/// Section 11.3.6.1: acTL stands before IDAT, once, with at least one frame.
void readAnimationControl(ChunkWalk& walk, AnimationHead& animation) {
    constexpr std::uint32_t controlBytes = 8;
    if (const auto control = walk.content(controlBytes, controlBytes)) {
        ++animation.controls;
        animation.frames = bigEndian(*control);
    }
}

std::size_t imageCount(const AnimationHead& animation) {
    if (animation.controls != 1 || animation.frames < 1 || animation.frames > maximumInteger) {
        return 1;
    }
    return std::size_t{animation.frames} + (animation.startsWithDefaultImage ? 0 : 1);
}

/// Section 11.3.2.6: primaries, transfer, matrix, range. PNG has no matrix but that of RGB. The narrow range is that of
/// video; its samples are not spread here, so such a chunk describes nothing that we have, and the next source of
/// colours counts.
void readCodePoints(ChunkWalk& walk, PngChunks& chunks) {
    constexpr std::uint32_t codePointBytes = 4;
    const auto codes = walk.content(codePointBytes, codePointBytes);
    constexpr std::uint8_t fullRange = 1;
    if (codes && codes->at(2) == 0 && codes->at(3) == fullRange && !chunks.codePoints) {
        chunks.codePoints = PngCodePoints{codes->at(0), codes->at(1)};
    }
}

} // namespace

std::optional<PngChunks> readPngChunks(const InputFile& file) {
    PngChunks chunks;
    ChunkWalk walk(file);
    if (!readImageHeader(walk, chunks)) {
        return std::nullopt;
    }
    AnimationHead animation;
    std::optional<std::vector<std::uint8_t>> exif;
    bool beforeImageData = true;
    while (walk.next() && walk.type() != chunkType("IEND")) {
        if (walk.number() > maximumChunks) {
            return std::nullopt;
        }
        switch (walk.type()) {
        case chunkType("IDAT"):
            beforeImageData = false;
            chunks.imageDataBytes += walk.bytesInFile();
            break;
        case chunkType("acTL"):
            if (beforeImageData) {
                readAnimationControl(walk, animation);
            }
            break;
        case chunkType("fcTL"): // Section 11.3.6.2: before IDAT it makes the default image the first frame.
            animation.startsWithDefaultImage = animation.startsWithDefaultImage || beforeImageData;
            break;
        case chunkType("cICP"):
            if (beforeImageData) {
                readCodePoints(walk, chunks);
            }
            break;
        case chunkType("eXIf"):
            if (!exif) {
                exif = walk.content(0, maximumExifBytes);
            }
            break;
        default: break;
        }
    }
    chunks.orientation = exif ? exifOrientation(*exif) : chunks.orientation;
    chunks.imageCount = imageCount(animation);
    return chunks;
}

} // namespace ovrel
