#include "platform/bitmap.h"

#include "platform/linux/lcms_handles.h"

#include <array>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>
#include <vector>

namespace ovrel {

namespace {

constexpr std::size_t alphaByte = 3;
constexpr std::uint8_t opaque = 255;

/// 65535 becomes 255, with rounding.
std::uint8_t reduced(std::uint16_t sample) {
    return static_cast<std::uint8_t>((sample + 128U) / 257U);
}

/// factor × value / 255 with rounding, both 0 … 255.
std::uint8_t scaled(unsigned value, unsigned factor) {
    return static_cast<std::uint8_t>((value * factor + 127U) / 255U);
}

/// How Little CMS finds the colour channels of a pixel.
cmsUInt32Number pixelType(ColorModel model, PixelLayout layout) {
    const cmsUInt32Number bytes = layout == PixelLayout::rgba16 ? 2 : 1;
    switch (model) {
    case ColorModel::gray: return COLORSPACE_SH(PT_GRAY) | CHANNELS_SH(1) | EXTRA_SH(3) | BYTES_SH(bytes);
    case ColorModel::cmyk: return TYPE_CMYK_8;
    case ColorModel::rgb: break;
    }
    return COLORSPACE_SH(PT_RGB) | CHANNELS_SH(3) | EXTRA_SH(1) | BYTES_SH(bytes);
}

/// ICC.1:2022, section 9.2: besides the tables that every profile has, one may describe the same conversion by
/// processing elements in floating point, as many as it likes and the same ones again and again. Little CMS would
/// prefer these and spend hours and all memory on them; eight bits show no difference.
void removeElements(cmsHPROFILE profile) {
    for (const cmsTagSignature tag : {cmsSigDToB0Tag, cmsSigDToB1Tag, cmsSigDToB2Tag, cmsSigDToB3Tag, cmsSigBToD0Tag,
                                      cmsSigBToD1Tag, cmsSigBToD2Tag, cmsSigBToD3Tag}) {
        if (cmsIsTag(profile, tag)) {
            cmsWriteTag(profile, tag, nullptr);
        }
    }
}

/// Turns pixels of one colour space into sRGB; the fourth byte of each result is left as it was.
class ToSrgb {
public:
    ToSrgb(const ColorSpace& from, PixelLayout layout) {
        if (from.profile.empty()) {
            return;
        }
        const Profile source(cmsOpenProfileFromMemTHR(context_.get(), from.profile.data(),
                                                      static_cast<cmsUInt32Number>(from.profile.size())));
        const Profile target(cmsCreate_sRGBProfileTHR(context_.get()));
        if (source && target) {
            removeElements(source.get());
            transform_.reset(cmsCreateTransformTHR(context_.get(), source.get(), pixelType(from.model, layout),
                                                   target.get(), TYPE_RGBA_8, INTENT_PERCEPTUAL, 0));
        }
        context_.requireMemory();
    }

    bool usable() const { return transform_ != nullptr; }

