#include "platform/pixel_buffer.h"

#include "platform/memory.h"

#include <cstdlib>
#include <limits>
#include <new>

namespace ovrel {

void PixelBuffer::Free::operator()(std::uint8_t* bytes) const noexcept {
    std::free(bytes);
}

PixelBuffer PixelBuffer::zeroed(std::size_t rows, std::size_t bytesPerRow) {
    if (bytesPerRow != 0 && rows > std::numeric_limits<std::size_t>::max() / bytesPerRow) {
        throw std::bad_alloc();
    }
    const std::size_t size = rows * bytesPerRow;
    if (!fitsIntoMemory(size)) {
        throw std::bad_alloc();
    }
    PixelBuffer buffer;
    // calloc hands out fresh pages of zeros that are not backed by memory until they are written.
    buffer.bytes_.reset(static_cast<std::uint8_t*>(std::calloc(size == 0 ? 1 : size, 1)));
    if (!buffer.bytes_) {
        throw std::bad_alloc();
    }
    buffer.size_ = size;
    return buffer;
}

void PixelBuffer::shrink(std::size_t size) {
    if (size >= size_) {
        return;
    }
    if (void* smaller = std::realloc(bytes_.get(), size == 0 ? 1 : size)) {
        (void)bytes_.release();
        bytes_.reset(static_cast<std::uint8_t*>(smaller));
    }
    size_ = size;
}

} // namespace ovrel
