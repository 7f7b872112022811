#include "updates/engine/machine.h"

#include <QSysInfo>

#include <gnu/libc-version.h>

namespace ovrel {

Machine Machine::thisOne() {
    const QString architecture = QSysInfo::buildCpuArchitecture();
    return {architecture == QLatin1StringView("arm64") ? QStringLiteral("aarch64") : architecture,
            QString::fromLatin1(gnu_get_libc_version())};
}

} // namespace ovrel
