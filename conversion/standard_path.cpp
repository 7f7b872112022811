#include "conversion/standard_path.h"

#include <string_view>
#include <system_error>

namespace ovrel {

namespace {

/// Nearly every path is. The standard library takes each path into its components, which a hundred thousand of them
/// feel.
bool isStandardised(std::string_view path) {
    if (path.empty() || path.front() != '/') {
        return false;
    }
    for (path.remove_prefix(1); !path.empty();) {
        const std::size_t end = path.find('/');
        const std::string_view component = path.substr(0, end);
        if (component.empty() || component == "." || component == "..") {
            return false;
        }
        path.remove_prefix(end == std::string_view::npos ? path.size() : end + 1);
    }
    return true;
}

} // namespace

std::string standardised(const std::filesystem::path& path) {
    if (isStandardised(path.native())) {
        return path.native();
    }
    std::error_code error;
    const std::filesystem::path absolute = std::filesystem::absolute(path, error);
    return (error ? path : absolute).lexically_normal().native();
}

} // namespace ovrel
