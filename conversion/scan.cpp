#include "conversion/scan.h"

#include "conversion/converter.h"
#include "conversion/standard_path.h"
#include "platform/file_order.h"
#include "platform/text.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>

namespace ovrel {

namespace {

namespace fs = std::filesystem;

/// The system would take the path to end at a NUL: another file would be read than the one whose name was judged.
void refuseNul(const fs::path& path) {
    if (path.native().find('\0') != std::string::npos) {
        throw FileError::fromSystem(ENOENT, FileOperation::reading, path);
    }
}

/// "." and a slash at the end stand for the folder's own name; the root has none but itself.
std::string lastComponent(const fs::path& folder) {
    const fs::path path = standardised(folder);
    const fs::path name = path.has_filename() ? path.filename() : path.parent_path().filename();
    return name.empty() ? "/" : validUtf8(name.native());
}

/// \param element a path below `folder` that begins as `folder` is written
std::string directoryBetween(const fs::path& folder, const fs::path& element) {
    std::string_view below = element.native();
    below.remove_prefix(folder.native().size());
    below.remove_prefix(std::min(below.find_first_not_of('/'), below.size()));
    const std::size_t lastSlash = below.rfind('/');
    return std::string(lastSlash == std::string_view::npos ? std::string_view() : below.substr(0, lastSlash));
}

bool isAccepted(const fs::path& path, const ResourceValues& values) {
    const auto& known = Converter::extensions;
    return values.isRegularFile && !values.isSymbolicLink &&
           std::find(known.begin(), known.end(), lowerCaseExtension(path)) != known.end();
}

/// Gathers files, each once.
class Gathering {
public:
    void add(InputItem item) {
        if (seen_.insert(standardised(item.url)).second) {
            items_.push_back(std::move(item));
        }
    }

    std::vector<InputItem> take() && { return std::move(items_); }

private:
    std::vector<InputItem> items_;
    std::unordered_set<std::string> seen_;
};

void addFolder(FileSystem& fileSystem, const fs::path& folder, bool recursive, Gathering& gathering) {
    const std::unique_ptr<DirectoryEnumerator> enumerator = fileSystem.enumerate(folder, recursive);
    if (!enumerator) {
        const std::string name = lastComponent(folder);
        throw ConversionError("Не удалось прочитать папку: " + name, "Unable to read folder: " + name);
    }
    // A folder may hold millions of other files for each picture, so nothing else is kept.
    std::vector<fs::path> accepted;
    while (std::optional<DirectoryEnumerator::Entry> entry = enumerator->next()) {
        if (isAccepted(entry->path, entry->values)) {
            accepted.push_back(std::move(entry->path));
        }
    }
    // The order in which a disk lists its entries must not decide between names that sort alike.
    std::sort(accepted.begin(), accepted.end(),
              [](const fs::path& left, const fs::path& right) { return left.native() < right.native(); });
    for (fs::path& path : accepted) {
        std::string relativeDirectory = directoryBetween(folder, path);
        gathering.add({std::move(path), std::move(relativeDirectory)});
    }
}

std::vector<InputItem> sorted(std::vector<InputItem> items) {
    const FileOrder order;
    std::vector<std::pair<std::string, InputItem>> keyed;
    keyed.reserve(items.size());
    for (InputItem& item : items) {
        std::string key = order.key(item.url);
        keyed.emplace_back(std::move(key), std::move(item));
    }
    std::stable_sort(keyed.begin(), keyed.end(),
                     [](const auto& left, const auto& right) { return left.first < right.first; });
    std::transform(keyed.begin(), keyed.end(), items.begin(), [](auto& each) { return std::move(each.second); });
    return items;
}

} // namespace

std::vector<InputItem> Converter::scan(std::span<const std::filesystem::path> urls, bool recursive) {
    return ovrel::scan(FileSystem::native(), urls, recursive);
}

std::vector<InputItem> scan(FileSystem& fileSystem, std::span<const std::filesystem::path> urls, bool recursive) {
    Gathering gathering;
    for (const fs::path& url : urls) {
        refuseNul(url);
        const ResourceValues values = fileSystem.resourceValues(url);
        if (values.isSymbolicLink) {
            continue;
        }
        if (values.isDirectory) {
            addFolder(fileSystem, url, recursive, gathering);
        } else if (isAccepted(url, values)) {
            gathering.add({url, ""});
        }
    }
    return sorted(std::move(gathering).take());
}

std::vector<InputItem> merged(std::vector<std::vector<InputItem>> findings) {
    Gathering gathering;
    for (std::vector<InputItem>& items : findings) {
        for (InputItem& item : items) {
            gathering.add(std::move(item));
        }
    }
    return sorted(std::move(gathering).take());
}

} // namespace ovrel
