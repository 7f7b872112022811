/// \file avif_handles.h
/// libavif's objects as owners that release them.
#pragma once

#include <avif/avif.h>

#include <memory>

namespace ovrel {

struct AvifRelease {
    void operator()(avifEncoder* encoder) const { avifEncoderDestroy(encoder); }
    void operator()(avifImage* image) const { avifImageDestroy(image); }
    void operator()(avifRWData* bytes) const { avifRWDataFree(bytes); }
};

using EncoderHandle = std::unique_ptr<avifEncoder, AvifRelease>;
using ImageHandle = std::unique_ptr<avifImage, AvifRelease>;
using BytesHandle = std::unique_ptr<avifRWData, AvifRelease>; ///< releases what the structure holds, not the structure

} // namespace ovrel
