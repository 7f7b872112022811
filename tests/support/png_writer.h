/// \file png_writer.h
/// PNG files of every kind, written by libpng. A description that it refuses ends the program.
#pragma once

#include "platform/image.h"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace ovrel::test {

/// PNG, third edition, section 11.2.1.
enum class PngColorType : std::uint8_t { gray = 0, rgb = 2, palette = 3, grayAlpha = 4, rgba = 6 };

struct PngChunk {
    std::string type; ///< four letters
    std::string content;
};

struct PngPicture {
    std::uint32_t width = 1;
    std::uint32_t height = 1;
    PngColorType colorType = PngColorType::rgba;
    std::uint8_t bitDepth = 8;
    bool interlaced = false;
    std::vector<std::uint16_t> samples; ///< row by row, pixel by pixel, each below 2 to the power of bitDepth
    std::vector<std::array<std::uint8_t, 3>> palette;

    /// tRNS: alpha of the first palette entries, or the one transparent grey, or the red, green and blue of the one
    /// transparent colour; none when empty.
    std::vector<std::uint16_t> transparency;

    std::vector<PngChunk> beforeImageData; ///< in front of PLTE as well, where colour descriptions belong
    std::vector<PngChunk> afterImageData;
};

std::string writePng(const PngPicture& picture);

/// The description of an rgba8 image.
PngPicture pngOf(const Image& image);

/// Number of samples of a pixel.
std::size_t channelsOf(PngColorType colorType);

/// What every PNG file begins with.
extern const std::string pngSignature;

/// A chunk as it stands in a file: length, type, content, CRC.
std::string pngChunk(std::string_view type, std::string_view content);

/// The content of IHDR.
std::string pngHeader(std::uint32_t width, std::uint32_t height, std::uint8_t bitDepth = 8,
                      PngColorType colorType = PngColorType::rgb, bool interlaced = false);

/// Four bytes, the highest first, as PNG stores its integers.
std::string pngInteger(std::uint32_t value);

/// The content of an acTL chunk (section 11.3.6.1).
std::string pngAnimationControl(std::uint32_t frames, std::uint32_t plays = 0);

/// The content of an fcTL chunk for a frame that covers the canvas (section 11.3.6.2).
std::string pngFrameControl(std::uint32_t sequenceNumber, std::uint32_t width, std::uint32_t height);

/// The content of an iCCP chunk (section 11.3.2.3).
std::string pngProfile(std::string_view profile);

} // namespace ovrel::test
