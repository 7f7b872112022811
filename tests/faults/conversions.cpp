#include "tests/faults/conversions.h"

#include "conversion/converter.h"
#include "tests/support/avif_writer.h"
#include "tests/support/exif_writer.h"
#include "tests/support/gif_writer.h"
#include "tests/support/heif_writer.h"
#include "tests/support/icc_profiles.h"
#include "tests/support/jpeg_writer.h"
#include "tests/support/pictures.h"
#include "tests/support/png_writer.h"
#include "tests/support/webp_writer.h"

#include <array>
#include <cstdint>
#include <optional>
#include <span>

namespace ovrel::test {

namespace {

constexpr std::uint32_t width = 40;
constexpr std::uint32_t height = 24;

GifFrameBlock gifFrame(std::uint8_t color) {
    GifFrameBlock frame;
    frame.width = width;
    frame.height = height;
    frame.pixels.assign(std::size_t{width} * height, color);
    frame.control = GifControl{.delayHundredths = 10, .disposal = 1, .transparentIndex = std::uint8_t{3}};
    return frame;
}

std::string gif(const std::vector<std::uint8_t>& colors) {
    GifContent content;
    content.width = width;
    content.height = height;
    content.palette = {{255, 0, 0}, {0, 255, 0}, {0, 0, 255}, {0, 0, 0}};
    content.loop = GifLoop{};
    for (const std::uint8_t color : colors) {
        content.frames.push_back(gifFrame(color));
    }
    return writeGif(content);
}

std::string jpeg() {
    JpegOptions options;
    options.exif = exifBlock(6);
    options.profile = textOf(displayP3Profile());
    return writeJpeg(smooth(width, height), options);
}

std::string progressiveJpeg() {
    JpegOptions options;
    options.progressive = true;
    return writeJpeg(smooth(width, height), options);
}

std::string png() {
    PngPicture picture = pngOf(smooth(width, height, true));
    picture.beforeImageData.push_back({"iCCP", pngProfile(textOf(displayP3Profile()))});
    return writePng(picture);
}

std::string avifWithProfile() {
    AvifOptions options;
    options.icc = textOf(displayP3Profile());
    return writeAvif(smooth(width, height, true), options);
}

std::string webpAnimation() {
    WebpAnimation animation;
    animation.width = width;
    animation.height = height;
    const std::string still = writeWebp(smooth(width, height, true), {}, 80.0F);
    animation.frames = {{.still = still}, {.still = still}};
    return writeWebpAnimation(animation);
}

} // namespace

std::string animatedGif() {
    return gif({0, 1, 2});
}

Conversion largeConversion() {
    return {"large", "large.png", writePng(pngOf(smooth(600, 500)))};
}

std::vector<Conversion> everyConversion() {
    const WebpMetadata metadata{.exif = exifBlock(3), .icc = textOf(displayP3Profile())};
    const std::string webp = writeWebp(smooth(width, height, true), metadata, 80.0F);
    std::vector<Conversion> all{
        {"jpeg", "photo.jpg", jpeg()},
        {"progressive jpeg", "photo.jpeg", progressiveJpeg()},
        {"png", "graphic.png", png()},
        {"webp", "photo.webp", webp},
        {"animated webp", "moving.webp", webpAnimation()},
        {"gif", "still.gif", gif({1})},
        {"animated gif", "moving.gif", animatedGif()},
        {"avif", "photo.avif", writeAvif(smooth(width, height))},
        {"avif by another name", "photo.png", avifWithProfile()},
    };
    const std::array pictures{smooth(64, 64, true)};
    const std::optional<std::string> heif = writeHeif(pictures);
    if (heif) {
        all.push_back({"heif", "photo.jpg", *heif});
    }
    if (Converter::supported()) {
        const std::vector<std::string> bySystem{"-m", "system"};
        all.push_back({"jpeg, system", "photo.jpg", jpeg(), bySystem});
        all.push_back({"progressive jpeg, system", "photo.jpeg", progressiveJpeg(), bySystem});
        all.push_back({"png, system", "graphic.png", png(), bySystem});
        all.push_back({"webp, system", "photo.webp", webp, bySystem});
        all.push_back({"animated webp, system", "moving.webp", webpAnimation(), bySystem});
        all.push_back({"gif by another name, system", "still.png", gif({1}), bySystem});
        all.push_back({"avif by another name, system", "photo.png", avifWithProfile(), bySystem});
        if (heif) {
            all.push_back({"heif, system", "photo.jpg", *heif, bySystem});
        }
    }
    return all;
}

} // namespace ovrel::test
