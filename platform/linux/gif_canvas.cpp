#include "platform/linux/gif_canvas.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace ovrel {

namespace {

GifArea intersection(const GifArea& a, const GifArea& b) {
    return {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right), std::min(a.bottom, b.bottom)};
}

GifArea hull(const GifArea& a, const GifArea& b) {
    if (a.isEmpty()) {
        return b;
    }
    return {std::min(a.left, b.left), std::min(a.top, b.top), std::max(a.right, b.right), std::max(a.bottom, b.bottom)};
}

/// Bytes of one of its rows in an rgba8 picture.
std::size_t rowBytes(const GifArea& area) {
    return area.isEmpty() ? 0 : (area.right - area.left) * bytesPerPixel(PixelLayout::rgba8);
}

std::uint8_t* at(Image& image, std::uint32_t x, std::uint32_t y) {
    return image.row(y) + x * bytesPerPixel(PixelLayout::rgba8);
}

const std::uint8_t* at(const Image& image, std::uint32_t x, std::uint32_t y) {
    return image.row(y) + x * bytesPerPixel(PixelLayout::rgba8);
}

Image emptyImage(std::uint32_t width, std::uint32_t height) {
    Image image;
    image.width = width;
    image.height = height;
    image.samples = PixelBuffer::zeroed(height, image.bytesPerRow());
    return image;
}

} // namespace

GifCanvas::GifCanvas(std::uint32_t width, std::uint32_t height) : image_(emptyImage(width, height)) {}

void GifCanvas::beginFrame(GifArea area, GifDisposal disposal) {
    dispose();
    area_ = intersection(area, {0, 0, image_.width, image_.height});
    disposal_ = disposal;
    if (disposal_ != GifDisposal::previous) {
        return;
    }
    const GifArea saved = intersection(area_, painted_);
    const std::size_t bytes = rowBytes(saved);
    if (bytes == 0) {
        return;
    }
    saved_ = PixelBuffer::zeroed(saved.bottom - saved.top, bytes);
    savedArea_ = saved;
    for (std::uint32_t y = saved.top; y < saved.bottom; ++y) {
        std::memcpy(saved_.data() + (y - saved.top) * bytes, at(image_, saved.left, y), bytes);
    }
}

void GifCanvas::dispose() {
    if (disposal_ != GifDisposal::keep) {
        clear(area_);
    }
    const std::size_t bytes = rowBytes(savedArea_);
    for (std::uint32_t y = savedArea_.top; bytes != 0 && y < savedArea_.bottom; ++y) {
        std::memcpy(at(image_, savedArea_.left, y), saved_.data() + (y - savedArea_.top) * bytes, bytes);
    }
    saved_ = PixelBuffer();
    savedArea_ = GifArea();
}

void GifCanvas::clear(const GifArea& area) {
    const GifArea cleared = intersection(area, painted_);
    const std::size_t bytes = rowBytes(cleared);
    for (std::uint32_t y = cleared.top; bytes != 0 && y < cleared.bottom; ++y) {
        std::memset(at(image_, cleared.left, y), 0, bytes);
    }
}

void GifCanvas::paintRow(std::uint32_t y, std::span<const std::uint8_t> indices, const GifColorTable& colors) {
    const std::size_t columns = std::min<std::size_t>(indices.size(), area_.right - area_.left);
    std::uint8_t* pixel = at(image_, area_.left, y);
    for (const std::uint8_t index : indices.first(columns)) {
        const std::array<std::uint8_t, 4>& color = colors[index];
        if (color[3] != 0) {
            std::memcpy(pixel, color.data(), color.size());
        }
        pixel += color.size();
    }
    painted_ = hull(painted_, {area_.left, y, area_.left + static_cast<std::uint32_t>(columns), y + 1});
}

Image GifCanvas::image() const {
    Image copy = emptyImage(image_.width, image_.height);
    const std::size_t bytes = rowBytes(painted_);
    for (std::uint32_t y = painted_.top; bytes != 0 && y < painted_.bottom; ++y) {
        std::memcpy(at(copy, painted_.left, y), at(image_, painted_.left, y), bytes);
    }
    return copy;
}

Image GifCanvas::release() && {
    return std::move(image_);
}

} // namespace ovrel
