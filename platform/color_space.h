/// \file color_space.h
/// What the numbers of a picture mean.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ovrel {

enum class ColorModel { gray, rgb, cmyk };

/// A colour space: a model and an ICC profile (ICC.1:2022) of that model. Without a profile, RGB and grey mean sRGB
/// (IEC 61966-2-1) and its grey axis, CMYK means plain process inks. Colour descriptions of other kinds (gamma and
/// chromaticities, CICP code points) are turned into a profile by the decoder that meets them.
struct ColorSpace {
    ColorModel model = ColorModel::rgb;
    std::vector<std::uint8_t> profile; ///< at most maximumProfileBytes

    /// Larger profiles are taken for damage: the largest press profiles in use stay below 4 MiB.
    static constexpr std::size_t maximumProfileBytes = std::size_t{16} << 20;

    bool operator==(const ColorSpace&) const = default;
};

} // namespace ovrel
