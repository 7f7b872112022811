/// \file taskbar_listener.h
/// A taskbar that writes down what programs tell it.
#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <QVariantMap>

#include <string>
#include <vector>

namespace ovrel::test {

/// Hears what a taskbar would hear. It expects nothing but the progress of one program.
class TaskbarListener : public QObject {
    Q_OBJECT

public:
    /// \param applicationId of that program
    TaskbarListener(QDBusConnection bus, const QString& applicationId);

    std::vector<std::string> updates; ///< the fraction that is shown, or "hidden"

private Q_SLOTS:
    void update(const QString& entry, const QVariantMap& properties);

private:
    QString entry_;
};

} // namespace ovrel::test
