#include "samples/paint.h"
#include "samples/pictures.h"

namespace ovrel::samples {

namespace {

constexpr double width = 720;
constexpr double height = 480;

Color curtain(double x, double y, double foot, double phase, std::uint32_t seed) {
    const double wave = foot + 0.07 * std::sin(x * 5 + phase) + 0.10 * (roughNoise(x * 2.2, phase, seed, 3) - 0.5);
    const double up = wave - y;
    const double rays = 0.35 + 0.9 * roughNoise(x * 34 + up * 2, up * 1.5, seed + 5, 4);
    const double glow = smooth(-0.02, 0.012, up) * std::exp(-std::max(up, 0.0) * 5.5) * rays;
    const Color hue = mix({0.20, 0.95, 0.55}, {0.55, 0.30, 0.85}, smooth(0.05, 0.34, up));
    return {hue.red * glow, hue.green * glow, hue.blue * glow};
}

Color sky(double x, double y) {
    Color color = mix({0.015, 0.03, 0.09}, {0.06, 0.15, 0.22}, smooth(0, 0.8, y));
    color = lit(color, curtain(x, y, 0.56, 0.4, 3), 0.95);
    color = lit(color, curtain(x, y, 0.44, 2.7, 17), 0.55);
    constexpr double cells = 90;
    const int column = static_cast<int>(std::floor(x * cells));
    const int row = static_cast<int>(std::floor(y * cells));
    const double starX = (column + 0.2 + 0.6 * chance(column, row, 41)) / cells;
    const double starY = (row + 0.2 + 0.6 * chance(column, row, 43)) / cells;
    const double brightness = std::pow(chance(column, row, 47), 30);
    const double distance = std::hypot((x - starX) * width, (y - starY) * height);
    return lit(color, {0.95, 0.97, 1}, brightness * std::exp(-distance * distance * 0.9));
}

/// Whether a point lies in a row of firs.
/// \param spacing from trunk to trunk
bool isForest(double x, double y, double ground, double spacing, std::uint32_t seed) {
    if (y > ground - 0.03 * roughNoise(x * 5, 1, seed, 4)) {
        return true;
    }
    const int nearest = static_cast<int>(std::floor(x / spacing));
    for (int number = nearest - 3; number <= nearest + 3; ++number) {
        const double trunk = (number + chance(number, 1, seed)) * spacing;
        const double tall = spacing * (1.5 + 5.5 * std::pow(chance(number, 2, seed), 1.6));
        const double below = (y - (ground - tall)) / tall;
        const double tiers = below * (5 + tall * 60);
        const double branch = 0.45 + 0.55 * (tiers - std::floor(tiers));
        if (below > 0 && std::abs(x - trunk) * 1.5 < tall * 0.26 * below * branch + 0.001) {
            return true;
        }
    }
    return false;
}

} // namespace

Image aurora() {
    return painted(static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height), 2, [](double px, double py) {
        const double x = px / width;
        const double y = py / height;
        Color color = sky(x, y);
        if (isForest(x, y, 0.88, 0.020, 61)) {
            color = {0.025, 0.07, 0.075};
        }
        if (isForest(x, y, 0.99, 0.034, 67)) {
            color = {0.008, 0.02, 0.025};
        }
        return color;
    });
}

} // namespace ovrel::samples