    void operator()(const std::uint8_t* from, std::uint8_t* to, std::uint32_t pixels) const {
        cmsDoTransform(transform_.get(), from, to, pixels);
    }

private:
    LcmsContext context_;
    Transform transform_;
};

/// \return whether the conversion of 8-bit RGB changes nothing but rounding: the profile is one of the many of sRGB
bool isIdentity(const ToSrgb& toSrgb) {
    constexpr int steps = 9;
    std::vector<std::uint8_t> samples;
    for (int i = 0; i < steps * steps * steps; ++i) {
        for (const int digit : {i % steps, i / steps % steps, i / steps / steps}) {
            samples.push_back(static_cast<std::uint8_t>(digit * 255 / (steps - 1)));
        }
        samples.push_back(opaque);
    }
    std::vector<std::uint8_t> converted = samples;
    toSrgb(samples.data(), converted.data(), static_cast<std::uint32_t>(samples.size() / 4));
    for (std::size_t i = 0; i < samples.size(); ++i) {
        if (std::abs(samples[i] - converted[i]) > 1) {
            return false;
        }
    }
    return true;
}

/// Inks without a profile: each takes its share of the light.
void plainInksToRgb(std::uint8_t* row, std::uint32_t pixels) {
    for (std::uint8_t* pixel = row; pixel != row + std::size_t{pixels} * 4; pixel += 4) {
        const unsigned light = 255U - pixel[3];
        for (std::size_t ink = 0; ink < 3; ++ink) {
            pixel[ink] = scaled(255U - pixel[ink], light);
        }
    }
}

void makeOpaque(std::uint8_t* row, std::uint32_t pixels) {
    for (std::size_t i = 0; i < pixels; ++i) {
        row[i * 4 + alphaByte] = opaque;
    }
}

void premultiply(std::uint8_t* row, std::uint32_t pixels) {
    for (std::uint8_t* pixel = row; pixel != row + std::size_t{pixels} * 4; pixel += 4) {
        const unsigned alpha = pixel[alphaByte];
        if (alpha != opaque) {
            for (std::size_t channel = 0; channel < alphaByte; ++channel) {
                pixel[channel] = scaled(pixel[channel], alpha);
            }
        }
    }
}

void reduceRow(const std::uint16_t* from, std::uint8_t* to, std::uint32_t pixels) {
    for (std::size_t i = 0; i < std::size_t{pixels} * 4; ++i) {
        to[i] = reduced(from[i]);
    }
}

/// Halves the samples of every row in place, front to back: a shorter row never reaches one that is still to be read.
/// \param convert takes a row of 16-bit samples and writes its 8-bit form
template <typename Convert>
void halveRows(Image& image, const Convert& convert) {
    std::vector<std::uint16_t> row(std::size_t{image.width} * 4);
    const std::size_t wideBytes = image.bytesPerRow();
    image.layout = PixelLayout::rgba8;
    for (std::uint32_t y = 0; y < image.height; ++y) {
        std::memcpy(row.data(), image.samples.data() + y * wideBytes, wideBytes);
        convert(row.data(), image.row(y));
    }
    image.samples.shrink(image.height * image.bytesPerRow());
}

void convertWide(Image& image, const ToSrgb& toSrgb) {
    halveRows(image, [&](const std::uint16_t* from, std::uint8_t* to) {
        reduceRow(from, to, image.width); // for the alpha, which the colour conversion leaves alone
        if (toSrgb.usable()) {
            toSrgb(reinterpret_cast<const std::uint8_t*>(from), to, image.width);
        }
    });
}

void convertInks(Image& image, const ToSrgb& toSrgb) {
    image.layout = PixelLayout::rgba8;
    for (std::uint32_t y = 0; y < image.height; ++y) {
        if (toSrgb.usable()) {
            toSrgb(image.row(y), image.row(y), image.width);
        } else {
            plainInksToRgb(image.row(y), image.width);
        }
        makeOpaque(image.row(y), image.width);
    }
}

void convertPlain(Image& image, const ToSrgb& toSrgb) {
    if (!toSrgb.usable() || (image.colorSpace.model == ColorModel::rgb && isIdentity(toSrgb))) {
        return;
    }
    for (std::uint32_t y = 0; y < image.height; ++y) {
        toSrgb(image.row(y), image.row(y), image.width);
    }
}

} // namespace

Image convertedToSrgb(Image&& image) {
    const ToSrgb toSrgb(image.colorSpace, image.layout);
    switch (image.layout) {
    case PixelLayout::rgba8: convertPlain(image, toSrgb); break;
    case PixelLayout::rgba16: convertWide(image, toSrgb); break;
    case PixelLayout::cmyk8: convertInks(image, toSrgb); break;
    }
    image.colorSpace = {};
    return std::move(image);
}

Image reducedTo8Bits(Image&& image) {
    if (image.layout == PixelLayout::rgba16) {
        halveRows(image, [&](const std::uint16_t* from, std::uint8_t* to) { reduceRow(from, to, image.width); });
    }
    return std::move(image);
}

Bitmap Bitmap::draw(Image&& image) {
    Image converted = convertedToSrgb(std::move(image));
    for (std::uint32_t y = 0; y < converted.height; ++y) {
        premultiply(converted.row(y), converted.width);
    }
    return {converted.width, converted.height, std::move(converted.samples)};
}

} // namespace ovrel
