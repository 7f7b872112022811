#include "ui/endless_animation.h"

#include "ui/theme.h"

#include <QEvent>
#include <QWidget>

namespace ovrel {

EndlessAnimation::EndlessAnimation(QWidget& widget, int turn) : QVariantAnimation(&widget), seen_(widget.isVisible()) {
    setStartValue(0.0);
    setEndValue(1.0);
    setDuration(turn);
    setLoopCount(-1);
    widget.installEventFilter(this);
}

void EndlessAnimation::setWanted(bool wanted) {
    wanted_ = wanted;
    takeState();
}

bool EndlessAnimation::eventFilter(QObject* watched, QEvent* event) {
    switch (event->type()) {
    case QEvent::Show:
    case QEvent::Hide:
        seen_ = event->type() == QEvent::Show;
        takeState();
        break;
    case QEvent::StyleChange: takeState(); break;
    default: break;
    }
    return QVariantAnimation::eventFilter(watched, event);
}

void EndlessAnimation::takeState() {
    const bool runs = wanted_ && seen_ && theme().animations;
    if (runs && state() != Running) {
        start();
    } else if (!runs && state() == Running) {
        stop();
    }
}

} // namespace ovrel
