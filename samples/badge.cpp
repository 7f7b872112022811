#include "samples/paint.h"
#include "samples/pictures.h"

namespace ovrel::samples {

namespace {

constexpr double size = 480; // pixels
constexpr double half = 200; // pixels from the middle of the tile to its edge
constexpr double round = 92; // pixels, radius of its corners

/// Pixels to the edge of the tile, negative inside.
double distanceToTile(double x, double y) {
    const double across = std::abs(x) - (half - round);
    const double down = std::abs(y) - (half - round);
    return std::hypot(std::max(across, 0.0), std::max(down, 0.0)) + std::min(std::max(across, down), 0.0) - round;
}

Color tile(double x, double y) {
    Color color = mix({1.00, 0.74, 0.36}, {0.93, 0.36, 0.42}, smooth(-half, half * 0.9, y));
    const double fromSun = std::hypot(x, y + 6);
    const double angle = std::atan2(y + 6, x);
    const bool isRay = std::cos(angle * 18) > 0.15 && fromSun > 112 && fromSun < 146;
    if (fromSun < 96 || isRay) {
        color = mix({1, 0.98, 0.86}, {1, 0.90, 0.55}, smooth(-96, 96, y));
    }
    struct Wave {
        double top;
        double phase;
        Color color;
    };
    constexpr std::array<Wave, 3> waves{{
        {34, 0.0, {0.16, 0.66, 0.71}},
        {82, 1.9, {0.09, 0.50, 0.63}},
        {132, 3.6, {0.06, 0.34, 0.52}},
    }};
    for (const Wave& wave : waves) {
        const double crest = wave.top + 13 * std::sin(x / 33 + wave.phase);
        if (y > crest) {
            color = y < crest + 5 ? mix(wave.color, {1, 1, 1}, 0.45) : wave.color;
        }
    }
    return color;
}

} // namespace

Image badge() {
    return painted(static_cast<std::uint32_t>(size), static_cast<std::uint32_t>(size), 4, [](double px, double py) {
        const double x = px - size / 2;
        const double y = py - size / 2 + 8;
        if (distanceToTile(x, y) < 0) {
            return tile(x, y);
        }
        const double shade = smooth(26, -22, distanceToTile(x, y - 12));
        return Color{0.10, 0.08, 0.16, 0.42 * shade};
    });
}

} // namespace ovrel::samples
