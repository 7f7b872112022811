/// \file paint.h
/// What the sample pictures are painted with. Coordinates and colours are 0 … 1 unless something else is said.
#pragma once

#include "platform/image.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>

namespace ovrel::samples {

struct Color {
    double red = 0;
    double green = 0;
    double blue = 0;
    double alpha = 1;
};

inline double smooth(double from, double to, double value) {
    const double t = std::clamp((value - from) / (to - from), 0.0, 1.0);
    return t * t * (3 - 2 * t);
}

inline Color mix(const Color& one, const Color& other, double share) {
    const auto between = [share](double a, double b) { return a + (b - a) * share; };
    return {between(one.red, other.red), between(one.green, other.green), between(one.blue, other.blue),
            between(one.alpha, other.alpha)};
}

/// Light added to a colour.
inline Color lit(const Color& color, const Color& light, double amount) {
    return {color.red + light.red * amount, color.green + light.green * amount, color.blue + light.blue * amount,
            color.alpha};
}

/// A number of 0 … 1 that depends on nothing but its arguments.
inline double chance(int x, int y, std::uint32_t seed) {
    std::uint32_t bits =
        static_cast<std::uint32_t>(x) * 0x8DA6B343U + static_cast<std::uint32_t>(y) * 0xD8163841U + seed * 0xCB1AB31FU;
    bits = (bits ^ (bits >> 15)) * 0x2C1B3C6DU;
    bits = (bits ^ (bits >> 12)) * 0x297A2D39U;
    return static_cast<double>(bits ^ (bits >> 15)) / 4294967295.0;
}

/// Chance without jumps; one bump for each whole number.
inline double noise(double x, double y, std::uint32_t seed) {
    const double left = std::floor(x);
    const double top = std::floor(y);
    const double across = smooth(0, 1, x - left);
    const double down = smooth(0, 1, y - top);
    const auto corner = [&](int dx, int dy) {
        return chance(static_cast<int>(left) + dx, static_cast<int>(top) + dy, seed);
    };
    const double above = corner(0, 0) + (corner(1, 0) - corner(0, 0)) * across;
    const double below = corner(0, 1) + (corner(1, 1) - corner(0, 1)) * across;
    return above + (below - above) * down;
}

/// Noise with finer and finer noise on it, about 0 … 1.
inline double roughNoise(double x, double y, std::uint32_t seed, int layers) {
    double sum = 0;
    double weight = 0.5;
    for (int layer = 0; layer < layers; ++layer) {
        sum += noise(x, y, seed + static_cast<std::uint32_t>(layer)) * weight;
        x *= 2;
        y *= 2;
        weight /= 2;
    }
    return sum;
}

/// A picture whose pixels each are the mean of `samplesAcross` × `samplesAcross` points.
/// \param colorAt the colour at a point, in pixels from the top left corner
inline Image painted(std::uint32_t width, std::uint32_t height, int samplesAcross,
                     const std::function<Color(double x, double y)>& colorAt) {
    Image image;
    image.width = width;
    image.height = height;
    image.samples = PixelBuffer::zeroed(height, image.bytesPerRow());
    for (std::uint32_t y = 0; y < height; ++y) {
        for (std::uint32_t x = 0; x < width; ++x) {
            std::array<double, 4> sum{};
            for (int sample = 0; sample < samplesAcross * samplesAcross; ++sample) {
                const Color color = colorAt(x + (sample % samplesAcross + 0.5) / samplesAcross,
                                            y + (sample / samplesAcross + 0.5) / samplesAcross);
                sum[0] += color.red * color.alpha;
                sum[1] += color.green * color.alpha;
                sum[2] += color.blue * color.alpha;
                sum[3] += color.alpha;
            }
            const auto byte = [](double value) {
                return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0, 1.0) * 255));
            };
            std::uint8_t* const pixel = image.row(y) + std::size_t{4} * x;
            for (std::size_t channel = 0; channel < 3 && sum[3] > 0; ++channel) {
                pixel[channel] = byte(sum[channel] / sum[3]);
            }
            pixel[3] = byte(sum[3] / (samplesAcross * samplesAcross));
        }
    }
    return image;
}

} // namespace ovrel::samples
