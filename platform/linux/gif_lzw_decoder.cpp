#include "platform/linux/gif_lzw_decoder.h"

#include <algorithm>

namespace ovrel {

GifLzwDecoder::GifLzwDecoder(unsigned codeSize)
    : codeSize_(codeSize), clearCode_(1U << codeSize), endCode_(clearCode_ + 1) {
    for (unsigned index = 0; index < clearCode_; ++index) {
        entries_[index] = {0, 1, static_cast<std::uint8_t>(index), static_cast<std::uint8_t>(index)};
    }
    clear(); // some encoders leave out the clear code at the beginning
}

std::size_t GifLzwDecoder::decode(std::span<const std::uint8_t>& data, std::span<std::uint8_t> indices) {
    std::size_t count = 0;
    while (true) {
        while (stringLength_ != 0 && count < indices.size()) {
            indices[count++] = string_[--stringLength_];
        }
        if (count == indices.size() || !readCode(data)) {
            return count;
        }
        expand();
    }
}

std::size_t GifLzwDecoder::skip(std::span<const std::uint8_t>& data, std::size_t pixels) {
    std::size_t count = std::min(stringLength_, pixels);
    stringLength_ -= count;
    while (count < pixels && readCode(data)) {
        const std::size_t length = entries_[code_].length;
        const std::size_t skipped = std::min(length, pixels - count);
        count += skipped;
        if (skipped < length) {
            expand();
            stringLength_ -= skipped;
        }
    }
    return count;
}

bool GifLzwDecoder::readCode(std::span<const std::uint8_t>& data) {
    constexpr unsigned bitsPerByte = 8;
    while (!ended_) {
        while (bitCount_ < codeBits_) {
            if (data.empty()) {
                return false;
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
        } else if (isDefined(code)) {
            take(code);
            return true;
        } else {
            ended_ = true;
            damaged_ = true;
        }
    }
    return false;
}

void GifLzwDecoder::clear() {
    nextCode_ = endCode_ + 1;
    codeBits_ = codeSize_ + 1;
    hasPrevious_ = false;
}

bool GifLzwDecoder::isDefined(unsigned code) const {
    // The first code is a pixel; later ones were defined before, or are about to be.
    return code < clearCode_ || (hasPrevious_ && code <= nextCode_);
}

void GifLzwDecoder::take(unsigned code) {
    // A full table stays as it is until the encoder clears it.
    if (hasPrevious_ && nextCode_ < maximumCodes) {
        const Entry& previous = entries_[code_];
        // A code that is just being defined stands for the string of the previous one, and its own first pixel again.
        const std::uint8_t last = code == nextCode_ ? previous.first : entries_[code].first;
        entries_[nextCode_] = {static_cast<std::uint16_t>(code_), static_cast<std::uint16_t>(previous.length + 1),
                               previous.first, last};
        ++nextCode_;
    }
    if (nextCode_ >= 1U << codeBits_ && codeBits_ < maximumCodeBits) {
        ++codeBits_;
    }
    code_ = code;
    hasPrevious_ = true;
}

void GifLzwDecoder::expand() {
    stringLength_ = entries_[code_].length;
    unsigned rest = code_;
    for (std::size_t i = 0; i < stringLength_; ++i) {
        string_[i] = entries_[rest].last;
        rest = entries_[rest].prefix;
    }
}

} // namespace ovrel
