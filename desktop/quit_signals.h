/// \file quit_signals.h
/// Being asked to end from outside: by the session, by `kill`, by Ctrl-C in a terminal.
#pragma once

#include <QObject>
#include <QSocketNotifier>

#include <memory>

namespace ovrel {

/// Takes SIGINT, SIGTERM and SIGHUP while it lives, except those that the program was started to ignore. Programs that
/// this one starts are not affected. One object at a time; main thread.
class QuitSignals : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(QuitSignals)

public:
    explicit QuitSignals(QObject* parent = nullptr);
    ~QuitSignals() override;

Q_SIGNALS:
    /// From the event loop, once for each signal that came. Whoever sends another one does not want to wait.
    void requested();

private:
    void take();

    std::unique_ptr<QSocketNotifier> notifier_; ///< null when the system is out of files: signals end the program then
};

} // namespace ovrel
