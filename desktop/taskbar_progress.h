/// \file taskbar_progress.h
/// How far the work is, on the program's entry in the taskbar.
#pragma once

#include <QDBusConnection>
#include <QString>

#include <optional>

namespace ovrel {

/// Shown by the docks and taskbars that know the launcher entries of Unity; others ignore it. Never waits and never
/// fails. Takes the progress away when it ends. Main thread.
class TaskbarProgress {
public:
    /// \param applicationId the name of the program's desktop entry, without its suffix
    explicit TaskbarProgress(QString applicationId, QDBusConnection bus = QDBusConnection::sessionBus());
    ~TaskbarProgress();
    TaskbarProgress(const TaskbarProgress&) = delete;
    TaskbarProgress& operator=(const TaskbarProgress&) = delete;

    /// \param fraction 0 … 1; taken to be the nearest of these where it lies outside. Told in steps of a hundredth.
    void show(double fraction);
    void clear();

private:
    void tell(std::optional<int> percent);

    QString applicationId_;
    QDBusConnection bus_;
    std::optional<int> percent_; ///< as it was told; none when no progress shows
};

} // namespace ovrel
