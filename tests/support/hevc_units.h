/// \file hevc_units.h
/// NAL units of HEVC (ITU-T H.265, section 7.3.1) that are made by hand and hold no picture.
#pragma once

#include <cstdint>
#include <string>

namespace ovrel::test {

/// What a sequence parameter set states.
struct HevcParameters {
    std::uint64_t width = 0;
    std::uint64_t height = 0;
    unsigned furtherLayers = 0;   ///< 0 … 6, each with profile and level of its own
    unsigned chromaFormat = 1;    ///< 3 is written with one field more
    std::uint8_t profileByte = 1; ///< of which the profile is made; 0 asks for emulation prevention
};

std::string hevcParameterUnit(const HevcParameters& parameters);

/// \param type 0 … 63
std::string hevcUnit(unsigned type, const std::string& payload, unsigned layer = 0);

/// A slice of the base layer.
std::string hevcSlice(bool isFirstOfPicture);

/// As in a file: the unit behind its length in four bytes.
std::string withLength(const std::string& unit);

} // namespace ovrel::test
