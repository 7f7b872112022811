/// \file decoded_avif.h
/// An AVIF file as libavif's decoder reads it.
#pragma once

#include <avif/avif.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <vector>

namespace ovrel::test {

class DecodedAvif {
public:
    /// Decodes the first frame. Throws when the file cannot be decoded.
    explicit DecodedAvif(const std::filesystem::path& file);

    const avifDecoder& decoder() const { return *decoder_; }
    const avifImage& image() const { return *decoder_->image; }

    void decodeFrame(std::uint32_t index);

    /// Alpha of each pixel of the decoded frame; 255 throughout when the file has none.
    std::vector<std::uint8_t> alpha() const;

    /// The decoded frame as RGBA with the alpha as the file has it.
    std::vector<std::uint8_t> rgba() const;

    /// Durations of all frames in units of the time scale.
    std::vector<std::uint64_t> durations() const;

private:
    struct Destroy {
        void operator()(avifDecoder* decoder) const { avifDecoderDestroy(decoder); }
    };
    std::unique_ptr<avifDecoder, Destroy> decoder_;
};

/// Tightly packed rows of one plane.
std::vector<std::uint8_t> planeOf(const avifImage& image, avifChannelIndex channel);

} // namespace ovrel::test
