#include "platform/linux/gif_pixel_reader.h"

namespace ovrel {

std::span<std::uint8_t> GifPixelReader::read(std::span<std::uint8_t> indices) {
    std::size_t count = decoder_.decode(data_, indices);
    while (count < indices.size() && refill()) {
        count += decoder_.decode(data_, indices.subspan(count));
    }
    return indices.first(count);
}

std::size_t GifPixelReader::skip(std::size_t pixels) {
    std::size_t count = decoder_.skip(data_, pixels);
    while (count < pixels && refill()) {
        count += decoder_.skip(data_, pixels - count);
    }
    return count;
}

bool GifPixelReader::refill() {
    const std::optional<GifStream::SubBlock> block = decoder_.ended() ? std::nullopt : stream_.nextDataBlock();
    data_ = block.value_or(GifStream::SubBlock());
    return block.has_value();
}

} // namespace ovrel
