#include "ui/decoration.h"

#include "ui/control_painting.h"
#include "ui/endless_animation.h"

#include <QEvent>
#include <QPainter>

#include <algorithm>

namespace ovrel {

Card::Card(QWidget* parent) : QFrame(parent) {}

void Card::setFill(ColorOf fill, bool outlined) {
    if (fill_ == fill && outlined_ == outlined)
        return;
    fill_ = fill;
    outlined_ = outlined;
    update();
}

void Card::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    const ColorOf fill = isEnabled() || disabledFill_ == nullptr ? fill_ : disabledFill_;
    drawRounded(painter, rect(), metrics::cardRadius, colors().*fill, outlined_ ? colors().border : Qt::transparent);
}

Divider::Divider(QWidget* parent) : QWidget(parent) {
    setFixedHeight(1);
}

void Divider::paintEvent(QPaintEvent* /*event*/) {
    QPainter(this).fillRect(rect(), colors().border);
}

IconView::IconView(Icon icon, int size, ColorOf color, QWidget* parent)
    : QWidget(parent), icon_(icon), size_(size), color_(color) {
    takeSize();
}

void IconView::setIcon(Icon icon, ColorOf color) {
    icon_ = icon;
    color_ = color;
    update();
}

void IconView::setTile(int size, ColorOf fill, double radius) {
    tile_ = fill;
    tileRadius_ = radius;
    tileSize_ = size;
    takeSize();
    update();
}

void IconView::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    if (tile_ != nullptr)
        drawRounded(painter, rect(), tileRadius_, isEnabled() ? colors().*tile_ : colors().inset, Qt::transparent);
    QRectF where(0, 0, besideText(size_), besideText(size_));
    where.moveCenter(QRectF(rect()).center());
    drawIcon(painter, icon_, where, isEnabled() ? colors().*color_ : colors().disabled);
}

void IconView::changeEvent(QEvent* event) {
    if (event->type() == QEvent::StyleChange)
        takeSize();
    QWidget::changeEvent(event);
}

void IconView::takeSize() {
    const int side = besideText(std::max(size_, tileSize_));
    setFixedSize(side, side);
}

ApplicationIcon::ApplicationIcon(int size, QWidget* parent) : QWidget(parent) {
    setFixedSize(size, size);
}

void ApplicationIcon::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    drawApplicationIcon(painter, rect());
}

Pill::Pill(QWidget* parent) : QLabel(parent) {
    setTextFormat(Qt::PlainText);
    setAlignment(Qt::AlignCenter);
    setContentsMargins(8, 3, 8, 3);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    takeTheme();
}

void Pill::paintEvent(QPaintEvent* event) {
    QPainter painter(this);
    drawRounded(painter, rect(), height() / 2.0, colors().inset, Qt::transparent);
    painter.end();
    QLabel::paintEvent(event);
}

void Pill::changeEvent(QEvent* event) {
    if (event->type() == QEvent::StyleChange)
        takeTheme();
    QLabel::changeEvent(event);
}

void Pill::takeTheme() {
    setFont(fontOf(TextStyle::figure));
    QPalette own = palette();
    own.setColor(QPalette::WindowText, colors().secondaryText);
    setPalette(own);
}

Spinner::Spinner(int size, QWidget* parent)
    : QWidget(parent), size_(size), turn_(new EndlessAnimation(*this, motion::spinnerTurn)) {
    takeSize();
    connect(turn_, &EndlessAnimation::valueChanged, this, qOverload<>(&QWidget::update));
    turn_->setWanted(true);
}

void Spinner::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    drawSpinner(painter, rect(), 360 * turn_->value());
}

void Spinner::changeEvent(QEvent* event) {
    if (event->type() == QEvent::StyleChange)
        takeSize();
    QWidget::changeEvent(event);
}

void Spinner::takeSize() {
    setFixedSize(besideText(size_), besideText(size_));
}

void drawSpinner(QPainter& painter, const QRectF& where, double degrees) {
    painter.save();
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.translate(where.center());
    painter.rotate(degrees);
    drawIcon(painter, Icon::spinner, where.translated(-where.center()), colors().accent);
    painter.restore();
}

} // namespace ovrel
