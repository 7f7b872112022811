#include "ui/quality_slider.h"

#include <QWheelEvent>

namespace ovrel {

QualitySlider::QualitySlider(QWidget* parent) : QSlider(Qt::Horizontal, parent) {
    setRange(1, 100);
    setSingleStep(1);
    setPageStep(10);
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_Hover);
}

void QualitySlider::wheelEvent(QWheelEvent* event) {
    if (hasFocus()) {
        QSlider::wheelEvent(event);
    } else {
        event->ignore();
    }
}

} // namespace ovrel
