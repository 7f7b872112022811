/// \file gif_pixel_reader.h
/// The pixels of an image of a GIF.
#pragma once

#include "platform/linux/gif_lzw_decoder.h"
#include "platform/linux/gif_stream.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace ovrel {

/// Reads the pixels of the image that a stream has just begun, in the order in which they are stored. Refers to the
/// stream, which is left alone meanwhile.
class GifPixelReader {
public:
    /// \param stream its code size is at most GifLzwDecoder::maximumCodeSize
    explicit GifPixelReader(GifStream& stream) : stream_(stream), decoder_(stream.codeSize()) {}

    /// \return the pixels that came, from the front of `indices`; fewer only where the data end
    std::span<std::uint8_t> read(std::span<std::uint8_t> indices);

    /// Passes over pixels, which costs time for their compressed data alone.
    /// \return pixels passed over, fewer only where the data end
    std::size_t skip(std::size_t pixels);

    /// \return whether the data ended in a fault
    bool isDamaged() const { return decoder_.isDamaged(); }

private:
    bool refill();

    GifStream& stream_;
    GifLzwDecoder decoder_;
    GifStream::SubBlock data_; ///< what the decoder has not taken of the last sub-block
};

} // namespace ovrel
