#include "platform/linux/gif_lzw_decoder.h"

namespace ovrel {

GifLzwDecoder::GifLzwDecoder(unsigned codeSize)
    : codeSize_(codeSize), clearCode_(1U << codeSize), endCode_(clearCode_ + 1) {
    clear(); // some encoders leave out the clear code at the beginning
}

std::size_t GifLzwDecoder::decode(std::span<const std::uint8_t>& data, std::span<std::uint8_t> indices) {
    constexpr unsigned bitsPerByte = 8;
    std::size_t count = 0;
    while (true) {
        while (stringLength_ != 0 && count < indices.size()) {
            indices[count++] = string_[--stringLength_];
        }
        if (count == indices.size() || ended_) {
            return count;
        }
        while (bitCount_ < codeBits_) {
            if (data.empty()) {
                return count;
            }
            bits_ |= std::uint32_t{data.front()} << bitCount_;
            bitCount_ += bitsPerByte;
            data = data.subspan(1);
        }
        const unsigned code = bits_ & ((1U << codeBits_) - 1);
        bits_ >>= codeBits_;
        bitCount_ -= codeBits_;
        if (code == clearCode_) {
            clear();
        } else if (code == endCode_) {
            ended_ = true;
        } else {
            take(code);
        }
    }
}

void GifLzwDecoder::clear() {
    nextCode_ = endCode_ + 1;
    codeBits_ = codeSize_ + 1;
    hasPrevious_ = false;
}

void GifLzwDecoder::take(unsigned code) {
    // The first code is a pixel; later ones were defined before, or are about to be.
    const bool isDefined = code < clearCode_ || (hasPrevious_ && code <= nextCode_);
    if (!isDefined) {
        ended_ = true;
        damaged_ = true;
        return;
    }
    unsigned rest = code;
    if (code == nextCode_) { // the string of the previous code, and its own first pixel again
        push(firstIndex_);
        rest = previousCode_;
    }
    while (rest > endCode_) { // a prefix is always older than its code, so this ends
        push(suffix_[rest]);
        rest = prefix_[rest];
    }
    push(rest);
    firstIndex_ = rest;
    // A full table stays as it is until the encoder clears it.
    if (hasPrevious_ && nextCode_ < maximumCodes) {
        prefix_[nextCode_] = static_cast<std::uint16_t>(previousCode_);
        suffix_[nextCode_] = static_cast<std::uint8_t>(firstIndex_);
        ++nextCode_;
    }
    if (nextCode_ >= 1U << codeBits_ && codeBits_ < maximumCodeBits) {
        ++codeBits_;
    }
    previousCode_ = code;
    hasPrevious_ = true;
}

} // namespace ovrel
