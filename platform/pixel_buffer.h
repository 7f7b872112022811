/// \file pixel_buffer.h
/// The memory of a large picture.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace ovrel {

/// A block of bytes, all zero at first, owned by one holder at a time. Pages that are never written cost nothing, so a
/// damaged file that claims a huge picture is refused before it has cost memory.
class PixelBuffer {
public:
    PixelBuffer() = default;

    /// Takes `rows` rows of `bytesPerRow` bytes.
    /// \throws std::bad_alloc when the size overflows or the machine has less left (see fitsIntoMemory())
    static PixelBuffer zeroed(std::size_t rows, std::size_t bytesPerRow);

    std::uint8_t* data() { return bytes_.get(); }
    const std::uint8_t* data() const { return bytes_.get(); }
    std::size_t size() const { return size_; }

    /// Gives back all but the first `size` bytes; does nothing when there are fewer.
    void shrink(std::size_t size);

private:
    struct Free {
        void operator()(std::uint8_t* bytes) const noexcept;
    };

    std::unique_ptr<std::uint8_t[], Free> bytes_;
    std::size_t size_ = 0;
};

} // namespace ovrel
