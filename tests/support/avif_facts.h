/// \file avif_facts.h
/// What libavif's own decoder says of a file that we wrote.
#pragma once

#include "platform/image.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace ovrel::test {

struct AvifFacts {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint64_t timescale = 0;
    int repetitionCount = 0;              ///< -1 without end
    std::vector<std::uint64_t> durations; ///< of the frames, in units of the timescale
    std::vector<Image> frames;            ///< decoded, rgba8, straight alpha
    std::vector<std::uint8_t> profile;    ///< the embedded ICC profile, often empty
    bool hasAlpha = false;

    /// How the picture is stored: size, depth, subsampling, range, code points of ITU-T H.273 (primaries, transfer and
    /// matrix), and what else there is of alpha, profile, Exif, XMP and transformations (irot, imir, clap, pasp):
    /// "33x17, 8 bits, YUV420, full range, CICP 1/13/6, alpha".
    std::string coding;
};

/// \throws std::runtime_error when libavif refuses the file
AvifFacts avifFacts(const std::filesystem::path& file);

} // namespace ovrel::test
