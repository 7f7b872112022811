#include "platform/linux/color_profiles.h"

#include "platform/linux/lcms_handles.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <utility>

namespace ovrel {

namespace {

/// Entries of a transfer curve that no parametric curve of ICC can express.
constexpr std::size_t curveEntries = 4096;

/// ICC.1:2022, section 10.18, function type 3, with the numbers of IEC 61966-2-1.
constexpr std::array<double, 5> srgbCurve{2.4, 1.0 / 1.055, 0.055 / 1.055, 1.0 / 12.92, 0.04045};
constexpr cmsInt32Number parametricWithLinearPart = 4;

/// Luminance of reference white in ITU-R BT.2408, and the peak of PQ, in cd/m².
constexpr double referenceWhite = 203.0;
constexpr double pqPeak = 10000.0;

ToneCurve srgbToneCurve(cmsContext context) {
    return ToneCurve(cmsBuildParametricToneCurve(context, parametricWithLinearPart, srgbCurve.data()));
}

ToneCurve gammaToneCurve(cmsContext context, double exponent) {
    return ToneCurve(cmsBuildGamma(context, exponent));
}

ToneCurve tabulatedToneCurve(cmsContext context, const std::function<double(double)>& toLight) {
    std::vector<std::uint16_t> table(curveEntries);
    for (std::size_t i = 0; i < table.size(); ++i) {
        const double signal = static_cast<double>(i) / static_cast<double>(curveEntries - 1);
        const double light = std::clamp(toLight(signal), 0.0, 1.0);
        table[i] = static_cast<std::uint16_t>(std::lround(light * std::numeric_limits<std::uint16_t>::max()));
    }
    return ToneCurve(cmsBuildTabulatedToneCurve16(context, static_cast<cmsUInt32Number>(curveEntries), table.data()));
}

/// SMPTE ST 2084 (ITU-T H.273, transfer 16), as a fraction of reference white.
double pqToLight(double signal) {
    constexpr double m1 = 2610.0 / 16384.0;
    constexpr double m2 = 2523.0 / 4096.0 * 128.0;
    constexpr double c1 = 3424.0 / 4096.0;
    constexpr double c2 = 2413.0 / 4096.0 * 32.0;
    constexpr double c3 = 2392.0 / 4096.0 * 32.0;
    const double power = std::pow(signal, 1.0 / m2);
    const double normal = std::pow(std::max(power - c1, 0.0) / (c2 - c3 * power), 1.0 / m1);
    return normal * pqPeak / referenceWhite;
}

/// ITU-R BT.2100 HLG (ITU-T H.273, transfer 18), as a fraction of reference white, which lies at a signal of 75 %.
double hlgToLight(double signal) {
    constexpr double a = 0.17883277;
    constexpr double b = 1.0 - 4.0 * a;
    const double c = 0.5 - a * std::log(4.0 * a);
    const auto scene = [&](double v) { return v <= 0.5 ? v * v / 3.0 : (std::exp((v - c) / a) + b) / 12.0; };
    // The system gamma of a display of 1000 cd/m².
    constexpr double systemGamma = 1.2;
    return std::pow(scene(signal) / scene(0.75), systemGamma);
}

/// ICC.1:2022, section 7.2.8: year, month, day, hours, minutes and seconds in two bytes each. The clock's time, which
/// Little CMS writes, would make every profile another one, and with it every picture that carries it.
void setDate(std::vector<std::uint8_t>& profile) {
    constexpr std::ptrdiff_t dateOffset = 24;
    constexpr std::array<std::uint8_t, 12> firstOfJanuary2000{0x07, 0xD0, 0, 1, 0, 1};
    std::copy(firstOfJanuary2000.begin(), firstOfJanuary2000.end(), profile.begin() + dateOffset);
}

ColorSpace savedColorSpace(cmsContext context, const Chromaticities& colors, ToneCurve curve) {
    const auto point = [](const std::array<double, 2>& xy) { return cmsCIExyY{xy[0], xy[1], 1.0}; };
    const cmsCIExyY white = point(colors.white);
    const cmsCIExyYTRIPLE primaries{point(colors.red), point(colors.green), point(colors.blue)};
    if (!curve) {
        return {};
    }
    std::array<cmsToneCurve*, 3> curves{curve.get(), curve.get(), curve.get()};
    const Profile profile(cmsCreateRGBProfileTHR(context, &white, &primaries, curves.data()));
    cmsUInt32Number size = 0;
    if (!profile || !cmsSaveProfileToMem(profile.get(), nullptr, &size)) {
        return {};
    }
    ColorSpace space;
    space.profile.resize(size);
    if (!cmsSaveProfileToMem(profile.get(), space.profile.data(), &size)) {
        return {};
    }
    setDate(space.profile);
    return space;
}

ColorSpace rgbColorSpace(const LcmsContext& context, const Chromaticities& colors, ToneCurve curve) {
    ColorSpace space = savedColorSpace(context.get(), colors, std::move(curve));
    context.requireMemory();
    return space;
}

bool nearlyEqual(const Chromaticities& a, const Chromaticities& b) {
    const auto near = [](const std::array<double, 2>& p, const std::array<double, 2>& q) {
        constexpr double tolerance = 0.001; // chromaticities are stored with four or five digits, often rounded
        return std::abs(p[0] - q[0]) < tolerance && std::abs(p[1] - q[1]) < tolerance;
    };
    return near(a.white, b.white) && near(a.red, b.red) && near(a.green, b.green) && near(a.blue, b.blue);
}

/// \return whether a matrix can be made of them: every y above 0, red, green and blue not on one line
bool span(const Chromaticities& colors) {
    for (const auto& point : {colors.white, colors.red, colors.green, colors.blue}) {
        if (!(point[0] >= 0.0 && point[0] <= 1.0 && point[1] > 0.0 && point[1] <= 1.0)) {
            return false;
        }
    }
    const double area = (colors.green[0] - colors.red[0]) * (colors.blue[1] - colors.red[1]) -
                        (colors.blue[0] - colors.red[0]) * (colors.green[1] - colors.red[1]);
    return std::abs(area) > 1e-4;
}

constexpr std::array<double, 2> d65{0.3127, 0.3290};
constexpr std::array<double, 2> illuminantC{0.310, 0.316};

/// ITU-T H.273, table 2.
Chromaticities primariesOf(std::uint16_t code) {
    switch (code) {
    case 4: return {illuminantC, {0.67, 0.33}, {0.21, 0.71}, {0.14, 0.08}};
    case 5: return {d65, {0.64, 0.33}, {0.29, 0.60}, {0.15, 0.06}};
    case 6:
    case 7: return {d65, {0.630, 0.340}, {0.310, 0.595}, {0.155, 0.070}};
    case 8: return {illuminantC, {0.681, 0.319}, {0.243, 0.692}, {0.145, 0.049}};
    case 9: return {d65, {0.708, 0.292}, {0.170, 0.797}, {0.131, 0.046}};
    case 11: return {{0.314, 0.351}, {0.680, 0.320}, {0.265, 0.690}, {0.150, 0.060}};
    case 12: return {d65, {0.680, 0.320}, {0.265, 0.690}, {0.150, 0.060}};
    case 22: return {d65, {0.630, 0.340}, {0.295, 0.605}, {0.155, 0.077}};
    default: return srgbChromaticities;
    }
}

using CurveMaker = ToneCurve (*)(cmsContext context);

/// ITU-T H.273, table 3.
/// \return null for a transfer that is shown with the curve of sRGB
CurveMaker transferOf(std::uint16_t code) {
    switch (code) {
    case 4: return [](cmsContext context) { return gammaToneCurve(context, 2.2); };
    case 5: return [](cmsContext context) { return gammaToneCurve(context, 2.8); };
    case 8: return [](cmsContext context) { return gammaToneCurve(context, 1.0); };
    case 16: return [](cmsContext context) { return tabulatedToneCurve(context, pqToLight); };
    case 17:
        return [](cmsContext context) {
            return tabulatedToneCurve(context, [](double v) { return std::pow(v, 2.6) * 52.37 / 48.0; });
        };
    case 18: return [](cmsContext context) { return tabulatedToneCurve(context, hlgToLight); };
    default: return nullptr;
    }
}

std::uint32_t signatureOf(ColorModel model) {
    switch (model) {
    case ColorModel::gray: return cmsSigGrayData;
    case ColorModel::cmyk: return cmsSigCmykData;
    case ColorModel::rgb: break;
    }
    return cmsSigRgbData;
}

/// ICC.1:2022, section 7.2.6. Taken from the bytes: as an enumeration, which is how Little CMS returns it, a damaged
/// signature would be a value that the type does not have.
std::uint32_t dataColorSpace(std::span<const std::uint8_t> profile) {
    constexpr std::size_t offset = 16;
    return std::uint32_t{profile[offset]} << 24 | std::uint32_t{profile[offset + 1]} << 16 |
           std::uint32_t{profile[offset + 2]} << 8 | profile[offset + 3];
}

} // namespace

const Chromaticities srgbChromaticities{d65, {0.64, 0.33}, {0.30, 0.60}, {0.15, 0.06}};

ColorSpace colorSpaceFromGamma(double exponent, const Chromaticities& chromaticities) {
    constexpr double least = 0.1;
    constexpr double most = 10.0;
    if (!(exponent >= least && exponent <= most) || !span(chromaticities)) {
        return {};
    }
    // PNG, third edition, section 11.3.2.2: sRGB pictures state a gamma of 0.45455 for programs that know no sRGB.
    constexpr double srgbGamma = 1.0 / 0.45455;
    if (std::abs(exponent - srgbGamma) < 0.01 && nearlyEqual(chromaticities, srgbChromaticities)) {
        return {};
    }
    const LcmsContext context;
    return rgbColorSpace(context, chromaticities, gammaToneCurve(context.get(), exponent));
}

ColorSpace colorSpaceFromChromaticities(const Chromaticities& chromaticities) {
    if (!span(chromaticities) || nearlyEqual(chromaticities, srgbChromaticities)) {
        return {};
    }
    const LcmsContext context;
    return rgbColorSpace(context, chromaticities, srgbToneCurve(context.get()));
}

ColorSpace colorSpaceFromCicp(std::uint16_t primaries, std::uint16_t transfer) {
    const Chromaticities colors = primariesOf(primaries);
    const CurveMaker makeCurve = transferOf(transfer);
    if (makeCurve == nullptr && nearlyEqual(colors, srgbChromaticities)) {
        return {};
    }
    const LcmsContext context;
    return rgbColorSpace(context, colors,
                         makeCurve != nullptr ? makeCurve(context.get()) : srgbToneCurve(context.get()));
}

ColorSpace colorSpaceFromProfile(std::span<const std::uint8_t> profile, ColorModel model) {
    ColorSpace space{model, {}};
    if (profile.empty() || profile.size() > ColorSpace::maximumProfileBytes) {
        return space;
    }
    const LcmsContext context;
    const Profile opened(
        cmsOpenProfileFromMemTHR(context.get(), profile.data(), static_cast<cmsUInt32Number>(profile.size())));
    context.requireMemory();
    if (!opened) {
        return space;
    }
    const std::uint32_t found = dataColorSpace(profile); // an opened profile has its header of 128 bytes
    // Grey samples are kept as R = G = B, so a profile of RGB describes them as well.
    if (model == ColorModel::gray && found == cmsSigRgbData) {
        space.model = ColorModel::rgb;
    } else if (found != signatureOf(model)) {
        return space;
    }
    space.profile.assign(profile.begin(), profile.end());
    return space;
}

} // namespace ovrel
