#include "ui/switch.h"

#include "ui/control_painting.h"

#include <QEvent>
#include <QPainter>
#include <QStyle>

#include <algorithm>

namespace ovrel {

namespace {

constexpr QSize trackSize(38, 22);
constexpr int knobInset = 2;
constexpr int edge = 2; // keeps the line of the focus inside the row

} // namespace

Switch::Switch(QWidget* parent) : QCheckBox(parent) {
    setFont(fontOf(TextStyle::strong));
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    knob_.setStartValue(0.0);
    knob_.setEndValue(1.0);
    knob_.setDuration(motion::hover);
    connect(&knob_, &QVariantAnimation::valueChanged, this, [this] { update(); });
    connect(this, &QCheckBox::toggled, this, &Switch::moveKnob);
}

QSize Switch::sizeHint() const {
    return {fontMetrics().horizontalAdvance(text()) + 12 + trackSize.width() + edge,
            std::max(trackSize.height() + 2 * edge, fontMetrics().height())};
}

QSize Switch::minimumSizeHint() const {
    return {trackSize.width() + edge + fontMetrics().horizontalAdvance(QChar(u'…')), sizeHint().height()};
}

QRect Switch::track() const {
    const QRect right(QPoint(width() - edge - trackSize.width(), (height() - trackSize.height()) / 2), trackSize);
    return style()->visualRect(layoutDirection(), rect(), right);
}

void Switch::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const Colors& of = colors();

    const QRect name =
        style()->visualRect(layoutDirection(), rect(), rect().adjusted(2, 0, -trackSize.width() - edge - 12, 0));
    painter.setFont(font());
    painter.setPen(isEnabled() ? of.text : of.disabled);
    painter.drawText(name,
                     static_cast<int>(QStyle::visualAlignment(layoutDirection(), Qt::AlignLeft | Qt::AlignVCenter)),
                     fontMetrics().elidedText(text(), Qt::ElideRight, name.width()));

    const double on = knob_.state() == QVariantAnimation::Running ? knob_.currentValue().toDouble()
                      : isChecked()                               ? 1
                                                                  : 0;
    const QRectF where = track();
    const double radius = where.height() / 2;
    drawRounded(painter, where, radius, isEnabled() ? mixed(of.controlBorder, of.accentFill, on) : of.inset,
                Qt::transparent);
    const double knobSize = where.height() - 2 * knobInset;
    const double travel = where.width() - knobSize - 2 * knobInset;
    const double position = isRightToLeft() ? 1 - on : on;
    painter.setPen(Qt::NoPen);
    painter.setBrush(isEnabled() ? of.knob : of.disabled);
    painter.drawEllipse(
        QRectF(where.left() + knobInset + travel * position, where.top() + knobInset, knobSize, knobSize));
}

void Switch::changeEvent(QEvent* event) {
    if (event->type() == QEvent::StyleChange)
        setFont(fontOf(TextStyle::strong));
    QCheckBox::changeEvent(event);
}

void Switch::moveKnob(bool on) {
    knob_.stop();
    if (!theme().animations || !isVisible()) {
        update();
        return;
    }
    knob_.setDirection(on ? QVariantAnimation::Forward : QVariantAnimation::Backward);
    knob_.start();
}

} // namespace ovrel
