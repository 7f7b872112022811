#include "tests/conversion/bombs/bomb.h"

#include "tests/conversion/bombs/bomb_bytes.h"
#include "tests/support/png_writer.h"

#include <array>

namespace ovrel::test {

namespace {

constexpr std::uint32_t largestSide = 0x7FFFFFFF; // PNG, third edition, section 11.2.1
constexpr std::size_t million = 1'000'000;
constexpr std::uint64_t gibi = std::uint64_t{1} << 30;

/// \param header the content of IHDR
/// \param imageData chunks
std::string png(const std::string& header, const std::string& imageData, const std::string& chunksBefore = {},
                const std::string& chunksBehind = {}) {
    return pngSignature + pngChunk("IHDR", header) + chunksBefore + imageData + chunksBehind + pngChunk("IEND", "");
}

/// A sound black picture of 64 × 64, grey with 8 bits.
constexpr std::uint32_t smallSide = 64;
std::string smallHeader() {
    return pngHeader(smallSide, smallSide, 8, PngColorType::gray);
}
constexpr std::uint64_t smallBytes = std::uint64_t{smallSide} * (smallSide + 1);

std::string smallPng(const std::string& chunksBefore, const std::string& chunksBehind = {}) {
    return png(smallHeader(), pngChunk("IDAT", packedZeros(smallBytes)), chunksBefore, chunksBehind);
}

std::string blackPng(std::uint32_t side) {
    return png(pngHeader(side, side, 8, PngColorType::gray),
               pngChunk("IDAT", packedZeros(std::uint64_t{side} * (side + 1))));
}

/// Section 8.1: the passes of Adam7, each with rows of their own.
std::string interlacedBlackPng(std::uint32_t side) {
    struct Pass {
        std::uint32_t left, top, across, down;
    };
    constexpr std::array<Pass, 7> passes{
        {{0, 0, 8, 8}, {4, 0, 8, 8}, {0, 4, 4, 8}, {2, 0, 4, 4}, {0, 2, 2, 4}, {1, 0, 2, 2}, {0, 1, 1, 2}}};
    constexpr std::uint64_t pixelBytes = 8;
    std::uint64_t bytes = 0;
    for (const Pass& pass : passes) {
        const std::uint64_t columns = (side - pass.left + pass.across - 1) / pass.across;
        const std::uint64_t rows = (side - pass.top + pass.down - 1) / pass.down;
        bytes += rows * (columns * pixelBytes + 1);
    }
    return png(pngHeader(side, side, 16, PngColorType::rgba, true), pngChunk("IDAT", packedZeros(bytes)));
}

std::string largestPng(bool interlaced) {
    return png(pngHeader(largestSide, largestSide, 16, PngColorType::rgba, interlaced),
               pngChunk("IDAT", packedZeros(million)));
}

std::string oneRowPng() {
    return png(pngHeader(largestSide, 1, 1, PngColorType::gray), pngChunk("IDAT", packedZeros(largestSide / 8 + 2)));
}

std::string pngWithEndlessImageData() {
    return png(smallHeader(), pngChunk("IDAT", packedZeros(32 * gibi)));
}

std::string pngWithEndlessText() {
    const std::string packed = packedZeros(4 * gibi);
    // Sections 11.3.3.3 and 11.3.3.4: keyword, compression flag and method, for iTXt a language and a translation.
    return smallPng(pngChunk("zTXt", std::string("text\0\0", 6) + packed) +
                    pngChunk("iTXt", std::string("text\0\1\0\0\0", 9) + packed));
}

std::string pngOfManyFrames() {
    const std::string frame = pngChunk("fcTL", pngFrameControl(1, smallSide, smallSide)) +
                              pngChunk("fdAT", pngInteger(2) + packedZeros(smallBytes));
    return smallPng(pngChunk("acTL", pngAnimationControl(largestSide)), repeated(frame, 100'000));
}

} // namespace

std::vector<Bomb> pngBombs() {
    return {
        {"PngOfZeros", "a.png", Ending::lacksMemory, [] { return blackPng(20'000); }},
        {"PngOfZerosThatFits", "a.png", Ending::converted, [] { return blackPng(3'000); }},
        {"InterlacedPngOfZeros", "a.png", Ending::converted, [] { return interlacedBlackPng(2'000); }},
        {"PngOfTheLargestSize", "a.png", Ending::lacksMemory, [] { return largestPng(false); }},
        {"InterlacedPngOfTheLargestSize", "a.png", Ending::lacksMemory, [] { return largestPng(true); }},
        {"PngOfOneLongRow", "a.png", Ending::lacksMemory, oneRowPng},
        {"PngWhoseSizeItsDataCannotFill", "a.png", Ending::damaged,
         [] { return png(pngHeader(5'000, 5'000, 16, PngColorType::rgba), pngChunk("IDAT", packedZeros(million))); }},
        {"PngWithImageDataWithoutEnd", "a.png", Ending::damaged, pngWithEndlessImageData},
        {"PngWithTextWithoutEnd", "a.png", Ending::converted, pngWithEndlessText},
        {"PngOfAMillionChunks", "a.png", Ending::converted,
         [] {
             const std::string chunks = repeated(pngChunk("tEXt", std::string("a\0", 2)), million);
             return smallPng(chunks, chunks);
         }},
        {"PngOfAMillionEmptyImageDataChunks", "a.png", Ending::damaged,
         [] {
             return png(smallHeader(),
                        repeated(pngChunk("IDAT", ""), million) + pngChunk("IDAT", packedZeros(smallBytes)));
         }},
        {"PngOfFiveMillionChunks", "a.png", Ending::damaged,
         [] { return smallPng(repeated(pngChunk("juNk", ""), 5 * million)); }},
        {"PngOfTwoBillionFrames", "a.png", Ending::converted, pngOfManyFrames},
        {"PngWithoutEnd", "a.png", Ending::damaged, [] { return pngSignature + pngChunk("IHDR", smallHeader()); },
         1024 * gibi},
        {"PngOfBillionsOfZeros", "a.png", Ending::damaged,
         [] { return pngSignature + pngChunk("IHDR", smallHeader()); }, 3 * gibi},
    };
}

} // namespace ovrel::test
