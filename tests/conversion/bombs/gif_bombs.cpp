#include "tests/conversion/bombs/bomb.h"

#include "tests/conversion/bombs/bomb_bytes.h"
#include "tests/support/gif_writer.h"

#include <algorithm>

namespace ovrel::test {

namespace {

constexpr std::uint16_t largestSide = 65'535;
constexpr std::size_t million = 1'000'000;
constexpr std::uint64_t tebi = std::uint64_t{1} << 40;

const GifPalette palette{{0, 0, 0}, {255, 255, 255}};

/// A frame without any pixels, in as few bytes as can be.
std::string emptyFrame(std::uint16_t width = 1, std::uint16_t height = 1) {
    GifFrameBlock frame;
    frame.width = width;
    frame.height = height;
    return gifFrame(frame, palette.size());
}

std::string onePixel() {
    GifFrameBlock frame;
    frame.width = frame.height = 1;
    frame.pixels = {1};
    return gifFrame(frame, palette.size());
}

/// Appendix F: each code stands for one pixel more than the one before, until the table is full.
std::string longestStrings(std::uint64_t pixels) {
    constexpr unsigned codeSize = 2;
    constexpr unsigned firstFree = (1U << codeSize) + 2;
    constexpr unsigned lastCode = 4095;
    std::string packed;
    std::uint32_t bits = 0;
    unsigned bitCount = 0;
    const auto put = [&](unsigned code, unsigned width) {
        bits |= code << bitCount;
        for (bitCount += width; bitCount >= 8; bitCount -= 8, bits >>= 8) {
            packed.push_back(static_cast<char>(bits & 0xFF));
        }
    };
    unsigned width = codeSize + 1;
    put(1U << codeSize, width); // clear
    put(0, width);
    std::uint64_t done = 1;
    unsigned next = firstFree;
    for (std::uint64_t length = 2; done < pixels; done += length, length = std::min<std::uint64_t>(length + 1, 4090)) {
        put(std::min(next, lastCode), width);
        ++next;
        width = next > 1U << width ? std::min(width + 1, 12U) : width;
    }
    put(0, 12);
    std::string data(1, static_cast<char>(codeSize));
    for (std::size_t place = 0; place < packed.size(); place += 255) {
        const std::string block = packed.substr(place, 255);
        data += static_cast<char>(block.size()) + block;
    }
    return data + '\0';
}

std::string frameBesideTheCanvas() {
    GifFrameBlock frame;
    frame.width = frame.height = largestSide;
    frame.left = frame.top = 1;
    frame.imageData = longestStrings(std::uint64_t{largestSide} * largestSide);
    return gifHeader(1, 1, palette) + onePixel() + gifFrame(frame, palette.size()) + ";";
}

} // namespace

std::vector<Bomb> gifBombs() {
    return {
        {"GifOfAMillionFrames", "a.gif", Ending::damaged,
         [] { return gifHeader(16, 16, palette) + repeated(emptyFrame(), million) + ";"; }},
        {"GifOfManyFramesOnALargeCanvas", "a.gif", Ending::damaged,
         [] { return gifHeader(5'000, 5'000, palette) + repeated(emptyFrame(), 100'000) + ";"; }},
        {"GifOfTheLargestSize", "a.gif", Ending::lacksMemory,
         [] { return gifHeader(largestSide, largestSide, palette) + onePixel() + ";"; }},
        {"GifAnimationOfTheLargestSize", "a.gif", Ending::lacksMemoryForFrame,
         [] { return gifHeader(largestSide, largestSide, palette) + repeated(onePixel(), 3) + ";"; }},
        {"GifWhoseFirstFrameIsOfTheLargestSize", "a.gif", Ending::lacksMemoryForFrame,
         [] {
             return gifHeader(1, 1, palette) + emptyFrame(largestSide, largestSide) + repeated(onePixel(), 3) + ";";
         }},
        {"GifWithBillionsOfPixelsBesideTheCanvas", "a.gif", Ending::converted, frameBesideTheCanvas},
        {"GifOfAMillionExtensions", "a.gif", Ending::converted,
         [] {
             return gifHeader(1, 1, palette) + repeated(gifApplication("NETSCAPE2.0", "\1\1"), million) + onePixel();
         }},
        {"GifOfTerminatorsWithoutEnd", "a.gif", Ending::damaged, [] { return gifHeader(1, 1, palette); }, tebi},
        {"GifOfAFewBillionTerminators", "a.gif", Ending::damaged, [] { return gifHeader(1, 1, palette); },
         3 * (tebi >> 10)},
    };
}

} // namespace ovrel::test
