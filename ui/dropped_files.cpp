#include "ui/dropped_files.h"

#include "model/path_text.h"

#include <QMimeData>
#include <QUrl>

#include <algorithm>

namespace ovrel {

bool holdsFiles(const QMimeData& offered) {
    const QList<QUrl> addresses = offered.urls();
    return std::ranges::any_of(addresses, &QUrl::isLocalFile);
}

std::vector<std::filesystem::path> filesOf(const QMimeData& dropped) {
    std::vector<std::filesystem::path> files;
    for (const QUrl& address : dropped.urls()) {
        if (address.isLocalFile()) {
            files.push_back(pathOf(address));
        }
    }
    return files;
}

} // namespace ovrel
