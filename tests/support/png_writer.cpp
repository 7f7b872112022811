#include "tests/support/png_writer.h"

#include <png.h>
#include <zlib.h>

#include <algorithm>

namespace ovrel::test {

namespace {

void appendBytes(png_structp png, png_bytep bytes, std::size_t count) {
    static_cast<std::string*>(png_get_io_ptr(png))->append(reinterpret_cast<const char*>(bytes), count);
}

void writeChunks(png_structp png, const std::vector<PngChunk>& chunks) {
    for (const PngChunk& chunk : chunks) {
        png_write_chunk(png, reinterpret_cast<png_const_bytep>(chunk.type.c_str()),
                        reinterpret_cast<png_const_bytep>(chunk.content.data()), chunk.content.size());
    }
}

void setTransparency(png_structp png, png_infop info, const PngPicture& picture) {
    if (picture.transparency.empty()) {
        return;
    }
    std::vector<png_byte> alphas;
    png_color_16 color{};
    if (picture.colorType == PngColorType::palette) {
        for (const std::uint16_t alpha : picture.transparency) {
            alphas.push_back(static_cast<png_byte>(alpha));
        }
    } else if (picture.colorType == PngColorType::gray) {
        color.gray = picture.transparency.at(0);
    } else {
        color.red = picture.transparency.at(0);
        color.green = picture.transparency.at(1);
        color.blue = picture.transparency.at(2);
    }
    png_set_tRNS(png, info, alphas.empty() ? nullptr : alphas.data(),
                 alphas.empty() ? 1 : static_cast<int>(alphas.size()), alphas.empty() ? &color : nullptr);
}

void setHead(png_structp png, png_infop info, const PngPicture& picture) {
    png_set_IHDR(png, info, picture.width, picture.height, picture.bitDepth, static_cast<int>(picture.colorType),
                 picture.interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    std::vector<png_color> palette;
    for (const auto& [red, green, blue] : picture.palette) {
        palette.push_back({red, green, blue});
    }
    if (!palette.empty()) {
        png_set_PLTE(png, info, palette.data(), static_cast<int>(palette.size()));
    }
    setTransparency(png, info, picture);
}

/// The samples as libpng takes them: two bytes each, the higher first, for a depth of 16, else one.
std::vector<png_byte> bytesOf(const PngPicture& picture) {
    std::vector<png_byte> bytes;
    for (const std::uint16_t sample : picture.samples) {
        if (picture.bitDepth == 16) {
            bytes.push_back(static_cast<png_byte>(sample >> 8));
        }
        bytes.push_back(static_cast<png_byte>(sample & 0xFF));
    }
    return bytes;
}

void writeImageData(png_structp png, const PngPicture& picture) {
    std::vector<png_byte> bytes = bytesOf(picture);
    const std::size_t bytesPerRow = bytes.size() / picture.height;
    std::vector<png_bytep> rows;
    for (std::size_t y = 0; y < picture.height; ++y) {
        rows.push_back(bytes.data() + y * bytesPerRow);
    }
    png_set_packing(png);
    png_write_image(png, rows.data());
}

} // namespace

const std::string pngSignature("\x89PNG\r\n\x1A\n");

std::string writePng(const PngPicture& picture) {
    std::string file;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_set_write_fn(png, &file, appendBytes, nullptr);
    setHead(png, info, picture);
    png_write_info_before_PLTE(png, info);
    writeChunks(png, picture.beforeImageData);
    png_write_info(png, info);
    writeImageData(png, picture);
    writeChunks(png, picture.afterImageData);
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    return file;
}

PngPicture pngOf(const Image& image) {
    PngPicture picture;
    picture.width = image.width;
    picture.height = image.height;
    picture.samples.assign(image.samples.data(), image.samples.data() + image.samples.size());
    return picture;
}

std::size_t channelsOf(PngColorType colorType) {
    switch (colorType) {
    case PngColorType::gray:
    case PngColorType::palette: return 1;
    case PngColorType::grayAlpha: return 2;
    case PngColorType::rgb: return 3;
    case PngColorType::rgba: return 4;
    }
    return 0;
}

std::string pngChunk(std::string_view type, std::string_view content) {
    const std::string checked = std::string(type).append(content);
    const auto crc = ::crc32_z(0, reinterpret_cast<const Bytef*>(checked.data()), checked.size());
    return pngInteger(static_cast<std::uint32_t>(content.size())) + checked +
           pngInteger(static_cast<std::uint32_t>(crc));
}

std::string pngHeader(std::uint32_t width, std::uint32_t height, std::uint8_t bitDepth, PngColorType colorType,
                      bool interlaced) {
    return pngInteger(width) + pngInteger(height) + static_cast<char>(bitDepth) + static_cast<char>(colorType) +
           std::string(2, '\0') + (interlaced ? '\1' : '\0');
}

std::string pngInteger(std::uint32_t value) {
    std::string bytes;
    for (const unsigned shift : {24U, 16U, 8U, 0U}) {
        bytes.push_back(static_cast<char>(value >> shift & 0xFF));
    }
    return bytes;
}

std::string pngAnimationControl(std::uint32_t frames, std::uint32_t plays) {
    return pngInteger(frames) + pngInteger(plays);
}

std::string pngFrameControl(std::uint32_t sequenceNumber, std::uint32_t width, std::uint32_t height) {
    const std::string delayOfTenth("\0\1\0\12", 4);
    const std::string keepAndReplace(2, '\0');
    return pngInteger(sequenceNumber) + pngInteger(width) + pngInteger(height) + pngInteger(0) + pngInteger(0) +
           delayOfTenth + keepAndReplace;
}

std::string pngProfile(std::string_view profile) {
    uLongf size = ::compressBound(profile.size());
    std::string packed(size, '\0');
    ::compress(reinterpret_cast<Bytef*>(packed.data()), &size, reinterpret_cast<const Bytef*>(profile.data()),
               profile.size());
    const std::string nameAndMethod("profile\0\0", 9);
    return nameAndMethod + packed.substr(0, size);
}

} // namespace ovrel::test
