/// \file run_reporter.h
/// What the desktop shows of a run while the user looks elsewhere.
#pragma once

#include "desktop/notifier.h"
#include "desktop/taskbar_progress.h"

#include <QObject>

class QWidget;

namespace ovrel {

class Model;

/// Progress on the taskbar, and a notification of how a run has ended when the window is not active then. Main thread.
class RunReporter final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(RunReporter)

public:
    /// \param model outlives this, and so does the window
    RunReporter(const Model& model, QWidget& window, const QString& applicationId, const QDBusConnection& bus,
                QObject* parent);
    ~RunReporter() override = default;

    bool eventFilter(QObject* watched, QEvent* event) override;

Q_SIGNALS:
    /// The user chose the notification.
    /// \param token lets the window come forward
    void activated(const QString& token);

private:
    void takeProgress();
    void takeEnd();

    const Model& model_;
    QWidget& window_;
    TaskbarProgress taskbar_;
    Notifier notifier_;
};

} // namespace ovrel
