#include "ui/dropped_files.h"

#include "desktop/local_file.h"

#include <QMimeData>
#include <QUrl>

#include <algorithm>
#include <utility>

namespace ovrel {

bool holdsFiles(const QMimeData& offered) {
    const QList<QUrl> addresses = offered.urls();
    return std::ranges::any_of(addresses, [](const QUrl& address) { return localFile(address).has_value(); });
}

std::vector<std::filesystem::path> filesOf(const QMimeData& dropped) {
    std::vector<std::filesystem::path> files;
    for (const QUrl& address : dropped.urls()) {
        if (std::optional<std::filesystem::path> file = localFile(address)) {
            files.push_back(std::move(*file));
        }
    }
    return files;
}

} // namespace ovrel
