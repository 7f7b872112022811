#include "desktop/local_file.h"

#include "model/path_text.h"

#include <QSysInfo>

#include <utility>

namespace ovrel {

namespace {

/// RFC 8089: a file address may name the machine.
bool isOfThisMachine(const QString& host) {
    return host.isEmpty() || host == QStringLiteral("localhost") ||
           host.compare(QSysInfo::machineHostName(), Qt::CaseInsensitive) == 0;
}

} // namespace

std::optional<std::filesystem::path> localFile(const QUrl& address) {
    if (!address.isValid() || !address.isLocalFile() || !isOfThisMachine(address.host())) {
        return std::nullopt;
    }
    std::filesystem::path file = pathOf(address);
    const bool isUsable = file.is_absolute() && file.native().find('\0') == std::string::npos;
    return isUsable ? std::optional(std::move(file)) : std::nullopt;
}

} // namespace ovrel
