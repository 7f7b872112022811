#include "ui/button.h"

#include <QEvent>

namespace ovrel {

namespace {

int paddingOf(int designedHeight) {
    return designedHeight >= metrics::largeButton - 4 ? 18 : 14;
}

} // namespace

Button::Button(ButtonKind kind, int designedHeight, QWidget* parent)
    : PressedByReturn(parent), kind_(kind), designedHeight_(designedHeight), fade_(new HoverFade(*this)) {
    setAttribute(Qt::WA_Hover);
    setFont(buttonFont(kind_));
    setSizePolicy(QSizePolicy::Minimum, QSizePolicy::Fixed);
}

void Button::setIcons(Icon leading, Icon trailing) {
    leading_ = leading;
    trailing_ = trailing;
    updateGeometry();
    update();
}

void Button::setDesignedHeight(int designedHeight) {
    designedHeight_ = designedHeight;
    updateGeometry();
}

QSize Button::sizeHint() const {
    return {widthOf(label(), fontMetrics()) + 2 * paddingOf(designedHeight_), heightOf(designedHeight_, fontMetrics())};
}

void Button::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    drawButton(painter, rect(), kind_, stateOf(*this, *fade_), label());
}

void Button::changeEvent(QEvent* event) {
    if (event->type() == QEvent::StyleChange) {
        setFont(buttonFont(kind_));
        updateGeometry();
    }
    QPushButton::changeEvent(event);
}

ButtonLabel Button::label() const {
    ButtonLabel label{text(), leading_, trailing_};
    if (trailing_ == Icon::chevronDown)
        label.trailingSize = metrics::smallIcon;
    return label;
}

ControlState stateOf(const QAbstractButton& button, const HoverFade& fade) {
    return {.enabled = button.isEnabled(), .pressed = button.isDown(), .hover = fade.value()};
}

} // namespace ovrel
