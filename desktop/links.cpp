#include "desktop/links.h"

#include "model/path_text.h"

#include <QDesktopServices>

#include <system_error>

namespace ovrel {

LinkOpener desktopLinkOpener() {
    return [](const QUrl& address) { return QDesktopServices::openUrl(address); };
}

bool openFolder(const LinkOpener& opener, const std::filesystem::path& folder) {
    std::error_code error;
    if (!std::filesystem::is_directory(folder, error)) {
        return false;
    }
    const std::filesystem::path absolute = std::filesystem::absolute(folder, error);
    return !error && opener(urlOf(absolute));
}

} // namespace ovrel
