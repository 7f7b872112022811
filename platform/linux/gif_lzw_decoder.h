/// \file gif_lzw_decoder.h
/// The compression of GIF images.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace ovrel {

/// Decodes the pixels of one image (GIF89a, appendix F). giflib has a decoder too; it refuses code sizes above 8, which
/// files in use have, and does not tell how many pixels came before a fault.
class GifLzwDecoder {
public:
    static constexpr unsigned maximumCodeSize = 11;

    /// \param codeSize as the file states it, up to maximumCodeSize
    explicit GifLzwDecoder(unsigned codeSize);

    /// Decodes until `indices` is full, `data` is used up or the image ends.
    /// \param data taken from the front; the rest is left for the next call
    /// \return pixels written. Of an index only eight bits count.
    std::size_t decode(std::span<const std::uint8_t>& data, std::span<std::uint8_t> indices);

    /// Passes over pixels instead of writing them. Costs time for the data alone, however many pixels they stand for.
    /// \return pixels passed over, fewer than asked when `data` is used up or the image ends
    std::size_t skip(std::span<const std::uint8_t>& data, std::size_t pixels);

    /// \return whether the image ended, by its end code or by a fault
    bool ended() const { return ended_; }

    /// \return whether a code came that stands for nothing
    bool isDamaged() const { return damaged_; }

private:
    static constexpr unsigned maximumCodeBits = 12;
    static constexpr std::size_t maximumCodes = std::size_t{1} << maximumCodeBits;

    /// What a code stands for: the string of an older one, and a last pixel.
    struct Entry {
        std::uint16_t prefix = 0; ///< the older code
        std::uint16_t length = 0; ///< pixels, at most maximumCodes
        std::uint8_t first = 0;
        std::uint8_t last = 0;
    };

    /// Reads on to the next code that stands for pixels and makes it code_.
    bool readCode(std::span<const std::uint8_t>& data);
    void clear();
    bool isDefined(unsigned code) const;
    void take(unsigned code);
    /// Makes the string of code_ what is handed out next.
    void expand();

    const unsigned codeSize_;
    const unsigned clearCode_;
    const unsigned endCode_;

    std::uint32_t bits_ = 0; ///< read but not used, the next one lowest
    unsigned bitCount_ = 0;
    unsigned codeBits_ = 0;

    std::array<Entry, maximumCodes> entries_{};
    unsigned nextCode_ = 0;
    unsigned code_ = 0;        ///< the last that was read
    bool hasPrevious_ = false; ///< whether code_ came since the last clear code

    std::array<std::uint8_t, maximumCodes> string_{}; ///< decoded but not handed out, the next pixel last
    std::size_t stringLength_ = 0;

    bool ended_ = false;
    bool damaged_ = false;
};

} // namespace ovrel
