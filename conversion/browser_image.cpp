#include "conversion/browser_image.h"

#include "conversion/conversion_error.h"
#include "platform/bitmap.h"

#include <cstring>
#include <new>
#include <utility>

namespace ovrel {

namespace {

/// The image as a drawing canvas would hold it: 8 bits a sample, RGB.
Image drawable(Image&& image) {
    try {
        return image.colorSpace.model == ColorModel::rgb ? reducedTo8Bits(std::move(image))
                                                         : convertedToSrgb(std::move(image));
    } catch (const std::bad_alloc&) {
        throw ConversionError("Не удалось подготовить изображение", "Unable to prepare the image");
    }
}

Image canvas(std::uint32_t width, std::uint32_t height) {
    try {
        Image image{width, height, PixelLayout::rgba8, {}, {}};
        image.samples = PixelBuffer::zeroed(height, image.bytesPerRow());
        return image;
    } catch (const std::bad_alloc&) {
        throw ConversionError("Не удалось подготовить изображение для браузера",
                              "Unable to prepare a browser-compatible image");
    }
}

} // namespace

Image browserCompatibleImage(Image&& image) {
    const std::uint32_t padX = image.width % 2;
    const std::uint32_t padY = image.height % 2;
    if (padX == 0 && padY == 0) {
        return std::move(image);
    }
    const Image drawn = drawable(std::move(image));
    Image padded = canvas(drawn.width + padX, drawn.height + padY);
    constexpr std::size_t pixelBytes = bytesPerPixel(PixelLayout::rgba8);
    for (std::uint32_t y = 0; y < drawn.height; ++y) {
        std::memcpy(padded.row(y), drawn.row(y), drawn.bytesPerRow());
        if (padX != 0) {
            std::uint8_t* end = padded.row(y) + drawn.bytesPerRow();
            std::memcpy(end, end - pixelBytes, pixelBytes);
        }
    }
    if (padY != 0) {
        std::memcpy(padded.row(drawn.height), padded.row(drawn.height - 1), padded.bytesPerRow());
    }
    padded.colorSpace = drawn.colorSpace;
    return padded;
}

} // namespace ovrel
