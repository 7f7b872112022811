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

    /// \return whether the image ended, by its end code or by a fault
    bool ended() const { return ended_; }

    /// \return whether a code came that stands for nothing
    bool isDamaged() const { return damaged_; }

private:
    static constexpr unsigned maximumCodeBits = 12;
    static constexpr std::size_t maximumCodes = std::size_t{1} << maximumCodeBits;

    void clear();
    void take(unsigned code);
    void push(unsigned index) { string_[stringLength_++] = static_cast<std::uint8_t>(index); }

    const unsigned codeSize_;
    const unsigned clearCode_;
    const unsigned endCode_;

    std::uint32_t bits_ = 0; ///< read but not used, the next one lowest
    unsigned bitCount_ = 0;
    unsigned codeBits_ = 0;

    // A code stands for the string of another one and a last pixel.
    std::array<std::uint16_t, maximumCodes> prefix_{};
    std::array<std::uint8_t, maximumCodes> suffix_{};
    unsigned nextCode_ = 0;
    unsigned previousCode_ = 0;
    bool hasPrevious_ = false;
    unsigned firstIndex_ = 0; ///< of the previous code's string

    std::array<std::uint8_t, maximumCodes + 1> string_{}; ///< decoded but not handed out, the next pixel last
    std::size_t stringLength_ = 0;

    bool ended_ = false;
    bool damaged_ = false;
};

} // namespace ovrel
