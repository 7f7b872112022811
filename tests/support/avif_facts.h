/// \file avif_facts.h
/// What libavif's own decoder says of a file that we wrote.
#pragma once

#include "platform/image.h"

#include <cstdint>
#include <filesystem>
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
    int colorPrimaries = 0;
    int transferCharacteristics = 0;
    int matrixCoefficients = 0;
};

/// \throws std::runtime_error when libavif refuses the file
AvifFacts avifFacts(const std::filesystem::path& file);

} // namespace ovrel::test
