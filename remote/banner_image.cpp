// How the bytes of a banner become a picture.

#include "platform/bitmap.h"
#include "platform/image_source.h"
#include "remote/banner_error.h"
#include "remote/banner_network.h"

#include <QByteArrayView>

#include <cmath>
#include <cstdint>
#include <memory>
#include <new>
#include <optional>
#include <span>
#include <utility>

namespace ovrel {

namespace {

/// ISO/IEC 14496-12, section 4.3: a box's size, "ftyp", then the major brand, which is another one for animations.
bool isAvifStill(QByteArrayView data) {
    constexpr QByteArrayView typeAndMajorBrand("ftypavif");
    constexpr qsizetype sizeBytes = 4;
    return data.size() > sizeBytes && data.sliced(sizeBytes).startsWith(typeAndMajorBrand);
}

constexpr ImageLimits largest{4320, 720};

bool hasBannerSize(std::uint32_t width, std::uint32_t height) {
    constexpr double ratio = 6.0;
    constexpr double tolerance = 0.05;
    return width >= 1 && height >= 1 && width <= largest.width && height <= largest.height &&
           std::abs(static_cast<double>(width) / height - ratio) < tolerance;
}

std::optional<Image> decoded(std::span<const std::uint8_t> bytes) {
    const std::unique_ptr<ImageSource> source = ImageSource::avifFromMemory(bytes, largest);
    if (!source) {
        return std::nullopt;
    }
    const ImageProperties properties = source->properties(0);
    if (!hasBannerSize(properties.pixelWidth, properties.pixelHeight)) {
        return std::nullopt;
    }
    std::optional<Image> image = source->decode(0);
    // Upright it may be another size, and that is the one to be shown.
    if (!image || !hasBannerSize(image->width, image->height)) {
        return std::nullopt;
    }
    return convertedToSrgb(std::move(*image));
}

} // namespace

Image BannerNetwork::decode(const QByteArray& data) {
    if (!isAvifStill(data)) {
        throw BannerError(BannerError::invalid);
    }
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(data.constData());
    std::optional<Image> image;
    try {
        image = decoded({bytes, static_cast<std::size_t>(data.size())});
    } catch (const std::bad_alloc&) {
        // A banner is not worth a word about memory.
    }
    if (!image) {
        throw BannerError(BannerError::invalid);
    }
    return std::move(*image);
}

} // namespace ovrel
