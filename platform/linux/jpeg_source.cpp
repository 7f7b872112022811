#include "platform/linux/decoders.h"
#include "platform/linux/exif_orientation.h"
#include "platform/linux/jpeg_decompressor.h"
#include "platform/linux/upright_rows.h"
#include "platform/memory.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <string_view>
#include <utility>
#include <vector>

namespace ovrel {

namespace {

constexpr int exifMarker = JPEG_APP0 + 1;
constexpr int profileMarker = JPEG_APP0 + 2;

/// Exif 2.32, section 4.7.2: the first APP1 with this identifier; XMP uses APP1 as well.
std::uint8_t storedOrientation(const jpeg_decompress_struct& info) {
    constexpr std::string_view identifier("Exif\0\0", 6);
    for (jpeg_saved_marker_ptr marker = info.marker_list; marker != nullptr; marker = marker->next) {
        if (marker->data_length >= identifier.size() &&
            std::memcmp(marker->data, identifier.data(), identifier.size()) == 0) {
            return exifOrientation({marker->data, marker->data_length});
        }
    }
    return 1;
}

/// The sample in the middle between none and all, which a decoder without data arrives at (ITU-T T.81, annex A.3.1).
void fillWithGray(std::uint8_t* row, std::size_t bytes, PixelLayout layout) {
    constexpr std::uint8_t middle = 128;
    constexpr std::uint8_t opaque = 255;
    std::memset(row, middle, bytes);
    if (layout == PixelLayout::rgba8) {
        for (std::size_t alpha = 3; alpha < bytes; alpha += 4) {
            row[alpha] = opaque;
        }
    }
}

void invert(std::uint8_t* row, std::size_t bytes) {
    std::transform(row, row + bytes, row, [](std::uint8_t sample) { return static_cast<std::uint8_t>(~sample); });
}

class JpegSource final : public ImageSource {
public:
    JpegSource(InputFile file, const ImageProperties& properties) : file_(std::move(file)), properties_(properties) {}

    ImageFormat format() const override { return ImageFormat::jpeg; }
    std::size_t count() const override { return 1; }
    ImageProperties properties(std::size_t) const override { return properties_; }
    std::optional<Image> decode(std::size_t index) override;

private:
    InputFile file_;
    ImageProperties properties_;
};

std::optional<Image> JpegSource::decode(std::size_t) {
    JpegDecompressor jpeg(file_);
    if (!jpeg.readHead(profileMarker)) {
        return std::nullopt;
    }
    jpeg_decompress_struct& info = jpeg.info;
    ColorModel model = ColorModel::rgb;
    switch (info.num_components) {
    case 1: model = ColorModel::gray; break;
    case 3: model = ColorModel::rgb; break;
    case 4: model = ColorModel::cmyk; break;
    default: return std::nullopt;
    }
    const bool inks = model == ColorModel::cmyk;
    const PixelLayout layout = inks ? PixelLayout::cmyk8 : PixelLayout::rgba8;
    info.out_color_space = inks ? JCS_CMYK : JCS_EXT_RGBA;

    ColorSpace colorSpace = jpeg.embeddedColorSpace(model);
    const std::uint64_t pictureBytes = std::uint64_t{info.image_width} * info.image_height * bytesPerPixel(layout);
    if (jpeg_has_multiple_scans(&info) && !fitsIntoMemory(pictureBytes + jpeg.coefficientBytes())) {
        throw std::bad_alloc();
    }
    // Only when a first row has come is memory taken for the picture.
    std::vector<std::uint8_t> firstRow(info.image_width * bytesPerPixel(layout));
    if (!jpeg.hasData() || !jpeg.start() || !jpeg.readRow(firstRow.data())) {
        return std::nullopt;
    }
    UprightRows rows(info.image_width, info.image_height, layout, properties_.orientation);
    // Photoshop, and all who follow it, mark their pictures as Adobe's and store light instead of ink.
    const bool storesLight = inks && info.saw_Adobe_marker;
    bool more = true;
    for (std::uint32_t y = 0; y < info.image_height; ++y) {
        std::uint8_t* row = rows.row(y);
        if (y == 0) {
            std::copy(firstRow.begin(), firstRow.end(), row);
        } else {
            more = more && jpeg.readRow(row);
        }
        if (!more) {
            fillWithGray(row, rows.bytesPerRow(), layout);
        }
        if (storesLight) {
            invert(row, rows.bytesPerRow());
        }
    }
    return jpeg.deviceFailed() ? std::nullopt : std::optional(std::move(rows).finish(std::move(colorSpace)));
}

} // namespace

std::unique_ptr<ImageSource> openJpeg(InputFile file) {
    ImageProperties properties;
    {
        JpegDecompressor jpeg(file);
        if (!jpeg.readHead(exifMarker)) {
            return nullptr;
        }
        properties.pixelWidth = jpeg.info.image_width;
        properties.pixelHeight = jpeg.info.image_height;
        properties.orientation = storedOrientation(jpeg.info);
    }
    return std::make_unique<JpegSource>(std::move(file), properties);
}

} // namespace ovrel
