#include "ui/first_seconds.h"

#include <QEvent>
#include <QWidget>

namespace ovrel {

FirstSeconds::FirstSeconds(QWidget& window, std::chrono::milliseconds time) {
    timer_.setSingleShot(true);
    timer_.setInterval(time);
    connect(&timer_, &QTimer::timeout, this, &FirstSeconds::over);
    window.installEventFilter(this);
}

bool FirstSeconds::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Paint) {
        watched->removeEventFilter(this);
        begun_ = true;
        timer_.start();
    }
    return QObject::eventFilter(watched, event);
}

} // namespace ovrel
