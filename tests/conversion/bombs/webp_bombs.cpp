#include "tests/conversion/bombs/bomb.h"

#include "tests/conversion/bombs/bomb_bytes.h"
#include "tests/support/exif_writer.h"
#include "tests/support/fake_image_source.h"
#include "tests/support/webp_writer.h"

namespace ovrel::test {

namespace {

constexpr std::size_t million = 1'000'000;

std::string chunk(const std::string& name, const std::string& content) {
    return name + littleEndianBytes(content.size(), 4) + content + std::string(content.size() % 2, '\0');
}

std::string riff(const std::string& chunks) {
    return "RIFF" + littleEndianBytes(chunks.size() + 4, 4) + "WEBP" + chunks;
}

/// RFC 9649, section 3: the header, then five codes of one symbol each, so that pixels take no bits at all.
std::string plainLossless(std::uint32_t width, std::uint32_t height) {
    const std::uint32_t size = (width - 1) | (height - 1) << 14; // no alpha, version 0
    // No transform, no colour cache, one group of codes: three zero bits. A simple code of one symbol that fits into
    // one bit: 1, 0, 0 and the symbol.
    constexpr std::uint64_t codes = 0b0001'0001'0001'0001'0001'000;
    return chunk("VP8L", "\x2F" + littleEndianBytes(size, 4) + littleEndianBytes(codes, 8));
}

/// RFC 6386, section 9.1: a key frame's header, and nothing behind it.
std::string emptyLossy(std::uint32_t side) {
    const std::uint32_t tag = 0b1'000'0 | 4'000U << 5; // shown, version 0, length of the first partition
    return chunk("VP8 ", littleEndianBytes(tag, 3) + "\x9D\x01\x2A" + littleEndianBytes(side, 2) +
                             littleEndianBytes(side, 2) + std::string(5'000, '\0'));
}

/// RFC 9649, section 2.7.
std::string extendedHeader(std::uint8_t flags, std::uint32_t width, std::uint32_t height) {
    return chunk("VP8X",
                 littleEndianBytes(flags, 4) + littleEndianBytes(width - 1, 3) + littleEndianBytes(height - 1, 3));
}

constexpr std::uint8_t animated = 2;
constexpr std::uint8_t withProfile = 0x20;

std::string animation(std::uint32_t width, std::uint32_t height, std::size_t frames) {
    const std::string frame = chunk("ANMF", littleEndianBytes(0, 6) + littleEndianBytes(0, 6) +
                                                littleEndianBytes(100, 3) + '\0' + plainLossless(1, 1));
    return riff(extendedHeader(animated, width, height) + chunk("ANIM", littleEndianBytes(0, 6)) +
                repeated(frame, frames));
}

std::string webpWithLargeProfile() {
    constexpr std::size_t bytes = 100'000'000;
    return riff(extendedHeader(withProfile, 16, 16) + chunk("ICCP", std::string(bytes, '\0')) + plainLossless(16, 16));
}

} // namespace

std::vector<Bomb> webpBombs() {
    constexpr std::uint32_t largestSide = 16'384;
    constexpr std::uint32_t largestCanvas = std::uint32_t{1} << 24;
    return {
        {"WebpOfTheLargestSize", "a.webp", Ending::lacksMemory,
         [] { return riff(plainLossless(largestSide, largestSide)); }},
        {"WebpOfOneColourThatFits", "a.webp", Ending::converted, [] { return riff(plainLossless(2'000, 2'000)); }},
        {"LossyWebpOfTheLargestSizeWithoutData", "a.webp", Ending::lacksMemory,
         [] { return riff(emptyLossy(largestSide - 1)); }},
        {"WebpOnALargerCanvas", "a.webp", Ending::damaged,
         [] { return riff(extendedHeader(0, 4'000, 4'000) + plainLossless(1, 1)); }},
        {"WebpAnimationOnTheLargestCanvas", "a.webp", Ending::lacksMemory, [] { return animation(65'535, 65'535, 3); }},
        {"WebpAnimationOnTheWidestCanvas", "a.webp", Ending::lacksMemory,
         [] { return animation(largestCanvas, 255, 3); }},
        {"WebpOfAMillionFrames", "a.webp", Ending::converted, [] { return animation(16, 16, million); }},
        {"WebpOfAMillionChunks", "a.webp", Ending::converted,
         [] { return riff(extendedHeader(0, 16, 16) + plainLossless(16, 16) + repeated(chunk("junk", ""), million)); }},
        {"WebpWithAProfileOf100MB", "a.webp", Ending::converted, webpWithLargeProfile},
    };
}

} // namespace ovrel::test
