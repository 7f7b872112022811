#include "tests/support/gif_writer.h"

#include <gif_lib.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <memory>
#include <stdexcept>

namespace ovrel::test {

namespace {

constexpr std::size_t headerBytes = 13;     // sections 17 and 18
constexpr std::size_t descriptorBytes = 10; // section 20

std::string byte(unsigned value) {
    return {static_cast<char>(value)};
}

std::string word(unsigned value) {
    return byte(value & 0xFF) + byte(value >> 8);
}

/// Bits of an index into a palette of `colors` entries.
unsigned colorBitsFor(std::size_t colors) {
    return std::max(1U, static_cast<unsigned>(std::bit_width(std::max<std::size_t>(colors, 1) - 1)));
}

/// The flags of section 18 and 20 that say that a palette follows, and its size.
unsigned paletteFlags(const GifPalette& palette) {
    return palette.empty() ? 0U : 0x80U | (colorBitsFor(palette.size()) - 1);
}

std::string paletteBytes(const GifPalette& palette) {
    if (palette.empty()) {
        return {};
    }
    std::string bytes;
    for (const GifColor& color : palette) {
        bytes += byte(color.red) + byte(color.green) + byte(color.blue);
    }
    bytes.resize(std::size_t{3} << colorBitsFor(palette.size()));
    return bytes;
}

std::string control(const GifControl& control) {
    return byte('!') + byte(GRAPHICS_EXT_FUNC_CODE) + byte(4) +
           byte(static_cast<unsigned>(control.disposal) << 2 | (control.transparentIndex ? 1U : 0U)) +
           word(control.delayHundredths) + byte(control.transparentIndex.value_or(0)) + byte(0);
}

/// The rows of a frame in the order in which they are stored (appendix E).
std::vector<std::uint8_t> storedPixels(const GifFrameBlock& frame) {
    if (!frame.interlaced) {
        return frame.pixels;
    }
    constexpr std::array<std::array<std::size_t, 2>, 4> passes{{{0, 8}, {4, 8}, {2, 4}, {1, 2}}};
    std::vector<std::uint8_t> stored;
    for (const auto& [first, step] : passes) {
        for (std::size_t y = first; y < frame.height; y += step) {
            const auto row = frame.pixels.begin() + static_cast<std::ptrdiff_t>(y * frame.width);
            stored.insert(stored.end(), row, row + frame.width);
        }
    }
    return stored;
}

int append(GifFileType* file, const GifByteType* bytes, int count) {
    static_cast<std::string*>(file->UserData)
        ->append(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(count));
    return count;
}

void require(bool done) {
    if (!done) {
        throw std::runtime_error("giflib refuses to write");
    }
}

} // namespace

std::string gifImageData(const std::vector<std::uint8_t>& pixels, unsigned colorBits) {
    if (pixels.empty()) { // a code size and no data
        return byte(std::max(2U, colorBits)) + byte(0);
    }
    // giflib compresses only whole files: one of a single row is written, and all around the data cut away.
    std::string file;
    const auto width = static_cast<int>(pixels.size());
    GifFileType* writer = EGifOpen(&file, append, nullptr);
    require(writer != nullptr);
    const std::unique_ptr<ColorMapObject, decltype(&GifFreeMapObject)> colors(GifMakeMapObject(1 << colorBits, nullptr),
                                                                              &GifFreeMapObject);
    std::vector<std::uint8_t> row = pixels;
    require(EGifPutScreenDesc(writer, width, 1, 8, 0, colors.get()) == GIF_OK);
    require(EGifPutImageDesc(writer, 0, 0, width, 1, false, nullptr) == GIF_OK);
    require(EGifPutLine(writer, row.data(), width) == GIF_OK);
    require(EGifCloseFile(writer, nullptr) == GIF_OK);
    const std::size_t before = headerBytes + (std::size_t{3} << colorBits) + descriptorBytes;
    return file.substr(before, file.size() - before - 1);
}

std::string gifHeader(std::uint16_t width, std::uint16_t height, const GifPalette& palette) {
    return "GIF89a" + word(width) + word(height) + byte(paletteFlags(palette)) + byte(0) + byte(0) +
           paletteBytes(palette);
}

std::string gifApplication(std::string_view name, std::string_view data) {
    return byte('!') + byte(APPLICATION_EXT_FUNC_CODE) + byte(static_cast<unsigned>(name.size())) + std::string(name) +
           byte(static_cast<unsigned>(data.size())) + std::string(data) + byte(0);
}

std::string gifLoop(const GifLoop& loop) {
    return gifApplication(loop.application, byte(1) + word(loop.count));
}

std::string gifFrame(const GifFrameBlock& frame, std::size_t globalColors) {
    const unsigned flags = paletteFlags(frame.palette) | (frame.interlaced ? 0x40U : 0U);
    const std::size_t colors = frame.palette.empty() ? globalColors : frame.palette.size();
    return (frame.control ? control(*frame.control) : std::string()) + byte(',') + word(frame.left) + word(frame.top) +
           word(frame.width) + word(frame.height) + byte(flags) + paletteBytes(frame.palette) +
           (frame.imageData ? *frame.imageData : gifImageData(storedPixels(frame), colorBitsFor(colors)));
}

std::string writeGif(const GifContent& content) {
    std::string file = gifHeader(content.width, content.height, content.palette);
    if (content.loop) {
        file += gifLoop(*content.loop);
    }
    for (const GifFrameBlock& frame : content.frames) {
        file += gifFrame(frame, content.palette.size());
    }
    return content.trailer ? file + byte(';') : file;
}

} // namespace ovrel::test
