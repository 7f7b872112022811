#include "conversion/publish.h"

#include <cstdint>
#include <string>

namespace ovrel {

namespace {

/// A dot at the front or the end begins no extension, as everywhere on a desktop.
std::string baseName(const std::filesystem::path& file) {
    const bool hasExtension = file.extension().native().size() > 1;
    return (hasExtension ? file.stem() : file.filename()).native();
}

} // namespace

std::filesystem::path resultFolder(const InputItem& item, const std::filesystem::path& output) {
    return item.relativeDirectory.empty() ? output : output / item.relativeDirectory;
}

std::filesystem::path resultName(const InputItem& item, std::uint64_t number) {
    const std::string suffix = number == 1 ? "" : '-' + std::to_string(number);
    return baseName(item.url) + suffix + ".avif";
}

std::filesystem::path publish(FileSystem& fileSystem, const std::filesystem::path& temporary, const InputItem& item,
                              const std::filesystem::path& folder) {
    fileSystem.flush(temporary);
    for (std::uint64_t number = 1;; ++number) {
        std::filesystem::path candidate = folder / resultName(item, number);
        if (fileSystem.exists(candidate)) {
            continue;
        }
        if (fileSystem.moveWithoutReplacing(temporary, candidate)) {
            return candidate;
        }
        // A volume that calls free names taken would have us count without end.
        if (!fileSystem.exists(candidate)) {
            throw FileError(FileError::writeUnknown, candidate);
        }
    }
}

} // namespace ovrel
