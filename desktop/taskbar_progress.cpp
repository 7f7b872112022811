#include "desktop/taskbar_progress.h"

#include <QDBusMessage>
#include <QVariantMap>

#include <algorithm>
#include <cmath>
#include <utility>

namespace ovrel {

TaskbarProgress::TaskbarProgress(QString applicationId, QDBusConnection bus)
    : applicationId_(std::move(applicationId)), bus_(std::move(bus)) {}

TaskbarProgress::~TaskbarProgress() {
    clear();
}

void TaskbarProgress::show(double fraction) {
    // Rounded down, so that it is full when the work is done and not before. What is no number shows as a beginning.
    tell(fraction > 0 ? static_cast<int>(std::floor(std::min(fraction, 1.0) * 100)) : 0);
}

void TaskbarProgress::clear() {
    tell(std::nullopt);
}

void TaskbarProgress::tell(std::optional<int> percent) {
    if (std::exchange(percent_, percent) == percent) {
        return;
    }
    // Unity Launcher API, com.canonical.Unity.LauncherEntry: a signal that whoever shows the entry listens to.
    QDBusMessage update =
        QDBusMessage::createSignal(QStringLiteral("/com/canonical/unity/launcherentry/1"),
                                   QStringLiteral("com.canonical.Unity.LauncherEntry"), QStringLiteral("Update"));
    update.setArguments({QStringLiteral("application://%1.desktop").arg(applicationId_),
                         QVariantMap{{QStringLiteral("progress"), percent.value_or(0) / 100.0},
                                     {QStringLiteral("progress-visible"), percent.has_value()}}});
    bus_.send(update);
}

} // namespace ovrel
