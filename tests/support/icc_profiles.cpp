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

std::vector<std::uint8_t> inkProfile() {
    return savedProfile([](cmsContext context) {
        cmsHPROFILE profile = cmsCreateProfilePlaceholder(context);
        cmsSetProfileVersion(profile, 2.1);
        cmsSetDeviceClass(profile, cmsSigOutputClass);
        cmsSetColorSpace(profile, cmsSigCmykData);
        cmsSetPCS(profile, cmsSigLabData);
        constexpr cmsUInt32Number gridPoints = 2;
        cmsStage* table = cmsStageAllocCLut16bit(context, gridPoints, 4, 3, nullptr);
        const auto sampler = [](const cmsUInt16Number inks[], cmsUInt16Number lab[], void*) -> cmsInt32Number {
            constexpr cmsUInt16Number whiteLightness = 0xFF00; // L* 100 in the encoding of version 2
            constexpr cmsUInt16Number neutral = 0x8000;
            lab[0] = inks[3] == 0 ? whiteLightness : cmsUInt16Number{0};
            lab[1] = neutral;
            lab[2] = neutral;
            return 1;
        };
        cmsStageSampleCLut16bit(table, sampler, nullptr, 0);
        cmsPipeline* pipeline = cmsPipelineAlloc(context, 4, 3);
        cmsPipelineInsertStage(pipeline, cmsAT_BEGIN, table);
        cmsWriteTag(profile, cmsSigAToB0Tag, pipeline);
        cmsPipelineFree(pipeline);
        return profile;
    });
}

std::string textOf(const std::vector<std::uint8_t>& profile) {
    return {profile.begin(), profile.end()};
}

} // namespace ovrel::test
