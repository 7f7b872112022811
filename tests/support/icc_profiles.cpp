#include "tests/support/icc_profiles.h"

#include "platform/linux/color_profiles.h"
#include "platform/linux/lcms_handles.h"

namespace ovrel::test {

std::vector<std::uint8_t> savedProfile(const std::function<cmsHPROFILE(cmsContext)>& make) {
    const LcmsContext context;
    const Profile profile(make(context.get()));
    cmsUInt32Number size = 0;
    cmsSaveProfileToMem(profile.get(), nullptr, &size);
    std::vector<std::uint8_t> bytes(size);
    cmsSaveProfileToMem(profile.get(), bytes.data(), &size);
    return bytes;
}

std::vector<std::uint8_t> grayProfile(double gamma) {
    return savedProfile([&](cmsContext context) {
        const ToneCurve curve(cmsBuildGamma(context, gamma));
        return cmsCreateGrayProfileTHR(context, cmsD50_xyY(), curve.get());
    });
}

std::vector<std::uint8_t> displayP3Profile() {
    constexpr std::uint16_t displayP3 = 12; // ITU-T H.273, tables 2 and 3
    constexpr std::uint16_t srgbTransfer = 13;
    return colorSpaceFromCicp(displayP3, srgbTransfer).profile;
}

std::string textOf(const std::vector<std::uint8_t>& profile) {
    return {profile.begin(), profile.end()};
}

} // namespace ovrel::test
