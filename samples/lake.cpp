#include "samples/paint.h"
#include "samples/pictures.h"

namespace ovrel::samples {

namespace {

constexpr double width = 800;
constexpr double height = 600;
constexpr double waterline = 0.62; // from the top, in heights
constexpr double sunX = 0.63;
constexpr double sunY = 0.43;

struct Ridge {
    double base;     ///< height of its foot
    double rise;     ///< how far its peaks stand above that
    double peaks;    ///< bumps across the picture
    double distance; ///< 0 near … 1 lost in haze
    std::uint32_t seed;
};

constexpr std::array<Ridge, 4> ridges{{
    {0.56, 0.34, 3.2, 0.82, 11},
    {0.60, 0.30, 4.5, 0.60, 23},
    {0.63, 0.22, 6.0, 0.36, 37},
    {0.64, 0.10, 9.0, 0.12, 51},
}};

double crest(const Ridge& ridge, double x) {
    return ridge.base - ridge.rise * (roughNoise(x * ridge.peaks, 0.5, ridge.seed, 7) - 0.18);
}

Color sky(double x, double y) {
    const Color zenith{0.20, 0.36, 0.62};
    const Color middle{0.62, 0.66, 0.76};
    const Color horizon{0.99, 0.80, 0.56};
    Color color = mix(mix(zenith, middle, smooth(0, 0.30, y)), horizon, smooth(0.18, 0.56, y));
    const double distance = std::hypot((x - sunX) * width / height, y - sunY);
    color = lit(color, {1, 0.72, 0.36}, 0.55 * std::exp(-distance * distance * 18));
    color = lit(color, {1, 0.95, 0.80}, smooth(0.046, 0.040, distance));
    const double cloud = roughNoise(x * 4 + y * 2, y * 22, 5, 6);
    return mix(color, {1, 0.86, 0.74}, 0.65 * smooth(0.50, 0.74, cloud) * smooth(0.50, 0.20, y));
}

Color land(double x, double y) {
    Color color = sky(x, y);
    for (const Ridge& ridge : ridges) {
        const double top = crest(ridge, x);
        if (y < top) {
            continue;
        }
        const double relief = roughNoise(x * 42 + (y - top) * 30, (y - top) * 26, ridge.seed + 7, 5);
        const Color rock = mix({0.10, 0.15, 0.17}, {0.24, 0.29, 0.25}, relief);
        const Color haze = mix({0.66, 0.66, 0.74}, {0.98, 0.80, 0.62}, smooth(0.45, 0.05, std::abs(x - sunX)));
        const double mist = ridge.distance + 0.35 * smooth(0.05, 0.20, y - top) * (1 - ridge.distance);
        color = mix(rock, haze, std::min(mist, 0.95));
        const double snow = smooth(0.42, 0.58, relief + 0.5 - 4.5 * (y - top)) * smooth(0.52, 0.40, y);
        color = mix(color, {0.98, 0.92, 0.88}, 0.75 * snow);
    }
    return color;
}

Color water(double x, double y) {
    const double depth = (y - waterline) / (1 - waterline);
    const double ripple = roughNoise(x * 26, std::pow(depth, 0.6) * 70, 71, 4) - 0.47;
    const Color mirrored =
        land(x + ripple * 0.035 * (0.2 + depth), waterline - (y - waterline) * 0.92 + ripple * 0.09 * (0.15 + depth));
    Color color = mix(mirrored, {0.10, 0.22, 0.31}, 0.22 + 0.40 * depth);
    const double path = std::exp(-std::pow((x - sunX) / (0.03 + 0.09 * depth), 2));
    return lit(color, {1, 0.78, 0.48}, 0.75 * path * smooth(0.02, 0.16, ripple));
}

/// Dark firs from the lower corners up.
bool isFir(double x, double y) {
    constexpr int count = 34;
    for (int number = 0; number < count; ++number) {
        const double place = chance(number, 1, 91);
        const double side = number % 2 == 0 ? place * place * 0.34 : 1 - place * place * 0.26;
        const double foot = 0.93 + 0.10 * chance(number, 2, 91);
        const double tall = (0.20 + 0.26 * chance(number, 3, 91)) * (1.05 - 2.1 * std::min(side, 1 - side));
        const double below = (y - (foot - tall)) / tall;
        if (below < 0 || below > 1) {
            continue;
        }
        const double tiers = 13;
        const double branch = 0.55 + 0.45 * (below * tiers - std::floor(below * tiers));
        const double ragged = 0.75 + 0.5 * noise(y * 160, x * 60, 93);
        if (std::abs(x - side) < tall * 0.17 * below * branch * ragged + 0.0012) {
            return true;
        }
    }
    const double shore = 0.955 - 0.05 * std::pow(std::abs(x - 0.52) * 2, 2) - 0.03 * roughNoise(x * 30, 3, 97, 4);
    return y > shore;
}

} // namespace

Image lake() {
    return painted(static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height), 2, [](double px, double py) {
        const double x = px / width;
        const double y = py / height;
        Color color = y < waterline ? land(x, y) : water(x, y);
        if (isFir(x, y)) {
            color = mix({0.03, 0.06, 0.06}, {0.12, 0.13, 0.09}, roughNoise(x * 90, y * 70, 99, 3));
        }
        const double grain = 0.035 * (chance(static_cast<int>(px), static_cast<int>(py), 3) - 0.5);
        return lit(color, {1, 1, 1}, grain);
    });
}

} // namespace ovrel::samples
