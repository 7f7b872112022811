/// \file resource_values.h
/// What a path names, in the system's terms.
#pragma once

#include "platform/file_system.h"

#include <cstddef>
#include <string>

#include <sys/stat.h>

namespace ovrel {

inline ResourceValues resourceValuesOf(mode_t mode) {
    return {S_ISDIR(mode), S_ISREG(mode), S_ISLNK(mode)};
}

/// The same path, but naming a link instead of the folder to which it leads. The root stays as it is.
inline std::string withoutTrailingSlashes(const std::filesystem::path& path) {
    const std::string& text = path.native();
    const std::size_t last = text.find_last_not_of('/');
    return text.substr(0, last == std::string::npos ? 1 : last + 1);
}

} // namespace ovrel
