#include "tests/desktop/taskbar_listener.h"

#include <gtest/gtest.h>

namespace ovrel::test {

TaskbarListener::TaskbarListener(QDBusConnection bus, const QString& applicationId)
    : entry_(QStringLiteral("application://%1.desktop").arg(applicationId)) {
    EXPECT_TRUE(bus.connect({}, {}, QStringLiteral("com.canonical.Unity.LauncherEntry"), QStringLiteral("Update"), this,
                            SLOT(update(QString, QVariantMap))));
}

void TaskbarListener::update(const QString& entry, const QVariantMap& properties) {
    EXPECT_EQ(entry, entry_);
    EXPECT_EQ(properties.size(), 2);
    updates.push_back(properties.value(QStringLiteral("progress-visible")).toBool()
                          ? properties.value(QStringLiteral("progress")).toString().toStdString()
                          : "hidden");
}

} // namespace ovrel::test
