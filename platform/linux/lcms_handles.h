/// \file lcms_handles.h
/// Little CMS handles with their deleters.
#pragma once

#include <lcms2.h>

#include <memory>
#include <type_traits>

namespace ovrel {

struct LcmsDeleter {
    void operator()(cmsContext context) const noexcept { cmsDeleteContext(context); }
};
struct ProfileDeleter {
    void operator()(cmsHPROFILE profile) const noexcept { cmsCloseProfile(profile); }
};
struct TransformDeleter {
    void operator()(cmsHTRANSFORM transform) const noexcept { cmsDeleteTransform(transform); }
};
struct ToneCurveDeleter {
    void operator()(cmsToneCurve* curve) const noexcept { cmsFreeToneCurve(curve); }
};

/// A context of one's own keeps threads apart and its errors silent.
using LcmsContext = std::unique_ptr<std::remove_pointer_t<cmsContext>, LcmsDeleter>;
using Profile = std::unique_ptr<void, ProfileDeleter>;
using Transform = std::unique_ptr<void, TransformDeleter>;
using ToneCurve = std::unique_ptr<cmsToneCurve, ToneCurveDeleter>;

inline LcmsContext makeLcmsContext() {
    LcmsContext context(cmsCreateContext(nullptr, nullptr));
    cmsSetLogErrorHandlerTHR(context.get(), [](cmsContext, cmsUInt32Number, const char*) {});
    return context;
}

} // namespace ovrel
