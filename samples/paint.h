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

using Painting = std::function<Color(double x, double y)>;

/// The mean of `samplesAcross` × `samplesAcross` points of a pixel.
inline Color pixelOf(const Painting& painting, std::uint32_t x, std::uint32_t y, int samplesAcross) {
    Color sum{0, 0, 0, 0};
    const auto place = [samplesAcross](int sample) { return (sample + 0.5) / samplesAcross; };
    for (int down = 0; down < samplesAcross; ++down) {
        for (int across = 0; across < samplesAcross; ++across) {
            const Color color = painting(x + place(across), y + place(down));
            sum = {sum.red + color.red * color.alpha, sum.green + color.green * color.alpha,
                   sum.blue + color.blue * color.alpha, sum.alpha + color.alpha};
        }
    }
    const double opaque = sum.alpha > 0 ? sum.alpha : 1;
    return {sum.red / opaque, sum.green / opaque, sum.blue / opaque, sum.alpha / (samplesAcross * samplesAcross)};
}

/// \param painting the colour at a point, in pixels from the top left corner
inline Image painted(std::uint32_t width, std::uint32_t height, int samplesAcross, const Painting& painting) {
    const auto byte = [](double value) {
        return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0, 1.0) * 255));
    };
    Image image;
    image.width = width;
    image.height = height;
    image.samples = PixelBuffer::zeroed(height, image.bytesPerRow());
    for (std::uint32_t y = 0; y < height; ++y) {
        std::uint8_t* sample = image.row(y);
        for (std::uint32_t x = 0; x < width; ++x) {
            const Color color = pixelOf(painting, x, y, samplesAcross);
            for (const double channel : {color.red, color.green, color.blue, color.alpha}) {
                *sample++ = byte(channel);
            }
        }
    }
    return image;
}

} // namespace ovrel::samples
