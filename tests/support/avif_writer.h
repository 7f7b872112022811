/// \file avif_writer.h
/// AVIF files of every kind, written by libavif as fast as it can.
#pragma once

#include "platform/image.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace ovrel::test {

enum class AvifChroma { full, halved, none }; ///< 4:4:4, 4:2:0, 4:0:0

/// A clean aperture, as whole pixels from the top left corner.
struct AvifCrop {
    std::uint32_t left = 0;
    std::uint32_t top = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
};

struct AvifOptions {
    unsigned depth = 8; ///< 8, 10 or 12
    AvifChroma chroma = AvifChroma::full;
    int quality = 100; ///< 0 … 100; 100 loses nothing where matrix is 0 and the chroma full, or where there is none
    bool fullRange = true;
    bool alpha = true;                ///< whether an alpha plane is written
    bool premultiplied = false;       ///< whether the file says that its colour is premultiplied
    std::uint16_t primaries = 1;      ///< ITU-T H.273
    std::uint16_t transfer = 13;      ///< ITU-T H.273
    std::uint16_t matrix = 0;         ///< ITU-T H.273; 0 stores red, green and blue
    std::string icc;                  ///< none when empty
    std::optional<unsigned> turns;    ///< irot: quarter turns against the clock, 0 … 3
    std::optional<unsigned> mirror;   ///< imir: 0 exchanges top and bottom, 1 left and right; after the turns
    std::optional<AvifCrop> crop;     ///< clap; before the turns
    unsigned frameMilliseconds = 100; ///< of each frame of a sequence
    int repetitionCount = -1;         ///< of a sequence, -1 without end
};

/// A still file.
/// \param image rgba8 or rgba16, straight alpha
std::string writeAvif(const Image& image, const AvifOptions& options = {});

/// A sequence, also of a single frame.
/// \param frames of one size and layout
std::string writeAvifSequence(std::span<const Image> frames, const AvifOptions& options = {});

} // namespace ovrel::test
