#include "ui/hover_fade.h"

#include "ui/theme.h"

#include <QEvent>
#include <QWidget>

namespace ovrel {

HoverFade::HoverFade(QWidget& widget) : QVariantAnimation(&widget), widget_(widget) {
    setDuration(motion::hover);
    setEasingCurve(QEasingCurve::OutCubic);
    connect(this, &QVariantAnimation::valueChanged, this, [this](const QVariant& value) {
        value_ = value.toDouble();
        widget_.update();
    });
    widget.installEventFilter(this);
}

bool HoverFade::eventFilter(QObject* watched, QEvent* event) {
    switch (event->type()) {
    case QEvent::Enter: fadeTo(1); break;
    case QEvent::Leave:
    case QEvent::Hide: fadeTo(0); break;
    case QEvent::EnabledChange: fadeTo(widget_.isEnabled() && widget_.underMouse() ? 1 : 0); break;
    default: break;
    }
    return QVariantAnimation::eventFilter(watched, event);
}

void HoverFade::fadeTo(double target) {
    stop();
    if (!theme().animations || !widget_.isVisible()) {
        value_ = target;
        widget_.update();
        return;
    }
    setStartValue(value_);
    setEndValue(target);
    start();
}

} // namespace ovrel
