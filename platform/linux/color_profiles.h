/// \file color_profiles.h
/// ICC profiles for files that describe their colours in another way. The same description gives the same bytes.
#pragma once

#include "platform/color_space.h"

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace ovrel {

/// CIE 1931 xy chromaticities of white, red, green and blue.
struct Chromaticities {
    std::array<double, 2> white{};
    std::array<double, 2> red{};
    std::array<double, 2> green{};
    std::array<double, 2> blue{};
};

/// The primaries of sRGB (ITU-R BT.709-6) and its white, D65.
extern const Chromaticities srgbChromaticities;

/// The space of a file that states a gamma: `exponent` is the power that turns samples into light, about 2.2.
/// \return the space without a profile (sRGB) when the description is senseless
ColorSpace colorSpaceFromGamma(double exponent, const Chromaticities& chromaticities = srgbChromaticities);

/// The space with sRGB's transfer curve and other primaries.
ColorSpace colorSpaceFromChromaticities(const Chromaticities& chromaticities);

/// The space of the code points of ITU-T H.273. Unknown or unspecified ones count as sRGB's; the curves of television
/// (1, 6, 14, 15) too, as viewers show them; PQ and HLG map the reference white of ITU-R BT.2408 to white.
ColorSpace colorSpaceFromCicp(std::uint16_t primaries, std::uint16_t transfer);

/// The space of an embedded profile, or the plain space of `model` when the profile is absent, too large, damaged or
/// of another model. A grey profile fits pictures stored as R = G = B: pass ColorModel::gray.
ColorSpace colorSpaceFromProfile(std::span<const std::uint8_t> profile, ColorModel model);

} // namespace ovrel
