#include "platform/linux/lcms_handles.h"

#include <lcms2_plugin.h>

#include <cstdlib>
#include <new>

namespace ovrel {

namespace {

/// What Little CMS allows itself as well: a damaged profile may ask for anything.
constexpr cmsUInt32Number mostBytes = cmsUInt32Number{512} << 20;

/// \param memory as realloc() takes it
void* resize(cmsContext context, void* memory, cmsUInt32Number size) {
    if (size == 0 || size > mostBytes) {
        return nullptr;
    }
    void* const resized = std::realloc(memory, size);
    auto* const lacksMemory = static_cast<bool*>(cmsGetContextUserData(context)); // null while the context is made
    if (resized == nullptr && lacksMemory != nullptr) {
        *lacksMemory = true;
    }
    return resized;
}

cmsPluginMemHandler memoryHandler() {
    constexpr cmsUInt32Number since = 2060; // Little CMS 2.6 has contexts
    cmsPluginMemHandler handler{};
    handler.base = {cmsPluginMagicNumber, since, cmsPluginMemHandlerSig, nullptr};
    handler.MallocPtr = [](cmsContext context, cmsUInt32Number size) { return resize(context, nullptr, size); };
    handler.ReallocPtr = resize;
    handler.FreePtr = [](cmsContext, void* memory) { std::free(memory); };
    return handler;
}

} // namespace

LcmsContext::LcmsContext() : lacksMemory_(std::make_unique<bool>(false)) {
    cmsPluginMemHandler handler = memoryHandler();
    context_.reset(cmsCreateContext(&handler, lacksMemory_.get()));
    if (!context_) {
        throw std::bad_alloc();
    }
    cmsSetLogErrorHandlerTHR(context_.get(), [](cmsContext, cmsUInt32Number, const char*) {});
}

void LcmsContext::requireMemory() const {
    if (*lacksMemory_) {
        throw std::bad_alloc();
    }
}

} // namespace ovrel
