/// \file gif_writer.h
/// GIF files to the letter (GIF89a), the odd ones included.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ovrel::test {

struct GifColor {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
};

/// Up to 256 colours; written with the next power of two of entries (at least two), black behind these.
using GifPalette = std::vector<GifColor>;

/// A graphic control extension (section 23).
struct GifControl {
    std::uint16_t delayHundredths = 0;
    std::uint8_t disposal = 0; ///< 0 … 7: 0 unspecified, 1 keep, 2 background, 3 previous
    std::optional<std::uint8_t> transparentIndex;
};

/// An image block (section 20).
struct GifFrameBlock {
    std::uint16_t left = 0;
    std::uint16_t top = 0;
    std::uint16_t width = 0;
    std::uint16_t height = 0;
    /// Palette indices, row after row from the top; the data end early where there are fewer than width × height.
    std::vector<std::uint8_t> pixels;
    GifPalette palette; ///< local; none when empty
    bool interlaced = false;
    std::optional<GifControl> control;
    /// Instead of `pixels`: what stands behind the descriptor and palette, from the code size to the terminator.
    std::optional<std::string> imageData;
};

/// A looping extension.
struct GifLoop {
    std::uint16_t count = 0; ///< 0 for without end
    std::string_view application = "NETSCAPE2.0";
};

struct GifContent {
    std::uint16_t width = 0; ///< of the logical screen
    std::uint16_t height = 0;
    GifPalette palette; ///< global; none when empty
    std::optional<GifLoop> loop;
    std::vector<GifFrameBlock> frames;
    bool trailer = true;
};

/// The bytes of the file.
std::string writeGif(const GifContent& content);

// The parts, for files in another order.

std::string gifHeader(std::uint16_t width, std::uint16_t height, const GifPalette& palette);
std::string gifLoop(const GifLoop& loop);
/// The control extension, if any, and the image block.
/// \param globalColors entries of the global palette, which decide the code size where there is no local one
std::string gifFrame(const GifFrameBlock& frame, std::size_t globalColors);
/// An application extension (section 26) whose data fit into one sub-block.
std::string gifApplication(std::string_view name, std::string_view data);

/// Data of an image as section 22 has them: code size, sub-blocks, terminator.
/// \param pixels in the order in which they are stored, at most 65535 of them
/// \param colorBits bits of an index, 1 … 8
std::string gifImageData(const std::vector<std::uint8_t>& pixels, unsigned colorBits);

} // namespace ovrel::test
