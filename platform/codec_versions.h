/// \file codec_versions.h
/// Which codecs this build runs with.
#pragma once

#include <string>
#include <vector>

namespace ovrel {

struct CodecVersion {
    std::string name;    ///< for example "libavif"
    std::string version; ///< as the library reports it, at run time where it can
};

/// The image libraries in use, the AV1 ones first.
std::vector<CodecVersion> codecVersions();

} // namespace ovrel
