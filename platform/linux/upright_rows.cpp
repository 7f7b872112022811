#include "platform/linux/upright_rows.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <utility>

namespace ovrel {

namespace {

/// Where the pixel of a stored column and row stands in the upright picture, counted in pixels from its first one:
/// origin + x * perColumn + y * perRow.
struct Turn {
    std::ptrdiff_t origin;
    std::ptrdiff_t perColumn;
    std::ptrdiff_t perRow;
};

/// Exif 2.32, tag 0x0112: 5 … 8 exchange rows and columns.
bool exchangesAxes(std::uint8_t orientation) {
    return orientation >= 5 && orientation <= 8;
}

Turn turnFor(std::uint8_t orientation, std::ptrdiff_t width, std::ptrdiff_t height) {
    switch (orientation) {
    case 2: return {width - 1, -1, width};
    case 3: return {width * height - 1, -1, -width};
    case 4: return {width * (height - 1), 1, -width};
    case 5: return {0, height, 1};
    case 6: return {height - 1, height, -1};
    case 7: return {width * height - 1, -height, -1};
    case 8: return {height * (width - 1), -height, 1};
    default: return {0, 1, width};
    }
}

/// Columns that are turned together, so that the rows they become stay in the processor's cache.
constexpr std::ptrdiff_t tileColumns = 64;

template <typename Pixel>
void turnRows(const std::uint8_t* from, std::uint8_t* to, std::ptrdiff_t width, std::ptrdiff_t firstRow,
              std::ptrdiff_t rows, const Turn& turn) {
    constexpr auto size = static_cast<std::ptrdiff_t>(sizeof(Pixel));
    for (std::ptrdiff_t tile = 0; tile < width; tile += tileColumns) {
        const std::ptrdiff_t tileEnd = std::min(tile + tileColumns, width);
        for (std::ptrdiff_t y = 0; y < rows; ++y) {
            const std::uint8_t* source = from + (y * width + tile) * size;
            std::uint8_t* target = to + (turn.origin + tile * turn.perColumn + (firstRow + y) * turn.perRow) * size;
            for (std::ptrdiff_t x = tile; x < tileEnd; ++x) {
                std::memcpy(target, source, sizeof(Pixel));
                source += size;
                target += turn.perColumn * size;
            }
        }
    }
}

} // namespace

UprightRows::UprightRows(std::uint32_t width, std::uint32_t height, PixelLayout layout, std::uint8_t orientation,
                         std::uint32_t stripRows)
    : width_(width), height_(height), orientation_(orientation), stripRows_(std::clamp(stripRows, 1U, height)) {
    const bool exchanged = exchangesAxes(orientation);
    image_.width = exchanged ? height : width;
    image_.height = exchanged ? width : height;
    image_.layout = layout;
    image_.samples = PixelBuffer::zeroed(image_.height, image_.bytesPerRow());
    if (orientation_ >= 2 && orientation_ <= 8) {
        strip_ = PixelBuffer::zeroed(stripRows_, bytesPerRow());
    }
}

std::uint8_t* UprightRows::row(std::uint32_t y) {
    if (strip_.size() == 0) {
        return image_.row(y);
    }
    if (y >= stripStart_ + stripRows_) {
        turnStrip();
        stripStart_ = y - y % stripRows_;
        std::memset(strip_.data(), 0, strip_.size());
    }
    return strip_.data() + (y - stripStart_) * bytesPerRow();
}

void UprightRows::turnStrip() {
    const auto width = static_cast<std::ptrdiff_t>(width_);
    const auto rows = static_cast<std::ptrdiff_t>(std::min(stripRows_, height_ - stripStart_));
    const Turn turn = turnFor(orientation_, width, static_cast<std::ptrdiff_t>(height_));
    if (bytesPerPixel(image_.layout) == sizeof(std::uint64_t)) {
        turnRows<std::uint64_t>(strip_.data(), image_.samples.data(), width, stripStart_, rows, turn);
    } else {
        turnRows<std::uint32_t>(strip_.data(), image_.samples.data(), width, stripStart_, rows, turn);
    }
}

Image UprightRows::finish(ColorSpace colorSpace) && {
    if (strip_.size() != 0) {
        turnStrip();
        strip_ = PixelBuffer();
    }
    image_.colorSpace = std::move(colorSpace);
    return std::move(image_);
}

} // namespace ovrel
