/// \file first_seconds.h
/// Whether a window lives through its beginning.
#pragma once

#include <QObject>
#include <QTimer>

#include <chrono>

class QWidget;

namespace ovrel {

/// Looks at a window from its first picture on: what goes wrong at the start of a program mostly does so while that is
/// painted, or soon after. Main thread.
class FirstSeconds final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FirstSeconds)

public:
    /// \param window was not painted yet
    /// \param time from the first picture to the end of the beginning
    FirstSeconds(QWidget& window, std::chrono::milliseconds time);

    /// Whether the user can have seen the window.
    bool begun() const { return begun_; }
    bool isOver() const { return begun_ && !timer_.isActive(); }

    bool eventFilter(QObject* watched, QEvent* event) override;

Q_SIGNALS:
    /// Once, from the event loop.
    void over();

private:
    QTimer timer_;
    bool begun_ = false;
};

} // namespace ovrel
