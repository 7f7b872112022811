#include "samples/paint.h"
#include "samples/pictures.h"

#include <map>
#include <vector>

namespace ovrel::samples {

namespace {

constexpr int width = 240;
constexpr int height = 160;
constexpr int balloonWidth = 44;
constexpr int balloonHeight = 62;
constexpr int step = 6; // pixels from frame to frame
constexpr std::uint8_t transparent = 0;

Color meadow(double x, double y) {
    Color color = mix({0.42, 0.70, 0.93}, {0.90, 0.96, 0.98}, smooth(0, 118, y));
    const double cloud = roughNoise(x / 46, y / 16, 7, 4);
    color = mix(color, {1, 1, 1}, smooth(0.50, 0.62, cloud) * smooth(78, 44, y));
    struct Hill {
        double top;
        double swell;
        double length;
        double phase;
        Color color;
    };
    constexpr std::array<Hill, 3> hills{{
        {104, 9, 38, 0.5, {0.55, 0.75, 0.62}},
        {118, 8, 29, 2.6, {0.42, 0.67, 0.42}},
        {136, 7, 47, 4.4, {0.29, 0.56, 0.30}},
    }};
    for (const Hill& hill : hills) {
        if (y > hill.top + hill.swell * std::sin(x / hill.length + hill.phase)) {
            color = hill.color;
        }
    }
    return color;
}

/// The balloon, transparent around it.
Color craft(double x, double y) {
    const double across = (x - balloonWidth / 2.0) / (balloonWidth / 2.0 - 1);
    const double belly = (y - 21) / (y < 21 ? 20.0 : 26.0);
    const double bulge = std::sqrt(std::max(0.0, 1 - belly * belly));
    if (y < 45 && std::abs(across) < bulge) {
        const double stripe = std::sin(std::asin(std::clamp(across / bulge, -1.0, 1.0)) * 5 + 1.57);
        const Color cloth = stripe > 0 ? Color{0.88, 0.22, 0.20} : Color{0.99, 0.85, 0.42};
        return mix(cloth, {0.25, 0.05, 0.15}, 0.35 * smooth(0.1, 1, across));
    }
    const double fromMiddle = std::abs(x - balloonWidth / 2.0);
    if (y >= 45 && y < 53 && std::abs(fromMiddle - (7 - (y - 45) * 0.3)) < 0.6) {
        return {0.30, 0.20, 0.12};
    }
    if (y >= 53 && y < 60 && fromMiddle < 5.5) {
        return y < 54.5 ? Color{0.42, 0.27, 0.14} : Color{0.62, 0.42, 0.22};
    }
    return {0, 0, 0, 0};
}

/// Pictures as indices of one palette. Colours are rounded to few levels, so that the palette holds all.
class Indexer {
public:
    std::vector<std::uint8_t> indices(const Image& image) {
        std::vector<std::uint8_t> result;
        for (std::uint32_t y = 0; y < image.height; ++y) {
            for (std::uint32_t x = 0; x < image.width; ++x) {
                result.push_back(index(image.row(y) + std::size_t{4} * x));
            }
        }
        return result;
    }

    test::GifPalette palette{{0, 0, 0}};

private:
    std::uint8_t index(const std::uint8_t* pixel) {
        if (pixel[3] < 128) {
            return transparent;
        }
        std::array<std::uint8_t, 3> rounded{};
        for (std::size_t channel = 0; channel < rounded.size(); ++channel) {
            constexpr int level = 17;
            rounded[channel] = static_cast<std::uint8_t>((pixel[channel] + level / 2) / level * level);
        }
        const auto [known, isNew] = known_.try_emplace(rounded, static_cast<std::uint8_t>(palette.size()));
        if (isNew) {
            palette.push_back({rounded[0], rounded[1], rounded[2]});
        }
        return known->second;
    }

    std::map<std::array<std::uint8_t, 3>, std::uint8_t> known_;
};

test::GifFrameBlock frame(int left, int top, const Image& image, Indexer& indexer, const test::GifControl& control) {
    test::GifFrameBlock block;
    block.left = static_cast<std::uint16_t>(left);
    block.top = static_cast<std::uint16_t>(top);
    block.width = static_cast<std::uint16_t>(image.width);
    block.height = static_cast<std::uint16_t>(image.height);
    block.pixels = indexer.indices(image);
    block.control = control;
    return block;
}

} // namespace

test::GifContent balloon() {
    constexpr std::uint16_t delay = 8;
    constexpr std::uint8_t keep = 1;
    constexpr std::uint8_t restorePrevious = 3;
    Indexer indexer;
    test::GifContent content;
    content.width = width;
    content.height = height;
    content.loop = test::GifLoop{};
    content.frames.push_back(frame(0, 0, painted(width, height, 2, meadow), indexer,
                                   {.delayHundredths = delay, .disposal = keep, .transparentIndex = {}}));
    for (int left = step - balloonWidth; left < width; left += step) {
        const int first = std::max(left, 0);
        const int end = std::min(left + balloonWidth, width);
        const int top = static_cast<int>(std::lround(24 + 10 * std::sin(left / 33.0)));
        const Image visible = painted(static_cast<std::uint32_t>(end - first), balloonHeight, 3,
                                      [&](double x, double y) { return craft(x + first - left, y); });
        content.frames.push_back(
            frame(first, top, visible, indexer,
                  {.delayHundredths = delay, .disposal = restorePrevious, .transparentIndex = transparent}));
    }
    content.palette = indexer.palette;
    return content;
}

} // namespace ovrel::samples
