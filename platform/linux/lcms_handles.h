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

using Profile = std::unique_ptr<void, ProfileDeleter>;
using Transform = std::unique_ptr<void, TransformDeleter>;
using ToneCurve = std::unique_ptr<cmsToneCurve, ToneCurveDeleter>;

/// A context of one's own keeps threads apart and its errors silent. It also remembers whether memory was ever refused:
/// Little CMS then takes a sound profile for a damaged one or goes on with other colours.
class LcmsContext {
public:
    /// \throws std::bad_alloc
    LcmsContext();

    cmsContext get() const { return context_.get(); }

    /// To be called when profiles and transforms are made.
    /// \throws std::bad_alloc when memory was refused, whatever came of it
    void requireMemory() const;

private:
    std::unique_ptr<bool> lacksMemory_; ///< the library holds its address
    std::unique_ptr<std::remove_pointer_t<cmsContext>, LcmsDeleter> context_;
};

} // namespace ovrel
